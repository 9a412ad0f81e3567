// A whole file as bytes in memory, for readers that go back and forth in it.
#pragma once

#include <filesystem>
#include <span>

namespace pzel_io {

class FileBytes {
  public:
    /// @throws FileError where it cannot be read
    explicit FileBytes(const std::filesystem::path& file);
    ~FileBytes();
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    std::span<const unsigned char> All() const { return bytes; }

  private:
    std::span<const unsigned char> bytes;
};

}  // namespace pzel_io
