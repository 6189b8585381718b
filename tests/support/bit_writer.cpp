#include "tests/support/bit_writer.h"

#include <stdexcept>

namespace vexo::test {

BitWriter::BitWriter(int startBit, int filler) : startBit_(startBit), filler_(filler & 1) {
    if (startBit < 0 || startBit > 31) throw std::out_of_range("startBit");
}

void BitWriter::put(Vexo32u value, int length) {
    if (length < 0 || length > 32) throw std::out_of_range("length");
    for (int i = length - 1; i >= 0; --i) bits_.push_back(static_cast<Vexo8u>((value >> i) & 1));
}

void BitWriter::putBits(const char* bits) {
    for (const char* p = bits; *p; ++p) {
        if (*p == ' ') continue;
        if (*p != '0' && *p != '1') throw std::invalid_argument(bits);
        bits_.push_back(static_cast<Vexo8u>(*p - '0'));
    }
}

std::vector<Vexo32u> BitWriter::words(int padWords, int padding) const {
    const int lead = 31 - startBit_;
    const int total = lead + size();
    const int used = (total + 31) / 32;
    std::vector<Vexo32u> out(static_cast<size_t>(used + padWords), padding ? 0xFFFFFFFFu : 0u);
    auto setBit = [&](int index, int bit) {
        Vexo32u& w = out[static_cast<size_t>(index / 32)];
        const Vexo32u mask = 1u << (31 - index % 32);
        w = bit ? (w | mask) : (w & ~mask);
    };
    for (int i = 0; i < lead; ++i) setBit(i, filler_);
    for (int i = 0; i < size(); ++i) setBit(lead + i, bits_[static_cast<size_t>(i)]);
    for (int i = total; i < used * 32; ++i) setBit(i, padding);
    return out;
}

BitWriter::Cursor BitWriter::cursorAfter(int bitsRead) const {
    const int index = 31 - startBit_ + bitsRead;
    return {index / 32, 31 - index % 32};
}

Vexo32u peekBits(const Vexo32u* words, int wordIndex, int bit, int n) {
    Vexo32u v = 0;
    for (int i = 0; i < n; ++i) {
        v = (v << 1) | ((words[wordIndex] >> bit) & 1u);
        if (--bit < 0) {
            bit = 31;
            ++wordIndex;
        }
    }
    return v;
}

}  // namespace vexo::test
