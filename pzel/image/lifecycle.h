// Creating, shaping, filling, copying, moving and releasing image records and their pixels.
//
// Who owns what: a record owns its pixel buffer, its bound array and its attachment. Records come from
// AllocImage, NewImage or DuplicateImage and go back with DeleteImage; arrays come from AllocImages and go
// back with DeleteImages. The pixel buffer is released with `free` where StateFreeData is set, else with
// `operator delete`; a buffer that the library allocates for a record that carries the mark comes from
// `malloc`, so that the two always match. The mark stays until ImageInit or CleanupImage.
//
// Where memory is refused, or a shape cannot be held, functions throw and leave all records as they were;
// where less is promised it is said. Releasing never throws.
#pragma once

#include "pzel/image/image.h"

/// A new record, all zero, no data. The caller owns it.
PZEL_API Image* AllocImage();
/// `count` records in one block. The first is the current frame (offset 0), then come the `before` earlier
/// ones
/// (-before … -1), then the later ones (1, 2, …). No data. Null when `count` is 0 or less.
PZEL_API Image* AllocImages(int count, int before);
/// `count` records in one block; record i gets frameOffset = offsets[i]. Null when `count` is 0 or less.
PZEL_API Image* AllocImages(int* offsets, int count);
/// The same; record i gets frameOffset2 = offsets2[i] besides.
PZEL_API Image* AllocImages(int* offsets, int* offsets2, int count);

/// Shapes a record around the caller's buffer (may be null); allocates nothing, releases nothing. Where
/// `libraryOwned` is false the record will release the buffer with `free`, else with `operator delete`.
/// `type` is an element type code; all flag bits start clear.
PZEL_API void ConstructImage(Image& image, unsigned short width, unsigned short height,
                             unsigned short channels, unsigned char* data, unsigned short type,
                             bool interleaved, bool libraryOwned);
/// Shapes `count` existing records and allocates data where they have none. `typeByte` is the whole data-type
/// byte, layout bit included. The image type is left alone, also for one channel. Where it throws, earlier
/// records have their shapes, the others are as they were.
PZEL_API void ConstructImages(Image* images, int count, unsigned short width, unsigned short height,
                              unsigned char channels, unsigned char typeByte);
/// A new record of that shape with an uninitialised buffer.
/// @throws std::bad_array_new_length as CheckDataArray
PZEL_API Image* NewImage(unsigned short width, unsigned short height, unsigned char channels,
                         unsigned char type, bool interleaved);
/// A new record shaped like `like` (type, flags and position tags included) with an uninitialised buffer, no
/// bound array and no attachment.
PZEL_API Image* NewImage(Image* like);
/// The same with another number of channels. `rowBytes` is taken over: call ComputeRowBytes where the layout
/// is interleaved. The buffer is large enough for both row lengths.
PZEL_API Image* NewImage(Image* like, int channels);
/// A new record shaped like `source` with a copy of its pixels; zeros where it has none.
PZEL_API Image* DuplicateImage(Image* source);
/// Allocates the pixel buffer where there is none.
/// @throws std::bad_array_new_length for a row over 65,535 bytes or a total over 4 GiB - 1; the record stays
///         without data
PZEL_API void CheckDataArray(Image* image);
/// Stores the number of channels (8 bits). One channel also sets the interleaved bit and, for major type 0,
/// sub type SubGrey. `rowBytes` is not recomputed.
PZEL_API void SetNumbOfChannels(Image* image, int n);

/// Releases the pixel buffer; nothing when there is none.
PZEL_API void RemoveImageData(Image* image);
/// Releases pixels, bound array and attachment and clears `state`; the record stays.
PZEL_API void CleanupImage(Image* image);
/// Releases a record and all that it owns. Null is ignored.
PZEL_API void DeleteImage(Image* image);
/// Releases an array of `count` records and all that they own. Null is ignored.
PZEL_API void DeleteImages(Image* images, int count);

/// The pixels, or null. A null image gives null.
PZEL_API const unsigned char* GetImageData(const Image* image);
PZEL_API unsigned char* GetImageData(Image* image);
/// The first element of a channel; a channel out of range silently gives channel 0.
PZEL_API const unsigned char* GetImageData(const Image* image, int channel);
PZEL_API unsigned char* GetImageData(Image* image, int channel);
/// The element (x, y) of channel 0; no range check.
PZEL_API unsigned char* GetImageData(Image* image, int x, int y);
/// Replaces the pixel buffer and releases the old one, even when both are the same. A null `data` does
/// nothing. Where `libraryOwned` is false, `free` will release the buffer; true leaves the mark as it is.
PZEL_API void SetImageData(Image* image, unsigned char* data, bool libraryOwned);

/// Copies GetImageTotalBytes(source) bytes of pixels; the destination must hold them. Nothing where either
/// has no data.
PZEL_API void CopyImageData(Image* source, Image* destination);
/// CopyImageData where width, height and channels are equal; otherwise nothing. Type and layout are not
/// compared.
PZEL_API void CopyImage(Image* source, Image* destination);
/// Makes `destination` a record like `source` (its own position tags kept) with a fresh, undefined buffer and
/// a copy of the bound array and the state. What it owned before is not released: clean it first.
PZEL_API void CopyImageCharacteristics(Image* destination, Image* source);
/// CopyImageCharacteristics for each of `count` records. Where it throws, those before are done.
PZEL_API void CopyImageStruct(Image* destinations, int count, Image* source);
/// Exchanges two whole records.
PZEL_API void SwapImage(Image* a, Image* b);
/// Moves a record: `to` gets all of `from`, which keeps its shape and state but owns nothing any more. What
/// `to` owned before is not released.
PZEL_API void TransferImage(Image* to, Image* from);
/// Sets all pixels to 0.
PZEL_API void ClearImage(Image* image);
/// Gives the image another size and a fresh, undefined buffer; nothing when the size is the same and there is
/// data. The bound array stays. Where it throws, the image has the new size and no data: the old buffer goes
/// first, so that both need not be held.
PZEL_API void ResizeImage(Image* image, int width, int height);
