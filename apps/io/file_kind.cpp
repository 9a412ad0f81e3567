// File formats by their first bytes. Formats without a mark of their own are not read: a guess by the name's
// ending would show noise for a file of another kind.
#include "apps/io/file_kind.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>

#include "apps/io/picture_info.h"

namespace pzel_io {

namespace {

using namespace std::string_view_literals;

struct Mark {
    std::size_t offset;
    std::string_view bytes;
    const char* format;
    const char* reader = "other";
};

constexpr const char* kVideo = "video";

// The first match counts: longer marks at the same place stand before shorter ones.
constexpr Mark kMarks[] = {
    {0, "\x89PNG\r\n\x1A\n"sv, "png", "png"},
    {0, "\xFF\xD8\xFF"sv, "jpeg", "jpeg"},
    {0, "II*\0"sv, "tiff", "tiff"},
    {0, "MM\0*"sv, "tiff", "tiff"},
    {0, "II+\0"sv, "tiff", "tiff"},
    {0, "MM\0+"sv, "tiff", "tiff"},
    {0, "\x1F\x8B\x08"sv, "fits", "fits"},  // of gzip: no other format is kept so
    {0, "v/1\x01"sv, "openexr"},
    {0, "GIF8"sv, "gif", "gif"},
    {0, "BM"sv, "bmp"},
    {0, "\0\0\0\x0CjP  \r\n\x87\n"sv, "jpeg2000"},
    {0, "\xFF\x4F\xFF\x51"sv, "jpeg2000"},
    {0, "#?RADIANCE"sv, "hdr"},
    {0, "#?RGBE"sv, "hdr"},
    {0, "SDPX"sv, "dpx"},
    {0, "XPDS"sv, "dpx"},
    {0, "\x80\x2A\x5F\xD7"sv, "cineon"},
    {0, "8BPS"sv, "psd"},
    {8, "WEBP"sv, "webp"},
    {4, "ftypheic"sv, "heif"},
    {4, "ftypheix"sv, "heif"},
    {4, "ftypmif1"sv, "heif"},
    {4, "ftypavif"sv, "heif"},
    {4, "ftyp"sv, kVideo, kVideo},
    {4, "moov"sv, kVideo, kVideo},
    {4, "mdat"sv, kVideo, kVideo},
    {8, "AVI "sv, kVideo, kVideo},
    {0, "\x1A\x45\xDF\xA3"sv, kVideo, kVideo},
    {0, "OggS"sv, kVideo, kVideo},
    {0, "\0\0\x01\xBA"sv, kVideo, kVideo},
    {0, "\0\0\x01\xB3"sv, kVideo, kVideo},
    {0, "FLV\x01"sv, kVideo, kVideo},
    {0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11"sv, kVideo, kVideo},
};

constexpr std::size_t kDicomMark = 128;
constexpr std::size_t kHeadBytes = 640;

bool Holds(std::string_view head, std::size_t offset, std::string_view bytes) {
    return head.size() >= offset && head.substr(offset).starts_with(bytes);
}

// P1 to P7 (and the float forms) are followed by white space or a comment.
bool IsPnm(std::string_view head) {
    return head.size() > 2 && head[0] == 'P' && "1234567Ff"sv.find(head[1]) != std::string_view::npos &&
           (std::isspace(static_cast<unsigned char>(head[2])) || head[2] == '#');
}

// DICOM without its preamble starts with a low element of group 2 or 8, in either byte order.
bool IsBareDicom(std::string_view head) {
    if (head.size() < 8) return false;
    const auto word = [&](std::size_t at, std::size_t low) {
        return static_cast<unsigned char>(head[at + low]) | static_cast<unsigned char>(head[at + 1 - low])
                                                                << 8;
    };
    for (const std::size_t low : {0u, 1u}) {
        const int group = word(0, low);
        const int element = word(2, low);
        if ((group == 2 || group == 8) && element <= 0x18) return true;
    }
    return false;
}

// Packets of MPEG transport streams start with the same byte; some recorders put a time before each.
bool IsTransportStream(std::string_view head) {
    constexpr std::size_t kPacket = 188, kTime = 4, kSeen = 3;
    for (const std::size_t time : {std::size_t{0}, kTime}) {
        std::size_t packets = 0;
        while (packets < kSeen && Holds(head, time + packets * (time + kPacket), "\x47"sv)) ++packets;
        if (packets == kSeen) return true;
    }
    return false;
}

std::string ReadHead(const std::filesystem::path& file) {
    if (std::error_code error; std::filesystem::is_directory(file, error)) {
        throw FileError(file, "is a folder");
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw FileError(file, std::strerror(errno));
    std::string head(kHeadBytes, '\0');
    stream.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(stream.gcount()));
    if (head.empty()) throw FileError(file, "is empty");
    return head;
}

}  // namespace

FileKind SniffFile(const std::filesystem::path& file) {
    const std::string head = ReadHead(file);
    // First: the free space in front of the mark may hold the head of another format.
    if (Holds(head, kDicomMark, "DICM")) return {"dicom", "dicom"};
    for (const Mark& mark : kMarks) {
        if (!Holds(head, mark.offset, mark.bytes)) continue;
        return {mark.reader, mark.format};
    }
    if (Holds(head, 0, "SIMPLE  =")) return {"fits", "fits"};
    if (IsBareDicom(head)) return {"dicom", "dicom"};
    if (IsPnm(head)) return {"pnm", "pnm"};
    if (IsTransportStream(head)) return {kVideo, kVideo};
    throw FileError(file, "is of no known picture or video format");
}

}  // namespace pzel_io
