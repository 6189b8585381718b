// Block statistics for mode decision: squared differences against a
// (half-sample) reference, variance and mean, residual statistics, mean
// absolute deviation, zero counts and edge counts.
//
// Reference values at a half-sample position follow one rule: a, or
// (a + c + 1) >> 1 down, (a + b + 1) >> 1 right, (a + b + c + d + 2) >> 2 both
// ways. Each position is its own kernel (template parameter Mc = 0, 4, 8, 12),
// picked once per call from a table, so no loop branches on the position.
#include "core/path.h"
#include "core/simd.h"

// Exports and table kernels start on a cache line: the same instructions in
// two paths otherwise time differently by where the linker happens to put them.
#define VEXO_LINE_ALIGNED __attribute__((aligned(64)))

namespace vexo::VEXO_PATH {
namespace {

inline std::ptrdiff_t offsetOf(int y, Vexo32s step) { return std::ptrdiff_t(y) * step; }

template <class T>
inline const T* rowAt(const T* base, Vexo32s stepBytes, int y) {
    return reinterpret_cast<const T*>(reinterpret_cast<const Vexo8u*>(base) + offsetOf(y, stepBytes));
}

inline Vexo32s magnitude(Vexo32s v) { return v < 0 ? -v : v; }

// The reference value at p for position Mc, b to the right of a, c below.
template <int Mc>
inline Vexo32s referenceValue(const Vexo8u* p, Vexo32s step) {
    if constexpr (Mc == 0) {
        return p[0];
    } else if constexpr (Mc == 4) {
        return (p[0] + p[step] + 1) >> 1;
    } else if constexpr (Mc == 8) {
        return (p[0] + p[1] + 1) >> 1;
    } else {
        return (p[0] + p[1] + p[step] + p[step + 1] + 2) >> 2;
    }
}

// Signed 32-bit results that the interface lets wrap: computed on the
// unsigned words so that the wrap is defined.
inline Vexo32s wrapSub(Vexo32s a, Vexo32s b) { return Vexo32s(Vexo32u(a) - Vexo32u(b)); }
inline Vexo32s wrapMul(Vexo32s a, Vexo32s b) { return Vexo32s(Vexo32u(a) * Vexo32u(b)); }

#if VEXO_LEVEL >= VEXO_LEVEL_W7
using namespace simd;

template <int W>
inline __m128i loadRow(const Vexo8u* p) {
    if constexpr (W == 4) return load4(p);
    else if constexpr (W == 8) return load8(p);
    else return load16(p);
}

// Vector constants, read from this path's own tables. Left alone, the
// compiler rebuilds repeated-element constants from general registers under
// AVX tuning, three instructions where a load (usually folded) costs nothing.
#define VEXO_PAIRS4(a, b) a, b, a, b, a, b, a, b
#define VEXO_PAIRS16(a, b) VEXO_PAIRS4(a, b), VEXO_PAIRS4(a, b), VEXO_PAIRS4(a, b), VEXO_PAIRS4(a, b)
alignas(32) const Vexo8u kOneBytes[32] = {VEXO_PAIRS16(1, 1)};
alignas(32) const Vexo8u kOneWords[32] = {VEXO_PAIRS16(1, 0)};
alignas(32) const Vexo8u kPlusMinus[32] = {VEXO_PAIRS16(1, 0xFF)};  // bytes +1, -1: s - r of interleaved s, r
#undef VEXO_PAIRS16
#undef VEXO_PAIRS4

inline const void* opaque(const void* p) {
#if VEXO_LEVEL >= VEXO_LEVEL_G9
    __asm__("" : "+r"(p));  // the compiler may not know the value
#endif
    return p;
}
inline __m128i constant128(const Vexo8u* table) { return _mm_load_si128(static_cast<const __m128i*>(opaque(table))); }

// Two 8-byte rows in one register, the first low. Written as movhps: left
// to itself the compiler picks pinsrq where SSE4.1 allows, one more micro-op.
inline __m128i loadTwoRows8(const Vexo8u* first, const Vexo8u* second) {
    return _mm_castpd_si128(_mm_loadh_pd(_mm_castsi128_pd(load8(first)), reinterpret_cast<const double*>(second)));
}

inline __m128i absDiffBytes(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

// The last step of a horizontal sum in general registers where there are
// 64-bit ones: it runs beside the vector work instead of after it.
inline Vexo32s sumOfDwords(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
#if defined(__x86_64__)
    const std::uint64_t pair = std::uint64_t(_mm_cvtsi128_si64(v));
    return Vexo32s(Vexo32u(pair) + Vexo32u(pair >> 32));
#else
    return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_shuffle_epi32(v, 0xB1)));
#endif
}
// psadbw results: one sum in each 64-bit half.
inline Vexo32s sumOfHalves(__m128i v) { return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_unpackhi_epi64(v, v))); }

