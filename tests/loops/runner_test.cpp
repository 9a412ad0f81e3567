// Calls that are divided into tasks: the same bytes as in one piece, whatever the runner does with the tasks;
// a runner that throws; remappers of the host, which stay on the calling thread. Hunts ranges that overlap or
// leave rows out, what is made lazily by several tasks, and results that depend on the order of tasks. Small
// calls, and sequences of them, are divided in tests/fuzz.
#include "pzel/loops/runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "pzel/pzel.h"
#include "tests/support/curve.h"
#include "tests/support/images.h"

namespace {

using test::Bytes;
using test::Random;

int largest = 0;  // number of tasks that a runner was given

void shuffled(int count, Zel::Task task, void* work) {
    largest = std::max(largest, count);
    std::vector<int> order(static_cast<std::size_t>(count));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(static_cast<unsigned>(count)));
    for (const int i : order) task(work, i);
}

void onThreads(int count, Zel::Task task, void* work) {
    std::atomic<int> next = 0;
    const auto take = [&] {
        for (int i; (i = next++) < count;) task(work, i);
    };
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i) threads.emplace_back(take);
    take();
}

/// Installs a runner for a while.
struct With {
    explicit With(Zel::Runner runner) : before(Zel::SetRunner(runner)) {}
    ~With() { Zel::SetRunner(before); }
    Zel::Runner before;
};

struct Gamma final : test::Curve {
    bool IsIdentity(int channel) const override { return ask(), channel == 1; }
    float Remap(float v, int) const override { return ask(), v * v * (2 - v); }
    void ask() const { elsewhere = elsewhere || std::this_thread::get_id() != home; }
    std::thread::id home = std::this_thread::get_id();
    mutable bool elsewhere = false;
};

constexpr int kWidth = 1301, kHeight = 560;  // more than two tasks of three channels

struct Picture {
    Picture(int type, int channels, bool interleaved, int sub = SubColour) {
        ConstructImage(image, kWidth, kHeight, static_cast<unsigned short>(channels), nullptr,
                       static_cast<unsigned short>(type), interleaved, true);
        SetSubType(&image, static_cast<unsigned short>(channels == 1 ? SubGrey : sub));
        CheckDataArray(&image);
        std::uint32_t state = 1;
        const auto next = [&] { return (state = state * 1664525 + 1013904223) >> 16; };
        if (type == DataFloat) {
            for (std::size_t i = 0; i < GetImageVolume(&image); ++i)
                reinterpret_cast<float*>(image.data)[i] = static_cast<float>(next() % 1000) * 0.5f - 150;
            reinterpret_cast<float*>(image.data)[1234] = std::numeric_limits<float>::quiet_NaN();
        } else {
            for (std::size_t i = 0; i < GetImageTotalBytes(&image); ++i) image.data[i] = test::u8(next());
        }
    }
    Picture(const Picture&) = delete;
    ~Picture() { CleanupImage(&image); }
    Bytes bytes() const { return Bytes(image.data, image.data + GetImageTotalBytes(&image)); }
    Image image{};
};

template <class T>
void append(Bytes& bytes, const T& value) {
    const auto* from = reinterpret_cast<const unsigned char*>(&value);
    bytes.insert(bytes.end(), from, from + sizeof value);
}

enum class Divided { Yes, No, Perhaps };

/// What an operation makes has to be the same with every runner.
void expectSame(const char* what, const std::function<Bytes()>& make, Divided divided = Divided::Yes) {
    const Bytes alone = make();
    largest = 0;
    for (const Zel::Runner runner : {shuffled, onThreads}) {
        const With installed(runner);
        EXPECT_TRUE(test::same(make(), alone)) << what;
    }
    if (divided == Divided::Perhaps) return;
    EXPECT_EQ(largest > 1, divided == Divided::Yes) << what;
}

Bytes table() {
    Bytes bytes(3 * 512);
    Random(5).fill(bytes.data(), bytes.size());
    return bytes;
}

/// The display bytes of a picture in rows of `rowBytes` bytes.
Bytes shown(const Picture& picture, const unsigned char* lut, int rowBytes, unsigned char mode = 0) {
    Bytes bytes(static_cast<std::size_t>(kHeight + 4) * static_cast<std::size_t>(rowBytes) + 3 * kWidth);
    MapData(bytes.data(), static_cast<unsigned short>(rowBytes), kWidth, kHeight,
            const_cast<Image*>(&picture.image), 0, 0, lut, mode);
    return bytes;
}

