/*
 * Block copy, averaging and add: the pieces of MPEG-style motion compensation.
 *
 * Blocks are a pointer to the top left sample and a row step in bytes (16-bit
 * blocks too). No step is tested. Every call returns vexoStatusNullPointer if
 * any pointer is null, else vexoStatusOk.
 *
 * Half-sample position: `acc` (low two bits count) 0 full sample, 1 half a
 * sample right, 2 half down, 3 both. `rounding` (low bit counts) 0 rounds up,
 * 1 rounds down: (a+b+1-r)>>1 for one direction, (a+b+c+d+2-r)>>2 for both.
 * acc 1 reads one column beyond the block, acc 2 one row, acc 3 both.
 */
#ifndef VEXOVC_BLOCK_COPY_H
#define VEXOVC_BLOCK_COPY_H

#ifdef __cplusplus
extern "C" {
#endif

/* Plain 8x8 and 16x16 copies. */
VexoStatus vexoCopy8x8_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep);
VexoStatus vexoCopy16x16_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep);

/* Half-sample copies, wide x high as named. */
VexoStatus vexoCopy8x4HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                Vexo32s rounding);
VexoStatus vexoCopy8x8HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                Vexo32s rounding);
VexoStatus vexoCopy16x8HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                 Vexo32s rounding);
VexoStatus vexoCopy16x16HP_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u* dst, Vexo32s dstStep, Vexo32s acc,
                                  Vexo32s rounding);

/* dst = (src1 + src2 + 1) >> 1, always rounded up. */
VexoStatus vexoAverage8x8_8u_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                 Vexo8u* dst, Vexo32s dstStep);
VexoStatus vexoAverage16x16_8u_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                   Vexo8u* dst, Vexo32s dstStep);

/* In place: srcDst = (src + srcDst + 1) >> 1. */
VexoStatus vexoAverage8x8_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst, Vexo32s srcDstStep);
VexoStatus vexoAverage16x16_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst, Vexo32s srcDstStep);

/*
 * Half-sample value of src (its own rounding), then averaged into srcDst
 * rounding up: two roundings in that order, not one combined sum.
 */
VexoStatus vexoInterpolateAverage8x4_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                             Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding);
VexoStatus vexoInterpolateAverage8x8_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                             Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding);
VexoStatus vexoInterpolateAverage16x8_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                              Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding);
VexoStatus vexoInterpolateAverage16x16_8u_C1IR(const Vexo8u* src, Vexo32s srcStep, Vexo8u* srcDst,
                                               Vexo32s srcDstStep, Vexo32s acc, Vexo32s rounding);

/* In place 8x8: srcDst = clip(srcDst + src), src 16-bit with its step in bytes. */
VexoStatus vexoAdd8x8_16s8u_C1IRS(const Vexo16s* src, Vexo32s srcStep, Vexo8u* srcDst, Vexo32s srcDstStep);

/* dst = clip(half-sample value of ref + src), 8x8; one clamp at the end. */
VexoStatus vexoAdd8x8HP_16s8u_C1RS(const Vexo16s* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo8u* dst, Vexo32s dstStep, Vexo32s acc, Vexo32s rounding);

/* In place 8x8: srcDst = clip(srcDst + value). */
VexoStatus vexoAddC8x8_16s8u_C1IR(Vexo16s value, Vexo8u* srcDst, Vexo32s srcDstStep);

#ifdef __cplusplus
}
#endif

#endif /* VEXOVC_BLOCK_COPY_H */
