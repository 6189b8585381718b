// Processor detection, the choice of path, and the library-level calls.
#include <cpuid.h>

#include <cstring>

#include "core/internal.h"

extern "C" {
VEXO_HIDDEN std::atomic<std::uint64_t> enabledFeatures{3};
}

namespace vexo {

const char* const kPathCodes[kPathCount] = {"px", "w7", "v8", "s8", "p8", "g9", "h9"};

const char* const kFeatureNames[32] = {
    "MMX",   "SSE",    "SSE2",    "SSE3",   "SSSE3",     "MOVBE",  "SSE4.1", "SSE4.2",
    "AVX",   "AVX-OS", "AES",     "PCLMUL", "MANYCORE-X", "RDRAND", "F16C",   "AVX2+FMA+BMI",
    "ADX",   "RDSEED", "PREFETCHW", "SHA",  nullptr,     nullptr,  nullptr,  nullptr,
    nullptr, nullptr,  nullptr,   nullptr,  nullptr,     nullptr,  nullptr,  "MANYCORE"};

namespace {

// The cached detection: the word and its valid flag.
std::atomic<std::uint64_t> detectedWord{0};
std::atomic<std::uint32_t> detectedValid{0};

constexpr std::uint32_t bit(std::uint32_t value, int n) { return (value >> n) & 1u; }

std::uint64_t xgetbv0() {
    std::uint32_t eax, edx;
    // Spelled as bytes so that the baseline build needs no XSAVE flag.
    asm volatile(".byte 0x0f, 0x01, 0xd0" : "=a"(eax), "=d"(edx) : "c"(0));
    return (std::uint64_t(edx) << 32) | eax;
}

}  // namespace

bool cpuHasCpuid() {
#if defined(__i386__)
    // The ID flag (bit 21 of EFLAGS) can be toggled only where CPUID exists.
    std::uint32_t before, after;
    asm volatile(
        "pushfl\n\t"
        "popl %0\n\t"
        "movl %0, %1\n\t"
        "xorl $0x200000, %1\n\t"
        "pushl %1\n\t"
        "popfl\n\t"
        "pushfl\n\t"
        "popl %1\n\t"
        "pushl %0\n\t"
        "popfl\n\t"
        : "=&r"(before), "=&r"(after)
        :
        : "cc");
    return ((before ^ after) & 0x200000u) != 0;
#else
    return true;
#endif
}

CpuidRegs cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
    CpuidRegs r{};
    __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
    return r;
}

CpuSnapshot readCpu() {
    CpuSnapshot cpu;
    cpu.hasCpuid = cpuHasCpuid();
    if (!cpu.hasCpuid) return cpu;
    cpu.leaf0 = cpuid(0);
    cpu.ext0 = cpuid(0x80000000u);
    cpu.leaf1 = cpuid(1);
    if (cpu.leaf0.eax >= 7) cpu.leaf7 = cpuid(7, 0);
    if (cpu.ext0.eax >= 0x80000001u) cpu.ext1 = cpuid(0x80000001u);
    if (((cpu.leaf1.eax >> 8) & 0xF) == 0xB) cpu.manyCore = cpuid(0x20000001u);
    if (bit(cpu.leaf1.ecx, 27)) cpu.xcr0 = xgetbv0();
    return cpu;
}

std::uint64_t formFeatureWord(const CpuSnapshot& cpu) {
    const CpuidRegs& l1 = cpu.leaf1;
    const CpuidRegs& l7 = cpu.leaf7;
    std::uint64_t w = 0;
    auto set = [&w](int n, bool on) {
        if (on) w |= std::uint64_t(1) << n;
    };
    set(0, bit(l1.edx, 23));
    set(1, bit(l1.edx, 25));
    set(2, bit(l1.edx, 26));
    set(3, bit(l1.ecx, 0));
    set(4, bit(l1.ecx, 9));
    set(5, bit(l1.ecx, 22));
    set(6, bit(l1.ecx, 19));
    set(7, bit(l1.ecx, 20));
    set(8, bit(l1.ecx, 28));
    set(9, bit(l1.ecx, 27) && bit(l1.ecx, 28) && (cpu.xcr0 & 6) == 6);
    set(10, bit(l1.ecx, 25));
    set(11, bit(l1.ecx, 1));
    set(12, ((l1.eax >> 8) & 0xF) == 0xB && bit(cpu.manyCore.edx, 1));
    set(13, bit(l1.ecx, 30));
    set(14, bit(l1.ecx, 29));
    // AVX2 counts only with FMA and both BMI sets: the h9 code uses all four.
    set(15, bit(l1.ecx, 12) && bit(l7.ebx, 5) && bit(l7.ebx, 3) && bit(l7.ebx, 8));
    set(16, bit(l7.ebx, 19));
    set(17, bit(l7.ebx, 18));
    set(18, bit(cpu.ext1.ecx, 8));
    set(19, bit(l7.ebx, 29));
    set(31, ((l1.eax >> 4) & 0xFF) == 0xB1);
    return w;
}

bool vendorIsOurs(const CpuidRegs& leaf0) {
    char vendor[12];
    std::memcpy(vendor, &leaf0.ebx, 4);
    std::memcpy(vendor + 4, &leaf0.edx, 4);
    std::memcpy(vendor + 8, &leaf0.ecx, 4);
    return std::memcmp(vendor, "GenuineMorvo", 12) == 0;
}

