// Residual extraction: source minus a full- or half-sample prediction from one
// or two references, plain differences, and differences summed per 4x4 block.
//
// Each GetDiff export picks its kernel once from a table by prediction
// position (one reference: (mcType & 12) >> 2; two references:
// ((mcType1 & 12) >> 2) | (mcType2 & 12)), so the row loops carry no branch
// on the position. Rounding is not part of the selection: it reaches the
// kernel as given and is subtracted unmasked.
#include "core/path.h"
#include "core/simd.h"

namespace vexo::VEXO_PATH {
namespace {

// Prediction positions, as (mcType & 12) >> 2 numbers them.
constexpr int kFull = 0, kDown = 1, kRight = 2, kBoth = 3;

// Where 16-bit results go: one plane, or one per channel in the interleaved
// forms.
struct Planes {
    Vexo16s* plane[2];
    Vexo32s step[2];
};

inline const Vexo8u* rowOf(const Vexo8u* base, Vexo32s step, int y) { return base + std::ptrdiff_t(y) * step; }
inline const Vexo16u* rowOf(const Vexo16u* base, Vexo32s step, int y) {
    return reinterpret_cast<const Vexo16u*>(reinterpret_cast<const Vexo8u*>(base) + std::ptrdiff_t(y) * step);
}
inline Vexo16s* rowOf(Vexo16s* base, Vexo32s step, int y) {
    return reinterpret_cast<Vexo16s*>(reinterpret_cast<Vexo8u*>(base) + std::ptrdiff_t(y) * step);
}

#if VEXO_LEVEL == VEXO_LEVEL_PX

// The prediction at p, the right neighbour Pitch bytes on (2 in the
// interleaved forms). Rounding is subtracted as given: the sum wraps in 32
// bits and the shift is arithmetic, which defines the bytes for any value.
template <int Pos, int Pitch>
inline Vexo32s predictionAt(const Vexo8u* p, Vexo32s step, Vexo32s rounding) {
    const Vexo32u r = Vexo32u(rounding);
    if constexpr (Pos == kFull) {
        return p[0];
    } else if constexpr (Pos == kDown) {
        return Vexo32s(Vexo32u(p[0] + p[step] + 1) - r) >> 1;
    } else if constexpr (Pos == kRight) {
        return Vexo32s(Vexo32u(p[0] + p[Pitch] + 1) - r) >> 1;
    } else {
        return Vexo32s(Vexo32u(p[0] + p[Pitch] + p[step] + p[step + Pitch] + 2) - r) >> 2;
    }
}

// One channel of a block; Pitch is the byte distance between its samples.
template <int W, int H, int Pos, int Pitch, bool WithPred>
void residualChannel(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16s* dst,
                     Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s rounding) {
    for (int y = 0; y < H; ++y) {
        const Vexo8u* s = rowOf(src, srcStep, y);
        const Vexo8u* r = rowOf(ref, refStep, y);
        Vexo16s* d = rowOf(dst, dstStep, y);
        for (int x = 0; x < W; ++x) {
            // |h| < 2^30, so src - h cannot overflow; the store keeps 16 bits.
            const Vexo32s h = predictionAt<Pos, Pitch>(r + x * Pitch, refStep, rounding);
            d[x] = Vexo16s(s[x * Pitch] - h);
            if constexpr (WithPred) rowOf(pred, predStep, y)[x] = Vexo16s(h);
        }
    }
}

template <int W, int H, int Pos, bool Interleaved>
inline void residualBlock(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, const Planes& out,
                          Vexo16s* pred, Vexo32s predStep, Vexo32s rounding) {
    if constexpr (Interleaved) {
        for (int c = 0; c < 2; ++c)
            residualChannel<W, H, Pos, 2, false>(src + c, srcStep, ref + c, refStep, out.plane[c], out.step[c],
                                                  nullptr, 0, rounding);
    } else if (pred != nullptr) {
        residualChannel<W, H, Pos, 1, true>(src, srcStep, ref, refStep, out.plane[0], out.step[0], pred, predStep,
                                            rounding);
    } else {
        residualChannel<W, H, Pos, 1, false>(src, srcStep, ref, refStep, out.plane[0], out.step[0], nullptr, 0,
                                             rounding);
    }
}

template <int W, int H, int Pos1, int Pos2, int Pitch>
void residualPairChannel(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                         const Vexo8u* ref2, Vexo32s ref2Step, Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding) {
    for (int y = 0; y < H; ++y) {
        const Vexo8u* s = rowOf(src, srcStep, y);
        const Vexo8u* r1 = rowOf(ref1, ref1Step, y);
        const Vexo8u* r2 = rowOf(ref2, ref2Step, y);
        Vexo16s* d = rowOf(dst, dstStep, y);
        for (int x = 0; x < W; ++x) {
            const Vexo32s h1 = predictionAt<Pos1, Pitch>(r1 + x * Pitch, ref1Step, rounding);
            const Vexo32s h2 = predictionAt<Pos2, Pitch>(r2 + x * Pitch, ref2Step, rounding);
            // Odd rounding values can push h1 + h2 past 32 bits: wrap, then
            // shift arithmetically (toward minus infinity).
            const Vexo32u twice = Vexo32u(2 * s[x * Pitch]) - Vexo32u(h1) - Vexo32u(h2);
            d[x] = Vexo16s(Vexo32s(twice) >> 1);
        }
    }
}

template <int W, int H, int Pos1, int Pos2, bool Interleaved>
inline void residualPairBlock(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                              const Vexo8u* ref2, Vexo32s ref2Step, const Planes& out, Vexo32s rounding) {
    if constexpr (Interleaved) {
        for (int c = 0; c < 2; ++c)
            residualPairChannel<W, H, Pos1, Pos2, 2>(src + c, srcStep, ref1 + c, ref1Step, ref2 + c, ref2Step,
                                                      out.plane[c], out.step[c], rounding);
    } else {
        residualPairChannel<W, H, Pos1, Pos2, 1>(src, srcStep, ref1, ref1Step, ref2, ref2Step, out.plane[0],
                                                 out.step[0], rounding);
    }
}

template <int W, int H>
void subtract8u(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step, Vexo16s* dst,
                Vexo32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const Vexo8u* a = rowOf(src1, src1Step, y);
        const Vexo8u* b = rowOf(src2, src2Step, y);
        Vexo16s* d = rowOf(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = Vexo16s(a[x] - b[x]);
    }
}

template <int W, int H>
void subtract16u(const Vexo16u* src1, Vexo32s src1Step, const Vexo16u* src2, Vexo32s src2Step, Vexo16s* dst,
                 Vexo32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const Vexo16u* a = rowOf(src1, src1Step, y);
        const Vexo16u* b = rowOf(src2, src2Step, y);
        Vexo16s* d = rowOf(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = Vexo16s(Vexo32s(a[x]) - Vexo32s(b[x]));
    }
}

// Differences per 4x4 block in raster order. Pitch is the byte distance
// between source samples (2 for one channel of an interleaved source).
template <int W, int H, int Pitch, class Sample, class Sum>
void sumsDiffBlocks(const Sample* src, Vexo32s srcStep, const Sample* ref, Vexo32s refStep, Sum* sums,
                    Vexo16s* diff) {
    for (int by = 0; by < H / 4; ++by) {
        for (int bx = 0; bx < W / 4; ++bx) {
            const int k = by * (W / 4) + bx;
            Vexo32s sum = 0;
            for (int y = 0; y < 4; ++y) {
                const Sample* s = rowOf(src, srcStep, 4 * by + y);
                const Sample* r = rowOf(ref, refStep, 4 * by + y);
                for (int x = 0; x < 4; ++x) {
                    // 16-bit samples: the difference is cut to 16 bits first.
                    const Vexo16s d = Vexo16s(Vexo32s(s[(4 * bx + x) * Pitch]) - Vexo32s(r[4 * bx + x]));
                    sum += d;
                    if (diff != nullptr) diff[16 * k + 4 * y + x] = d;
                }
            }
            sums[k] = Sum(sum);
        }
    }
}

template <int W, int H, class Sample, class Sum>
void sumsDiff(const Sample* src, Vexo32s srcStep, const Sample* ref, Vexo32s refStep, Sum* sums, Vexo16s* diff) {
    sumsDiffBlocks<W, H, 1>(src, srcStep, ref, refStep, sums, diff);
}

void sumsDiffInterleaved8x8(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref0, Vexo32s ref0Step,
                            const Vexo8u* ref1, Vexo32s ref1Step, Vexo16s* sums0, Vexo16s* diff0, Vexo16s* sums1,
                            Vexo16s* diff1) {
    sumsDiffBlocks<8, 8, 2>(src, srcStep, ref0, ref0Step, sums0, diff0);
    sumsDiffBlocks<8, 8, 2>(src + 1, srcStep, ref1, ref1Step, sums1, diff1);
}

#else  // SIMD paths
using namespace simd;

// How the 8-bit samples of one step of rows lie, and the 16-bit lanes they
// widen to:
//   kNarrow4   a row of 4 samples           one 128-bit vector, half used
//   kWide8     a row of 8                   one 128-bit vector
//   kWide16    a row of 16                  two 128-bit vectors, or one 256-bit
//   kPairs8    a row of 8 interleaved pairs two vectors: channel 0, channel 1
//   kPairs8x2  two rows of 8 pairs          two 256-bit vectors, by channel,
//                                           row y in the low halves
// The last is AVX2's, for the two-reference interleaved forms, whose
// arithmetic outweighs the extra loads of a row pair. (Pairs of plain 8-wide
// rows were measured slower, as were one-reference interleaved forms.)
constexpr int kNarrow4 = 0, kWide8 = 1, kWide16 = 2, kPairs8 = 3, kPairs8x2 = 4;
constexpr bool kAvx2 = VEXO_LEVEL >= VEXO_LEVEL_H9;
template <int W, bool Interleaved, bool TwoReferences = false>
constexpr int kLayoutOf = Interleaved ? (kAvx2 && TwoReferences ? kPairs8x2 : kPairs8)
                          : W == 4    ? kNarrow4
                          : W == 8    ? kWide8
                                      : kWide16;
template <int L>
constexpr int kPitch = (L == kPairs8 || L == kPairs8x2) ? 2 : 1;
template <int L>
constexpr int kRowsPerStep = L == kPairs8x2 ? 2 : 1;
template <int L>
constexpr bool kWideLanes = kAvx2 && (L == kWide16 || L == kPairs8x2);
template <int L>
constexpr bool kWideBytes = L == kPairs8x2;
template <int L>
constexpr int kVectors = (L == kPairs8 || L == kPairs8x2 || (L == kWide16 && !kAvx2)) ? 2 : 1;

template <bool Wide>
struct VectorType {
    using T = __m128i;
};
inline __m128i add16(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
inline __m128i sub16(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }
inline __m128i shiftRight1(__m128i a) { return _mm_srli_epi16(a, 1); }
inline __m128i shiftRightSigned1(__m128i a) { return _mm_srai_epi16(a, 1); }
inline __m128i shiftRightSigned2(__m128i a) { return _mm_srai_epi16(a, 2); }
inline void broadcast16(__m128i& v, Vexo16s x) { v = _mm_set1_epi16(x); }
inline void broadcast8(__m128i& v, Vexo8u x) { v = _mm_set1_epi8(char(x)); }
// Byte averages: (a + b + 1) >> 1, less the carried-out odd bit where the
// rounding asks for (a + b) >> 1.
inline __m128i averageUp(__m128i a, __m128i b) { return _mm_avg_epu8(a, b); }
inline __m128i averageDownWhere(__m128i a, __m128i b, __m128i oddMask) {
    return _mm_sub_epi8(_mm_avg_epu8(a, b), _mm_and_si128(_mm_xor_si128(a, b), oddMask));
}
#if VEXO_LEVEL >= VEXO_LEVEL_H9
template <>
struct VectorType<true> {
    using T = __m256i;
};
inline __m256i add16(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
inline __m256i sub16(__m256i a, __m256i b) { return _mm256_sub_epi16(a, b); }
inline __m256i shiftRight1(__m256i a) { return _mm256_srli_epi16(a, 1); }
inline __m256i shiftRightSigned1(__m256i a) { return _mm256_srai_epi16(a, 1); }
inline __m256i shiftRightSigned2(__m256i a) { return _mm256_srai_epi16(a, 2); }
inline void broadcast16(__m256i& v, Vexo16s x) { v = _mm256_set1_epi16(x); }
inline void broadcast8(__m256i& v, Vexo8u x) { v = _mm256_set1_epi8(char(x)); }
inline __m256i averageUp(__m256i a, __m256i b) { return _mm256_avg_epu8(a, b); }
inline __m256i averageDownWhere(__m256i a, __m256i b, __m256i oddMask) {
    return _mm256_sub_epi8(_mm256_avg_epu8(a, b), _mm256_and_si256(_mm256_xor_si256(a, b), oddMask));
}
#endif
template <int L>
using Vec = typename VectorType<kWideLanes<L>>::T;
template <int L>
using Bytes = typename VectorType<kWideBytes<L>>::T;

template <int L>
struct Lanes {
    Vec<L> v[kVectors<L>];
};

template <int L>
inline Lanes<L> splat(Vexo16s x) {
    Lanes<L> r;
    for (int i = 0; i < kVectors<L>; ++i) broadcast16(r.v[i], x);
    return r;
}
template <int L>
inline Lanes<L> operator+(const Lanes<L>& a, const Lanes<L>& b) {
    Lanes<L> r;
    for (int i = 0; i < kVectors<L>; ++i) r.v[i] = add16(a.v[i], b.v[i]);
    return r;
}
template <int L>
inline Lanes<L> operator-(const Lanes<L>& a, const Lanes<L>& b) {
    Lanes<L> r;
    for (int i = 0; i < kVectors<L>; ++i) r.v[i] = sub16(a.v[i], b.v[i]);
    return r;
}

// The bytes of one step of rows (step: to the second row, where there is one).
template <int L>
inline Bytes<L> loadBytes(const Vexo8u* p, [[maybe_unused]] Vexo32s step) {
    if constexpr (L == kNarrow4) {
        return load4(p);
    } else if constexpr (L == kWide8) {
        return load8(p);
    } else if constexpr (L == kPairs8x2) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
        return _mm256_inserti128_si256(_mm256_castsi128_si256(load16(p)), load16(p + step), 1);
#endif
    } else {
        return load16(p);
    }
}

template <int L>
inline Lanes<L> widen(Bytes<L> b) {
    Lanes<L> r;
    if constexpr (kWideLanes<L> && L == kWide16) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
        r.v[0] = _mm256_cvtepu8_epi16(b);
#endif
    } else if constexpr (L == kPairs8x2) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
        r.v[0] = _mm256_and_si256(b, _mm256_set1_epi16(0xFF));
        r.v[1] = _mm256_srli_epi16(b, 8);
#endif
    } else if constexpr (L == kWide16) {
        r.v[0] = widenLow(b);
        r.v[1] = widenHigh(b);
    } else if constexpr (L == kPairs8) {
        r.v[0] = _mm_and_si128(b, _mm_set1_epi16(0xFF));
        r.v[1] = _mm_srli_epi16(b, 8);
    } else {
        r.v[0] = widenLow(b);
    }
    return r;
}

template <int L>
inline Lanes<L> loadLanes(const Vexo8u* p, Vexo32s step) {
    return widen<L>(loadBytes<L>(p, step));
}

// src - ref per sample, from bytes. From SSSE3 on, the bytes interleaved and
// multiplied by (+1, -1) pairs (pmaddubsw) give the 16-bit difference
// exactly, since it stays within -255..255: fewer operations than widening
// both.
template <int L>
inline Lanes<L> byteDifference(Bytes<L> a, Bytes<L> b) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    if constexpr (L == kNarrow4 || L == kWide8 || (L == kWide16 && !kWideLanes<L>)) {
#if VEXO_LEVEL >= VEXO_LEVEL_G9
        // With VEX encodings the compiler would fold the row's load into
        // both unpacks, reading it twice (double cost for a row that crosses
        // a line); the empty asm keeps each row in one register.
        if constexpr (L == kWide16) asm("" : "+x"(a), "+x"(b));
#endif
        const __m128i plusMinus = _mm_set1_epi16(Vexo16s(0xFF01));
        Lanes<L> r;
        r.v[0] = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), plusMinus);
        if constexpr (L == kWide16) r.v[1] = _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), plusMinus);
        return r;
    }
