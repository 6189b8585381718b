// Block copy, averaging and add, on every path, against the formulas worked
// out sample by sample here.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "tests/support/paths.h"

namespace vexo {
namespace {

class BlockCopy : public test::PathTest {
protected:
    static constexpr int kStep = 40;  // wider than any block: the gaps must stay untouched
    Vexo8u src[kStep * 18];
    Vexo8u dst[kStep * 17];
    void SetUp() override {
        test::PathTest::SetUp();
        std::mt19937 gen(unsigned(path()) * 77 + 5);
        for (Vexo8u& s : src) s = Vexo8u(gen());
        std::memset(dst, 0xCD, sizeof dst);
    }
    int at(int x, int y) const { return src[y * kStep + x]; }
    int half(int x, int y, int acc, int rnd) const {
        switch (acc & 3) {
            case 0: return at(x, y);
            case 1: return (at(x, y) + at(x + 1, y) + 1 - (rnd & 1)) >> 1;
            case 2: return (at(x, y) + at(x, y + 1) + 1 - (rnd & 1)) >> 1;
            default: return (at(x, y) + at(x + 1, y) + at(x, y + 1) + at(x + 1, y + 1) + 2 - (rnd & 1)) >> 2;
        }
    }
    void expectUntouchedOutside(int w, int h) {
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < kStep; ++x)
                if (y >= h || x >= w) {
                    ASSERT_EQ(dst[y * kStep + x], 0xCD) << x << "," << y;
                }
    }
};

using CopyHP = VexoStatus (*)(const Vexo8u*, Vexo32s, Vexo8u*, Vexo32s, Vexo32s, Vexo32s);

TEST_P(BlockCopy, HalfSampleCopiesEveryPositionAndMaskedSelectors) {
    struct Form {
        CopyHP f;
        int w, h;
    } forms[] = {{vexoCopy8x4HP_8u_C1R, 8, 4},
                 {vexoCopy8x8HP_8u_C1R, 8, 8},
                 {vexoCopy16x8HP_8u_C1R, 16, 8},
                 {vexoCopy16x16HP_8u_C1R, 16, 16}};
    for (const Form& form : forms) {
        // acc 5 acts as 1 and rounding 2 as 0: extra bits are ignored.
        for (int acc : {0, 1, 2, 3, 5, 6, 7, -1}) {
            for (int rnd : {0, 1, 2, 3}) {
                std::memset(dst, 0xCD, sizeof dst);
                ASSERT_EQ(form.f(src, kStep, dst, kStep, acc, rnd), vexoStatusOk);
                for (int y = 0; y < form.h; ++y)
                    for (int x = 0; x < form.w; ++x)
                        ASSERT_EQ(dst[y * kStep + x], half(x, y, acc, rnd))
                            << form.w << "x" << form.h << " acc " << acc << " rnd " << rnd << " at " << x << "," << y;
                expectUntouchedOutside(form.w, form.h);
            }
        }
    }
}

TEST_P(BlockCopy, PlainCopies) {
    ASSERT_EQ(vexoCopy8x8_8u_C1R(src, kStep, dst, kStep), vexoStatusOk);
    for (int y = 0; y < 8; ++y) EXPECT_EQ(std::memcmp(dst + y * kStep, src + y * kStep, 8), 0);
    expectUntouchedOutside(8, 8);
    ASSERT_EQ(vexoCopy16x16_8u_C1R(src, kStep, dst, kStep), vexoStatusOk);
    for (int y = 0; y < 16; ++y) EXPECT_EQ(std::memcmp(dst + y * kStep, src + y * kStep, 16), 0);
    expectUntouchedOutside(16, 16);
}

TEST_P(BlockCopy, RoundingAtTheExtremes) {
    Vexo8u s[5 * 17] = {};
    Vexo8u d[8 * 4];
    // 255 + 255 right, rounding up: 255.
    std::memset(s, 255, sizeof s);
    ASSERT_EQ(vexoCopy8x4HP_8u_C1R(s, 17, d, 8, 1, 0), vexoStatusOk);
    EXPECT_EQ(d[0], 255);
    // 1 + 0: 1 rounding up, 0 rounding down.
    std::memset(s, 0, sizeof s);
    for (int i = 0; i < 17; i += 2) s[i] = 1;
    Vexo8u big[9 * 5] = {};
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 9; ++x) big[y * 9 + x] = Vexo8u((x + 1) & 1);
    ASSERT_EQ(vexoCopy8x4HP_8u_C1R(big, 9, d, 8, 1, 0), vexoStatusOk);
    EXPECT_EQ(d[0], 1);
    ASSERT_EQ(vexoCopy8x4HP_8u_C1R(big, 9, d, 8, 1, 1), vexoStatusOk);
    EXPECT_EQ(d[0], 0);
    // Both ways on 1, 1 over 0, 0: (2 + 2) >> 2 = 1 and (2 + 1) >> 2 = 0.
    for (int x = 0; x < 9; ++x) {
        big[x] = 1;
        big[9 + x] = 0;
    }
    ASSERT_EQ(vexoCopy8x4HP_8u_C1R(big, 9, d, 8, 3, 0), vexoStatusOk);
    EXPECT_EQ(d[0], 1);
    ASSERT_EQ(vexoCopy8x4HP_8u_C1R(big, 9, d, 8, 3, 1), vexoStatusOk);
    EXPECT_EQ(d[0], 0);
}

