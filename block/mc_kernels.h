// Kernels of the motion compensation blocks, shared by mc.cpp (one
// reference) and mc_bidir.cpp (two references). Included by those two path
// objects only, after core/path.h and core/simd.h: everything here has
// internal linkage inside the path's namespace.
//
// A kernel is a template on the row width in bytes W, the distance N to the
// right neighbour (1, or 2 in interleaved chroma), whether the residual comes
// as one plane or as two planes for the even and odd bytes, a fixed height H
// (0: given at run time) and the position of each reference. `rounding` is a
// run-time argument: the tables choose by its low bit, but the kernels use the
// caller's whole value.
#pragma once

namespace vexo::VEXO_PATH {
namespace {

// The residual of a call: one plane, or two planes (even and odd bytes of the
// interleaved output) with one step in bytes.
struct Residual {
    const Vexo16s* plane0;
    const Vexo16s* plane1;
    Vexo32s step;
};

using OneRefKernel = void (*)(const Vexo8u* ref, Vexo32s refStep, const Residual& res, Vexo8u* dst,
                              Vexo32s dstStep, Vexo32s rounding, int height);
using TwoRefKernel = void (*)(const Vexo8u* ref1, Vexo32s ref1Step, const Vexo8u* ref2, Vexo32s ref2Step,
                              const Residual& res, Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding, int height);

inline const Vexo16s* residualRow(const Vexo16s* plane, Vexo32s stepBytes, int y) {
    return reinterpret_cast<const Vexo16s*>(reinterpret_cast<const Vexo8u*>(plane) + std::ptrdiff_t(y) * stepBytes);
}

inline Vexo8u clipByte(Vexo32s v) { return Vexo8u(v < 0 ? 0 : v > 255 ? 255 : v); }

#if VEXO_LEVEL == VEXO_LEVEL_PX

// The prediction h exactly as the interface states it, in 32-bit arithmetic
// with the caller's rounding subtracted as given.
template <int N, int T>
inline Vexo32s prediction(const Vexo8u* p, Vexo32s step, Vexo32s r) {
    if constexpr (T == 0) {
        return p[0];
    } else if constexpr (T == 4) {
        return (p[0] + p[step] + 1 - r) >> 1;
    } else if constexpr (T == 8) {
        return (p[0] + p[N] + 1 - r) >> 1;
    } else {
        return (p[0] + p[N] + p[step] + p[step + N] + 2 - r) >> 2;
    }
}

// The residual belonging to byte x of a row: in the two-plane form even bytes
// take plane 0 and odd bytes plane 1.
template <bool TwoPlanes>
inline Vexo32s residualAt(const Residual& res, int y, int x) {
    if constexpr (TwoPlanes) {
        return residualRow((x & 1) ? res.plane1 : res.plane0, res.step, y)[x >> 1];
    } else {
        return residualRow(res.plane0, res.step, y)[x];
    }
}

template <int W, int N, bool TwoPlanes, int H, int T>
void oneRef(const Vexo8u* ref, Vexo32s refStep, const Residual& res, Vexo8u* dst, Vexo32s dstStep,
            Vexo32s rounding, int height) {
    const int rows = H != 0 ? H : height;
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < W; ++x) {
            const Vexo32s h = prediction<N, T>(ref + std::ptrdiff_t(y) * refStep + x, refStep, rounding);
            dst[std::ptrdiff_t(y) * dstStep + x] = clipByte(h + residualAt<TwoPlanes>(res, y, x));
        }
    }
}

template <int W, int N, bool TwoPlanes, int H, int T1, int T2>
void twoRef(const Vexo8u* ref1, Vexo32s ref1Step, const Vexo8u* ref2, Vexo32s ref2Step, const Residual& res,
            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding, int height) {
    const int rows = H != 0 ? H : height;
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < W; ++x) {
            const Vexo32s h1 = prediction<N, T1>(ref1 + std::ptrdiff_t(y) * ref1Step + x, ref1Step, rounding);
            const Vexo32s h2 = prediction<N, T2>(ref2 + std::ptrdiff_t(y) * ref2Step + x, ref2Step, rounding);
            // The residual enters before the one rounding step; full 16-bit
            // residuals need the 32-bit sum.
            const Vexo32s v = (h1 + h2 + 2 * residualAt<TwoPlanes>(res, y, x) + 1) >> 1;
            dst[std::ptrdiff_t(y) * dstStep + x] = clipByte(v);
        }
    }
}

#else  // vector paths

using namespace simd;

