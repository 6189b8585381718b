// Check cases of the run-level and Huffman tables: random code sets with
// gaps (so that some patterns are invalid), random and valid streams, cursors
// compared as outputs.
#include <algorithm>

#include "tests/support/bit_writer.h"
#include "tests/support/mpeg_tables.h"
#include "tools/vexovc/check.h"

namespace {

using vexo::check::Env;
using vexo::check::Fill;
using vexo::test::BitWriter;
namespace mpeg = vexo::test::mpeg;

struct RandomCode {
    std::vector<mpeg::Code> codes;
    std::vector<int> widths;
    std::vector<Vexo32s> description;
};

// A prefix-free code grown by splitting random open prefixes; some open
// prefixes are dropped, leaving invalid patterns. Levels split its length.
RandomCode randomCode(Env& env, bool runLevel) {
    const int maxLength = int(env.rng().range(1, 16));
    struct Open {
        Vexo32u code;
        int length;
    };
    std::vector<Open> open{{0, 0}};
    RandomCode r;
    const size_t wanted = size_t(env.rng().range(0, 48));
    while (!open.empty() && r.codes.size() < wanted) {
        const size_t i = size_t(env.rng().range(0, std::int64_t(open.size()) - 1));
        const Open o = open[i];
        open.erase(open.begin() + std::ptrdiff_t(i));
        if (o.length == 0 || (o.length < maxLength && env.rng().chance(55))) {
            open.push_back({o.code << 1, o.length + 1});
            open.push_back({o.code << 1 | 1, o.length + 1});
        } else if (env.rng().chance(85)) {
            const int run = env.rng().chance(10) ? int(env.rng().range(254, 255)) : int(env.rng().range(0, 63));
            const int value = runLevel ? int(env.rng().range(-128, 127)) : int(env.rng().range(-70000, 70000));
            r.codes.push_back({o.code, o.length, run, value});
        }
    }
    std::stable_sort(r.codes.begin(), r.codes.end(),
                     [](const mpeg::Code& a, const mpeg::Code& b) { return a.length < b.length; });
    // Levels of 1 to 8 bits that reach at least the longest code.
    const int reach = maxLength + int(env.rng().range(0, 2));
    const int levels = std::max(int(env.rng().range(1, 4)), (reach + 7) / 8);
    r.widths.assign(size_t(levels), 1);
    for (int total = levels; total < reach;) {
        int& w = r.widths[size_t(env.rng().range(0, levels - 1))];
        if (w < 8) ++w, ++total;
    }
    r.description = runLevel ? mpeg::runLevelDescription(r.codes, r.widths) : mpeg::huffmanDescription(r.codes, r.widths);
    return r;
}

// The words of a decoding table that a lookup can reach, level by level in
// the order the links lead there; the table's address does not enter.
constexpr int kFlatWords = 1 << 14;
void flatten(const Vexo32s* table, Vexo32s* out) {
    std::vector<Vexo32u> pending{0};
    int n = 0;
    while (!pending.empty() && n < kFlatWords) {
        const Vexo32u at = pending.back();
        pending.pop_back();
        const Vexo32s width = table[at];
        for (Vexo32s i = 0; i <= (1 << width) && n < kFlatWords; ++i) {
            const Vexo32u entry = Vexo32u(table[at + Vexo32u(i)]);
            out[n++] = Vexo32s(entry);
            if (i > 0 && (entry & 0x80)) pending.push_back(entry >> 8);
        }
    }
}

template <class Build>
void buildCase(Env& env, Build build, bool runLevel) {
    const RandomCode code = randomCode(env, runLevel);
    const int pick = int(env.rng().range(0, 19));
    std::vector<Vexo32s> description = code.description;
    if (pick == 0) description = {0, 0, -1};  // no level: nothing to allocate
    const Vexo32s* d = pick == 1 ? nullptr : description.data();
    auto flat = env.output32s(1, kFlatWords, 4 * kFlatWords);
    env.run([&] {
        Vexo32s* table = nullptr;
        const VexoStatus s = build(d, &table);
        if (s == vexoStatusOk) {
            flatten(table, flat.data);
            vexoHuffmanTableFree_32s(table);
        }
        return s;
    });
}

// The bench calls a case many times without restoring anything: each call
// starts from the case's cursor again, so that none runs off its stream.
void rewind(Vexo32u** cursor, Vexo32u* start, Vexo32s* bit, Vexo32s startBit) {
    *cursor = start;
    *bit = startBit;
}

// A stream region: the case's words, then `padWords` of padding, ending
// against an unmapped page.
Vexo32u* streamInput(Env& env, const std::vector<Vexo32u>& words) {
    const int n = int(words.size());
    auto s = env.input32s(1, n, 4 * n, Fill::Zero);
    std::memcpy(s.data, words.data(), words.size() * 4);
    env.commit();
    return reinterpret_cast<Vexo32u*>(s.data);
}

// Up to 16 codes of the set from a random bit, or random words (invalid
// codes likely), with one word of padding for the lookup to read ahead.
std::vector<Vexo32u> codeStream(Env& env, const RandomCode& code, int startBit, int* codes) {
    if (code.codes.empty() || env.rng().chance(30)) {
        std::vector<Vexo32u> words(20);
        for (Vexo32u& w : words) w = Vexo32u(env.rng().next());
        *codes = 16;
        return words;
    }
    BitWriter w(startBit, int(env.rng().range(0, 1)));
    *codes = int(env.rng().range(1, 16));
    for (int i = 0; i < *codes; ++i) {
        const mpeg::Code& c = code.codes[size_t(env.rng().range(0, std::int64_t(code.codes.size()) - 1))];
        w.put(c.code, c.length);
    }
    return w.words(1, int(env.rng().range(0, 1)));
}

}  // namespace

