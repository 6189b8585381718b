// The aligned allocator, the cache query and the memory services of each path.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "core/internal.h"
#include "tests/support/paths.h"

// The per-path services are internal to each path; declared here to test them.
#define VEXO_DECLARE_SERVICES(p)                                                                    \
    namespace vexo::p {                                                                             \
    void* vexoAlloc8u(Vexo32s);                                                                     \
    void* vexoAlloc16s(Vexo32s);                                                                    \
    void* vexoAlloc32s(Vexo32s);                                                                    \
    void vexoFree(void*);                                                                           \
    VexoStatus vexoCopy8u(const Vexo8u*, Vexo8u*, Vexo32s);                                         \
    VexoStatus vexoCopy16s(const Vexo16s*, Vexo16s*, Vexo32s);                                      \
    VexoStatus vexoSet8u(Vexo8u, Vexo8u*, Vexo32s);                                                 \
    VexoStatus vexoZero8u(Vexo8u*, Vexo32s);                                                        \
    VexoStatus vexoZero16s(Vexo16s*, Vexo32s);                                                      \
    VexoStatus vexoCopyPlane8u(const Vexo8u*, Vexo32s, Vexo8u*, Vexo32s, Vexo32s, Vexo32s);          \
    }
VEXO_DECLARE_SERVICES(px)
VEXO_DECLARE_SERVICES(w7)
VEXO_DECLARE_SERVICES(v8)
VEXO_DECLARE_SERVICES(s8)
VEXO_DECLARE_SERVICES(p8)
VEXO_DECLARE_SERVICES(g9)
VEXO_DECLARE_SERVICES(h9)

namespace vexo {
namespace {

struct Services {
    void* (*alloc8u)(Vexo32s);
    void* (*alloc16s)(Vexo32s);
    void* (*alloc32s)(Vexo32s);
    void (*free)(void*);
    VexoStatus (*copy8u)(const Vexo8u*, Vexo8u*, Vexo32s);
    VexoStatus (*copy16s)(const Vexo16s*, Vexo16s*, Vexo32s);
    VexoStatus (*set8u)(Vexo8u, Vexo8u*, Vexo32s);
    VexoStatus (*zero8u)(Vexo8u*, Vexo32s);
    VexoStatus (*zero16s)(Vexo16s*, Vexo32s);
    VexoStatus (*copyPlane)(const Vexo8u*, Vexo32s, Vexo8u*, Vexo32s, Vexo32s, Vexo32s);
};
#define VEXO_SERVICES(p)                                                                                    \
    Services {                                                                                              \
        p::vexoAlloc8u, p::vexoAlloc16s, p::vexoAlloc32s, p::vexoFree, p::vexoCopy8u, p::vexoCopy16s,      \
            p::vexoSet8u, p::vexoZero8u, p::vexoZero16s, p::vexoCopyPlane8u                                 \
    }
const Services kServices[kPathCount] = {VEXO_SERVICES(px), VEXO_SERVICES(w7), VEXO_SERVICES(v8), VEXO_SERVICES(s8),
                                        VEXO_SERVICES(p8), VEXO_SERVICES(g9), VEXO_SERVICES(h9)};

TEST(AlignedAlloc, NullForNoLength) {
    EXPECT_EQ(vexoAlignedAlloc(0), nullptr);
    EXPECT_EQ(vexoAlignedAlloc(-1), nullptr);
    vexoAlignedFree(nullptr);
}

TEST(AlignedAlloc, AlignedWithTheHeapPointerInFront) {
    std::vector<void*> blocks;
    for (Vexo32s length = 1; length < 3000; length += 37) {
        void* b = vexoAlignedAlloc(length);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b) % 64, 0u);
        void* heap;
        std::memcpy(&heap, static_cast<char*>(b) - sizeof(void*), sizeof heap);
        const std::ptrdiff_t gap = static_cast<char*>(b) - static_cast<char*>(heap);
        EXPECT_GE(gap, std::ptrdiff_t(sizeof(void*)));
        EXPECT_LT(gap, 64 + std::ptrdiff_t(sizeof(void*)));
        std::memset(b, 0x5A, std::size_t(length));  // the whole length is ours (ASan checks)
        blocks.push_back(b);
    }
    for (void* b : blocks) vexoAlignedFree(b);
}

TEST(AlignUp, RoundsUpToPowersOfTwo) {
    alignas(64) char buf[256];
    for (Vexo32s a : {1, 2, 4, 16, 64}) {
        for (int off = 0; off < 70; ++off) {
            char* p = buf + off;
            char* q = static_cast<char*>(vexoAlignUp(p, a));
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(q) % std::uintptr_t(a), 0u);
            EXPECT_GE(q, p);
            EXPECT_LT(q - p, a);
            if (reinterpret_cast<std::uintptr_t>(p) % std::uintptr_t(a) == 0) {
                EXPECT_EQ(q, p);
            }
        }
    }
}

