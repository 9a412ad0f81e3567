// What a host and a reader say to each other: one datagram for each request and each answer, fields in a
// fixed order. Both ends are built from the same sources and run on the same machine.
#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "apps/io/picture_info.h"

namespace pzel_io {

/// The first byte of a host's request. A reader that is asked to open closes the file before.
enum class Ask : unsigned char { Open, Frame };

/// Which pixels the host asks for.
struct FrameRequest {
    std::uint32_t frame = 0;
    Rows rows{};  ///< those that are needed
};

/// What comes with the pixels of a frame.
struct FrameNotes {
    std::optional<Window> window;
    std::vector<std::string> notes;
};

/// The first byte of a reader's answer.
enum class Answer : unsigned char { Info, Frame, Error };

/// Fields one behind another. Taking one out of a message that has come to its end gives zeros.
class Message {
  public:
    Message() = default;
    explicit Message(std::string received) : bytes(std::move(received)) {}
    const std::string& Bytes() const { return bytes; }

    template <class T>
    requires std::is_trivially_copyable_v<T>
    void Put(const T& value) { bytes.append(reinterpret_cast<const char*>(&value), sizeof value); }
    void Put(const std::string& text);
    void Put(const std::vector<std::string>& texts);
    void Put(const PictureInfo& info);
    void Put(const FrameNotes& notes);

    template <class T>
    T Take() {
        T value{};
        Take(value);
        return value;
    }

  private:
    template <class T>
    requires std::is_trivially_copyable_v<T>
    void Take(T& value) {
        if (bytes.size() - at < sizeof value) return;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        at += sizeof value;
    }
    void Take(std::string& text);
    void Take(std::vector<std::string>& texts);
    void Take(PictureInfo& info);
    void Take(FrameNotes& notes);

    std::string bytes;
    std::size_t at = 0;
};

/// Sends a message over a socket of datagrams. False where the other end is gone.
bool Send(int socket, const Message& message);
/// Waits for one. Nothing where the other end is gone.
std::optional<Message> Receive(int socket);

}  // namespace pzel_io
