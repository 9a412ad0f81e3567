// A PNG file is a header and one stream of packed rows, cut into chunks. Rows are filtered and packed stripe
// by stripe: each ends on a byte and looks back on nothing before it, so that threads pack them apart and the
// stream is what they gave, one after the other. High compression packs all rows together.
#include "apps/io/png_encoder.h"

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include "apps/io/parallel.h"
#include "apps/io/png_filter.h"

namespace pzel_io {

namespace {

using Bytes = std::vector<unsigned char>;

// What packs at a compression of 0 to 9. The quick packer takes stripes; the thorough one everything at once.
struct Packing {
    enum class By { Stripes, Whole } by;
    int level;  // as the packer counts
    RowFilter filter;
};
constexpr std::array<Packing, 10> kPackings = {{{Packing::By::Whole, 0, RowFilter::None},
                                                {Packing::By::Stripes, 1, RowFilter::Paeth},
                                                {Packing::By::Stripes, 1, RowFilter::Adaptive},
                                                {Packing::By::Whole, 3, RowFilter::Adaptive},
                                                {Packing::By::Whole, 5, RowFilter::Adaptive},
                                                {Packing::By::Whole, 6, RowFilter::Adaptive},
                                                {Packing::By::Whole, 7, RowFilter::Adaptive},
                                                {Packing::By::Whole, 8, RowFilter::Adaptive},
                                                {Packing::By::Whole, 9, RowFilter::Adaptive},
                                                {Packing::By::Whole, 12, RowFilter::Adaptive}}};

constexpr std::size_t kStripeBytes = 512 << 10;  // large beside what a stripe cannot look back on
constexpr std::size_t kLargestChunk = 1 << 30;   // the format has 31 bits
constexpr std::size_t kChunkHead = 8;            // length and name
constexpr unsigned char kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::uint32_t kNoSum = 1;  // Adler-32 of nothing

void PutNumber(Bytes& to, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) to.push_back(static_cast<unsigned char>(number >> shift));
}

// A chunk starts with room for its length and ends with the sum over its name and data.
Bytes ChunkNamed(std::string_view name) {
    Bytes chunk;
    PutNumber(chunk, 0);
    for (const char letter : name) chunk.push_back(static_cast<unsigned char>(letter));
    return chunk;
}
void Seal(Bytes& chunk) {
    const auto length = static_cast<std::uint32_t>(chunk.size() - kChunkHead);
    for (std::size_t i = 0; i < 4; ++i) chunk[i] = static_cast<unsigned char>(length >> (24 - 8 * i));
    PutNumber(chunk, libdeflate_crc32(0, chunk.data() + 4, chunk.size() - 4));
}

Bytes Header(const FilePicture& picture) {
    constexpr unsigned char kGrey = 0, kColour = 2;
    Bytes chunk = ChunkNamed("IHDR");
    PutNumber(chunk, static_cast<std::uint32_t>(picture.width));
    PutNumber(chunk, static_cast<std::uint32_t>(picture.height));
    chunk.push_back(static_cast<unsigned char>(SampleBits(picture.kind)));
    chunk.push_back(Channels(picture.kind) == 3 ? kColour : kGrey);
    chunk.insert(chunk.end(), 3, 0);  // deflate, the five filters, not interlaced
    Seal(chunk);
    return chunk;
}

enum class Place { Middle, Last };

// The packer finds bytes again by their sum (CRC-32C) over four. At the third place of the rows it takes a
// part of the address of its stream instead: where both fall together, it packs the same rows in another way.
std::uint32_t SumOfFour(std::uint32_t four) {
    for (int bit = 0; bit < 32; ++bit) four = four >> 1 ^ ((four & 1) != 0 ? 0x82F63B78 : 0);
    return four;
}
constexpr std::uintptr_t kSumStep = 1 << 16;  // from one address to the next that has another sum

bool DisturbsPacking(const void* stream, const Bytes& rows) {
    constexpr std::uint32_t kFewest = 0xFF;  // bits of sums that are told apart, however small the picture
    constexpr std::size_t kPlaces = 3;
    const auto address = reinterpret_cast<std::uintptr_t>(stream);
    const std::uint32_t sum = SumOfFour(static_cast<std::uint32_t>(address / kSumStep));
    for (std::size_t at = 0; at < kPlaces && at + 4 <= rows.size(); ++at) {
        const std::uint32_t four =
            rows[at] | rows[at + 1] << 8 | rows[at + 2] << 16 | std::uint32_t{rows[at + 3]} << 24;
        if (((SumOfFour(four) ^ sum) & kFewest) == 0) return true;
    }
    return false;
}

// A stream where its address does not matter. What the packer leaves as it finds it is zero.
class Stream {
  public:
    explicit Stream(const Bytes& rows) : room(new Room) {
        std::size_t at = 0;
        while (at < kSpare && DisturbsPacking(room->bytes + at, rows)) at += kSumStep;
        made = new (room->bytes + at) isal_zstream{};
        isal_deflate_stateless_init(made);
    }
    isal_zstream* operator->() const { return made; }
    isal_zstream* get() const { return made; }

