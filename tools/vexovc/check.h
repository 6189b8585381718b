// The registry of check cases and the environment a case runs in.
//
// A case builds one export's arguments from the environment's generator and
// hands a call to run(). In `check` mode run() calls px and every other path
// on identical copies of the inputs and outputs and compares every output byte
// and the status; in `bench` mode it times the call on each path. A case is a
// few lines:
//
//   VEXO_CHECK_CASE(vexoCopy8x8_8u_C1R) {
//       auto src = env.input8u(8, 8);          // 8 rows of 8 bytes, random step
//       auto dst = env.output8u(8, 8);         // guarded output
//       env.run([&] { return vexoCopy8x8_8u_C1R(src.data, src.step, dst.data, dst.step); });
//   }
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "vexovc.h"

namespace vexo::check {

class Rng {
public:
    explicit Rng(std::uint64_t seed = 1) : state_(seed * 0x9E3779B97F4A7C15ull + 0x632BE59BD9B4E019ull) {}
    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    // Uniform in [lo, hi].
    std::int64_t range(std::int64_t lo, std::int64_t hi) {
        return lo + std::int64_t(next() % std::uint64_t(hi - lo + 1));
    }
    bool chance(int percent) { return range(0, 99) < percent; }

private:
    std::uint64_t state_;
};

// Sample patterns an input or output block may be filled with.
enum class Fill { Random, Zero, Max, Min, Flat, Alternate, Small };

template <class T>
struct Block {
    T* data;
    Vexo32s step;  // bytes from one row to the next
};

class Env;
using CaseFunction = void (*)(Env&);

struct Case {
    const char* name;
    CaseFunction function;
};
std::vector<Case>& registry();
struct Registrar {
    Registrar(const char* name, CaseFunction function) { registry().push_back({name, function}); }
};

struct Region;

class Env {
public:
    enum class Mode { Check, Bench };
    Env(Mode mode, std::uint64_t seed, const std::vector<int>& paths);
    ~Env();
    Env(const Env&) = delete;
    Env& operator=(const Env&) = delete;

    Rng& rng() { return rng_; }

    // Inputs: `rows` rows of `rowBytes` bytes each (the whole footprint the
    // call may read), a row step chosen at random unless given, placed so
    // that the last byte lies against an unmapped page. Checked unchanged.
    Block<Vexo8u> input8u(int rows, int rowBytes, Vexo32s step = 0, Fill fill = Fill(-1));
    Block<Vexo16s> input16s(int rows, int rowElems, Vexo32s step = 0, Fill fill = Fill(-1));
    Block<Vexo16u> input16u(int rows, int rowElems, Vexo32s step = 0, Fill fill = Fill(-1));
    Block<Vexo32s> input32s(int rows, int rowElems, Vexo32s step = 0, Fill fill = Fill(-1));
    // Outputs: guard bytes before, after and between rows; the initial
    // content (random) is restored before every call, then compared.
    Block<Vexo8u> output8u(int rows, int rowBytes, Vexo32s step = 0);
    Block<Vexo16s> output16s(int rows, int rowElems, Vexo32s step = 0, Fill fill = Fill::Random);
    Block<Vexo16u> output16u(int rows, int rowElems, Vexo32s step = 0);
    Block<Vexo32s> output32s(int rows, int rowElems, Vexo32s step = 0);
    Block<Vexo32u> output32u(int rows, int rowElems, Vexo32s step = 0);
    // A single value the call writes or moves (a result, a cursor), with its
    // initial value, at its natural alignment.
    template <class T>
    T* value(T initial) {
        T* p = static_cast<T*>(rawOutput(1, sizeof(T), sizeof(T), false, int(alignof(T))));
        std::memcpy(p, &initial, sizeof(T));
        snapshotInitial();
        return p;
    }
    // An output or in/out block with caller-chosen content, written after
    // the call to this function (e.g. a bit stream whose words are set by
    // the case): call commit() once the content is in place.
    void* rawOutput(int rows, int rowBytes, Vexo32s step, bool randomFill = true, int elemSize = 1);
    void commit() { snapshotInitial(); }

    // Compares (check) or times (bench) the call on every selected path.
    template <class F>
    void run(F&& call) {
        if (mode_ == Mode::Bench) {
            for (int path : paths_) {
                selectPath(path);
                for (int i = 0; i < 64; ++i) keep(call());
                double best = 1e300;
                std::vector<double> samples;
                for (int s = 0; s < kBenchSamples; ++s) {
                    const std::uint64_t t0 = ticks();
                    for (int i = 0; i < kBenchCalls; ++i) keep(call());
                    const std::uint64_t t1 = ticks();
                    samples.push_back(double(t1 - t0) / kBenchCalls);
                    if (samples.back() < best) best = samples.back();
                }
                recordTiming(path, samples);
            }
            return;
        }
        restoreInitial();
        selectPath(0);
        const long long refStatus = asStatus(call());
        captureReference(refStatus);
        for (int path : paths_) {
            if (path == 0) continue;
            restoreInitial();
            selectPath(path);
            const long long status = asStatus(call());
            compareWithReference(path, status);
        }
        restoreInitial();
    }

    // Results, read by the tool.
    bool failed() const { return failed_; }
    std::string failure() const { return failure_; }
    const std::vector<double>& medians() const { return medians_; }  // per path index, 0 if not timed

    static constexpr int kBenchSamples = 101;
    static constexpr int kBenchCalls = 128;

private:
    template <class T>
    static long long asStatus(T v) {
        if constexpr (std::is_pointer_v<T>) return 0;
        else return (long long)v;
    }
    template <class T>
    static void keep(T v) {
        asm volatile("" : : "g"(v) : "memory");
    }
    static std::uint64_t ticks();
    void selectPath(int path);
    void fillBytes(void* p, std::size_t bytes, int elemSize, Fill fill);
    void* rawInput(int rows, int rowBytes, Vexo32s step, int elemSize, Fill fill);
    Vexo32s chooseStep(int rowBytes, int elemSize);
    void snapshotInitial();
    void restoreInitial();
    void captureReference(long long status);
    void compareWithReference(int path, long long status);
    void recordTiming(int path, std::vector<double>& samples);

    Mode mode_;
    Rng rng_;
    std::vector<int> paths_;
    std::vector<Region*> regions_;
    long long refStatus_ = 0;
    bool failed_ = false;
    std::string failure_;
    std::vector<double> medians_;
};

// cpuType that forces each path through vexovcInitCpu.
int cpuTypeForPath(int path);

}  // namespace vexo::check

#define VEXO_CHECK_CASE(name)                                                                    \
    static void vexoCheckCase_##name(::vexo::check::Env& env);                                   \
    static ::vexo::check::Registrar vexoCheckRegistrar_##name(#name, &vexoCheckCase_##name);     \
    static void vexoCheckCase_##name([[maybe_unused]] ::vexo::check::Env& env)
