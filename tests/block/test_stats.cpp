// Block statistics and Hadamard costs on every path, against values worked
// out by hand and against the definitions written plainly here: the Hadamard
// transform as a matrix product, reference values from the position table.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/paths.h"

namespace vexo {
namespace {

constexpr int kStep = 40;  // bytes per row of every test block; wider than any block

// Sylvester's construction: H(2n) = [H H; H -H]. Any row order gives the
// same set of absolute coefficients.
std::vector<std::vector<int>> hadamardMatrix(int n) {
    std::vector<std::vector<int>> h(n, std::vector<int>(n));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) h[i][j] = (__builtin_popcount(unsigned(i & j)) & 1) ? -1 : 1;
    return h;
}

// sum |H D H^T| of an n x n block of differences, all in 64 bits.
long long transformCost(const std::vector<std::vector<long long>>& d) {
    const int n = int(d.size());
    const auto h = hadamardMatrix(n);
    long long total = 0;
    for (int u = 0; u < n; ++u)
        for (int v = 0; v < n; ++v) {
            long long c = 0;
            for (int y = 0; y < n; ++y)
                for (int x = 0; x < n; ++x) c += h[u][y] * d[y][x] * h[v][x];
            total += c < 0 ? -c : c;
        }
    return total;
}

// The reference value of a half-sample position (0 full, 4 down, 8 right, 12 both).
int referenceValue(const Vexo8u* p, int step, int position) {
    switch (position) {
        case 0: return p[0];
        case 4: return (p[0] + p[step] + 1) >> 1;
        case 8: return (p[0] + p[1] + 1) >> 1;
        default: return (p[0] + p[1] + p[step] + p[step + 1] + 2) >> 2;
    }
}

class BlockStats : public test::PathTest {
protected:
    Vexo8u src[kStep * 17];
    Vexo8u ref[kStep * 17];
    Vexo8u ref2[kStep * 17];
    std::mt19937 gen{12345};
    void SetUp() override {
        test::PathTest::SetUp();
        gen.seed(unsigned(path()) * 131 + 7);
        randomise(src);
        randomise(ref);
        randomise(ref2);
    }
    void randomise(Vexo8u (&block)[kStep * 17]) {
        for (Vexo8u& v : block) v = Vexo8u(gen());
    }
    // Differences near zero as well as across the range.
    void nearCopy(const Vexo8u* from, Vexo8u* to, int spread) {
        for (int i = 0; i < kStep * 17; ++i) {
            const int v = from[i] + int(gen() % unsigned(2 * spread + 1)) - spread;
            to[i] = Vexo8u(v < 0 ? 0 : v > 255 ? 255 : v);
        }
    }
    long long tileCosts(int w, int h, int tile) const {
        long long total = 0;
        for (int ty = 0; ty < h; ty += tile)
            for (int tx = 0; tx < w; tx += tile) {
                std::vector<std::vector<long long>> d(tile, std::vector<long long>(tile));
                for (int y = 0; y < tile; ++y)
                    for (int x = 0; x < tile; ++x)
                        d[y][x] = src[(ty + y) * kStep + tx + x] - ref[(ty + y) * kStep + tx + x];
                total += transformCost(d);
            }
        return total;
    }
};

using Satd = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s*);
struct SatdForm {
    Satd f;
    int w, h;
};
const SatdForm kSatdForms[] = {{vexoSATD4x4_8u32s_C1R, 4, 4},   {vexoSATD4x8_8u32s_C1R, 4, 8},
                               {vexoSATD8x4_8u32s_C1R, 8, 4},   {vexoSATD8x8_8u32s_C1R, 8, 8},
                               {vexoSATD8x16_8u32s_C1R, 8, 16}, {vexoSATD16x8_8u32s_C1R, 16, 8},
                               {vexoSATD16x16_8u32s_C1R, 16, 16}};

TEST_P(BlockStats, SatdIsTheUnnormalisedHadamardCostOfEachTile) {
    for (int trial = 0; trial < 6; ++trial) {
        if (trial % 2) nearCopy(src, ref, 3 + 10 * trial);
        else randomise(ref);
        for (const SatdForm& form : kSatdForms) {
            Vexo32s cost = -1;
            ASSERT_EQ(form.f(src, kStep, ref, kStep, &cost), vexoStatusOk);
            EXPECT_EQ(cost, tileCosts(form.w, form.h, 4)) << form.w << "x" << form.h << " trial " << trial;
        }
    }
}

