// PNG files: values as they are stored, alpha left out, palettes as colours. The frames of animations are
// composed on a canvas with alpha, which is left out then.
#include "apps/io/readers/reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "apps/io/readers/file_bytes.h"
#include "apps/io/readers/orientation.h"
#include "apps/io/readers/png_decoder.h"

namespace pzel_io {

namespace {

constexpr int kByteBits = 8;
constexpr int kWordBits = 16;
constexpr int kPaletteColours = 3;
constexpr double kMostPacked = 1032;  // times, by deflate

class PngReader final : public Reader {
  public:
    explicit PngReader(const OpenRequest& request)
        : Reader(request), file(info.file), content(ListPngChunks(file.All())) {
        CheckContent();
        info.width = static_cast<int>(header.width);
        info.height = static_cast<int>(header.height);
        info.frames = static_cast<std::uint32_t>(content.frames.size());
        ChooseType();
        CheckSize();
        CheckHeld(kMostPacked * static_cast<double>(info.channels) * static_cast<double>(ElementBits()) /
                  (StoredSamples() * header.depth));
        NoteRest();
        if (content.isAnimated) ChooseAnimation();
        FollowAspect();
        if (!content.exif.empty()) orientation.Follow(ExifOrientation(content.exif), options, info);
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        FrameNotes notes;
        orientation.Read(info, wanted.rows, pixels, [&](const Rows& rows, std::span<unsigned char> stored) {
            if (bytes) {
                Compose(*bytes, wanted.frame, stored, notes);
            } else if (words) {
                Compose(*words, wanted.frame, stored, notes);
            } else {
                ReadStill(rows, stored, notes);
            }
        });
        return notes;
    }

  private:
    void CheckContent() {
        const std::array<int, 7> samples = {1, 0, 3, 1, 2, 0, 4};
        if (content.header.rest.empty()) Fail("is cut short, or damaged: it has no header");
        if (header.colour >= static_cast<int>(samples.size()) || samples[header.colour] == 0 ||
            (header.depth != 1 && header.depth != 2 && header.depth != 4 && header.depth != kByteBits &&
             header.depth != kWordBits)) {
            Fail("is damaged: pixels of an unknown kind");
        }
        storedSamples = samples[header.colour];
        constexpr std::uint32_t kMost = std::numeric_limits<std::int32_t>::max();
        if (header.width > kMost || header.height > kMost) Fail("is damaged: its sides are endless");
        if (!content.damage.empty() && !options.partial) Fail("is damaged: " + content.damage);
        if (content.isCut && !options.partial) Fail("is cut short");
        if (content.frames.empty()) Fail("is cut short: none of its frames is there");
    }

    int StoredSamples() const { return storedSamples; }
    int ElementBits() const {
        return info.type == DataBit ? 1 : static_cast<int>(ElementBytes(info.type)) * kByteBits;
    }
    bool HasAlpha() const { return header.colour == kPngGreyAlpha || header.colour == kPngRgba; }
    bool IsGrey() const { return header.colour == kPngGrey || header.colour == kPngGreyAlpha; }
    bool IsVectors() const {
        return options.purpose == Purpose::Vectors && header.colour == kPngGreyAlpha && !content.isAnimated;
    }

    // The numbers of a palette's entries instead of its colours.
    bool IsLabels() const {
        return options.purpose == Purpose::Mask && header.colour == kPngPalette && !content.isAnimated;
    }

    void ChooseType() {
        info.type = header.depth == kWordBits ? DataUInt16 : DataUInt8;
        if (IsLabels()) {
            info.model = SubGrey;
            info.channels = 1;
            return Note("palette indices as labels");
        }
        info.model = IsGrey() ? SubGrey : SubColour;
        info.channels = IsVectors() ? 2 : IsGrey() ? 1 : kPaletteColours;
        if (header.colour == kPngPalette) return Note("palette indices to colour");
        if (header.depth == 1) info.type = DataBit;
        if (header.depth > 1 && header.depth < kByteBits)
            info.window = Window{0, static_cast<double>((1 << header.depth) - 1)};
        if (HasAlpha() && !IsVectors() && !content.isAnimated) Note("alpha left out");
    }

