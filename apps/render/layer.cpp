// Layers as they are typed. What is wrong with an argument as such is refused here; whether it fits the file
// is seen later.
#include "layer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>

#include "option_values.h"

namespace {

constexpr double kMaskOpacity = 0.5;

constexpr std::array<std::pair<const char*, Colour>, 7> kColours = {{{"red", Colour::Red},
                                                                     {"green", Colour::Green},
                                                                     {"blue", Colour::Blue},
                                                                     {"yellow", Colour::Yellow},
                                                                     {"cyan", Colour::Cyan},
                                                                     {"magenta", Colour::Magenta},
                                                                     {"white", Colour::White}}};
constexpr std::array<std::pair<const char*, Role>, 3> kRoles = {
    {{"mask", Role::Mask}, {"boundary", Role::Boundary}, {"vectors", Role::Vectors}}};

template <class Names>
auto Named(const Names& names, std::string_view text) -> std::optional<decltype(names[0].second)> {
    for (const auto& [name, value] : names)
        if (text == name) return value;
    return {};
}

template <class Names, class Value>
const char* NameOf(const Names& names, Value value, const char* other) {
    for (const auto& [name, named] : names)
        if (named == value) return name;
    return other;
}

// A number from the whole of a text.
template <class Number>
std::optional<Number> WholeText(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    Number number{};
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || stop != text.data() + text.size()) return {};
    return number;
}

class LayerParser {
  public:
    explicit LayerParser(const std::string& text) { layer.argument = text; }

    Layer Parse() {
        std::error_code ignored;
        const auto at = layer.argument.rfind('@');
        layer.file = layer.argument;
        if (at == std::string::npos || std::filesystem::exists(layer.argument, ignored)) return layer;
        layer.file = layer.argument.substr(0, at);
        if (layer.file.empty()) Refuse("names no file in front of '@'");
        if (at + 1 < layer.argument.size()) {
            std::istringstream options(layer.argument.substr(at + 1) + ",");
            for (std::string part; std::getline(options, part, ',');) Take(part);
        }
        Settle();
        return layer;
    }

  private:
    [[noreturn]] void Refuse(const std::string& reason) const {
        throw std::invalid_argument(layer.argument + ": " + reason);
    }

    // Remembers an option; the same kind comes once at most.
    template <class Value>
    void Set(std::optional<Value>& value, const Value& given, const std::string& part,
             const std::string& kind) {
        if (value) Refuse("'" + part + "' is a second " + kind);
        value = given;
    }

    void Take(const std::string& part) {
        if (const auto named = Named(kColours, part)) return Set(colour, *named, part, "colour");
        if (const auto named = Named(kRoles, part))
            return Set(role, *named, part, "way to show it beside " + Other());
        if (part == "hidden") {
            layer.hidden = true;
        } else if (part.starts_with("threshold=")) {
            Set(layer.threshold, Range(part), part, "threshold");
        } else if (part.starts_with("levels=")) {
            TakeLevels(part);
        } else if (part.starts_with("colormap=")) {
            TakeColourMap(part);
        } else if (part.starts_with("page=") || part.starts_with("hdu=")) {
            Set(layer.page, static_cast<int>(Count(part)), part, "page");
        } else if (part.starts_with("frame=")) {
            Set(layer.frame, Count(part), part, "frame");
        } else if (part.starts_with("mask=")) {
            TakeMaskValue(part);
        } else if (const auto number = WholeText<double>(part); number && part[0] != '+') {
            if (!(*number >= 0 && *number <= 1)) Refuse("'" + part + "' is not an opacity of 0 to 1");
            Set(opacity, *number, part, "opacity");
        } else if (!TakePlace(part)) {
            Refuse("'" + part + "' is no option of a layer, and there is no file of the whole name");
        }
    }

    std::string Other() const { return role ? std::string("'") + RoleName(*role) + "'" : ""; }

    pzel_io::Window Range(const std::string& part) const {
        const std::string text = part.substr(part.find('=') + 1);
        const auto colon = text.find(':');
        const auto low = WholeText<double>(std::string_view(text).substr(0, colon));
        const auto high = colon == std::string::npos
                              ? std::nullopt
                              : WholeText<double>(std::string_view(text).substr(colon + 1));
        if (!low || !high || !(*low <= *high)) Refuse("'" + part + "' is not LOW:HIGH with LOW up to HIGH");
        return {*low, *high};
    }

