// Dispatch, the version records and the initialising slot.
#include <gtest/gtest.h>

#include <cstring>

#include "core/internal.h"
#include "tests/support/paths.h"

namespace vexo {
namespace {

using test::PathTest;

TEST_P(PathTest, VersionRecordNamesThePathInForce) {
    static const char* const kBanners[kPathCount] = {"vexoVC PX (px)",        "vexoVC SSE2 (w7)",
                                                     "vexoVC SSSE3 (v8)",     "vexoVC Quil (s8)",
                                                     "vexoVC SSE4.1/4.2 (p8)+", "vexoVC AVX (g9)",
                                                     "vexoVC AVX2 (h9)"};
    const VexoLibraryVersion* v = vexovcGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->major, 9);
    EXPECT_EQ(v->minor, 0);
    EXPECT_EQ(v->majorBuild, 0);
    EXPECT_EQ(v->build, -1);
    EXPECT_STREQ(v->version, "9.0 Vexold (r48491) (-)");
    EXPECT_STREQ(v->buildDate, "Oct 15 2015");
    EXPECT_STREQ(v->name, kBanners[path()]);
    char code[4] = {kPathCodes[path()][0], kPathCodes[path()][1], 0, 0};
    EXPECT_EQ(std::memcmp(v->targetCpu, code, 4), 0);
}

VEXO_ON_EVERY_PATH(PathTest);

TEST(VersionRecord, PlusExactlyWhenSse42IsEnabled) {
    if (!pathRunsOn(kP8, hardwareFeatures())) GTEST_SKIP() << "no p8 here";
    for (int type : {35, 68}) {
        ASSERT_EQ(vexovcInitCpu(type), vexoStatusOk);
        EXPECT_STREQ(vexovcGetLibVersion()->name, "vexoVC SSE4.1/4.2 (p8)") << type;
    }
    for (int type : {37, 69, 71, 72}) {
        ASSERT_EQ(vexovcInitCpu(type), vexoStatusOk);
        EXPECT_STREQ(vexovcGetLibVersion()->name, "vexoVC SSE4.1/4.2 (p8)+") << type;
    }
    vexovcInitCpu(-1);
}

TEST(VersionRecord, Layout) {
    EXPECT_EQ(offsetof(VexoLibraryVersion, targetCpu), 16u);
    EXPECT_EQ(offsetof(VexoLibraryVersion, name), sizeof(void*) == 4 ? 20u : 24u);
    EXPECT_EQ(sizeof(VexoLibraryVersion), sizeof(void*) == 4 ? 32u : 48u);
}

// A call that arrives before initialisation goes through slot -1: it
// initialises the library and returns the primitive's own result, with its
// arguments intact.
TEST(Dispatch, FirstCallBeforeInitInitialisesAndRuns) {
    Vexo8u src[16 * 9], dst[16 * 8];
    for (int i = 0; i < 16 * 9; ++i) src[i] = Vexo8u(i * 7 + 3);
    std::memset(dst, 0xEE, sizeof dst);
    const int chosen = (vexovcInitCpu(-1), dispatchIndex.load());

    dispatchIndex.store(-1);
    ASSERT_EQ(vexoCopy8x8HP_8u_C1R(src + 1, 16, dst + 2, 16, 2, 1), vexoStatusOk);
    EXPECT_EQ(dispatchIndex.load(), chosen);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            ASSERT_EQ(dst[y * 16 + x + 2], (src[y * 16 + x + 1] + src[(y + 1) * 16 + x + 1]) >> 1) << y << "," << x;
    EXPECT_EQ(dst[0], 0xEE);
    EXPECT_EQ(dst[10], 0xEE);

    dispatchIndex.store(-1);
    EXPECT_EQ(vexoCopy8x8_8u_C1R(nullptr, 8, dst, 8), vexoStatusNullPointer);
    EXPECT_EQ(dispatchIndex.load(), chosen);

    dispatchIndex.store(-1);
    const VexoLibraryVersion* v = vexovcGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->major, 9);
    EXPECT_EQ(dispatchIndex.load(), chosen);
}

// Every row of the table holds the slot thunk and seven distinct path
// functions: a row shifted by one would call another export.
TEST(Dispatch, TableRowsAreWhole) {
    constexpr std::size_t kRow = 8;
    const auto* slots = reinterpret_cast<void (*const*)()>(&vexoDispatchTable);
    const std::size_t rows = sizeof(DispatchTable) / sizeof(void (*)()) / kRow;
    ASSERT_GE(rows, 18u);
    for (std::size_t r = 0; r < rows; ++r) {
        for (std::size_t a = 0; a < kRow; ++a) {
            ASSERT_NE(slots[r * kRow + a], nullptr);
            for (std::size_t b = a + 1; b < kRow; ++b) ASSERT_NE(slots[r * kRow + a], slots[r * kRow + b]) << r;
        }
    }
}

}  // namespace
}  // namespace vexo