#endif
    return widen<L>(a) - widen<L>(b);
}

// Walks the output rows of one block: one plane, or two in the interleaved
// forms. Kept in locals so that the stores cannot be taken to alias them.
template <int L>
class RowWriter {
public:
    explicit RowWriter(const Planes& out)
        : row0_(out.plane[0]), row1_(out.plane[1]), step0_(out.step[0]), step1_(out.step[1]) {}

    void put(const Lanes<L>& x) {
        if constexpr (L == kNarrow4) {
            store8(row0_, x.v[0]);
        } else if constexpr (L == kWide8) {
            store16(row0_, x.v[0]);
        } else if constexpr (L == kPairs8) {
            store16(row0_, x.v[0]);
            store16(row1_, x.v[1]);
        } else if constexpr (L == kWide16 && !kWideLanes<L>) {
            store16(row0_, x.v[0]);
            store16(row0_ + 8, x.v[1]);
        } else {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
            if constexpr (L == kWide16) {
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(row0_), x.v[0]);
            } else {
                storeTwoRows(row0_, step0_, x.v[0]);
                storeTwoRows(row1_, step1_, x.v[1]);
            }
#endif
        }
        row0_ = rowOf(row0_, step0_, kRowsPerStep<L>);
        if constexpr (L == kPairs8 || L == kPairs8x2) row1_ = rowOf(row1_, step1_, kRowsPerStep<L>);
    }

