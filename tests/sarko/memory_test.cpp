// Memory of the kernel library: allocation, hooks, moves, offset vectors and matrices, refusals; and the clock.
#include <sarko/sarko.h>

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "test_support.h"

namespace {

constexpr uint64_t unservable[] = {uint64_t{INT64_MAX} + 1, UINT64_MAX - 15, UINT64_MAX};

std::string cannot_allocate(uint64_t bytes) { return "Cannot allocate " + std::to_string(bytes) + " bytes."; }

void expect_memory_error(sarko_error_t e, const std::string &text) {
    EXPECT_EQ(sarko_error_kind(e), SARKO_KIND_MEMORY);
    test::expect_error(e, 0, {text});
}

bool all_zero(const void *p, uint64_t bytes) {
    for (uint64_t i = 0; i < bytes; i++)
        if (static_cast<const unsigned char *>(p)[i] != 0) return false;
    return true;
}

TEST(Memory, AllocatesWritableBlocksAndZeroedOnes) {
    for (const uint64_t bytes : {1ull, 7ull, 4096ull, 1ull << 20}) {
        void *p = nullptr;
        test::expect_success(sarko_mem_malloc(bytes, &p));
        memset(p, 0x5A, bytes);
        sarko_mem_free(p);
        test::expect_success(sarko_mem_calloc(bytes, 3, &p));
        EXPECT_TRUE(all_zero(p, 3 * bytes));
        sarko_mem_free(p);
    }
    sarko_mem_free(nullptr);
}

TEST(Memory, NoBytesStoreNull) {
    int target;
    for (int operation = 0; operation < 4; operation++) {
        void *p = operation == 3 ? nullptr : &target;
        if (operation == 0) test::expect_success(sarko_mem_malloc(0, &p));
        if (operation == 1) test::expect_success(sarko_mem_calloc(0, UINT64_MAX, &p));
        if (operation == 2) test::expect_success(sarko_mem_calloc(UINT64_MAX, 0, &p));
        if (operation == 3) test::expect_success(sarko_mem_realloc(0, &p));
        EXPECT_EQ(p, nullptr) << operation;
    }
}

TEST(Memory, ResizeKeepsContentsAndNoBytesRelease) {
    void *p = nullptr;
    test::expect_success(sarko_mem_realloc(4, &p));
    memcpy(p, "abcd", 4);
    test::expect_success(sarko_mem_realloc(100000, &p));
    EXPECT_EQ(memcmp(p, "abcd", 4), 0);
    test::expect_success(sarko_mem_realloc(2, &p));
    EXPECT_EQ(memcmp(p, "ab", 2), 0);
    test::expect_success(sarko_mem_realloc(0, &p));
    EXPECT_EQ(p, nullptr);
}

TEST(Memory, FailedResizeKeepsTheBlock) {
    void *p = nullptr;
    test::expect_success(sarko_mem_malloc(4, &p));
    memcpy(p, "abcd", 4);
    void *const before = p;
    test::memory::arm(1, false);
    const sarko_error_t e = sarko_mem_realloc(4000, &p);
    test::memory::disarm();
    expect_memory_error(e, cannot_allocate(4000));
    for (const uint64_t bytes : unservable) expect_memory_error(sarko_mem_realloc(bytes, &p), cannot_allocate(bytes));
    EXPECT_EQ(p, before);
    EXPECT_EQ(memcmp(p, "abcd", 4), 0);
    sarko_mem_free(p);
}

TEST(Memory, SizesThatNoAllocatorServesNeverReachTheHooks) {
    test::memory::arm(UINT64_MAX, false);
    int target;
    for (const uint64_t bytes : unservable) {
        void *p = &target;
        expect_memory_error(sarko_mem_malloc(bytes, &p), cannot_allocate(bytes));
        EXPECT_EQ(p, nullptr);
        p = &target;
        expect_memory_error(sarko_mem_calloc(bytes, 1, &p), cannot_allocate(bytes));
        EXPECT_EQ(p, nullptr);
        p = nullptr;
        expect_memory_error(sarko_mem_realloc(bytes, &p), cannot_allocate(bytes));
    }
    struct Product {
        uint64_t count, size;
    };
    for (const Product c : {Product{1ull << 32, 1ull << 32}, {UINT64_MAX, 2}, {2, UINT64_MAX}, {(1ull << 61), 8}}) {
        void *p = &target;
        expect_memory_error(sarko_mem_calloc(c.count, c.size, &p), "Size of allocation overflows.");
        EXPECT_EQ(p, nullptr);
    }
    test::memory::disarm();
}

TEST(Memory, NullAddressesAreRefused) {
    for (const sarko_error_t e :
         {sarko_mem_malloc(1, nullptr), sarko_mem_calloc(1, 1, nullptr), sarko_mem_realloc(1, nullptr),
          sarko_mem_vector_alloc(nullptr, 8, 0, 1), sarko_mem_matrix_alloc(nullptr, 8, 0, 1, 0, 1)})
        test::expect_error(e, 0, {"Null pointer."});
}

TEST(Memory, MoveCopiesOverlappingBytesAndRefusesNulls) {
    char text[] = "abcdef";
    test::expect_success(sarko_mem_move(text + 2, text, 4));
    EXPECT_STREQ(text, "ababcd");
    test::expect_success(sarko_mem_move(text, text + 2, 4));
    EXPECT_STREQ(text, "abcdcd");
    test::expect_success(sarko_mem_move(nullptr, nullptr, 0));
    test::expect_error(sarko_mem_move(nullptr, text, 1), 0, {"Null pointer."});
    test::expect_error(sarko_mem_move(text, nullptr, 1), 0, {"Null pointer."});
}

// ---- Hooks ----

struct Log {
    std::string calls;
};

struct Restore { // the counting hooks of this program
    sarko_mem_hooks hooks = test::memory::hooks();
    ~Restore() { sarko_mem_set_hooks(&hooks); }
};

TEST(SystemAllocator, BlocksFromOneKilobyteOnBeginOnCacheLines) {
    const Restore restore;
    sarko_mem_set_hooks(nullptr);
    for (const uint64_t bytes : {uint64_t{1024}, uint64_t{1025}, uint64_t{100000}, uint64_t{4} << 20}) {
        void *blocks[2] = {};
        test::expect_success(sarko_mem_malloc(bytes, &blocks[0]));
        memset(blocks[0], 0x5A, bytes);
        free(blocks[0]); // a dirty block to clear
        test::expect_success(sarko_mem_malloc(bytes, &blocks[0]));
        test::expect_success(sarko_mem_calloc(1, bytes, &blocks[1]));
        EXPECT_TRUE(all_zero(blocks[1], bytes));
        for (void *p : blocks) {
            EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u) << bytes;
            free(p); // the system takes back what the kernel library hands out
        }
    }
    void *large = nullptr; // untouched pages of the system
    test::expect_success(sarko_mem_calloc(5, 1 << 20, &large));
    EXPECT_TRUE(all_zero(large, 5 << 20));
    test::expect_success(sarko_mem_realloc(6 << 20, &large));
    sarko_mem_free(large);
}

