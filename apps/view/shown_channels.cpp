// Counting stops when a step has taken its time; the next one follows when the window has nothing else to do.
#include "shown_channels.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "apps/io/colour_copy.h"
#include "apps/io/pixel_values.h"
#include "pzel/bounds/black_white.h"
#include "pzel/image/lifecycle.h"

namespace pzel_view {

namespace {

constexpr int kStepMilliseconds = 4;
constexpr int kPixelsAtOnce = 1 << 20;
constexpr int kBins = 2048;  // of floats

pzel_io::HsiValue JointValue(int channel) {
    constexpr pzel_io::HsiValue kValues[] = {pzel_io::HsiValue::Intensity, pzel_io::HsiValue::Saturation,
                                             pzel_io::HsiValue::Hue};
    return kValues[channel];
}

// What counts as no and as full red, green and blue.
pzel_io::Window ColourRange(const Image& image) {
    const CompBlackWhite range =
        GetSpatialBounds(const_cast<Image*>(&image), SubColour, GetDataType(&image), 0);
    return {range.black, range.white};
}

// Some rows of an image as one of its own.
pzel_io::OwnedImage Rows(const Image& image, int first, int count) {
    const bool interleaved = IsInterleaved(&image);
    pzel_io::OwnedImage rows(NewImage(image.width, static_cast<unsigned short>(count), image.channels,
                                      GetDataType(&image), interleaved));
    SetImageType(rows.get(), GetImageType(&image));
    for (int channel = 0; channel < (interleaved ? 1 : int{image.channels}); ++channel)
        for (std::ptrdiff_t y = 0; y < count; ++y)
            std::memcpy(GetImageData(rows.get(), channel) + y * rows->rowBytes,
                        GetImageData(&image, channel) + (first + y) * image.rowBytes,
                        std::min(image.rowBytes, rows->rowBytes));
    return rows;
}

// Floats get bins where most of them are: some far away would leave the others one bin.
Histogram EmptyFor(const Image& image, int stored, const QRect& part) {
    constexpr int kSamples = 1 << 16;
    constexpr double kRare = 0.1;  // percent at each end
    if (GetDataType(&image) != DataFloat) return Histogram(kBins);
    const int rows = std::clamp(kSamples / std::max(part.width(), 1), 1, part.height());
    std::vector<float> values;
    const pzel_io::Plane plane = pzel_io::ChannelPlane(image, stored);
    for (int i = 0; i < rows; ++i) {
        const int y = part.top() + static_cast<int>(static_cast<std::int64_t>(i) * part.height() / rows);
        const unsigned char* row = plane.first + std::ptrdiff_t(y) * image.rowBytes +
                                   std::ptrdiff_t(part.left()) * plane.step * sizeof(float);
        pzel_io::ForEachOf<float>({row, plane.step}, static_cast<std::size_t>(part.width()), [&](float v) {
            if (std::isfinite(v)) values.push_back(v);
        });
    }
    if (values.empty()) return Histogram(0, 1, kBins);
    const auto valueOf = [&](std::uint64_t rank) {
        const auto place = values.begin() + static_cast<std::ptrdiff_t>(rank);
        std::nth_element(values.begin(), place, values.end());
        return static_cast<double>(*place);
    };
    const std::uint64_t rare = RankOfPercent(kRare, values.size());
    const pzel_io::Window usual = Widened(valueOf(rare), valueOf(values.size() - 1 - rare));
    const double margin = (usual.high - usual.low) / 4;
    return Histogram(usual.low - margin, usual.high + margin, kBins);
}

}  // namespace

JointPlane PlaneOf(const Image& colour, int channel) {
    const pzel_io::Window range = ColourRange(colour);
    const pzel_io::HsiValue value = JointValue(channel);
    return {pzel_io::HsiPlane(colour, value, range),
            pzel_io::HsiPlaneRange(GetDataType(&colour), value, range).low};
}

LevelKind LevelsOf(Document& document, Comp& comp) {
    const LayerState state = document.StateOf(comp);
    if (state.role != Role::Picture || comp.GetDataType() == DataBit) return LevelKind::None;
    if (state.channel == Channel::Hsi) return LevelKind::Joint;
    return comp.GetNumbChannels() == 3 && comp.GetCompSType() == SubYuv ? LevelKind::Yuv
                                                                        : LevelKind::Channels;
}

std::vector<ShownChannel> ChannelsOf(Document& document, Comp& comp) {
    const QColor red(214, 58, 52), green(40, 150, 62), blue(52, 104, 222), none;
    switch (LevelsOf(document, comp)) {
        case LevelKind::None: return {};
        case LevelKind::Joint:
            return {{Document::tr("Intensity"), none},
                    {Document::tr("Saturation"), none},
                    {Document::tr("Hue"), none}};
        case LevelKind::Yuv:
            return {{Document::tr("Y"), none}, {Document::tr("U"), blue}, {Document::tr("V"), red}};
        case LevelKind::Channels: break;
    }
    if (comp.GetNumbChannels() == 3)
        return {{Document::tr("Red"), red}, {Document::tr("Green"), green}, {Document::tr("Blue"), blue}};
    return {{Document::tr("Values"), none}};
}

std::optional<pzel_io::Window> FullRangeOf(Document& document, Comp& comp, int channel) {
    const Image& image = *comp.GetCurrentImage();
    const ImageDataType type = GetDataType(&image);
    const LevelKind kind = LevelsOf(document, comp);
    if (kind == LevelKind::None) return {};
    if (kind == LevelKind::Joint) {
        const CompBlackWhite full =
            GetSpatialBounds(const_cast<Image*>(&image), SubColour, type, image.channels + channel);
        return pzel_io::Window{full.black, full.white};
    }
    const pzel_io::PictureInfo& info = document.InfoOf(comp);
    const LayerState state = document.StateOf(comp);
    const bool isFile = !state.toYuv && state.channel < Channel::Intensity;  // or a copy of its values
    if (isFile && info.type != DataFloat) return FullRange(info.model, info.type, channel);
    if (type == DataFloat) return {};
    return FullRange(comp.GetCompSType(), type, channel);
}

ChannelHistograms::ChannelHistograms(Document& shown, QObject* parent) : QObject(parent), document(shown) {
    connect(&timer, &QTimer::timeout, this, &ChannelHistograms::Step);
}

void ChannelHistograms::Count(Comp& layer, const QRect& wanted) {
    timer.stop();
    const Image& image = *layer.GetCurrentImage();
    comp = &layer;
    kind = LevelsOf(document, layer);
    const QRect all(0, 0, image.width, image.height);
    part = wanted.isNull() ? all : wanted & all;
    nextRow = part.top();
    counting.clear();
    offsets.clear();
    if (kind == LevelKind::None || part.isEmpty()) return Clear();
    const auto channels = static_cast<int>(ChannelsOf(document, layer).size());
    for (int channel = 0; channel < channels; ++channel) {
        if (kind == LevelKind::Joint) {
            const pzel_io::Window full =
                pzel_io::HsiPlaneRange(GetDataType(&image), JointValue(channel), ColourRange(image));
            offsets.push_back(full.low);
            counting.push_back(GetDataType(&image) == DataFloat ? Histogram(full.low, full.high, kBins)
                                                                : Histogram(kBins));
        } else {
            offsets.push_back(document.OffsetOf(layer));
            counting.push_back(EmptyFor(image, pzel_io::StoredChannel(image, channel), part));
        }
    }
    timer.start(0);
}

void ChannelHistograms::Clear() {
    timer.stop();
    comp = nullptr;
    counting.clear();
    counted.clear();
}

void ChannelHistograms::AddRows(const Image& image, int first, int count) {
    const pzel_io::OwnedImage rows =
        kind == LevelKind::Joint ? Rows(image, first, count) : pzel_io::OwnedImage();
    for (int channel = 0; channel < static_cast<int>(counting.size()); ++channel) {
        Histogram& histogram = counting[static_cast<std::size_t>(channel)];
        if (rows) {
            const pzel_io::OwnedImage plane =
                pzel_io::HsiPlane(*rows, JointValue(channel), ColourRange(image));
            histogram.Add(plane.get(), {AllChannels, part.left(), 0, part.width(), count});
        } else {
            histogram.Add(&image,
                          {pzel_io::StoredChannel(image, channel), part.left(), first, part.width(), count});
        }
    }
}

void ChannelHistograms::Step() {
    QElapsedTimer spent;
    spent.start();
    const Image& image = *comp->GetCurrentImage();
    const int rows = std::max(1, kPixelsAtOnce / (part.width() * static_cast<int>(counting.size())));
    while (nextRow <= part.bottom() && spent.elapsed() < kStepMilliseconds) {
        const int count = std::min(rows, part.bottom() + 1 - nextRow);
        AddRows(image, nextRow, count);
        nextRow += count;
    }
    if (nextRow <= part.bottom()) return;
    timer.stop();
    counted = std::move(counting);
    counting.clear();
    emit done();
}

}  // namespace pzel_view