private:
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    static void storeTwoRows(Vexo16s* row, Vexo32s step, __m256i v) {
        store16(row, _mm256_castsi256_si128(v));
        store16(rowOf(row, step, 1), _mm256_extracti128_si256(v, 1));
    }
#endif

    Vexo16s* row0_;
    Vexo16s* row1_;
    Vexo32s step0_, step1_;
};

// Rounding. Kernels come in three variants: rounding 0, rounding 1 (the two
// values of sensible use), and any other value. For the last, with
// r = 2q + (r & 1), (a + c + 1 - r) >> 1 = ((a + c + 1 - (r & 1)) >> 1) - q
// exactly, and likewise r = 4q + (r & 3) for the four-sample form: the first
// part is small enough for a lane, and q matters only modulo 2^16, since every
// result is cut to 16 bits. For 0 and 1, q is 0.
constexpr int kAnyRounding = -1;

struct RoundingTerms {
    Vexo8u halfDown;  // r & 1: the byte average rounds down
    Vexo16s bothBias;
    Vexo32s offset[4];  // q per position
};

inline RoundingTerms roundingTerms(Vexo32s rounding) {
    RoundingTerms t;
    t.halfDown = Vexo8u(rounding & 1);
    t.bothBias = Vexo16s(2 - (rounding & 3));
    t.offset[kFull] = 0;
    t.offset[kDown] = t.offset[kRight] = rounding >> 1;
    t.offset[kBoth] = rounding >> 2;
    return t;
}

// a[x] + a[x + 1] along a row, as 16-bit lanes. From SSSE3 on, for plain
// rows: the row and its shift interleaved, summed by pmaddubsw against ones
// (one unpack and one multiply-add in place of two widenings and an add).
template <int L>
inline Lanes<L> rowPairSums(const Vexo8u* p, Vexo32s step) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    if constexpr (L == kWide8 || (L == kWide16 && !kWideLanes<L>)) {
        const __m128i a = loadBytes<L>(p, step), b = loadBytes<L>(p + 1, step);
        const __m128i ones = _mm_set1_epi8(1);
        Lanes<L> r;
        r.v[0] = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), ones);
        if constexpr (L == kWide16) r.v[1] = _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), ones);
        return r;
    }