#if VEXO_LEVEL >= VEXO_LEVEL_H9
inline Vexo32s sumOfDwords(__m256i v) {
    return sumOfDwords(_mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
}
#endif

// Successive rows of reference values, W bytes each. The both-ways position
// works on bytes: with x, y the rounded-up pair averages of the rows above
// and below, (x + y + 1) >> 1 is one too high exactly when x + y is odd and
// either pair had an odd sum, which the pair xors tell.
template <int W, int Mc>
class ReferenceRows {
public:
    ReferenceRows(const Vexo8u* ref, Vexo32s step) : p_(ref), step_(step) {
        if constexpr (Mc == 4) above_ = loadRow<W>(p_);
        if constexpr (Mc == 12) pairOf(p_, above_, aboveOdd_);
    }
    __m128i next() {
        if constexpr (Mc == 0) {
            const __m128i v = loadRow<W>(p_);
            p_ += step_;
            return v;
        } else if constexpr (Mc == 8) {
            const __m128i v = _mm_avg_epu8(loadRow<W>(p_), loadRow<W>(p_ + 1));
            p_ += step_;
            return v;
        } else if constexpr (Mc == 4) {
            p_ += step_;
            const __m128i below = loadRow<W>(p_);
            const __m128i v = _mm_avg_epu8(above_, below);
            above_ = below;
            return v;
        } else {
            p_ += step_;
            __m128i below, belowOdd;
            pairOf(p_, below, belowOdd);
            const __m128i odd = _mm_and_si128(_mm_and_si128(_mm_xor_si128(above_, below), _mm_or_si128(aboveOdd_, belowOdd)),
                                              constant128(kOneBytes));
            const __m128i v = _mm_sub_epi8(_mm_avg_epu8(above_, below), odd);
            above_ = below;
            aboveOdd_ = belowOdd;
            return v;
        }
    }

private:
    static void pairOf(const Vexo8u* p, __m128i& average, __m128i& odd) {
        const __m128i a = loadRow<W>(p), b = loadRow<W>(p + 1);
        average = _mm_avg_epu8(a, b);
        odd = _mm_xor_si128(a, b);
    }
    const Vexo8u* p_;
    Vexo32s step_;
    __m128i above_ = _mm_setzero_si128(), aboveOdd_ = _mm_setzero_si128();
};

// All sixteen reference values of a 4x4 block in one register, rows in
// order: the rows below are the same gathered rows moved up by one row.
inline __m128i gatherRows4(const Vexo8u* p, Vexo32s step) {
    const __m128i r01 = _mm_unpacklo_epi32(load4(p), load4(p + step));
    const __m128i r23 = _mm_unpacklo_epi32(load4(p + offsetOf(2, step)), load4(p + offsetOf(3, step)));
    return _mm_unpacklo_epi64(r01, r23);
}
// Rows 1 to 4, given rows 0 to 3 and the address of row 4.
inline __m128i nextRows4(__m128i rows, const Vexo8u* row4) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    return _mm_alignr_epi8(load4(row4), rows, 4);
#else
    return _mm_or_si128(_mm_srli_si128(rows, 4), _mm_slli_si128(load4(row4), 12));
#endif
}
template <int Mc>
inline __m128i referenceTile4x4(const Vexo8u* ref, Vexo32s step) {
    const __m128i a = gatherRows4(ref, step);
    if constexpr (Mc == 0) return a;
    const Vexo8u* row4 = ref + offsetOf(4, step);
    if constexpr (Mc == 4) return _mm_avg_epu8(a, nextRows4(a, row4));
    const __m128i b = gatherRows4(ref + 1, step);
    if constexpr (Mc == 8) return _mm_avg_epu8(a, b);
    const __m128i c = nextRows4(a, row4), d = nextRows4(b, row4 + 1);
    const __m128i top = _mm_avg_epu8(a, b), bottom = _mm_avg_epu8(c, d);
    const __m128i odd = _mm_and_si128(_mm_and_si128(_mm_xor_si128(top, bottom), _mm_or_si128(_mm_xor_si128(a, b), _mm_xor_si128(c, d))),
                                      constant128(kOneBytes));
    return _mm_sub_epi8(_mm_avg_epu8(top, bottom), odd);
}

// Sum of squared differences of 16 bytes, without the wider registers that
// a single block would pay a transition for.
inline Vexo32s squareSum16(__m128i a, __m128i b) {
    const __m128i d = absDiffBytes(a, b);
    const __m128i lo = widenLow(d), hi = widenHigh(d);
    return sumOfDwords(_mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi)));
}

// Sum of squared byte differences, W bytes per row.
template <int W>
class SquareSum {
public:
    void add(__m128i a, __m128i b) {
        const __m128i d = absDiffBytes(a, b);
#if VEXO_LEVEL >= VEXO_LEVEL_H9
        if constexpr (W == 16) {
            const __m256i w = _mm256_cvtepu8_epi16(d);
            acc256_ = _mm256_add_epi32(acc256_, _mm256_madd_epi16(w, w));
            return;
        }
#endif
        const __m128i lo = widenLow(d);
        acc_ = _mm_add_epi32(acc_, _mm_madd_epi16(lo, lo));
        if constexpr (W == 16) {
            const __m128i hi = widenHigh(d);
            acc_ = _mm_add_epi32(acc_, _mm_madd_epi16(hi, hi));
        }
    }
    Vexo32s total() const {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
        if constexpr (W == 16) return sumOfDwords(acc256_);
#endif
        return sumOfDwords(acc_);
    }

private:
    __m128i acc_ = _mm_setzero_si128();
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    __m256i acc256_ = _mm256_setzero_si256();
#endif
};
#if VEXO_LEVEL >= VEXO_LEVEL_H9
inline __m256i constant256(const Vexo8u* table) { return _mm256_load_si256(static_cast<const __m256i*>(opaque(table))); }

// Two 16-byte rows in one register, the upper row in the low half.
inline __m256i loadRowPair(const Vexo8u* p, Vexo32s step) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load16(p)), load16(p + step), 1);
}

