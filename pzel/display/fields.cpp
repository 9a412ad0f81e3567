// Weaving two fields and taking a frame apart, row by row.
#include "pzel/display/fields.h"

#include <algorithm>
#include <utility>

#include "pzel/component/comp.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/lifecycle.h"
#include "pzel/image/owned_image.h"
#include "pzel/pixels/typed_copy.h"

using pzel::OwnedImage;

namespace {

void WeaveField(Image* field, Image* frame, int firstRow) {
    if (!field || !field->data) return;
    for (int y = 0; y < field->height; ++y)
        CopyImage(field, frame, 0, y, 0, 2 * y + firstRow, field->width, 1, CopyBorderNone);
}

/// An image like `frame` of another size: its flags, bounds and state, but neither attachment nor tags.
OwnedImage NewField(const Image& frame, int width, int height) {
    OwnedImage field(AllocImage());
    field->width = static_cast<std::uint16_t>(width);
    field->height = static_cast<std::uint16_t>(height);
    field->dataType = frame.dataType;
    field->imageType = frame.imageType;
    field->channels = frame.channels;
    ComputeRowBytes(field.get());
    CheckDataArray(field.get());
    // Copies of bits leave those behind the last column alone, and unknown elements are not copied at all.
    if (DataBytes(field->dataType) == 0) ClearImage(field.get());
    field->bound = pzel::CloneBoundArray(frame);
    field->state = static_cast<std::uint8_t>(frame.state & ~StateFreeData);
    return field;
}

/// Every second row of a rectangle of the frame, from `firstRow` on.
OwnedImage TakeField(Image* frame, int x, int y, int width, int height, int firstRow, char mode) {
    const int rows = (height + 1 - firstRow) / 2;
    OwnedImage field = NewField(*frame, width, mode == SplitHalfHeight || rows == 0 ? rows : height);
    for (int row = 0; row < field->height; ++row) {
        const int taken = mode == SplitHalfHeight ? row : std::min(row / 2, rows - 1);
        CopyImage(frame, field.get(), x, y + 2 * taken + firstRow, 0, row, width, 1, CopyBorderNone);
    }
    return field;
}

/// Replaces all of an image but its position tags.
void Replace(Image* image, OwnedImage by) {
    if (!image) return;
    by->frameOffset = image->frameOffset;
    by->frameOffset2 = image->frameOffset2;
    SwapImage(image, by.get());
}

}  // namespace

void FieldsToFrame(Comp* even, Comp* odd, Comp* frame) {
    Image* image = frame->GetCurrentImage();
    if (!image || !image->data) return;
    WeaveField(even->GetFlatImage(), image, 0);
    WeaveField(odd->GetFlatImage(), image, 1);
}

void SplitImage(Comp* comp, Image* even, Image* odd, char mode, SRect* area) {
    Image* frame = comp->GetFlatImage();
    if (!frame || !frame->data || (mode != SplitHalfHeight && mode != SplitFullHeight)) return;
    const int x = area ? std::max<int>(area->left, 0) : 0, y = area ? std::max<int>(area->top, 0) : 0;
    const int right = area ? std::min<int>(area->right + 1, frame->width) : frame->width;
    const int bottom = area ? std::min<int>(area->bottom + 1, frame->height) : frame->height;
    if (right <= x || bottom <= y) return;
    // Both are taken before either is stored: a field may be the frame itself.
    OwnedImage rows0 = TakeField(frame, x, y, right - x, bottom - y, 0, mode);
    OwnedImage rows1 = TakeField(frame, x, y, right - x, bottom - y, 1, mode);
    Replace(even, std::move(rows0));
    Replace(odd, std::move(rows1));
}
