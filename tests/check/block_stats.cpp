// Check cases of block statistics and Hadamard costs.
#include "tools/vexovc/check.h"

namespace {

using vexo::check::Env;
using vexo::check::Fill;

// Extra column and row a half-sample position reads, by the two position
// bits (8 right, 4 down): the footprint is exactly what the call may read.
int extraColumn(Vexo32s mcType) { return (mcType & 8) ? 1 : 0; }
int extraRow(Vexo32s mcType) { return (mcType & 4) ? 1 : 0; }

// A selector for the forms that mask it: often one of the four positions,
// otherwise anything, high bits and negative values included.
Vexo32s anyMaskedMcType(Env& env) {
    if (env.rng().chance(50)) return Vexo32s(4 * env.rng().range(0, 3));
    if (env.rng().chance(50)) return Vexo32s(env.rng().range(-20, 40));
    return Vexo32s(std::uint32_t(env.rng().next()));
}

// Fills an input on top of the check environment's patterns where a case
// wants more structure: small differences against a near copy, so that
// costs of realistic residuals are compared too.
void nearCopy(Env& env, const Vexo8u* from, Vexo32s fromStep, Vexo8u* to, Vexo32s toStep, int rows, int cols) {
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            const int v = from[y * fromStep + x] + int(env.rng().range(-6, 6));
            to[y * toStep + x] = Vexo8u(v < 0 ? 0 : v > 255 ? 255 : v);
        }
}

template <int W, int H, class F>
void ssdCase(Env& env, F f) {
    const Vexo32s mcType = Vexo32s(env.rng().range(0, 15));  // the caller keeps it in range
    auto src = env.input8u(H, W);
    auto ref = env.input8u(H + extraRow(mcType), W + extraColumn(mcType));
    auto ssd = env.value<Vexo32s>(-1);
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, ssd, mcType); });
}

template <int W, int H, class F>
void satdCase(Env& env, F f) {
    auto src = env.input8u(H, W);
    auto ref = env.input8u(H, W);
    if (env.rng().chance(40)) {
        nearCopy(env, src.data, src.step, ref.data, ref.step, H, W);
        env.commit();
    }
    auto cost = env.value<Vexo32s>(-1);
    env.run([&] { return f(src.data, src.step, ref.data, ref.step, cost); });
}

template <int Rows, class F>
void residualCase(Env& env, F f) {
    constexpr int kBlocks = Rows == 16 ? 4 : 2;
    const Vexo32s mcType = anyMaskedMcType(env);
    auto src = env.input8u(Rows, 16);
    auto ref = env.input8u(Rows + extraRow(mcType), 16 + extraColumn(mcType));
    auto srcSums = env.input32s(1, kBlocks);
    if (env.rng().chance(70)) {
        // The sums a caller would pass; otherwise anything, to reach the wraps.
        for (int b = 0; b < kBlocks; ++b) {
            Vexo32s sum = 0;
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) sum += src.data[(8 * (b / 2) + y) * src.step + 8 * (b % 2) + x];
            srcSums.data[b] = sum;
        }
        env.commit();
    }
    auto variances = env.output32s(1, kBlocks);
    auto means = env.output32s(1, kBlocks);
    env.run([&] {
        return f(src.data, src.step, ref.data, ref.step, srcSums.data, variances.data, means.data, mcType);
    });
}

}  // namespace

