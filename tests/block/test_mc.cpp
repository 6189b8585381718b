// Motion compensation blocks on every path: hand-worked values first, then
// every export against the interface's formulas written out plainly here.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "tests/support/paths.h"

namespace vexo {
namespace {

// Every export behind one signature per kind; C1 forms ignore the second plane.
using OneCall = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo16s*, const Vexo16s*, Vexo32s, Vexo8u*, Vexo32s,
                               Vexo32s, Vexo32s);
using TwoCall = VexoStatus (*)(const Vexo8u*, Vexo32s, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s, const Vexo16s*,
                               const Vexo16s*, Vexo32s, Vexo8u*, Vexo32s, Vexo32s);

template <auto F>
VexoStatus oneC1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* res, const Vexo16s*, Vexo32s resStep, Vexo8u* dst,
                 Vexo32s dstStep, Vexo32s type, Vexo32s rnd) {
    return F(ref, refStep, res, resStep, dst, dstStep, type, rnd);
}
template <auto F>
VexoStatus twoC1(const Vexo8u* ref1, Vexo32s step1, Vexo32s type1, const Vexo8u* ref2, Vexo32s step2, Vexo32s type2,
                 const Vexo16s* res, const Vexo16s*, Vexo32s resStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s rnd) {
    return F(ref1, step1, type1, ref2, step2, type2, res, resStep, dst, dstStep, rnd);
}

struct Form {
    const char* name;
    int w, h;
    int neighbour;    // bytes to the right neighbour
    bool twoPlanes;   // residual in two planes, even and odd bytes
    OneCall one;      // exactly one of these is set
    TwoCall two;
};

const Form kForms[] = {
    {"16x16", 16, 16, 1, false, oneC1<vexoMC16x16_8u_C1>, nullptr},
    {"16x8", 16, 8, 1, false, oneC1<vexoMC16x8_8u_C1>, nullptr},
    {"16x8UV", 16, 8, 2, false, oneC1<vexoMC16x8UV_8u_C1>, nullptr},
    {"16x4", 16, 4, 2, false, oneC1<vexoMC16x4_8u_C1>, nullptr},
    {"8x16", 8, 16, 1, false, oneC1<vexoMC8x16_8u_C1>, nullptr},
    {"8x8", 8, 8, 1, false, oneC1<vexoMC8x8_8u_C1>, nullptr},
    {"8x4", 8, 4, 1, false, oneC1<vexoMC8x4_8u_C1>, nullptr},
    {"4x8", 4, 8, 1, false, oneC1<vexoMC4x8_8u_C1>, nullptr},
    {"4x4", 4, 4, 1, false, oneC1<vexoMC4x4_8u_C1>, nullptr},
    {"4x2", 4, 2, 1, false, oneC1<vexoMC4x2_8u_C1>, nullptr},
    {"2x4", 2, 4, 1, false, oneC1<vexoMC2x4_8u_C1>, nullptr},
    {"2x2", 2, 2, 1, false, oneC1<vexoMC2x2_8u_C1>, nullptr},
    {"8x8 P2C2R", 16, 8, 2, true, vexoMC8x8_16s8u_P2C2R, nullptr},
    {"8x4 P2C2R", 16, 4, 2, true, vexoMC8x4_16s8u_P2C2R, nullptr},
    {"16x16B", 16, 16, 1, false, nullptr, twoC1<vexoMC16x16B_8u_C1>},
    {"16x8B", 16, 8, 1, false, nullptr, twoC1<vexoMC16x8B_8u_C1>},
    {"16x8BUV", 16, 8, 2, false, nullptr, twoC1<vexoMC16x8BUV_8u_C1>},
    {"16x4B", 16, 4, 2, false, nullptr, twoC1<vexoMC16x4B_8u_C1>},
    {"8x16B", 8, 16, 1, false, nullptr, twoC1<vexoMC8x16B_8u_C1>},
    {"8x8B", 8, 8, 1, false, nullptr, twoC1<vexoMC8x8B_8u_C1>},
    {"8x4B", 8, 4, 1, false, nullptr, twoC1<vexoMC8x4B_8u_C1>},
    {"4x8B", 4, 8, 1, false, nullptr, twoC1<vexoMC4x8B_8u_C1>},
    {"4x4B", 4, 4, 1, false, nullptr, twoC1<vexoMC4x4B_8u_C1>},
    {"4x2B", 4, 2, 1, false, nullptr, twoC1<vexoMC4x2B_8u_C1>},
    {"2x4B", 2, 4, 1, false, nullptr, twoC1<vexoMC2x4B_8u_C1>},
    {"2x2B", 2, 2, 1, false, nullptr, twoC1<vexoMC2x2B_8u_C1>},
    {"8x8B P2C2R", 16, 8, 2, true, nullptr, vexoMC8x8B_16s8u_P2C2R},
    {"8x4B P2C2R", 16, 4, 2, true, nullptr, vexoMC8x4B_16s8u_P2C2R},
};

