// The memory services of one path. Each path has its own copy; primitives of
// a path call only these.
#include "core/path.h"
#include "core/internal.h"
#include "core/simd.h"

namespace vexo::VEXO_PATH {

void* vexoAlloc8u(Vexo32s length) { return length < 1 ? nullptr : vexo::vexoAlignedAlloc(length); }
void* vexoAlloc16s(Vexo32s length) { return length < 1 ? nullptr : vexo::vexoAlignedAlloc(2 * length); }
void* vexoAlloc32s(Vexo32s length) { return length < 1 ? nullptr : vexo::vexoAlignedAlloc(4 * length); }
void vexoFree(void* block) { vexo::vexoAlignedFree(block); }

VexoStatus vexoCopy8u(const Vexo8u* src, Vexo8u* dst, Vexo32s length) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    if (length < 1) return vexoStatusBadSize;
    for (Vexo32s i = 0; i < length; ++i) dst[i] = src[i];
    return vexoStatusOk;
}

VexoStatus vexoCopy16s(const Vexo16s* src, Vexo16s* dst, Vexo32s length) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    if (length < 1) return vexoStatusBadSize;
    return vexoCopy8u(reinterpret_cast<const Vexo8u*>(src), reinterpret_cast<Vexo8u*>(dst), 2 * length);
}

namespace {

// Bytes up to a 4-aligned address, then 32 bytes at a time as eight words,
// then the tail by bytes.
void fillWords(Vexo8u value, Vexo8u* dst, Vexo32s length) {
    while (length > 0 && (reinterpret_cast<std::uintptr_t>(dst) & 3) != 0) {
        *dst++ = value;
        --length;
    }
    const Vexo32u word = value * 0x01010101u;
    for (; length >= 32; length -= 32, dst += 32) {
        for (int i = 0; i < 8; ++i) std::memcpy(dst + 4 * i, &word, 4);
    }
    while (length-- > 0) *dst++ = value;
}

#if VEXO_LEVEL >= VEXO_LEVEL_G9
// Above 2 MiB and above the largest cache, a fill that went through the
// cache would only evict what the caller still needs.
bool fillStreaming(Vexo8u value, Vexo8u* dst, Vexo32s length) {
    if (length <= (2 << 20)) return false;
    Vexo32s cache = 0;
    if (vexo::largestCacheSize(&cache) != vexoStatusOk || cache <= 0 || cache >= length) return false;
    const Vexo32s head = Vexo32s((64 - (reinterpret_cast<std::uintptr_t>(dst) & 63)) & 63);
    fillWords(value, dst, head);
    dst += head;
    length -= head;
    const __m128i v = _mm_set1_epi8(char(value));
    for (; length >= 64; length -= 64, dst += 64) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(dst), v);
        _mm_stream_si128(reinterpret_cast<__m128i*>(dst + 16), v);
        _mm_stream_si128(reinterpret_cast<__m128i*>(dst + 32), v);
        _mm_stream_si128(reinterpret_cast<__m128i*>(dst + 48), v);
    }
    _mm_sfence();
    fillWords(value, dst, length);
    return true;
}
#endif

VexoStatus fill(Vexo8u value, Vexo8u* dst, Vexo32s length) {
    if (dst == nullptr) return vexoStatusNullPointer;
    if (length < 1) return vexoStatusBadSize;
#if VEXO_LEVEL >= VEXO_LEVEL_G9
    if (fillStreaming(value, dst, length)) return vexoStatusOk;
#endif
    fillWords(value, dst, length);
    return vexoStatusOk;
}

}  // namespace

VexoStatus vexoSet8u(Vexo8u value, Vexo8u* dst, Vexo32s length) { return fill(value, dst, length); }
VexoStatus vexoZero8u(Vexo8u* dst, Vexo32s length) { return fill(0, dst, length); }
VexoStatus vexoZero16s(Vexo16s* dst, Vexo32s length) {
    if (dst == nullptr) return vexoStatusNullPointer;
    if (length < 1) return vexoStatusBadSize;
    return fill(0, reinterpret_cast<Vexo8u*>(dst), 2 * length);
}

VexoStatus vexoCopyPlane8u(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s width,
                           Vexo32s height) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    if (width < 1 || height < 1) return vexoStatusBadSize;
    for (Vexo32s y = 0; y < height; ++y) std::memcpy(dst + y * dstStep, src + y * srcStep, std::size_t(width));
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH
