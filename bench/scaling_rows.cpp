// What must not depend on something else: levels beside the mapping alone, time per pixel at all sizes, frame
// steps, events and levels at all movie lengths, additions at all numbers of children.
#include <cstring>
#include <stdexcept>
#include <utility>

#include "bench/components.h"
#include "bench/pictures.h"

namespace bench {

namespace {

constexpr double kFlat = 1.1;

/// Two pairs of levels in turn, so that every run changes something.
class Alternating {
  public:
    Levels next() { return (first = !first) ? Levels{1000, 50000} : Levels{1100, 50000}; }

  private:
    bool first = false;
};

Row changedLevels(int) {
    const Picture picture = makePicture(kLarge, kLarge, kGrey, DataUInt16);
    const CompPtr comp = makeComp(picture);
    const Bitmap out(kLarge, kLarge, 8);
    Row row;
    row.ours = [comp, levels = Alternating()]() mutable {
        const Levels l = levels.next();
        comp->SetBlackWhite(0, {l.black, l.white});
    };
    const auto mapData = [=, levels = Alternating()]() mutable {
        setLevels(picture, levels.next());
        MapData(out.pixels(), out.rowBytes, kLarge, kLarge, picture.get(), 0, 0, nullptr, 0);
    };
    row.peers = {{"MapData", kFlat, mapData}};
    return row;
}

/// MapData on a whole picture, and the pixels that it has.
struct WholePicture {
    WholePicture(int width, int height, ImageDataType type)
        : in(makePicture(width, height, kGrey, type)), out(width, height, 8), pixels(double(width) * height) {
        setLevels(in, partOfRange(type));
    }
    void operator()() const {
        MapData(out.pixels(), out.rowBytes, in->width, in->height, in.get(), 0, 0, nullptr, 0);
    }
    Picture in;
    Bitmap out;
    double pixels;
};

Row perPixel(const WholePicture& one, const WholePicture& other, std::string name, double goal) {
    Row row;
    row.ours = one;
    row.units = one.pixels;
    row.peers = {{std::move(name), goal, other, 0, other.pixels}};
    return row;
}

/// Beside a picture that has left the inner caches. One that leaves the outer one too waits for memory.
Row perPixel(int size) {
    return perPixel({size, size, DataUInt16}, {1024, 1024, DataUInt16}, "1024²",
                    size == kLarge ? kMemoryBound : kFlat);
}

/// Rows as long as 16 bits of row length allow, 0.8 GB with the bitmap.
Row largest(int) {
    return perPixel({65532, 6144, DataUInt8}, {kLarge, kLarge, DataUInt8}, "4096²", kMemoryBound);
}

struct Counter final : Observer {
    void Update(IComponent*, int, std::intptr_t) override { ++count; }
    long count = 0;
};

/// A movie of one small picture. The observer outlives it.
struct ObservedMovie {
    explicit ObservedMovie(unsigned long frames) {
        const CompPtr comp = makeComp(makePicture(16, 16, kGrey, DataUInt16));
        comp->frameCount = static_cast<std::uint32_t>(frames);
        movie->AddChild(comp.get());
        movie->SetMovieLength(frames);
        movie->AttachObserver(&counter);
        if (movie->GetMovieLength() != frames) throw std::logic_error("the movie has another length");
    }
    Counter counter;
    const MoviePtr movie = makeMovie();
};

/// Something that is done to an observed movie a thousand times.
template <class F>
std::function<void()> onMovie(unsigned long frames, F step) {
    return [observed = std::make_shared<ObservedMovie>(frames), step] {
        for (int i = 0; i < 1000; ++i) step(*observed->movie);
    };
}

template <class F>
Row frames(F step) {
    Row row;
    row.ours = onMovie(100'000, step);
    row.peers = {{"10 frames", kFlat, onMovie(10, step)}};
    return row;
}

/// Fills a movie with components that hold a small picture each, one after the other.
std::function<void()> fillMovie(int children) {
    std::vector<CompPtr> comps;
    for (int i = 0; i < children; ++i) comps.push_back(makeComp(makePicture(16, 16, kGrey, DataUInt8)));
    return [comps] {
        const MoviePtr movie = makeMovie();
        for (const CompPtr& comp : comps) movie->AddChild(comp.get());
    };
}

/// Times are per child, and the copy of a screen counts for all of them: they grow with the number of
/// children but stay far below what anyone would notice.
Row children(int) {
    constexpr int all = 255;
    Row row;
    row.ours = fillMovie(all);
    row.units = all;
    const Bitmap from(1920, 1080, 24), to(1920, 1080, 24);
    const auto copyScreen = [=] { std::memcpy(to.pixels(), from.pixels(), to.bytes()); };
    row.peers = {{"one memcpy of 1920 × 1080 × 3 bytes", 1.0, copyScreen, 0, all},
                 {"64 children, per child", kNone, fillMovie(64), 0, 64},
                 {"128 children, per child", kNone, fillMovie(128), 0, 128}};
    return row;
}

}  // namespace

void addScalingRows(Catalogue& rows) {
    rows.push_back({"SetBlackWhite, 4096²", changedLevels, {0}});
    for (const int size : {64, 256, kLarge})
        rows.push_back({"unsigned 16 → 8 per pixel, " + std::to_string(size) + "²",
                        [size](int) { return perPixel(size); },
                        {0}});
    rows.push_back({"unsigned 8 → 8 per pixel, 65532 × 6144", largest, {0}});
    rows.push_back({"frame step, 100,000 frames",
                    [](int) { return frames([](Movie& movie) { movie.MoveToNextFrame(); }); },
                    {0}});
    rows.push_back({"event, 100,000 frames",
                    [](int) { return frames([](Movie& movie) { movie.NotifyObserver(EventOpacity, 0); }); },
                    {0}});
    rows.push_back({"level read, 100,000 frames",
                    [](int) { return frames([](Movie& movie) { movie.GetBlackWhite(0); }); },
                    {0}});
    rows.push_back({"adding 255 children to a movie", children, {0}});
}

}  // namespace bench