TEST(Hooks, ReceiveEveryCallWithTheirContext) {
    const Restore restore;
    Log log;
    sarko_mem_hooks hooks = {[](uint64_t bytes, int32_t zeroed, void *ctx) {
                                 static_cast<Log *>(ctx)->calls +=
                                     "alloc " + std::to_string(bytes) + (zeroed ? " zeroed;" : ";");
                                 return calloc(1, bytes);
                             },
                             [](void *p, uint64_t bytes, void *ctx) {
                                 static_cast<Log *>(ctx)->calls += "resize " + std::to_string(bytes) + ";";
                                 return realloc(p, bytes);
                             },
                             [](void *p, void *ctx) {
                                 static_cast<Log *>(ctx)->calls += "release;";
                                 free(p);
                             },
                             &log};
    sarko_mem_set_hooks(&hooks);
    hooks = {}; // a copy is installed
    void *p = nullptr;
    test::expect_success(sarko_mem_malloc(10, &p));
    test::expect_success(sarko_mem_realloc(20, &p));
    test::expect_success(sarko_mem_realloc(0, &p));
    test::expect_success(sarko_mem_calloc(3, 4, &p));
    sarko_mem_free(p);
    sarko_mem_free(nullptr);
    EXPECT_EQ(log.calls, "alloc 10;resize 20;release;alloc 12 zeroed;release;");

    sarko_mem_set_hooks(nullptr);
    test::expect_success(sarko_mem_malloc(10, &p));
    free(p); // the system allocator's again
    EXPECT_EQ(log.calls, "alloc 10;resize 20;release;alloc 12 zeroed;release;");
}

// ---- Offset vectors and matrices ----

TEST(OffsetVector, EveryIndexOfTheRangeIsAZeroedElement) {
    struct Range {
        int64_t lowest, highest;
    };
    for (const Range r :
         {Range{0, 9}, {1, 10}, {-5, 4}, {-9, -3}, {1000000007, 1000000009}, {INT64_MIN, INT64_MIN + 2}}) {
        const uint64_t lowest = static_cast<uint64_t>(r.lowest), highest = static_cast<uint64_t>(r.highest);
        void *p = nullptr;
        test::expect_success(sarko_mem_vector_alloc(&p, sizeof(double), lowest, highest));
        const uintptr_t base = reinterpret_cast<uintptr_t>(p);
        for (uint64_t i = lowest; i != highest + 1; i++) {
            double *element = reinterpret_cast<double *>(base + i * sizeof(double));
            EXPECT_EQ(*element, 0.0);
            *element = 1.0;
        }
        EXPECT_EQ(sarko_mem_vector_free(p, sizeof(double), lowest, highest), 0u);
    }
    EXPECT_EQ(sarko_mem_vector_free(nullptr, 8, 1, 5), 0u);
}

