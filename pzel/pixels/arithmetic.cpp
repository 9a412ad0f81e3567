// Element-wise arithmetic and sums. One loop for each number of operands; the rules are lambdas.
#include "pzel/pixels/arithmetic.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "pzel/image/lifecycle.h"
#include "pzel/loops/instruction_set.h"

namespace {

float* Floats(Image* image) {
    return reinterpret_cast<float*>(image->data);
}

float* Plane(Image* image, int channel) {
    return reinterpret_cast<float*>(GetImageData(image, channel));
}

template <class Rule>
void Transform(float* a, std::size_t n, Rule rule) {
    pzel::onBestSet([=](auto) {
        for (std::size_t i = 0; i < n; ++i) a[i] = rule(a[i]);
    });
}

template <class Rule>
void Transform(float* a, const float* b, std::size_t n, Rule rule) {
    pzel::onBestSet([=](auto) {
        for (std::size_t i = 0; i < n; ++i) a[i] = rule(a[i], b[i]);
    });
}

template <class Rule>
void TransformImage(Image* a, Rule rule) {
    Transform(Floats(a), GetImageVolume(a), rule);
}

template <class Rule>
void TransformImage(Image* a, Image* b, Rule rule) {
    Transform(Floats(a), Floats(b), GetImageVolume(a), rule);
}

template <class Rule>
void TransformChannel(Image* a, Image* b, int ca, int cb, Rule rule) {
    Transform(Plane(a, ca), Plane(b, cb), GetImageSize(a), rule);
}

/// Sums term(0) … term(n - 1) in lanes of double precision that each carry what their additions rounded away
/// (Knuth's two-sum): about twice the digits of a double, and it vectorises.
template <class Term>
long double Sum(std::size_t n, Term term) {
    constexpr std::size_t lanes = 64;
    double sum[lanes] = {}, lost[lanes] = {};
    pzel::onBestSet([=, sums = sum, losses = lost](auto) {
        double total[lanes] = {}, rest[lanes] = {};
        const auto add = [&](std::size_t k, double value) {
            const double next = total[k] + value;
            const double part = next - total[k];
            rest[k] += (total[k] - (next - part)) + (value - part);
            total[k] = next;
        };
        std::size_t i = 0;
        for (; i + lanes <= n; i += lanes)
            for (std::size_t k = 0; k < lanes; ++k) add(k, term(i + k));
        for (std::size_t k = 0; i < n; ++i, ++k) add(k, term(i));
        std::copy_n(total, lanes, sums);
        std::copy_n(rest, lanes, losses);
    });
    long double total = 0, rest = 0;
    for (std::size_t k = 0; k < lanes; ++k) {
        const long double next = total + sum[k];
        const long double part = next - total;
        rest += (total - (next - part)) + (sum[k] - part) + lost[k];
        total = next;
    }
    // Infinities and NaN carry no rest.
    return total - total == 0 ? total + rest : total;
}

/// The sum of the squares of term(0) … term(n - 1) in lanes of plain doubles: as nothing cancels, within
/// 3e-14 of it.
template <class Term>
long double RoughSumOfSquares(std::size_t n, Term term) {
    constexpr std::size_t lanes = 64, block = 256 * lanes;
    long double total = 0;
    for (std::size_t start = 0; start < n; start += block) {
        double sum[lanes];
        pzel::onBestSet([=, end = std::min(start + block, n), sums = +sum](auto) {
            double part[lanes] = {};
            std::size_t i = start;
            for (; i + lanes <= end; i += lanes)
                for (std::size_t k = 0; k < lanes; ++k) part[k] += term(i + k) * term(i + k);
            for (std::size_t k = 0; i < end; ++i, ++k) part[k] += term(i) * term(i);
            std::copy_n(part, lanes, sums);
        });
        for (const double part : sum) total += part;
    }
    return total;
}

/// The sum of the squares of term(0) … term(n - 1), divided. Where the rough sum leaves no doubt how it
/// rounds, the exact one is spared.
template <class Term>
float SumOfSquares(std::size_t n, Term term, long double divisor = 1) {
    if (pzel::takesShortCuts()) {
        constexpr long double doubt = 1e-13L;
        const long double rough = RoughSumOfSquares(n, term);
        const auto least = float(rough * (1 - doubt) / divisor), most = float(rough * (1 + doubt) / divisor);
        if (least == most) return least;
    }
    return float(Sum(n, [=](std::size_t i) { return term(i) * term(i); }) / divisor);
}

}  // namespace