TEST(Runner, DisplayHasTheSameBytes) {
    const Bytes lut = table();
    for (const int type : {DataUInt8, DataUInt16, DataInt16, DataFloat}) {
        for (const bool interleaved : {true, false}) {
            for (const int sub : {SubColour, SubYuv}) {
                for (const unsigned char* one : {static_cast<const unsigned char*>(nullptr), lut.data()})
                    expectSame("colour", [&] {
                        return shown(Picture(type, 3, interleaved, sub), one, 3 * kWidth + 1);
                    });
            }
            expectSame("levels of hue", [&] {
                Picture picture(type, 3, interleaved);
                SwitchBoundType(&picture.image, BoundData, BoundHsi);
                return shown(picture, lut.data(), 3 * kWidth);
            });
        }
    }
    expectSame("a table of floats", [&] { return shown(Picture(DataFloat, 1, true), lut.data(), kWidth); });
    expectSame("a channel", [&] { return shown(Picture(DataUInt8, 3, true), nullptr, kWidth, 0x80); });
    // Rows that run into each other depend on their order.
    expectSame(
        "narrow rows", [&] { return shown(Picture(DataUInt8, 3, true), nullptr, 3 * kWidth - 1); },
        Divided::No);
}

TEST(Runner, CopiesHaveTheSameBytes) {
    const int types[] = {DataBit, DataUInt8, DataInt8, DataUInt16, DataInt16, DataFloat};
    for (const int from : types) {
        for (const int to : types) {
            if (from == to) continue;
            expectSame("conversion", [&] {
                const Picture source(from, 3, from % 2 == 0);
                Picture copy(to, 3, true);
                SetDefaultBound(&copy.image);
                CopyImage(const_cast<Image*>(&source.image), &copy.image, 3, 2, 8, 1, kWidth, kHeight,
                          static_cast<unsigned short>(CopyBorderExtend));
                return copy.bytes();
            });
        }
        expectSame("colour model", [&] {
            const Picture source(DataUInt16, 3, true, SubYuv);
            Picture copy(from, 3, false);
            CopyImage(const_cast<Image*>(&source.image), &copy.image, 0, 0, 0, 0, kWidth, kHeight,
                      static_cast<unsigned short>(CopyBorderNone));
            return copy.bytes();
        });
    }
    for (const bool interleaved : {true, false}) {
        expectSame("YUV", [&] {
            Picture source(DataUInt16, 3, interleaved), copy(DataFloat, 3, interleaved);
            Conversion(&copy.image, &source.image, ConversionToYuv);
            return copy.bytes();
        });
    }
    // Interleaved channels are walked like planes: each value is changed several times, in turn.
    expectSame(
        "interleaved YUV in place",
        [&] {
            Picture picture(DataFloat, 3, true);
            Conversion(&picture.image, ConversionToRgb);
            return picture.bytes();
        },
        Divided::No);
}

TEST(Runner, RemappersStayOnTheirThread) {
    const char* const set = std::getenv("PZEL_INSTRUCTION_SET");
    const bool plain = set && std::string(set) == "reference";  // nothing is sampled
    for (const int type : {DataUInt8, DataUInt16, DataFloat}) {
        const Divided joint =
            type != DataUInt8 ? Divided::No
            : plain           ? Divided::Perhaps
                    : Divided::Yes;  // tables and samples are asked beforehand, single values are not
        for (const bool interleaved : {true, false}) {
            expectSame(
                "joint remapping",
                [&] {
                    Picture picture(type, 3, interleaved);
                    Gamma gamma;
                    ConvertAllDataToRGB(&picture.image, &gamma);
                    EXPECT_FALSE(gamma.elsewhere);
                    return picture.bytes();
                },
                joint);
            expectSame(
                "remapping",
                [&] {
                    Picture picture(type, 3, interleaved);
                    Gamma gamma;
                    ConvertImage(&picture.image, &gamma);
                    EXPECT_FALSE(gamma.elsewhere);
                    return picture.bytes();
                },
                interleaved ? Divided::Yes : Divided::Perhaps);
        }
    }
}

