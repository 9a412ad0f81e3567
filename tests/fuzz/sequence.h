// What a run is made of: records of 16 bytes, each a row of the table and what its arguments are drawn from.
// A fuzzer's input is a row of records, and so is what a seed gives. A record taken out leaves the others as
// they are, so that sequences can be shortened.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace fuzz {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

struct Record {
    u16 row = 0;
    std::array<u8, 14> bytes{};
};
static_assert(sizeof(Record) == 16);

using Sequence = std::vector<Record>;

/// One step of a generator that is good enough and quick.
inline u64 mixed(u64 value) {
    value = (value ^ value >> 32) * 0xD6E8FEB86659FD93u;
    return (value ^ value >> 32) * 0xD6E8FEB86659FD93u;
}

/// Choices out of a record: its bytes first, then bytes that follow from them. Zeros choose what is simplest.
class Draw {
  public:
    Draw() = default;
    explicit Draw(const Record& from) : record(from) {}

    u8 byte() {
        if (at < record.bytes.size()) return record.bytes[at++];
        return u8(word());
    }
    /// A whole number in low ... high, both included.
    int operator()(int low, int high) {
        const u32 range = u32(high - low) + 1;
        if (range <= 256 && range > 0) return low + int(byte() * range >> 8);
        const u32 value = u32(byte()) | u32(byte()) << 8 | u32(byte()) << 16 | u32(byte()) << 24;
        return range == 0 ? int(value) : int(u32(low) + u32(u64(value) * range >> 32));
    }
    bool coin() { return byte() >= 128; }
    /// True for one of n; never for a zero.
    bool oneIn(int n) { return (byte() * n >> 8) == n - 1; }
    template <class T>
    T pick(std::initializer_list<T> from) {
        return from.begin()[(*this)(0, int(from.size()) - 1)];
    }
    /// Eight bytes that follow from the record.
    u64 word() {
        if (state == 0) {
            u64 parts[2];
            std::memcpy(parts, &record, sizeof parts);
            state = mixed(parts[0]) + mixed(parts[1] + 0x9E3779B97F4A7C15u) + 1;
        }
        return mixed(state += 0x9E3779B97F4A7C15u);
    }
    const Record& source() const { return record; }

  private:
    Record record;
    std::size_t at = 0;
    u64 state = 0;
};

/// A digest of bytes; the order of what is added counts.
class Digest {
  public:
    void add(u64 value) { sum = mixed(sum + value); }
    void add(const void* bytes, std::size_t count) {
        const auto* p = static_cast<const u8*>(bytes);
        add(count);
        // Four sums at a time, none of which waits for another.
        constexpr std::size_t size = 4 * sizeof(u64);
        if (count >= size) {
            u64 sums[4] = {sum, sum + 1, sum + 2, sum + 3};
            for (; count >= size; p += size, count -= size) {
                u64 parts[4];
                std::memcpy(parts, p, size);
                for (int k = 0; k < 4; ++k) sums[k] = stirred(sums[k], parts[k]);
            }
            for (const u64 one : sums) sum = stirred(sum, one);
        }
        for (std::size_t part = 8; count > 0; p += part, count -= part) {
            u64 rest = 0;
            part = count < part ? count : part;
            std::memcpy(&rest, p, part);
            sum = stirred(sum, rest);
        }
    }
    u64 value() const { return sum; }

  private:
    static u64 stirred(u64 sum, u64 value) {
        sum = (sum ^ value) * 0x9E3779B97F4A7C15u;
        return sum ^ sum >> 29;
    }
    u64 sum = 0x2545F4914F6CDD1D;
};

}  // namespace fuzz
