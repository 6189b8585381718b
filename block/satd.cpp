// Hadamard-domain costs: the sum of absolute values of the Hadamard transform
// of a difference block, 4x4 tiles for SATD and one 8x8 tile for SAT8x8D,
// unnormalised.
//
// The row transform's results are kept in 16 bits. For 8-bit samples that
// never wraps (a 4x4 tile reaches 16 * 255, an 8x8 one 64 * 255), so the
// vector forms are free to take the stages in any order. The 16-bit form of
// SAT8x8D does wrap: its difference and its row results are truncated to 16
// bits, and only then the columns are transformed in 32 bits.
//
// Vector forms, 8-bit samples: pmaddubsw against +1,+1 and +1,-1 bytes turns
// a row of samples into pair sums E = x0 + x1, x2 + x3 and pair differences
// O = x0 - x1, x2 - x3, which is the first horizontal stage done while
// widening (SSE2 gets there by masking and shifting). The vertical stages run
// lane by lane across the rows of a tile. The last horizontal stage pairs two
// neighbouring 16-bit lanes, and is never computed: |a + b| + |a - b| =
// 2 max(|a|, |b|), so swapping the lanes of each pair and taking the maximum
// leaves that maximum in both lanes, and the plain sum of all lanes is the
// cost (with SSE4.1 blends, two registers share one swap and one maximum, and
// the lanes sum to half the cost).
#include "core/path.h"
#include "core/simd.h"

// Exports and table kernels start on a cache line: the same instructions in
// two paths otherwise time differently by where the linker happens to put them.
#define VEXO_LINE_ALIGNED __attribute__((aligned(64)))