TEST(Runner, ReductionsHaveTheSameBytes) {
    for (const int type : {DataUInt8, DataInt16, DataInt32, DataFloat}) {
        for (const bool interleaved : {true, false}) {
            Picture picture(type, 3, interleaved);
            expectSame(
                "statistics",
                [&] {
                    Histogram counted(300), ranged(-20, 2000, 77);
                    counted.Add(&picture.image);
                    counted.Add(&picture.image, {1, 1, 1200, 530, 1});
                    ranged.Add(&picture.image);
                    Bytes bytes;
                    for (const Histogram* one : {&counted, &ranged}) {
                        const ValueStatistics values = one->GetStatistics();
                        for (const double v :
                             {values.sum, values.mean, values.deviation, values.minimum, values.maximum})
                            append(bytes, v);
                        for (int bin = 0; bin < one->GetNumbBins(); ++bin) append(bytes, one->GetCount(bin));
                    }
                    return bytes;
                },
                type == DataInt16 ? Divided::Perhaps : Divided::Yes);
        }
    }
    // Which zero is the least of many depends on where they stand.
    std::vector<float> zeros(5000011, 0.0f);
    Random random(3);
    for (int i = 0; i < 3000; ++i)
        zeros[static_cast<std::size_t>(random(1, 5000010))] = random.coin() ? -0.0f : 2.0f;
    for (const float first : {1.0f, 0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN()}) {
        zeros[0] = first;
        expectSame("minimum of floats", [&] {
            Picture picture(DataFloat, 3, true);
            std::copy_n(zeros.begin(), GetImageVolume(&picture.image),
                        reinterpret_cast<float*>(picture.image.data));
            Bytes bytes(2 * sizeof(float));
            MinMaxBound(&picture.image, bytes.data(), bytes.data() + sizeof(float));
            return bytes;
        });
    }
    expectSame("minimum of bytes", [&] {
        unsigned char ends[2];
        MinMaxUChar(reinterpret_cast<unsigned char*>(zeros.data()), 20000001, ends, ends + 1);
        return Bytes(ends, ends + 2);
    });
}

TEST(Runner, BitmapsHaveTheSameBytes) {
    const Picture colour(DataUInt8, 3, true), grey(DataUInt8, 1, true);
    Bytes bits(static_cast<std::size_t>(kHeight) * 2 * 164);
    Random(8).fill(bits.data(), bits.size());
    const BgrColour ink{1, 200, 30};
    constexpr signed char zooms[] = {1, 2, -2};
    for (const signed char zoom : zooms) {
        const BitmapSource pixels{colour.image.data, 3 * kWidth, kWidth, kHeight, 0, 0, 0, 0},
            entries{grey.image.data, kWidth, kWidth, kHeight, 0, 0, 0, 0},
            mask{bits.data(), 164, kWidth, kHeight, 0, 0, 0, 0},
            edges{bits.data(), 328, kWidth, kHeight, 0, 0, 0, 0};
        const auto over = [&](int rowBytes, auto&& draw) {
            return [&zoom, rowBytes, draw] {
                Bytes out(static_cast<std::size_t>(rowBytes) * 2000 + 9000, 7);
                draw(BitmapDestination{out.data(), rowBytes, 2700, 2000}, zoom);
                return out;
            };
        };
        const int wide = 3 * 2700;
        const Divided divided = zoom < 0 ? Divided::Perhaps : Divided::Yes;
        expectSame("copy", over(wide, [&](auto to, auto z) { CopyBitmap(to, pixels, z, z, 24); }), divided);
        expectSame("blend",
                   over(wide, [&](auto to, auto z) { AddTransparentBitmap(to, pixels, z, z, 24, 40); }),
                   divided);
        expectSame("entries",
                   over(wide, [&](auto to, auto z) { CopyBitmap8To24(to, entries, z, z, nullptr); }),
                   divided);
        expectSame("mask",
                   over(2700, [&](auto to, auto z) { DisplayMask(to, mask, z, z, 8, 90, nullptr, 30); }),
                   divided);
        expectSame("edges", over(wide, [&](auto to, auto z) { AddBoundaryTo24(to, edges, z, z, ink); }),
                   divided);
        expectSame("bits", over(340, [&](auto to, auto z) { CopyBitTo1(to, mask, z, z); }), divided);
        expectSame("narrow rows", over(500, [&](auto to, auto z) { CopyBitmap(to, pixels, z, z, 24); }),
                   Divided::No);
    }
}

TEST(Runner, MayThrow) {
    Comp* const comp = AllocComp(1);
    ConstructImage(*comp->images, kWidth, kHeight, 3, nullptr, DataFloat, true, true);
    CheckDataArray(comp->images);
    ClearImage(comp->images);
    comp->ComputeBitmap(0);
    const unsigned char* const before = comp->bitmap;
    comp->flagsA |= CompBitmapOutOfDate;
    {
        const With installed([](int count, Zel::Task task, void* work) {
            for (int i = 1; i < count; i += 2) task(work, i);
            throw std::runtime_error("no");
        });
        EXPECT_THROW(comp->ComputeBitmap(0), std::runtime_error);
        EXPECT_EQ(comp->bitmap, before);
        EXPECT_TRUE(comp->flagsA & CompBitmapOutOfDate);
        Histogram counted(10);
        EXPECT_THROW(counted.Add(comp->images), std::runtime_error);
        EXPECT_EQ(counted.GetStatistics().count, 0u);
    }
    comp->ComputeBitmap(0);
    EXPECT_FALSE(comp->flagsA & CompBitmapOutOfDate);
    comp->Release();
}

}  // namespace
