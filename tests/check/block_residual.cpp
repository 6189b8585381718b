// Check cases of residual extraction and coefficient scans.
#include <climits>

#include "tools/vexovc/check.h"

namespace {

using vexo::check::Env;

// mcType over more than its masked range: only bits 2 and 3 may count.
Vexo32s anyMcType(Env& env) {
    if (env.rng().chance(15)) return Vexo32s(Vexo32u(env.rng().next()));
    return Vexo32s(env.rng().range(-3, 18));
}
// Rounding is not masked: besides 0 and 1, values whose higher bits change
// the result, up to the ends of the 32-bit range where the sum wraps.
Vexo32s anyRounding(Env& env) {
    static const Vexo32s kOdd[] = {-1, 2, 3, 4, 5, -2, -3, 0x7FFF, 0x10000, 0x20001, INT_MAX, INT_MIN, INT_MIN + 1};
    if (env.rng().chance(60)) return Vexo32s(env.rng().range(0, 1));
    if (env.rng().chance(70)) return kOdd[env.rng().range(0, sizeof kOdd / sizeof kOdd[0] - 1)];
    return Vexo32s(Vexo32u(env.rng().next()));
}
int extraRows(Vexo32s mcType) { return (mcType & 4) ? 1 : 0; }
int extraColumns(Vexo32s mcType) { return (mcType & 8) ? 1 : 0; }

using OneRef = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16s*, Vexo32s, Vexo16s*, Vexo32s,
                              Vexo32s, Vexo32s);
using TwoRef = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s, const Vexo8u*, Vexo32s,
                              Vexo32s, Vexo16s*, Vexo32s, Vexo32s);
using OneRefInterleaved = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16s*, Vexo32s,
                                         Vexo16s*, Vexo32s, Vexo32s, Vexo32s);
using TwoRefInterleaved = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s, const Vexo8u*,
                                         Vexo32s, Vexo32s, Vexo16s*, Vexo32s, Vexo16s*, Vexo32s, Vexo32s);

// The reference's footprint grows by a row and a column only where mcType
// asks for them, so a kernel that reads more faults against the page end.
template <int W, int H>
void oneRefCase(Env& env, OneRef f) {
    const Vexo32s mcType = anyMcType(env), rounding = anyRounding(env);
    auto src = env.input8u(H, W);
    auto ref = env.input8u(H + extraRows(mcType), W + extraColumns(mcType));
    auto dst = env.output16s(H, W);
    auto pred = env.output16s(H, W);
    Vexo16s* predOrNull = env.rng().chance(30) ? nullptr : pred.data;
    env.run([&] {
        return f(src.data, src.step, ref.data, ref.step, dst.data, dst.step, predOrNull, pred.step, mcType, rounding);
    });
}

template <int W, int H>
void twoRefCase(Env& env, TwoRef f) {
    const Vexo32s mcType1 = anyMcType(env), mcType2 = anyMcType(env), rounding = anyRounding(env);
    auto src = env.input8u(H, W);
    auto ref1 = env.input8u(H + extraRows(mcType1), W + extraColumns(mcType1));
    auto ref2 = env.input8u(H + extraRows(mcType2), W + extraColumns(mcType2));
    auto dst = env.output16s(H, W);
    env.run([&] {
        return f(src.data, src.step, ref1.data, ref1.step, mcType1, ref2.data, ref2.step, mcType2, dst.data, dst.step,
                 rounding);
    });
}

// Interleaved: two bytes per position, the right neighbour two bytes on.
template <int H>
void oneRefInterleavedCase(Env& env, OneRefInterleaved f) {
    const Vexo32s mcType = anyMcType(env), rounding = anyRounding(env);
    auto src = env.input8u(H, 16);
    auto ref = env.input8u(H + extraRows(mcType), 16 + 2 * extraColumns(mcType));
    auto dst0 = env.output16s(H, 8);
    auto dst1 = env.output16s(H, 8);
    env.run([&] {
        return f(src.data, src.step, ref.data, ref.step, dst0.data, dst0.step, dst1.data, dst1.step, mcType, rounding);
    });
}

template <int H>
void twoRefInterleavedCase(Env& env, TwoRefInterleaved f) {
    const Vexo32s mcType1 = anyMcType(env), mcType2 = anyMcType(env), rounding = anyRounding(env);
    auto src = env.input8u(H, 16);
    auto ref1 = env.input8u(H + extraRows(mcType1), 16 + 2 * extraColumns(mcType1));
    auto ref2 = env.input8u(H + extraRows(mcType2), 16 + 2 * extraColumns(mcType2));
    auto dst0 = env.output16s(H, 8);
    auto dst1 = env.output16s(H, 8);
    env.run([&] {
        return f(src.data, src.step, ref1.data, ref1.step, mcType1, ref2.data, ref2.step, mcType2, dst0.data,
                 dst0.step, dst1.data, dst1.step, rounding);
    });
}

