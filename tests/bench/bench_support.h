// Shared by the tests of this folder: a clock that the test moves, and blocks that the system's free releases.
#pragma once

#include <functional>

#include "test_support.h"

namespace test::bench {

// While one lives, sarko_time_real is `now`, which each reading first moves by step(k), k the readings before.
class Clock {
public:
    explicit Clock(std::function<double(int64_t)> steps);
    explicit Clock(double seconds) : Clock([seconds](int64_t) { return seconds; }) {}
    ~Clock();
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;

    int64_t readings = 0;
    double now = 1000.0;
    std::function<double(int64_t)> step;
};

// While one lives, blocks of the kernel library that the system's free releases are counted as released, too.
class SystemFree {
public:
    SystemFree();
    ~SystemFree();
    SystemFree(const SystemFree &) = delete;
    SystemFree &operator=(const SystemFree &) = delete;
    int64_t releases() const; // by the system's free itself
    uint64_t largest() const; // bytes of the largest block so far
};

} // namespace test::bench
