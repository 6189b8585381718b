#include "tools/vexovc/bench.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/internal.h"

namespace vexo::bench {

namespace {

// The path timed just below `path` in this run, or -1.
int pathBelow(const std::vector<int>& paths, int path) {
    int below = -1;
    for (int p : paths)
        if (p < path) below = p;
    return below;
}

}  // namespace

void printTable(const std::vector<Row>& rows, const std::vector<int>& paths) {
    std::printf("Median time-stamp-counter ticks per call (TSC ticks run at about 0.6 of the core clock on\n"
                "these machines), then the speed-up over px and, after '/', over the path timed below it.\n"
                "'!' marks a path more than %.0f%% slower than the path below it.\n\n",
                (kSlowerTolerance - 1) * 100);
    std::size_t width = 6;
    for (const Row& r : rows) width = std::max(width, r.name.size());
    std::printf("%-*s", int(width), "export");
    for (int p : paths) std::printf(" %20s", kPathCodes[p]);
    std::printf("\n");
    int flagged = 0;
    for (const Row& r : rows) {
        std::printf("%-*s", int(width), r.name.c_str());
        const double px = r.ticks[0];
        for (int p : paths) {
            const double t = r.ticks[std::size_t(p)];
            char cell[64];
            if (p == 0) {
                std::snprintf(cell, sizeof cell, "%.1f", t);
            } else {
                const int b = pathBelow(paths, p);
                const double below = b >= 0 ? r.ticks[std::size_t(b)] : 0;
                const bool slower = below > 0 && t > below * kSlowerTolerance;
                flagged += slower;
                std::snprintf(cell, sizeof cell, "%.1f %4.1fx/%.2f%s", t, px / t, below / t, slower ? "!" : " ");
            }
            std::printf(" %20s", cell);
        }
        std::printf("\n");
    }
    if (flagged) std::printf("\n%d path(s) slower than the path below them\n", flagged);
}

bool writeCsv(const std::string& file, const std::vector<Row>& rows, const std::vector<int>& paths) {
    FILE* f = std::fopen(file.c_str(), "w");
    if (!f) return false;
    std::fprintf(f, "export");
    for (int p : paths) std::fprintf(f, ",%s_ticks", kPathCodes[p]);
    std::fprintf(f, "\n");
    for (const Row& r : rows) {
        std::fprintf(f, "%s", r.name.c_str());
        for (int p : paths) std::fprintf(f, ",%.2f", r.ticks[std::size_t(p)]);
        std::fprintf(f, "\n");
    }
    return std::fclose(f) == 0;
}

bool writeJson(const std::string& file, const std::vector<Row>& rows, const std::vector<int>& paths) {
    FILE* f = std::fopen(file.c_str(), "w");
    if (!f) return false;
    std::fprintf(f, "{\n  \"unit\": \"tsc_ticks_per_call\",\n  \"exports\": [\n");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::fprintf(f, "    {\"name\": \"%s\"", rows[i].name.c_str());
        for (int p : paths) std::fprintf(f, ", \"%s\": %.2f", kPathCodes[p], rows[i].ticks[std::size_t(p)]);
        std::fprintf(f, "}%s\n", i + 1 < rows.size() ? "," : "");
    }
    std::fprintf(f, "  ]\n}\n");
    return std::fclose(f) == 0;
}

// One group of bars per export: the speed-up of each path over px, on a
// logarithmic axis so that 2x and 20x both read.
bool writeSvg(const std::string& file, const std::vector<Row>& rows, const std::vector<int>& paths) {
    static const char* const kColours[kPathCount] = {"#999999", "#1f77b4", "#ff7f0e", "#8c564b",
                                                     "#2ca02c", "#9467bd", "#d62728"};
    FILE* f = std::fopen(file.c_str(), "w");
    if (!f) return false;
    const int label = 330, barH = 7, gap = 8, chartW = 560;
    const int groupH = int(paths.size()) * barH + gap;
    const int height = 60 + int(rows.size()) * groupH + 30;
    double maxSpeed = 2;
    for (const Row& r : rows)
        for (int p : paths)
            if (r.ticks[std::size_t(p)] > 0) maxSpeed = std::max(maxSpeed, r.ticks[0] / r.ticks[std::size_t(p)]);
    const double logMax = std::log2(maxSpeed * 1.1);
    auto xOf = [&](double speed) { return label + chartW * std::max(0.0, std::log2(std::max(speed, 1.0))) / logMax; };
    std::fprintf(f,
                 "<svg xmlns='http://www.w3.org/2000/svg' width='%d' height='%d' font-family='sans-serif' "
                 "font-size='10'>\n<rect width='100%%' height='100%%' fill='white'/>\n"
                 "<text x='10' y='16' font-size='13'>Speed-up over px (median TSC ticks per call), log scale</text>\n",
                 label + chartW + 40, height);
    for (double s = 1; s <= maxSpeed * 1.1; s *= 2) {
        std::fprintf(f, "<line x1='%.1f' y1='40' x2='%.1f' y2='%d' stroke='#ddd'/><text x='%.1f' y='36'>%gx</text>\n",
                     xOf(s), xOf(s), height - 30, xOf(s) - 6, s);
    }
    int lx = 10;
    for (int p : paths) {
        std::fprintf(f, "<rect x='%d' y='%d' width='10' height='10' fill='%s'/><text x='%d' y='%d'>%s</text>\n", lx,
                     height - 20, kColours[p], lx + 14, height - 11, kPathCodes[p]);
        lx += 50;
    }
    int y = 44;
    for (const Row& r : rows) {
        std::fprintf(f, "<text x='%d' y='%d' text-anchor='end'>%s</text>\n", label - 6, y + groupH / 2, r.name.c_str());
        for (int p : paths) {
            const double t = r.ticks[std::size_t(p)];
            const double speed = t > 0 ? r.ticks[0] / t : 0;
            std::fprintf(f, "<rect x='%d' y='%d' width='%.1f' height='%d' fill='%s'><title>%s %s %.1f ticks, %.2fx</title></rect>\n",
                         label, y, std::max(1.0, xOf(speed) - label), barH - 1, kColours[p], r.name.c_str(),
                         kPathCodes[p], t, speed);
            y += barH;
        }
        y += gap;
    }
    std::fprintf(f, "</svg>\n");
    return std::fclose(f) == 0;
}

}  // namespace vexo::bench
