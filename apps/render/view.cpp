// Shows one frame after the other. A setter that changes something makes the component draw the whole
// picture: of the steps that a frame needs, those that change nothing cost nothing, and the last picture is
// the right one. The levels of a frame that came with those of the one before are not set again.
#include "view.h"

#include "apps/io/colour_copy.h"
#include "composition.h"
#include "pzel/bounds/bounds.h"
#include "pzel/colour/convert_image.h"
#include "pzel/component/group.h"
#include "pzel/display/bitmap.h"
#include "pzel/display/boundary.h"
#include "pzel/image/lifecycle.h"
#include "tone_curve.h"

namespace {

using pzel_io::FileError;

unsigned short ChannelMode(Channel channel) {
    switch (channel) {
        case Channel::Red:
        case Channel::Y: return CompChannelRed;
        case Channel::Green:
        case Channel::U: return CompChannelGreen;
        case Channel::Blue:
        case Channel::V: return CompChannelBlue;
        default: return 0;  // all, or a picture of one channel
    }
}

ToneCurve::Model CurveModel(const Image& image) {
    if (image.channels != 3) return ToneCurve::Model::Grey;
    return GetSubType(&image) == SubYuv ? ToneCurve::Model::Yuv : ToneCurve::Model::Colour;
}

// Baking by intensity, saturation and hue takes channel 0 for red.
void BakeJoint(Image& image, ToneCurve& curve) {
    pzel_io::SwapRedAndBlue(image);
    ConvertAllDataToRGB(&image, &curve);
    pzel_io::SwapRedAndBlue(image);
}

void BakeChannels(Image& image, ToneCurve& curve) {
    // Floats have no full scale: they stay within their levels.
    if (GetDataType(&image) == DataFloat) CopyBoundToSpatialBound(&image);
    ConvertImage(&image, &curve);
}

}  // namespace

View::View(pzel_io::FileMovie& frames, std::size_t index, const FrameMaker& frameMaker,
           const pzel_io::PictureInfo& picture, const Layer& wishes, int zoom)
    : movie(frames),
      place(index),
      maker(frameMaker),
      info(picture),
      layer(wishes),
      comp(frames.Picture(index)),
      hasStandIn(wishes.role == Role::Boundary || (wishes.role == Role::Vectors && zoom < -1) ||
                 wishes.look.colourMap) {
    comp.AttachObserver(this);
}

View::~View() {
    comp.DetachObserver(this);
}

void View::Show() {
    spent = {};
    if (comp.flagsA & CompBitmapOutOfDate) {
        if (!isSetUp) SetUp();
        layer.IsOverlay() ? ShowOverlay() : ShowPicture();
    }
    if (!drawn.pixels)
        throw FileError(info.file,
                        "frame " + std::to_string(movie.GetMovie().GetCurrentFrame()) + " gives no bitmap");
}

std::string View::Text() const {
    if (!layer.IsOverlay()) return "levels " + LevelsText(GetLevels(comp), maker.Offset());
    std::string text = RoleName(layer.role);
    if (layer.threshold)
        text += " of " + pzel_io::NumberText(layer.threshold->low) + ":" +
                pzel_io::NumberText(layer.threshold->high);
    if (layer.role == Role::Vectors) {
        float low = 0;
        float longest = 0;
        GetBound(comp.GetCurrentImage(), &low, &longest, 0);
        text += " of up to " + pzel_io::NumberText(static_cast<double>(longest));
    }
    return text + " in " + ColourName(layer.colour);
}

void View::Update(IComponent*, int event, std::intptr_t) {
    if (event == EventBlackWhite || event == EventRemapper) TakePicture();
}

// What the first bitmap must know.
void View::SetUp() {
    comp.flagsA |= ChannelMode(layer.look.channel);
    if (layer.area) {
        const Area& area = *layer.area;
        comp.dataArea =
            new SRect{static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(area.right),
                      static_cast<std::int16_t>(area.top), static_cast<std::int16_t>(area.bottom)};
        comp.flagsA |= CompExtentDataArea;
    }
    if (hasStandIn) PlaceStandIn();
    Comp& shown = hasStandIn ? *standIn : comp;
    // Colours are drawn of the visible part alone, which so has a place of its own.
    const bool isPart = hasStandIn && layer.look.colourMap && layer.area;
    shown.x = static_cast<std::int16_t>(layer.x + (isPart ? layer.area->left : 0));
    shown.y = static_cast<std::int16_t>(layer.y + (isPart ? layer.area->top : 0));
    shown.SetOpacity(static_cast<float>(layer.opacity));
    shown.SetVisible(!layer.hidden);
    if (layer.IsOverlay()) shown.overlayColour = static_cast<std::uint8_t>(layer.colour);
    CheckBitmap();
    isSetUp = true;
}

