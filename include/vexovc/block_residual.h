/*
 * Residual extraction and coefficient scans: the encoder's side of MPEG-style
 * motion compensation.
 *
 * Blocks are a pointer to the top left sample and a row step in bytes, 16-bit
 * blocks too. No step, size or selector is tested; the only failure of the
 * block forms is vexoStatusNullPointer, returned before anything is written.
 * Residuals are signed 16-bit values, truncated (the low 16 bits are kept).
 *
 * Prediction position: only mcType & 12 counts: 0 full sample, 4 half a sample
 * down (reads one row below the block), 8 half a sample right (one column to
 * the right), 12 both. With a the sample, b its right neighbour, c the one
 * below and d below right, and r = rounding as given (not masked; 0 or 1 in
 * sensible use), the prediction h is a, (a + c + 1 - r) >> 1,
 * (a + b + 1 - r) >> 1 or (a + b + c + d + 2 - r) >> 2, in 32-bit wrapping
 * arithmetic with arithmetic shifts.
 *
 * Interleaved forms (C2P2) read two channels from alternate bytes (even bytes
 * channel 0, odd bytes channel 1; the right neighbour is two bytes on) and
 * write one 16-bit plane per channel.
 */
#ifndef VEXOVC_BLOCK_RESIDUAL_H
#define VEXOVC_BLOCK_RESIDUAL_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * dst = src - h against one reference, wide x high as named; when pred is not
 * null, h is written there too. Tests src, ref, dst.
 */
VexoStatus vexoGetDiff16x16_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                     Vexo32s rounding);
VexoStatus vexoGetDiff16x8_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                    Vexo32s rounding);
VexoStatus vexoGetDiff8x16_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                    Vexo32s rounding);
VexoStatus vexoGetDiff8x8_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                   Vexo32s rounding);
VexoStatus vexoGetDiff8x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                   Vexo32s rounding);
/* dst = src - ref, 4x4, full sample always: pred, predStep, mcType and rounding are ignored. */
VexoStatus vexoGetDiff4x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo16s* pred, Vexo32s predStep, Vexo32s mcType,
                                   Vexo32s rounding);

/*
 * dst = (2 * src - h1 - h2) >> 1 (arithmetic shift: rounds toward minus
 * infinity), h1 and h2 made from ref1 and ref2 each by its own mcType and the
 * same rounding. Tests src, ref1, ref2, dst.
 */
VexoStatus vexoGetDiff16x16B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                      Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                      Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoGetDiff16x8B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                     Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                     Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoGetDiff8x16B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                     Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                     Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoGetDiff8x8B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                    Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding);
VexoStatus vexoGetDiff8x4B_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                    Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                    Vexo16s* dst, Vexo32s dstStep, Vexo32s rounding);

/*
 * Interleaved forms, 8 wide per channel: channel 0 to dst0, channel 1 to
 * dst1, as the forms above (no prediction output). Every pointer is tested.
 */
VexoStatus vexoGetDiff8x8_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                     Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoGetDiff8x4_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                     Vexo32s mcType, Vexo32s rounding);
VexoStatus vexoGetDiff8x8B_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                      Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                      Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                      Vexo32s rounding);
VexoStatus vexoGetDiff8x4B_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref1, Vexo32s ref1Step,
                                      Vexo32s mcType1, const Vexo8u* ref2, Vexo32s ref2Step, Vexo32s mcType2,
                                      Vexo16s* dst0, Vexo32s dst0Step, Vexo16s* dst1, Vexo32s dst1Step,
                                      Vexo32s rounding);

/* dst = src1 - src2, truncated to 16 bits. Tests all three pointers. */
VexoStatus vexoSub16x16_8u16s_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                  Vexo16s* dst, Vexo32s dstStep);
VexoStatus vexoSub8x8_8u16s_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                Vexo16s* dst, Vexo32s dstStep);
VexoStatus vexoSub4x4_8u16s_C1R(const Vexo8u* src1, Vexo32s src1Step, const Vexo8u* src2, Vexo32s src2Step,
                                Vexo16s* dst, Vexo32s dstStep);
VexoStatus vexoSub8x8_16u16s_C1R(const Vexo16u* src1, Vexo32s src1Step, const Vexo16u* src2, Vexo32s src2Step,
                                 Vexo16s* dst, Vexo32s dstStep);
VexoStatus vexoSub4x4_16u16s_C1R(const Vexo16u* src1, Vexo32s src1Step, const Vexo16u* src2, Vexo32s src2Step,
                                 Vexo16s* dst, Vexo32s dstStep);

/*
 * Differences src - ref walked by 4x4 blocks in raster order: sums[k] is the
 * sum of block k's 16 differences; when diff is not null, block k's
 * differences go to diff[16k .. 16k + 15], row by row (tight, 16 per block).
 * The 16u32s forms truncate each difference to signed 16 bits before adding
 * it to the 32-bit sum. Tests src, ref, sums.
 */
VexoStatus vexoSumsDiff16x16Blocks4x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref,
                                               Vexo32s refStep, Vexo16s* sums, Vexo16s* diff);
VexoStatus vexoSumsDiff8x8Blocks4x4_8u16s_C1(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                             Vexo16s* sums, Vexo16s* diff);
VexoStatus vexoSumsDiff16x16Blocks4x4_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                                 Vexo32s refStep, Vexo32s* sums, Vexo16s* diff);
VexoStatus vexoSumsDiff8x8Blocks4x4_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                               Vexo32s refStep, Vexo32s* sums, Vexo16s* diff);
/*
 * Interleaved src against two 8x8 planes: channel 0 against ref0 into sums0
 * and diff0, channel 1 against ref1 into sums1 and diff1. Differences are
 * stored only when both diff0 and diff1 are given. Tests src, ref0, ref1,
 * sums0, sums1.
 */
VexoStatus vexoSumsDiff8x8Blocks4x4_8u16s_C2P2(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref0,
                                               Vexo32s ref0Step, const Vexo8u* ref1, Vexo32s ref1Step,
                                               Vexo16s* sums0, Vexo16s* diff0, Vexo16s* sums1, Vexo16s* diff1);

/*
 * Coefficient scans over 64 tight values (src and dst must not overlap).
 * scanType 1: MPEG-4 alternate-vertical scan; 2: alternate-horizontal; any
 * other value: the classic zigzag.
 *
 * Forward, block order to scan order: countNonZero outside 1..64 gives
 * vexoStatusOutOfRange. From 20 on, dst[i] = src[scan[i]] for all 64. Below
 * 20, dst is cleared and only the non-zero values are copied, up to the
 * countNonZero-th of them: later ones are dropped, so the count must be right.
 */
VexoStatus vexoScanFwd_16s_C1(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, Vexo32s scanType);
/*
 * Inverse, scan order to block order: lastIndex outside 0..63 gives
 * vexoStatusOutOfRange. dst is cleared, then dst[scan[i]] = src[i] for i from
 * 0 to lastIndex.
 */
VexoStatus vexoScanInv_16s_C1(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType);

#ifdef __cplusplus
}
#endif

#endif /* VEXOVC_BLOCK_RESIDUAL_H */
