// Finding the mark, and turning pixels in small squares: their rows lie far apart on one side.
#include "apps/io/readers/orientation.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace pzel_io {

namespace {

constexpr int kUpright = 1;
constexpr int kLastMark = 8;
constexpr int kSquare = 32;  // pixels

// What is done to the stored picture, by mark.
constexpr const char* kTurns[kLastMark + 1] = {"",
                                               "",
                                               "mirrored left to right",
                                               "turned by 180 degrees",
                                               "mirrored top to bottom",
                                               "mirrored at its falling diagonal",
                                               "turned by 90 degrees to the right",
                                               "mirrored at its rising diagonal",
                                               "turned by 90 degrees to the left"};

// Numbers of a block in its own byte order; 0 beyond its end.
class Block {
  public:
    explicit Block(std::span<const unsigned char> of) : bytes(of) {
        isBig = bytes.size() > 1 && bytes[0] == 'M' && bytes[1] == 'M';
    }
    bool IsTiff() const {
        const bool isLittle = bytes.size() > 1 && bytes[0] == 'I' && bytes[1] == 'I';
        return (isBig || isLittle) && Word(2) == 42;
    }
    std::uint32_t Word(std::size_t at) const { return Number(at, 2); }
    std::uint32_t Long(std::size_t at) const { return Number(at, 4); }

  private:
    std::uint32_t Number(std::size_t at, std::size_t length) const {
        if (at > bytes.size() || bytes.size() - at < length) return 0;
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < length; ++i)
            number = number << 8 | bytes[at + (isBig ? i : length - 1 - i)];
        return number;
    }

    std::span<const unsigned char> bytes;
    bool isBig = false;
};

// Where a stored row and column come to lie.
struct Turn {
    int mark;
    int width, height;  // of the upright picture
    std::pair<int, int> Place(int storedX, int storedY) const {
        const bool swapped = mark >= 5;
        int x = swapped ? storedY : storedX;
        int y = swapped ? storedX : storedY;
        if (mark == 2 || mark == 3 || mark == 6 || mark == 7) x = width - 1 - x;
        if (mark == 3 || mark == 4 || mark == 7 || mark == 8) y = height - 1 - y;
        return {x, y};
    }
};

template <std::size_t Bytes>
void TurnPixels(const Turn& turn, const Rows& stored, int storedWidth, const unsigned char* from,
                unsigned char* to) {
    const auto place = [&](int x, int y) {
        const auto [toX, toY] = turn.Place(x, y);
        return (static_cast<std::ptrdiff_t>(toY) * turn.width + toX) * static_cast<std::ptrdiff_t>(Bytes);
    };
    const std::ptrdiff_t origin = place(0, 0);
    const std::ptrdiff_t step = place(1, 0) - origin;
    for (int top = stored.first; top <= stored.last; top += kSquare) {
        const int bottom = std::min(top + kSquare - 1, stored.last);
        for (int left = 0; left < storedWidth; left += kSquare) {
            const int count = std::min(kSquare, storedWidth - left);
            for (int y = top; y <= bottom; ++y) {
                const unsigned char* source =
                    from + (static_cast<std::size_t>(y) * static_cast<std::size_t>(storedWidth) +
                            static_cast<std::size_t>(left)) *
                               Bytes;
                unsigned char* target = to + place(left, y);
                for (int i = 0; i < count; ++i, source += Bytes, target += step)
                    std::memcpy(target, source, Bytes);
            }
        }
    }
}

void TurnBits(const Turn& turn, const Rows& stored, int storedWidth, const unsigned char* from,
              unsigned char* to) {
    const auto rowBytes = [](int width) { return static_cast<std::ptrdiff_t>((width + 7) / 8); };
    for (int y = stored.first; y <= stored.last; ++y) {
        const unsigned char* source = from + y * rowBytes(storedWidth);
        for (int x = 0; x < storedWidth; ++x) {
            const bool isSet = source[x / 8] & 0x80 >> x % 8;
            const auto [toX, toY] = turn.Place(x, y);
            unsigned char& target = to[toY * rowBytes(turn.width) + toX / 8];
            const int bit = 0x80 >> toX % 8;
            target = static_cast<unsigned char>(isSet ? target | bit : target & ~bit);
        }
    }
}

}  // namespace

int ExifOrientation(std::span<const unsigned char> bytes) {
    constexpr std::uint32_t kOrientationTag = 0x112;
    constexpr std::size_t kEntryBytes = 12;
    const Block block(bytes);
    if (!block.IsTiff()) return kUpright;
    const std::size_t directory = block.Long(4);
    const std::size_t entries = block.Word(directory);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t entry = directory + 2 + i * kEntryBytes;
        if (block.Word(entry) != kOrientationTag) continue;
        const auto mark = static_cast<int>(block.Word(entry + 8));
        return mark >= kUpright && mark <= kLastMark ? mark : kUpright;
    }
    return kUpright;
}

void Orientation::Follow(int ofFile, const OpenOptions& options, PictureInfo& info) {
    if (ofFile <= kUpright || ofFile > kLastMark) return;
    if (options.asStored) {
        info.conversions.push_back("orientation mark " + std::to_string(ofFile) + " not followed");
        return;
    }
    mark = ofFile;
    info.conversions.push_back(std::string("upright: ") + kTurns[mark] + ", as its orientation mark asks");
    if (!SwapsSides()) return;
    std::swap(info.width, info.height);
    info.pixelAspect = 1 / info.pixelAspect;
}

Rows Orientation::StoredRows(const Rows& upright, int height) const {
    if (SwapsSides()) return {0, height - 1};
    if (mark == 3 || mark == 4) return {height - 1 - upright.last, height - 1 - upright.first};
    return upright;
}

void Orientation::Read(const PictureInfo& info, const Rows& wanted, std::span<unsigned char> pixels,
                       const Decode& decode) const {
    if (mark == kUpright) {
        decode(wanted, pixels);
        return;
    }
    const bool swaps = SwapsSides();
    PictureInfo stored = info;
    if (swaps) std::swap(stored.width, stored.height);
    const Rows rows = StoredRows(wanted, stored.height);
    std::vector<unsigned char> frame(FrameBytes(stored));
    decode(rows, frame);
    const Turn turn{mark, info.width, info.height};
    if (info.type == DataBit) {
        TurnBits(turn, rows, stored.width, frame.data(), pixels.data());
        return;
    }
    const std::size_t bytes = ElementBytes(info.type) * static_cast<std::size_t>(info.channels);
    const auto turnPixels = bytes == 1   ? TurnPixels<1>
                            : bytes == 2 ? TurnPixels<2>
                            : bytes == 3 ? TurnPixels<3>
                            : bytes == 4 ? TurnPixels<4>
                            : bytes == 6 ? TurnPixels<6>
                            : bytes == 8 ? TurnPixels<8>
                                         : TurnPixels<12>;
    turnPixels(turn, rows, stored.width, frame.data(), pixels.data());
}

}  // namespace pzel_io
