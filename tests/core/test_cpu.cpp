// Detection and the choice of path, on synthetic processors: every rule and
// mask, whatever processor the tests happen to run on.
#include <gtest/gtest.h>

#include <cstring>

#include "core/internal.h"
#include "tests/support/paths.h"

namespace vexo {
namespace {

// A processor with the given leaf 1 ECX/EDX and leaf 7 EBX bits.
CpuSnapshot cpuWith(std::uint32_t l1ecx, std::uint32_t l1edx, std::uint32_t l7ebx = 0, std::uint64_t xcr0 = 6) {
    CpuSnapshot c;
    c.hasCpuid = true;
    c.leaf0.eax = 7;
    c.leaf1.ecx = l1ecx;
    c.leaf1.edx = l1edx;
    c.leaf7.ebx = l7ebx;
    c.xcr0 = xcr0;
    return c;
}

constexpr std::uint32_t kEdxMmxSseSse2 = (1u << 23) | (1u << 25) | (1u << 26);
constexpr std::uint32_t kEcxSse3 = 1u << 0, kEcxSsse3 = 1u << 9, kEcxMovbe = 1u << 22, kEcxSse41 = 1u << 19,
                        kEcxSse42 = 1u << 20, kEcxOsxsave = 1u << 27, kEcxAvx = 1u << 28, kEcxFma = 1u << 12;
constexpr std::uint32_t kEbxBmi1 = 1u << 3, kEbxAvx2 = 1u << 5, kEbxBmi2 = 1u << 8;

TEST(FeatureWord, EachBitFromItsSource) {
    struct Case {
        std::uint32_t ecx, edx, ebx7, ecx81;
        std::uint64_t bit;
    } cases[] = {
        {0, 1u << 23, 0, 0, kFeatMmx},       {0, 1u << 25, 0, 0, kFeatSse},      {0, 1u << 26, 0, 0, kFeatSse2},
        {1u << 0, 0, 0, 0, kFeatSse3},       {1u << 9, 0, 0, 0, kFeatSsse3},     {1u << 22, 0, 0, 0, kFeatMovbe},
        {1u << 19, 0, 0, 0, kFeatSse41},     {1u << 20, 0, 0, 0, kFeatSse42},    {1u << 28, 0, 0, 0, kFeatAvx},
        {1u << 25, 0, 0, 0, kFeatAes},       {1u << 1, 0, 0, 0, kFeatPclmul},    {1u << 30, 0, 0, 0, kFeatRdrand},
        {1u << 29, 0, 0, 0, kFeatF16c},      {0, 0, 1u << 19, 0, kFeatAdx},      {0, 0, 1u << 18, 0, kFeatRdseed},
        {0, 0, 0, 1u << 8, kFeatPrefetchw},  {0, 0, 1u << 29, 0, kFeatSha},
    };
    for (const Case& c : cases) {
        CpuSnapshot cpu = cpuWith(c.ecx, c.edx, c.ebx7, 0);
        cpu.ext1.ecx = c.ecx81;
        EXPECT_EQ(formFeatureWord(cpu), c.bit) << std::hex << c.bit;
    }
}

TEST(FeatureWord, AvxStateNeedsOsxsaveAndBothXcr0Bits) {
    EXPECT_EQ(formFeatureWord(cpuWith(kEcxAvx | kEcxOsxsave, 0, 0, 6)) & kFeatAvxOs, kFeatAvxOs);
    EXPECT_EQ(formFeatureWord(cpuWith(kEcxAvx | kEcxOsxsave, 0, 0, 2)) & kFeatAvxOs, 0u);
    EXPECT_EQ(formFeatureWord(cpuWith(kEcxAvx | kEcxOsxsave, 0, 0, 4)) & kFeatAvxOs, 0u);
    EXPECT_EQ(formFeatureWord(cpuWith(kEcxAvx, 0, 0, 6)) & kFeatAvxOs, 0u);
    EXPECT_EQ(formFeatureWord(cpuWith(kEcxOsxsave, 0, 0, 6)) & kFeatAvxOs, 0u);
}

TEST(FeatureWord, Avx2CountsOnlyWithFmaAndBothBmi) {
    const std::uint32_t all7 = kEbxAvx2 | kEbxBmi1 | kEbxBmi2;
    EXPECT_TRUE(formFeatureWord(cpuWith(kEcxFma, 0, all7)) & kFeatAvx2);
    EXPECT_FALSE(formFeatureWord(cpuWith(0, 0, all7)) & kFeatAvx2);
    EXPECT_FALSE(formFeatureWord(cpuWith(kEcxFma, 0, kEbxAvx2 | kEbxBmi1)) & kFeatAvx2);
    EXPECT_FALSE(formFeatureWord(cpuWith(kEcxFma, 0, kEbxAvx2 | kEbxBmi2)) & kFeatAvx2);
}

TEST(FeatureWord, ManyCoreBits) {
    CpuSnapshot c = cpuWith(0, 0);
    c.leaf1.eax = 0xB10;  // family 0xB, model bits 4-7 = 1: bits 4..11 = 0xB1
    c.manyCore.edx = 2;
    EXPECT_EQ(formFeatureWord(c), kFeatManyCoreExt | kFeatManyCore);
    c.leaf1.eax = 0xA10;
    EXPECT_EQ(formFeatureWord(c), 0u);
}

TEST(ChoosePath, RulesInOrder) {
    const std::uint64_t base = kFeatMmx | kFeatSse | kFeatSse2 | kFeatSse3;
    const std::uint64_t avx = base | kFeatSsse3 | kFeatSse41 | kFeatSse42 | kFeatAvx | kFeatAvxOs;
    EXPECT_EQ(choosePath(avx | kFeatAvx2, true).path, kH9);
    EXPECT_EQ(choosePath(avx, true).path, kG9);
    // The operating system does not save the AVX state: p8 at best.
    EXPECT_EQ(choosePath(avx & ~std::uint64_t(kFeatAvxOs), true).path, kP8);
    EXPECT_EQ(choosePath((avx | kFeatAvx2) & ~std::uint64_t(kFeatAvxOs), true).path, kP8);
    EXPECT_EQ(choosePath(base | kFeatSsse3 | kFeatMovbe | kFeatSse41, true).path, kP8);
    EXPECT_EQ(choosePath(base | kFeatSsse3 | kFeatMovbe, true).path, kS8);
    EXPECT_EQ(choosePath(base | kFeatSsse3, true).path, kV8);
    // MOVBE without SSSE3 never reaches s8 or v8.
    EXPECT_EQ(choosePath(base | kFeatMovbe, true).path, kW7);
    EXPECT_EQ(choosePath(kFeatMmx | kFeatSse | kFeatMovbe, true).path, kPx);
    EXPECT_EQ(choosePath(base, true).path, kW7);
    EXPECT_EQ(choosePath(kFeatMmx | kFeatSse, true).path, kPx);
    EXPECT_EQ(choosePath(0, true).path, kPx);
}

TEST(ChoosePath, MasksDropWhatThePathDoesNotUse) {
    const std::uint64_t every = 0x800FFFFFu;
    EXPECT_EQ(choosePath(every, true).enabled, every & 0xFEFFFu);
    EXPECT_EQ(choosePath(every & ~std::uint64_t(kFeatAvx2), true).enabled, (every & ~std::uint64_t(kFeatAvx2)) & 0x86FDFu);
    // p8 keeps bits 0-4, 6, 7, 10, 11 and 19: MOVBE is cleared.
    const std::uint64_t p8 = every & ~std::uint64_t(kFeatAvx | kFeatAvxOs);
    EXPECT_EQ(choosePath(p8, true).enabled, p8 & 0x80CDFu);
    EXPECT_EQ(choosePath(p8, true).enabled & kFeatMovbe, 0u);
    EXPECT_EQ(choosePath(0x3F | kFeatManyCore, true).enabled, 0x3Fu);
    EXPECT_EQ(choosePath(0x1F | kFeatManyCore, true).enabled, 0x1Fu);
    EXPECT_EQ(choosePath(0x2F | kFeatManyCore, true).enabled, 0x7u);
    EXPECT_EQ(choosePath(0x3 | kFeatManyCore, true).enabled, 0x3u);
    // g9 clears MOVBE, bit 12 and bits 15 to 18; h9 only bit 12 (and 31).
    EXPECT_EQ(choosePath(0xFFFFFu & ~std::uint64_t(kFeatAvx2), true).enabled & 0x79020u, 0u);
    EXPECT_EQ(choosePath(0xFFFFFu, true).enabled, 0xFEFFFu);
}

TEST(ChoosePath, NoCpuidGivesPxAndWord3) {
    const PathChoice c = choosePath(0xFFFFFu, false);
    EXPECT_EQ(c.path, kPx);
    EXPECT_EQ(c.enabled, 3u);
}

TEST(ChoosePath, ForeignVendorStillEarnsItsPath) {
    CpuSnapshot c = cpuWith(kEcxSse3 | kEcxSsse3 | kEcxSse41 | kEcxSse42 | kEcxAvx | kEcxOsxsave | kEcxFma,
                            kEdxMmxSseSse2, kEbxAvx2 | kEbxBmi1 | kEbxBmi2);
    std::memcpy(&c.leaf0.ebx, "Auth", 4);
    std::memcpy(&c.leaf0.edx, "enti", 4);
    std::memcpy(&c.leaf0.ecx, "cAMD", 4);
    EXPECT_FALSE(vendorIsOurs(c.leaf0));
    EXPECT_EQ(choosePath(formFeatureWord(c), true).path, kH9);
    std::memcpy(&c.leaf0.ebx, "Genu", 4);
    std::memcpy(&c.leaf0.edx, "ineM", 4);
    std::memcpy(&c.leaf0.ecx, "orvo", 4);
    EXPECT_TRUE(vendorIsOurs(c.leaf0));
}

TEST(PathsThisMachineRuns, FollowTheChoice) {
    const std::uint64_t hw = kFeatMmx | kFeatSse | kFeatSse2 | kFeatSsse3 | kFeatSse41;  // a p8 without MOVBE
    EXPECT_TRUE(pathRunsOn(kV8, hw));
    EXPECT_FALSE(pathRunsOn(kS8, hw));
    EXPECT_TRUE(pathRunsOn(kP8, hw));
    EXPECT_FALSE(pathRunsOn(kG9, hw));
    EXPECT_TRUE(pathRunsOn(kS8, hw | kFeatMovbe));
}

struct InitCpuRow {
    int cpuType, path;
    std::uint64_t word;
};

class InitCpu : public ::testing::Test {
protected:
    void TearDown() override { vexovcInitCpu(test::cpuTypeForPath(test::runnablePaths().back())); }
};

TEST_F(InitCpu, EveryRowOfTheTable) {
    const InitCpuRow rows[] = {
        {5, kPx, 0x3},       {64, kPx, 0x3},      {6, kW7, 0x7},       {11, kW7, 0x7},      {32, kW7, 0x7},
        {65, kW7, 0x7},      {66, kW7, 0x7},      {96, kW7, 0x7},      {33, kV8, 0x1F},     {34, kV8, 0x1F},
        {67, kV8, 0x1F},     {36, kS8, 0x3F},     {35, kP8, 0x5F},     {68, kP8, 0x5F},     {37, kP8, 0xDF},
        {69, kP8, 0xDF},     {71, kP8, 0xCDF},    {72, kP8, 0x808DF},  {70, kG9, 0xFDF},    {73, kG9, 0x6FDF},
        {38, kH9, 0xFEFFF},  {74, kH9, 0xEFFF},   {75, kH9, 0x7EFFF},
    };
    for (int t = 7; t <= 10; ++t) {
        ASSERT_EQ(vexovcInitCpu(t), vexoStatusOk);
        EXPECT_EQ(dispatchIndex.load(), kW7);
    }
    for (const InitCpuRow& r : rows) {
        ASSERT_EQ(vexovcInitCpu(r.cpuType), vexoStatusOk) << r.cpuType;
        EXPECT_EQ(dispatchIndex.load(), r.path) << r.cpuType;
        EXPECT_EQ(enabledFeatures.load(), r.word) << r.cpuType;
        // Later detection reports the forced word, so vexovcInit keeps the path.
        std::uint64_t detected = 0;
        ASSERT_EQ(detectFeatures(&detected, nullptr), vexoStatusOk);
        EXPECT_EQ(detected, r.word) << r.cpuType;
        vexovcInit();
        EXPECT_EQ(dispatchIndex.load(), r.path) << r.cpuType;
    }
}

TEST_F(InitCpu, UnsupportedAndUnknownChangeNothing) {
    ASSERT_EQ(vexovcInitCpu(33), vexoStatusOk);
    for (int t : {0, 1, 2, 3, 4, 16, 17}) {
        EXPECT_EQ(vexovcInitCpu(t), vexoStatusCpuTypeUnsupported) << t;
        EXPECT_EQ(dispatchIndex.load(), kV8);
        EXPECT_EQ(enabledFeatures.load(), 0x1Fu);
    }
    for (int t : {-2, 12, 15, 18, 31, 39, 63, 76, 95, 97, 1000}) {
        EXPECT_EQ(vexovcInitCpu(t), vexoStatusUnknownCpuType) << t;
        EXPECT_EQ(dispatchIndex.load(), kV8);
    }
}

TEST_F(InitCpu, MinusOneIsTheAutomaticChoice) {
    EXPECT_EQ(vexovcInitCpu(-1), vexovcInit());
}

TEST(Detect, GetinfoaQueriesTheGivenLeaf) {
    std::uint64_t word;
    std::memcpy(&word, "getinfoa", 8);
    std::uint32_t regs[4] = {0, 0, 0, 0};
    ASSERT_EQ(detectFeatures(&word, regs), vexoStatusOk);
    const CpuidRegs leaf0 = cpuid(0);
    EXPECT_EQ(regs[0], leaf0.eax);
    EXPECT_EQ(regs[1], leaf0.ebx);
    EXPECT_EQ(regs[2], leaf0.ecx);
    EXPECT_EQ(regs[3], leaf0.edx);
    word = 0;
    ASSERT_EQ(detectFeatures(&word, regs), vexoStatusOk);
    EXPECT_EQ(regs[0], cpuid(1).eax);  // leaf 1: the processor signature
    EXPECT_EQ(detectFeatures(nullptr, regs), vexoStatusNullPointer);
}

TEST(Library, InitTwiceGivesTheSameStatusAndPath) {
    const VexoStatus first = vexovcInit();
    const int path = dispatchIndex.load();
    EXPECT_EQ(vexovcInit(), first);
    EXPECT_EQ(dispatchIndex.load(), path);
    EXPECT_TRUE(first == vexoStatusOk || first == vexoStatusForeignCpu);
    EXPECT_EQ(first == vexoStatusOk, vendorIsOurs(cpuid(0)));
}

TEST(Library, ThreadCallsDeclareASingleThread) {
    EXPECT_EQ(vexovcSetNumThreads(8), vexoStatusNoOperation);
    Vexo32s n = 0;
    EXPECT_EQ(vexovcGetNumThreads(&n), vexoStatusNoOperation);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(vexovcGetNumThreads(nullptr), vexoStatusNullPointer);
}

}  // namespace
}  // namespace vexo
