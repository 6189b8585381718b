// Coefficient scans: 64 coefficients between block order (row by row) and
// scan order, by the classic zigzag or the MPEG-4 alternate scans.
#include "core/path.h"
#include "core/simd.h"

namespace vexo::VEXO_PATH {
namespace {

// Block position of each scan position: the published tables, as ISO/IEC
// 13818-2 and 14496-2 print them.
constexpr Vexo8u kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
constexpr Vexo8u kAlternateVertical[64] = {0,  8,  16, 24, 1,  9,  2,  10, 17, 25, 32, 40, 48, 56, 57, 49,
                                           41, 33, 26, 18, 3,  11, 4,  12, 19, 27, 34, 42, 50, 58, 35, 43,
                                           51, 59, 20, 28, 5,  13, 6,  14, 21, 29, 36, 44, 52, 60, 37, 45,
                                           53, 61, 22, 30, 7,  15, 23, 31, 38, 46, 54, 62, 39, 47, 55, 63};
constexpr Vexo8u kAlternateHorizontal[64] = {0,  1,  2,  3,  8,  9,  16, 17, 10, 11, 4,  5,  6,  7,  15, 14,
                                             13, 12, 19, 18, 24, 25, 32, 33, 26, 27, 20, 21, 22, 23, 28, 29,
                                             30, 31, 34, 35, 40, 41, 48, 49, 42, 43, 36, 37, 38, 39, 44, 45,
                                             46, 47, 50, 51, 56, 57, 58, 59, 52, 53, 54, 55, 60, 61, 62, 63};

// Below this count the forward scan copies only the non-zero values it is
// told about; from it on, it permutes all 64. A fixed decision of the
// interface, not a tuning knob.
constexpr Vexo32s kSparseBelow = 20;

#if VEXO_LEVEL == VEXO_LEVEL_PX

inline const Vexo8u* scanTable(Vexo32s scanType) {
    return scanType == 1 ? kAlternateVertical : scanType == 2 ? kAlternateHorizontal : kZigzag;
}

void scanForward(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, Vexo32s scanType) {
    const Vexo8u* scan = scanTable(scanType);
    if (countNonZero >= kSparseBelow) {
        for (int i = 0; i < 64; ++i) dst[i] = src[scan[i]];
        return;
    }
    std::memset(dst, 0, 64 * sizeof(Vexo16s));
    Vexo32s seen = 0;
    for (int i = 0; i < 64; ++i) {
        const Vexo16s v = src[scan[i]];
        if (v == 0) continue;
        dst[i] = v;
        if (++seen == countNonZero) break;
    }
}

void scanInverse(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType) {
    const Vexo8u* scan = scanTable(scanType);
    std::memset(dst, 0, 64 * sizeof(Vexo16s));
    dst[0] = src[0];
    for (int i = 1; i <= lastIndex; ++i) dst[scan[i]] = src[i];
}

#else
using namespace simd;

// Clears vectors first..7 of a block. Written out store by store: as a loop
// the compiler turns it into a memset, which becomes rep stos, slow to start
// for at most 128 bytes (it was most of the cost of a short scan).
inline void zeroVectorsFrom(Vexo16s* dst, int first) {
    const __m128i z = _mm_setzero_si128();
    switch (first) {
        case 0: store16(dst, z); [[fallthrough]];
        case 1: store16(dst + 8, z); [[fallthrough]];
        case 2: store16(dst + 16, z); [[fallthrough]];
        case 3: store16(dst + 24, z); [[fallthrough]];
        case 4: store16(dst + 32, z); [[fallthrough]];
        case 5: store16(dst + 40, z); [[fallthrough]];
        case 6: store16(dst + 48, z); [[fallthrough]];
        case 7: store16(dst + 56, z); [[fallthrough]];
        default: break;
    }
}

// The sparse forward scan starts with the first eight scan places one by
// one: most coded blocks have few coefficients, early in the scan, and
// there the branches predict well. Returns how many non-zero values are
// still to be found; 0 means dst is complete.
template <const auto& P, int Places = 8>
inline Vexo32s walkFirstPlaces(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero) {
    zeroVectorsFrom(dst, 0);
    if (Places > 8) zeroVectorsFrom(dst, 1);
#pragma GCC unroll 16
    for (int i = 0; i < Places; ++i) {
        const Vexo16s v = src[P.from[i]];
        if (v == 0) continue;
        dst[i] = v;
        if (--countNonZero == 0) {
            zeroVectorsFrom(dst, Places / 8);
            return 0;
        }
    }
    return countNonZero;
}

// The inverse scan value by value: a short one touches few values.
inline void placeUpToLast(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, const Vexo8u* scan) {
    zeroVectorsFrom(dst, 0);
    dst[0] = src[0];
    for (int i = 1; i <= lastIndex; ++i) dst[scan[i]] = src[i];
}

#if VEXO_LEVEL == VEXO_LEVEL_W7

// Without byte shuffles, assembling vectors from single values costs more
// than moving the values: the forward scan moves them at offsets fixed at
// compile time, the inverse scan places them one by one.
struct Permutation {
    Vexo8u from[64];
};
constexpr Permutation forwardOf(const Vexo8u (&scan)[64]) {
    Permutation p{};
    for (int i = 0; i < 64; ++i) p.from[i] = scan[i];
    return p;
}
constexpr Permutation kForwardZigzag = forwardOf(kZigzag);
constexpr Permutation kForwardVertical = forwardOf(kAlternateVertical);
constexpr Permutation kForwardHorizontal = forwardOf(kAlternateHorizontal);

template <const Permutation& P>
void scanForwardWith(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero) {
    if (countNonZero >= kSparseBelow) {
#pragma GCC unroll 64
        for (int i = 0; i < 64; ++i) dst[i] = src[P.from[i]];
        return;
    }
    Vexo32s remaining = walkFirstPlaces<P>(src, dst, countNonZero);
    if (remaining == 0) return;
    for (int i = 8; i < 64; ++i) {
        const Vexo16s v = src[P.from[i]];
        if (v == 0) continue;
        dst[i] = v;
        if (--remaining == 0) break;
    }
}

void scanInverse(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType) {
    placeUpToLast(src, dst, lastIndex,
                  scanType == 1 ? kAlternateVertical : scanType == 2 ? kAlternateHorizontal : kZigzag);
}

#else  // SSSE3 and up

// A permutation of 64 16-bit values as byte shuffles: output vector j (values
// 8j to 8j + 7) is the OR of a shuffle of each source vector (row) that holds
// one of its values. Built at compile time from the table of source places.
struct Permutation {
    Vexo8u from[64];
    bool used[8][8];  // [output vector][source row]
    alignas(16) Vexo8u mask[8][8][16];
    alignas(16) Vexo16s place[64];  // from[], widened for comparing in lanes
};

constexpr Permutation shufflesFrom(const Vexo8u (&from)[64]) {
    Permutation plan{};
    for (int i = 0; i < 64; ++i) {
        const int j = i / 8, lane = i % 8, row = from[i] / 8, column = from[i] % 8;
        plan.from[i] = from[i];
        plan.place[i] = Vexo16s(from[i]);
        if (!plan.used[j][row]) {
            plan.used[j][row] = true;
            for (Vexo8u& m : plan.mask[j][row]) m = 0x80;  // pshufb writes zero
        }
        plan.mask[j][row][2 * lane] = Vexo8u(2 * column);
        plan.mask[j][row][2 * lane + 1] = Vexo8u(2 * column + 1);
    }
    return plan;
}
constexpr Permutation inverseOf(const Vexo8u (&scan)[64]) {
    Vexo8u from[64] = {};
    for (int i = 0; i < 64; ++i) from[scan[i]] = Vexo8u(i);
    return shufflesFrom(from);
}
// Forward: output i is source scan[i]. Inverse: output scan[i] is source i.
constexpr Permutation kForwardZigzag = shufflesFrom(kZigzag);
constexpr Permutation kForwardVertical = shufflesFrom(kAlternateVertical);
constexpr Permutation kForwardHorizontal = shufflesFrom(kAlternateHorizontal);
constexpr Permutation kInverseZigzag = inverseOf(kZigzag);
constexpr Permutation kInverseVertical = inverseOf(kAlternateVertical);
constexpr Permutation kInverseHorizontal = inverseOf(kAlternateHorizontal);

// Measured on all three tables: below this last index the value-by-value
// inverse scan beats the shuffles.
constexpr Vexo32s kShortInverseBelow = 24;

inline __m128i shuffleRow(__m128i row, const Vexo8u (&mask)[16]) {
    return _mm_shuffle_epi8(row, _mm_load_si128(reinterpret_cast<const __m128i*>(mask)));
}

// All loops unroll on a plan known at compile time: the unused shuffles
// vanish and the masks are constants.
template <const Permutation& P>
inline __m128i permuteOne(const __m128i (&rows)[8], int j) {
    __m128i acc = _mm_setzero_si128();
#pragma GCC unroll 8
    for (int r = 0; r < 8; ++r)
        if (P.used[j][r]) acc = _mm_or_si128(acc, shuffleRow(rows[r], P.mask[j][r]));
    return acc;
}

template <const Permutation& P>
void scanForwardWhole(const Vexo16s* src, Vexo16s* dst) {
    __m128i rows[8];
#pragma GCC unroll 8
    for (int r = 0; r < 8; ++r) rows[r] = load16(src + 8 * r);
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) store16(dst + 8 * j, permuteOne<P>(rows, j));
}

// Past the first eight places, output vector by output vector in scan
// order: the count-th non-zero value ends the walk, and what follows it is
// zero. Rows are read where they are needed, so an early end reads few.
template <const Permutation& P>
void scanForwardSparse(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero) {
    Vexo32s remaining = walkFirstPlaces<P, 16>(src, dst, countNonZero);
    if (remaining == 0) return;
    const __m128i zero = _mm_setzero_si128();
#pragma GCC unroll 8
    for (int j = 2; j < 8; ++j) {
        __m128i v = _mm_setzero_si128();
#pragma GCC unroll 8
        for (int r = 0; r < 8; ++r)
            if (P.used[j][r]) v = _mm_or_si128(v, shuffleRow(load16(src + 8 * r), P.mask[j][r]));
        const __m128i isZero = _mm_cmpeq_epi16(v, zero);
        unsigned nonZero = ~unsigned(_mm_movemask_epi8(_mm_packs_epi16(isZero, isZero))) & 0xFF;
        for (; remaining > 1 && nonZero != 0; --remaining) nonZero &= nonZero - 1;
        if (nonZero != 0) {
            // The lowest bit left is the count-th non-zero value.
            const __m128i lanes = _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7);
            const __m128i bound = _mm_set1_epi16(Vexo16s(__builtin_ctz(nonZero) + 1));
            store16(dst + 8 * j, _mm_and_si128(v, _mm_cmplt_epi16(lanes, bound)));
            zeroVectorsFrom(dst, j + 1);
            return;
        }
        store16(dst + 8 * j, v);
    }
}

