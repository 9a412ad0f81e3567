// Parsing and choosing display levels. The library's computed bound is used wherever it speaks of all pixels;
// pixels that are not finite numbers are left out here, before they can become a level.
#include "levels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "apps/io/display_copy.h"
#include "pzel/bounds/bounds.h"

namespace {

using pzel_io::FileError;
using pzel_io::kAllChannels;
using pzel_io::PictureInfo;
using pzel_io::Window;

constexpr double kMostPercent = 50;  // at each end

double ParseNumber(const std::string& text, const std::string& part) {
    std::size_t used = 0;
    double number = 0;
    try {
        number = std::stod(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != text.size() || !std::isfinite(number)) {
        throw std::invalid_argument("'" + part + "' is not data, full, file, LOW:HIGH or PERCENT%");
    }
    return number;
}

LevelSpec ParseLevel(const std::string& part) {
    using Kind = LevelSpec::Kind;
    if (part == "data") return {Kind::Data};
    if (part == "full") return {Kind::Full};
    if (part == "file") return {Kind::File};
    if (!part.empty() && part.back() == '%') {
        const double percent = ParseNumber(part.substr(0, part.size() - 1), part);
        if (percent < 0 || percent >= kMostPercent) {
            throw std::invalid_argument("'" + part + "': the percentage must be at least 0 and less than 50");
        }
        return {Kind::Percent, 0, 0, percent};
    }
    const auto colon = part.find(':');
    const double low = ParseNumber(part.substr(0, colon), part);
    const double high = ParseNumber(colon == std::string::npos ? "" : part.substr(colon + 1), part);
    if (low >= high) throw std::invalid_argument("'" + part + "': the low level must be below the high one");
    return {Kind::Given, low, high};
}

bool IsYuv(const Image& image) {
    return GetSubType(&image) == SubYuv && image.channels == 3;
}

// The place of a channel, as a user counts, in a record.
int StoredChannel(const Image& image, int channel) {
    return image.channels == 3 && !IsYuv(image) ? 2 - channel : channel;
}

template <class T>
Window RangeOf() {
    return {static_cast<double>(std::numeric_limits<T>::lowest()),
            static_cast<double>(std::numeric_limits<T>::max())};
}

// The values that elements of an integer type can have.
Window TypeRange(ImageDataType type) {
    switch (type) {
        case DataUInt8: return RangeOf<std::uint8_t>();
        case DataInt8: return RangeOf<std::int8_t>();
        case DataUInt16: return RangeOf<std::uint16_t>();
        case DataInt16: return RangeOf<std::int16_t>();
        case DataUInt32: return RangeOf<std::uint32_t>();
        case DataInt32: return RangeOf<std::int32_t>();
        default: return RangeOf<float>();
    }
}

ImageDataType ChannelType(const Image& image, int channel) {
    return static_cast<ImageDataType>(
        GetTrueDataType(IsYuv(image), image.channels, channel, GetDataType(&image)));
}

// A range of one value is moved apart: by one, or by what a float of that size can tell.
Window Widened(double low, double high) {
    constexpr double kFloatStep = 1e-6;
    return {low, high > low ? high : low + std::max(1.0, std::abs(low) * kFloatStep)};
}

Window ValueRange(const Image& image, int stored) {
    const std::vector<float> values = pzel_io::FiniteValues(image, stored);
    if (values.empty()) return {0, 1};
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return Widened(static_cast<double>(*low), static_cast<double>(*high));
}

Window PercentRange(const Image& image, int stored, double percent) {
    std::vector<float> values = pzel_io::FiniteValues(image, stored);
    if (values.empty()) return {0, 1};
    const auto clipped = static_cast<std::ptrdiff_t>(static_cast<double>(values.size()) * percent / 100);
    const auto low = values.begin() + std::min<std::ptrdiff_t>(clipped, std::ssize(values) - 1);
    std::nth_element(values.begin(), low, values.end());
    const auto black = static_cast<double>(*low);
    const auto high = values.end() - 1 - std::min<std::ptrdiff_t>(clipped, std::ssize(values) - 1);
    std::nth_element(values.begin(), high, values.end());
    return Widened(black, static_cast<double>(*high));
}

class Chooser {
  public:
    Chooser(const PictureInfo& picture, Image& shown, int added)
        : info(picture), image(shown), offset(added) {}

    // One channel, or all of them together (kAllChannels: of a luminance picture its luminance).
    Window Choose(const LevelSpec& spec, int channel) const {
        const bool all = channel == kAllChannels;
        const int first = all ? 0 : channel;
        const int stored = all && !IsYuv(image) ? kAllChannels : StoredChannel(image, first);
        switch (spec.kind) {
            case LevelSpec::Kind::Data: return Moved(DataRange(stored, first));
            case LevelSpec::Kind::Full: return FullRange(first);
            case LevelSpec::Kind::File:
                if (!info.window) throw FileError(info.file, "has no window of its own (--levels file)");
                return *info.window;
            case LevelSpec::Kind::Given: return {spec.low, spec.high};
            case LevelSpec::Kind::Percent: return Moved(PercentRange(image, stored, spec.percent));
        }
        return {};
    }

    // The library's bound: of a whole picture one range, of 8-bit data the full one.
    Window Computed(int stored) const {
        ComputeBound(&image);
        // The check takes 8-bit colour differences as unsigned and would replace their range.
        if (!IsYuv(image)) CheckBound(&image);
        float low = 0;
        float high = 0;
        GetBound(&image, &low, &high, stored);
        return {static_cast<double>(low), static_cast<double>(high)};
    }

  private:
    Window Moved(Window window) const { return {window.low - offset, window.high - offset}; }

    Window DataRange(int stored, int channel) const {
        const bool whole = stored == kAllChannels || image.channels == 1 || IsYuv(image);
        const bool bytes = DataBytes(image.dataType) == 1;
        if ((whole || bytes) && !pzel_io::HasNonFinite(image)) return Computed(StoredChannel(image, channel));
        return ValueRange(image, stored);
    }

    Window FullRange(int channel) const {
        if (info.type == DataFloat) {
            throw FileError(info.file, "floating-point values have no full range (--levels full)");
        }
        // A copy for the display may be of another type: the file's type counts.
        const bool ofFile = GetDataType(&image) == DataFloat || GetDataType(&image) == DataInt16;
        return Moved(TypeRange(ofFile ? info.type : ChannelType(image, channel)));
    }

    const PictureInfo& info;
    Image& image;
    int offset;
};

double Stored(const Image& image, int stored, double level, int offset) {
    const ImageDataType type = ChannelType(image, stored);
    if (type == DataFloat) return level;
    const Window range = TypeRange(type);
    return std::clamp(std::round(level + offset), range.low, range.high);
}

AnyType Element(ImageDataType type, double level) {
    AnyType element{};
    switch (type) {
        case DataUInt8: element.uint8 = static_cast<std::uint8_t>(level); break;
        case DataInt8: element.int8 = static_cast<std::int8_t>(level); break;
        case DataUInt16: element.uint16 = static_cast<std::uint16_t>(level); break;
        case DataInt16: element.int16 = static_cast<std::int16_t>(level); break;
        default: element.float32 = static_cast<float>(level); break;
    }
    return element;
}

}  // namespace

std::vector<LevelSpec> ParseLevels(const std::string& text) {
    std::vector<LevelSpec> specs;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        specs.push_back(ParseLevel(text.substr(start, end - start)));
        start = end + 1;
    }
    return specs;
}

