// JPEG pictures: the pixels of the library's default decoder, grey or colour. It goes on with made-up pixels
// where data are missing, and warns; a warning over the wanted rows is damage here.
#include <csetjmp>
#include <cstdio>
#include <cstring>

// Needs the types of the standard headers before it.
#include <jpeglib.h>

#include <jerror.h>

#include <algorithm>
#include <fstream>

#include "apps/io/readers/orientation.h"
#include "apps/io/readers/reader.h"

namespace pzel_io {

namespace {

constexpr int kMostScans = 200;  // of a progressive picture; encoders write some ten
constexpr int kCmykChannels = 4;
constexpr int kFull = 255;

// Pixels that a byte can stand for at most: a bit for each block, of which those of colour cover 16 x 16.
constexpr double kMostFromByte = 2000;
constexpr double kMostFromArithmeticByte = 100 * kMostFromByte;

// What the library says, and where it goes when it cannot go on.
struct Reports {
    jpeg_error_mgr manager;  // the library knows this one, which must come first
    std::jmp_buf exit;
    char message[JMSG_LENGTH_MAX];  // the first error or warning
    long warnings;                  // that speak of damage
};

Reports& ReportsOf(j_common_ptr decoder) {
    return *reinterpret_cast<Reports*>(decoder->err);
}

void KeepMessage(j_common_ptr decoder) {
    Reports& reports = ReportsOf(decoder);
    if (!*reports.message) decoder->err->format_message(decoder, reports.message);
}

[[noreturn]] void LeaveByError(j_common_ptr decoder) {
    Reports& reports = ReportsOf(decoder);
    *reports.message = '\0';
    KeepMessage(decoder);
    std::longjmp(reports.exit, 1);
}

void CountWarning(j_common_ptr decoder, int level) {
    if (level >= 0) return;
    const int code = decoder->err->msg_code;
    if (code == JWRN_JFIF_MAJOR || code == JWRN_ADOBE_XFORM) return;  // speaks of marks, not of pixels
    KeepMessage(decoder);
    ++ReportsOf(decoder).warnings;
}

// Small files that ask for the same work over and over are ended here.
void LimitScans(j_common_ptr decoder) {
    if (!decoder->is_decompressor) return;
    if (reinterpret_cast<j_decompress_ptr>(decoder)->input_scan_number > kMostScans) {
        std::snprintf(ReportsOf(decoder).message, JMSG_LENGTH_MAX, "more than %d scans", kMostScans);
        std::longjmp(ReportsOf(decoder).exit, 1);
    }
}

class Decoder {
  public:
    explicit Decoder(const std::vector<unsigned char>& bytes) {
        reports.message[0] = '\0';
        state.err = jpeg_std_error(&reports.manager);
        reports.manager.error_exit = LeaveByError;
        reports.manager.emit_message = CountWarning;
        good = Run([&] {
            jpeg_create_decompress(&state);
            progress.progress_monitor = LimitScans;
            state.progress = &progress;
            jpeg_mem_src(&state, bytes.data(), bytes.size());
            jpeg_save_markers(&state, JPEG_APP0 + 1, kWholeMarker);
            jpeg_save_markers(&state, JPEG_APP0 + 2, kMarkerHead);
            jpeg_read_header(&state, TRUE);
        });
    }
    ~Decoder() { jpeg_destroy_decompress(&state); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    // A step of the library's, which may be left at any place: it must own nothing. False where it was.
    template <class Step>
    [[nodiscard]] bool Run(const Step& step) {
        if (setjmp(reports.exit) != 0) return false;
        step();
        return true;
    }

    bool IsOpen() const { return good; }
    bool HasWarned() const { return reports.warnings > 0; }
    std::string Message() const { return reports.message; }
    std::span<const unsigned char> Marker(int number, std::string_view name) const {
        for (auto marker = state.marker_list; marker; marker = marker->next) {
            const std::span<const unsigned char> data(marker->data, marker->data_length);
            if (marker->marker == JPEG_APP0 + number && data.size() >= name.size() &&
                std::memcmp(data.data(), name.data(), name.size()) == 0) {
                return data.subspan(name.size());
            }
        }
        return {};
    }

    jpeg_decompress_struct state{};

  private:
    static constexpr unsigned kWholeMarker = 0xffff, kMarkerHead = 4;

    Reports reports{};
    jpeg_progress_mgr progress{};
    bool good = false;
};

class JpegReader final : public Reader {
  public:
    explicit JpegReader(const OpenRequest& request) : Reader(request) {
        std::ifstream stream(info.file, std::ios::binary);
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(info.file, unknown);
        if (unknown) Fail(unknown.message());
        bytes.resize(size);
        stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
        bytes.resize(static_cast<std::size_t>(stream.gcount()));
        const Decoder decoder(bytes);
        if (!decoder.IsOpen()) Fail("cannot be opened as jpeg: " + decoder.Message());
        info.width = static_cast<int>(decoder.state.image_width);
        info.height = static_cast<int>(decoder.state.image_height);
        info.type = DataUInt8;
        ChooseColour(decoder.state);
        CheckSize();
        CheckHeld(decoder.state.arith_code ? kMostFromArithmeticByte : kMostFromByte);
        ChooseAspect(decoder.state);
        constexpr std::string_view kExif{"Exif\0\0", 6}, kSeveral{"MPF\0", 4};
        orientation.Follow(ExifOrientation(decoder.Marker(1, kExif)), options, info);
        if (decoder.Marker(2, kSeveral).data()) Note("the first of several pictures; the others left out");
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        FrameNotes notes;
        orientation.Read(info, wanted.rows, pixels, [&](const Rows& rows, std::span<unsigned char> frame) {
            DecodeRows(rows, frame, notes);
        });
        return notes;
    }

