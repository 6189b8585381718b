// Sums of absolute differences of single blocks, two-channel blocks,
// sub-blocks, the subtract-and-sum form and the frame/field activity.
//
// A half-sample SAD is a table of four kernels picked once per call at
// mcType >> 2 (bit 0 of the index: half a sample down, bit 1: half a sample
// right), so the per-sample loops know their formula. The reference is the
// interpolated side; a half-sample position reads one row or column more.
#include "core/path.h"
#include "core/simd.h"

namespace vexo::VEXO_PATH {
namespace {

enum : int { kFull = 0, kDown = 1, kRight = 2, kBoth = 3 };

template <class T>
inline const T* rowAt(const T* base, Vexo32s stepBytes, int y) {
    return reinterpret_cast<const T*>(reinterpret_cast<const Vexo8u*>(base) + std::ptrdiff_t(y) * stepBytes);
}
template <class T>
inline T* rowAt(T* base, Vexo32s stepBytes, int y) {
    return reinterpret_cast<T*>(reinterpret_cast<Vexo8u*>(base) + std::ptrdiff_t(y) * stepBytes);
}
inline const Vexo8u* bytes(const void* p) { return static_cast<const Vexo8u*>(p); }

inline Vexo32u absDiff(Vexo32s a, Vexo32s b) { return Vexo32u(a > b ? a - b : b - a); }

// The reference value at p for position Pos. Next is the distance in bytes to
// the right neighbour: one sample, or two bytes in an interleaved pair.
template <int Pos, int Next, class T>
inline Vexo32s referenceValue(const T* p, Vexo32s step) {
    const Vexo8u* b = bytes(p);
    const auto at = [b, step](int dx, int dy) {
        return Vexo32s(*reinterpret_cast<const T*>(b + dx + std::ptrdiff_t(dy) * step));
    };
    if constexpr (Pos == kFull) return at(0, 0);
    else if constexpr (Pos == kDown) return (at(0, 0) + at(0, 1) + 1) >> 1;
    else if constexpr (Pos == kRight) return (at(0, 0) + at(Next, 0) + 1) >> 1;
    else return (at(0, 0) + at(Next, 0) + at(0, 1) + at(Next, 1) + 2) >> 2;
}

template <class T, int W, int H, int Pos>
Vexo32u sadScalar(const T* src, Vexo32s srcStep, const T* ref, Vexo32s refStep) {
    Vexo32u sum = 0;
    for (int y = 0; y < H; ++y) {
        const T* s = rowAt(src, srcStep, y);
        const T* r = rowAt(ref, refStep, y);
        for (int x = 0; x < W; ++x) sum += absDiff(s[x], referenceValue<Pos, int(sizeof(T))>(r + x, refStep));
    }
    return sum;
}

#if VEXO_LEVEL >= VEXO_LEVEL_W7
using namespace simd;

// ---- Lane operations --------------------------------------------------------
// On 128-bit registers, and on h9 on 256-bit ones; Bits is the lane width.

template <int Bits>
inline __m128i avgLanes(__m128i a, __m128i b) {
    if constexpr (Bits == 8) return _mm_avg_epu8(a, b);
    else return _mm_avg_epu16(a, b);
}
template <int Bits>
inline __m128i subLanes(__m128i a, __m128i b) {
    if constexpr (Bits == 8) return _mm_sub_epi8(a, b);
    else return _mm_sub_epi16(a, b);
}
template <int Bits>
inline __m128i minLanes(__m128i a, __m128i b) {
    if constexpr (Bits == 8) {
        return _mm_min_epu8(a, b);
    } else {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
        return _mm_min_epu16(a, b);
#else
        return _mm_sub_epi16(a, _mm_subs_epu16(a, b));  // no unsigned word minimum before SSE4.1
#endif
    }
}
template <int Bits>
inline __m128i lowBits(__m128i v) {
    return _mm_and_si128(v, Bits == 8 ? _mm_set1_epi8(1) : _mm_set1_epi16(1));
}
inline __m128i xorBits(__m128i a, __m128i b) { return _mm_xor_si128(a, b); }

// Sums of |s - r|: bytes by psadbw into 64-bit lanes; words as 32-bit lanes.
// |a - b| of unsigned words is 0..65535, which madd would read as signed, so
// each is biased by -32768 first and the bias is added back at the end.
inline __m128i sadBytes(__m128i s, __m128i r) { return _mm_sad_epu8(s, r); }
inline __m128i addQuads(__m128i a, __m128i b) { return _mm_add_epi64(a, b); }
inline __m128i addDoubles(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
inline __m128i absDiffWords(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a)); }
inline __m128i biasedPairSums(__m128i unsignedWords) {
    return _mm_madd_epi16(_mm_xor_si128(unsignedWords, _mm_set1_epi16(-32768)), _mm_set1_epi16(1));
}
// The 32-bit lanes of both halves added; sums here never reach 2^32, so
// the 64-bit lanes of psadbw add the same way.
inline __m128i foldHalves(__m128i v) { return v; }

#if VEXO_LEVEL >= VEXO_LEVEL_H9
template <int Bits>
inline __m256i avgLanes(__m256i a, __m256i b) {
    if constexpr (Bits == 8) return _mm256_avg_epu8(a, b);
    else return _mm256_avg_epu16(a, b);
}
template <int Bits>
inline __m256i subLanes(__m256i a, __m256i b) {
    if constexpr (Bits == 8) return _mm256_sub_epi8(a, b);
    else return _mm256_sub_epi16(a, b);
}
template <int Bits>
inline __m256i minLanes(__m256i a, __m256i b) {
    if constexpr (Bits == 8) return _mm256_min_epu8(a, b);
    else return _mm256_min_epu16(a, b);
}
template <int Bits>
inline __m256i lowBits(__m256i v) {
    return _mm256_and_si256(v, Bits == 8 ? _mm256_set1_epi8(1) : _mm256_set1_epi16(1));
}
inline __m256i xorBits(__m256i a, __m256i b) { return _mm256_xor_si256(a, b); }
inline __m256i sadBytes(__m256i s, __m256i r) { return _mm256_sad_epu8(s, r); }
inline __m256i addQuads(__m256i a, __m256i b) { return _mm256_add_epi64(a, b); }
inline __m256i addDoubles(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
inline __m256i absDiffWords(__m256i a, __m256i b) {
    return _mm256_sub_epi16(_mm256_max_epu16(a, b), _mm256_min_epu16(a, b));
}
inline __m256i biasedPairSums(__m256i unsignedWords) {
    return _mm256_madd_epi16(_mm256_xor_si256(unsignedWords, _mm256_set1_epi16(-32768)), _mm256_set1_epi16(1));
}
inline __m128i foldHalves(__m256i v) {
    return _mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}
#endif

// Two registers side by side, for a row of 16 words on 128-bit paths: the
// kernels see one row per value and the operations apply to both halves.
struct RegisterPair {
    __m128i lo, hi;
};
template <int Bits>
inline RegisterPair avgLanes(RegisterPair a, RegisterPair b) {
    return {avgLanes<Bits>(a.lo, b.lo), avgLanes<Bits>(a.hi, b.hi)};
}
template <int Bits>
inline RegisterPair subLanes(RegisterPair a, RegisterPair b) {
    return {subLanes<Bits>(a.lo, b.lo), subLanes<Bits>(a.hi, b.hi)};
}
template <int Bits>
inline RegisterPair minLanes(RegisterPair a, RegisterPair b) {
    return {minLanes<Bits>(a.lo, b.lo), minLanes<Bits>(a.hi, b.hi)};
}
template <int Bits>
inline RegisterPair lowBits(RegisterPair v) {
    return {lowBits<Bits>(v.lo), lowBits<Bits>(v.hi)};
}
inline RegisterPair xorBits(RegisterPair a, RegisterPair b) { return {xorBits(a.lo, b.lo), xorBits(a.hi, b.hi)}; }
inline RegisterPair addDoubles(RegisterPair a, RegisterPair b) {
    return {addDoubles(a.lo, b.lo), addDoubles(a.hi, b.hi)};
}
inline RegisterPair absDiffWords(RegisterPair a, RegisterPair b) {
    return {absDiffWords(a.lo, b.lo), absDiffWords(a.hi, b.hi)};
}
inline RegisterPair biasedPairSums(RegisterPair v) { return {biasedPairSums(v.lo), biasedPairSums(v.hi)}; }
inline __m128i foldHalves(RegisterPair v) { return _mm_add_epi32(v.lo, v.hi); }

// Keeps a loaded value in a register. A value with several users may
// otherwise have its load folded into each of them, and these kernels are
// bound by their loads.
inline __m128i inRegister(__m128i v) {
    asm("" : "+x"(v));
    return v;
}
#if VEXO_LEVEL >= VEXO_LEVEL_H9
inline __m256i inRegister(__m256i v) {
    asm("" : "+x"(v));
    return v;
}
#endif
inline RegisterPair inRegister(RegisterPair v) { return {inRegister(v.lo), inRegister(v.hi)}; }

inline Vexo32u sum32(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
    return Vexo32u(_mm_cvtsi128_si32(v));
}

// Templates take a row shape (below), never a vector type: the vector types
// carry attributes that a template argument would drop.
template <class Shape>
struct ByteSums {
    using V = typename Shape::V;
    V acc = V();
    void add(V s, V r) { acc = addQuads(acc, sadBytes(s, r)); }
    void merge(const ByteSums& o) { acc = addQuads(acc, o.acc); }
    Vexo32u total(int) const {
        const __m128i v = foldHalves(acc);
        return Vexo32u(_mm_cvtsi128_si32(_mm_add_epi32(v, _mm_unpackhi_epi64(v, v))));
    }
};
template <class Shape>
struct WordSums {
    using V = typename Shape::V;
    V acc = V();
    void add(V s, V r) { acc = addDoubles(acc, biasedPairSums(absDiffWords(inRegister(s), inRegister(r)))); }
    void merge(const WordSums& o) { acc = addDoubles(acc, o.acc); }
    Vexo32u total(int words) const { return sum32(foldHalves(acc)) + 32768u * Vexo32u(words); }
};
template <int Bits, class Shape>
struct SumsFor {
    using Type = ByteSums<Shape>;
};
template <class Shape>
struct SumsFor<16, Shape> {
    using Type = WordSums<Shape>;
};

// ---- How rows sit in a register ------------------------------------------------

// Two 8-byte rows in one register.
inline __m128i loadPair(const Vexo8u* p, Vexo32s step) {
    return _mm_castpd_si128(
        _mm_loadh_pd(_mm_castsi128_pd(load8(p)), reinterpret_cast<const double*>(p + std::ptrdiff_t(step))));
}

struct OneRow16 {
    using V = __m128i;
    static constexpr int kRows = 1;
    static V load(const Vexo8u* p, Vexo32s) { return load16(p); }
};
struct OneRow32Pair {
    using V = RegisterPair;
    static constexpr int kRows = 1;
    static V load(const Vexo8u* p, Vexo32s) { return {load16(p), load16(p + 16)}; }
};
struct TwoRows8 {
    using V = __m128i;
    static constexpr int kRows = 2;
    static V load(const Vexo8u* p, Vexo32s step) { return loadPair(p, step); }
    static V loadOne(const Vexo8u* p) { return load8(p); }
    // From the rows (y, y+1) and (y+2, y+3), the rows (y+1, y+2).
    static V middle(V a, V b) { return _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(a), _mm_castsi128_pd(b), 1)); }
};
#if VEXO_LEVEL >= VEXO_LEVEL_H9
struct OneRow32 {
    using V = __m256i;
    static constexpr int kRows = 1;
    static V load(const Vexo8u* p, Vexo32s) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
};
struct TwoRows16 {
    using V = __m256i;
    static constexpr int kRows = 2;
    static V load(const Vexo8u* p, Vexo32s step) {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(load16(p)), load16(p + std::ptrdiff_t(step)), 1);
    }
    static V loadOne(const Vexo8u* p) { return _mm256_castsi128_si256(load16(p)); }  // the upper half is never used
    static V middle(V a, V b) { return _mm256_permute2x128_si256(a, b, 0x21); }
};
#endif

