// GIF files: pictures and animations, composed as browsers do. What no frame draws, or one clears, is
// transparent, and shown black. The pixels of each frame are unpacked by giflib.
#include "apps/io/readers/reader.h"

#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "apps/io/readers/file_bytes.h"
#include "apps/io/readers/gif_blocks.h"

namespace pzel_io {

namespace {

constexpr int kColours = 3;
constexpr unsigned char kOpaque = 255;
constexpr double kMostPacked = 4096;  // pixels of the longest code, which takes more than a byte

// One frame as a file of its own.
class FrameFile {
  public:
    FrameFile(Bytes screen, Bytes image) : pieces{screen, image} {
        int error = 0;
        gif = DGifOpen(this, Read, &error);
    }
    ~FrameFile() {
        int error = 0;
        if (gif) DGifCloseFile(gif, &error);
    }
    FrameFile(const FrameFile&) = delete;
    FrameFile& operator=(const FrameFile&) = delete;

    // Unpacks rows of indices in the order of the file; the number of those that are whole.
    int Unpack(std::vector<unsigned char>& indices, int width, int height) {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        if (!gif || DGifGetRecordType(gif, &type) == GIF_ERROR || type != IMAGE_DESC_RECORD_TYPE ||
            DGifGetImageDesc(gif) == GIF_ERROR) {
            return 0;
        }
        for (int y = 0; y < height; ++y) {
            unsigned char* const row =
                &indices[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)];
            if (DGifGetLine(gif, row, width) == GIF_ERROR) return y;
        }
        return height;
    }

  private:
    static int Read(GifFileType* file, GifByteType* to, int count) {
        auto& self = *static_cast<FrameFile*>(file->UserData);
        int read = 0;
        while (read < count && self.piece < self.pieces.size()) {
            Bytes& from = self.pieces[self.piece];
            const auto part = std::min<std::size_t>(static_cast<std::size_t>(count - read), from.size());
            std::memcpy(to + read, from.data(), part);
            from = from.subspan(part);
            if (from.empty()) ++self.piece;
            read += static_cast<int>(part);
        }
        return read;
    }

    std::array<Bytes, 2> pieces;
    std::size_t piece = 0;
    GifFileType* gif = nullptr;
};

class GifReader final : public Reader {
  public:
    explicit GifReader(const OpenRequest& request)
        : Reader(request), file(info.file), content(ListGifBlocks(file.All())) {
        if (content.isCut && !options.partial) Fail("is cut short");
        if (!content.damage.empty() && !options.partial) Fail("is damaged: " + content.damage);
        if (content.frames.empty()) Fail(content.isCut ? "is cut short" : "holds no picture");
        info.type = DataUInt8;
        info.model = SubColour;
        info.channels = kColours;
        info.frames = static_cast<std::uint32_t>(content.frames.size());
        // Some writers leave the screen empty, or make it smaller than the picture.
        const Area& first = content.frames.front().place.area;
        info.width = std::max(content.width, first.x + first.width);
        info.height = std::max(content.height, first.y + first.height);
        CheckSize();
        CheckHeld(kColours * kMostPacked);
        ChooseFrames();
        Note("palette indices to colour");
        NoteRest();
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        FrameNotes notes;
        const std::vector<unsigned char>& canvas =
            animation->Compose(wanted.frame, [&](std::uint32_t frame) { return FramePixels(frame, notes); });
        unsigned char* to = pixels.data();
        for (std::size_t at = 0; at < canvas.size(); at += kColours + 1, to += kColours)
            std::memcpy(to, &canvas[at], kColours);
        return notes;
    }

  private:
    // Where frames lie beyond the screen, their parts inside count.
    void ChooseFrames() {
        std::vector<AnimationFrame> places;
        int hundredths = 0;
        for (const GifFrame& frame : content.frames) {
            AnimationFrame place = frame.place;
            Area& area = place.area;
            area.x = std::min(area.x, info.width);
            area.y = std::min(area.y, info.height);
            area.width = std::min(area.width, info.width - area.x);
            area.height = std::min(area.height, info.height - area.y);
            isClipped |= area.width != frame.place.area.width || area.height != frame.place.area.height;
            place.blend = frame.transparent ? Blend::Over : Blend::Replace;
            places.push_back(place);
            hundredths += frame.hundredths;
        }
        constexpr double kHundred = 100;
        if (info.frames > 1 && hundredths > 0) info.frameRate = kHundred * info.frames / hundredths;
        // Before the first frame there is nothing that could come back.
        if (places.front().disposal == Disposal::Restore) places.front().disposal = Disposal::Clear;
        animation.emplace(info.width, info.height, kColours, std::move(places));
    }

