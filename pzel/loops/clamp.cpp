// Ends of clamps, in a file of their own so that no kernel sees them.
#include "pzel/loops/clamp.h"

namespace pzel {

const Ends kUnitEnds{0, 1};
const Ends kByteEnds{0, 255};

}  // namespace pzel