// ---- The half-sample reference --------------------------------------------------

// A register of rows after the horizontal step of the position: x the samples
// or their average with the right neighbour rounded up, and for both
// directions w the same average rounded down.
template <class Shape>
struct Horizontal {
    typename Shape::V x, w;
};

template <int Bits, int Pos, int Next, class Shape, class Load>
inline Horizontal<Shape> horizontal(const Load& load, const Vexo8u* p) {
    using V = typename Shape::V;
    if constexpr (Pos == kFull) {
        return {load(p), V()};
    } else if constexpr (Pos == kDown) {
        return {inRegister(load(p)), V()};  // each row serves two output rows
    } else {
        const V a = inRegister(load(p)), b = inRegister(load(p + Next));
        const V up = avgLanes<Bits>(a, b);
        if constexpr (Pos == kBoth) return {up, subLanes<Bits>(up, lowBits<Bits>(xorBits(a, b)))};
        else return {up, V()};
    }
}

// The vertical step. For both directions, (a + b + c + d + 2) >> 2 is the
// lower of the two rounded-up averages of (a + b) / 2 rounded up with
// (c + d) / 2 rounded down, and the other way round: the upward rounding of
// an odd pair is cancelled exactly when the other pair is even, and when both
// are odd the two halves make up the + 2. (Checked for all 2^32 byte
// quadruples; nothing depends on the lane width.)
template <int Bits, int Pos, class Shape>
inline typename Shape::V vertical(const Horizontal<Shape>& top, const Horizontal<Shape>& bottom) {
    if constexpr (Pos == kDown) return avgLanes<Bits>(top.x, bottom.x);
    else return minLanes<Bits>(avgLanes<Bits>(top.x, bottom.w), avgLanes<Bits>(top.w, bottom.x));
}

