// Check cases of MPEG-1/2 block reconstruction: streams of random blocks
// written with the standard's codes (ending one padding word before an
// unmapped page, so a read past the last code's lookahead faults), or random
// words (runs past the block, invalid codes), from any bit of a word.
#include "tests/support/bit_writer.h"
#include "tests/support/mpeg_tables.h"
#include "tools/vexovc/check.h"

namespace {

using vexo::check::Env;
using vexo::check::Fill;
using vexo::test::BitWriter;
namespace mpeg = vexo::test::mpeg;

struct Tables {
    Vexo32s* first = nullptr;
    Vexo32s* ac = nullptr;
    Vexo32s* dc = nullptr;
    bool ok = false;
    Tables(Env& env, bool tableOne, bool chroma) {
        const std::vector<int> widths = env.rng().chance(50) ? std::vector<int>{8, 5, 4} : std::vector<int>{10, 7};
        const auto acTable = tableOne ? mpeg::CoefficientTable::B15 : mpeg::CoefficientTable::B14;
        ok = vexoHuffmanRunLevelTableInitAlloc_32s(
                 mpeg::coefficientDescription(mpeg::CoefficientTable::B14First, widths).data(), &first) == vexoStatusOk &&
             vexoHuffmanRunLevelTableInitAlloc_32s(mpeg::coefficientDescription(acTable, widths).data(), &ac) ==
                 vexoStatusOk &&
             vexoHuffmanTableInitAlloc_32s(mpeg::dcSizeDescription(chroma, {4, 6}).data(), &dc) == vexoStatusOk;
    }
    ~Tables() {
        for (Vexo32s* t : {first, ac, dc})
            if (t) vexoHuffmanTableFree_32s(t);
    }
};

struct Stream {
    Vexo32u** cursor;
    Vexo32s* bit;
    Vexo32u* start;
    Vexo32s startBit;
    // The bench calls a case many times without restoring anything: each
    // call starts from the case's cursor again.
    void rewind() const {
        *cursor = start;
        *bit = startBit;
    }
};

Stream blockStream(Env& env, bool intra, bool mpeg2, bool tableOne, bool chroma) {
    const int startBit = int(env.rng().range(0, 31));
    std::vector<Vexo32u> words;
    if (env.rng().chance(25)) {
        // Enough words for 64 coefficients of the longest escape and the
        // lookahead behind them: no reader can run off this by design.
        words.resize(96);
        for (Vexo32u& w : words) w = Vexo32u(env.rng().next());
    } else {
        BitWriter w(startBit, int(env.rng().range(0, 1)));
        const mpeg::BlockWriter writer(tableOne ? mpeg::CoefficientTable::B15 : mpeg::CoefficientTable::B14,
                                       mpeg2 ? mpeg::EscapeForm::Mpeg2 : mpeg::EscapeForm::Mpeg1);
        if (intra) mpeg::BlockWriter::dcDifferential(w, chroma, int(env.rng().range(-2047, 2047)));
        int position = intra ? 0 : -1;
        const int events = int(env.rng().range(intra ? 0 : 1, 30));
        const int maxLevel = mpeg2 ? 2047 : 255;
        for (int e = 0; e < events && position < 63; ++e) {
            const int run = env.rng().chance(70) ? int(env.rng().range(0, 2)) : int(env.rng().range(0, 62 - position));
            const int runClamped = run > 62 - position ? 62 - position : run;
            const int magnitude = env.rng().chance(20) ? int(env.rng().range(1, maxLevel)) : int(env.rng().range(1, 4));
            const int level = env.rng().chance(50) ? magnitude : -magnitude;
            if (!intra && e == 0) {
                writer.firstCoefficient(w, runClamped, level);
            } else {
                writer.coefficient(w, runClamped, level);
            }
            position += runClamped + 1;
        }
        // Now and then a run past the end of the block.
        if (env.rng().chance(10)) writer.coefficient(w, 63, 1);
        writer.endOfBlock(w);
        words = w.words(1, int(env.rng().range(0, 1)));
    }
    const int n = int(words.size());
    auto s = env.input32s(1, n, 4 * n, Fill::Zero);
    std::memcpy(s.data, words.data(), words.size() * 4);
    env.commit();
    Vexo32u* start = reinterpret_cast<Vexo32u*>(s.data);
    return {env.value<Vexo32u*>(start), env.value<Vexo32s>(startBit), start, startBit};
}

const Vexo32s* scanInput(Env& env) {
    auto scan = env.input32s(1, 64, 256);
    std::memcpy(scan.data, env.rng().chance(50) ? mpeg::kZigzagScan : mpeg::kAlternateScan, 256);
    env.commit();
    return scan.data;
}

// Weights of 1 to 255 mostly; now and then the whole 16-bit range.
const Vexo16s* matrixInput(Env& env) {
    const bool extreme = env.rng().chance(10);
    auto m = env.input16s(1, 64, 128);
    if (!extreme)
        for (int i = 0; i < 64; ++i) m.data[i] = Vexo16s(env.rng().range(1, 255));
    env.commit();
    return m.data;
}

Vexo32s anyQp(Env& env, bool mpeg2) {
    if (env.rng().chance(5)) return Vexo32s(env.rng().range(-100000, 100000));
    return Vexo32s(env.rng().range(1, mpeg2 ? 112 : 31));
}

template <bool kMpeg2, class Decode>
void nonIntraCase(Env& env, Decode decode) {
    Tables t(env, false, false);
    if (!t.ok) return;
    const Stream s = blockStream(env, false, kMpeg2, false, false);
    const Vexo32s* scan = scanInput(env);
    const Vexo16s* matrix = kMpeg2 && env.rng().chance(30) ? nullptr : matrixInput(env);
    const Vexo32s qp = anyQp(env, kMpeg2);
    auto dst = env.output16s(1, 64, 128);
    auto last = env.value<Vexo32s>(-7);
    env.run([&] {
        s.rewind();
        return decode(s.cursor, s.bit, t.first, t.ac, scan, qp, matrix, dst.data, last);
    });
}

template <bool kMpeg2, class Decode>
void intraCase(Env& env, Decode decode) {
    const bool tableOne = kMpeg2 && env.rng().chance(50);
    const bool chroma = env.rng().chance(50);
    Tables t(env, tableOne, chroma);
    if (!t.ok) return;
    const Stream s = blockStream(env, true, kMpeg2, tableOne, chroma);
    const Vexo32s* scan = scanInput(env);
    const Vexo16s* matrix = matrixInput(env);
    const Vexo32s qp = anyQp(env, kMpeg2);
    const Vexo16s startPredictor =
        Vexo16s(env.rng().chance(10) ? env.rng().range(-32768, 32767) : env.rng().range(0, 2047));
    auto predictor = env.value<Vexo16s>(startPredictor);
    const Vexo32s dcShift = Vexo32s(env.rng().chance(10) ? env.rng().range(-40, 40) : env.rng().range(0, 3));
    auto dst = env.output16s(1, 64, 128);
    auto last = env.value<Vexo32s>(-7);
    env.run([&] {
        s.rewind();
        *predictor = startPredictor;
        return decode(s.cursor, s.bit, t.dc, t.ac, scan, qp, matrix, predictor, dcShift, dst.data, last);
    });
}

}  // namespace

VEXO_CHECK_CASE(vexoReconstructDCTBlock_MPEG1_32s) { nonIntraCase<false>(env, vexoReconstructDCTBlock_MPEG1_32s); }
VEXO_CHECK_CASE(vexoReconstructDCTBlock_MPEG2_32s) { nonIntraCase<true>(env, vexoReconstructDCTBlock_MPEG2_32s); }
VEXO_CHECK_CASE(vexoReconstructDCTBlockIntra_MPEG1_32s) {
    intraCase<false>(env, [](Vexo32u** b, Vexo32s* o, const Vexo32s* dc, const Vexo32s* ac, const Vexo32s* scan,
                             Vexo32s qp, const Vexo16s* m, Vexo16s* p, Vexo32s, Vexo16s* dst, Vexo32s* last) {
        return vexoReconstructDCTBlockIntra_MPEG1_32s(b, o, dc, ac, scan, qp, m, p, dst, last);
    });
}
VEXO_CHECK_CASE(vexoReconstructDCTBlockIntra_MPEG2_32s) {
    intraCase<true>(env, vexoReconstructDCTBlockIntra_MPEG2_32s);
}
