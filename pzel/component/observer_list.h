// The list of observers that a component or a movie keeps: made by the first attachment, in the order of
// attachment, without repetition. Internal. How the list is walked differs between the two and stays theirs.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

#include "pzel/component/observer.h"

namespace pzel {

using ObserverList = std::vector<Observer*>;

inline bool isAttached(const ObserverList* list, const Observer* observer) {
    return list != nullptr && std::find(list->begin(), list->end(), observer) != list->end();
}

inline void attach(ObserverList*& list, Observer* observer) {
    assert(observer != nullptr);
    if (isAttached(list, observer)) return;
    if (list == nullptr) {
        list = std::make_unique<ObserverList>(1, observer).release();
    } else {
        list->push_back(observer);
    }
}

inline void detach(ObserverList* list, const Observer* observer) {
    if (list == nullptr) return;
    const auto found = std::find(list->begin(), list->end(), observer);
    if (found != list->end()) list->erase(found);
}

/// A part of a snapshot; the parts before it stand further up on the stack.
struct SnapshotPart {
    const SnapshotPart* before;
    std::size_t count;
    std::array<Observer*, 62> observers;

    template <class F>
    void visit(const F& f) const {
        if (before != nullptr) before->visit(f);
        for (std::size_t i = 0; i < count; ++i) f(observers[i]);
    }
};

/// Calls f for every observer of a list as it is now, whatever f does to the list. The snapshot stands on the
/// stack: what is announced while things are destroyed, or after they changed, must not ask for memory.
template <class F>
void visitSnapshot(const ObserverList* list, const F& f, const SnapshotPart* before = nullptr,
                   std::size_t taken = 0) {
    const std::size_t size = list == nullptr ? 0 : list->size();
    if (taken == size) {
        if (before != nullptr) before->visit(f);
        return;
    }
    SnapshotPart part;
    part.before = before;
    part.count = std::min(size - taken, part.observers.size());
    std::copy_n(list->begin() + static_cast<std::ptrdiff_t>(taken), part.count, part.observers.begin());
    visitSnapshot(list, f, &part, taken + part.count);
}

}  // namespace pzel
