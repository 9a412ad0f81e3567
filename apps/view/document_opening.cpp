// How files become layers: all that are opened together are read first, and only then is anything changed.
#include <algorithm>
#include <utility>

#include "document.h"
#include "pzel/bounds/bounds.h"
#include "pzel/display/bitmap.h"
#include "pzel/image/lifecycle.h"

namespace pzel_view {

namespace {

std::string NameOf(const Layer& wishes) {
    const std::filesystem::path file = wishes.file;
    const auto name = file.has_filename() ? file.filename() : file.parent_path().filename();
    return wishes.stack.empty() ? name.string() : name.string() + " …";
}

}  // namespace

/// What is being opened, file after file.
struct Document::Loading {
    std::vector<Layer> layers;
    OpenAs as;
    int number;
    std::vector<OpenedFile> done;
};

void Document::Open(const std::vector<Layer>& layers, OpenAs as) {
    if (layers.empty()) return;
    auto loading = std::make_shared<Loading>(Loading{layers, as, ++loads, {}});
    if (as == OpenAs::Frames) {
        Layer stack = layers[0];
        for (const Layer& layer : layers) stack.stack.push_back(layer.file);
        loading->layers = {stack};
    }
    LoadNext(loading);
}

void Document::LoadNext(const std::shared_ptr<Loading>& loading) {
    const std::size_t done = loading->done.size();
    const std::size_t total = loading->layers.size();
    if (done == total) return Loaded(loading);
    const Layer& next = loading->layers[done];
    emit progress(static_cast<int>(done), static_cast<int>(total), QString::fromStdString(NameOf(next)));
    const std::uint32_t frame = loading->as == OpenAs::Layers ? CurrentFrame() : 0;
    reader.Open(
        next, frame,
        [this, loading](OpenedFile file) {
            if (loading->number != loads) return reader.Close(file.source);
            loading->done.push_back(std::move(file));
            LoadNext(loading);
        },
        [this, loading](const QString& reason) {
            for (const OpenedFile& file : loading->done) reader.Close(file.source);
            emit failed(reason);
        });
}

void Document::Loaded(const std::shared_ptr<Loading>& loading) {
    constexpr std::size_t kMostLayers = 255;
    const bool isNew = loading->as != OpenAs::Layers || IsEmpty();
    const std::size_t before = isNew ? 0 : Layers().size();
    if (before + loading->done.size() > kMostLayers) {
        for (const OpenedFile& file : loading->done) reader.Close(file.source);
        emit failed(tr("There would be more than 255 layers"));
        return;
    }
    if (isNew) Clear();
    std::vector<Comp*> order = Layers();
    for (OpenedFile& file : loading->done) {
        files.push_back(MakeLayer(std::move(file)));
        order.push_back(files.back()->comp.get());
    }
    if (isNew) {
        SetOrder(order);
        movie->SetFilename(NameOf(loading->layers[0]));
        movie->MakeChildActive(order[0]);
        emit opened();
        emit frameShown(CurrentFrame());
    } else {
        DoOrder(tr("Add Layers"), order);
        movie->MakeChildActive(order.back());
    }
}

std::unique_ptr<Document::FileLayer> Document::MakeLayer(OpenedFile opened) {
    auto file = std::make_unique<FileLayer>();
    file->source = opened.source;
    file->wishes = std::move(opened.wishes);
    file->info = std::move(opened.info);
    file->comp.reset(AllocComp(1));
    Comp& comp = *file->comp;
    comp.SetFilename(file->wishes.file);
    if (file->wishes.name.empty()) file->wishes.name = NameOf(file->wishes);
    comp.SetNametag(file->wishes.name);
    comp.frameCount = file->info.frames;
    Install(*file, std::move(opened.first), true);
    LayerState state = StateOfWishes(file->wishes);
    state.name = comp.GetName();
    ApplyShown(*file, state);
    return file;
}

// The record of a frame becomes the component's; the one that was there goes back to the ring, where it is of
// the same wishes. Levels stay while frames change.
void Document::Install(FileLayer& file, MadeFrame made, bool isOther) {
    Comp& comp = *file.comp;
    Image* const record = comp.GetCurrentImage();
    Image& image = *made.image;
    MadeFrame old;
    if (isOther) {
        file.ring.Clear();
        if (!(image.state & StateBoundSet)) SetDefaultBound(&image);
    } else {
        CopyBound(&image, record);
        image.state |= StateBoundSet;
        SetBoundType(&image, GetBoundType(record));
        old.number = file.frame;
        old.image.reset(AllocImage());
        TransferImage(old.image.get(), record);
        old.values = std::move(file.values);
        old.window = file.window;
    }
    CleanupImage(record);
    TransferImage(record, &image);
    SetCompMSType(&comp, GetImageType(record));
    file.frame = made.number;
    file.values = std::move(made.values);
    file.window = made.window;
    if (!made.notes.empty()) file.notes = std::move(made.notes);
    if (!isOther) {
        file.ring.Put(std::move(old), [this](std::uint32_t frame) { return RankOf(frame); });
        return;
    }
    file.offset = made.offset;
    comp.DeleteBitmap();
    if (file.wishes.role == Role::Picture) {
        if (file.wishes.look.channel == Channel::Hsi) comp.SwitchMapingMode(comp.GetNumbChannels());
        KeepSmallBitmap(comp);
        for (std::size_t i = 0; i < made.levels.size(); ++i)
            comp.SetBlackWhite(ComponentChannel(comp, static_cast<int>(i)),
                               {made.levels[i].low, made.levels[i].high});
    }
}

void Document::KeepSmallBitmap(Comp& comp) {
    comp.DeleteBitmap();
    const int bits = comp.ComputeBmpBits();
    if (comp.GetCompMType() != MajorPicture || bits == 0) return;
    comp.bmpWidth = comp.bmpHeight = 1;
    comp.bmpBits = static_cast<std::uint8_t>(bits);
    comp.bmpRowBytes = ComputeBmpLineBytes(1, bits);
    comp.bitmap = static_cast<unsigned char*>(::operator new(comp.bmpRowBytes));
}

void Document::Close() {
    ++loads;
    Clear();
    emit opened();
}

void Document::Clear() {
    wanted.reset();
    asking.reset();
    expected.clear();
    history.clear();
    SetOrder({});
    movie->ClearFrameRanges();
    movie->SetCurrentFrame(0);
    marks = FrameInfo();
    SetSelection({});
    SetProfile({});
    SweepFiles();
}

}  // namespace pzel_view