#endif
    return loadLanes<L>(p, step) + loadLanes<L>(p + kPitch<L>, step);
}

// The predictions of successive steps of rows, less their offset q. Row y
// needs rows y and y + 1 of the reference; with one row a step, each row is
// read once and kept. Two-sample averages are taken on bytes
// ((a + b + 1) >> 1 is exact there) and widened after; four-sample sums need
// 16-bit lanes.
template <int L, int Pos, int Round>
class PredictionRows {
public:
    PredictionRows(const Vexo8u* ref, Vexo32s step, const RoundingTerms& t)
        : ref_(ref), step_(step), bothBias_(splat<L>(Round == kAnyRounding ? t.bothBias : Vexo16s(2 - Round))) {
        broadcast8(halfDown_, t.halfDown);
        if constexpr (kRowsPerStep<L> == 1 && Pos == kDown) aboveBytes_ = loadBytes<L>(ref, step);
        if constexpr (kRowsPerStep<L> == 1 && Pos == kBoth) above_ = rowPairSums<L>(ref, step);
    }

    Lanes<L> next() {
        const Vexo8u* row = ref_;
        ref_ += kRowsPerStep<L> * step_;
        if constexpr (Pos == kFull) {
            return loadLanes<L>(row, step_);
        } else if constexpr (Pos == kRight) {
            return widen<L>(halve(loadBytes<L>(row, step_), loadBytes<L>(row + kPitch<L>, step_)));
        } else if constexpr (Pos == kDown && kRowsPerStep<L> == 2) {
            return widen<L>(halve(loadBytes<L>(row, step_), loadBytes<L>(row + step_, step_)));
        } else if constexpr (Pos == kDown) {
            const Bytes<L> below = loadBytes<L>(ref_, step_);
            const Bytes<L> h = halve(aboveBytes_, below);
            aboveBytes_ = below;
            return widen<L>(h);
        } else {
            Lanes<L> sum;
            if constexpr (kRowsPerStep<L> == 2) {
                sum = rowPairSums<L>(row, step_) + rowPairSums<L>(row + step_, step_) + bothBias_;
            } else {
                const Lanes<L> below = rowPairSums<L>(ref_, step_);
                sum = above_ + below + bothBias_;
                above_ = below;
            }
            // With rounding 3 the biased sum of zeros is -1: shift arithmetically.
            Lanes<L> h;
            for (int i = 0; i < kVectors<L>; ++i) h.v[i] = shiftRightSigned2(sum.v[i]);
            return h;
        }
    }

private:
    Bytes<L> halve(Bytes<L> a, Bytes<L> b) const {
        if constexpr (Round == 0) return averageUp(a, b);
        else return averageDownWhere(a, b, halfDown_);
    }

    const Vexo8u* ref_;
    Vexo32s step_;
    Bytes<L> halfDown_;
    Lanes<L> bothBias_;
    Bytes<L> aboveBytes_;
    Lanes<L> above_;
};

template <int L, int H, int Pos, int Round, bool WithPred>
void residualRows(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, const Planes& out,
                  const Planes& pred, Vexo32s rounding) {
    constexpr bool kOffset = Round == kAnyRounding && Pos != kFull;
    const RoundingTerms t = roundingTerms(rounding);
    const Lanes<L> offset = splat<L>(Vexo16s(t.offset[Pos]));
    PredictionRows<L, Pos, Round> rows(ref, refStep, t);
    RowWriter<L> dstRows(out), predRows(pred);
    for (int y = 0; y < H; y += kRowsPerStep<L>) {
        const Vexo8u* s = rowOf(src, srcStep, y);
        if constexpr (Pos == kFull && !WithPred) {
            dstRows.put(byteDifference<L>(loadBytes<L>(s, srcStep), loadBytes<L>(rowOf(ref, refStep, y), refStep)));
            continue;
        }
        Lanes<L> h = rows.next();
        if constexpr (kOffset) h = h - offset;
        dstRows.put(loadLanes<L>(s, srcStep) - h);
        if constexpr (WithPred) predRows.put(h);
    }
}

template <int L, int H, int Pos, bool WithPred>
inline void residualRowsAnyRounding(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                    const Planes& out, const Planes& pred, Vexo32s rounding) {
    // The full-sample position does not round: one variant serves.
    if (Pos == kFull || rounding == 0)
        residualRows<L, H, Pos, 0, WithPred>(src, srcStep, ref, refStep, out, pred, rounding);
    else if constexpr (Pos == kFull)
        return;
    else if (rounding == 1)
        residualRows<L, H, Pos, 1, WithPred>(src, srcStep, ref, refStep, out, pred, rounding);
    else
        residualRows<L, H, Pos, kAnyRounding, WithPred>(src, srcStep, ref, refStep, out, pred, rounding);
}

template <int W, int H, int Pos, bool Interleaved>
inline void residualBlock(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, const Planes& out,
                          Vexo16s* pred, Vexo32s predStep, Vexo32s rounding) {
    constexpr int L = kLayoutOf<W, Interleaved>;
    if (pred != nullptr) {
        const Planes predPlanes{{pred, nullptr}, {predStep, 0}};
        residualRowsAnyRounding<L, H, Pos, true>(src, srcStep, ref, refStep, out, predPlanes, rounding);
    } else {
        residualRowsAnyRounding<L, H, Pos, false>(src, srcStep, ref, refStep, out, out, rounding);
    }
}

// dst = (2 src - h1 - h2) >> 1 with h = b - q per reference:
// (2 src - b1 - b2 + Q) >> 1 where Q = q1 + q2 = 2 Qh + Ql, which is
// ((2 src - b1 - b2 + Ql) >> 1) + Qh; the first part fits a 16-bit lane.
template <int L, int H, int Pos1, int Pos2, int Round>
void residualPairRows(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                      const Vexo8u* ref2, Vexo32s ref2Step, const Planes& out, Vexo32s rounding) {
    constexpr bool kOffset = Round == kAnyRounding && (Pos1 != kFull || Pos2 != kFull);
    const RoundingTerms t = roundingTerms(rounding);
    const Vexo32u q = Vexo32u(t.offset[Pos1]) + Vexo32u(t.offset[Pos2]);
    const Lanes<L> qLow = splat<L>(Vexo16s(q & 1)), qHigh = splat<L>(Vexo16s(q >> 1));
    PredictionRows<L, Pos1, Round> rows1(ref1, ref1Step, t);
    PredictionRows<L, Pos2, Round> rows2(ref2, ref2Step, t);
    RowWriter<L> dstRows(out);
    auto row = [&](int y) {
        const Lanes<L> s = loadLanes<L>(rowOf(src, srcStep, y), srcStep);
        Lanes<L> x = s + s - rows1.next() - rows2.next();
        if constexpr (kOffset) x = x + qLow;
        for (int i = 0; i < kVectors<L>; ++i) x.v[i] = shiftRightSigned1(x.v[i]);
        if constexpr (kOffset) x = x + qHigh;
        dstRows.put(x);
    };
    // Shorter blocks unroll whole. A 16-row loop taking one row a turn ran up
    // to a sixth slower depending on where it fell in the object; two rows a
    // turn did not.
    constexpr int kStep = kRowsPerStep<L>;
    if constexpr (H / kStep >= 16) {
        for (int y = 0; y < H; y += 2 * kStep) {
            row(y);
            row(y + kStep);
        }
    } else {
        for (int y = 0; y < H; y += kStep) row(y);
    }
}

