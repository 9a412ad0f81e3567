// Opening a DICOM file, and values by tag.
#include "apps/io/readers/dicom_file.h"

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcmetinf.h>
#include <dcmtk/dcmdata/dcsequen.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/oflog/oflog.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "apps/io/readers/dicom_dictionary.h"

namespace pzel_io {

namespace {

constexpr Uint32 kMostInMemory = 256;  // bytes of a value; longer ones are left in the file

std::vector<double> ParseNumbers(const std::string& text) {
    std::vector<double> numbers;
    for (const char* at = text.c_str();;) {
        char* next = nullptr;
        const double number = std::strtod(at, &next);
        if (next == at || !std::isfinite(number)) return numbers;
        numbers.push_back(number);
        next += std::strspn(next, " ");
        if (*next != '\\') return numbers;
        at = next + 1;
    }
}

template <class T>
std::vector<double> NumbersOf(const RawPixels& value) {
    std::vector<double> numbers;
    for (std::size_t i = 0; i + sizeof(T) <= value.size(); i += sizeof(T)) {
        T number;
        std::memcpy(&number, &value[i], sizeof number);
        if (!std::isfinite(static_cast<double>(number))) break;
        numbers.push_back(static_cast<double>(number));
    }
    return numbers;
}

const char* NewCodingName(const std::string& syntax) {
    constexpr std::string_view kHighThroughput = "1.2.840.10008.1.2.4.20";
    return syntax.starts_with(kHighThroughput) ? "High-Throughput JPEG 2000" : nullptr;
}

// The coding of a data set without a preface, told from its first element.
E_TransferSyntax BareSyntax(const std::filesystem::path& file) {
    char head[6]{};
    std::ifstream(file, std::ios::binary).read(head, sizeof head);
    const auto isLetter = [](char c) { return c >= 'A' && c <= 'Z'; };
    const bool typed = isLetter(head[4]) && isLetter(head[5]);
    if (!typed) return EXS_LittleEndianImplicit;
    return head[0] == 0 ? EXS_BigEndianExplicit : EXS_LittleEndianExplicit;
}

bool HasPreface(const std::filesystem::path& file) {
    constexpr std::size_t kPreamble = 128;
    char head[kPreamble + 4]{};
    std::ifstream(file, std::ios::binary).read(head, sizeof head);
    constexpr char kMetaGroup = 2;
    return std::memcmp(head + kPreamble, "DICM", 4) == 0 || head[0] == kMetaGroup;
}

}  // namespace

DcmElement* DicomItem::Element(const DcmTagKey& tag) const {
    DcmElement* found = nullptr;
    if (!item || item->findAndGetElement(tag, found).bad()) return nullptr;
    return found;
}

RawPixels DicomItem::Value(const DcmTagKey& tag) const {
    DcmElement* const element = Element(tag);
    if (!element || !element->isLeaf()) return {};
    const Uint32 length = element->getLengthField();
    if (length == 0 || length == DCM_UndefinedLength) return {};
    // Before memory is taken for what the file only claims.
    unsigned char last;
    if (element->getPartialValue(&last, length - 1, 1).bad()) return {};
    RawPixels value(length);
    if (element->getPartialValue(value.data(), 0, length).bad()) return {};
    return value;
}

std::string DicomItem::Text(const DcmTagKey& tag) const {
    const RawPixels value = Value(tag);
    std::string text(value.begin(), value.end());
    const std::size_t last = text.find_last_not_of(std::string(" \0", 2));
    text.resize(last == std::string::npos ? 0 : last + 1);
    text.erase(0, text.find_first_not_of(' '));
    return text;
}

std::vector<double> DicomItem::Numbers(const DcmTagKey& tag) const {
    DcmElement* const element = Element(tag);
    if (!element) return {};
    switch (element->getVR()) {
        case EVR_US:
        case EVR_OW:
        case EVR_xs: return NumbersOf<std::uint16_t>(Value(tag));
        case EVR_SS: return NumbersOf<std::int16_t>(Value(tag));
        case EVR_UL: return NumbersOf<std::uint32_t>(Value(tag));
        case EVR_SL: return NumbersOf<std::int32_t>(Value(tag));
        case EVR_FL:
        case EVR_OF: return NumbersOf<float>(Value(tag));
        case EVR_FD:
        case EVR_OD: return NumbersOf<double>(Value(tag));
        default: return ParseNumbers(Text(tag));
    }
}

std::optional<double> DicomItem::Number(const DcmTagKey& tag) const {
    const std::vector<double> numbers = Numbers(tag);
    if (numbers.empty()) return {};
    return numbers[0];
}

std::vector<std::uint16_t> DicomItem::Words(const DcmTagKey& tag) const {
    const RawPixels value = Value(tag);
    std::vector<std::uint16_t> words(value.size() / 2);
    if (!words.empty()) std::memcpy(words.data(), value.data(), words.size() * 2);
    return words;
}

std::vector<DicomItem> DicomItem::Items(const DcmTagKey& sequence) const {
    std::vector<DicomItem> items;
    const auto found = dynamic_cast<DcmSequenceOfItems*>(Element(sequence));
    if (!found) return items;
    DcmObject* next = nullptr;
    while ((next = found->nextInContainer(next))) {
        if (const auto inner = dynamic_cast<DcmItem*>(next)) items.emplace_back(inner);
    }
    return items;
}

DicomItem DicomItem::First(const DcmTagKey& sequence) const {
    const auto found = dynamic_cast<DcmSequenceOfItems*>(Element(sequence));
    return DicomItem(found ? dynamic_cast<DcmItem*>(found->nextInContainer(nullptr)) : nullptr);
}

DicomFile::DicomFile(const std::filesystem::path& file) : path(file) {
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    LoadDicomDictionary();
    dcmAcceptUnexpectedImplicitEncoding.set(OFTrue);
    dcmEnableUnknownVRConversion.set(OFTrue);
    format = std::make_unique<DcmFileFormat>();
    // The library finds out a bare data set's coding with its whole dictionary.
    const OFCondition read =
        HasPreface(file)
            ? format->loadFile(file.c_str(), EXS_Unknown, EGL_noChange, kMostInMemory)
            : format->getDataset()->loadFile(file.c_str(), BareSyntax(file), EGL_noChange, kMostInMemory);
    if (read.bad()) {
        // Zeros behind the last element are padding.
        const auto first = dynamic_cast<DcmElement*>(format->getDataset()->getElement(0));
        const bool padded = first && first->getTag() == DcmTagKey(0, 0);
        const bool ended = read == EC_StreamNotifyClient || read == EC_InvalidStream;
        if (!padded) end = ended ? DicomEnd::CutShort : DicomEnd::Damaged;
    }
    shared = Top().First(DCM_SharedFunctionalGroupsSequence);
    perFrame = Top().Items(DCM_PerFrameFunctionalGroupsSequence);
    if (format->getDataset()->getOriginalXfer() == EXS_Unknown) Fail("cannot be opened as dicom: damaged");
    ChooseCoding();
}

DicomFile::~DicomFile() = default;

DicomItem DicomFile::Top() const {
    return DicomItem(format->getDataset());
}

DicomItem DicomFile::Group(std::uint32_t frame, const DcmTagKey& sequence) const {
    if (frame < perFrame.size()) {
        if (const DicomItem group = perFrame[frame].First(sequence)) return group;
    }
    if (const DicomItem group = shared.First(sequence)) return group;
    return Top();
}

bool DicomFile::IsBigEndian() const {
    return DcmXfer(format->getDataset()->getOriginalXfer()).isBigEndian();
}

bool DicomFile::IsDeflated() const {
    return format->getDataset()->getOriginalXfer() == EXS_DeflatedLittleEndianExplicit;
}

void DicomFile::ChooseCoding() {
    const std::string told = DicomItem(format->getMetaInfo()).Text(DCM_TransferSyntaxUID);
    const DcmXfer syntax(told.empty() ? format->getDataset()->getOriginalXfer()
                                      : DcmXfer(told.c_str()).getXfer());
    switch (syntax.getXfer()) {
        case EXS_RLELossless: coding = DicomCoding::Runs; return;
        case EXS_JPEGProcess1:
        case EXS_JPEGProcess2_4:
        case EXS_JPEGProcess6_8:
        case EXS_JPEGProcess10_12:
        case EXS_JPEGProcess14:
        case EXS_JPEGProcess14SV1: coding = DicomCoding::Jpeg; return;
        case EXS_JPEGLSLossless:
        case EXS_JPEGLSLossy: coding = DicomCoding::JpegLs; return;
        case EXS_JPEG2000LosslessOnly:
        case EXS_JPEG2000:
        case EXS_JPEG2000MulticomponentLosslessOnly:
        case EXS_JPEG2000Multicomponent: coding = DicomCoding::Jpeg2000; return;
        case EXS_LittleEndianImplicit:
        case EXS_LittleEndianExplicit:
        case EXS_BigEndianExplicit:
        case EXS_DeflatedLittleEndianExplicit: return;
        case EXS_Unknown: {
            const char* const name = NewCodingName(told);
            Fail(name ? std::string("compressed as ") + name + ", which is not supported"
                      : "coded in an unknown way (" + told + ")");
        }
        default: Fail(std::string("compressed as ") + syntax.getXferName() + ", which is not supported");
    }
}

}  // namespace pzel_io
