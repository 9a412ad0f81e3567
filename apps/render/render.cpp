// The road of a frame: file, image record, component, bitmap, PNG file. Reading and preparing are left to the
// frame maker.
#include "render.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <limits>

#include "apps/io/file_movie.h"
#include "apps/io/png_writer.h"
#include "frame_maker.h"
#include "info.h"
#include "pzel/display/bitmap.h"
#include "tone_curve.h"

namespace {

using pzel_io::FileError;
using pzel_io::FileMovie;
using pzel_io::PictureInfo;

constexpr std::size_t kFewestDigits = 4;  // of a frame number in a file name

unsigned short ChannelMode(Channel channel) {
    switch (channel) {
        case Channel::Red:
        case Channel::Y: return CompChannelRed;
        case Channel::Green: return CompChannelGreen;
        case Channel::Blue: return CompChannelBlue;
        default: return 0;  // all; u and v are shown as pictures of their own
    }
}

ToneCurve::Model CurveModel(const Image& image) {
    if (image.channels != 3) return ToneCurve::Model::Grey;
    return GetSubType(&image) == SubYuv ? ToneCurve::Model::Yuv : ToneCurve::Model::Colour;
}

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
        : options(wishes), info(file.Info()), maker(wishes, file), frames(wishes.frames) {
        if (!frames.last) frames.last = info.frames - 1;
        if (*frames.last >= info.frames) {
            throw FileError(info.file, "has no frame " + std::to_string(*frames.last) +
                                           "; its frames are 0 to " + std::to_string(info.frames - 1));
        }
    }

    void PrintInfo() {
        const pzel_io::OwnedImage image = maker.Make(frames.first);
        ::PrintInfo(std::cout, info, maker, *image);
    }

    void RenderFrames() {
        CheckOutput();
        const std::uint32_t count = *frames.last - frames.first + 1;
        const Progress progress(count);
        FileMovie movie(info.frames, frames.first, info.file.string(),
                        [this](std::uint32_t frame) { return maker.Make(frame); });
        SetUp(movie.Picture());
        for (std::uint32_t done = 0; done < count; ++done) {
            progress.Show(done);
            movie.GoTo(frames.first + done);
            RenderFrame(movie.Picture(), frames.first + done, progress);
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

    void SetUp(Comp& comp) const {
        comp.flagsA |= ChannelMode(options.channel);
        if (options.area) {
            const Area& area = *options.area;
            comp.dataArea =
                new SRect{static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(area.right),
                          static_cast<std::int16_t>(area.top), static_cast<std::int16_t>(area.bottom)};
            comp.flagsA |= CompExtentDataArea;
        }
        CheckBitmap(comp);
        const bool inverted = options.invert != info.lowIsWhite;
        const Image& image = *comp.GetCurrentImage();
        if (GetDataType(&image) != DataBit && (inverted || options.gamma != 1)) {
            // Before the first bitmap, so that it is mapped once: the component takes the curve over as it
            // is.
            comp.remapper = new ToneCurve(options.gamma, inverted, CurveModel(image));
        }
    }

    // Bitmap rows count their bytes in 16 bits.
    void CheckBitmap(Comp& comp) const {
        const int bits = comp.ComputeBmpBits();
        if (bits == 0)
            throw FileError(info.file,
                            "a picture of " + std::to_string(info.channels) + " channels cannot be shown");
        unsigned short x, y, width, height;
        comp.GetValidDataArea(x, y, width, height);
        const int rowBytes = (width * bits + 7) / 8;
        if (rowBytes > ComputeBmpLineBytes(width, bits)) {
            throw FileError(info.file,
                            "a bitmap row of " + std::to_string(rowBytes) +
                                " bytes is longer than a bitmap can hold (65532); --area shows a part");
        }
    }

    void RenderFrame(Comp& comp, std::uint32_t frame, const Progress& progress) {
        using Clock = std::chrono::steady_clock;
        const auto start = Clock::now();
        comp.ComputeBitmap(-1);
        const std::chrono::duration<double, std::milli> spent = Clock::now() - start;
        const ShownBitmap bitmap = comp.GetShownBitmap();
        if (!bitmap.pixels) throw FileError(info.file, "frame " + std::to_string(frame) + " gives no bitmap");
        const std::filesystem::path output =
            frames.numbered ? NumberedName(options.output, frame) : std::filesystem::path(options.output);
        pzel_io::WritePng(output, bitmap);
        if (options.quiet) return;
        progress.Hide();
        PrintLine(comp, frame, bitmap, spent.count(), output);
    }

    void PrintLine(Comp& comp, std::uint32_t frame, const ShownBitmap& bitmap, double milliseconds,
                   const std::filesystem::path& output) {
        char spent[32];
        std::snprintf(spent, sizeof spent, "%.3f", milliseconds);
        std::cout << info.file.string();
        if (info.frames > 1) std::cout << " frame " << frame << " of " << info.frames;
        std::cout << ": " << pzel_io::TypeName(info.type) << " x " << info.channels << " "
                  << pzel_io::ModelName(info.model) << ", " << info.width << " x " << info.height
                  << ", levels " << maker.LevelsOf(*comp.GetCurrentImage()) << ", " << bitmap.width << " x "
                  << bitmap.height << " bitmap of " << bitmap.bits << (bitmap.bits == 1 ? " bit" : " bits")
                  << " in " << spent << " ms -> " << output.string();
        if (frame == frames.first) {
            for (const std::string& line : maker.Conversions()) std::cout << "; " << line;
        }
        std::cout << std::endl;
    }

    const Options& options;
    const PictureInfo& info;
    FrameMaker maker;
    FrameSpan frames;
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