class MotionCompensation : public test::PathTest {
protected:
    static constexpr int kStep = 40;     // bytes per row of references and destination: gaps stay untouched
    static constexpr int kResStride = 20;  // residual values per row (per plane)
    static constexpr int kResStep = 2 * kResStride;
    Vexo8u ref1[kStep * 18];
    Vexo8u ref2[kStep * 18];
    Vexo16s res0[kResStride * 16];
    Vexo16s res1[kResStride * 16];
    Vexo8u dst[kStep * 17];
    std::mt19937 gen{12345};

    void SetUp() override {
        test::PathTest::SetUp();
        for (Vexo8u& v : ref1) v = Vexo8u(gen());
        for (Vexo8u& v : ref2) v = Vexo8u(gen());
        fillResidual(0, 300);
        std::memset(dst, 0xCD, sizeof dst);
    }
    void fillResidual(int centre, int spread) {
        for (Vexo16s* plane : {res0, res1})
            for (int i = 0; i < kResStride * 16; ++i) {
                const long v = centre + long(gen() % unsigned(2 * spread + 1)) - spread;
                plane[i] = Vexo16s(v < -32768 ? -32768 : v > 32767 ? 32767 : v);
            }
    }
    void setResidual(Vexo16s v0, Vexo16s v1) {
        for (int i = 0; i < kResStride * 16; ++i) {
            res0[i] = v0;
            res1[i] = v1;
        }
    }
    VexoStatus run(const Form& f, Vexo32s type1, Vexo32s type2, Vexo32s rnd) {
        if (f.one) return f.one(ref1, kStep, res0, res1, kResStep, dst, kStep, type1, rnd);
        return f.two(ref1, kStep, type1, ref2, kStep, type2, res0, res1, kResStep, dst, kStep, rnd);
    }
    int residual(const Form& f, int x, int y) const {
        if (!f.twoPlanes) return res0[y * kResStride + x];
        // Through a pointer: GCC 12 with -fsanitize=undefined miscompiles
        // indexing a conditional of two arrays, (c ? a : b)[i].
        const Vexo16s* plane = (x & 1) ? res1 : res0;
        return plane[y * kResStride + x / 2];
    }
    // h as the interface writes it, in 64 bits so that the model itself
    // cannot overflow.
    static long long h(const Vexo8u* ref, const Form& f, int x, int y, Vexo32s type, Vexo32s rnd) {
        const Vexo8u* p = ref + y * kStep + x;
        const long long a = p[0], b = p[f.neighbour], c = p[kStep], d = p[kStep + f.neighbour];
        switch (type & 12) {
            case 0: return a;
            case 4: return (a + c + 1 - rnd) >> 1;
            case 8: return (a + b + 1 - rnd) >> 1;
            default: return (a + b + c + d + 2 - rnd) >> 2;
        }
    }
    long long expected(const Form& f, int x, int y, Vexo32s type1, Vexo32s type2, Vexo32s rnd) const {
        const long long h1 = h(ref1, f, x, y, type1, rnd);
        long long v = h1 + residual(f, x, y);
        if (f.two) v = (h1 + h(ref2, f, x, y, type2, rnd) + 2 * residual(f, x, y) + 1) >> 1;
        return v < 0 ? 0 : v > 255 ? 255 : v;
    }
    // Compares the block with the formulas and the rest of dst with its fill.
    void expectBlock(const Form& f, Vexo32s type1, Vexo32s type2, Vexo32s rnd) {
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < kStep; ++x) {
                const bool inside = x < f.w && y < f.h;
                const long long want = inside ? expected(f, x, y, type1, type2, rnd) : 0xCD;
                ASSERT_EQ(dst[y * kStep + x], want) << f.name << " mcType " << type1 << "/" << type2 << " rounding "
                                                    << rnd << " at " << x << "," << y;
            }
    }
    void fillRows(Vexo8u* ref, int even, int odd) {
        for (int y = 0; y < 18; ++y) std::memset(ref + y * kStep, (y & 1) ? odd : even, kStep);
    }
    void expectUniform(const Form& f, int value, const char* what) {
        for (int y = 0; y < f.h; ++y)
            for (int x = 0; x < f.w; ++x) ASSERT_EQ(dst[y * kStep + x], value) << f.name << " " << what;
    }
};

