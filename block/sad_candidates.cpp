// Rows of candidates: the full-sample SADs of one source block against the
// blocks at ref + i, one byte apart along a row, for i below count cut down to
// a multiple of 8, so that the vector paths work eight candidates per step
// with no tail. A step reads the reference row only as far as its last
// candidate needs: the last step of a row uses narrower loads than the others.
#include "core/path.h"
#include "core/simd.h"

namespace vexo::VEXO_PATH {
namespace {

template <class T>
inline const T* rowAt(const T* base, Vexo32s stepBytes, int y) {
    return reinterpret_cast<const T*>(reinterpret_cast<const Vexo8u*>(base) + std::ptrdiff_t(y) * stepBytes);
}
inline Vexo32u absDiff(Vexo32s a, Vexo32s b) { return Vexo32u(a > b ? a - b : b - a); }

using CandidateKernel = void (*)(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo16u* sads, int n);

template <int W, int H>
void candidatesScalar(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16u* sads,
                      int n) {
    for (int i = 0; i < n; ++i) {
        Vexo32u sum = 0;
        for (int y = 0; y < H; ++y) {
            const Vexo8u* s = rowAt(src, srcStep, y);
            const Vexo8u* r = rowAt(ref, refStep, y) + i;
            for (int x = 0; x < W; ++x) sum += absDiff(s[x], r[x]);
        }
        sads[i] = Vexo16u(sum);  // at most 65280 for 16x16: no value is cut
    }
}

// The I forms: best starts at 65535 and index -1, and only a strictly lower
// value replaces it, so the lowest index wins among equals.
inline Vexo32s lowestIndexScalar(const Vexo16u* sads, int n) {
    Vexo32u best = 65535;
    Vexo32s index = -1;
    for (int i = 0; i < n; ++i) {
        if (sads[i] < best) {
            best = sads[i];
            index = i;
        }
    }
    return index;
}

#if VEXO_LEVEL >= VEXO_LEVEL_W7
using namespace simd;

// Both operands in registers: a loaded value used twice could otherwise have
// its load folded into both users, and these kernels are bound by loads.
inline __m128i inRegister(__m128i v) {
    asm("" : "+x"(v));
    return v;
}
inline __m128i absDiffBytes(__m128i a, __m128i b) {
    a = inRegister(a);
    b = inRegister(b);
    return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
}

// Two 8-byte rows in one register.
inline __m128i loadPair(const Vexo8u* p, Vexo32s step) {
    return _mm_castpd_si128(
        _mm_loadh_pd(_mm_castsi128_pd(load8(p)), reinterpret_cast<const double*>(p + std::ptrdiff_t(step))));
}
// Four 4-byte rows in one register.
inline __m128i loadQuad(const Vexo8u* p, Vexo32s step) {
    const __m128i r01 = _mm_unpacklo_epi32(load4(p), load4(p + std::ptrdiff_t(step)));
    const __m128i r23 = _mm_unpacklo_epi32(load4(p + 2 * std::ptrdiff_t(step)), load4(p + 3 * std::ptrdiff_t(step)));
    return _mm_unpacklo_epi64(r01, r23);
}

// 32-bit lanes of 0..65535 to words. Without SSE4.1 the only pack saturates
// signed, so the values pass through a bias of -32768.
inline __m128i packWords(__m128i lo, __m128i hi) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
    return _mm_packus_epi32(lo, hi);
#else
    const __m128i bias = _mm_set1_epi32(32768);
    return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(lo, bias), _mm_sub_epi32(hi, bias)), _mm_set1_epi16(-32768));
#endif
}

// Eight psadbw sums (each in two 64-bit halves) to eight words.
inline __m128i packEight(const __m128i (&acc)[8]) {
    __m128 pairs[4];
    for (int k = 0; k < 4; ++k)
        pairs[k] = _mm_castsi128_ps(_mm_add_epi64(_mm_unpacklo_epi64(acc[2 * k], acc[2 * k + 1]),
                                                  _mm_unpackhi_epi64(acc[2 * k], acc[2 * k + 1])));
    return packWords(_mm_castps_si128(_mm_shuffle_ps(pairs[0], pairs[1], _MM_SHUFFLE(2, 0, 2, 0))),
                     _mm_castps_si128(_mm_shuffle_ps(pairs[2], pairs[3], _MM_SHUFFLE(2, 0, 2, 0))));
}

