// Uses the installed library as a stranger would: one picture from pixels to bitmap.
#include <pzel/pzel.h>

#include <cstdio>

int main() {
    Comp* comp = AllocComp(1);
    Image* image = comp->GetCurrentImage();
    ConstructImage(*image, 4, 2, 1, nullptr, DataUInt8, true, true);
    CheckDataArray(image);
    for (unsigned i = 0; i < GetImageSize(image); ++i) image->data[i] = static_cast<unsigned char>(i * 10);
    ComputeBound(image);
    comp->ComputeBitmap(0);
    const ShownBitmap shown = comp->GetShownBitmap();
    const bool right = shown.width == 4 && shown.bits == 8 && shown.pixels[shown.rowBytes + 1] == 50;
    std::printf("consumer: %s\n", right ? "the picture is right" : "the picture is wrong");
    comp->Release();
    return right ? 0 : 1;
}
