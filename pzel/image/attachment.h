// A caller-defined buffer that travels with an image and is released with it. The only functions of the image
// record that throw on bad arguments.
#pragma once

#include <cstdint>

#include "pzel/image/image.h"

/// A sized buffer. Record and buffer come from `operator new`, made by the caller; the image that it is set
/// on owns both.
struct Attachment {
    std::uint32_t size;  ///< bytes in `buffer`
    std::int32_t kind;   ///< the caller's; never looked at
    void* buffer;        ///< owned
};

/// The image's attachment, or null.
/// @throws std::invalid_argument "Image cannot be NULL"
PZEL_API Attachment* GetImageAttachment(Image* image);
/// Releases the current attachment and takes over the new one (null for none). Do not pass the current one
/// back: it would be released and kept.
/// @throws std::invalid_argument "Image cannot be NULL"
PZEL_API void SetImageAttachment(Image* image, Attachment* attachment);
/// Copies attachment->size bytes from `data`, which must hold as many, into the attachment's buffer.
/// @throws std::invalid_argument "Arguments cannot be NULL" for a null attachment, buffer or data
PZEL_API void SetAttachmentData(Attachment* attachment, void* data);