// Reference values of rows y and y + 1 of a 16-wide block, y = 0, 2, 4, ...
template <int Mc>
class ReferenceRowPairs {
public:
    ReferenceRowPairs(const Vexo8u* ref, Vexo32s step) : p_(ref), step_(step) {}
    __m256i next() {
        const Vexo8u* p = p_;
        p_ += 2 * std::ptrdiff_t(step_);
        const __m256i a = loadRowPair(p, step_);
        if constexpr (Mc == 0) {
            return a;
        } else if constexpr (Mc == 8) {
            return _mm256_avg_epu8(a, loadRowPair(p + 1, step_));
        } else if constexpr (Mc == 4) {
            return _mm256_avg_epu8(a, loadRowPair(p + step_, step_));
        } else {
            const __m256i b = loadRowPair(p + 1, step_);
            const __m256i c = loadRowPair(p + step_, step_), d = loadRowPair(p + step_ + 1, step_);
            const __m256i top = _mm256_avg_epu8(a, b), bottom = _mm256_avg_epu8(c, d);
            const __m256i odd = _mm256_and_si256(
                _mm256_and_si256(_mm256_xor_si256(top, bottom), _mm256_or_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(c, d))),
                constant256(kOneBytes));
            return _mm256_sub_epi8(_mm256_avg_epu8(top, bottom), odd);
        }
    }

private:
    const Vexo8u* p_;
    Vexo32s step_;
};

// Sums of squared byte differences, as eight 32-bit partial sums.
inline __m256i squaredDifferences32(__m256i a, __m256i b) {
    const __m256i d = _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
    const __m256i zero = _mm256_setzero_si256();
    const __m256i lo = _mm256_unpacklo_epi8(d, zero), hi = _mm256_unpackhi_epi8(d, zero);
    return _mm256_add_epi32(_mm256_madd_epi16(lo, lo), _mm256_madd_epi16(hi, hi));
}
#endif  // H9
#endif  // W7

// --- Squared differences -----------------------------------------------------

// Kernels store the result and return the status, so that an export ends in
// a tail jump through its table.
using SsdKernel = VexoStatus (*)(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* result);
using SsdPairKernel = VexoStatus (*)(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                     const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s* result);

template <int W, int H, int Mc>
Vexo32s squaredDifferencesSum(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    if constexpr (W == 4) return squareSum16(gatherRows4(src, srcStep), referenceTile4x4<Mc>(ref, refStep));
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    if constexpr (W == 16) {
        ReferenceRowPairs<Mc> pairs(ref, refStep);
        __m256i acc = _mm256_setzero_si256();
#pragma GCC unroll 8
        for (int y = 0; y < H; y += 2) acc = _mm256_add_epi32(acc, squaredDifferences32(loadRowPair(src + offsetOf(y, srcStep), srcStep), pairs.next()));
        return sumOfDwords(acc);
    }
#endif
    ReferenceRows<W, Mc> rows(ref, refStep);
    SquareSum<16> sum;
    if constexpr (W == 16) {
#pragma GCC unroll 16
        for (int y = 0; y < H; ++y) sum.add(load16(src + offsetOf(y, srcStep)), rows.next());
    } else if constexpr (W == 8) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
        // pmovzxbw widens a row straight from memory: an exact 16-bit
        // difference costs less than the byte-wise absolute difference.
        __m128i acc = _mm_setzero_si128();
        for (int y = 0; y < H; ++y) {
            const __m128i d = _mm_sub_epi16(_mm_cvtepu8_epi16(load8(src + offsetOf(y, srcStep))), _mm_cvtepu8_epi16(rows.next()));
            acc = _mm_add_epi32(acc, _mm_madd_epi16(d, d));
        }
        return sumOfDwords(acc);
#elif VEXO_LEVEL >= VEXO_LEVEL_V8
        // Interleaved s, r bytes against +1, -1: s - r in one instruction.
        const __m128i signs = constant128(kPlusMinus);
        __m128i acc = _mm_setzero_si128();
        for (int y = 0; y < H; ++y) {
            const __m128i d = _mm_maddubs_epi16(_mm_unpacklo_epi8(load8(src + offsetOf(y, srcStep)), rows.next()), signs);
            acc = _mm_add_epi32(acc, _mm_madd_epi16(d, d));
        }
        return sumOfDwords(acc);
#endif
        // Two rows to a register: half the squaring work.
        for (int y = 0; y < H; y += 2) {
            const __m128i s = loadTwoRows8(src + offsetOf(y, srcStep), src + offsetOf(y + 1, srcStep));
            const __m128i r0 = rows.next();
            sum.add(s, _mm_unpacklo_epi64(r0, rows.next()));
        }
    }
    return sum.total();
#else
    Vexo32s total = 0;
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            const Vexo32s d = src[y * srcStep + x] - referenceValue<Mc>(ref + y * refStep + x, refStep);
            total += d * d;
        }
    }
    return total;
#endif
}

// Against the rounded-up average of two references, each at its own position.
template <int Mc1, int Mc2>
Vexo32s squaredDifferencesPairSum(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                  const Vexo8u* ref2, Vexo32s ref2Step) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    ReferenceRowPairs<Mc1> pairs1(ref1, ref1Step);
    ReferenceRowPairs<Mc2> pairs2(ref2, ref2Step);
    __m256i acc = _mm256_setzero_si256();
#pragma GCC unroll 8
    for (int y = 0; y < 16; y += 2)
        acc = _mm256_add_epi32(acc, squaredDifferences32(loadRowPair(src + offsetOf(y, srcStep), srcStep),
                                                         _mm256_avg_epu8(pairs1.next(), pairs2.next())));
    return sumOfDwords(acc);
