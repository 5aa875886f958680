#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace nimbara::bench {

/// One thing worth timing. `run` gives its cost in milliseconds, usually a median of many runs;
/// `tell` instead gives named figures that are no single cost.
struct Case {
    const char *key;
    double (*run)();
    std::string (*tell)() = nullptr;
};

/// Every case linked into the benchmark.
std::vector<Case> &cases();

struct CaseRegistration {
    CaseRegistration(const char *key, double (*run)()) { cases().push_back({ key, run }); }
    CaseRegistration(const char *key, std::string (*tell)())
    {
        cases().push_back({ key, nullptr, tell });
    }
};

/// The middle one of `values`, which must not be empty.
inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Milliseconds that one call of `body` takes on the wall clock.
template <typename Body> double timeMs(Body body)
{
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// The median of `runs` timed calls of `body`, after three untimed ones.
template <typename Body> double medianMs(int runs, Body body)
{
    for (int i = 0; i < 3; ++i) {
        body();
    }
    std::vector<double> times;
    times.reserve(runs);
    for (int i = 0; i < runs; ++i) {
        times.push_back(timeMs(body));
    }
    return median(std::move(times));
}

/// Memory of this process that is in the machine's.
double residentMiB();

/// The unit of account: copying one 1920 × 1080 RGBA frame, on this machine at this moment.
double frameCopyMs();

} // namespace nimbara::bench

/// Adds a case to the benchmark: `NIMBARA_BENCH_CASE("key", function)`.
#define NIMBARA_BENCH_CASE(key, function)                                                          \
    namespace {                                                                                    \
    const nimbara::bench::CaseRegistration registration##function(key, function);                  \
    }
