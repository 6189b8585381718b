// Motion compensation from one reference: the prediction at full or half
// sample position plus a 16-bit residual, clipped to 8 bits. The kernels live
// in mc_kernels.h, shared with the two-reference forms.
#include "core/path.h"
#include "core/simd.h"
#include "block/mc_kernels.h"

namespace vexo::VEXO_PATH {
namespace {

const OneRefKernel kOne16[8] = VEXO_MC_ONE_BY_ROUNDING(16, 1, false, 0);
const OneRefKernel kOne8[8] = VEXO_MC_ONE_BY_ROUNDING(8, 1, false, 0);
// Interleaved chroma: the right neighbour is the same channel's next sample.
const OneRefKernel kOneUV[8] = VEXO_MC_ONE_BY_ROUNDING(16, 2, false, 0);
const OneRefKernel kOneTwoPlanes[8] = VEXO_MC_ONE_BY_ROUNDING(16, 2, true, 0);
const OneRefKernel kOne4x8[4] = VEXO_MC_ONE_BY_POSITION(4, 1, false, 8);
const OneRefKernel kOne4x4[4] = VEXO_MC_ONE_BY_POSITION(4, 1, false, 4);
const OneRefKernel kOne4x2[4] = VEXO_MC_ONE_BY_POSITION(4, 1, false, 2);
const OneRefKernel kOne2x4[4] = VEXO_MC_ONE_BY_POSITION(2, 1, false, 4);
const OneRefKernel kOne2x2[4] = VEXO_MC_ONE_BY_POSITION(2, 1, false, 2);

inline VexoStatus runByRounding(const OneRefKernel* table, int height, const Vexo8u* ref, Vexo32s refStep,
                                const Vexo16s* residual, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                Vexo32s mcType, Vexo32s rounding) {
    if (ref == nullptr || residual == nullptr || dst == nullptr) return vexoStatusNullPointer;
    const Residual res{residual, nullptr, residualStep};
    table[oneRefIndexByRounding(mcType, rounding)](ref, refStep, res, dst, dstStep, rounding, height);
    return vexoStatusOk;
}

inline VexoStatus runByPosition(const OneRefKernel* table, int height, const Vexo8u* ref, Vexo32s refStep,
                                const Vexo16s* residual, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                Vexo32s mcType, Vexo32s rounding) {
    if (ref == nullptr || residual == nullptr || dst == nullptr) return vexoStatusNullPointer;
    const Residual res{residual, nullptr, residualStep};
    table[oneRefIndexByPosition(mcType)](ref, refStep, res, dst, dstStep, rounding, height);
    return vexoStatusOk;
}

inline VexoStatus runTwoPlanes(int height, const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual0,
                               const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                               Vexo32s mcType, Vexo32s rounding) {
    if (ref == nullptr || residual0 == nullptr || residual1 == nullptr || dst == nullptr)
        return vexoStatusNullPointer;
    const Residual res{residual0, residual1, residualStep};
    kOneTwoPlanes[oneRefIndexByRounding(mcType, rounding)](ref, refStep, res, dst, dstStep, rounding, height);
    return vexoStatusOk;
}

}  // namespace

#define VEXO_MC_ONE_REF(name, table, height, run)                                                              \
    VexoStatus name(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,         \
                    Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding) {                          \
        return run(table, height, ref, refStep, residual, residualStep, dst, dstStep, mcType, rounding);        \
    }

VEXO_MC_ONE_REF(vexoMC16x16_8u_C1, kOne16, 16, runByRounding)
VEXO_MC_ONE_REF(vexoMC16x8_8u_C1, kOne16, 8, runByRounding)
VEXO_MC_ONE_REF(vexoMC16x8UV_8u_C1, kOneUV, 8, runByRounding)
// The 16x4 form is interleaved chroma too: it shares the UV kernels.
VEXO_MC_ONE_REF(vexoMC16x4_8u_C1, kOneUV, 4, runByRounding)
VEXO_MC_ONE_REF(vexoMC8x16_8u_C1, kOne8, 16, runByRounding)
VEXO_MC_ONE_REF(vexoMC8x8_8u_C1, kOne8, 8, runByRounding)
VEXO_MC_ONE_REF(vexoMC8x4_8u_C1, kOne8, 4, runByRounding)
VEXO_MC_ONE_REF(vexoMC4x8_8u_C1, kOne4x8, 8, runByPosition)
VEXO_MC_ONE_REF(vexoMC4x4_8u_C1, kOne4x4, 4, runByPosition)
VEXO_MC_ONE_REF(vexoMC4x2_8u_C1, kOne4x2, 2, runByPosition)
VEXO_MC_ONE_REF(vexoMC2x4_8u_C1, kOne2x4, 4, runByPosition)
VEXO_MC_ONE_REF(vexoMC2x2_8u_C1, kOne2x2, 2, runByPosition)
#undef VEXO_MC_ONE_REF

VexoStatus vexoMC8x8_16s8u_P2C2R(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual0,
                                 const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                 Vexo32s mcType, Vexo32s rounding) {
    return runTwoPlanes(8, ref, refStep, residual0, residual1, residualStep, dst, dstStep, mcType, rounding);
}
VexoStatus vexoMC8x4_16s8u_P2C2R(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual0,
                                 const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                 Vexo32s mcType, Vexo32s rounding) {
    return runTwoPlanes(4, ref, refStep, residual0, residual1, residualStep, dst, dstStep, mcType, rounding);
}

}  // namespace vexo::VEXO_PATH
