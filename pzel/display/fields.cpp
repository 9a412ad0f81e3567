// Weaving two fields, row by row.
#include "pzel/display/fields.h"

#include "pzel/component/comp.h"
#include "pzel/image/typed_copy.h"

namespace {

void WeaveField(Image* field, Image* frame, int firstRow) {
    if (!field || !field->data) return;
    for (int y = 0; y < field->height; ++y)
        CopyImage(field, frame, 0, y, 0, 2 * y + firstRow, field->width, 1, CopyBorderNone);
}

}  // namespace

void FieldsToFrame(Comp* even, Comp* odd, Comp* frame) {
    Image* image = frame->GetCurrentImage();
    if (!image || !image->data) return;
    WeaveField(even->GetFlatImage(), image, 0);
    WeaveField(odd->GetFlatImage(), image, 1);
}
