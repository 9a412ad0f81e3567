// Anchors the interface in the library.
#include "pzel/colour/remapper.h"

namespace Zel {

Remapper::~Remapper() = default;

}  // namespace Zel
