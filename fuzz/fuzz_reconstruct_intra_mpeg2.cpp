// vexoReconstructDCTBlockIntra_MPEG2_32s on arbitrary streams, either AC table.
#include "fuzz/fuzz_reconstruct.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::fuzzBlock(
        data, size,
        [](int path, const fuzz::MpegTables& t, Vexo32u** cursor, Vexo32s* bit, const fuzz::BlockParams& p,
           Vexo16s* predictor, Vexo16s* dst, Vexo32s* last) {
            auto decode = path ? vexo::h9::vexoReconstructDCTBlockIntra_MPEG2_32s
                               : vexo::px::vexoReconstructDCTBlockIntra_MPEG2_32s;
            return decode(cursor, bit, p.chroma ? t.chroma : t.luma, p.tableOne ? t.b15 : t.b14, fuzz::scanOf(p), p.qp,
                          p.matrix, predictor, p.dcShift, dst, last);
        },
        "vexoReconstructDCTBlockIntra_MPEG2_32s");
}
