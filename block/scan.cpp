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

#if VEXO_LEVEL <= VEXO_LEVEL_W7
// The two walks as the interface states them: copy non-zero values until
// the count-th, and place the values up to the last index.
void sparseForward(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, const Vexo8u* scan) {
    std::memset(dst, 0, 64 * sizeof(Vexo16s));
    Vexo32s seen = 0;
    for (int i = 0; i < 64; ++i) {
        const Vexo16s v = src[scan[i]];
        if (v == 0) continue;
        dst[i] = v;
        if (++seen == countNonZero) break;
    }
}

void placeUpToLast(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, const Vexo8u* scan) {
    std::memset(dst, 0, 64 * sizeof(Vexo16s));
    dst[0] = src[0];
    for (int i = 1; i <= lastIndex; ++i) dst[scan[i]] = src[i];
}
#endif

#if VEXO_LEVEL == VEXO_LEVEL_PX

inline const Vexo8u* scanTable(Vexo32s scanType) {
    return scanType == 1 ? kAlternateVertical : scanType == 2 ? kAlternateHorizontal : kZigzag;
}

void scanForward(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, Vexo32s scanType) {
    const Vexo8u* scan = scanTable(scanType);
    if (countNonZero < kSparseBelow) return sparseForward(src, dst, countNonZero, scan);
    for (int i = 0; i < 64; ++i) dst[i] = src[scan[i]];
}

void scanInverse(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType) {
    placeUpToLast(src, dst, lastIndex, scanTable(scanType));
}

#else
using namespace simd;

struct Block64 {
    __m128i v[8];
};

inline void storeBlock(Vexo16s* dst, const Block64& b) {
    for (int j = 0; j < 8; ++j) store16(dst + 8 * j, b.v[j]);
}

alignas(16) constexpr Vexo16s kPlaceNumbers[64] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                                   13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25,
                                                   26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38,
                                                   39, 40, 41, 42, 43, 44, 45, 46, 47, 48, 49, 50, 51,
                                                   52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};

// Keeps the outputs whose place number is at most `last`, clears the rest.
inline void keepUpTo(Block64& b, int last, const Vexo16s* placeNumbers) {
    const __m128i bound = _mm_set1_epi16(Vexo16s(last + 1));
    for (int j = 0; j < 8; ++j) {
        const __m128i place = _mm_load_si128(reinterpret_cast<const __m128i*>(placeNumbers + 8 * j));
        b.v[j] = _mm_and_si128(b.v[j], _mm_cmplt_epi16(place, bound));
    }
}

constexpr void invert(const Vexo8u (&scan)[64], Vexo8u (&from)[64]) {
    for (int i = 0; i < 64; ++i) from[scan[i]] = Vexo8u(i);
}

#if VEXO_LEVEL == VEXO_LEVEL_W7

// Without byte shuffles: each output vector is assembled from 16-bit loads
// at offsets fixed at compile time.
struct Permutation {
    Vexo8u from[64];
    alignas(16) Vexo16s place[64];
};
constexpr Permutation forwardOf(const Vexo8u (&scan)[64]) {
    Permutation p{};
    for (int i = 0; i < 64; ++i) p.from[i] = scan[i];
    return p;
}
constexpr Permutation inverseOf(const Vexo8u (&scan)[64]) {
    Permutation p{};
    invert(scan, p.from);
    for (int i = 0; i < 64; ++i) p.place[i] = Vexo16s(p.from[i]);
    return p;
}
constexpr Permutation kForwardZigzag = forwardOf(kZigzag);
constexpr Permutation kForwardVertical = forwardOf(kAlternateVertical);
constexpr Permutation kForwardHorizontal = forwardOf(kAlternateHorizontal);
constexpr Permutation kInverseZigzag = inverseOf(kZigzag);
constexpr Permutation kInverseVertical = inverseOf(kAlternateVertical);
constexpr Permutation kInverseHorizontal = inverseOf(kAlternateHorizontal);

template <const Permutation& P>
inline Block64 permute(const Vexo16s* src) {
    Block64 out;
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) {
        const Vexo8u* f = P.from + 8 * j;
        out.v[j] = _mm_setr_epi16(src[f[0]], src[f[1]], src[f[2]], src[f[3]], src[f[4]], src[f[5]], src[f[6]],
                                  src[f[7]]);
    }
    return out;
}

// A short inverse scan touches few values: the plain loop beats assembling
// all 64.
constexpr Vexo32s kGatherFrom = 24;

template <const Permutation& P>
void scanInverseWith(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, const Vexo8u* scan) {
    if (lastIndex < kGatherFrom) return placeUpToLast(src, dst, lastIndex, scan);
    Block64 b = permute<P>(src);
    if (lastIndex < 63) keepUpTo(b, lastIndex, P.place);
    storeBlock(dst, b);
}

// Forward, whole: scalar moves at constant offsets beat assembling vectors
// here. Sparse: the early-exit walk, which stops at the count-th non-zero.
template <const Permutation& P>
void scanForwardWith(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero) {
    if (countNonZero < kSparseBelow) return sparseForward(src, dst, countNonZero, P.from);
#pragma GCC unroll 64
    for (int i = 0; i < 64; ++i) dst[i] = src[P.from[i]];
}

#else  // SSSE3 and up

