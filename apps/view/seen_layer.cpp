// Borrowed pixels go back before the library could free them.
#include "seen_layer.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "apps/render/composition.h"
#include "pzel/bounds/bounds.h"
#include "pzel/display/compose.h"
#include "pzel/image/lifecycle.h"

namespace pzel_view {

namespace {

int FloorDivide(int value, int by) {
    return value >= 0 ? value / by : -((-value + by - 1) / by);
}

SRect AsRect(const QRect& area) {
    return {static_cast<std::int16_t>(area.left()), static_cast<std::int16_t>(area.right()),
            static_cast<std::int16_t>(area.top()), static_cast<std::int16_t>(area.bottom())};
}

// Every step-th pixel of a row.
template <std::size_t Bytes>
void ThinRow(unsigned char* to, const unsigned char* from, std::size_t count, std::size_t step) {
    for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * Bytes, from + i * step * Bytes, Bytes);
}

void ThinRow(unsigned char* to, const unsigned char* from, std::size_t count, std::size_t step,
             std::size_t bytes) {
    switch (bytes) {
        case 1: return ThinRow<1>(to, from, count, step);
        case 2: return ThinRow<2>(to, from, count, step);
        case 3: return ThinRow<3>(to, from, count, step);
        case 4: return ThinRow<4>(to, from, count, step);
        case 6: return ThinRow<6>(to, from, count, step);
        case 12: return ThinRow<12>(to, from, count, step);
        default:
            for (std::size_t i = 0; i < count; ++i)
                std::memcpy(to + i * bytes, from + i * step * bytes, bytes);
    }
}

}  // namespace

SeenLayer::SeenLayer(Comp& shown) : source(shown), movie(new Movie), comp(AllocComp(1)) {
    movie->AddChild(comp.get());
}

SeenLayer::~SeenLayer() {
    LetGo();
}

void SeenLayer::LetGo() {
    Image* const record = comp->GetCurrentImage();
    if (std::exchange(isBorrowed, false)) record->data = nullptr;
    CleanupImage(record);
    ImageInit(record);
}

void SeenLayer::TakeBounds() {
    Image* const from = source.GetCurrentImage();
    Image* const to = comp->GetCurrentImage();
    if (!from->bound || GetDataType(from) == DataBit) return;
    CopyBound(to, from);
    to->state |= StateBoundSet;
    SetBoundType(to, GetBoundType(from));
}

void SeenLayer::TakeWhole() {
    LetGo();
    Image* const to = comp->GetCurrentImage();
    *to = *source.GetCurrentImage();
    to->bound = nullptr;
    to->attachment = nullptr;
    isBorrowed = true;
    isShrunk = false;
    delete std::exchange(comp->dataArea, nullptr);
    comp->flagsA &= static_cast<std::uint16_t>(~CompExtentMask);
    SetCompMSType(comp.get(), GetImageType(to));
}

void SeenLayer::TakePart(const QRect& part) {
    if (!isBorrowed || isImageOld) TakeWhole();
    if (!comp->dataArea) comp->dataArea = new SRect;
    *comp->dataArea = AsRect(part);
    comp->flagsA |= CompExtentDataArea;
}

void SeenLayer::TakeEvery(int step, const QRect& part) {
    LetGo();
    delete std::exchange(comp->dataArea, nullptr);
    comp->flagsA &= static_cast<std::uint16_t>(~CompExtentMask);
    const Image& from = *source.GetCurrentImage();
    const int width = (part.width() + step - 1) / step, height = (part.height() + step - 1) / step;
    const bool interleaved = IsInterleaved(&from);
    pzel_io::OwnedImage thin(NewImage(static_cast<unsigned short>(width), static_cast<unsigned short>(height),
                                      from.channels, GetDataType(&from), interleaved));
    SetImageType(thin.get(), GetImageType(&from));
    const std::size_t perPixel = interleaved ? from.channels : 1;
    const std::size_t bytes = static_cast<std::size_t>(DataBytes(from.dataType)) * perPixel;
    for (int channel = 0; channel < (interleaved ? 1 : int{from.channels}); ++channel) {
        const unsigned char* const first = GetImageData(&from, channel);
        unsigned char* const to = GetImageData(thin.get(), channel);
        for (std::ptrdiff_t y = 0; y < height; ++y) {
            ThinRow(to + y * thin->rowBytes,
                    first + (part.top() + y * step) * from.rowBytes +
                        part.left() * static_cast<std::ptrdiff_t>(bytes),
                    static_cast<std::size_t>(width), static_cast<std::size_t>(step), bytes);
        }
    }
    TransferImage(comp->GetCurrentImage(), thin.get());
    SetCompMSType(comp.get(), GetImageType(&from));
    isShrunk = true;
}