    void NoteRest() {
        if (content.isCut) Note("is cut short: shown as far as it goes");
        if (!content.damage.empty()) Note("is damaged: " + content.damage);
        if (!content.transparency.empty() && !content.isAnimated) {
            Note(header.colour == kPngPalette ? "transparency of the palette left out"
                                              : "the colour that stands for transparency is shown");
        }
        const Bytes bits = content.significantBits;
        const auto isLess = [&](unsigned char significant) { return significant < SampleBits(); };
        if (std::any_of(bits.begin(), bits.end(), isLess)) {
            std::string list;
            for (const unsigned char significant : bits)
                list += (list.empty() ? "" : ",") + std::to_string(significant);
            Note(list + " significant bits: values as stored");
        }
        NoteColours();
    }
    int SampleBits() const { return header.colour == kPngPalette ? kByteBits : header.depth; }

    // What asks for other colours than those of a usual screen.
    void NoteColours() {
        constexpr double kUsualGamma = 0.45455, kNear = 0.01;
        constexpr int kSrgbPrimaries = 1, kSrgbTransfer = 13;
        if (!content.codes.empty()) {
            if (content.codes[0] != kSrgbPrimaries || content.codes[1] != kSrgbTransfer)
                Note("coded for another screen than sRGB: values as stored");
        } else if (!content.profile.empty()) {
            if (content.profile.find("sRGB") == std::string::npos)
                Note("colour profile not applied: " + content.profile);
        } else if (!content.isSrgb && content.gamma && std::abs(*content.gamma - kUsualGamma) > kNear) {
            Note("gamma " + NumberText(*content.gamma) + " not applied");
        }
    }

    void FollowAspect() {
        if (content.aspect.empty()) return;
        const std::uint32_t x = PngLong(content.aspect, 0);  // pixels for each unit
        const std::uint32_t y = PngLong(content.aspect, 4);
        if (x == 0 || y == 0 || x == y) return;
        info.pixelAspect = static_cast<double>(y) / x;
        constexpr double kTold = 0.001;  // less comes from rounding to whole pixels a unit
        if (std::abs(info.pixelAspect - 1) < kTold) return;
        Note("pixels are " + NumberText(info.pixelAspect) + " times as wide as high, shown square");
    }

    void ChooseAnimation() {
        std::vector<AnimationFrame> places;
        double seconds = 0;
        for (const PngFrame& frame : content.frames) {
            places.push_back(frame.place);
            seconds += frame.seconds;
        }
        if (seconds > 0) info.frameRate = info.frames / seconds;
        Note("frames of an animation composed, alpha left out");
        if (content.hasCover) Note("the picture for hosts without animations left out");
        if (header.depth == kWordBits) {
            words.emplace(info.width, info.height, info.channels, std::move(places));
        } else {
            bytes.emplace(info.width, info.height, info.channels, std::move(places));
        }
    }

    // Refuses what is not whole, or tells of it and leaves the rest black.
    void Judge(const PngOutcome& outcome, int rows, FrameNotes& notes) const {
        if (outcome.damage.empty()) return;
        const std::string reason = outcome.isCut ? "is cut short" : "is damaged: " + outcome.damage;
        if (!options.partial) Fail(reason);
        notes.notes.push_back(reason + (header.isInterlaced
                                            ? ""
                                            : ", " + std::to_string(outcome.wholeRows) + " of " +
                                                  std::to_string(rows) + " rows are there"));
    }

    void ReadStill(const Rows& rows, std::span<unsigned char> pixels, FrameNotes& notes) const {
        const PngRows as = info.type == DataBit        ? PngRows::Bits
                           : IsVectors() || IsLabels() ? PngRows::Samples
                                                       : PngRows::Opaque;
        const auto height = static_cast<int>(header.height);
        if (options.partial) std::fill(pixels.begin(), pixels.end(), static_cast<unsigned char>(0));
        Judge(UnpackPng(content, content.frames.front(), as, rows.last, pixels.size() / header.height,
                        pixels.data(), options.partial),
              height, notes);
    }

