// The part of a component's image that is shown, for the library's own use.
#pragma once

#include "pzel/component/comp.h"

namespace pzel {

/// Extent mode 1 with a data area: only that is shown.
inline bool showsDataArea(const Comp& comp) {
    return (comp.flagsA & CompExtentMask) == CompExtentDataArea && comp.dataArea != nullptr;
}

inline int widthOf(const SRect& area) {
    return area.right - area.left + 1;
}
inline int heightOf(const SRect& area) {
    return area.bottom - area.top + 1;
}

}  // namespace pzel
