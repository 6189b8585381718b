/*
 * MPEG-1/2 block reconstruction: one call decodes the coefficients of one
 * 8x8 block through run-level tables built by
 * vexoHuffmanRunLevelTableInitAlloc_32s (run 254 end of block, run 255
 * escape), places them along `scan` (64 positions), inverse quantises them
 * with qp and qMatrix (64 weights in block order), and writes all 64 values
 * of dst. MPEG-2 forms add mismatch control.
 *
 * The cursor is the word cursor of vlc.h and moves on success only. Every
 * pointer, *bitStream included, is tested (vexoStatusNullPointer), except
 * that the MPEG-2 non-intra qMatrix may be null for a flat matrix of 16s. A
 * run past position 63 returns vexoStatusBadVlcCode, dst holding what was
 * decoded so far and *lastIndex unwritten. On success *lastIndex is the
 * position of the last coefficient (MPEG-2 non-intra reports 0 as 1).
 */
#ifndef VEXOVC_MPEG2_H
#define VEXOVC_MPEG2_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Non-intra block. A leading '1s' is run 0, level +-1; otherwise the first
 * code is read through firstTable. MPEG-1: (2 level + sign) qp m / 16, odd,
 * clipped to -2048..2047; escapes of 6-bit run and 8- or 16-bit level.
 */
VexoStatus vexoReconstructDCTBlock_MPEG1_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* firstTable,
                                             const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                             const Vexo16s* qMatrix, Vexo16s* dst, Vexo32s* lastIndex);

/* MPEG-2 non-intra: (2 level + sign) qp m / 32 unclipped, 18-bit escapes, mismatch control. */
VexoStatus vexoReconstructDCTBlock_MPEG2_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* firstTable,
                                             const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                             const Vexo16s* qMatrix, Vexo16s* dst, Vexo32s* lastIndex);

/*
 * MPEG-1 intra: the DC size through dcTable (a Huffman table of sizes), the
 * differential, dst[0] = 8 v + *dcPredictor, which *dcPredictor then takes;
 * AC values level 2 qp m / 16, odd, clipped.
 */
VexoStatus vexoReconstructDCTBlockIntra_MPEG1_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* dcTable,
                                                  const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                                  const Vexo16s* qMatrix, Vexo16s* dcPredictor, Vexo16s* dst,
                                                  Vexo32s* lastIndex);

/*
 * MPEG-2 intra: *dcPredictor += the differential, dst[0] = *dcPredictor <<
 * dcShift; AC values level 2 qp m / 32 unclipped; mismatch control.
 */
VexoStatus vexoReconstructDCTBlockIntra_MPEG2_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* dcTable,
                                                  const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                                  const Vexo16s* qMatrix, Vexo16s* dcPredictor, Vexo32s dcShift,
                                                  Vexo16s* dst, Vexo32s* lastIndex);

#ifdef __cplusplus
}
#endif

#endif /* VEXOVC_MPEG2_H */