namespace vexo::VEXO_PATH {
namespace {

inline std::ptrdiff_t offsetOf(int y, Vexo32s step) { return std::ptrdiff_t(y) * step; }
inline Vexo32s magnitude(Vexo32s v) { return v < 0 ? -v : v; }

template <class T>
inline const T* rowAt(const T* base, Vexo32s stepBytes, int y) {
    return reinterpret_cast<const T*>(reinterpret_cast<const Vexo8u*>(base) + offsetOf(y, stepBytes));
}

// --- Scalar forms ---------------------------------------------------------------

// One 4x4 tile: rows first, stored in 16 bits, then the columns.
template <class T>
Vexo32s tileCost4x4(const T* src, Vexo32s srcStep, const T* ref, Vexo32s refStep) {
    Vexo16s rows[4][4];
    for (int y = 0; y < 4; ++y) {
        const T* s = rowAt(src, srcStep, y);
        const T* r = rowAt(ref, refStep, y);
        Vexo32s d[4];
        for (int x = 0; x < 4; ++x) d[x] = Vexo16s(Vexo32s(s[x]) - Vexo32s(r[x]));
        const Vexo32s a0 = d[0] + d[1], a1 = d[0] - d[1], a2 = d[2] + d[3], a3 = d[2] - d[3];
        rows[y][0] = Vexo16s(a0 + a2);
        rows[y][1] = Vexo16s(a1 + a3);
        rows[y][2] = Vexo16s(a0 - a2);
        rows[y][3] = Vexo16s(a1 - a3);
    }
    Vexo32s total = 0;
    for (int x = 0; x < 4; ++x) {
        const Vexo32s a0 = rows[0][x] + rows[1][x], a1 = rows[0][x] - rows[1][x];
        const Vexo32s a2 = rows[2][x] + rows[3][x], a3 = rows[2][x] - rows[3][x];
        total += magnitude(a0 + a2) + magnitude(a1 + a3) + magnitude(a0 - a2) + magnitude(a1 - a3);
    }
    return total;
}

// 8-point Hadamard transform in place, three butterfly stages.
inline void hadamard8(Vexo32s v[8]) {
    for (int span = 1; span < 8; span *= 2) {
        for (int i = 0; i < 8; i += 2 * span) {
            for (int j = i; j < i + span; ++j) {
                const Vexo32s a = v[j], b = v[j + span];
                v[j] = a + b;
                v[j + span] = a - b;
            }
        }
    }
}

template <class T>
Vexo32s tileCost8x8Scalar(const T* src, Vexo32s srcStep, const T* ref, Vexo32s refStep) {
    Vexo16s rows[8][8];
    for (int y = 0; y < 8; ++y) {
        const T* s = rowAt(src, srcStep, y);
        const T* r = rowAt(ref, refStep, y);
        Vexo32s v[8];
        for (int x = 0; x < 8; ++x) v[x] = Vexo16s(Vexo32s(s[x]) - Vexo32s(r[x]));
        hadamard8(v);
        for (int x = 0; x < 8; ++x) rows[y][x] = Vexo16s(v[x]);
    }
    Vexo32s total = 0;
    for (int x = 0; x < 8; ++x) {
        Vexo32s v[8];
        for (int y = 0; y < 8; ++y) v[y] = rows[y][x];
        hadamard8(v);
        for (int y = 0; y < 8; ++y) total += magnitude(v[y]);
    }
    return total;
}

#if VEXO_LEVEL >= VEXO_LEVEL_W7
using namespace simd;

// --- Vector helpers -----------------------------------------------------------------

// Vector constants, read from this path's own tables. Left alone, the
// compiler rebuilds repeated-element constants from general registers, three
// instructions where a load (usually folded into its user) costs nothing.
#define VEXO_PAIRS4(a, b) a, b, a, b, a, b, a, b
#define VEXO_PAIRS8(a, b) VEXO_PAIRS4(a, b), VEXO_PAIRS4(a, b)
#define VEXO_PAIRS16(a, b) VEXO_PAIRS8(a, b), VEXO_PAIRS8(a, b)
alignas(32) const Vexo8u kSwapPairs[32] = {2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13,
                                           2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13};
alignas(32) const Vexo8u kOnes16[32] = {VEXO_PAIRS16(1, 0)};         // 16-bit lanes of 1
alignas(32) const Vexo8u kLowBytes[16] = {VEXO_PAIRS8(0xFF, 0)};     // 16-bit lanes of 0x00FF
alignas(32) const Vexo8u kPlus[16] = {VEXO_PAIRS8(1, 1)};            // bytes +1, +1
alignas(32) const Vexo8u kPlusMinus[16] = {VEXO_PAIRS8(1, 0xFF)};    // bytes +1, -1
// +1, +1 for the low eight bytes of each 16, +1, -1 for the high eight.
alignas(32) const Vexo8u kRowSigns[32] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 0xFF, 1, 0xFF, 1, 0xFF, 1, 0xFF,
                                          1, 1, 1, 1, 1, 1, 1, 1, 1, 0xFF, 1, 0xFF, 1, 0xFF, 1, 0xFF};
// +1, +1 for the low sixteen bytes, +1, -1 for the high sixteen.
alignas(32) const Vexo8u kLaneSigns[32] = {VEXO_PAIRS8(1, 1), VEXO_PAIRS8(1, 0xFF)};
#undef VEXO_PAIRS16
#undef VEXO_PAIRS8
#undef VEXO_PAIRS4

inline const void* opaque(const void* p) {
#if VEXO_LEVEL >= VEXO_LEVEL_G9
    __asm__("" : "+r"(p));  // the compiler may not know the value
#endif
    return p;
}
inline __m128i constant128(const Vexo8u* table) { return _mm_load_si128(static_cast<const __m128i*>(opaque(table))); }

inline __m128i abs16(__m128i v) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    return _mm_abs_epi16(v);
#else
    return _mm_max_epi16(v, _mm_sub_epi16(_mm_setzero_si128(), v));
#endif
}

// Each 16-bit lane pair (2k, 2k + 1) swapped.
inline __m128i swapPairs(__m128i v) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    return _mm_shuffle_epi8(v, constant128(kSwapPairs));
#else
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0xB1), 0xB1);
#endif
}

// max(|a|, |b|) of each lane pair, in both lanes: the last butterfly stage,
// summed, without computing it.
inline __m128i lastStage(__m128i v) {
    const __m128i a = abs16(v);
    return _mm_max_epi16(a, swapPairs(a));
}

