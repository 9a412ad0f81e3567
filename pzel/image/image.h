// The image record: one frame of raster data with its geometry, element type, layout and status bits, and the
// small accessors over it. The record is plain data; every operation is a free function.
//
// The folder's other headers:
//   lifecycle.h    allocation, ownership, copies and moves of whole records, pointers into the pixels
//   bound_array.h  the pairs (minimum, maximum) of the channels: the array, its sections, its defaults
//   attachment.h   a caller-defined buffer that travels with an image
// What copies and computes with pixels is in pzel/pixels/.
#pragma once

#include <cstdint>
#include <type_traits>

#include "pzel/export.h"

struct Attachment;

/// Element type codes: bits 0-3 of `Image::dataType`. Codes 9-15 are treated like `DataNone`.
enum ImageDataType : unsigned char {
    DataNone = 0,    ///< none set; rows are sized like bit data
    DataBit = 1,     ///< 1 bit an element, the first element of a byte in its most significant bit
    DataUInt8 = 2,   ///< unsigned 8-bit integer
    DataInt8 = 3,    ///< signed 8-bit integer
    DataUInt16 = 4,  ///< unsigned 16-bit integer
    DataInt16 = 5,   ///< signed 16-bit integer
    DataUInt32 = 6,  ///< unsigned 32-bit integer
    DataInt32 = 7,   ///< signed 32-bit integer
    DataFloat = 8,   ///< 32-bit IEEE float
};

/// Bits of `Image::dataType` beside the element type code. The two status bits are stored inverted, so that
/// an all-zero record is valid and during.
enum ImageDataFlags : unsigned short {
    DataTypeMask = 0x000F,     ///< the element type code
    DataNotValid = 0x0010,     ///< the image is not valid
    DataNotDuring = 0x0020,    ///< the image is not during
    DataInterleaved = 0x0080,  ///< channels are stored pixel by pixel instead of plane by plane
    DataInfoMask = 0x008F,     ///< the data info: element type code and layout
};

/// Major types: the high byte of `Image::imageType`, kept in place. Other values pass through unchanged.
enum ImageMajorType : unsigned short {
    MajorPicture = 0x0000,    ///< pixels to be shown through levels
    MajorBoundary = 0x0100,   ///< two channels of bits, upper and left edges, drawn as a boundary overlay
    MajorNoBitmap = 0x0400,   ///< a kind that has no display bitmap
    MajorVector = 0x0500,     ///< a vector field
    MajorComposite = 0xFE00,  ///< what a movie of several components answers
    MajorNone = 0xFF00,       ///< what a null image answers
};

/// Sub types: the low byte of `Image::imageType`. Other values pass through unchanged.
enum ImageSubType : unsigned short {
    SubColour = 0x00,     ///< with 3 channels: blue, green, red
    SubYuv = 0x01,        ///< luminance, then two signed colour differences
    SubGrey = 0x03,       ///< one channel
    SubNone = 0xF0,       ///< what a null image answers (not SubNotSet: deliberate)
    SubNotSet = 0xFF,     ///< not set; taken over from the source of a copy
    SubSignedBit = 0x01,  ///< set in a sub type: the channels after the first hold signed values
};

/// Bits of `Image::state`.
enum ImageState : unsigned char {
    StateBoundSet = 0x01,      ///< the data bound has been computed, copied or set
    StateBoundDefault = 0x02,  ///< the data bound holds defaults
    StateFreeData = 0x08,      ///< `data` is released with `free`; clear: with `operator delete`
    StateSpatialBound = 0x10,  ///< the spatial bound was chosen once; never cleared
    StateHsiBound = 0x20,      ///< the HSI bound is the selected one
};

/// One frame of raster data. Plain and trivially copyable: records are copied, swapped and moved as blocks.
///
/// Rows are not padded. Planar images store one plane of `height` rows of `rowBytes` bytes for each channel;
/// interleaved ones (and all of one channel) store one plane whose pixels hold `channels` elements each, and
/// `rowBytes` counts all of them. Colour images are blue first.
struct Image {
    std::uint16_t width;        ///< columns
    std::uint16_t height;       ///< rows
    std::uint16_t rowBytes;     ///< bytes of one stored row, see ComputeRowBytes
    std::uint16_t dataType;     ///< element type code and ImageDataFlags
    unsigned char* data;        ///< the pixels, GetImageTotalBytes bytes, owned; or null
    std::uint16_t imageType;    ///< major type in the high byte, sub type in the low byte
    std::uint8_t channels;      ///< number of channels, 0-255
    std::uint8_t state;         ///< ImageState bits
    unsigned char* bound;       ///< the bound array, owned; or null (see bound_array.h)
    Attachment* attachment;     ///< owned; or null
    std::int32_t frameOffset;   ///< frame number relative to the current frame of its group
    std::int32_t frameOffset2;  ///< a second position tag, the caller's
};
static_assert(std::is_trivially_copyable_v<Image> && std::is_standard_layout_v<Image>);