TEST_P(BlockStats, SatdHandWorkedBlocks) {
    // A difference of 1 everywhere: 16 in each tile's first coefficient alone,
    // and the same for -1.
    std::memset(src, 9, sizeof src);
    std::memset(ref, 8, sizeof ref);
    for (const SatdForm& form : kSatdForms) {
        Vexo32s cost = -1;
        ASSERT_EQ(form.f(src, kStep, ref, kStep, &cost), vexoStatusOk);
        EXPECT_EQ(cost, form.w * form.h) << form.w << "x" << form.h;
        ASSERT_EQ(form.f(ref, kStep, src, kStep, &cost), vexoStatusOk);
        EXPECT_EQ(cost, form.w * form.h) << form.w << "x" << form.h;
    }
    // One difference of 7 in a tile spreads to all 16 coefficients as +-7.
    std::memcpy(ref, src, sizeof ref);
    src[1 * kStep + 2] = 16;
    Vexo32s cost = -1;
    ASSERT_EQ(vexoSATD4x4_8u32s_C1R(src, kStep, ref, kStep, &cost), vexoStatusOk);
    EXPECT_EQ(cost, 16 * 7);
    // The largest cost: 255 everywhere, 4080 per tile, nothing halved.
    std::memset(src, 255, sizeof src);
    std::memset(ref, 0, sizeof ref);
    ASSERT_EQ(vexoSATD16x16_8u32s_C1R(src, kStep, ref, kStep, &cost), vexoStatusOk);
    EXPECT_EQ(cost, 16 * 4080);
}

TEST_P(BlockStats, SatdWorstCasePatternsStayExact) {
    // Alternating extremes concentrate a tile in single coefficients, where a
    // 16-bit lane is closest to its limit.
    for (int pattern = 0; pattern < 4; ++pattern) {
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < kStep; ++x) {
                const bool on = pattern == 0 ? ((x + y) & 1) : pattern == 1 ? (x & 1) : pattern == 2 ? (y & 1) : ((x >> 1) ^ (y >> 1)) & 1;
                src[y * kStep + x] = on ? 255 : 0;
                ref[y * kStep + x] = on ? 0 : 255;
            }
        for (const SatdForm& form : kSatdForms) {
            Vexo32s cost = -1;
            ASSERT_EQ(form.f(src, kStep, ref, kStep, &cost), vexoStatusOk);
            EXPECT_EQ(cost, tileCosts(form.w, form.h, 4)) << form.w << "x" << form.h << " pattern " << pattern;
        }
        Vexo32s cost = -1;
        ASSERT_EQ(vexoSAT8x8D_8u32s_C1R(src, kStep, ref, kStep, &cost), vexoStatusOk);
        EXPECT_EQ(cost, tileCosts(8, 8, 8)) << "pattern " << pattern;
    }
}

TEST_P(BlockStats, Sat8x8IsOneEightPointTile) {
    for (int trial = 0; trial < 4; ++trial) {
        if (trial % 2) nearCopy(src, ref, 5);
        else randomise(ref);
        Vexo32s cost = -1;
        ASSERT_EQ(vexoSAT8x8D_8u32s_C1R(src, kStep, ref, kStep, &cost), vexoStatusOk);
        EXPECT_EQ(cost, tileCosts(8, 8, 8));
    }
    // A constant difference of 1: 64 in the first coefficient.
    std::memset(src, 1, sizeof src);
    std::memset(ref, 0, sizeof ref);
    Vexo32s cost = -1;
    ASSERT_EQ(vexoSAT8x8D_8u32s_C1R(src, kStep, ref, kStep, &cost), vexoStatusOk);
    EXPECT_EQ(cost, 64);
}

