// Running the host program, and pictures as the tests see them: written to files and read back.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

/// Pixels as a user names them: row by row, channel by channel within a pixel.
template <class T>
struct Pixels {
    int width = 0;
    int height = 0;
    int channels = 1;
    std::vector<T> values;

    Pixels() = default;
    Pixels(int columns, int rows, int planes)
        : width(columns),
          height(rows),
          channels(planes),
          values(static_cast<std::size_t>(columns) * rows * planes) {}
    T& At(int x, int y, int c = 0) {
        return values[(static_cast<std::size_t>(y) * width + x) * channels + c];
    }
    const T& At(int x, int y, int c = 0) const {
        return values[(static_cast<std::size_t>(y) * width + x) * channels + c];
    }
    bool operator==(const Pixels&) const = default;
};
using Shown = Pixels<std::uint8_t>;

/// What a run of the program left behind.
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

/// Gives each test an empty folder of its own.
class AppTest : public testing::Test {
  protected:
    AppTest();
    ~AppTest() override;

    std::string Path(const std::string& name) const { return folder / name; }
    std::vector<std::string> Files() const;
    static Outcome Render(const std::vector<std::string>& arguments);
    /// Runs a command of the shell. What it does to its outputs itself is missing from the outcome.
    static Outcome Shell(const std::string& command);
    /// The program with its arguments, as the shell reads them.
    static std::string Command(const std::vector<std::string>& arguments);
    /// Renders to a picture; a run that fails fails the test.
    Shown Picture(const std::string& input, std::vector<std::string> options = {}) const;
    /// Bytes to a file; the path.
    std::string WriteBytes(const std::string& name, const std::string& bytes) const;

    std::filesystem::path folder;
    std::mt19937 random{20240611};
};

/// Frames to a TIFF or PNG file, `bits` of each sample where not 0.
template <class T>
void WritePicture(const std::string& file, const std::vector<Pixels<T>>& frames, int bits = 0);

Shown ReadShown(const std::string& file);
/// All bits of a file's values.
Pixels<std::uint16_t> ReadDeep(const std::string& file);
std::string ReadBytes(const std::string& file);
/// The path of a sample file; fails the test where the samples were not fetched.
std::string Sample(const std::string& name);
std::string DicomSample(const std::string& name);
std::string PictureSample(const std::string& name);
