// The check environment: guarded buffers, path comparison and timing.
#include "tools/vexovc/check.h"

#include <sys/mman.h>
#include <unistd.h>
#include <x86intrin.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "core/internal.h"

namespace vexo::check {

std::vector<Case>& registry() {
    static std::vector<Case> cases;
    return cases;
}

int cpuTypeForPath(int path) {
    static const int kTypes[kPathCount] = {5, 6, 33, 36, 37, 70, 38};
    return kTypes[path];
}

namespace {
constexpr std::size_t kGuard = 32;
const std::size_t kPage = std::size_t(sysconf(_SC_PAGESIZE));
}  // namespace

struct Region {
    Vexo8u* mapping = nullptr;
    std::size_t mappingBytes = 0;
    Vexo8u* data = nullptr;  // the block's first byte
    Vexo8u* lo = nullptr;    // first byte compared (front guard for outputs)
    Vexo8u* hi = nullptr;    // one past the last byte compared
    int rows = 0, rowBytes = 0;
    Vexo32s step = 0;
    bool input = false;
    std::vector<Vexo8u> initial, reference;

    // Whether a byte belongs to the block's rows (else it is a guard or gap).
    bool inBlock(const Vexo8u* p) const {
        if (p < data) return false;
        const std::ptrdiff_t off = p - data;
        const std::ptrdiff_t row = step > 0 ? off / step : 0;
        if (row >= rows) return false;
        return off - row * step < rowBytes;
    }
    ~Region() {
        if (mapping != nullptr) munmap(mapping, mappingBytes);
    }
};

Env::Env(Mode mode, std::uint64_t seed, const std::vector<int>& paths)
    : mode_(mode), rng_(seed), paths_(paths), medians_(kPathCount, 0.0) {}

Env::~Env() {
    for (Region* r : regions_) delete r;
}

// Serialised reads: lfence keeps the calls being timed from moving across
// the read. Spelled in assembly so the tool builds for processors before
// SSE2 too (it times nothing there unless asked to).
std::uint64_t Env::ticks() {
    asm volatile("lfence" ::: "memory");
    const std::uint64_t t = __rdtsc();
    asm volatile("lfence" ::: "memory");
    return t;
}

void Env::selectPath(int path) { vexovcInitCpu(cpuTypeForPath(path)); }

void Env::fillBytes(void* p, std::size_t bytes, int elemSize, Fill fill) {
    Vexo8u* b = static_cast<Vexo8u*>(p);
    if (fill == Fill(-1)) fill = Fill(rng_.range(0, 6));
    // Mostly random content; extremes often enough to find saturation bugs.
    if (fill != Fill::Random && rng_.chance(40)) fill = Fill::Random;
    const std::uint64_t flat = rng_.next();
    for (std::size_t i = 0; i < bytes; i += std::size_t(elemSize)) {
        std::uint64_t v = 0;
        const std::uint64_t top = std::uint64_t(1) << (8 * elemSize - 1);  // sign bit of the element
        switch (fill) {
            case Fill::Random: v = rng_.next(); break;
            case Fill::Zero: v = 0; break;
            case Fill::Max: v = elemSize == 1 ? 0xFF : top - 1; break;
            case Fill::Min: v = elemSize == 1 ? 0 : top; break;
            case Fill::Flat: v = flat; break;
            case Fill::Alternate:
                v = ((i / std::size_t(elemSize)) & 1) ? (elemSize == 1 ? 0xFF : top - 1) : (elemSize == 1 ? 0 : top);
                break;
            case Fill::Small: v = std::uint64_t(rng_.range(-4, 4)); break;
        }
        std::memcpy(b + i, &v, std::min<std::size_t>(std::size_t(elemSize), bytes - i));
    }
}

Vexo32s Env::chooseStep(int rowBytes, int elemSize) {
    if (rng_.chance(25)) return rowBytes;
    return Vexo32s(rowBytes + elemSize * rng_.range(1, 24));
}

void* Env::rawInput(int rows, int rowBytes, Vexo32s step, int elemSize, Fill fill) {
    if (step == 0) step = chooseStep(rowBytes, elemSize);
    const std::size_t footprint = std::size_t(rows - 1) * std::size_t(step) + std::size_t(rowBytes);
    const std::size_t dataPages = (footprint + kPage - 1) / kPage;
    auto* r = new Region;
    r->mappingBytes = (dataPages + 1) * kPage;
    void* m = mmap(nullptr, r->mappingBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED) std::abort();
    r->mapping = static_cast<Vexo8u*>(m);
    // The block ends at the last byte before an unmapped page: a kernel that
    // reads past its footprint faults here.
    mprotect(r->mapping + dataPages * kPage, kPage, PROT_NONE);
    r->data = r->mapping + dataPages * kPage - footprint;
    r->lo = r->data;
    r->hi = r->data + footprint;
    r->rows = rows;
    r->rowBytes = rowBytes;
    r->step = step;
    r->input = true;
    fillBytes(r->data, footprint, elemSize, fill);
    regions_.push_back(r);
    snapshotInitial();
    return r->data;
}

void* Env::rawOutput(int rows, int rowBytes, Vexo32s step, bool randomFill, int elemSize) {
    if (step == 0) step = chooseStep(rowBytes, 1);
    const std::size_t footprint = std::size_t(rows - 1) * std::size_t(step) + std::size_t(rowBytes);
    auto* r = new Region;
    r->mappingBytes = ((footprint + 2 * kGuard + 64 + kPage - 1) / kPage) * kPage;
    void* m = mmap(nullptr, r->mappingBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED) std::abort();
    r->mapping = static_cast<Vexo8u*>(m);
    // Misaligned on purpose, but never below the element's own alignment.
    r->data = r->mapping + kGuard + elemSize * rng_.range(0, 7) + (elemSize == 1 ? rng_.range(0, 3) : 0);
    r->lo = r->data - kGuard;
    r->hi = r->data + footprint + kGuard;
    r->rows = rows;
    r->rowBytes = rowBytes;
    r->step = step;
    fillBytes(r->lo, std::size_t(r->hi - r->lo), 1, Fill::Random);
    if (!randomFill) std::memset(r->data, 0, footprint);
    regions_.push_back(r);
    snapshotInitial();
    return r->data;
}

Block<Vexo8u> Env::input8u(int rows, int rowBytes, Vexo32s step, Fill fill) {
    if (step == 0) step = chooseStep(rowBytes, 1);
    return {static_cast<Vexo8u*>(rawInput(rows, rowBytes, step, 1, fill)), step};
}
Block<Vexo16s> Env::input16s(int rows, int rowElems, Vexo32s step, Fill fill) {
    if (step == 0) step = chooseStep(2 * rowElems, 2);
    return {static_cast<Vexo16s*>(rawInput(rows, 2 * rowElems, step, 2, fill)), step};
}
Block<Vexo16u> Env::input16u(int rows, int rowElems, Vexo32s step, Fill fill) {
    if (step == 0) step = chooseStep(2 * rowElems, 2);
    return {static_cast<Vexo16u*>(rawInput(rows, 2 * rowElems, step, 2, fill)), step};
}
Block<Vexo32s> Env::input32s(int rows, int rowElems, Vexo32s step, Fill fill) {
    if (step == 0) step = chooseStep(4 * rowElems, 4);
    return {static_cast<Vexo32s*>(rawInput(rows, 4 * rowElems, step, 4, fill)), step};
}

Block<Vexo8u> Env::output8u(int rows, int rowBytes, Vexo32s step) {
    if (step == 0) step = chooseStep(rowBytes, 1);
    return {static_cast<Vexo8u*>(rawOutput(rows, rowBytes, step)), step};
}
Block<Vexo16s> Env::output16s(int rows, int rowElems, Vexo32s step, Fill fill) {
    if (step == 0) step = chooseStep(2 * rowElems, 2);
    auto* p = static_cast<Vexo16s*>(rawOutput(rows, 2 * rowElems, step, true, 2));
    if (fill != Fill::Random) {
        for (int y = 0; y < rows; ++y) fillBytes(reinterpret_cast<Vexo8u*>(p) + y * step, 2 * rowElems, 2, fill);
        snapshotInitial();
    }
    return {p, step};
}
Block<Vexo16u> Env::output16u(int rows, int rowElems, Vexo32s step) {
    if (step == 0) step = chooseStep(2 * rowElems, 2);
    return {static_cast<Vexo16u*>(rawOutput(rows, 2 * rowElems, step, true, 2)), step};
}
Block<Vexo32s> Env::output32s(int rows, int rowElems, Vexo32s step) {
    if (step == 0) step = chooseStep(4 * rowElems, 4);
    return {static_cast<Vexo32s*>(rawOutput(rows, 4 * rowElems, step, true, 4)), step};
}
Block<Vexo32u> Env::output32u(int rows, int rowElems, Vexo32s step) {
    if (step == 0) step = chooseStep(4 * rowElems, 4);
    return {static_cast<Vexo32u*>(rawOutput(rows, 4 * rowElems, step, true, 4)), step};
}

void Env::snapshotInitial() {
    for (Region* r : regions_) r->initial.assign(r->lo, r->hi);
}

void Env::restoreInitial() {
    for (Region* r : regions_) std::memcpy(r->lo, r->initial.data(), r->initial.size());
}

namespace {
std::string describe(const char* what, std::size_t region, const Region& r, const Vexo8u* p) {
    char buf[200];
    const std::ptrdiff_t off = p - r.data;
    if (r.inBlock(p)) {
        std::snprintf(buf, sizeof buf, "%s %zu, byte %td (row %td, byte %td of the row)", what, region, off,
                      off / r.step, off % r.step);
    } else {
        std::snprintf(buf, sizeof buf, "%s %zu, guard byte at offset %td from the block", what, region, off);
    }
    return buf;
}
}  // namespace

void Env::captureReference(long long status) {
    refStatus_ = status;
    for (std::size_t i = 0; i < regions_.size() && !failed_; ++i) {
        Region& r = *regions_[i];
        r.reference.assign(r.lo, r.hi);
        for (std::size_t k = 0; k < r.reference.size(); ++k) {
            const bool changed = r.reference[k] != r.initial[k];
            if (changed && (r.input || !r.inBlock(r.lo + k))) {
                failed_ = true;
                failure_ = "px wrote " + describe(r.input ? "input buffer" : "output buffer", i, r, r.lo + k);
                break;
            }
        }
    }
}

void Env::compareWithReference(int path, long long status) {
    if (failed_) return;
    char buf[256];
    if (status != refStatus_) {
        std::snprintf(buf, sizeof buf, "status: px %lld, %s %lld", refStatus_, kPathCodes[path], status);
        failed_ = true;
        failure_ = buf;
        return;
    }
    for (std::size_t i = 0; i < regions_.size(); ++i) {
        const Region& r = *regions_[i];
        for (std::size_t k = 0; k < r.reference.size(); ++k) {
            const Vexo8u got = r.lo[k];
            const bool guard = r.input || !r.inBlock(r.lo + k);
            if (guard && got != r.initial[k]) {
                std::snprintf(buf, sizeof buf, "%s wrote %s", kPathCodes[path],
                              describe(r.input ? "input buffer" : "output buffer", i, r, r.lo + k).c_str());
            } else if (got != r.reference[k]) {
                std::snprintf(buf, sizeof buf, "%s: px 0x%02x, %s 0x%02x",
                              describe("buffer", i, r, r.lo + k).c_str(), r.reference[k], kPathCodes[path], got);
            } else {
                continue;
            }
            failed_ = true;
            failure_ = buf;
            return;
        }
    }
}

void Env::recordTiming(int path, std::vector<double>& samples) {
    std::sort(samples.begin(), samples.end());
    medians_[std::size_t(path)] = samples[samples.size() / 2];
}

}  // namespace vexo::check