    std::uint32_t Count(const std::string& part) const {
        const auto number = WholeText<std::int32_t>(std::string_view(part).substr(part.find('=') + 1));
        if (!number || *number < 0) Refuse("'" + part + "' is no number of 0 or more");
        return static_cast<std::uint32_t>(*number);
    }

    // A label, or the colour that it is painted in.
    void TakeMaskValue(const std::string& part) {
        constexpr std::size_t kColourDigits = 6;
        std::string_view text = std::string_view(part).substr(part.find('=') + 1);
        MaskValue value;
        if (text.starts_with('#')) {
            text.remove_prefix(1);
            std::uint32_t rgb = 0;
            const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), rgb, 16);
            if (error != std::errc() || stop != text.data() + text.size() || text.size() != kColourDigits)
                Refuse("'" + part + "' is no colour: #RRGGBB");
            value.rgb = rgb;
        } else if (const auto number = WholeText<double>(text)) {
            value.value = *number;
        } else {
            Refuse("'" + part + "' is no value, and no colour #RRGGBB");
        }
        Set(role, Role::Mask, part, "way to show it beside " + Other());
        layer.maskValue = value;
    }

    void TakeColourMap(const std::string& part) {
        try {
            Set(layer.look.colourMap, ParseName(kColourMapNames, part.substr(part.find('=') + 1)), part,
                "colour map");
        } catch (const std::invalid_argument& error) {
            Refuse("'" + part + "': " + error.what());
        }
    }

    void TakeLevels(const std::string& part) {
        if (!layer.look.levels.empty()) Refuse("'" + part + "' is a second setting of levels");
        try {
            layer.look.levels = ParseLevels(part.substr(part.find('=') + 1));
        } catch (const std::invalid_argument& error) {
            Refuse(error.what());
        }
        const LevelSpec& level = layer.look.levels[0];
        if (level.kind == LevelSpec::Kind::Given && level.low >= level.high)
            Refuse("'" + part + "': the low level must be below the high one");
    }

    // +X+Y, with a sign before each.
    bool TakePlace(const std::string& part) {
        const auto isSign = [](char c) { return c == '+' || c == '-'; };
        if (part.empty() || !isSign(part[0])) return false;
        const auto second = part.find_first_of("+-", 1);
        if (second == std::string::npos) return false;
        const auto column = WholeText<int>(std::string_view(part).substr(0, second));
        const auto row = WholeText<int>(std::string_view(part).substr(second));
        if (!column || !row) return false;
        using Limits = std::numeric_limits<std::int16_t>;
        if (std::min(*column, *row) < Limits::min() || std::max(*column, *row) > Limits::max())
            Refuse("'" + part + "' is no place of columns and rows -32768 to 32767");
        Set(place, std::pair(*column, *row), part, "place");
        return true;
    }

    // What follows from one option for the others.
    void Settle() {
        if (!role && (layer.threshold || colour)) role = Role::Mask;
        layer.role = role.value_or(Role::Picture);
        layer.colour = colour.value_or(Colour::Red);
        layer.opacity = opacity.value_or(layer.role == Role::Mask ? kMaskOpacity : 1);
        if (place) std::tie(layer.x, layer.y) = *place;
        if (layer.role == Role::Vectors && layer.threshold) Refuse("a threshold makes a mask, not vectors");
        if (layer.maskValue && layer.threshold)
            Refuse("a mask is made of one value, or of those within a threshold");
        if (layer.IsOverlay() && layer.look.colourMap)
            Refuse(std::string("a colour map is for a picture, not for '") + RoleName(layer.role) + "'");
        if (layer.IsOverlay() && !layer.look.levels.empty())
            Refuse(std::string("levels are those of a picture, not of '") + RoleName(layer.role) + "'");
    }

    Layer layer;
    std::optional<Role> role;
    std::optional<Colour> colour;
    std::optional<double> opacity;
    std::optional<std::pair<int, int>> place;
};

}  // namespace

Layer ParseLayer(const std::string& argument) {
    return LayerParser(argument).Parse();
}

const char* ColourName(Colour colour) {
    return NameOf(kColours, colour, "");
}

const char* RoleName(Role role) {
    return NameOf(kRoles, role, "picture");
}
