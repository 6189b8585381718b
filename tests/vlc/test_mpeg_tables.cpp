// The transcribed MPEG tables, checked without the library: the behaviour
// tests of the decoders are only as good as these tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <utility>

#include "tests/support/bit_writer.h"
#include "tests/support/mpeg_tables.h"

namespace vexo::test {
namespace {

using mpeg::Code;
using mpeg::CoefficientTable;

struct TableCase {
    const char* name;
    std::vector<Code> codes;
    std::vector<int> countsByLength;  // counted by length in the standard's tables, sign bits included
};

std::vector<TableCase> allTables() {
    return {
        {"B14", mpeg::coefficientCodes(CoefficientTable::B14),
         {0, 1, 2, 2, 4, 7, 8, 8, 16, 0, 16, 0, 32, 32, 32, 32, 32}},
        {"B14First", mpeg::coefficientCodes(CoefficientTable::B14First),
         {0, 2, 0, 2, 4, 7, 8, 8, 16, 0, 16, 0, 32, 32, 32, 32, 32}},
        {"B15", mpeg::coefficientCodes(CoefficientTable::B15),
         {0, 0, 2, 5, 2, 11, 8, 18, 28, 6, 4, 0, 20, 24, 32, 32, 32}},
        {"B12", mpeg::dcSizeCodes(false), {0, 2, 3, 1, 1, 1, 1, 1, 2}},
        {"B13", mpeg::dcSizeCodes(true), {0, 3, 1, 1, 1, 1, 1, 1, 1, 2}},
    };
}

bool isPrefix(const Code& shorter, const Code& longer) {
    return shorter.length <= longer.length && (longer.code >> (longer.length - shorter.length)) == shorter.code;
}

// Bit by bit, the first code that matches: a decoder too simple to be wrong.
int referenceDecode(const std::vector<Code>& codes, const Vexo32u* words, int bit, int* length) {
    for (int n = 1; n <= 32; ++n) {
        const Vexo32u bits = peekBits(words, 0, bit, n);
        for (size_t i = 0; i < codes.size(); ++i) {
            if (codes[i].length == n && codes[i].code == bits) {
                *length = n;
                return static_cast<int>(i);
            }
        }
    }
    return -1;
}

TEST(MpegTables, PrefixFreeWithTheStandardsCountsAndEveryCodeDecodes) {
    std::mt19937 rng(6);
    for (const TableCase& t : allTables()) {
        SCOPED_TRACE(t.name);
        std::vector<int> counts;
        for (const Code& c : t.codes) {
            if (static_cast<int>(counts.size()) < c.length) counts.resize(c.length, 0);
            ++counts[c.length - 1];
        }
        EXPECT_EQ(counts, t.countsByLength);
        for (size_t i = 0; i < t.codes.size(); ++i)
            for (size_t j = 0; j < t.codes.size(); ++j)
                if (i != j) {
                    EXPECT_FALSE(isPrefix(t.codes[i], t.codes[j])) << i << " " << j;
                }
        for (size_t i = 0; i < t.codes.size(); ++i) {
            const int start = static_cast<int>(rng() % 32);
            BitWriter w(start);
            w.put(t.codes[i].code, t.codes[i].length);
            w.put(rng(), 32);
            const std::vector<Vexo32u> words = w.words();
            int length = 0;
            EXPECT_EQ(referenceDecode(t.codes, words.data(), start, &length), static_cast<int>(i));
            EXPECT_EQ(length, t.codes[i].length);
        }
    }
}

// Both coefficient tables code the same 111 pairs, each level from 1 up to
// its run's largest, and their codes of 14 bits or more (sign excluded) are
// shared.
TEST(MpegTables, CoefficientTablesCodeTheSamePairs) {
    std::map<std::pair<int, int>, Code> b14, b15;
    for (const Code& c : mpeg::coefficientCodes(CoefficientTable::B14)) b14[{c.run, c.level}] = c;
    for (const Code& c : mpeg::coefficientCodes(CoefficientTable::B15)) b15[{c.run, c.level}] = c;
    ASSERT_EQ(b14.size(), 224u);  // 111 pairs, two signs, end of block, escape
    std::map<int, int> largest;
    for (const auto& [key, code] : b14) {
        ASSERT_TRUE(b15.count(key)) << key.first << "," << key.second;
        if (code.length >= 15) {
            EXPECT_EQ(code.code, b15[key].code);
        }
        if (key.second > 0) largest[key.first] = std::max(largest[key.first], key.second);
    }
    for (const auto& [run, top] : largest)
        for (int level = 1; level <= top; ++level) EXPECT_TRUE(b14.count({run, -level}));
    EXPECT_EQ(largest.size(), 32u);  // runs 0 to 31
}

TEST(MpegTables, ScansArePermutationsAndZigzagWalksDiagonals) {
    for (const Vexo32s* scan : {mpeg::kZigzagScan, mpeg::kAlternateScan})
        EXPECT_EQ(std::set<Vexo32s>(scan, scan + 64).size(), 64u);
    // The zigzag, made afresh: anti-diagonals, alternating direction, the
    // first one going up and to the right.
    std::vector<Vexo32s> zigzag;
    for (int d = 0; d < 15; ++d) {
        std::vector<Vexo32s> diagonal;
        for (int row = 0; row < 8; ++row)
            if (d - row >= 0 && d - row < 8) diagonal.push_back(row * 8 + d - row);
        if (d % 2 == 0) std::reverse(diagonal.begin(), diagonal.end());
        zigzag.insert(zigzag.end(), diagonal.begin(), diagonal.end());
    }
    EXPECT_EQ(zigzag, std::vector<Vexo32s>(mpeg::kZigzagScan, mpeg::kZigzagScan + 64));
}

}  // namespace
}  // namespace vexo::test