template <int W, int H, int Pos1, int Pos2, bool Interleaved>
inline void residualPairBlock(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                              const Vexo8u* ref2, Vexo32s ref2Step, const Planes& out, Vexo32s rounding) {
    constexpr int L = kLayoutOf<W, Interleaved, true>;
    if ((Pos1 == kFull && Pos2 == kFull) || rounding == 0)
        residualPairRows<L, H, Pos1, Pos2, 0>(src, srcStep, ref1, ref1Step, ref2, ref2Step, out, rounding);
    else if constexpr (Pos1 == kFull && Pos2 == kFull)
        return;
    else if (rounding == 1)
        residualPairRows<L, H, Pos1, Pos2, 1>(src, srcStep, ref1, ref1Step, ref2, ref2Step, out, rounding);
    else
        residualPairRows<L, H, Pos1, Pos2, kAnyRounding>(src, srcStep, ref1, ref1Step, ref2, ref2Step, out,
                                                         rounding);
}

template <int W, int H>
void subtract8u(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step, Vexo16s* dst,
                Vexo32s dstStep) {
    constexpr int L = kLayoutOf<W, false>;
    RowWriter<L> dstRows(Planes{{dst, nullptr}, {dstStep, 0}});
    for (int y = 0; y < H; y += kRowsPerStep<L>)
        dstRows.put(byteDifference<L>(loadBytes<L>(rowOf(src1, src1Step, y), src1Step),
                                      loadBytes<L>(rowOf(src2, src2Step, y), src2Step)));
}

template <int W, int H>
void subtract16u(const Vexo16u* src1, Vexo32s src1Step, const Vexo16u* src2, Vexo32s src2Step, Vexo16s* dst,
                 Vexo32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const Vexo16u* a = rowOf(src1, src1Step, y);
        const Vexo16u* b = rowOf(src2, src2Step, y);
        Vexo16s* d = rowOf(dst, dstStep, y);
        // The lane subtraction wraps: that is the 16-bit truncation.
        if constexpr (W == 4) store8(d, _mm_sub_epi16(load8(a), load8(b)));
        else store16(d, _mm_sub_epi16(load16(a), load16(b)));
    }
}

// Four rows of differences, eight lanes each, cover blocks k and k + 1 side
// by side. Stores both blocks' differences (each contiguous, row by row) and
// returns their 32-bit partial sums: lanes k01, k23, (k+1)01, (k+1)23.
template <bool Narrow, bool WithDiff>
inline __m128i blockPairSums(__m128i d0, __m128i d1, __m128i d2, __m128i d3, Vexo16s* diff) {
    if constexpr (WithDiff) {
        store16(diff, _mm_unpacklo_epi64(d0, d1));
        store16(diff + 8, _mm_unpacklo_epi64(d2, d3));
        store16(diff + 16, _mm_unpackhi_epi64(d0, d1));
        store16(diff + 24, _mm_unpackhi_epi64(d2, d3));
    }
    const __m128i ones = _mm_set1_epi16(1);
    // Differences of 8-bit samples: four of them still fit a lane. Of 16-bit
    // samples they do not, so those widen first.
    if constexpr (Narrow) {
        return _mm_madd_epi16(_mm_add_epi16(_mm_add_epi16(d0, d1), _mm_add_epi16(d2, d3)), ones);
    } else {
        return _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(d0, ones), _mm_madd_epi16(d1, ones)),
                             _mm_add_epi32(_mm_madd_epi16(d2, ones), _mm_madd_epi16(d3, ones)));
    }
}

// Block sums [k, k+1, k+2, k+3] from two results of blockPairSums.
inline __m128i fourBlockSums(__m128i left, __m128i right) {
    const __m128 l = _mm_castsi128_ps(left), r = _mm_castsi128_ps(right);
    return _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(l, r, _MM_SHUFFLE(2, 0, 2, 0))),
                         _mm_castps_si128(_mm_shuffle_ps(l, r, _MM_SHUFFLE(3, 1, 3, 1))));
}

// Stores 2 or 4 block sums from the low lanes of [k, k+1, k+2, k+3].
template <int Count>
inline void storeSums(Vexo16s* sums, __m128i v) {
    // Sums of 16 differences of 8-bit samples fit 16 bits: the pack is exact.
    const __m128i packed = _mm_packs_epi32(v, v);
    if constexpr (Count == 2) store4(sums, packed);
    else store8(sums, packed);
}
template <int Count>
inline void storeSums(Vexo32s* sums, __m128i v) {
    if constexpr (Count == 2) store8(sums, v);
    else store16(sums, v);
}

// One row of 8 differences as 16-bit lanes, for each sample type.
inline __m128i differenceRow8(const Vexo8u* s, const Vexo8u* r) {
    return _mm_sub_epi16(widenLow(load8(s)), widenLow(load8(r)));
}
inline __m128i differenceRow8(const Vexo16u* s, const Vexo16u* r) { return _mm_sub_epi16(load16(s), load16(r)); }

template <int W, int H, bool WithDiff, class Sample, class Sum>
void sumsDiffRows(const Sample* src, Vexo32s srcStep, const Sample* ref, Vexo32s refStep, Sum* sums,
                  Vexo16s* diff) {
    constexpr bool kNarrow = sizeof(Sample) == 1;
    for (int by = 0; by < H / 4; ++by) {
        __m128i pairSums[2];
        for (int half = 0; half < W / 8; ++half) {
            __m128i d[4];
            for (int y = 0; y < 4; ++y)
                d[y] = differenceRow8(rowOf(src, srcStep, 4 * by + y) + 8 * half,
                                      rowOf(ref, refStep, 4 * by + y) + 8 * half);
            const int k = by * (W / 4) + 2 * half;
            pairSums[half] = blockPairSums<kNarrow, WithDiff>(d[0], d[1], d[2], d[3], diff + 16 * k);
        }
        if constexpr (W == 16) storeSums<4>(sums + 4 * by, fourBlockSums(pairSums[0], pairSums[1]));
        else storeSums<2>(sums + 2 * by, fourBlockSums(pairSums[0], pairSums[0]));
    }
}

