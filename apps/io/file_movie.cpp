// The movie of some files: loads on the event that announces another current frame, whoever moved the movie.
#include "apps/io/file_movie.h"

#include <stdexcept>
#include <utility>

#include "pzel/bounds/bounds.h"
#include "pzel/image/lifecycle.h"

namespace pzel_io {

namespace {

// Levels stay while frames change.
void TakeOverBound(Image& image, Image& before) {
    if (image.state & StateBoundSet) return;
    if (before.data) {
        CopyBound(&image, &before);
        image.state |= StateBoundSet;
    } else {
        SetDefaultBound(&image);
    }
}

}  // namespace

FileMovie::FileMovie(std::vector<Layer> files) : layers(std::move(files)), movie(new Movie) {
    movie->AllocComps(1);  // the picture
    const int above = static_cast<int>(layers.size()) - 1;
    if (above > 0 && movie->AllocMoreComps(above) < 0) throw std::length_error("more than 255 layers");
    for (std::size_t i = 0; i < layers.size(); ++i) {
        Comp& comp = *movie->GetChildren()[i];
        comp.Hold();
        comps.emplace_back(&comp);
        comp.images = AllocImages(1, 0);
        comp.imageFrames = 1;
        comp.frameCount = layers[i].frames;
        comp.SetFilename(layers[i].name);
    }
    movie->CheckMovieLength(true);
    movie->AttachObserver(this);
}

FileMovie::~FileMovie() {
    movie->DetachObserver(this);
}

void FileMovie::GoTo(std::uint32_t frame) {
    failure = nullptr;
    if (!movie->SetCurrentFrame(frame)) movie->SendFrameChangedEvent();
    if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
}

void FileMovie::Update(IComponent* source, int event, std::intptr_t) {
    if (event != EventCurrentFrame || !source->IsMovieObj()) return;
    try {
        Load(static_cast<std::uint32_t>(source->GetCurrentFrame()));
    } catch (...) {
        failure = std::current_exception();
    }
}

void FileMovie::Load(std::uint32_t frame) {
    for (std::size_t i = 0; i < layers.size(); ++i) LoadLayer(layers[i], *comps[i], frame);
}

void FileMovie::LoadLayer(const Layer& layer, Comp& comp, std::uint32_t frame) {
    Image* record = comp.GetCurrentImage();
    if (layer.frames == 1 && record->data) return;
    const OwnedImage image = layer.load(layer.frames == 1 ? 0 : frame);
    TakeOverBound(*image, *record);
    CleanupImage(record);
    TransferImage(record, image.get());
    SetCompMSType(&comp, GetImageType(record));
    comp.flagsA |= CompBitmapOutOfDate;
}

}  // namespace pzel_io
