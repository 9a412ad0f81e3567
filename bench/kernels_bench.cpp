// One case for each kernel family, through the exported functions, with a memcpy of the same bytes beside it.
// Run: scripts/bench. Compare cases of one run with each other, never runs with runs.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "pzel/pzel.h"

namespace {

struct Free {
    void operator()(Image* image) const { DeleteImage(image); }
};
using ImagePtr = std::unique_ptr<Image, Free>;

constexpr unsigned char kGrey = 1, kColour = 3;

/// Random pixels; floats lie in the full 16-bit range.
ImagePtr MakeImage(int size, unsigned char channels, unsigned char type, bool interleaved) {
    ImagePtr image(NewImage(static_cast<unsigned short>(size), static_cast<unsigned short>(size), channels,
                            type, interleaved));
    std::mt19937 random(1);
    if (type == DataFloat) {
        auto* data = reinterpret_cast<float*>(image->data);
        for (std::uint32_t i = 0; i < GetImageVolume(image.get()); ++i) data[i] = float(random() & 0xFFFF);
    } else {
        for (std::uint32_t i = 0; i < GetImageTotalBytes(image.get()); ++i)
            image->data[i] = static_cast<unsigned char>(random());
    }
    return image;
}

template <class T>
AnyType Element(T value) {
    AnyType any{};
    std::memcpy(&any, &value, sizeof value);
    return any;
}

/// Levels that take part of the range, so that nothing is a plain copy.
void SetLevels(Image* image) {
    switch (GetDataType(image)) {
        case DataUInt8: SetBound(image, Element<std::uint8_t>(10), Element<std::uint8_t>(200)); break;
        case DataUInt16: SetBound(image, Element<std::uint16_t>(1000), Element<std::uint16_t>(50000)); break;
        case DataInt16: SetBound(image, Element<std::int16_t>(-20000), Element<std::int16_t>(20000)); break;
        case DataFloat: SetBound(image, Element(1000.0f), Element(50000.0f)); break;
        default: break;
    }
}

void Report(benchmark::State& state, double pixels, double bytes) {
    state.SetBytesProcessed(std::int64_t(double(state.iterations()) * bytes));
    state.counters["ns/px"] = benchmark::Counter(
        pixels * 1e-9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void MapCase(benchmark::State& state, unsigned char type, unsigned char channels, bool interleaved,
             bool table, unsigned short imageType) {
    const int size = int(state.range(0));
    const ImagePtr image = MakeImage(size, channels, type, interleaved);
    if (channels > 1) SetImageType(image.get(), imageType);
    SetLevels(image.get());
    if (imageType == SubYuv) SetDefaultBound(image.get());
    std::vector<unsigned char> lut(3 * 512);
    for (std::size_t i = 0; i < lut.size(); ++i) lut[i] = static_cast<unsigned char>(255 - (i % 512) / 2);
    const unsigned short row = ComputeBmpLineBytes(size, channels == kColour ? 24 : 8);
    std::vector<unsigned char> bitmap(std::size_t(row) * std::size_t(size));
    for (auto _ : state) {
        MapData(bitmap.data(), row, static_cast<unsigned short>(size), static_cast<unsigned short>(size),
                image.get(), 0, 0, table ? lut.data() : nullptr, 0);
        benchmark::ClobberMemory();
    }
    Report(state, double(size) * size, double(GetImageTotalBytes(image.get())) + double(bitmap.size()));
}

void CopyCase(benchmark::State& state, unsigned char from, bool fromInterleaved, unsigned char to,
              bool toInterleaved, unsigned char channels) {
    const int size = int(state.range(0));
    const ImagePtr source = MakeImage(size, channels, from, fromInterleaved);
    const ImagePtr target = MakeImage(size, channels, to, toInterleaved);
    SetLevels(source.get());
    SetLevels(target.get());
    for (auto _ : state) {
        CopyImage(source.get(), target.get(), 0, 0, 0, 0, size, size, CopyBorderNone);
        benchmark::ClobberMemory();
    }
    Report(state, double(size) * size,
           double(GetImageTotalBytes(source.get())) + double(GetImageTotalBytes(target.get())));
}

void MinMaxCase(benchmark::State& state, unsigned char type) {
    const int size = int(state.range(0));
    const ImagePtr image = MakeImage(size, kGrey, type, true);
    AnyType low, high;
    for (auto _ : state) {
        MinMaxBound(image.get(), &low, &high);
        benchmark::DoNotOptimize(low);
        benchmark::DoNotOptimize(high);
    }
    Report(state, double(size) * size, double(GetImageTotalBytes(image.get())));
}

/// What the memory itself takes for so many bytes read and written.
void MemcpyCase(benchmark::State& state, int bytesPerPixel) {
    const std::size_t bytes =
        std::size_t(state.range(0)) * std::size_t(state.range(0)) * std::size_t(bytesPerPixel);
    std::vector<unsigned char> source(bytes, 1), target(bytes);
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), bytes);
        benchmark::ClobberMemory();
    }
    Report(state, double(state.range(0)) * double(state.range(0)), 2 * double(bytes));
}

void Sizes(benchmark::internal::Benchmark* b) {
    b->Arg(512)->Arg(4096)->Unit(benchmark::kMicrosecond);
}

}  // namespace

#define CASE(function, name, ...) BENCHMARK_CAPTURE(function, name, __VA_ARGS__)->Apply(Sizes)

CASE(MemcpyCase, one_byte, 1);
CASE(MemcpyCase, two_bytes, 2);
CASE(MemcpyCase, three_bytes, 3);
CASE(MapCase, uint8, DataUInt8, kGrey, true, false, SubGrey);
CASE(MapCase, uint16, DataUInt16, kGrey, true, false, SubGrey);
CASE(MapCase, int16, DataInt16, kGrey, true, false, SubGrey);
CASE(MapCase, float, DataFloat, kGrey, true, false, SubGrey);
CASE(MapCase, uint16_table, DataUInt16, kGrey, true, true, SubGrey);
CASE(MapCase, colour8_interleaved, DataUInt8, kColour, true, false, SubColour);
CASE(MapCase, colour8_planar, DataUInt8, kColour, false, false, SubColour);
CASE(MapCase, colour16_planar, DataUInt16, kColour, false, false, SubColour);
CASE(MapCase, yuv8_interleaved, DataUInt8, kColour, true, false, SubYuv);
CASE(MapCase, yuv8_planar, DataUInt8, kColour, false, false, SubYuv);
CASE(MinMaxCase, uint16, DataUInt16);
CASE(MinMaxCase, float, DataFloat);
CASE(CopyCase, uint16_rows, DataUInt16, true, DataUInt16, true, kGrey);
CASE(CopyCase, uint16_to_float, DataUInt16, true, DataFloat, true, kGrey);
CASE(CopyCase, float_to_uint16, DataFloat, true, DataUInt16, true, kGrey);
CASE(CopyCase, colour8_planar_to_interleaved, DataUInt8, false, DataUInt8, true, kColour);