// Two registers folded together. From SSE4.1 on, blends put each lane pair
// of a beside the same pair of b, so one swap and one maximum serve both and
// every maximum lands in one lane only: the lanes then sum to half the cost.
constexpr int kFoldScale = VEXO_LEVEL >= VEXO_LEVEL_P8 ? 2 : 1;
inline __m128i foldPair(__m128i a, __m128i b) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
    const __m128i x = _mm_abs_epi16(a), y = _mm_abs_epi16(b);
    return _mm_max_epi16(_mm_blend_epi16(x, y, 0xAA), swapPairs(_mm_blend_epi16(y, x, 0xAA)));
#else
    return _mm_add_epi16(lastStage(a), lastStage(b));
#endif
}

inline Vexo32s sumOfDwords(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0xB1));
    return _mm_cvtsi128_si32(v);
}
inline __m128i widenSum(__m128i words) { return _mm_madd_epi16(words, constant128(kOnes16)); }
// The sum of eight 16-bit lanes (as signed); the last step in general
// registers where there are 64-bit ones.
inline Vexo32s sumOfWords(__m128i words) {
    __m128i d = widenSum(words);
    d = _mm_add_epi32(d, _mm_shuffle_epi32(d, 0x4E));
#if defined(__x86_64__)
    const Vexo64s pair = _mm_cvtsi128_si64(d);
    return Vexo32s(Vexo32u(pair) + Vexo32u(std::uint64_t(pair) >> 32));
#else
    return _mm_cvtsi128_si32(_mm_add_epi32(d, _mm_shuffle_epi32(d, 0xB1)));
#endif
}

// Pair sums and pair differences of the byte differences a - b, for the 16
// bytes given: E holds x0 + x1, x2 + x3 of each group of four bytes, O holds
// x0 - x1, x2 - x3, both in lane order.
struct PairStage {
    __m128i sums, differences;
};
inline PairStage pairStage(__m128i a, __m128i b) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    const __m128i plus = constant128(kPlus), minus = constant128(kPlusMinus);
    return {_mm_sub_epi16(_mm_maddubs_epi16(a, plus), _mm_maddubs_epi16(b, plus)),
            _mm_sub_epi16(_mm_maddubs_epi16(a, minus), _mm_maddubs_epi16(b, minus))};
#else
    const __m128i low = constant128(kLowBytes);
    const __m128i even = _mm_sub_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
    const __m128i odd = _mm_sub_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
    return {_mm_add_epi16(even, odd), _mm_sub_epi16(even, odd)};
#endif
}

#if VEXO_LEVEL >= VEXO_LEVEL_V8
inline __m128i loadDuplicated8(const Vexo8u* p) {
    return _mm_castpd_si128(_mm_movedup_pd(_mm_castsi128_pd(load8(p))));
}
// One 8-sample row duplicated against +1,+1 bytes then +1,-1 bytes: the pair
// sums of both tiles in the low half, their pair differences in the high half.
inline __m128i pairStage8(const Vexo8u* s, const Vexo8u* r) {
    const __m128i signs = constant128(kRowSigns);
    return _mm_sub_epi16(_mm_maddubs_epi16(loadDuplicated8(s), signs), _mm_maddubs_epi16(loadDuplicated8(r), signs));
}
#endif

// Vertical 4-point transform lane by lane over four rows, then the last stage.
inline __m128i columnsAndLastStage(__m128i r0, __m128i r1, __m128i r2, __m128i r3) {
    const __m128i a0 = _mm_add_epi16(r0, r1), a1 = _mm_sub_epi16(r0, r1);
    const __m128i a2 = _mm_add_epi16(r2, r3), a3 = _mm_sub_epi16(r2, r3);
    // Each lane at most 4 * 2040 (2 * 2040 folded in pairs): this fits.
    return _mm_add_epi16(foldPair(_mm_add_epi16(a0, a2), _mm_add_epi16(a1, a3)),
                         foldPair(_mm_sub_epi16(a0, a2), _mm_sub_epi16(a1, a3)));
}

// --- SATD: 4-wide blocks --------------------------------------------------------------

// Rows y and y + 1 of a 4-wide block as 16-bit differences src - ref, row y
// in the low half.
inline __m128i rowDifferences4x2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    const __m128i upper = _mm_unpacklo_epi8(load4(src), load4(ref));
    const __m128i lower = _mm_unpacklo_epi8(load4(src + srcStep), load4(ref + refStep));
    const __m128i both = _mm_unpacklo_epi64(upper, lower);
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    // Interleaved s, r bytes against +1, -1: s - r in one instruction.
    return _mm_maddubs_epi16(both, constant128(kPlusMinus));
