// Each map is a rule from 0 … 1 to red, green and blue; the table of its 256 colours goes to the library,
// which puts the picture through it.
#include "colour_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>

#include "pzel/bounds/bounds.h"
#include "pzel/display/overlay.h"
#include "pzel/image/lifecycle.h"

namespace {

constexpr int kEntries = 256;

using Colour3 = std::array<double, 3>;  // red, green, blue of 0 … 1

// The colours of a glowing body as three ramps, one after the other.
Colour3 HotAt(double v) {
    const auto ramp = [v](double start, double end) {
        return std::clamp((v - start) / (end - start), 0.0, 1.0);
    };
    return {ramp(0, 3.0 / 8), ramp(3.0 / 8, 6.0 / 8), ramp(6.0 / 8, 1)};
}

// D. A. Green, "A colour scheme for the display of astronomical intensity images", 2011: brightness rises
// evenly while the hue goes round. Start 0.5, -1.5 rotations, hue 1, gamma 1.
Colour3 CubehelixAt(double v) {
    constexpr double kStart = 0.5, kRotations = -1.5;
    const double angle = 2 * std::numbers::pi * (kStart / 3 + 1 + kRotations * v);
    const double amplitude = v * (1 - v) / 2;
    const double c = std::cos(angle), s = std::sin(angle);
    return {v + amplitude * (-0.14861 * c + 1.78277 * s), v + amplitude * (-0.29227 * c - 0.90649 * s),
            v + amplitude * 1.97294 * c};
}

// Once round the colours, for angles.
Colour3 HueAt(double v) {
    const auto part = [v](double centre) {
        const double distance = std::abs(std::fmod(v - centre + 1.5, 1.0) - 0.5);
        return std::clamp(2 - 6 * distance, 0.0, 1.0);
    };
    return {part(0), part(1.0 / 3), part(2.0 / 3)};
}

// Places of two maps that look equally steep everywhere (S. van der Walt and N. Smith, 2015), 0xRRGGBB, with
// straight lines between them: within two levels of the published tables.
constexpr std::uint32_t kViridis[] = {0x440154, 0x470D60, 0x48186A, 0x482374, 0x472D7B, 0x453781, 0x424086,
                                      0x3E4989, 0x3B528B, 0x375B8D, 0x33638D, 0x2F6B8E, 0x2C728E, 0x297A8E,
                                      0x26828E, 0x23898E, 0x21908C, 0x1F978B, 0x1F9F88, 0x21A685, 0x27AD81,
                                      0x31B57B, 0x3EBC74, 0x4DC26C, 0x5CC863, 0x6ECE58, 0x82D34D, 0x95D840,
                                      0xAADC32, 0xC0DF25, 0xD5E21A, 0xEAE51A, 0xFDE725};
constexpr std::uint32_t kInferno[] = {0x000004, 0x040312, 0x0B0724, 0x150B37, 0x210C4A, 0x2F0A5B, 0x3D0965,
                                      0x4A0C6B, 0x56106E, 0x63156E, 0x70196E, 0x7D1E6D, 0x89226A, 0x962766,
                                      0xA32C61, 0xAF315B, 0xBB3654, 0xC63D4D, 0xD14545, 0xDA4F3C, 0xE35932,
                                      0xEB6529, 0xF1721E, 0xF67F14, 0xF98C0A, 0xFB9B06, 0xFCAA0F, 0xFBBA1F,
                                      0xF9C932, 0xF5D949, 0xF2E865, 0xF3F586, 0xFCFFA4};

Colour3 Between(std::span<const std::uint32_t> places, double v) {
    const double at = v * static_cast<double>(places.size() - 1);
    const std::size_t first = std::min(static_cast<std::size_t>(at), places.size() - 2);
    const double share = at - static_cast<double>(first);
    Colour3 colour{};
    for (std::size_t c = 0; c < colour.size(); ++c) {
        const auto channel = [&](std::uint32_t rgb) {
            return static_cast<double>(rgb >> 8 * (2 - c) & 0xFF) / (kEntries - 1);
        };
        colour[c] = (1 - share) * channel(places[first]) + share * channel(places[first + 1]);
    }
    return colour;
}

Colour3 At(ColourMap map, double v) {
    switch (map) {
        case ColourMap::Hot: return HotAt(v);
        case ColourMap::Cubehelix: return CubehelixAt(v);
        case ColourMap::Viridis: return Between(kViridis, v);
        case ColourMap::Inferno: return Between(kInferno, v);
        case ColourMap::Hue: return HueAt(v);
    }
    return {v, v, v};
}

std::array<BgrColour, kEntries> PaletteOf(ColourMap map) {
    std::array<BgrColour, kEntries> palette{};
    const auto level = [](double share) {
        return static_cast<unsigned char>(std::lround(std::clamp(share, 0.0, 1.0) * (kEntries - 1)));
    };
    for (int i = 0; i < kEntries; ++i) {
        const Colour3 colour = At(map, static_cast<double>(i) / (kEntries - 1));
        palette[static_cast<std::size_t>(i)] = {level(colour[2]), level(colour[1]), level(colour[0])};
    }
    return palette;
}

}  // namespace

pzel_io::OwnedImage InColours(const ShownBitmap& greys, ColourMap map) {
    const std::array<BgrColour, kEntries> palette = PaletteOf(map);
    pzel_io::OwnedImage image(NewImage(static_cast<unsigned short>(greys.width),
                                       static_cast<unsigned short>(greys.height), 3, DataUInt8, true));
    SetImageType(image.get(), static_cast<unsigned short>(SubColour));
    SetDefaultBound(image.get());  // colours are shown as they are
    BitmapSource source;
    source.pixels = greys.pixels;
    source.rowBytes = greys.rowBytes;
    source.width = greys.width;
    source.height = greys.height;
    CopyBitmap8To24({image->data, image->rowBytes, greys.width, greys.height}, source, 1, 1, palette.data());
    return image;
}
