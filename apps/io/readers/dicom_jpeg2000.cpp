// JPEG 2000, as a bare stream or in its own file format.
#include "apps/io/readers/dicom_codecs.h"

#include <openjpeg.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace pzel_io {

namespace {

constexpr unsigned char kStart[] = {0xFF, 0x4F, 0xFF, 0x51};  // of a stream and its sizes

struct Source {
    Bytes bytes;
    std::size_t at = 0;
};

OPJ_SIZE_T ReadSource(void* to, OPJ_SIZE_T wanted, void* data) {
    auto& source = *static_cast<Source*>(data);
    const std::size_t length = std::min<std::size_t>(wanted, source.bytes.size() - source.at);
    if (length == 0) return static_cast<OPJ_SIZE_T>(-1);
    std::memcpy(to, &source.bytes[source.at], length);
    source.at += length;
    return length;
}

OPJ_OFF_T SkipSource(OPJ_OFF_T distance, void* data) {
    auto& source = *static_cast<Source*>(data);
    if (distance < 0) return -1;
    const std::size_t left = source.bytes.size() - source.at;
    source.at += std::min<std::size_t>(left, static_cast<std::size_t>(distance));
    return distance;
}

OPJ_BOOL SeekSource(OPJ_OFF_T place, void* data) {
    auto& source = *static_cast<Source*>(data);
    if (place < 0 || static_cast<std::size_t>(place) > source.bytes.size()) return OPJ_FALSE;
    source.at = static_cast<std::size_t>(place);
    return OPJ_TRUE;
}

void Remember(const char* message, void* text) {
    auto& first = *static_cast<std::string*>(text);
    if (!first.empty()) return;
    first = message;
    first.erase(std::find(first.begin(), first.end(), '\n'), first.end());
}

// Codecs and streams are both pointers to nothing in particular.
template <auto destroy>
struct Free {
    template <class T>
    void operator()(T* owned) const {
        destroy(owned);
    }
};

class Decoder {
  public:
    explicit Decoder(const CodedFrame& of) : frame(of), source{of.bytes} {}

    Decoded Decode() {
        Open();
        opj_image_t* opened = nullptr;
        const bool known = opj_read_header(stream.get(), codec.get(), &opened);
        image.reset(opened);
        if (!known) Fail();
        CheckImage();
        // What a stream lacks is refused by the library only where it is asked to.
        bool whole = opj_decode(codec.get(), stream.get(), image.get());
        whole = whole && opj_end_decompress(codec.get(), stream.get());
        if (!whole && !frame.partial) Fail();
        CopySamples();
        return {static_cast<int>(image->comps[0].prec), whole};
    }

  private:
    [[noreturn]] void Fail() const {
        throw CodecError("its JPEG 2000 stream is damaged" + (error.empty() ? "" : ": " + error));
    }

    void Open() {
        const bool bare = frame.bytes.size() >= sizeof kStart &&
                          std::equal(std::begin(kStart), std::end(kStart), frame.bytes.begin());
        codec.reset(opj_create_decompress(bare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
        stream.reset(opj_stream_create(std::max<std::size_t>(frame.bytes.size(), 1), OPJ_TRUE));
        if (!codec || !stream) throw std::bad_alloc();
        opj_set_error_handler(codec.get(), Remember, &error);
        opj_stream_set_read_function(stream.get(), ReadSource);
        opj_stream_set_skip_function(stream.get(), SkipSource);
        opj_stream_set_seek_function(stream.get(), SeekSource);
        opj_stream_set_user_data(stream.get(), &source, nullptr);
        opj_stream_set_user_data_length(stream.get(), frame.bytes.size());
        opj_dparameters_t parameters;
        opj_set_default_decoder_parameters(&parameters);
        opj_setup_decoder(codec.get(), &parameters);
        opj_decoder_set_strict_mode(codec.get(), frame.partial ? OPJ_FALSE : OPJ_TRUE);
    }

    void CheckImage() const {
        if (image->numcomps < 1) Fail();
        const opj_image_comp_t& first = image->comps[0];
        for (OPJ_UINT32 c = 0; c < image->numcomps; ++c) {
            const opj_image_comp_t& other = image->comps[c];
            if (other.dx != 1 || other.dy != 1 || other.prec != first.prec || other.sgnd != first.sgnd) {
                throw CodecError("channels of different size or depth are not supported");
            }
        }
        CheckCodedSize(frame, image->x1 - image->x0, image->y1 - image->y0, image->numcomps,
                       static_cast<int>(first.prec));
    }

    void CopySamples() const {
        const DicomSamples& samples = frame.samples;
        const std::size_t bytes = ElementBytes(samples.type);
        for (std::size_t c = 0; c < samples.channels; ++c) {
            const opj_image_comp_t& from = image->comps[c];
            if (!from.data || from.w != samples.width || from.h != samples.height) Fail();
            unsigned char* to = &frame.to[c * bytes];
            // The lowest bytes of each value come first in it.
            for (std::size_t i = 0; i < samples.Pixels(); ++i, to += samples.channels * bytes) {
                if (bytes == 1) {
                    *to = static_cast<unsigned char>(from.data[i]);
                } else if (bytes == 2) {
                    std::memcpy(to, &from.data[i], 2);
                } else {
                    std::memcpy(to, &from.data[i], 4);
                }
            }
        }
    }

    const CodedFrame& frame;
    Source source;
    std::string error;
    std::unique_ptr<opj_codec_t, Free<opj_destroy_codec>> codec;
    std::unique_ptr<opj_stream_t, Free<opj_stream_destroy>> stream;
    std::unique_ptr<opj_image_t, Free<opj_image_destroy>> image;
};

}  // namespace

Decoded DecodeDicomJpeg2000(const CodedFrame& frame) {
    return Decoder(frame).Decode();
}

std::optional<bool> HasSignedSamples(Bytes stream) {
    constexpr std::size_t kFirstDepth = 42;  // behind the start of a stream
    constexpr unsigned char kSigned = 0x80;
    const auto start = std::search(stream.begin(), stream.end(), std::begin(kStart), std::end(kStart));
    const auto place = static_cast<std::size_t>(start - stream.begin()) + kFirstDepth;
    if (place >= stream.size()) return {};
    return (stream[place] & kSigned) != 0;
}

}  // namespace pzel_io