#else
    const __m128i low = constant128(kLowBytes);
    return _mm_sub_epi16(_mm_and_si128(both, low), _mm_srli_epi16(both, 8));
#endif
}

// One tile, as 16-bit lanes of lane-pair maxima (at most 8 * 2040 in all).
inline __m128i tileLanes4x4(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    const __m128i d01 = rowDifferences4x2(src, srcStep, ref, refStep);
    const __m128i d23 = rowDifferences4x2(src + offsetOf(2, srcStep), srcStep, ref + offsetOf(2, refStep), refStep);
    // Rows 0, 1 against rows 2, 3, then row 0 against row 1 (the halves).
    const __m128i plus = _mm_add_epi16(d01, d23), minus = _mm_sub_epi16(d01, d23);
    const __m128i top = _mm_unpacklo_epi64(plus, minus), bottom = _mm_unpackhi_epi64(plus, minus);
    const __m128i c02 = _mm_add_epi16(top, bottom), c13 = _mm_sub_epi16(top, bottom);
    // Column 0 against column 2 and 1 against 3: the even dwords against the
    // odd ones; the last stage, columns 0 against 1, is the folded one.
    const __m128 pf = _mm_castsi128_ps(c02), mf = _mm_castsi128_ps(c13);
    const __m128i even = _mm_castps_si128(_mm_shuffle_ps(pf, mf, 0x88));
    const __m128i odd = _mm_castps_si128(_mm_shuffle_ps(pf, mf, 0xDD));
    return foldPair(_mm_add_epi16(even, odd), _mm_sub_epi16(even, odd));
}

template <int H>
Vexo32s satd4Wide(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    __m128i lanes = tileLanes4x4(src, srcStep, ref, refStep);
    if constexpr (H == 8)
        lanes = _mm_add_epi16(lanes, tileLanes4x4(src + offsetOf(4, srcStep), srcStep, ref + offsetOf(4, refStep), refStep));
    return sumOfWords(lanes);
}

// --- SATD: 8- and 16-wide blocks, 128-bit -----------------------------------------------

#if VEXO_LEVEL < VEXO_LEVEL_V8
// A band of four rows of a 16-wide block: 16-bit lane sums (at most 8 * 2040).
inline __m128i band16(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    PairStage r[4];
    for (int k = 0; k < 4; ++k) r[k] = pairStage(load16(src + offsetOf(k, srcStep)), load16(ref + offsetOf(k, refStep)));
    return _mm_add_epi16(columnsAndLastStage(r[0].sums, r[1].sums, r[2].sums, r[3].sums),
                         columnsAndLastStage(r[0].differences, r[1].differences, r[2].differences, r[3].differences));
}
#else
// Four rows of a 16-wide block against one sign pattern: their pair sums or
// their pair differences, columns and last stage done.
inline __m128i pairHalfBand16(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, __m128i signs) {
    __m128i r[4];
    for (int k = 0; k < 4; ++k)
        r[k] = _mm_sub_epi16(_mm_maddubs_epi16(load16(src + offsetOf(k, srcStep)), signs),
                             _mm_maddubs_epi16(load16(ref + offsetOf(k, refStep)), signs));
    return columnsAndLastStage(r[0], r[1], r[2], r[3]);
}
#endif

// A band of four rows of an 8-wide block (at most 4 * 2040 per lane).
inline __m128i band8(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    __m128i r[4];
    for (int k = 0; k < 4; ++k) r[k] = pairStage8(src + offsetOf(k, srcStep), ref + offsetOf(k, refStep));
    return columnsAndLastStage(r[0], r[1], r[2], r[3]);
#else
    // Eight samples give four pair sums and four pair differences: one
    // register holds both.
    __m128i r[4];
    for (int k = 0; k < 4; ++k) {
        const PairStage p = pairStage(load8(src + offsetOf(k, srcStep)), load8(ref + offsetOf(k, refStep)));
        r[k] = _mm_unpacklo_epi64(p.sums, p.differences);
    }
    return columnsAndLastStage(r[0], r[1], r[2], r[3]);
#endif
}