template <const Permutation& P>
void scanForwardWith(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero) {
    if (countNonZero < kSparseBelow) scanForwardSparse<P>(src, dst, countNonZero);
    else scanForwardWhole<P>(src, dst);
}

// Gathered source row by source row: rows past the last index are not
// wanted and not read; places past it within the last row are cleared.
template <const Permutation& P>
void scanInverseWith(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex) {
    __m128i out[8];
    for (__m128i& v : out) v = _mm_setzero_si128();
#pragma GCC unroll 8
    for (int r = 0; r < 8; ++r) {
        if (8 * r > lastIndex) break;
        const __m128i row = load16(src + 8 * r);
#pragma GCC unroll 8
        for (int j = 0; j < 8; ++j)
            if (P.used[j][r]) out[j] = _mm_or_si128(out[j], shuffleRow(row, P.mask[j][r]));
    }
    const __m128i bound = _mm_set1_epi16(Vexo16s(lastIndex + 1));
    for (int j = 0; j < 8; ++j) {
        const __m128i place = _mm_load_si128(reinterpret_cast<const __m128i*>(P.place + 8 * j));
        store16(dst + 8 * j, _mm_and_si128(out[j], _mm_cmplt_epi16(place, bound)));
    }
}

void scanInverse(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType) {
    if (lastIndex < kShortInverseBelow)
        placeUpToLast(src, dst, lastIndex,
                      scanType == 1 ? kAlternateVertical : scanType == 2 ? kAlternateHorizontal : kZigzag);
    else if (scanType == 1)
        scanInverseWith<kInverseVertical>(src, dst, lastIndex);
    else if (scanType == 2)
        scanInverseWith<kInverseHorizontal>(src, dst, lastIndex);
    else
        scanInverseWith<kInverseZigzag>(src, dst, lastIndex);
}

#endif

void scanForward(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, Vexo32s scanType) {
    if (scanType == 1) scanForwardWith<kForwardVertical>(src, dst, countNonZero);
    else if (scanType == 2) scanForwardWith<kForwardHorizontal>(src, dst, countNonZero);
    else scanForwardWith<kForwardZigzag>(src, dst, countNonZero);
}

#endif

}  // namespace

VexoStatus vexoScanFwd_16s_C1(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, Vexo32s scanType) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    if (countNonZero < 1 || countNonZero > 64) return vexoStatusOutOfRange;
    scanForward(src, dst, countNonZero, scanType);
    return vexoStatusOk;
}

VexoStatus vexoScanInv_16s_C1(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    if (lastIndex < 0 || lastIndex > 63) return vexoStatusOutOfRange;
    scanInverse(src, dst, lastIndex, scanType);
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH
