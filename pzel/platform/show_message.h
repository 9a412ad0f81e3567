// Showing a text to the user through the host's message box, for the library's own use.
#pragma once

namespace pzel {

void ShowMessage(const char* text);

}  // namespace pzel
