// The displacement field of a lens, as a TIFF file of two float channels: how many columns to the right and
// how many rows down a lens moves what an ideal camera shows at a pixel.
//
// The model is the radial part of Brown's (D. C. Brown, "Decentering Distortion of Lenses", 1966): a point at
// the distance r from the middle of the picture moves to r (1 + k1 r^2 + k2 r^4). Distances count in halves
// of the picture's diagonal, so that the corners stand at 1. Below 0 the coefficients draw the corners
// inwards (a barrel), above 0 outwards (a cushion).
#include <OpenImageIO/imageio.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr int kLargestSide = 65535;

struct Lens {
    double k1;
    double k2;
};

std::vector<float> DisplacementField(int width, int height, const Lens& lens) {
    const double middleX = (width - 1) / 2.0, middleY = (height - 1) / 2.0;
    const double unit = std::hypot(width, height) / 2;
    std::vector<float> field;
    field.reserve(2 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const double x = column - middleX, y = row - middleY;
            const double r2 = (x * x + y * y) / (unit * unit);
            const double part = r2 * (lens.k1 + r2 * lens.k2);
            field.push_back(static_cast<float>(part * x));
            field.push_back(static_cast<float>(part * y));
        }
    }
    return field;
}

// A number from the whole of a text.
std::optional<double> Number(const char* text) {
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    if (end == text || *end != '\0' || !std::isfinite(number)) return {};
    return number;
}

std::optional<int> Side(const char* text) {
    const auto number = Number(text);
    if (!number || *number < 1 || *number > kLargestSide || *number != std::floor(*number)) return {};
    return static_cast<int>(*number);
}

// The reason why not, or nothing.
std::string Write(const std::string& file, int width, int height, const std::vector<float>& field) {
    const auto output = OIIO::ImageOutput::create("tiff");
    if (!output) return OIIO::geterror();
    OIIO::ImageSpec spec(width, height, 2, OIIO::TypeDesc::FLOAT);
    spec.channelnames = {"dx", "dy"};
    spec.alpha_channel = -1;
    const bool done = output->open(file, spec) && output->write_image(OIIO::TypeDesc::FLOAT, field.data()) &&
                      output->close();
    return done ? "" : output->geterror();
}

}  // namespace

int main(int argc, char** argv) {
    const bool enough = argc == 6;
    const auto width = enough ? Side(argv[1]) : std::nullopt, height = enough ? Side(argv[2]) : std::nullopt;
    const auto k1 = enough ? Number(argv[3]) : std::nullopt, k2 = enough ? Number(argv[4]) : std::nullopt;
    if (!width || !height || !k1 || !k2) {
        std::cerr << "Usage: lens-distortion WIDTH HEIGHT K1 K2 OUT.tif\n"
                  << "       sides of 1 to 65535 pixels; K1 and K2 of the order of 0.1\n";
        return 2;
    }
    const std::string reason =
        Write(argv[5], *width, *height, DisplacementField(*width, *height, {*k1, *k2}));
    if (reason.empty()) return 0;
    std::cerr << "lens-distortion: " << argv[5] << ": " << reason << std::endl;
    return 1;
}