// --- How the vector kernels stay exact for any rounding --------------------
//
// rounding 0 and 1, all that ordinary use passes, get kernels of their own
// with the rounding built in, working in bytes (see BytePredictor).
//
// Any other value takes the general kernels. There h = (S + bias - r) >> k,
// S the sum of the 1, 2 or 4 samples, bias 0, 1, 2 and k 0, 1, 2. With
// q = bias - r, low = q mod 2^k and high = floor(q / 2^k),
// h = ((S + low) >> k) + high exactly. The first term is 0..255 and fits
// 16-bit lanes whatever r is; high is a constant of the call, added to the
// residual as an offset.
constexpr int shiftOf(int T) { return T == 0 ? 0 : T == 12 ? 2 : 1; }
constexpr int biasOf(int T) { return T == 0 ? 0 : T == 12 ? 2 : 1; }

struct RoundingSplit {
    Vexo32s low;
    Vexo64s high;
};
template <int T>
inline RoundingSplit splitRounding(Vexo32s r) {
    constexpr int k = shiftOf(T);
    if constexpr (k == 0) {
        return {0, 0};
    } else {
        const Vexo64s q = Vexo64s(biasOf(T)) - r;
        return {Vexo32s(q & ((1 << k) - 1)), q >> k};
    }
}

// A constant offset o added to 16-bit lanes before the final clip, as two
// saturating adds of halves of the same sign. With x in 0..256 and a 16-bit
// residual, clip(x + res + o) is decided by sign once |o| > 33280, so o is
// clamped there; halves of one sign can only saturate in the direction the
// true sum goes, so sat(sat(sat(res + o1) + o2) + x) clips like the true sum.
struct Offset {
    Vexo16s first, second;
};
inline Offset offsetOf(Vexo64s o) {
    const Vexo32s c = Vexo32s(o < -33280 ? -33280 : o > 33280 ? 33280 : o);
    const Vexo32s first = c / 2;
    return {Vexo16s(first), Vexo16s(c - first)};
}

// --- Lane arithmetic ----------------------------------------------------------
//
// A path without 256-bit integers keeps a 16-wide row of 16-bit lanes as two
// registers.
struct Pair {
    __m128i lo, hi;
};

inline __m128i add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
inline __m128i addSaturated(__m128i a, __m128i b) { return _mm_adds_epi16(a, b); }
inline __m128i averageUp(__m128i a, __m128i b) { return _mm_avg_epu16(a, b); }
template <int K>
inline __m128i shiftDown(__m128i a) {
    return _mm_srli_epi16(a, K);
}

inline Pair add(Pair a, Pair b) { return {add(a.lo, b.lo), add(a.hi, b.hi)}; }
inline Pair addSaturated(Pair a, Pair b) { return {addSaturated(a.lo, b.lo), addSaturated(a.hi, b.hi)}; }
inline Pair averageUp(Pair a, Pair b) { return {averageUp(a.lo, b.lo), averageUp(a.hi, b.hi)}; }
template <int K>
inline Pair shiftDown(Pair a) {
    return {shiftDown<K>(a.lo), shiftDown<K>(a.hi)};
}

// Byte averages, (a + b + 1 - Rnd) >> 1.
template <int Rnd>
inline __m128i averageBytes(__m128i a, __m128i b) {
    if constexpr (Rnd == 0) return avgUp(a, b);
    else return avgDown(a, b);
}

// The four-sample value in bytes. For one row, with a, b a sample and its
// right neighbour, keep u = (a + b + 1) >> 1 and the odd bit a ^ b; then for
// rows u0 over u1, (a + b + c + d + 2) >> 2 is (u0 + u1 + 1) >> 1 less 1
// where an odd bit was lost and u0 + u1 is odd. Rounding 1 is the same sum
// on complemented samples: 255 - ((1022 - s) >> 2) = (s + 1) >> 2.
struct HalfPairs {
    __m128i up;   // (a + b + 1) >> 1, of the complemented samples for rounding 1
    __m128i odd;  // a ^ b: bit 0 says the sum was odd
};
template <int Rnd>
inline HalfPairs halfPairs(__m128i a, __m128i b) {
    const __m128i odd = _mm_xor_si128(a, b);
    if constexpr (Rnd == 1) {
        const __m128i ones = _mm_set1_epi8(-1);
        a = _mm_xor_si128(a, ones);
        b = _mm_xor_si128(b, ones);
    }
    return {_mm_avg_epu8(a, b), odd};
}
template <int Rnd>
inline __m128i quarterBytes(HalfPairs top, HalfPairs bottom) {
    const __m128i lost = _mm_and_si128(_mm_or_si128(top.odd, bottom.odd), _mm_xor_si128(top.up, bottom.up));
    const __m128i v = _mm_sub_epi8(_mm_avg_epu8(top.up, bottom.up), _mm_and_si128(lost, _mm_set1_epi8(1)));
    if constexpr (Rnd == 1) return _mm_xor_si128(v, _mm_set1_epi8(-1));
    else return v;
}