#elif VEXO_LEVEL >= VEXO_LEVEL_W7
    ReferenceRows<16, Mc1> rows1(ref1, ref1Step);
    ReferenceRows<16, Mc2> rows2(ref2, ref2Step);
    SquareSum<16> sum;
#pragma GCC unroll 16
    for (int y = 0; y < 16; ++y) sum.add(loadRow<16>(src + offsetOf(y, srcStep)), _mm_avg_epu8(rows1.next(), rows2.next()));
    return sum.total();
#else
    Vexo32s total = 0;
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const Vexo32s p = referenceValue<Mc1>(ref1 + y * ref1Step + x, ref1Step);
            const Vexo32s q = referenceValue<Mc2>(ref2 + y * ref2Step + x, ref2Step);
            const Vexo32s d = ((p + q + 1) >> 1) - src[y * srcStep + x];
            total += d * d;
        }
    }
    return total;
#endif
}

template <int W, int H, int Mc>
VEXO_LINE_ALIGNED VexoStatus squaredDifferences(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                              Vexo32s* result) {
    *result = squaredDifferencesSum<W, H, Mc>(src, srcStep, ref, refStep);
    return vexoStatusOk;
}
template <int Mc1, int Mc2>
VEXO_LINE_ALIGNED VexoStatus squaredDifferencesPair(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                  const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s* result) {
    *result = squaredDifferencesPairSum<Mc1, Mc2>(src, srcStep, ref1, ref1Step, ref2, ref2Step);
    return vexoStatusOk;
}

const SsdKernel kSsd4x4[4] = {squaredDifferences<4, 4, 0>, squaredDifferences<4, 4, 4>, squaredDifferences<4, 4, 8>,
                              squaredDifferences<4, 4, 12>};
const SsdKernel kSsd8x8[4] = {squaredDifferences<8, 8, 0>, squaredDifferences<8, 8, 4>, squaredDifferences<8, 8, 8>,
                              squaredDifferences<8, 8, 12>};
const SsdKernel kSsd16x16[4] = {squaredDifferences<16, 16, 0>, squaredDifferences<16, 16, 4>,
                                squaredDifferences<16, 16, 8>, squaredDifferences<16, 16, 12>};

#define VEXO_PAIR_ROW(m1)                                                                                       \
    squaredDifferencesPair<m1, 0>, squaredDifferencesPair<m1, 4>, squaredDifferencesPair<m1, 8>,              \
        squaredDifferencesPair<m1, 12>
const SsdPairKernel kSsdPair16x16[16] = {VEXO_PAIR_ROW(0), VEXO_PAIR_ROW(4), VEXO_PAIR_ROW(8), VEXO_PAIR_ROW(12)};
#undef VEXO_PAIR_ROW

// The kernel index of the SAD-style selectors, mcType >> 2. Values above 15
// are outside the interface; masking keeps such a call inside the table.
inline int positionIndex(Vexo32s mcType) { return int((Vexo32u(mcType) >> 2) & 3); }
// Where only the two position bits count (the data-model formula).
inline int positionBits(Vexo32s mcType) { return int((mcType & 12) >> 2); }

// --- Variance and mean ----------------------------------------------------------

struct Moments {
    Vexo32s sum;
    Vexo32s sumSquares;  // wraps in 32 bits for 16-bit samples
};

Vexo32s sumOfSquaresLessSquaredSum16x16(const Vexo8u* src, Vexo32s srcStep) {
    Vexo32s sum, sumSquares;
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    __m256i sums = _mm256_setzero_si256(), squares = _mm256_setzero_si256();
#pragma GCC unroll 4
    for (int y = 0; y < 16; y += 2) {
        const __m256i a = _mm256_cvtepu8_epi16(load16(src + offsetOf(y, srcStep)));
        const __m256i b = _mm256_cvtepu8_epi16(load16(src + offsetOf(y + 1, srcStep)));
        sums = _mm256_add_epi16(sums, _mm256_add_epi16(a, b));  // at most 16 * 255 per lane
        squares = _mm256_add_epi32(squares, _mm256_add_epi32(_mm256_madd_epi16(a, a), _mm256_madd_epi16(b, b)));
    }
    sum = sumOfDwords(_mm256_madd_epi16(sums, constant256(kOneWords)));
    sumSquares = sumOfDwords(squares);
#elif VEXO_LEVEL >= VEXO_LEVEL_W7
    __m128i sums = _mm_setzero_si128(), squares = _mm_setzero_si128();
    const __m128i zero = _mm_setzero_si128();
    for (int y = 0; y < 16; ++y) {
        const __m128i row = load16(src + offsetOf(y, srcStep));
        sums = _mm_add_epi32(sums, _mm_sad_epu8(row, zero));
        const __m128i lo = widenLow(row), hi = widenHigh(row);
        squares = _mm_add_epi32(squares, _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi)));
    }
    sum = sumOfHalves(sums);
    sumSquares = sumOfDwords(squares);
#else
    sum = 0;
    sumSquares = 0;
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const Vexo32s v = src[y * srcStep + x];
            sum += v;
            sumSquares += v * v;
        }
    }
#endif
    // The square of a sum above 46340 wraps negative, and the division
    // truncates that toward zero: both are part of the result.
    return wrapSub(sumSquares, wrapMul(sum, sum) / 256);
}

