// Caller-described variable-length codes: decoding tables, encoding tables,
// the two single-code decoders and the two MPEG block writers.
//
// Bit-serial work has nothing to vectorise; every path compiles this same
// code, and keeps its own copy of it.
#include "core/path.h"
#include "vlc/bitstream.h"

namespace vexo::VEXO_PATH {
namespace {

using vlc::kEndOfBlockRun;
using vlc::kEscapeRun;
using vlc::kInvalidEntry;
using vlc::kInvalidValue;
using vlc::kLinkFlag;

// A link holds its target as a word offset in 24 bits; a table larger than
// that could not be walked, so it is refused as an allocation failure.
constexpr Vexo64s kMaxTableWords = Vexo64s{1} << 24;
constexpr Vexo32s kMaxWidth = 24;

Vexo32u lowMask(Vexo32s bits) {
    return bits >= 32 ? 0xFFFFFFFFu : (Vexo32u{1} << bits) - 1;
}

// The description: word 1 the number of levels, then their widths, then for
// code lengths 1, 2, ... a count and that many rows, ended by a negative count.
struct Description {
    const Vexo32s* widths;
    Vexo32s levels;
    const Vexo32s* firstCount;
    Vexo32s rowWords;
};

Description readDescription(const Vexo32s* description, Vexo32s rowWords) {
    const Vexo32s levels = description[1] > 0 ? description[1] : 0;
    return Description{description + 2, levels, description + 2 + levels, rowWords};
}

// Calls visit(length, row) for every row, by growing length.
template <typename Visit>
void forEachRow(const Description& d, Visit&& visit) {
    const Vexo32s* p = d.firstCount;
    for (Vexo32s length = 1;; ++length) {
        const Vexo32s count = *p++;
        if (count < 0) return;
        for (Vexo32s i = 0; i < count; ++i, p += d.rowWords) visit(length, p);
    }
}

Vexo64s rowCount(const Description& d) {
    Vexo64s rows = 0;
    forEachRow(d, [&](Vexo32s, const Vexo32s*) { ++rows; });
    return rows;
}

// The two builders recognise a link differently: the Huffman builder also
// wants a non-zero second byte, so a link to an offset that is a multiple of
// 256 is not followed there and its entry gets a fresh sub-table. That is how
// these tables have always been built; the sizing pass below reproduces it so
// that the allocation always holds what the filling pass writes.
bool isBuilderLink(Vexo32u entry, bool runLevel) {
    if ((entry & 0xFFu) != kLinkFlag) return false;
    return runLevel || (entry & 0xFF00u) != 0;
}

Vexo32u leafEntry(const Vexo32s* row, Vexo32s spare, bool runLevel) {
    if (runLevel) {
        return (static_cast<Vexo32u>(row[2]) << 16) | ((static_cast<Vexo32u>(row[1]) & 0xFFu) << 8) |
               static_cast<Vexo32u>(spare);
    }
    return (static_cast<Vexo32u>(row[1]) << 8) | static_cast<Vexo32u>(spare);
}

// One link made while sizing: entry `index` of the sub-table at `table`
// points to `target`.
struct SizingLink {
    Vexo32s table;
    Vexo32s index;
    Vexo32s target;
};

VexoStatus buildDecodingTable(const Vexo32s* description, Vexo32s** table, bool runLevel) {
    if (!description || !table) return vexoStatusNullPointer;

    const Description d = readDescription(description, runLevel ? 3 : 2);
    // Without a level there is nothing to allocate.
    if (d.levels < 1) return vexoStatusNoMemory;
    Vexo32s totalWidth = 0;
    for (Vexo32s k = 0; k < d.levels; ++k) {
        if (d.widths[k] < 0 || d.widths[k] > kMaxWidth) return vexoStatusNoMemory;
        totalWidth += d.widths[k];
    }
    // A code longer than the levels reach, or than a word, cannot be placed;
    // such rows are passed over.
    auto fits = [&](Vexo32s length) { return length <= totalWidth && length <= 32; };

    // Sizing pass: walk every code as the filling pass will, keeping only the
    // links that it would make.
    const Vexo64s rows = rowCount(d);
    const Vexo64s maxLinks = rows * (d.levels - 1);
    if (maxLinks * static_cast<Vexo64s>(sizeof(SizingLink)) > 0x7FFFFFFF) return vexoStatusNoMemory;
    SizingLink* links = nullptr;
    if (maxLinks > 0) {
        links = static_cast<SizingLink*>(vexoAlloc8u(static_cast<Vexo32s>(maxLinks * sizeof(SizingLink))));
        if (!links) return vexoStatusNoMemory;
    }
    Vexo64s size = (Vexo64s{1} << d.widths[0]) + 1;
    Vexo32s linkCount = 0;
    forEachRow(d, [&](Vexo32s length, const Vexo32s* row) {
        if (!fits(length)) return;
        const Vexo32u code = static_cast<Vexo32u>(row[0]) & lowMask(length);
        Vexo32s sub = 0;
        Vexo32s through = 0;
        for (Vexo32s k = 0; k + 1 < d.levels && size <= kMaxTableWords; ++k) {
            through += d.widths[k];
            if (length <= through) return;
            const Vexo32s index = static_cast<Vexo32s>((code >> (length - through)) & lowMask(d.widths[k]));
            SizingLink* found = nullptr;
            for (Vexo32s i = 0; i < linkCount; ++i) {
                if (links[i].table == sub && links[i].index == index) {
                    found = &links[i];
                    break;
                }
            }
            if (found && isBuilderLink((static_cast<Vexo32u>(found->target) << 8) | kLinkFlag, runLevel)) {
                sub = found->target;
                continue;
            }
            const Vexo32s target = static_cast<Vexo32s>(size);
            size += (Vexo64s{1} << d.widths[k + 1]) + 1;
            if (found) {
                found->target = target;
            } else {
                links[linkCount++] = SizingLink{sub, index, target};
            }
            sub = target;
        }
    });
    vexoFree(links);
    if (size > kMaxTableWords) return vexoStatusNoMemory;

    Vexo32s* out = static_cast<Vexo32s*>(vexoAlloc8u(static_cast<Vexo32s>(size * 4)));
    if (!out) return vexoStatusNoMemory;
    for (Vexo64s i = 0; i < size; ++i) out[i] = static_cast<Vexo32s>(kInvalidEntry);
    out[0] = d.widths[0];

    // Filling pass, codes by growing length as the description lists them.
    Vexo32s nextFree = (Vexo32s{1} << d.widths[0]) + 1;
    forEachRow(d, [&](Vexo32s length, const Vexo32s* row) {
        if (!fits(length)) return;
        const Vexo32u code = static_cast<Vexo32u>(row[0]) & lowMask(length);
        Vexo32s sub = 0;
        Vexo32s before = 0;
        for (Vexo32s k = 0; k < d.levels; ++k) {
            const Vexo32s width = d.widths[k];
            const Vexo32s through = before + width;
            if (length <= through) {
                const Vexo32s spare = through - length;
                const Vexo32u first = (code & lowMask(length - before)) << spare;
                const Vexo32s leaf = static_cast<Vexo32s>(leafEntry(row, spare, runLevel));
                Vexo32s* entries = out + sub + 1 + first;
                for (Vexo32u j = 0; j < (Vexo32u{1} << spare); ++j) entries[j] = leaf;
                return;
            }
            const Vexo32u index = (code >> (length - through)) & lowMask(width);
            Vexo32s& entry = out[sub + 1 + static_cast<Vexo32s>(index)];
            if (isBuilderLink(static_cast<Vexo32u>(entry), runLevel)) {
                sub = static_cast<Vexo32s>(static_cast<Vexo32u>(entry) >> 8);
            } else {
                entry = static_cast<Vexo32s>((static_cast<Vexo32u>(nextFree) << 8) | kLinkFlag);
                out[nextFree] = d.widths[k + 1];
                sub = nextFree;
                nextFree += (Vexo32s{1} << d.widths[k + 1]) + 1;
            }
            before = through;
        }
    });

    *table = out;
    return vexoStatusOk;
}

Vexo32s magnitude(Vexo32s v) {
    return v < 0 ? static_cast<Vexo32s>(0u - static_cast<Vexo32u>(v)) : v;
}

// Encoding table word 0 keeps a marked row as (code << 4 | length) in 10 bits.
Vexo32u markedRowField(const Vexo32s* row, Vexo32s length) {
    return ((static_cast<Vexo32u>(row[0]) << 4) | static_cast<Vexo32u>(length)) & 0x3FFu;
}

// Runs 0 to 253 have sub-tables; 254 and 255 are the marked rows.
constexpr Vexo32s kRunSlots = 254;

// The shared step of the block writers: a code from the table, or the 24-bit
// escape (000001, 6 bits of run, 12 bits of level) when the table has none.
void putRunLevel(vlc::WordWriter& w, const Vexo32s* table, Vexo32s run, Vexo32s level) {
    const Vexo32s maxRun = static_cast<Vexo32s>(static_cast<Vexo32u>(table[0]) >> 20);
    if (run <= maxRun) {
        const Vexo32s* centre =
            reinterpret_cast<const Vexo32s*>(reinterpret_cast<const Vexo8u*>(table) + table[1 + run]);
        if (magnitude(level) <= centre[0]) {
            const Vexo32u entry = static_cast<Vexo32u>(centre[level]);
            vlc::putBits(w, entry >> 16, static_cast<Vexo32s>(entry & 0xFFFFu));
            return;
        }
    }
    vlc::putBits(w, 1, 6);
    vlc::putBits(w, static_cast<Vexo32u>(run), 6);
    vlc::putBits(w, static_cast<Vexo32u>(level), 12);
}

// The AC walk of both writers: from scan position `first` on, until `count`
// coefficients are written. The walk stops at the end of the scan even if
// the caller's count is too high, rather than reading past it.
void putCoefficients(vlc::WordWriter& w, const Vexo16s* block, const Vexo32s* acTable, const Vexo32s* scan,
                     Vexo32s run, Vexo32s written, Vexo32s count) {
    for (Vexo32s i = 1; i < 64 && written < count; ++i) {
        // Masked so that a bad scan entry cannot read outside the block.
        const Vexo32s level = block[scan[i] & 63];
        if (level == 0) {
            ++run;
            continue;
        }
        putRunLevel(w, acTable, run, level);
        run = 0;
        ++written;
    }
}

}  // namespace

VexoStatus vexoHuffmanTableInitAlloc_32s(const Vexo32s* description, Vexo32s** table) {
    return buildDecodingTable(description, table, false);
}

VexoStatus vexoHuffmanRunLevelTableInitAlloc_32s(const Vexo32s* description, Vexo32s** table) {
    return buildDecodingTable(description, table, true);
}

VexoStatus vexoHuffmanTableFree_32s(Vexo32s* table) {
    if (!table) return vexoStatusNullPointer;
    vexoFree(table);
    return vexoStatusOk;
}

VexoStatus vexoCreateRLEncodeTable(const Vexo32s* description, Vexo32s** table) {
    if (!description || !table) return vexoStatusNullPointer;
    const Description d = readDescription(description, 3);

    Vexo32s counts[kRunSlots] = {};
    Vexo32s largest[kRunSlots] = {};
    Vexo64s rows = 0;
    Vexo32s maxRun = 0;
    Vexo32u escape = 0;
    Vexo32u endOfBlock = 0;
    forEachRow(d, [&](Vexo32s length, const Vexo32s* row) {
        ++rows;
        const Vexo32s run = row[1];
        if (run == kEscapeRun) {
            escape = markedRowField(row, length);
        } else if (run == kEndOfBlockRun) {
            endOfBlock = markedRowField(row, length);
        } else if (run >= 0 && run < kRunSlots) {
            ++counts[run];
            if (magnitude(row[2]) > largest[run]) largest[run] = magnitude(row[2]);
            if (run > maxRun) maxRun = run;
        }
    });

    const Vexo64s bytes = (rows + 2 * maxRun) * 4 + 12;
    if (bytes > 0x7FFFFFFF) return vexoStatusNoMemory;
    Vexo32s* out = static_cast<Vexo32s*>(vexoAlloc8u(static_cast<Vexo32s>(bytes)));
    if (!out) return vexoStatusNoMemory;
    const Vexo32s words = static_cast<Vexo32s>(bytes / 4);

    out[0] = static_cast<Vexo32s>((static_cast<Vexo32u>(maxRun) << 20) | (endOfBlock << 10) | escape);
    Vexo32s centre = maxRun + 2 + (counts[0] >> 1);
    for (Vexo32s run = 0; run <= maxRun; ++run) {
        if (run > 0) centre += (counts[run - 1] >> 1) + (counts[run] >> 1) + 1;
        out[1 + run] = centre * 4;
        out[centre] = counts[run] ? largest[run] : -1;
    }

    // Slots no row fills keep what the allocation held. A level of 0 has no
    // code (its slot is the centre word), and a level beyond its run's share
    // is only written while it stays inside the table.
    forEachRow(d, [&](Vexo32s length, const Vexo32s* row) {
        const Vexo32s run = row[1];
        if (run < 0 || run > maxRun || row[2] == 0) return;
        const Vexo64s slot = out[1 + run] / 4 + static_cast<Vexo64s>(row[2]);
        if (slot <= maxRun + 1 || slot >= words) return;
        out[slot] = static_cast<Vexo32s>((static_cast<Vexo32u>(row[0]) << 16) | static_cast<Vexo32u>(length));
    });

    *table = out;
    return vexoStatusOk;
}

VexoStatus vexoDecodeHuffmanOne_1u32s(Vexo32u** bitStream, Vexo32s* bitOffset, Vexo32s* value,
                                      const Vexo32s* table) {
    if (!bitStream || !bitOffset || !value || !table || !*bitStream) return vexoStatusNullPointer;
    vlc::WordReader r = vlc::makeReader(*bitStream, *bitOffset);
    const Vexo32u entry = vlc::walkTable(r, table);
    const Vexo32s decoded = static_cast<Vexo32s>(entry) >> 8;
    if (decoded == static_cast<Vexo32s>(kInvalidValue)) {
        // The cursor stays where the lookup left it, spare bits not returned:
        // callers that resynchronise rely on the bits having been consumed.
        *value = decoded;
        *bitStream = const_cast<Vexo32u*>(r.word);
        *bitOffset = r.bit;
        return vexoStatusBadVlcCode;
    }
    vlc::giveBackBits(r, vlc::spareBits(entry));
    *bitStream = const_cast<Vexo32u*>(r.word);
    *bitOffset = r.bit;
    *value = decoded;
    return vexoStatusOk;
}

VexoStatus vexoDecodeHuffmanPair_1u16s(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo32s* table, Vexo8u* run,
                                       Vexo16s* level) {
    if (!bitStream || !bitOffset || !table || !run || !level || !*bitStream) return vexoStatusNullPointer;
    vlc::WordReader r = vlc::makeReader(*bitStream, *bitOffset);
    const Vexo32u entry = vlc::walkTable(r, table);
    // The whole of (entry >> 8) is compared, so a leaf of level 0xF0 and run
    // 0xF1 reads as invalid too.
    if ((entry >> 8) == kInvalidValue) return vexoStatusBadVlcCode;
    vlc::giveBackBits(r, vlc::spareBits(entry));
    *bitStream = const_cast<Vexo32u*>(r.word);
    *bitOffset = r.bit;
    *run = static_cast<Vexo8u>(entry >> 8);
    *level = static_cast<Vexo16s>(entry >> 16);
    return vexoStatusOk;
}

VexoStatus vexoPutIntraBlock(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo16s* block, Vexo32s* dcPredictor,
                             const Vexo32s* dcTable, const Vexo32s* acTable, const Vexo32s* scan, Vexo32s eobLength,
                             Vexo32s eobCode, Vexo32s count) {
    if (!bitStream || !bitOffset || !block || !*bitStream || !dcPredictor || !dcTable || !acTable || !scan) {
        return vexoStatusNullPointer;
    }
    vlc::WordWriter w = vlc::makeWriter(*bitStream, *bitOffset);

    Vexo64s diff = static_cast<Vexo64s>(block[0]) - *dcPredictor;
    *dcPredictor = block[0];
    const Vexo64s absolute = diff < 0 ? -diff : diff;
    Vexo32s size = 0;
    while (size < 40 && (absolute >> size) != 0) ++size;
    vlc::putBits(w, static_cast<Vexo32u>(dcTable[2 * size]), dcTable[2 * size + 1]);
    if (size != 0) {
        // Negative differences go out as diff + 2^size - 1: their top bit is 0.
        if (diff <= 0) diff += (Vexo64s{1} << size) - 1;
        vlc::putBits(w, static_cast<Vexo32u>(diff), size);
    }

    putCoefficients(w, block, acTable, scan, 0, 0, count);
    vlc::putBits(w, static_cast<Vexo32u>(eobCode), eobLength);
    *bitStream = w.word;
    *bitOffset = w.freeBits;
    return vexoStatusOk;
}

VexoStatus vexoPutNonIntraBlock(Vexo32u** bitStream, Vexo32s* bitOffset, const Vexo16s* block,
                                const Vexo32s* acTable, const Vexo32s* scan, Vexo32s eobLength, Vexo32s eobCode,
                                Vexo32s count) {
    if (!bitStream || !bitOffset || !block || !acTable || !scan || !*bitStream) return vexoStatusNullPointer;
    vlc::WordWriter w = vlc::makeWriter(*bitStream, *bitOffset);

    // The first coefficient is block[0] itself, not block[scan[0]]. Level 1
    // has the short code '1s' there, which no later coefficient may use.
    Vexo32s run = 0;
    Vexo32s written = 0;
    const Vexo32s first = block[0];
    if (first == 1 || first == -1) {
        vlc::putBits(w, first == 1 ? 2u : 3u, 2);
        ++written;
    } else if (first != 0) {
        putRunLevel(w, acTable, 0, first);
        ++written;
    } else {
        run = 1;
    }

    putCoefficients(w, block, acTable, scan, run, written, count);
    vlc::putBits(w, static_cast<Vexo32u>(eobCode), eobLength);
    *bitStream = w.word;
    *bitOffset = w.freeBits;
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH
