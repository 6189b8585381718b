// Coefficient scans: 64 coefficients between block order (row by row) and
// scan order, by the classic zigzag or the MPEG-4 alternate scans.
#include "core/path.h"
#include "core/simd.h"

namespace vexo::VEXO_PATH {
namespace {

// Block position of each scan position: the published tables, as ISO/IEC
// 13818-2 and 14496-2 print them.
const Vexo8u kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                            12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                            35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                            58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
const Vexo8u kAlternateVertical[64] = {0,  8,  16, 24, 1,  9,  2,  10, 17, 25, 32, 40, 48, 56, 57, 49,
                                       41, 33, 26, 18, 3,  11, 4,  12, 19, 27, 34, 42, 50, 58, 35, 43,
                                       51, 59, 20, 28, 5,  13, 6,  14, 21, 29, 36, 44, 52, 60, 37, 45,
                                       53, 61, 22, 30, 7,  15, 23, 31, 38, 46, 54, 62, 39, 47, 55, 63};
const Vexo8u kAlternateHorizontal[64] = {0,  1,  2,  3,  8,  9,  16, 17, 10, 11, 4,  5,  6,  7,  15, 14,
                                         13, 12, 19, 18, 24, 25, 32, 33, 26, 27, 20, 21, 22, 23, 28, 29,
                                         30, 31, 34, 35, 40, 41, 48, 49, 42, 43, 36, 37, 38, 39, 44, 45,
                                         46, 47, 50, 51, 56, 57, 58, 59, 52, 53, 54, 55, 60, 61, 62, 63};

// Below this count the forward scan copies only the non-zero values it is
// told about; from it on, it permutes all 64. A fixed decision of the
// interface, not a tuning knob.
constexpr Vexo32s kSparseBelow = 20;

inline const Vexo8u* scanTable(Vexo32s scanType) {
    return scanType == 1 ? kAlternateVertical : scanType == 2 ? kAlternateHorizontal : kZigzag;
}

void scanForward(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, const Vexo8u* scan) {
    if (countNonZero >= kSparseBelow) {
        for (int i = 0; i < 64; ++i) dst[i] = src[scan[i]];
        return;
    }
    std::memset(dst, 0, 64 * sizeof(Vexo16s));
    Vexo32s seen = 0;
    for (int i = 0; i < 64; ++i) {
        const Vexo16s v = src[scan[i]];
        if (v == 0) continue;
        dst[i] = v;
        if (++seen == countNonZero) break;
    }
}

void scanInverse(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, const Vexo8u* scan) {
    std::memset(dst, 0, 64 * sizeof(Vexo16s));
    dst[0] = src[0];
    for (int i = 1; i <= lastIndex; ++i) dst[scan[i]] = src[i];
}

}  // namespace

VexoStatus vexoScanFwd_16s_C1(const Vexo16s* src, Vexo16s* dst, Vexo32s countNonZero, Vexo32s scanType) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    if (countNonZero < 1 || countNonZero > 64) return vexoStatusOutOfRange;
    scanForward(src, dst, countNonZero, scanTable(scanType));
    return vexoStatusOk;
}

VexoStatus vexoScanInv_16s_C1(const Vexo16s* src, Vexo16s* dst, Vexo32s lastIndex, Vexo32s scanType) {
    if (src == nullptr || dst == nullptr) return vexoStatusNullPointer;
    if (lastIndex < 0 || lastIndex > 63) return vexoStatusOutOfRange;
    scanInverse(src, dst, lastIndex, scanTable(scanType));
    return vexoStatusOk;
}

}  // namespace vexo::VEXO_PATH
