// Block copy, averaging and add: the pieces of MPEG-style motion
// compensation. Each half-sample operation is a table of eight kernels, one
// per (acc, rounding) pair, so the per-sample loops carry no branch on the
// position: index (rounding & 1) + 2 * (acc & 3), entries 0 and 1 alike.
#include "core/path.h"
#include "core/simd.h"

namespace vexo::VEXO_PATH {
namespace {

using CopyKernel = void (*)(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep);
using AddKernel = void (*)(const Vexo16s* res, Vexo32s resStep, const Vexo8u* ref, Vexo32s refStep, Vexo8u* dst,
                           Vexo32s dstStep);

inline Vexo8u clampByte(Vexo32s v) { return Vexo8u(v < 0 ? 0 : v > 255 ? 255 : v); }

inline const Vexo16s* rowOf(const Vexo16s* base, Vexo32s stepBytes, int y) {
    return reinterpret_cast<const Vexo16s*>(reinterpret_cast<const Vexo8u*>(base) + std::ptrdiff_t(y) * stepBytes);
}

// The half-sample value at p: a, with b to its right and c, d below.
template <int Acc, int Rnd>
inline Vexo32s halfSampleValue(const Vexo8u* p, Vexo32s step) {
    if constexpr (Acc == 0) {
        return p[0];
    } else if constexpr (Acc == 1) {
        return (p[0] + p[1] + 1 - Rnd) >> 1;
    } else if constexpr (Acc == 2) {
        return (p[0] + p[step] + 1 - Rnd) >> 1;
    } else {
        return (p[0] + p[1] + p[step] + p[step + 1] + 2 - Rnd) >> 2;
    }
}

#if VEXO_LEVEL >= VEXO_LEVEL_W7
using namespace simd;

template <int W>
inline __m128i loadRow(const Vexo8u* p) {
    if constexpr (W == 8) return load8(p);
    else return load16(p);
}
template <int W>
inline void storeRow(Vexo8u* p, __m128i v) {
    if constexpr (W == 8) store8(p, v);
    else store16(p, v);
}

// Four-sample sum for both directions: 16-bit lanes keep the exact
// (a + b + c + d + 2 - r) >> 2 that byte averages cannot.
struct PairSums {
    __m128i lo, hi;
};
template <int W>
inline PairSums horizontalPairSums(const Vexo8u* p) {
    const __m128i a = loadRow<W>(p), b = loadRow<W>(p + 1);
    PairSums s{_mm_add_epi16(widenLow(a), widenLow(b)), _mm_setzero_si128()};
    if constexpr (W == 16) s.hi = _mm_add_epi16(widenHigh(a), widenHigh(b));
    return s;
}
template <int W, int Rnd>
inline __m128i quarterAverage(const PairSums& top, const PairSums& bottom) {
    const __m128i bias = _mm_set1_epi16(2 - Rnd);
    const __m128i lo = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(top.lo, bottom.lo), bias), 2);
    if constexpr (W == 8) return _mm_packus_epi16(lo, lo);
    const __m128i hi = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(top.hi, bottom.hi), bias), 2);
    return _mm_packus_epi16(lo, hi);
}
template <int Rnd>
inline __m128i pairAverage(__m128i a, __m128i b) {
    if constexpr (Rnd == 0) return avgUp(a, b);
    else return avgDown(a, b);
}

// Calls rowFn(y, halfSampleRow) for each row of the block.
template <int W, int H, int Acc, int Rnd, class RowFn>
inline void forEachHalfSampleRow(const Vexo8u* src, Vexo32s srcStep, RowFn rowFn) {
    if constexpr (Acc == 0) {
        for (int y = 0; y < H; ++y) rowFn(y, loadRow<W>(src + std::ptrdiff_t(y) * srcStep));
    } else if constexpr (Acc == 1) {
        for (int y = 0; y < H; ++y) {
            const Vexo8u* p = src + std::ptrdiff_t(y) * srcStep;
            rowFn(y, pairAverage<Rnd>(loadRow<W>(p), loadRow<W>(p + 1)));
        }
    } else if constexpr (Acc == 2) {
        __m128i above = loadRow<W>(src);
        for (int y = 0; y < H; ++y) {
            const __m128i below = loadRow<W>(src + std::ptrdiff_t(y + 1) * srcStep);
            rowFn(y, pairAverage<Rnd>(above, below));
            above = below;
        }
    } else {
        PairSums above = horizontalPairSums<W>(src);
        for (int y = 0; y < H; ++y) {
            const PairSums below = horizontalPairSums<W>(src + std::ptrdiff_t(y + 1) * srcStep);
            rowFn(y, quarterAverage<W, Rnd>(above, below));
            above = below;
        }
    }
}
#endif

