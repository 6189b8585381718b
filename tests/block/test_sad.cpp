// Sums of absolute differences on every path, against sums worked out here
// sample by sample from the definitions, and hand-worked corner cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/paths.h"

namespace vexo {
namespace {

// Samples with a row step wider than any block (and odd), so that a kernel
// that mixes up width and step, or reads the wrong row, gets other samples.
template <class T>
struct Plane {
    static constexpr int kStride = 41;
    std::vector<T> v = std::vector<T>(kStride * 20);
    T* data() { return v.data(); }
    static constexpr Vexo32s step() { return Vexo32s(kStride * sizeof(T)); }
    T& at(int x, int y) { return v[std::size_t(y * kStride + x)]; }
    long operator()(int x, int y) const { return long(v[std::size_t(y * kStride + x)]); }
    template <class Gen>
    void fill(Gen& gen, long lo, long hi) {
        std::uniform_int_distribution<long> d(lo, hi);
        for (T& s : v) s = T(d(gen));
    }
};

// The table of positions, written out: a the sample, b right (next elements
// on), c below, d below and right.
template <class T>
long referenceValue(const Plane<T>& p, int x, int y, int mcType, int next = 1) {
    const long a = p(x, y), b = p(x + next, y), c = p(x, y + 1), d = p(x + next, y + 1);
    switch (mcType >> 2) {
        case 0: return a;
        case 1: return (a + c + 1) / 2;
        case 2: return (a + b + 1) / 2;
        default: return (a + b + c + d + 2) / 4;
    }
}
template <class T>
long plainSad(const Plane<T>& src, const Plane<T>& ref, int w, int h, int mcType, int dx = 0) {
    long sum = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) sum += std::labs(src(x, y) - referenceValue(ref, x + dx, y, mcType));
    return sum;
}

class Sad : public test::PathTest {
protected:
    std::mt19937 gen{unsigned(GetParam()) * 7919u + 11u};
};

using Sad8u = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s*, Vexo32s);
using Sad16u = VexoStatus (*)(const Vexo16u*, Vexo32s, const Vexo16u*, Vexo32s, Vexo32s*, Vexo32s);

TEST_P(Sad, SingleBlocksAtEveryPositionAgainstTheDefinition) {
    struct Form8 {
        Sad8u f;
        int w, h;
        bool usesMcType;
    } forms8[] = {{vexoSAD16x16_8u32s, 16, 16, true},   {vexoSAD16x8_8u32s_C1R, 16, 8, true},
                  {vexoSAD8x8_8u32s_C1R, 8, 8, true},   {vexoSAD4x4_8u32s, 4, 4, false},
                  {vexoSAD4x8_8u32s_C1R, 4, 8, false},  {vexoSAD8x4_8u32s_C1R, 8, 4, false},
                  {vexoSAD8x16_8u32s_C1R, 8, 16, false}};
    struct Form16 {
        Sad16u f;
        int w, h;
    } forms16[] = {{vexoSAD16x16_16u32s_C1R, 16, 16}, {vexoSAD8x8_16u32s_C1R, 8, 8}, {vexoSAD4x4_16u32s_C1R, 4, 4}};
    Plane<Vexo8u> src, ref;
    Plane<Vexo16u> src16, ref16;
    // Full range, then samples of 0 and 1 only, where every rounding shows.
    for (const long hi : {255L, 1L}) {
        src.fill(gen, 0, 255);
        ref.fill(gen, 0, hi);
        src16.fill(gen, 0, 65535);
        ref16.fill(gen, 0, hi == 1 ? 1 : 65535);
        for (int mcType = 0; mcType < 16; ++mcType) {
            for (const Form8& f : forms8) {
                Vexo32s sad = -1;
                ASSERT_EQ(f.f(src.data(), src.step(), ref.data(), ref.step(), &sad, mcType), vexoStatusOk);
                EXPECT_EQ(sad, plainSad(src, ref, f.w, f.h, f.usesMcType ? mcType : 0))
                    << f.w << "x" << f.h << " mcType " << mcType;
            }
            for (const Form16& f : forms16) {
                Vexo32s sad = -1;
                ASSERT_EQ(f.f(src16.data(), src16.step(), ref16.data(), ref16.step(), &sad, mcType), vexoStatusOk);
                EXPECT_EQ(sad, plainSad(src16, ref16, f.w, f.h, mcType)) << f.w << "x" << f.h << " mcType " << mcType;
            }
        }
    }
}