TEST_P(BlockStats, Sat8x8Of16BitSamplesWrapsDifferenceAndRowsIn16Bits) {
    Vexo16u a[8 * 8], b[8 * 8];
    // 0 - 40000 is 25536 in 16 bits; a row of it transforms to 8 * 25536 =
    // 204288, kept as 7680; eight such rows give 61440 in 32-bit columns.
    for (int i = 0; i < 64; ++i) {
        a[i] = 0;
        b[i] = 40000;
    }
    Vexo32s cost = -1;
    ASSERT_EQ(vexoSAT8x8D_16u32s_C1R(a, 16, b, 16, &cost), vexoStatusOk);
    EXPECT_EQ(cost, 61440);
    // Random 16-bit samples, against the definition: difference and row
    // results truncated to 16 bits, columns exact.
    const auto h = hadamardMatrix(8);
    for (int trial = 0; trial < 4; ++trial) {
        for (int i = 0; i < 64; ++i) {
            a[i] = Vexo16u(gen());
            b[i] = Vexo16u(trial & 1 ? a[i] + int(gen() % 2001) - 1000 : gen());
        }
        long long rows[8][8];
        for (int y = 0; y < 8; ++y)
            for (int u = 0; u < 8; ++u) {
                long long r = 0;
                for (int x = 0; x < 8; ++x) r += h[u][x] * Vexo16s(a[y * 8 + x] - b[y * 8 + x]);
                rows[y][u] = Vexo16s(r);
            }
        long long total = 0;
        for (int u = 0; u < 8; ++u)
            for (int v = 0; v < 8; ++v) {
                long long c = 0;
                for (int y = 0; y < 8; ++y) c += h[v][y] * rows[y][u];
                total += c < 0 ? -c : c;
            }
        ASSERT_EQ(vexoSAT8x8D_16u32s_C1R(a, 16, b, 16, &cost), vexoStatusOk);
        EXPECT_EQ(cost, total) << "trial " << trial;
    }
}

// --- Squared differences -----------------------------------------------------------

long long squaredDifferences(const Vexo8u* s, const Vexo8u* r, int w, int h, int position) {
    long long total = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const long long d = s[y * kStep + x] - referenceValue(r + y * kStep + x, kStep, position);
            total += d * d;
        }
    return total;
}

TEST_P(BlockStats, SsdPicksThePositionByMcTypeShiftedRight2) {
    using Ssd = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s*, Vexo32s);
    const struct {
        Ssd f;
        int n;
    } forms[] = {{vexoSSD4x4_8u32s_C1R, 4}, {vexoSSD8x8_8u32s_C1R, 8}};
    for (int trial = 0; trial < 2; ++trial) {
        if (trial) nearCopy(src, ref, 4);
        for (const auto& form : forms) {
            for (int mcType = 0; mcType < 16; ++mcType) {
                Vexo32s ssd = -1;
                ASSERT_EQ(form.f(src, kStep, ref, kStep, &ssd, mcType), vexoStatusOk);
                EXPECT_EQ(ssd, squaredDifferences(src, ref, form.n, form.n, mcType & 12)) << form.n << " mcType " << mcType;
            }
        }
    }
    // Hand-worked: 10 against 7 is 9 per sample.
    std::memset(src, 10, sizeof src);
    std::memset(ref, 7, sizeof ref);
    Vexo32s ssd = -1;
    ASSERT_EQ(vexoSSD4x4_8u32s_C1R(src, kStep, ref, kStep, &ssd, 0), vexoStatusOk);
    EXPECT_EQ(ssd, 144);
    ASSERT_EQ(vexoSSD8x8_8u32s_C1R(src, kStep, ref, kStep, &ssd, 3), vexoStatusOk);
    EXPECT_EQ(ssd, 576);
}

TEST_P(BlockStats, HalfSamplePositionsRoundUp) {
    // Rows of 1 and 0 in turn. Down: (1 + 0 + 1) >> 1 = 1 in every row; both
    // ways: (1 + 1 + 0 + 0 + 2) >> 2 = 1; so a source of 1 costs nothing
    // there, while the full and right positions keep the rows of 0 (32).
    for (int y = 0; y < 17; ++y) std::memset(ref + y * kStep, (y & 1) ? 0 : 1, kStep);
    std::memset(src, 1, sizeof src);
    for (int mcType : {0, 4, 8, 12}) {
        Vexo32s ssd = -1;
        ASSERT_EQ(vexoSSD8x8_8u32s_C1R(src, kStep, ref, kStep, &ssd, mcType), vexoStatusOk);
        EXPECT_EQ(ssd, (mcType & 4) ? 0 : 32) << mcType;
    }
}