Moments moments8x8(const Vexo8u* src, Vexo32s srcStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    __m128i sums = _mm_setzero_si128(), squares = _mm_setzero_si128();
    const __m128i zero = _mm_setzero_si128();
    for (int y = 0; y < 8; y += 2) {
        const __m128i rows =
            loadTwoRows8(src + offsetOf(y, srcStep), src + offsetOf(y + 1, srcStep));
        sums = _mm_add_epi32(sums, _mm_sad_epu8(rows, zero));
        const __m128i lo = widenLow(rows), hi = widenHigh(rows);
        squares = _mm_add_epi32(squares, _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi)));
    }
    return {sumOfHalves(sums), sumOfDwords(squares)};
#else
    Vexo32s sum = 0, sumSquares = 0;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            const Vexo32s v = src[y * srcStep + x];
            sum += v;
            sumSquares += v * v;
        }
    }
    return {sum, sumSquares};
#endif
}

Moments moments8x8(const Vexo16s* src, Vexo32s srcStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    // pmaddwd wraps exactly as the 32-bit accumulator must: (-32768)^2 * 2
    // comes out as 0x80000000, the true sum modulo 2^32.
    __m128i sums = _mm_setzero_si128(), squares = _mm_setzero_si128();
    const __m128i ones = constant128(kOneWords);
    for (int y = 0; y < 8; ++y) {
        const __m128i row = load16(rowAt(src, srcStep, y));
        sums = _mm_add_epi32(sums, _mm_madd_epi16(row, ones));
        squares = _mm_add_epi32(squares, _mm_madd_epi16(row, row));
    }
    return {sumOfDwords(sums), sumOfDwords(squares)};
#else
    Vexo32s sum = 0;
    Vexo32u sumSquares = 0;
    for (int y = 0; y < 8; ++y) {
        const Vexo16s* row = rowAt(src, srcStep, y);
        for (int x = 0; x < 8; ++x) {
            sum += row[x];
            sumSquares += Vexo32u(Vexo32s(row[x]) * row[x]);
        }
    }
    return {sum, Vexo32s(sumSquares)};
#endif
}

// Extended precision on every path (x87 long double): the paths must agree
// to the bit, and the truncation toward zero is the conversion's own.
constexpr long double kOneSixtyFourth = 0.015625L;

Vexo32s varianceFromMean(const Moments& m) {
    const long double c = kOneSixtyFourth;
    const long double sum = m.sum;
    return Vexo32s(c * (static_cast<long double>(m.sumSquares) - c * sum * sum));
}
Vexo32s varianceFromSum(const Moments& m) {
    const long double c = kOneSixtyFourth;
    const long double scaledSum = c * static_cast<long double>(m.sum);
    return Vexo32s(c * static_cast<long double>(m.sumSquares) - scaledSum * scaledSum);
}

// --- Residual statistics -------------------------------------------------------

// The last two steps for one block, from its sum of d * d and its sum of
// reference values. Eight times the residual's mean first: the caller's sum
// may be anything, so the difference and the square wrap, never overflow.
inline void finishBlock(Vexo32s squares, Vexo32s references, const Vexo32s* srcSum, Vexo32s* variance, Vexo32s* mean) {
    const Vexo32s m = wrapSub(*srcSum, references) / 8;
    const Vexo32s spread = wrapSub(squares, wrapMul(m, m));
    *mean = m;
    *variance = spread > 0 ? spread / 64 : 0;
}

struct ResidualSums {
    Vexo32s squares[4];     // sum of d * d per 8x8 block
    Vexo32s references[4];  // sum of reference values per 8x8 block
};

template <int H, int Mc>
inline void residualSums(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, ResidualSums& out) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    // Two rows per register: the unpacks split each row at its 8-sample
    // blocks, psadbw gives the reference sum of each row's two blocks.
    ReferenceRowPairs<Mc> pairs(ref, refStep);
    const __m256i zero = _mm256_setzero_si256(), pm = constant256(kPlusMinus);
#pragma GCC unroll 2
    for (int band = 0; band < H / 8; ++band) {
        __m256i left = zero, right = zero, refs = zero;
#pragma GCC unroll 4
        for (int y = band * 8; y < band * 8 + 8; y += 2) {
            const __m256i s = loadRowPair(src + offsetOf(y, srcStep), srcStep);
            const __m256i r = pairs.next();
            refs = _mm256_add_epi32(refs, _mm256_sad_epu8(r, zero));
            const __m256i dl = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(s, r), pm);
            const __m256i dh = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(s, r), pm);
            left = _mm256_add_epi32(left, _mm256_madd_epi16(dl, dl));
            right = _mm256_add_epi32(right, _mm256_madd_epi16(dh, dh));
        }
        const __m128i blockRefs = _mm_add_epi32(_mm256_castsi256_si128(refs), _mm256_extracti128_si256(refs, 1));
        out.squares[2 * band] = sumOfDwords(left);
        out.squares[2 * band + 1] = sumOfDwords(right);
        out.references[2 * band] = _mm_cvtsi128_si32(blockRefs);
        out.references[2 * band + 1] = _mm_cvtsi128_si32(_mm_unpackhi_epi64(blockRefs, blockRefs));
    }
#elif VEXO_LEVEL >= VEXO_LEVEL_W7
    ReferenceRows<16, Mc> rows(ref, refStep);
    const __m128i zero = _mm_setzero_si128();
