// The version records of one path. Compiled per path like a family, so that
// vexovcGetLibVersion goes through dispatch and reports the path in force.
#include "core/path.h"
#include "core/internal.h"

namespace vexo::VEXO_PATH {

namespace {

#define VEXO_RECORD(code, banner) {9, 0, 0, -1, {code}, banner, "9.0 Vexold (r48491) (-)", "Oct 15 2015"}

#if VEXO_LEVEL == VEXO_LEVEL_PX
constexpr VexoLibraryVersion kRecord = VEXO_RECORD("px", "vexoVC PX (px)");
#elif VEXO_LEVEL == VEXO_LEVEL_W7
constexpr VexoLibraryVersion kRecord = VEXO_RECORD("w7", "vexoVC SSE2 (w7)");
#elif VEXO_LEVEL == VEXO_LEVEL_V8
constexpr VexoLibraryVersion kRecord = VEXO_RECORD("v8", "vexoVC SSSE3 (v8)");
#elif VEXO_LEVEL == VEXO_LEVEL_S8
constexpr VexoLibraryVersion kRecord = VEXO_RECORD("s8", "vexoVC Quil (s8)");
#elif VEXO_LEVEL == VEXO_LEVEL_P8
constexpr VexoLibraryVersion kRecord = VEXO_RECORD("p8", "vexoVC SSE4.1/4.2 (p8)");
// The same p8 code, told apart only by whether SSE4.2 is in force.
constexpr VexoLibraryVersion kRecordPlus = VEXO_RECORD("p8", "vexoVC SSE4.1/4.2 (p8)+");
#elif VEXO_LEVEL == VEXO_LEVEL_G9
constexpr VexoLibraryVersion kRecord = VEXO_RECORD("g9", "vexoVC AVX (g9)");
#elif VEXO_LEVEL == VEXO_LEVEL_H9
constexpr VexoLibraryVersion kRecord = VEXO_RECORD("h9", "vexoVC AVX2 (h9)");
#endif

#undef VEXO_RECORD

}  // namespace

const VexoLibraryVersion* vexovcGetLibVersion(void) {
#if VEXO_LEVEL == VEXO_LEVEL_P8
    constexpr std::uint64_t wanted = vexo::kFeatSse42;
    if ((enabledFeatures.load(std::memory_order_relaxed) & wanted) == wanted) return &kRecordPlus;
#endif
    return &kRecord;
}

}  // namespace vexo::VEXO_PATH
