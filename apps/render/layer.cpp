// Layers as they are typed. What is wrong with an argument as such is refused here; whether it fits the file
// is seen later.
#include "layer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
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

    Layer Parse(const std::string& file, const std::string& options) {
        layer.file = file;
        TakeAll(options);
        Settle();
        return layer;
    }

    Layer Parse() {
        std::error_code ignored;
        const auto at = layer.argument.rfind('@');
        layer.file = layer.argument;
        if (at == std::string::npos || std::filesystem::exists(layer.argument, ignored)) return layer;
        layer.file = layer.argument.substr(0, at);
        if (layer.file.empty()) Refuse("names no file in front of '@'");
        TakeAll(layer.argument.substr(at + 1));
        Settle();
        return layer;
    }

  private:
    [[noreturn]] void Refuse(const std::string& reason) const {
        throw std::invalid_argument(layer.argument + ": " + reason);
    }

    void TakeAll(const std::string& text) {
        if (text.empty()) return;
        std::istringstream options(text + ",");
        for (std::string part; std::getline(options, part, ',');) Take(part);
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
        } else if (part == "yuv") {
            layer.look.toYuv = true;
        } else if (part.starts_with("threshold=")) {
            Set(layer.threshold, Range(part), part, "threshold");
        } else if (part.starts_with("levels=")) {
            TakeLevels(part);
        } else if (part.starts_with("colormap=")) {
            TakeNamed(layer.look.colourMap, kColourMapNames, part, "colour map");
        } else if (part.starts_with("channel=")) {
            TakeNamed(channel, kChannelNames, part, "channel");
        } else if (part.starts_with("curve=")) {
            TakeCurve(part);
        } else if (part.starts_with("area=")) {
            TakeArea(part);
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

    template <class Value, class Known>
    void TakeNamed(std::optional<Value>& value, const Known& names, const std::string& part,
                   const std::string& kind) {
        try {
            Set(value, ParseName(names, part.substr(part.find('=') + 1)), part, kind);
        } catch (const std::invalid_argument& error) {
            Refuse("'" + part + "': " + error.what());
        }
    }

    // What is said of each channel is separated by commas, and by slashes where commas separate options.
    static std::string WithCommas(const std::string& part) {
        std::string text = part.substr(part.find('=') + 1);
        std::replace(text.begin(), text.end(), '/', ',');
        return text;
    }

    void TakeCurve(const std::string& part) {
        try {
            Set(tones, ParseTones(WithCommas(part)), part, "curve");
        } catch (const std::invalid_argument& error) {
            Refuse("'" + part + "': " + error.what());
        }
    }

    void TakeArea(const std::string& part) {
        try {
            Set(layer.area, ParseArea(WithCommas(part)), part, "area");
        } catch (const std::invalid_argument& error) {
            Refuse("'" + part + "': " + error.what());
        }
    }

    void TakeLevels(const std::string& part) {
        if (!layer.look.levels.empty()) Refuse("'" + part + "' is a second setting of levels");
        try {
            layer.look.levels = ParseLevels(WithCommas(part));
        } catch (const std::invalid_argument& error) {
            Refuse(error.what());
        }
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
        layer.look.channel = channel.value_or(Channel::All);
        layer.look.tones = tones.value_or(layer.look.tones);
        if (layer.role == Role::Vectors && layer.threshold) Refuse("a threshold makes a mask, not vectors");
        if (layer.maskValue && layer.threshold)
            Refuse("a mask is made of one value, or of those within a threshold");
        if (layer.IsOverlay() && layer.look.colourMap)
            Refuse(std::string("a colour map is for a picture, not for '") + RoleName(layer.role) + "'");
        if (layer.IsOverlay() && !layer.look.levels.empty())
            Refuse(std::string("levels are those of a picture, not of '") + RoleName(layer.role) + "'");
        if (layer.IsOverlay() && layer.area)
            Refuse(std::string("an area is that of a picture, not of '") + RoleName(layer.role) + "'");
        if (layer.IsOverlay() && (channel || tones || layer.look.toYuv))
            Refuse(std::string("channels and curves are those of a picture, not of '") +
                   RoleName(layer.role) + "'");
    }

    Layer layer;
    std::optional<Role> role;
    std::optional<Colour> colour;
    std::optional<double> opacity;
    std::optional<std::pair<int, int>> place;
    std::optional<Channel> channel;
    std::optional<Tones> tones;
};

}  // namespace

Layer ParseLayer(const std::string& argument) {
    return LayerParser(argument).Parse();
}

Tones Look::TonesOf(bool lowIsWhite) const {
    Tones all = tones;
    for (Tone& tone : all) {
        tone.gamma *= gamma;
        tone.inverted = tone.inverted != (invert != lowIsWhite);
    }
    return all;
}

Layer ParseLayer(const std::string& file, const std::string& options) {
    return LayerParser(file + "@" + options).Parse(file, options);
}

std::string LayerOptions(const Layer& layer) {
    std::string text;
    const auto add = [&](const std::string& option) { text += (text.empty() ? "" : ",") + option; };
    const auto addSigned = [](int n) { return (n < 0 ? "" : "+") + std::to_string(n); };
    const auto slashed = [](std::string list) {
        std::replace(list.begin(), list.end(), ',', '/');
        return list;
    };
    if (layer.page) add("page=" + std::to_string(*layer.page));
    if (layer.frame) add("frame=" + std::to_string(*layer.frame));
    if (layer.maskValue) {
        char rgb[16];
        std::snprintf(rgb, sizeof rgb, "#%06X", layer.maskValue->rgb.value_or(0));
        add("mask=" + (layer.maskValue->rgb ? rgb : pzel_io::NumberText(layer.maskValue->value)));
    } else if (layer.role != Role::Picture) {
        add(RoleName(layer.role));
    }
    if (layer.threshold)
        add("threshold=" + pzel_io::NumberText(layer.threshold->low) + ":" +
            pzel_io::NumberText(layer.threshold->high));
    if (layer.IsOverlay() && layer.colour != Colour::Red) add(ColourName(layer.colour));
    if (layer.opacity != (layer.role == Role::Mask ? kMaskOpacity : 1))
        add(pzel_io::NumberText(layer.opacity));
    if (layer.x != 0 || layer.y != 0) add(addSigned(layer.x) + addSigned(layer.y));
    if (layer.hidden) add("hidden");
    if (layer.IsOverlay()) return text;  // the rest is a picture's
    if (layer.area) {
        const auto& [left, top, right, bottom] = *layer.area;
        std::string sides;
        for (const int side : {left, top, right, bottom})
            sides += (sides.empty() ? "" : "/") + std::to_string(side);
        add("area=" + sides);
    }
    const Look& look = layer.look;
    if (look.toYuv) add("yuv");
    if (look.channel != Channel::All) add(std::string("channel=") + NameOf(kChannelNames, look.channel));
    if (!look.levels.empty()) add("levels=" + slashed(LevelsText(look.levels)));
    if (look.IsCurved(false)) add("curve=" + slashed(TonesText(look.TonesOf(false))));
    if (look.colourMap) add(std::string("colormap=") + NameOf(kColourMapNames, *look.colourMap));
    return text;
}

const char* ColourName(Colour colour) {
    return NameOf(kColours, colour);
}

const char* RoleName(Role role) {
    return role == Role::Picture ? "picture" : NameOf(kRoles, role);
}