template <int W, int H, int Acc, int Rnd>
void copyHalfSample(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    forEachHalfSampleRow<W, H, Acc, Rnd>(
        src, srcStep, [=](int y, __m128i row) { storeRow<W>(dst + std::ptrdiff_t(y) * dstStep, row); });
#else
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x)
            dst[y * dstStep + x] = Vexo8u(halfSampleValue<Acc, Rnd>(src + y * srcStep + x, srcStep));
#endif
}

template <int W, int H, int Acc, int Rnd>
void averageHalfSample(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst, Vexo32s srcDstStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    forEachHalfSampleRow<W, H, Acc, Rnd>(src, srcStep, [=](int y, __m128i row) {
        Vexo8u* d = srcDst + std::ptrdiff_t(y) * srcDstStep;
        storeRow<W>(d, avgUp(row, loadRow<W>(d)));
    });
#else
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            Vexo8u& d = srcDst[y * srcDstStep + x];
            d = Vexo8u((halfSampleValue<Acc, Rnd>(src + y * srcStep + x, srcStep) + d + 1) >> 1);
        }
    }
#endif
}

template <int Acc, int Rnd>
void addHalfSample8x8(const Vexo16s* res, Vexo32s resStep, const Vexo8u* ref, Vexo32s refStep, Vexo8u* dst,
                      Vexo32s dstStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    forEachHalfSampleRow<8, 8, Acc, Rnd>(ref, refStep, [=](int y, __m128i row) {
        // Saturating 16-bit add then unsigned pack is the clamp to 0..255:
        // the sample is 0..255, so saturation keeps the sign of the true sum.
        const __m128i sum = _mm_adds_epi16(widenLow(row), load16(rowOf(res, resStep, y)));
        store8(dst + std::ptrdiff_t(y) * dstStep, _mm_packus_epi16(sum, sum));
    });
#else
    for (int y = 0; y < 8; ++y) {
        const Vexo16s* r = rowOf(res, resStep, y);
        for (int x = 0; x < 8; ++x)
            dst[y * dstStep + x] = clampByte(halfSampleValue<Acc, Rnd>(ref + y * refStep + x, refStep) + r[x]);
    }
#endif
}

template <int W, int H>
void average(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step, Vexo8u* dst,
             Vexo32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const Vexo8u* a = src1 + std::ptrdiff_t(y) * src1Step;
        const Vexo8u* b = src2 + std::ptrdiff_t(y) * src2Step;
        Vexo8u* d = dst + std::ptrdiff_t(y) * dstStep;
#if VEXO_LEVEL >= VEXO_LEVEL_W7
        storeRow<W>(d, avgUp(loadRow<W>(a), loadRow<W>(b)));
#else
        for (int x = 0; x < W; ++x) d[x] = Vexo8u((a[x] + b[x] + 1) >> 1);
#endif
    }
}

#define VEXO_EIGHT_KERNELS(kernel, ...)                                                              \
    {                                                                                                \
        kernel<__VA_ARGS__, 0, 0>, kernel<__VA_ARGS__, 0, 0>, kernel<__VA_ARGS__, 1, 0>,             \
            kernel<__VA_ARGS__, 1, 1>, kernel<__VA_ARGS__, 2, 0>, kernel<__VA_ARGS__, 2, 1>,         \
            kernel<__VA_ARGS__, 3, 0>, kernel<__VA_ARGS__, 3, 1>                                     \
    }

const CopyKernel kCopy8x4[8] = VEXO_EIGHT_KERNELS(copyHalfSample, 8, 4);
const CopyKernel kCopy8x8[8] = VEXO_EIGHT_KERNELS(copyHalfSample, 8, 8);
const CopyKernel kCopy16x8[8] = VEXO_EIGHT_KERNELS(copyHalfSample, 16, 8);
const CopyKernel kCopy16x16[8] = VEXO_EIGHT_KERNELS(copyHalfSample, 16, 16);
const CopyKernel kAverage8x4[8] = VEXO_EIGHT_KERNELS(averageHalfSample, 8, 4);
const CopyKernel kAverage8x8[8] = VEXO_EIGHT_KERNELS(averageHalfSample, 8, 8);
const CopyKernel kAverage16x8[8] = VEXO_EIGHT_KERNELS(averageHalfSample, 16, 8);
const CopyKernel kAverage16x16[8] = VEXO_EIGHT_KERNELS(averageHalfSample, 16, 16);
const AddKernel kAdd8x8[8] = {addHalfSample8x8<0, 0>, addHalfSample8x8<0, 0>, addHalfSample8x8<1, 0>,
                              addHalfSample8x8<1, 1>, addHalfSample8x8<2, 0>, addHalfSample8x8<2, 1>,
                              addHalfSample8x8<3, 0>, addHalfSample8x8<3, 1>};