void SeenLayer::DrawArrowsAsLines() {
    comp->ComputeBitmap(-1);
    const pzel_io::OwnedImage lines = AsBoundary(comp->GetShownBitmap());
    LetGo();
    comp->DeleteBitmap();
    TransferImage(comp->GetCurrentImage(), lines.get());
    SetCompMSType(comp.get(), GetImageType(comp->GetCurrentImage()));
}

bool SeenLayer::Map(const QRect& area, int zoom, Company company) {
    const bool isShown = company == Company::Alone || source.IsVisible();
    if (!isShown || !source.GetCurrentImage()->data) return false;
    const SRect place = source.GetCompExtent();
    const QRect visible = QRect(QPoint(place.left, place.top), QPoint(place.right, place.bottom)) & area;
    if (visible.isEmpty()) return false;
    const int x = source.x, y = source.y;
    const Image& image = *source.GetCurrentImage();
    const bool byParts = source.GetCompMType() == MajorPicture && GetDataType(&image) != DataBit;
    const int step = std::max(-zoom, 1);
    QRect part = visible.translated(-x, -y);
    if (byParts && step > 1) {
        part.setLeft((FloorDivide(visible.left() + step - 1, step)) * step - x);
        part.setTop((FloorDivide(visible.top() + step - 1, step)) * step - y);
        if (part.isEmpty()) return false;
    }
    const bool arrows = source.GetCompMType() == MajorVector && step > 1;
    if (!byParts) part = QRect(0, 0, image.width, image.height);
    if (arrows && isBitmapOld) isImageOld = true;  // lines were made of it
    if (isImageOld || part != taken || zoom != takenZoom) {
        comp->DeleteBitmap();
        if (!byParts) {
            TakeWhole();
        } else if (step > 1) {
            TakeEvery(step, part);
        } else {
            TakePart(part);
        }
        isBitmapOld = true;
        taken = part;
        takenZoom = zoom;
    }
    isImageOld = false;
    comp->x = static_cast<std::int16_t>(isShrunk ? FloorDivide(x + part.left(), step) : x);
    comp->y = static_cast<std::int16_t>(isShrunk ? FloorDivide(y + part.top(), step) : y);
    comp->transparency = company == Company::Alone ? std::uint8_t{0} : source.transparency;
    comp->overlayColour = source.overlayColour;
    const auto channel = static_cast<std::uint16_t>(source.flagsA & CompChannelMask);
    if (channel != (comp->flagsA & CompChannelMask)) {
        comp->flagsA = static_cast<std::uint16_t>((comp->flagsA & ~CompChannelMask) | channel);
        comp->DeleteBitmap();
        isBitmapOld = true;
    }
    if (!std::exchange(isBitmapOld, false)) return true;
    TakeBounds();
    delete std::exchange(comp->remapper, source.remapper ? source.remapper->Clone() : nullptr);
    if (arrows) DrawArrowsAsLines();
    comp->ComputeBitmap(-1);
    return true;
}

int SeenLayer::Depth() {
    return DepthOf(*comp);
}

void SeenLayer::Compose(const BitmapDestination& destination, const QRect& area, int zoom, int bits) {
    if (!isShrunk) {
        ComposeMovie(movie.get(), destination, AsRect(area), static_cast<signed char>(zoom), nullptr, bits);
        return;
    }
    const QRect shrunk(FloorDivide(area.left(), -zoom), FloorDivide(area.top(), -zoom),
                       (area.width() - zoom - 1) / -zoom, (area.height() - zoom - 1) / -zoom);
    ComposeMovie(movie.get(), destination, AsRect(shrunk), 1, nullptr, bits);
}

}  // namespace pzel_view