/// One element of any element type.
union AnyType {
    std::uint8_t uint8;
    std::int8_t int8;
    std::uint16_t uint16;
    std::int16_t int16;
    std::uint32_t uint32;
    std::int32_t int32;
    float float32;
};

/// A rectangle, inclusive on all four sides.
struct SRect {
    std::int16_t left;
    std::int16_t right;
    std::int16_t top;
    std::int16_t bottom;
};

/// Sets every field to zero: no size, no data, valid, during, planar.
PZEL_API void ImageInit(Image* image);

/// True when the channels are stored pixel by pixel; always so for one channel. Null: false.
PZEL_API bool IsInterleaved(const Image* image);
/// channels * height * width. Null: 0.
PZEL_API std::uint32_t GetImageVolume(const Image* image);
/// width * height. Null: 0.
PZEL_API std::uint32_t GetImageSize(const Image* image);
/// rowBytes * height: one plane, or the whole of an interleaved image. Null: 0.
PZEL_API std::uint32_t GetImageBytes(const Image* image);
/// Bytes of all planes. Null: 0.
PZEL_API std::uint32_t GetImageTotalBytes(const Image* image);
/// Bytes of one stored row.
PZEL_API int GetRowBytes(const Image* image);

/// The element type code. Null: DataNone.
PZEL_API ImageDataType GetDataType(const Image* image);
/// The element type code of a non-null image.
PZEL_API unsigned char GetDataType(Image* image);
/// Element type code and layout: the low byte of `dataType` masked with DataInfoMask.
PZEL_API unsigned char GetDataInfo(Image* image);
/// Bytes of one element of the type in the low four bits of `typeWord`: 1, 2 or 4; 0 for bits and unknown
/// codes.
PZEL_API int DataBytes(unsigned short typeWord);
/// Masked write of the data-type word: dataType = (dataType & ~mask) | bits.
PZEL_API void SetImageType(Image* image, unsigned short mask, unsigned short bits);
/// Recomputes `rowBytes` from width, element type, layout and channels, in 16-bit arithmetic.
PZEL_API void ComputeRowBytes(Image* image);

/// The image type word. Null: 0xFF00.
PZEL_API unsigned short GetImageType(const Image* image);
PZEL_API unsigned short GetImageType(Image* image);
/// The major type, in the high byte. Null: MajorNone.
PZEL_API ImageMajorType GetMajorType(const Image* image);
PZEL_API unsigned short GetMajorType(Image* image);
/// The sub type. Null: SubNone.
PZEL_API ImageSubType GetSubType(const Image* image);
PZEL_API unsigned short GetSubType(Image* image);
/// The major type of an image type word, in the high byte.
PZEL_API ImageMajorType CompMType(unsigned short typeWord);
/// The sub type of an image type word.
PZEL_API ImageSubType CompSType(unsigned short typeWord);
/// Stores the whole image type word.
PZEL_API void SetImageType(Image* image, unsigned short typeWord);
/// Replaces the high byte of the image type word by the high byte of `major`.
PZEL_API void SetMajorType(Image* image, unsigned short major);
/// Replaces the low byte of the image type word by the low byte of `sub`.
PZEL_API void SetSubType(Image* image, unsigned short sub);

/// Whether the pixels mean something. Null: false.
PZEL_API bool IsValidImage(const Image* image);
PZEL_API void SetImageValid(Image* image);
PZEL_API void SetImageNotValid(Image* image);
PZEL_API bool IsDuring(const Image* image);
PZEL_API void SetDuring(Image* image);
PZEL_API void SetNotDuring(Image* image);

/// The element type to read one channel with: where `signedChroma` is true and there are 2 or more channels,
/// the first channel is unsigned and the others are signed (8 and 16 bits); otherwise `type`.
PZEL_API unsigned char GetTrueDataType(bool signedChroma, int channels, int channel, unsigned char type);
/// The element type that holds values of both types. Not symmetric, deliberately: (2, 5) is signed 16-bit,
/// (5, 2) signed 32-bit; (2, 7) is signed 32-bit, (7, 2) float.
PZEL_API unsigned char FindCommonType(unsigned char a, unsigned char b);
