// Silence on the error output while a decoding library is at work.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace pzel_io {

/// Decoding libraries write about damaged data straight to the error output; what matters is reported in one
/// line by whoever asked for the file. For as long as this lives, such text goes nowhere.
class QuietErrors {
  public:
    QuietErrors() : kept(dup(STDERR_FILENO)) {
        std::fflush(stderr);
        const int sink = open("/dev/null", O_WRONLY);
        if (sink >= 0) dup2(sink, STDERR_FILENO);
        if (sink >= 0) close(sink);
    }
    ~QuietErrors() {
        std::fflush(stderr);
        if (kept >= 0) dup2(kept, STDERR_FILENO);
        if (kept >= 0) close(kept);
    }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

  private:
    int kept;
};

}  // namespace pzel_io
