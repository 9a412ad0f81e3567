// Whole images and single pixels of any element type: inversion, filling, and a pixel as text.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "pzel/image/bound_entries.h"
#include "pzel/image/element.h"
#include "pzel/image/lifecycle.h"
#include "pzel/image/plane.h"
#include "pzel/pixels/arithmetic.h"

namespace {

constexpr unsigned short kMappingType = 0x0501;

/// What the data of a geometric mapping hold instead of pixels.
struct MappingRecord {
    float m[8];
    std::int32_t kind;  // 0 scale and shift, 1 affine, 2 projective
};

/// A text that ends within kPixelTextBytes.
class Text {
  public:
    explicit Text(char* out) : end(out) { *end = '\0'; }
    template <class... Values>
    void add(const char* format, Values... values) {
        const int wanted = std::snprintf(end, left, format, values...);
        const std::size_t length = std::min(std::size_t(std::max(wanted, 0)), left - 1);
        end += length;
        left -= length;
    }

  private:
    char* end;
    std::size_t left = kPixelTextBytes;
};

void PrintDisplacement(const Image* image, float x, float y, Text& out) {
    MappingRecord record;
    std::memcpy(&record, image->data, sizeof record);
    const float* m = record.m;
    float u = x, v = y;
    switch (record.kind) {
        case 0:
            u = x * m[0] + m[4];
            v = y * m[3] + m[5];
            break;
        case 1:
        case 2: {
            const float w = record.kind == 2 ? x * m[6] + y * m[7] + 1.0f : 1.0f;
            u = (x * m[0] + y * m[2] + m[4]) / w;
            v = (x * m[1] + y * m[3] + m[5]) / w;
            break;
        }
        default: break;  // no displacement
    }
    out.add("%f %f", double(u - x), double(v - y));
}

/// One bit, counted from the least significant one of its byte, unlike everywhere else (deliberate).
int BitValue(const Image* image, int x, int y, int channel) {
    int bit = 0;
    pzel::withRows<const bool>(*image, channel, 0, y,
                               [&](const auto& rows) { bit = rows.row(0).bytes[x / 8] >> (x % 8) & 1; });
    return bit;
}

/// One element read as `type`.
double ElementValue(const Image* image, int type, int x, int y, int channel) {
    double value = 0;
    pzel::visitElement(type, [&]<class T>() {
        pzel::withRows<const T>(*image, channel, x, y,
                                [&](const auto& rows) { value = double(rows.row(0)[0]); });
    });
    return value;
}

/// Up to three numbers, in the given order of channels.
void PrintChannels(const Image* image, int x, int y, const int* order, int count, const char* realFormat,
                   bool signedChroma, Text& out) {
    for (int i = 0; i < count; ++i) {
        const int c = order[i];
        int type = GetDataType(image);
        if (i > 0) out.add("%s", " ");
        if (type == DataFloat) {
            out.add(realFormat, ElementValue(image, type, x, y, c));
            continue;
        }
        if (signedChroma && c > 0)
            type = GetTrueDataType(true, image->channels, c, static_cast<unsigned char>(type));
        if (type == DataUInt32) type = DataInt32;  // printed as what %d makes of it
        const int value =
            type == DataBit ? BitValue(image, x, y, c) : int(ElementValue(image, type, x, y, c));
        out.add("%d", value);
    }
}

}  // namespace

void InvertImage(Image* image) {
    if (!image->data) return;
    if (GetDataType(image) == DataBit) {
        for (std::uint32_t i = 0; i < GetImageTotalBytes(image); ++i)
            image->data[i] = static_cast<unsigned char>(~image->data[i]);
        return;
    }
    pzel::visitElement(GetDataType(image), [&]<class T>() {
        T* data = reinterpret_cast<T*>(image->data);
        const std::size_t n = GetImageVolume(image);
        for (std::size_t i = 0; i < n; ++i) {
            if constexpr (std::is_floating_point_v<T>) {
                data[i] = -data[i];
            } else {
                using U = std::make_unsigned_t<T>;
                const U top = std::is_unsigned_v<T> ? std::numeric_limits<U>::max() : U(0);
                data[i] = T(U(top - U(data[i])));
            }
        }
    });
}

void printData(Image* image, int x, int y, char* out) {
    Text text(out);
    if (!image->data) return;
    if (GetImageType(image) == kMappingType) return PrintDisplacement(image, float(x), float(y), text);
    if (!pzel::hasElements(GetDataType(image))) return;
    static constexpr int forward[] = {0, 1, 2}, backward[] = {2, 1, 0};
    if (image->channels >= 3 && GetSubType(image) == SubColour)
        PrintChannels(image, x, y, backward, 3, "%.3f", false, text);
    else
        PrintChannels(image, x, y, forward, image->channels < 3 ? image->channels : 3, "%f",
                      image->channels >= 3, text);
}

void FillData(Image* image, AnyType* values) {
    if (image->channels == 3) std::swap(values[0], values[2]);
    if (!image->data) return;
    if (GetDataType(image) == DataBit) {
        std::memset(image->data, values[0].uint8 ? 0xFF : 0, GetImageTotalBytes(image));
        return;
    }
    pzel::visitElement(GetDataType(image), [&]<class T>() {
        for (int c = 0; c < image->channels; ++c) {
            T value;
            std::memcpy(&value, &values[c], sizeof value);
            pzel::withRows<T>(*image, c, 0, 0, [&](const auto& rows) {
                pzel::mapRows(rows, rows, image->width, image->height, pzel::Fill<T>{value});
            });
        }
    });
}
