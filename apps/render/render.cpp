// The road of a frame: files, image records, components, bitmap, file. Reading and preparing are left to
// the frame makers, showing to the views, putting together to the composition.
#include "render.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <utility>

#include "apps/io/file_movie.h"
#include "apps/io/picture_writer.h"
#include "composition.h"
#include "deep_picture.h"
#include "info.h"
#include "opened_layer.h"
#include "outlet.h"
#include "picture_line.h"
#include "pixel_text.h"
#include "pzel/component/group.h"
#include "pzel/display/vector.h"
#include "view.h"

namespace {

using pzel_io::FileError;
using pzel_io::FileMovie;
using pzel_io::PictureInfo;

// A picture's own name in the folder, with the ending of the format.
std::filesystem::path EachOutput(const std::filesystem::path& folder, const std::filesystem::path& input,
                                 pzel_io::FileFormat format) {
    const char* ending = format == pzel_io::FileFormat::Jpeg   ? ".jpg"
                         : format == pzel_io::FileFormat::Tiff ? ".tif"
                                                               : ".png";
    const std::filesystem::path name =
        input.has_filename() ? input.filename() : input.parent_path().filename();
    return folder / (name.stem().string() + ending);
}

class Rendering {
  public:
    explicit Rendering(const Options& wishes) : options(wishes), ranges(wishes.frames.ranges) {
        for (const Layer& layer : options.layers)
            frames = std::max(frames, layers.emplace_back(layer).Info().frames);
        CheckPlaces();
        if (IsDeep()) CheckDepth();
        for (OpenedLayer& opened : layers) opened.Prepare();
        CheckFrames();
    }

    void PrintInfo() {
        std::vector<LayerReport> reports;
        for (OpenedLayer& opened : layers)
            reports.push_back(MakeReport(opened, opened.Info().frames == 1 ? 0 : ranges[0].first));
        if (options.json) return PrintJson(std::cout, reports);
        for (const LayerReport& report : reports) {
            if (&report != &reports[0]) std::cout << "\n";
            PrintText(std::cout, report);
        }
    }

    // How many pictures there will be.
    std::uint64_t Count() const {
        std::uint64_t count = 0;
        for (const FrameRange& range : ranges) count += (*range.last - range.first) / range.step + 1;
        return count;
    }

    void RenderFrames(Outlet& outlet) {
        const ArrowTables tables;
        std::vector<FileMovie::Layer> files;
        for (OpenedLayer& opened : layers) {
            files.push_back({opened.Info().file.string(), opened.Info().frames,
                             [&opened](std::uint32_t frame) { return opened.Make(frame); }});
        }
        FileMovie file(std::move(files));
        Movie& movie = file.GetMovie();
        std::deque<View> views;
        for (std::size_t i = 0; i < layers.size(); ++i)
            views.emplace_back(file, i, layers[i].Maker(), layers[i].Info(), layers[i].layer, options.zoom);
        Composition composition(movie, shown, options.zoom);
        SelectFrames(movie);
        std::uint32_t done = 0;
        for (FrameIterator frame = movie.GetFrameIterator(); !frame.Done();) {
            outlet.Show(done++);
            const auto number = static_cast<std::uint32_t>(*frame);
            file.GoTo(number);
            ++frame;
            if (!frame.Done()) ExpectFrame(static_cast<std::uint32_t>(*frame));
            for (View& view : views) view.Show();
            const Picture picture = MakePicture(views, composition);
            const FinishedBitmap finished(picture.bitmap, options.finish);
            const std::filesystem::path output =
                outlet.MakesSheets() ? std::filesystem::path() : OutputOf(number);
            std::ostringstream lines;
            if (!options.quiet && !options.output.empty())
                PrintPicture(lines, layers, views,
                             {finished.Bitmap(), options.depth, options.zoom, picture.milliseconds, number,
                              done == 1, output});
            if (layers[0].Difference()) PrintDifference(lines, *layers[0].Difference(), number);
            if (options.pixels) PrintPixels(lines, file, number);
            if (outlet.MakesSheets()) {
                outlet.PutCell(finished.Bitmap(), TitleOf(number), lines.str());
            } else if (IsDeep()) {
                const DeepPicture deep(*file.Picture(0).GetCurrentImage(), GetLevels(file.Picture(0)),
                                       layers[0].layer, First());
                outlet.Put(output, deep.AsFilePicture(), lines.str());
            } else {
                outlet.Put(output, pzel_io::AsFilePicture(finished.Bitmap()), lines.str());
            }
        }
    }

  private:
    struct Picture {
        ShownBitmap bitmap;
        double milliseconds;
    };

    // The tables that arrows are drawn from.
    struct ArrowTables {
        ArrowTables() { VectorInit(); }
        ~ArrowTables() { VectorTermination(); }
        ArrowTables(const ArrowTables&) = delete;
        ArrowTables& operator=(const ArrowTables&) = delete;
    };

    const PictureInfo& First() const { return layers[0].Info(); }