VEXO_CHECK_CASE(vexoSSD4x4_8u32s_C1R) { ssdCase<4, 4>(env, vexoSSD4x4_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSSD8x8_8u32s_C1R) { ssdCase<8, 8>(env, vexoSSD8x8_8u32s_C1R); }

VEXO_CHECK_CASE(vexoSqrDiff16x16_8u32s) {
    // Compared exactly with 0, 8 and 4: anything else reads both ways.
    const Vexo32s mcType = anyMaskedMcType(env);
    const bool full = mcType == 0, right = mcType == 8, down = mcType == 4;
    auto src = env.input8u(16, 16);
    auto ref = env.input8u(16 + (full || right ? 0 : 1), 16 + (full || down ? 0 : 1));
    auto result = env.value<Vexo32s>(-1);
    env.run([&] { return vexoSqrDiff16x16_8u32s(src.data, src.step, ref.data, ref.step, mcType, result); });
}

VEXO_CHECK_CASE(vexoSqrDiff16x16B_8u32s) {
    const Vexo32s mc1 = anyMaskedMcType(env), mc2 = anyMaskedMcType(env);
    auto src = env.input8u(16, 16);
    auto ref1 = env.input8u(16 + extraRow(mc1), 16 + extraColumn(mc1));
    auto ref2 = env.input8u(16 + extraRow(mc2), 16 + extraColumn(mc2));
    auto result = env.value<Vexo32s>(-1);
    env.run([&] {
        return vexoSqrDiff16x16B_8u32s(src.data, src.step, ref1.data, ref1.step, mc1, ref2.data, ref2.step, mc2,
                                       result);
    });
}

VEXO_CHECK_CASE(vexoVariance16x16_8u32s) {
    auto src = env.input8u(16, 16);
    auto variance = env.value<Vexo32s>(-1);
    env.run([&] { return vexoVariance16x16_8u32s(src.data, src.step, variance); });
}

VEXO_CHECK_CASE(vexoVarMean8x8_8u32s_C1R) {
    auto src = env.input8u(8, 8);
    auto variance = env.value<Vexo32s>(-1);
    auto mean = env.value<Vexo32s>(-1);
    env.run([&] { return vexoVarMean8x8_8u32s_C1R(src.data, src.step, variance, mean); });
}
VEXO_CHECK_CASE(vexoVarMean8x8_16s32s_C1R) {
    auto src = env.input16s(8, 8);
    auto variance = env.value<Vexo32s>(-1);
    auto mean = env.value<Vexo32s>(-1);
    env.run([&] { return vexoVarMean8x8_16s32s_C1R(src.data, src.step, variance, mean); });
}
VEXO_CHECK_CASE(vexoVarSum8x8_8u32s_C1R) {
    auto src = env.input8u(8, 8);
    auto variance = env.value<Vexo32s>(-1);
    auto sum = env.value<Vexo32s>(-1);
    env.run([&] { return vexoVarSum8x8_8u32s_C1R(src.data, src.step, variance, sum); });
}
VEXO_CHECK_CASE(vexoVarSum8x8_16s32s_C1R) {
    auto src = env.input16s(8, 8);
    auto variance = env.value<Vexo32s>(-1);
    auto sum = env.value<Vexo32s>(-1);
    env.run([&] { return vexoVarSum8x8_16s32s_C1R(src.data, src.step, variance, sum); });
}

VEXO_CHECK_CASE(vexoVarMeanDiff16x16_8u32s_C1R) { residualCase<16>(env, vexoVarMeanDiff16x16_8u32s_C1R); }
VEXO_CHECK_CASE(vexoVarMeanDiff16x8_8u32s_C1R) { residualCase<8>(env, vexoVarMeanDiff16x8_8u32s_C1R); }

VEXO_CHECK_CASE(vexoMeanAbsDev8x8_8u32s_C1R) {
    auto src = env.input8u(8, 8);
    auto result = env.value<Vexo32s>(-1);
    env.run([&] { return vexoMeanAbsDev8x8_8u32s_C1R(src.data, src.step, result); });
}
VEXO_CHECK_CASE(vexoMeanAbsDev16x16_8u32s_C1R) {
    auto src = env.input8u(16, 16);
    auto result = env.value<Vexo32s>(-1);
    env.run([&] { return vexoMeanAbsDev16x16_8u32s_C1R(src.data, src.step, result); });
}

VEXO_CHECK_CASE(vexoCountZeros8x8_16s_C1) {
    // Small values hold many zeros; random ones almost none.
    auto src = env.input16s(1, 64, 0, env.rng().chance(50) ? Fill::Small : Fill(-1));
    auto count = env.value<Vexo32u>(0xFFFFFFFFu);
    env.run([&] { return vexoCountZeros8x8_16s_C1(src.data, count); });
}

VEXO_CHECK_CASE(vexoEdgesDetect16x16_8u_C1R) {
    auto src = env.input8u(16, 16);
    const Vexo8u edge = Vexo8u(env.rng().chance(50) ? env.rng().range(0, 12) : env.rng().range(0, 255));
    const Vexo8u count = Vexo8u(env.rng().chance(20) ? env.rng().range(0, 255) : env.rng().range(0, 230));
    auto isEdge = env.value<Vexo8u>(0xCD);
    env.run([&] { return vexoEdgesDetect16x16_8u_C1R(src.data, src.step, edge, count, isEdge); });
}

VEXO_CHECK_CASE(vexoEdgesDetect16x16_16u_C1R) {
    auto src = env.input16u(16, 16);
    // An odd step acts as the even step below it.
    const Vexo32s step = src.step | Vexo32s(env.rng().range(0, 1));
    const Vexo32s edge = Vexo32s(env.rng().chance(15) ? env.rng().range(-3, -1)
                                 : env.rng().chance(15) ? env.rng().range(65530, 70000)
                                                        : env.rng().range(0, 40000));
    const Vexo32s count = Vexo32s(env.rng().range(-2, 230));
    auto isEdge = env.value<Vexo32u>(0xCDCDCDCDu);
    env.run([&] { return vexoEdgesDetect16x16_16u_C1R(src.data, step, edge, count, isEdge); });
}

VEXO_CHECK_CASE(vexoSATD4x4_8u32s_C1R) { satdCase<4, 4>(env, vexoSATD4x4_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSATD4x8_8u32s_C1R) { satdCase<4, 8>(env, vexoSATD4x8_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSATD8x4_8u32s_C1R) { satdCase<8, 4>(env, vexoSATD8x4_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSATD8x8_8u32s_C1R) { satdCase<8, 8>(env, vexoSATD8x8_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSATD8x16_8u32s_C1R) { satdCase<8, 16>(env, vexoSATD8x16_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSATD16x8_8u32s_C1R) { satdCase<16, 8>(env, vexoSATD16x8_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSATD16x16_8u32s_C1R) { satdCase<16, 16>(env, vexoSATD16x16_8u32s_C1R); }
VEXO_CHECK_CASE(vexoSAT8x8D_8u32s_C1R) { satdCase<8, 8>(env, vexoSAT8x8D_8u32s_C1R); }

VEXO_CHECK_CASE(vexoSAT8x8D_16u32s_C1R) {
    // Differences beyond 16 bits wrap: random 16-bit samples reach them.
    auto src = env.input16u(8, 8);
    auto ref = env.input16u(8, 8);
    auto cost = env.value<Vexo32s>(-1);
    env.run([&] { return vexoSAT8x8D_16u32s_C1R(src.data, src.step, ref.data, ref.step, cost); });
}
