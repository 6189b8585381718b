#include <random>

#include "tests/support/bit_writer.h"
#include "tests/support/mpeg_tables.h"
#include "tests/support/paths.h"

namespace vexo::test {
namespace {

using mpeg::CoefficientTable;

constexpr Vexo32s kInvalid = 0x00F0F101;

struct OwnedTable {
    Vexo32s* p = nullptr;
    ~OwnedTable() {
        if (p) vexoHuffmanTableFree_32s(p);
    }
};

class Huffman : public PathTest {};

// Widths {2, 2}; codes 1 -> 7, 01 -> 5, 0011 -> 9, 0010 -> -3. Worked by hand:
// the first level's '1x' entries share the 1-bit code with one spare bit,
// '00' links to the sub-table that follows it at word 5.
TEST_P(Huffman, BuildsTheDocumentedLayout) {
    const Vexo32s huffman[] = {0, 2, 2, 2, 1, 1, 7, 1, 1, 5, 0, 2, 3, 9, 2, -3, -1};
    OwnedTable h;
    ASSERT_EQ(vexoHuffmanTableInitAlloc_32s(huffman, &h.p), vexoStatusOk);
    const Vexo32s expectH[] = {2, 5 << 8 | 128, 5 << 8, 7 << 8 | 1, 7 << 8 | 1, 2, kInvalid, kInvalid, -3 * 256, 9 << 8};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(h.p[i], expectH[i]) << i;

    const Vexo32s runLevel[] = {0, 2, 2, 2, 1, 1, 3, -4, 1, 1, 0, 2, 0, 2, 3, 30, 6, 2, 254, 0, -1};
    OwnedTable r;
    ASSERT_EQ(vexoHuffmanRunLevelTableInitAlloc_32s(runLevel, &r.p), vexoStatusOk);
    const Vexo32s leafA = static_cast<Vexo32s>(0xFFFC0000u | 3 << 8 | 1);
    const Vexo32s expectR[] = {2, 5 << 8 | 128, 2 << 16, leafA, leafA, 2, kInvalid, kInvalid, 254 << 8, 6 << 16 | 30 << 8};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(r.p[i], expectR[i]) << i;

    const Vexo32s empty[] = {0, 1, 3, -1};
    OwnedTable e;
    ASSERT_EQ(vexoHuffmanTableInitAlloc_32s(empty, &e.p), vexoStatusOk);
    EXPECT_EQ(e.p[0], 3);
    for (int i = 1; i <= 8; ++i) EXPECT_EQ(e.p[i], kInvalid);

    const Vexo32s noLevels[] = {0, 0, -1};
    Vexo32s* untouched = reinterpret_cast<Vexo32s*>(&e);
    EXPECT_EQ(vexoHuffmanTableInitAlloc_32s(noLevels, &untouched), vexoStatusNoMemory);
    EXPECT_EQ(untouched, reinterpret_cast<Vexo32s*>(&e));
}

// Widths {8, 4}: the sub-tables sit at 257 + 17k, so the 16th is at 512. The
// Huffman builder does not follow a link whose second byte is 0 and gives the
// next code of that prefix a fresh sub-table, orphaning the first; the
// run-level builder follows it.
TEST_P(Huffman, HuffmanBuilderDoesNotFollowLinksAtMultiplesOf256) {
    for (bool runLevel : {false, true}) {
        std::vector<mpeg::Code> codes;
        for (Vexo32u prefix = 0; prefix < 16; ++prefix)
            for (Vexo32u tail = 0; tail < 2; ++tail) codes.push_back({prefix << 4 | tail, 12, 1, int(prefix * 2 + tail)});
        const std::vector<Vexo32s> d = runLevel ? mpeg::runLevelDescription(codes, {8, 4})
                                                : mpeg::huffmanDescription(codes, {8, 4});
        OwnedTable t;
        ASSERT_EQ((runLevel ? vexoHuffmanRunLevelTableInitAlloc_32s : vexoHuffmanTableInitAlloc_32s)(d.data(), &t.p),
                  vexoStatusOk);
        for (const mpeg::Code& c : codes) {
            BitWriter w;
            w.put(c.code, 12);
            std::vector<Vexo32u> words = w.words();
            Vexo32u* cursor = words.data();
            Vexo32s bit = 31, value = 0;
            Vexo8u run = 0;
            Vexo16s level = 0;
            const VexoStatus s = runLevel ? vexoDecodeHuffmanPair_1u16s(&cursor, &bit, t.p, &run, &level)
                                          : vexoDecodeHuffmanOne_1u32s(&cursor, &bit, &value, t.p);
            const bool orphaned = !runLevel && c.level == 30;
            EXPECT_EQ(s, orphaned ? vexoStatusBadVlcCode : vexoStatusOk) << c.level;
            if (!orphaned) {
                EXPECT_EQ(runLevel ? level : value, c.level);
            }
        }
    }
}

// Every code of the standard's tables, from every bit of a word, through
// tables split into levels in several ways: the cursor must end just after
// the code, so spare bits go back, across a word boundary where they must.
TEST_P(Huffman, DecodesEveryStandardCodeFromEveryBitOffset) {
    std::mt19937 rng(1);
    for (const std::vector<int>& widths : {std::vector<int>{8, 5, 4}, {10, 7}, {4, 4, 4, 4, 1}, {17}}) {
        for (auto table : {CoefficientTable::B14, CoefficientTable::B14First, CoefficientTable::B15}) {
            OwnedTable t;
            ASSERT_EQ(vexoHuffmanRunLevelTableInitAlloc_32s(mpeg::coefficientDescription(table, widths).data(), &t.p),
                      vexoStatusOk);
            for (const mpeg::Code& c : mpeg::coefficientCodes(table)) {
                for (int start = 0; start < 32; ++start) {
                    BitWriter w(start, static_cast<int>(rng() & 1));
                    w.put(c.code, c.length);
                    w.put(rng(), 32);
                    std::vector<Vexo32u> words = w.words();
                    Vexo32u* cursor = words.data();
                    Vexo32s bit = start;
                    Vexo8u run = 0;
                    Vexo16s level = 0;
                    ASSERT_EQ(vexoDecodeHuffmanPair_1u16s(&cursor, &bit, t.p, &run, &level), vexoStatusOk);
                    ASSERT_EQ(run, c.run & 255);
                    ASSERT_EQ(level, c.level);
                    ASSERT_EQ(cursor - words.data(), w.cursorAfter(c.length).word);
                    ASSERT_EQ(bit, w.cursorAfter(c.length).bit);
                }
            }
        }
        for (bool chroma : {false, true}) {
            OwnedTable t;
            ASSERT_EQ(vexoHuffmanTableInitAlloc_32s(mpeg::dcSizeDescription(chroma, widths).data(), &t.p), vexoStatusOk);
            for (const mpeg::Code& c : mpeg::dcSizeCodes(chroma)) {
                const int start = static_cast<int>(rng() % 32);
                BitWriter w(start);
                w.put(c.code, c.length);
                w.put(rng(), 32);
                std::vector<Vexo32u> words = w.words();
                Vexo32u* cursor = words.data();
                Vexo32s bit = start, value = -1;
                ASSERT_EQ(vexoDecodeHuffmanOne_1u32s(&cursor, &bit, &value, t.p), vexoStatusOk);
                EXPECT_EQ(value, c.level);
                EXPECT_EQ(cursor - words.data(), w.cursorAfter(c.length).word);
                EXPECT_EQ(bit, w.cursorAfter(c.length).bit);
            }
        }
    }
}

// An invalid code: the single decoder keeps every bit the lookup read (spare
// bits included) and reports 0xF0F1; the pair decoder leaves all as it was.
TEST_P(Huffman, InvalidCodes) {
    const Vexo32s sparse[] = {0, 2, 4, 2, 1, 1, 7, 0, 0, 1, 1, 5, -1};  // 1 -> 7, 0001 -> 5
    OwnedTable t;
    ASSERT_EQ(vexoHuffmanTableInitAlloc_32s(sparse, &t.p), vexoStatusOk);
    BitWriter w(1);
    w.putBits("0000 11");  // 0000 is invalid at the first level; its 4 bits cross the word
    std::vector<Vexo32u> words = w.words();
    Vexo32u* cursor = words.data();
    Vexo32s bit = 1, value = 0;
    EXPECT_EQ(vexoDecodeHuffmanOne_1u32s(&cursor, &bit, &value, t.p), vexoStatusBadVlcCode);
    EXPECT_EQ(value, 0xF0F1);
    EXPECT_EQ(cursor, words.data() + 1);
    EXPECT_EQ(bit, 29);

    OwnedTable ac;
    ASSERT_EQ(vexoHuffmanRunLevelTableInitAlloc_32s(
                  mpeg::coefficientDescription(CoefficientTable::B14, {8, 5, 4}).data(), &ac.p),
              vexoStatusOk);
    std::vector<Vexo32u> zeros(4, 0);  // no MPEG code begins with 12 zeros
    cursor = zeros.data();
    bit = 7;
    Vexo8u run = 9;
    Vexo16s level = 9;
    EXPECT_EQ(vexoDecodeHuffmanPair_1u16s(&cursor, &bit, ac.p, &run, &level), vexoStatusBadVlcCode);
    EXPECT_EQ(cursor, zeros.data());
    EXPECT_EQ(bit, 7);
    EXPECT_EQ(run, 9);
    EXPECT_EQ(level, 9);
}

TEST_P(Huffman, EncodeTableLayout) {
    const std::vector<Vexo32s> d = mpeg::coefficientDescription(CoefficientTable::B14, {8, 5, 4});
    OwnedTable t;
    ASSERT_EQ(vexoCreateRLEncodeTable(d.data(), &t.p), vexoStatusOk);
    // maxRun 31; end of block '10' and escape '0000 01' as (code << 4 | length).
    EXPECT_EQ(t.p[0], 31 << 20 | (2 << 4 | 2) << 10 | (1 << 4 | 6));
    std::vector<int> largest(32, 0);
    for (const mpeg::PrintedCode& row : mpeg::printedCoefficientCodes(CoefficientTable::B14))
        if (row.run < 32) largest[row.run] = std::max(largest[row.run], row.level);
    EXPECT_EQ(t.p[1], (31 + 2 + largest[0]) * 4);
    for (int run = 0; run < 32; ++run) {
        const Vexo32s* centre = t.p + t.p[1 + run] / 4;
        EXPECT_EQ(centre[0], largest[run]);
        if (run > 0) {
            EXPECT_EQ(centre - (t.p + t.p[run] / 4), largest[run - 1] + largest[run] + 1);
        }
    }
    for (const mpeg::Code& c : mpeg::coefficientCodes(CoefficientTable::B14)) {
        if (c.run > 31) continue;
        const Vexo32s* centre = t.p + t.p[1 + c.run] / 4;
        EXPECT_EQ(centre[c.level], static_cast<Vexo32s>(c.code << 16 | c.length));
    }
    const Vexo32s gap[] = {0, 1, 4, 0, 0, 2, 2, 0, 1, 3, 0, -1, 2, 2, 2, 1, 3, 2, -1, -1};  // runs 0 and 2
    OwnedTable g;
    ASSERT_EQ(vexoCreateRLEncodeTable(gap, &g.p), vexoStatusOk);
    EXPECT_EQ(g.p[0], 2 << 20);
    EXPECT_EQ(g.p[g.p[2] / 4], -1);
}

// Random blocks through the library's writers against the test's own encoder,
// from every free-bit count of the first word.
TEST_P(Huffman, PutBlocksMatchAnIndependentEncoder) {
    std::mt19937 rng(2);
    const std::vector<Vexo32s> desc = mpeg::coefficientDescription(CoefficientTable::B14, {8, 5, 4});
    OwnedTable ac;
    ASSERT_EQ(vexoCreateRLEncodeTable(desc.data(), &ac.p), vexoStatusOk);
    const std::vector<Vexo32s> dc = mpeg::dcSizeEncodePairs(false);
    const mpeg::BlockWriter encoder(CoefficientTable::B14, mpeg::EscapeForm::Mpeg2);
    const Vexo32s* scan = mpeg::kAlternateScan;
    for (int trial = 0; trial < 64; ++trial) {
        const bool intra = trial & 1;
        const int start = trial / 2;
        Vexo16s block[64] = {};
        const int nonZero = trial < 8 ? trial / 4 : static_cast<int>(rng() % 20);
        for (int i = 0; i < nonZero; ++i) {
            const int big = rng() % 6 == 0;
            const int magnitude = big ? 1 + rng() % 2047 : 1 + rng() % 3;
            block[scan[rng() % 64]] = static_cast<Vexo16s>(rng() & 1 ? magnitude : -magnitude);
        }
        if (trial % 8 == 2) block[0] = -1;
        Vexo32s predictor = static_cast<Vexo32s>(rng() % 2048);
        if (intra) block[0] = static_cast<Vexo16s>(rng() % 2048);
        BitWriter want(start);
        int count = 0, run = 0;
        if (intra) {
            mpeg::BlockWriter::dcDifferential(want, false, block[0] - predictor);
        } else if (block[0] != 0) {
            encoder.firstCoefficient(want, 0, block[0]);
            ++count;
        } else {
            run = 1;
        }
        for (int i = 1; i < 64; ++i, ++run) {
            if (block[scan[i]] == 0) continue;
            encoder.coefficient(want, run, block[scan[i]]);
            ++count;
            run = -1;
        }
        encoder.endOfBlock(want);
        std::vector<Vexo32u> expected = want.words();

        std::vector<Vexo32u> got(expected.size(), 0);
        got[0] = expected[0] & ~(0xFFFFFFFFu >> (31 - start));
        Vexo32u* cursor = got.data();
        Vexo32s freeBits = start + 1;
        const Vexo32s startPredictor = predictor;
        if (intra) {
            ASSERT_EQ(vexoPutIntraBlock(&cursor, &freeBits, block, &predictor, dc.data(), ac.p, scan, 2, 2, count),
                      vexoStatusOk);
            EXPECT_EQ(predictor, block[0]);
        } else {
            ASSERT_EQ(vexoPutNonIntraBlock(&cursor, &freeBits, block, ac.p, scan, 2, 2, count), vexoStatusOk);
        }
        EXPECT_EQ(got, expected) << "trial " << trial << " from predictor " << startPredictor;
        EXPECT_EQ(cursor - got.data(), want.cursorAfter(want.size()).word);
        EXPECT_EQ(freeBits, want.cursorAfter(want.size()).bit + 1);
    }
}

// A code that fills a word exactly moves on without touching the next word;
// one that runs over stores its low bits into the next word.
TEST_P(Huffman, WriterAtTheEndOfAWord) {
    const std::vector<Vexo32s> desc = mpeg::coefficientDescription(CoefficientTable::B14, {8, 5, 4});
    OwnedTable ac;
    ASSERT_EQ(vexoCreateRLEncodeTable(desc.data(), &ac.p), vexoStatusOk);
    Vexo16s block[64] = {1};
    Vexo32u words[2] = {0, 0xDEADBEEF};
    Vexo32u* cursor = words;
    Vexo32s freeBits = 2;
    ASSERT_EQ(vexoPutNonIntraBlock(&cursor, &freeBits, block, ac.p, mpeg::kZigzagScan, 0, 0, 1), vexoStatusOk);
    EXPECT_EQ(words[0], 2u);
    EXPECT_EQ(words[1], 0xDEADBEEFu);
    EXPECT_EQ(cursor, words + 1);
    EXPECT_EQ(freeBits, 32);

    words[0] = 0;
    cursor = words;
    freeBits = 1;
    ASSERT_EQ(vexoPutNonIntraBlock(&cursor, &freeBits, block, ac.p, mpeg::kZigzagScan, 0, 0, 1), vexoStatusOk);
    EXPECT_EQ(words[0], 1u);
    EXPECT_EQ(words[1], 0u);
    EXPECT_EQ(freeBits, 31);
}

TEST_P(Huffman, NullPointers) {
    const Vexo32s d[] = {0, 1, 1, 1, 1, 1, 1, -1};
    OwnedTable t;
    ASSERT_EQ(vexoHuffmanRunLevelTableInitAlloc_32s(d, &t.p), vexoStatusOk);
    Vexo32u word = 0, *stream = &word, *none = nullptr;
    Vexo32s bit = 31, value = 0, predictor = 0;
    Vexo8u run = 0;
    Vexo16s block[64] = {};
    EXPECT_EQ(vexoHuffmanTableInitAlloc_32s(nullptr, &t.p), vexoStatusNullPointer);
    EXPECT_EQ(vexoHuffmanRunLevelTableInitAlloc_32s(d, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoCreateRLEncodeTable(d, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoHuffmanTableFree_32s(nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoDecodeHuffmanOne_1u32s(&none, &bit, &value, t.p), vexoStatusNullPointer);
    EXPECT_EQ(vexoDecodeHuffmanOne_1u32s(&stream, &bit, nullptr, t.p), vexoStatusNullPointer);
    EXPECT_EQ(vexoDecodeHuffmanPair_1u16s(&stream, &bit, t.p, &run, nullptr), vexoStatusNullPointer);
    EXPECT_EQ(vexoPutIntraBlock(&stream, &bit, block, nullptr, d, t.p, d, 0, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(vexoPutNonIntraBlock(&none, &bit, block, t.p, d, 0, 0, 0), vexoStatusNullPointer);
    EXPECT_EQ(stream, &word);
    EXPECT_EQ(bit, 31);
    EXPECT_EQ(predictor, 0);
}

VEXO_ON_EVERY_PATH(Huffman);

}  // namespace
}  // namespace vexo::test