    template <class T>
    void Compose(Animation<T>& animation, std::uint32_t number, std::span<unsigned char> pixels,
                 FrameNotes& notes) const {
        const std::vector<T>& canvas = animation.Compose(
            number, [&](std::uint32_t frame) { return FramePixels<T>(content.frames[frame], notes); });
        const auto channels = static_cast<std::size_t>(info.channels);
        if (info.type == DataBit) return PackBits(canvas, pixels);
        unsigned char* to = pixels.data();
        for (std::size_t at = 0; at < canvas.size(); at += channels + 1, to += channels * sizeof(T))
            std::memcpy(to, &canvas[at], channels * sizeof(T));
    }

    template <class T>
    void PackBits(const std::vector<T>& canvas, std::span<unsigned char> pixels) const {
        const std::size_t width = header.width;
        const std::size_t rowBytes = (width + 7) / 8;
        std::fill(pixels.begin(), pixels.end(), static_cast<unsigned char>(0));
        for (std::size_t at = 0; at < canvas.size() / 2; ++at) {
            const std::size_t x = at % width;
            if (canvas[2 * at])
                pixels[at / width * rowBytes + x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
        }
    }

    // The pixels of a frame's area, with alpha.
    template <class T>
    std::vector<T> FramePixels(const PngFrame& frame, FrameNotes& notes) const {
        const auto width = static_cast<std::size_t>(frame.place.area.width);
        const auto height = static_cast<std::size_t>(frame.place.area.height);
        const auto stored = static_cast<std::size_t>(StoredSamples());
        const auto channels = static_cast<std::size_t>(info.channels);
        std::vector<T> samples(width * height * stored);
        Judge(UnpackPng(content, frame, PngRows::Samples, frame.place.area.height - 1,
                        width * stored * sizeof(T), reinterpret_cast<unsigned char*>(samples.data()),
                        options.partial),
              frame.place.area.height, notes);
        if (HasAlpha()) return samples;
        std::vector<T> pixels(width * height * (channels + 1));
        T* to = pixels.data();
        for (auto from = samples.begin(); from != samples.end();
             from += static_cast<std::ptrdiff_t>(stored)) {
            if (header.colour == kPngPalette) {
                to = PutColour(static_cast<std::size_t>(*from), to);
            } else {
                to[channels] = IsTransparent(&*from) ? T{0} : std::numeric_limits<T>::max();
                std::copy_n(from, channels, to);
                to += channels + 1;
            }
        }
        return pixels;
    }

    template <class T>
    T* PutColour(std::size_t index, T* to) const {
        constexpr std::size_t kChunkHead = 8, kChunkTail = 4;
        const std::size_t at = kChunkHead + kPaletteColours * index;
        const bool known = at + kPaletteColours + kChunkTail <= content.palette.size();
        for (std::size_t i = 0; i < kPaletteColours; ++i) *to++ = known ? content.palette[at + i] : T{0};
        *to++ =
            index < content.transparency.size() ? content.transparency[index] : std::numeric_limits<T>::max();
        return to;
    }

    template <class T>
    bool IsTransparent(const T* sample) const {
        const Bytes key = content.transparency;
        if (key.size() < 2 * static_cast<std::size_t>(StoredSamples())) return false;
        for (int i = 0; i < StoredSamples(); ++i) {
            if (sample[i] != (key[2 * i] << kByteBits | key[2 * i + 1])) return false;
        }
        return true;
    }

    FileBytes file;
    PngContent content;
    const PngHeader& header = content.header;
    int storedSamples = 1;  // of a pixel
    Orientation orientation;
    std::optional<Animation<std::uint8_t>> bytes;  // where the file is an animation: one of both
    std::optional<Animation<std::uint16_t>> words;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<PngReader>(request);
}

}  // namespace pzel_io