template <int W, int H>
void sub8uCase(Env& env, VexoStatus (*f)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Vexo16s*, Vexo32s)) {
    auto a = env.input8u(H, W);
    auto b = env.input8u(H, W);
    auto dst = env.output16s(H, W);
    env.run([&] { return f(a.data, a.step, b.data, b.step, dst.data, dst.step); });
}

template <int W, int H>
void sub16uCase(Env& env, VexoStatus (*f)(const Vexo16u*, Vexo32s, const Vexo16u*, Vexo32s, Vexo16s*, Vexo32s)) {
    auto a = env.input16u(H, W);
    auto b = env.input16u(H, W);
    auto dst = env.output16s(H, W);
    env.run([&] { return f(a.data, a.step, b.data, b.step, dst.data, dst.step); });
}

// diff is optional: sometimes null, so that the sums alone are compared.
template <int W, class Sum>
void sumsDiff8uCase(Env& env, VexoStatus (*f)(const Vexo8u*, Vexo32s, const Vexo8u*, Vexo32s, Sum*, Vexo16s*)) {
    auto src = env.input8u(W, W);
    auto ref = env.input8u(W, W);
    auto sums = env.output16s(1, (W / 4) * (W / 4));
    auto diff = env.output16s(1, W * W);
    Vexo16s* diffOrNull = env.rng().chance(25) ? nullptr : diff.data;
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sums.data, diffOrNull); });
}

template <int W>
void sumsDiff16uCase(Env& env,
                     VexoStatus (*f)(const Vexo16u*, Vexo32s, const Vexo16u*, Vexo32s, Vexo32s*, Vexo16s*)) {
    auto src = env.input16u(W, W);
    auto ref = env.input16u(W, W);
    auto sums = env.output32s(1, (W / 4) * (W / 4));
    auto diff = env.output16s(1, W * W);
    Vexo16s* diffOrNull = env.rng().chance(25) ? nullptr : diff.data;
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sums.data, diffOrNull); });
}

// Coefficients as a quantiser leaves them: mostly zeros, so that the count
// of non-zero values decides what the sparse forward scan keeps.
void sparsen(Env& env, Vexo16s* coeffs) {
    const int keepPercent = int(env.rng().range(0, 100));
    for (int i = 0; i < 64; ++i)
        if (!env.rng().chance(keepPercent)) coeffs[i] = 0;
    env.commit();
}

Vexo32s anyScanType(Env& env) {
    if (env.rng().chance(10)) return Vexo32s(Vexo32u(env.rng().next()));
    return Vexo32s(env.rng().range(-1, 4));
}

}  // namespace