// Sums |src - reference| over H rows of one register width into two sets of
// sums (even and odd units of rows), which breaks the chain of additions.
// Next is the distance in bytes to the right neighbour.
template <class Shape, int Bits, int H, int Pos, int Next, class Sums>
inline void accumulate(Sums& even, Sums& odd, const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref,
                       Vexo32s refStep) {
    using Row = Horizontal<Shape>;
    constexpr int kUnits = H / Shape::kRows;
    static_assert(kUnits % 2 == 0, "rows go in pairs of units");
    // The pointers walk two units at a time; the rows in between are
    // addressed from them, which keeps the address arithmetic short.
    const std::ptrdiff_t srcUnitStep = std::ptrdiff_t(srcStep) * Shape::kRows;
    const std::ptrdiff_t refUnitStep = std::ptrdiff_t(refStep) * Shape::kRows;
    const auto load = [refStep](const Vexo8u* p) { return Shape::load(p, refStep); };
    const auto refUnit = [load](const Vexo8u* p) { return horizontal<Bits, Pos, Next, Shape>(load, p); };
    if constexpr ((Pos & kDown) == 0) {
#pragma GCC unroll 16
        for (int j = 0; j < kUnits; j += 2) {
            even.add(Shape::load(src, srcStep), refUnit(ref).x);
            odd.add(Shape::load(src + srcUnitStep, srcStep), refUnit(ref + refUnitStep).x);
            src += 2 * srcUnitStep;
            ref += 2 * refUnitStep;
        }
    } else if constexpr (Shape::kRows == 1) {
        Row above = refUnit(ref);
#pragma GCC unroll 16
        for (int j = 0; j < kUnits; j += 2) {
            const Row middle = refUnit(ref + refUnitStep), below = refUnit(ref + 2 * refUnitStep);
            even.add(Shape::load(src, srcStep), vertical<Bits, Pos>(above, middle));
            odd.add(Shape::load(src + srcUnitStep, srcStep), vertical<Bits, Pos>(middle, below));
            above = below;
            src += 2 * srcUnitStep;
            ref += 2 * refUnitStep;
        }
    } else {
        // Two rows to a register: the rows below a unit (y, y+1) are (y+1,
        // y+2), made from two neighbouring units; the row below the block is
        // loaded alone.
        const auto loadOne = [](const Vexo8u* p) { return Shape::loadOne(p); };
        const auto shifted = [](const Row& a, const Row& b) {
            return Row{Shape::middle(a.x, b.x), Shape::middle(a.w, b.w)};
        };
        Row upper = refUnit(ref);
#pragma GCC unroll 8
        for (int j = 0; j < kUnits; j += 2) {
            const Row second = refUnit(ref + refUnitStep);
            const Row next = j + 2 < kUnits ? refUnit(ref + 2 * refUnitStep)
                                            : horizontal<Bits, Pos, Next, Shape>(loadOne, ref + 2 * refUnitStep);
            even.add(Shape::load(src, srcStep), vertical<Bits, Pos>(upper, shifted(upper, second)));
            odd.add(Shape::load(src + srcUnitStep, srcStep), vertical<Bits, Pos>(second, shifted(second, next)));
            upper = next;
            src += 2 * srcUnitStep;
            ref += 2 * refUnitStep;
        }
    }
}

template <class Shape, int Bits, int H, int Pos>
Vexo32u sadOf(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    using Sums = typename SumsFor<Bits, Shape>::Type;
    constexpr int kRowBytes = int(sizeof(typename Shape::V)) / Shape::kRows;
    Sums even, odd;
    accumulate<Shape, Bits, H, Pos, Bits / 8>(even, odd, src, srcStep, ref, refStep);
    even.merge(odd);
    return even.total(H * kRowBytes * 8 / Bits);
}

