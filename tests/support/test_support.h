// Shared by all test programs: counting and failing memory hooks, expectations about errors, comparison of bits.
//
// Every program that links this library runs on counting hooks, starts libsarvo before its first test, and fails if a
// block is still live after its last one.
#pragma once

#include <stdint.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sarvo/array.h>

namespace test {

// ---- Memory ----

// Counts blocks handed out and still live; can make allocations fail; never serves more than 4 GiB at once. Allocations
// are counted from 1 after arm().
namespace memory {
int64_t live_blocks();
sarko_mem_hooks hooks();                        // to install them again after other hooks
void arm(uint64_t fail_at, bool from_there_on); // the fail_at-th allocation fails: once, or it and all later ones
bool disarm();                                  // true when an allocation was made to fail since arm()
} // namespace memory

// One operation that allocates, with everything it needs. Derived classes make the inputs in their constructor and free
// all objects in their destructor.
class AllocationScenario {
public:
    virtual ~AllocationScenario() = default;
    virtual sarko_error_t run() = 0;                  // the operation
    virtual std::string inputs() const { return {}; } // bytes that a failure must not change
    virtual std::string result() const = 0;           // bytes that a successful run leaves
};

// Makes each allocation of the operation fail in turn, once and from there on: run() must return an error, leave the
// inputs bit for bit, leak nothing once the error is cleared, and succeed on a retry with the result of an undisturbed
// run. An operation whose undisturbed run fails (an error path) must fail on the retry with the same code and message.
// Returns the number of allocations that the undisturbed run makes.
uint64_t expect_survives_allocation_failures(const std::string &name,
                                             const std::function<std::unique_ptr<AllocationScenario>()> &make);

// ---- Errors ----

// Expects an error whose messages, outermost first, are exactly `chain`, with `code`; clears it.
void expect_error(sarko_error_t e, uint32_t code, const std::vector<std::string> &chain);

// Expects success; prints the chain and clears it otherwise.
void expect_success(sarko_error_t e);

// ---- Bits ----

uint64_t bits(double x);
std::string bytes(const void *p, uint64_t count);
std::string bytes(const sarvo_vector *v); // type, length and elements; "null" for null
std::string bytes(const sarvo_matrix *m);

// Equal bits, except that any NaN equals any NaN. Failures show index and both values in hex.
void expect_equal_bits(const double *actual, const double *expected, uint64_t count, const std::string &what);

// ---- Objects (doubles) ----

sarvo_vector *vector_of(const std::vector<double> &values);
sarvo_matrix *matrix_of(uint64_t rows, uint64_t cols, const std::vector<double> &values); // row by row
double &at(sarvo_matrix *m, uint64_t i, uint64_t j);
double at(const sarvo_matrix *m, uint64_t i, uint64_t j);
double &at(sarvo_vector *v, uint64_t i);
double at(const sarvo_vector *v, uint64_t i);

// Deterministic numbers: a 64-bit multiplicative generator; the seed is printed by tests that fail.
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed * 2685821657736338717u + 88172645463325252u) {}
    uint64_t next();
    double uniform(); // [0, 1)
    double symmetric() { return 2.0 * uniform() - 1.0; }
    uint64_t below(uint64_t bound) { return next() % bound; }
    double special(); // now and then a zero, -0, infinity, NaN, subnormal, huge or tiny value, else symmetric

private:
    uint64_t state_;
};

} // namespace test
