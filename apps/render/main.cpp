// pzel-render: the command line host. Turns what goes wrong into one line and an exit status.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>

#include "render.h"

namespace {

constexpr int kFailed = 1;

// A file opened later must not get the number of a standard stream that the caller closed.
void HoldStandardStreams() {
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(number, F_GETFD) < 0 && errno == EBADF) open("/dev/null", O_RDONLY);
    }
}

// What was printed counts as printed when the system has it.
int Ended(int status) {
    std::cout.flush();
    const bool flushed = std::fflush(stdout) == 0;
    const int error = errno;
    // One line is enough.
    if (status || (flushed && std::cout.good() && !std::ferror(stdout))) return status;
    std::cerr << "pzel-render: standard output: cannot be written"
              << (flushed ? std::string() : std::string(": ") + std::strerror(error)) << std::endl;
    return kFailed;
}

int RunWith(int argc, char** argv) {
    int status = 0;
    std::optional<Options> options;
    try {
        options = ParseOptions(argc, argv, status);
        return options ? Run(*options) : status;
    } catch (const pzel_io::FileError& error) {
        std::cerr << "pzel-render: " << error.what() << std::endl;
    } catch (const std::exception& error) {
        std::cerr << "pzel-render: " << (options ? options->layers[0].file + ": " : "") << error.what()
                  << std::endl;
    }
    return kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    HoldStandardStreams();
    return Ended(RunWith(argc, argv));
}