#if VEXO_LEVEL >= VEXO_LEVEL_H9
inline __m256i add(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
inline __m256i addSaturated(__m256i a, __m256i b) { return _mm256_adds_epi16(a, b); }
inline __m256i averageUp(__m256i a, __m256i b) { return _mm256_avg_epu16(a, b); }
template <int K>
inline __m256i shiftDown(__m256i a) {
    return _mm256_srli_epi16(a, K);
}
inline __m256i joinHalves(__m128i lo, __m128i hi) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1);
}

// Two 16-wide rows: packing two rows at once halves the cross-lane shuffles
// of the 8-bit stores, the port they compete for with the widening loads.
struct RowPair {
    __m256i first, second;
};
inline RowPair add(RowPair a, RowPair b) { return {add(a.first, b.first), add(a.second, b.second)}; }
inline RowPair addSaturated(RowPair a, RowPair b) {
    return {addSaturated(a.first, b.first), addSaturated(a.second, b.second)};
}
inline RowPair averageUp(RowPair a, RowPair b) {
    return {averageUp(a.first, b.first), averageUp(a.second, b.second)};
}
template <int K>
inline RowPair shiftDown(RowPair a) {
    return {shiftDown<K>(a.first), shiftDown<K>(a.second)};
}

// The bytes of two 16-wide rows.
struct BytePair {
    __m128i first, second;
};
template <int Rnd>
inline BytePair averageBytes(BytePair a, BytePair b) {
    return {averageBytes<Rnd>(a.first, b.first), averageBytes<Rnd>(a.second, b.second)};
}
struct HalfPairsPair {
    HalfPairs first, second;
};
template <int Rnd>
inline BytePair quarterBytes(HalfPairsPair top, HalfPairsPair bottom) {
    return {quarterBytes<Rnd>(top.first, bottom.first), quarterBytes<Rnd>(top.second, bottom.second)};
}
#endif

// Eight samples widened to 16-bit lanes.
inline __m128i widen8(const Vexo8u* p) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
    return _mm_cvtepu8_epi16(load8(p));
#else
    return widenLow(load8(p));
#endif
}
inline __m128i load2(const void* p) {
    Vexo16u v;
    std::memcpy(&v, p, 2);
    return _mm_cvtsi32_si128(v);
}

// --- Row shapes ---------------------------------------------------------------
//
// Lanes<W> says how W bytes of a row are held. A unit is `rows` rows (narrow
// blocks pack two rows in a register). In bytes: `rowBytes` loads one row,
// `joinBytes` (and `joinPairs` for four-sample terms) makes a unit of two,
// `widen` turns a unit into 16-bit lanes V.
// In 16-bit lanes: `row` loads and widens one row, `join` makes a unit of two.
// Loads never go past the W bytes (plus the neighbour the caller adds to the
// address); stores write exactly W bytes a row.
template <int W>
struct Lanes;

#if VEXO_LEVEL >= VEXO_LEVEL_H9
template <>
struct Lanes<16> {
    using V = RowPair;
    using Row = __m256i;
    using Bytes = BytePair;
    static constexpr int rows = 2;
    static V splat(Vexo16s v) {
        const __m256i s = _mm256_set1_epi16(v);
        return {s, s};
    }
    static __m128i rowBytes(const Vexo8u* p) { return load16(p); }
    static Bytes joinBytes(__m128i a, __m128i b) { return {a, b}; }
    static HalfPairsPair joinPairs(HalfPairs a, HalfPairs b) { return {a, b}; }
    static V widen(Bytes b) { return {_mm256_cvtepu8_epi16(b.first), _mm256_cvtepu8_epi16(b.second)}; }
    static Row row(const Vexo8u* p) { return _mm256_cvtepu8_epi16(load16(p)); }
    static V join(Row a, Row b) { return {a, b}; }
    template <bool TwoPlanes>
    static V residual(const Vexo16s* r0, const Vexo16s* r1, Vexo32s step) {
        return {loadRow<TwoPlanes>(r0, r1), loadRow<TwoPlanes>(rowBelow(r0, step), rowBelow(r1, step))};
    }
    static void store(Vexo8u* d, Vexo32s step, V v) {
        // In-lane pack gives rows as 8-byte quarters (y lo, y+1 lo, y hi,
        // y+1 hi); one permute puts each row in its own half.
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(v.first, v.second), 0xD8);
        store16(d, _mm256_castsi256_si128(packed));
        store16(d + step, _mm256_extracti128_si256(packed, 1));
    }

