// The walk over the elements of a DICOM file: tags and lengths only, values are stepped over. Deflated files
// and unknown value types end it early.
#include "apps/io/readers/dicom_structure.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <string_view>
#include <vector>

#include "apps/io/readers/reader.h"

namespace pzel_io {

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kUndefinedLength = 0xFFFFFFFF;
constexpr std::uint32_t kItem = 0xFFFEE000;
constexpr std::uint32_t kItemEnd = 0xFFFEE00D;
constexpr std::uint32_t kSequenceEnd = 0xFFFEE0DD;
constexpr std::uint32_t kTransferSyntax = 0x00020010;
constexpr std::uint32_t kPixels = 0x7FE00010;
constexpr std::size_t kPreamble = 128;
constexpr std::size_t kElementHead = 8;

constexpr std::string_view kImplicitLittle = "1.2.840.10008.1.2";
constexpr std::string_view kExplicitBig = "1.2.840.10008.1.2.2";
constexpr std::string_view kDeflated = "1.2.840.10008.1.2.1.99";

// Value types whose length takes four bytes, after two reserved ones.
constexpr std::string_view kLongTypes[] = {"OB", "OD", "OF", "OL", "OV", "OW", "SQ",
                                           "SV", "UC", "UN", "UR", "UT", "UV"};

struct Coding {
    bool explicitTypes = true;
    bool bigEndian = false;
};

enum class Walk { Done, CutShort, Unknown };

class Walker {
  public:
    explicit Walker(const std::vector<unsigned char>& content) : bytes(content) {}

    Walk WholeFile() {
        const bool marked = Text(kPreamble, 4) == "DICM";
        at = marked ? kPreamble + 4 : 0;
        while (Left() >= kElementHead && Number(at, 2, false) == 2) {
            const std::size_t start = at;
            if (const Walk walk = Element({}); walk != Walk::Done) return walk;
            if (lastTag == kTransferSyntax) syntax = Value(start);
        }
        if (at == bytes.size()) return Walk::CutShort;  // nothing but the preface
        if (syntax == kDeflated) return Walk::Unknown;
        const Coding coding = DataCoding();
        while (Left() > 0) {
            if (std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end(),
                            [](unsigned char byte) { return byte == 0; })) {
                return Walk::Done;  // padding
            }
            if (const Walk walk = Element(coding); walk != Walk::Done) return walk;
        }
        return Walk::Done;
    }

  private:
    std::size_t Left() const { return bytes.size() - at; }

    std::string_view Text(std::size_t from, std::size_t length) const {
        if (from + length > bytes.size()) return {};
        return {reinterpret_cast<const char*>(bytes.data()) + from, length};
    }

    std::uint32_t Number(std::size_t from, std::size_t size, bool bigEndian) const {
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < size; ++i) {
            number = number << 8 | bytes[from + (bigEndian ? i : size - 1 - i)];
        }
        return number;
    }

    bool TypeLettersAt(std::size_t from) const {
        const std::string_view text = Text(from, 2);
        return text.size() == 2 &&
               std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    }

    // The text of a preface element that starts at `start` and ends where the walk stands.
    std::string_view Value(std::size_t start) const {
        std::string_view text = Text(start + kElementHead, at - start - kElementHead);
        while (!text.empty() && (text.back() == '\0' || text.back() == ' ')) text.remove_suffix(1);
        return text;
    }

    // Files without a preface do not tell their coding: the letters of the first value type do.
    Coding DataCoding() const {
        if (syntax == kImplicitLittle) return {false, false};
        if (syntax == kExplicitBig) return {true, true};
        const bool bigEndian = syntax.empty() && Left() >= 2 && bytes[at] == 0;
        return {TypeLettersAt(at + 4), bigEndian};
    }

    Walk Skip(std::uint32_t length) {
        if (length > Left()) return Walk::CutShort;
        at += length;
        return Walk::Done;
    }

    std::uint32_t Tag(bool bigEndian) const {
        return Number(at, 2, bigEndian) << 16 | Number(at + 2, 2, bigEndian);
    }

    Walk Element(Coding coding) {
        if (Left() < kElementHead) return Walk::CutShort;
        lastTag = Tag(coding.bigEndian);
        at += 4;
        std::uint32_t length = 0;
        bool nestedImplicit = !coding.explicitTypes;
        if (coding.explicitTypes) {
            if (!TypeLettersAt(at)) return Walk::Unknown;
            const std::string_view type = Text(at, 2);
            nestedImplicit = type == "UN";
            const bool isLong =
                std::find(std::begin(kLongTypes), std::end(kLongTypes), type) != std::end(kLongTypes);
            if (isLong && Left() < kElementHead) return Walk::CutShort;
            length = isLong ? Number(at + 4, 4, coding.bigEndian) : Number(at + 2, 2, coding.bigEndian);
            at += isLong ? kElementHead : 4;
        } else {
            length = Number(at, 4, coding.bigEndian);
            at += 4;
        }
        if (length != kUndefinedLength) return Skip(length);
        const std::uint32_t tag = lastTag;
        const Walk walk = Items({!nestedImplicit, coding.bigEndian});
        lastTag = tag;
        return walk;
    }

    // A sequence of undefined length, or the fragments of compressed pixels.
    Walk Items(Coding coding) {
        while (true) {
            if (Left() < kElementHead) return Walk::CutShort;
            const std::uint32_t tag = Tag(coding.bigEndian);
            const std::uint32_t length = Number(at + 4, 4, coding.bigEndian);
            at += kElementHead;
            if (tag == kSequenceEnd) return Walk::Done;
            if (tag != kItem) return Walk::Unknown;
            const Walk walk = length == kUndefinedLength ? ItemElements(coding) : Skip(length);
            if (walk != Walk::Done) return walk;
        }
    }

    Walk ItemElements(Coding coding) {
        while (true) {
            if (Left() < kElementHead) return Walk::CutShort;
            if (Tag(coding.bigEndian) == kItemEnd) {
                at += kElementHead;
                return Walk::Done;
            }
            if (++depth > kDeepest) return Walk::Unknown;
            const Walk walk = Element(coding);
            --depth;
            if (walk != Walk::Done) return walk;
        }
    }

    static constexpr int kDeepest = 64;  // nested sequences; no real file comes near

    const std::vector<unsigned char>& bytes;
    std::size_t at = 0;
    std::uint32_t lastTag = 0;
    std::string_view syntax;
    int depth = 0;
};

}  // namespace

void CheckDicomStructure(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(stream)), {});
    if (Walker(bytes).WholeFile() == Walk::CutShort) throw FileError(file, "is cut short");
}

}  // namespace pzel_io
