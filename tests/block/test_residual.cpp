// Residual extraction and coefficient scans, on every path, against formulas
// written out here in 64-bit arithmetic and against the published scan orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/paths.h"

namespace vexo {
namespace {

constexpr Vexo16s kUntouched = 0x5A5A;

// A 32-bit register's view of an exact integer: reduced modulo 2^32 into the
// signed range.
std::int64_t wrap32(std::int64_t v) {
    const std::int64_t m = ((v % 4294967296LL) + 4294967296LL) % 4294967296LL;
    return m >= 2147483648LL ? m - 4294967296LL : m;
}
std::int64_t floorDiv(std::int64_t v, std::int64_t d) { return v >= 0 ? v / d : -((-v + d - 1) / d); }
Vexo16s low16(std::int64_t v) { return Vexo16s(std::uint16_t(std::uint64_t(v) & 0xFFFF)); }

// 8-bit samples with a row step; pitch 2 reads one channel of an interleaved row.
struct Samples {
    std::vector<Vexo8u> data;
    int step;
    Samples(int rows, int rowBytes, unsigned seed) : data(std::size_t(rows * (rowBytes + 5))), step(rowBytes + 5) {
        std::mt19937 gen(seed);
        for (Vexo8u& v : data) v = Vexo8u(gen());
    }
    int at(int x, int y, int pitch = 1, int channel = 0) const { return data[std::size_t(y * step + x * pitch + channel)]; }
};

// The prediction as defined: sum, plus the rounding constant, minus rounding,
// in a 32-bit register, shifted arithmetically.
std::int64_t prediction(const Samples& r, int x, int y, Vexo32s mcType, Vexo32s rounding, int pitch = 1,
                        int channel = 0) {
    const int a = r.at(x, y, pitch, channel);
    const int right = r.at(x + 1, y, pitch, channel), down = r.at(x, y + 1, pitch, channel);
    switch (mcType & 12) {
        case 0: return a;
        case 4: return floorDiv(wrap32(std::int64_t(a) + down + 1 - rounding), 2);
        case 8: return floorDiv(wrap32(std::int64_t(a) + right + 1 - rounding), 2);
        default:
            return floorDiv(
                wrap32(std::int64_t(a) + right + down + r.at(x + 1, y + 1, pitch, channel) + 2 - rounding), 4);
    }
}
std::int64_t twoReferenceResidual(int s, std::int64_t h1, std::int64_t h2) { return floorDiv(wrap32(2 * s - h1 - h2), 2); }

struct Plane16 {
    std::vector<Vexo16s> data;
    int stride;  // in elements
    Plane16(int rows, int stride) : data(std::size_t(rows * stride), kUntouched), stride(stride) {}
    Vexo16s* ptr() { return data.data(); }
    Vexo32s step() const { return stride * 2; }
    Vexo16s at(int x, int y) const { return data[std::size_t(y * stride + x)]; }
    bool untouchedOutside(int w, int h) const {
        for (std::size_t i = 0; i < data.size(); ++i)
            if ((int(i) % stride >= w || int(i) / stride >= h) && data[i] != kUntouched) return false;
        return true;
    }
};

const Vexo32s kMcTypes[] = {0, 4, 8, 12, 1, 7, 11, 16 + 8, -1, 0x70000003};
const Vexo32s kRoundings[] = {0, 1, 2, 3, -1, -2, 5, 0x12345, INT_MAX, INT_MIN, INT_MIN + 1};

class Residual : public test::PathTest {};

using OneRef = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16s*, Vexo32s, Vexo16s*, Vexo32s,
                              Vexo32s, Vexo32s);
using TwoRef = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s, const Vexo8u*, Vexo32s,
                              Vexo32s, Vexo16s*, Vexo32s, Vexo32s);