private:
    static const Vexo16s* rowBelow(const Vexo16s* r, Vexo32s step) {
        return r == nullptr ? nullptr : residualRow(r, step, 1);
    }
    template <bool TwoPlanes>
    static __m256i loadRow(const Vexo16s* r0, const Vexo16s* r1) {
        if constexpr (TwoPlanes) {
            const __m128i a = load16(r0), b = load16(r1);
            return joinHalves(_mm_unpacklo_epi16(a, b), _mm_unpackhi_epi16(a, b));
        } else {
            return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(r0));
        }
    }
};
template <>
struct Lanes<8> {
    using V = __m256i;
    using Row = __m128i;
    using Bytes = __m128i;
    static constexpr int rows = 2;
    static V splat(Vexo16s v) { return _mm256_set1_epi16(v); }
    static __m128i rowBytes(const Vexo8u* p) { return load8(p); }
    static Bytes joinBytes(__m128i a, __m128i b) { return _mm_unpacklo_epi64(a, b); }
    static HalfPairs joinPairs(HalfPairs a, HalfPairs b) { return {joinBytes(a.up, b.up), joinBytes(a.odd, b.odd)}; }
    static V widen(Bytes b) { return _mm256_cvtepu8_epi16(b); }
    static Row row(const Vexo8u* p) { return widen8(p); }
    static V join(Row a, Row b) { return joinHalves(a, b); }
    template <bool TwoPlanes>
    static V residual(const Vexo16s* r0, const Vexo16s*, Vexo32s step) {
        static_assert(!TwoPlanes);
        return joinHalves(load16(r0), load16(residualRow(r0, step, 1)));
    }
    static void store(Vexo8u* d, Vexo32s step, V v) {
        const __m128i x = _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        store8(d, x);
        store8(d + step, _mm_unpackhi_epi64(x, x));
    }
};
#else
template <>
struct Lanes<16> {
    using V = Pair;
    using Row = Pair;
    using Bytes = __m128i;
    static constexpr int rows = 1;
    static V splat(Vexo16s v) {
        const __m128i s = _mm_set1_epi16(v);
        return {s, s};
    }
    static __m128i rowBytes(const Vexo8u* p) { return load16(p); }
    static V widen(Bytes b) { return {widenLow(b), widenHigh(b)}; }
    static Row row(const Vexo8u* p) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
        return {widen8(p), widen8(p + 8)};
#else
        return widen(load16(p));
#endif
    }
    template <bool TwoPlanes>
    static V residual(const Vexo16s* r0, const Vexo16s* r1, Vexo32s) {
        if constexpr (TwoPlanes) {
            const __m128i a = load16(r0), b = load16(r1);
            return {_mm_unpacklo_epi16(a, b), _mm_unpackhi_epi16(a, b)};
        } else {
            return {load16(r0), load16(r0 + 8)};
        }
    }
    static void store(Vexo8u* d, Vexo32s, V v) { store16(d, _mm_packus_epi16(v.lo, v.hi)); }
};
template <>
struct Lanes<8> {
    using V = __m128i;
    using Row = __m128i;
    using Bytes = __m128i;
    static constexpr int rows = 1;
    static V splat(Vexo16s v) { return _mm_set1_epi16(v); }
    static __m128i rowBytes(const Vexo8u* p) { return load8(p); }
    static V widen(Bytes b) { return widenLow(b); }
    static Row row(const Vexo8u* p) { return widen8(p); }
    template <bool TwoPlanes>
    static V residual(const Vexo16s* r0, const Vexo16s*, Vexo32s) {
        static_assert(!TwoPlanes);
        return load16(r0);
    }
    static void store(Vexo8u* d, Vexo32s, V v) { store8(d, _mm_packus_epi16(v, v)); }
};
#endif

template <>
struct Lanes<4> {
    using V = __m128i;
    using Row = __m128i;
    using Bytes = __m128i;
    static constexpr int rows = 2;
    static V splat(Vexo16s v) { return _mm_set1_epi16(v); }
    static __m128i rowBytes(const Vexo8u* p) { return load4(p); }
    static Bytes joinBytes(__m128i a, __m128i b) { return _mm_unpacklo_epi32(a, b); }
    static HalfPairs joinPairs(HalfPairs a, HalfPairs b) { return {joinBytes(a.up, b.up), joinBytes(a.odd, b.odd)}; }
    static V widen(Bytes b) { return widenLow(b); }
    static Row row(const Vexo8u* p) { return widenLow(load4(p)); }
    static V join(Row a, Row b) { return _mm_unpacklo_epi64(a, b); }
    template <bool TwoPlanes>
    static V residual(const Vexo16s* r0, const Vexo16s*, Vexo32s step) {
        static_assert(!TwoPlanes);
        return _mm_unpacklo_epi64(load8(r0), load8(residualRow(r0, step, 1)));
    }
    static void store(Vexo8u* d, Vexo32s step, V v) {
        const __m128i x = _mm_packus_epi16(v, v);
        store4(d, x);
        store4(d + step, _mm_srli_si128(x, 4));
    }
};

