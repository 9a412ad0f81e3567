// Pictures on their way to their files, several at a time, while the next frames are read and mapped.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apps/io/picture_writer.h"

/// What all files have in common.
struct WriteSettings {
    pzel_io::FileFormat format = pzel_io::FileFormat::Png;
    pzel_io::EncodeOptions encode;
};

/// Files get their places, and their lines are told, in the order in which the pictures came. The first error
/// ends it: whatever came before is complete, of what came after there is nothing.
class PictureQueue {
  public:
    using Tell = std::function<void(const std::string&)>;

    /// One expected picture is written at once, by as many threads as it has use for; of several, each has a
    /// thread. `tell` may be called by any of them, one at a time.
    PictureQueue(const WriteSettings& settings, std::uint64_t expected, Tell tell);
    ~PictureQueue();
    PictureQueue(const PictureQueue&) = delete;
    PictureQueue& operator=(const PictureQueue&) = delete;

    /// Writes a picture to `file` (to nothing, where that is empty) and then tells `line`. The pixels are
    /// copied or written before this returns, which it does when not too many are waiting.
    /// @throws what went wrong with this picture or an earlier one
    void Put(const std::filesystem::path& file, const pzel_io::FilePicture& picture, std::string line);
    /// Waits for all.
    /// @throws what went wrong first
    void Finish();

  private:
    struct Job {
        std::uint64_t number;
        std::filesystem::path file;
        pzel_io::FilePicture picture;
        std::vector<unsigned char> pixels;  // of the picture
        std::string line;
    };

    void Work();
    void Write(const Job& job);
    void Close();

    WriteSettings settings;
    Tell tell;
    std::mutex guard;
    std::condition_variable changed;
    std::deque<Job> waiting;
    std::uint64_t next = 0;  // the number of the next picture that comes
    std::uint64_t turn = 0;  // the number of the next one that gets its place
    std::exception_ptr failure;
    bool closed = false;
    std::vector<std::jthread> workers;  // last: they end before what they use
};