TEST_P(Sad, HalfSampleRoundingWorkedByHand) {
    // Against a zero source. With a 1 at every even column of every even row,
    // each group of four holds exactly one 1: both ways (1 + 2) >> 2 = 0,
    // while one direction alone gives (1 + 0 + 1) >> 1 = 1 on half the samples.
    Plane<Vexo8u> zero, ref;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 41; ++x) ref.at(x, y) = Vexo8u((x % 2 == 0 && y % 2 == 0) ? 1 : 0);
    Vexo32s sad = -1;
    for (const auto& [mcType, want] : {std::pair{12, 0}, {8, 128}, {4, 128}, {0, 64}}) {
        ASSERT_EQ(vexoSAD16x16_8u32s(zero.data(), zero.step(), ref.data(), ref.step(), &sad, mcType), vexoStatusOk);
        EXPECT_EQ(sad, want) << "mcType " << mcType;
    }
    // Two 1s in each group of four (every even row all 1): (2 + 2) >> 2 = 1.
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 41; ++x) ref.at(x, y) = Vexo8u(y % 2 == 0 ? 1 : 0);
    ASSERT_EQ(vexoSAD8x8_8u32s_C1R(zero.data(), zero.step(), ref.data(), ref.step(), &sad, 12), vexoStatusOk);
    EXPECT_EQ(sad, 64);
    // 255 everywhere stays 255 at every position: no lane overflows.
    std::memset(ref.data(), 255, ref.v.size());
    ASSERT_EQ(vexoSAD16x16_8u32s(zero.data(), zero.step(), ref.data(), ref.step(), &sad, 15), vexoStatusOk);
    EXPECT_EQ(sad, 256 * 255);
    Plane<Vexo16u> zero16, top16;
    for (Vexo16u& s : top16.v) s = 65535;
    ASSERT_EQ(vexoSAD16x16_16u32s_C1R(zero16.data(), zero16.step(), top16.data(), top16.step(), &sad, 12),
              vexoStatusOk);
    EXPECT_EQ(sad, 256 * 65535);
}

TEST_P(Sad, SixteenBitDifferencesAreCutOnlyInTheSubBlockForms) {
    Plane<Vexo16u> low, high;
    for (Vexo16u& s : high.v) s = 40000;
    Vexo32s sad = -1;
    ASSERT_EQ(vexoSAD16x16_16u32s_C1R(low.data(), low.step(), high.data(), high.step(), &sad, 0), vexoStatusOk);
    EXPECT_EQ(sad, 256 * 40000);
    // 0 - 40000 is 25536 as a 16-bit pattern, read as signed and positive.
    Vexo32u four[4], sixteen[16];
    ASSERT_EQ(vexoSAD16x16Blocks8x8_16u32u_C1R(low.data(), low.step(), high.data(), high.step(), four, 0),
              vexoStatusOk);
    for (Vexo32u v : four) EXPECT_EQ(v, 64u * 25536u);
    ASSERT_EQ(vexoSAD16x16Blocks4x4_16u32u_C1R(high.data(), high.step(), low.data(), low.step(), sixteen, 0),
              vexoStatusOk);
    for (Vexo32u v : sixteen) EXPECT_EQ(v, 16u * 25536u);
    // Exactly 32768 apart either way counts 32768.
    for (Vexo16u& s : high.v) s = 32768;
    ASSERT_EQ(vexoSAD16x16Blocks8x8_16u32u_C1R(high.data(), high.step(), low.data(), low.step(), four, 0),
              vexoStatusOk);
    for (Vexo32u v : four) EXPECT_EQ(v, 64u * 32768u);
    ASSERT_EQ(vexoSAD16x16Blocks4x4_16u32u_C1R(low.data(), low.step(), high.data(), high.step(), sixteen, 0),
              vexoStatusOk);
    for (Vexo32u v : sixteen) EXPECT_EQ(v, 16u * 32768u);
}

