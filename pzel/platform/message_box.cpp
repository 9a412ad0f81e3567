// The installed message box, and the default one.
#include "pzel/platform/message_box.h"

#include <cstdio>
#include <utility>

#include "pzel/platform/show_message.h"

namespace {

void PrintLine(const char* text) {
    std::fprintf(stderr, "%s\n", text);
}

Zel::MessageBoxHandler handler = PrintLine;

}  // namespace

namespace Zel {

MessageBoxHandler SetMessageBox(MessageBoxHandler newHandler) {
    return std::exchange(handler, newHandler ? newHandler : PrintLine);
}

}  // namespace Zel

namespace pzel {

void ShowMessage(const char* text) {
    handler(text);
}

}  // namespace pzel
