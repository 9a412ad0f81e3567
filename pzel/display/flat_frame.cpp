// The flat image: this component's image with the picture of its flat comp laid over it.
//
// The flat image covers this component's valid area; its pixel (0, 0) is the area's first. The flat comp's
// picture stands where GetFlatImage shows it: at the flat comp's location plus its own area's origin, in the
// coordinates of this component's image.
#include <algorithm>
#include <utility>

#include "pzel/bounds/bounds.h"
#include "pzel/component/comp.h"
#include "pzel/image/lifecycle.h"
#include "pzel/image/owned_image.h"
#include "pzel/pixels/typed_copy.h"

namespace {

/// Bits of the `parts` argument of UpdateFlatFrame.
enum FlatParts : unsigned char {
    PartFlatPicture = 1,  // the flat comp's picture
    PartAround = 2,       // this component's image around it
    PartCurrent = 4,      // this component's image as it is now, whole
    PartUnderHidden = 8,  // this component's image where the hidden flat comp's picture was
    PartWhole = 16,       // this component's image, whole
};

/// An image with the rectangle of it that is shown.
struct Shown {
    Shown(Comp* comp, Image* shownImage) : image(shownImage) {
        unsigned short left, top, width, height;
        comp->GetValidDataArea(image, left, top, width, height);
        x = left;
        y = top;
        w = width;
        h = height;
    }
    /// Copies a rectangle, given relative to the shown one, to (toX, toY) of `flat`.
    void copyTo(Image* flat, int fromX, int fromY, int toX, int toY, int width, int height) const {
        if (width > 0 && height > 0 && image->data)
            CopyImage(image, flat, x + fromX, y + fromY, toX, toY, width, height, CopyBorderNone);
    }
    void copyWholeTo(Image* flat, int toX, int toY) const { copyTo(flat, 0, 0, toX, toY, w, h); }

    Image* image;
    int x, y, w, h;
};

/// Black, where nothing is brought in.
pzel::OwnedImage NewFlatImage(const Shown& own, Image* flatCompImage) {
    Image* like = flatCompImage ? flatCompImage : own.image;
    pzel::OwnedImage flat(NewImage(static_cast<unsigned short>(own.w), static_cast<unsigned short>(own.h),
                                   std::max(own.image->channels, like->channels),
                                   FindCommonType(GetDataType(own.image), GetDataType(like)), true));
    SetImageType(flat.get(), GetImageType(own.image));
    CopyBound(flat.get(), own.image);
    ClearImage(flat.get());
    return flat;
}

/// Four bands around the picture at (x, y): above and below over the whole width, left and right beside it.
void CopyAround(const Shown& own, Image* flat, int x, int y, int w, int h) {
    const int left = std::clamp(x, 0, own.w), right = std::clamp(x + w, 0, own.w);
    const int top = std::clamp(y, 0, own.h), bottom = std::clamp(y + h, 0, own.h);
    const auto band = [&](int bandX, int bandY, int width, int height) {
        own.copyTo(flat, bandX, bandY, bandX, bandY, width, height);
    };
    band(0, 0, own.w, top);
    band(0, top, left, bottom - top);
    band(right, top, own.w - right, bottom - top);
    band(0, bottom, own.w, own.h - bottom);
}

}  // namespace

// A flat image that is refused memory half-way is not shown: a new one goes, another is not valid.
void Comp::UpdateFlatFrame(unsigned char parts) {
    const bool isNew = !flatImage;
    try {
        ComposeFlatImage(parts);
    } catch (...) {
        if (isNew) {
            DeleteImage(std::exchange(flatImage, nullptr));
        } else {
            SetImageNotValid(flatImage);
            SetFlatFrameNotUpdated(this);
        }
        throw;
    }
}

void Comp::ComposeFlatImage(unsigned char parts) {
    if (!flatComp) {
        DeleteImage(flatImage);
        flatImage = nullptr;
        return;
    }
    Image* current = GetCurrentImage();
    Image* picture = flatComp->GetCurrentImage();
    const bool visible = flatComp->IsVisible();
    if (!visible && flatImage) {
        if (parts & PartUnderHidden) {
            const Shown own(this, current), over(flatComp, picture);
            own.copyWholeTo(flatImage, flatComp->x + own.x + over.x, flatComp->y + own.y + over.y);
        } else {
            SetFlatFrameNotUpdated(this);
        }
        SetImageNotValid(flatImage);
        return;
    }
    if (visible && IsValidImage(picture) && current) {
        const Shown own(this, current), over(flatComp, picture);
        if (own.w == over.w && own.h == over.h) {
            DeleteImage(flatImage);
            flatImage = nullptr;
            return;
        }
        if (!flatImage) flatImage = NewFlatImage(own, picture).release();
        if (parts & PartWhole) {
            own.copyWholeTo(flatImage, 0, 0);
            SetImageValid(flatImage);
            return;
        }
        const int left = flatComp->x + over.x - own.x, top = flatComp->y + over.y - own.y;
        if (parts & PartAround) CopyAround(own, flatImage, left, top, over.w, over.h);
        if (parts & PartFlatPicture) over.copyWholeTo(flatImage, left, top);
        if (parts & (PartAround | PartFlatPicture)) {
            SetImageValid(flatImage);
            return;
        }
    }
    if (parts & PartCurrent && current) {
        const Shown own(this, current);
        if (!flatImage) flatImage = NewFlatImage(own, picture).release();
        own.copyWholeTo(flatImage, 0, 0);
        SetImageValid(flatImage);
        return;
    }
    if (flatImage) SetImageNotValid(flatImage);
}
