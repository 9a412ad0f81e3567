// Pixels by their places, and their values in as few digits as bring them back.
#include "pixel_text.h"

#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "apps/io/pixel_values.h"
#include "composition.h"

namespace {

using Range = std::pair<int, int>;

std::optional<int> ParsePlace(const std::string& text) {
    std::uint16_t place = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, place);
    if (error != std::errc() || stop != end) return {};
    return place;
}

std::optional<Range> ParseRange(const std::string& text) {
    const auto dash = text.find('-');
    const auto first = ParsePlace(text.substr(0, dash));
    const auto last = dash == std::string::npos ? first : ParsePlace(text.substr(dash + 1));
    if (!first || !last || *first > *last) return {};
    return Range{*first, *last};
}

std::string RangeText(int first, int last) {
    return std::to_string(first) + (first == last ? "" : "-" + std::to_string(last));
}

}  // namespace

Area ParsePixels(const std::string& text) {
    const auto comma = text.find(',');
    const auto columns = ParseRange(text.substr(0, comma));
    const auto rows = comma == std::string::npos ? std::nullopt : ParseRange(text.substr(comma + 1));
    if (!columns || !rows)
        throw std::invalid_argument("'" + text + "' is not X,Y or A-B,C-D with A up to B, C up to D");
    return {columns->first, rows->first, columns->second, rows->second};
}

void PrintPixels(std::ostream& out, const std::string& name, const Image& image, const Area& area) {
    const int width = WidthOf(area);
    const bool single = width == 1 && HeightOf(area) == 1;
    out << name << (single ? ": pixel " : ": pixels ") << RangeText(area.left, area.right) << ","
        << RangeText(area.top, area.bottom) << (single ? ": " : ":\n");
    const int channels = image.channels;
    for (int y = area.top; y <= area.bottom; ++y) {
        const std::vector<double> values = pzel_io::RowValues(image, y, area.left, width);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const int channel = static_cast<int>(i) % channels;
            if (i > 0) out << (single || channel == 0 ? ' ' : ',');
            const int stored = pzel_io::StoredChannel(image, channel);
            out << pzel_io::ValueText(values[i], pzel_io::TypeOfChannel(image, stored));
        }
        out << "\n";
    }
}