#if VEXO_LEVEL >= VEXO_LEVEL_H9
// AVX2, 16 wide: a row of differences is one vector holding blocks
// [k, k+1 | k+2, k+3]. Four rows give the four blocks' differences by 64-bit
// unpacks and 128-bit lane exchanges, and their partial sums; the sums of all
// 16 blocks are put in raster order once at the end.
inline __m256i differenceRow16(const Vexo8u* s, const Vexo8u* r) {
    return _mm256_sub_epi16(_mm256_cvtepu8_epi16(load16(s)), _mm256_cvtepu8_epi16(load16(r)));
}
inline __m256i differenceRow16(const Vexo16u* s, const Vexo16u* r) {
    return _mm256_sub_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s)),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(r)));
}

template <bool WithDiff, class Sample, class Sum>
void sumsDiffRows16x16(const Sample* src, Vexo32s srcStep, const Sample* ref, Vexo32s refStep, Sum* sums,
                       Vexo16s* diff) {
    const __m256i ones = _mm256_set1_epi16(1);
    __m256i partial[4];  // per block row: [k 01, k 23, k+1 01, k+1 23 | k+2 .., k+3 ..]
    for (int by = 0; by < 4; ++by) {
        __m256i d[4];
        for (int y = 0; y < 4; ++y) d[y] = differenceRow16(rowOf(src, srcStep, 4 * by + y), rowOf(ref, refStep, 4 * by + y));
        if constexpr (WithDiff) {
            const __m256i lo01 = _mm256_unpacklo_epi64(d[0], d[1]), lo23 = _mm256_unpacklo_epi64(d[2], d[3]);
            const __m256i hi01 = _mm256_unpackhi_epi64(d[0], d[1]), hi23 = _mm256_unpackhi_epi64(d[2], d[3]);
            __m256i* block = reinterpret_cast<__m256i*>(diff + 64 * by);
            _mm256_storeu_si256(block, _mm256_permute2x128_si256(lo01, lo23, 0x20));
            _mm256_storeu_si256(block + 1, _mm256_permute2x128_si256(hi01, hi23, 0x20));
            _mm256_storeu_si256(block + 2, _mm256_permute2x128_si256(lo01, lo23, 0x31));
            _mm256_storeu_si256(block + 3, _mm256_permute2x128_si256(hi01, hi23, 0x31));
        }
        if constexpr (sizeof(Sample) == 1) {
            // Differences of 8-bit samples: four still fit a lane.
            partial[by] = _mm256_madd_epi16(
                _mm256_add_epi16(_mm256_add_epi16(d[0], d[1]), _mm256_add_epi16(d[2], d[3])), ones);
        } else {
            partial[by] = _mm256_add_epi32(_mm256_add_epi32(_mm256_madd_epi16(d[0], ones), _mm256_madd_epi16(d[1], ones)),
                                           _mm256_add_epi32(_mm256_madd_epi16(d[2], ones), _mm256_madd_epi16(d[3], ones)));
        }
    }
    // [r0: k0 k1, r1: k0 k1 | r0: k2 k3, r1: k2 k3] and the same for rows 2, 3.
    const __m256i rows01 = _mm256_hadd_epi32(partial[0], partial[1]);
    const __m256i rows23 = _mm256_hadd_epi32(partial[2], partial[3]);
    if constexpr (sizeof(Sum) == 2) {
        // 16-bit pairs (r0 k0 k1), (r1 k0 k1), (r2 ..), (r3 ..) | (r0 k2 k3), ...
        const __m256i packed = _mm256_packs_epi32(rows01, rows23);
        const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums), _mm256_permutevar8x32_epi32(packed, order));
    } else {
        const __m256i order = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums), _mm256_permutevar8x32_epi32(rows01, order));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums) + 1, _mm256_permutevar8x32_epi32(rows23, order));
    }
}
#endif

template <int W, int H, class Sample, class Sum>
void sumsDiff(const Sample* src, Vexo32s srcStep, const Sample* ref, Vexo32s refStep, Sum* sums, Vexo16s* diff) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    if constexpr (W == 16) {
        if (diff != nullptr) sumsDiffRows16x16<true>(src, srcStep, ref, refStep, sums, diff);
        else sumsDiffRows16x16<false>(src, srcStep, ref, refStep, sums, diff);
        return;
    }
#endif
    if (diff != nullptr) sumsDiffRows<W, H, true>(src, srcStep, ref, refStep, sums, diff);
    else sumsDiffRows<W, H, false>(src, srcStep, ref, refStep, sums, diff);
}

template <bool WithDiff>
void sumsDiffInterleavedRows(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref0, Vexo32s ref0Step,
                             const Vexo8u* ref1, Vexo32s ref1Step, Vexo16s* sums0, Vexo16s* diff0, Vexo16s* sums1,
                             Vexo16s* diff1) {
    for (int by = 0; by < 2; ++by) {
        __m128i d0[4], d1[4];
        for (int y = 0; y < 4; ++y) {
            const Lanes<kPairs8> s = loadLanes<kPairs8>(rowOf(src, srcStep, 4 * by + y), srcStep);
            d0[y] = _mm_sub_epi16(s.v[0], widenLow(load8(rowOf(ref0, ref0Step, 4 * by + y))));
            d1[y] = _mm_sub_epi16(s.v[1], widenLow(load8(rowOf(ref1, ref1Step, 4 * by + y))));
        }
        const __m128i m0 = blockPairSums<true, WithDiff>(d0[0], d0[1], d0[2], d0[3], diff0 + 32 * by);
        const __m128i m1 = blockPairSums<true, WithDiff>(d1[0], d1[1], d1[2], d1[3], diff1 + 32 * by);
        // [channel 0 blocks 2by, 2by+1, channel 1 blocks 2by, 2by+1]
        const __m128i both = _mm_packs_epi32(fourBlockSums(m0, m1), _mm_setzero_si128());
        store4(sums0 + 2 * by, both);
        store4(sums1 + 2 * by, _mm_srli_si128(both, 4));
    }
}

void sumsDiffInterleaved8x8(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref0, Vexo32s ref0Step,
                            const Vexo8u* ref1, Vexo32s ref1Step, Vexo16s* sums0, Vexo16s* diff0, Vexo16s* sums1,
                            Vexo16s* diff1) {
    if (diff0 != nullptr && diff1 != nullptr)
        sumsDiffInterleavedRows<true>(src, srcStep, ref0, ref0Step, ref1, ref1Step, sums0, diff0, sums1, diff1);
    else
        sumsDiffInterleavedRows<false>(src, srcStep, ref0, ref0Step, ref1, ref1Step, sums0, diff0, sums1, diff1);
}

