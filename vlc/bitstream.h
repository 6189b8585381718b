// Word cursors and the decoding-table walk shared by the variable-length
// decoders. Included after core/path.h: everything here lives in the path's
// namespace, so each path keeps its own copy of these inline helpers.
#pragma once

namespace vexo::VEXO_PATH::vlc {

// The invalid mark that every entry of a fresh decoding table holds. Its
// value, 0xF0F1, is what the decoders test; its low byte of 1 keeps it from
// ever looking like a link.
inline constexpr Vexo32u kInvalidEntry = 0x00F0F101u;
inline constexpr Vexo32u kInvalidValue = 0xF0F1u;
inline constexpr Vexo32u kLinkFlag = 0x80u;

// Run values that mark a run-level leaf as end of block or escape.
inline constexpr Vexo32s kEndOfBlockRun = 254;
inline constexpr Vexo32s kEscapeRun = 255;

// A read cursor: the current word and the number of its next bit, 31 (most
// significant) down to 0. Words are in machine order.
struct WordReader {
    const Vexo32u* word;
    Vexo32s bit;
};

// A caller's offset outside 0..31 has no meaning; taking it modulo 32 keeps
// every shift below defined without a test on the hot path.
inline WordReader makeReader(const Vexo32u* word, Vexo32s offset) {
    return WordReader{word, offset & 31};
}

// The next n bits (0 to 32), without moving. The following word is read only
// when the bits run into it, so a stream that ends at the end of a mapped
// page is read no further than its last code needs.
inline Vexo32u peekBits(const WordReader& r, Vexo32s n) {
    if (n <= 0) return 0;
    const Vexo32s available = r.bit + 1;
    const Vexo32u current = r.word[0] & (0xFFFFFFFFu >> (32 - available));
    if (n <= available) return current >> (available - n);
    const Vexo32s rest = n - available;
    return (current << rest) | (r.word[1] >> (32 - rest));
}

inline void skipBits(WordReader& r, Vexo32s n) {
    r.bit -= n;
    if (r.bit < 0) {
        r.bit += 32;
        ++r.word;
    }
}

inline Vexo32u readBits(WordReader& r, Vexo32s n) {
    const Vexo32u v = peekBits(r, n);
    skipBits(r, n);
    return v;
}

// Spare bits that a lookup read beyond a code's end go back to the stream;
// that can step back over a word boundary.
inline void giveBackBits(WordReader& r, Vexo32s n) {
    r.bit += n;
    if (r.bit > 31) {
        r.bit -= 32;
        --r.word;
    }
}

// Walks the levels of a decoding table and returns the entry the code ends
// on, a leaf or the invalid mark, with its spare bits still read.
inline Vexo32u walkTable(WordReader& r, const Vexo32s* table) {
    const Vexo32s* level = table;
    for (;;) {
        const Vexo32u entry = static_cast<Vexo32u>(level[1 + readBits(r, level[0])]);
        if (!(entry & kLinkFlag)) return entry;
        level = table + (entry >> 8);
    }
}

inline Vexo32s spareBits(Vexo32u entry) {
    return static_cast<Vexo32s>(entry & 0xFFu);
}

// A write cursor: the current word and how many of its bits are still free,
// 32 down to 1.
struct WordWriter {
    Vexo32u* word;
    Vexo32s freeBits;
};

inline WordWriter makeWriter(Vexo32u* word, Vexo32s freeBits) {
    return WordWriter{word, ((freeBits - 1) & 31) + 1};
}

// Writes the low n bits of value (n above 32 is taken as 32). A code that
// fills its word exactly leaves the next word untouched; one that runs over
// stores (not ORs) its low bits into the next word, so only the word a code
// starts in is ORed into.
inline void putBits(WordWriter& w, Vexo32u value, Vexo32s n) {
    if (n <= 0) return;
    if (n > 32) n = 32;
    value &= 0xFFFFFFFFu >> (32 - n);
    if (n < w.freeBits) {
        *w.word |= value << (w.freeBits - n);
        w.freeBits -= n;
    } else if (n == w.freeBits) {
        *w.word |= value;
        ++w.word;
        w.freeBits = 32;
    } else {
        const Vexo32s rest = n - w.freeBits;
        *w.word |= value >> rest;
        ++w.word;
        *w.word = value << (32 - rest);
        w.freeBits = 32 - rest;
    }
}

}  // namespace vexo::VEXO_PATH::vlc