VEXO_CHECK_CASE(vexoHuffmanTableInitAlloc_32s) { buildCase(env, vexoHuffmanTableInitAlloc_32s, false); }
VEXO_CHECK_CASE(vexoHuffmanRunLevelTableInitAlloc_32s) {
    buildCase(env, vexoHuffmanRunLevelTableInitAlloc_32s, true);
}

VEXO_CHECK_CASE(vexoHuffmanTableFree_32s) {
    const RandomCode code = randomCode(env, false);
    const bool null = env.rng().chance(20);
    env.run([&] {
        Vexo32s* table = nullptr;
        if (!null && vexoHuffmanTableInitAlloc_32s(code.description.data(), &table) != vexoStatusOk) return -1;
        return vexoHuffmanTableFree_32s(table);
    });
}

// Every run 0 to maxRun with levels 1 to its largest of both signs, so that
// every slot of the table is filled and comparable.
VEXO_CHECK_CASE(vexoCreateRLEncodeTable) {
    std::vector<mpeg::Code> rows;
    const int maxRun = int(env.rng().range(0, 40));
    for (int run = 0; run <= maxRun; ++run) {
        const int largest = env.rng().chance(15) ? 0 : int(env.rng().range(1, 24));
        for (int level = 1; level <= largest; ++level)
            for (int sign : {1, -1})
                rows.push_back({Vexo32u(env.rng().next() & 0xFFFF), int(env.rng().range(2, 16)), run, sign * level});
    }
    if (env.rng().chance(70)) rows.push_back({1, 6, 255, 0});
    if (env.rng().chance(70)) rows.push_back({2, 2, 254, 0});
    std::stable_sort(rows.begin(), rows.end(), [](const mpeg::Code& a, const mpeg::Code& b) { return a.length < b.length; });
    std::vector<Vexo32s> description = mpeg::runLevelDescription(rows, {8});
    const Vexo32s* d = env.rng().chance(5) ? nullptr : description.data();
    auto flat = env.output32s(1, 4096, 4 * 4096);
    env.run([&] {
        Vexo32s* table = nullptr;
        const VexoStatus s = vexoCreateRLEncodeTable(d, &table);
        if (s != vexoStatusOk) return s;
        const Vexo32s top = Vexo32s(Vexo32u(table[0]) >> 20);
        int n = 0;
        for (int i = 0; i <= top + 1; ++i) flat.data[n++] = table[i];
        for (int run = 0; run <= top; ++run) {
            const Vexo32s* centre = table + table[1 + run] / 4;
            for (int level = -centre[0]; level <= centre[0]; ++level) flat.data[n++] = centre[level];
        }
        vexoHuffmanTableFree_32s(table);
        return s;
    });
}

VEXO_CHECK_CASE(vexoDecodeHuffmanOne_1u32s) {
    const RandomCode code = randomCode(env, false);
    Vexo32s* table = nullptr;
    if (vexoHuffmanTableInitAlloc_32s(code.description.data(), &table) != vexoStatusOk) return;
    const int startBit = int(env.rng().range(0, 31));
    int codes = 0;
    Vexo32u* stream = streamInput(env, codeStream(env, code, startBit, &codes));
    auto cursor = env.value<Vexo32u*>(stream);
    auto bit = env.value<Vexo32s>(startBit);
    auto values = env.output32s(1, 16, 64);
    env.run([&] {
        rewind(cursor, stream, bit, startBit);
        VexoStatus s = vexoStatusOk;
        for (int i = 0; i < codes && s == vexoStatusOk; ++i) s = vexoDecodeHuffmanOne_1u32s(cursor, bit, values.data + i, table);
        return s;
    });
    vexoHuffmanTableFree_32s(table);
}

