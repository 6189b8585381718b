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

// Now and then, before the call proper, the same call with an argument it
// must refuse (a null pointer, a count or step too small): every path must
// return the same status and write nothing. The call proper comes last, so
// that it is the one `vexovc bench` times.
template <class Refused>
void sometimesRefused(Env& env, Refused refused) {
    if (env.rng().chance(15)) env.run(refused);
}
// Which of a call's pointers the refused call passes as null.
int nullPointerIndex(Env& env, int pointers) { return int(env.rng().range(0, pointers - 1)); }
template <class T>
T* unlessNull(T* p, int index, int nullIndex) {
    return index == nullIndex ? nullptr : p;
}

template <class T>
vexo::check::Block<T> inputOf(Env& env, int rows, int elems) {
    if constexpr (sizeof(T) == 1) return env.input8u(rows, elems);
    else return env.input16u(rows, elems);
}

template <int W, int H, class T, class F>
void sadCase(Env& env, F f, bool usesMcType) {
    const Vexo32s mcType = anyMcType(env);
    const Vexo32s position = usesMcType ? mcType : 0;
    auto src = inputOf<T>(env, H, W);
    auto ref = inputOf<T>(env, H + extraRows(position), W + extraCols(position));
    Vexo32s* sad = env.value<Vexo32s>(-1);
    const int nullIndex = nullPointerIndex(env, 3);
    sometimesRefused(env, [&] {
        return f(unlessNull(src.data, 0, nullIndex), src.step, unlessNull(ref.data, 1, nullIndex), ref.step,
                 unlessNull(sad, 2, nullIndex), mcType);
    });
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sad, mcType); });
}

template <int W, int H, class F>
void candidatesCase(Env& env, F f) {
    // Often not a multiple of 8, so that the untouched tail is compared too.
    const Vexo32s count = Vexo32s(env.rng().range(8, 44));
    auto src = env.input8u(H, W);
    auto ref = env.input8u(H, W + (count & ~7) - 1);
    auto sads = env.output16u(1, count);
    Vexo32s* bestIndex = env.value<Vexo32s>(-77);
    // The I forms take bestIndex last, and test it first.
    const auto call = [&](const Vexo8u* s, const Vexo8u* r, Vexo16u* out, Vexo32s c, Vexo32s* best) {
        if constexpr (requires { f(s, src.step, r, ref.step, out, c, best); })
            return f(s, src.step, r, ref.step, out, c, best);
        else
            return f(s, src.step, r, ref.step, out, c);
    };
    const int nullIndex = nullPointerIndex(env, 5);
    const Vexo32s cutToNothing = Vexo32s(env.rng().range(-9, 7));
    sometimesRefused(env, [&] {
        if (nullIndex == 4) return call(src.data, ref.data, sads.data, cutToNothing, bestIndex);
        return call(unlessNull(src.data, 0, nullIndex), unlessNull(ref.data, 1, nullIndex),
                    unlessNull(sads.data, 2, nullIndex), count, unlessNull(bestIndex, 3, nullIndex));
    });
    env.run([&] { return call(src.data, ref.data, sads.data, count, bestIndex); });
}

template <class T, class F>
void blocksCase(Env& env, F f, int values) {
    auto src = inputOf<T>(env, 16, 16);
    auto ref = inputOf<T>(env, 16, 16);
    auto sads = [&env, values] {
        if constexpr (sizeof(T) == 1) return env.output16u(1, values);
        else return env.output32u(1, values);
    }();
    const Vexo32s ignored = Vexo32s(env.rng().range(-100, 100));
    const int nullIndex = nullPointerIndex(env, 3);
    sometimesRefused(env, [&] {
        return f(unlessNull(src.data, 0, nullIndex), src.step, unlessNull(ref.data, 1, nullIndex), ref.step,
                 unlessNull(sads.data, 2, nullIndex), ignored);
    });
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, sads.data, ignored); });
}

template <class Block, class F>
void frameFieldCase(Env& env, Block src, F f) {
    Vexo32s* frame = env.value<Vexo32s>(-1);
    Vexo32s* field = env.value<Vexo32s>(-2);
    const int nullIndex = nullPointerIndex(env, 3);
    sometimesRefused(env, [&] {
        return f(unlessNull(src.data, 0, nullIndex), src.step, unlessNull(frame, 1, nullIndex),
                 unlessNull(field, 2, nullIndex));
    });
    env.run([&] { return f(src.data, src.step, frame, field); });
}

}  // namespace

VEXO_CHECK_CASE(vexoSAD16x16_8u32s) { sadCase<16, 16, Vexo8u>(env, vexoSAD16x16_8u32s, true); }
VEXO_CHECK_CASE(vexoSAD16x8_8u32s_C1R) { sadCase<16, 8, Vexo8u>(env, vexoSAD16x8_8u32s_C1R, true); }
VEXO_CHECK_CASE(vexoSAD8x8_8u32s_C1R) { sadCase<8, 8, Vexo8u>(env, vexoSAD8x8_8u32s_C1R, true); }
VEXO_CHECK_CASE(vexoSAD4x4_8u32s) { sadCase<4, 4, Vexo8u>(env, vexoSAD4x4_8u32s, false); }
VEXO_CHECK_CASE(vexoSAD4x8_8u32s_C1R) { sadCase<4, 8, Vexo8u>(env, vexoSAD4x8_8u32s_C1R, false); }
VEXO_CHECK_CASE(vexoSAD8x4_8u32s_C1R) { sadCase<8, 4, Vexo8u>(env, vexoSAD8x4_8u32s_C1R, false); }
VEXO_CHECK_CASE(vexoSAD8x16_8u32s_C1R) { sadCase<8, 16, Vexo8u>(env, vexoSAD8x16_8u32s_C1R, false); }
VEXO_CHECK_CASE(vexoSAD16x16_16u32s_C1R) { sadCase<16, 16, Vexo16u>(env, vexoSAD16x16_16u32s_C1R, true); }
VEXO_CHECK_CASE(vexoSAD8x8_16u32s_C1R) { sadCase<8, 8, Vexo16u>(env, vexoSAD8x8_16u32s_C1R, true); }
VEXO_CHECK_CASE(vexoSAD4x4_16u32s_C1R) { sadCase<4, 4, Vexo16u>(env, vexoSAD4x4_16u32s_C1R, true); }

