// Runs behaviour tests once per path this processor can run, each path forced
// through vexovcInitCpu.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/internal.h"

namespace vexo::test {

// The paths this processor can run, read from the hardware, not from the
// (possibly forced) cached detection.
std::vector<int> runnablePaths();
// The processor-type number that forces each path.
int cpuTypeForPath(int path);
std::string pathName(const ::testing::TestParamInfo<int>& info);

class PathTest : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override { ASSERT_EQ(vexovcInitCpu(cpuTypeForPath(GetParam())), vexoStatusOk); }
    int path() const { return GetParam(); }
};

}  // namespace vexo::test

#define VEXO_ON_EVERY_PATH(Suite) \
    INSTANTIATE_TEST_SUITE_P(Paths, Suite, ::testing::ValuesIn(::vexo::test::runnablePaths()), ::vexo::test::pathName)
