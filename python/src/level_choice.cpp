// One choice for all channels, but for colour differences, which keep what the data ask for.
#include <pybind11/stl.h>

#include "level_choice.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/bounds/histogram.h"

namespace pzel_python {

namespace {

constexpr double kMostPercent = 50;

ImageDataType TypeOfChannel(const Image& image, int stored) {
    const bool yuv = GetSubType(&image) == SubYuv && image.channels == 3;
    return static_cast<ImageDataType>(GetTrueDataType(yuv, image.channels, stored, ElementOf(image)));
}

// A range of one value is moved apart: by one, or by what a float of that size can tell.
LevelPair Widened(double low, double high) {
    return {low, high > low ? high : low + std::max(1.0, std::abs(low) * 1e-6)};
}

LevelPair PercentRange(const Image& image, int channel, double percent) {
    if (!(percent >= 0 && percent < kMostPercent)) {
        throw py::value_error("the percentage of levels is at least 0 and less than 50");
    }
    const py::gil_scoped_release released;
    const ValueRanks values(&image, {channel});
    const std::uint64_t count = values.GetCount();
    if (count == 0) return {0, 1};
    const std::uint64_t clipped = RankOfPercent(percent, count);
    return Widened(values.GetValue(clipped), values.GetValue(count - 1 - clipped));
}

LevelPair FullRange(const Image& image, int stored) {
    const CompBlackWhite full = FullBlackWhite(GetSubType(&image), ElementOf(image), stored);
    return {full.black, full.white};
}

bool IsPair(const py::handle& object) {
    return py::isinstance<py::sequence>(object) && !py::isinstance<py::str>(object) && py::len(object) == 2 &&
           PyNumber_Check(py::object(object[py::int_(0)]).ptr());
}

void SetAll(Image& image, const LevelPair& pair) {
    const int channels = GetSubType(&image) == SubYuv && image.channels == 3 ? 1 : image.channels;
    for (int c = 0; c < channels; ++c) SetPair(image, c, pair);
}

void ChooseByName(Picture& picture, const std::string& name) {
    Image& image = picture.Record();
    if (name == "data") {
        image.state &= static_cast<std::uint8_t>(~(StateBoundSet | StateBoundDefault));
        return NeedLevels(image, picture.Shared().truth);
    }
    if (name == "full") {
        if (ElementOf(image) == DataFloat) {
            throw py::value_error("floating-point values have no full range");
        }
        for (int c = 0; c < image.channels; ++c) SetPair(image, c, FullRange(image, c));
        return;
    }
    if (!name.empty() && name.back() == '%') {
        const bool yuv = GetSubType(&image) == SubYuv && image.channels == 3;
        const double percent = py::float_(py::str(name.substr(0, name.size() - 1))).cast<double>();
        return SetAll(image, PercentRange(image, yuv ? 0 : AllChannels, percent));
    }
    throw py::value_error("levels are 'data', 'full', '0.35%', (low, high) or a list of pairs, not '" + name +
                          "'");
}

}  // namespace

int StoredChannel(const Image& image, int channel) {
    const bool turned = GetSubType(&image) == SubColour && image.channels == 3;
    return turned ? image.channels - 1 - channel : channel;
}

void SetPair(Image& image, int channel, const LevelPair& pair) {
    if (channel < 0 || channel >= image.channels) throw py::index_error("the image has no such channel");
    if (ElementOf(image) == DataBit) throw py::value_error("an image of bits has no levels");
    const ImageDataType type = TypeOfChannel(image, channel);
    const auto as = [&](double value) {
        AnyType any{};
        if (type == DataFloat) {
            any.float32 = static_cast<float>(value);
            return any;
        }
        const CompBlackWhite range = FullBlackWhite(SubGrey, type, 0);
        if (std::isnan(value)) throw py::value_error("a level is no number");
        // The low bytes of a number are the same with and without a sign.
        const auto whole = static_cast<std::int64_t>(std::clamp(value, range.black, range.white));
        any.uint32 = static_cast<std::uint32_t>(whole);
        return any;
    };
    const bool was = image.state & (StateBoundSet | StateBoundDefault);
    if (!was && image.channels > 1) NeedLevels(image, false);  // the other channels have levels, too
    SetBound(&image, as(pair.first), as(pair.second), channel);
}

void NeedLevels(Image& image, bool truth) {
    if (image.state & StateBoundSet) return;
    if (!image.data || ElementOf(image) == DataBit) return;
    if (GetMajorType(&std::as_const(image)) == MajorVector) return ComputeVctBound(&image);
    const bool yuv = GetSubType(&image) == SubYuv && image.channels == 3;
    if (ElementOf(image) == DataFloat && !yuv) {
        // The library computes a range of finite values alone; a range of one value shows nothing.
        const ValueStatistics values = ComputeStatistics(&image);
        if (values.count < GetImageVolume(&image) || values.minimum == values.maximum) {
            const LevelPair range = values.count ? Widened(values.minimum, values.maximum) : LevelPair{0, 1};
            AnyType low{}, high{};
            low.float32 = static_cast<float>(range.first);
            high.float32 = static_cast<float>(range.second);
            return SetBound(&image, low, high);
        }
    }
    ComputeBound(&image);
    if (!truth) return;
    AnyType no{}, yes{};
    yes.uint8 = 1;
    SetBound(&image, no, yes);
}

py::list LevelsOf(Picture& picture) {
    Image& image = picture.Record();
    py::list levels;
    if (ElementOf(image) == DataBit) return levels;
    NeedLevels(image, picture.Shared().truth);
    for (int c = 0; c < image.channels; ++c) {
        float low = 0, high = 0;
        GetBound(&image, &low, &high, StoredChannel(image, c));
        levels.append(py::make_tuple(static_cast<double>(low), static_cast<double>(high)));
    }
    return levels;
}

void ChooseLevels(Picture& picture, const py::object& levels) {
    Image& image = picture.Record();
    if (ElementOf(image) == DataBit) throw py::value_error("an image of bits has no levels");
    if (py::isinstance<py::str>(levels)) return ChooseByName(picture, levels.cast<std::string>());
    if (IsPair(levels)) return SetAll(image, levels.cast<LevelPair>());
    const auto pairs = levels.cast<std::vector<LevelPair>>();
    if (pairs.size() != image.channels) {
        throw py::value_error(std::to_string(pairs.size()) + " pairs of levels for " +
                              std::to_string(image.channels) + " channels");
    }
    for (int c = 0; c < image.channels; ++c)
        SetPair(image, StoredChannel(image, c), pairs[static_cast<std::size_t>(c)]);
}

}  // namespace pzel_python
