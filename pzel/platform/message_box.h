// Where the library shows a text to the user. The host installs its own message box; by default texts go to
// stderr, one line each.
#pragma once

#include "pzel/export.h"

namespace Zel {

/// Shows one text to the user.
using MessageBoxHandler = void (*)(const char* text);

/// Installs the host's message box and returns the previous one. Null installs the default. It is
/// called on the thread whose operation has something to show.
PZEL_API MessageBoxHandler SetMessageBox(MessageBoxHandler handler);

}  // namespace Zel
