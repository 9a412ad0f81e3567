// Whole numbers are counted exactly. Of floats, the levels lie between the least and the greatest that any
// frame has of its own: a second walk counts finely between these.
#include "movie_values.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

#include "apps/io/pixel_values.h"
#include "apps/render/opened_layer.h"

namespace pzel_view {

namespace {

constexpr int kFineBins = 1 << 16;

struct Stopped {};

// The channel of each pair of levels as it is stored; together all of them, of a luminance picture the
// luminance.
std::vector<int> StoredOf(const Image& image, Sharing channels) {
    const bool yuv = image.channels == 3 && GetSubType(&image) == SubYuv;
    if (yuv) return {0};
    if (channels == Sharing::Together) return {AllChannels};
    std::vector<int> stored;
    for (int channel = 0; channel < image.channels; ++channel)
        stored.push_back(pzel_io::StoredChannel(image, channel));
    return stored;
}

// One end of the levels: its rank, and what is known of where it lies.
struct End {
    pzel_io::Window between{0, 0};
    std::unique_ptr<Histogram> fine;

    void Include(double value, bool isFirst) {
        between = isFirst ? pzel_io::Window{value, value}
                          : pzel_io::Window{std::min(between.low, value), std::max(between.high, value)};
    }
    double At(std::uint64_t rank) const {
        if (!fine) return between.low;
        std::uint64_t seen = fine->GetBelow();
        for (int bin = 0; bin < fine->GetNumbBins(); ++bin)
            if ((seen += fine->GetCount(bin)) > rank) return fine->GetBinStart(bin);
        return between.high;
    }
};

class Gathering {
  public:
    using Progress = std::function<void(int, int)>;

    Gathering(const Layer& wishes, double clipped, Sharing each, std::stop_token stop, Progress tell)
        : opened(wishes),
          percent(clipped),
          channels(each),
          stopping(std::move(stop)),
          progress(std::move(tell)) {
        opened.Prepare();
    }

    Levels Find() {
        ForEachFrame(0, [&](const Image& image, bool isFirst) { Count(image, isFirst); });
        Levels levels;
        if (exact.empty()) {
            for (std::size_t i = 0; i < stored.size(); ++i)
                for (End* end : {&lows[i], &highs[i]})
                    if (end->between.low < end->between.high)
                        end->fine =
                            std::make_unique<Histogram>(end->between.low, end->between.high, kFineBins);
            ForEachFrame(1, [&](const Image& image, bool) { CountFinely(image); });
        }
        for (std::size_t i = 0; i < stored.size(); ++i) {
            const std::uint64_t count = exact.empty() ? counts[i] : exact[i].GetStatistics().count;
            const std::uint64_t rank = RankOfPercent(percent, count);
            const std::uint64_t last = count == 0 ? 0 : count - 1 - rank;
            const pzel_io::Window ends = exact.empty()
                                             ? Widened(lows[i].At(rank), highs[i].At(last))
                                             : Widened(exact[i].GetValue(rank), exact[i].GetValue(last));
            levels.push_back({ends.low - offset, ends.high - offset});
        }
        return levels;
    }

  private:
    template <class Use>
    void ForEachFrame(int walk, Use use) {
        const auto frames = static_cast<int>(opened.Info().frames);
        for (int frame = 0; frame < frames; ++frame) {
            if (stopping.stop_requested()) throw Stopped();
            progress(walk * frames + frame,
                     exact.empty() && walk == 0 && frame == 0 ? frames : Total(frames));
            const pzel_io::OwnedImage image = opened.Make(static_cast<std::uint32_t>(frame));
            if (frame + 1 < frames) opened.Expect(static_cast<std::uint32_t>(frame + 1));
            use(*image, frame == 0);
        }
    }
    int Total(int frames) const { return exact.empty() ? 2 * frames : frames; }

    void Count(const Image& image, bool isFirst) {
        if (isFirst) {
            stored = StoredOf(image, channels);
            offset = opened.Maker().Offset();
            if (GetDataType(&image) != DataFloat) exact.resize(stored.size());
            lows = std::vector<End>(stored.size());
            highs = std::vector<End>(stored.size());
            counts.assign(stored.size(), 0);
        }
        for (std::size_t i = 0; i < stored.size(); ++i) {
            if (!exact.empty()) {
                exact[i].Add(&image, {stored[i]});
                continue;
            }
            const ValueRanks ranks(&image, {stored[i]});
            if (ranks.GetCount() == 0) continue;
            const bool first = counts[i] == 0;
            counts[i] += ranks.GetCount();
            const std::uint64_t rank = RankOfPercent(percent, ranks.GetCount());
            lows[i].Include(ranks.GetValue(rank), first);
            highs[i].Include(ranks.GetValue(ranks.GetCount() - 1 - rank), first);
        }
    }

    void CountFinely(const Image& image) {
        for (std::size_t i = 0; i < stored.size(); ++i)
            for (End* end : {&lows[i], &highs[i]})
                if (end->fine) end->fine->Add(&image, {stored[i]});
    }

    OpenedLayer opened;
    double percent;
    Sharing channels;
    std::stop_token stopping;
    Progress progress;
    std::vector<int> stored;
    std::vector<Histogram> exact;  // empty: of floats
    std::vector<End> lows, highs;
    std::vector<std::uint64_t> counts;
    double offset = 0;
};

}  // namespace

void MovieValues::Gather(const Layer& wishes, double percent, Sharing channels) {
    Cancel();
    const int mine = number;
    const auto tell = [this, mine](auto say) {
        QMetaObject::invokeMethod(
            this,
            [this, mine, say] {
                if (mine == number) say();
            },
            Qt::QueuedConnection);
    };
    thread = std::jthread([this, tell, wishes, percent, channels](const std::stop_token& stop) {
        try {
            Gathering gathering(wishes, percent, channels, stop, [&](int done, int total) {
                tell([this, done, total] { emit progress(done, total); });
            });
            const Levels levels = gathering.Find();
            tell([this, levels] {
                Cancel();
                emit found(levels);
            });
        } catch (const Stopped&) {
        } catch (const std::exception& error) {
            tell([this, reason = QString::fromStdString(error.what())] {
                Cancel();
                emit failed(reason);
            });
        }
    });
}

void MovieValues::Cancel() {
    ++number;
    if (!thread.joinable()) return;
    thread.request_stop();
    thread.join();
}

}  // namespace pzel_view
