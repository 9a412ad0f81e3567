// A file that appears complete or not at all, and standard output and devices, which take what they get.
#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace pzel_io {

/// Stands for standard output where an output is named.
inline constexpr const char* kStandardOutput = "-";

/// Written beside its place under a hidden name and then renamed. The hidden file goes where this is
/// destroyed before Commit, and where a signal ends the program (SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE,
/// SIGXCPU); the file that had the place stays then. A new file gets the permissions of any new file; one
/// that takes another's place keeps its owner, where that is allowed, and its permissions. A symbolic link
/// stays one: what it points to is written. What is no regular file (a device, a pipe, standard output) is
/// written as it goes.
class OutputFile {
  public:
    /// @throws FileError where nothing can be written there: no such folder, no permission, a folder itself
    explicit OutputFile(const std::filesystem::path& file);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Appends all of the bytes.
    /// @throws FileError
    void Write(std::span<const unsigned char> bytes);
    /// Closes the file, after which every byte is with the system.
    /// @throws FileError
    void Close();
    /// Gives the closed file its place.
    /// @throws FileError
    void Commit();

  private:
    void OpenBeside();
    [[noreturn]] void Fail(int error) const;

    std::filesystem::path name;    // as errors tell it
    std::filesystem::path target;  // where links lead
    std::string hidden;            // empty: written in place
    int place = -1;                // of the hidden name among those that signals remove
    int descriptor = -1;
};

/// True for "-", and for names of what standard output is ("/dev/stdout", and the file it was sent to).
bool IsStandardOutput(const std::filesystem::path& file);
/// True for what is there and no regular file: devices and pipes.
bool IsDevice(const std::filesystem::path& file);

}  // namespace pzel_io