TEST_P(BlockStats, SqrDiffComparesWith0Then8Then4AndElseGoesBothWays) {
    nearCopy(src, ref, 20);
    for (int mcType : {0, 4, 8, 12, 7, 1, 5, 16, -4, 9}) {
        const int position = mcType == 0 ? 0 : mcType == 8 ? 8 : mcType == 4 ? 4 : 12;
        Vexo32s result = -1;
        ASSERT_EQ(vexoSqrDiff16x16_8u32s(src, kStep, ref, kStep, mcType, &result), vexoStatusOk);
        EXPECT_EQ(result, squaredDifferences(src, ref, 16, 16, position)) << "mcType " << mcType;
    }
}

TEST_P(BlockStats, SqrDiffBAveragesTwoReferencesRoundingUp) {
    for (int mc1 : {0, 4, 8, 12, 5, 1, 30}) {
        for (int mc2 : {0, 4, 8, 12, 15}) {
            long long want = 0;
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x) {
                    const int p = referenceValue(ref + y * kStep + x, kStep, mc1 & 12);
                    const int q = referenceValue(ref2 + y * kStep + x, kStep, mc2 & 12);
                    const long long d = ((p + q + 1) >> 1) - src[y * kStep + x];
                    want += d * d;
                }
            Vexo32s result = -1;
            ASSERT_EQ(vexoSqrDiff16x16B_8u32s(src, kStep, ref, kStep, mc1, ref2, kStep, mc2, &result), vexoStatusOk);
            EXPECT_EQ(result, want) << mc1 << " " << mc2;
        }
    }
    // (1 + 0 + 1) >> 1 = 1 against a source of 1: nothing.
    std::memset(src, 1, sizeof src);
    std::memset(ref, 1, sizeof ref);
    std::memset(ref2, 0, sizeof ref2);
    Vexo32s result = -1;
    ASSERT_EQ(vexoSqrDiff16x16B_8u32s(src, kStep, ref, kStep, 0, ref2, kStep, 0, &result), vexoStatusOk);
    EXPECT_EQ(result, 0);
}

// --- Variance and mean ---------------------------------------------------------------

TEST_P(BlockStats, Variance16x16IsSumSquaresLessSquaredSumOver256With32BitWrap) {
    Vexo32s v = -1;
    std::memset(src, 77, sizeof src);
    ASSERT_EQ(vexoVariance16x16_8u32s(src, kStep, &v), vexoStatusOk);
    EXPECT_EQ(v, 0);
    // Half 0, half 255: 8323200 - 32640^2 / 256 = 4161600.
    for (int y = 0; y < 16; ++y) std::memset(src + y * kStep, y < 8 ? 0 : 255, 16);
    ASSERT_EQ(vexoVariance16x16_8u32s(src, kStep, &v), vexoStatusOk);
    EXPECT_EQ(v, 4161600);
    // All 255: 65280^2 wraps to -33488896, / 256 = -130816, and
    // 16646400 + 130816 = 16777216 (not the true 0).
    std::memset(src, 255, sizeof src);
    ASSERT_EQ(vexoVariance16x16_8u32s(src, kStep, &v), vexoStatusOk);
    EXPECT_EQ(v, 16777216);
    // Random samples below 128: the sum stays below 46341 and nothing wraps.
    for (int trial = 0; trial < 3; ++trial) {
        long long sum = 0, squares = 0;
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x) {
                const int s = int(gen() % 128);
                src[y * kStep + x] = Vexo8u(s);
                sum += s;
                squares += s * s;
            }
        ASSERT_EQ(vexoVariance16x16_8u32s(src, kStep, &v), vexoStatusOk);
        EXPECT_EQ(v, squares - sum * sum / 256);
    }
}

