// vexoReconstructDCTBlock_MPEG1_32s on arbitrary streams.
#include "fuzz/fuzz_reconstruct.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::fuzzBlock(
        data, size,
        [](int path, const fuzz::MpegTables& t, Vexo32u** cursor, Vexo32s* bit, const fuzz::BlockParams& p, Vexo16s*,
           Vexo16s* dst, Vexo32s* last) {
            auto decode = path ? vexo::h9::vexoReconstructDCTBlock_MPEG1_32s : vexo::px::vexoReconstructDCTBlock_MPEG1_32s;
            return decode(cursor, bit, t.first, t.b14, fuzz::scanOf(p), p.qp, p.matrix, dst, last);
        },
        "vexoReconstructDCTBlock_MPEG1_32s");
}