TEST(OffsetMatrix, RowsFollowEachOtherInOneBlock) {
    struct Range {
        int64_t lowest_row, highest_row, lowest_col, highest_col;
    };
    for (const Range r : {Range{0, 2, 0, 3}, {1, 3, 1, 4}, {-1, 1, -2, 1}, {-7, -5, 100, 102}, {5, 5, -1, -1}}) {
        void *p = nullptr;
        test::expect_success(sarko_mem_matrix_alloc(
            &p, sizeof(double), static_cast<uint64_t>(r.lowest_row), static_cast<uint64_t>(r.highest_row),
            static_cast<uint64_t>(r.lowest_col), static_cast<uint64_t>(r.highest_col)));
        const uintptr_t rows = reinterpret_cast<uintptr_t>(p);
        const double *next = nullptr;
        for (int64_t i = r.lowest_row; i <= r.highest_row; i++) {
            const uintptr_t row = *reinterpret_cast<uintptr_t *>(rows + static_cast<uint64_t>(i) * sizeof(void *));
            for (int64_t j = r.lowest_col; j <= r.highest_col; j++) {
                double *element = reinterpret_cast<double *>(row + static_cast<uint64_t>(j) * sizeof(double));
                EXPECT_TRUE(!next || element == next) << i << ' ' << j;
                EXPECT_EQ(reinterpret_cast<uintptr_t>(element) % alignof(double), 0u);
                EXPECT_EQ(*element, 0.0);
                *element = 1.0;
                next = element + 1;
            }
        }
        EXPECT_EQ(sarko_mem_matrix_free(p, sizeof(double), static_cast<uint64_t>(r.lowest_row), 0, 0, 0), 0u);
    }
    EXPECT_EQ(sarko_mem_matrix_free(nullptr, 8, 0, 1, 0, 1), 0u);
}

TEST(OffsetVector, EmptyRangesAreVectorsAndBackwardOnesErrors) {
    void *p = nullptr;
    for (const uint64_t lowest : {uint64_t{5}, uint64_t{1}, UINT64_MAX}) {
        test::expect_success(sarko_mem_vector_alloc(&p, 8, lowest, lowest - 1));
        EXPECT_NE(p, nullptr);
        sarko_mem_vector_free(p, 8, lowest, lowest - 1);
        p = &p;
        test::expect_error(sarko_mem_vector_alloc(&p, 8, lowest, lowest - 2), 0, {"Index range is empty."});
        EXPECT_EQ(p, nullptr);
        test::expect_error(sarko_mem_matrix_alloc(&p, 8, lowest, lowest - 2, 0, 1), 0, {"Index range is empty."});
        test::expect_error(sarko_mem_matrix_alloc(&p, 8, 0, 1, lowest, lowest - 2), 0, {"Index range is empty."});
    }
}

TEST(OffsetVector, SizesThatOverflowAreRefused) {
    struct Case {
        uint64_t size, rows, cols;
        bool overflows; // else it is merely too much
    };
    const Case cases[] = {{1ull << 32, 1ull << 32, 1, true}, {1ull << 33, 1ull << 31, 1, true},
                          {16, 1ull << 59, 1, false},        {UINT64_MAX, 2, 1, true},
                          {8, 1ull << 62, 1, true},          {1, 1ull << 32, 1ull << 32, true},
                          {1, 3, (1ull << 62) + 1, false}};
    for (const Case &c : cases) {
        void *p = &p;
        const sarko_error_t e = c.cols == 1 ? sarko_mem_vector_alloc(&p, c.size, 1, c.rows)
                                            : sarko_mem_matrix_alloc(&p, c.size, 1, c.rows, 1, c.cols);
        EXPECT_EQ(p, nullptr);
        EXPECT_EQ(sarko_error_kind(e), SARKO_KIND_MEMORY);
        EXPECT_EQ(std::string(sarko_error_message(e)) == "Size of allocation overflows.", c.overflows)
            << c.size << ' ' << c.rows << ' ' << c.cols << ": " << sarko_error_message(e);
        sarko_error_clear(e);
    }
}

TEST(Time, RealTimeIsTheSystemsClock) {
    const double before = static_cast<double>(time(nullptr));
    const double now = sarko_time_real();
    EXPECT_GE(now, before);
    EXPECT_LE(now, before + 60);
    EXPECT_GE(sarko_time_real(), now - 1e-3);
}

} // namespace