  private:
    static constexpr std::size_t kSpare = 4 * kSumStep;  // never touched, but for one place
    struct Room {
        alignas(isal_zstream) unsigned char bytes[kSpare + sizeof(isal_zstream)];
    };
    std::unique_ptr<Room> room;
    isal_zstream* made;
};

// Packed bytes behind the chunk's head, and behind the stream's own where it starts there.
Bytes PackStripe(const Bytes& rows, const Packing& packing, Bytes chunk, Place place) {
    const std::size_t head = chunk.size();
    // What cannot be packed grows by a little.
    chunk.resize(head + rows.size() + rows.size() / 8 + 4096);
    Bytes work(ISAL_DEF_LVL1_LARGE);
    const Stream stream(rows);
    stream->level = static_cast<std::uint32_t>(packing.level);
    stream->level_buf = work.data();
    stream->level_buf_size = static_cast<std::uint32_t>(work.size());
    stream->flush = FULL_FLUSH;
    stream->end_of_stream = place == Place::Last;
    stream->next_in = const_cast<unsigned char*>(rows.data());
    stream->avail_in = static_cast<std::uint32_t>(rows.size());
    stream->next_out = chunk.data() + head;
    stream->avail_out = static_cast<std::uint32_t>(chunk.size() - head);
    if (isal_deflate_stateless(stream.get()) != COMP_OK || stream->avail_in != 0)
        throw std::runtime_error("packing its rows failed");
    chunk.resize(chunk.size() - stream->avail_out);
    return chunk;
}

void AddStripes(FileBytes& file, const FilePicture& picture, const Packing& packing, int threads) {
    constexpr unsigned char kStreamHead[] = {0x78, 0x01};  // deflate, 32 KB to look back, packed quickly
    const std::size_t rowBytes = RowBytes(picture) + 1;
    const int rows = static_cast<int>(std::max<std::size_t>(1, kStripeBytes / rowBytes));
    const int count = (picture.height + rows - 1) / rows;
    struct Stripe {
        Bytes chunk;
        std::uint32_t sum;
        std::size_t bytes;
    };
    std::vector<Stripe> stripes(static_cast<std::size_t>(count));
    ForEachPart(count, threads, [&](int i) {
        const int first = i * rows;
        const Bytes filtered =
            FilteredRows(picture, first, std::min(picture.height, first + rows), packing.filter);
        Bytes chunk = ChunkNamed("IDAT");
        if (i == 0) {
            for (const unsigned char byte : kStreamHead) chunk.push_back(byte);
        }
        chunk = PackStripe(filtered, packing, std::move(chunk), i == count - 1 ? Place::Last : Place::Middle);
        Seal(chunk);
        stripes[static_cast<std::size_t>(i)] = {
            std::move(chunk), libdeflate_adler32(kNoSum, filtered.data(), filtered.size()), filtered.size()};
    });
    std::uint32_t sum = kNoSum;
    for (Stripe& stripe : stripes) {
        sum =
            static_cast<std::uint32_t>(adler32_combine(sum, stripe.sum, static_cast<z_off_t>(stripe.bytes)));
        file.push_back(std::move(stripe.chunk));
    }
    Bytes end = ChunkNamed("IDAT");
    PutNumber(end, sum);
    Seal(end);
    file.push_back(std::move(end));
}

void AddWhole(FileBytes& file, const FilePicture& picture, const Packing& packing) {
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> packer(
        libdeflate_alloc_compressor(packing.level), &libdeflate_free_compressor);
    if (!packer) throw std::bad_alloc();
    const Bytes rows = FilteredRows(picture, 0, picture.height, packing.filter);
    Bytes packed(libdeflate_zlib_compress_bound(packer.get(), rows.size()));
    packed.resize(
        libdeflate_zlib_compress(packer.get(), rows.data(), rows.size(), packed.data(), packed.size()));
    if (packed.empty()) throw std::runtime_error("packing its rows failed");
    for (std::size_t at = 0; at < packed.size(); at += kLargestChunk) {
        const std::size_t end = std::min(packed.size(), at + kLargestChunk);
        Bytes chunk = ChunkNamed("IDAT");
        chunk.insert(chunk.end(), packed.begin() + static_cast<std::ptrdiff_t>(at),
                     packed.begin() + static_cast<std::ptrdiff_t>(end));
        Seal(chunk);
        file.push_back(std::move(chunk));
    }
}

}  // namespace

FileBytes EncodePng(const FilePicture& picture, const EncodeOptions& options) {
    Packing packing = kPackings.at(static_cast<std::size_t>(options.compression));
    // Differences of packed bits say nothing.
    if (picture.kind == PixelKind::Bits) packing.filter = RowFilter::None;
    FileBytes file;
    file.emplace_back(std::begin(kSignature), std::end(kSignature));
    file.push_back(Header(picture));
    if (packing.by == Packing::By::Stripes) {
        AddStripes(file, picture, packing, options.threads);
    } else {
        AddWhole(file, picture, packing);
    }
    Bytes end = ChunkNamed("IEND");
    Seal(end);
    file.push_back(std::move(end));
    return file;
}

}  // namespace pzel_io
