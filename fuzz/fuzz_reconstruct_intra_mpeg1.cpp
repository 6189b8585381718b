// vexoReconstructDCTBlockIntra_MPEG1_32s on arbitrary streams.
#include "fuzz/fuzz_reconstruct.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::fuzzBlock(
        data, size,
        [](int path, const fuzz::MpegTables& t, Vexo32u** cursor, Vexo32s* bit, const fuzz::BlockParams& p,
           Vexo16s* predictor, Vexo16s* dst, Vexo32s* last) {
            auto decode = path ? vexo::h9::vexoReconstructDCTBlockIntra_MPEG1_32s
                               : vexo::px::vexoReconstructDCTBlockIntra_MPEG1_32s;
            return decode(cursor, bit, p.chroma ? t.chroma : t.luma, t.b14, fuzz::scanOf(p), p.qp, p.matrix, predictor,
                          dst, last);
        },
        "vexoReconstructDCTBlockIntra_MPEG1_32s");
}