// The movie has another picture where the file has a mask to be outlined, arrows of which a shrinking zoom
// would leave dots, or greys to be coloured.
void View::PlaceStandIn() {
    standIn.reset(AllocComp(1));
    standIn->frameCount = comp.frameCount;
    SetComponent(&movie.GetMovie(), static_cast<int>(place), standIn.get());
}

void View::DrawStandIn() {
    const pzel_io::OwnedImage drawing = Drawing();
    CleanupImage(standIn->GetCurrentImage());
    TransferImage(standIn->GetCurrentImage(), drawing.get());
    standIn->ComputeBitmap(-1);
}

pzel_io::OwnedImage View::Drawing() const {
    const ShownBitmap shown = comp.GetShownBitmap();
    if (layer.role == Role::Boundary) return pzel_io::OwnedImage(MaskToBoundary(comp.GetCurrentImage()));
    if (layer.role == Role::Vectors) return AsBoundary(shown);
    if (shown.bits != 8) throw FileError(info.file, "is no picture of greys, which colour maps are for");
    return InColours(shown, *layer.look.colourMap);
}

// Bitmap rows count their bytes in 16 bits.
void View::CheckBitmap() {
    const int bits = comp.ComputeBmpBits();
    if (bits == 0) {
        throw FileError(info.file, "a picture of " + std::to_string(info.channels) +
                                       " channels cannot be shown" +
                                       (info.channels == 2 ? "; @vectors shows it as arrows" : ""));
    }
    unsigned short x, y, width, height;
    comp.GetValidDataArea(x, y, width, height);
    const int rowBytes = (width * bits + 7) / 8;
    if (rowBytes > ComputeBmpLineBytes(width, bits)) {
        throw FileError(info.file,
                        "a bitmap row of " + std::to_string(rowBytes) +
                            " bytes is longer than a bitmap can hold (65532); --area shows a part");
    }
}

void View::ShowOverlay() {
    Change([&] {
        comp.ComputeBitmap(-1);
        if (hasStandIn) DrawStandIn();
        TakePicture();
    });
}

void View::ShowPicture() {
    if (IsJoint()) comp.SwitchMapingMode(comp.GetNumbChannels());
    SetLevels();
    const Image& image = *comp.GetCurrentImage();
    const bool curved = GetDataType(&image) != DataBit && layer.look.IsCurved(info.lowIsWhite);
    if (layer.look.bake) {
        Bake();
    } else if (curved && !comp.GetRemapper()) {
        auto* curve = new ToneCurve(layer.look.TonesOf(info.lowIsWhite), CurveModel(image));
        // It comes after the switch of the display, which it would have been told of.
        curve->SetMode(IsJoint() ? 1 : 0, 1);
        Change([&] { comp.SetRemapper(curve); });
    }
    // No setter had anything to change.
    if (comp.flagsA & CompBitmapOutOfDate) {
        Change([&] {
            comp.ComputeBitmap(-1);
            TakePicture();
        });
    }
    if (!hasStandIn) return;
    DrawStandIn();
    TakePicture();
}

void View::SetLevels() {
    const ::Levels& levels = maker.WantedLevels();
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const int channel = ComponentChannel(comp, static_cast<int>(i));
        Change([&] { comp.SetBlackWhite(channel, {levels[i].low, levels[i].high}); });
    }
}

// The data take over what the levels and the curve do to them, and are shown with their full scale.
void View::Bake() {
    Image& image = *comp.GetCurrentImage();
    ToneCurve curve(layer.look.TonesOf(info.lowIsWhite), CurveModel(image));
    if (IsJoint()) {
        BakeJoint(image, curve);
    } else {
        BakeChannels(image, curve);
    }
    comp.flagsA |= CompBitmapOutOfDate;
    const int first = IsJoint() ? comp.GetNumbChannels() : 0;
    for (int channel = first; channel < first + comp.GetNumbChannels(); ++channel) {
        const CompBlackWhite full = GetSpatialBounds(&image, comp.GetCompType(), comp.GetDataType(), channel);
        Change([&] { comp.SetBlackWhite(channel, full); });
    }
}

// A step that may make the component draw. Each draws at most once, so that the time is that of one mapping.
void View::Change(const std::function<void()>& step) {
    start = Clock::now();
    step();
}

void View::TakePicture() {
    spent = Clock::now() - start;
    drawn = (hasStandIn ? *standIn : comp).GetShownBitmap();
}
