// The movie of a file: loads on the event that announces another current frame, whoever moved the movie.
#include "apps/io/file_movie.h"

#include <utility>

#include "pzel/image/lifecycle.h"

namespace pzel_io {

FileMovie::FileMovie(std::uint32_t frames, std::uint32_t first, const std::string& name,
                     FrameLoader frameLoader)
    : loader(std::move(frameLoader)), movie(new Movie), comp(AllocComp(1)) {
    comp->SetFilename(name);
    comp->frameCount = frames;
    movie->AddChild(comp.get());
    movie->CheckMovieLength(true);
    movie->SetCurrentFrame(first);
    Load(first);
    int width = 0;
    int height = 0;
    comp->GetSize(width, height);
    movie->SetSize(width, height);
    movie->AttachObserver(this);
}

FileMovie::~FileMovie() {
    movie->DetachObserver(this);
}

void FileMovie::GoTo(std::uint32_t frame) {
    failure = nullptr;
    movie->SetCurrentFrame(frame);
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
    CleanupImage(record);
    TransferImage(record, image.get());
    SetCompMSType(comp.get(), GetImageType(record));
}

}  // namespace pzel_io