TEST_P(Sad, SubBlocksInRasterOrder) {
    Plane<Vexo8u> src, ref;
    Plane<Vexo16u> src16, ref16;
    src.fill(gen, 0, 255);
    ref.fill(gen, 0, 255);
    src16.fill(gen, 0, 65535);
    ref16.fill(gen, 0, 65535);
    for (const int size : {8, 4}) {
        const int across = 16 / size;
        std::vector<Vexo16u> sads(17, 0xBEEF);
        std::vector<Vexo32u> sads16(17, 0xDEADBEEF);
        auto f8 = size == 8 ? vexoSAD16x16Blocks8x8_8u16u : vexoSAD16x16Blocks4x4_8u16u;
        auto f16 = size == 8 ? vexoSAD16x16Blocks8x8_16u32u_C1R : vexoSAD16x16Blocks4x4_16u32u_C1R;
        // The sixth argument is ignored whatever it holds.
        ASSERT_EQ(f8(src.data(), src.step(), ref.data(), ref.step(), sads.data(), 12), vexoStatusOk);
        ASSERT_EQ(f16(src16.data(), src16.step(), ref16.data(), ref16.step(), sads16.data(), -1), vexoStatusOk);
        for (int k = 0; k < across * across; ++k) {
            long want = 0, want16 = 0;
            for (int y = (k / across) * size; y < (k / across + 1) * size; ++y) {
                for (int x = (k % across) * size; x < (k % across + 1) * size; ++x) {
                    want += std::labs(src(x, y) - ref(x, y));
                    want16 += std::labs(long(Vexo16s(Vexo16u(src16(x, y) - ref16(x, y)))));
                }
            }
            EXPECT_EQ(sads[std::size_t(k)], want) << size << " block " << k;
            EXPECT_EQ(sads16[std::size_t(k)], Vexo32u(want16)) << size << " block " << k;
        }
        EXPECT_EQ(sads[std::size_t(across * across)], 0xBEEF);
        EXPECT_EQ(sads16[std::size_t(across * across)], 0xDEADBEEFu);
    }
}

TEST_P(Sad, TwoChannels) {
    Plane<Vexo8u> src, ref;
    src.fill(gen, 0, 255);
    ref.fill(gen, 0, 255);
    for (const int mcType : {0, 4, 8, 12}) {
        Vexo32s sad0 = -1, sad1 = -1;
        ASSERT_EQ(vexoSAD8x8_8u32s_C2R(src.data(), src.step(), ref.data(), ref.step(), &sad0, &sad1, mcType),
                  vexoStatusOk);
        long want[2] = {0, 0};
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 16; ++x) want[x % 2] += std::labs(src(x, y) - referenceValue(ref, x, y, mcType, 2));
        EXPECT_EQ(sad0, want[0]) << "mcType " << mcType;
        EXPECT_EQ(sad1, want[1]) << "mcType " << mcType;
    }
    // The selector is compared whole here: 5 is no position and gives zeros.
    for (const int mcType : {5, 1, 13, 16, -4}) {
        Vexo32s sad0 = -1, sad1 = -1;
        ASSERT_EQ(vexoSAD8x8_8u32s_C2R(src.data(), src.step(), ref.data(), ref.step(), &sad0, &sad1, mcType),
                  vexoStatusOk);
        EXPECT_EQ(sad0, 0);
        EXPECT_EQ(sad1, 0);
    }
    // Steps below 1 are refused after the pointers and before the selector.
    Vexo32s sad0 = -1, sad1 = -1;
    EXPECT_EQ(vexoSAD8x8_8u32s_C2R(src.data(), 0, ref.data(), ref.step(), &sad0, &sad1, 0), vexoStatusBadStep);
    EXPECT_EQ(vexoSAD8x8_8u32s_C2R(src.data(), src.step(), ref.data(), -1, &sad0, &sad1, 5), vexoStatusBadStep);
    EXPECT_EQ(vexoSAD8x8_8u32s_C2R(src.data(), 0, ref.data(), ref.step(), &sad0, nullptr, 0), vexoStatusNullPointer);
    EXPECT_EQ(sad0, -1);
    EXPECT_EQ(sad1, -1);
}

