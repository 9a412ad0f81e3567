// Rectangles between images of any two element types: clipping, plain copies and conversions from bound pair
// to bound pair. Colour models and borders are in files of their own.
#include "pzel/pixels/typed_copy.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "pzel/image/bound_array.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/plane.h"
#include "pzel/image/sub_type_change.h"
#include "pzel/pixels/bits.h"
#include "pzel/pixels/copy_area.h"

namespace pzel {

template <class T>
Pair<T> copyPair(const Image& image, int channel) {
    const Pair<T> pair = boundEntry<T>(GetBound(const_cast<Image*>(&image)), channel);
    const bool unset = !(image.state & (StateBoundSet | StateBoundDefault));
    return unset && pair == Pair<T>{} ? channelRange<T>(image, channel) : pair;
}
template <>
Pair<bool> copyPair(const Image& image, int channel) {
    return channelRange<bool>(image, channel);
}
template Pair<std::uint8_t> copyPair(const Image&, int);
template Pair<std::int8_t> copyPair(const Image&, int);
template Pair<std::uint16_t> copyPair(const Image&, int);
template Pair<std::int16_t> copyPair(const Image&, int);
template Pair<std::uint32_t> copyPair(const Image&, int);
template Pair<std::int32_t> copyPair(const Image&, int);
template Pair<float> copyPair(const Image&, int);

namespace {

/// Clips to both images; the rectangle shrinks and both origins move together.
std::optional<CopyArea> Clip(const Image& src, const Image& dst, int srcX, int srcY, int dstX, int dstY,
                             int width, int height) {
    using Wide = long long;
    const auto axis = [](int s, int d, int length, int srcLength, int dstLength, int& outS, int& outD,
                         int& outLength, int& requested) {
        const Wide skip = std::max<Wide>({0, -Wide(s), -Wide(d)});
        const Wide asked = length - skip;
        const Wide n = std::min<Wide>({asked, srcLength - (s + skip), dstLength - (d + skip)});
        if (n < 1) return false;
        outS = int(s + skip);
        outD = int(d + skip);
        outLength = int(n);
        requested = int(asked);
        return true;
    };
    CopyArea area;
    if (!axis(srcX, dstX, width, src.width, dst.width, area.srcX, area.dstX, area.width,
              area.requestedWidth) ||
        !axis(srcY, dstY, height, src.height, dst.height, area.srcY, area.dstY, area.height,
              area.requestedHeight))
        return std::nullopt;
    return area;
}

/// Into an element type with everything outside its range at the nearest end; NaN gives 0.
template <class D, class S>
D Saturated(S v) {
    if constexpr (std::is_same_v<S, D> || std::is_floating_point_v<D>) {
        return D(v);
    } else {
        using Wide = std::conditional_t<std::is_floating_point_v<S>, float, int>;
        constexpr Wide low = std::numeric_limits<D>::min(), high = std::numeric_limits<D>::max();
        Wide w = v == v ? Wide(v) : Wide(0);
        w = w > low ? w : low;
        w = w < high ? w : high;
        return D(int(w));
    }
}

/// Equal widths, equal lows: the value itself.
template <class S, class D>
struct Carry {
    static constexpr bool isMove = std::is_same_v<S, D>;
    D operator()(S v) const { return Saturated<D>(v); }
};

/// Equal widths, different lows: moved by the difference of the lows.
template <class S, class D>
struct Shift {
    using Wide = std::conditional_t<std::is_floating_point_v<S> || std::is_floating_point_v<D>, float, int>;
    Shift(Pair<S> from, Pair<D> to) : shift(Wide(to.low) - Wide(from.low)) {}
    D operator()(S v) const { return Saturated<D>(Wide(v) + shift); }
    Wide shift;
};

/// Different widths: clamped to the source pair and scaled to the destination pair, in single precision and
/// truncated. A source pair without width gives the destination's low.
template <class S, class D>
struct Scale {
    Scale(Pair<S> source, Pair<D> destination)
        : from(source),
          to(destination),
          low(std::min(float(to.low), float(to.high))),
          high(std::max(float(to.low), float(to.high))),
          scale(from.high == from.low
                    ? 0.0f
                    : (float(to.high) - float(to.low)) / (float(from.high) - float(from.low))) {}
    D operator()(S v) const {
        float t = (float(v) - float(from.low)) * scale + float(to.low);
        if constexpr (!std::is_floating_point_v<D>) t = t == t ? t : 0.0f;
        t = t < low ? low : t;
        t = t > high ? high : t;
        D result;
        if constexpr (std::is_floating_point_v<D>)
            result = t;
        else
            result = D(int(t));
        result = v > from.high ? to.high : result;
        return v < from.low ? to.low : result;
    }
    Pair<S> from;
    Pair<D> to;
    float low, high, scale;
};

/// Scale in double precision, for pairs that are further apart than floats reach, or of a scale that no float
/// holds.
template <class S, class D>
struct WideScale {
    static constexpr bool isRare = true;
    /// Whether it must stand in for a rule.
    static bool isNeeded(const Scale<S, D>& rule) {
        return !std::isfinite(float(rule.from.high) - float(rule.from.low)) || !std::isfinite(rule.scale);
    }
    explicit WideScale(const Scale<S, D>& rule) : from(rule.from), to(rule.to) {}
    D operator()(S v) const {
        if (v < from.low) return to.low;
        if (v > from.high) return to.high;
        const double range = double(from.high) - double(from.low), target = double(to.high) - double(to.low);
        double t = (double(v) - double(from.low)) * target / range + double(to.low);
        if constexpr (!std::is_floating_point_v<D>) t = t == t ? t : 0.0;
        t = std::max(t, double(std::min(to.low, to.high)));
        t = std::min(t, double(std::max(to.low, to.high)));
        return D(t);
    }
    Pair<S> from;
    Pair<D> to;
};
template <class S, class D>
constexpr bool hasWideScale =
    !std::is_same_v<D, bool> && (std::is_floating_point_v<S> || std::is_floating_point_v<D>);

/// Scale where both ends come out exact: a clamped source value cannot leave the destination pair, and
/// nothing else is compared.
template <class S, class D>
struct EvenScale {
    /// Whether it stands in for a rule. NaN must give the low end then, as it does here.
    static bool fits(const Scale<S, D>& rule) {
        const EvenScale even(rule);
        const bool naturalNan = !std::is_floating_point_v<S> || rule.to.low >= 0;
        return naturalNan && !std::is_floating_point_v<D> && rule.from.low < rule.from.high &&
               rule.to.low < rule.to.high && even(rule.from.low) == rule.to.low &&
               even(rule.from.high) == rule.to.high;
    }
    explicit EvenScale(const Scale<S, D>& rule)
        : low(rule.from.low), high(rule.from.high), start(float(rule.to.low)), scale(rule.scale) {}
    D operator()(S v) const {
        v = v > low ? v : low;
        v = v < high ? v : high;
        return D(int((float(v) - float(low)) * scale + start));
    }
    S low, high;
    float start, scale;
};

/// EvenScale from floats to all values of an unsigned integer.
template <class D>
struct FullScale : EvenScale<float, D> {
    using EvenScale<float, D>::EvenScale;
    static bool fits(const Scale<float, D>& rule) {
        return rule.to == fullRange<D>() && EvenScale<float, D>::fits(rule);
    }
    float black() const { return this->low; }
    float scale() const { return EvenScale<float, D>::scale; }
    static constexpr float kStart = 0;
};
template <class S, class D>
constexpr bool hasFullScale = std::is_same_v<S, float>&& std::is_unsigned_v<D> && !std::is_same_v<D, bool>;

/// The conversions that are asked for often enough: into 8 and 16 bits from more.
template <class S, class D>
constexpr bool hasEvenScale = std::is_integral_v<D> && !std::is_same_v<D, bool> && !std::is_same_v<S, bool> &&
                              sizeof(S) > sizeof(D);

/// Into bits: set from the source's high on.
template <class S>
struct Scale<S, bool> {
    Scale(Pair<S> source, Pair<bool>) : from(source) {}
    bool operator()(S v) const { return v >= from.high && !(v < from.low); }
    Pair<S> from;
};

/// How a call converts; the pairs of the first channel choose it for all channels.
enum class Method { Carry, Shift, Scale };

template <class S, class D>
Method ChooseMethod(Pair<S> from, Pair<D> to) {
    if constexpr (std::is_same_v<S, bool> || std::is_same_v<D, bool>) return Method::Scale;
    if (float(from.high) - float(from.low) != float(to.high) - float(to.low)) return Method::Scale;
    return float(from.low) == float(to.low) ? Method::Carry : Method::Shift;
}

/// Calls f.operator()<T>() for the types that convert into one another: bits (bool), 8 and 16 bits, float.
template <class F>
bool VisitConvertible(int typeCode, F&& f) {
    if (typeCode != DataBit) return visitDisplayElement(typeCode, f);
    f.template operator()<bool>();
    return true;
}

/// Calls f.operator()<S, D>() with the true element types of a channel in both images.
template <class F>
void VisitTypes(const Image& src, const Image& dst, int channel, F&& f) {
    VisitConvertible(trueType(&src, channel), [&]<class S>() {
        VisitConvertible(trueType(&dst, channel), [&]<class D>() {
            if constexpr (!std::is_same_v<S, bool> || !std::is_same_v<D, bool>) f.template operator()<S, D>();
        });
    });
}

template <class S, class D, class Rule>
void MapChannel(const Image& src, const Image& dst, const CopyArea& area, int channel, const Rule& rule) {
    withRows<const S>(src, channel, area.srcX, area.srcY, [&](const auto& in) {
        withRows<D>(dst, channel, area.dstX, area.dstY,
                    [&](const auto& out) { mapRows(in, out, area.width, area.height, rule); });
    });
}

/// Whether pixels stand in both images as samples that convert alike, whatever their channel.
bool AreSamples(const Image& src, const Image& dst, int channels) {
    if (!IsInterleaved(&src) || !IsInterleaved(&dst) || src.channels != channels || dst.channels != channels)
        return false;
    const auto convertsAlike = [&](int channel) {
        if (trueType(&src, channel) != trueType(&src, 0) || trueType(&dst, channel) != trueType(&dst, 0))
            return false;
        bool alike = false;
        VisitTypes(src, dst, channel, [&]<class S, class D>() {
            if constexpr (!std::is_same_v<S, bool> && !std::is_same_v<D, bool>)
                alike = copyPair<S>(src, channel) == copyPair<S>(src, 0) &&
                        copyPair<D>(dst, channel) == copyPair<D>(dst, 0);
        });
        return alike;
    };
    for (int c = 1; c < channels; ++c)
        if (!convertsAlike(c)) return false;
    return true;
}

/// Calls f.operator()<U>() with the unsigned integer of an element's size, or `bool` for bits, for elements
/// that are only moved.
template <class F>
void VisitStored(unsigned short typeWord, F&& f) {
    switch (DataBytes(typeWord)) {
        case 1: f.template operator()<std::uint8_t>(); break;
        case 2: f.template operator()<std::uint16_t>(); break;
        case 4: f.template operator()<std::uint32_t>(); break;
        default:
            if ((typeWord & DataTypeMask) == DataBit) f.template operator()<bool>();
            break;
    }
}

/// Three channels of equal element types, planar into interleaved or the other way; the layouts differ.
template <class U>
void ChangeLayout(const Image& src, const Image& dst, const CopyArea& area) {
    const int width = area.width, height = area.height;
    withThreePlanes<const U, const U>(src, area.srcX, area.srcY, [&]<class In>(In a, In b, In c) {
        withThreePlanes<U, U>(dst, area.dstX, area.dstY, [&]<class Out>(Out x, Out y, Out z) {
            const auto changeRange = [&](int first, int end) {
                onBestSet([=](auto set) {
                    for (int row = first; row < end; ++row) {
                        if constexpr (isContiguous<In> && !isContiguous<Out>)
                            interleave(set, a.row(row), b.row(row), c.row(row), &x.row(row)[0], width);
                        else if constexpr (isContiguous<Out> && !isContiguous<In>)
                            deinterleave(set, &a.row(row)[0], x.row(row), y.row(row), z.row(row), width);
                    }
                });
            };
            if (rowsStandApart(dst))
                forRanges(height, 3 * std::int64_t(width) * height, Effort::Moving, changeRange);
            else
                changeRange(0, height);
        });
    });
}

/// Planes of a part of an image of three channels, for a moment.
struct Planes {
    static constexpr int kBytes = 8192;  // of a plane, at most
    explicit Planes(const Image& of) : image(of) {
        image.data = bytes;
        image.dataType &= static_cast<std::uint16_t>(~DataInterleaved);
    }
    void shape(int width, int height) {
        image.width = static_cast<std::uint16_t>(width);
        image.height = static_cast<std::uint16_t>(height);
        image.rowBytes = static_cast<std::uint16_t>(width * DataBytes(image.dataType));
    }
    Image image;  // its bound and attachment are those of the other
    alignas(64) unsigned char bytes[3 * kBytes];
};

/// Three channels that convert one by one, of which pixels are interleaved: taken apart and put together by
/// vectors, in parts that stay in a cache.
template <class F>
void ConvertPixels(const Image& src, const Image& dst, const CopyArea& area, const F& convert) {
    const bool takesApart = IsInterleaved(&src), putsTogether = IsInterleaved(&dst);
    const auto changeLayout = [](const Image& from, const Image& to, const CopyArea& part) {
        VisitStored(from.dataType, [&]<class U>() {
            if constexpr (!std::is_same_v<U, bool>) ChangeLayout<U>(from, to, part);
        });
    };
    const auto convertPart = [&](Planes& given, Planes& made, const CopyArea& part) {
        CopyArea taken = part, between = part, put = part;
        taken.dstX = taken.dstY = put.srcX = put.srcY = 0;
        if (takesApart) {
            between.srcX = between.srcY = 0;
            given.shape(part.width, part.height);
            changeLayout(src, given.image, taken);
        }
        if (putsTogether) {
            between.dstX = between.dstY = 0;
            made.shape(part.width, part.height);
        }
        for (int c = 0; c < 3; ++c)
            convert(c, takesApart ? given.image : src, putsTogether ? made.image : dst, between, c);
        if (putsTogether) changeLayout(made.image, dst, put);
    };
    const int most = Planes::kBytes / std::max(DataBytes(src.dataType), DataBytes(dst.dataType));
    const int width = std::min(area.width, most), height = most / width;
    const auto convertRange = [&](int first, int end) {
        Planes given(src), made(dst);
        for (int y = first; y < end; y += height) {
            for (int x = 0; x < area.width; x += width) {
                CopyArea part = area;
                part.srcX += x, part.dstX += x, part.width = std::min(width, area.width - x);
                part.srcY += y, part.dstY += y, part.height = std::min(height, end - y);
                convertPart(given, made, part);
            }
        }
    };
    forRanges(area.height, 3 * std::int64_t(area.width) * area.height, Effort::Moving, convertRange);
}

/// Whether vectors may take three channels apart on the way, or put them together.
bool ArePixels(const Image& src, const Image& dst) {
    bool convert = false;
    VisitTypes(src, dst, 0,
               [&]<class S, class D>() { convert = !std::is_same_v<S, bool> && !std::is_same_v<D, bool>; });
    return convert && src.channels == 3 && dst.channels == 3 && (IsInterleaved(&src) || IsInterleaved(&dst));
}

void ConvertChannels(const Image& src, const Image& dst, const CopyArea& area, int channels) {
    Method method = Method::Carry;
    VisitTypes(src, dst, 0, [&]<class S, class D>() {
        const Pair<S> from = copyPair<S>(src, 0);
        method = ChooseMethod(from, copyPair<D>(dst, 0));
    });
    const auto convert = [&](int channel, const Image& in, const Image& out, const CopyArea& part,
                             int place) {
        VisitTypes(src, dst, channel, [&]<class S, class D>() {
            const Pair<S> from = copyPair<S>(src, channel);
            const Pair<D> to = copyPair<D>(dst, channel);
            if constexpr (!std::is_same_v<S, bool> && !std::is_same_v<D, bool>) {
                if (method == Method::Carry) return MapChannel<S, D>(in, out, part, place, Carry<S, D>{});
                if (method == Method::Shift)
                    return MapChannel<S, D>(in, out, part, place, Shift<S, D>{from, to});
            }
            const Scale<S, D> scale{from, to};
            if constexpr (hasWideScale<S, D>) {
                if (WideScale<S, D>::isNeeded(scale))
                    return MapChannel<S, D>(in, out, part, place, WideScale<S, D>(scale));
            }
            if constexpr (hasFullScale<S, D>) {
                if (takesShortCuts() && FullScale<D>::fits(scale))
                    return MapChannel<S, D>(in, out, part, place, FullScale<D>(scale));
            }
            if constexpr (hasEvenScale<S, D>) {
                if (takesShortCuts() && EvenScale<S, D>::fits(scale))
                    return MapChannel<S, D>(in, out, part, place, EvenScale<S, D>(scale));
            }
            MapChannel<S, D>(in, out, part, place, scale);
        });
    };
    const bool apart = takesShortCuts() && rowsStandApart(dst);
    if (apart && AreSamples(src, dst, channels)) {
        Image in = src, out = dst;  // the records alone
        in.channels = out.channels = 1;
        CopyArea part = area;
        part.srcX *= channels;
        part.dstX *= channels;
        part.width *= channels;
        convert(0, in, out, part, 0);
        return;
    }
    if (apart && ArePixels(src, dst)) return ConvertPixels(src, dst, area, convert);
    for (int c = 0; c < channels; ++c) convert(c, src, dst, area, c);
}

void CopyRows(const unsigned char* src, std::ptrdiff_t srcStep, unsigned char* dst, std::ptrdiff_t dstStep,
              std::size_t bytes, int rows) {
    for (int y = 0; y < rows; ++y) std::memcpy(dst + y * dstStep, src + y * srcStep, bytes);
}

/// Equal element types: whole rows where channels and layout agree, else channel by channel.
void CopyElements(const Image& src, const Image& dst, const CopyArea& area, int channels) {
    const std::size_t element = std::size_t(DataBytes(src.dataType));
    const bool interleaved = IsInterleaved(&dst);
    if (src.channels == dst.channels && IsInterleaved(&src) == interleaved) {
        const std::size_t pixel = interleaved ? element * src.channels : element;
        for (int p = 0; p < (interleaved ? 1 : channels); ++p) {
            const auto at = [&](const Image& image, int x, int y) {
                return image.data + std::size_t(p) * GetImageBytes(&image) + std::size_t(y) * image.rowBytes +
                       std::size_t(x) * pixel;
            };
            CopyRows(at(src, area.srcX, area.srcY), src.rowBytes, at(dst, area.dstX, area.dstY), dst.rowBytes,
                     std::size_t(area.width) * pixel, area.height);
        }
        return;
    }
    VisitStored(src.dataType, [&]<class U>() {
        if constexpr (!std::is_same_v<U, bool>)
            if (src.channels == 3 && dst.channels == 3) return ChangeLayout<U>(src, dst, area);
        for (int c = 0; c < channels; ++c) MapChannel<U, U>(src, dst, area, c, Carry<U, U>{});
    });
}

/// Bits to bits. Columns at the same bit other than the first of a byte copy nothing (deliberate).
void CopyBitChannels(const Image& src, const Image& dst, const CopyArea& area, int channels) {
    const int srcBit = area.srcX % 8, dstBit = area.dstX % 8;
    if (srcBit == dstBit && srcBit != 0) return;
    for (int c = 0; c < channels; ++c) {
        withRows<const bool>(src, c, area.srcX, area.srcY, [&](const auto& in) {
            withRows<bool>(dst, c, area.dstX, area.dstY, [&](const auto& out) {
                if (srcBit == 0 && dstBit == 0) {
                    // Whole bytes, the bits behind the last column included.
                    CopyRows(in.origin, in.rowStep, out.origin, out.rowStep, std::size_t(area.width + 7) / 8,
                             area.height);
                    return;
                }
                for (int y = 0; y < area.height; ++y)
                    CopyBits(out.row(y).bytes, in.row(y).bytes, static_cast<unsigned short>(area.width),
                             static_cast<unsigned char>(dstBit), static_cast<unsigned char>(srcBit));
            });
        });
    }
}

/// Destination channels that the source lacks: the first channel again for sub type 0, else zero.
void FillFurtherChannels(const Image& dst, const CopyArea& area, int copied) {
    VisitStored(dst.dataType, [&]<class U>() {
        withRows<const U>(dst, 0, area.dstX, area.dstY, [&](const auto& first) {
            for (int c = copied; c < dst.channels; ++c) {
                withRows<U>(dst, c, area.dstX, area.dstY, [&](const auto& out) {
                    if (GetSubType(&dst) == SubColour)
                        mapRows(first, out, area.width, area.height, Carry<U, U>{});
                    else
                        mapRows(first, out, area.width, area.height, Fill<U>{});
                });
            }
        });
    });
}

}  // namespace

}  // namespace pzel

