// Summaries from the library's counts.
#include "value_summary.h"

#include <cmath>

#include "apps/io/pixel_values.h"
#include "pzel/image/image.h"

namespace {

constexpr int kMostBins = 16;

// Bins of whole numbers are a whole number wide.
Histogram MakeBins(const ValueSummary& summary) {
    const double low = summary.statistics.minimum, high = summary.statistics.maximum;
    if (summary.type == DataFloat) return {low, high, kMostBins};
    const double width = std::ceil((high - low + 1) / kMostBins);
    const double bins = std::ceil((high - low + 1) / width);
    return {low, low + bins * width, static_cast<int>(bins)};
}

ValueSummary Summarise(const Image& image, int channel) {
    const ImagePart part{pzel_io::StoredChannel(image, channel)};
    ValueSummary summary{ChannelName(image.channels, GetSubType(&image), channel),
                         pzel_io::TypeOfChannel(image, part.channel),
                         {},
                         {},
                         {}};
    summary.statistics = ComputeStatistics(&image, part);
    if (summary.statistics.count == 0) return summary;
    const ValueRanks ranks(&image, part);
    for (const double percent : kPercentiles)
        summary.percentiles.push_back(ranks.GetValue(RankOfPercent(percent, ranks.GetCount())));
    Histogram bins = MakeBins(summary);
    bins.Add(&image, part);
    for (int bin = 0; bin < bins.GetNumbBins(); ++bin) summary.counts.push_back(bins.GetCount(bin));
    summary.low = bins.GetBinStart(0);
    summary.high = bins.GetBinStart(bins.GetNumbBins());
    return summary;
}

}  // namespace

std::string ChannelName(int channels, ImageSubType model, int channel) {
    static constexpr const char* kColour[] = {"red", "green", "blue"};
    static constexpr const char* kYuv[] = {"y", "u", "v"};
    static constexpr const char* kVector[] = {"x", "y"};
    if (channels == 1) return "grey";
    if (channels == 2) return kVector[channel];
    if (channels == 3) return model == SubYuv ? kYuv[channel] : kColour[channel];
    return "channel " + std::to_string(channel);
}

std::vector<ValueSummary> SummariseValues(const Image& image) {
    std::vector<ValueSummary> summaries;
    for (int channel = 0; channel < image.channels; ++channel) summaries.push_back(Summarise(image, channel));
    return summaries;
}
