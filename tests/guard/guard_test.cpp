// Kernels between inaccessible pages, optimised as hosts run them: one that reads or writes a byte beside its
// pixels, bounds, tables or bitmaps faults, and is named; one whose bytes depend on where they stand differs
// from ordinary memory.
#include <gtest/gtest.h>

#include "tests/guard/operations.h"

namespace {

using guard::Memory;
using guard::Operation;
using guard::Place;
using guard::Span;

constexpr int kVectorBits = 512;

/// Every width to four vectors and one element, at few offsets, and every offset in a vector, at few widths.
std::vector<Span> spansOf(const Operation& operation) {
    const int vector = kVectorBits / std::max(8, operation.elementBits);
    std::vector<Span> spans;
    for (int width = 0; width <= 4 * vector + 1; ++width) {
        spans.push_back({width, 0});
        if (operation.ofParts) spans.push_back({width, 1 + width * 7 % (vector - 1)});
    }
    if (!operation.ofParts) return spans;
    for (int offset = 1; offset < vector; ++offset) {
        for (const int width : {1, vector - 1, vector, 2 * vector + 1}) spans.push_back({width, offset});
    }
    return spans;
}

/// True where an operation leaves the same bytes in all places.
testing::AssertionResult holds(const Operation& operation, Memory& memory, Span span) {
    static const char* const names[] = {"in ordinary memory", "behind a page", "up to a page"};
    std::vector<std::uint8_t> wanted;
    for (const Place place : {Place::Ordinary, Place::StartsBehindPage, Place::EndsAtPage}) {
        const auto where = [&](const char* what) {
            return testing::AssertionFailure() << operation.name << ", width " << span.width << ", offset "
                                               << span.offset << ": " << what << names[int(place)];
        };
        memory.start(place);
        if (!guard::runsWithoutFault([&] { operation.run(memory, span); })) return where("faults ");
        if (place == Place::Ordinary) {
            wanted = memory.contents();
        } else if (memory.contents() != wanted) {
            return where("differs ");
        }
    }
    return testing::AssertionSuccess();
}

void runAll(const std::vector<Operation>& operations) {
    Memory memory;
    for (const Operation& operation : operations) {
        for (const Span span : spansOf(operation)) {
            const testing::AssertionResult result = holds(operation, memory, span);
            EXPECT_TRUE(result);
            if (!result) break;  // one shape of each operation is enough to look for
        }
    }
}

TEST(Guard, BytesBesideBuffersFault) {
    Memory memory;
    for (const std::size_t bytes : {1, 100, 4096, 9999}) {
        volatile std::uint8_t sum = 0;
        const auto reads = [&](Place place, std::ptrdiff_t at) {
            memory.start(place);
            for (int slot = 0; slot < 7; ++slot) memory.take(5);
            const std::uint8_t* const data = memory.take(bytes);
            return guard::runsWithoutFault([&, data] { sum = std::uint8_t(sum + data[at]); });
        };
        const auto last = std::ptrdiff_t(bytes) - 1;
        for (const Place place : {Place::StartsBehindPage, Place::EndsAtPage})
            EXPECT_TRUE(reads(place, 0) && reads(place, last));
        EXPECT_FALSE(reads(Place::StartsBehindPage, -1));
        EXPECT_FALSE(reads(Place::EndsAtPage, last + 1));
    }
}

TEST(Guard, DisplayStaysInItsBuffers) {
    runAll(guard::displayOperations());
}

TEST(Guard, ElementsStayInTheirBuffers) {
    runAll(guard::elementOperations());
}

}  // namespace
