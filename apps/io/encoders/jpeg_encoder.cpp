// JPEG files, with as many pixels of colour as of light: lines of one pixel keep their colours.
#include <csetjmp>
#include <cstdio>
// The library's header needs the one above.
#include <jpeglib.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "apps/io/encoders/encoder.h"

namespace {

using pzel_io::FileBytes;
using pzel_io::FilePicture;
using pzel_io::PixelKind;

// The library leaves by a jump, over nothing that has to be destroyed.
struct Errors {
    jpeg_error_mgr library;
    std::jmp_buf leave;
    char text[JMSG_LENGTH_MAX];

    static void Leave(j_common_ptr state) {
        auto* errors = reinterpret_cast<Errors*>(state->err);
        state->err->format_message(state, errors->text);
        std::longjmp(errors->leave, 1);
    }
    static void Ignore(j_common_ptr) {}
};

// All that the library works with.
struct Work {
    jpeg_compress_struct state{};
    Errors errors{};
    unsigned char* packed = nullptr;
    unsigned long bytes = 0;

    ~Work() {
        jpeg_destroy_compress(&state);
        std::free(packed);
    }
};

// A grey byte for each bit.
void SpreadBits(const unsigned char* from, int width, unsigned char* to) {
    for (int x = 0; x < width; ++x) to[x] = from[x / 8] & 0x80 >> x % 8 ? 0xFF : 0;
}

// False where the library gave up; its text tells why.
bool Compress(const FilePicture& picture, int quality, unsigned char* row, Work& work) {
    jpeg_compress_struct& state = work.state;
    state.err = jpeg_std_error(&work.errors.library);
    work.errors.library.error_exit = Errors::Leave;
    work.errors.library.output_message = Errors::Ignore;
    if (setjmp(work.errors.leave)) return false;
    const bool colour = Channels(picture.kind) == 3;
    jpeg_create_compress(&state);
    jpeg_mem_dest(&state, &work.packed, &work.bytes);
    state.image_width = static_cast<JDIMENSION>(picture.width);
    state.image_height = static_cast<JDIMENSION>(picture.height);
    state.input_components = colour ? 3 : 1;
    state.in_color_space = colour ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, quality, TRUE);
    state.comp_info[0].h_samp_factor = state.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&state, TRUE);
    while (state.next_scanline < state.image_height) {
        const int y = static_cast<int>(state.next_scanline);
        if (picture.kind == PixelKind::Bits) {
            SpreadBits(picture.Row(y), picture.width, row);
        } else {
            CopyFileRow(picture, y, row);
        }
        jpeg_write_scanlines(&state, &row, 1);
    }
    jpeg_finish_compress(&state);
    return true;
}

}  // namespace

FileBytes pzelEncode(const FilePicture& picture, const pzel_io::EncodeOptions& options) {
    if (SampleBits(picture.kind) == 16) throw std::runtime_error("JPEG files hold 8 bits, not 16");
    if (picture.width > JPEG_MAX_DIMENSION || picture.height > JPEG_MAX_DIMENSION)
        throw std::runtime_error("JPEG files hold at most " + std::to_string(JPEG_MAX_DIMENSION) +
                                 " columns and rows");
    std::vector<unsigned char> row(static_cast<std::size_t>(picture.width) * 3);
    Work work;
    if (!Compress(picture, options.quality, row.data(), work)) throw std::runtime_error(work.errors.text);
    FileBytes file;
    file.emplace_back(work.packed, work.packed + work.bytes);
    return file;
}
