/*
 * Block statistics and transform-domain costs: what an encoder's mode
 * decision reads about a block.
 *
 * Blocks are a pointer to the top left sample and a row step in bytes (16-bit
 * blocks too). Sizes are fixed and no step is tested. Every call returns
 * vexoStatusNullPointer if any pointer argument is null, with nothing written,
 * else vexoStatusOk.
 *
 * Half-sample reference values (`mcType`): 0 the sample a, 4 half a sample
 * down (a + c + 1) >> 1, 8 half a sample right (a + b + 1) >> 1, 12 both ways
 * (a + b + c + d + 2) >> 2, with b to the right of a and c, d below them.
 * Half-sample positions read one row or column beyond the block.
 */
#ifndef VEXOVC_BLOCK_STATS_H
#define VEXOVC_BLOCK_STATS_H

#ifdef __cplusplus
extern "C" {
#endif

/* Sum of squared differences of src and the reference value, 4x4 and 8x8.
 * The kernel is picked by mcType >> 2, so the low two bits are ignored; the
 * caller keeps mcType within 0..15. */
VexoStatus vexoSSD4x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* ssd, Vexo32s mcType);
VexoStatus vexoSSD8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* ssd, Vexo32s mcType);

/* Sum of squared (reference value - src), 16x16. mcType is compared with 0,
 * then 8, then 4; any other value (12 or not) means half a sample both ways.
 * Note that mcType comes before the result here. */
VexoStatus vexoSqrDiff16x16_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo32s mcType, Vexo32s* sqrDiff);

/* As above against (p + q + 1) >> 1 of two references, each with its own
 * mcType; only bits 2 and 3 of each mcType count. */
VexoStatus vexoSqrDiff16x16B_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                   Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                   Vexo32s* sqrDiff);

/* sumSquares - (sum * sum) / 256 over 16x16 samples: 256 times the variance.
 * The square of the sum wraps in 32 bits, the division truncates toward
 * zero, and the difference wraps in 32 bits. */
VexoStatus vexoVariance16x16_8u32s(const Vexo8u* src, Vexo32s srcStep, Vexo32s* variance);

/* 8x8 variance in extended precision, truncated toward zero:
 * VarMean c * (sumSquares - c * sum * sum), VarSum c * sumSquares - (c * sum)^2,
 * c = 1/64, from the 32-bit (wrapping) sum and sum of squares. `mean` and
 * `sum` both receive the plain sum of the 64 samples, not divided. The 16s
 * forms sign-extend their samples. */
VexoStatus vexoVarMean8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* mean);
VexoStatus vexoVarMean8x8_16s32s_C1R(const Vexo16s* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* mean);
VexoStatus vexoVarSum8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* sum);
VexoStatus vexoVarSum8x8_16s32s_C1R(const Vexo16s* src, Vexo32s srcStep, Vexo32s* variance, Vexo32s* sum);

/* Residual statistics against the reference value, per 8x8 block (four in
 * raster order, or two, left then right). With d = src - reference value:
 * means[b] = (srcSums[b] - sum of reference values) / 8 and
 * variances[b] = max(0, sum of d * d - means[b]^2) / 64, signed 32-bit,
 * divisions truncating. srcSums are the caller's sums of the source blocks.
 * Only bits 2 and 3 of mcType count. */
VexoStatus vexoVarMeanDiff16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                          const Vexo32s* srcSums, Vexo32s* variances, Vexo32s* means,
                                          Vexo32s mcType);
VexoStatus vexoVarMeanDiff16x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                         const Vexo32s* srcSums, Vexo32s* variances, Vexo32s* means,
                                         Vexo32s mcType);

/* Sum of |sample - m|, undivided, with the rounded mean m = (sum + 32) >> 6
 * for 8x8 and (sum + 128) >> 8 for 16x16. */
VexoStatus vexoMeanAbsDev8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* meanAbsDev);
VexoStatus vexoMeanAbsDev16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* meanAbsDev);

/* Number of the 64 tightly packed values that are 0. */
VexoStatus vexoCountZeros8x8_16s_C1(const Vexo16s* src, Vexo32u* count);

/* Edge test of a 16x16 block: positions (x, y), 0 <= x, y <= 14, count when
 * |p(x, y) - p(x + 1, y)| or |p(x, y) - p(x, y + 1)| exceeds edgeThreshold.
 * isEdge is 1 if the count exceeds countThreshold, else 0; the walk stops at
 * the end of the first row where it does. The 16u form clears the low bit of
 * srcStep before use. */
VexoStatus vexoEdgesDetect16x16_8u_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo8u edgeThreshold,
                                       Vexo8u countThreshold, Vexo8u* isEdge);
VexoStatus vexoEdgesDetect16x16_16u_C1R(const Vexo16u* src, Vexo32s srcStep, Vexo32s edgeThreshold,
                                        Vexo32s countThreshold, Vexo32u* isEdge);

/* Hadamard cost: the block cut into 4x4 tiles, each tile's difference
 * src - ref put through a 4-point Hadamard transform along the rows (kept in
 * 16 bits) and then the columns, and the absolute values of all results
 * summed, unnormalised. Sizes are wide x high. */
VexoStatus vexoSATD4x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd);
VexoStatus vexoSATD4x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd);
VexoStatus vexoSATD8x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd);
VexoStatus vexoSATD8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* satd);
VexoStatus vexoSATD8x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo32s* satd);
VexoStatus vexoSATD16x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo32s* satd);
VexoStatus vexoSATD16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo32s* satd);

/* The same cost with one 8x8 tile and the 8-point Hadamard transform. In
 * the 16u form the difference is truncated to 16 bits and so is the result
 * of the row transform; the column transform and the sum are 32-bit. */
VexoStatus vexoSAT8x8D_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* sat);
VexoStatus vexoSAT8x8D_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                  Vexo32s* sat);

#ifdef __cplusplus
}
#endif

#endif /* VEXOVC_BLOCK_STATS_H */
