// One channel of a rectangle of pixels as rows of elements. Planar, interleaved and cropped images differ
// only in the steps of the view; contiguous, strided and bit rows all read and write as `row[x]`, so that a
// rule and a walker meet every layout without knowing it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "pzel/image/image.h"
#include "pzel/image/instruction_set.h"
#include "pzel/image/lifecycle.h"
#include "pzel/image/narrow.h"
#include "pzel/image/shuffle.h"

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

/// Where one channel of an image starts and how far its pixels and rows are apart.
struct PlaneSteps {
    std::ptrdiff_t pixelStep;  // elements
    std::ptrdiff_t rowStep;    // bytes
};

inline PlaneSteps planeSteps(const Image& image) {
    return {IsInterleaved(&image) ? image.channels : 1, image.rowBytes};
}

/// Calls f with the rows of a channel from pixel (x, y) on, read or written as T; `bool` stands for bits. An
/// interleaved bit image holds one run of bits for each channel in every row.
template <class T, class F>
void withRows(const Image& image, int channel, int x, int y, F&& f) {
    using Element = std::remove_const_t<T>;
    using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
    Byte* row = image.data + std::ptrdiff_t(y) * image.rowBytes;
    if constexpr (std::is_same_v<Element, bool>) {
        const std::ptrdiff_t plane = IsInterleaved(&image) ? (image.width + 7) / 8 : GetImageBytes(&image);
        f(BitRows<Byte>{row + channel * plane + x / 8, x % 8, image.rowBytes});
    } else {
        const PlaneSteps steps = planeSteps(image);
        const std::ptrdiff_t plane =
            IsInterleaved(&image) ? std::ptrdiff_t(sizeof(T)) : GetImageBytes(&image);
        const ContiguousRows<T> rows{reinterpret_cast<T*>(row + channel * plane) + x * steps.pixelStep,
                                     steps.rowStep};
        if (steps.pixelStep == 1)
            f(rows);
        else if (steps.pixelStep == 3)
            f(StridedRows<T, 3>{rows, 3});
        else
            f(StridedRows<T>{rows, steps.pixelStep});
    }
}

/// Calls f with the rows of the first three channels of an image from pixel (x, y) on, the first read or
/// written as T, the others as U; `bool` stands for bits. One pixel step serves all three.
template <class T, class U, class F>
void withThreePlanes(const Image& image, int x, int y, F&& f) {
    if constexpr (std::is_same_v<std::remove_const_t<T>, bool>) {
        withRows<T>(image, 0, x, y, [&](const auto& a) {
            const std::ptrdiff_t plane =
                IsInterleaved(&image) ? (image.width + 7) / 8 : GetImageBytes(&image);
            auto b = a, c = a;
            b.origin += plane;
            c.origin += 2 * plane;
            f(a, b, c);
        });
    } else {
        const PlaneSteps steps = planeSteps(image);
        const bool interleaved = IsInterleaved(&image);
        const std::ptrdiff_t plane =
            interleaved ? std::ptrdiff_t(sizeof(T)) : std::ptrdiff_t(GetImageBytes(&image));
        unsigned char* start =
            image.data + y * steps.rowStep + x * steps.pixelStep * std::ptrdiff_t(sizeof(T));
        const ContiguousRows<T> a{reinterpret_cast<T*>(start), steps.rowStep};
        const ContiguousRows<U> b{reinterpret_cast<U*>(start + plane), steps.rowStep};
        const ContiguousRows<U> c{reinterpret_cast<U*>(start + 2 * plane), steps.rowStep};
        if (interleaved)
            f(StridedRows<T, 3>{a, 3}, StridedRows<U, 3>{b, 3}, StridedRows<U, 3>{c, 3});
        else
            f(a, b, c);
    }
}

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

/// Runs a rule over a row: out[x] = rule(in[x]).
template <InstructionSet set, class In, class Out, class Rule>
void mapLine(SetConstant<set> on, const Rule& rule, In in, Out out, int count) {
    if constexpr (IsPeriodic<Rule>) {
        for (; count >= Rule::kPeriod; count -= Rule::kPeriod, in += Rule::kPeriod, out += Rule::kPeriod)
            for (int k = 0; k < Rule::kPeriod; ++k) out[k] = rule(in[k], k);
        for (int k = 0; k < count; ++k) out[k] = rule(in[k], k);
    } else if constexpr (LooksUp<Rule> && std::is_same_v<Out, std::uint8_t*>) {
        if constexpr (std::is_same_v<In, const typename Rule::Index*> && sizeof(typename Rule::Index) == 1) {
            lookUp(on, rule.entries(), in, out, count);
        } else {
            // Indices vectorise, look-ups do not everywhere: each has a loop of its own.
            constexpr int block = 1024;
            typename Rule::Index index[block];
            for (int x = 0; x < count; x += block) {
                const int n = count - x < block ? count - x : block;
                for (int i = 0; i < n; ++i) index[i] = rule.index(in[x + i]);
                lookUp(on, rule.entries(), index, out + x, n);
            }
        }
#if PZEL_X86_SETS
    } else if constexpr (ScalesFloats<Rule> && hasVectors<set> && std::is_same_v<In, const float*> &&
                         std::is_pointer_v<Out>) {
        scaleLine(on, rule, in, out, count);
#endif
    } else {
        for (int x = 0; x < count; ++x) out[x] = rule(in[x]);
    }
}

/// Rows that stand side by side are worth a copy of their loop for each instruction set.
template <class Rows>
constexpr bool isContiguous = false;
template <class T>
constexpr bool isContiguous<ContiguousRows<T>> = true;

/// Whether rows of `width` elements follow one another without a gap, few enough elements to count.
template <class T>
bool areOneRow(const ContiguousRows<T>& rows, int width, int height) {
    return rows.rowStep == std::ptrdiff_t(sizeof(T)) * width && std::int64_t(width) * height < 1 << 30;
}

/// Runs a rule over a rectangle: out[x] = rule(in[x]).
template <class In, class Out, class Rule>
void mapRows(const In& in, const Out& out, int width, int height, const Rule& rule) {
    if constexpr (isContiguous<In> && isContiguous<Out>) {
        if (areOneRow(in, width, height) && areOneRow(out, width, height) && height > 0) {
            width *= height;
            height = 1;
        }
    }
    const auto loop = [=](auto set) {
        const Rule local = rule;  // out of reach of the bytes that are written
        for (int y = 0; y < height; ++y) mapLine(set, local, in.row(y), out.row(y), width);
    };
    if constexpr (isContiguous<In> && isContiguous<Out> && !isRare<Rule>)
        onBestSet(loop);
    else
        loop(SetConstant<InstructionSet::Baseline>());
}

}  // namespace pzel
