// MPEG-1/2 DCT block reconstruction: variable-length decoding through a
// caller's run-level tables, run-level expansion along a scan, inverse
// quantisation and, for MPEG-2, mismatch control, in one pass.
//
// The work is bit-serial; every path compiles this same code.
#include "core/path.h"
#include "vlc/bitstream.h"

namespace vexo::VEXO_PATH {
namespace {

enum class Standard { Mpeg1, Mpeg2 };

Vexo32s signOf(Vexo64s v) {
    return (v > 0) - (v < 0);
}

template <Standard kStandard>
void readEscape(vlc::WordReader& r, Vexo32s& run, Vexo32s& level) {
    if constexpr (kStandard == Standard::Mpeg2) {
        const Vexo32u bits = vlc::readBits(r, 18);
        run = static_cast<Vexo32s>(bits >> 12);
        level = static_cast<Vexo32s>(bits << 20) >> 20;
    } else {
        // MPEG-1 levels: one signed byte, or a marker byte of 0 or -128 and
        // a second byte for magnitudes of 128 to 255.
        run = static_cast<Vexo32s>(vlc::readBits(r, 6));
        const Vexo32s first = static_cast<Vexo8s>(vlc::readBits(r, 8));
        if (first == 0) {
            level = static_cast<Vexo32s>(vlc::readBits(r, 8));
        } else if (first == -128) {
            level = static_cast<Vexo32s>(vlc::readBits(r, 8)) - 256;
        } else {
            level = first;
        }
    }
}

// Decodes one run-level code, giving back the lookup's spare bits. A table
// level is a signed byte of the leaf. Returns false at end of block.
template <Standard kStandard>
bool readRunLevel(vlc::WordReader& r, const Vexo32s* table, Vexo32s& run, Vexo32s& level, bool endOfBlockAllowed) {
    const Vexo32u entry = vlc::walkTable(r, table);
    vlc::giveBackBits(r, vlc::spareBits(entry));
    run = static_cast<Vexo32s>((entry >> 8) & 0xFFu);
    if (run == vlc::kEndOfBlockRun && endOfBlockAllowed) return false;
    if (run == vlc::kEscapeRun) {
        readEscape<kStandard>(r, run, level);
    } else {
        level = static_cast<Vexo8s>(entry >> 16);
    }
    return true;
}

// The products are formed in 64 bits: no qp or matrix value wraps before
// the division. What is stored is the low 16 bits.
template <Standard kStandard, bool kIntra>
Vexo16s dequantise(Vexo32s level, Vexo32s weight, Vexo32s qp, bool firstCoefficient) {
    const Vexo64s s = signOf(level);
    Vexo64s v;
    if constexpr (kIntra) {
        v = static_cast<Vexo64s>(level) * weight * (2 * static_cast<Vexo64s>(qp));
    } else {
        v = static_cast<Vexo64s>(weight) * qp * (2 * static_cast<Vexo64s>(level) + s);
    }
    if constexpr (kStandard == Standard::Mpeg2) {
        return static_cast<Vexo16s>(v / 32);
    } else {
        v /= 16;
        // Odd-ification. Intra values and a non-intra block's first value
        // step toward zero by their own sign, so 0 stays 0; every later
        // non-intra value steps by the sign of its level, so a level that
        // quantised to 0 comes out as -s. Decoders that must match the
        // reference reconstruction depend on this asymmetry.
        if ((v & 1) == 0) v -= (kIntra || firstCoefficient) ? signOf(v) : s;
        if (v < -2048) v = -2048;
        if (v > 2047) v = 2047;
        return static_cast<Vexo16s>(v);
    }
}

template <Standard kStandard, bool kIntra>
VexoStatus reconstruct(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* firstTable, const Vexo32s* acTable,
                       const Vexo32s* scan, Vexo32s qp, const Vexo16s* qMatrix, Vexo16s* dcPredictor,
                       Vexo32s dcShift, Vexo16s* dst, Vexo32s* lastIndex) {
    vexoZero16s(dst, 64);
    vlc::WordReader r = vlc::makeReader(*bitStream, *bitOffset);
    // A null non-intra matrix stands for the flat matrix of 16s.
    auto weightAt = [&](Vexo32s p) -> Vexo32s { return qMatrix ? qMatrix[p] : 16; };

    Vexo32s sum = 0;
    Vexo32s position = 0;
    Vexo32s run = 0;
    Vexo32s level = 0;
    if constexpr (kIntra) {
        // firstTable is the DC size table; a leaf's value is the size.
        const Vexo32u entry = vlc::walkTable(r, firstTable);
        vlc::giveBackBits(r, vlc::spareBits(entry));
        const Vexo32s size = static_cast<Vexo16s>(entry >> 8);
        // An invalid entry, or a size no stream can hold, is a code error:
        // reading that many bits would mean nothing.
        if (size < 0 || size > 31) return vexoStatusBadVlcCode;
        Vexo32u v = 0;
        if (size != 0) {
            v = vlc::readBits(r, size);
            if ((v >> (size - 1)) == 0) v = (v + 1) | (0xFFFFFFFFu << size);
        }
        if constexpr (kStandard == Standard::Mpeg1) {
            dst[0] = static_cast<Vexo16s>(v * 8 + static_cast<Vexo32u>(static_cast<Vexo32s>(*dcPredictor)));
            *dcPredictor = dst[0];
        } else {
            *dcPredictor = static_cast<Vexo16s>(static_cast<Vexo32u>(static_cast<Vexo32s>(*dcPredictor)) + v);
            dst[0] = static_cast<Vexo16s>(static_cast<Vexo32u>(static_cast<Vexo32s>(*dcPredictor))
                                          << (dcShift & 31));
        }
        sum = dst[0];
    } else {
        // The first coefficient's short code '1s' (run 0, level 1) is taken
        // here; '10' cannot mean end of block before any coefficient.
        if (vlc::peekBits(r, 1)) {
            run = 0;
            level = (vlc::readBits(r, 2) & 1) ? -1 : 1;
        } else {
            readRunLevel<kStandard>(r, firstTable, run, level, false);
        }
        position = run;
        if (position > 63) return vexoStatusBadVlcCode;
        const Vexo32s p = scan[position] & 63;
        dst[p] = dequantise<kStandard, false>(level, weightAt(p), qp, true);
        sum = dst[p];
    }

    while (readRunLevel<kStandard>(r, acTable, run, level, true)) {
        position += run + 1;
        if (position > 63) return vexoStatusBadVlcCode;
        const Vexo32s p = scan[position] & 63;
        dst[p] = dequantise<kStandard, kIntra>(level, weightAt(p), qp, false);
        sum += dst[p];
    }

    if constexpr (kStandard == Standard::Mpeg2) {
        // Mismatch control: an even sum toggles the lowest bit of the last
        // coefficient, so that every inverse DCT sees an odd sum.
        if ((sum & 1) == 0) dst[63] = static_cast<Vexo16s>(dst[63] ^ 1);
        *lastIndex = kIntra ? position : (position | (position == 0));
    } else {
        *lastIndex = position;
    }
    *bitStream = const_cast<Vexo32u*>(r.word);
    *bitOffset = r.bit;
    return vexoStatusOk;
}

}  // namespace

VexoStatus vexoReconstructDCTBlock_MPEG1_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* firstTable,
                                             const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                             const Vexo16s* qMatrix, Vexo16s* dst, Vexo32s* lastIndex) {
    if (!bitStream || !bitOffset || !firstTable || !acTable || !scan || !qMatrix || !dst || !lastIndex ||
        !*bitStream) {
        return vexoStatusNullPointer;
    }
    return reconstruct<Standard::Mpeg1, false>(bitStream, bitOffset, firstTable, acTable, scan, qp, qMatrix,
                                               nullptr, 0, dst, lastIndex);
}