// A fake processor for the cache query.
struct FakeCpu {
    static inline CpuidRegs leaf0{}, leaf2{};
    static inline std::vector<CpuidRegs> leaf4;
    static CpuidRegs query(std::uint32_t leaf, std::uint32_t sub) {
        if (leaf == 0) return leaf0;
        if (leaf == 2) return leaf2;
        if (leaf == 4 && sub < leaf4.size()) return leaf4[sub];
        return CpuidRegs{};
    }
    static void ours(std::uint32_t maxLeaf) {
        leaf0.eax = maxLeaf;
        std::memcpy(&leaf0.ebx, "Genu", 4);
        std::memcpy(&leaf0.edx, "ineM", 4);
        std::memcpy(&leaf0.ecx, "orvo", 4);
    }
};

CpuidRegs cacheLeaf(std::uint32_t type, std::uint32_t ways, std::uint32_t parts, std::uint32_t line, std::uint32_t sets) {
    return CpuidRegs{type, ((ways - 1) << 22) | ((parts - 1) << 12) | (line - 1), sets - 1, 0};
}

TEST(CacheQuery, Leaf4WalkKeepsTheLargestDataOrUnifiedCache) {
    FakeCpu::ours(0xD);
    FakeCpu::leaf4 = {cacheLeaf(1, 8, 1, 64, 64), cacheLeaf(2, 8, 1, 64, 2048), cacheLeaf(3, 4, 1, 64, 1024),
                      cacheLeaf(3, 16, 1, 64, 8192), CpuidRegs{}, cacheLeaf(3, 32, 1, 64, 65536)};
    Vexo32s size = -1;
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusOk);
    EXPECT_EQ(size, 16 * 64 * 8192);  // the instruction cache and anything after type 0 are passed over
    FakeCpu::leaf4 = {cacheLeaf(2, 8, 1, 64, 64)};
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusCacheSizeUnknown);
    EXPECT_EQ(size, 0);
}

TEST(CacheQuery, Leaf2DescriptorsFirstMatchInTableOrder) {
    FakeCpu::ours(3);
    // 0x2C (44) is not in the table, 0x7D (125) is 2 MiB, 0x43 (67) 512 KiB.
    FakeCpu::leaf2 = {0x002C4301u, 0x0000007Du, 0x80000049u /* empty: bit 31 */, 0};
    Vexo32s size = 0;
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusOk);
    EXPECT_EQ(size, 2 << 20);
    FakeCpu::leaf2 = {0x00000002u, 0, 0, 0};  // low byte must be 1
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusCacheSizeUnknown);
    FakeCpu::leaf2 = {0x00000001u, 0x00000044u /* 68: 1 MiB */, 0, 0};
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusOk);
    EXPECT_EQ(size, 1 << 20);
    FakeCpu::leaf2 = {0x00000001u, 0x0000000Fu, 0, 0};
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusCacheSizeUnknown);
    EXPECT_EQ(size, 0);
}

TEST(CacheQuery, OtherVendorsAndOldProcessorsAreUnsupported) {
    Vexo32s size = 1;
    FakeCpu::ours(1);
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusCpuTypeUnsupported);
    FakeCpu::ours(0xD);
    std::memcpy(&FakeCpu::leaf0.ecx, "ntel", 4);
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, &size), vexoStatusCpuTypeUnsupported);
    EXPECT_EQ(computeLargestCache(false, FakeCpu::query, &size), vexoStatusCpuTypeUnsupported);
    EXPECT_EQ(computeLargestCache(true, FakeCpu::query, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(largestCacheSize(nullptr), vexoStatusNullPointer);
    Vexo32s a = 0, b = 0;
    EXPECT_EQ(largestCacheSize(&a), largestCacheSize(&b));
    EXPECT_EQ(a, b);
}

class MemoryServices : public test::PathTest {};

TEST_P(MemoryServices, AllocateAndFree) {
    const Services& s = kServices[path()];
    EXPECT_EQ(s.alloc8u(0), nullptr);
    EXPECT_EQ(s.alloc16s(-3), nullptr);
    EXPECT_EQ(s.alloc32s(0), nullptr);
    void* a = s.alloc32s(100);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % 64, 0u);
    std::memset(a, 1, 400);
    s.free(a);
    s.free(nullptr);
}