    // What a composition is called where it is wrong itself: its output, if there is one.
    std::filesystem::path NameOfPicture() const {
        return layers.size() == 1 || options.output.empty() ? First().file.string() : options.output;
    }

    // A picture as it is needs no composing.
    bool IsPlain() const {
        const Layer& layer = layers[0].layer;
        return layers.size() == 1 && !layer.IsOverlay() && layer.opacity == 1 && IsOneToOne();
    }
    // Values of 16 bits go past bitmaps.
    bool IsDeep() const { return options.depth == 16 && !options.output.empty(); }
    bool IsOneToOne() const { return options.zoom > -2 && options.zoom < 2; }

    // The rectangle of all that is visible, and what is asked for of it.
    void CheckPlaces() {
        std::optional<Area> all;
        for (const OpenedLayer& opened : layers) {
            if (opened.layer.area) CheckOwnArea(opened);
            if (opened.layer.hidden) continue;
            const Area place = PlaceOf(opened.layer, opened.Info());
            all = all ? UnionOf(*all, place) : place;
        }
        shown = *all;
        if (options.area) {
            CheckInside(options.area->right, options.area->bottom, shown, "the area goes", NameOfPicture());
            shown = {all->left + options.area->left, all->top + options.area->top,
                     all->left + options.area->right, all->top + options.area->bottom};
        }
        for (OpenedLayer& opened : layers)
            if (options.area || opened.layer.area) ShowPart(opened);
        if (options.pixels)
            CheckInside(options.pixels->right, options.pixels->bottom, PlaceOf(layers[0].layer, First()),
                        "the pixels go", First().file);
        if (IsPlain()) return;
        for (const OpenedLayer& opened : layers) CheckReach(opened);
        const std::string objection = Composition::Objection(shown, options.zoom);
        if (!objection.empty()) throw FileError(NameOfPicture(), objection);
    }

    void CheckDepth() const {
        const char* objection = IsPlain() ? DeepObjection(layers[0].layer, First())
                                          : "only a single picture at its own size has 16 bits (--depth 16)";
        if (*objection) throw FileError(NameOfPicture(), objection);
    }

    // The movie counts its columns and rows in 16 bits.
    static void CheckReach(const OpenedLayer& opened) {
        using Limits = std::numeric_limits<std::int16_t>;
        const Area place = PlaceOf(opened.layer, opened.Info());
        if (place.right <= Limits::max() && place.bottom <= Limits::max()) return;
        throw FileError(opened.Info().file, "would reach beyond column or row 32767 of the picture");
    }

    static void CheckOwnArea(const OpenedLayer& opened) {
        const PictureInfo& info = opened.Info();
        CheckInside(opened.layer.area->right, opened.layer.area->bottom,
                    {0, 0, info.width - 1, info.height - 1}, "the area goes", info.file);
    }

    static void CheckInside(int x, int y, const Area& place, const char* what,
                            const std::filesystem::path& name) {
        if (x < WidthOf(place) && y < HeightOf(place)) return;
        throw FileError(name, std::string(what) + " beyond the picture of " + std::to_string(WidthOf(place)) +
                                  " x " + std::to_string(HeightOf(place)) + " pixels");
    }

    // Of a picture only the part is mapped that is asked for. Bits are taken whole, and converted where a
    // part of them is all there is to see.
    void ShowPart(OpenedLayer& opened) const {
        const bool bits = opened.Info().type == DataBit;
        if (opened.layer.IsOverlay() || (bits && layers.size() > 1 && !opened.layer.area)) return;
        const Area place = PlaceOf(opened.layer, opened.Info());
        const auto part = SharedPart(place, shown);
        if (!part) return;
        const int x = opened.layer.x, y = opened.layer.y;
        const Area inside{part->left - x, part->top - y, part->right - x, part->bottom - y};
        if (options.info || options.pixels) {
            opened.layer.area = inside;
        } else {
            opened.ShowPart(inside);
        }
    }

    // Layers of one frame are shown with every frame of the others. Ranges without an end get theirs.
    void CheckFrames() {
        for (FrameRange& range : ranges) {
            if (!range.last) range.last = std::max(range.first, frames - 1);
            for (const OpenedLayer& opened : layers) {
                const PictureInfo& info = opened.Info();
                if (*range.last < info.frames || (info.frames == 1 && frames > 1)) continue;
                throw FileError(info.file, "has no frame " + std::to_string(*range.last) +
                                               "; its frames are 0 to " + std::to_string(info.frames - 1));
            }
        }
    }

    void SelectFrames(Movie& movie) const {
        for (const FrameRange& range : ranges) {
            if (range.step == 1) {
                movie.AddFrameRange({range.first, *range.last});
                continue;
            }
            for (std::uint64_t frame = range.first; frame <= *range.last; frame += range.step) {
                const auto number = static_cast<std::uint32_t>(frame);
                movie.AddFrameRange({number, number});
            }
        }
    }