TEST_P(MotionCompensation, ResidualClipsAtBothEnds) {
    for (const Form& f : kForms) {
        fillRows(ref1, 128, 128);
        fillRows(ref2, 128, 128);
        setResidual(300, 300);
        ASSERT_EQ(run(f, 0, 0, 0), vexoStatusOk);
        expectUniform(f, 255, "residual 300");
        setResidual(-300, -300);
        ASSERT_EQ(run(f, 0, 0, 0), vexoStatusOk);
        expectUniform(f, 0, "residual -300");
        // Twice the residual needs more than 16 bits: a 16-bit sum would wrap
        // 2 * 32767 to -2 and give 127 instead of 255.
        setResidual(32767, 32767);
        ASSERT_EQ(run(f, 12, 12, 0), vexoStatusOk);
        expectUniform(f, 255, "residual 32767");
        setResidual(-32768, -32768);
        ASSERT_EQ(run(f, 12, 12, 1), vexoStatusOk);
        expectUniform(f, 0, "residual -32768");
    }
}

TEST_P(MotionCompensation, RoundingIsSubtractedWholeButChosenByItsLowBit) {
    for (const Form& f : kForms) {
        if (f.two) continue;
        setResidual(0, 0);
        // Half down on 3 over 2: (3 + 2 + 1 - r) >> 1.
        fillRows(ref1, 3, 2);
        const int down[][2] = {{1, 2}, {0, 3}, {2, 2}, {3, 1}, {-1, 3}, {-3, 4}};
        for (const auto& [rnd, want] : down) {
            ASSERT_EQ(run(f, 4, 0, rnd), vexoStatusOk);
            expectUniform(f, want, "half down");
            ASSERT_EQ(run(f, 4 | 16 | 3, 0, rnd), vexoStatusOk);  // only bits 2 and 3 count
            expectUniform(f, want, "half down, extra bits");
        }
        // Both ways on 1, 1 over 0, 0: (1 + 1 + 0 + 0 + 2 - r) >> 2.
        fillRows(ref1, 1, 0);
        const int both[][2] = {{0, 1}, {1, 0}, {2, 0}, {-1, 1}, {-4, 2}, {-8, 3}};
        for (const auto& [rnd, want] : both) {
            ASSERT_EQ(run(f, 12, 0, rnd), vexoStatusOk);
            expectUniform(f, want, "both ways");
            ASSERT_EQ(run(f, -4, 0, rnd), vexoStatusOk);  // ...11111100 acts as 12
            expectUniform(f, want, "both ways, negative selector");
        }
    }
}

