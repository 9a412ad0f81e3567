// The installed message box, and the default one.
#include "pzel/platform/message_box.h"

#include <atomic>
#include <cstdio>

#include "pzel/platform/show_message.h"

namespace {

void PrintLine(const char* text) {
    std::fprintf(stderr, "%s\n", text);
}

std::atomic<Zel::MessageBoxHandler> handler = PrintLine;

}  // namespace

namespace Zel {

MessageBoxHandler SetMessageBox(MessageBoxHandler newHandler) {
    return handler.exchange(newHandler ? newHandler : PrintLine);
}

}  // namespace Zel

namespace pzel {

void ShowMessage(const char* text) {
    handler.load()(text);
}

}  // namespace pzel