#pragma GCC unroll 2
    for (int band = 0; band < H / 8; ++band) {
        __m128i left = zero, right = zero, refs = zero;
#pragma GCC unroll 8
        for (int y = band * 8; y < band * 8 + 8; ++y) {
            const __m128i s = load16(src + offsetOf(y, srcStep));
            const __m128i r = rows.next();
            refs = _mm_add_epi32(refs, _mm_sad_epu8(r, zero));  // left block low, right block high
#if VEXO_LEVEL >= VEXO_LEVEL_V8
            const __m128i pm = constant128(kPlusMinus);
            const __m128i dl = _mm_maddubs_epi16(_mm_unpacklo_epi8(s, r), pm);
            const __m128i dh = _mm_maddubs_epi16(_mm_unpackhi_epi8(s, r), pm);
#else
            const __m128i dl = _mm_sub_epi16(widenLow(s), widenLow(r));
            const __m128i dh = _mm_sub_epi16(widenHigh(s), widenHigh(r));
#endif
            left = _mm_add_epi32(left, _mm_madd_epi16(dl, dl));
            right = _mm_add_epi32(right, _mm_madd_epi16(dh, dh));
        }
        out.squares[2 * band] = sumOfDwords(left);
        out.squares[2 * band + 1] = sumOfDwords(right);
        out.references[2 * band] = _mm_cvtsi128_si32(refs);
        out.references[2 * band + 1] = _mm_cvtsi128_si32(_mm_unpackhi_epi64(refs, refs));
    }
#else
    for (int b = 0; b < 4; ++b) out.squares[b] = out.references[b] = 0;
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < 16; ++x) {
            const int b = (y / 8) * 2 + x / 8;
            const Vexo32s r = referenceValue<Mc>(ref + y * refStep + x, refStep);
            const Vexo32s d = src[y * srcStep + x] - r;
            out.squares[b] += d * d;
            out.references[b] += r;
        }
    }
#endif
}

// A whole call after the pointer tests: the sums are finished in the same
// function, from registers (a round trip through memory, written a word at a
// time and read back as a vector, stalls the store forwarding).
template <int H, int Mc>
VEXO_LINE_ALIGNED VexoStatus residualStatistics(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                              const Vexo32s* srcSums, Vexo32s* variances, Vexo32s* means) {
    ResidualSums sums;
    residualSums<H, Mc>(src, srcStep, ref, refStep, sums);
    // The outputs hold the running sums before the last steps, as the
    // definition has it, so that srcSums sharing memory with an output reads
    // what the definition reads.
    constexpr int kBlocks = H / 4;
    for (int b = 0; b < kBlocks; ++b) {
        variances[b] = sums.squares[b];
        means[b] = sums.references[b];
    }
    for (int b = 0; b < kBlocks; ++b) finishBlock(sums.squares[b], sums.references[b], srcSums + b, variances + b, means + b);
    return vexoStatusOk;
}

using ResidualKernel = VexoStatus (*)(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                      const Vexo32s* srcSums, Vexo32s* variances, Vexo32s* means);
const ResidualKernel kResidual16x16[4] = {residualStatistics<16, 0>, residualStatistics<16, 4>,
                                          residualStatistics<16, 8>, residualStatistics<16, 12>};
const ResidualKernel kResidual16x8[4] = {residualStatistics<8, 0>, residualStatistics<8, 4>, residualStatistics<8, 8>,
                                         residualStatistics<8, 12>};

inline VexoStatus runResidualStatistics(const ResidualKernel* table, const Vexo8u* src, Vexo32s srcStep,
                                        const Vexo8u* ref, Vexo32s refStep, const Vexo32s* srcSums,
                                        Vexo32s* variances, Vexo32s* means, Vexo32s mcType) {
    if (src == nullptr || ref == nullptr || srcSums == nullptr || variances == nullptr || means == nullptr)
        return vexoStatusNullPointer;
    return table[positionBits(mcType)](src, srcStep, ref, refStep, srcSums, variances, means);
}

// --- Mean absolute deviation ------------------------------------------------------

template <int N>
Vexo32s meanAbsoluteDeviation(const Vexo8u* src, Vexo32s srcStep) {
    constexpr int kShift = N == 8 ? 6 : 8;
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    constexpr int kRegs = N == 8 ? 4 : 16;
    __m128i rows[kRegs];
    for (int i = 0; i < kRegs; ++i) {
        if constexpr (N == 8) {
            rows[i] = loadTwoRows8(src + offsetOf(2 * i, srcStep), src + offsetOf(2 * i + 1, srcStep));
        } else {
            rows[i] = load16(src + offsetOf(i, srcStep));
        }
    }
    __m128i sums = _mm_setzero_si128();
    for (int i = 0; i < kRegs; ++i) sums = _mm_add_epi32(sums, _mm_sad_epu8(rows[i], _mm_setzero_si128()));
    const Vexo32s mean = (sumOfHalves(sums) + (1 << (kShift - 1))) >> kShift;
    // |sample - mean| is a byte difference, which psadbw sums directly.
    const __m128i m = _mm_set1_epi8(char(mean));
    __m128i deviations = _mm_setzero_si128();
    for (int i = 0; i < kRegs; ++i) deviations = _mm_add_epi32(deviations, _mm_sad_epu8(rows[i], m));
    return sumOfHalves(deviations);
#else
    Vexo32s sum = 0;
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) sum += src[y * srcStep + x];
    const Vexo32s mean = (sum + (1 << (kShift - 1))) >> kShift;
    Vexo32s total = 0;
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) total += magnitude(src[y * srcStep + x] - mean);
    return total;
#endif
}

// --- Edge counts -------------------------------------------------------------------

