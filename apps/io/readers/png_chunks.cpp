// Going through the chunks. The pixels' own checksums are left to the library that unpacks them.
#include "apps/io/readers/png_chunks.h"

#include <zlib.h>

#include <algorithm>
#include <string_view>

namespace pzel_io {

namespace {

constexpr std::size_t kMarkBytes = 8;
constexpr std::size_t kFrame = 12;  // bytes of a chunk around its data: length, name and checksum
constexpr std::size_t kHeaderBytes = 13;
constexpr std::size_t kControlBytes = 26;

class Lister {
  public:
    explicit Lister(Bytes of) : file(of) {}

    PngContent List() {
        std::size_t at = std::min(kMarkBytes, file.size());
        bool ended = false;
        while (!ended && file.size() - at >= kFrame) {
            const std::size_t length = PngLong(file, at);
            const bool whole = length <= file.size() - at - kFrame;
            const Bytes chunk = file.subspan(at, whole ? length + kFrame : file.size() - at);
            const std::string_view name(reinterpret_cast<const char*>(&chunk[4]), 4);
            if (name == "IDAT") {
                AddPixels(chunk);
            } else if (whole && name == "fdAT") {
                if (!content.frames.empty()) AddSequenced(chunk);
            } else if (whole) {
                Take(name, chunk);
            }
            ended = name == "IEND";
            if (!whole) break;
            at += chunk.size();
        }
        content.isCut = !ended;
        Finish();
        return std::move(content);
    }

  private:
    void Damage(const std::string& what) {
        if (content.damage.empty()) content.damage = what;
    }

    void AddPixels(Bytes chunk) {
        hasPixels = true;
        if (content.isAnimated && content.frames.empty()) {
            content.hasCover = true;
        } else {
            if (content.frames.empty()) content.frames.emplace_back();
            content.frames.front().idats.push_back(chunk);
        }
    }

    void AddSequenced(Bytes chunk) {
        if (chunk.size() < kFrame + 4) return Damage("a part of a frame is empty");
        CheckSum("fdAT", chunk);
        CheckSequence(PngLong(chunk, 8));
        content.frames.back().sequenced.push_back(chunk);
    }

    void CheckSum(std::string_view name, Bytes chunk) {
        if (PngChecksum(chunk.subspan(4, chunk.size() - 8)) != PngLong(chunk, chunk.size() - 4))
            Damage("wrong checksum of " + std::string(name));
    }

    void CheckSequence(std::uint32_t number) {
        if (number != sequence++) Damage("parts of its frames are missing");
    }

    // Chunks that matter here; others that may be left out are left alone, whole or not.
    void Take(std::string_view name, Bytes chunk) {
        const Bytes data = chunk.subspan(8, chunk.size() - kFrame);
        const auto keep = [&](Bytes& place, std::size_t least) {
            if (data.size() >= least) place = data;
        };
        if (name == "IHDR") {
            TakeHeader(data);
        } else if (name == "PLTE") {
            content.palette = chunk;
        } else if (name == "tRNS") {
            keep(content.transparency, 1);
        } else if (name == "sBIT") {
            keep(content.significantBits, 1);
        } else if (name == "pHYs") {
            keep(content.aspect, 9);
        } else if (name == "eXIf") {
            keep(content.exif, 1);
        } else if (name == "cICP") {
            keep(content.codes, 4);
        } else if (name == "sRGB") {
            content.isSrgb = true;
        } else if (name == "gAMA") {
            if (data.size() >= 4) content.gamma = PngLong(data, 0) / 1e5;
        } else if (name == "iCCP") {
            const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
            content.profile = text.substr(0, text.find('\0'));
        } else if (name == "acTL" && !hasPixels) {
            content.isAnimated = data.size() >= 8;
            if (content.isAnimated) frames = PngLong(data, 0);
        } else if (name == "fcTL" && content.isAnimated && data.size() >= kControlBytes) {
            TakeControl(data);
        } else if (name != "IEND") {
            constexpr char kMayBeLeftOut = 0x20;
            if (!(name[0] & kMayBeLeftOut)) Damage("a part of an unknown kind");
            return;
        }
        CheckSum(name, chunk);
    }

    void TakeHeader(Bytes data) {
        if (data.size() < kHeaderBytes) return;
        content.header = {PngLong(data, 0), PngLong(data, 4), data[8],
                          data[9],          data[12] != 0,    data.subspan(8, kHeaderBytes - 8)};
    }

    void TakeControl(Bytes data) {
        CheckSequence(PngLong(data, 0));
        const std::uint64_t width = PngLong(data, 4), height = PngLong(data, 8);
        const std::uint64_t x = PngLong(data, 12), y = PngLong(data, 16);
        if (width == 0 || height == 0 || x + width > content.header.width ||
            y + height > content.header.height) {
            return Damage("a frame lies beyond the picture");
        }
        PngFrame frame;
        frame.place.area = {static_cast<int>(x), static_cast<int>(y), static_cast<int>(width),
                            static_cast<int>(height)};
        const int above = data[20] << 8 | data[21];
        const int below = data[22] << 8 | data[23];
        constexpr int kHundredths = 100;  // where none are told
        frame.seconds = static_cast<double>(above) / (below ? below : kHundredths);
        frame.place.disposal = data[24] == 1   ? Disposal::Clear
                               : data[24] == 2 ? Disposal::Restore
                                               : Disposal::Keep;
        frame.place.blend = data[25] == 0 ? Blend::Replace : Blend::Over;
        content.frames.push_back(std::move(frame));
    }

    void Finish() {
        if (!content.isAnimated) {
            if (content.frames.empty()) content.frames.emplace_back();
            content.frames.front().place.area = {0, 0, static_cast<int>(content.header.width),
                                                 static_cast<int>(content.header.height)};
            return;
        }
        // Before the first frame there is nothing that could come back.
        if (!content.frames.empty() && content.frames.front().place.disposal == Disposal::Restore)
            content.frames.front().place.disposal = Disposal::Clear;
        std::erase_if(content.frames,
                      [](const PngFrame& frame) { return frame.idats.empty() && frame.sequenced.empty(); });
        if (content.frames.size() != frames) content.isCut = true;
    }

    Bytes file;
    PngContent content;
    std::uint32_t frames = 0;  // that it tells of
    std::uint32_t sequence = 0;
    bool hasPixels = false;
};

}  // namespace

std::uint32_t PngLong(Bytes bytes, std::size_t at) {
    return static_cast<std::uint32_t>(bytes[at]) << 24 | static_cast<std::uint32_t>(bytes[at + 1]) << 16 |
           static_cast<std::uint32_t>(bytes[at + 2]) << 8 | bytes[at + 3];
}

std::uint32_t PngChecksum(Bytes nameAndData) {
    return static_cast<std::uint32_t>(crc32_z(0, nameAndData.data(), nameAndData.size()));
}

PngContent ListPngChunks(Bytes file) {
    return Lister(file).List();
}

}  // namespace pzel_io
