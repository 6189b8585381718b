// vexovc: what the processor and the library say (info), every path proven
// equal to px (check), every path timed (bench).
#include <fnmatch.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "core/internal.h"
#include "tools/vexovc/bench.h"
#include "tools/vexovc/check.h"

namespace {

using namespace vexo;

const char* const kImplemented[] = {
#define VEXO_EXPORT(ret, name, params, args) #name,
#include "core/exports.def"
#undef VEXO_EXPORT
};

const char* const kAllExports[] = {
#include "all_exports.inc"
};

void printFeatures(const char* label, std::uint64_t word) {
    std::printf("%-20s 0x%08" PRIx64 " ", label, word);
    for (int b = 0; b < 32; ++b)
        if ((word >> b) & 1) std::printf(" %s", kFeatureNames[b] ? kFeatureNames[b] : "?");
    std::printf("\n");
}

int info(int argc, char** argv) {
    bool missing = false;
    for (int i = 0; i < argc; ++i) missing |= std::strcmp(argv[i], "--missing") == 0;
    if (missing) {
        std::set<std::string> have(std::begin(kImplemented), std::end(kImplemented));
        for (const char* n : {"vexovcInit", "vexovcSetNumThreads", "vexovcGetNumThreads"}) have.insert(n);
        int count = 0;
        for (const char* name : kAllExports) {
            if (!have.count(name)) {
                std::printf("%s\n", name);
                ++count;
            }
        }
        std::fprintf(stderr, "%d of %zu exports not implemented yet\n", count, std::size(kAllExports));
        return 0;
    }
    const std::uint64_t hardware = hardwareFeatures();
    const VexoStatus status = vexovcInit();
    const VexoLibraryVersion* v = vexovcGetLibVersion();
    const CpuidRegs leaf0 = cpuid(0);
    char vendor[13] = {0};
    std::memcpy(vendor, &leaf0.ebx, 4);
    std::memcpy(vendor + 4, &leaf0.edx, 4);
    std::memcpy(vendor + 8, &leaf0.ecx, 4);
    std::printf("processor vendor     %s\n", vendor);
    printFeatures("feature word", hardware);
    const int path = dispatchIndex.load();
    std::printf("chosen path          %d (%s)\n", path, path >= 0 ? kPathCodes[path] : "none");
    std::printf("banner               %s\n", v->name);
    std::printf("version record       %d.%d.%d.%d  target \"%.4s\"  version \"%s\"  built \"%s\"\n", v->major,
                v->minor, v->majorBuild, v->build, v->targetCpu, v->version, v->buildDate);
    printFeatures("enabled word", enabledFeatures.load());
    std::printf("vexovcInit status    %d%s\n", status, status == vexoStatusForeignCpu ? " (another vendor)" : "");
    std::printf("paths it can run    ");
    for (int p = 0; p < kPathCount; ++p)
        if (pathRunsOn(p, hardware)) std::printf(" %s", kPathCodes[p]);
    std::printf("\n");
    std::printf("exports              %zu of %zu implemented\n", std::size(kImplemented) + 3,
                std::size(kAllExports));
    return 0;
}

struct Options {
    std::vector<std::string> globs;
    std::uint64_t seed = 0;
    bool seedGiven = false;
    int iterations = 200;
    std::vector<int> paths;
    bool listMissing = false;
    std::string csv, json, svg;
};

bool parsePaths(const char* list, std::vector<int>& out) {
    std::string s(list);
    std::size_t pos = 0;
    while (pos <= s.size()) {
        const std::size_t comma = s.find(',', pos);
        const std::string code = s.substr(pos, comma == std::string::npos ? std::string::npos : comma - pos);
        int found = -1;
        for (int p = 0; p < kPathCount; ++p)
            if (code == kPathCodes[p]) found = p;
        if (found < 0) {
            std::fprintf(stderr, "unknown path '%s' (px w7 v8 s8 p8 g9 h9)\n", code.c_str());
            return false;
        }
        out.push_back(found);
        if (comma == std::string::npos) break;
        pos = comma + 1;
    }
    return true;
}

bool parseOptions(int argc, char** argv, Options& o) {
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        auto next = [&]() -> const char* {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "%s needs a value\n", a.c_str());
                std::exit(2);
            }
            return argv[++i];
        };
        if (a == "--seed") {
            o.seed = std::strtoull(next(), nullptr, 0);
            o.seedGiven = true;
        } else if (a == "--iterations") {
            o.iterations = std::atoi(next());
        } else if (a == "--paths") {
            if (!parsePaths(next(), o.paths)) return false;
        } else if (a == "--list-missing") {
            o.listMissing = true;
        } else if (a == "--csv") {
            o.csv = next();
        } else if (a == "--json") {
            o.json = next();
        } else if (a == "--svg") {
            o.svg = next();
        } else if (!a.empty() && a[0] == '-') {
            std::fprintf(stderr, "unknown option %s\n", a.c_str());
            return false;
        } else {
            o.globs.push_back(a);
        }
    }
    return true;
}

