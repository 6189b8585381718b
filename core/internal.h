// What the frame shares between its own sources, the tests and the tool. Not
// installed: none of this is part of the library's interface, and only the
// static library lets a program reach it.
#pragma once

#include <atomic>
#include <cstdint>

#include "vexovc.h"

#define VEXO_HIDDEN __attribute__((visibility("hidden")))

namespace vexo {

constexpr int kPathCount = 7;
enum Path : int { kPx = 0, kW7, kV8, kS8, kP8, kG9, kH9 };
extern const char* const kPathCodes[kPathCount];

// Feature word bits.
enum : std::uint64_t {
    kFeatMmx = 1u << 0,
    kFeatSse = 1u << 1,
    kFeatSse2 = 1u << 2,
    kFeatSse3 = 1u << 3,
    kFeatSsse3 = 1u << 4,
    kFeatMovbe = 1u << 5,
    kFeatSse41 = 1u << 6,
    kFeatSse42 = 1u << 7,
    kFeatAvx = 1u << 8,
    kFeatAvxOs = 1u << 9,
    kFeatAes = 1u << 10,
    kFeatPclmul = 1u << 11,
    kFeatManyCoreExt = 1u << 12,
    kFeatRdrand = 1u << 13,
    kFeatF16c = 1u << 14,
    kFeatAvx2 = 1u << 15,
    kFeatAdx = 1u << 16,
    kFeatRdseed = 1u << 17,
    kFeatPrefetchw = 1u << 18,
    kFeatSha = 1u << 19,
    kFeatManyCore = 1u << 31,
};
extern const char* const kFeatureNames[32];  // null where a bit has no meaning

struct CpuidRegs {
    std::uint32_t eax, ebx, ecx, edx;
};

// Everything detection reads, so that forming the word is a pure function.
struct CpuSnapshot {
    bool hasCpuid = false;
    CpuidRegs leaf0{}, leaf1{}, leaf7{}, ext0{}, ext1{}, manyCore{};
    std::uint64_t xcr0 = 0;  // valid only where leaf 1 ECX 27 (OSXSAVE) is set
};

// Raw access to the processor.
bool cpuHasCpuid();
CpuidRegs cpuid(std::uint32_t leaf, std::uint32_t subleaf = 0);
CpuSnapshot readCpu();

std::uint64_t formFeatureWord(const CpuSnapshot& cpu);
bool vendorIsOurs(const CpuidRegs& leaf0);

struct PathChoice {
    int path;
    std::uint64_t enabled;
};
// The selection rules: a pure function of the detected word.
PathChoice choosePath(std::uint64_t detected, bool cpuidPresent);

// The cached detection: CPUID once per process. `features` holding
// "getinfoa" on entry asks for the leaf and sub-leaf in regs[0] and regs[2].
VexoStatus detectFeatures(std::uint64_t* features, std::uint32_t regs[4]);

// The features of this processor, read afresh and never cached: the word the
// automatic choice would see, whatever a forced path has written since.
std::uint64_t hardwareFeatures();

// Which path the automatic choice would give a processor with this word, and
// so which paths it can run: every path at or below that one in age order.
bool pathRunsOn(int path, std::uint64_t hardware);

// The largest data or unified cache, queried once per process.
VexoStatus largestCacheSize(Vexo32s* size);
// The same computation on a given processor, for tests.
using CpuidFunction = CpuidRegs (*)(std::uint32_t leaf, std::uint32_t subleaf);
VexoStatus computeLargestCache(bool hasCpuid, CpuidFunction query, Vexo32s* size);

// The common aligned allocator.
void* vexoAlignedAlloc(Vexo32s length);
void vexoAlignedFree(void* block);
void* vexoAlignUp(void* pointer, Vexo32s alignment);

// One row of eight pointers per export, in the list's order: slot -1 (index 0
// here) initialises, then px to h9. The tool and the tests read rows to call
// a given path's function directly.
struct DispatchTable {
#define VEXO_EXPORT(ret, name, params, args) ret(*name[8]) params;
#include "core/exports.def"
#undef VEXO_EXPORT
};

}  // namespace vexo

extern "C" {
extern VEXO_HIDDEN const vexo::DispatchTable vexoDispatchTable;
// The process-wide words. Relaxed atomics: a plain mov on x86.
extern VEXO_HIDDEN std::atomic<Vexo32s> dispatchIndex;
extern VEXO_HIDDEN std::atomic<std::uint64_t> enabledFeatures;
// Forces a path by processor-type number; kept out of the shared library's
// exports, reachable by static linking (the tests and the tool use it).
VexoStatus vexovcInitCpu(Vexo32s cpuType);
}
