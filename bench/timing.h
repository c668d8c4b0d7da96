// Times, and what is said of many of them.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "work.h"

namespace bench {

using Clock = std::chrono::steady_clock;

inline double nanoseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::nano>(duration).count();
}

/// Keeps the compiler from leaving out what gives this value.
template <class T>
void keep(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

inline double median(std::vector<double> values) {
    require(!values.empty(), "nothing was measured");
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

inline double mean(const std::vector<double>& values) {
    require(!values.empty(), "nothing was measured");
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

/// What it costs to look at the clock, which is part of every time that is measured.
inline double clock_cost() {
    static const double cost = [] {
        std::vector<double> costs;
        for (int i = 0; i < 10000; ++i) {
            const Clock::time_point begin = Clock::now();
            costs.push_back(nanoseconds(Clock::now() - begin));
        }
        return median(std::move(costs));
    }();
    return cost;
}

/// How long `work` takes, without the looks at the clock, in nanoseconds.
template <class Operation>
double time_of(Operation&& work) {
    const Clock::time_point begin = Clock::now();
    work();
    return std::max(0.0, nanoseconds(Clock::now() - begin) - clock_cost());
}

/// The end of a measurement.
class Deadline {
  public:
    explicit Deadline(double seconds)
        : end_(Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))) {}
    bool is_over() const { return Clock::now() >= end_; }

  private:
    Clock::time_point end_;
};

/// Prints a result as a line of JSON, for comparison.py.
inline void print(const std::string& store, std::size_t keys, const std::string& measure, double value) {
    std::printf("{\"store\": \"%s\", \"keys\": %zu, \"measure\": \"%s\", \"value\": %.3f}\n", store.c_str(), keys,
                measure.c_str(), value);
}

}  // namespace bench
