// All 2^32 floats and all 16-bit values on their way to bytes and to other element types: prints one digest
// of the results for each way, so that two runs compare as text. scripts/exhaust runs it on each instruction
// set, and once with the naive rules in the library's place.
//   pzel_exhaust [naive]
#include <bit>
#include <cstdio>

#include "pzel/pixels/typed_copy.h"
#include "tests/support/display_reference.h"

namespace {

using namespace test;

/// Floats in a block: about a million, in rows as long as a record can hold.
constexpr int kColumns = 15999, kRows = 64, kBlock = kColumns * kRows;
/// Blocks that hold every pattern of 32 bits; the last one begins anew.
constexpr int kBlocks = int((1LL << 32) / kBlock) + 1;

/// In which order patterns stand in a row. Neighbours are alike: loops take the same branch for long.
/// Scattered: infinities, denormals and common values side by side.
enum class Order { Counted, Scattered };

class Digest {
  public:
    void add(const u8* bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; i += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes + i, std::min<std::size_t>(8, count - i));
            state_ = std::rotl(state_ ^ word, 29) * 0x9E3779B97F4A7C15u;
        }
    }
    void print(const char* name) const {
        std::printf("%s %016llx\n", name, static_cast<unsigned long long>(state_));
        std::fflush(stdout);
    }

  private:
    std::uint64_t state_ = 1;
};

void fillFloats(TestImage& image, int block, Order order) {
    std::uint32_t pattern = std::uint32_t(block) * std::uint32_t(kBlock);
    for (int i = 0; i < kBlock; ++i, ++pattern) {
        const std::uint32_t bits =
            order == Order::Counted ? pattern : pattern * 0x9E3779B1u;  // odd: reaches all
        std::memcpy(image.data + 4 * i, &bits, sizeof bits);
    }
}

/// What a picture of `levels` (one pair for each channel) shows through a table, or without.
void addShown(Digest& digest, TestImage& image, const std::vector<Pair>& levels, const u8* lut, bool naive) {
    const int channels = image.channels, columns = image.width * channels;
    for (int c = 0; c < channels; ++c) setLevels(image, c, levels[c]);
    std::vector<Pair> pairs(channels);
    for (int c = 0; c < channels; ++c) pairs[c] = readPair(GetBound(&image), c, image.type());
    Bytes shown(std::size_t(columns) * image.height);
    if (!naive) {
        MapData(shown.data(), u16(columns), image.width, image.height, &image, 0, 0, lut, 0);
    } else {
        visit(image.type(), [&]<class T>(T value) {
            for (std::size_t i = 0; i < shown.size(); ++i) {
                const int c = int(i) % channels;
                std::memcpy(&value, image.data + i * sizeof value, sizeof value);
                shown[i] = lut ? throughTable(value, pairs[c], lut + 512 * c, image.type())
                               : throughLevels(value, pairs[c]);
            }
        });
    }
    digest.add(shown.data(), shown.size());
}

const std::vector<Pair> kFloatLevels = {{0, 255}, {-300, -299.75}, {1e-3, 70001.125}};

void floatsShown(const Bytes& table, bool naive) {
    for (const Order order : {Order::Counted, Order::Scattered})
        for (std::size_t k = 0; k < kFloatLevels.size(); ++k)
            for (const bool tabled : {false, true}) {
                Digest grey, colour;
                const u8* lut = tabled ? table.data() : nullptr;
                TestImage pixels({kColumns, kRows, 1, DataFloat, true}),
                    triples({kColumns / 3, kRows, 3, DataFloat, true});
                const std::vector<Pair> turned = {kFloatLevels[k], kFloatLevels[(k + 1) % 3],
                                                  kFloatLevels[(k + 2) % 3]};
                for (int block = 0; block < kBlocks; ++block) {
                    fillFloats(pixels, block, order);
                    addShown(grey, pixels, {kFloatLevels[k]}, lut, naive);
                    std::memcpy(triples.data, pixels.data, pixels.pixels.size());
                    addShown(colour, triples, turned, lut, naive);
                }
                const std::string way = std::string(order == Order::Counted ? "counted" : "scattered") +
                                        " floats, " + "levels " + std::to_string(k) +
                                        (tabled ? ", table" : "");
                grey.print((way + ", grey").c_str());
                colour.print((way + ", colour").c_str());
            }
}

