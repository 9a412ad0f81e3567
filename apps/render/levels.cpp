// Parsing and choosing display levels. The library's computed bound is used wherever it speaks of all pixels;
// pixels that are not finite numbers are left out here, before they can become a level.
#include "levels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "apps/io/pixel_values.h"
#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"

namespace {

using pzel_io::FileError;
using pzel_io::StoredChannel;
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
    return {Kind::Given, low, high};
}

bool IsYuv(const Image& image) {
    return GetSubType(&image) == SubYuv && image.channels == 3;
}

ImageDataType ChannelType(const Image& image, int channel) {
    return static_cast<ImageDataType>(
        GetTrueDataType(IsYuv(image), image.channels, channel, GetDataType(&image)));
}

// Whether there is a value that is not a number or infinite. Only floats have such.
bool HasNonFinite(const Image& image) {
    if (GetDataType(&image) != DataFloat) return false;
    return ComputeStatistics(&image).count < GetImageVolume(&image);
}

class Chooser {
  public:
    Chooser(const std::filesystem::path& of, Image& shown, const ValueScale& values)
        : file(of), image(shown), scale(values) {}

    // One channel, or all of them together (AllChannels: of a luminance picture its luminance).
    Window Choose(const LevelSpec& spec, int channel) const {
        const bool all = channel == AllChannels;
        const int first = all ? 0 : channel;
        const int stored = all && !IsYuv(image) ? AllChannels : StoredChannel(image, first);
        switch (spec.kind) {
            case LevelSpec::Kind::Data: return Moved(DataRange(stored, first));
            case LevelSpec::Kind::Full:
                if (scale.full.empty()) {
                    throw FileError(file, "floating-point values have no full range (--levels full)");
                }
                return scale.full[static_cast<std::size_t>(first)];
            case LevelSpec::Kind::File:
                if (!scale.window) throw FileError(file, "has no window of its own (--levels file)");
                return *scale.window;
            case LevelSpec::Kind::Given: return {spec.low, spec.high};
            case LevelSpec::Kind::Percent: return Moved(PercentRange(image, ImagePart{stored}, spec.percent));
        }
        return {};
    }

    // A colour difference beside a luminance that has levels of its own.
    Window Difference(int channel) const {
        return scale.differencesFull ? scale.full[static_cast<std::size_t>(channel)] : Computed(channel);
    }

    void CheckDifference(const Window& window) const {
        const double least = GetDataType(&image) == DataFloat ? std::numeric_limits<float>::min() : 1;
        if (window.high < least) {
            throw FileError(file, "the upper level of a colour difference must be " +
                                      std::string(least == 1 ? "1 or more" : "above 0"));
        }
    }

  private:
    // The library's bound: of a whole picture one range, of 8-bit data the full one. Its check would replace
    // ranges of 8-bit colour differences and of signed 16-bit greys, which it takes as unsigned.
    Window Computed(int stored) const {
        ComputeBound(&image);
        float low = 0;
        float high = 0;
        GetBound(&image, &low, &high, stored);
        return {static_cast<double>(low), static_cast<double>(high)};
    }

    Window Moved(Window window) const { return {window.low - scale.offset, window.high - scale.offset}; }

    Window DataRange(int stored, int channel) const {
        const bool whole = stored == AllChannels || image.channels == 1 || IsYuv(image);
        const bool bytes = DataBytes(image.dataType) == 1;
        if ((whole || bytes) && !HasNonFinite(image)) return Computed(StoredChannel(image, channel));
        return ValueRange(image, stored);
    }

    const std::filesystem::path& file;
    Image& image;
    const ValueScale& scale;
};

double InType(ImageDataType type, double level) {
    return type == DataFloat ? static_cast<double>(static_cast<float>(level)) : std::round(level);
}

// What the record holds of a level.
double Stored(const Image& image, int stored, double level, double offset) {
    const ImageDataType type = ChannelType(image, stored);
    if (type == DataFloat) return InType(type, level + offset);
    const Window range = FullRange(SubGrey, type, 0);
    return std::clamp(InType(type, level + offset), range.low, range.high);
}

}  // namespace

Window FullRange(ImageSubType model, ImageDataType type, int channel) {
    const CompBlackWhite full = FullBlackWhite(model, type, channel);
    return {full.black, full.white};
}

Window Widened(double low, double high) {
    constexpr double kFloatStep = 1e-6;
    return {low, high > low ? high : low + std::max(1.0, std::abs(low) * kFloatStep)};
}

Window PercentRange(const Image& image, const ImagePart& part, double percent) {
    const ValueRanks values(&image, part);
    const std::uint64_t count = values.GetCount();
    if (count == 0) return {0, 1};
    const std::uint64_t clipped = RankOfPercent(percent, count);
    return Widened(values.GetValue(clipped), values.GetValue(count - 1 - clipped));
}

Window ValueRange(const Image& image, int stored) {
    return ValueRange(image, ImagePart{stored});
}

Window ValueRange(const Image& image, const ImagePart& part) {
    const ValueStatistics values = ComputeStatistics(&image, part);
    if (values.count == 0) return {0, 1};
    return Widened(values.minimum, values.maximum);
}

std::vector<LevelSpec> ParseLevels(const std::string& text) {
    std::vector<LevelSpec> specs;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        specs.push_back(ParseLevel(text.substr(start, end - start)));
        start = end + 1;
    }
    return specs;
}

