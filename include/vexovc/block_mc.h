/*
 * Motion compensation blocks: a prediction from one or two reference blocks
 * at full or half sample position, plus a 16-bit residual, clipped to 8 bits.
 *
 * Blocks are a pointer to the top left sample and a row step in bytes, the
 * 16-bit residual blocks too. No step is tested. Every call returns
 * vexoStatusNullPointer if a pointer it takes is null (nothing written), else
 * vexoStatusOk.
 *
 * Position: only mcType AND 12 counts: 0 full sample, 4 half a sample down,
 * 8 half a sample to the right, 12 both. With a the sample, b its right
 * neighbour, c the one below, d below and right, and r = rounding:
 *     0: h = a
 *     4: h = (a + c + 1 - r) >> 1
 *     8: h = (a + b + 1 - r) >> 1
 *    12: h = (a + b + c + d + 2 - r) >> 2
 * rounding is 0 or 1 in ordinary use. Any other value is subtracted as given
 * (the kernel choice looks at its low bit only); the arithmetic is 32-bit, so
 * keep |rounding| at most 2^31 - 2^17.
 *
 * One reference:  dst = clip(h + residual).
 * Two references: dst = clip((h1 + h2 + 2 * residual + 1) >> 1), h1 and h2 by
 * their own mcType and the same rounding, the shift arithmetic (rounds toward
 * minus infinity). clip takes values below 0 to 0 and above 255 to 255.
 *
 * A half-sample position reads one row below and/or one column to the right
 * of the block (two bytes to the right in the interleaved forms).
 */
#ifndef VEXOVC_BLOCK_MC_H
#define VEXOVC_BLOCK_MC_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * One reference, wide x high as named, right neighbour the next byte. Tests
 * ref, residual and dst.
 */
VexoStatus vexoMC16x16_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                             Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC16x8_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC8x16_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC8x8_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                           Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC8x4_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                           Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC4x8_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                           Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC4x4_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                           Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC4x2_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                           Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC2x4_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                           Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC2x2_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                           Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);

/*
 * One reference, interleaved chroma: 16 bytes a row (eight positions of two
 * channels), right neighbour two bytes on; 8 rows (UV) or 4 rows. The 16x4
 * form is interleaved as well although its name does not say so. Tests ref,
 * residual and dst.
 */
VexoStatus vexoMC16x8UV_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                              Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC16x4_8u_C1(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s mcType, Vexo32s rounding);

/* Two references, block sizes and layouts as the one-reference forms. Tests ref1, ref2, residual and dst. */
VexoStatus vexoMC16x16B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                              Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                              Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC16x8B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                             Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                             Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC8x16B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                             Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                             Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC8x8B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                            Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC8x4B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                            Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC4x8B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                            Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC4x4B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                            Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC4x2B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                            Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC2x4B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                            Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC2x2B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                            Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                            Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC16x8BUV_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                               Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                               Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoMC16x4B_8u_C1(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                             Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual, Vexo32s residualStep,
                             Vexo8u* dst, Vexo32s dstStep, Vexo32s rounding);

/*
 * Interleaved chroma from two residual planes: ref and dst hold two channels,
 * 16 bytes a row (8 positions), 8 or 4 rows; even bytes take residual0, odd
 * bytes residual1 (8 values a row each, one step for both); right neighbour
 * two bytes on. Tests every pointer.
 */
VexoStatus vexoMC8x8_16s8u_P2C2R(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual0,
                                 const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                 Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC8x4_16s8u_P2C2R(const Vexo8u* ref, Vexo32s refStep, const Vexo16s* residual0,
                                 const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                 Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoMC8x8B_16s8u_P2C2R(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                                  Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual0,
                                  const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                  Vexo32s rounding);
VexoStatus vexoMC8x4B_16s8u_P2C2R(const Vexo8u* ref1, Vexo32s ref1Step, Vexo32s mcType1, const Vexo8u* ref2,
                                  Vexo32s ref2Step, Vexo32s mcType2, const Vexo16s* residual0,
                                  const Vexo16s* residual1, Vexo32s residualStep, Vexo8u* dst, Vexo32s dstStep,
                                  Vexo32s rounding);

#ifdef __cplusplus
}
#endif

#endif /* VEXOVC_BLOCK_MC_H */
