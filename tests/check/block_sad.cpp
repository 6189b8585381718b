// Check cases of the sums of absolute differences.
#include "tools/vexovc/check.h"

namespace {

using vexo::check::Env;

// mcType over 0..15, low bits included: they must be ignored alike on every
// path. Above 15 is the caller's fault and not tried.
Vexo32s anyMcType(Env& env) { return Vexo32s(env.rng().range(0, 15)); }
// The footprint grows by a row or a column only where the position asks for
// it, so that a kernel that reads more faults against the page boundary.
int extraRows(Vexo32s mcType) { return (mcType & 4) ? 1 : 0; }
int extraCols(Vexo32s mcType) { return (mcType & 8) ? 1 : 0; }

// Now and then a null pointer: every path must refuse it alike.
template <class T>
T* sometimesNull(Env& env, T* p) {
    return env.rng().chance(3) ? nullptr : p;
}

template <int W, int H, class F>
void sad8uCase(Env& env, F f, bool usesMcType) {
    const Vexo32s mcType = anyMcType(env);
    const Vexo32s position = usesMcType ? mcType : 0;
    auto src = env.input8u(H, W);
    auto ref = env.input8u(H + extraRows(position), W + extraCols(position));
    Vexo32s* sad = sometimesNull(env, env.value<Vexo32s>(-1));
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sad, mcType); });
}

template <int W, int H, class F>
void sad16uCase(Env& env, F f) {
    const Vexo32s mcType = anyMcType(env);
    auto src = env.input16u(H, W);
    auto ref = env.input16u(H + extraRows(mcType), W + extraCols(mcType));
    Vexo32s* sad = sometimesNull(env, env.value<Vexo32s>(-1));
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sad, mcType); });
}

template <int W, int H, class F>
void candidatesCase(Env& env, F f) {
    // Mostly a usable count, sometimes one that cuts to nothing; often not a
    // multiple of 8, so that the untouched tail is compared too.
    const Vexo32s count = Vexo32s(env.rng().chance(85) ? env.rng().range(8, 44) : env.rng().range(-9, 7));
    const int n = count & ~7;
    auto src = env.input8u(H, W);
    auto ref = env.input8u(H, W + (n > 0 ? n - 1 : 0));
    auto sads = env.output16u(1, count > 0 ? count : 1);
    Vexo16u* sadsArg = sometimesNull(env, sads.data);
    Vexo32s* bestIndex = sometimesNull(env, env.value<Vexo32s>(-77));
    // The I forms take bestIndex last.
    env.run([&] {
        if constexpr (requires { f(src.data, src.step, ref.data, ref.step, sadsArg, count, bestIndex); })
            return f(src.data, src.step, ref.data, ref.step, sadsArg, count, bestIndex);
        else
            return f(src.data, src.step, ref.data, ref.step, sadsArg, count);
    });
}

template <class F>
void blocks8uCase(Env& env, F f, int values) {
    auto src = env.input8u(16, 16);
    auto ref = env.input8u(16, 16);
    auto sads = env.output16u(1, values);
    Vexo16u* sadsArg = sometimesNull(env, sads.data);
    const Vexo32s ignored = Vexo32s(env.rng().range(-100, 100));
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sadsArg, ignored); });
}

template <class F>
void blocks16uCase(Env& env, F f, int values) {
    auto src = env.input16u(16, 16);
    auto ref = env.input16u(16, 16);
    auto sads = env.output32u(1, values);
    Vexo32u* sadsArg = sometimesNull(env, sads.data);
    const Vexo32s ignored = Vexo32s(env.rng().range(-100, 100));
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sadsArg, ignored); });
}

}  // namespace

VEXO_CHECK_CASE(vexoSAD16x16_8u32s) { sad8uCase<16, 16>(env, vexoSAD16x16_8u32s, true); }
VEXO_CHECK_CASE(vexoSAD16x8_8u32s_C1R) { sad8uCase<16, 8>(env, vexoSAD16x8_8u32s_C1R, true); }
VEXO_CHECK_CASE(vexoSAD8x8_8u32s_C1R) { sad8uCase<8, 8>(env, vexoSAD8x8_8u32s_C1R, true); }
VEXO_CHECK_CASE(vexoSAD4x4_8u32s) { sad8uCase<4, 4>(env, vexoSAD4x4_8u32s, false); }
VEXO_CHECK_CASE(vexoSAD4x8_8u32s_C1R) { sad8uCase<4, 8>(env, vexoSAD4x8_8u32s_C1R, false); }
VEXO_CHECK_CASE(vexoSAD8x4_8u32s_C1R) { sad8uCase<8, 4>(env, vexoSAD8x4_8u32s_C1R, false); }
VEXO_CHECK_CASE(vexoSAD8x16_8u32s_C1R) { sad8uCase<8, 16>(env, vexoSAD8x16_8u32s_C1R, false); }
VEXO_CHECK_CASE(vexoSAD16x16_16u32s_C1R) { sad16uCase<16, 16>(env, vexoSAD16x16_16u32s_C1R); }
VEXO_CHECK_CASE(vexoSAD8x8_16u32s_C1R) { sad16uCase<8, 8>(env, vexoSAD8x8_16u32s_C1R); }
VEXO_CHECK_CASE(vexoSAD4x4_16u32s_C1R) { sad16uCase<4, 4>(env, vexoSAD4x4_16u32s_C1R); }

