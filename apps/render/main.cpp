// pzel-render: the command line host. Turns what goes wrong into one line and an exit status.
#include <exception>
#include <iostream>

#include "render.h"

int main(int argc, char** argv) {
    int status = 0;
    const auto options = ParseOptions(argc, argv, status);
    if (!options) return status;
    try {
        Run(*options);
    } catch (const pzel_io::FileError& error) {
        std::cerr << "pzel-render: " << error.what() << std::endl;
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "pzel-render: " << options->layers[0].file << ": " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