VexoStatus vexoReconstructDCTBlock_MPEG2_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* firstTable,
                                             const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                             const Vexo16s* qMatrix, Vexo16s* dst, Vexo32s* lastIndex) {
    if (!bitStream || !bitOffset || !firstTable || !acTable || !scan || !dst || !lastIndex || !*bitStream) {
        return vexoStatusNullPointer;
    }
    return reconstruct<Standard::Mpeg2, false>(bitStream, bitOffset, firstTable, acTable, scan, qp, qMatrix,
                                               nullptr, 0, dst, lastIndex);
}

VexoStatus vexoReconstructDCTBlockIntra_MPEG1_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* dcTable,
                                                  const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                                  const Vexo16s* qMatrix, Vexo16s* dcPredictor, Vexo16s* dst,
                                                  Vexo32s* lastIndex) {
    if (!bitStream || !bitOffset || !dcTable || !acTable || !scan || !qMatrix || !dcPredictor || !dst ||
        !lastIndex || !*bitStream) {
        return vexoStatusNullPointer;
    }
    return reconstruct<Standard::Mpeg1, true>(bitStream, bitOffset, dcTable, acTable, scan, qp, qMatrix,
                                              dcPredictor, 0, dst, lastIndex);
}

VexoStatus vexoReconstructDCTBlockIntra_MPEG2_32s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* dcTable,
                                                  const Vexo32s* acTable, const Vexo32s* scan, Vexo32s qp,
                                                  const Vexo16s* qMatrix, Vexo16s* dcPredictor, Vexo32s dcShift,
                                                  Vexo16s* dst, Vexo32s* lastIndex) {
    if (!bitStream || !bitOffset || !dcTable || !acTable || !scan || !qMatrix || !dcPredictor || !dst ||
        !lastIndex || !*bitStream) {
        return vexoStatusNullPointer;
    }
    return reconstruct<Standard::Mpeg2, true>(bitStream, bitOffset, dcTable, acTable, scan, qp, qMatrix,
                                              dcPredictor, dcShift, dst, lastIndex);
}

}  // namespace vexo::VEXO_PATH