std::string LevelsText(const std::vector<LevelSpec>& specs) {
    using Kind = LevelSpec::Kind;
    std::string text;
    for (const LevelSpec& spec : specs) {
        text += (text.empty() ? "" : ",");
        text += spec.kind == Kind::Data   ? "data"
                : spec.kind == Kind::Full ? "full"
                : spec.kind == Kind::File ? "file"
                : spec.kind == Kind::Percent
                    ? pzel_io::NumberText(spec.percent) + "%"
                    : pzel_io::NumberText(spec.low) + ":" + pzel_io::NumberText(spec.high);
    }
    return text;
}

Levels ChooseLevels(const std::vector<LevelSpec>& asked, const std::filesystem::path& file, Image& image,
                    const ValueScale& scale) {
    const Chooser chooser(file, image, scale);
    std::vector<LevelSpec> specs = asked;
    if (specs.empty()) specs = {{scale.window ? LevelSpec::Kind::File : LevelSpec::Kind::Data}};
    const auto channels = static_cast<std::size_t>(image.channels);
    if (specs.size() != 1 && specs.size() != channels) {
        throw FileError(file, std::to_string(specs.size()) + " levels given for " + std::to_string(channels) +
                                  (channels == 1 ? " channel" : " channels"));
    }
    Levels levels;
    for (int channel = 0; channel < image.channels; ++channel) {
        const bool difference = IsYuv(image) && channel > 0;
        if (specs.size() > 1) {
            levels.push_back(chooser.Choose(specs[static_cast<std::size_t>(channel)], channel));
        } else if (difference) {
            levels.push_back(chooser.Difference(channel));
        } else {
            levels.push_back(channel == 0 ? chooser.Choose(specs[0], AllChannels) : levels[0]);
        }
        if (difference) chooser.CheckDifference(levels.back());
    }
    return levels;
}

Levels ChooseJointLevels(const std::vector<LevelSpec>& specs, const std::filesystem::path& file,
                         Image& image) {
    static constexpr const char* kNames[] = {"intensity", "saturation", "hue"};
    const ImageDataType type = GetDataType(static_cast<const Image*>(&image));
    Levels levels;
    for (int i = 0; i < image.channels; ++i) {
        const CompBlackWhite full = GetSpatialBounds(&image, SubColour, type, image.channels + i);
        levels.push_back({full.black, full.white});
        const LevelSpec spec = specs.size() > 1 ? specs[static_cast<std::size_t>(i)] : LevelSpec{};
        if (spec.kind != LevelSpec::Kind::Given) continue;
        if (spec.low < full.black || std::max(spec.low, spec.high) > full.white) {
            throw FileError(file, std::string("the levels of the ") + kNames[i] + " go from 0 to " +
                                      pzel_io::NumberText(full.white));
        }
        levels.back() = {InType(type, spec.low), InType(type, spec.high)};
        if (levels.back().low == levels.back().high) {
            throw FileError(file,
                            std::string("the levels of the ") + kNames[i] + " are the same in its type");
        }
    }
    if (specs.empty() && DataBytes(image.dataType) > 1) {
        const double bottom = GetSpatialBounds(&image, SubColour, type, 0).black;
        const Window data = ValueRange(image, AllChannels);
        levels[0] = {data.low - bottom, data.high - bottom};
    }
    return levels;
}

bool NeedsFloat(const Levels& levels, const Image& image, double offset) {
    if (GetDataType(&image) == DataFloat || IsYuv(image)) return false;
    const Window range = FullRange(SubGrey, GetDataType(&image), 0);
    return std::any_of(levels.begin(), levels.end(), [&](const Window& level) {
        const double low = std::round(level.low + offset);
        const double high = std::round(level.high + offset);
        return low < range.low || high > range.high || low >= high;
    });
}

Levels StoredLevels(const Levels& levels, const Image& image, double offset) {
    Levels stored;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const int channel = StoredChannel(image, static_cast<int>(i));
        stored.push_back(
            {Stored(image, channel, levels[i].low, offset), Stored(image, channel, levels[i].high, offset)});
    }
    return stored;
}

Levels StoredJointLevels(const Levels& levels, Image& image) {
    const ImageDataType type = GetDataType(static_cast<const Image*>(&image));
    Levels stored;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const CompBlackWhite full =
            GetSpatialBounds(&image, SubColour, type, image.channels + static_cast<int>(i));
        stored.push_back({std::clamp(InType(type, levels[i].low), full.black, full.white),
                          std::clamp(InType(type, levels[i].high), full.black, full.white)});
    }
    return stored;
}

int ComponentChannel(Comp& comp, int channel) {
    Image& image = *comp.GetCurrentImage();
    return GetBoundType(&image) == BoundHsi ? image.channels + channel : StoredChannel(image, channel);
}

Levels GetLevels(Comp& comp) {
    Levels levels;
    if (comp.GetDataType() == DataBit) return levels;
    for (int i = 0; i < comp.GetNumbChannels(); ++i) {
        const CompBlackWhite level = comp.GetBlackWhite(ComponentChannel(comp, i));
        levels.push_back({level.black, level.white});
    }
    return levels;
}

std::string LevelsText(const Levels& stored, double offset) {
    if (stored.empty()) return "none";
    std::vector<std::string> texts;
    for (const Window& level : stored) {
        texts.push_back(pzel_io::NumberText(level.low - offset) + ":" +
                        pzel_io::NumberText(level.high - offset));
    }
    std::string text = texts[0];
    if (std::any_of(texts.begin(), texts.end(),
                    [&](const std::string& other) { return other != texts[0]; })) {
        for (std::size_t i = 1; i < texts.size(); ++i) text += "," + texts[i];
    }
    return text;
}