// A permutation of 64 16-bit values as byte shuffles: output vector j (values
// 8j to 8j + 7) is the OR of a shuffle of each source vector (row) that holds
// one of its values. Built at compile time from a table of source places.
struct Permutation {
    bool used[8][8];  // [output vector][source row]
    alignas(16) Vexo8u mask[8][8][16];
    alignas(16) Vexo16s place[64];  // the source place of each output, for masking
};

constexpr Permutation shufflesFrom(const Vexo8u (&from)[64]) {
    Permutation plan{};
    for (int i = 0; i < 64; ++i) {
        const int j = i / 8, lane = i % 8, row = from[i] / 8, column = from[i] % 8;
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
constexpr Permutation forwardOf(const Vexo8u (&scan)[64]) { return shufflesFrom(scan); }
constexpr Permutation inverseOf(const Vexo8u (&scan)[64]) {
    Vexo8u from[64] = {};
    invert(scan, from);
    return shufflesFrom(from);
}
constexpr Permutation kForwardZigzag = forwardOf(kZigzag);
constexpr Permutation kForwardVertical = forwardOf(kAlternateVertical);
constexpr Permutation kForwardHorizontal = forwardOf(kAlternateHorizontal);
constexpr Permutation kInverseZigzag = inverseOf(kZigzag);
constexpr Permutation kInverseVertical = inverseOf(kAlternateVertical);
constexpr Permutation kInverseHorizontal = inverseOf(kAlternateHorizontal);

inline __m128i shuffleRow(__m128i row, const Vexo8u (&mask)[16]) {
    return _mm_shuffle_epi8(row, _mm_load_si128(reinterpret_cast<const __m128i*>(mask)));
}

// Unrolled on a plan known at compile time: the unused shuffles vanish and
// the masks are constants. Output by output, each an independent chain.
template <const Permutation& P>
inline Block64 permute(const Vexo16s* src) {
    __m128i rows[8];
#pragma GCC unroll 8
    for (int r = 0; r < 8; ++r) rows[r] = load16(src + 8 * r);
    Block64 out;
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) {
        __m128i acc = _mm_setzero_si128();
#pragma GCC unroll 8
        for (int r = 0; r < 8; ++r)
            if (P.used[j][r]) acc = _mm_or_si128(acc, shuffleRow(rows[r], P.mask[j][r]));
        out.v[j] = acc;
    }
    return out;
}

// The same, source row by source row, leaving out the rows from `rows` on:
// the inverse scan knows they are not wanted.
template <const Permutation& P>
inline Block64 permuteFirstRows(const Vexo16s* src, int rows) {
    Block64 out;
    for (__m128i& v : out.v) v = _mm_setzero_si128();
#pragma GCC unroll 8
    for (int r = 0; r < 8; ++r) {
        if (r >= rows) break;
        const __m128i row = load16(src + 8 * r);
#pragma GCC unroll 8
        for (int j = 0; j < 8; ++j)
            if (P.used[j][r]) out.v[j] = _mm_or_si128(out.v[j], shuffleRow(row, P.mask[j][r]));
    }
    return out;
}

template <const Permutation& P>
void scanInverseWith(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, const Vexo8u*) {
    Block64 b = permuteFirstRows<P>(src, lastIndex / 8 + 1);
    if (lastIndex < 63) keepUpTo(b, lastIndex, P.place);
    storeBlock(dst, b);
}

// Copying only the first count non-zero values of the scanned block is the
// whole permutation cut after the count-th non-zero value (the zeros before
// it are zeros either way).
inline void cutAfterCount(Block64& b, Vexo32s countNonZero) {
    std::uint64_t nonZero = 0;
    const __m128i zero = _mm_setzero_si128();
    for (int j = 0; j < 8; j += 2) {
        const __m128i isZero = _mm_packs_epi16(_mm_cmpeq_epi16(b.v[j], zero), _mm_cmpeq_epi16(b.v[j + 1], zero));
        nonZero |= std::uint64_t(~_mm_movemask_epi8(isZero) & 0xFFFF) << (8 * j);
    }
    // Drop the lowest count - 1 non-zero places; the next one is the last kept.
    for (Vexo32s i = 1; i < countNonZero && nonZero != 0; ++i) nonZero &= nonZero - 1;
    if (nonZero != 0) keepUpTo(b, __builtin_ctzll(nonZero), kPlaceNumbers);
}

template <const Permutation& P>
void scanForwardWith(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero) {
    Block64 b = permute<P>(src);
    if (countNonZero < kSparseBelow) cutAfterCount(b, countNonZero);
    storeBlock(dst, b);
}

#endif

void scanForward(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, Vexo32s scanType) {
    if (scanType == 1) scanForwardWith<kForwardVertical>(src, dst, countNonZero);
    else if (scanType == 2) scanForwardWith<kForwardHorizontal>(src, dst, countNonZero);
    else scanForwardWith<kForwardZigzag>(src, dst, countNonZero);
}

void scanInverse(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType) {
    if (scanType == 1) scanInverseWith<kInverseVertical>(src, dst, lastIndex, kAlternateVertical);
    else if (scanType == 2) scanInverseWith<kInverseHorizontal>(src, dst, lastIndex, kAlternateHorizontal);
    else scanInverseWith<kInverseZigzag>(src, dst, lastIndex, kZigzag);
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
