// The list of observers that a component or a movie keeps: made by the first attachment, in the order of
// attachment, without repetition. Internal. How the list is walked differs between the two and stays theirs.
#pragma once

#include <algorithm>
#include <cassert>
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
    if (list == nullptr) list = new ObserverList;
    list->push_back(observer);
}

inline void detach(ObserverList* list, const Observer* observer) {
    if (list == nullptr) return;
    const auto found = std::find(list->begin(), list->end(), observer);
    if (found != list->end()) list->erase(found);
}

/// A list of its own to walk, safe from what observers do to the original.
inline ObserverList snapshot(const ObserverList* list) {
    return list == nullptr ? ObserverList{} : *list;
}

}  // namespace pzel
