#include "apps/io/readers/dicom_frames.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcpixel.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dcpxitem.h>

#include <algorithm>
#include <cstring>

namespace pzel_io {

namespace {

constexpr std::size_t kFragmentHead = 8;  // bytes

bool GetPart(DcmElement& element, std::size_t offset, std::span<unsigned char> to, DcmFileCache& cache) {
    return to.empty() || element
                             .getPartialValue(to.data(), static_cast<Uint32>(offset),
                                              static_cast<Uint32>(to.size()), &cache)
                             .good();
}

// How many of the first `told` bytes of a value are in the file, found by halving.
std::size_t HeldBytes(DcmElement& element, std::size_t told, DcmFileCache& cache) {
    std::size_t held = 0;
    for (std::size_t beyond = told + 1; beyond - held > 1;) {
        const std::size_t middle = held + (beyond - held) / 2;
        unsigned char byte;
        (GetPart(element, middle - 1, {&byte, 1}, cache) ? held : beyond) = middle;
    }
    return held;
}

template <class T>
std::vector<std::size_t> Offsets(const RawPixels& table) {
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i + sizeof(T) <= table.size(); i += sizeof(T)) {
        T offset;
        std::memcpy(&offset, &table[i], sizeof offset);
        offsets.push_back(offset);
    }
    return offsets;
}

}  // namespace

StoredBytes::StoredBytes(const DicomFile& file, DcmElement& pixels) : element(pixels) {
    const Uint32 told = pixels.getLengthField();
    if (told == DCM_UndefinedLength) file.Fail("tells that its pixels are not compressed, but they are");
    held = told;
    if (file.End() == DicomEnd::Whole) return;
    // Of a value that was being inflated nobody knows where it ends.
    held = file.IsDeflated() ? 0 : HeldBytes(element, told, cache);
}

std::size_t StoredBytes::Read(std::size_t offset, std::span<unsigned char> to) {
    const std::size_t there = std::min(to.size(), held - std::min(offset, held));
    return GetPart(element, offset, to.first(there), cache) ? there : 0;
}

CodedFrames::CodedFrames(const DicomFile& of, DcmElement& pixels) : file(of) {
    DcmPixelSequence* sequence = nullptr;
    if (const auto data = dynamic_cast<DcmPixelData*>(&pixels)) {
        E_TransferSyntax syntax = EXS_Unknown;
        const DcmRepresentationParameter* parameter = nullptr;
        data->getOriginalRepresentationKey(syntax, parameter);
        if (data->getEncapsulatedRepresentation(syntax, parameter, sequence).bad()) sequence = nullptr;
    }
    if (!sequence) file.Fail("tells that its pixels are compressed, but holds no fragments of them");
    std::size_t start = 0;
    bool isTable = true;
    DcmObject* next = nullptr;
    while ((next = sequence->nextInContainer(next))) {
        const auto item = dynamic_cast<DcmPixelItem*>(next);
        if (!item) continue;
        const std::size_t length = item->getLengthField();
        if (std::exchange(isTable, false)) {
            unsigned char last;
            if (length == 0 || !GetPart(*item, length - 1, {&last, 1}, cache)) continue;
            basicTable.resize(length);
            if (!GetPart(*item, 0, basicTable, cache)) basicTable.clear();
            continue;
        }
        fragments.push_back({item, start, length});
        start += kFragmentHead + length;
    }
}

std::uint32_t CodedFrames::Divide(std::uint32_t frames) {
    firsts.clear();
    const std::vector<std::size_t> starts = TableStarts();
    if (starts.size() == frames && DivideByStarts(starts)) return frames;
    firsts.clear();
    if (frames == 1) {
        firsts.push_back(0);
    } else if (fragments.size() > frames) {
        DivideByMarks();
    }
    if (firsts.empty()) {
        for (std::size_t i = 0; i < fragments.size(); ++i) firsts.push_back(i);
    }
    firsts.push_back(fragments.size());
    const std::size_t found = fragments.empty() ? 0 : firsts.size() - 1;
    return static_cast<std::uint32_t>(std::min<std::size_t>(found, frames));
}

std::size_t CodedFrames::Size() const {
    std::size_t bytes = 0;
    for (const Fragment& fragment : fragments) bytes += fragment.length;
    return bytes;
}

CodedFrames::Frame CodedFrames::Read(std::uint32_t frame) {
    Frame read;
    for (std::size_t i = firsts[frame]; i < firsts[frame + 1]; ++i) {
        const Fragment& fragment = fragments[i];
        unsigned char last;
        const bool whole =
            fragment.length == 0 || GetPart(*fragment.item, fragment.length - 1, {&last, 1}, cache);
        const std::size_t at = read.bytes.size();
        read.bytes.resize(at + (whole ? fragment.length : HeldBytes(*fragment.item, fragment.length, cache)));
        const bool got = GetPart(*fragment.item, 0, std::span(read.bytes).subspan(at), cache);
        if (whole && got) continue;
        read.whole = false;
        break;
    }
    return read;
}

std::vector<std::size_t> CodedFrames::TableStarts() const {
    const RawPixels extended = file.Top().Value(DCM_ExtendedOffsetTable);
    return extended.empty() ? Offsets<std::uint32_t>(basicTable) : Offsets<std::uint64_t>(extended);
}

bool CodedFrames::DivideByStarts(const std::vector<std::size_t>& starts) {
    std::size_t fragment = 0;
    for (const std::size_t start : starts) {
        while (fragment < fragments.size() && fragments[fragment].start < start) ++fragment;
        if (fragment == fragments.size() || fragments[fragment].start != start) return false;
        if (!firsts.empty() && fragment == firsts.back()) return false;
        firsts.push_back(fragment);
    }
    firsts.push_back(fragments.size());
    return firsts[0] == 0;
}

void CodedFrames::DivideByMarks() {
    for (std::size_t i = 0; i < fragments.size(); ++i) {
        if (i == 0 || BeginsPicture(i)) firsts.push_back(i);
    }
}

bool CodedFrames::BeginsPicture(std::size_t fragment) {
    unsigned char head[3];
    if (fragments[fragment].length < sizeof head || !GetPart(*fragments[fragment].item, 0, head, cache)) {
        return false;
    }
    const bool jpeg = head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF;
    const bool codestream = head[0] == 0xFF && head[1] == 0x4F && head[2] == 0xFF;
    return jpeg || codestream || file.Coding() == DicomCoding::Runs;
}

}  // namespace pzel_io
