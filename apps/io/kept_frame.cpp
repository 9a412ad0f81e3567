// Kept is what was read, with all that was told of it.
#include "apps/io/kept_frame.h"

#include <utility>

#include "pzel/image/lifecycle.h"

namespace pzel_io {

namespace {

class KeptFrame final : public PictureSource {
  public:
    explicit KeptFrame(std::unique_ptr<PictureSource> all) : frames(std::move(all)) { info = frames->Info(); }

    Frame Read(std::uint32_t number, Layout layout) override {
        if (!kept.image || number != keptNumber || layout != keptLayout) {
            kept = Frame();
            kept = frames->Read(number, layout);
            keptNumber = number;
            keptLayout = layout;
        }
        return {OwnedImage(DuplicateImage(kept.image.get())), kept.window, kept.notes};
    }
    void Expect(std::uint32_t frame) override { frames->Expect(frame); }
    void WantRows(const Rows& rows) override {
        kept = Frame();
        frames->WantRows(rows);
    }
    std::filesystem::path FileOf(std::uint32_t frame) const override { return frames->FileOf(frame); }

  private:
    std::unique_ptr<PictureSource> frames;
    Frame kept;
    std::uint32_t keptNumber = 0;
    Layout keptLayout{};
};

}  // namespace

std::unique_ptr<PictureSource> KeepLastFrame(std::unique_ptr<PictureSource> frames) {
    return std::make_unique<KeptFrame>(std::move(frames));
}

}  // namespace pzel_io
