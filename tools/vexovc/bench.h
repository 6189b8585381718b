// Reporting of `vexovc bench`: a table on the terminal, CSV, JSON and an SVG
// chart of the speed-ups.
#pragma once

#include <string>
#include <vector>

namespace vexo::bench {

struct Row {
    std::string name;
    std::vector<double> ticks;  // median TSC ticks per call, per path index; 0 where not timed
};

// A path is flagged as a regression when it is this much slower than the
// path below it: the machines are shared, and a few percent is noise.
constexpr double kSlowerTolerance = 1.05;

void printTable(const std::vector<Row>& rows, const std::vector<int>& paths);
bool writeCsv(const std::string& file, const std::vector<Row>& rows, const std::vector<int>& paths);
bool writeJson(const std::string& file, const std::vector<Row>& rows, const std::vector<int>& paths);
bool writeSvg(const std::string& file, const std::vector<Row>& rows, const std::vector<int>& paths);

}  // namespace vexo::bench
