// A rectangle of elements as rows, and the walker that runs a rule over it. Planar, interleaved and cropped
// images differ only in the steps of the view; contiguous, strided and bit rows all read and write as
// `row[x]`, so that a rule and a walker meet every layout without knowing it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <utility>

#include "pzel/loops/instruction_set.h"
#include "pzel/loops/narrow.h"
#include "pzel/loops/ranges.h"
#include "pzel/loops/shuffle.h"

namespace pzel {

/// Rows of elements that stand side by side.
template <class T>
struct ContiguousRows {
    T* origin;
    std::ptrdiff_t rowStep;  // bytes
    T* row(std::ptrdiff_t y) const {
        using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
        return reinterpret_cast<T*>(reinterpret_cast<Byte*>(origin) + y * rowStep);
    }
};

/// Rows of elements that stand `Step` elements apart; Step 0: known at run time only.
template <class T, int Step = 0>
struct StridedRows {
    struct Row {
        T* elements;
        std::ptrdiff_t step;
        T& operator[](std::ptrdiff_t x) const { return elements[x * (Step ? Step : step)]; }
        Row operator+(std::ptrdiff_t x) const { return {&(*this)[x], step}; }
    };
    ContiguousRows<T> rows;
    std::ptrdiff_t pixelStep;  // elements
    Row row(std::ptrdiff_t y) const { return {rows.row(y), pixelStep}; }
};

/// Rows of bits from some bit of the first byte on, most significant bit first.
template <class Byte>
struct BitRows {
    struct Reference {
        Byte& byte;
        unsigned char mask;
        operator bool() const { return byte & mask; }
        const Reference& operator=(bool on) const {
            byte = static_cast<unsigned char>(on ? byte | mask : byte & ~mask);
            return *this;
        }
    };
    struct Row {
        Byte* bytes;
        int firstBit;
        Reference operator[](std::ptrdiff_t x) const {
            const std::ptrdiff_t bit = firstBit + x;
            return {bytes[bit / 8], static_cast<unsigned char>(0x80 >> (bit % 8))};
        }
    };
    Byte* origin;
    int firstBit;
    std::ptrdiff_t rowStep;  // bytes
    Row row(std::ptrdiff_t y) const { return {origin + y * rowStep, firstBit}; }
};

/// The element type of rows; bool for bits.
template <class Rows>
struct ElementOfRows {
    using Type = std::remove_cvref_t<decltype(std::declval<const Rows&>().row(0)[0])>;
};
template <class Byte>
struct ElementOfRows<BitRows<Byte>> {
    using Type = bool;
};
template <class Rows>
using ElementOf = typename ElementOfRows<Rows>::Type;

/// A rule that finds its byte in a table: index(v) tells where, entries() is the table. An Index of one byte
/// is the value itself.
template <class Rule>
concept LooksUp = requires(const Rule& rule) {
    typename Rule::Index;
    rule.entries();
};

/// A rule whose constants change from element to element, again and again after `kPeriod`: rule(v, k) for
/// element k of a period.
template <class Rule>
concept IsPeriodic = requires {
    Rule::kPeriod;
};

/// Runs a rule over elements that stand side by side.
template <InstructionSet set, class In, class Out, class Rule>
void mapLine(SetConstant<set> on, const Rule& rule, const In* in, Out* out, int count) {
    if constexpr (IsPeriodic<Rule>) {
        for (; count >= Rule::kPeriod; count -= Rule::kPeriod, in += Rule::kPeriod, out += Rule::kPeriod)
            for (int k = 0; k < Rule::kPeriod; ++k) out[k] = rule(in[k], k);
        for (int k = 0; k < count; ++k) out[k] = rule(in[k], k);
    } else if constexpr (LooksUp<Rule> && std::is_same_v<Out, std::uint8_t>) {
        if constexpr (std::is_same_v<In, typename Rule::Index> && sizeof(typename Rule::Index) == 1) {
            lookUp(on, rule.entries(), in, out, count);
        } else {
            // Indices vectorise, look-ups do not everywhere: each has a loop of its own.
            constexpr int block = 1024;
            typename Rule::Index index[block];
            for (int x = 0; x < count; x += block) {
                const int n = count - x < block ? count - x : block;
                if constexpr (Places<Rule, In> && hasVectors<set>)
                    placeLine(on, rule, in + x, index, n);
                else
                    for (int i = 0; i < n; ++i) index[i] = rule.index(in[x + i]);
                lookUp(on, rule.entries(), index, out + x, n);
            }
        }
#if PZEL_VECTORS
    } else if constexpr (Scales<Rule, In> && hasVectors<set>) {
        scaleLine(on, rule, in, out, count);
#endif
    } else {
        for (int x = 0; x < count; ++x) out[x] = rule(in[x]);
    }
}

/// Whether elements of rows stand side by side.
template <class Rows>
constexpr bool isContiguous = false;
template <class T>
constexpr bool isContiguous<ContiguousRows<T>> = true;

/// Whether rows of `width` elements follow one another without a gap, few enough elements to count.
template <class T>
bool areOneRow(const ContiguousRows<T>& rows, int width, int height) {
    return rows.rowStep == std::ptrdiff_t(sizeof(T)) * width && std::int64_t(width) * height < 1 << 30;
}

/// Whether no two rows of `width` elements share a byte, so that they may be written at the same time.
template <class T>
bool standApart(const ContiguousRows<T>& rows, std::ptrdiff_t width) {
    return std::abs(rows.rowStep) >= std::ptrdiff_t(sizeof(T)) * width;
}
template <class T, int Step>
bool standApart(const StridedRows<T, Step>& rows, std::ptrdiff_t width) {
    return standApart(rows.rows, width * std::abs(rows.pixelStep));
}
template <class Byte>
bool standApart(const BitRows<Byte>& rows, std::ptrdiff_t width) {
    return 8 * std::abs(rows.rowStep) >= rows.firstBit + width;
}

/// Rules that only move elements say `isMove`: not worth lines of their own where elements stand apart.
template <class Rule>
constexpr bool isMove = requires {
    requires Rule::isMove;
};

/// One value for every element.
template <class T>
struct Fill {
    static constexpr bool isMove = true;
    T operator()(T) const { return value; }
    T value{};
};

/// A rule that may not leave the calling thread: rule.staysOnThread() tells whether it asks the host.
template <class Rule>
concept AsksHost = requires(const Rule& rule) {
    rule.staysOnThread();
};

template <class Rule>
bool mayLeaveThread(const Rule& rule) {
    if constexpr (AsksHost<Rule>) return !rule.staysOnThread();
    return true;
}

/// Runs a rule over rows that stand side by side. Out of line: one copy serves all layouts.
template <class In, class Out, class Rule>
[[gnu::noinline]] void mapSideBySide(const ContiguousRows<const In>& in, const ContiguousRows<Out>& out,
                                     int width, int first, int end, const Rule& rule) {
    const auto loop = [=](auto set) {
        const Rule local = rule;  // out of reach of the bytes that are written
        for (int y = first; y < end; ++y) mapLine(set, local, in.row(y), out.row(y), width);
    };
    if constexpr (isRare<Rule>)
        loop(SetConstant<InstructionSet::Reference>());
    else
        onBestSet(loop);
}

/// Runs a rule over rows of any layout, whose elements come and go in lines side by side.
template <class In, class Out, class Rule>
void mapInLines(const In& in, const Out& out, int width, int first, int end, const Rule& rule) {
    constexpr int length = 1024;
    ElementOf<In> given[length];
    ElementOf<Out> results[length];
    for (int y = first; y < end; ++y) {
        const auto from = in.row(y);
        const auto to = out.row(y);
        for (int x = 0; x < width; x += length) {
            const int count = width - x < length ? width - x : length;
            ContiguousRows<const ElementOf<In>> line{given, 0};
            ContiguousRows<ElementOf<Out>> made{results, 0};
            if constexpr (isContiguous<In>)
                line.origin = from + x;
            else
                for (int i = 0; i < count; ++i) given[i] = from[x + i];
            if constexpr (isContiguous<Out>) made.origin = to + x;
            mapSideBySide(line, made, count, 0, 1, rule);
            if constexpr (!isContiguous<Out>)
                for (int i = 0; i < count; ++i) to[x + i] = results[i];
        }
    }
}

/// Runs a rule over a rectangle: out[x] = rule(in[x]).
template <class In, class Out, class Rule>
void mapRows(const In& in, const Out& out, int width, int height, const Rule& rule) {
    constexpr bool sideBySide = isContiguous<In> && isContiguous<Out>;
    const auto mapRange = [&](int first, int end) {
        if constexpr (sideBySide) {
            const bool oneRow =
                areOneRow(in, width, end - first) && areOneRow(out, width, end - first) && first < end;
            const ContiguousRows<const ElementOf<In>> from{in.origin, in.rowStep};
            mapSideBySide(from, out, oneRow ? width * (end - first) : width, first, oneRow ? first + 1 : end,
                          rule);
        } else if constexpr (isMove<Rule>) {
            for (int y = first; y < end; ++y) {
                const auto from = in.row(y);
                const auto to = out.row(y);
                for (int x = 0; x < width; ++x) to[x] = rule(from[x]);
            }
        } else {
            mapInLines(in, out, width, first, end, rule);
        }
    };
    constexpr Effort effort =
        sideBySide && !isRare<Rule> && !LooksUp<Rule> ? Effort::Moving : Effort::Computing;
    if (standApart(out, width) && mayLeaveThread(rule))
        forRanges(height, std::int64_t(width) * height, effort, mapRange);
    else
        mapRange(0, height);
}

}  // namespace pzel