template <>
struct Lanes<2> {
    using V = __m128i;
    using Row = __m128i;
    using Bytes = __m128i;
    static constexpr int rows = 2;
    static V splat(Vexo16s v) { return _mm_set1_epi16(v); }
    static __m128i rowBytes(const Vexo8u* p) { return load2(p); }
    static Bytes joinBytes(__m128i a, __m128i b) { return _mm_unpacklo_epi16(a, b); }
    static HalfPairs joinPairs(HalfPairs a, HalfPairs b) { return {joinBytes(a.up, b.up), joinBytes(a.odd, b.odd)}; }
    static V widen(Bytes b) { return widenLow(b); }
    static Row row(const Vexo8u* p) { return widenLow(load2(p)); }
    static V join(Row a, Row b) { return _mm_unpacklo_epi32(a, b); }
    template <bool TwoPlanes>
    static V residual(const Vexo16s* r0, const Vexo16s*, Vexo32s step) {
        static_assert(!TwoPlanes);
        return _mm_unpacklo_epi32(load4(r0), load4(residualRow(r0, step, 1)));
    }
    static void store(Vexo8u* d, Vexo32s step, V v) {
        const Vexo32u both = Vexo32u(_mm_cvtsi128_si32(_mm_packus_epi16(v, v)));
        const Vexo16u first = Vexo16u(both), second = Vexo16u(both >> 16);
        std::memcpy(d, &first, 2);
        std::memcpy(d + step, &second, 2);
    }
};

// --- Predictions, unit by unit ------------------------------------------------
//
// next() gives the prediction of the next `rows` rows. A vertical position
// keeps the last row it loaded, so every row is loaded once.

// In 16-bit lanes: (S + bias) >> k, for any bias.
template <int W, int N, int T>
class LanePredictor {
    using L = Lanes<W>;
    using V = typename L::V;
    using Row = typename L::Row;

public:
    static constexpr bool kBytes = false;

    LanePredictor(const Vexo8u* p, Vexo32s step, Vexo32s bias)
        : p_(p), step_(step), bias_(L::splat(Vexo16s(bias))) {
        if constexpr (T == 4 || T == 12) above_ = term(p_);
    }

    V next() {
        V v;
        if constexpr (T == 0 || T == 8) {
            if constexpr (L::rows == 1) v = term(p_);
            else v = L::join(term(p_), term(p_ + step_));
        } else if constexpr (L::rows == 1) {
            const Row below = term(p_ + step_);
            v = add(above_, below);
            above_ = below;
        } else {
            const Row r1 = term(p_ + step_), r2 = term(p_ + 2 * std::ptrdiff_t(step_));
            v = add(L::join(above_, r1), L::join(r1, r2));
            above_ = r2;
        }
        p_ += L::rows * std::ptrdiff_t(step_);
        // A full-sample reference never carries a bias (see twoRefBiases).
        if constexpr (T == 0) return v;
        else return shiftDown<shiftOf(T)>(add(v, bias_));
    }

private:
    // One row's contribution: the sample, or the sample plus its right neighbour.
    static Row term(const Vexo8u* p) {
        if constexpr (T == 0 || T == 4) return L::row(p);
        else return add(L::row(p), L::row(p + N));
    }

    const Vexo8u* p_;
    Vexo32s step_;
    V bias_;
    Row above_{};
};

// In bytes, for rounding Rnd: the sample, the average (a + x + 1 - Rnd) >> 1
// with x the right or lower neighbour, or the four-sample value of
// quarterBytes. About half the work of 16-bit lanes.
template <int W, int N, int T, int Rnd>
class BytePredictor {
    using L = Lanes<W>;
    using B = typename L::Bytes;

public:
    static constexpr bool kBytes = true;

    BytePredictor(const Vexo8u* p, Vexo32s step, Vexo32s) : p_(p), step_(step) {
        if constexpr (T == 4) above_ = L::rowBytes(p_);
        if constexpr (T == 12) abovePairs_ = pairsAt(p_);
    }