TEST_P(BlockCopy, AveragesAlwaysRoundUp) {
    Vexo8u other[kStep * 16];
    for (int i = 0; i < kStep * 16; ++i) other[i] = Vexo8u(255 - src[i] / 3);
    ASSERT_EQ(vexoAverage16x16_8u_C1R(src, kStep, other, kStep, dst, kStep), vexoStatusOk);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) ASSERT_EQ(dst[y * kStep + x], (at(x, y) + other[y * kStep + x] + 1) >> 1);
    expectUntouchedOutside(16, 16);
    std::memset(dst, 0xCD, sizeof dst);
    ASSERT_EQ(vexoAverage8x8_8u_C1R(src, kStep, other, kStep, dst, kStep), vexoStatusOk);
    EXPECT_EQ(dst[7 * kStep + 7], (at(7, 7) + other[7 * kStep + 7] + 1) >> 1);
    expectUntouchedOutside(8, 8);

    std::memcpy(dst, other, sizeof dst > sizeof other ? sizeof other : sizeof dst);
    ASSERT_EQ(vexoAverage8x8_8u_C1IR(src, kStep, dst, kStep), vexoStatusOk);
    EXPECT_EQ(dst[0], (at(0, 0) + other[0] + 1) >> 1);
    EXPECT_EQ(dst[8], other[8]);
    ASSERT_EQ(vexoAverage16x16_8u_C1IR(src, kStep, other, kStep), vexoStatusOk);
    EXPECT_EQ(other[15 * kStep + 15], (at(15, 15) + Vexo8u(255 - src[15 * kStep + 15] / 3) + 1) >> 1);
}

TEST_P(BlockCopy, InterpolateAverageRoundsTwiceInOrder) {
    using IA = VexoStatus (*)(const Vexo8u*, Vexo32s, Vexo8u*, Vexo32s, Vexo32s, Vexo32s);
    struct Form {
        IA f;
        int w, h;
    } forms[] = {{vexoInterpolateAverage8x4_8u_C1IR, 8, 4},
                 {vexoInterpolateAverage8x8_8u_C1IR, 8, 8},
                 {vexoInterpolateAverage16x8_8u_C1IR, 16, 8},
                 {vexoInterpolateAverage16x16_8u_C1IR, 16, 16}};
    Vexo8u before[kStep * 17];
    for (int i = 0; i < kStep * 17; ++i) before[i] = Vexo8u(i * 31 + 7);
    for (const Form& form : forms) {
        for (int acc = 0; acc < 8; ++acc) {
            for (int rnd = 0; rnd < 3; ++rnd) {
                std::memcpy(dst, before, sizeof dst);
                ASSERT_EQ(form.f(src, kStep, dst, kStep, acc, rnd), vexoStatusOk);
                for (int y = 0; y < 17; ++y) {
                    for (int x = 0; x < kStep; ++x) {
                        const int old = before[y * kStep + x];
                        const int want = (x < form.w && y < form.h) ? (half(x, y, acc, rnd) + old + 1) >> 1 : old;
                        ASSERT_EQ(dst[y * kStep + x], want) << form.w << "x" << form.h << " " << acc << rnd;
                    }
                }
            }
        }
    }
    // (1 + 0) >> 1 = 0, then (0 + 2 + 1) >> 1 = 1: not (1 + 0 + 2*2 ...) in one sum.
    Vexo8u s[9 * 9] = {};
    for (int y = 0; y < 9; ++y) s[y * 9] = 1;
    Vexo8u d[64];
    std::memset(d, 2, sizeof d);
    ASSERT_EQ(vexoInterpolateAverage8x8_8u_C1IR(s, 9, d, 8, 1, 1), vexoStatusOk);
    EXPECT_EQ(d[0], 1);
}

TEST_P(BlockCopy, AddsClipOnce) {
    Vexo16s res[8 * 12];
    for (int i = 0; i < 8 * 12; ++i) res[i] = Vexo16s((i * 977) % 1200 - 600);
    res[0] = 32767;
    res[1] = -32768;
    const int resStep = 12 * 2;  // bytes
    for (int acc = 0; acc < 4; ++acc) {
        for (int rnd = 0; rnd < 2; ++rnd) {
            std::memset(dst, 0xCD, sizeof dst);
            ASSERT_EQ(vexoAdd8x8HP_16s8u_C1RS(res, resStep, src, kStep, dst, kStep, acc, rnd), vexoStatusOk);
            for (int y = 0; y < 8; ++y) {
                for (int x = 0; x < 8; ++x) {
                    const int v = half(x, y, acc, rnd) + res[y * 12 + x];
                    ASSERT_EQ(dst[y * kStep + x], v < 0 ? 0 : v > 255 ? 255 : v) << acc << rnd << " " << x << y;
                }
            }
            expectUntouchedOutside(8, 8);
        }
    }
    std::memcpy(dst, src, sizeof dst);
    ASSERT_EQ(vexoAdd8x8_16s8u_C1IRS(res, resStep, dst, kStep), vexoStatusOk);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            const int v = at(x, y) + res[y * 12 + x];
            ASSERT_EQ(dst[y * kStep + x], v < 0 ? 0 : v > 255 ? 255 : v);
        }
    }
    EXPECT_EQ(dst[8], src[8]);
}

TEST_P(BlockCopy, AddConstantSaturates) {
    for (Vexo16s value : {Vexo16s(-300), Vexo16s(300), Vexo16s(-1), Vexo16s(17), Vexo16s(-32768), Vexo16s(32767)}) {
        std::memcpy(dst, src, sizeof dst);
        ASSERT_EQ(vexoAddC8x8_16s8u_C1IR(value, dst, kStep), vexoStatusOk);
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < kStep; ++x) {
                const int v = at(x, y) + (x < 8 ? value : 0);
                ASSERT_EQ(dst[y * kStep + x], v < 0 ? 0 : v > 255 ? 255 : v) << value;
            }
        }
    }
}

TEST_P(BlockCopy, NullPointersWriteNothing) {
    Vexo16s res[64] = {};
    EXPECT_EQ(vexoCopy8x8_8u_C1R(nullptr, 8, dst, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoCopy16x16_8u_C1R(src, 8, nullptr, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoCopy8x4HP_8u_C1R(nullptr, 8, dst, 8, 1, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoCopy16x16HP_8u_C1R(src, 8, nullptr, 8, 3, 1), vexoStatusNullPointer);
    EXPECT_EQ(vexoAverage8x8_8u_C1R(src, 8, nullptr, 8, dst, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoAverage16x16_8u_C1R(nullptr, 8, src, 8, dst, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoAverage8x8_8u_C1IR(nullptr, 8, dst, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoAverage16x16_8u_C1IR(src, 8, nullptr, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoInterpolateAverage16x8_8u_C1IR(nullptr, 8, dst, 8, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoAdd8x8_16s8u_C1IRS(nullptr, 16, dst, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoAdd8x8HP_16s8u_C1RS(res, 16, nullptr, 8, dst, 8, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoAdd8x8HP_16s8u_C1RS(res, 16, src, 8, nullptr, 8, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoAddC8x8_16s8u_C1IR(5, nullptr, 8), vexoStatusNullPointer);
    expectUntouchedOutside(0, 0);
}

VEXO_ON_EVERY_PATH(BlockCopy);

}  // namespace
}  // namespace vexo