    void NoteRest() {
        if (content.isCut) Note("is cut short: shown as far as it goes");
        if (!content.damage.empty()) Note("is damaged: " + content.damage);
        const auto& frames = content.frames;
        const Area& first = frames.front().place.area;
        const bool isBare = first.width < info.width || first.height < info.height;
        if (isBare || std::any_of(frames.begin(), frames.end(),
                                  [](const GifFrame& frame) { return frame.transparent.has_value(); })) {
            Note("transparent pixels shown black");
        }
        if (isClipped) Note("parts of frames beyond the screen left out");
    }

    // The pixels of a frame's area inside the screen, with alpha.
    std::vector<unsigned char> FramePixels(std::uint32_t number, FrameNotes& notes) const {
        const GifFrame& frame = content.frames[number];
        const Area& area = frame.place.area;
        std::vector<unsigned char> indices(Checked(number));
        FrameFile one(content.screen, frame.image);
        const int rows = one.Unpack(indices, area.width, area.height);
        if (rows < area.height) {
            const std::string reason = "frame " + std::to_string(number) + " is damaged or cut short";
            if (!options.partial) Fail(reason);
            notes.notes.push_back(reason + ", " + std::to_string(rows) + " of " +
                                  std::to_string(area.height) + " rows are there");
        }
        return Coloured(frame, indices, rows);
    }

    // Pixels of a frame; not more than its packed bytes can hold.
    std::size_t Checked(std::uint32_t number) const {
        const GifFrame& frame = content.frames[number];
        const std::size_t pixels = static_cast<std::size_t>(frame.place.area.width) *
                                   static_cast<std::size_t>(frame.place.area.height);
        if (static_cast<double>(pixels) > kMostPacked * static_cast<double>(frame.packed.size()))
            Fail("frame " + std::to_string(number) + " is larger than its bytes can hold");
        return pixels;
    }

    std::vector<unsigned char> Coloured(const GifFrame& frame, const std::vector<unsigned char>& indices,
                                        int rows) const {
        std::array<std::array<unsigned char, kColours + 1>, 256> colours{};
        for (std::size_t i = 0; i < colours.size(); ++i) {
            const bool isKnown = kColours * (i + 1) <= frame.palette.size();
            if (isKnown) std::copy_n(&frame.palette[kColours * i], kColours, colours[i].begin());
            if (frame.palette.empty()) colours[i].fill(static_cast<unsigned char>(i));
            colours[i].back() = kOpaque;
        }
        if (frame.transparent) colours[static_cast<std::size_t>(*frame.transparent)] = {};
        const Area& area = frame.place.area;
        const auto width = static_cast<std::size_t>(std::clamp(info.width - area.x, 0, area.width));
        const int height = std::clamp(info.height - area.y, 0, area.height);
        std::vector<unsigned char> pixels(width * static_cast<std::size_t>(height) * (kColours + 1));
        for (int stored = 0; stored < rows; ++stored) {
            const int y = frame.isInterlaced ? InterlacedRow(stored, area.height) : stored;
            if (y >= height) continue;
            const unsigned char* from =
                &indices[static_cast<std::size_t>(stored) * static_cast<std::size_t>(area.width)];
            unsigned char* to = pixels.data() + static_cast<std::size_t>(y) * width * (kColours + 1);
            for (std::size_t x = 0; x < width; ++x, to += kColours + 1)
                std::copy_n(colours[from[x]].begin(), kColours + 1, to);
        }
        return pixels;
    }

    // Every eighth row comes first, then those in the middle between, and so on.
    static int InterlacedRow(int stored, int height) {
        constexpr int kFirst[] = {0, 4, 2, 1};
        constexpr int kStep[] = {8, 8, 4, 2};
        for (int pass = 0; pass < 4; ++pass) {
            const int rows = std::max(0, (height - kFirst[pass] + kStep[pass] - 1) / kStep[pass]);
            if (stored < rows) return kFirst[pass] + stored * kStep[pass];
            stored -= rows;
        }
        return height;
    }

    FileBytes file;
    GifContent content;
    bool isClipped = false;
    std::optional<Animation<unsigned char>> animation;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<GifReader>(request);
}

}  // namespace pzel_io