TEST_P(Residual, OneReferenceEveryPositionRoundingAndSize) {
    struct Form {
        OneRef f;
        int w, h;
    } forms[] = {{vexoGetDiff16x16_8u16s_C1, 16, 16},
                 {vexoGetDiff16x8_8u16s_C1, 16, 8},
                 {vexoGetDiff8x16_8u16s_C1, 8, 16},
                 {vexoGetDiff8x8_8u16s_C1, 8, 8},
                 {vexoGetDiff8x4_8u16s_C1, 8, 4}};
    const Samples src(16, 16, 1), ref(17, 17, 2);
    for (const Form& form : forms) {
        for (Vexo32s mc : kMcTypes) {
            for (Vexo32s rnd : kRoundings) {
                Plane16 dst(17, 20), pred(17, 19), dstAlone(17, 20);
                ASSERT_EQ(form.f(src.data.data(), src.step, ref.data.data(), ref.step, dst.ptr(), dst.step(),
                                 pred.ptr(), pred.step(), mc, rnd),
                          vexoStatusOk);
                // Without pred the same kernel runs: dst comes out the same.
                ASSERT_EQ(form.f(src.data.data(), src.step, ref.data.data(), ref.step, dstAlone.ptr(),
                                 dstAlone.step(), nullptr, 0, mc, rnd),
                          vexoStatusOk);
                for (int y = 0; y < form.h; ++y) {
                    for (int x = 0; x < form.w; ++x) {
                        const std::int64_t h = prediction(ref, x, y, mc, rnd);
                        ASSERT_EQ(dst.at(x, y), low16(src.at(x, y) - h))
                            << form.w << "x" << form.h << " mc " << mc << " rnd " << rnd << " at " << x << "," << y;
                        ASSERT_EQ(pred.at(x, y), low16(h)) << form.w << "x" << form.h << " mc " << mc << " rnd " << rnd;
                        ASSERT_EQ(dstAlone.at(x, y), dst.at(x, y));
                    }
                }
                EXPECT_TRUE(dst.untouchedOutside(form.w, form.h));
                EXPECT_TRUE(pred.untouchedOutside(form.w, form.h));
            }
        }
    }
}

TEST_P(Residual, HalfSampleRoundingByHand) {
    // Samples 1 over 0, half a sample down: (1 + 0 + 1 - r) >> 1 is 1 for
    // rounding 0 and 0 for rounding 1; the source is 5.
    Vexo8u ref[9 * 9] = {};
    for (int x = 0; x < 9; ++x) ref[x] = 1;
    Vexo8u src[64];
    std::memset(src, 5, sizeof src);
    Vexo16s dst[64], pred[64];
    ASSERT_EQ(vexoGetDiff8x8_8u16s_C1(src, 8, ref, 9, dst, 16, pred, 16, 4, 0), vexoStatusOk);
    EXPECT_EQ(pred[0], 1);
    EXPECT_EQ(dst[0], 4);
    ASSERT_EQ(vexoGetDiff8x8_8u16s_C1(src, 8, ref, 9, dst, 16, pred, 16, 4, 1), vexoStatusOk);
    EXPECT_EQ(pred[0], 0);
    EXPECT_EQ(dst[0], 5);
    // Rounding 3 both ways on zeros: (0 + 2 - 3) >> 2 = -1, not 0.
    std::memset(ref, 0, sizeof ref);
    ASSERT_EQ(vexoGetDiff8x8_8u16s_C1(src, 8, ref, 9, dst, 16, pred, 16, 12, 3), vexoStatusOk);
    EXPECT_EQ(pred[9], -1);
    EXPECT_EQ(dst[9], 6);
}

TEST_P(Residual, FourByFourIgnoresPositionAndPrediction) {
    const Samples src(4, 4, 3), ref(5, 5, 4);
    for (Vexo32s mc : {0, 4, 8, 12}) {
        Plane16 dst(5, 6), pred(5, 6);
        ASSERT_EQ(vexoGetDiff4x4_8u16s_C1(src.data.data(), src.step, ref.data.data(), ref.step, dst.ptr(), dst.step(),
                                          pred.ptr(), pred.step(), mc, 1),
                  vexoStatusOk);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) ASSERT_EQ(dst.at(x, y), src.at(x, y) - ref.at(x, y)) << mc;
        EXPECT_TRUE(dst.untouchedOutside(4, 4));
        EXPECT_TRUE(pred.untouchedOutside(0, 0));
    }
}

