// Messages field by field, and their way over the socket.
#include "apps/io/message.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace pzel_io {

namespace {

constexpr std::size_t kLongestText = 4096;  // bytes of a line of text
constexpr std::size_t kMostTexts = 32;      // lines in a message
constexpr std::size_t kLongestMessage = 160 * 1024;

}  // namespace

void Message::Put(const std::string& text) {
    const std::size_t length = std::min(text.size(), kLongestText);
    Put(length);
    bytes.append(text, 0, length);
}

void Message::Take(std::string& text) {
    const std::size_t length = std::min(Take<std::size_t>(), bytes.size() - at);
    text = bytes.substr(at, length);
    at += length;
}

void Message::Put(const std::vector<std::string>& texts) {
    const std::size_t count = std::min(texts.size(), kMostTexts);
    Put(count);
    for (std::size_t i = 0; i < count; ++i) Put(texts[i]);
}

void Message::Take(std::vector<std::string>& texts) {
    const std::size_t count = std::min(Take<std::size_t>(), kMostTexts);
    for (std::size_t i = 0; i < count; ++i) texts.push_back(Take<std::string>());
}

void Message::Put(const PictureInfo& info) {
    Put(info.format);
    Put(info.frames);
    Put(info.width);
    Put(info.height);
    Put(info.channels);
    Put(info.type);
    Put(info.model);
    Put(info.layout);
    Put(info.window);
    Put(info.lowIsWhite);
    Put(info.pixelAspect);
    Put(info.frameRate);
    Put(info.position);
    Put(info.instance);
    Put(info.conversions);
}

void Message::Take(PictureInfo& info) {
    Take(info.format);
    Take(info.frames);
    Take(info.width);
    Take(info.height);
    Take(info.channels);
    Take(info.type);
    Take(info.model);
    Take(info.layout);
    Take(info.window);
    Take(info.lowIsWhite);
    Take(info.pixelAspect);
    Take(info.frameRate);
    Take(info.position);
    Take(info.instance);
    Take(info.conversions);
}

void Message::Put(const FrameNotes& notes) {
    Put(notes.window);
    Put(notes.notes);
}

void Message::Take(FrameNotes& notes) {
    Take(notes.window);
    Take(notes.notes);
}

bool Send(int socket, const Message& message) {
    const std::string& bytes = message.Bytes();
    ssize_t sent;
    do {
        sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(bytes.size());
}

std::optional<Message> Receive(int socket) {
    std::string bytes(kLongestMessage, '\0');
    ssize_t received;
    do {
        received = recv(socket, bytes.data(), bytes.size(), 0);
    } while (received < 0 && errno == EINTR);
    if (received <= 0) return {};
    bytes.resize(static_cast<std::size_t>(received));
    return Message(std::move(bytes));
}

}  // namespace pzel_io