    B next() {
        B v;
        if constexpr (T == 12) {
            if constexpr (L::rows == 1) {
                const HalfPairs below = pairsAt(p_ + step_);
                v = quarterBytes<Rnd>(abovePairs_, below);
                abovePairs_ = below;
            } else {
                const HalfPairs r1 = pairsAt(p_ + step_), r2 = pairsAt(p_ + 2 * std::ptrdiff_t(step_));
                v = quarterBytes<Rnd>(L::joinPairs(abovePairs_, r1), L::joinPairs(r1, r2));
                abovePairs_ = r2;
            }
        } else if constexpr (T == 0) {
            v = unitAt(p_);
        } else if constexpr (T == 8) {
            v = averageBytes<Rnd>(unitAt(p_), unitAt(p_ + N));
        } else if constexpr (L::rows == 1) {
            const __m128i below = L::rowBytes(p_ + step_);
            v = averageBytes<Rnd>(above_, below);
            above_ = below;
        } else {
            const __m128i r1 = L::rowBytes(p_ + step_), r2 = L::rowBytes(p_ + 2 * std::ptrdiff_t(step_));
            v = averageBytes<Rnd>(L::joinBytes(above_, r1), L::joinBytes(r1, r2));
            above_ = r2;
        }
        p_ += L::rows * std::ptrdiff_t(step_);
        return v;
    }

private:
    B unitAt(const Vexo8u* p) const {
        if constexpr (L::rows == 1) return L::rowBytes(p);
        else return L::joinBytes(L::rowBytes(p), L::rowBytes(p + step_));
    }
    static HalfPairs pairsAt(const Vexo8u* p) { return halfPairs<Rnd>(L::rowBytes(p), L::rowBytes(p + N)); }

    const Vexo8u* p_;
    Vexo32s step_;
    __m128i above_{};
    HalfPairs abovePairs_{};
};

// The kernels for rounding 0 and 1 work in bytes, except at the four-sample
// position. There the byte form pays only on 16-wide rows of 128-bit paths
// with rounding 0 (measured: a fifth faster); 16-bit lane sums win with AVX2
// (a whole row in one register), on narrower rows, and for rounding 1, whose
// byte form needs the samples complemented.
template <bool UseLanes, class A, class B>
struct Choose {
    using Type = A;
};
template <class A, class B>
struct Choose<true, A, B> {
    using Type = B;
};
template <int W, int N, int T, int Rnd>
using FixedPredictor =
    typename Choose<T == 12 && (kPathLevel >= VEXO_LEVEL_H9 || W < 16 || Rnd == 1), BytePredictor<W, N, T, Rnd>,
                    LanePredictor<W, N, T>>::Type;

template <int W, class P>
inline typename Lanes<W>::V lanesOf(P& p) {
    if constexpr (P::kBytes) return Lanes<W>::widen(p.next());
    else return p.next();
}

// Walks the residual rows unit by unit. Kept in locals: the stores to dst
// may alias anything, so fields read through a reference would be reloaded.
template <int W, bool TwoPlanes>
class ResidualRows {
    using L = Lanes<W>;

public:
    explicit ResidualRows(const Residual& res) : r0_(res.plane0), r1_(res.plane1), step_(res.step) {}
    typename L::V next() {
        const typename L::V v = L::template residual<TwoPlanes>(r0_, r1_, step_);
        r0_ = residualRow(r0_, step_, L::rows);
        if constexpr (TwoPlanes) r1_ = residualRow(r1_, step_, L::rows);
        return v;
    }

private:
    const Vexo16s* r0_;
    const Vexo16s* r1_;
    Vexo32s step_;
};

// clip(x + residual): the unsigned pack of the saturated sum is the clip,
// since saturation never changes which side of 0..255 a sum lies on.
template <int W, bool TwoPlanes, class NextX>
__attribute__((always_inline)) inline void storeRows(const Residual& res, Vexo8u* dst, Vexo32s dstStep, int rows,
                                                     NextX nextX) {
    using L = Lanes<W>;
    ResidualRows<W, TwoPlanes> residual(res);
#pragma GCC unroll 2
    for (int y = 0; y < rows; y += L::rows) {
        L::store(dst, dstStep, addSaturated(residual.next(), nextX()));
        dst += L::rows * std::ptrdiff_t(dstStep);
    }
}

