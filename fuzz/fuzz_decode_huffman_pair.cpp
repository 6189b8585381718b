// vexoDecodeHuffmanPair_1u16s: up to 16 run-level codes through the MPEG
// coefficient tables, from any bit of the first word.
#include "fuzz/fuzz_support.h"

namespace {

struct Result {
    Vexo8u runs[16];
    Vexo16s levels[16];
    VexoStatus status;
    std::ptrdiff_t words;
    Vexo32s bit;
};

template <class Decode>
Result decode(Decode pair, const Vexo32s* table, std::vector<Vexo32u>& stream, int startBit, int calls) {
    Result r{};
    Vexo32u* cursor = stream.data();
    Vexo32s bit = startBit;
    for (int i = 0; i < calls; ++i) {
        r.status = pair(&cursor, &bit, table, &r.runs[i], &r.levels[i]);
        if (r.status != vexoStatusOk) break;
    }
    r.words = cursor - stream.data();
    r.bit = bit;
    return r;
}

const Vexo32s* pick(const fuzz::MpegTables& t, int which) {
    return which == 0 ? t.first : which == 1 ? t.b15 : t.b14;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    const std::uint8_t a = in.byte();
    const int startBit = a & 31, choice = (a >> 5) & 3, calls = 1 + (in.byte() & 15);
    const int which = in.byte() % 3;
    std::vector<Vexo32u> stream = in.stream(std::size_t(calls) + 2);
    const Result r =
        decode(vexo::px::vexoDecodeHuffmanPair_1u16s, pick(fuzz::tables(0, choice), which), stream, startBit, calls);
    if (fuzz::hostRunsH9()) {
        const Result s =
            decode(vexo::h9::vexoDecodeHuffmanPair_1u16s, pick(fuzz::tables(1, choice), which), stream, startBit, calls);
        if (std::memcmp(&r, &s, sizeof r) != 0) fuzz::disagree("vexoDecodeHuffmanPair_1u16s");
    }
    return 0;
}
