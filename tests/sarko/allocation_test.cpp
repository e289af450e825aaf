// The kernel library's own allocating operations under every failure of the allocator.
#include <sarko/sarko.h>

#include <string.h>

#include "test_support.h"

namespace {

using test::bytes;

struct Calloc : test::AllocationScenario {
    void *p = nullptr;
    sarko_error_t run() override { return sarko_mem_calloc(5, 8, &p); }
    std::string result() const override { return bytes(p, 40); }
    ~Calloc() override { sarko_mem_free(p); }
};

struct Realloc : test::AllocationScenario {
    void *p = nullptr;
    Realloc() {
        test::expect_success(sarko_mem_malloc(4, &p));
        memcpy(p, "abcd", 4);
    }
    sarko_error_t run() override { return sarko_mem_realloc(4000, &p); }
    std::string inputs() const override { return bytes(p, 4); }
    std::string result() const override { return bytes(p, 4); }
    ~Realloc() override { sarko_mem_free(p); }
};

struct OffsetVector : test::AllocationScenario {
    void *p = nullptr;
    sarko_error_t run() override { return sarko_mem_vector_alloc(&p, 8, 3, 7); }
    std::string result() const override { return bytes(static_cast<char *>(p) + 24, 40); }
    ~OffsetVector() override { sarko_mem_vector_free(p, 8, 3, 7); }
};

struct OffsetMatrix : test::AllocationScenario {
    void *p = nullptr;
    sarko_error_t run() override { return sarko_mem_matrix_alloc(&p, 8, 0, 2, 0, 3); }
    std::string result() const override { return bytes(static_cast<void **>(p)[0], 96); }
    ~OffsetMatrix() override { sarko_mem_matrix_free(p, 8, 0, 2, 0, 3); }
};

// An operation that fails anyhow: the error itself cannot be made.
struct Refused : test::AllocationScenario {
    void *p = nullptr;
    sarko_error_t run() override { return sarko_mem_calloc(UINT64_MAX, 2, &p); }
    std::string result() const override { return ""; }
};

template <class Scenario> void expect_survives(const char *name, uint64_t allocations) {
    EXPECT_EQ(test::expect_survives_allocation_failures(name, [] { return std::make_unique<Scenario>(); }),
              allocations);
}

TEST(Allocation, EveryOperationSurvivesEveryFailure) {
    expect_survives<Calloc>("calloc", 1);
    expect_survives<Realloc>("realloc", 1);
    expect_survives<OffsetVector>("offset vector", 1);
    expect_survives<OffsetMatrix>("offset matrix", 1);
    expect_survives<Refused>("refused size", 1);
}

} // namespace
