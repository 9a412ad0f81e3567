// Lends the library all processors of the machine. What they are lent with is a part of its own: it is loaded
// by the first call that is large enough, so that small ones and the start of a program cost nothing.
#pragma once

namespace pzel_io {

/// Large calls of the library run on all processors from now on. Not for a program whose own threads keep
/// them busy.
void UseAllProcessors();

}  // namespace pzel_io
