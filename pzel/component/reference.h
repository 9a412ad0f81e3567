// References on components inside the library: held in one place, and told of in events. Internal.
#pragma once

#include <cstdint>
#include <memory>

#include "pzel/component/comp.h"

namespace pzel {

struct Releaser {
    void operator()(Comp* comp) const { comp->Release(); }
};

/// A reference that is given back at the end of its scope.
using CompReference = std::unique_ptr<Comp, Releaser>;

/// A component as the parameter of an event.
inline std::intptr_t addressOf(IComponent* component) {
    return reinterpret_cast<std::intptr_t>(component);
}

}  // namespace pzel