TEST_P(Residual, TwoReferencesEachWithItsOwnPosition) {
    struct Form {
        TwoRef f;
        int w, h;
    } forms[] = {{vexoGetDiff16x16B_8u16s_C1, 16, 16},
                 {vexoGetDiff16x8B_8u16s_C1, 16, 8},
                 {vexoGetDiff8x16B_8u16s_C1, 8, 16},
                 {vexoGetDiff8x8B_8u16s_C1, 8, 8},
                 {vexoGetDiff8x4B_8u16s_C1, 8, 4}};
    const Samples src(16, 16, 5), ref1(17, 17, 6), ref2(17, 17, 7);
    for (const Form& form : forms) {
        // Every pair of positions, so that swapping the two selectors in the
        // kernel index would show; rounding values whose sums wrap.
        for (Vexo32s mc1 : {0, 4, 8, 12, 13}) {
            for (Vexo32s mc2 : {0, 4, 8, 12, -2}) {
                for (Vexo32s rnd : {0, 1, 3, -1, 0x10001, INT_MIN, INT_MAX}) {
                    Plane16 dst(17, 18);
                    ASSERT_EQ(form.f(src.data.data(), src.step, ref1.data.data(), ref1.step, mc1, ref2.data.data(),
                                     ref2.step, mc2, dst.ptr(), dst.step(), rnd),
                              vexoStatusOk);
                    for (int y = 0; y < form.h; ++y) {
                        for (int x = 0; x < form.w; ++x) {
                            const std::int64_t want = twoReferenceResidual(
                                src.at(x, y), prediction(ref1, x, y, mc1, rnd), prediction(ref2, x, y, mc2, rnd));
                            ASSERT_EQ(dst.at(x, y), low16(want)) << form.w << "x" << form.h << " mc " << mc1 << "/"
                                                                 << mc2 << " rnd " << rnd << " at " << x << "," << y;
                        }
                    }
                    EXPECT_TRUE(dst.untouchedOutside(form.w, form.h));
                }
            }
        }
    }
}

TEST_P(Residual, TwoReferencesRoundTowardMinusInfinity) {
    // 2 * 0 - 1 - 0 = -1, and -1 >> 1 is -1: a division would give 0.
    Vexo8u src[64] = {}, one[64], zero[64] = {};
    std::memset(one, 1, sizeof one);
    Vexo16s dst[64];
    ASSERT_EQ(vexoGetDiff8x8B_8u16s_C1(src, 8, one, 8, 0, zero, 8, 0, dst, 16, 0), vexoStatusOk);
    EXPECT_EQ(dst[0], -1);
    EXPECT_EQ(dst[63], -1);
}

