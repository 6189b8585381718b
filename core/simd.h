// Small vector helpers shared by the kernels of one path. Included after
// core/path.h; everything here is inside the path's namespace and only what
// the path's instruction set allows is defined.
#pragma once

#if VEXO_LEVEL >= VEXO_LEVEL_W7
#include <emmintrin.h>
#endif
#if VEXO_LEVEL >= VEXO_LEVEL_V8
#include <tmmintrin.h>
#endif
#if VEXO_LEVEL >= VEXO_LEVEL_P8
#include <smmintrin.h>
#endif
#if VEXO_LEVEL >= VEXO_LEVEL_G9
#include <immintrin.h>
#endif

namespace vexo::VEXO_PATH::simd {

#if VEXO_LEVEL >= VEXO_LEVEL_W7
// 8-byte row loads: a block's last row may end at the end of a mapped page,
// so an 8-wide row is never read as 16 bytes.
static inline __m128i load8(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
static inline void store8(void* p, __m128i v) { _mm_storel_epi64(static_cast<__m128i*>(p), v); }
static inline __m128i load16(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
static inline void store16(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
static inline __m128i load4(const void* p) {
    Vexo32s v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}
static inline void store4(void* p, __m128i v) {
    Vexo32s x = _mm_cvtsi128_si32(v);
    std::memcpy(p, &x, 4);
}

// (a + b + 1) >> 1 per byte.
static inline __m128i avgUp(__m128i a, __m128i b) { return _mm_avg_epu8(a, b); }
// (a + b) >> 1 per byte: the rounded-up average less the carried-out odd bit.
static inline __m128i avgDown(__m128i a, __m128i b) {
    return _mm_sub_epi8(_mm_avg_epu8(a, b), _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1)));
}
static inline __m128i widenLow(__m128i v) { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
static inline __m128i widenHigh(__m128i v) { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }
#endif

}  // namespace vexo::VEXO_PATH::simd