    void ExpectFrame(std::uint32_t frame) {
        for (OpenedLayer& opened : layers)
            if (opened.Info().frames > 1) opened.Expect(frame);
    }

    // What a sheet says below a picture.
    std::string TitleOf(std::uint32_t frame) const {
        const std::string file = First().file.filename().string();
        return First().frames == 1 ? file
               : options.each      ? file + " " + std::to_string(frame)
                                   : std::to_string(frame);
    }

    Picture MakePicture(const std::deque<View>& views, Composition& composition) const {
        if (IsPlain()) return {views[0].Bitmap(), views[0].Milliseconds()};
        using Clock = std::chrono::steady_clock;
        const Clock::time_point start = Clock::now();
        const ShownBitmap& bitmap = composition.Draw();
        std::chrono::duration<double, std::milli> spent = Clock::now() - start;
        for (const View& view : views) spent += decltype(spent)(view.Milliseconds());
        return {bitmap, spent.count()};
    }

    // With --each the output is a folder.
    std::filesystem::path OutputOf(std::uint32_t frame) const {
        if (options.output.empty()) return {};
        std::filesystem::path output = options.output;
        if (options.each) output = EachOutput(output, First().file, options.writing.format);
        if (options.frames.numbered) output = NumberedName(output, frame);
        CheckOutput(output);
        return output;
    }

    // The inputs must outlive a slip of the pen.
    void CheckOutput(const std::filesystem::path& output) const {
        std::error_code ignored;
        for (const OpenedLayer& opened : layers) {
            const Layer& layer = opened.layer;
            const std::string subtracted = layer.subtracted.empty() ? "" : layer.subtracted.front().file;
            for (const std::string& input : {layer.file, layer.oddField, subtracted}) {
                if (std::filesystem::equivalent(input, output, ignored))
                    throw FileError(output, layers.size() > 1 ? "is an input itself" : "is the input itself");
            }
        }
    }

    void PrintDifference(std::ostream& out, const pzel_io::DifferenceSource& difference,
                         std::uint32_t frame) const {
        out << layers[0].NameOf(frame) << " - " << difference.Subtracted().string() << ": "
            << DifferenceText(difference.Figures(), First()) << '\n';
    }

    // Of the file whose component input and output act on, which is the first one.
    void PrintPixels(std::ostream& out, FileMovie& file, std::uint32_t frame) const {
        const auto layer = static_cast<std::size_t>(GetIOComponent(&file.GetMovie())->GetIndex());
        const OpenedLayer& opened = layers[layer];
        const Image& made = *file.Picture(layer).GetCurrentImage();
        const Image& told = opened.layer.look.bake ? made : opened.Maker().Values(made);
        ::PrintPixels(out, layers[0].NameOf(frame), told, *options.pixels);
    }

    const Options& options;
    std::deque<OpenedLayer> layers;  // which stay where they are
    std::vector<FrameRange> ranges;
    std::uint32_t frames = 1;  // of the longest layer
    Area shown{};              // in the movie's columns and rows
};

// Two inputs must not come out under one name, and there must be a folder for them.
void CheckEachOutput(const Options& options) {
    if (options.output.empty() || options.montage) return;
    std::error_code error;
    std::filesystem::create_directories(options.output, error);
    if (!std::filesystem::is_directory(options.output))
        throw FileError(options.output, "is no folder" + (error ? ": " + error.message() : std::string()));
    std::map<std::filesystem::path, std::string> taken;
    for (const Layer& layer : options.layers) {
        const auto output = EachOutput(options.output, layer.file, options.writing.format);
        const auto [found, isNew] = taken.try_emplace(output, layer.file);
        if (!isNew)
            throw FileError(layer.file, "would be written to " + output.string() + ", like " + found->second);
    }
}

// One picture after the other, each of one layer. What is wrong with one is told, and the others are made.
int RunEach(const Options& options, Outlet& outlet) {
    int status = 0;
    for (const Layer& layer : options.layers) {
        Options single = options;
        single.layers = {layer};
        single.layers[0].look = options.layers[0].look;
        try {
            Rendering(single).RenderFrames(outlet);
        } catch (const pzel_io::FileError& error) {
            std::fprintf(stderr, "pzel-render: %s\n", error.what());
            status = 1;
        }
    }
    return status;
}

}  // namespace

int Run(const Options& options) {
    const Lines lines = options.quiet ? Lines::LeftOut : Lines::Told;
    int status = 0;
    if (options.each && !options.info) {
        CheckEachOutput(options);
        Outlet outlet(options.output, options.writing, options.montage, 0, lines);
        status = RunEach(options, outlet);
        outlet.Finish();
        return status;
    }
    Rendering rendering(options);
    if (options.info) {
        rendering.PrintInfo();
        return status;
    }
    Outlet outlet(options.output, options.writing, options.montage, rendering.Count(), lines);
    try {
        rendering.RenderFrames(outlet);
    } catch (...) {
        // What came before is written, and what went wrong with it went wrong first.
        outlet.Finish();
        throw;
    }
    outlet.Finish();
    return status;
}
