/*
 * Sums of absolute differences: the cost functions of block matching.
 *
 * Blocks are a pointer to the top left sample and a row step in bytes (16-bit
 * blocks too). Unless said otherwise a call tests its pointers and nothing
 * else: vexoStatusNullPointer if any is null, else vexoStatusOk. Sums never
 * wrap unless said otherwise.
 *
 * mcType picks the reference value at each position, with a the sample, b the
 * one to its right, c the one below and d the one below and right:
 *   0..3   a                       (full sample)
 *   4..7   (a + c + 1) >> 1        (half a sample down; reads one more row)
 *   8..11  (a + b + 1) >> 1        (half a sample right; one more column)
 *   12..15 (a + b + c + d + 2) >> 2 (both; one more row and column)
 * The low two bits are ignored. Values above 15 are not tested and must not
 * be passed. The reference is always the interpolated side.
 */
#ifndef VEXOVC_BLOCK_SAD_H
#define VEXOVC_BLOCK_SAD_H

#ifdef __cplusplus
extern "C" {
#endif

/* *sad = sum over the block of |src - reference value at mcType|, wide x high as named. */
VexoStatus vexoSAD16x16_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo32s* sad,
                              Vexo32s mcType);
VexoStatus vexoSAD16x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s mcType);
VexoStatus vexoSAD8x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad, Vexo32s mcType);
/* The same on 16-bit unsigned samples; differences and sums in 32 bits. */
VexoStatus vexoSAD16x16_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                   Vexo32s* sad, Vexo32s mcType);
VexoStatus vexoSAD8x8_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s mcType);
VexoStatus vexoSAD4x4_16u32s_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s mcType);

/* Full sample only: mcType is taken and ignored. */
VexoStatus vexoSAD4x4_8u32s(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep, Vexo32s* sad,
                            Vexo32s mcType);
VexoStatus vexoSAD4x8_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad, Vexo32s mcType);
VexoStatus vexoSAD8x4_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad, Vexo32s mcType);
VexoStatus vexoSAD8x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                 Vexo32s* sad, Vexo32s mcType);

/*
 * Two interleaved channels: 8 rows of 8 byte pairs, even bytes channel 0, odd
 * bytes channel 1; the right neighbour is two bytes on. One SAD per channel.
 * Tests: null pointers (-8), then srcStep or refStep below 1 (-14). mcType
 * must be exactly 0, 4, 8 or 12; any other value writes 0 to both results
 * and returns vexoStatusOk.
 */
VexoStatus vexoSAD8x8_8u32s_C2R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                Vexo32s* sad0, Vexo32s* sad1, Vexo32s mcType);

/*
 * A row of candidates: candidate i is the block at ref + i (one byte apart),
 * sads[i] its full-sample SAD. count is cut down to a multiple of 8 and the
 * rest are left out. Tests: null pointers (-8), then a cut count below 1
 * (vexoStatusBadSize, -6, nothing written). ref must hold count - 1 more
 * columns than the block.
 */
VexoStatus vexoSAD2x2xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo16u* sads, Vexo32s count);
VexoStatus vexoSAD4x4xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo16u* sads, Vexo32s count);
VexoStatus vexoSAD8x8xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                  Vexo16u* sads, Vexo32s count);
VexoStatus vexoSAD16x16xN_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                    Vexo16u* sads, Vexo32s count);
/*
 * As above, and *bestIndex = the index of the lowest SAD, the lowest index
 * among equals. bestIndex is tested first; on any failure it is not written.
 */
VexoStatus vexoSAD4x4xNI_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16u* sads, Vexo32s count, Vexo32s* bestIndex);
VexoStatus vexoSAD8x8xNI_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16u* sads, Vexo32s count, Vexo32s* bestIndex);
VexoStatus vexoSAD16x16xNI_8u16u_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                     Vexo16u* sads, Vexo32s count, Vexo32s* bestIndex);

/*
 * Full-sample SADs of the sub-blocks of a 16x16 block, in raster order: 4 of
 * 8x8 or 16 of 4x4. The sixth argument is ignored. In the 16-bit forms each
 * difference is cut to 16 bits and read as signed before its absolute value
 * is taken: samples 32768 or more apart count 65536 minus their distance.
 */
VexoStatus vexoSAD16x16Blocks8x8_8u16u(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                       Vexo16u* sads, Vexo32s mcType);
VexoStatus vexoSAD16x16Blocks4x4_8u16u(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                       Vexo16u* sads, Vexo32s mcType);
VexoStatus vexoSAD16x16Blocks8x8_16u32u_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                            Vexo32s refStep, Vexo32u* sads, Vexo32s mcType);
VexoStatus vexoSAD16x16Blocks4x4_16u32u_C1R(const Vexo16u* src, Vexo32s srcStep, const Vexo16u* ref,
                                            Vexo32s refStep, Vexo32u* sads, Vexo32s mcType);

/*
 * dst = src - ref as 16-bit values (dstStep in bytes), 8x8, and *sad = the
 * sum of their absolute values. Null src, ref or dst give -8; sad is not
 * tested and must be valid.
 */
VexoStatus vexoSubSAD8x8_8u16s_C1R(const Vexo8u* src, Vexo32s srcStep, const Vexo8u* ref, Vexo32s refStep,
                                   Vexo16s* dst, Vexo32s dstStep, Vexo32s* sad);

/*
 * Frame and field activity of a 16x16 block. *frameSad sums |row r - row r+1|
 * for r = 0..6 and 8..14 (the pair of rows 7 and 8 is left out); *fieldSad
 * sums |row r - row r+2| for r = 0..13. 32-bit sums in both sample types.
 */
VexoStatus vexoFrameFieldSAD16x16_8u32s_C1R(const Vexo8u* src, Vexo32s srcStep, Vexo32s* frameSad,
                                            Vexo32s* fieldSad);
VexoStatus vexoFrameFieldSAD16x16_16s32s_C1R(const Vexo16s* src, Vexo32s srcStep, Vexo32s* frameSad,
                                             Vexo32s* fieldSad);

#ifdef __cplusplus
}
#endif

#endif /* VEXOVC_BLOCK_SAD_H */