#if VEXO_LEVEL < VEXO_LEVEL_V8
// Without pmaddubsw a half-filled register costs as much as a full one: two
// bands of an 8-wide block, rows k and k + 4, share the registers.
inline __m128i twoBands8(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    PairStage r[4];
    for (int k = 0; k < 4; ++k) {
        const __m128i s = _mm_unpacklo_epi64(load8(src + offsetOf(k, srcStep)), load8(src + offsetOf(k + 4, srcStep)));
        const __m128i t = _mm_unpacklo_epi64(load8(ref + offsetOf(k, refStep)), load8(ref + offsetOf(k + 4, refStep)));
        r[k] = pairStage(s, t);
    }
    return _mm_add_epi16(columnsAndLastStage(r[0].sums, r[1].sums, r[2].sums, r[3].sums),
                         columnsAndLastStage(r[0].differences, r[1].differences, r[2].differences, r[3].differences));
}
#endif

#if VEXO_LEVEL >= VEXO_LEVEL_H9
// --- SATD: AVX2, a whole 16-sample row or two 8-sample rows per register ---------------

inline __m256i constant256(const Vexo8u* table) { return _mm256_load_si256(static_cast<const __m256i*>(opaque(table))); }
inline __m256i foldPair(__m256i a, __m256i b) {
    const __m256i x = _mm256_abs_epi16(a), y = _mm256_abs_epi16(b);
    return _mm256_max_epi16(_mm256_blend_epi16(x, y, 0xAA),
                            _mm256_shuffle_epi8(_mm256_blend_epi16(y, x, 0xAA), constant256(kSwapPairs)));
}
inline __m256i columnsAndLastStage(__m256i r0, __m256i r1, __m256i r2, __m256i r3) {
    const __m256i a0 = _mm256_add_epi16(r0, r1), a1 = _mm256_sub_epi16(r0, r1);
    const __m256i a2 = _mm256_add_epi16(r2, r3), a3 = _mm256_sub_epi16(r2, r3);
    return _mm256_add_epi16(foldPair(_mm256_add_epi16(a0, a2), _mm256_add_epi16(a1, a3)),
                            foldPair(_mm256_sub_epi16(a0, a2), _mm256_sub_epi16(a1, a3)));
}
// Low half +1,+1 bytes, high half +1,-1: a row broadcast to both halves comes
// out as its pair sums then its pair differences.
inline __m256i pairSigns256() { return constant256(kLaneSigns); }
inline __m256i pairStageRow16(const Vexo8u* s, const Vexo8u* r, __m256i signs) {
    const __m256i a = _mm256_broadcastsi128_si256(load16(s));
    const __m256i b = _mm256_broadcastsi128_si256(load16(r));
    return _mm256_sub_epi16(_mm256_maddubs_epi16(a, signs), _mm256_maddubs_epi16(b, signs));
}
inline __m256i band16(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, __m256i signs) {
    __m256i r[4];
    for (int k = 0; k < 4; ++k) r[k] = pairStageRow16(src + offsetOf(k, srcStep), ref + offsetOf(k, refStep), signs);
    return columnsAndLastStage(r[0], r[1], r[2], r[3]);
}
// Rows k and k + 4 of an 8-wide block, each duplicated into its own half.
inline __m256i pairStageRows8(const Vexo8u* s, const Vexo8u* r, Vexo32s srcStep, Vexo32s refStep) {
    const __m256i signs = constant256(kRowSigns);
    const __m256i a = _mm256_inserti128_si256(_mm256_castsi128_si256(loadDuplicated8(s)),
                                              loadDuplicated8(s + offsetOf(4, srcStep)), 1);
    const __m256i b = _mm256_inserti128_si256(_mm256_castsi128_si256(loadDuplicated8(r)),
                                              loadDuplicated8(r + offsetOf(4, refStep)), 1);
    return _mm256_sub_epi16(_mm256_maddubs_epi16(a, signs), _mm256_maddubs_epi16(b, signs));
}
inline __m256i twoBands8(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    __m256i r[4];
    for (int k = 0; k < 4; ++k) r[k] = pairStageRows8(src + offsetOf(k, srcStep), ref + offsetOf(k, refStep), srcStep, refStep);
    return columnsAndLastStage(r[0], r[1], r[2], r[3]);
}
inline Vexo32s sumOfWords(__m256i words) {
    const __m256i d = _mm256_madd_epi16(words, constant256(kOnes16));
    return sumOfDwords(_mm_add_epi32(_mm256_castsi256_si128(d), _mm256_extracti128_si256(d, 1)));
}
#endif