TEST_P(BlockStats, VarMeanAndVarSumTruncateTowardZeroAndReturnThePlainSum) {
    using VarFn = VexoStatus (*)(const Vexo8u*, Vexo32s, Vexo32s*, Vexo32s*);
    for (VarFn f : {VarFn(vexoVarMean8x8_8u32s_C1R), VarFn(vexoVarSum8x8_8u32s_C1R)}) {
        Vexo32s variance = -1, mean = -1;
        std::memset(src, 100, sizeof src);
        ASSERT_EQ(f(src, kStep, &variance, &mean), vexoStatusOk);
        EXPECT_EQ(variance, 0);
        EXPECT_EQ(mean, 6400);
        // One sample of 100: (64 * 10000 - 100^2) / 4096 = 153.8, truncated.
        std::memset(src, 0, sizeof src);
        src[3 * kStep + 5] = 100;
        ASSERT_EQ(f(src, kStep, &variance, &mean), vexoStatusOk);
        EXPECT_EQ(variance, 153);
        EXPECT_EQ(mean, 100);
        // Half 0, half 64: (64 * 131072 - 2048^2) / 4096 = 1024 exactly.
        for (int y = 0; y < 8; ++y) std::memset(src + y * kStep, y < 4 ? 0 : 64, 8);
        ASSERT_EQ(f(src, kStep, &variance, &mean), vexoStatusOk);
        EXPECT_EQ(variance, 1024);
        EXPECT_EQ(mean, 2048);
    }
    // Random blocks: the exact rational (64 sumSquares - sum^2) / 4096,
    // truncated (both formulas equal it: every step is exact in extended
    // precision for these magnitudes).
    for (int trial = 0; trial < 4; ++trial) {
        randomise(src);
        long long sum = 0, squares = 0;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                sum += src[y * kStep + x];
                squares += src[y * kStep + x] * src[y * kStep + x];
            }
        Vexo32s variance = -1, mean = -1;
        ASSERT_EQ(vexoVarMean8x8_8u32s_C1R(src, kStep, &variance, &mean), vexoStatusOk);
        EXPECT_EQ(variance, (64 * squares - sum * sum) / 4096);
        EXPECT_EQ(mean, sum);
        ASSERT_EQ(vexoVarSum8x8_8u32s_C1R(src, kStep, &variance, &mean), vexoStatusOk);
        EXPECT_EQ(variance, (64 * squares - sum * sum) / 4096);
        EXPECT_EQ(mean, sum);
    }
}

TEST_P(BlockStats, SixteenBitVarianceSignExtendsAndWrapsItsSumOfSquares) {
    using VarFn = VexoStatus (*)(const Vexo16s*, Vexo32s, Vexo32s*, Vexo32s*);
    Vexo16s block[8 * 12] = {};
    const Vexo32s step = 12 * 2;
    for (VarFn f : {VarFn(vexoVarMean8x8_16s32s_C1R), VarFn(vexoVarSum8x8_16s32s_C1R)}) {
        Vexo32s variance = 0, sum = 0;
        // One sample of -100: as 100, the sum negative.
        std::memset(block, 0, sizeof block);
        block[2 * 12 + 3] = -100;
        ASSERT_EQ(f(block, step, &variance, &sum), vexoStatusOk);
        EXPECT_EQ(variance, 153);
        EXPECT_EQ(sum, -100);
        // All -32768: the squares sum to 2^36, 0 in 32 bits; the sum is -2^21,
        // and c * (0 - c * 2^42) = -2^30.
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) block[y * 12 + x] = -32768;
        ASSERT_EQ(f(block, step, &variance, &sum), vexoStatusOk);
        EXPECT_EQ(variance, -1073741824);
        EXPECT_EQ(sum, -2097152);
        // Two of -32768 and a 1: squares 2^31 + 1, read as -2^31 + 1; sum
        // -65535; (64 (-2^31 + 1) - 65535^2) / 4096 = -34602975.98, which
        // truncates toward zero to -34602975.
        std::memset(block, 0, sizeof block);
        block[0] = -32768;
        block[7 * 12 + 7] = -32768;
        block[4 * 12 + 1] = 1;
        ASSERT_EQ(f(block, step, &variance, &sum), vexoStatusOk);
        EXPECT_EQ(variance, -34602975);
        EXPECT_EQ(sum, -65535);
    }
}