using Candidates = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16u*, Vexo32s);
using CandidatesBest = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16u*, Vexo32s, Vexo32s*);

TEST_P(Sad, RowsOfCandidates) {
    struct Form {
        Candidates f;
        CandidatesBest best;
        int size;
    } forms[] = {{vexoSAD2x2xN_8u16u_C1R, nullptr, 2},
                 {vexoSAD4x4xN_8u16u_C1R, vexoSAD4x4xNI_8u16u_C1R, 4},
                 {vexoSAD8x8xN_8u16u_C1R, vexoSAD8x8xNI_8u16u_C1R, 8},
                 {vexoSAD16x16xN_8u16u_C1R, vexoSAD16x16xNI_8u16u_C1R, 16}};
    Plane<Vexo8u> src, ref;
    src.fill(gen, 0, 255);
    ref.fill(gen, 0, 255);
    for (const Form& form : forms) {
        for (const int count : {8, 15, 16, 24}) {
            const int n = count / 8 * 8;
            std::vector<Vexo16u> sads(33, 0xBEEF);
            ASSERT_EQ(form.f(src.data(), src.step(), ref.data(), ref.step(), sads.data(), count), vexoStatusOk);
            for (int i = 0; i < n; ++i)
                EXPECT_EQ(sads[std::size_t(i)], plainSad(src, ref, form.size, form.size, 0, i))
                    << form.size << " candidate " << i;
            for (std::size_t i = std::size_t(n); i < sads.size(); ++i) EXPECT_EQ(sads[i], 0xBEEF) << "past the cut";
            if (form.best == nullptr) continue;
            Vexo32s best = -77;
            std::vector<Vexo16u> again(33, 0xBEEF);
            ASSERT_EQ(form.best(src.data(), src.step(), ref.data(), ref.step(), again.data(), count, &best),
                      vexoStatusOk);
            EXPECT_EQ(again, sads);
            int lowest = 0;
            for (int i = 1; i < n; ++i)
                if (sads[std::size_t(i)] < sads[std::size_t(lowest)]) lowest = i;
            EXPECT_EQ(best, lowest);
        }
        // Counts that cut to nothing: -6 and nothing written.
        for (const int count : {7, 0, -1, -8, -100}) {
            std::vector<Vexo16u> sads(8, 0xBEEF);
            Vexo32s best = -77;
            EXPECT_EQ(form.f(src.data(), src.step(), ref.data(), ref.step(), sads.data(), count), vexoStatusBadSize);
            if (form.best != nullptr) {
                EXPECT_EQ(form.best(src.data(), src.step(), ref.data(), ref.step(), sads.data(), count, &best),
                          vexoStatusBadSize);
            }
            EXPECT_EQ(sads, std::vector<Vexo16u>(8, 0xBEEF));
            EXPECT_EQ(best, -77);
        }
    }
}

