// The movie of a file: loads on the event that announces another current frame, whoever moved the movie.
#include "apps/io/file_movie.h"

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

FileMovie::FileMovie(std::uint32_t frames, const std::string& name, FrameLoader frameLoader)
    : loader(std::move(frameLoader)), movie(new Movie), comp(AllocComp(1)) {
    comp->SetFilename(name);
    comp->frameCount = frames;
    movie->AddChild(comp.get());
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
    const OwnedImage image = loader(frame);
    Image* record = comp->GetCurrentImage();
    TakeOverBound(*image, *record);
    CleanupImage(record);
    TransferImage(record, image.get());
    SetCompMSType(comp.get(), GetImageType(record));
    movie->SetSize(record->width, record->height);
}

}  // namespace pzel_io