TEST_P(MemoryServices, FillsAndCopiesAtEveryAlignmentAndLength) {
    const Services& s = kServices[path()];
    std::vector<Vexo8u> buf(400), src(400);
    for (std::size_t i = 0; i < src.size(); ++i) src[i] = Vexo8u(i * 13 + 1);
    for (int off = 0; off < 8; ++off) {
        for (int len : {1, 3, 31, 32, 33, 64, 100, 257}) {
            std::fill(buf.begin(), buf.end(), 0xAB);
            ASSERT_EQ(s.set8u(0x42, buf.data() + off, len), vexoStatusOk);
            for (int i = 0; i < 300; ++i)
                ASSERT_EQ(buf[std::size_t(i)], i >= off && i < off + len ? 0x42 : 0xAB) << off << " " << len;
            ASSERT_EQ(s.zero8u(buf.data() + off, len), vexoStatusOk);
            EXPECT_EQ(buf[std::size_t(off + len - 1)], 0);
            EXPECT_EQ(buf[std::size_t(off + len)], 0xAB);
            ASSERT_EQ(s.copy8u(src.data(), buf.data() + off, len), vexoStatusOk);
            EXPECT_EQ(std::memcmp(buf.data() + off, src.data(), std::size_t(len)), 0);
        }
    }
    Vexo16s w[40];
    std::fill(std::begin(w), std::end(w), Vexo16s(-1));
    ASSERT_EQ(s.zero16s(w + 1, 37), vexoStatusOk);
    EXPECT_EQ(w[0], -1);
    EXPECT_EQ(w[1], 0);
    EXPECT_EQ(w[37], 0);
    EXPECT_EQ(w[38], -1);
    const Vexo16s from[3] = {-5, 7, 32767};
    ASSERT_EQ(s.copy16s(from, w, 3), vexoStatusOk);
    EXPECT_EQ(w[2], 32767);
    EXPECT_EQ(w[3], 0);
}

TEST_P(MemoryServices, StatusesInOrder) {
    const Services& s = kServices[path()];
    Vexo8u b[4];
    Vexo16s w[4];
    EXPECT_EQ(s.copy8u(nullptr, b, 0), vexoStatusNullPointer);
    EXPECT_EQ(s.copy8u(b, nullptr, 4), vexoStatusNullPointer);
    EXPECT_EQ(s.copy8u(b, b, 0), vexoStatusBadSize);
    EXPECT_EQ(s.copy16s(w, w, -1), vexoStatusBadSize);
    EXPECT_EQ(s.set8u(1, nullptr, -1), vexoStatusNullPointer);
    EXPECT_EQ(s.set8u(1, b, 0), vexoStatusBadSize);
    EXPECT_EQ(s.zero8u(b, 0), vexoStatusBadSize);
    EXPECT_EQ(s.zero16s(nullptr, 1), vexoStatusNullPointer);
    EXPECT_EQ(s.copyPlane(nullptr, 1, b, 1, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(s.copyPlane(b, 1, b, 1, 0, 1), vexoStatusBadSize);
    EXPECT_EQ(s.copyPlane(b, 1, b, 1, 1, 0), vexoStatusBadSize);
}

TEST_P(MemoryServices, CopyPlaneKeepsTheGapsBetweenRows) {
    const Services& s = kServices[path()];
    Vexo8u src[5 * 9], dst[5 * 11];
    for (int i = 0; i < 45; ++i) src[i] = Vexo8u(i);
    std::memset(dst, 0xFF, sizeof dst);
    ASSERT_EQ(s.copyPlane(src, 9, dst, 11, 7, 5), vexoStatusOk);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 11; ++x) ASSERT_EQ(dst[y * 11 + x], x < 7 ? src[y * 9 + x] : 0xFF);
}

// A large fill takes the streaming form on g9 and h9 where the cache query
// allows it; the result is the same either way.
TEST_P(MemoryServices, LargeFill) {
    const Services& s = kServices[path()];
    const Vexo32s len = (3 << 20) + 77;
    auto* b = static_cast<Vexo8u*>(s.alloc8u(len + 64));
    ASSERT_NE(b, nullptr);
    b[3] = 1;
    b[len + 3] = 9;
    ASSERT_EQ(s.set8u(0x7E, b + 3, len), vexoStatusOk);
    EXPECT_EQ(b[3], 0x7E);
    EXPECT_EQ(b[len / 2], 0x7E);
    EXPECT_EQ(b[len + 2], 0x7E);
    EXPECT_EQ(b[len + 3], 9);
    s.free(b);
}

VEXO_ON_EVERY_PATH(MemoryServices);

}  // namespace
}  // namespace vexo
