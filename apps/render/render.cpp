// The road of a frame: file, image record, component, bitmap, PNG file. Reading and preparing are left to the
// frame maker, showing to the view.
#include "render.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "apps/io/file_movie.h"
#include "apps/io/png_writer.h"
#include "frame_maker.h"
#include "info.h"
#include "view.h"

namespace {

using pzel_io::FileError;
using pzel_io::FileMovie;
using pzel_io::PictureInfo;

constexpr std::size_t kFewestDigits = 4;  // of a frame number in a file name

std::filesystem::path NumberedName(const std::filesystem::path& output, std::uint32_t frame) {
    std::string number = std::to_string(frame);
    if (number.size() < kFewestDigits) number.insert(0, kFewestDigits - number.size(), '0');
    return output.parent_path() / (output.stem().string() + "_" + number + output.extension().string());
}

// Overwrites itself on a terminal, and is silent elsewhere.
class Progress {
  public:
    explicit Progress(std::uint32_t frameCount)
        : total(frameCount), shown(frameCount > 1 && isatty(STDERR_FILENO)) {}
    ~Progress() {
        if (shown) std::fputs("\r\033[K", stderr);
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(std::uint32_t done) const {
        if (shown) std::fprintf(stderr, "\r%u of %u frames", done, total);
    }
    // Makes room for a line on the same terminal.
    void Hide() const {
        if (shown) std::fputs("\r\033[K", stderr);
    }

  private:
    std::uint32_t total;
    bool shown;
};

class Rendering {
  public:
    Rendering(const Options& wishes, pzel_io::PictureSource& file)
        : options(wishes), info(file.Info()), maker(wishes, file), ranges(wishes.frames.ranges) {
        if (ranges.empty()) ranges = {{0, info.frames - 1}};
        for (const FrameRange& range : ranges) {
            if (range.last >= info.frames) {
                throw FileError(info.file, "has no frame " + std::to_string(range.last) +
                                               "; its frames are 0 to " + std::to_string(info.frames - 1));
            }
        }
    }

    void PrintInfo() {
        const pzel_io::OwnedImage image = maker.Make(ranges[0].first);
        ::PrintInfo(std::cout, info, maker, *image);
    }

    void RenderFrames() {
        CheckOutput();
        FileMovie file(info.frames, info.file.string(),
                       [this](std::uint32_t frame) { return maker.Make(frame); });
        View view(file, maker, info, options);
        Movie& movie = file.GetMovie();
        for (const FrameRange& range : ranges) movie.AddFrameRange({range.first, range.last});
        const Progress progress(static_cast<std::uint32_t>(movie.GetRangesLength()));
        std::uint32_t done = 0;
        for (FrameIterator frame = movie.GetFrameIterator(); !frame.Done(); ++frame) {
            progress.Show(done++);
            RenderFrame(view, static_cast<std::uint32_t>(*frame), done == 1, progress);
        }
    }

  private:
    // The input must outlive a slip of the pen.
    void CheckOutput() const {
        std::error_code ignored;
        if (std::filesystem::equivalent(options.input, options.output, ignored)) {
            throw FileError(options.output, "is the input itself");
        }
    }

    void RenderFrame(View& view, std::uint32_t frame, bool first, const Progress& progress) {
        view.Show(frame);
        std::filesystem::path output = options.output;
        if (!options.output.empty()) {
            if (options.frames.numbered) output = NumberedName(output, frame);
            pzel_io::WritePng(output, view.Bitmap());
        }
        progress.Hide();
        if (!options.quiet && !options.output.empty()) PrintLine(view, frame, first, output);
        if (options.pixel) PrintPixel(view, frame);
    }

    std::string NameOf(std::uint32_t frame) const {
        const std::string name = info.file.string();
        if (info.frames == 1) return name;
        return name + " frame " + std::to_string(frame) + " of " + std::to_string(info.frames);
    }

    void PrintLine(const View& view, std::uint32_t frame, bool first, const std::filesystem::path& output) {
        char spent[32];
        std::snprintf(spent, sizeof spent, "%.3f", view.Milliseconds());
        const ShownBitmap& bitmap = view.Bitmap();
        std::cout << NameOf(frame) << ": " << pzel_io::TypeName(info.type) << " x " << info.channels << " "
                  << pzel_io::ModelName(info.model) << ", " << info.width << " x " << info.height
                  << ", levels " << view.Levels() << ", " << bitmap.width << " x " << bitmap.height
                  << " bitmap of " << bitmap.bits << (bitmap.bits == 1 ? " bit" : " bits") << " in " << spent
                  << " ms -> " << output.string();
        if (first) {
            for (const std::string& line : maker.Conversions()) std::cout << "; " << line;
        }
        std::cout << std::endl;
    }

    void PrintPixel(const View& view, std::uint32_t frame) const {
        const Pixel at = *options.pixel;
        std::cout << NameOf(frame) << ": pixel " << at.x << "," << at.y << ": " << view.PixelText(at.x, at.y)
                  << std::endl;
    }

    const Options& options;
    const PictureInfo& info;
    FrameMaker maker;
    std::vector<FrameRange> ranges;
};

}  // namespace

void Run(const Options& options) {
    const auto source = pzel_io::OpenPicture(options.input);
    Rendering rendering(options, *source);
    if (options.info) {
        rendering.PrintInfo();
    } else {
        rendering.RenderFrames();
    }
}
