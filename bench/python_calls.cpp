// What the calls of the package's benchmark cost in C++, in nanoseconds: a name and a number a line.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "pzel/pzel.h"

namespace {

template <class Call>
void tell(const char* name, Call call) {
    constexpr int kSeries = 200, kCalls = 2000;
    double best = 1e9;
    for (int i = 0; i < kSeries; ++i) {
        const auto start = std::chrono::steady_clock::now();
        for (int j = 0; j < kCalls; ++j) call();
        const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count() / kCalls);
    }
    std::printf("%s %.1f\n", name, best);
}

}  // namespace

int main() {
    Comp* const comp = AllocComp(1);
    Image* const image = comp->GetCurrentImage();
    ConstructImage(*image, 8, 8, 1, nullptr, DataUInt16, true, true);
    CheckDataArray(image);
    ClearImage(image);
    ComputeBound(image);
    unsigned char rows[64];
    volatile double sink = 0;
    tell("map", [&] { MapData(rows, 8, 8, 8, image, 0, 0, nullptr, 0); });
    tell("levels", [&] { sink = comp->GetBlackWhite(0).white; });
    tell("width", [&] { sink = image->width; });
    comp->Release();
    return sink < 0;
}
