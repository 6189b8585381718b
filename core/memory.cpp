// The aligned allocator common to all paths, and the largest-cache query.
#include <cstdlib>
#include <cstring>

#include "core/internal.h"

namespace vexo {

namespace {

// The heap, as four functions in the order allocate, allocate cleared,
// resize, free. Only the first and the last are called.
struct HeapFunctions {
    void* (*allocate)(std::size_t);
    void* (*allocateCleared)(std::size_t, std::size_t);
    void* (*resize)(void*, std::size_t);
    void (*release)(void*);
};
constexpr HeapFunctions kHeap = {&std::malloc, &std::calloc, &std::realloc, &std::free};

constexpr std::uintptr_t kAlignment = 64;
// The heap's pointer is kept in the word just in front of the block: 32 bits
// on i686, where 68 extra bytes leave at least 4; a pointer's width on x86-64.
constexpr std::size_t kFrontWord = sizeof(void*);

}  // namespace

void* vexoAlignedAlloc(Vexo32s length) {
    if (length <= 0) return nullptr;
    void* heap = kHeap.allocate(std::size_t(length) + kAlignment + kFrontWord);
    if (heap == nullptr) return nullptr;
    const std::uintptr_t block =
        (reinterpret_cast<std::uintptr_t>(heap) + kAlignment + kFrontWord - 1) & ~(kAlignment - 1);
    std::memcpy(reinterpret_cast<void*>(block - kFrontWord), &heap, sizeof heap);
    return reinterpret_cast<void*>(block);
}

void vexoAlignedFree(void* block) {
    if (block == nullptr) return;
    void* heap;
    std::memcpy(&heap, static_cast<char*>(block) - kFrontWord, sizeof heap);
    kHeap.release(heap);
}

void* vexoAlignUp(void* pointer, Vexo32s alignment) {
    const std::uintptr_t p = reinterpret_cast<std::uintptr_t>(pointer);
    const std::uintptr_t mask = std::uintptr_t(alignment) - 1;
    return reinterpret_cast<void*>(p + ((0 - p) & mask));
}

namespace {

struct Leaf2Entry {
    std::uint8_t descriptor;
    Vexo32s kib;
};
// Leaf 2 descriptors of data and unified caches, largest first; the first
// match wins.
constexpr Leaf2Entry kLeaf2Table[] = {
    {236, 24 << 10}, {235, 18 << 10}, {77, 16 << 10}, {234, 12 << 10}, {76, 12 << 10}, {228, 8 << 10},
    {222, 8 << 10},  {75, 8 << 10},   {71, 8 << 10},  {78, 6 << 10},   {74, 6 << 10},  {227, 4 << 10},
    {221, 4 << 10},  {216, 4 << 10},  {73, 4 << 10},  {41, 4 << 10},   {70, 4 << 10},  {72, 3 << 10},
    {226, 2 << 10},  {220, 2 << 10},  {215, 2 << 10}, {210, 2 << 10},  {37, 2 << 10},  {125, 2 << 10},
    {133, 2 << 10},  {69, 2 << 10},   {214, 1 << 10}, {209, 1 << 10},  {35, 1 << 10},  {135, 1 << 10},
    {124, 1 << 10},  {120, 1 << 10},  {132, 1 << 10}, {68, 1 << 10},   {208, 512},     {34, 512},
    {123, 512},      {128, 512},      {134, 512},     {62, 512},       {127, 512},     {131, 512},
    {67, 512},       {61, 384},       {33, 256},      {122, 256},      {130, 256},     {60, 256},
    {63, 256},       {66, 256},       {58, 192},      {121, 128},      {57, 128},      {59, 128},
    {65, 128},       {0, 0}};

std::atomic<Vexo32s> cacheStatus{1};  // 1: not yet known
std::atomic<Vexo32s> cacheBytes{0};

}  // namespace

VexoStatus computeLargestCache(bool hasCpuid, CpuidFunction query, Vexo32s* size) {
    if (size == nullptr) return vexoStatusNullPointer;
    *size = 0;
    if (!hasCpuid) return vexoStatusCpuTypeUnsupported;
    const CpuidRegs leaf0 = query(0, 0);
    if (leaf0.eax < 2 || !vendorIsOurs(leaf0)) return vexoStatusCpuTypeUnsupported;
    if (leaf0.eax < 4) {
        const CpuidRegs l2 = query(2, 0);
        if ((l2.eax & 0xFF) != 1) return vexoStatusCacheSizeUnknown;
        std::uint8_t bytes[16];
        int count = 0;
        for (std::uint32_t reg : {l2.eax, l2.ebx, l2.ecx, l2.edx}) {
            if (reg & 0x80000000u) continue;
            for (int i = 0; i < 4; ++i) bytes[count++] = std::uint8_t(reg >> (8 * i));
        }
        for (const Leaf2Entry* e = kLeaf2Table; e->descriptor != 0; ++e) {
            for (int i = 0; i < count; ++i) {
                if (bytes[i] == e->descriptor) {
                    *size = e->kib * 1024;
                    return vexoStatusOk;
                }
            }
        }
        return vexoStatusCacheSizeUnknown;
    }
    std::uint64_t largest = 0;
    for (std::uint32_t sub = 0; sub < 32; ++sub) {
        const CpuidRegs r = query(4, sub);
        const std::uint32_t type = r.eax & 0x1F;
        if (type == 0) break;
        if (type == 2) continue;  // the instruction cache
        const std::uint64_t bytes = std::uint64_t((r.ebx >> 22) + 1) * (((r.ebx >> 12) & 0x3FF) + 1) *
                                    ((r.ebx & 0xFFF) + 1) * (std::uint64_t(r.ecx) + 1);
        if (bytes > largest) largest = bytes;
    }
    if (largest == 0) return vexoStatusCacheSizeUnknown;
    *size = Vexo32s(largest);
    return vexoStatusOk;
}

VexoStatus largestCacheSize(Vexo32s* size) {
    if (size == nullptr) return vexoStatusNullPointer;
    Vexo32s status = cacheStatus.load(std::memory_order_acquire);
    if (status == 1) {
        Vexo32s bytes = 0;
        status = computeLargestCache(cpuHasCpuid(), [](std::uint32_t l, std::uint32_t s) { return cpuid(l, s); },
                                     &bytes);
        // Every thread computes the same pair; the size is stored first so a
        // reader that sees the status sees its size.
        cacheBytes.store(bytes, std::memory_order_relaxed);
        cacheStatus.store(status, std::memory_order_release);
    }
    *size = cacheBytes.load(std::memory_order_relaxed);
    return status;
}

}  // namespace vexo
