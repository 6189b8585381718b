// Check cases of the motion compensation blocks.
#include "tools/vexovc/check.h"

namespace {

using vexo::check::Block;
using vexo::check::Env;

// The largest |rounding| for which the 32-bit sums of the two-reference
// formula cannot overflow: h reaches about (1022 + |r|) / 2, and h1 + h2 +
// 2 * residual + 1 must stay inside 32 bits.
constexpr Vexo32s kRoundingLimit = 2147352576;  // 2^31 - 2^17

// Any position, with bits outside 12 set and negative values: only
// mcType & 12 may count.
Vexo32s anyType(Env& env) { return Vexo32s(env.rng().range(-20, 40)); }

// Mostly 0 and 1, then the small odd values a careless mask would change
// (2 acts as 0 in the table but subtracts 2), then offsets that move h by
// about one residual range, then anything px can compute without overflow.
Vexo32s anyRounding(Env& env) {
    const int pick = int(env.rng().range(0, 99));
    if (pick < 40) return Vexo32s(env.rng().range(0, 1));
    if (pick < 65) return Vexo32s(env.rng().range(-3, 3));
    if (pick < 85) return Vexo32s(env.rng().range(-140000, 140000));
    return Vexo32s(env.rng().range(-kRoundingLimit, kRoundingLimit));
}

// Roughly -h for that rounding, so that h + residual lands in 0..255 often
// instead of clipping everywhere.
int cancellingCentre(Vexo32s mcType, Vexo32s rounding) {
    const int divisor = (mcType & 12) == 12 ? 4 : (mcType & 12) != 0 ? 2 : 0;
    if (divisor == 0) return -128;
    const long long c = (long long)rounding / divisor - 128;
    return int(c < -32768 ? -32768 : c > 32767 ? 32767 : c);
}

// Often leaves the generator's fill (extremes, patterns); otherwise residuals
// near `centre`, where the clip does not hide an error.
void shapeResidual(Env& env, Block<Vexo16s> res, int rows, int elems, int centre) {
    if (env.rng().chance(40)) return;
    for (int y = 0; y < rows; ++y) {
        auto* row = reinterpret_cast<Vexo16s*>(reinterpret_cast<Vexo8u*>(res.data) + y * res.step);
        for (int x = 0; x < elems; ++x) {
            const long long v = centre + env.rng().range(-300, 300);
            row[x] = Vexo16s(v < -32768 ? -32768 : v > 32767 ? 32767 : v);
        }
    }
    env.commit();
}

// The footprint a position reads: one more row below, N more bytes right.
Block<Vexo8u> reference(Env& env, Vexo32s mcType, int w, int h, int neighbour) {
    return env.input8u(h + ((mcType & 4) ? 1 : 0), w + ((mcType & 8) ? neighbour : 0));
}

using OneRef = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo16s*, Vexo32s, Vexo8u*, Vexo32s, Vexo32s, Vexo32s);
using TwoRef = VexoStatus (*)(const Vexo8u*, Vexo32s, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s, const Vexo16s*,
                              Vexo32s, Vexo8u*, Vexo32s, Vexo32s);
using OneRefPlanes = VexoStatus (*)(const Vexo8u*, Vexo32s, const Vexo16s*, const Vexo16s*, Vexo32s, Vexo8u*,
                                    Vexo32s, Vexo32s, Vexo32s);
using TwoRefPlanes = VexoStatus (*)(const Vexo8u*, Vexo32s, Vexo32s, const Vexo8u*, Vexo32s, Vexo32s,
                                    const Vexo16s*, const Vexo16s*, Vexo32s, Vexo8u*, Vexo32s, Vexo32s);

template <int W, int H, int N>
void oneRefCase(Env& env, OneRef f) {
    const Vexo32s type = anyType(env), rnd = anyRounding(env);
    auto ref = reference(env, type, W, H, N);
    auto res = env.input16s(H, W);
    shapeResidual(env, res, H, W, cancellingCentre(type, rnd));
    auto dst = env.output8u(H, W);
    env.run([&] { return f(ref.data, ref.step, res.data, res.step, dst.data, dst.step, type, rnd); });
}

template <int W, int H, int N>
void twoRefCase(Env& env, TwoRef f) {
    const Vexo32s type1 = anyType(env), type2 = anyType(env), rnd = anyRounding(env);
    auto ref1 = reference(env, type1, W, H, N);
    auto ref2 = reference(env, type2, W, H, N);
    auto res = env.input16s(H, W);
    shapeResidual(env, res, H, W, (cancellingCentre(type1, rnd) + cancellingCentre(type2, rnd)) / 2);
    auto dst = env.output8u(H, W);
    env.run([&] {
        return f(ref1.data, ref1.step, type1, ref2.data, ref2.step, type2, res.data, res.step, dst.data, dst.step,
                 rnd);
    });
}

// The two residual planes share one step.
Vexo32s planeStep(Env& env) { return Vexo32s(16 + 2 * env.rng().range(0, 12)); }

template <int H>
void oneRefPlanesCase(Env& env, OneRefPlanes f) {
    const Vexo32s type = anyType(env), rnd = anyRounding(env);
    auto ref = reference(env, type, 16, H, 2);
    const Vexo32s step = planeStep(env);
    auto res0 = env.input16s(H, 8, step);
    auto res1 = env.input16s(H, 8, step);
    shapeResidual(env, res0, H, 8, cancellingCentre(type, rnd));
    shapeResidual(env, res1, H, 8, cancellingCentre(type, rnd));
    auto dst = env.output8u(H, 16);
    env.run([&] { return f(ref.data, ref.step, res0.data, res1.data, step, dst.data, dst.step, type, rnd); });
}

