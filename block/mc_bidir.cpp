// Motion compensation from two references: each prediction by its own
// position, then clip((h1 + h2 + 2 * residual + 1) >> 1). The kernels live in
// mc_kernels.h, shared with the one-reference forms.
#include "core/path.h"
#include "core/simd.h"
#include "block/mc_kernels.h"

namespace vexo::VEXO_PATH {
namespace {

const TwoRefKernel kTwo16[32] = VEXO_MC_TWO_BY_ROUNDING(16, 1, false, 0);
const TwoRefKernel kTwo8[32] = VEXO_MC_TWO_BY_ROUNDING(8, 1, false, 0);
// Interleaved chroma: the right neighbour is the same channel's next sample.
const TwoRefKernel kTwoUV[32] = VEXO_MC_TWO_BY_ROUNDING(16, 2, false, 0);
const TwoRefKernel kTwoTwoPlanes[32] = VEXO_MC_TWO_BY_ROUNDING(16, 2, true, 0);
const TwoRefKernel kTwo4x8[16] = VEXO_MC_TWO_BY_POSITION(4, 1, false, 8);
const TwoRefKernel kTwo4x4[16] = VEXO_MC_TWO_BY_POSITION(4, 1, false, 4);
const TwoRefKernel kTwo4x2[16] = VEXO_MC_TWO_BY_POSITION(4, 1, false, 2);
const TwoRefKernel kTwo2x4[16] = VEXO_MC_TWO_BY_POSITION(2, 1, false, 4);
const TwoRefKernel kTwo2x2[16] = VEXO_MC_TWO_BY_POSITION(2, 1, false, 2);

inline VexoStatus runByRounding(const TwoRefKernel* table, int height, const Vexo8u* ref1, Vexo32s ref1Step,
                                Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                const Vexo16s* residual, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                Vexo32s rounding) {
    if (ref1 == nullptr || ref2 == nullptr || residual == nullptr || dst == nullptr) return vexoStatusNullPointer;
    const Residual res{residual, nullptr, residualStep};
    table[twoRefIndexByRounding(mcType1, mcType2, rounding)](ref1, ref1Step, ref2, ref2Step, res, dst, dstStep,
                                                             rounding, height);
    return vexoStatusOk;
}

inline VexoStatus runByPosition(const TwoRefKernel* table, int height, const Vexo8u* ref1, Vexo32s ref1Step,
                                Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                const Vexo16s* residual, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                Vexo32s rounding) {
    if (ref1 == nullptr || ref2 == nullptr || residual == nullptr || dst == nullptr) return vexoStatusNullPointer;
    const Residual res{residual, nullptr, residualStep};
    table[twoRefIndexByPosition(mcType1, mcType2)](ref1, ref1Step, ref2, ref2Step, res, dst, dstStep, rounding,
                                                   height);
    return vexoStatusOk;
}

inline VexoStatus runTwoPlanes(int height, const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1,
                               const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual0,
                               const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                               Vexo32s rounding) {
    if (ref1 == nullptr || ref2 == nullptr || residual0 == nullptr || residual1 == nullptr || dst == nullptr)
        return vexoStatusNullPointer;
    const Residual res{residual0, residual1, residualStep};
    kTwoTwoPlanes[twoRefIndexByRounding(mcType1, mcType2, rounding)](ref1, ref1Step, ref2, ref2Step, res, dst,
                                                                     dstStep, rounding, height);
    return vexoStatusOk;
}

}  // namespace

#define VEXO_MC_TWO_REF(name, table, height, run)                                                             \
    VexoStatus name(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,                \
                    Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,         \
                    Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding) {                                         \
        return run(table, height, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, residual, residualStep,   \
                   dst, dstStep, rounding);                                                                   \
    }

VEXO_MC_TWO_REF(vexoMC16x16B_8u_C1, kTwo16, 16, runByRounding)
VEXO_MC_TWO_REF(vexoMC16x8B_8u_C1, kTwo16, 8, runByRounding)
VEXO_MC_TWO_REF(vexoMC16x8BUV_8u_C1, kTwoUV, 8, runByRounding)
// The 16x4 form is interleaved chroma too: it shares the UV kernels.
VEXO_MC_TWO_REF(vexoMC16x4B_8u_C1, kTwoUV, 4, runByRounding)
VEXO_MC_TWO_REF(vexoMC8x16B_8u_C1, kTwo8, 16, runByRounding)
VEXO_MC_TWO_REF(vexoMC8x8B_8u_C1, kTwo8, 8, runByRounding)
VEXO_MC_TWO_REF(vexoMC8x4B_8u_C1, kTwo8, 4, runByRounding)
VEXO_MC_TWO_REF(vexoMC4x8B_8u_C1, kTwo4x8, 8, runByPosition)
VEXO_MC_TWO_REF(vexoMC4x4B_8u_C1, kTwo4x4, 4, runByPosition)
VEXO_MC_TWO_REF(vexoMC4x2B_8u_C1, kTwo4x2, 2, runByPosition)
VEXO_MC_TWO_REF(vexoMC2x4B_8u_C1, kTwo2x4, 4, runByPosition)
VEXO_MC_TWO_REF(vexoMC2x2B_8u_C1, kTwo2x2, 2, runByPosition)
#undef VEXO_MC_TWO_REF

VexoStatus vexoMC8x8B_16s8u_P2C2R(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                                  Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual0,
                                  const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                  Vexo32s rounding) {
    return runTwoPlanes(8, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, residual0, residual1, residualStep,
                        dst, dstStep, rounding);
}
VexoStatus vexoMC8x4B_16s8u_P2C2R(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                                  Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual0,
                                  const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                  Vexo32s rounding) {
    return runTwoPlanes(4, ref1, ref1Step, mcType1, ref2, ref2Step, mcType2, residual0, residual1, residualStep,
                        dst, dstStep, rounding);
}

}  // namespace vexo::VEXO_PATH