// The general kernels' form: the offset goes into the residual first.
template <int W, bool TwoPlanes, class NextX>
__attribute__((always_inline)) inline void storeRowsWithOffset(const Residual& res, Vexo8u* dst, Vexo32s dstStep,
                                                               int rows, Offset o, NextX nextX) {
    using L = Lanes<W>;
    ResidualRows<W, TwoPlanes> residual(res);
    const typename L::V o1 = L::splat(o.first), o2 = L::splat(o.second);
    for (int y = 0; y < rows; y += L::rows) {
        const typename L::V r = addSaturated(addSaturated(residual.next(), o1), o2);
        L::store(dst, dstStep, addSaturated(r, nextX()));
        dst += L::rows * std::ptrdiff_t(dstStep);
    }
}

template <int W, int N, bool TwoPlanes, int T, int Rnd>
__attribute__((always_inline)) inline void oneRefFixed(const Vexo8u* ref, Vexo32s refStep, const Residual& res,
                                                       Vexo8u* dst, Vexo32s dstStep, int rows) {
    FixedPredictor<W, N, T, Rnd> pred(ref, refStep, biasOf(T) - Rnd);
    storeRows<W, TwoPlanes>(res, dst, dstStep, rows, [&] { return lanesOf<W>(pred); });
}

template <int W, int N, bool TwoPlanes, int H, int T>
void oneRef(const Vexo8u* ref, Vexo32s refStep, const Residual& res, Vexo8u* dst, Vexo32s dstStep,
            Vexo32s rounding, int height) {
    const int rows = H != 0 ? H : height;
    if (T == 0 || rounding == 0) {
        oneRefFixed<W, N, TwoPlanes, T, 0>(ref, refStep, res, dst, dstStep, rows);
    } else if (rounding == 1) {
        oneRefFixed<W, N, TwoPlanes, T, 1>(ref, refStep, res, dst, dstStep, rows);
    } else {
        const RoundingSplit s = splitRounding<T>(rounding);
        LanePredictor<W, N, T> pred(ref, refStep, s.low);
        storeRowsWithOffset<W, TwoPlanes>(res, dst, dstStep, rows, offsetOf(s.high), [&] { return pred.next(); });
    }
}

template <int W, int N, bool TwoPlanes, int T1, int T2, int Rnd>
__attribute__((always_inline)) inline void twoRefFixed(const Vexo8u* ref1, Vexo32s ref1Step, const Vexo8u* ref2,
                                                       Vexo32s ref2Step, const Residual& res, Vexo8u* dst,
                                                       Vexo32s dstStep, int rows) {
    FixedPredictor<W, N, T1, Rnd> pred1(ref1, ref1Step, biasOf(T1) - Rnd);
    FixedPredictor<W, N, T2, Rnd> pred2(ref2, ref2Step, biasOf(T2) - Rnd);
    storeRows<W, TwoPlanes>(res, dst, dstStep, rows, [&] {
        // (h1 + h2 + 2 res + 1) >> 1 = ((h1 + h2 + 1) >> 1) + res.
        if constexpr (decltype(pred1)::kBytes && decltype(pred2)::kBytes)
            return Lanes<W>::widen(averageBytes<0>(pred1.next(), pred2.next()));
        else
            return averageUp(lanesOf<W>(pred1), lanesOf<W>(pred2));
    });
}

// Two references with any rounding: with hi = high1 + high2 = 2 * half + odd,
// (h1 + h2 + 2 res + 1) >> 1 = ((B1 + B2 + odd + 1) >> 1) + res + half, B the
// 0..255 lane terms. The odd unit goes into the bias of a reference that
// shifts (adding 2^k to its bias adds 1 to its B); both full-sample means
// hi = 0.
struct TwoRefBiases {
    Vexo32s bias1, bias2;
    Vexo64s offset;
};
template <int T1, int T2>
inline TwoRefBiases twoRefBiases(Vexo32s rounding) {
    const RoundingSplit s1 = splitRounding<T1>(rounding), s2 = splitRounding<T2>(rounding);
    const Vexo64s hi = s1.high + s2.high;
    TwoRefBiases b{s1.low, s2.low, hi >> 1};
    if (hi & 1) {
        if constexpr (T2 != 0) b.bias2 += 1 << shiftOf(T2);
        else if constexpr (T1 != 0) b.bias1 += 1 << shiftOf(T1);
    }
    return b;
}

