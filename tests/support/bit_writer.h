// Builds test streams for the word-cursor readers: 32-bit words in machine
// order, bits from high to low, the first bit at any bit number of the first
// word. Deliberately bit-at-a-time and independent of the library's writer.
#pragma once

#include <vector>

#include "vexovc.h"

namespace vexo::test {

class BitWriter {
public:
    // startBit: bit number (31 = most significant) of the first bit written.
    // The bits of the first word above it hold `filler`, so a reader that
    // looks in front of its cursor is caught.
    explicit BitWriter(int startBit = 31, int filler = 1);

    void put(Vexo32u value, int length);  // the low `length` bits, high first; length 0 to 32
    void putBits(const char* bits);       // '0' and '1', spaces ignored

    int startBit() const { return startBit_; }
    int size() const { return static_cast<int>(bits_.size()); }

    // The stream followed by `padWords` words of `padding` bits (0 or 1).
    std::vector<Vexo32u> words(int padWords = 2, int padding = 0) const;

    // Where a read cursor stands after `bitsRead` bits from the start.
    struct Cursor {
        int word;
        int bit;
    };
    Cursor cursorAfter(int bitsRead) const;

private:
    int startBit_;
    int filler_;
    std::vector<Vexo8u> bits_;
};

// Reads the n bits at a word cursor without the library: the test's own
// reference for what a stream holds.
Vexo32u peekBits(const Vexo32u* words, int wordIndex, int bit, int n);

}  // namespace vexo::test