template <int H>
void twoRefPlanesCase(Env& env, TwoRefPlanes f) {
    const Vexo32s type1 = anyType(env), type2 = anyType(env), rnd = anyRounding(env);
    auto ref1 = reference(env, type1, 16, H, 2);
    auto ref2 = reference(env, type2, 16, H, 2);
    const Vexo32s step = planeStep(env);
    auto res0 = env.input16s(H, 8, step);
    auto res1 = env.input16s(H, 8, step);
    const int centre = (cancellingCentre(type1, rnd) + cancellingCentre(type2, rnd)) / 2;
    shapeResidual(env, res0, H, 8, centre);
    shapeResidual(env, res1, H, 8, centre);
    auto dst = env.output8u(H, 16);
    env.run([&] {
        return f(ref1.data, ref1.step, type1, ref2.data, ref2.step, type2, res0.data, res1.data, step, dst.data,
                 dst.step, rnd);
    });
}

}  // namespace

VEXO_CHECK_CASE(vexoMC16x16_8u_C1) { oneRefCase<16, 16, 1>(env, vexoMC16x16_8u_C1); }
VEXO_CHECK_CASE(vexoMC16x8_8u_C1) { oneRefCase<16, 8, 1>(env, vexoMC16x8_8u_C1); }
VEXO_CHECK_CASE(vexoMC16x8UV_8u_C1) { oneRefCase<16, 8, 2>(env, vexoMC16x8UV_8u_C1); }
VEXO_CHECK_CASE(vexoMC16x4_8u_C1) { oneRefCase<16, 4, 2>(env, vexoMC16x4_8u_C1); }
VEXO_CHECK_CASE(vexoMC8x16_8u_C1) { oneRefCase<8, 16, 1>(env, vexoMC8x16_8u_C1); }
VEXO_CHECK_CASE(vexoMC8x8_8u_C1) { oneRefCase<8, 8, 1>(env, vexoMC8x8_8u_C1); }
VEXO_CHECK_CASE(vexoMC8x4_8u_C1) { oneRefCase<8, 4, 1>(env, vexoMC8x4_8u_C1); }
VEXO_CHECK_CASE(vexoMC4x8_8u_C1) { oneRefCase<4, 8, 1>(env, vexoMC4x8_8u_C1); }
VEXO_CHECK_CASE(vexoMC4x4_8u_C1) { oneRefCase<4, 4, 1>(env, vexoMC4x4_8u_C1); }
VEXO_CHECK_CASE(vexoMC4x2_8u_C1) { oneRefCase<4, 2, 1>(env, vexoMC4x2_8u_C1); }
VEXO_CHECK_CASE(vexoMC2x4_8u_C1) { oneRefCase<2, 4, 1>(env, vexoMC2x4_8u_C1); }
VEXO_CHECK_CASE(vexoMC2x2_8u_C1) { oneRefCase<2, 2, 1>(env, vexoMC2x2_8u_C1); }

VEXO_CHECK_CASE(vexoMC16x16B_8u_C1) { twoRefCase<16, 16, 1>(env, vexoMC16x16B_8u_C1); }
VEXO_CHECK_CASE(vexoMC16x8B_8u_C1) { twoRefCase<16, 8, 1>(env, vexoMC16x8B_8u_C1); }
VEXO_CHECK_CASE(vexoMC16x8BUV_8u_C1) { twoRefCase<16, 8, 2>(env, vexoMC16x8BUV_8u_C1); }
VEXO_CHECK_CASE(vexoMC16x4B_8u_C1) { twoRefCase<16, 4, 2>(env, vexoMC16x4B_8u_C1); }
VEXO_CHECK_CASE(vexoMC8x16B_8u_C1) { twoRefCase<8, 16, 1>(env, vexoMC8x16B_8u_C1); }
VEXO_CHECK_CASE(vexoMC8x8B_8u_C1) { twoRefCase<8, 8, 1>(env, vexoMC8x8B_8u_C1); }
VEXO_CHECK_CASE(vexoMC8x4B_8u_C1) { twoRefCase<8, 4, 1>(env, vexoMC8x4B_8u_C1); }
VEXO_CHECK_CASE(vexoMC4x8B_8u_C1) { twoRefCase<4, 8, 1>(env, vexoMC4x8B_8u_C1); }
VEXO_CHECK_CASE(vexoMC4x4B_8u_C1) { twoRefCase<4, 4, 1>(env, vexoMC4x4B_8u_C1); }
VEXO_CHECK_CASE(vexoMC4x2B_8u_C1) { twoRefCase<4, 2, 1>(env, vexoMC4x2B_8u_C1); }
VEXO_CHECK_CASE(vexoMC2x4B_8u_C1) { twoRefCase<2, 4, 1>(env, vexoMC2x4B_8u_C1); }
VEXO_CHECK_CASE(vexoMC2x2B_8u_C1) { twoRefCase<2, 2, 1>(env, vexoMC2x2B_8u_C1); }

VEXO_CHECK_CASE(vexoMC8x8_16s8u_P2C2R) { oneRefPlanesCase<8>(env, vexoMC8x8_16s8u_P2C2R); }
VEXO_CHECK_CASE(vexoMC8x4_16s8u_P2C2R) { oneRefPlanesCase<4>(env, vexoMC8x4_16s8u_P2C2R); }
VEXO_CHECK_CASE(vexoMC8x8B_16s8u_P2C2R) { twoRefPlanesCase<8>(env, vexoMC8x8B_16s8u_P2C2R); }
VEXO_CHECK_CASE(vexoMC8x4B_16s8u_P2C2R) { twoRefPlanesCase<4>(env, vexoMC8x4B_16s8u_P2C2R); }