// One psadbw per candidate and source register: the source is loaded once
// per row and serves all eight candidates of a step.
template <int W, int H>
void candidatesPsadbw(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16u* sads,
                      int n) {
    const __m128i quad = W == 4 ? loadQuad(src, srcStep) : _mm_setzero_si128();
    for (int base = 0; base < n; base += 8) {
        __m128i acc[8];
        for (__m128i& a : acc) a = _mm_setzero_si128();
        if constexpr (W == 16) {
#pragma GCC unroll 2
            for (int y = 0; y < H; ++y) {
                const __m128i s = load16(rowAt(src, srcStep, y));
                const Vexo8u* r = rowAt(ref, refStep, y) + base;
#pragma GCC unroll 8
                for (int i = 0; i < 8; ++i) acc[i] = _mm_add_epi64(acc[i], _mm_sad_epu8(s, load16(r + i)));
            }
        } else if constexpr (W == 8) {
            for (int y = 0; y < H; y += 2) {
                const __m128i s = loadPair(rowAt(src, srcStep, y), srcStep);
                const Vexo8u* r = rowAt(ref, refStep, y) + base;
#pragma GCC unroll 8
                for (int i = 0; i < 8; ++i) acc[i] = _mm_add_epi64(acc[i], _mm_sad_epu8(s, loadPair(r + i, refStep)));
            }
        } else {
#pragma GCC unroll 8
            for (int i = 0; i < 8; ++i) acc[i] = _mm_sad_epu8(quad, loadQuad(ref + base + i, refStep));
        }
        store16(sads + base, packEight(acc));
    }
}

// Two by two: the four source samples are broadcast, and each reference row
// serves sixteen candidates at once (eight in a last half step).
template <int Width>
inline __m128i loadRow(const Vexo8u* p) {
    if constexpr (Width == 16) return load16(p);
    else return load8(p);
}
template <int Width>
inline void twoByTwoStep(const Vexo8u* r0, const Vexo8u* r1, const __m128i (&s)[4], Vexo16u* sads) {
    const __m128i d0 = absDiffBytes(loadRow<Width>(r0), s[0]), d1 = absDiffBytes(loadRow<Width>(r0 + 1), s[1]);
    const __m128i d2 = absDiffBytes(loadRow<Width>(r1), s[2]), d3 = absDiffBytes(loadRow<Width>(r1 + 1), s[3]);
    store16(sads, _mm_add_epi16(_mm_add_epi16(widenLow(d0), widenLow(d1)), _mm_add_epi16(widenLow(d2), widenLow(d3))));
    if constexpr (Width == 16)
        store16(sads + 8,
                _mm_add_epi16(_mm_add_epi16(widenHigh(d0), widenHigh(d1)), _mm_add_epi16(widenHigh(d2), widenHigh(d3))));
}
void candidates2x2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16u* sads, int n) {
    const Vexo8u* s1 = rowAt(src, srcStep, 1);
    const __m128i s[4] = {_mm_set1_epi8(char(src[0])), _mm_set1_epi8(char(src[1])), _mm_set1_epi8(char(s1[0])),
                          _mm_set1_epi8(char(s1[1]))};
    const Vexo8u* r1 = rowAt(ref, refStep, 1);
    int base = 0;
    for (; base + 16 <= n; base += 16) twoByTwoStep<16>(ref + base, r1 + base, s, sads + base);
    if (base < n) twoByTwoStep<8>(ref + base, r1 + base, s, sads + base);
}
#endif

#if VEXO_LEVEL >= VEXO_LEVEL_P8
// mpsadbw gives the SADs of one 4-byte source group against eight reference
// offsets at once: word i sums |a[o + i + k] - b[4g + k]| for k = 0..3, with
// the offset o (0 or 4) and group g from the immediate. So a reference row of
// W + 7 bytes and W / 4 instructions cover the eight candidates of a step.
//
// The reference bytes of one step: 11, 15 or 16 + 7 for widths 4, 8 and 16.
// A 16-byte load reads past the last candidate's row only in the last step,
// which loads what it needs in two narrower pieces.
template <bool Last>
inline __m128i refBytes11(const Vexo8u* p) {
    if constexpr (Last) return _mm_unpacklo_epi64(load8(p), _mm_srli_epi64(load8(p + 3), 40));
    else return load16(p);
}
template <bool Last>
inline __m128i refBytes15(const Vexo8u* p) {
    if constexpr (Last) return _mm_unpacklo_epi64(load8(p), _mm_srli_epi64(load8(p + 7), 8));
    else return load16(p);
}
// Bytes 8..22 of a 16-wide step, at offset 0.
template <bool Last>
inline __m128i refBytesFrom8(const Vexo8u* p) {
    if constexpr (Last) return _mm_srli_si128(load16(p + 7), 1);
    else return load16(p + 8);
}