VEXO_CHECK_CASE(vexoDecodeHuffmanPair_1u16s) {
    const RandomCode code = randomCode(env, true);
    Vexo32s* table = nullptr;
    if (vexoHuffmanRunLevelTableInitAlloc_32s(code.description.data(), &table) != vexoStatusOk) return;
    const int startBit = int(env.rng().range(0, 31));
    int codes = 0;
    Vexo32u* stream = streamInput(env, codeStream(env, code, startBit, &codes));
    auto cursor = env.value<Vexo32u*>(stream);
    auto bit = env.value<Vexo32s>(startBit);
    auto runs = env.output8u(1, 16, 16);
    auto levels = env.output16s(1, 16, 32);
    env.run([&] {
        rewind(cursor, stream, bit, startBit);
        VexoStatus s = vexoStatusOk;
        for (int i = 0; i < codes && s == vexoStatusOk; ++i)
            s = vexoDecodeHuffmanPair_1u16s(cursor, bit, table, runs.data + i, levels.data + i);
        return s;
    });
    vexoHuffmanTableFree_32s(table);
}

namespace {

// A sparse block: small levels, some beyond the table (escapes).
void randomBlock(Env& env, Vexo16s* block) {
    const int n = int(env.rng().range(0, 24));
    for (int i = 0; i < n; ++i) {
        const int magnitude = env.rng().chance(15) ? int(env.rng().range(1, 2047)) : int(env.rng().range(1, 3));
        block[env.rng().range(0, 63)] = Vexo16s(env.rng().chance(50) ? magnitude : -magnitude);
    }
    if (env.rng().chance(20)) block[0] = Vexo16s(env.rng().range(-1, 1));
}

template <class Put>
void putCase(Env& env, bool intra, Put put) {
    const bool tableOne = env.rng().chance(50);
    const auto table = tableOne ? mpeg::CoefficientTable::B15 : mpeg::CoefficientTable::B14;
    Vexo32s* ac = nullptr;
    if (vexoCreateRLEncodeTable(mpeg::coefficientDescription(table, {8}).data(), &ac) != vexoStatusOk) return;
    const mpeg::Code eob = mpeg::parseBits(tableOne ? "0110" : "10");
    auto block = env.input16s(1, 64, 128, Fill::Zero);
    std::memset(block.data, 0, 128);
    randomBlock(env, block.data);
    const Vexo32s predictor = Vexo32s(env.rng().range(0, 2047));
    if (intra) block.data[0] = Vexo16s(env.rng().range(0, 2047));
    Vexo32s count = 0;
    for (int i = intra ? 1 : 0; i < 64; ++i) count += block.data[i] != 0;
    if (env.rng().chance(10)) count = Vexo32s(env.rng().range(-1, 70));  // trusted, but the walk stays in the scan
    const std::vector<Vexo32s> dcPairs = mpeg::dcSizeEncodePairs(env.rng().chance(50));
    auto dc = env.input32s(1, 24, 96);
    std::memcpy(dc.data, dcPairs.data(), 96);
    auto scan = env.input32s(1, 64, 256);
    std::memcpy(scan.data, env.rng().chance(50) ? mpeg::kZigzagScan : mpeg::kAlternateScan, 256);
    env.commit();

    const int words = 72;
    auto* out = static_cast<Vexo32u*>(env.rawOutput(1, 4 * words, 4 * words, false, 4));
    const Vexo32s freeBits = Vexo32s(env.rng().range(1, 32));
    out[0] = Vexo32u(env.rng().next()) & ~(0xFFFFFFFFu >> (32 - freeBits));  // bits already written
    env.commit();
    auto cursor = env.value<Vexo32u*>(out);
    auto offset = env.value<Vexo32s>(freeBits);
    auto dcPredictor = env.value<Vexo32s>(predictor);
    env.run([&] {
        rewind(cursor, out, offset, freeBits);
        *dcPredictor = predictor;  // a drifting predictor would outgrow the DC size table
        return put(cursor, offset, block.data, dcPredictor, dc.data, ac, scan.data, eob.length, Vexo32s(eob.code), count);
    });
    vexoHuffmanTableFree_32s(ac);
}

}  // namespace

VEXO_CHECK_CASE(vexoPutIntraBlock) { putCase(env, true, vexoPutIntraBlock); }
VEXO_CHECK_CASE(vexoPutNonIntraBlock) {
    putCase(env, false,
            [](Vexo32u** s, Vexo32s* o, const Vexo16s* b, Vexo32s*, const Vexo32s*, const Vexo32s* ac, const Vexo32s* scan,
               Vexo32s eobLength, Vexo32s eobCode, Vexo32s count) {
                return vexoPutNonIntraBlock(s, o, b, ac, scan, eobLength, eobCode, count);
            });
}
