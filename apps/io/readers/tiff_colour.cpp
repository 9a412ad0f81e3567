// The conversions, one pixel at a time.
#include "apps/io/readers/tiff_colour.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace pzel_io {

namespace {

using Triple = std::array<double, 3>;
using Matrix = std::array<Triple, 3>;

Triple Times(const Matrix& matrix, const Triple& vector) {
    Triple product{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t i = 0; i < 3; ++i) product[row] += matrix[row][i] * vector[i];
    return product;
}

Matrix Times(const Matrix& left, const Matrix& right) {
    Matrix product{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            for (std::size_t i = 0; i < 3; ++i) product[row][column] += left[row][i] * right[i][column];
    return product;
}

// IEC 61966-2-1: XYZ under D65 to linear red, green and blue.
constexpr Matrix kXyzToRgb = {{{3.2404542, -1.5371385, -0.4985314},
                               {-0.9692660, 1.8760108, 0.0415560},
                               {0.0556434, -0.2040259, 1.0572252}}};
constexpr Triple kD65 = {0.95047, 1, 1.08883};
// Bradford's cone responses, between which one white is adapted to another.
constexpr Matrix kCones = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
constexpr Matrix kFromCones = {{{0.9869929, -0.1470543, 0.1599627},
                                {0.4323053, 0.5183603, 0.0492912},
                                {-0.0085287, 0.0400428, 0.9684867}}};
// Luminance pictures count in XYZ with equal energy as white; the primaries are those of BT.709.
constexpr Matrix kEqualToRgb = {{{2.690, -1.276, -0.414}, {-1.022, 1.978, 0.044}, {0.061, -0.224, 1.163}}};

Matrix AdaptedToRgb(const Triple& white) {
    const Triple from = Times(kCones, white);
    const Triple to = Times(kCones, kD65);
    Matrix scale{};
    for (std::size_t i = 0; i < 3; ++i) scale[i][i] = to[i] / from[i];
    return Times(kXyzToRgb, Times(kFromCones, Times(scale, kCones)));
}

double Encoded(double linear) {
    linear = std::clamp(linear, 0.0, 1.0);
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

// CIE 1976: what f was made from.
double Uncubed(double f) {
    constexpr double kEdge = 6.0 / 29;
    return f > kEdge ? f * f * f : 3 * kEdge * kEdge * (f - 4.0 / 29);
}

template <class T>
constexpr T kFull = std::is_floating_point_v<T> ? T{1} : std::numeric_limits<T>::max();

// Lightness of 0 to 100, and the two differences.
template <class T>
Triple LabOf(const T* stored, bool icc) {
    constexpr bool kIsByte = sizeof(T) == 1;
    using Signed = std::make_signed_t<T>;
    constexpr double kUnit = kIsByte ? 1 : 256;
    const double lightest = icc && !kIsByte ? 0xff00 : kFull<T>;
    const auto difference = [&](T value) {
        return icc ? value / kUnit - 128 : static_cast<Signed>(value) / kUnit;
    };
    return {stored[0] * 100.0 / lightest, difference(stored[1]), difference(stored[2])};
}

template <class T>
void FromLab(const TiffColour& colour, const T* from, T* to, std::size_t pixels) {
    const auto [x, y] = colour.white;
    const Triple white = {x / y, 1, (1 - x - y) / y};
    const Matrix toRgb = AdaptedToRgb(white);
    for (std::size_t i = 0; i < pixels; ++i, from += 3, to += 3) {
        const Triple lab = LabOf(from, colour.conversion == TiffConversion::IccLab);
        const double middle = (lab[0] + 16) / 116;
        const Triple xyz = {white[0] * Uncubed(middle + lab[1] / 500), Uncubed(middle),
                            white[2] * Uncubed(middle - lab[2] / 200)};
        const Triple rgb = Times(toRgb, xyz);
        for (std::size_t c = 0; c < 3; ++c) to[c] = static_cast<T>(std::lround(Encoded(rgb[c]) * kFull<T>));
    }
}

// Amounts of cyan, magenta, yellow and black ink, 0 for none.
template <class T>
void FromInks(const T* from, T* to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i, from += 4, to += 3) {
        for (std::size_t c = 0; c < 3; ++c) {
            if constexpr (std::is_floating_point_v<T>) {
                to[c] = (1 - from[c]) * (1 - from[3]);
            } else {
                const auto left = [](T ink) { return static_cast<std::uint64_t>(kFull<T> - ink); };
                to[c] = static_cast<T>((left(from[c]) * left(from[3]) + kFull<T> / 2) / kFull<T>);
            }
        }
    }
}

// Where alpha is 0 there is no colour to find again; it stays.
template <class T>
void WithoutAlpha(std::size_t channels, const T* from, T* to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i, from += channels + 1, to += channels) {
        const T alpha = from[channels];
        for (std::size_t c = 0; c < channels; ++c) {
            if (alpha == 0) {
                to[c] = from[c];
            } else if constexpr (std::is_floating_point_v<T>) {
                to[c] = from[c] / alpha;
            } else {
                const std::uint64_t whole = (std::uint64_t{from[c]} * kFull<T> + alpha / 2) / alpha;
                to[c] = static_cast<T>(std::min<std::uint64_t>(whole, kFull<T>));
            }
        }
    }
}

template <class Index, class T>
void FromPalette(const TiffColour& colour, const Index* from, T* to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i, to += 3)
        for (std::size_t c = 0; c < 3; ++c)
            to[c] = static_cast<T>(colour.palette[std::size_t{from[i]} * 3 + c]);
}

void FromLuminance(const float* from, float* to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i, from += 3, to += 3) {
        const Triple xyz = {from[0], from[1], from[2]};
        const Triple rgb = Times(kEqualToRgb, xyz);
        for (std::size_t c = 0; c < 3; ++c) to[c] = static_cast<float>(rgb[c]);
    }
}

template <class T>
void Convert(const TiffColour& colour, const unsigned char* bytes, unsigned char* result,
             std::size_t pixels) {
    const auto* from = reinterpret_cast<const T*>(bytes);
    auto* to = reinterpret_cast<T*>(result);
    switch (colour.conversion) {
        case TiffConversion::Inks: FromInks(from, to, pixels); break;
        case TiffConversion::Alpha:
            WithoutAlpha(static_cast<std::size_t>(colour.channels), from, to, pixels);
            break;
        default: break;
    }
    if constexpr (std::is_floating_point_v<T>) {
        if (colour.conversion == TiffConversion::Luminance) FromLuminance(from, to, pixels);
    } else if constexpr (sizeof(T) <= 2) {
        if (colour.conversion == TiffConversion::Lab || colour.conversion == TiffConversion::IccLab) {
            FromLab(colour, from, to, pixels);
        } else if (colour.conversion == TiffConversion::Palette) {
            colour.isNarrowPalette
                ? FromPalette(colour, from, result, pixels)
                : FromPalette(colour, from, reinterpret_cast<std::uint16_t*>(result), pixels);
        }
    }
}

}  // namespace

void ConvertPixels(const TiffColour& colour, const unsigned char* from, unsigned char* to,
                   std::size_t pixels) {
    switch (colour.type) {
        case DataUInt8: Convert<std::uint8_t>(colour, from, to, pixels); break;
        case DataUInt16: Convert<std::uint16_t>(colour, from, to, pixels); break;
        case DataUInt32: Convert<std::uint32_t>(colour, from, to, pixels); break;
        default: Convert<float>(colour, from, to, pixels);
    }
}

}  // namespace pzel_io
