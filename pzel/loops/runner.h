// More than one processor for one call. Rows of a call do not depend on each other, but the library has no
// threads: a host that has some lends them. Results are the same bytes with any runner as without one.
#pragma once

#include "pzel/export.h"

namespace Zel {

/// A part of a call's work. It throws nothing, calls nothing of the host's and starts no tasks itself.
using Task = void (*)(void* work, int index);

/// Calls task(work, 0) … task(work, count - 1), each once, in any order, on any threads, the calling one
/// included, and returns when all have ended. It is called by every thread that has a large call to the
/// library, by several at a time, and from within a host's own parallel work: it must not wait there for a
/// thread that waits for it.
///
/// It may throw as long as no task runs any more and none will: the exception reaches whoever called the
/// library, and objects are as they are where memory is refused.
using Runner = void (*)(int count, Task task, void* work);

/// Installs the host's runner and returns the previous one. Null, the default, installs none: all runs in the
/// calling thread. It may be set at any time; calls that have begun go on with the runner that they found.
PZEL_API Runner SetRunner(Runner runner);

}  // namespace Zel
