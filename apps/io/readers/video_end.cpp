// The outermost structures of the containers.
#include "apps/io/readers/video_end.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "apps/io/readers/file_bytes.h"

namespace pzel_io {

namespace {

using namespace std::string_view_literals;

std::uint64_t BigNumber(std::string_view file, std::size_t at, std::size_t bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes && at + i < file.size(); ++i)
        number = number << 8 | static_cast<unsigned char>(file[at + i]);
    return number;
}

std::uint64_t LittleNumber(std::string_view file, std::size_t at, std::size_t bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = bytes; i-- > 0;)
        number = number << 8 | (at + i < file.size() ? static_cast<unsigned char>(file[at + i]) : 0);
    return number;
}

bool Holds(std::string_view file, std::size_t at, std::string_view bytes) {
    return file.size() >= at && file.substr(at).starts_with(bytes);
}

// Boxes, one behind another: MP4 and its relatives.
VideoEnd EndOfBoxes(std::string_view file) {
    constexpr std::uint64_t kLong = 1, kToTheEnd = 0;
    std::uint64_t at = 0;
    while (file.size() - at >= 8) {
        std::uint64_t size = BigNumber(file, at, 4);
        if (size == kToTheEnd) return VideoEnd::Whole;
        if (size == kLong) size = BigNumber(file, at + 8, 8);
        if (size < 8) return VideoEnd::Whole;  // no box: others find out what it is
        if (size > file.size() - at) return VideoEnd::Cut;
        at += size;
    }
    return VideoEnd::Whole;
}

// AVI: pieces of up to some gigabytes.
VideoEnd EndOfRiff(std::string_view file) {
    std::uint64_t at = 0;
    while (Holds(file, at, "RIFF"sv)) {
        const std::uint64_t size = LittleNumber(file, at + 4, 4);
        if (size + 8 > file.size() - at) return VideoEnd::Cut;
        at += 8 + size + size % 2;
        if (at > file.size()) break;
    }
    return VideoEnd::Whole;
}

// Matroska: a head, and a segment that tells its length, or that it does not know.
VideoEnd EndOfSegment(std::string_view file) {
    // The number of leading zeros tells how many bytes a number has.
    const auto lengthBytes = [&](std::size_t at) {
        std::size_t bytes = 1;
        const auto first = BigNumber(file, at, 1);
        while (bytes < 8 && !(first & 0x80u >> (bytes - 1))) ++bytes;
        return bytes;
    };
    const auto length = [&](std::size_t at) {
        const std::size_t bytes = lengthBytes(at);
        return BigNumber(file, at, bytes) & ((std::uint64_t{1} << 7 * bytes) - 1);
    };
    constexpr std::size_t kName = 4;
    const std::uint64_t segment = kName + lengthBytes(kName) + length(kName);
    if (!Holds(file, segment, "\x18\x53\x80\x67"sv)) return VideoEnd::Whole;
    const std::size_t bytes = lengthBytes(segment + kName);
    const std::uint64_t size = length(segment + kName);
    const bool unknown = size == (std::uint64_t{1} << 7 * bytes) - 1;
    const std::uint64_t content = segment + kName + bytes;
    return !unknown && size > file.size() - content ? VideoEnd::Cut : VideoEnd::Whole;
}

// Ogg: the last page says that it is, and how long it is.
VideoEnd EndOfPages(std::string_view file) {
    constexpr std::size_t kHead = 27, kFlags = 5, kSegments = 26;
    constexpr int kLast = 4;
    const std::size_t page = file.rfind("OggS"sv);
    if (page == std::string_view::npos || file.size() - page < kHead) return VideoEnd::Cut;
    const std::uint64_t segments = BigNumber(file, page + kSegments, 1);
    std::uint64_t size = kHead + segments;
    for (std::uint64_t i = 0; i < segments; ++i) size += BigNumber(file, page + kHead + i, 1);
    const bool last = BigNumber(file, page + kFlags, 1) & kLast;
    return last && size <= file.size() - page ? VideoEnd::Whole : VideoEnd::Cut;
}

// FLV: behind each piece stands how long it is.
VideoEnd EndOfTags(std::string_view file) {
    constexpr std::size_t kNumber = 4, kTagHead = 11;
    if (file.size() < kNumber) return VideoEnd::Cut;
    const std::uint64_t size = BigNumber(file, file.size() - kNumber, kNumber);
    if (size < kTagHead || size + kNumber > file.size()) return VideoEnd::Cut;
    const std::size_t tag = file.size() - kNumber - size;
    return BigNumber(file, tag + 1, 3) + kTagHead == size ? VideoEnd::Whole : VideoEnd::Cut;
}

// ASF: one of the objects in its head tells the length of the file, but in broadcasts.
VideoEnd EndOfObjects(std::string_view file) {
    constexpr auto kProperties = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"sv;
    constexpr std::size_t kSize = 40, kFlags = 88, kHead = 16;
    const std::uint64_t head = std::min<std::uint64_t>(LittleNumber(file, kHead, 8), file.size());
    const std::size_t properties = file.substr(0, head).find(kProperties);
    if (properties == std::string_view::npos) return VideoEnd::Whole;
    if (LittleNumber(file, properties + kFlags, 1) & 1) return VideoEnd::Whole;
    return LittleNumber(file, properties + kSize, 8) > file.size() ? VideoEnd::Cut : VideoEnd::Whole;
}

// Packets of one size; they have no end of their own.
VideoEnd EndOfPackets(std::string_view file) {
    constexpr std::size_t kPacket = 188, kTime = 4;
    const std::size_t size = Holds(file, kPacket, "\x47"sv) ? kPacket : kPacket + kTime;
    return file.size() % size ? VideoEnd::Cut : VideoEnd::Whole;
}

// MPEG: an end mark, which cutting programs tend to lose.
VideoEnd EndOfMarks(std::string_view file) {
    constexpr std::size_t kNear = 1 << 12;  // it may be filled up with zeros
    const std::string_view tail = file.substr(file.size() - std::min(file.size(), kNear));
    const bool marked = tail.find("\0\0\x01\xB9"sv) != std::string_view::npos ||
                        tail.find("\0\0\x01\xB7"sv) != std::string_view::npos;
    return marked ? VideoEnd::Whole : VideoEnd::Unknown;
}

}  // namespace

VideoEnd FindVideoEnd(const std::filesystem::path& name) {
    const FileBytes bytes(name);
    const std::string_view file(reinterpret_cast<const char*>(bytes.All().data()), bytes.All().size());
    if (Holds(file, 4, "ftyp"sv) || Holds(file, 4, "moov"sv) || Holds(file, 4, "mdat"sv))
        return EndOfBoxes(file);
    if (Holds(file, 0, "RIFF"sv)) return EndOfRiff(file);
    if (Holds(file, 0, "\x1A\x45\xDF\xA3"sv)) return EndOfSegment(file);
    if (Holds(file, 0, "OggS"sv)) return EndOfPages(file);
    if (Holds(file, 0, "FLV"sv)) return EndOfTags(file);
    if (Holds(file, 0, "\x30\x26\xB2\x75"sv)) return EndOfObjects(file);
    if (Holds(file, 0, "\x47"sv) || Holds(file, 4, "\x47"sv)) return EndOfPackets(file);
    if (Holds(file, 0, "\0\0\x01"sv)) return EndOfMarks(file);
    return VideoEnd::Whole;
}

}  // namespace pzel_io