// Positions (x, y), x and y from 0 to 14, walked by rows; the walk stops at the
// end of a row once the count exceeds countThreshold. The early stop is
// observable only in which rows are read, so a kernel must keep it.
template <class T, class Threshold>
bool edgeWalkScalar(const T* src, Vexo32s srcStep, Threshold edgeThreshold, Threshold countThreshold) {
    Threshold count = 0;
    for (int y = 0; y < 15; ++y) {
        const T* row = rowAt(src, srcStep, y);
        const T* below = rowAt(src, srcStep, y + 1);
        for (int x = 0; x < 15; ++x) {
            const Vexo32s right = magnitude(Vexo32s(row[x]) - Vexo32s(row[x + 1]));
            const Vexo32s down = magnitude(Vexo32s(row[x]) - Vexo32s(below[x]));
            if (right > Vexo32s(edgeThreshold) || down > Vexo32s(edgeThreshold)) ++count;
        }
        if (count > countThreshold) return true;
    }
    return false;
}

#if VEXO_LEVEL >= VEXO_LEVEL_W7
// The number of positions 0..14 of a row whose byte lane is not quiet (0xFF
// quiet, 0 counting); lane 15 is x = 15, which is no position.
inline int countLoudLanes(__m128i quiet) {
    const __m128i positions = _mm_srli_si128(constant128(kOneBytes), 1);
    return sumOfHalves(_mm_sad_epu8(_mm_andnot_si128(quiet, positions), _mm_setzero_si128()));
}
inline __m128i absDiffWords(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a)); }
inline __m128i maxWords(__m128i a, __m128i b) { return _mm_add_epi16(_mm_subs_epu16(a, b), b); }
#endif

bool edgeWalk8u(const Vexo8u* src, Vexo32s srcStep, Vexo8u edgeThreshold, Vexo8u countThreshold) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    const __m128i threshold = _mm_set1_epi8(char(edgeThreshold));
    const __m128i zero = _mm_setzero_si128();
    int count = 0;
    __m128i row = load16(src);
    for (int y = 0; y < 15; ++y) {
        const __m128i below = load16(src + offsetOf(y + 1, srcStep));
        const __m128i difference = _mm_max_epu8(absDiffBytes(row, _mm_srli_si128(row, 1)), absDiffBytes(row, below));
        const __m128i quiet = _mm_cmpeq_epi8(_mm_subs_epu8(difference, threshold), zero);
        count += countLoudLanes(quiet);
        if (count > countThreshold) return true;
        row = below;
    }
    return false;
#else
    return edgeWalkScalar<Vexo8u, Vexo32s>(src, srcStep, edgeThreshold, countThreshold);
#endif
}

bool edgeWalk16u(const Vexo16u* src, Vexo32s srcStep, Vexo32s edgeThreshold, Vexo32s countThreshold) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    // A negative threshold is exceeded by every difference, which saturating
    // arithmetic cannot say; that walk is the scalar one.
    if (edgeThreshold < 0) return edgeWalkScalar<Vexo16u, Vexo32s>(src, srcStep, edgeThreshold, countThreshold);
    const __m128i threshold = _mm_set1_epi16(Vexo16s(edgeThreshold > 65535 ? 65535 : edgeThreshold));
    const __m128i zero = _mm_setzero_si128();
    Vexo32s count = 0;
    __m128i lo = load16(src), hi = load16(src + 8);
    for (int y = 0; y < 15; ++y) {
        const Vexo16u* next = rowAt(src, srcStep, y + 1);
        const __m128i belowLo = load16(next), belowHi = load16(next + 8);
#if VEXO_LEVEL >= VEXO_LEVEL_V8
        const __m128i rightLo = _mm_alignr_epi8(hi, lo, 2);
#else
        const __m128i rightLo = _mm_or_si128(_mm_srli_si128(lo, 2), _mm_slli_si128(hi, 14));
#endif
        const __m128i rightHi = _mm_srli_si128(hi, 2);
        const __m128i quietLo = _mm_cmpeq_epi16(
            _mm_subs_epu16(maxWords(absDiffWords(lo, rightLo), absDiffWords(lo, belowLo)), threshold), zero);
        const __m128i quietHi = _mm_cmpeq_epi16(
            _mm_subs_epu16(maxWords(absDiffWords(hi, rightHi), absDiffWords(hi, belowHi)), threshold), zero);
        count += countLoudLanes(_mm_packs_epi16(quietLo, quietHi));
        if (count > countThreshold) return true;
        lo = belowLo;
        hi = belowHi;
    }
    return false;
#else
    return edgeWalkScalar<Vexo16u, Vexo32s>(src, srcStep, edgeThreshold, countThreshold);
#endif
}

// --- Zero count ----------------------------------------------------------------------

Vexo32u countZeros64(const Vexo16s* src) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    const __m128i zero = _mm_setzero_si128();
    __m128i zeros = zero;  // bytes, each -1 per zero found, at most -8
    for (int i = 0; i < 64; i += 16) {
        const __m128i a = _mm_cmpeq_epi16(load16(src + i), zero);
        const __m128i b = _mm_cmpeq_epi16(load16(src + i + 8), zero);
        zeros = _mm_add_epi8(zeros, _mm_packs_epi16(a, b));
    }
    return Vexo32u(sumOfHalves(_mm_sad_epu8(_mm_sub_epi8(zero, zeros), zero)));
#else
    Vexo32u count = 0;
    for (int i = 0; i < 64; ++i) count += src[i] == 0;
    return count;
#endif
}

}  // namespace

