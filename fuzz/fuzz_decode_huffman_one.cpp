// vexoDecodeHuffmanOne_1u32s: up to 16 codes through a DC size table, from any
// bit of the first word.
#include "fuzz/fuzz_support.h"

namespace {

struct Result {
    Vexo32s values[16];
    VexoStatus status;
    std::ptrdiff_t words;
    Vexo32s bit;
};

template <class Decode>
Result decode(Decode one, const Vexo32s* table, std::vector<Vexo32u>& stream, int startBit, int calls) {
    Result r{};
    Vexo32u* cursor = stream.data();
    Vexo32s bit = startBit;
    for (int i = 0; i < calls; ++i) {
        r.status = one(&cursor, &bit, &r.values[i], table);
        if (r.status != vexoStatusOk) break;
    }
    r.words = cursor - stream.data();
    r.bit = bit;
    return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    const std::uint8_t a = in.byte();
    const int startBit = a & 31, choice = (a >> 5) & 3;
    const bool chroma = a & 0x80;
    const int calls = 1 + (in.byte() & 15);
    // A lookup reads at most 17 bits and keeps them all on an invalid code.
    std::vector<Vexo32u> stream = in.stream(std::size_t(calls) + 2);
    const fuzz::MpegTables& px = fuzz::tables(0, choice);
    const Result r = decode(vexo::px::vexoDecodeHuffmanOne_1u32s, chroma ? px.chroma : px.luma, stream, startBit, calls);
    if (fuzz::hostRunsH9()) {
        const fuzz::MpegTables& h9 = fuzz::tables(1, choice);
        const Result s =
            decode(vexo::h9::vexoDecodeHuffmanOne_1u32s, chroma ? h9.chroma : h9.luma, stream, startBit, calls);
        if (std::memcmp(&r, &s, sizeof r) != 0) fuzz::disagree("vexoDecodeHuffmanOne_1u32s");
    }
    return 0;
}