TEST_P(MotionCompensation, TwoReferencesRoundOnceAfterTheResidual) {
    for (const Form& f : kForms) {
        if (!f.two) continue;
        fillRows(ref1, 10, 10);
        fillRows(ref2, 10, 10);
        setResidual(1, 1);
        ASSERT_EQ(run(f, 0, 0, 0), vexoStatusOk);
        expectUniform(f, 11, "(10 + 10 + 2 + 1) >> 1");
        // 10 and 11 with residual -1: (21 - 2 + 1) >> 1 = 10.
        fillRows(ref2, 11, 11);
        setResidual(-1, -1);
        ASSERT_EQ(run(f, 8, 4, 1), vexoStatusOk);
        expectUniform(f, 10, "(10 + 11 - 2 + 1) >> 1");
    }
}

TEST_P(MotionCompensation, InterleavedFormsTakeTheNeighbourTwoBytesOn) {
    for (const Form& f : kForms) {
        if (f.neighbour != 2) continue;
        // Byte x holds 7x: the same channel's next sample is 7x + 14, so a
        // right half-sample is (14x + 15) >> 1 = 7x + 7 (next byte: 7x + 4).
        for (int y = 0; y < 18; ++y)
            for (int x = 0; x < kStep; ++x) ref1[y * kStep + x] = ref2[y * kStep + x] = Vexo8u(7 * x);
        setResidual(0, 0);
        ASSERT_EQ(run(f, 8, 8, 0), vexoStatusOk);
        for (int x = 0; x < 16; ++x) ASSERT_EQ(dst[x], 7 * x + 7) << f.name << " byte " << x;
    }
}

TEST_P(MotionCompensation, TwoPlaneResidualsGoToEvenAndOddBytes) {
    for (const Form& f : kForms) {
        if (!f.twoPlanes) continue;
        fillRows(ref1, 100, 100);
        fillRows(ref2, 100, 100);
        setResidual(5, -5);
        ASSERT_EQ(run(f, 0, 0, 0), vexoStatusOk);
        for (int y = 0; y < f.h; ++y)
            for (int x = 0; x < 16; ++x) ASSERT_EQ(dst[y * kStep + x], (x & 1) ? 95 : 105) << f.name;
    }
}

TEST_P(MotionCompensation, LargeRoundingKeepsItsExactValue) {
    // Offsets of more than 16 bits that the residual brings back into range.
    for (const Form& f : kForms) {
        fillRows(ref1, 0, 0);
        fillRows(ref2, 0, 0);
        setResidual(-32768, -32768);
        // (0 + 0 + 1 + 66000) >> 1 = 33000, less 32768; with two references
        // (33000 + 33000 - 65536 + 1) >> 1, the same.
        ASSERT_EQ(run(f, 4, 4, -66000), vexoStatusOk);
        expectUniform(f, 232, "half down, rounding -66000");
        // (0 + 0 + 0 + 0 + 2 + 132000) >> 2 = 33000 with one reference;
        // with two, (33000 + 33000 - 65536 + 1) >> 1 = 232.
        ASSERT_EQ(run(f, 12, 12, -132000), vexoStatusOk);
        expectUniform(f, 232, "both ways, rounding -132000");
        // (1 - 65201) >> 1 = -32600, plus 32767.
        setResidual(32767, 32767);
        ASSERT_EQ(run(f, 8, 8, 65201), vexoStatusOk);
        expectUniform(f, 167, "half right, rounding 65201");
        if (!f.two) continue;
        // A full-sample and a half-sample reference: h2 = (1 + 65997) >> 1 =
        // 32999, (0 + 32999 - 32800 + 1) >> 1 = 100, and one less for 65995.
        setResidual(-16400, -16400);
        ASSERT_EQ(run(f, 0, 4, -65997), vexoStatusOk);
        expectUniform(f, 100, "mixed positions, rounding -65997");
        ASSERT_EQ(run(f, 0, 4, -65995), vexoStatusOk);
        expectUniform(f, 99, "mixed positions, rounding -65995");
        ASSERT_EQ(run(f, 4, 0, -65995), vexoStatusOk);
        expectUniform(f, 99, "mixed positions swapped, rounding -65995");
    }
}