// --- Exports ---------------------------------------------------------------------------

VEXO_LINE_ALIGNED VexoStatus vexoSSD4x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* ssd, Vexo32s mcType) {
    if (src == nullptr || ref == nullptr || ssd == nullptr) return vexoStatusNullPointer;
    return kSsd4x4[positionIndex(mcType)](src, srcStep, ref, refStep, ssd);
}

VEXO_LINE_ALIGNED VexoStatus vexoSSD8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* ssd, Vexo32s mcType) {
    if (src == nullptr || ref == nullptr || ssd == nullptr) return vexoStatusNullPointer;
    return kSsd8x8[positionIndex(mcType)](src, srcStep, ref, refStep, ssd);
}

VEXO_LINE_ALIGNED VexoStatus vexoSqrDiff16x16_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo32s mcType, Vexo32s* sqrDiff) {
    if (src == nullptr || ref == nullptr || sqrDiff == nullptr) return vexoStatusNullPointer;
    // Exact comparisons, in this order: whatever is not 0, 8 or 4 is the
    // both-ways position, 12 or not.
    const int index = mcType == 0 ? 0 : mcType == 8 ? 2 : mcType == 4 ? 1 : 3;
    return kSsd16x16[index](src, srcStep, ref, refStep, sqrDiff);
}

VEXO_LINE_ALIGNED VexoStatus vexoSqrDiff16x16B_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                   Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                   Vexo32s* sqrDiff) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || sqrDiff == nullptr) return vexoStatusNullPointer;
    return kSsdPair16x16[positionBits(mcType1) * 4 + positionBits(mcType2)](src, srcStep, ref1, ref1Step, ref2,
                                                                           ref2Step, sqrDiff);
}

VEXO_LINE_ALIGNED VexoStatus vexoVariance16x16_8u32s(const Vexo8u* src, Vexo32s srcStep, Vexo32s* variance) {
    if (src == nullptr || variance == nullptr) return vexoStatusNullPointer;
    *variance = sumOfSquaresLessSquaredSum16x16(src, srcStep);
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoVarMean8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* mean) {
    if (src == nullptr || variance == nullptr || mean == nullptr) return vexoStatusNullPointer;
    const Moments m = moments8x8(src, srcStep);
    *variance = varianceFromMean(m);
    *mean = m.sum;
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoVarMean8x8_16s32s_C1R(const Vexo16s* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* mean) {
    if (src == nullptr || variance == nullptr || mean == nullptr) return vexoStatusNullPointer;
    const Moments m = moments8x8(src, srcStep);
    *variance = varianceFromMean(m);
    *mean = m.sum;
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoVarSum8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* sum) {
    if (src == nullptr || variance == nullptr || sum == nullptr) return vexoStatusNullPointer;
    const Moments m = moments8x8(src, srcStep);
    *variance = varianceFromSum(m);
    *sum = m.sum;
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoVarSum8x8_16s32s_C1R(const Vexo16s* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* sum) {
    if (src == nullptr || variance == nullptr || sum == nullptr) return vexoStatusNullPointer;
    const Moments m = moments8x8(src, srcStep);
    *variance = varianceFromSum(m);
    *sum = m.sum;
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoVarMeanDiff16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                          const Vexo32s* srcSums, Vexo32s* variances, Vexo32s* means,
                                          Vexo32s mcType) {
    return runResidualStatistics(kResidual16x16, src, srcStep, ref, refStep, srcSums, variances, means, mcType);
}

VEXO_LINE_ALIGNED VexoStatus vexoVarMeanDiff16x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                         const Vexo32s* srcSums, Vexo32s* variances, Vexo32s* means,
                                         Vexo32s mcType) {
    return runResidualStatistics(kResidual16x8, src, srcStep, ref, refStep, srcSums, variances, means, mcType);
}

VEXO_LINE_ALIGNED VexoStatus vexoMeanAbsDev8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* meanAbsDev) {
    if (src == nullptr || meanAbsDev == nullptr) return vexoStatusNullPointer;
    *meanAbsDev = meanAbsoluteDeviation<8>(src, srcStep);
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoMeanAbsDev16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* meanAbsDev) {
    if (src == nullptr || meanAbsDev == nullptr) return vexoStatusNullPointer;
    *meanAbsDev = meanAbsoluteDeviation<16>(src, srcStep);
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoCountZeros8x8_16s_C1(const Vexo16s* src, Vexo32u* count) {
    if (src == nullptr || count == nullptr) return vexoStatusNullPointer;
    *count = countZeros64(src);
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoEdgesDetect16x16_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u edgeThreshold,
                                       Vexo8u countThreshold, Vexo8u* isEdge) {
    if (src == nullptr || isEdge == nullptr) return vexoStatusNullPointer;
    *isEdge = edgeWalk8u(src, srcStep, edgeThreshold, countThreshold) ? 1 : 0;
    return vexoStatusOk;
}

VEXO_LINE_ALIGNED VexoStatus vexoEdgesDetect16x16_16u_C1R(const Vexo16u* src, Vexo32s srcStep, Vexo32s edgeThreshold,
                                        Vexo32s countThreshold, Vexo32u* isEdge) {
    if (src == nullptr || isEdge == nullptr) return vexoStatusNullPointer;
    // 16-bit rows start on even bytes: an odd step is cut down by one.
    *isEdge = edgeWalk16u(src, srcStep & ~Vexo32s(1), edgeThreshold, countThreshold) ? 1 : 0;
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH

#undef VEXO_LINE_ALIGNED
