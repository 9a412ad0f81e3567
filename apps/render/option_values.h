// The values of options, from their texts. What is wrong with a text is told with what would be right.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "finish.h"
#include "layer.h"
#include "montage.h"

/// Frames first, first + step, … up to the last, or to the end of the longest layer.
struct FrameRange {
    std::uint32_t first = 0;
    std::optional<std::uint32_t> last;
    std::uint32_t step = 1;
};

/// Frames to render, range after range.
struct FrameSelection {
    std::vector<FrameRange> ranges = {{0, 0, 1}};
    bool numbered = false;  ///< one output for each frame, numbered
};

/// Each takes the whole of a text.
/// @throws std::invalid_argument saying what is wrong
FrameSelection ParseFrame(const std::string& text);   ///< N
FrameSelection ParseSpan(const std::string& text);    ///< A-B, A-, A-B:STEP
FrameSelection ParseRanges(const std::string& text);  ///< several, or single numbers
Area ParseArea(const std::string& text);              ///< LEFT,TOP,RIGHT,BOTTOM
int ParseZoom(const std::string& text);               ///< -127 to 127
Size ParseFit(const std::string& text);               ///< WIDTHxHEIGHT
Size ParseMontage(const std::string& text);           ///< COLUMNSxROWS

/// Names and what they stand for.
template <class Value, std::size_t Count>
using Names = std::array<std::pair<const char*, Value>, Count>;

template <class Value, std::size_t Count>
Value ParseName(const Names<Value, Count>& names, const std::string& text) {
    std::string all;
    for (const auto& [name, value] : names) {
        if (text == name) return value;
        all.append(all.empty() ? "" : ", ").append(name);
    }
    throw std::invalid_argument("'" + text + "' is none of " + all);
}

template <class Value, std::size_t Count>
const char* NameOf(const Names<Value, Count>& names, Value value) {
    for (const auto& [name, named] : names)
        if (named == value) return name;
    return "";
}

inline constexpr Names<Channel, 11> kChannelNames = {{{"all", Channel::All},
                                                      {"red", Channel::Red},
                                                      {"green", Channel::Green},
                                                      {"blue", Channel::Blue},
                                                      {"y", Channel::Y},
                                                      {"u", Channel::U},
                                                      {"v", Channel::V},
                                                      {"intensity", Channel::Intensity},
                                                      {"saturation", Channel::Saturation},
                                                      {"hue", Channel::Hue},
                                                      {"hsi", Channel::Hsi}}};
inline constexpr Names<Bend, 4> kCurveNames = {
    {{"linear", Bend::None}, {"log", Bend::Log}, {"asinh", Bend::Asinh}, {"sqrt", Bend::SquareRoot}}};
inline constexpr Names<ColourMap, 5> kColourMapNames = {{{"hot", ColourMap::Hot},
                                                         {"cubehelix", ColourMap::Cubehelix},
                                                         {"viridis", ColourMap::Viridis},
                                                         {"inferno", ColourMap::Inferno},
                                                         {"hue", ColourMap::Hue}}};
inline constexpr Names<pzel_io::Layout, 2> kLayoutNames = {
    {{"planar", pzel_io::Layout::Planar}, {"interleaved", pzel_io::Layout::Interleaved}}};
inline constexpr Names<pzel_io::Field, 2> kFieldNames = {
    {{"even", pzel_io::Field::Even}, {"odd", pzel_io::Field::Odd}}};
inline constexpr Names<pzel_io::StackOrder, 5> kOrderNames = {{{"auto", pzel_io::StackOrder::Auto},
                                                               {"position", pzel_io::StackOrder::Position},
                                                               {"instance", pzel_io::StackOrder::Instance},
                                                               {"name", pzel_io::StackOrder::Name},
                                                               {"given", pzel_io::StackOrder::Given}}};
inline constexpr Names<Flip, 2> kFlipNames = {
    {{"horizontal", Flip::Horizontal}, {"vertical", Flip::Vertical}}};
inline constexpr Names<Turn, 3> kTurnNames = {
    {{"90", Turn::Right}, {"180", Turn::Half}, {"270", Turn::Left}}};