template <int W, int N, bool TwoPlanes, int H, int T1, int T2>
void twoRef(const Vexo8u* ref1, Vexo32s ref1Step, const Vexo8u* ref2, Vexo32s ref2Step, const Residual& res,
            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding, int height) {
    const int rows = H != 0 ? H : height;
    if ((T1 == 0 && T2 == 0) || rounding == 0) {
        twoRefFixed<W, N, TwoPlanes, T1, T2, 0>(ref1, ref1Step, ref2, ref2Step, res, dst, dstStep, rows);
    } else if (rounding == 1) {
        twoRefFixed<W, N, TwoPlanes, T1, T2, 1>(ref1, ref1Step, ref2, ref2Step, res, dst, dstStep, rows);
    } else {
        const TwoRefBiases b = twoRefBiases<T1, T2>(rounding);
        LanePredictor<W, N, T1> pred1(ref1, ref1Step, b.bias1);
        LanePredictor<W, N, T2> pred2(ref2, ref2Step, b.bias2);
        storeRowsWithOffset<W, TwoPlanes>(res, dst, dstStep, rows, offsetOf(b.offset),
                                          [&] { return averageUp(pred1.next(), pred2.next()); });
    }
}

#endif  // vector paths

// --- Tables -----------------------------------------------------------------
//
// Widths 8 and 16: one reference at ((mcType & 12) >> 1) + (rounding & 1),
// two at ((mcType1 & 12) >> 1) + (mcType2 & 12) * 2 + (rounding & 1); the two
// entries that differ by rounding alone hold the same kernel. Widths 2 and 4:
// one kernel per position, two references at ((mcType1 & 12) >> 2) |
// (mcType2 & 12).
#define VEXO_MC_ONE_BY_ROUNDING(...)                                                                  \
    {                                                                                                 \
        oneRef<__VA_ARGS__, 0>, oneRef<__VA_ARGS__, 0>, oneRef<__VA_ARGS__, 4>, oneRef<__VA_ARGS__, 4>, \
            oneRef<__VA_ARGS__, 8>, oneRef<__VA_ARGS__, 8>, oneRef<__VA_ARGS__, 12>, oneRef<__VA_ARGS__, 12> \
    }
#define VEXO_MC_ONE_BY_POSITION(...) \
    { oneRef<__VA_ARGS__, 0>, oneRef<__VA_ARGS__, 4>, oneRef<__VA_ARGS__, 8>, oneRef<__VA_ARGS__, 12> }

#define VEXO_MC_TWO_PAIR(T2, T1, ...) twoRef<__VA_ARGS__, T1, T2>, twoRef<__VA_ARGS__, T1, T2>
#define VEXO_MC_TWO_ROW_BY_ROUNDING(T2, ...)                                                   \
    VEXO_MC_TWO_PAIR(T2, 0, __VA_ARGS__), VEXO_MC_TWO_PAIR(T2, 4, __VA_ARGS__),                \
        VEXO_MC_TWO_PAIR(T2, 8, __VA_ARGS__), VEXO_MC_TWO_PAIR(T2, 12, __VA_ARGS__)
#define VEXO_MC_TWO_BY_ROUNDING(...)                                                            \
    {                                                                                           \
        VEXO_MC_TWO_ROW_BY_ROUNDING(0, __VA_ARGS__), VEXO_MC_TWO_ROW_BY_ROUNDING(4, __VA_ARGS__), \
            VEXO_MC_TWO_ROW_BY_ROUNDING(8, __VA_ARGS__), VEXO_MC_TWO_ROW_BY_ROUNDING(12, __VA_ARGS__) \
    }
#define VEXO_MC_TWO_ROW_BY_POSITION(T2, ...)                                                  \
    twoRef<__VA_ARGS__, 0, T2>, twoRef<__VA_ARGS__, 4, T2>, twoRef<__VA_ARGS__, 8, T2>,       \
        twoRef<__VA_ARGS__, 12, T2>
#define VEXO_MC_TWO_BY_POSITION(...)                                                            \
    {                                                                                           \
        VEXO_MC_TWO_ROW_BY_POSITION(0, __VA_ARGS__), VEXO_MC_TWO_ROW_BY_POSITION(4, __VA_ARGS__), \
            VEXO_MC_TWO_ROW_BY_POSITION(8, __VA_ARGS__), VEXO_MC_TWO_ROW_BY_POSITION(12, __VA_ARGS__) \
    }

inline int oneRefIndexByRounding(Vexo32s mcType, Vexo32s rounding) { return ((mcType & 12) >> 1) + (rounding & 1); }
inline int twoRefIndexByRounding(Vexo32s mcType1, Vexo32s mcType2, Vexo32s rounding) {
    return ((mcType1 & 12) >> 1) + (mcType2 & 12) * 2 + (rounding & 1);
}
inline int oneRefIndexByPosition(Vexo32s mcType) { return (mcType & 12) >> 2; }
inline int twoRefIndexByPosition(Vexo32s mcType1, Vexo32s mcType2) { return ((mcType1 & 12) >> 2) | (mcType2 & 12); }

}  // namespace
}  // namespace vexo::VEXO_PATH