#undef VEXO_EIGHT_KERNELS

inline int kernelIndex(Vexo32s acc, Vexo32s rounding) { return (rounding & 1) + 2 * (acc & 3); }

inline VexoStatus runCopy(const CopyKernel* table, const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst,
                          Vexo32s dstStep, Vexo32s acc, Vexo32s rounding) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    table[kernelIndex(acc, rounding)](src, srcStep, dst, dstStep);
    return vexoStatusOk;
}

}  // namespace

VexoStatus vexoCopy8x8_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep) {
    return runCopy(kCopy8x8, src, srcStep, dst, dstStep, 0, 0);
}
VexoStatus vexoCopy16x16_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep) {
    return runCopy(kCopy16x16, src, srcStep, dst, dstStep, 0, 0);
}
VexoStatus vexoCopy8x4HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                Vexo32s rounding) {
    return runCopy(kCopy8x4, src, srcStep, dst, dstStep, acc, rounding);
}
VexoStatus vexoCopy8x8HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                Vexo32s rounding) {
    return runCopy(kCopy8x8, src, srcStep, dst, dstStep, acc, rounding);
}
VexoStatus vexoCopy16x8HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                 Vexo32s rounding) {
    return runCopy(kCopy16x8, src, srcStep, dst, dstStep, acc, rounding);
}
VexoStatus vexoCopy16x16HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                  Vexo32s rounding) {
    return runCopy(kCopy16x16, src, srcStep, dst, dstStep, acc, rounding);
}

VexoStatus vexoAverage8x8_8u_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                 Vexo8u* dst, Vexo32s dstStep) {
    if (src1 == nullptr || src2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    average<8, 8>(src1, src1Step, src2, src2Step, dst, dstStep);
    return vexoStatusOk;
}
VexoStatus vexoAverage16x16_8u_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                   Vexo8u* dst, Vexo32s dstStep) {
    if (src1 == nullptr || src2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    average<16, 16>(src1, src1Step, src2, src2Step, dst, dstStep);
    return vexoStatusOk;
}
VexoStatus vexoAverage8x8_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst, Vexo32s srcDstStep) {
    return runCopy(kAverage8x8, src, srcStep, srcDst, srcDstStep, 0, 0);
}
VexoStatus vexoAverage16x16_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst, Vexo32s srcDstStep) {
    return runCopy(kAverage16x16, src, srcStep, srcDst, srcDstStep, 0, 0);
}

VexoStatus vexoInterpolateAverage8x4_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                             Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding) {
    return runCopy(kAverage8x4, src, srcStep, srcDst, srcDstStep, acc, rounding);
}
VexoStatus vexoInterpolateAverage8x8_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                             Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding) {
    return runCopy(kAverage8x8, src, srcStep, srcDst, srcDstStep, acc, rounding);
}
VexoStatus vexoInterpolateAverage16x8_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                              Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding) {
    return runCopy(kAverage16x8, src, srcStep, srcDst, srcDstStep, acc, rounding);
}
VexoStatus vexoInterpolateAverage16x16_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                               Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding) {
    return runCopy(kAverage16x16, src, srcStep, srcDst, srcDstStep, acc, rounding);
}

VexoStatus vexoAdd8x8_16s8u_C1IRS(const Vexo16s* src, Vexo32s srcStep, Vexo8u* srcDst, Vexo32s srcDstStep) {
    if (src == nullptr || srcDst == nullptr) return vexoStatusNullPointer;
    kAdd8x8[0](src, srcStep, srcDst, srcDstStep, srcDst, srcDstStep);
    return vexoStatusOk;
}

VexoStatus vexoAdd8x8HP_16s8u_C1RS(const Vexo16s* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo8u* dst, Vexo32s dstStep, Vexo32s acc, Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    kAdd8x8[kernelIndex(acc, rounding)](src, srcStep, ref, refStep, dst, dstStep);
    return vexoStatusOk;
}

VexoStatus vexoAddC8x8_16s8u_C1IR(Vexo16s value, Vexo8u* srcDst, Vexo32s srcDstStep) {
    if (srcDst == nullptr) return vexoStatusNullPointer;
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    const __m128i v = _mm_set1_epi16(value);
    for (int y = 0; y < 8; ++y) {
        Vexo8u* d = srcDst + std::ptrdiff_t(y) * srcDstStep;
        const __m128i sum = _mm_adds_epi16(widenLow(load8(d)), v);
        store8(d, _mm_packus_epi16(sum, sum));
    }
#else
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) srcDst[y * srcDstStep + x] = clampByte(srcDst[y * srcDstStep + x] + value);
#endif
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH
