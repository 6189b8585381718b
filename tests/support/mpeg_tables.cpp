#include "tests/support/mpeg_tables.h"

#include <algorithm>
#include <stdexcept>

namespace vexo::test::mpeg {
namespace {

// Table B.14, in the order the standard prints it. The (0, 1) row here is the
// '11s' form used for every coefficient but a non-intra block's first.
constexpr PrintedCode kTableB14[] = {
    {kEndOfBlockRun, 0, "10"},
    {0, 1, "11"},
    {1, 1, "011"},
    {0, 2, "0100"},
    {2, 1, "0101"},
    {0, 3, "0010 1"},
    {3, 1, "0011 1"},
    {4, 1, "0011 0"},
    {1, 2, "0001 10"},
    {5, 1, "0001 11"},
    {6, 1, "0001 01"},
    {7, 1, "0001 00"},
    {0, 4, "0000 110"},
    {2, 2, "0000 100"},
    {8, 1, "0000 111"},
    {9, 1, "0000 101"},
    {kEscapeRun, 0, "0000 01"},
    {0, 5, "0010 0110"},
    {0, 6, "0010 0001"},
    {1, 3, "0010 0101"},
    {3, 2, "0010 0100"},
    {10, 1, "0010 0111"},
    {11, 1, "0010 0011"},
    {12, 1, "0010 0010"},
    {13, 1, "0010 0000"},
    {0, 7, "0000 0010 10"},
    {1, 4, "0000 0011 00"},
    {2, 3, "0000 0010 11"},
    {4, 2, "0000 0011 11"},
    {5, 2, "0000 0010 01"},
    {14, 1, "0000 0011 10"},
    {15, 1, "0000 0011 01"},
    {16, 1, "0000 0010 00"},
    {0, 8, "0000 0001 1101"},
    {0, 9, "0000 0001 1000"},
    {0, 10, "0000 0001 0011"},
    {0, 11, "0000 0001 0000"},
    {1, 5, "0000 0001 1011"},
    {2, 4, "0000 0001 0100"},
    {3, 3, "0000 0001 1100"},
    {4, 3, "0000 0001 0010"},
    {6, 2, "0000 0001 1110"},
    {7, 2, "0000 0001 0101"},
    {8, 2, "0000 0001 0001"},
    {17, 1, "0000 0001 1111"},
    {18, 1, "0000 0001 1010"},
    {19, 1, "0000 0001 1001"},
    {20, 1, "0000 0001 0111"},
    {21, 1, "0000 0001 0110"},
    {0, 12, "0000 0000 1101 0"},
    {0, 13, "0000 0000 1100 1"},
    {0, 14, "0000 0000 1100 0"},
    {0, 15, "0000 0000 1011 1"},
    {1, 6, "0000 0000 1011 0"},
    {1, 7, "0000 0000 1010 1"},
    {2, 5, "0000 0000 1010 0"},
    {3, 4, "0000 0000 1001 1"},
    {5, 3, "0000 0000 1001 0"},
    {9, 2, "0000 0000 1000 1"},
    {10, 2, "0000 0000 1000 0"},
    {22, 1, "0000 0000 1111 1"},
    {23, 1, "0000 0000 1111 0"},
    {24, 1, "0000 0000 1110 1"},
    {25, 1, "0000 0000 1110 0"},
    {26, 1, "0000 0000 1101 1"},
    {0, 16, "0000 0000 0111 11"},
    {0, 17, "0000 0000 0111 10"},
    {0, 18, "0000 0000 0111 01"},
    {0, 19, "0000 0000 0111 00"},
    {0, 20, "0000 0000 0110 11"},
    {0, 21, "0000 0000 0110 10"},
    {0, 22, "0000 0000 0110 01"},
    {0, 23, "0000 0000 0110 00"},
    {0, 24, "0000 0000 0101 11"},
    {0, 25, "0000 0000 0101 10"},
    {0, 26, "0000 0000 0101 01"},
    {0, 27, "0000 0000 0101 00"},
    {0, 28, "0000 0000 0100 11"},
    {0, 29, "0000 0000 0100 10"},
    {0, 30, "0000 0000 0100 01"},
    {0, 31, "0000 0000 0100 00"},
    {0, 32, "0000 0000 0011 000"},
    {0, 33, "0000 0000 0010 111"},
    {0, 34, "0000 0000 0010 110"},
    {0, 35, "0000 0000 0010 101"},
    {0, 36, "0000 0000 0010 100"},
    {0, 37, "0000 0000 0010 011"},
    {0, 38, "0000 0000 0010 010"},
    {0, 39, "0000 0000 0010 001"},
    {0, 40, "0000 0000 0010 000"},
    {1, 8, "0000 0000 0011 111"},
    {1, 9, "0000 0000 0011 110"},
    {1, 10, "0000 0000 0011 101"},
    {1, 11, "0000 0000 0011 100"},
    {1, 12, "0000 0000 0011 011"},
    {1, 13, "0000 0000 0011 010"},
    {1, 14, "0000 0000 0011 001"},
    {1, 15, "0000 0000 0001 0011"},
    {1, 16, "0000 0000 0001 0010"},
    {1, 17, "0000 0000 0001 0001"},
    {1, 18, "0000 0000 0001 0000"},
    {6, 3, "0000 0000 0001 0100"},
    {11, 2, "0000 0000 0001 1010"},
    {12, 2, "0000 0000 0001 1001"},
    {13, 2, "0000 0000 0001 1000"},
    {14, 2, "0000 0000 0001 0111"},
    {15, 2, "0000 0000 0001 0110"},
    {16, 2, "0000 0000 0001 0101"},
    {27, 1, "0000 0000 0001 1111"},
    {28, 1, "0000 0000 0001 1110"},
    {29, 1, "0000 0000 0001 1101"},
    {30, 1, "0000 0000 0001 1100"},
    {31, 1, "0000 0000 0001 1011"},
};

// Table B.15. The codes of 13 bits and more are those of B.14.
constexpr PrintedCode kTableB15[] = {
    {kEndOfBlockRun, 0, "0110"},
    {0, 1, "10"},
    {1, 1, "010"},
    {0, 2, "110"},
    {2, 1, "0010 1"},
    {0, 3, "0111"},
    {3, 1, "0011 1"},
    {4, 1, "0001 10"},
    {1, 2, "0011 0"},
    {5, 1, "0001 11"},
    {6, 1, "0000 110"},
    {7, 1, "0000 100"},
    {0, 4, "1110 0"},
    {2, 2, "0000 111"},
    {8, 1, "0000 101"},
    {9, 1, "1111 000"},
    {kEscapeRun, 0, "0000 01"},
    {0, 5, "1110 1"},
    {0, 6, "0001 01"},
    {1, 3, "1111 001"},
    {3, 2, "0010 0110"},
    {10, 1, "1111 010"},
    {11, 1, "0010 0001"},
    {12, 1, "0010 0101"},
    {13, 1, "0010 0100"},
    {0, 7, "0001 00"},
    {1, 4, "0010 0111"},
    {2, 3, "1111 1100"},
    {4, 2, "1111 1101"},
    {5, 2, "0000 0010 0"},
    {14, 1, "0000 0010 1"},
    {15, 1, "0000 0011 1"},
    {16, 1, "0000 0011 01"},
    {0, 8, "1111 011"},
    {0, 9, "1111 100"},
    {0, 10, "0010 0011"},
    {0, 11, "0010 0010"},
    {1, 5, "0010 0000"},
    {2, 4, "0000 0011 00"},
    {3, 3, "0000 0001 1100"},
    {4, 3, "0000 0001 0010"},
    {6, 2, "0000 0001 1110"},
    {7, 2, "0000 0001 0101"},
    {8, 2, "0000 0001 0001"},
    {17, 1, "0000 0001 1111"},
    {18, 1, "0000 0001 1010"},
    {19, 1, "0000 0001 1001"},
    {20, 1, "0000 0001 0111"},
    {21, 1, "0000 0001 0110"},
    {0, 12, "1111 1010"},
    {0, 13, "1111 1011"},
    {0, 14, "1111 1110"},
    {0, 15, "1111 1111"},
    {1, 6, "0000 0000 1011 0"},
    {1, 7, "0000 0000 1010 1"},
    {2, 5, "0000 0000 1010 0"},
    {3, 4, "0000 0000 1001 1"},
    {5, 3, "0000 0000 1001 0"},
    {9, 2, "0000 0000 1000 1"},
    {10, 2, "0000 0000 1000 0"},
    {22, 1, "0000 0000 1111 1"},
    {23, 1, "0000 0000 1111 0"},
    {24, 1, "0000 0000 1110 1"},
    {25, 1, "0000 0000 1110 0"},
    {26, 1, "0000 0000 1101 1"},
    {0, 16, "0000 0000 0111 11"},
    {0, 17, "0000 0000 0111 10"},
    {0, 18, "0000 0000 0111 01"},
    {0, 19, "0000 0000 0111 00"},
    {0, 20, "0000 0000 0110 11"},
    {0, 21, "0000 0000 0110 10"},
    {0, 22, "0000 0000 0110 01"},
    {0, 23, "0000 0000 0110 00"},
    {0, 24, "0000 0000 0101 11"},
    {0, 25, "0000 0000 0101 10"},
    {0, 26, "0000 0000 0101 01"},
    {0, 27, "0000 0000 0101 00"},
    {0, 28, "0000 0000 0100 11"},
    {0, 29, "0000 0000 0100 10"},
    {0, 30, "0000 0000 0100 01"},
    {0, 31, "0000 0000 0100 00"},
    {0, 32, "0000 0000 0011 000"},
    {0, 33, "0000 0000 0010 111"},
    {0, 34, "0000 0000 0010 110"},
    {0, 35, "0000 0000 0010 101"},
    {0, 36, "0000 0000 0010 100"},
    {0, 37, "0000 0000 0010 011"},
    {0, 38, "0000 0000 0010 010"},
    {0, 39, "0000 0000 0010 001"},
    {0, 40, "0000 0000 0010 000"},
    {1, 8, "0000 0000 0011 111"},
    {1, 9, "0000 0000 0011 110"},
    {1, 10, "0000 0000 0011 101"},
    {1, 11, "0000 0000 0011 100"},
    {1, 12, "0000 0000 0011 011"},
    {1, 13, "0000 0000 0011 010"},
    {1, 14, "0000 0000 0011 001"},
    {1, 15, "0000 0000 0001 0011"},
    {1, 16, "0000 0000 0001 0010"},
    {1, 17, "0000 0000 0001 0001"},
    {1, 18, "0000 0000 0001 0000"},
    {6, 3, "0000 0000 0001 0100"},
    {11, 2, "0000 0000 0001 1010"},
    {12, 2, "0000 0000 0001 1001"},
    {13, 2, "0000 0000 0001 1000"},
    {14, 2, "0000 0000 0001 0111"},
    {15, 2, "0000 0000 0001 0110"},
    {16, 2, "0000 0000 0001 0101"},
    {27, 1, "0000 0000 0001 1111"},
    {28, 1, "0000 0000 0001 1110"},
    {29, 1, "0000 0000 0001 1101"},
    {30, 1, "0000 0000 0001 1100"},
    {31, 1, "0000 0000 0001 1011"},
};

// Table B.12, dct_dc_size_luminance.
constexpr PrintedDcSize kTableB12[] = {
    {0, "100"},       {1, "00"},         {2, "01"},         {3, "101"},
    {4, "110"},       {5, "1110"},       {6, "1111 0"},     {7, "1111 10"},
    {8, "1111 110"},  {9, "1111 1110"},  {10, "1111 1111 0"}, {11, "1111 1111 1"},
};

// Table B.13, dct_dc_size_chrominance.
constexpr PrintedDcSize kTableB13[] = {
    {0, "00"},          {1, "01"},           {2, "10"},           {3, "110"},
    {4, "1110"},        {5, "1111 0"},       {6, "1111 10"},      {7, "1111 110"},
    {8, "1111 1110"},   {9, "1111 1111 0"},  {10, "1111 1111 10"}, {11, "1111 1111 11"},
};

void sortByLength(std::vector<Code>& codes) {
    std::stable_sort(codes.begin(), codes.end(), [](const Code& a, const Code& b) { return a.length < b.length; });
}

std::vector<Vexo32s> describe(const std::vector<Code>& codes, const std::vector<int>& widths, bool runLevel) {
    std::vector<Vexo32s> out{0, static_cast<Vexo32s>(widths.size())};
    out.insert(out.end(), widths.begin(), widths.end());
    int longest = 0;
    for (const Code& c : codes) longest = std::max(longest, c.length);
    for (int length = 1; length <= longest; ++length) {
        size_t countAt = out.size();
        out.push_back(0);
        for (const Code& c : codes) {
            if (c.length != length) continue;
            ++out[countAt];
            out.push_back(static_cast<Vexo32s>(c.code));
            if (runLevel) out.push_back(c.run);
            out.push_back(c.level);
        }
    }
    out.push_back(-1);
    return out;
}

}  // namespace

Code parseBits(const char* bits) {
    Code c{0, 0, 0, 0};
    for (const char* p = bits; *p; ++p) {
        if (*p == ' ') continue;
        if (*p != '0' && *p != '1') throw std::invalid_argument(bits);
        c.code = (c.code << 1) | static_cast<Vexo32u>(*p - '0');
        ++c.length;
    }
    return c;
}

std::span<const PrintedCode> printedCoefficientCodes(CoefficientTable table) {
    if (table == CoefficientTable::B15) return kTableB15;
    return kTableB14;
}

std::span<const PrintedDcSize> printedDcSizeCodes(bool chroma) {
    if (chroma) return kTableB13;
    return kTableB12;
}

std::vector<Code> coefficientCodes(CoefficientTable table) {
    std::vector<Code> codes;
    for (const PrintedCode& row : printedCoefficientCodes(table)) {
        Code c = parseBits(row.bits);
        if (table == CoefficientTable::B14First) {
            // '10' cannot end a block before it has a coefficient: the first
            // coefficient's table gives the short code '1s' to run 0 level 1.
            if (row.run == kEndOfBlockRun) continue;
            if (row.run == 0 && row.level == 1) c = parseBits("1");
        }
        c.run = row.run;
        c.level = row.level;
        if (row.level == 0) {
            codes.push_back(c);
            continue;
        }
        codes.push_back({c.code << 1, c.length + 1, row.run, row.level});
        codes.push_back({(c.code << 1) | 1, c.length + 1, row.run, -row.level});
    }
    sortByLength(codes);
    return codes;
}

std::vector<Code> dcSizeCodes(bool chroma) {
    std::vector<Code> codes;
    for (const PrintedDcSize& row : printedDcSizeCodes(chroma)) {
        Code c = parseBits(row.bits);
        c.level = row.size;
        codes.push_back(c);
    }
    sortByLength(codes);
    return codes;
}

std::vector<Vexo32s> runLevelDescription(const std::vector<Code>& codes, const std::vector<int>& widths) {
    return describe(codes, widths, true);
}

std::vector<Vexo32s> huffmanDescription(const std::vector<Code>& codes, const std::vector<int>& widths) {
    return describe(codes, widths, false);
}

std::vector<Vexo32s> dcSizeEncodePairs(bool chroma) {
    std::vector<Vexo32s> pairs(24, 0);
    for (const PrintedDcSize& row : printedDcSizeCodes(chroma)) {
        Code c = parseBits(row.bits);
        pairs[2 * row.size] = static_cast<Vexo32s>(c.code);
        pairs[2 * row.size + 1] = c.length;
    }
    return pairs;
}

BlockWriter::BlockWriter(CoefficientTable table, EscapeForm escape) : escape_(escape) {
    for (const Code& c : coefficientCodes(table)) codes_[{c.run, c.level}] = c;
}

void BlockWriter::coefficient(BitWriter& w, int run, int level) const {
    auto found = codes_.find({run, level});
    if (found != codes_.end()) {
        w.put(found->second.code, found->second.length);
        return;
    }
    w.putBits("0000 01");
    w.put(static_cast<Vexo32u>(run), 6);
    if (escape_ == EscapeForm::Mpeg2) {
        w.put(static_cast<Vexo32u>(level), 12);
    } else if (level >= -127 && level <= 127) {
        w.put(static_cast<Vexo32u>(level), 8);
    } else {
        w.put(level > 0 ? 0x00 : 0x80, 8);
        w.put(static_cast<Vexo32u>(level), 8);
    }
}

void BlockWriter::firstCoefficient(BitWriter& w, int run, int level) const {
    if (run == 0 && (level == 1 || level == -1)) {
        w.put(level == 1 ? 2 : 3, 2);
        return;
    }
    coefficient(w, run, level);
}

void BlockWriter::endOfBlock(BitWriter& w) const {
    const Code& c = codes_.at({kEndOfBlockRun, 0});
    w.put(c.code, c.length);
}

void BlockWriter::dcDifferential(BitWriter& w, bool chroma, int diff) {
    int size = 0;
    while ((diff < 0 ? -diff : diff) >> size) ++size;
    const Code c = parseBits(printedDcSizeCodes(chroma)[static_cast<size_t>(size)].bits);
    w.put(c.code, c.length);
    if (size > 0) w.put(static_cast<Vexo32u>(diff < 0 ? diff + (1 << size) - 1 : diff), size);
}

// Figure 7-2 of the standard, scan[0] (the zigzag of MPEG-1 as well).
const Vexo32s kZigzagScan[64] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
};

// Figure 7-3, scan[1], the alternate scan of interlaced pictures.
const Vexo32s kAlternateScan[64] = {
    0,  8,  16, 24, 1,  9,  2,  10, 17, 25, 32, 40, 48, 56, 57, 49, 41, 33, 26, 18, 3,  11,
    4,  12, 19, 27, 34, 42, 50, 58, 35, 43, 51, 59, 20, 28, 5,  13, 6,  14, 21, 29, 36, 44,
    52, 60, 37, 45, 53, 61, 22, 30, 7,  15, 23, 31, 38, 46, 54, 62, 39, 47, 55, 63,
};

}  // namespace vexo::test::mpeg