VEXO_CHECK_CASE(vexoGetDiff16x16_8u16s_C1) { oneRefCase<16, 16>(env, vexoGetDiff16x16_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff16x8_8u16s_C1) { oneRefCase<16, 8>(env, vexoGetDiff16x8_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff8x16_8u16s_C1) { oneRefCase<8, 16>(env, vexoGetDiff8x16_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff8x8_8u16s_C1) { oneRefCase<8, 8>(env, vexoGetDiff8x8_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff8x4_8u16s_C1) { oneRefCase<8, 4>(env, vexoGetDiff8x4_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff4x4_8u16s_C1) {
    // Full sample always: the reference is exactly 4x4 whatever mcType says,
    // and pred, though given, stays untouched.
    const Vexo32s mcType = anyMcType(env), rounding = anyRounding(env);
    auto src = env.input8u(4, 4);
    auto ref = env.input8u(4, 4);
    auto dst = env.output16s(4, 4);
    auto pred = env.output16s(4, 4);
    env.run([&] {
        return vexoGetDiff4x4_8u16s_C1(src.data, src.step, ref.data, ref.step, dst.data, dst.step, pred.data,
                                       pred.step, mcType, rounding);
    });
}

VEXO_CHECK_CASE(vexoGetDiff16x16B_8u16s_C1) { twoRefCase<16, 16>(env, vexoGetDiff16x16B_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff16x8B_8u16s_C1) { twoRefCase<16, 8>(env, vexoGetDiff16x8B_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff8x16B_8u16s_C1) { twoRefCase<8, 16>(env, vexoGetDiff8x16B_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff8x8B_8u16s_C1) { twoRefCase<8, 8>(env, vexoGetDiff8x8B_8u16s_C1); }
VEXO_CHECK_CASE(vexoGetDiff8x4B_8u16s_C1) { twoRefCase<8, 4>(env, vexoGetDiff8x4B_8u16s_C1); }

VEXO_CHECK_CASE(vexoGetDiff8x8_8u16s_C2P2) { oneRefInterleavedCase<8>(env, vexoGetDiff8x8_8u16s_C2P2); }
VEXO_CHECK_CASE(vexoGetDiff8x4_8u16s_C2P2) { oneRefInterleavedCase<4>(env, vexoGetDiff8x4_8u16s_C2P2); }
VEXO_CHECK_CASE(vexoGetDiff8x8B_8u16s_C2P2) { twoRefInterleavedCase<8>(env, vexoGetDiff8x8B_8u16s_C2P2); }
VEXO_CHECK_CASE(vexoGetDiff8x4B_8u16s_C2P2) { twoRefInterleavedCase<4>(env, vexoGetDiff8x4B_8u16s_C2P2); }

VEXO_CHECK_CASE(vexoSub16x16_8u16s_C1R) { sub8uCase<16, 16>(env, vexoSub16x16_8u16s_C1R); }
VEXO_CHECK_CASE(vexoSub8x8_8u16s_C1R) { sub8uCase<8, 8>(env, vexoSub8x8_8u16s_C1R); }
VEXO_CHECK_CASE(vexoSub4x4_8u16s_C1R) { sub8uCase<4, 4>(env, vexoSub4x4_8u16s_C1R); }
VEXO_CHECK_CASE(vexoSub8x8_16u16s_C1R) { sub16uCase<8, 8>(env, vexoSub8x8_16u16s_C1R); }
VEXO_CHECK_CASE(vexoSub4x4_16u16s_C1R) { sub16uCase<4, 4>(env, vexoSub4x4_16u16s_C1R); }

VEXO_CHECK_CASE(vexoSumsDiff16x16Blocks4x4_8u16s_C1) { sumsDiff8uCase<16>(env, vexoSumsDiff16x16Blocks4x4_8u16s_C1); }
VEXO_CHECK_CASE(vexoSumsDiff8x8Blocks4x4_8u16s_C1) { sumsDiff8uCase<8>(env, vexoSumsDiff8x8Blocks4x4_8u16s_C1); }
VEXO_CHECK_CASE(vexoSumsDiff16x16Blocks4x4_16u32s_C1R) {
    sumsDiff16uCase<16>(env, vexoSumsDiff16x16Blocks4x4_16u32s_C1R);
}
VEXO_CHECK_CASE(vexoSumsDiff8x8Blocks4x4_16u32s_C1R) { sumsDiff16uCase<8>(env, vexoSumsDiff8x8Blocks4x4_16u32s_C1R); }
VEXO_CHECK_CASE(vexoSumsDiff8x8Blocks4x4_8u16s_C2P2) {
    auto src = env.input8u(8, 16);
    auto ref0 = env.input8u(8, 8);
    auto ref1 = env.input8u(8, 8);
    auto sums0 = env.output16s(1, 4);
    auto sums1 = env.output16s(1, 4);
    auto diff0 = env.output16s(1, 64);
    auto diff1 = env.output16s(1, 64);
    // Now and then only one of the two difference planes: then neither is written.
    Vexo16s* d0 = env.rng().chance(20) ? nullptr : diff0.data;
    Vexo16s* d1 = env.rng().chance(20) ? nullptr : diff1.data;
    env.run([&] {
        return vexoSumsDiff8x8Blocks4x4_8u16s_C2P2(src.data, src.step, ref0.data, ref0.step, ref1.data, ref1.step,
                                                   sums0.data, d0, sums1.data, d1);
    });
}

VEXO_CHECK_CASE(vexoScanFwd_16s_C1) {
    auto src = env.input16s(1, 64);
    auto dst = env.output16s(1, 64);
    sparsen(env, src.data);
    // Counts around the threshold of 20 and outside 1..64 (a status, nothing written).
    const Vexo32s count = env.rng().chance(10) ? Vexo32s(env.rng().range(-2, 70)) : Vexo32s(env.rng().range(1, 30));
    const Vexo32s scanType = anyScanType(env);
    env.run([&] { return vexoScanFwd_16s_C1(src.data, dst.data, count, scanType); });
}
VEXO_CHECK_CASE(vexoScanInv_16s_C1) {
    auto src = env.input16s(1, 64);
    auto dst = env.output16s(1, 64);
    const Vexo32s last = env.rng().chance(10) ? Vexo32s(env.rng().range(-2, 66)) : Vexo32s(env.rng().range(0, 63));
    const Vexo32s scanType = anyScanType(env);
    env.run([&] { return vexoScanInv_16s_C1(src.data, dst.data, last, scanType); });
}
