// What can be said of the values of a picture, channel by channel: statistics, percentiles, a histogram.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/io/picture.h"
#include "pzel/bounds/histogram.h"

inline constexpr std::array kPercentiles = {0.35, 1.0, 5.0, 25.0, 50.0, 75.0, 95.0, 99.0, 99.65};

/// Of one channel.
struct ValueSummary {
    std::string channel;  ///< as a user names it
    ImageDataType type;   ///< of its values
    ValueStatistics statistics;
    std::vector<double> percentiles;    ///< one for each of kPercentiles; none where no value is finite
    std::vector<std::uint64_t> counts;  ///< of at most 16 bins of equal width; none where no value is finite
    double low = 0;                     ///< where the first bin starts
    double high = 0;                    ///< where the last one ends; of floats it is in it
};

/// What a user calls a channel of a picture.
std::string ChannelName(int channels, ImageSubType model, int channel);

/// In the order in which a user names channels.
std::vector<ValueSummary> SummariseValues(const Image& image);
