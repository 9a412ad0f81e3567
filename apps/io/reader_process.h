// A file whose reader runs as a program of its own. Frames come through shared memory; a crash of the reader,
// or more memory or time than the file can need, is an error of the file.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "apps/io/file_kind.h"
#include "apps/io/picture.h"

namespace pzel_io {

class ReaderProgram;

/// Readers that have nothing to do, at most one of each kind. Files that belong together (the slices of a
/// stack) are read by one program after the other's, where one of its own for each would cost more than the
/// reading.
class ReaderPool {
  public:
    ReaderPool();
    ~ReaderPool();
    ReaderPool(const ReaderPool&) = delete;
    ReaderPool& operator=(const ReaderPool&) = delete;

    /// One that waits, or a new one.
    std::unique_ptr<ReaderProgram> Take(const std::string& kind);
    void GiveBack(std::unique_ptr<ReaderProgram> program);

  private:
    std::map<std::string, std::unique_ptr<ReaderProgram>> idle;
};

/// The pool, where there is one, must live as long as the source.
/// @throws FileError for what the reader says, or where it ends
std::unique_ptr<PictureSource> OpenReaderProcess(const std::filesystem::path& file, const FileKind& kind,
                                                 const OpenOptions& options, ReaderPool* pool);

}  // namespace pzel_io