template <int W, int H, bool Last>
inline __m128i mpsadbwStep(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, __m128i quad) {
    __m128i acc0 = _mm_setzero_si128(), acc1 = _mm_setzero_si128();
    // Sums stay below 65536, so 16-bit lanes hold them exactly.
    if constexpr (W == 4) {
        acc0 = _mm_add_epi16(_mm_mpsadbw_epu8(refBytes11<Last>(ref), quad, 0),
                             _mm_mpsadbw_epu8(refBytes11<Last>(rowAt(ref, refStep, 1)), quad, 1));
        acc1 = _mm_add_epi16(_mm_mpsadbw_epu8(refBytes11<Last>(rowAt(ref, refStep, 2)), quad, 2),
                             _mm_mpsadbw_epu8(refBytes11<Last>(rowAt(ref, refStep, 3)), quad, 3));
    } else if constexpr (W == 8) {
#pragma GCC unroll 8
        for (int y = 0; y < H; ++y) {
            const __m128i s = load8(rowAt(src, srcStep, y));
            const __m128i a = refBytes15<Last>(rowAt(ref, refStep, y));
            acc0 = _mm_add_epi16(acc0, _mm_mpsadbw_epu8(a, s, 0));
            acc1 = _mm_add_epi16(acc1, _mm_mpsadbw_epu8(a, s, 5));
        }
    } else {
#pragma GCC unroll 4
        for (int y = 0; y < H; ++y) {
            const __m128i s = load16(rowAt(src, srcStep, y));
            const Vexo8u* r = rowAt(ref, refStep, y);
            const __m128i a0 = load16(r), a1 = refBytesFrom8<Last>(r);
            acc0 = _mm_add_epi16(acc0, _mm_add_epi16(_mm_mpsadbw_epu8(a0, s, 0), _mm_mpsadbw_epu8(a0, s, 5)));
            acc1 = _mm_add_epi16(acc1, _mm_add_epi16(_mm_mpsadbw_epu8(a1, s, 2), _mm_mpsadbw_epu8(a1, s, 7)));
        }
    }
    return _mm_add_epi16(acc0, acc1);
}

#if VEXO_LEVEL >= VEXO_LEVEL_H9
// 16 wide on 256 bits: the low lane takes columns 0-7 against reference bytes
// 0..15, the high lane columns 8-15 against bytes 8..22, so that two
// instructions cover a row. Immediates: low lane offset and group in bits
// 0-2, high lane in bits 3-5.
template <bool Last>
inline __m128i mpsadbw16Wide(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    __m256i acc0 = _mm256_setzero_si256(), acc1 = _mm256_setzero_si256();
#pragma GCC unroll 4
    for (int y = 0; y < 16; ++y) {
        const __m256i s = _mm256_broadcastsi128_si256(load16(rowAt(src, srcStep, y)));
        const Vexo8u* r = rowAt(ref, refStep, y);
        const __m256i a = _mm256_inserti128_si256(_mm256_castsi128_si256(load16(r)), refBytesFrom8<Last>(r), 1);
        acc0 = _mm256_add_epi16(acc0, _mm256_mpsadbw_epu8(a, s, 0x10));  // groups 0 and 2 at offset 0
        acc1 = _mm256_add_epi16(acc1, _mm256_mpsadbw_epu8(a, s, 0x3D));  // groups 1 and 3 at offset 4
    }
    const __m256i acc = _mm256_add_epi16(acc0, acc1);
    return _mm_add_epi16(_mm256_castsi256_si128(acc), _mm256_extracti128_si256(acc, 1));
}

// 8 and 4 wide on 256 bits: two rows side by side, one per lane.
inline __m256i twoLanes(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}
inline __m128i foldLanes(__m256i v) {
    return _mm_add_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}