void CopyImage(Image* src, Image* dst, int srcX, int srcY, int dstX, int dstY, int width, int height,
               unsigned short mode) {
    const auto area = pzel::Clip(*src, *dst, srcX, srcY, dstX, dstY, width, height);
    if (!area || !src->data || !dst->data || src->channels == 0 || dst->channels == 0) return;
    int channels = std::min(src->channels, dst->channels);
    if (GetSubType(src) != GetSubType(dst) && GetSubType(dst) != SubNotSet) {
        if (pzel::hasElements(GetDataType(src)) && pzel::hasElements(GetDataType(dst))) {
            pzel::convertColourModel(*src, *dst, *area);
            if (dst->channels != 3) pzel::FillFurtherChannels(*dst, *area, 1);
        }
    } else {
        pzel::SubTypeChange subType(*dst, GetSubType(src));
        if (GetDataType(src) != GetDataType(dst)) {
            pzel::ConvertChannels(*src, *dst, *area, channels);
        } else if (GetDataType(src) == DataBit) {
            pzel::CopyBitChannels(*src, *dst, *area, channels);
            subType.keep();
            return;  // no border treatment follows bits
        } else {
            pzel::CopyElements(*src, *dst, *area, channels);
        }
        pzel::FillFurtherChannels(*dst, *area, channels);
        subType.keep();
    }
    pzel::treatBorder(*dst, *area, mode);
}

void CopyImage(Image* src, Image* dst, int srcX, int srcY, int dstX, int dstY, int width, int height,
               char mode) {
    CopyImage(src, dst, srcX, srcY, dstX, dstY, width, height,
              static_cast<unsigned short>(static_cast<signed char>(mode)));
}