Levels ChooseLevels(const std::vector<LevelSpec>& asked, const PictureInfo& info, Image& image, int offset) {
    const Chooser chooser(info, image, offset);
    std::vector<LevelSpec> specs = asked;
    if (specs.empty()) specs = {{info.window ? LevelSpec::Kind::File : LevelSpec::Kind::Data}};
    const auto channels = static_cast<std::size_t>(image.channels);
    if (specs.size() != 1 && specs.size() != channels) {
        throw FileError(info.file, std::to_string(specs.size()) + " levels given for " +
                                       std::to_string(channels) + (channels == 1 ? " channel" : " channels"));
    }
    Levels levels;
    for (int channel = 0; channel < image.channels; ++channel) {
        if (specs.size() > 1) {
            levels.push_back(chooser.Choose(specs[static_cast<std::size_t>(channel)], channel));
        } else if (IsYuv(image) && channel > 0) {
            levels.push_back(chooser.Computed(channel));
        } else {
            levels.push_back(channel == 0 ? chooser.Choose(specs[0], kAllChannels) : levels[0]);
        }
        if (IsYuv(image) && channel > 0 && levels.back().high < 1) {
            throw FileError(info.file, "the upper level of a colour difference must be 1 or more");
        }
    }
    return levels;
}

bool NeedsFloat(const Levels& levels, const Image& image, int offset) {
    if (GetDataType(&image) == DataFloat || IsYuv(image)) return false;
    const Window range = TypeRange(GetDataType(&image));
    return std::any_of(levels.begin(), levels.end(), [&](const Window& level) {
        const double low = std::round(level.low + offset);
        const double high = std::round(level.high + offset);
        return low < range.low || high > range.high || low >= high;
    });
}

void SetLevels(Image& image, const Levels& levels, int offset) {
    for (int channel = 0; channel < image.channels; ++channel) {
        const int stored = StoredChannel(image, channel);
        const Window& level = levels[static_cast<std::size_t>(channel)];
        const ImageDataType type = ChannelType(image, stored);
        SetBound(&image, Element(type, Stored(image, stored, level.low, offset)),
                 Element(type, Stored(image, stored, level.high, offset)), stored);
    }
}

std::string LevelsText(Image& image, int offset) {
    if (GetDataType(&image) == DataBit) return "none";
    std::vector<std::string> texts;
    for (int channel = 0; channel < image.channels; ++channel) {
        float low = 0;
        float high = 0;
        GetBound(&image, &low, &high, StoredChannel(image, channel));
        texts.push_back(pzel_io::NumberText(static_cast<double>(low) - offset) + ":" +
                        pzel_io::NumberText(static_cast<double>(high) - offset));
    }
    std::string text = texts[0];
    if (std::any_of(texts.begin(), texts.end(),
                    [&](const std::string& other) { return other != texts[0]; })) {
        for (std::size_t i = 1; i < texts.size(); ++i) text += "," + texts[i];
    }
    return text;
}
