// Choices, reactions and judgements of the world.
#include "tests/fuzz/world.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>

namespace fuzz {

namespace {

constexpr int kCanvas = 3 * 40 * 24;
constexpr std::size_t kMostBytes = 4096;  // of an image's pixels

bool isBits(int type) {
    return type == DataNone || type == DataBit || type > DataFloat;
}

void add(Digest& digest, const std::string* text) {
    digest.add(text ? text->size() : ~u64(0));
    if (text) digest.add(text->data(), text->size());
}

/// What is no number has no bytes of its own: which one of two comes out of a sum is the compiler's choice.
void addElements(Digest& digest, const Image& image, const u8* bytes, std::size_t count) {
    if ((image.dataType & DataTypeMask) != DataFloat) return digest.add(bytes, count);
    for (std::size_t done = 0; done < count;) {
        u32 values[256];
        const std::size_t part = std::min(count - done, sizeof values);
        std::memcpy(values, bytes + done, part);
        for (u32& value : values) value = (value & 0x7FFFFFFF) > 0x7F800000 ? 0x7FC00000 : value;
        digest.add(values, part);
        done += part;
    }
}

void add(Digest& digest, const Attachment* attachment) {
    if (attachment) digest.add(attachment->buffer, attachment->size);
}

void addBitmap(Digest& digest, const Comp& comp) {
    digest.add(comp.bmpWidth | u64(comp.bmpHeight) << 16 | u64(comp.bmpRowBytes) << 32 |
               u64(comp.bmpLeft) << 48);
    digest.add(comp.bmpTop | u64(comp.bmpBits) << 16);
    const ShownBitmap shown = comp.GetShownBitmap();
    const int rowBits = shown.width * shown.bits;
    for (int y = 0; shown.pixels && y < shown.height * shown.bitRows; ++y) {
        const u8* const row = shown.pixels + y * (shown.rowBytes / shown.bitRows);
        digest.add(row, std::size_t(rowBits / 8));
        if (rowBits % 8) digest.add(row[rowBits / 8] >> (8 - rowBits % 8));
    }
}

/// Look-up tables: greys, greys turned round, and any.
const u8* tableOf(int which) {
    static const auto tables = [] {
        std::array<std::array<u8, 1536>, 3> all{};
        for (std::size_t i = 0; i < 1536; ++i) {
            all[0][i] = u8(i % 512 / 2);
            all[1][i] = u8(255 - i % 512 / 2);
            all[2][i] = u8(mixed(i));
        }
        return all;
    }();
    return tables[std::size_t(which)].data();
}

}  // namespace

void Ear::Update(IComponent* source, int event, std::intptr_t param) {
    world->hear(id, source, event, param);
}

bool Tone::IsEqual(const Remapper& other) const {
    return static_cast<const Tone&>(other).id == id;
}
float Tone::Remap(float value, int channel) const {
    return id % 3 == 0 ? 1 - value : id % 3 == 1 ? value * value : value * float(channel % 3 + 1) / 3;
}
const u8* Tone::GetLookupTable() const {
    // Hosts look at their components while they are asked.
    for (Comp* comp : world->comps)
        if (comp) world->see(u64(comp->GetFlatImage() != nullptr) + u64(comp->GetNumbChannels()));
    return id % 2 ? nullptr : tableOf(id / 2);
}

World::World(const Setting& how) : canvas(kCanvas), setting(how) {
    for (int i = 0; i < kEars; ++i) ears[std::size_t(i)].world = this, ears[std::size_t(i)].id = i;
    expected.reserve(64);
    for (int part = 0; part < kParts; ++part) known[std::size_t(part)] = partDigest(part);
}

World::~World() {
    armedReactions = 0;
    if (record) InterfaceCleanup(&*record);
    for (int i = 0; i < kComps; ++i)
        if (comps[std::size_t(i)]) dropComp(i);
    for (int i = 0; i < kMovies; ++i)
        if (movies[std::size_t(i)]) dropMovie(i);
    for (Image* image : images) DeleteImage(image);
}

void World::dropComp(int slot) {
    Comp* const comp = std::exchange(comps[std::size_t(slot)], nullptr);
    for (int left = std::exchange(held[std::size_t(slot)], 0); left > 0; --left) comp->Release();
}

void World::dropMovie(int slot) {
    Movie* const movie = std::exchange(movies[std::size_t(slot)], nullptr);
    children[std::size_t(slot)].clear();
    for (int left = std::exchange(registered[std::size_t(slot)], 0); left > 0; --left) movie->UnregistMe();
    for (int left = std::exchange(movieHeld[std::size_t(slot)], 0); left > 0; --left) movie->Release();
}

// ---- Choices.

Shape World::shape(const Want& want) {
    Shape s{};
    static constexpr u8 types[] = {DataUInt8, DataInt16,  DataUInt16, DataFloat,    DataInt8, DataBit,
                                   DataUInt8, DataUInt32, DataInt32,  DataFloat,    DataBit,  DataUInt8,
                                   DataInt16, DataUInt16, DataNone,   DataFloat + 3};
    s.type = want.type >= 0 ? want.type : types[draw(0, want.pixels ? 13 : 15)];
    static constexpr u8 channelCounts[] = {1, 3, 3, 1, 2, 3, 4, 3, 1, 3};
    s.channels = want.channels >= 0 ? want.channels : channelCounts[draw(0, 9)];
    if (want.channels == -3) s.channels = std::max(s.channels, 3);
    if (want.twoOrMore) s.channels = std::max(s.channels, 2);
    if (!want.pixels && want.channels < 0 && draw.oneIn(12)) s.channels = 0;
    static constexpr u8 widths[] = {15, 16, 17, 31, 32, 33, 63, 64, 65, 1, 2, 3, 127, 128, 129, 7, 8, 9};
    s.width = draw.coin() ? widths[draw(0, 17)] : draw(1, 24);
    s.height = draw(1, draw.coin() ? 3 : 12);
    if (draw.oneIn(5)) std::swap(s.width, s.height);
    if (!want.pixels && draw.oneIn(20)) s.width = 0;
    const int element = std::max(1, DataBytes(u16(s.type)));
    while (std::size_t(s.width * s.height * s.channels * element) > kMostBytes)
        (s.width > s.height ? s.width : s.height) /= 2;
    s.interleaved = want.planar == 1 ? s.channels == 1 : draw.coin();
    static constexpr u16 kinds[] = {SubColour, SubYuv, SubColour, SubGrey, SubNotSet,
                                    SubColour, 0x42,   SubGrey,   SubYuv,  SubColour};
    s.imageType = s.channels == 1 ? u16(draw.oneIn(4) ? SubNotSet : SubGrey) : kinds[draw(0, 9)];
    if (s.channels == 2 && isBits(s.type) && draw.coin()) s.imageType = MajorBoundary;
    if (s.channels == 2 && !isBits(s.type) && draw.coin()) s.imageType = MajorVector;
    return s;
}

bool World::answers(const Image& image, const Want& want) const {
    const int type = image.dataType & DataTypeMask;
    if (want.pixels && (!image.data || image.channels == 0 || isBits(type) != (type == DataBit)))
        return false;
    if (want.type >= 0 && type != want.type) return false;
    if (want.channels >= 0 && image.channels != want.channels) return false;
    if (want.channels == -3 && image.channels < 3) return false;
    if (want.twoOrMore && image.channels < 2) return false;
    return want.planar == 0 || !IsInterleaved(&image) || image.channels == 1;
}

Image** World::freeSlot() {
    for (Image*& slot : images)
        if (!slot) return &slot;
    Image*& slot = images[std::size_t(draw(0, kImages - 1))];
    touch(slot);
    DeleteImage(std::exchange(slot, nullptr));
    return &slot;
}

Image* World::newRecord(const Shape& s) {
    Image* const image = NewImage(u16(s.width), u16(s.height), u8(s.channels), u8(s.type), s.interleaved);
    image->imageType = u16(s.imageType);
    fill(image);
    if (draw.coin()) setLevels(image);
    return image;
}

Image* World::image(const Want& want) {
    const int first = draw(0, kImages + kComps - 1);
    for (int i = 0; i < kImages + kComps; ++i) {
        const auto at = std::size_t(first + i) % (kImages + kComps);
        Image* const image = at < kImages          ? images[at]
                             : comps[at - kImages] ? comps[at - kImages]->images
                                                   : nullptr;
        if (image && answers(*image, want)) return image;
    }
    Image** const slot = freeSlot();
    const auto s = shape(want);
    *slot = newRecord(s);
    touch(*slot);
    if (setting.story) {
        char line[160];
        std::snprintf(line, sizeof line, "%s = w.newRecord({%d, %d, %d, %d, %d, 0x%x})",
                      written(*slot).c_str(), s.width, s.height, s.channels, s.type, int(s.interleaved),
                      unsigned(s.imageType));
        tell(line);
    }
    return *slot;
}

Image* World::likeIt(Image* image) {
    for (Image* other : images) {
        if (other && other != image && other->data && other->width == image->width &&
            other->height == image->height && other->channels == image->channels &&
            other->rowBytes == image->rowBytes &&
            (other->dataType & DataInfoMask) == (image->dataType & DataInfoMask))
            return other;
    }
    Image* const other = DuplicateImage(image);
    fill(other);
    std::size_t slot = 0;
    while (slot < kImages && images[slot]) ++slot;
    if (slot == kImages && images[slot = std::size_t(draw(0, kImages - 1))] == image)
        slot = (slot + 1) % kImages;
    DeleteImage(images[slot]);
    images[slot] = other;
    touch(Part(slot));
    if (setting.story)
        tell(written(other) + " = DuplicateImage(" + written(image) + "); w.fill(" + written(other) + ")");
    return other;
}

Comp* World::comp() {
    const auto at = std::size_t(draw(0, kComps - 1));
    if (comps[at]) return comps[at];
    touch(Part(FirstComp + at));
    const Shape s = shape();
    Image* const image = newRecord(s);
    Comp* const comp = AllocComp(draw.oneIn(4) ? 2 : 1);
    TransferImage(comp->images, image);
    DeleteImage(image);
    if (comp->imageFrames == 2) {
        CopyImageCharacteristics(comp->images + 1, comp->images);
        ClearImage(comp->images + 1);
    }
    comp->frameCount = u32(draw(1, 6));
    comp->x = std::int16_t(draw(-4, 9)), comp->y = std::int16_t(draw(-4, 9));
    comp->overlayColour = draw.coin() ? 255 : draw.byte();
    if (draw.oneIn(4)) comp->info = AllocCompInfo();
    comps[at] = comp;
    held[at] = 1;
    for (int i = draw(0, kEars); i > 0; --i) comp->AttachObserver(&ears[std::size_t(i - 1)]);
    if (setting.story) {
        char line[200];
        std::snprintf(line, sizeof line,
                      "%s = AllocComp(%d); *images = w.newRecord({%d, %d, %d, %d, %d, 0x%x})",
                      written(comp).c_str(), comp->imageFrames, s.width, s.height, s.channels, s.type,
                      int(s.interleaved), unsigned(s.imageType));
        tell(line);
    }
    return comp;
}

Movie* World::movie() {
    const auto at = std::size_t(draw(0, kMovies - 1));
    if (movies[at]) return movies[at];
    touch(Part(FirstMovie + at));
    movies[at] = new Movie;
    movieHeld[at] = 1;
    for (int i = draw(0, kEars); i > 0; --i) movies[at]->AttachObserver(&ears[std::size_t(i - 1)]);
    if (setting.story) tell(written(movies[at]) + " = new Movie");
    return movies[at];
}

Comp* World::childComp(Movie* movie) {
    const int count = movie->GetNumbChildren();
    if (count == 0) return nullptr;
    return movie->GetChildAt(draw(0, count - 1))->GetInternalComp();
}

IComponent* World::component() {
    if (draw.oneIn(3)) {
        Movie* const one = movie();
        if (one->GetNumbChildren() > 0) return one;
    }
    return comp();
}

float World::real() {
    using limits = std::numeric_limits<float>;
    switch (draw(0, 15)) {
        case 0: return 0;
        case 1: return -0.0f;
        case 2: return limits::max();
        case 3: return -limits::max();
        case 4: return limits::quiet_NaN();
        case 5: return limits::infinity();
        case 6: return -limits::infinity();
        case 7: return limits::denorm_min();
        case 8: return 1;
        case 9: return 255;
        case 10: return float(draw(0, 255)) / 255;
        case 11: return float(draw(-65536, 65536));
        case 12: return 3e38f * (draw.coin() ? 1 : -1);
        default: return float(draw(-1200, 1200)) / 4;
    }
}

AnyType World::element(int type) {
    AnyType value;
    value.uint32 = 0;
    if (type == DataFloat) {
        value.float32 = real();
    } else {
        const u32 random = u32(draw.word());
        value.uint32 =
            draw.pick<u32>({random, random & 0x3F, 0, ~u32(0), 0x80808080, 0x7F7F7F7F, 0x80000000});
        if (value.uint32 == 0x80000000 && DataBytes(u16(type)) < 4)
            value.uint32 = DataBytes(u16(type)) == 2 ? 0x8000 : 0x80;
    }
    return value;
}

const u8* World::table() {
    return tableOf(draw(0, 2));
}

SRect World::area(const Image& image) {
    const int w = image.width, h = image.height;
    const int left = draw(-3, w), top = draw(-3, h);
    return {std::int16_t(left), std::int16_t(left + draw(0, w + 1) - 1), std::int16_t(top),
            std::int16_t(top + draw(0, h + 1) - 1)};
}

bool World::mayJoin(const Image* image) const {
    return setting.shortCuts || DataBytes(image->dataType) != 1;
}

void World::fill(Image* image) {
    if (!image->data) return;
    const std::size_t bytes = GetImageTotalBytes(image);
    const int kind = draw(0, 5), type = image->dataType & DataTypeMask,
              size = std::max(1, DataBytes(u16(type)));
    u8* const data = image->data;
    if (kind == 0) return void(std::memset(data, draw.pick({0, 255, 128, 127, 1}), bytes));
    u64 state = draw.word();
    if (type == DataFloat && kind != 1) {
        static constexpr float extremes[] = {0,      -0.0f, 3.4e38f, -3.4e38f, HUGE_VALF, -HUGE_VALF,
                                             1e-45f, NAN,   1,       -1,       255.5f,    65535};
        for (std::size_t i = 0; i + 4 <= bytes; i += 4) {
            state = mixed(state + 1);
            const float value = kind == 2 && state % 16 < 3 ? extremes[state >> 8 & 7]
                                : kind == 3                 ? extremes[(i / 32 + (state >> 60)) % 12]
                                                            : float(int(state >> 32) % 1200) / 4;
            std::memcpy(data + i, &value, 4);
        }
        return;
    }
    for (std::size_t i = 0; i < bytes; i += 8) {
        state = mixed(state + 1);
        u64 value = state;
        if (kind == 2) value &= 0x1F1F1F1F1F1F1F1F;
        if (kind == 3)
            value = (i / 16 + (state >> 60)) % 3 == 0 ? 0 : i / 16 % 3 == 1 ? ~u64(0) : 0x8000800080008000;
        if (kind == 4)
            value = 0x0101010101010101u * (i / 8) + (size == 2 ? 0x0001000000010000 : 0x0706050403020100);
        std::memcpy(data + i, &value, std::min<std::size_t>(8, bytes - i));
    }
}

void World::setLevels(Image* image) {
    const int type = image->dataType & DataTypeMask;
    if (DataBytes(u16(type)) == 0 || image->channels == 0) return;
    const int kind = draw(0, 3);
    if (kind == 0) return SetDefaultBound(image);
    if (kind == 1) return ComputeBound(image);
    for (int c = 0; c < image->channels; ++c) SetBound(image, element(type), element(type), c);
}

// ---- What is written down.

void World::tell(const std::string& line) const {
    *setting.story << "    " << line << ";\n" << std::flush;
}

std::string World::writtenReal(double value) {
    if (std::isnan(value)) return "NAN";
    if (std::isinf(value)) return value < 0 ? "-HUGE_VAL" : "HUGE_VAL";
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

std::string World::writtenRows(int rowBytes, int width, int height, int x, int y) {
    char text[120];
    std::snprintf(text, sizeof text, "{pixels, %d, %d, %d, %d, %d}", rowBytes, width, height, x, y);
    return text;
}

std::string World::writtenPointer(const void* object) const {
    if (!object) return "nullptr";
    const auto entry = [](const char* list, std::size_t i) {
        return "w." + std::string(list) + '[' + std::to_string(i) + ']';
    };
    for (std::size_t i = 0; i < kImages; ++i)
        if (images[i] == object) return entry("images", i);
    for (std::size_t i = 0; i < kComps; ++i) {
        if (comps[i] == object) return entry("comps", i);
        if (comps[i] && comps[i]->images == object) return entry("comps", i) + "->images";
    }
    for (std::size_t i = 0; i < kMovies; ++i) {
        if (movies[i] == object) return entry("movies", i);
        for (std::size_t c = 0; c < children[i].size(); ++c)
            if (children[i][c] == object)
                return entry("movies", i) + "->GetChildren()[" + std::to_string(c) + ']';
    }
    for (const Ear& one : ears)
        if (&one == object || static_cast<const Observer*>(&one) == object)
            return "&w.ears[" + std::to_string(one.id) + ']';
    for (std::size_t i = 0; i < kImages; ++i)
        if (images[i] && images[i]->data == object) return entry("images", i) + "->data";
    if (canvas.data() == object) return "w.canvas.data()";
    return "/* pointer */";
}

// ---- Events.

int World::slotOf(const Comp* comp) const {
    const auto at = std::find(comps.begin(), comps.end(), comp);
    return at == comps.end() ? -1 : int(at - comps.begin());
}
int World::slotOf(const Movie* movie) const {
    const auto at = std::find(movies.begin(), movies.end(), movie);
    return at == movies.end() ? -1 : int(at - movies.begin());
}

u64 World::idOf(const void* object) const {
    for (std::size_t i = 0; i < kComps; ++i)
        if (object && comps[i] == object) return 1 + i;
    for (std::size_t i = 0; i < kMovies; ++i)
        if (object && movies[i] == object) return 11 + i;
    return 0;
}

void World::hear(int ear, IComponent* source, int event, std::intptr_t param) {
    std::int64_t told = param;
    if (event == EventLocation && param)
        std::memcpy(&told, reinterpret_cast<const void*>(param), sizeof(SRect));
    // A component calls nobody who was detached meanwhile; a movie calls its whole list as it was.
    const auto* const list = source->GetObservers();
    const bool isAttached =
        list && std::find(list->begin(), list->end(), &ears[std::size_t(ear)]) != list->end();
    if (!isAttached && !source->IsMovieObj() && fault.empty()) fault = "calls an observer that was detached";
    if (heardCount < heard.size()) heard[heardCount++] = {ear, source, event, told};
    results.add(u64(ear) << 32 | u64(event) << 16 | idOf(source));
    // Whoever is told of an end may hold what ends as long as it is told.
    if (event == EventDestroyed) source->Hold(), source->Release();
    if (armedReactions > 0 && !refusing && event != EventDestroyed) {
        --armedReactions;
        reacted = true;
        react(source, event);
    }
}

void World::expect(IComponent* source, int event, std::int64_t param) {
    if (const auto* list = source->GetObservers()) {
        for (Observer* observer : *list)
            expected.push_back({static_cast<Ear*>(observer)->id, source, event, param});
    }
}

long World::heardOf(const IComponent* source, int event) const {
    return std::count_if(heard.begin(), heard.begin() + std::ptrdiff_t(heardCount),
                         [=](const Heard& one) { return one.source == source && one.event == event; });
}

void World::expectAdded(Movie* movie, const std::vector<Comp*>& parts) {
    if (!movie->IsComposite()) expect(movie, EventChildAdded, 0);
    for (Comp* part : parts) expect(movie, EventChildAdded, reinterpret_cast<std::intptr_t>(part));
    u32 needed = u32(movie->CheckMovieLength(false));
    for (Comp* part : parts) needed = std::max(needed, part->startFrame + part->frameCount);
    expectLength(movie, needed);
}

void World::expectLength(Movie* movie, u32 needed) {
    if (needed != 0 && needed != movie->GetMovieLength()) expect(movie, EventMovieLength);
}

/// What an observer does in the middle of an event.
void World::react(IComponent* source, int event) {
    touchAll();
    Draw& d = reaction_;
    const auto at = std::size_t(d(0, kComps - 1));
    Comp* const comp = comps[at];
    const auto movieAt = std::size_t(d(0, kMovies - 1));
    Movie* const movie = movies[movieAt];
    Ear* const ear = &ears[std::size_t(d(0, kEars - 1))];
    const int what = std::max(0, d(-3, 14));  // leaving is what observers do most
    if (setting.story)
        tell("// in event " + std::to_string(event) + " of " + written(source) + ": reaction " +
             std::to_string(what));
    switch (what) {
        case 0: return source->DetachObserver(ear);
        case 1: return source->AttachObserver(ear);
        case 2: return comp ? comp->DetachObserver(ear) : void();
        case 3:
            if (comp && movie && comp->parent == movie) movie->RemoveChild(comp);
            return;
        case 4:
            if (comp && movie && movie->GetNumbChildren() < 20) movie->AddChild(comp);
            return;
        case 5:
            if (comp && (comp == source || comp->refCount > held[at])) dropComp(int(at));
            return;
        case 6: return comp ? comp->SetLocation(d(-9, 9), d(-9, 9)) : void();
        case 7: return comp ? comp->SetVisible(d.coin()) : void();
        case 8: return comp ? comp->DeleteBitmap() : void();
        case 9:
            if (comp && comp->images && comp->images->data && comp->images->channels) {
                ResizeImage(comp->images, d(1, 30), d(1, 9));
                ClearImage(comp->images);
            }
            return;
        case 10: return comp ? comp->SetBlackWhite(d(0, 5), {double(d(0, 60)), double(d(0, 255))}) : void();
        case 11:
            if (movie && movie->GetNumbChildren() > 0)
                movie->RemoveComponent(u8(d(0, movie->GetNumbChildren() - 1)));
            return;
        case 12: return movie ? movie->SetMovieLength(u32(d(0, 9))) : void();
        case 13: return movie && movie == source ? dropMovie(int(movieAt)) : void();
        default: return comp ? comp->SetStartFrame(u32(d(0, 9))) : void();
    }
}

// ---- Digests: everything that can be seen, but addresses.

u64 World::imageDigest(const Image& image) const {
    Digest digest;
    digest.add(u64(image.width) | u64(image.height) << 16 | u64(image.rowBytes) << 32 |
               u64(image.dataType) << 48);
    // How its pixels are released is the image's own.
    digest.add(u64(image.imageType) | u64(image.channels) << 16 | u64(image.state & ~StateFreeData) << 24);
    digest.add(u64(u32(image.frameOffset)) | u64(u32(image.frameOffset2)) << 32);
    if (image.data) addElements(digest, image, image.data, GetImageTotalBytes(&image));
    add(digest, image.attachment);
    Image bound = image;
    if (asMade && !bound.bound) CheckBoundArray(&bound);
    if (bound.bound) addElements(digest, bound, bound.bound, 3 * std::size_t(GetBoundBytes(&bound)));
    if (!image.bound) ::operator delete(bound.bound);
    return digest.value();
}

u64 World::compDigest(Comp& comp) const {
    Digest digest;
    digest.add(contentsDigest(comp, true));
    digest.add(u64(u32(comp.refCount)) << 32 | idOf(comp.parent));
    if (comp.observers)
        for (const Observer* one : *comp.observers) digest.add(u64(static_cast<const Ear*>(one)->id) + 1);
    return digest.value();
}

u64 World::contentsDigest(Comp& comp, bool withBitmap) const {
    Digest digest;
    digest.add(comp.imageFrames | u64(comp.msType) << 16 | u64(u16(comp.x)) << 32 | u64(u16(comp.y)) << 48);
    digest.add(u64(comp.overlayColour) << 24 | u64(comp.flagsA) << 32 | u64(comp.flagsB) << 48);
    digest.add(comp.transparency | u64(comp.startFrame) << 8 | u64(comp.nametagSet) << 40 |
               u64(comp.filenameSet) << 41);
    digest.add(comp.frameCount);
    if (comp.scenes)
        for (const MovieScene& one : *comp.scenes) {
            digest.add(one.name, std::strlen(one.name));
            digest.add(one.ranges, one.numbRanges * sizeof *one.ranges);
        }
    if (comp.info) digest.add(comp.info, sizeof *comp.info);
    for (int i = 0; i < comp.imageFrames && CompMType(comp.msType) != MajorNoBitmap; ++i)
        digest.add(imageDigest(comp.images[i]));
    if (withBitmap) addBitmap(digest, comp);
    if (comp.dataArea) digest.add(comp.dataArea, sizeof *comp.dataArea);
    if (comp.remapper)
        digest.add(u64(static_cast<const Tone*>(comp.remapper)->id) * 2 + u64(comp.remapper->GetMode()));
    if (comp.flatComp) digest.add(compDigest(*comp.flatComp));
    if (comp.flatImage) digest.add(imageDigest(*comp.flatImage));
    if (comp.levels) digest.add(&comp.levels->black, sizeof(double));
    add(digest, comp.attachment);
    add(digest, comp.filename);
    if (comp.nametagSet) add(digest, comp.nametag);
    return digest.value();
}

u64 World::movieDigest(Movie& movie) const {
    Digest digest;
    digest.add(u64(movie.GetNumbChildren()) | u64(movie.GetMovieLength()) << 32);
    digest.add(u64(movie.GetStatus()) | u64(movie.GetCurrentFrame()) << 32);
    int width = 0, height = 0;
    movie.GetSize(width, height);
    digest.add(u64(width) | u64(height) << 32 | u64(movie.IsNametagSet()) << 20);
    add(digest, &static_cast<const std::string&>(movie.GetFilename()));
    if (movie.IsNametagSet()) add(digest, &static_cast<const std::string&>(movie.GetNametag()));
    for (const auto& [first, last] : movie.GetFrameRanges()) digest.add(u64(first) << 32 ^ u64(last));
    if (const auto* observers = movie.GetObservers())
        for (const Observer* one : *observers) digest.add(u64(static_cast<const Ear*>(one)->id) + 1);
    for (int i = 0; i < movie.GetNumbChildren(); ++i) {
        Comp* const child = movie.GetChildren()[i];
        digest.add(idOf(child) | u64(movie.GetActiveComp() == child) << 8);
        if (slotOf(child) < 0) digest.add(compDigest(*child));
    }
    return digest.value();
}

u64 World::partDigest(int part) const {
    if (part < FirstComp) return images[std::size_t(part)] ? imageDigest(*images[std::size_t(part)]) : 0;
    if (part < FirstMovie) {
        Comp* const comp = comps[std::size_t(part - FirstComp)];
        return comp ? compDigest(*comp) : 0;
    }
    if (part < Canvas) {
        Movie* const movie = movies[std::size_t(part - FirstMovie)];
        return movie ? movieDigest(*movie) : 0;
    }
    Digest digest;
    switch (part) {
        case Canvas: digest.add(canvas.data(), canvas.size()); break;
        case Lists:
            for (const auto& list : lists) {
                for (int i = 0; list && i < list->NumbOfParameters(); ++i) {
                    digest.add(list->name(i), std::strlen(list->name(i)));
                    digest.add(u64(list->type(i)) << 32 | list->value(i).uint32);
                    digest.add(u64(list->minimum(i).uint32) << 32 | list->maximum(i).uint32);
                    if (const char* one = list->text(i)) digest.add(one, std::strlen(one));
                    if (const int* ints = list->ints(i))
                        digest.add(ints, sizeof(int) * std::size_t(list->minimum(i).int32));
                }
            }
            break;
        case Call:
            if (record) digest.add(u64(record->numbExData) << 1 | (record->movie != nullptr));
            for (u32 i = 0; record && record->exData && i < record->numbExData; ++i)
                digest.add(u64(record->exData[i].tag) << 32 | record->exData[i].flags);
            break;
        case Names:
            for (const Zel::Name& name : names) {
                const std::string path = name.GetFullPath();
                add(digest, &path);
            }
            break;
        default:
            digest.add(scene.name ? scene.name : "", scene.name ? std::strlen(scene.name) : 0);
            if (scene.numbRanges) digest.add(scene.ranges, scene.numbRanges * sizeof *scene.ranges);
            for (const int frame : frames.keepFrames) digest.add(u64(frame));
            for (const int frame : frames.cutFrames) digest.add(u64(frame) << 32);
            digest.add(u64(frames.startFrame));
            if (histogram) {
                digest.add(histogram->GetStatistics().count);
                for (int i = 0; i < histogram->GetNumbBins(); i += 7) digest.add(histogram->GetCount(i));
            }
    }
    return digest.value();
}

// ---- Judging.

void World::touch(const void* object) {
    if (!object) return;
    for (std::size_t i = 0; i < kImages; ++i)
        if (images[i] == object) return void(touched.set(FirstImage + i));
    for (std::size_t i = 0; i < kComps; ++i) {
        const Comp* const comp = comps[i];
        if (!comp) continue;
        const auto* const at = static_cast<const Image*>(object);
        if (comp == object || (comp->images && at >= comp->images && at < comp->images + comp->imageFrames) ||
            comp->flatImage == object)
            return void(touched.set(FirstComp + i));
    }
    for (std::size_t i = 0; i < kMovies; ++i) {
        if (movies[i] == object) return void(touched.set(FirstMovie + i));
        for (const Comp* child : children[i])
            if (child == object) touched.set(FirstMovie + i);
    }
}

void World::begin(const Record& from, int index, Promise promised) {
    draw = Draw(from);
    touched.reset();
    expected.clear();
    heardCount = 0;
    calls = 0;
    eventsKnown = true;
    reacted = false;
    results = {};
    promise = promised;
    refusing = index == setting.refusedRecord;
    armedReactions = 0;
    if (from.bytes[13] >= 224) {  // observers act during this call
        Record reaction = from;
        std::reverse(reaction.bytes.begin(), reaction.bytes.end());
        reaction_ = Draw(reaction);
        reaction_.byte();
        armedReactions = 2;
    }
}

bool World::end() {
    refusing = false;
    if (!fault.empty()) return false;
    if (reacted) {
        touchAll();
        for (std::size_t i = 0; i < kMovies; ++i) {
            if (!movies[i]) continue;
            children[i].assign(movies[i]->GetChildren(),
                               movies[i]->GetChildren() + movies[i]->GetNumbChildren());
        }
    } else if (eventsKnown) {
        const bool asExpected =
            heardCount == expected.size() && std::equal(expected.begin(), expected.end(), heard.begin());
        if (!asExpected) {
            fault = "other events than expected: heard";
            for (std::size_t i = 0; i < heardCount; ++i)
                fault += ' ' + written(heard[i].source) + ' ' + std::to_string(heard[i].event) + '(' +
                         std::to_string(heard[i].param) + ')';
            fault += ", expected";
            for (const Heard& one : expected)
                fault += ' ' + written(one.source) + ' ' + std::to_string(one.event) + '(' +
                         std::to_string(one.param) + ')';
            return false;
        }
    }
    checkStructure();
    for (int part = 0; part < kParts; ++part) {
        const u64 now = partDigest(part);
        u64& before = known[std::size_t(part)];
        if (now != before && !touched[std::size_t(part)] && fault.empty())
            fault = "changes what it should leave alone: part " + std::to_string(part);
        before = now;
        total.add(now);
    }
    total.add(results.value());
    return fault.empty();
}

void World::checkStructure() {
    const auto judge = [&](bool condition, const char* text) {
        if (!condition && fault.empty()) fault = text;
    };
    for (std::size_t i = 0; i < kMovies; ++i) {
        if (!movies[i]) continue;
        judge(movies[i]->GetNumbChildren() == int(children[i].size()),
              "a movie has another number of children");
        if (!fault.empty()) return;
        judge(std::equal(children[i].begin(), children[i].end(), movies[i]->GetChildren()),
              "the children stand in another order");
    }
    for (std::size_t i = 0; i < kComps; ++i) {
        if (!comps[i]) continue;
        long in = held[i];
        for (const auto& list : children) in += std::count(list.begin(), list.end(), comps[i]);
        judge(comps[i]->refCount == in, "a component has another number of references");
        judge(!comps[i]->parent || slotOf(comps[i]->parent) >= 0, "a component's parent is gone");
    }
}

World::Armed::Armed(World& in) : world(in) {
    if (!world.refusing) return;
    world.asMade = true;
    for (int part = 0; part < kParts; ++part) before[std::size_t(part)] = world.partDigest(part);
    world.asMade = false;
    exceptions = std::uncaught_exceptions();
    refusal.emplace(world.setting.refusedRequest, world.setting.refused);
}

World::Armed::~Armed() {
    if (!refusal) return;
    refusal->lift();
    world.refusalHappened = world.refusalHappened || refusal->happened();
    if (std::uncaught_exceptions() == exceptions || world.promise != Strong) return;
    world.asMade = true;
    for (int part = 0; part < kParts; ++part)
        if (world.partDigest(part) != before[std::size_t(part)] && world.fault.empty())
            world.fault = "changes half-way: part " + std::to_string(part);
    world.asMade = false;
}

}  // namespace fuzz
