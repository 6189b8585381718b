// The MPEG-1/2 variable-length code tables that the library deliberately does
// not hold: callers build their own decoding tables from descriptions, and so
// do our tests and check cases. Transcribed from ISO/IEC 13818-2 annex B (the
// MPEG-1 tables of ISO/IEC 11172-2 are the same codes): B.12 and B.13 for the
// DC sizes, B.14 and B.15 for the DCT coefficients, and the two scans.
#pragma once

#include <map>
#include <span>
#include <utility>
#include <vector>

#include "tests/support/bit_writer.h"
#include "vexovc.h"

namespace vexo::test::mpeg {

// The marked runs that the decoders look for in a run-level leaf.
inline constexpr int kEndOfBlockRun = 254;
inline constexpr int kEscapeRun = 255;

// A row as the standard prints it: the code without its sign bit. Every row
// with a level has a sign bit after the code (0 positive, 1 negative); the
// end-of-block and escape rows have neither level nor sign.
struct PrintedCode {
    int run;
    int level;
    const char* bits;  // '0' and '1', spaces ignored
};

struct PrintedDcSize {
    int size;
    const char* bits;
};

enum class CoefficientTable {
    B14,       // table zero, every coefficient but a non-intra block's first
    B14First,  // table zero for a non-intra block's first coefficient: '1s' is run 0 level 1, no end of block
    B15,       // table one, intra blocks with intra_vlc_format set
};

std::span<const PrintedCode> printedCoefficientCodes(CoefficientTable table);
std::span<const PrintedDcSize> printedDcSizeCodes(bool chroma);

// A code as it goes into a description: right aligned, sign bit included.
struct Code {
    Vexo32u code;
    int length;
    int run;    // or kEndOfBlockRun, kEscapeRun
    int level;  // signed; 0 for the marked runs. For DC sizes: the size.
};

// One entry per sign, sorted by length (stable within a length).
std::vector<Code> coefficientCodes(CoefficientTable table);
std::vector<Code> dcSizeCodes(bool chroma);

// Bit string ("0000 01") to a right-aligned code and its length.
Code parseBits(const char* bits);

// Descriptions in the library's format: word 0 unused, the level count, the
// widths, then per code length 1, 2, ... a count and its rows, then -1.
// Run-level rows are (code, run, level); Huffman rows are (code, value).
std::vector<Vexo32s> runLevelDescription(const std::vector<Code>& codes, const std::vector<int>& widths);
std::vector<Vexo32s> huffmanDescription(const std::vector<Code>& codes, const std::vector<int>& widths);

inline std::vector<Vexo32s> coefficientDescription(CoefficientTable table, const std::vector<int>& widths) {
    return runLevelDescription(coefficientCodes(table), widths);
}
inline std::vector<Vexo32s> dcSizeDescription(bool chroma, const std::vector<int>& widths) {
    return huffmanDescription(dcSizeCodes(chroma), widths);
}

// (code, length) pairs indexed by size, the dcTable of vexoPutIntraBlock.
std::vector<Vexo32s> dcSizeEncodePairs(bool chroma);

// Writes MPEG blocks bit by bit with BitWriter, independently of the
// library's writers: the streams the decoders' tests read.
enum class EscapeForm {
    Mpeg1,  // 6-bit run, level in 8 bits, or 16 bits (0 or 0x80 first) for 128 to 255
    Mpeg2,  // 6-bit run, 12-bit two's complement level
};

class BlockWriter {
public:
    BlockWriter(CoefficientTable table, EscapeForm escape);

    bool hasCode(int run, int level) const { return codes_.count({run, level}) != 0; }
    // The table's code, or the escape when the table has none.
    void coefficient(BitWriter& w, int run, int level) const;
    // A non-intra block's first coefficient: '1s' for run 0 level +-1.
    void firstCoefficient(BitWriter& w, int run, int level) const;
    void endOfBlock(BitWriter& w) const;
    // A DC differential: size code (B.12 or B.13) then the size bits.
    static void dcDifferential(BitWriter& w, bool chroma, int diff);

private:
    EscapeForm escape_;
    std::map<std::pair<int, int>, Code> codes_;
};

// Scan order: position in the scan to index in the 8x8 block.
extern const Vexo32s kZigzagScan[64];
extern const Vexo32s kAlternateScan[64];

}  // namespace vexo::test::mpeg