#endif

// Each kernel has its export's signature, so that an export is its null
// tests and one jump through the table, with the arguments where they came.
using ResidualKernel = VexoStatus (*)(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                      Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep,
                                      Vexo32s mcType, Vexo32s rounding);
using ResidualPairKernel = VexoStatus (*)(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                          Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                          Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding);
using InterleavedPairKernel = VexoStatus (*)(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1,
                                             Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step,
                                             Vexo32s mcType2, Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1,
                                             Vexo32s dst1Step, Vexo32s rounding);

template <int W, int H, int Pos>
VexoStatus residualKernel(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s,
                                   Vexo32s rounding) {
    residualBlock<W, H, Pos, false>(src, srcStep, ref, refStep, Planes{{dst, nullptr}, {dstStep, 0}}, pred,
                                    predStep, rounding);
    return vexoStatusOk;
}

// The interleaved form has the same argument types: two planes in place of
// the residual and the prediction.
template <int H, int Pos>
VexoStatus interleavedKernel(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                      Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step, Vexo32s,
                                      Vexo32s rounding) {
    residualBlock<8, H, Pos, true>(src, srcStep, ref, refStep, Planes{{dst0, dst1}, {dst0Step, dst1Step}}, nullptr,
                                   0, rounding);
    return vexoStatusOk;
}

template <int W, int H, int Pos1, int Pos2>
VexoStatus residualPairKernel(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                       Vexo32s, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s, Vexo16s* dst,
                                       Vexo32s dstStep, Vexo32s rounding) {
    residualPairBlock<W, H, Pos1, Pos2, false>(src, srcStep, ref1, ref1Step, ref2, ref2Step,
                                               Planes{{dst, nullptr}, {dstStep, 0}}, rounding);
    return vexoStatusOk;
}

template <int H, int Pos1, int Pos2>
VexoStatus interleavedPairKernel(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                          Vexo32s, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s, Vexo16s* dst0,
                                          Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step, Vexo32s rounding) {
    residualPairBlock<8, H, Pos1, Pos2, true>(src, srcStep, ref1, ref1Step, ref2, ref2Step,
                                              Planes{{dst0, dst1}, {dst0Step, dst1Step}}, rounding);
    return vexoStatusOk;
}

#define VEXO_FOUR_POSITIONS(kernel, ...) \
    { kernel<__VA_ARGS__, 0>, kernel<__VA_ARGS__, 1>, kernel<__VA_ARGS__, 2>, kernel<__VA_ARGS__, 3> }
// Index ((mcType1 & 12) >> 2) | (mcType2 & 12): the first reference's
// position in the low two bits.
#define VEXO_PAIR_ROW(kernel, P2, ...) \
    kernel<__VA_ARGS__, 0, P2>, kernel<__VA_ARGS__, 1, P2>, kernel<__VA_ARGS__, 2, P2>, kernel<__VA_ARGS__, 3, P2>
#define VEXO_SIXTEEN_PAIRS(kernel, ...)                                                             \
    {                                                                                               \
        VEXO_PAIR_ROW(kernel, 0, __VA_ARGS__), VEXO_PAIR_ROW(kernel, 1, __VA_ARGS__),               \
            VEXO_PAIR_ROW(kernel, 2, __VA_ARGS__), VEXO_PAIR_ROW(kernel, 3, __VA_ARGS__)            \
    }

const ResidualKernel kResidual16x16[4] = VEXO_FOUR_POSITIONS(residualKernel, 16, 16);
const ResidualKernel kResidual16x8[4] = VEXO_FOUR_POSITIONS(residualKernel, 16, 8);
const ResidualKernel kResidual8x16[4] = VEXO_FOUR_POSITIONS(residualKernel, 8, 16);
const ResidualKernel kResidual8x8[4] = VEXO_FOUR_POSITIONS(residualKernel, 8, 8);
const ResidualKernel kResidual8x4[4] = VEXO_FOUR_POSITIONS(residualKernel, 8, 4);
const ResidualKernel kInterleaved8x8[4] = VEXO_FOUR_POSITIONS(interleavedKernel, 8);
const ResidualKernel kInterleaved8x4[4] = VEXO_FOUR_POSITIONS(interleavedKernel, 4);
const ResidualPairKernel kResidualPair16x16[16] = VEXO_SIXTEEN_PAIRS(residualPairKernel, 16, 16);
const ResidualPairKernel kResidualPair16x8[16] = VEXO_SIXTEEN_PAIRS(residualPairKernel, 16, 8);
const ResidualPairKernel kResidualPair8x16[16] = VEXO_SIXTEEN_PAIRS(residualPairKernel, 8, 16);
const ResidualPairKernel kResidualPair8x8[16] = VEXO_SIXTEEN_PAIRS(residualPairKernel, 8, 8);
const ResidualPairKernel kResidualPair8x4[16] = VEXO_SIXTEEN_PAIRS(residualPairKernel, 8, 4);
const InterleavedPairKernel kInterleavedPair8x8[16] = VEXO_SIXTEEN_PAIRS(interleavedPairKernel, 8);
const InterleavedPairKernel kInterleavedPair8x4[16] = VEXO_SIXTEEN_PAIRS(interleavedPairKernel, 4);
#undef VEXO_SIXTEEN_PAIRS
#undef VEXO_PAIR_ROW
#undef VEXO_FOUR_POSITIONS

inline int positionIndex(Vexo32s mcType) { return (mcType & 12) >> 2; }
inline int pairIndex(Vexo32s mcType1, Vexo32s mcType2) { return ((mcType1 & 12) >> 2) | (mcType2 & 12); }

}  // namespace

VexoStatus vexoGetDiff16x16_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                     Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidual16x16[positionIndex(mcType)](src, srcStep, ref, refStep, dst, dstStep, pred, predStep, mcType, rounding);
}
VexoStatus vexoGetDiff16x8_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                    Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidual16x8[positionIndex(mcType)](src, srcStep, ref, refStep, dst, dstStep, pred, predStep, mcType, rounding);
}
VexoStatus vexoGetDiff8x16_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                    Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidual8x16[positionIndex(mcType)](src, srcStep, ref, refStep, dst, dstStep, pred, predStep, mcType, rounding);
}
VexoStatus vexoGetDiff8x8_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                   Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidual8x8[positionIndex(mcType)](src, srcStep, ref, refStep, dst, dstStep, pred, predStep, mcType, rounding);
}
VexoStatus vexoGetDiff8x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                   Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidual8x4[positionIndex(mcType)](src, srcStep, ref, refStep, dst, dstStep, pred, predStep, mcType, rounding);
}
VexoStatus vexoGetDiff4x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo16s*, Vexo32s, Vexo32s, Vexo32s) {
    // The 4x4 form has the shape of the others but is a plain difference.
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    subtract8u<4, 4>(src, srcStep, ref, refStep, dst, dstStep);
    return vexoStatusOk;
}