// How far rounding moves h: by -rnd / 2 or -rnd / 4, not at all at full sample.
long long divisor(Vexo32s type) { return (type & 12) == 0 ? 1LL << 40 : (type & 12) == 12 ? 4 : 2; }

TEST_P(MotionCompensation, MatchesTheFormulasEverywhere) {
    const Vexo32s types[] = {0, 4, 8, 12, 1, 4 | 16, 10, -1, 0x7FFFFFF8};
    const Vexo32s roundings[] = {0, 1, 2, 3, -1, -2, 999, -66001, 70002, 123456789, -2147352576};
    for (const Form& f : kForms) {
        for (Vexo32s rnd : roundings) {
            for (Vexo32s type1 : types) {
                for (Vexo32s type2 : types) {
                    if (f.one && type2 != 0) continue;
                    // Residuals near -h, so that the clip hides nothing even
                    // when rounding moves h far out of 0..255.
                    const long long cancel = f.one ? rnd / divisor(type1)
                                                   : (rnd / divisor(type1) + rnd / divisor(type2)) / 2;
                    fillResidual(int(cancel > 32767 ? 32767 : cancel < -32768 ? -32768 : cancel) - 128, 300);
                    std::memset(dst, 0xCD, sizeof dst);
                    ASSERT_EQ(run(f, type1, type2, rnd), vexoStatusOk);
                    expectBlock(f, type1, type2, rnd);
                }
            }
        }
    }
}

TEST_P(MotionCompensation, NullPointersWriteNothing) {
    for (const Form& f : kForms) {
        // The second residual plane is tested only where there is one.
        if (f.one) {
            EXPECT_EQ(f.one(nullptr, kStep, res0, res1, kResStep, dst, kStep, 0, 0), vexoStatusNullPointer);
            EXPECT_EQ(f.one(ref1, kStep, nullptr, res1, kResStep, dst, kStep, 0, 0), vexoStatusNullPointer);
            EXPECT_EQ(f.one(ref1, kStep, res0, res1, kResStep, nullptr, kStep, 0, 0), vexoStatusNullPointer);
            if (f.twoPlanes) {
                EXPECT_EQ(f.one(ref1, kStep, res0, nullptr, kResStep, dst, kStep, 0, 0), vexoStatusNullPointer);
            }
        } else {
            EXPECT_EQ(f.two(nullptr, kStep, 0, ref2, kStep, 0, res0, res1, kResStep, dst, kStep, 0),
                      vexoStatusNullPointer);
            EXPECT_EQ(f.two(ref1, kStep, 0, nullptr, kStep, 0, res0, res1, kResStep, dst, kStep, 0),
                      vexoStatusNullPointer);
            EXPECT_EQ(f.two(ref1, kStep, 0, ref2, kStep, 0, nullptr, res1, kResStep, dst, kStep, 0),
                      vexoStatusNullPointer);
            EXPECT_EQ(f.two(ref1, kStep, 0, ref2, kStep, 0, res0, res1, kResStep, nullptr, kStep, 0),
                      vexoStatusNullPointer);
            if (f.twoPlanes) {
                EXPECT_EQ(f.two(ref1, kStep, 0, ref2, kStep, 0, res0, nullptr, kResStep, dst, kStep, 0),
                          vexoStatusNullPointer);
            }
        }
        for (int i = 0; i < kStep * 17; ++i) ASSERT_EQ(dst[i], 0xCD) << f.name;
    }
}

VEXO_ON_EVERY_PATH(MotionCompensation);

}  // namespace
}  // namespace vexo