VEXO_CHECK_CASE(vexoSAD8x8_8u32s_C2R) {
    // Mostly a position, sometimes a value with extra bits or out of range,
    // which reads nothing and writes two zeros.
    static const Vexo32s kPositions[4] = {0, 4, 8, 12};
    const Vexo32s mcType = env.rng().chance(75) ? kPositions[env.rng().range(0, 3)] : Vexo32s(env.rng().range(-20, 40));
    const bool position = mcType == 0 || mcType == 4 || mcType == 8 || mcType == 12;
    auto src = env.input8u(8, 16);
    auto ref = env.input8u(8 + (position ? extraRows(mcType) : 0), 16 + (position ? 2 * extraCols(mcType) : 0));
    Vexo32s* sad0 = sometimesNull(env, env.value<Vexo32s>(-1));
    Vexo32s* sad1 = sometimesNull(env, env.value<Vexo32s>(-2));
    // Steps below 1 are refused before anything is read.
    const Vexo32s srcStep = env.rng().chance(5) ? Vexo32s(env.rng().range(-3, 0)) : src.step;
    const Vexo32s refStep = env.rng().chance(5) ? Vexo32s(env.rng().range(-3, 0)) : ref.step;
    env.run([&] { return vexoSAD8x8_8u32s_C2R(src.data, srcStep, ref.data, refStep, sad0, sad1, mcType); });
}

VEXO_CHECK_CASE(vexoSAD2x2xN_8u16u_C1R) { candidatesCase<2, 2>(env, vexoSAD2x2xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD4x4xN_8u16u_C1R) { candidatesCase<4, 4>(env, vexoSAD4x4xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD8x8xN_8u16u_C1R) { candidatesCase<8, 8>(env, vexoSAD8x8xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD16x16xN_8u16u_C1R) { candidatesCase<16, 16>(env, vexoSAD16x16xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD4x4xNI_8u16u_C1R) { candidatesCase<4, 4>(env, vexoSAD4x4xNI_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD8x8xNI_8u16u_C1R) { candidatesCase<8, 8>(env, vexoSAD8x8xNI_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD16x16xNI_8u16u_C1R) { candidatesCase<16, 16>(env, vexoSAD16x16xNI_8u16u_C1R); }

VEXO_CHECK_CASE(vexoSAD16x16Blocks8x8_8u16u) { blocks8uCase(env, vexoSAD16x16Blocks8x8_8u16u, 4); }
VEXO_CHECK_CASE(vexoSAD16x16Blocks4x4_8u16u) { blocks8uCase(env, vexoSAD16x16Blocks4x4_8u16u, 16); }
VEXO_CHECK_CASE(vexoSAD16x16Blocks8x8_16u32u_C1R) { blocks16uCase(env, vexoSAD16x16Blocks8x8_16u32u_C1R, 4); }
VEXO_CHECK_CASE(vexoSAD16x16Blocks4x4_16u32u_C1R) { blocks16uCase(env, vexoSAD16x16Blocks4x4_16u32u_C1R, 16); }

VEXO_CHECK_CASE(vexoSubSAD8x8_8u16s_C1R) {
    auto src = env.input8u(8, 8);
    auto ref = env.input8u(8, 8);
    auto dst = env.output16s(8, 8);
    Vexo16s* dstArg = sometimesNull(env, dst.data);
    Vexo32s* sad = env.value<Vexo32s>(-1);  // not tested by the call: never null
    env.run([&] { return vexoSubSAD8x8_8u16s_C1R(src.data, src.step, ref.data, ref.step, dstArg, dst.step, sad); });
}

VEXO_CHECK_CASE(vexoFrameFieldSAD16x16_8u32s_C1R) {
    auto src = env.input8u(16, 16);
    Vexo32s* frame = sometimesNull(env, env.value<Vexo32s>(-1));
    Vexo32s* field = sometimesNull(env, env.value<Vexo32s>(-2));
    env.run([&] { return vexoFrameFieldSAD16x16_8u32s_C1R(src.data, src.step, frame, field); });
}
VEXO_CHECK_CASE(vexoFrameFieldSAD16x16_16s32s_C1R) {
    auto src = env.input16s(16, 16);
    Vexo32s* frame = sometimesNull(env, env.value<Vexo32s>(-1));
    Vexo32s* field = sometimesNull(env, env.value<Vexo32s>(-2));
    env.run([&] { return vexoFrameFieldSAD16x16_16s32s_C1R(src.data, src.step, frame, field); });
}