bool matches(const Options& o, const char* name) {
    if (o.globs.empty()) return true;
    for (const std::string& g : o.globs)
        if (fnmatch(g.c_str(), name, 0) == 0) return true;
    return false;
}

// The paths to run: those asked for (or all), that this processor can run.
std::vector<int> runnablePaths(const Options& o) {
    const std::uint64_t hardware = hardwareFeatures();
    std::vector<int> out;
    for (int p = 0; p < kPathCount; ++p) {
        if (!pathRunsOn(p, hardware)) continue;
        if (!o.paths.empty() && std::find(o.paths.begin(), o.paths.end(), p) == o.paths.end() && p != 0) continue;
        out.push_back(p);
    }
    return out;
}

std::uint64_t caseSeed(std::uint64_t seed, const char* name, int iteration) {
    std::uint64_t h = 1469598103934665603ull;
    for (const char* c = name; *c; ++c) h = (h ^ std::uint64_t(*c)) * 1099511628211ull;
    return seed ^ h ^ (std::uint64_t(iteration) * 0x9E3779B97F4A7C15ull);
}

// Where a crash happened, for the fault handler.
char gCrashContext[256] = "";
void onFault(int sig) {
    const char* prefix = "\nFAULT (signal) while checking ";
    (void)!write(2, prefix, std::strlen(prefix));
    (void)!write(2, gCrashContext, std::strlen(gCrashContext));
    (void)!write(2, "\n", 1);
    signal(sig, SIG_DFL);
    raise(sig);
}

int runCheck(int argc, char** argv) {
    Options o;
    if (!parseOptions(argc, argv, o)) return 2;
    if (o.listMissing) {
        std::set<std::string> have;
        for (const check::Case& c : check::registry()) have.insert(c.name);
        int count = 0;
        for (const char* name : kImplemented) {
            if (!have.count(name)) {
                std::printf("%s\n", name);
                ++count;
            }
        }
        return count == 0 ? 0 : 1;
    }
    if (!o.seedGiven) o.seed = std::uint64_t(std::chrono::steady_clock::now().time_since_epoch().count()) & 0xFFFFFFFF;
    const std::vector<int> paths = runnablePaths(o);
    std::printf("vexovc check: seed %" PRIu64 ", %d iterations, paths", o.seed, o.iterations);
    for (int p : paths) std::printf(" %s", kPathCodes[p]);
    std::printf("\n");
    signal(SIGSEGV, onFault);
    signal(SIGBUS, onFault);
    signal(SIGILL, onFault);
    int passed = 0, failed = 0;
    for (const check::Case& c : check::registry()) {
        if (!matches(o, c.name)) continue;
        bool ok = true;
        for (int it = 0; it < o.iterations && ok; ++it) {
            std::snprintf(gCrashContext, sizeof gCrashContext, "%s, seed %" PRIu64 ", iteration %d", c.name, o.seed,
                          it);
            check::Env env(check::Env::Mode::Check, caseSeed(o.seed, c.name, it), paths);
            c.function(env);
            if (env.failed()) {
                std::printf("FAIL %s (replay: vexovc check '%s' --seed %" PRIu64 "; iteration %d): %s\n", c.name,
                            c.name, o.seed, it, env.failure().c_str());
                ok = false;
            }
        }
        (ok ? passed : failed)++;
    }
    vexovcInit();
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 && passed > 0 ? 0 : 1;
}

int runBench(int argc, char** argv) {
    Options o;
    if (!parseOptions(argc, argv, o)) return 2;
    const std::vector<int> paths = runnablePaths(o);
    std::vector<bench::Row> rows;
    for (const check::Case& c : check::registry()) {
        if (!matches(o, c.name)) continue;
        check::Env env(check::Env::Mode::Bench, caseSeed(o.seedGiven ? o.seed : 12345, c.name, 0), paths);
        c.function(env);
        rows.push_back({c.name, env.medians()});
    }
    vexovcInit();
    bench::printTable(rows, paths);
    if (!o.csv.empty() && !bench::writeCsv(o.csv, rows, paths)) return 1;
    if (!o.json.empty() && !bench::writeJson(o.json, rows, paths)) return 1;
    if (!o.svg.empty() && !bench::writeSvg(o.svg, rows, paths)) return 1;
    return 0;
}

void usage() {
    std::fprintf(stderr,
                 "usage: vexovc info [--missing]\n"
                 "       vexovc check [GLOB...] [--seed N] [--iterations N] [--paths px,w7,...] [--list-missing]\n"
                 "       vexovc bench [GLOB...] [--paths LIST] [--seed N] [--csv FILE] [--json FILE] [--svg FILE]\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        usage();
        return 2;
    }
    const std::string command = argv[1];
    if (command == "info") return info(argc - 2, argv + 2);
    if (command == "check") return runCheck(argc - 2, argv + 2);
    if (command == "bench") return runBench(argc - 2, argv + 2);
    usage();
    return 2;
}