VEXO_CHECK_CASE(vexoSAD8x8_8u32s_C2R) {
    static const Vexo32s kPositions[4] = {0, 4, 8, 12};
    const Vexo32s mcType = kPositions[env.rng().range(0, 3)];
    auto src = env.input8u(8, 16);
    auto ref = env.input8u(8 + extraRows(mcType), 16 + 2 * extraCols(mcType));
    Vexo32s* sad0 = env.value<Vexo32s>(-1);
    Vexo32s* sad1 = env.value<Vexo32s>(-2);
    // Refused: a null pointer (0-3) or a step below 1 (4, 5), tested before
    // anything is read. Not refused, but no position either (6): a selector
    // with extra bits or out of range, which reads nothing and writes zeros.
    const int which = int(env.rng().range(0, 6));
    const Vexo32s badStep = Vexo32s(env.rng().range(-3, 0));
    const Vexo32s noPosition = Vexo32s(env.rng().chance(50) ? env.rng().range(1, 15) : env.rng().range(-20, 40));
    sometimesRefused(env, [&] {
        const bool positionAfterAll = noPosition == 0 || noPosition == 4 || noPosition == 8 || noPosition == 12;
        return vexoSAD8x8_8u32s_C2R(unlessNull(src.data, 0, which), which == 4 ? badStep : src.step,
                                    unlessNull(ref.data, 1, which), which == 5 ? badStep : ref.step,
                                    unlessNull(sad0, 2, which), unlessNull(sad1, 3, which),
                                    positionAfterAll ? mcType : noPosition);
    });
    env.run([&] { return vexoSAD8x8_8u32s_C2R(src.data, src.step, ref.data, ref.step, sad0, sad1, mcType); });
}

VEXO_CHECK_CASE(vexoSAD2x2xN_8u16u_C1R) { candidatesCase<2, 2>(env, vexoSAD2x2xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD4x4xN_8u16u_C1R) { candidatesCase<4, 4>(env, vexoSAD4x4xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD8x8xN_8u16u_C1R) { candidatesCase<8, 8>(env, vexoSAD8x8xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD16x16xN_8u16u_C1R) { candidatesCase<16, 16>(env, vexoSAD16x16xN_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD4x4xNI_8u16u_C1R) { candidatesCase<4, 4>(env, vexoSAD4x4xNI_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD8x8xNI_8u16u_C1R) { candidatesCase<8, 8>(env, vexoSAD8x8xNI_8u16u_C1R); }
VEXO_CHECK_CASE(vexoSAD16x16xNI_8u16u_C1R) { candidatesCase<16, 16>(env, vexoSAD16x16xNI_8u16u_C1R); }

VEXO_CHECK_CASE(vexoSAD16x16Blocks8x8_8u16u) { blocksCase<Vexo8u>(env, vexoSAD16x16Blocks8x8_8u16u, 4); }
VEXO_CHECK_CASE(vexoSAD16x16Blocks4x4_8u16u) { blocksCase<Vexo8u>(env, vexoSAD16x16Blocks4x4_8u16u, 16); }
VEXO_CHECK_CASE(vexoSAD16x16Blocks8x8_16u32u_C1R) {
    blocksCase<Vexo16u>(env, vexoSAD16x16Blocks8x8_16u32u_C1R, 4);
}
VEXO_CHECK_CASE(vexoSAD16x16Blocks4x4_16u32u_C1R) {
    blocksCase<Vexo16u>(env, vexoSAD16x16Blocks4x4_16u32u_C1R, 16);
}

VEXO_CHECK_CASE(vexoSubSAD8x8_8u16s_C1R) {
    auto src = env.input8u(8, 8);
    auto ref = env.input8u(8, 8);
    auto dst = env.output16s(8, 8);
    Vexo32s* sad = env.value<Vexo32s>(-1);  // not tested by the call: never null
    const int nullIndex = nullPointerIndex(env, 3);
    sometimesRefused(env, [&] {
        return vexoSubSAD8x8_8u16s_C1R(unlessNull(src.data, 0, nullIndex), src.step, unlessNull(ref.data, 1, nullIndex),
                                       ref.step, unlessNull(dst.data, 2, nullIndex), dst.step, sad);
    });
    env.run([&] { return vexoSubSAD8x8_8u16s_C1R(src.data, src.step, ref.data, ref.step, dst.data, dst.step, sad); });
}

VEXO_CHECK_CASE(vexoFrameFieldSAD16x16_8u32s_C1R) {
    frameFieldCase(env, env.input8u(16, 16), vexoFrameFieldSAD16x16_8u32s_C1R);
}
VEXO_CHECK_CASE(vexoFrameFieldSAD16x16_16s32s_C1R) {
    frameFieldCase(env, env.input16s(16, 16), vexoFrameFieldSAD16x16_16s32s_C1R);
}