template <bool Last>
inline __m128i mpsadbw8Wide(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    __m256i acc0 = _mm256_setzero_si256(), acc1 = _mm256_setzero_si256();
#pragma GCC unroll 4
    for (int y = 0; y < 8; y += 2) {
        const __m256i s = twoLanes(load8(rowAt(src, srcStep, y)), load8(rowAt(src, srcStep, y + 1)));
        const __m256i a =
            twoLanes(refBytes15<Last>(rowAt(ref, refStep, y)), refBytes15<Last>(rowAt(ref, refStep, y + 1)));
        acc0 = _mm256_add_epi16(acc0, _mm256_mpsadbw_epu8(a, s, 0x00));  // group 0 at offset 0 in both lanes
        acc1 = _mm256_add_epi16(acc1, _mm256_mpsadbw_epu8(a, s, 0x2D));  // group 1 at offset 4 in both lanes
    }
    return foldLanes(_mm256_add_epi16(acc0, acc1));
}
template <bool Last>
inline __m128i mpsadbw4Wide(const Vexo8u* ref, Vexo32s refStep, __m256i quads) {
    // The source's four rows are the four groups; lanes take rows 0, 1 and then 2, 3.
    const __m256i a01 = twoLanes(refBytes11<Last>(ref), refBytes11<Last>(rowAt(ref, refStep, 1)));
    const __m256i a23 = twoLanes(refBytes11<Last>(rowAt(ref, refStep, 2)), refBytes11<Last>(rowAt(ref, refStep, 3)));
    return foldLanes(_mm256_add_epi16(_mm256_mpsadbw_epu8(a01, quads, 0x08), _mm256_mpsadbw_epu8(a23, quads, 0x1A)));
}
template <bool Last, int W>
inline __m128i wideStep(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, __m256i quads) {
    if constexpr (W == 16) return mpsadbw16Wide<Last>(src, srcStep, ref, refStep);
    else if constexpr (W == 8) return mpsadbw8Wide<Last>(src, srcStep, ref, refStep);
    else return mpsadbw4Wide<Last>(ref, refStep, quads);
}
#endif

template <int W, int H>
void candidatesMpsadbw(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16u* sads,
                       int n) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    const __m256i quads = W == 4 ? _mm256_broadcastsi128_si256(loadQuad(src, srcStep)) : _mm256_setzero_si256();
    int base = 0;
    for (; base + 8 < n; base += 8) store16(sads + base, wideStep<false, W>(src, srcStep, ref + base, refStep, quads));
    store16(sads + base, wideStep<true, W>(src, srcStep, ref + base, refStep, quads));
#else
    const __m128i quad = W == 4 ? loadQuad(src, srcStep) : _mm_setzero_si128();
    int base = 0;
    for (; base + 8 < n; base += 8)
        store16(sads + base, mpsadbwStep<W, H, false>(src, srcStep, ref + base, refStep, quad));
    store16(sads + base, mpsadbwStep<W, H, true>(src, srcStep, ref + base, refStep, quad));
#endif
}
#endif

template <int W, int H>
void candidates(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16u* sads, int n) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    if constexpr (W == 2) candidates2x2(src, srcStep, ref, refStep, sads, n);
    else candidatesMpsadbw<W, H>(src, srcStep, ref, refStep, sads, n);
#elif VEXO_LEVEL >= VEXO_LEVEL_P8
    // mpsadbw issues slowly on some processors: at 16 wide on 128 bits a
    // psadbw per candidate (bound by its loads) is faster; at 8 and 4 wide,
    // where a psadbw covers less, mpsadbw wins.
    if constexpr (W == 2) candidates2x2(src, srcStep, ref, refStep, sads, n);
    else if constexpr (W == 16) candidatesPsadbw<W, H>(src, srcStep, ref, refStep, sads, n);
    else candidatesMpsadbw<W, H>(src, srcStep, ref, refStep, sads, n);
#elif VEXO_LEVEL >= VEXO_LEVEL_W7
    if constexpr (W == 2) candidates2x2(src, srcStep, ref, refStep, sads, n);
    else candidatesPsadbw<W, H>(src, srcStep, ref, refStep, sads, n);
#else
    candidatesScalar<W, H>(src, srcStep, ref, refStep, sads, n);
#endif
}

