// The values of a part of an image: planes of rows for whoever counts element by element, blocks of finite
// values for whoever computes with them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "pzel/bounds/histogram.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/element.h"
#include "pzel/image/plane.h"

namespace pzel {

/// A part with its rectangle clipped to the image and its channels counted.
struct ClippedPart {
    int x, y, width, height, firstChannel, channels;
};

/// Without columns or rows where nothing is left of it.
inline ClippedPart clippedPart(const Image& image, const ImagePart& part) {
    const auto side = [](int from, int size, int whole) {
        const std::int64_t end = std::clamp<std::int64_t>(std::int64_t(from) + size, 0, whole);
        const int start = std::clamp(from, 0, whole);
        return std::pair(start, std::max(int(end) - start, 0));
    };
    const auto [x, width] = side(part.x, part.width, image.width);
    const auto [y, height] = side(part.y, part.height, image.height);
    const bool all = part.channel == AllChannels;
    return {x, y, width, height, all ? 0 : part.channel, all ? image.channels : 1};
}

/// Whether there are values of the part's channel, be its rectangle empty or not.
inline bool hasValues(const Image* image, const ImagePart& part) {
    return image && image->data && GetDataType(image) != DataNone && GetDataType(image) <= DataFloat &&
           part.channel >= AllChannels && part.channel < image->channels;
}

/// Whether all values of an element type can have a count each.
template <class T>
constexpr bool isSmall = sizeof(T) < 4;
inline bool isSmallType(int type) {
    return type < DataUInt32;
}

/// Calls f(rows, width, height) with each plane of a part; rows of bool for bits. Pixels that lie together
/// and whose channels are of one type are one plane.
template <class F>
void withPlanes(const Image& image, const ImagePart& part, F&& f) {
    const ClippedPart clip = clippedPart(image, part);
    if (clip.width == 0 || clip.height == 0 || clip.channels == 0) return;
    const int type = GetDataType(&image), last = clip.firstChannel + clip.channels - 1;
    const bool oneType = trueType(&image, clip.firstChannel) == trueType(&image, last);
    if (clip.channels == image.channels && IsInterleaved(&image) && type != DataBit && oneType) {
        visitElement(trueType(&image, last), [&]<class T>() {
            const unsigned char* row = image.data + std::ptrdiff_t(clip.y) * image.rowBytes;
            const ContiguousRows<const T> rows{
                reinterpret_cast<const T*>(row) + std::ptrdiff_t(clip.x) * image.channels, image.rowBytes};
            f(rows, clip.width * image.channels, clip.height);
        });
        return;
    }
    for (int channel = clip.firstChannel; channel <= last; ++channel) {
        const auto plane = [&](const auto& rows) { f(rows, clip.width, clip.height); };
        if (type == DataBit)
            withRows<const bool>(image, channel, clip.x, clip.y, plane);
        else
            visitElement(trueType(&image, channel),
                         [&]<class T>() { withRows<const T>(image, channel, clip.x, clip.y, plane); });
    }
}

/// Values that are no finite numbers.
struct NonFinite {
    std::uint64_t notNumbers = 0, negative = 0, positive = 0;
    void operator+=(const NonFinite& others) {
        notNumbers += others.notNumbers;
        negative += others.negative;
        positive += others.positive;
    }
};

constexpr int kValueBlock = 1024;

/// Whether each of some values is a finite number.
inline bool areFinite(const float* values, int count) {
    bool finite = true;
    onBestSet([=, out = &finite](auto) {
        unsigned found = 0;
        // What is not finite times 0 is not a number.
        for (int i = 0; i < count; ++i) found |= unsigned(values[i] * 0 != 0);
        *out = found == 0;
    });
    return finite;
}

/// A plane as blocks of at most kValueBlock values that stand behind one another: the same ones whatever
/// threads read them.
template <class Rows>
class ValueBlocks {
  public:
    using T = ElementOf<Rows>;
    ValueBlocks(const Rows& plane, int planeWidth, int planeHeight)
        : rows(plane), width(planeWidth), height(planeHeight) {
        if constexpr (isContiguous<Rows>) {
            if (areOneRow(rows, width, height)) {
                width *= height;
                height = 1;
            }
        }
        inRow = (width + kValueBlock - 1) / kValueBlock;
    }
    int count() const { return height * inRow; }
    std::int64_t values() const { return std::int64_t(width) * height; }

    /// Calls f(values, count) with the finite values of a block, if there are any, and counts the others.
    template <class F>
    void visit(int block, NonFinite& others, F&& f) const {
        const int x = block % inRow * kValueBlock, size = std::min(kValueBlock, width - x);
        const auto row = rows.row(block / inRow);
        if (size < 1) return;  // never: GCC takes the copy for empty otherwise, and warns
        T copy[kValueBlock];
        const T* values;
        if constexpr (isContiguous<Rows>) {
            values = row + x;
        } else {
            for (int i = 0; i < size; ++i) copy[i] = row[x + i];
            values = copy;
        }
        if constexpr (std::is_floating_point_v<T>) {
            if (!areFinite(values, size)) {
                int finite = 0;
                for (int i = 0; i < size; ++i) {
                    const T v = values[i];
                    if (std::isfinite(v))
                        copy[finite++] = v;
                    else
                        ++(std::isnan(v) ? others.notNumbers : v < 0 ? others.negative : others.positive);
                }
                if (finite > 0) f(static_cast<const T*>(copy), finite);
                return;
            }
        }
        f(values, size);
    }

  private:
    Rows rows;
    int width, height, inRow;
};

}  // namespace pzel