// Four rows of 4 bytes in one register.
inline __m128i loadQuad(const Vexo8u* p, Vexo32s step) {
    const __m128i r01 = _mm_unpacklo_epi32(load4(p), load4(p + std::ptrdiff_t(step)));
    const __m128i r23 = _mm_unpacklo_epi32(load4(p + 2 * std::ptrdiff_t(step)), load4(p + 3 * std::ptrdiff_t(step)));
    return _mm_unpacklo_epi64(r01, r23);
}
template <int H>
Vexo32u sadQuads(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
    ByteSums<OneRow16> sums;
    for (int q = 0; q < H / 4; ++q)
        sums.add(loadQuad(rowAt(src, srcStep, 4 * q), srcStep), loadQuad(rowAt(ref, refStep, 4 * q), refStep));
    return sums.total(0);
}

#if VEXO_LEVEL >= VEXO_LEVEL_H9
using WideRows16 = TwoRows16;  // 16-byte rows, two to a 256-bit register
#else
using WideRows16 = OneRow16;
#endif
#endif

template <int W, int H, int Pos>
Vexo32u sad8u(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    // Full sample is bound by its loads, which two rows to a register do not
    // save; the half-sample positions gain from doing two rows at once.
    if constexpr (W == 16 && Pos == kFull) return sadOf<OneRow16, 8, H, Pos>(src, srcStep, ref, refStep);
    else if constexpr (W == 16) return sadOf<WideRows16, 8, H, Pos>(src, srcStep, ref, refStep);
    else if constexpr (W == 8) return sadOf<TwoRows8, 8, H, Pos>(src, srcStep, ref, refStep);
    else return sadQuads<H>(src, srcStep, ref, refStep);
#else
    return sadScalar<Vexo8u, W, H, Pos>(src, srcStep, ref, refStep);
#endif
}

template <int W, int H, int Pos>
Vexo32u sad16u(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    if constexpr (W == 16) return sadOf<OneRow32, 16, H, Pos>(bytes(src), srcStep, bytes(ref), refStep);
    else if constexpr (W == 8) return sadOf<TwoRows16, 16, H, Pos>(bytes(src), srcStep, bytes(ref), refStep);
    else return sadOf<TwoRows8, 16, H, Pos>(bytes(src), srcStep, bytes(ref), refStep);
#elif VEXO_LEVEL >= VEXO_LEVEL_W7
    if constexpr (W == 4) return sadOf<TwoRows8, 16, H, Pos>(bytes(src), srcStep, bytes(ref), refStep);
    else if constexpr (W == 16) return sadOf<OneRow32Pair, 16, H, Pos>(bytes(src), srcStep, bytes(ref), refStep);
    else return sadOf<OneRow16, 16, H, Pos>(bytes(src), srcStep, bytes(ref), refStep);
#else
    return sadScalar<Vexo16u, W, H, Pos>(src, srcStep, ref, refStep);
#endif
}

// A table entry finishes the call itself (stores the sum, returns the
// status), so that the export's last step is a jump into it.
template <int W, int H, int Pos>
VexoStatus storeSad8u(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo32s* sad) {
    *sad = Vexo32s(sad8u<W, H, Pos>(src, srcStep, ref, refStep));
    return vexoStatusOk;
}
template <int W, int H, int Pos>
VexoStatus storeSad16u(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep, Vexo32s* sad) {
    *sad = Vexo32s(sad16u<W, H, Pos>(src, srcStep, ref, refStep));
    return vexoStatusOk;
}
using Sad8uKernel = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s*);
using Sad16uKernel = VexoStatus (*)(const Vexo16u*, Vexo32s, const Vexo16u*, Vexo32s, Vexo32s*);

#define VEXO_FOUR_POSITIONS(kernel, W, H) \
    { kernel<W, H, kFull>, kernel<W, H, kDown>, kernel<W, H, kRight>, kernel<W, H, kBoth> }
const Sad8uKernel kSad16x16[4] = VEXO_FOUR_POSITIONS(storeSad8u, 16, 16);
const Sad8uKernel kSad16x8[4] = VEXO_FOUR_POSITIONS(storeSad8u, 16, 8);
const Sad8uKernel kSad8x8[4] = VEXO_FOUR_POSITIONS(storeSad8u, 8, 8);
const Sad16uKernel kSad16x16Words[4] = VEXO_FOUR_POSITIONS(storeSad16u, 16, 16);
const Sad16uKernel kSad8x8Words[4] = VEXO_FOUR_POSITIONS(storeSad16u, 8, 8);
const Sad16uKernel kSad4x4Words[4] = VEXO_FOUR_POSITIONS(storeSad16u, 4, 4);
#undef VEXO_FOUR_POSITIONS

template <class T, class Kernel>
inline VexoStatus runSad(Kernel kernel, const T* src, Vexo32s srcStep, const T* ref, Vexo32s refStep, Vexo32s* sad) {
    if (src == nullptr || ref == nullptr || sad == nullptr) return vexoStatusNullPointer;
    return kernel(src, srcStep, ref, refStep, sad);
}

// ---- Two interleaved channels ----------------------------------------------

struct ChannelTotals {
    Vexo32u even, odd;
};
using SadC2Kernel = ChannelTotals (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s);

