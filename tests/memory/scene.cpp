#include "tests/memory/scene.h"

#include <cstring>
#include <sstream>

namespace test {

namespace {

Attachment* newAttachment() {
    auto* const attachment = new (::operator new(sizeof(Attachment))) Attachment{4, 7, ::operator new(4)};
    std::memcpy(attachment->buffer, "abc", 4);
    return attachment;
}

void put(std::ostream& out, const void* bytes, std::size_t count) {
    out.write(static_cast<const char*>(bytes), std::streamsize(count));
}

void put(std::ostream& out, const Attachment* attachment) {
    if (attachment) put(out << "attachment", attachment->buffer, attachment->size);
}

void put(std::ostream& out, const Image* image) {
    out << " image ";
    if (!image) return;
    for (const int field : {int(image->width), int(image->height), int(image->rowBytes), int(image->dataType),
                            int(image->imageType), int(image->channels), int(image->state),
                            int(image->frameOffset), int(image->frameOffset2)})
        out << field << ',';
    if (image->data) put(out << "data", image->data, GetImageTotalBytes(image));
    put(out, image->attachment);
    Image bound = *image;
    if (!bound.bound) CheckBoundArray(&bound);
    if (bound.bound) put(out << "bound", bound.bound, 3 * std::size_t(GetBoundBytes(&bound)));
    if (!image->bound) ::operator delete(bound.bound);
}

void put(std::ostream& out, const std::vector<Observer*>* observers) {
    out << " observers ";
    if (observers) out << observers->size();
}

void put(std::ostream& out, const std::vector<MovieScene>* scenes) {
    out << " scenes ";
    if (!scenes) return;
    for (const MovieScene& scene : *scenes) out << scene.name << scene.description << scene.numbRanges << ',';
}

void put(std::ostream& out, Comp& comp) {
    out << " comp ";
    for (const int field : {int(comp.refCount), int(comp.imageFrames), int(comp.msType), int(comp.x),
                            int(comp.y), int(comp.bmpWidth), int(comp.bmpHeight), int(comp.bmpRowBytes),
                            int(comp.bmpLeft), int(comp.bmpTop), int(comp.bmpBits), int(comp.overlayColour),
                            int(comp.flagsA), int(comp.flagsB), int(comp.transparency), int(comp.startFrame),
                            int(comp.frameCount), int(comp.nametagSet), int(comp.filenameSet)})
        out << field << ',';
    put(out, comp.observers);
    put(out, comp.scenes);
    if (comp.info) out << "info" << comp.info->currentFrame << ',' << int(comp.info->vectorStepX);
    for (int i = 0; i < comp.imageFrames; ++i) put(out, comp.images + i);
    const ShownBitmap shown = comp.GetShownBitmap();
    if (shown.pixels) put(out << "shown", shown.pixels, std::size_t(shown.rowBytes * shown.height));
    if (comp.dataArea) put(out << "area", comp.dataArea, sizeof(SRect));
    if (comp.remapper) out << "tone" << static_cast<const Tone*>(comp.remapper)->id;
    if (comp.flatComp) put(out << "flat", *comp.flatComp);
    put(out, comp.flatImage);
    if (comp.levels) out << comp.levels->white;
    put(out, comp.attachment);
    out << (comp.filename ? *comp.filename : "none") << (comp.nametag ? *comp.nametag : "none");
}

void put(std::ostream& out, Movie& movie) {
    out << " movie " << movie.GetNumbChildren() << ',' << movie.GetMovieLength() << ','
        << movie.GetCurrentFrame() << ',' << movie.GetStatus() << ',' << movie.GetFilename()
        << movie.GetNametag() << movie.IsNametagSet() << movie.HasRegisted();
    for (const auto& [first, last] : movie.GetFrameRanges()) out << first << '-' << last << ',';
    put(out, movie.GetObservers());
    for (int i = 0; i < movie.GetNumbChildren(); ++i) {
        Comp* const child = movie.GetChildAt(i)->GetInternalComp();
        out << (child->GetParent() == &movie) << (movie.GetActiveComp() == child);
        put(out, *child);
    }
}

void put(std::ostream& out, const PluginParam& params) {
    out << " params ";
    for (int i = 0; i < params.NumbOfParameters(); ++i) {
        out << params.name(i) << params.type(i) << ',' << params.value(i).int32 << ','
            << (params.text(i) ? params.text(i) : "") << ',';
        if (params.strings(i)) out << params.strings(i)[0];
        if (params.ints(i)) out << params.ints(i)[0];
    }
}

}  // namespace

OwnedRecord newImage(const Shape& s) {
    OwnedRecord image(NewImage(u16(s.width), u16(s.height), u8(s.channels), u8(s.type), s.interleaved));
    image->imageType = u16(s.imageType);
    for (std::uint32_t i = 0; i < GetImageTotalBytes(image.get()); ++i) image->data[i] = u8(37 * i);
    if (s.type == DataFloat) ClearImage(image.get());
    return image;
}

Ref<Comp> newComp(const Shape& shape) {
    Ref<Comp> comp(AllocComp(1));
    TransferImage(comp->images, newImage(shape).get());
    return comp;
}

Scene::Scene()
    : grey(newImage({20, 15, 1, DataUInt8, true, SubGrey})),
      colour(newImage({20, 15, 3, DataUInt8, true, SubColour})),
      wide(newImage({20, 15, 3, DataUInt16, false, SubColour})),
      yuv(newImage({20, 15, 3, DataFloat, true, SubYuv})),
      mask(newImage({21, 15, 1, DataBit, true, SubGrey})),
      fresh(AllocImage()),
      comp(newComp({20, 15, 3, DataUInt8, true, SubColour})),
      plain(newComp({18, 9, 1, DataUInt16, true, SubGrey})),
      outline(newComp({16, 12, 2, DataBit, true, MajorBoundary})),
      field(newComp({40, 20, 2, DataFloat, false, MajorVector})),
      spare(new Comp),
      movie(new Movie),
      second(new Movie),
      params(1),
      sharing(1),
      record{},
      canvas(24 * 24 * 3, 9) {
    VectorInit();
    SetImageAttachment(comp->images, newAttachment());
    comp->attachment = newAttachment();
    comp->info = AllocCompInfo();
    comp->dataArea = new SRect{2, 12, 3, 9};
    comp->flagsA |= CompExtentDataArea;
    comp->remapper = new Tone(3);
    comp->flatComp = newComp({6, 5, 3, DataUInt16, true, SubColour}).release();
    comp->flatComp->SetVisible(false);
    comp->levels = new CompBlackWhite(2, 3);
    comp->SetNametag("a name tag too long for the object");
    comp->SetFilename("a file name too long for the object");
    unsigned long some[] = {1, 2, 4, 5};
    comp->AddScene("scene", "description", 2, some);
    comp->AttachObserver(&listener);
    comp->AttachObserver(&other);
    field->info = AllocCompInfo();
    movie->AddChild(comp.get());
    movie->AddChild(outline.get());
    movie->AddFrameRange({2, 3});
    movie->SetNametag("another name tag that is too long");
    movie->AttachObserver(&listener);
    comp->MakeActive();
    second->AddComponents(3);
    ranges.AddRange(3, 4);
    frames.InsertKeepFrame(3);
    params.AddStringParam("text", "a text that is too long for the object");
    sharing = params;
    name.SetName("f1\\a file name that is too long.tif");
    kept.reserve(4);
}

Scene::~Scene() {
    if (movie) movie->Cleanup();
    InterfaceCleanup(&record);
}

std::string Scene::text() const {
    std::ostringstream out;
    for (const OwnedRecord* image : {&grey, &colour, &wide, &yuv, &mask, &fresh}) put(out, image->get());
    for (const Ref<Comp>* one : {&comp, &plain, &outline, &field, &spare})
        if (*one) put(out, **one);
    if (movie) put(out, *movie);
    put(out, *second);
    out << ranges.numbRanges << ',' << frames.GetKeepSize() << ',' << frames.GetCutSize();
    put(out, params);
    put(out, sharing);
    out << record.numbExData << name.GetFullPath() << ',' << otherName.GetFullPath();
    put(out, canvas.data(), canvas.size());
    out << kept.size() << copy.has_value() << movieCopy.has_value();
    return out.str();
}

}  // namespace test