template <int W, int H>
Vexo32s satdWide(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    if constexpr (W == 16) {
        // Four bands: at most 16 * 2040 per lane.
        const __m256i signs = pairSigns256();
        __m256i lanes = band16(src, srcStep, ref, refStep, signs);
        for (int y = 4; y < H; y += 4)
            lanes = _mm256_add_epi16(lanes, band16(src + offsetOf(y, srcStep), srcStep, ref + offsetOf(y, refStep), refStep, signs));
        return sumOfWords(lanes);
    } else if constexpr (H >= 8) {
        __m256i lanes = twoBands8(src, srcStep, ref, refStep);
        if constexpr (H == 16)
            lanes = _mm256_add_epi16(lanes, twoBands8(src + offsetOf(8, srcStep), srcStep, ref + offsetOf(8, refStep), refStep));
        return sumOfWords(lanes);
    }
#endif
    if constexpr (W == 16) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
        // The pair sums of four rows, then (loading again) their pair
        // differences: four live row registers leave room for the rest.
        // Each half of a band adds at most 4 * 2040 to a lane.
        const __m128i plus = constant128(kPlus), minus = constant128(kPlusMinus);
        __m128i total = _mm_setzero_si128();
        for (int y = 0; y < H; y += 8) {
            __m128i lanes = _mm_setzero_si128();
            for (int band = y; band < y + 8; band += 4) {
                const Vexo8u* s = src + offsetOf(band, srcStep);
                const Vexo8u* r = ref + offsetOf(band, refStep);
                lanes = _mm_add_epi16(lanes, pairHalfBand16(s, srcStep, r, refStep, plus));
                lanes = _mm_add_epi16(lanes, pairHalfBand16(s, srcStep, r, refStep, minus));
            }
            total = _mm_add_epi32(total, widenSum(lanes));
        }
        return sumOfDwords(total);
#else
        // Two bands fit the 16-bit lanes; widen after each pair.
        __m128i total = _mm_setzero_si128();
        for (int y = 0; y < H; y += 8) {
            const __m128i lanes = _mm_add_epi16(band16(src + offsetOf(y, srcStep), srcStep, ref + offsetOf(y, refStep), refStep),
                                                band16(src + offsetOf(y + 4, srcStep), srcStep, ref + offsetOf(y + 4, refStep), refStep));
            total = _mm_add_epi32(total, widenSum(lanes));
        }
        return sumOfDwords(total);
#endif
    } else {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
        __m128i lanes = band8(src, srcStep, ref, refStep);
        for (int y = 4; y < H; y += 4)
            lanes = _mm_add_epi16(lanes, band8(src + offsetOf(y, srcStep), srcStep, ref + offsetOf(y, refStep), refStep));
        return sumOfDwords(widenSum(lanes));
#else
        if constexpr (H == 4) {
            return sumOfDwords(widenSum(band8(src, srcStep, ref, refStep)));
        } else {
            __m128i lanes = twoBands8(src, srcStep, ref, refStep);
            if constexpr (H == 16)
                lanes = _mm_add_epi16(lanes, twoBands8(src + offsetOf(8, srcStep), srcStep, ref + offsetOf(8, refStep), refStep));
            return sumOfDwords(widenSum(lanes));
        }
#endif
    }
}

// --- SAT8x8D --------------------------------------------------------------------------