#if VEXO_LEVEL >= VEXO_LEVEL_W7
// Each byte difference goes to its channel's 16-bit lanes: 8 rows of at most
// 255 per lane cannot overflow.
inline __m128i absDiffBytes(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }
inline __m128i evenBytes(__m128i d) { return _mm_and_si128(d, _mm_set1_epi16(0xFF)); }
inline __m128i oddBytes(__m128i d) { return _mm_srli_epi16(d, 8); }
inline __m128i addWords(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
inline __m128i foldWordHalves(__m128i v) { return v; }
#if VEXO_LEVEL >= VEXO_LEVEL_H9
inline __m256i absDiffBytes(__m256i a, __m256i b) { return _mm256_sub_epi8(_mm256_max_epu8(a, b), _mm256_min_epu8(a, b)); }
inline __m256i evenBytes(__m256i d) { return _mm256_and_si256(d, _mm256_set1_epi16(0xFF)); }
inline __m256i oddBytes(__m256i d) { return _mm256_srli_epi16(d, 8); }
inline __m256i addWords(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
inline __m128i foldWordHalves(__m256i v) {
    return _mm_add_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}
#endif
template <class Shape>
struct ChannelSums {
    using V = typename Shape::V;
    V even = V(), odd = V();
    void add(V s, V r) {
        const V d = absDiffBytes(inRegister(s), inRegister(r));
        even = addWords(even, evenBytes(d));
        odd = addWords(odd, oddBytes(d));
    }
};
#endif

template <int Pos>
ChannelTotals sadC2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    ChannelSums<WideRows16> first, second;
    accumulate<WideRows16, 8, 8, Pos, 2>(first, second, src, srcStep, ref, refStep);
    const __m128i ones = _mm_set1_epi16(1);
    const __m128i even = _mm_madd_epi16(foldWordHalves(addWords(first.even, second.even)), ones);
    const __m128i odd = _mm_madd_epi16(foldWordHalves(addWords(first.odd, second.odd)), ones);
    return {sum32(even), sum32(odd)};
#else
    ChannelTotals t{0, 0};
    for (int y = 0; y < 8; ++y) {
        const Vexo8u* s = rowAt(src, srcStep, y);
        const Vexo8u* r = rowAt(ref, refStep, y);
        for (int x = 0; x < 16; x += 2) {
            t.even += absDiff(s[x], referenceValue<Pos, 2>(r + x, refStep));
            t.odd += absDiff(s[x + 1], referenceValue<Pos, 2>(r + x + 1, refStep));
        }
    }
    return t;
#endif
}

// ---- Sub-blocks -------------------------------------------------------------

// The 16-bit forms cut each difference to 16 bits and read it as signed
// before its absolute value: samples 32768 or more apart count 65536 minus
// their distance. The wrap is part of the interface.
inline Vexo32u wrappedAbsDiff(Vexo32s a, Vexo32s b) {
    const Vexo16s d = Vexo16s(Vexo16u(Vexo32u(a) - Vexo32u(b)));
    return Vexo32u(d < 0 ? -Vexo32s(d) : Vexo32s(d));
}

template <int B>
void blocks8u(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16u* sads) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    if constexpr (B == 8) {
        ByteSums<OneRow16> top, bottom;
#pragma GCC unroll 8
        for (int y = 0; y < 8; ++y) top.add(load16(rowAt(src, srcStep, y)), load16(rowAt(ref, refStep, y)));
#pragma GCC unroll 8
        for (int y = 8; y < 16; ++y) bottom.add(load16(rowAt(src, srcStep, y)), load16(rowAt(ref, refStep, y)));
        // [left, right] halves of each band as the even 32-bit lanes.
        const __m128i four = _mm_castps_si128(
            _mm_shuffle_ps(_mm_castsi128_ps(top.acc), _mm_castsi128_ps(bottom.acc), _MM_SHUFFLE(2, 0, 2, 0)));
        store8(sads, _mm_packs_epi32(four, four));
    } else {
        __m128i bands[4];
#pragma GCC unroll 4
        for (int band = 0; band < 4; ++band) {
            // Rows y, y+1 interleaved by 32 bits put columns 0-3 of both rows
            // in the low half and columns 4-7 in the high half: psadbw then
            // sums two rows of two sub-blocks at once.
            ByteSums<OneRow16> left, right;
            for (int y = 4 * band; y < 4 * band + 4; y += 2) {
                const __m128i s0 = inRegister(load16(rowAt(src, srcStep, y)));
                const __m128i s1 = inRegister(load16(rowAt(src, srcStep, y + 1)));
                const __m128i r0 = inRegister(load16(rowAt(ref, refStep, y)));
                const __m128i r1 = inRegister(load16(rowAt(ref, refStep, y + 1)));
                left.add(_mm_unpacklo_epi32(s0, s1), _mm_unpacklo_epi32(r0, r1));
                right.add(_mm_unpackhi_epi32(s0, s1), _mm_unpackhi_epi32(r0, r1));
            }
            bands[band] = _mm_castps_si128(
                _mm_shuffle_ps(_mm_castsi128_ps(left.acc), _mm_castsi128_ps(right.acc), _MM_SHUFFLE(2, 0, 2, 0)));
        }
        store16(sads, _mm_packs_epi32(bands[0], bands[1]));
        store16(sads + 8, _mm_packs_epi32(bands[2], bands[3]));
    }
#else
    constexpr int kAcross = 16 / B;
    for (int i = 0; i < kAcross * kAcross; ++i) sads[i] = 0;
    for (int y = 0; y < 16; ++y) {
        const Vexo8u* s = rowAt(src, srcStep, y);
        const Vexo8u* r = rowAt(ref, refStep, y);
        for (int x = 0; x < 16; ++x) {
            Vexo16u& sum = sads[(y / B) * kAcross + x / B];
            sum = Vexo16u(sum + absDiff(s[x], r[x]));
        }
    }
#endif
}