/// Every element of `from` as an element of another type.
void addCopied(Digest& digest, TestImage& from, TestImage& to) {
    CopyImage(&from, &to, 0, 0, 0, 0, from.width, from.height, u16(CopyBorderNone));
    digest.add(to.data, std::size_t(to.pixels.size()));
}

void floatsCopied() {
    for (const int type : {DataBit, DataUInt8, DataInt8, DataUInt16, DataInt16})
        for (const Order order : {Order::Counted, Order::Scattered}) {
            const Pair levels = order == Order::Counted ? Pair(-1000.5, 70001.25) : Pair(0, 1);
            Digest digest;
            TestImage from({kColumns, kRows, 1, DataFloat}), to({kColumns, kRows, 1, type});
            from.setPair(0, levels);
            for (int block = 0; block < kBlocks; ++block) {
                fillFloats(from, block, order);
                addCopied(digest, from, to);
            }
            digest.print(
                ("floats copied to type " + std::to_string(type) + ", from " + std::to_string(levels.first))
                    .c_str());
        }
}

/// All values of 16 bits through 64 pairs: shown, through a table, as three channels, and copied.
void shorts(const Bytes& table, bool naive) {
    for (const int type : {DataUInt16, DataInt16}) {
        Random random(unsigned(type) + 64);
        const auto [low, high] = rangeOf(type);
        TestImage grey({8192, 8, 1, type, true}), colour({8191, 8, 3, type, true});
        for (int i = 0; i < 65536; ++i) writeElement(grey.data + 2 * i, type, low + i);
        for (int i = 0; i < 3 * 8191 * 8; ++i) writeElement(colour.data + 2 * i, type, low + i % 65536);
        Digest shown, tabled, channels, copied;
        std::vector<Pair> pairs = {{low, high}, {low + 1, high}, {low, high - 1},
                                   {100, 101},  {90, 20},        {0, 255}};
        while (pairs.size() < 64) {
            const int start = random(int(low), int(high));
            pairs.emplace_back(start, random(int(low), int(high)));
        }
        for (std::size_t k = 0; k < pairs.size(); ++k) {
            addShown(shown, grey, {pairs[k]}, nullptr, naive);
            addShown(tabled, grey, {pairs[k]}, table.data(), naive);
            addShown(channels, colour, {pairs[k], pairs[(k + 7) % 64], pairs[(k + 31) % 64]},
                     k % 2 ? table.data() : nullptr, naive);
            for (const int other : {int(DataBit), int(DataUInt8), int(DataInt8),
                                    DataUInt16 + DataInt16 - type, int(DataFloat)}) {
                TestImage to({8192, 8, 1, other});
                if (other != DataBit && k % 3) to.setPair(0, k % 3 == 1 ? Pair(3, 100) : Pair(-100, 90));
                setLevels(grey, 0, pairs[k]);
                if (!naive) addCopied(copied, grey, to);
            }
        }
        const std::string way = "16 bits, type " + std::to_string(type);
        shown.print((way + ", levels").c_str());
        tabled.print((way + ", table").c_str());
        channels.print((way + ", colour").c_str());
        if (!naive) copied.print((way + ", copied").c_str());
    }
}

}  // namespace

int main(int argc, char** argv) {
    const bool naive = argc == 2 && std::string(argv[1]) == "naive";
    if (argc > 1 && !naive) {
        std::fputs("usage: pzel_exhaust [naive]\n", stderr);
        return 2;
    }
    Random random(20);
    const Bytes table = random.bytes(3 * 512);
    shorts(table, naive);
    if (!naive) floatsCopied();
    floatsShown(table, naive);
}
