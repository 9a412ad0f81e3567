// Where an operation's buffers stand: in ordinary memory, up to an inaccessible page, or from behind one on.
// An operation takes all its buffers here, so that it can be run in each place and leave the same bytes.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "pzel/image/image.h"

namespace guard {

/// `StartsBehindPage`: the byte before the buffer faults; `EndsAtPage`: the one after it.
enum class Place { Ordinary, StartsBehindPage, EndsAtPage };

/// A pool of buffers. They stay its own and are void after the next `start`.
class Memory {
  public:
    Memory();
    ~Memory();
    Memory(const Memory&) = delete;

    /// Takes all buffers back; the next ones stand there.
    void start(Place place);
    /// A buffer of exactly `bytes` bytes; equal ones for equal calls since the start. Elements of floats are
    /// quarters, others any bytes.
    std::uint8_t* take(std::size_t bytes, int type = DataUInt8);
    /// A result that is no buffer.
    void put(double value) { values.push_back(value); }

    /// All that buffers and results hold now.
    std::vector<std::uint8_t> contents() const;

  private:
    static constexpr int kSlots = 8;
    static constexpr std::size_t kSlotBytes = 32768;

    struct Buffer {
        const std::uint8_t* data;
        std::size_t bytes;
    };

    std::uint8_t* map = nullptr;  // an inaccessible page, a slot, an inaccessible page, a slot ...
    std::vector<std::uint8_t> bytesOf[2];
    Place place = Place::Ordinary;
    std::vector<Buffer> taken;
    std::vector<std::vector<std::uint8_t>> ordinary;
    std::vector<double> values;
};

/// Runs something; false when it touched an inaccessible page, and then it ended there.
bool runsWithoutFault(const std::function<void()>& action);

}  // namespace guard