// 8x8 transpose of 16-bit lanes.
inline void transpose8x8(__m128i v[8]) {
    const __m128i a0 = _mm_unpacklo_epi16(v[0], v[1]), a1 = _mm_unpackhi_epi16(v[0], v[1]);
    const __m128i a2 = _mm_unpacklo_epi16(v[2], v[3]), a3 = _mm_unpackhi_epi16(v[2], v[3]);
    const __m128i a4 = _mm_unpacklo_epi16(v[4], v[5]), a5 = _mm_unpackhi_epi16(v[4], v[5]);
    const __m128i a6 = _mm_unpacklo_epi16(v[6], v[7]), a7 = _mm_unpackhi_epi16(v[6], v[7]);
    const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
    const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
    const __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
    const __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
    v[0] = _mm_unpacklo_epi64(b0, b4);
    v[1] = _mm_unpackhi_epi64(b0, b4);
    v[2] = _mm_unpacklo_epi64(b1, b5);
    v[3] = _mm_unpackhi_epi64(b1, b5);
    v[4] = _mm_unpacklo_epi64(b2, b6);
    v[5] = _mm_unpackhi_epi64(b2, b6);
    v[6] = _mm_unpacklo_epi64(b3, b7);
    v[7] = _mm_unpackhi_epi64(b3, b7);
}

// Butterfly stages across registers, written out so that the registers stay
// registers (a loop over the spans leaves the array in memory).
template <class Add, class Sub>
inline void butterfly(__m128i& a, __m128i& b, Add add, Sub sub) {
    const __m128i sum = add(a, b);
    b = sub(a, b);
    a = sum;
}
template <class Add, class Sub>
inline void stagesUpTo4(__m128i v[8], Add add, Sub sub) {
    butterfly(v[0], v[1], add, sub);
    butterfly(v[2], v[3], add, sub);
    butterfly(v[4], v[5], add, sub);
    butterfly(v[6], v[7], add, sub);
    butterfly(v[0], v[2], add, sub);
    butterfly(v[1], v[3], add, sub);
    butterfly(v[4], v[6], add, sub);
    butterfly(v[5], v[7], add, sub);
}
template <class Add, class Sub>
inline void stages8(__m128i v[8], Add add, Sub sub) {
    stagesUpTo4(v, add, sub);
    butterfly(v[0], v[4], add, sub);
    butterfly(v[1], v[5], add, sub);
    butterfly(v[2], v[6], add, sub);
    butterfly(v[3], v[7], add, sub);
}
struct Add16 {
    __m128i operator()(__m128i a, __m128i b) const { return _mm_add_epi16(a, b); }
};
struct Sub16 {
    __m128i operator()(__m128i a, __m128i b) const { return _mm_sub_epi16(a, b); }
};
struct Add32 {
    __m128i operator()(__m128i a, __m128i b) const { return _mm_add_epi32(a, b); }
};
struct Sub32 {
    __m128i operator()(__m128i a, __m128i b) const { return _mm_sub_epi32(a, b); }
};

// 8-bit samples: nothing wraps, so the columns go first on the rows as
// loaded, then one transpose and the row stages, the last one folded.
Vexo32s tileCost8x8(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    __m128i v[8];
    for (int y = 0; y < 8; ++y) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
        const __m128i pm = constant128(kPlusMinus);
        v[y] = _mm_maddubs_epi16(_mm_unpacklo_epi8(load8(src + offsetOf(y, srcStep)), load8(ref + offsetOf(y, refStep))), pm);
#else
        v[y] = _mm_sub_epi16(widenLow(load8(src + offsetOf(y, srcStep))), widenLow(load8(ref + offsetOf(y, refStep))));
#endif
    }
    stages8(v, Add16(), Sub16());
    transpose8x8(v);
    // Two more stages across registers; the third pairs registers j and j + 4,
    // folded as 2 max(|a|, |b|). Each maximum is at most 32 * 255.
    stagesUpTo4(v, Add16(), Sub16());
    // Not the same stage order as the scalar form, which is allowed here:
    // the stages commute, the set of results is the same.
    __m128i total = _mm_setzero_si128();
    for (int j = 0; j < 4; ++j) total = _mm_add_epi32(total, widenSum(_mm_max_epi16(abs16(v[j]), abs16(v[j + 4]))));
    return 2 * sumOfDwords(total);
}

inline __m128i abs32(__m128i v) {
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    return _mm_abs_epi32(v);
#else
    const __m128i sign = _mm_srai_epi32(v, 31);
    return _mm_sub_epi32(_mm_xor_si128(v, sign), sign);
#endif
}