void AddImage(Image* a, Image* b) {
    TransformImage(a, b, [](float x, float y) { return y + x; });
}

void AddImage(Image* a, Image* b, float k) {
    TransformImage(a, b, [k](float x, float y) { return k * y + x; });
}

void SubtractImage(Image* a, Image* b) {
    TransformImage(a, b, [](float x, float y) { return x - y; });
}

void MultiplyImage(Image* a, Image* b) {
    TransformImage(a, b, [](float x, float y) { return y * x; });
}

void MultiplyImage(Image* a, Image* b, float k) {
    TransformImage(a, b, [k](float x, float y) { return k * x * y; });
}

void MultiplyConstant(Image* a, float k) {
    TransformImage(a, [k](float x) { return k * x; });
}

void PlusConst(Image* a, float k) {
    TransformImage(a, [k](float x) { return k + x; });
}

void DivideImage(float c, Image* a, float k) {
    TransformImage(a, [c, k](float x) { return c / (x + k); });
}

void DivideByImage(Image* a, Image* b, float k) {
    TransformImage(a, b, [k](float x, float y) { return x / (y >= 0 ? y + k : y - k); });
}

float SqureSum(Image* a) {
    const float* x = Floats(a);
    return SumOfSquares(GetImageVolume(a), [=](std::size_t i) { return double(x[i]); });
}

float MultipSum(Image* a, Image* b) {
    const float *x = Floats(a), *y = Floats(b);
    return float(Sum(GetImageVolume(a), [=](std::size_t i) { return double(x[i]) * y[i]; }));
}

namespace {

float DifferenceSquares(Image* a, Image* b, long double divisor) {
    const float *x = Floats(a), *y = Floats(b);
    return SumOfSquares(
        GetImageVolume(a), [=](std::size_t i) { return double(y[i]) - x[i]; }, divisor);
}

}  // namespace

float DifferenceSqureSum(Image* a, Image* b) {
    return DifferenceSquares(a, b, 1);
}

float WeightDifferenceSum(Image* a, Image* b, Image* w) {
    const float *x = Floats(a), *y = Floats(b), *weight = Floats(w);
    return float(Sum(GetImageVolume(a), [=](std::size_t i) { return (double(x[i]) - y[i]) * weight[i]; }));
}

float ImageDiffEnergy(Image* a, Image* b) {
    return DifferenceSquares(a, b, static_cast<long double>(GetImageVolume(a)));
}

void CopyCh2Ch(Image* a, Image* b, int ca, int cb) {
    if (a->data && b->data) std::memmove(Plane(b, cb), Plane(a, ca), GetImageSize(a) * sizeof(float));
}

void Ch2ChSubtract(Image* a, Image* b, int ca, int cb) {
    TransformChannel(a, b, ca, cb, [](float x, float y) { return x - y; });
}

void Ch2ChAdd(Image* a, Image* b, int ca, int cb) {
    TransformChannel(a, b, ca, cb, [](float x, float y) { return y + x; });
}

void Ch2ChAdd(Image* a, Image* b, int ca, int cb, float k) {
    TransformChannel(a, b, ca, cb, [k](float x, float y) { return k * y + x; });
}

int Make2Power(int n) {
    if (n <= 4) return n < 1 ? 1 : n;  // 3 stays 3, deliberately
    long long power = 4;
    while (power < n) power *= 2;
    const long long step = 3 * (power / 4);
    constexpr long long largest = 3LL << 29;
    if (power == n) return n;
    return int(n <= step || power > 0x7FFFFFFF ? (step < largest ? step : largest) : power);
}
