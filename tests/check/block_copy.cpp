// Check cases of block copy, averaging and add.
#include "tools/vexovc/check.h"

namespace {

using vexo::check::Env;

// acc and rounding over more than their masked range: extra bits must act
// as the masked value on every path.
Vexo32s anyAcc(Env& env) { return Vexo32s(env.rng().range(-2, 9)); }
Vexo32s anyRounding(Env& env) { return Vexo32s(env.rng().range(-1, 3)); }

template <int W, int H, class F>
void copyHalfSampleCase(Env& env, F f) {
    const Vexo32s acc = anyAcc(env), rnd = anyRounding(env);
    // The footprint grows by a row and a column only where acc asks for it,
    // so a kernel that reads more faults against the page boundary.
    const int extraX = (acc & 1) ? 1 : 0, extraY = (acc & 2) ? 1 : 0;
    auto src = env.input8u(H + extraY, W + extraX);
    auto dst = env.output8u(H, W);
    env.run([&] { return f(src.data, src.step, dst.data, dst.step, acc, rnd); });
}

}  // namespace

VEXO_CHECK_CASE(vexoCopy8x8_8u_C1R) {
    auto src = env.input8u(8, 8);
    auto dst = env.output8u(8, 8);
    env.run([&] { return vexoCopy8x8_8u_C1R(src.data, src.step, dst.data, dst.step); });
}
VEXO_CHECK_CASE(vexoCopy16x16_8u_C1R) {
    auto src = env.input8u(16, 16);
    auto dst = env.output8u(16, 16);
    env.run([&] { return vexoCopy16x16_8u_C1R(src.data, src.step, dst.data, dst.step); });
}
VEXO_CHECK_CASE(vexoCopy8x4HP_8u_C1R) { copyHalfSampleCase<8, 4>(env, vexoCopy8x4HP_8u_C1R); }
VEXO_CHECK_CASE(vexoCopy8x8HP_8u_C1R) { copyHalfSampleCase<8, 8>(env, vexoCopy8x8HP_8u_C1R); }
VEXO_CHECK_CASE(vexoCopy16x8HP_8u_C1R) { copyHalfSampleCase<16, 8>(env, vexoCopy16x8HP_8u_C1R); }
VEXO_CHECK_CASE(vexoCopy16x16HP_8u_C1R) { copyHalfSampleCase<16, 16>(env, vexoCopy16x16HP_8u_C1R); }
VEXO_CHECK_CASE(vexoInterpolateAverage8x4_8u_C1IR) { copyHalfSampleCase<8, 4>(env, vexoInterpolateAverage8x4_8u_C1IR); }
VEXO_CHECK_CASE(vexoInterpolateAverage8x8_8u_C1IR) { copyHalfSampleCase<8, 8>(env, vexoInterpolateAverage8x8_8u_C1IR); }
VEXO_CHECK_CASE(vexoInterpolateAverage16x8_8u_C1IR) {
    copyHalfSampleCase<16, 8>(env, vexoInterpolateAverage16x8_8u_C1IR);
}
VEXO_CHECK_CASE(vexoInterpolateAverage16x16_8u_C1IR) {
    copyHalfSampleCase<16, 16>(env, vexoInterpolateAverage16x16_8u_C1IR);
}

VEXO_CHECK_CASE(vexoAverage8x8_8u_C1R) {
    auto a = env.input8u(8, 8);
    auto b = env.input8u(8, 8);
    auto dst = env.output8u(8, 8);
    env.run([&] { return vexoAverage8x8_8u_C1R(a.data, a.step, b.data, b.step, dst.data, dst.step); });
}
VEXO_CHECK_CASE(vexoAverage16x16_8u_C1R) {
    auto a = env.input8u(16, 16);
    auto b = env.input8u(16, 16);
    auto dst = env.output8u(16, 16);
    env.run([&] { return vexoAverage16x16_8u_C1R(a.data, a.step, b.data, b.step, dst.data, dst.step); });
}
VEXO_CHECK_CASE(vexoAverage8x8_8u_C1IR) {
    auto a = env.input8u(8, 8);
    auto dst = env.output8u(8, 8);
    env.run([&] { return vexoAverage8x8_8u_C1IR(a.data, a.step, dst.data, dst.step); });
}
VEXO_CHECK_CASE(vexoAverage16x16_8u_C1IR) {
    auto a = env.input8u(16, 16);
    auto dst = env.output8u(16, 16);
    env.run([&] { return vexoAverage16x16_8u_C1IR(a.data, a.step, dst.data, dst.step); });
}

VEXO_CHECK_CASE(vexoAdd8x8_16s8u_C1IRS) {
    auto res = env.input16s(8, 8);
    auto dst = env.output8u(8, 8);
    env.run([&] { return vexoAdd8x8_16s8u_C1IRS(res.data, res.step, dst.data, dst.step); });
}
VEXO_CHECK_CASE(vexoAdd8x8HP_16s8u_C1RS) {
    const Vexo32s acc = anyAcc(env), rnd = anyRounding(env);
    auto res = env.input16s(8, 8);
    auto ref = env.input8u(8 + ((acc & 2) ? 1 : 0), 8 + (acc & 1));
    auto dst = env.output8u(8, 8);
    env.run([&] {
        return vexoAdd8x8HP_16s8u_C1RS(res.data, res.step, ref.data, ref.step, dst.data, dst.step, acc, rnd);
    });
}
VEXO_CHECK_CASE(vexoAddC8x8_16s8u_C1IR) {
    const Vexo16s value = Vexo16s(env.rng().chance(30) ? env.rng().range(-32768, 32767) : env.rng().range(-300, 300));
    auto dst = env.output8u(8, 8);
    env.run([&] { return vexoAddC8x8_16s8u_C1IR(value, dst.data, dst.step); });
}

VEXO_CHECK_CASE(vexovcGetLibVersion) {
    // Each path has its own record; what must agree is everything but the
    // path's code and banner.
    auto fields = env.output32s(1, 4);
    env.run([&] {
        const VexoLibraryVersion* v = vexovcGetLibVersion();
        fields.data[0] = v->major;
        fields.data[1] = v->minor;
        fields.data[2] = v->majorBuild;
        fields.data[3] = v->build;
        return vexoStatusOk;
    });
}
