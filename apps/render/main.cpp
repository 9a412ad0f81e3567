// pzel-render: the command line host. Turns what goes wrong into one line and an exit status.
#include <cstdio>
#include <exception>
#include <iostream>

#include "render.h"

namespace {

// A full disk may show at the last byte alone.
int Finish(int status) {
    std::cout.flush();
    if (status != 0 || (std::cout && std::ferror(stdout) == 0)) return status;
    std::cerr << "pzel-render: the standard output cannot be written to its end" << std::endl;
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    int status = 0;
    const auto options = ParseOptions(argc, argv, status);
    if (!options) return Finish(status);
    try {
        Run(*options);
    } catch (const pzel_io::FileError& error) {
        std::cerr << "pzel-render: " << error.what() << std::endl;
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "pzel-render: " << options->layers[0].file << ": " << error.what() << std::endl;
        return 1;
    }
    return Finish(0);
}