// The lowest value of eight words and the first lane that holds it.
#if VEXO_LEVEL >= VEXO_LEVEL_W7
struct Minimum {
    Vexo32u value;
    int lane;
};
inline Minimum minimumOfEight(__m128i v) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
    const Vexo32u r = Vexo32u(_mm_cvtsi128_si32(_mm_minpos_epu16(v)));
    return {r & 0xFFFF, int((r >> 16) & 7)};
#else
    // Signed minimum over words moved down by 32768, then the first lane equal to it.
    const __m128i b = _mm_xor_si128(v, _mm_set1_epi16(-32768));
    __m128i m = _mm_min_epi16(b, _mm_shuffle_epi32(b, _MM_SHUFFLE(1, 0, 3, 2)));
    m = _mm_min_epi16(m, _mm_shuffle_epi32(m, _MM_SHUFFLE(2, 3, 0, 1)));
    m = _mm_min_epi16(m, _mm_shufflelo_epi16(m, _MM_SHUFFLE(2, 3, 0, 1)));
    m = _mm_shuffle_epi32(_mm_shufflelo_epi16(m, 0), 0);
    const int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(b, m));
    return {Vexo32u(_mm_cvtsi128_si32(m) & 0xFFFF) ^ 0x8000u, __builtin_ctz(unsigned(mask)) / 2};
#endif
}
#endif

inline Vexo32s lowestIndex(const Vexo16u* sads, int n) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    Vexo32u best = 65535;
    Vexo32s index = -1;
    for (int base = 0; base < n; base += 8) {
        const Minimum m = minimumOfEight(load16(sads + base));
        if (m.value < best) {
            best = m.value;
            index = base + m.lane;
        }
    }
    return index;
#else
    return lowestIndexScalar(sads, n);
#endif
}

inline VexoStatus runCandidates(CandidateKernel kernel, const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref,
                                Vexo32s refStep, Vexo16u* sads, Vexo32s count) {
    if (src == nullptr || ref == nullptr || sads == nullptr) return vexoStatusNullPointer;
    const Vexo32s n = count & ~7;  // the rest of the candidates are silently left out
    if (n < 1) return vexoStatusBadSize;
    kernel(src, srcStep, ref, refStep, sads, n);
    return vexoStatusOk;
}

inline VexoStatus runCandidatesBest(CandidateKernel kernel, const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref,
                                    Vexo32s refStep, Vexo16u* sads, Vexo32s count, Vexo32s* bestIndex) {
    if (bestIndex == nullptr) return vexoStatusNullPointer;
    const VexoStatus status = runCandidates(kernel, src, srcStep, ref, refStep, sads, count);
    if (status != vexoStatusOk) return status;
    *bestIndex = lowestIndex(sads, count & ~7);
    return vexoStatusOk;
}

}  // namespace

VexoStatus vexoSAD2x2xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo16u* sads, Vexo32s count) {
    return runCandidates(candidates<2, 2>, src, srcStep, ref, refStep, sads, count);
}
VexoStatus vexoSAD4x4xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo16u* sads, Vexo32s count) {
    return runCandidates(candidates<4, 4>, src, srcStep, ref, refStep, sads, count);
}
VexoStatus vexoSAD8x8xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo16u* sads, Vexo32s count) {
    return runCandidates(candidates<8, 8>, src, srcStep, ref, refStep, sads, count);
}
VexoStatus vexoSAD16x16xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                    Vexo16u* sads, Vexo32s count) {
    return runCandidates(candidates<16, 16>, src, srcStep, ref, refStep, sads, count);
}
VexoStatus vexoSAD4x4xNI_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16u* sads, Vexo32s count, Vexo32s* bestIndex) {
    return runCandidatesBest(candidates<4, 4>, src, srcStep, ref, refStep, sads, count, bestIndex);
}
VexoStatus vexoSAD8x8xNI_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16u* sads, Vexo32s count, Vexo32s* bestIndex) {
    return runCandidatesBest(candidates<8, 8>, src, srcStep, ref, refStep, sads, count, bestIndex);
}
VexoStatus vexoSAD16x16xNI_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16u* sads, Vexo32s count, Vexo32s* bestIndex) {
    return runCandidatesBest(candidates<16, 16>, src, srcStep, ref, refStep, sads, count, bestIndex);
}

}  // namespace vexo::VEXO_PATH
