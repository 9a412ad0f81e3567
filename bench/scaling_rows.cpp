// What must not depend on something else: levels beside the mapping alone, time per pixel at all sizes, frame
// steps, events and levels at all movie lengths, additions at all numbers of children.
#include <algorithm>

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

Row beside(const WholePicture& one, const WholePicture& other, const char* name, double goal) {
    Row row;
    row.ours = one;
    row.units = one.pixels;
    row.peers = {{name, goal, other, 0, other.pixels}};
    return row;
}

Row perPixel(int size) {
    return beside({size, size, DataUInt16}, {kSmall, kSmall, DataUInt16}, "512²", kFlat);
}

/// Rows as long as 16 bits of row length allow, 1 GiB with the bitmap.
Row largest(int) {
    return beside({65532, 8192, DataUInt8}, {kLarge, kLarge, DataUInt8}, "4096²", kFlat);
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

/// Time per child; work that grows with the square of the children would take four times as long.
Row children(int) {
    Row row;
    row.ours = fillMovie(255);
    row.units = 255;
    row.peers = {{"64 children", 2.0, fillMovie(64), 0, 64}, {"128 children", 1.5, fillMovie(128), 0, 128}};
    return row;
}

}  // namespace

void addScalingRows(Catalogue& rows) {
    rows.push_back({"SetBlackWhite, 4096²", changedLevels, {0}});
    for (const int size : {64, 256, 1024, kLarge})
        rows.push_back({"unsigned 16 → 8 per pixel, " + std::to_string(size) + "²",
                        [size](int) { return perPixel(size); },
                        {0}});
    rows.push_back({"unsigned 8 → 8 per pixel, 65532 × 8192", largest, {0}});
    rows.push_back({"frame step, 100,000 frames",
                    [](int) { return frames([](Movie& movie) { movie.MoveToNextFrame(); }); },
                    {0}});
    rows.push_back({"event, 100,000 frames",
                    [](int) { return frames([](Movie& movie) { movie.NotifyObserver(EventOpacity, 0); }); },
                    {0}});
    rows.push_back({"level read, 100,000 frames",
                    [](int) { return frames([](Movie& movie) { movie.GetBlackWhite(0); }); },
                    {0}});
    rows.push_back({"adding a child, 255 children", children, {0}});
}

}  // namespace bench
