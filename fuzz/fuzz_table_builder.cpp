// The three table builders on arbitrary descriptions (codes that overlap,
// repeat, or do not fit: trusted, so not detected, but never a reason to
// write outside a table), then both single-code readers through the tables.
#include "fuzz/fuzz_support.h"

namespace {

struct Row {
    Vexo32u code;
    int length;
    int run, level;
};

struct Result {
    VexoStatus built[3];
    Vexo32s values[8];
    Vexo8u runs[8];
    Vexo16s levels[8];
    VexoStatus status[2];
    std::ptrdiff_t words[2];
    Vexo32s bits[2];
};

template <class Path>
Result once(const std::vector<Vexo32s>& huffman, const std::vector<Vexo32s>& runLevel, std::vector<Vexo32u>& stream,
            int startBit) {
    Result r{};
    Vexo32s* tables[3] = {};
    r.built[0] = Path::huffman(huffman.data(), &tables[0]);
    r.built[1] = Path::runLevel(runLevel.data(), &tables[1]);
    r.built[2] = Path::encode(runLevel.data(), &tables[2]);
    for (int k = 0; k < 2; ++k) {
        if (!tables[k]) continue;
        Vexo32u* cursor = stream.data();
        Vexo32s bit = startBit;
        for (int i = 0; i < 8; ++i) {
            r.status[k] = k == 0 ? Path::one(&cursor, &bit, &r.values[i], tables[0])
                                 : Path::pair(&cursor, &bit, tables[1], &r.runs[i], &r.levels[i]);
            if (r.status[k] != vexoStatusOk) break;
        }
        r.words[k] = cursor - stream.data();
        r.bits[k] = bit;
    }
    for (Vexo32s* t : tables)
        if (t) Path::release(t);
    return r;
}

#define PATH_FUNCTIONS(p)                                                                          \
    struct p##Path {                                                                               \
        static constexpr auto huffman = vexo::p::vexoHuffmanTableInitAlloc_32s;                   \
        static constexpr auto runLevel = vexo::p::vexoHuffmanRunLevelTableInitAlloc_32s;          \
        static constexpr auto encode = vexo::p::vexoCreateRLEncodeTable;                          \
        static constexpr auto one = vexo::p::vexoDecodeHuffmanOne_1u32s;                          \
        static constexpr auto pair = vexo::p::vexoDecodeHuffmanPair_1u16s;                        \
        static constexpr auto release = vexo::p::vexoHuffmanTableFree_32s;                        \
    };
PATH_FUNCTIONS(px)
PATH_FUNCTIONS(h9)

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    const std::uint8_t head = in.byte();
    const int levels = head & 3;  // 0 levels is refused as nothing to allocate
    const int startBit = head >> 3;
    std::vector<int> widths;
    int reach = 0;
    for (int k = 0; k < levels; ++k) {
        widths.push_back(in.byte() % 13);  // up to 4096 entries a level keeps each run small
        reach += widths.back();
    }
    std::vector<Row> rows(in.byte() % 64);
    for (Row& row : rows) {
        row.length = 1 + in.byte() % 24;
        row.code = Vexo32u(in.byte()) << 16 | Vexo32u(in.byte()) << 8 | in.byte();  // bits above the length too
        row.run = in.byte();
        row.level = std::int8_t(in.byte());
    }
    std::vector<Vexo32s> huffman{0, levels}, runLevel{0, levels};
    huffman.insert(huffman.end(), widths.begin(), widths.end());
    runLevel.insert(runLevel.end(), widths.begin(), widths.end());
    for (int length = 1; length <= 24; ++length) {
        const std::size_t hc = huffman.size(), rc = runLevel.size();
        huffman.push_back(0);
        runLevel.push_back(0);
        for (const Row& row : rows) {
            if (row.length != length) continue;
            ++huffman[hc];
            ++runLevel[rc];
            huffman.insert(huffman.end(), {Vexo32s(row.code), row.level * 977});
            runLevel.insert(runLevel.end(), {Vexo32s(row.code), row.run, row.level});
        }
    }
    huffman.push_back(-1);
    runLevel.push_back(-1);
    // Eight codes of at most `reach` bits each, kept whole on an invalid code.
    std::vector<Vexo32u> stream = in.stream(std::size_t(8 * reach / 32 + 3));

    const Result r = once<pxPath>(huffman, runLevel, stream, startBit);
    if (fuzz::hostRunsH9()) {
        const Result s = once<h9Path>(huffman, runLevel, stream, startBit);
        if (std::memcmp(&r, &s, sizeof r) != 0) fuzz::disagree("table builders");
    }
    return 0;
}