TEST_P(Residual, InterleavedFormsReadEachChannelApart) {
    using OneC2 = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16s*, Vexo32s, Vexo16s*,
                                 Vexo32s, Vexo32s, Vexo32s);
    using TwoC2 = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s, const Vexo8u*, Vexo32s,
                                 Vexo32s, Vexo16s*, Vexo32s, Vexo16s*, Vexo32s, Vexo32s);
    const Samples src(8, 16, 8), ref1(9, 18, 9), ref2(9, 18, 10);
    const struct {
        OneC2 one;
        TwoC2 two;
        int h;
    } forms[] = {{vexoGetDiff8x8_8u16s_C2P2, vexoGetDiff8x8B_8u16s_C2P2, 8},
                 {vexoGetDiff8x4_8u16s_C2P2, vexoGetDiff8x4B_8u16s_C2P2, 4}};
    for (const auto& form : forms) {
        for (Vexo32s mc : {0, 4, 8, 12}) {
            for (Vexo32s rnd : {0, 1, 6}) {
                Plane16 d0(9, 10), d1(9, 11), b0(9, 10), b1(9, 11);
                ASSERT_EQ(form.one(src.data.data(), src.step, ref1.data.data(), ref1.step, d0.ptr(), d0.step(),
                                   d1.ptr(), d1.step(), mc, rnd),
                          vexoStatusOk);
                ASSERT_EQ(form.two(src.data.data(), src.step, ref1.data.data(), ref1.step, mc, ref2.data.data(),
                                   ref2.step, 12 - mc, b0.ptr(), b0.step(), b1.ptr(), b1.step(), rnd),
                          vexoStatusOk);
                for (int c = 0; c < 2; ++c) {
                    const Plane16& one = c ? d1 : d0;
                    const Plane16& two = c ? b1 : b0;
                    for (int y = 0; y < form.h; ++y) {
                        for (int x = 0; x < 8; ++x) {
                            const int s = src.at(x, y, 2, c);
                            const std::int64_t h1 = prediction(ref1, x, y, mc, rnd, 2, c);
                            ASSERT_EQ(one.at(x, y), low16(s - h1)) << "mc " << mc << " channel " << c;
                            const std::int64_t h2 = prediction(ref2, x, y, 12 - mc, rnd, 2, c);
                            ASSERT_EQ(two.at(x, y), low16(twoReferenceResidual(s, h1, h2))) << "channel " << c;
                        }
                    }
                    EXPECT_TRUE(one.untouchedOutside(8, form.h));
                    EXPECT_TRUE(two.untouchedOutside(8, form.h));
                }
            }
        }
    }
}

TEST_P(Residual, PlainDifferencesTruncateTo16Bits) {
    const Samples a(16, 16, 11), b(16, 16, 12);
    const struct {
        VexoStatus (*f)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16s*, Vexo32s);
        int n;
    } forms8[] = {{vexoSub16x16_8u16s_C1R, 16}, {vexoSub8x8_8u16s_C1R, 8}, {vexoSub4x4_8u16s_C1R, 4}};
    for (const auto& form : forms8) {
        Plane16 dst(17, 19);
        ASSERT_EQ(form.f(a.data.data(), a.step, b.data.data(), b.step, dst.ptr(), dst.step()), vexoStatusOk);
        for (int y = 0; y < form.n; ++y)
            for (int x = 0; x < form.n; ++x) ASSERT_EQ(dst.at(x, y), a.at(x, y) - b.at(x, y)) << form.n;
        EXPECT_TRUE(dst.untouchedOutside(form.n, form.n));
    }
    // 40000 - 0 is -25536 and 0 - 65535 is 1 in 16 bits.
    Vexo16u p[8 * 10], q[8 * 10];
    for (int i = 0; i < 80; ++i) {
        p[i] = Vexo16u(i % 3 == 0 ? 40000 : i % 3 == 1 ? 0 : i * 811);
        q[i] = Vexo16u(i % 3 == 0 ? 0 : i % 3 == 1 ? 65535 : 65535 - i * 7);
    }
    const struct {
        VexoStatus (*f)(const Vexo16u*, Vexo32s, const Vexo16u*, Vexo32s, Vexo16s*, Vexo32s);
        int n;
    } forms16[] = {{vexoSub8x8_16u16s_C1R, 8}, {vexoSub4x4_16u16s_C1R, 4}};
    for (const auto& form : forms16) {
        Plane16 dst(9, 11);
        ASSERT_EQ(form.f(p, 20, q, 20, dst.ptr(), dst.step()), vexoStatusOk);
        for (int y = 0; y < form.n; ++y)
            for (int x = 0; x < form.n; ++x)
                ASSERT_EQ(dst.at(x, y), low16(std::int64_t(p[y * 10 + x]) - q[y * 10 + x])) << form.n;
        EXPECT_TRUE(dst.untouchedOutside(form.n, form.n));
    }
    Vexo16s d[16];
    ASSERT_EQ(vexoSub4x4_16u16s_C1R(p, 20, q, 20, d, 8), vexoStatusOk);
    EXPECT_EQ(d[0], -25536);
    EXPECT_EQ(d[1], 1);
}

