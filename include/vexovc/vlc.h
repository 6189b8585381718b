/*
 * Run-level and Huffman tables: variable-length codes that the caller
 * describes, compiled by the library into decoding or encoding tables that
 * the caller holds. The library itself holds no codec's tables.
 *
 * A description is an array of 32-bit words: word 0 unused; word 1 the number
 * of table levels; then the bit width of each level; then, for code lengths
 * 1, 2, 3, ..., a count of codes of that length followed by their rows; a
 * negative count ends it. A row is (code, value) for Huffman tables and
 * (code, run, level) for run-level tables, the code right aligned. In a
 * run-level table run 254 marks end of block and run 255 the escape.
 *
 * Read cursor: *bitStream is the current 32-bit word (machine byte order,
 * bits high to low), *bitOffset the number of the next bit, 31 down to 0.
 * Write cursor: *bitOffset is the number of free bits of the current word,
 * 32 down to 1; words beyond the cursor must be zero. Offsets outside these
 * ranges are not tested: they are taken modulo 32 (a write offset of 0 as 32).
 *
 * Decoding-table entries that no code reaches hold the invalid mark
 * 0x00F0F101 (value 0xF0F1).
 */
#ifndef VEXOVC_VLC_H
#define VEXOVC_VLC_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Builds a multi-level decoding table whose leaves are (value << 8 | spare
 * bits). Tests description and table for null (vexoStatusNullPointer);
 * vexoStatusNoMemory if the table cannot be allocated. *table is written on
 * success only; free it with vexoHuffmanTableFree_32s.
 */
VexoStatus vexoHuffmanTableInitAlloc_32s(const Vexo32s* description, Vexo32s** table);

/* As vexoHuffmanTableInitAlloc_32s, with (level << 16 | run << 8 | spare) leaves. */
VexoStatus vexoHuffmanRunLevelTableInitAlloc_32s(const Vexo32s* description, Vexo32s** table);

/* Frees a table of any of the three builders; vexoStatusNullPointer for null. */
VexoStatus vexoHuffmanTableFree_32s(Vexo32s* table);

/*
 * Builds an encoding table indexed by run and signed level from a run-level
 * description. Word 0 holds the largest run (bits 20 up) and the escape and
 * end-of-block rows as (code << 4 | length) in bits 0-9 and 10-19. Statuses
 * as the decoding builders. Free with vexoHuffmanTableFree_32s.
 */
VexoStatus vexoCreateRLEncodeTable(const Vexo32s* description, Vexo32s** table);

/*
 * Reads one code. Null pointers, *bitStream included: vexoStatusNullPointer.
 * An invalid code writes 0xF0F1 to *value and returns vexoStatusBadVlcCode
 * with the cursor moved past every bit the lookup read.
 */
VexoStatus vexoDecodeHuffmanOne_1u32s(Vexo32u** bitStream, Vexo32s* bitOffset, Vexo32s* value,
                                      const Vexo32s* table);

/*
 * Reads one run-level code into *run and *level. An invalid code returns
 * vexoStatusBadVlcCode with cursor and outputs untouched.
 */
VexoStatus vexoDecodeHuffmanPair_1u16s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* table, Vexo8u* run,
                                       Vexo16s* level);

/*
 * Writes an intra block: the DC difference from *dcPredictor (size code from
 * dcTable, pairs of code and length indexed by size, then the size bits),
 * the first `count` non-zero AC coefficients along scan through acTable, and
 * the end-of-block code. Runs or levels the table lacks go out as the 24-bit
 * escape. *dcPredictor takes block[0]. `count` is trusted, but the walk
 * never goes past scan position 63. Null pointers: vexoStatusNullPointer.
 */
VexoStatus vexoPutIntraBlock(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo16s* block, Vexo32s* dcPredictor,
                             const Vexo32s* dcTable, const Vexo32s* acTable, const Vexo32s* scan, Vexo32s eobLength,
                             Vexo32s eobCode, Vexo32s count);

/*
 * Writes a non-intra block of `count` non-zero coefficients: block[0] first
 * (+1 and -1 as the short codes 10 and 11), then the others along scan, then
 * the end-of-block code. Null pointers: vexoStatusNullPointer.
 */
VexoStatus vexoPutNonIntraBlock(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo16s* block,
                                const Vexo32s* acTable, const Vexo32s* scan, Vexo32s eobLength, Vexo32s eobCode,
                                Vexo32s count);

#ifdef __cplusplus
}
#endif

#endif /* VEXOVC_VLC_H */
