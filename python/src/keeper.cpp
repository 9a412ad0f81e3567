// Ownership over the life of a component. Every change of its first record goes through Place.
#include "keeper.h"

#include <algorithm>
#include <utility>

#include "level_choice.h"
#include "pzel/bounds/bounds.h"
#include "pzel/component/movie.h"
#include "pzel/image/lifecycle.h"
#include "reference.h"

namespace pzel_python {

namespace {

std::uint64_t NextNumber() {
    static std::uint64_t last = 0;  // under the interpreter's lock
    return ++last;
}

// What an event's parameter is for Python.
py::object ParamOf(int event, std::intptr_t param) {
    switch (event) {
        case EventChildAdded:
        case EventChildRemoving:
        case EventChildRemoved: return Wrapped(reinterpret_cast<IComponent*>(param));
        case EventLocation: {
            const auto& before = *reinterpret_cast<const SRect*>(param);
            return py::make_tuple(before.left, before.top, before.right, before.bottom);
        }
        default: return py::int_(param);
    }
}

bool Fits(const Image& image, const Image& before) {
    return before.bound && image.channels == before.channels && GetDataType(&image) == GetDataType(&before) &&
           GetSubType(&image) == GetSubType(&before);
}

}  // namespace

void CallbackObserver::Update(IComponent* source, int event, std::intptr_t param) {
    if (!Py_IsInitialized()) return;
    const py::gil_scoped_acquire gil;
    if (!callback) return;
    const py::object called = callback;  // which may detach itself
    try {
        static py::object* const events = new py::object(py::module_::import("pzel._pzel").attr("Event"));
        // One that is destroyed can have no new wrapper.
        const bool ends = event == EventDestroyed;
        called(ends ? py::none() : Wrapped(source), (*events)(event),
               ends ? py::none() : ParamOf(event, param));
    } catch (py::error_already_set& error) {
        error.restore();
        PyErr_WriteUnraisable(called.ptr());
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
        PyErr_WriteUnraisable(called.ptr());
    }
}

Keeper* Keeper::Find(IComponent& component) {
    const std::vector<Observer*>* const observers = component.GetObservers();
    if (!observers || observers->empty()) return nullptr;
    return dynamic_cast<Keeper*>(observers->back());
}

Keeper& Keeper::Of(IComponent& component) {
    if (Keeper* const found = Find(component)) return *found;
    std::unique_ptr<Keeper> keeper(new Keeper(component));
    component.AttachObserver(keeper.get());
    return *keeper.release();
}

Keeper::~Keeper() {
    *self = nullptr;
}

void Keeper::Update(IComponent*, int event, std::intptr_t) {
    if (event != EventDestroyed) return;
    const bool alive = Py_IsInitialized();
    std::optional<py::gil_scoped_acquire> gil;
    if (alive) gil.emplace();
    if (!kept.IsMovieObj() && pixels.owner && TheComp().images) TheComp().images->data = nullptr;
    if (alive) delete this;
}

// A buffer that the library made becomes one that Python may hold longer than the component.
void Keeper::AdoptPixels() {
    Image* const image = TheComp().GetCurrentImage();
    if (!image || !image->data || pixels.owner) return;
    Image shape = *image;
    shape.bound = nullptr;
    shape.attachment = nullptr;
    pixels = Picture::Adopt(shape).Shared();
    image->state &= static_cast<std::uint8_t>(~StateFreeData);
}

void Keeper::Place(const Picture& picture, Levels levels) {
    Comp& comp = TheComp();
    if (!comp.images) {
        comp.images = AllocImages(1, 0);
        comp.imageFrames = 1;
    }
    AdoptPixels();
    Image& record = *comp.images;
    Picture next = Picture::Share(picture.Record(), picture.Shared());
    Image& image = next.Record();
    if (levels == Levels::OfBefore && Fits(image, record)) {
        CopyBound(&image, &record);
        image.state = static_cast<std::uint8_t>(record.state & ~StateFreeData);
    } else {
        NeedLevels(image, picture.Shared().truth);
    }
    const bool sameShape = record.width == image.width && record.height == image.height &&
                           record.dataType == image.dataType && record.channels == image.channels &&
                           record.imageType == image.imageType;
    Image old = record;
    record = next.Release();
    record.frameOffset = old.frameOffset;
    const Pixels before = std::exchange(pixels, picture.Shared());
    if (before.owner) old.data = nullptr;
    CleanupImage(&old);
    SetCompMSType(&comp, GetImageType(&record));
    comp.flagsA |= CompBitmapOutOfDate;
    if (!sameShape) comp.DeleteBitmap();
}

std::optional<Picture> Keeper::Current() {
    Image* const image = TheComp().GetCurrentImage();
    if (!image || !image->data) return std::nullopt;
    AdoptPixels();
    return Picture::Share(*image, pixels);
}

void Keeper::SetFrames(py::object sequence) {
    Comp& comp = TheComp();
    loaded.reset();
    if (sequence.is_none()) {
        frames = py::object();
        comp.frameCount = 1;
    } else {
        const auto count = py::len(sequence);
        if (count < 1) throw py::value_error("there are no frames");
        if (count > UINT32_MAX) throw py::value_error("there are more than 4,294,967,295 frames");
        frames = std::move(sequence);
        comp.frameCount = static_cast<std::uint32_t>(count);
    }
    if (comp.parent) comp.parent->CheckMovieLength(true);
}

void Keeper::ShareFrames(const Keeper& other) {
    if (!other.frames) return;
    frames = other.frames;
    loaded = other.loaded;
    firstLevels = other.firstLevels;
    frameAlone = other.frameAlone;
}

std::uint32_t Keeper::WantedFrame() const {
    const Comp& comp = TheComp();
    if (comp.frameCount <= 1) return 0;
    if (!comp.parent) return std::min(frameAlone, comp.frameCount - 1);
    const auto frame = static_cast<std::uint32_t>(comp.parent->GetCurrentFrame());
    if (frame < comp.startFrame) return 0;
    return std::min(frame - comp.startFrame, comp.frameCount - 1);
}

void Keeper::Feed() {
    if (!frames) return;
    const std::uint32_t wanted = WantedFrame();
    if (loaded == wanted) return;
    const py::object frame = frames[py::int_(wanted)];
    Picture made;
    const Picture* const picture = AsPicture(frame, made);
    if (firstLevels) {
        Picture first = Picture::Share(picture->Record(), picture->Shared());
        ChooseLevels(first, firstLevels);
        Place(first, Levels::OfPicture);
        firstLevels = py::object();
    } else {
        Place(*picture, loaded ? Levels::OfBefore : Levels::OfPicture);
    }
    loaded = wanted;
}

std::uint64_t Keeper::Observe(py::object callback) {
    CallbackObserver* observer = nullptr;
    for (const auto& one : callbacks) {
        if (!one->callback) observer = one.get();
    }
    if (!observer) observer = callbacks.emplace_back(std::make_unique<CallbackObserver>()).get();
    kept.AttachObserver(observer);
    std::iter_swap(kept.GetObservers()->end() - 1,
                   kept.GetObservers()->end() - 2);  // the keeper stays the last
    observer->callback = std::move(callback);
    return observer->number = NextNumber();
}

bool Keeper::Forget(std::uint64_t number) {
    for (const auto& one : callbacks) {
        if (one->number != number || !one->callback) continue;
        kept.DetachObserver(one.get());
        const py::object last = std::move(one->callback);  // goes when all is in order
        one->callback = py::object();
        return true;
    }
    return false;
}

int Keeper::Traverse(visitproc visit, void* arg) const {
    Py_VISIT(frames.ptr());
    for (const auto& one : callbacks) Py_VISIT(one->callback.ptr());
    return 0;
}

void Keeper::Clear() {
    const py::object last = std::move(frames);
    frames = py::object();
    for (std::size_t i = 0; i < callbacks.size(); ++i) Forget(callbacks[i]->number);
}

void Feed(IComponent& component) {
    if (!component.IsMovieObj()) {
        if (Keeper* const keeper = Keeper::Find(component)) keeper->Feed();
        return;
    }
    for (int i = 0; i < component.GetNumbChildren(); ++i) Feed(*component.GetChildAt(i));
}

}  // namespace pzel_python