TEST_P(Sad, BestCandidateIsTheLowestIndexAmongEquals) {
    // A reference of period 4 along the row, and a source equal to candidate
    // 2: candidates 2, 6, 10 and 14 all give 0, and 2 must win.
    Plane<Vexo8u> src, ref;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 41; ++x) ref.at(x, y) = Vexo8u(x % 4 == 0 ? 200 : 3 * y);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) src.at(x, y) = ref.at(x + 2, y);
    for (CandidatesBest f : {vexoSAD4x4xNI_8u16u_C1R, vexoSAD8x8xNI_8u16u_C1R, vexoSAD16x16xNI_8u16u_C1R}) {
        Vexo16u sads[16];
        Vexo32s best = -77;
        ASSERT_EQ(f(src.data(), src.step(), ref.data(), ref.step(), sads, 16, &best), vexoStatusOk);
        EXPECT_EQ(best, 2);
        EXPECT_EQ(sads[6], 0);
    }
    // The largest sum, 255 against 0 over 16x16, fits 16 bits and still wins at 0.
    std::memset(src.data(), 255, src.v.size());
    std::memset(ref.data(), 0, ref.v.size());
    Vexo16u sads[8];
    Vexo32s best = -77;
    ASSERT_EQ(vexoSAD16x16xNI_8u16u_C1R(src.data(), src.step(), ref.data(), ref.step(), sads, 8, &best),
              vexoStatusOk);
    EXPECT_EQ(sads[7], 65280);
    EXPECT_EQ(best, 0);
    // bestIndex is tested first: nothing is written.
    std::fill(std::begin(sads), std::end(sads), Vexo16u(1));
    EXPECT_EQ(vexoSAD8x8xNI_8u16u_C1R(src.data(), src.step(), ref.data(), ref.step(), sads, 8, nullptr),
              vexoStatusNullPointer);
    EXPECT_EQ(sads[0], 1);
}

TEST_P(Sad, SubtractAndSum) {
    Plane<Vexo8u> src, ref;
    src.fill(gen, 0, 255);
    ref.fill(gen, 0, 255);
    Plane<Vexo16s> dst;
    for (Vexo16s& d : dst.v) d = 0x5A5A;
    Vexo32s sad = -1;
    ASSERT_EQ(vexoSubSAD8x8_8u16s_C1R(src.data(), src.step(), ref.data(), ref.step(), dst.data(), dst.step(), &sad),
              vexoStatusOk);
    long want = 0;
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 41; ++x) {
            const bool in = x < 8 && y < 8;
            EXPECT_EQ(dst(x, y), in ? src(x, y) - ref(x, y) : 0x5A5A) << x << "," << y;
            if (in) want += std::labs(src(x, y) - ref(x, y));
        }
    }
    EXPECT_EQ(sad, want);
    EXPECT_EQ(vexoSubSAD8x8_8u16s_C1R(src.data(), src.step(), ref.data(), ref.step(), nullptr, 16, &sad),
              vexoStatusNullPointer);
}

TEST_P(Sad, FrameAndFieldActivity) {
    // Rows 0-7 at 0 and rows 8-15 at 255: the pair 7/8 is left out of the
    // frame sum; the field sum sees it twice, in rows 6/8 and 7/9.
    Plane<Vexo8u> halves;
    for (int y = 8; y < 20; ++y)
        for (int x = 0; x < 41; ++x) halves.at(x, y) = 255;
    Vexo32s frame = -1, field = -1;
    ASSERT_EQ(vexoFrameFieldSAD16x16_8u32s_C1R(halves.data(), halves.step(), &frame, &field), vexoStatusOk);
    EXPECT_EQ(frame, 0);
    EXPECT_EQ(field, 2 * 16 * 255);
    // Alternate rows at the signed extremes: 65535 per sample, not cut to 16 bits.
    Plane<Vexo16s> stripes;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 41; ++x) stripes.at(x, y) = Vexo16s(y % 2 ? 32767 : -32768);
    ASSERT_EQ(vexoFrameFieldSAD16x16_16s32s_C1R(stripes.data(), stripes.step(), &frame, &field), vexoStatusOk);
    EXPECT_EQ(frame, 14 * 16 * 65535);
    EXPECT_EQ(field, 0);
    // Random samples against the two sums written out.
    Plane<Vexo8u> src;
    Plane<Vexo16s> src16;
    src.fill(gen, 0, 255);
    src16.fill(gen, -32768, 32767);
    long wantFrame = 0, wantField = 0, wantFrame16 = 0, wantField16 = 0;
    for (int x = 0; x < 16; ++x) {
        for (int r = 0; r < 15; ++r) {
            if (r == 7) continue;
            wantFrame += std::labs(src(x, r) - src(x, r + 1));
            wantFrame16 += std::labs(src16(x, r) - src16(x, r + 1));
        }
        for (int r = 0; r < 14; ++r) {
            wantField += std::labs(src(x, r) - src(x, r + 2));
            wantField16 += std::labs(src16(x, r) - src16(x, r + 2));
        }
    }
    ASSERT_EQ(vexoFrameFieldSAD16x16_8u32s_C1R(src.data(), src.step(), &frame, &field), vexoStatusOk);
    EXPECT_EQ(frame, wantFrame);
    EXPECT_EQ(field, wantField);
    ASSERT_EQ(vexoFrameFieldSAD16x16_16s32s_C1R(src16.data(), src16.step(), &frame, &field), vexoStatusOk);
    EXPECT_EQ(frame, wantFrame16);
    EXPECT_EQ(field, wantField16);
}