#if VEXO_LEVEL >= VEXO_LEVEL_W7
inline __m128i wrappedAbsDiffWords(__m128i a, __m128i b) {
    const __m128i d = _mm_sub_epi16(a, b);
#if VEXO_LEVEL >= VEXO_LEVEL_V8
    return _mm_abs_epi16(d);  // -32768 stays 0x8000, read unsigned as 32768
#else
    return _mm_max_epi16(d, _mm_sub_epi16(_mm_setzero_si128(), d));
#endif
}
// [sum of a, sum of b, sum of c, sum of d] over 32-bit lanes.
inline __m128i sumEach(__m128i a, __m128i b, __m128i c, __m128i d) {
    const __m128i ab = _mm_add_epi32(_mm_unpacklo_epi32(a, b), _mm_unpackhi_epi32(a, b));
    const __m128i cd = _mm_add_epi32(_mm_unpacklo_epi32(c, d), _mm_unpackhi_epi32(c, d));
    return _mm_add_epi32(_mm_unpacklo_epi64(ab, cd), _mm_unpackhi_epi64(ab, cd));
}
#if VEXO_LEVEL >= VEXO_LEVEL_H9
inline __m256i wrappedAbsDiffWords(__m256i a, __m256i b) { return _mm256_abs_epi16(_mm256_sub_epi16(a, b)); }
inline __m256i loadRow32(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
#endif
#endif

template <int B>
void blocks16u(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep, Vexo32u* sads) {
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    // A row of 16 words is one register: lanes hold columns 0-7 and 8-15.
    const __m256i bias = _mm256_set1_epi32(B * B * 32768);
    const auto pairSums = [srcStep, refStep, src, ref](int y) {
        return biasedPairSums(wrappedAbsDiffWords(loadRow32(rowAt(src, srcStep, y)), loadRow32(rowAt(ref, refStep, y))));
    };
    if constexpr (B == 8) {
        __m256i top = _mm256_setzero_si256(), bottom = _mm256_setzero_si256();
#pragma GCC unroll 8
        for (int y = 0; y < 8; ++y) {
            top = _mm256_add_epi32(top, pairSums(y));
            bottom = _mm256_add_epi32(bottom, pairSums(y + 8));
        }
        store16(sads, _mm_add_epi32(sumEach(_mm256_castsi256_si128(top), _mm256_extracti128_si256(top, 1),
                                            _mm256_castsi256_si128(bottom), _mm256_extracti128_si256(bottom, 1)),
                                    _mm256_castsi256_si128(bias)));
    } else {
#pragma GCC unroll 2
        for (int band = 0; band < 4; band += 2) {
            __m256i first = _mm256_setzero_si256(), second = _mm256_setzero_si256();
#pragma GCC unroll 4
            for (int y = 4 * band; y < 4 * band + 4; ++y) {
                first = _mm256_add_epi32(first, pairSums(y));
                second = _mm256_add_epi32(second, pairSums(y + 4));
            }
            // Pair sums within lanes give each band's sub-blocks (0, 1 | 2, 3);
            // the permute puts the two bands' four in raster order.
            const __m256i sums = _mm256_permute4x64_epi64(_mm256_hadd_epi32(first, second), _MM_SHUFFLE(3, 1, 2, 0));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(sads + 4 * band), _mm256_add_epi32(sums, bias));
        }
    }
#elif VEXO_LEVEL >= VEXO_LEVEL_W7
    // Each madd lane is biased by -65536 (two words of -32768): B * B / 2 pairs
    // per sub-block, added back once.
    const __m128i bias = _mm_set1_epi32(B * B * 32768);
    const auto pairSums = [srcStep, refStep, src, ref](int y, int k) {
        return biasedPairSums(wrappedAbsDiffWords(load16(rowAt(src, srcStep, y) + 8 * k),
                                                  load16(rowAt(ref, refStep, y) + 8 * k)));
    };
    if constexpr (B == 8) {
        __m128i acc[4] = {_mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128()};
#pragma GCC unroll 16
        for (int y = 0; y < 16; ++y) {
            const int band = y / 8;
            acc[2 * band] = _mm_add_epi32(acc[2 * band], pairSums(y, 0));
            acc[2 * band + 1] = _mm_add_epi32(acc[2 * band + 1], pairSums(y, 1));
        }
        store16(sads, _mm_add_epi32(sumEach(acc[0], acc[1], acc[2], acc[3]), bias));
    } else {
#pragma GCC unroll 4
        for (int band = 0; band < 4; ++band) {
            // Left register: sub-blocks 0 and 1 of the band, two lanes each.
            __m128i left = _mm_setzero_si128(), right = _mm_setzero_si128();
            for (int y = 4 * band; y < 4 * band + 4; ++y) {
                left = _mm_add_epi32(left, pairSums(y, 0));
                right = _mm_add_epi32(right, pairSums(y, 1));
            }
            const __m128 l = _mm_castsi128_ps(left), r = _mm_castsi128_ps(right);
            const __m128i sums = _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(l, r, _MM_SHUFFLE(2, 0, 2, 0))),
                                               _mm_castps_si128(_mm_shuffle_ps(l, r, _MM_SHUFFLE(3, 1, 3, 1))));
            store16(sads + 4 * band, _mm_add_epi32(sums, bias));
        }
    }
#else
    constexpr int kAcross = 16 / B;
    for (int i = 0; i < kAcross * kAcross; ++i) sads[i] = 0;
    for (int y = 0; y < 16; ++y) {
        const Vexo16u* s = rowAt(src, srcStep, y);
        const Vexo16u* r = rowAt(ref, refStep, y);
        for (int x = 0; x < 16; ++x) sads[(y / B) * kAcross + x / B] += wrappedAbsDiff(s[x], r[x]);
    }
#endif
}

// ---- Subtract and sum ---------------------------------------------------------

void subSad8x8(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo16s* dst,
               Vexo32s dstStep, Vexo32s* sad) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
    // Widening loads, and the sum from the differences themselves: eight rows
    // of at most 255 per word lane.
    __m128i sum = _mm_setzero_si128();
#pragma GCC unroll 8
    for (int y = 0; y < 8; ++y) {
        const __m128i d = _mm_sub_epi16(_mm_cvtepu8_epi16(load8(rowAt(src, srcStep, y))),
                                        _mm_cvtepu8_epi16(load8(rowAt(ref, refStep, y))));
        store16(rowAt(dst, dstStep, y), d);
        sum = _mm_add_epi16(sum, _mm_abs_epi16(d));
    }
    *sad = Vexo32s(sum32(_mm_madd_epi16(sum, _mm_set1_epi16(1))));
