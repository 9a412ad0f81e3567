// The file that the library reads, and the calls to it.
#include "apps/io/readers/png_decoder.h"

#include <png.h>

#include <array>
#include <cstring>
#include <deque>

namespace pzel_io {

namespace {

constexpr unsigned char kMark[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr unsigned char kEnd[] = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82};

// Pieces of the file, and some bytes of its own in between.
class Stream {
  public:
    Stream(const PngContent& content, const PngFrame& frame) {
        Add(kMark);
        std::string header;
        AppendLong(header, static_cast<std::uint32_t>(frame.place.area.width));
        AppendLong(header, static_cast<std::uint32_t>(frame.place.area.height));
        header.append(content.header.rest.begin(), content.header.rest.end());
        AddChunk("IHDR", Bytes(reinterpret_cast<const unsigned char*>(header.data()), header.size()));
        if (!content.palette.empty()) Add(content.palette);
        for (const Bytes chunk : frame.idats) Add(chunk);
        for (const Bytes chunk : frame.sequenced) AddChunk("IDAT", chunk.subspan(12, chunk.size() - 16));
        if (!content.isCut || frame.idats.empty()) Add(kEnd);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // False where there is less.
    bool Read(unsigned char* to, std::size_t count) {
        while (count > 0) {
            if (pieces.empty()) return false;
            Bytes& piece = pieces.front();
            const std::size_t part = std::min(count, piece.size());
            std::memcpy(to, piece.data(), part);
            piece = piece.subspan(part);
            if (piece.empty()) pieces.pop_front();
            to += part;
            count -= part;
        }
        return true;
    }

  private:
    void Add(Bytes piece) {
        if (!piece.empty()) pieces.push_back(piece);
    }
    void AddOwn(std::string bytes) {
        own.push_back(std::move(bytes));
        Add({reinterpret_cast<const unsigned char*>(own.back().data()), own.back().size()});
    }
    static void AppendLong(std::string& bytes, std::uint32_t number) {
        for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<char>(number >> shift));
    }
    void AddChunk(const char* name, Bytes data) {
        std::string head;
        AppendLong(head, static_cast<std::uint32_t>(data.size()));
        head += name;
        std::string checked = name;
        checked.append(data.begin(), data.end());
        AddOwn(head);
        AddOwn(checked.substr(4));
        std::string sum;
        AppendLong(sum,
                   PngChecksum({reinterpret_cast<const unsigned char*>(checked.data()), checked.size()}));
        AddOwn(sum);
    }

    std::deque<std::string> own;
    std::deque<Bytes> pieces;
};

struct Call {
    Stream* stream;
    PngOutcome* outcome;
};

extern "C" {

void ReadPiece(png_structp png, png_bytep to, std::size_t count) {
    const auto* const call = static_cast<Call*>(png_get_io_ptr(png));
    if (call->stream->Read(to, count)) return;
    call->outcome->isCut = true;
    png_error(png, "the file ends");
}

void TakeError(png_structp png, png_const_charp message) {
    static_cast<Call*>(png_get_error_ptr(png))->outcome->damage = message;
    png_longjmp(png, 1);
}

void TakeWarning(png_structp png, png_const_charp message) {
    std::string& damage = static_cast<Call*>(png_get_error_ptr(png))->outcome->damage;
    if (std::strstr(message, "CRC") && damage.empty()) damage = message;
}
}

// Nothing in here needs to be destroyed: the library leaves it by a long jump.
void Unpack(png_structp png, png_infop info, PngRows as, bool isInterlaced, int last, int height,
            std::size_t rowBytes, unsigned char* pixels, PngOutcome& outcome) {
    if (setjmp(png_jmpbuf(png))) return;
    png_read_info(png, info);
    if (as != PngRows::Bits) {
        png_set_packing(png);
        png_set_swap(png);
    }
    if (as == PngRows::Opaque) {
        if (png_get_color_type(png, info) == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
        png_set_strip_alpha(png);
    }
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) != rowBytes) png_error(png, "rows of another length");
    for (int pass = 0; pass < passes; ++pass) {
        const int count = isInterlaced ? height : last + 1;
        for (int y = 0; y < count; ++y) {
            png_read_row(png, pixels + static_cast<std::size_t>(y) * rowBytes, nullptr);
            if (pass == passes - 1) outcome.wholeRows = y + 1;
        }
    }
    if (outcome.wholeRows == height) png_read_end(png, nullptr);
}

}  // namespace

PngOutcome UnpackPng(const PngContent& content, const PngFrame& frame, PngRows as, int last,
                     std::size_t rowBytes, unsigned char* pixels, bool goOn) {
    PngOutcome outcome;
    Stream stream(content, frame);
    Call call{&stream, &outcome};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &call, TakeError, TakeWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) throw std::bad_alloc();
    png_set_read_fn(png, &call, ReadPiece);
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    if (goOn) png_set_crc_action(png, PNG_CRC_WARN_USE, PNG_CRC_WARN_USE);
    Unpack(png, info, as, content.header.isInterlaced, last, frame.place.area.height, rowBytes, pixels,
           outcome);
    png_destroy_read_struct(&png, &info, nullptr);
    return outcome;
}

}  // namespace pzel_io