// Sums and differences per 4x4 block, blocks in raster order, each block's
// differences contiguous row by row.
template <class Sample, class Sum, class F>
void expectBlockSums(F f, int n, const std::vector<Sample>& src, const std::vector<Sample>& ref, int strideElems) {
    const int blocks = (n / 4) * (n / 4);
    std::vector<Sum> sums(std::size_t(blocks) + 1, Sum(kUntouched));
    std::vector<Vexo16s> diff(std::size_t(16 * blocks) + 8, kUntouched);
    const Vexo32s step = Vexo32s(strideElems * sizeof(Sample));
    ASSERT_EQ(f(src.data(), step, ref.data(), step, sums.data(), diff.data()), vexoStatusOk);
    std::vector<Sum> sumsAlone(sums.size(), Sum(kUntouched));
    ASSERT_EQ(f(src.data(), step, ref.data(), step, sumsAlone.data(), nullptr), vexoStatusOk);
    for (int k = 0; k < blocks; ++k) {
        const int bx = k % (n / 4), by = k / (n / 4);
        std::int64_t sum = 0;
        for (int i = 0; i < 16; ++i) {
            const int x = 4 * bx + i % 4, y = 4 * by + i / 4;
            const Vexo16s d = low16(std::int64_t(src[std::size_t(y * strideElems + x)]) - ref[std::size_t(y * strideElems + x)]);
            ASSERT_EQ(diff[std::size_t(16 * k + i)], d) << n << " block " << k << " value " << i;
            sum += d;
        }
        ASSERT_EQ(sums[std::size_t(k)], Sum(sum)) << n << " block " << k;
        ASSERT_EQ(sumsAlone[std::size_t(k)], Sum(sum));
    }
    EXPECT_EQ(sums[std::size_t(blocks)], Sum(kUntouched));
    EXPECT_EQ(diff[std::size_t(16 * blocks)], kUntouched);
}

TEST_P(Residual, SumsOfDifferencesPerFourByFourBlock) {
    std::mt19937 gen(13);
    std::vector<Vexo8u> s8(16 * 21), r8(16 * 21);
    for (std::size_t i = 0; i < s8.size(); ++i) {
        s8[i] = Vexo8u(gen());
        r8[i] = Vexo8u(gen());
    }
    s8[0] = 255;  // extremes in the first block
    r8[0] = 0;
    r8[1] = 255;
    s8[1] = 0;
    expectBlockSums<Vexo8u, Vexo16s>(vexoSumsDiff16x16Blocks4x4_8u16s_C1, 16, s8, r8, 21);
    expectBlockSums<Vexo8u, Vexo16s>(vexoSumsDiff8x8Blocks4x4_8u16s_C1, 8, s8, r8, 21);

    // 16-bit samples: each difference is cut to 16 bits before it is summed,
    // so 40000 against 0 counts as -25536.
    std::vector<Vexo16u> s16(16 * 18), r16(16 * 18);
    for (std::size_t i = 0; i < s16.size(); ++i) {
        s16[i] = Vexo16u(gen());
        r16[i] = Vexo16u(gen());
    }
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) {
            s16[std::size_t(y * 18 + x)] = 40000;
            r16[std::size_t(y * 18 + x)] = 0;
        }
    expectBlockSums<Vexo16u, Vexo32s>(vexoSumsDiff16x16Blocks4x4_16u32s_C1R, 16, s16, r16, 18);
    expectBlockSums<Vexo16u, Vexo32s>(vexoSumsDiff8x8Blocks4x4_16u32s_C1R, 8, s16, r16, 18);
    Vexo32s sums[4];
    ASSERT_EQ(vexoSumsDiff8x8Blocks4x4_16u32s_C1R(s16.data(), 36, r16.data(), 36, sums, nullptr), vexoStatusOk);
    EXPECT_EQ(sums[0], 16 * -25536);
}

