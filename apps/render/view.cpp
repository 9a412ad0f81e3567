// Shows one frame after the other. A setter that changes something makes the component draw the whole
// picture: of the steps that a frame needs, those that change nothing cost nothing, and the last picture is
// the right one. The levels of a frame that came with those of the one before are not set again.
#include "view.h"

#include <limits>
#include <utility>

#include "apps/io/colour_copy.h"
#include "pzel/bounds/bounds.h"
#include "pzel/colour/convert_image.h"
#include "pzel/display/bitmap.h"
#include "pzel/image/arithmetic.h"
#include "tone_curve.h"

namespace {

using pzel_io::FileError;

constexpr std::size_t kPixelTextBytes = 128;

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

View::View(pzel_io::FileMovie& frames, const FrameMaker& frameMaker, const pzel_io::PictureInfo& picture,
           const Options& wishes)
    : movie(frames), maker(frameMaker), info(picture), options(wishes), comp(frames.Picture()) {
    movie.GetMovie().AttachObserver_All(this);
}

View::~View() {
    movie.GetMovie().DetachObserver_All(this);
}

void View::Show(std::uint32_t frame) {
    movie.GoTo(frame);
    if (std::exchange(frameArrived, false)) ShowArrived();
    if (!drawn.pixels) throw FileError(info.file, "frame " + std::to_string(frame) + " gives no bitmap");
}

std::string View::Levels() const {
    return LevelsText(GetLevels(comp), maker.Offset());
}

std::string View::PixelText(int x, int y) const {
    Image& image = *comp.GetCurrentImage();
    // The text counts the bits of a byte from the right, pictures from the left.
    constexpr int kOtherEnd = 7;
    char text[kPixelTextBytes];
    printData(&image, GetDataType(&image) == DataBit ? x ^ kOtherEnd : x, y, text);
    return text;
}

void View::Update(IComponent* source, int event, std::intptr_t) {
    switch (event) {
        case EventCurrentFrame: frameArrived |= source->IsMovieObj(); break;
        case EventBlackWhite:
        case EventRemapper: TakePicture(); break;
        default: break;
    }
}

// What the first bitmap must know.
void View::SetUp() {
    comp.flagsA |= ChannelMode(options.channel);
    if (options.area) {
        const Area& area = *options.area;
        comp.dataArea =
            new SRect{static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(area.right),
                      static_cast<std::int16_t>(area.top), static_cast<std::int16_t>(area.bottom)};
        comp.flagsA |= CompExtentDataArea;
    }
    CheckBitmap();
    isSetUp = true;
}

// Bitmap rows count their bytes in 16 bits.
void View::CheckBitmap() {
    const int bits = comp.ComputeBmpBits();
    if (bits == 0)
        throw FileError(info.file,
                        "a picture of " + std::to_string(info.channels) + " channels cannot be shown");
    unsigned short x, y, width, height;
    comp.GetValidDataArea(x, y, width, height);
    const int rowBytes = (width * bits + 7) / 8;
    if (rowBytes > ComputeBmpLineBytes(width, bits)) {
        throw FileError(info.file,
                        "a bitmap row of " + std::to_string(rowBytes) +
                            " bytes is longer than a bitmap can hold (65532); --area shows a part");
    }
}

void View::ShowArrived() {
    if (!isSetUp) SetUp();
    comp.flagsA |= CompBitmapOutOfDate;
    if (IsJoint()) comp.SwitchMapingMode(comp.GetNumbChannels());
    SetLevels();
    const Image& image = *comp.GetCurrentImage();
    const bool inverted = options.invert != info.lowIsWhite;
    const bool curved = GetDataType(&image) != DataBit && (inverted || options.gamma != 1);
    if (options.bake) {
        Bake();
    } else if (curved && !comp.GetRemapper()) {
        auto* curve = new ToneCurve(options.gamma, inverted, CurveModel(image));
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
    ToneCurve curve(options.gamma, options.invert != info.lowIsWhite, CurveModel(image));
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
    drawn = comp.GetShownBitmap();
}
