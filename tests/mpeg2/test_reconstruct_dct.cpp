#include <random>

#include "tests/support/bit_writer.h"
#include "tests/support/mpeg_tables.h"
#include "tests/support/paths.h"

namespace vexo::test {
namespace {

using mpeg::BlockWriter;
using mpeg::CoefficientTable;
using mpeg::EscapeForm;

struct Tables {
    Vexo32s* first = nullptr;
    Vexo32s* b14 = nullptr;
    Vexo32s* b15 = nullptr;
    Vexo32s* dc = nullptr;
    Tables() {
        const std::vector<int> widths{8, 5, 4};
        vexoHuffmanRunLevelTableInitAlloc_32s(mpeg::coefficientDescription(CoefficientTable::B14First, widths).data(),
                                              &first);
        vexoHuffmanRunLevelTableInitAlloc_32s(mpeg::coefficientDescription(CoefficientTable::B14, widths).data(), &b14);
        vexoHuffmanRunLevelTableInitAlloc_32s(mpeg::coefficientDescription(CoefficientTable::B15, widths).data(), &b15);
        vexoHuffmanTableInitAlloc_32s(mpeg::dcSizeDescription(false, {4, 5}).data(), &dc);
    }
    ~Tables() {
        for (Vexo32s* t : {first, b14, b15, dc})
            if (t) vexoHuffmanTableFree_32s(t);
    }
};

class ReconstructDct : public PathTest {
protected:
    void SetUp() override {
        PathTest::SetUp();
        ASSERT_TRUE(t.first && t.b14 && t.b15 && t.dc);
    }
    Tables t;
};

// The inverse quantisation of ISO/IEC 11172-2 and 13818-2, with the
// library's MPEG-1 odd-ification rule: a later non-intra value steps by the
// sign of its level, so a 0 becomes -sign.
Vexo16s referenceValue(bool mpeg2, bool intra, bool first, int level, int m, int qp) {
    const long long s = (level > 0) - (level < 0);
    long long v = intra ? 2LL * level * m * qp : (2LL * level + s) * m * qp;
    v /= mpeg2 ? 32 : 16;
    if (!mpeg2) {
        if (v % 2 == 0) v -= (intra || first) ? (v > 0) - (v < 0) : s;
        v = v < -2048 ? -2048 : v > 2047 ? 2047 : v;
    }
    return static_cast<Vexo16s>(v);
}

TEST_P(ReconstructDct, RandomBlocksRoundTripOnEveryForm) {
    std::mt19937 rng(4);
    for (int trial = 0; trial < 400; ++trial) {
        const bool mpeg2 = trial & 1, intra = trial & 2;
        const bool tableOne = mpeg2 && intra && (trial & 4);
        const int startBit = static_cast<int>(rng() % 32);
        const Vexo32s* scan = (trial & 8) ? mpeg::kAlternateScan : mpeg::kZigzagScan;
        const BlockWriter writer(tableOne ? CoefficientTable::B15 : CoefficientTable::B14,
                                 mpeg2 ? EscapeForm::Mpeg2 : EscapeForm::Mpeg1);
        Vexo16s matrix[64];
        const int largestWeight = (trial & 16) ? 3 : 255;
        for (Vexo16s& m : matrix) m = static_cast<Vexo16s>(1 + rng() % largestWeight);
        const bool flat = mpeg2 && !intra && (trial & 4);
        const int qp = 1 + static_cast<int>(rng() % ((trial & 16) ? 2 : mpeg2 ? 112 : 31));
        const int maxLevel = mpeg2 ? 2047 : 255;

        BitWriter w(startBit, static_cast<int>(rng() & 1));
        Vexo16s expected[64] = {};
        int sum = 0, position = intra ? 0 : -1;
        Vexo16s predictor = static_cast<Vexo16s>(rng() % 2048), expectPredictor = predictor;
        const int dcShift = static_cast<int>(rng() % 4);
        if (intra) {
            const int diff = static_cast<int>(rng() % 4095) - 2047;
            BlockWriter::dcDifferential(w, false, diff);
            expectPredictor = static_cast<Vexo16s>(mpeg2 ? predictor + diff : predictor + 8 * diff);
            expected[0] = static_cast<Vexo16s>(mpeg2 ? expectPredictor << dcShift : expectPredictor);
            sum = expected[0];
        }
        const int events = static_cast<int>(rng() % 24) + (intra ? 0 : 1);
        for (int e = 0; e < events && position < 63; ++e) {
            const int run = static_cast<int>(rng() % 3 == 0 ? rng() % (63 - position) : rng() % 3) % (63 - position);
            const int magnitude = rng() % 5 == 0 ? 1 + static_cast<int>(rng() % maxLevel) : 1 + static_cast<int>(rng() % 3);
            const int level = rng() & 1 ? magnitude : -magnitude;
            const bool first = !intra && e == 0;
            first ? writer.firstCoefficient(w, run, level) : writer.coefficient(w, run, level);
            position += run + 1;
            const int p = scan[position];
            expected[p] = referenceValue(mpeg2, intra, first, level, flat ? 16 : matrix[p], qp);
            sum += expected[p];
        }
        writer.endOfBlock(w);
        if (mpeg2 && sum % 2 == 0) expected[63] = static_cast<Vexo16s>(expected[63] ^ 1);
        const int expectLast = mpeg2 && !intra && position == 0 ? 1 : position;

        std::vector<Vexo32u> words = w.words();
        Vexo32u* cursor = words.data();
        Vexo32s bit = startBit, last = -1;
        Vexo16s dst[64];
        std::fill(dst, dst + 64, Vexo16s{0x5A5A});
        const Vexo32s* ac = tableOne ? t.b15 : t.b14;
        VexoStatus s;
        if (intra && mpeg2) {
            s = vexoReconstructDCTBlockIntra_MPEG2_32s(&cursor, &bit, t.dc, ac, scan, qp, matrix, &predictor, dcShift,
                                                       dst, &last);
        } else if (intra) {
            s = vexoReconstructDCTBlockIntra_MPEG1_32s(&cursor, &bit, t.dc, ac, scan, qp, matrix, &predictor, dst, &last);
        } else if (mpeg2) {
            s = vexoReconstructDCTBlock_MPEG2_32s(&cursor, &bit, t.first, ac, scan, qp, flat ? nullptr : matrix, dst,
                                                  &last);
        } else {
            s = vexoReconstructDCTBlock_MPEG1_32s(&cursor, &bit, t.first, ac, scan, qp, matrix, dst, &last);
        }
        SCOPED_TRACE(testing::Message() << "trial " << trial);
        ASSERT_EQ(s, vexoStatusOk);
        ASSERT_EQ(std::vector<Vexo16s>(dst, dst + 64), std::vector<Vexo16s>(expected, expected + 64));
        EXPECT_EQ(last, expectLast);
        EXPECT_EQ(cursor - words.data(), w.cursorAfter(w.size()).word);
        EXPECT_EQ(bit, w.cursorAfter(w.size()).bit);
        if (intra) {
            EXPECT_EQ(predictor, expectPredictor);
        }
    }
}

struct Decoded {
    VexoStatus status;
    Vexo16s dst[64];
    Vexo32s last = -7;
    int wordsMoved, bit;
};

Decoded decodeNonIntra(const Tables& t, bool mpeg2, const char* bits, const Vexo16s* matrix, int qp) {
    BitWriter w(20);
    w.putBits(bits);
    std::vector<Vexo32u> words = w.words();
    Vexo32u* cursor = words.data();
    Decoded d{};
    d.last = -7;
    d.bit = 20;
    auto decode = mpeg2 ? vexoReconstructDCTBlock_MPEG2_32s : vexoReconstructDCTBlock_MPEG1_32s;
    d.status = decode(&cursor, &d.bit, t.first, t.b14, mpeg::kZigzagScan, qp, matrix, d.dst, &d.last);
    d.wordsMoved = static_cast<int>(cursor - words.data());
    return d;
}

// The cases worked by hand from the decoding rules.
TEST_P(ReconstructDct, WorkedCases) {
    Vexo16s ones[64], sixteens[64];
    std::fill(ones, ones + 64, Vexo16s{1});
    std::fill(sixteens, sixteens + 64, Vexo16s{16});

    // '1' '0': run 0, level +1 before any table; then end of block. MPEG-2
    // reports position 0 as 1; 16 x 1 x 3 / 32 = 1, an odd sum.
    Decoded d = decodeNonIntra(t, true, "10 10", nullptr, 1);
    EXPECT_EQ(d.status, vexoStatusOk);
    EXPECT_EQ(d.dst[0], 1);
    EXPECT_EQ(d.dst[63], 0);
    EXPECT_EQ(d.last, 1);
    // Level 2: 16 x 5 / 32 = 2, an even sum: dst[63] goes from 0 to 1.
    d = decodeNonIntra(t, true, "0100 0  10", nullptr, 1);
    EXPECT_EQ(d.dst[0], 2);
    EXPECT_EQ(d.dst[63], 1);
    EXPECT_EQ(d.last, 1);

    // MPEG-1, m x qp x 3 / 16 = 0: the first coefficient stays 0, the second
    // (run 0, level 1: '11 0') becomes -1.
    d = decodeNonIntra(t, false, "10 110 10", ones, 1);
    EXPECT_EQ(d.status, vexoStatusOk);
    EXPECT_EQ(d.dst[0], 0);
    EXPECT_EQ(d.dst[1], -1);
    EXPECT_EQ(d.last, 1);

    // MPEG-1 escapes: byte 0 then 200 is +200; byte 0x80 then 56 is -200.
    d = decodeNonIntra(t, false, "000001 000000 00000000 11001000  000001 000000 10000000 00111000  10", sixteens, 1);
    EXPECT_EQ(d.dst[0], 401);
    EXPECT_EQ(d.dst[1], -401);
    // And MPEG-2's 18-bit escape: run 2, level -2048.
    d = decodeNonIntra(t, true, "000001 000010 100000000000 10", sixteens, 1);
    EXPECT_EQ(d.dst[mpeg::kZigzagScan[2]], -2048);  // 16 x -4097 / 32, truncated
    EXPECT_EQ(d.last, 2);

    // A run landing on position 64: -74, lastIndex unwritten, the cursor
    // where it was, the block as far as it got.
    d = decodeNonIntra(t, true, "10  000001 111111 000000000001  10", sixteens, 1);
    EXPECT_EQ(d.status, vexoStatusBadVlcCode);
    EXPECT_EQ(d.last, -7);
    EXPECT_EQ(d.wordsMoved, 0);
    EXPECT_EQ(d.bit, 20);
    EXPECT_EQ(d.dst[0], 1);
    // An invalid code (twelve zeros) reads as a run far past the block.
    EXPECT_EQ(decodeNonIntra(t, false, "10 0000 0000 0000 0000", ones, 1).status, vexoStatusBadVlcCode);

    // Intra DC, luminance size 3 ('101'), bits 010 = -5: MPEG-1 adds 8 x -5 to
    // the predictor; MPEG-2 adds -5 and shifts by dcShift.
    BitWriter w;
    w.putBits("101 010 10");
    std::vector<Vexo32u> words = w.words();
    Vexo32u* cursor = words.data();
    Vexo32s bit = 31, last = -7;
    Vexo16s predictor = 1024, dst[64];
    ASSERT_EQ(vexoReconstructDCTBlockIntra_MPEG1_32s(&cursor, &bit, t.dc, t.b14, mpeg::kZigzagScan, 3, sixteens,
                                                     &predictor, dst, &last),
              vexoStatusOk);
    EXPECT_EQ(dst[0], 984);
    EXPECT_EQ(predictor, 984);
    EXPECT_EQ(last, 0);
    cursor = words.data();
    bit = 31;
    predictor = 128;
    ASSERT_EQ(vexoReconstructDCTBlockIntra_MPEG2_32s(&cursor, &bit, t.dc, t.b14, mpeg::kZigzagScan, 3, sixteens,
                                                     &predictor, 2, dst, &last),
              vexoStatusOk);
    EXPECT_EQ(predictor, 123);
    EXPECT_EQ(dst[0], 492);
    EXPECT_EQ(dst[63], 1);  // the sum, dst[0] included, is even
}

TEST_P(ReconstructDct, NullPointers) {
    Vexo32u word = 0, *stream = &word, *none = nullptr;
    Vexo32s bit = 31, last = -7;
    Vexo16s matrix[64] = {}, dst[64] = {}, predictor = 0;
    const Vexo32s* scan = mpeg::kZigzagScan;
    EXPECT_EQ(vexoReconstructDCTBlock_MPEG1_32s(&stream, &bit, t.first, t.b14, scan, 1, nullptr, dst, &last),
              vexoStatusNullPointer);
    EXPECT_EQ(vexoReconstructDCTBlock_MPEG2_32s(&none, &bit, t.first, t.b14, scan, 1, matrix, dst, &last),
              vexoStatusNullPointer);
    EXPECT_EQ(vexoReconstructDCTBlockIntra_MPEG1_32s(&stream, &bit, t.dc, t.b14, scan, 1, matrix, nullptr, dst, &last),
              vexoStatusNullPointer);
    EXPECT_EQ(vexoReconstructDCTBlockIntra_MPEG2_32s(&stream, &bit, t.dc, t.b14, scan, 1, nullptr, &predictor, 0, dst,
                                                     &last),
              vexoStatusNullPointer);
    EXPECT_EQ(stream, &word);
    EXPECT_EQ(last, -7);
}

VEXO_ON_EVERY_PATH(ReconstructDct);

}  // namespace
}  // namespace vexo::test
