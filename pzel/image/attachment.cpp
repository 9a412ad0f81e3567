// Attachments: read, replace, fill.
#include "pzel/image/attachment.h"

#include <cstring>
#include <new>
#include <stdexcept>

namespace {

void RequireImage(const Image* image) {
    if (!image) throw std::invalid_argument("Image cannot be NULL");
}

}  // namespace

Attachment* GetImageAttachment(Image* image) {
    RequireImage(image);
    return image->attachment;
}

void SetImageAttachment(Image* image, Attachment* attachment) {
    RequireImage(image);
    if (image->attachment) {
        ::operator delete(image->attachment->buffer);
        ::operator delete(image->attachment);
    }
    image->attachment = attachment;
}

void SetAttachmentData(Attachment* attachment, void* data) {
    if (!attachment || !attachment->buffer || !data) throw std::invalid_argument("Arguments cannot be NULL");
    std::memcpy(attachment->buffer, data, attachment->size);
}