TEST_P(Sad, NullPointersWriteNothing) {
    Plane<Vexo8u> p;
    Plane<Vexo16u> w;
    Plane<Vexo16s> s;
    Vexo32s a = -1, b = -1;
    Vexo16u sads[16] = {};
    Vexo32u sads32[16] = {};
    const Vexo8u* b8 = p.data();
    const Vexo16u* b16 = w.data();
    const Vexo32s st = 41;
    EXPECT_EQ(vexoSAD16x16_8u32s(nullptr, st, b8, st, &a, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD8x8_8u32s_C1R(b8, st, nullptr, st, &a, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD16x8_8u32s_C1R(b8, st, b8, st, nullptr, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD4x4_8u32s(b8, st, nullptr, st, &a, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD4x8_8u32s_C1R(nullptr, st, b8, st, &a, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD8x4_8u32s_C1R(b8, st, b8, st, nullptr, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD8x16_8u32s_C1R(b8, st, nullptr, st, &a, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD16x16_16u32s_C1R(nullptr, 82, b16, 82, &a, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD8x8_16u32s_C1R(b16, 82, nullptr, 82, &a, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD4x4_16u32s_C1R(b16, 82, b16, 82, nullptr, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD8x8_8u32s_C2R(b8, st, b8, st, nullptr, &b, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD2x2xN_8u16u_C1R(nullptr, st, b8, st, sads, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD16x16xN_8u16u_C1R(b8, st, b8, st, nullptr, 8), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD4x4xNI_8u16u_C1R(b8, st, nullptr, st, sads, 8, &a), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD16x16Blocks8x8_8u16u(b8, st, nullptr, st, sads, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD16x16Blocks4x4_8u16u(b8, st, b8, st, nullptr, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD16x16Blocks8x8_16u32u_C1R(nullptr, 82, b16, 82, sads32, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSAD16x16Blocks4x4_16u32u_C1R(b16, 82, nullptr, 82, sads32, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoSubSAD8x8_8u16s_C1R(nullptr, st, b8, st, s.data(), 82, &a), vexoStatusNullPointer);
    EXPECT_EQ(vexoFrameFieldSAD16x16_8u32s_C1R(b8, st, &a, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoFrameFieldSAD16x16_16s32s_C1R(s.data(), 82, nullptr, &b), vexoStatusNullPointer);
    EXPECT_EQ(a, -1);
    EXPECT_EQ(b, -1);
    for (Vexo16u v : sads) EXPECT_EQ(v, 0);
    for (Vexo32u v : sads32) EXPECT_EQ(v, 0u);
    for (Vexo16s v : s.v) EXPECT_EQ(v, 0);
}

VEXO_ON_EVERY_PATH(Sad);

}  // namespace
}  // namespace vexo
