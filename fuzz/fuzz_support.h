// Shared by the fuzz targets of the bit-stream readers. Each target links the
// px and h9 builds of the family sources, runs both on the same input and
// traps if they disagree; AddressSanitizer watches both.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tests/support/mpeg_tables.h"
#include "vexovc.h"

#define VEXO_EXPORT(ret, name, params, args) ret name params;
namespace vexo::px {
#include "core/exports.def"
}
namespace vexo::h9 {
#include "core/exports.def"
}
#undef VEXO_EXPORT

namespace fuzz {

// Reads parameter bytes from the front of the input; zeros once it runs out.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    std::uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    // The rest of the input as stream words, then `padWords` zero words: more
    // than any reader can consume from the last input bit, so that no reader
    // runs off the buffer by design.
    std::vector<Vexo32u> stream(std::size_t padWords) {
        const std::size_t rest = pos_ < size_ ? size_ - pos_ : 0;
        std::vector<Vexo32u> words((rest + 3) / 4 + padWords, 0);
        if (rest) std::memcpy(words.data(), data_ + pos_, rest);
        pos_ = size_;
        return words;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

inline bool hostRunsH9() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
}

[[noreturn]] inline void disagree(const char* what) {
    __builtin_printf("px and h9 disagree: %s\n", what);
    __builtin_trap();
}

// The decoding tables of both paths for one split of the code lengths into
// levels, built once.
struct MpegTables {
    Vexo32s* first;
    Vexo32s* b14;
    Vexo32s* b15;
    Vexo32s* luma;
    Vexo32s* chroma;
};

template <class RunLevel, class Huffman>
MpegTables buildTables(RunLevel runLevel, Huffman huffman, const std::vector<int>& widths) {
    namespace mpeg = vexo::test::mpeg;
    MpegTables t{};
    const bool ok =
        runLevel(mpeg::coefficientDescription(mpeg::CoefficientTable::B14First, widths).data(), &t.first) == 0 &&
        runLevel(mpeg::coefficientDescription(mpeg::CoefficientTable::B14, widths).data(), &t.b14) == 0 &&
        runLevel(mpeg::coefficientDescription(mpeg::CoefficientTable::B15, widths).data(), &t.b15) == 0 &&
        huffman(mpeg::dcSizeDescription(false, widths).data(), &t.luma) == 0 &&
        huffman(mpeg::dcSizeDescription(true, widths).data(), &t.chroma) == 0;
    if (!ok) std::abort();
    return t;
}

inline const std::vector<int>& widthChoice(int i) {
    static const std::vector<int> choices[4] = {{8, 5, 4}, {10, 7}, {4, 4, 4, 4, 1}, {17}};
    return choices[i & 3];
}

// Tables per path (0 px, 1 h9) and width choice.
inline const MpegTables& tables(int path, int choice) {
    static MpegTables built[2][4];
    static bool ready[2][4];
    if (!ready[path][choice & 3]) {
        built[path][choice & 3] =
            path == 0 ? buildTables(vexo::px::vexoHuffmanRunLevelTableInitAlloc_32s,
                                    vexo::px::vexoHuffmanTableInitAlloc_32s, widthChoice(choice))
                      : buildTables(vexo::h9::vexoHuffmanRunLevelTableInitAlloc_32s,
                                    vexo::h9::vexoHuffmanTableInitAlloc_32s, widthChoice(choice));
        ready[path][choice & 3] = true;
    }
    return built[path][choice & 3];
}

}  // namespace fuzz