TEST_P(BlockStats, VarMeanDiffMeasuresTheResidualPerBlock) {
    // 10 against 7: d = 3, 576 per block; reference sum 448 per block.
    std::memset(src, 10, sizeof src);
    std::memset(ref, 7, sizeof ref);
    struct Case {
        Vexo32s srcSum, mean, variance;
    } cases[] = {
        {640, 24, 0},        // (640 - 448) / 8 = 24; 576 - 576 = 0
        {649, 25, 0},        // 201 / 8 = 25; 576 - 625 < 0 gives 0, never negative
        {540, 11, 7},        // 92 / 8 = 11.5 truncated; (576 - 121) / 64 = 7
        {436, -1, 8},        // -12 / 8 = -1 toward zero; (576 - 1) / 64 = 8
    };
    for (const Case& c : cases) {
        const Vexo32s sums[4] = {c.srcSum, c.srcSum, c.srcSum, c.srcSum};
        Vexo32s variances[5], means[5];
        std::memset(variances, 0x55, sizeof variances);
        std::memset(means, 0x55, sizeof means);
        ASSERT_EQ(vexoVarMeanDiff16x16_8u32s_C1R(src, kStep, ref, kStep, sums, variances, means, 0), vexoStatusOk);
        for (int b = 0; b < 4; ++b) {
            EXPECT_EQ(means[b], c.mean) << c.srcSum;
            EXPECT_EQ(variances[b], c.variance) << c.srcSum;
        }
        EXPECT_EQ(means[4], 0x55555555);
        ASSERT_EQ(vexoVarMeanDiff16x8_8u32s_C1R(src, kStep, ref, kStep, sums, variances, means, 0), vexoStatusOk);
        EXPECT_EQ(means[1], c.mean);
        EXPECT_EQ(variances[1], c.variance);
        EXPECT_EQ(means[2], c.mean);  // left from the 16x16 call: only two written
    }
    // Random blocks at every position (bits 2 and 3 count), against the steps
    // written out per block.
    randomise(src);
    nearCopy(src, ref, 9);
    for (int mcType : {0, 4, 8, 12, 6, 11, -1}) {
        Vexo32s sums[4];
        for (int b = 0; b < 4; ++b) {
            sums[b] = 0;
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) sums[b] += src[(8 * (b / 2) + y) * kStep + 8 * (b % 2) + x];
        }
        Vexo32s variances[4], means[4];
        ASSERT_EQ(vexoVarMeanDiff16x16_8u32s_C1R(src, kStep, ref, kStep, sums, variances, means, mcType), vexoStatusOk);
        for (int b = 0; b < 4; ++b) {
            long long squares = 0, refSum = 0;
            for (int y = 8 * (b / 2); y < 8 * (b / 2) + 8; ++y)
                for (int x = 8 * (b % 2); x < 8 * (b % 2) + 8; ++x) {
                    const int r = referenceValue(ref + y * kStep + x, kStep, mcType & 12);
                    squares += (src[y * kStep + x] - r) * (src[y * kStep + x] - r);
                    refSum += r;
                }
            const long long mean = (sums[b] - refSum) / 8;
            EXPECT_EQ(means[b], mean) << mcType << " block " << b;
            EXPECT_EQ(variances[b], squares > mean * mean ? (squares - mean * mean) / 64 : 0) << mcType << " block " << b;
        }
    }
}

TEST_P(BlockStats, MeanAbsDevUsesTheRoundedMean) {
    // 48 zeros and 16 twos: sum 32, mean (32 + 32) >> 6 = 1, deviation 64
    // (a truncated mean of 0 would give 32).
    std::memset(src, 0, sizeof src);
    for (int y = 0; y < 2; ++y) std::memset(src + y * kStep, 2, 8);
    Vexo32s mad = -1;
    ASSERT_EQ(vexoMeanAbsDev8x8_8u32s_C1R(src, kStep, &mad), vexoStatusOk);
    EXPECT_EQ(mad, 64);
    // 192 zeros and 64 twos: mean (128 + 128) >> 8 = 1, deviation 256.
    std::memset(src, 0, sizeof src);
    for (int y = 0; y < 4; ++y) std::memset(src + y * kStep, 2, 16);
    ASSERT_EQ(vexoMeanAbsDev16x16_8u32s_C1R(src, kStep, &mad), vexoStatusOk);
    EXPECT_EQ(mad, 256);
    for (int n : {8, 16}) {
        randomise(src);
        int sum = 0;
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x) sum += src[y * kStep + x];
        const int mean = n == 8 ? (sum + 32) >> 6 : (sum + 128) >> 8;
        int want = 0;
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x) want += std::abs(src[y * kStep + x] - mean);
        ASSERT_EQ((n == 8 ? vexoMeanAbsDev8x8_8u32s_C1R : vexoMeanAbsDev16x16_8u32s_C1R)(src, kStep, &mad), vexoStatusOk);
        EXPECT_EQ(mad, want) << n;
    }
}