TEST_P(Residual, InterleavedSumsStoreDifferencesOnlyWithBothPlanes) {
    const Samples src(8, 16, 14), ref0(8, 8, 15), ref1(8, 8, 16);
    for (int given = 0; given < 4; ++given) {
        Vexo16s sums0[5], sums1[5], diff0[65], diff1[65];
        for (Vexo16s* p : {sums0, sums1}) std::fill(p, p + 5, kUntouched);
        for (Vexo16s* p : {diff0, diff1}) std::fill(p, p + 65, kUntouched);
        const bool both = given == 3;
        ASSERT_EQ(vexoSumsDiff8x8Blocks4x4_8u16s_C2P2(src.data.data(), src.step, ref0.data.data(), ref0.step,
                                                      ref1.data.data(), ref1.step, sums0, (given & 1) ? diff0 : nullptr,
                                                      sums1, (given & 2) ? diff1 : nullptr),
                  vexoStatusOk);
        for (int c = 0; c < 2; ++c) {
            const Samples& ref = c ? ref1 : ref0;
            const Vexo16s* sums = c ? sums1 : sums0;
            const Vexo16s* diff = c ? diff1 : diff0;
            for (int k = 0; k < 4; ++k) {
                int sum = 0;
                for (int i = 0; i < 16; ++i) {
                    const int x = 4 * (k % 2) + i % 4, y = 4 * (k / 2) + i / 4;
                    const int d = src.at(x, y, 2, c) - ref.at(x, y);
                    sum += d;
                    ASSERT_EQ(diff[16 * k + i], both ? d : kUntouched) << "given " << given << " channel " << c;
                }
                ASSERT_EQ(sums[k], sum) << "channel " << c << " block " << k;
            }
            EXPECT_EQ(sums[4], kUntouched);
            EXPECT_EQ(diff[64], kUntouched);
        }
    }
}