#elif VEXO_LEVEL >= VEXO_LEVEL_W7
    ByteSums<OneRow16> sums;
#pragma GCC unroll 8
    for (int y = 0; y < 8; y += 2) {
        const __m128i s0 = load8(rowAt(src, srcStep, y)), r0 = load8(rowAt(ref, refStep, y));
        const __m128i s1 = load8(rowAt(src, srcStep, y + 1)), r1 = load8(rowAt(ref, refStep, y + 1));
        store16(rowAt(dst, dstStep, y), _mm_sub_epi16(widenLow(s0), widenLow(r0)));
        store16(rowAt(dst, dstStep, y + 1), _mm_sub_epi16(widenLow(s1), widenLow(r1)));
        sums.add(_mm_unpacklo_epi64(s0, s1), _mm_unpacklo_epi64(r0, r1));
    }
    *sad = Vexo32s(sums.total(0));
#else
    Vexo32u sum = 0;
    for (int y = 0; y < 8; ++y) {
        const Vexo8u* s = rowAt(src, srcStep, y);
        const Vexo8u* r = rowAt(ref, refStep, y);
        Vexo16s* d = rowAt(dst, dstStep, y);
        for (int x = 0; x < 8; ++x) {
            d[x] = Vexo16s(s[x] - r[x]);
            sum += absDiff(s[x], r[x]);
        }
    }
    *sad = Vexo32s(sum);
#endif
}

// ---- Frame and field activity -------------------------------------------------

// Rows 7 and 8 belong to different halves of a frame macroblock split into
// two 8-row blocks, so that pair stays out of frameSad.
inline bool framePair(int r) { return r != 7; }

template <class T>
void frameFieldScalar(const T* src, Vexo32s srcStep, Vexo32s* frameSad, Vexo32s* fieldSad) {
    Vexo32u frame = 0, field = 0;
    for (int r = 0; r < 15; ++r) {
        const T* a = rowAt(src, srcStep, r);
        const T* b = rowAt(src, srcStep, r + 1);
        if (framePair(r))
            for (int x = 0; x < 16; ++x) frame += absDiff(a[x], b[x]);
        if (r < 14) {
            const T* c = rowAt(src, srcStep, r + 2);
            for (int x = 0; x < 16; ++x) field += absDiff(a[x], c[x]);
        }
    }
    *frameSad = Vexo32s(frame);
    *fieldSad = Vexo32s(field);
}

void frameField8u(const Vexo8u* src, Vexo32s srcStep, Vexo32s* frameSad, Vexo32s* fieldSad) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
    ByteSums<OneRow16> frame, field;
    __m128i r0 = inRegister(load16(src)), r1 = inRegister(load16(rowAt(src, srcStep, 1)));
#pragma GCC unroll 14
    for (int r = 0; r < 14; ++r) {
        const __m128i r2 = inRegister(load16(rowAt(src, srcStep, r + 2)));
        if (framePair(r)) frame.add(r0, r1);
        field.add(r0, r2);
        r0 = r1;
        r1 = r2;
    }
    frame.add(r0, r1);  // rows 14 and 15
    *frameSad = Vexo32s(frame.total(0));
    *fieldSad = Vexo32s(field.total(0));
#else
    frameFieldScalar(src, srcStep, frameSad, fieldSad);
#endif
}

#if VEXO_LEVEL >= VEXO_LEVEL_W7
// A row of signed words, kept also with the sign bit flipped (the same
// order, read unsigned). The pair sums madd wants are of |a - b| - 32768:
// with SSE4.1 that is the unsigned maximum of the flipped values (max + 32768)
// less the signed minimum, one operation fewer than taking |a - b| and then
// moving it down.
struct SignedWords {
    __m128i s, f;
};
inline __m128i flipSign(__m128i v) { return _mm_xor_si128(v, _mm_set1_epi16(-32768)); }
inline __m128i biasedAbsDiff(const SignedWords& a, const SignedWords& b) {
#if VEXO_LEVEL >= VEXO_LEVEL_P8
    return _mm_sub_epi16(_mm_max_epu16(a.f, b.f), _mm_min_epi16(a.s, b.s));
#else
    return flipSign(_mm_sub_epi16(_mm_max_epi16(a.s, b.s), _mm_min_epi16(a.s, b.s)));
#endif
}
#if VEXO_LEVEL >= VEXO_LEVEL_H9
inline __m256i flipSign(__m256i v) { return _mm256_xor_si256(v, _mm256_set1_epi16(-32768)); }
struct SignedWordsWide {
    __m256i s, f;
};
inline __m256i biasedAbsDiff(const SignedWordsWide& a, const SignedWordsWide& b) {
    return _mm256_sub_epi16(_mm256_max_epu16(a.f, b.f), _mm256_min_epi16(a.s, b.s));
}
#endif
#endif