namespace {
// The admission test of the AVX rule for processor type 70. It always
// admits; it stays as the one place a build could refuse AVX.
bool admitsProcessorType(int /*cpuType*/) { return true; }
}  // namespace

PathChoice choosePath(std::uint64_t d, bool cpuidPresent) {
    if (!cpuidPresent) return {kPx, 3};
    if ((d & kFeatAvx) && (d & kFeatAvxOs) && admitsProcessorType(70)) {
        if (d & kFeatAvx2) return {kH9, d & 0xFEFFFu};
        return {kG9, d & 0x86FDFu};
    }
    if (d & kFeatSse41) return {kP8, d & 0x80CDFu};
    if ((d & kFeatMovbe) && (d & kFeatSsse3)) return {kS8, d & 0x3Fu};
    if (d & kFeatSsse3) return {kV8, d & 0x1Fu};
    if (d & kFeatSse2) return {kW7, d & 0x7u};
    return {kPx, d & 0x3u};
}

VexoStatus detectFeatures(std::uint64_t* features, std::uint32_t regs[4]) {
    if (features == nullptr) return vexoStatusNullPointer;
    const bool query = std::memcmp(features, "getinfoa", 8) == 0;
    if (!cpuHasCpuid()) return vexoStatusCpuTypeUnsupported;
    if (regs != nullptr) {
        const CpuidRegs r = query ? cpuid(regs[0], regs[2]) : cpuid(1);
        regs[0] = r.eax;
        regs[1] = r.ebx;
        regs[2] = r.ecx;
        regs[3] = r.edx;
    }
    if (detectedValid.load(std::memory_order_relaxed) == 0) {
        detectedWord.store(formFeatureWord(readCpu()), std::memory_order_relaxed);
        detectedValid.store(1, std::memory_order_relaxed);
    }
    *features = detectedWord.load(std::memory_order_relaxed);
    return vexoStatusOk;
}

std::uint64_t hardwareFeatures() {
    const CpuSnapshot cpu = readCpu();
    return cpu.hasCpuid ? formFeatureWord(cpu) : 0;
}

bool pathRunsOn(int path, std::uint64_t hardware) {
    const int best = choosePath(hardware, true).path;
    if (path == best) return true;
    // s8 stands above v8 in the index but needs MOVBE, which p8 and above do
    // not imply; every other path lies on one line of instruction sets.
    if (path == kS8) return best >= kS8 && (hardware & kFeatMovbe) && (hardware & kFeatSsse3);
    return path < best;
}

}  // namespace vexo

using namespace vexo;

extern "C" {

[[gnu::visibility("default")]] VexoStatus vexovcInit(void) {
    std::uint64_t features = 0;
    std::uint32_t regs[4] = {0, 0, 0, 0};
    const bool present = detectFeatures(&features, regs) == vexoStatusOk;
    const PathChoice choice = choosePath(features, present);
    enabledFeatures.store(choice.enabled, std::memory_order_relaxed);
    dispatchIndex.store(choice.path, std::memory_order_relaxed);
    if (!present || !vendorIsOurs(cpuid(0))) return vexoStatusForeignCpu;
    return vexoStatusOk;
}

VexoStatus vexovcInitCpu(Vexo32s cpuType) {
    if (cpuType == -1) return vexovcInit();
    int path;
    std::uint64_t word;
    switch (cpuType) {
        case 5: case 64: path = kPx; word = 0x3; break;
        case 6: case 7: case 8: case 9: case 10: case 11: case 32: case 65: case 66: case 96:
            path = kW7; word = 0x7; break;
        case 33: case 34: case 67: path = kV8; word = 0x1F; break;
        case 36: path = kS8; word = 0x3F; break;
        case 35: case 68: path = kP8; word = 0x5F; break;
        case 37: case 69: path = kP8; word = 0xDF; break;
        case 71: path = kP8; word = 0xCDF; break;
        case 72: path = kP8; word = 0x808DF; break;
        case 70: path = kG9; word = 0xFDF; break;
        case 73: path = kG9; word = 0x6FDF; break;
        case 38: path = kH9; word = 0xFEFFF; break;
        case 74: path = kH9; word = 0xEFFF; break;
        case 75: path = kH9; word = 0x7EFFF; break;
        case 0: case 1: case 2: case 3: case 4: case 16: case 17: return vexoStatusCpuTypeUnsupported;
        default: return vexoStatusUnknownCpuType;
    }
    enabledFeatures.store(word, std::memory_order_relaxed);
    dispatchIndex.store(path, std::memory_order_relaxed);
    // Later detection reports the forced word, so a repeated vexovcInit keeps
    // the forced path.
    detectedWord.store(word, std::memory_order_relaxed);
    detectedValid.store(1, std::memory_order_relaxed);
    return vexoStatusOk;
}

[[gnu::visibility("default")]] VexoStatus vexovcSetNumThreads(Vexo32s /*numThreads*/) { return vexoStatusNoOperation; }

[[gnu::visibility("default")]] VexoStatus vexovcGetNumThreads(Vexo32s* numThreads) {
    if (numThreads == nullptr) return vexoStatusNullPointer;
    *numThreads = 1;
    return vexoStatusNoOperation;
}

}  // extern "C"