TEST_P(Residual, NullPointersWriteNothing) {
    Vexo8u b[24 * 24] = {};
    Vexo16u w[16 * 16] = {};
    Vexo16s out[256];
    Vexo32s sums32[16];
    std::fill(out, out + 256, kUntouched);
    EXPECT_EQ(vexoGetDiff16x16_8u16s_C1(nullptr, 16, b, 24, out, 32, out, 32, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff8x8_8u16s_C1(b, 16, nullptr, 24, out, 32, nullptr, 0, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff8x4_8u16s_C1(b, 16, b, 24, nullptr, 32, out, 32, 12, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff4x4_8u16s_C1(b, 16, b, 24, nullptr, 32, out, 32, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff16x8B_8u16s_C1(b, 16, b, 24, 4, nullptr, 24, 8, out, 32, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff8x16B_8u16s_C1(b, 16, nullptr, 24, 4, b, 24, 8, out, 32, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff8x8_8u16s_C2P2(b, 24, b, 24, out, 16, nullptr, 16, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff8x4_8u16s_C2P2(b, 24, b, 24, nullptr, 16, out, 16, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff8x8B_8u16s_C2P2(b, 24, b, 24, 0, b, 24, 0, out, 16, nullptr, 16, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoGetDiff8x4B_8u16s_C2P2(b, 24, b, 24, 0, nullptr, 24, 0, out, 16, out, 16, 0),
              vexoStatusNullPointer);
    EXPECT_EQ(vexoSub16x16_8u16s_C1R(b, 24, b, 24, nullptr, 32), vexoStatusNullPointer);
    EXPECT_EQ(vexoSub8x8_16u16s_C1R(w, 32, nullptr, 32, out, 16), vexoStatusNullPointer);
    EXPECT_EQ(vexoSumsDiff16x16Blocks4x4_8u16s_C1(b, 24, b, 24, nullptr, out), vexoStatusNullPointer);
    EXPECT_EQ(vexoSumsDiff8x8Blocks4x4_16u32s_C1R(w, 32, nullptr, 32, sums32, out), vexoStatusNullPointer);
    EXPECT_EQ(vexoSumsDiff8x8Blocks4x4_8u16s_C2P2(b, 24, b, 24, b, 24, out, out, nullptr, out), vexoStatusNullPointer);
    EXPECT_EQ(vexoScanFwd_16s_C1(nullptr, out, 5, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoScanInv_16s_C1(out, nullptr, 70, 0), vexoStatusNullPointer);  // null before range
    for (Vexo16s v : out) ASSERT_EQ(v, kUntouched);
}

VEXO_ON_EVERY_PATH(Residual);

// --- Scans -------------------------------------------------------------

// The published orders in the form the standards draw them: at each block
// position (row by row), its place in the scan.
const int kAlternateVerticalFigure[64] = {
    0,  4,  6,  20, 22, 36, 38, 52,  //
    1,  5,  7,  21, 23, 37, 39, 53,  //
    2,  8,  19, 24, 34, 40, 50, 54,  //
    3,  9,  18, 25, 35, 41, 51, 55,  //
    10, 17, 26, 30, 42, 46, 56, 60,  //
    11, 16, 27, 31, 43, 47, 57, 61,  //
    12, 15, 28, 32, 44, 48, 58, 62,  //
    13, 14, 29, 33, 45, 49, 59, 63};
const int kAlternateHorizontalFigure[64] = {
    0,  1,  2,  3,  10, 11, 12, 13,  //
    4,  5,  8,  9,  17, 16, 15, 14,  //
    6,  7,  19, 18, 26, 27, 28, 29,  //
    20, 21, 24, 25, 30, 31, 32, 33,  //
    22, 23, 34, 35, 42, 43, 44, 45,  //
    36, 37, 40, 41, 46, 47, 48, 49,  //
    38, 39, 50, 51, 56, 57, 58, 59,  //
    52, 53, 54, 55, 60, 61, 62, 63};

// The zigzag by its rule: walk the anti-diagonals, odd ones from the top
// right down, even ones from the bottom left up.
std::vector<int> zigzagByRule() {
    std::vector<int> order;
    for (int d = 0; d < 15; ++d) {
        for (int i = 0; i < 8; ++i) {
            const int row = (d % 2) ? i : d - i, col = d - row;
            if (row >= 0 && row < 8 && col >= 0 && col < 8) order.push_back(row * 8 + col);
        }
    }
    return order;
}

// Block position of each scan place, as the library holds it: read back
// through the forward scan of a block whose values are their positions.
std::vector<int> scanOrderOf(Vexo32s scanType) {
    Vexo16s block[64], scanned[64];
    for (int i = 0; i < 64; ++i) block[i] = Vexo16s(100 + i);
    EXPECT_EQ(vexoScanFwd_16s_C1(block, scanned, 64, scanType), vexoStatusOk);
    std::vector<int> order;
    for (Vexo16s v : scanned) order.push_back(v - 100);
    return order;
}

class Scans : public test::PathTest {};

TEST_P(Scans, TablesArePermutationsAndThePublishedOrders) {
    for (Vexo32s type : {0, 1, 2}) {
        std::vector<int> order = scanOrderOf(type), seen(64, 0);
        for (int p : order) {
            ASSERT_TRUE(p >= 0 && p < 64) << type;
            ++seen[std::size_t(p)];
        }
        for (int n : seen) ASSERT_EQ(n, 1) << "scan " << type << " is not a permutation";
    }
    EXPECT_EQ(scanOrderOf(0), zigzagByRule());
    const std::vector<int> vertical = scanOrderOf(1), horizontal = scanOrderOf(2);
    for (int i = 0; i < 64; ++i) {
        EXPECT_EQ(kAlternateVerticalFigure[vertical[std::size_t(i)]], i) << "alternate vertical place " << i;
        EXPECT_EQ(kAlternateHorizontalFigure[horizontal[std::size_t(i)]], i) << "alternate horizontal place " << i;
    }
    // Every scanType but 1 and 2 is the zigzag; no bits are masked off.
    for (Vexo32s other : {3, -1, 257, 258, INT_MIN}) EXPECT_EQ(scanOrderOf(other), zigzagByRule()) << other;
}

TEST_P(Scans, InverseUndoesForwardUpToTheLastIndex) {
    Vexo16s block[64], scanned[64], back[64];
    for (int i = 0; i < 64; ++i) block[i] = Vexo16s(i * 37 - 900);
    for (Vexo32s type : {0, 1, 2}) {
        ASSERT_EQ(vexoScanFwd_16s_C1(block, scanned, 40, type), vexoStatusOk);
        ASSERT_EQ(vexoScanInv_16s_C1(scanned, back, 63, type), vexoStatusOk);
        EXPECT_EQ(std::memcmp(back, block, sizeof block), 0) << type;
        // Only places 0..lastIndex come back; the rest is cleared even
        // though the source holds values there.
        const std::vector<int> order = scanOrderOf(type);
        for (int last : {0, 1, 9, 62}) {
            std::fill(back, back + 64, kUntouched);
            ASSERT_EQ(vexoScanInv_16s_C1(scanned, back, last, type), vexoStatusOk);
            for (int i = 0; i < 64; ++i) {
                const int pos = order[std::size_t(i)];
                ASSERT_EQ(back[pos], i <= last ? block[pos] : 0) << "type " << type << " last " << last;
            }
        }
    }
}

TEST_P(Scans, ForwardBelowTwentyKeepsOnlyTheCountedValues) {
    // 30 non-zero values at the first scan places of the zigzag.
    const std::vector<int> order = zigzagByRule();
    Vexo16s block[64] = {}, dst[64];
    for (int i = 0; i < 30; ++i) block[order[std::size_t(i)]] = Vexo16s(i % 2 ? -(i + 1) : i + 1);
    block[order[63]] = 77;  // a far one, after zeros
    std::fill(dst, dst + 64, kUntouched);
    ASSERT_EQ(vexoScanFwd_16s_C1(block, dst, 19, 0), vexoStatusOk);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(dst[i], i < 19 ? block[order[std::size_t(i)]] : 0) << i;
    // From 20 on every value moves, whatever the count says.
    ASSERT_EQ(vexoScanFwd_16s_C1(block, dst, 20, 0), vexoStatusOk);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(dst[i], block[order[std::size_t(i)]]) << i;
    // Zeros between the values do not count: the 3rd non-zero sits at place 5.
    Vexo16s sparse[64] = {};
    sparse[order[0]] = 4;
    sparse[order[2]] = -3;
    sparse[order[5]] = 2;
    sparse[order[6]] = 1;
    ASSERT_EQ(vexoScanFwd_16s_C1(sparse, dst, 3, 0), vexoStatusOk);
    const Vexo16s want[8] = {4, 0, -3, 0, 0, 2, 0, 0};
    EXPECT_EQ(std::memcmp(dst, want, sizeof want), 0);
    // A count above the real number keeps them all.
    ASSERT_EQ(vexoScanFwd_16s_C1(sparse, dst, 10, 0), vexoStatusOk);
    EXPECT_EQ(dst[6], 1);
}

TEST_P(Scans, RangesGiveOutOfRangeAndWriteNothing) {
    Vexo16s src[64], dst[64];
    for (int i = 0; i < 64; ++i) src[i] = Vexo16s(i + 1);
    std::fill(dst, dst + 64, kUntouched);
    for (Vexo32s count : {0, -1, 65, INT_MIN}) EXPECT_EQ(vexoScanFwd_16s_C1(src, dst, count, 0), vexoStatusOutOfRange);
    for (Vexo32s last : {-1, 64, INT_MAX}) EXPECT_EQ(vexoScanInv_16s_C1(src, dst, last, 1), vexoStatusOutOfRange);
    for (Vexo16s v : dst) ASSERT_EQ(v, kUntouched);
    EXPECT_EQ(vexoScanFwd_16s_C1(src, dst, 1, 2), vexoStatusOk);
    EXPECT_EQ(vexoScanFwd_16s_C1(src, dst, 64, 2), vexoStatusOk);
    EXPECT_EQ(vexoScanInv_16s_C1(src, dst, 0, 2), vexoStatusOk);
    EXPECT_EQ(dst[0], 1);
    for (int i = 1; i < 64; ++i) ASSERT_EQ(dst[i], 0);
}

VEXO_ON_EVERY_PATH(Scans);

}  // namespace
}  // namespace vexo