void frameField16s(const Vexo16s* src, Vexo32s srcStep, Vexo32s* frameSad, Vexo32s* fieldSad) {
#if VEXO_LEVEL >= VEXO_LEVEL_W7
#if VEXO_LEVEL >= VEXO_LEVEL_H9
    using V = __m256i;  // a row of 16 words to a register
    using Row = SignedWordsWide;
    const auto loadRow = [](const Vexo16s* p) {
        const V v = inRegister(loadRow32(p));
        return Row{v, flipSign(v)};
    };
    const auto pairSums = [](const Row& a, const Row& b) {
        return _mm256_madd_epi16(biasedAbsDiff(a, b), _mm256_set1_epi16(1));
    };
    const auto add = [](V a, V b) { return _mm256_add_epi32(a, b); };
    constexpr int kRegs = 1;
#else
    using V = __m128i;  // each row as two registers, one after the other
    using Row = SignedWords;
    const auto loadRow = [](const Vexo16s* p) {
        const V v = inRegister(load16(p));
        return Row{v, flipSign(v)};
    };
    const auto pairSums = [](const Row& a, const Row& b) {
        return _mm_madd_epi16(biasedAbsDiff(a, b), _mm_set1_epi16(1));
    };
    const auto add = [](V a, V b) { return _mm_add_epi32(a, b); };
    constexpr int kRegs = 2;
#endif
    V frame = V(), field = V();
    for (int k = 0; k < kRegs; ++k) {
        const Vexo16s* column = src + 8 * k;
        Row r0 = loadRow(column), r1 = loadRow(rowAt(column, srcStep, 1));
#pragma GCC unroll 14
        for (int r = 0; r < 14; ++r) {
            const Row r2 = loadRow(rowAt(column, srcStep, r + 2));
            if (framePair(r)) frame = add(frame, pairSums(r0, r1));
            field = add(field, pairSums(r0, r2));
            r0 = r1;
            r1 = r2;
        }
        frame = add(frame, pairSums(r0, r1));  // rows 14 and 15
    }
    // 14 row pairs of 16 words each, every word biased by -32768.
    *frameSad = Vexo32s(sum32(foldHalves(frame)) + 14u * 16u * 32768u);
    *fieldSad = Vexo32s(sum32(foldHalves(field)) + 14u * 16u * 32768u);
#else
    frameFieldScalar(src, srcStep, frameSad, fieldSad);
#endif
}

}  // namespace

// ---- Exports -------------------------------------------------------------------

VexoStatus vexoSAD16x16_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo32s* sad,
                              Vexo32s mcType) {
    return runSad(kSad16x16[mcType >> 2], src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD16x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s mcType) {
    return runSad(kSad16x8[mcType >> 2], src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad, Vexo32s mcType) {
    return runSad(kSad8x8[mcType >> 2], src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD16x16_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                   Vexo32s* sad, Vexo32s mcType) {
    return runSad(kSad16x16Words[mcType >> 2], src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD8x8_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s mcType) {
    return runSad(kSad8x8Words[mcType >> 2], src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD4x4_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s mcType) {
    return runSad(kSad4x4Words[mcType >> 2], src, srcStep, ref, refStep, sad);
}

VexoStatus vexoSAD4x4_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo32s* sad,
                            Vexo32s) {
    return runSad(storeSad8u<4, 4, kFull>, src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD4x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad, Vexo32s) {
    return runSad(storeSad8u<4, 8, kFull>, src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD8x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad, Vexo32s) {
    return runSad(storeSad8u<8, 4, kFull>, src, srcStep, ref, refStep, sad);
}
VexoStatus vexoSAD8x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s) {
    return runSad(storeSad8u<8, 16, kFull>, src, srcStep, ref, refStep, sad);
}

VexoStatus vexoSAD8x8_8u32s_C2R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad0, Vexo32s* sad1, Vexo32s mcType) {
    static const SadC2Kernel kKernels[4] = {sadC2<kFull>, sadC2<kDown>, sadC2<kRight>, sadC2<kBoth>};
    if (src == nullptr || ref == nullptr || sad0 == nullptr || sad1 == nullptr) return vexoStatusNullPointer;
    if (srcStep < 1 || refStep < 1) return vexoStatusBadStep;
    // Unlike the one-channel forms, the selector is compared whole: a value
    // with extra bits is no position at all and gives two zero sums.
    if (mcType != 0 && mcType != 4 && mcType != 8 && mcType != 12) {
        *sad0 = 0;
        *sad1 = 0;
        return vexoStatusOk;
    }
    const ChannelTotals t = kKernels[mcType >> 2](src, srcStep, ref, refStep);
    *sad0 = Vexo32s(t.even);
    *sad1 = Vexo32s(t.odd);
    return vexoStatusOk;
}

VexoStatus vexoSAD16x16Blocks8x8_8u16u(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                       Vexo16u* sads, Vexo32s) {
    if (src == nullptr || ref == nullptr || sads == nullptr) return vexoStatusNullPointer;
    blocks8u<8>(src, srcStep, ref, refStep, sads);
    return vexoStatusOk;
}
VexoStatus vexoSAD16x16Blocks4x4_8u16u(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                       Vexo16u* sads, Vexo32s) {
    if (src == nullptr || ref == nullptr || sads == nullptr) return vexoStatusNullPointer;
    blocks8u<4>(src, srcStep, ref, refStep, sads);
    return vexoStatusOk;
}
VexoStatus vexoSAD16x16Blocks8x8_16u32u_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                            Vexo32s refStep, Vexo32u* sads, Vexo32s) {
    if (src == nullptr || ref == nullptr || sads == nullptr) return vexoStatusNullPointer;
    blocks16u<8>(src, srcStep, ref, refStep, sads);
    return vexoStatusOk;
}
VexoStatus vexoSAD16x16Blocks4x4_16u32u_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                            Vexo32s refStep, Vexo32u* sads, Vexo32s) {
    if (src == nullptr || ref == nullptr || sads == nullptr) return vexoStatusNullPointer;
    blocks16u<4>(src, srcStep, ref, refStep, sads);
    return vexoStatusOk;
}

VexoStatus vexoSubSAD8x8_8u16s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo32s* sad) {
    if (src == nullptr || ref == nullptr || dst == nullptr) return vexoStatusNullPointer;
    subSad8x8(src, srcStep, ref, refStep, dst, dstStep, sad);
    return vexoStatusOk;
}

VexoStatus vexoFrameFieldSAD16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* frameSad,
                                            Vexo32s* fieldSad) {
    if (src == nullptr || frameSad == nullptr || fieldSad == nullptr) return vexoStatusNullPointer;
    frameField8u(src, srcStep, frameSad, fieldSad);
    return vexoStatusOk;
}
VexoStatus vexoFrameFieldSAD16x16_16s32s_C1R(const Vexo16s* src, Vexo32s srcStep, Vexo32s* frameSad,
                                             Vexo32s* fieldSad) {
    if (src == nullptr || frameSad == nullptr || fieldSad == nullptr) return vexoStatusNullPointer;
    frameField16s(src, srcStep, frameSad, fieldSad);
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH
