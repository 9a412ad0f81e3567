// Going through the blocks, without a look at packed pixels.
#include "apps/io/readers/gif_blocks.h"

namespace pzel_io {

namespace {

constexpr std::size_t kScreenBytes = 13;
constexpr std::size_t kImageBytes = 10;
constexpr unsigned char kExtension = 0x21;
constexpr unsigned char kImage = 0x2C;
constexpr unsigned char kEnd = 0x3B;
constexpr unsigned char kGraphicControl = 0xF9;
constexpr unsigned char kHasPalette = 0x80;
constexpr unsigned char kInterlaced = 0x40;

class Lister {
  public:
    explicit Lister(Bytes of) : file(of) {}

    GifContent List() {
        content.isCut = !Screen();
        while (!content.isCut && content.damage.empty()) {
            if (at >= file.size()) {
                content.isCut = true;
            } else if (file[at] == kEnd) {
                break;
            } else if (file[at] == kExtension) {
                content.isCut = !Extension();
            } else if (file[at] == kImage) {
                content.isCut = !Image();
            } else if (file[at] == 0) {
                ++at;  // some writers end a block twice
            } else {
                content.damage = "a block of an unknown kind";
            }
        }
        return std::move(content);
    }

  private:
    int Word(std::size_t place) const { return file[place] | file[place + 1] << 8; }
    bool Has(std::size_t count) const { return file.size() - at >= count; }
    static std::size_t PaletteBytes(unsigned char flags) {
        return flags & kHasPalette ? std::size_t{3} << ((flags & 7) + 1) : 0;
    }

    bool Screen() {
        if (!Has(kScreenBytes)) return false;
        content.width = Word(6);
        content.height = Word(8);
        const std::size_t bytes = PaletteBytes(file[10]);
        at = kScreenBytes;
        if (!Has(bytes)) return false;
        palette = file.subspan(at, bytes);
        at += bytes;
        content.screen = file.first(at);
        return true;
    }

    // Each with its length in front, the last one empty.
    bool SubBlocks() {
        while (at < file.size() && file[at] != 0) {
            if (!Has(std::size_t{file[at]} + 1)) {
                at = file.size();
                return false;
            }
            at += std::size_t{file[at]} + 1;
        }
        if (at >= file.size()) return false;
        ++at;
        return true;
    }

    bool Extension() {
        constexpr std::size_t kControlBytes = 8;
        if (!Has(2)) return false;
        if (file[at + 1] == kGraphicControl && Has(kControlBytes) && file[at + 2] >= 4) {
            const unsigned char flags = file[at + 3];
            const int disposal = flags >> 2 & 7;
            next.place.disposal = disposal == 2   ? Disposal::Clear
                                  : disposal == 3 ? Disposal::Restore
                                                  : Disposal::Keep;
            next.hundredths = Word(at + 4);
            next.transparent = flags & 1 ? std::optional<int>(file[at + 6]) : std::nullopt;
        }
        at += 2;
        return SubBlocks();
    }

    // An image that is cut off counts when some of its pixels are there.
    bool Image() {
        const std::size_t start = at;
        if (!Has(kImageBytes)) return false;
        next.place.area = {Word(at + 1), Word(at + 3), Word(at + 5), Word(at + 7)};
        const unsigned char flags = file[at + 9];
        next.isInterlaced = flags & kInterlaced;
        const std::size_t bytes = PaletteBytes(flags);
        at += kImageBytes;
        if (!Has(bytes + 1)) return false;
        next.palette = bytes > 0 ? file.subspan(at, bytes) : palette;
        at += bytes;
        const std::size_t pixels = at;
        ++at;  // the length of the first code
        const bool whole = SubBlocks();
        next.packed = file.subspan(pixels, at - pixels);
        next.image = file.subspan(start, at - start);
        if (next.place.area.width > 0 && next.place.area.height > 0) content.frames.push_back(next);
        next = {};
        return whole;
    }

    Bytes file;
    GifContent content;
    Bytes palette;  // the file's
    GifFrame next;
    std::size_t at = 0;
};

}  // namespace

GifContent ListGifBlocks(Bytes file) {
    return Lister(file).List();
}

}  // namespace pzel_io
