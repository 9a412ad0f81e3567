// Numbers are taken whole: what is left behind one makes the text wrong.
#include "option_values.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace {

constexpr int kMostZoom = 127;
constexpr std::uint32_t kMostCells = 1000;

[[noreturn]] void RefuseValue(const std::string& text, const std::string& instead) {
    throw std::invalid_argument("'" + text + "' is not " + instead);
}

template <class Number>
std::optional<Number> Whole(const std::string& text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return {};
    return number;
}

std::vector<std::string> Parts(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text + ",");
    for (std::string part; std::getline(stream, part, ',');) parts.push_back(part);
    return parts;
}

enum class Single { Allowed, Refused };

FrameRange ParseRange(const std::string& text, Single single) {
    const char* const kForm = "A-B, A- or A-B:STEP with A up to B and a step of 1 or more";
    const auto colon = text.find(':');
    const std::string span = text.substr(0, colon);
    const auto dash = span.find('-');
    FrameRange range;
    const auto first = Whole<std::uint32_t>(span.substr(0, dash));
    if (!first) RefuseValue(text, kForm);
    range.first = *first;
    if (dash == std::string::npos) {
        if (single == Single::Refused || colon != std::string::npos) RefuseValue(text, kForm);
        range.last = range.first;
    } else if (dash + 1 < span.size()) {
        range.last = Whole<std::uint32_t>(span.substr(dash + 1));
        if (!range.last || *range.last < range.first) RefuseValue(text, kForm);
    }
    if (colon == std::string::npos) return range;
    const auto step = Whole<std::uint32_t>(text.substr(colon + 1));
    if (!step || *step < 1) RefuseValue(text, kForm);
    range.step = *step;
    return range;
}

// Two numbers of 1 or more with an x between them.
std::optional<std::pair<std::uint32_t, std::uint32_t>> ParsePair(const std::string& text) {
    const auto cross = text.find('x');
    if (cross == std::string::npos) return {};
    const auto one = Whole<std::uint32_t>(text.substr(0, cross));
    const auto other = Whole<std::uint32_t>(text.substr(cross + 1));
    if (!one || !other || *one < 1 || *other < 1) return {};
    return std::pair(*one, *other);
}

}  // namespace

FrameSelection ParseFrame(const std::string& text) {
    const auto frame = Whole<std::uint32_t>(text);
    if (!frame) RefuseValue(text, "a frame number");
    return {{{*frame, *frame, 1}}, false};
}

FrameSelection ParseSpan(const std::string& text) {
    return {{ParseRange(text, Single::Refused)}, true};
}

FrameSelection ParseRanges(const std::string& text) {
    FrameSelection selection{{}, true};
    for (const std::string& part : Parts(text)) selection.ranges.push_back(ParseRange(part, Single::Allowed));
    return selection;
}

Area ParseArea(const std::string& text) {
    std::vector<int> sides;
    for (const std::string& part : Parts(text)) {
        const auto side = Whole<std::uint32_t>(part);
        if (side && *side <= std::numeric_limits<std::int16_t>::max())
            sides.push_back(static_cast<int>(*side));
    }
    if (sides.size() != 4 || Parts(text).size() != 4 || sides[0] > sides[2] || sides[1] > sides[3])
        RefuseValue(text, "LEFT,TOP,RIGHT,BOTTOM of 0 to 32767 with LEFT up to RIGHT, TOP up to BOTTOM");
    return {sides[0], sides[1], sides[2], sides[3]};
}

int ParseZoom(const std::string& text) {
    const auto zoom = Whole<int>(text);
    if (!zoom || *zoom < -kMostZoom || *zoom > kMostZoom) RefuseValue(text, "a whole number of -127 to 127");
    return *zoom;
}

Size ParseFit(const std::string& text) {
    const auto size = ParsePair(text);
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint16_t>::max();
    if (!size || std::max(size->first, size->second) > kMost)
        RefuseValue(text, "WIDTHxHEIGHT of 1 to 65535 pixels");
    return {static_cast<int>(size->first), static_cast<int>(size->second)};
}

Size ParseMontage(const std::string& text) {
    const auto grid = ParsePair(text);
    if (!grid || std::max(grid->first, grid->second) > kMostCells)
        RefuseValue(text, "COLUMNSxROWS of 1 to 1000");
    return {static_cast<int>(grid->first), static_cast<int>(grid->second)};
}