TEST_P(BlockStats, CountZeros) {
    Vexo16s values[64] = {};
    Vexo32u count = 99;
    ASSERT_EQ(vexoCountZeros8x8_16s_C1(values, &count), vexoStatusOk);
    EXPECT_EQ(count, 64u);
    // Zeros at 0, 3, ..., 63: 22 of them, the first and the last included.
    for (int i = 0; i < 64; ++i) values[i] = Vexo16s(i % 3 == 0 ? 0 : (i & 1) ? -32768 : 1);
    ASSERT_EQ(vexoCountZeros8x8_16s_C1(values, &count), vexoStatusOk);
    EXPECT_EQ(count, 22u);
    for (Vexo16s& v : values) v = 256;  // zero low byte, not zero
    ASSERT_EQ(vexoCountZeros8x8_16s_C1(values, &count), vexoStatusOk);
    EXPECT_EQ(count, 0u);
}

// --- Edge detection ---------------------------------------------------------------------

TEST_P(BlockStats, EdgesCountPositionsUpToRowAndColumn14) {
    Vexo8u isEdge = 0xCD;
    std::memset(src, 50, sizeof src);
    ASSERT_EQ(vexoEdgesDetect16x16_8u_C1R(src, kStep, 0, 0, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 0);
    // A step wholly in column 15 counts at x = 14 in rows 0 to 14: 15 positions.
    for (int y = 0; y < 16; ++y) src[y * kStep + 15] = 200;
    ASSERT_EQ(vexoEdgesDetect16x16_8u_C1R(src, kStep, 149, 14, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 1);
    ASSERT_EQ(vexoEdgesDetect16x16_8u_C1R(src, kStep, 149, 15, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 0);
    // The difference must exceed the threshold, not reach it.
    ASSERT_EQ(vexoEdgesDetect16x16_8u_C1R(src, kStep, 150, 0, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 0);
    // The same along row 15; the corner adds nothing (x = 15 is no position).
    std::memset(src, 50, sizeof src);
    std::memset(src + 15 * kStep, 0, 16);
    ASSERT_EQ(vexoEdgesDetect16x16_8u_C1R(src, kStep, 49, 14, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 1);
    ASSERT_EQ(vexoEdgesDetect16x16_8u_C1R(src, kStep, 49, 15, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 0);
    // Against a count written out on random blocks.
    for (int trial = 0; trial < 8; ++trial) {
        randomise(src);
        const int threshold = int(gen() % 256), countThreshold = int(gen() % 226);
        int count = 0;
        for (int y = 0; y < 15; ++y)
            for (int x = 0; x < 15; ++x) {
                const int p = src[y * kStep + x];
                count += std::abs(p - src[y * kStep + x + 1]) > threshold || std::abs(p - src[(y + 1) * kStep + x]) > threshold;
            }
        ASSERT_EQ(vexoEdgesDetect16x16_8u_C1R(src, kStep, Vexo8u(threshold), Vexo8u(countThreshold), &isEdge), vexoStatusOk);
        EXPECT_EQ(isEdge, count > countThreshold ? 1 : 0) << threshold << " " << countThreshold;
    }
}

TEST_P(BlockStats, EdgeWalkStopsAtTheEndOfTheRowThatDecides) {
    // Rows 0 and 1 lie at the end of a page, row 2 would be on an unmapped
    // one: an edge in row 0 decides, so row 2 must never be read.
    const long page = sysconf(_SC_PAGESIZE);
    void* map = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(map, MAP_FAILED);
    auto* base = static_cast<Vexo8u*>(map);
    ASSERT_EQ(mprotect(base + page, page, PROT_NONE), 0);
    Vexo8u* block8 = base + page - 2 * 16;
    std::memset(block8, 0, 32);
    for (int x = 0; x < 16; x += 2) block8[x] = 100;  // 15 positions count in row 0
    Vexo8u isEdge = 0;
    EXPECT_EQ(vexoEdgesDetect16x16_8u_C1R(block8, 16, 10, 14, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 1);
    auto* block16 = reinterpret_cast<Vexo16u*>(base + page - 2 * 32);
    for (int x = 0; x < 32; ++x) block16[x] = Vexo16u(x < 16 && (x & 1) ? 5000 : 0);
    Vexo32u isEdge32 = 0;
    EXPECT_EQ(vexoEdgesDetect16x16_16u_C1R(block16, 32, 4999, 14, &isEdge32), vexoStatusOk);
    EXPECT_EQ(isEdge32, 1u);
    munmap(map, 2 * page);
}

TEST_P(BlockStats, SixteenBitEdgesClearTheLowBitOfTheStep) {
    Vexo16u block[16 * 17];
    for (int i = 0; i < 16 * 17; ++i) block[i] = Vexo16u(1000 + i % 16);  // each row 1000..1015
    Vexo32u isEdge = 0xFFFFFFFFu;
    // Laid out with a step of 32 bytes; 33 must act as 32 (rows identical, so
    // right-hand differences of 1 alone).
    ASSERT_EQ(vexoEdgesDetect16x16_16u_C1R(block, 33, 0, 224, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 1u);  // all 225 positions count: 225 > 224
    ASSERT_EQ(vexoEdgesDetect16x16_16u_C1R(block, 33, 1, 0, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 0u);
    // Differences beyond 8 bits, and a negative threshold that everything exceeds.
    for (int y = 0; y < 16; ++y) block[y * 16 + 15] = 61000;
    ASSERT_EQ(vexoEdgesDetect16x16_16u_C1R(block, 32, 59985, 14, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 1u);  // |1014 - 61000| = 59986 at x = 14, in 15 rows
    ASSERT_EQ(vexoEdgesDetect16x16_16u_C1R(block, 32, 59986, 0, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 0u);
    ASSERT_EQ(vexoEdgesDetect16x16_16u_C1R(block, 32, -1, 224, &isEdge), vexoStatusOk);
    EXPECT_EQ(isEdge, 1u);
}

TEST_P(BlockStats, NullPointersWriteNothing) {
    Vexo32s out = 7, out2 = 7;
    Vexo32s sums[4] = {}, outs[4] = {7, 7, 7, 7};
    Vexo8u edge8 = 7;
    Vexo32u out32 = 7;
    Vexo16s values[64] = {};
    Vexo16u samples[64] = {};
    EXPECT_EQ(vexoSSD4x4_8u32s_C1R(nullptr, kStep, ref, kStep, &out, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSSD8x8_8u32s_C1R(src, kStep, nullptr, kStep, &out, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSSD8x8_8u32s_C1R(src, kStep, ref, kStep, nullptr, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSqrDiff16x16_8u32s(src, kStep, nullptr, kStep, 0, &out), vexoStatusNullPointer);
    EXPECT_EQ(vexoSqrDiff16x16B_8u32s(src, kStep, ref, kStep, 0, nullptr, kStep, 0, &out), vexoStatusNullPointer);
    EXPECT_EQ(vexoVariance16x16_8u32s(nullptr, kStep, &out), vexoStatusNullPointer);
    EXPECT_EQ(vexoVarMean8x8_8u32s_C1R(src, kStep, &out, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoVarMean8x8_16s32s_C1R(values, 16, nullptr, &out2), vexoStatusNullPointer);
    EXPECT_EQ(vexoVarSum8x8_8u32s_C1R(nullptr, kStep, &out, &out2), vexoStatusNullPointer);
    EXPECT_EQ(vexoVarSum8x8_16s32s_C1R(values, 16, &out, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoVarMeanDiff16x16_8u32s_C1R(src, kStep, ref, kStep, nullptr, outs, outs, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoVarMeanDiff16x8_8u32s_C1R(src, kStep, ref, kStep, sums, outs, nullptr, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoMeanAbsDev8x8_8u32s_C1R(src, kStep, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoMeanAbsDev16x16_8u32s_C1R(nullptr, kStep, &out), vexoStatusNullPointer);
    EXPECT_EQ(vexoCountZeros8x8_16s_C1(nullptr, &out32), vexoStatusNullPointer);
    EXPECT_EQ(vexoEdgesDetect16x16_8u_C1R(nullptr, kStep, 1, 1, &edge8), vexoStatusNullPointer);
    EXPECT_EQ(vexoEdgesDetect16x16_16u_C1R(samples, 32, 1, 1, nullptr), vexoStatusNullPointer);
    for (const SatdForm& form : kSatdForms) EXPECT_EQ(form.f(src, kStep, nullptr, kStep, &out), vexoStatusNullPointer);
    EXPECT_EQ(vexoSATD16x16_8u32s_C1R(src, kStep, ref, kStep, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAT8x8D_8u32s_C1R(nullptr, kStep, ref, kStep, &out), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAT8x8D_16u32s_C1R(samples, 16, samples, 16, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(out, 7);
    EXPECT_EQ(out2, 7);
    EXPECT_EQ(outs[0], 7);
    EXPECT_EQ(edge8, 7);
    EXPECT_EQ(out32, 7u);
}

VEXO_ON_EVERY_PATH(BlockStats);

}  // namespace
}  // namespace vexo