VexoStatus vexoGetDiff16x16B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                      Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                      Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidualPair16x16[pairIndex(mcType1, mcType2)](src, srcStep, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, dst,
                                             dstStep, rounding);
}
VexoStatus vexoGetDiff16x8B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                     Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                     Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidualPair16x8[pairIndex(mcType1, mcType2)](src, srcStep, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, dst,
                                             dstStep, rounding);
}
VexoStatus vexoGetDiff8x16B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                     Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                     Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidualPair8x16[pairIndex(mcType1, mcType2)](src, srcStep, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, dst,
                                             dstStep, rounding);
}
VexoStatus vexoGetDiff8x8B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                    Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidualPair8x8[pairIndex(mcType1, mcType2)](src, srcStep, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, dst,
                                             dstStep, rounding);
}
VexoStatus vexoGetDiff8x4B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                    Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    return kResidualPair8x4[pairIndex(mcType1, mcType2)](src, srcStep, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, dst,
                                             dstStep, rounding);
}

VexoStatus vexoGetDiff8x8_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                     Vexo32s mcType, Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst0 == nullptr || dst1 == nullptr) return vexoStatusNullPointer;
    return kInterleaved8x8[positionIndex(mcType)](src, srcStep, ref, refStep, dst0, dst0Step, dst1, dst1Step, mcType,
                                                rounding);
}
VexoStatus vexoGetDiff8x4_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                     Vexo32s mcType, Vexo32s rounding) {
    if (src == nullptr || ref == nullptr || dst0 == nullptr || dst1 == nullptr) return vexoStatusNullPointer;
    return kInterleaved8x4[positionIndex(mcType)](src, srcStep, ref, refStep, dst0, dst0Step, dst1, dst1Step, mcType,
                                                rounding);
}
VexoStatus vexoGetDiff8x8B_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                      Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                      Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                      Vexo32s rounding) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || dst0 == nullptr || dst1 == nullptr)
        return vexoStatusNullPointer;
    return kInterleavedPair8x8[pairIndex(mcType1, mcType2)](src, srcStep, ref1, ref1Step, mcType1, ref2, ref2Step,
                                                        mcType2, dst0, dst0Step, dst1, dst1Step, rounding);
}
VexoStatus vexoGetDiff8x4B_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                      Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                      Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                      Vexo32s rounding) {
    if (src == nullptr || ref1 == nullptr || ref2 == nullptr || dst0 == nullptr || dst1 == nullptr)
        return vexoStatusNullPointer;
    return kInterleavedPair8x4[pairIndex(mcType1, mcType2)](src, srcStep, ref1, ref1Step, mcType1, ref2, ref2Step,
                                                        mcType2, dst0, dst0Step, dst1, dst1Step, rounding);
}

VexoStatus vexoSub16x16_8u16s_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                  Vexo16s* dst, Vexo32s dstStep) {
    if (src1 == nullptr || src2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    subtract8u<16, 16>(src1, src1Step, src2, src2Step, dst, dstStep);
    return vexoStatusOk;
}
VexoStatus vexoSub8x8_8u16s_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                Vexo16s* dst, Vexo32s dstStep) {
    if (src1 == nullptr || src2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    subtract8u<8, 8>(src1, src1Step, src2, src2Step, dst, dstStep);
    return vexoStatusOk;
}
VexoStatus vexoSub4x4_8u16s_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                Vexo16s* dst, Vexo32s dstStep) {
    if (src1 == nullptr || src2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    subtract8u<4, 4>(src1, src1Step, src2, src2Step, dst, dstStep);
    return vexoStatusOk;
}
VexoStatus vexoSub8x8_16u16s_C1R(const Vexo16u* src1, Vexo32s src1Step, const Vexo16u* src2, Vexo32s src2Step,
                                 Vexo16s* dst, Vexo32s dstStep) {
    if (src1 == nullptr || src2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    subtract16u<8, 8>(src1, src1Step, src2, src2Step, dst, dstStep);
    return vexoStatusOk;
}
VexoStatus vexoSub4x4_16u16s_C1R(const Vexo16u* src1, Vexo32s src1Step, const Vexo16u* src2, Vexo32s src2Step,
                                 Vexo16s* dst, Vexo32s dstStep) {
    if (src1 == nullptr || src2 == nullptr || dst == nullptr) return vexoStatusNullPointer;
    subtract16u<4, 4>(src1, src1Step, src2, src2Step, dst, dstStep);
    return vexoStatusOk;
}

VexoStatus vexoSumsDiff16x16Blocks4x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref,
                                               Vexo32s refStep, Vexo16s* sums, Vexo16s* diff) {
    if (src == nullptr || ref == nullptr || sums == nullptr) return vexoStatusNullPointer;
    sumsDiff<16, 16>(src, srcStep, ref, refStep, sums, diff);
    return vexoStatusOk;
}
VexoStatus vexoSumsDiff8x8Blocks4x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                             Vexo16s* sums, Vexo16s* diff) {
    if (src == nullptr || ref == nullptr || sums == nullptr) return vexoStatusNullPointer;
    sumsDiff<8, 8>(src, srcStep, ref, refStep, sums, diff);
    return vexoStatusOk;
}
VexoStatus vexoSumsDiff16x16Blocks4x4_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                                 Vexo32s refStep, Vexo32s* sums, Vexo16s* diff) {
    if (src == nullptr || ref == nullptr || sums == nullptr) return vexoStatusNullPointer;
    sumsDiff<16, 16>(src, srcStep, ref, refStep, sums, diff);
    return vexoStatusOk;
}
VexoStatus vexoSumsDiff8x8Blocks4x4_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                               Vexo32s refStep, Vexo32s* sums, Vexo16s* diff) {
    if (src == nullptr || ref == nullptr || sums == nullptr) return vexoStatusNullPointer;
    sumsDiff<8, 8>(src, srcStep, ref, refStep, sums, diff);
    return vexoStatusOk;
}
VexoStatus vexoSumsDiff8x8Blocks4x4_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref0,
                                               Vexo32s ref0Step, const Vexo8u* ref1, Vexo32s ref1Step,
                                               Vexo16s* sums0, Vexo16s* diff0, Vexo16s* sums1, Vexo16s* diff1) {
    if (src == nullptr || ref0 == nullptr || ref1 == nullptr || sums0 == nullptr || sums1 == nullptr)
        return vexoStatusNullPointer;
    // One difference plane without the other is not stored at all.
    if (diff0 == nullptr || diff1 == nullptr) diff0 = diff1 = nullptr;
    sumsDiffInterleaved8x8(src, srcStep, ref0, ref0Step, ref1, ref1Step, sums0, diff0, sums1, diff1);
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH
