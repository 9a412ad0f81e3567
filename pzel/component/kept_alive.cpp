// What is kept alive on a thread, the latest first.
#include "pzel/component/kept_alive.h"

#include <utility>

#include "pzel/component/icomponent.h"

namespace pzel {

namespace {

thread_local KeptAlive* innermost = nullptr;

}  // namespace

KeptAlive::KeptAlive(IComponent* kept, Until until)
    : object(kept), outer(std::exchange(innermost, this)), isDestroyed(until == Destroyed) {}

// Somebody may have taken a new reference meanwhile: then it goes on.
KeptAlive::~KeptAlive() {
    innermost = outer;
    if (!isReleased || isDestroyed) return;
    object->Hold();
    object->Release();
}

bool KeptAlive::endsLater(const IComponent* object) {
    KeptAlive* outermost = nullptr;
    for (KeptAlive* one = innermost; one != nullptr; one = one->outer) {
        if (one->object == object) outermost = one;
    }
    if (outermost == nullptr) return false;
    outermost->isReleased = true;
    return true;
}

}  // namespace pzel
