// The four block decoders share one driver: parameters from the first input
// bytes, the rest of the input as the stream.
#pragma once

#include "fuzz/fuzz_support.h"

namespace fuzz {

struct BlockResult {
    Vexo16s dst[64];
    Vexo32s lastIndex;
    Vexo16s predictor;
    VexoStatus status;
    std::ptrdiff_t words;
    Vexo32s bit;
};

struct BlockParams {
    int startBit, choice;
    bool alternate, tableOne, chroma, nullMatrix;
    Vexo32s qp, dcShift;
    Vexo16s predictor;
    Vexo16s matrix[64];
};

// Calls decode(path, tables, cursor, bit, params, matrix, predictor, dst,
// lastIndex) for px and, where the host can, h9.
template <class Decode>
int fuzzBlock(const std::uint8_t* data, std::size_t size, Decode decode, const char* name) {
    Input in(data, size);
    BlockParams p{};
    const std::uint8_t a = in.byte(), b = in.byte();
    p.startBit = a & 31;
    p.alternate = a & 32;
    p.choice = a >> 6;
    p.tableOne = b & 1;
    p.chroma = b & 2;
    p.nullMatrix = b & 4;
    p.dcShift = (b >> 3) & 3;
    p.qp = in.byte();
    if (b & 0x20) p.qp = Vexo32s(Vexo32u(p.qp) << 24 | Vexo32u(in.byte()) << 16);  // far outside any stream's range
    p.predictor = Vexo16s(in.byte() << 8 | in.byte());
    for (Vexo16s& m : p.matrix) m = 16;
    if (b & 0x40)
        for (Vexo16s& m : p.matrix) m = Vexo16s(in.byte() << 8 | in.byte());
    // 64 coefficients of the longest escape, a DC code and the lookahead
    // behind them need under 64 words.
    std::vector<Vexo32u> stream = in.stream(128);
    auto once = [&](int path) {
        BlockResult r{};
        Vexo32u* cursor = stream.data();
        r.bit = p.startBit;
        r.predictor = p.predictor;
        r.lastIndex = -7;
        r.status = decode(path, tables(path, p.choice), &cursor, &r.bit, p, &r.predictor, r.dst, &r.lastIndex);
        r.words = cursor - stream.data();
        return r;
    };
    const BlockResult px = once(0);
    if (hostRunsH9()) {
        const BlockResult h9 = once(1);
        if (std::memcmp(&px, &h9, sizeof px) != 0) disagree(name);
    }
    return 0;
}

inline const Vexo32s* scanOf(const BlockParams& p) {
    return p.alternate ? vexo::test::mpeg::kAlternateScan : vexo::test::mpeg::kZigzagScan;
}

}  // namespace fuzz