  private:
    void ChooseColour(const jpeg_decompress_struct& state) {
        const J_COLOR_SPACE stored = state.jpeg_color_space;
        info.channels = state.num_components;
        info.model = SubGrey;
        delivered = stored;
        if (stored == JCS_CMYK || stored == JCS_YCCK) {
            delivered = JCS_CMYK;
            Note("CMYK to colour, without its profile");
        } else if (stored == JCS_YCbCr) {
            delivered = JCS_RGB;
            Note("luminance and colour differences to colour");
        } else if (stored != JCS_RGB && stored != JCS_GRAYSCALE && info.channels > 2) {
            Fail("holds " + std::to_string(info.channels) + " channels of an unknown kind");
        }
        if (info.channels < 3) return;
        info.channels = 3;
        info.model = SubColour;
    }

    void ChooseAspect(const jpeg_decompress_struct& state) {
        const auto x = static_cast<double>(state.X_density), y = static_cast<double>(state.Y_density);
        if (!state.saw_JFIF_marker || x <= 0 || y <= 0 || x == y) return;
        info.pixelAspect = y / x;
        Note("pixels " + NumberText(info.pixelAspect) + " times as wide as high");
    }

    // Rows that cannot be had stay black.
    void DecodeRows(const Rows& rows, std::span<unsigned char> frame, FrameNotes& notes) const {
        Decoder decoder(bytes);
        jpeg_decompress_struct& state = decoder.state;
        const auto width = static_cast<std::size_t>(state.image_width);
        const std::size_t rowBytes = width * static_cast<std::size_t>(info.channels);
        const bool isCmyk = delivered == JCS_CMYK;
        std::vector<unsigned char> inks(isCmyk ? width * kCmykChannels : 0);
        unsigned char* const ink = inks.data();
        const auto last = static_cast<JDIMENSION>(rows.last);
        const auto rowAt = [&](JDIMENSION y) { return frame.data() + y * rowBytes; };
        // Outside of the step, which may be left: where decoding got to.
        volatile JDIMENSION next = static_cast<JDIMENSION>(rows.first);
        bool whole = decoder.IsOpen() && decoder.Run([&] {
            state.out_color_space = delivered;
            jpeg_start_decompress(&state);
            if (next > 0) jpeg_skip_scanlines(&state, next);
            // Of pictures in one pass the rows after damage are made up; others have lost detail.
            const bool goesOn = options.partial && jpeg_has_multiple_scans(&state);
            while (next <= last) {
                JSAMPROW row = isCmyk ? ink : rowAt(next);
                if (jpeg_read_scanlines(&state, &row, 1) != 1) break;
                if (decoder.HasWarned() && !goesOn) break;
                if (isCmyk) InksToColour(ink, rowAt(next), width, state.saw_Adobe_marker);
                next = next + 1;
            }
        });
        whole = whole && !decoder.HasWarned() && next > last;
        if (whole) return;
        const std::string reason = "is damaged or cut short: " + decoder.Message();
        if (!options.partial) Fail(reason);
        std::fill(rowAt(next), rowAt(last + 1), static_cast<unsigned char>(0));
        notes.notes.push_back(reason + (next > last ? "; shown as far as it is refined"
                                                    : "; black from stored row " + std::to_string(next)));
    }

    // Amounts of ink, from none to full; one kind of writer stores how much light is left instead.
    static void InksToColour(const unsigned char* inks, unsigned char* colour, std::size_t pixels,
                             bool isLight) {
        const auto light = [&](int stored) { return isLight ? stored : kFull - stored; };
        for (std::size_t i = 0; i < pixels; ++i, inks += kCmykChannels) {
            for (int c = 0; c < 3; ++c)
                *colour++ = static_cast<unsigned char>((light(inks[c]) * light(inks[3]) + kFull / 2) / kFull);
        }
    }

    std::vector<unsigned char> bytes;  // of the file
    J_COLOR_SPACE delivered = JCS_UNKNOWN;
    Orientation orientation;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<JpegReader>(request);
}

}  // namespace pzel_io