// 16-bit samples: the difference and the row results wrap in 16 bits; the
// columns are 32-bit.
Vexo32s tileCost8x8(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep) {
    __m128i v[8];
    for (int y = 0; y < 8; ++y) v[y] = _mm_sub_epi16(load16(rowAt(src, srcStep, y)), load16(rowAt(ref, refStep, y)));
    transpose8x8(v);
    stages8(v, Add16(), Sub16());  // the row transform, register j = result j of every row
    transpose8x8(v);               // back to one row per register
    __m128i lo[8], hi[8];
    for (int y = 0; y < 8; ++y) {
        // Sign-extended halves: each 16-bit lane into the top of a dword, then down.
        lo[y] = _mm_srai_epi32(_mm_unpacklo_epi16(v[y], v[y]), 16);
        hi[y] = _mm_srai_epi32(_mm_unpackhi_epi16(v[y], v[y]), 16);
    }
    stages8(lo, Add32(), Sub32());
    stages8(hi, Add32(), Sub32());
    __m128i total = _mm_setzero_si128();
    for (int y = 0; y < 8; ++y) total = _mm_add_epi32(total, _mm_add_epi32(abs32(lo[y]), abs32(hi[y])));
    return sumOfDwords(total);
}
#endif  // W7

template <int W, int H>
Vexo32s satd(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    if constexpr (W == 4) return kFoldScale * satd4Wide<H>(src, srcStep, ref, refStep);
    else return kFoldScale * satdWide<W, H>(src, srcStep, ref, refStep);
#else
    Vexo32s total = 0;
    for (int y = 0; y < H; y += 4)
        for (int x = 0; x < W; x += 4)
            total += tileCost4x4(src + y * srcStep + x, srcStep, ref + y * refStep + x, refStep);
    return total;
#endif
}

template <class T>
Vexo32s sat8x8(const T* src, Vexo32s srcStep, const T* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    return tileCost8x8(src, srcStep, ref, refStep);
#else
    return tileCost8x8Scalar(src, srcStep, ref, refStep);
#endif
}

template <int W, int H>
inline VexoStatus runSatd(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo32s* satdOut) {
    if (src == nullptr || ref == nullptr || satdOut == nullptr) return vexoStatusNullPointer;
    *satdOut = satd<W, H>(src, srcStep, ref, refStep);
    return vexoStatusOk;
}

}  // namespace

VEXO_LINE_ALIGNED VexoStatus vexoSATD4x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd) {
    return runSatd<4, 4>(src, srcStep, ref, refStep, satd);
}
VEXO_LINE_ALIGNED VexoStatus vexoSATD4x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd) {
    return runSatd<4, 8>(src, srcStep, ref, refStep, satd);
}
VEXO_LINE_ALIGNED VexoStatus vexoSATD8x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd) {
    return runSatd<8, 4>(src, srcStep, ref, refStep, satd);
}
VEXO_LINE_ALIGNED VexoStatus vexoSATD8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd) {
    return runSatd<8, 8>(src, srcStep, ref, refStep, satd);
}
VEXO_LINE_ALIGNED VexoStatus vexoSATD8x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo32s* satd) {
    return runSatd<8, 16>(src, srcStep, ref, refStep, satd);
}
VEXO_LINE_ALIGNED VexoStatus vexoSATD16x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo32s* satd) {
    return runSatd<16, 8>(src, srcStep, ref, refStep, satd);
}
VEXO_LINE_ALIGNED VexoStatus vexoSATD16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo32s* satd) {
    return runSatd<16, 16>(src, srcStep, ref, refStep, satd);
}

VEXO_LINE_ALIGNED VexoStatus vexoSAT8x8D_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* sat) {
    if (src == nullptr || ref == nullptr || sat == nullptr) return vexoStatusNullPointer;
    *sat = sat8x8(src, srcStep, ref, refStep);
    return vexoStatusOk;
}
VEXO_LINE_ALIGNED VexoStatus vexoSAT8x8D_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                  Vexo32s* sat) {
    if (src == nullptr || ref == nullptr || sat == nullptr) return vexoStatusNullPointer;
    *sat = sat8x8(src, srcStep, ref, refStep);
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH

#undef VEXO_LINE_ALIGNED
