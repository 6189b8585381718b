#include "tests/support/paths.h"

namespace vexo::test {

std::vector<int> runnablePaths() {
    const std::uint64_t hardware = hardwareFeatures();
    std::vector<int> paths;
    for (int p = 0; p < kPathCount; ++p)
        if (pathRunsOn(p, hardware)) paths.push_back(p);
    return paths;
}

int cpuTypeForPath(int path) {
    static const int kTypes[kPathCount] = {5, 6, 33, 36, 37, 70, 38};
    return kTypes[path];
}

std::string pathName(const ::testing::TestParamInfo<int>& info) { return kPathCodes[info.param]; }

}  // namespace vexo::test
