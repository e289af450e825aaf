// Implementation of the shared test support, and the main of every test program.
#include "test_support.h"

#include <stdlib.h>
#include <string.h>

#include <atomic>
#include <bit>
#include <cmath>
#include <limits>

namespace test {
namespace memory {
namespace {

std::atomic<int64_t> live{0};
std::atomic<uint64_t> calls{0};
std::atomic<uint64_t> failing_call{0}; // 0: none
std::atomic<bool> failing_on{false};
std::atomic<bool> failed{false};

// Larger requests fail as on a machine that has no more: whether the system would serve them differs.
constexpr uint64_t largest_served = uint64_t{1} << 32;

bool refuses() {
    const uint64_t call = ++calls;
    const uint64_t at = failing_call;
    if (at == 0 || (failing_on ? call < at : call != at)) return false;
    failed = true;
    return true;
}

void *hook_alloc(uint64_t size, int32_t zeroed, void *) {
    if (refuses() || size > largest_served) return nullptr;
    void *p = zeroed ? calloc(1, size) : malloc(size);
    if (p && !zeroed) memset(p, 0xA5, size); // unwritten memory shows
    if (p) live++;
    return p;
}

void *hook_resize(void *p, uint64_t size, void *) {
    return refuses() || size > largest_served ? nullptr : realloc(p, size);
}

void hook_release(void *p, void *) {
    live--;
    free(p);
}

} // namespace

int64_t live_blocks() { return live; }

sarko_mem_hooks hooks() { return {hook_alloc, hook_resize, hook_release, nullptr}; }

void arm(uint64_t fail_at, bool from_there_on) {
    calls = 0;
    failed = false;
    failing_on = from_there_on;
    failing_call = fail_at;
}

bool disarm() {
    failing_call = 0;
    return failed;
}

} // namespace memory

namespace {

std::string describe(sarko_error_t e) {
    if (!e) return "success";
    std::string text = "code " + std::to_string(sarko_error_code(e));
    for (; e; e = sarko_error_cause(e)) text += std::string(" / ") + sarko_error_message(e);
    return text;
}

struct Outcome {
    std::string error;
    std::string result;
};

Outcome outcome(AllocationScenario &scenario) {
    const sarko_error_t e = scenario.run();
    Outcome out{describe(e), e ? "" : scenario.result()};
    sarko_error_clear(e);
    return out;
}

} // namespace

uint64_t expect_survives_allocation_failures(const std::string &name,
                                             const std::function<std::unique_ptr<AllocationScenario>()> &make) {
    const int64_t live_before = memory::live_blocks();
    Outcome undisturbed;
    {
        auto scenario = make();
        undisturbed = outcome(*scenario);
    }
    EXPECT_EQ(memory::live_blocks(), live_before) << name << ": blocks lost by an undisturbed run";
    for (uint64_t k = 1;; k++) {
        for (const bool from_there_on : {false, true}) {
            auto scenario = make();
            const std::string inputs = scenario->inputs();
            memory::arm(k, from_there_on);
            const sarko_error_t e = scenario->run();
            const bool failed = memory::disarm();
            const std::string where =
                name + ", allocation " + std::to_string(k) + (from_there_on ? " and all later ones" : "") + " failing";
            if (!failed) {
                EXPECT_EQ(describe(e), undisturbed.error) << where;
                sarko_error_clear(e);
                scenario.reset();
                EXPECT_EQ(memory::live_blocks(), live_before) << where;
                return k - 1;
            }
            EXPECT_NE(e, 0u) << where << ": no error came back";
            EXPECT_EQ(scenario->inputs(), inputs) << where << ": inputs changed";
            sarko_error_clear(e);
            const Outcome retry = outcome(*scenario);
            EXPECT_EQ(retry.error, undisturbed.error) << where << ": retry";
            EXPECT_EQ(retry.result, undisturbed.result) << where << ": result of the retry";
            scenario.reset();
            EXPECT_EQ(memory::live_blocks(), live_before) << where << ": blocks lost";
            if (testing::Test::HasFailure()) return k;
        }
    }
}

void expect_error(sarko_error_t e, uint32_t code, const std::vector<std::string> &chain) {
    std::string expected = "code " + std::to_string(code);
    for (const std::string &text : chain) expected += " / " + text;
    EXPECT_EQ(describe(e), expected);
    sarko_error_clear(e);
}

void expect_success(sarko_error_t e) {
    EXPECT_EQ(describe(e), "success");
    sarko_error_clear(e);
}

uint64_t bits(double x) { return std::bit_cast<uint64_t>(x); }

std::string bytes(const void *p, uint64_t count) {
    return count ? std::string(static_cast<const char *>(p), count) : std::string();
}

std::string bytes(const sarvo_vector *v) {
    if (!v) return "null";
    return bytes(&v->dtype, sizeof v->dtype) + bytes(&v->length, sizeof v->length) +
           bytes(v->data, v->length * SarvoDtype[v->dtype]);
}

std::string bytes(const sarvo_matrix *m) {
    if (!m) return "null";
    return bytes(&m->dtype, sizeof m->dtype) + bytes(&m->rows, sizeof m->rows) + bytes(&m->cols, sizeof m->cols) +
           bytes(m->data, m->rows * m->cols * SarvoDtype[m->dtype]);
}

void expect_equal_bits(const double *actual, const double *expected, uint64_t count, const std::string &what) {
    for (uint64_t i = 0; i < count; i++) {
        if (bits(actual[i]) == bits(expected[i]) || (std::isnan(actual[i]) && std::isnan(expected[i]))) continue;
        ADD_FAILURE() << what << ": element " << i << std::hexfloat << " is " << actual[i] << " (" << std::hex
                      << bits(actual[i]) << "), expected " << std::hexfloat << expected[i] << " (" << std::hex
                      << bits(expected[i]) << ")";
        return;
    }
}

sarvo_vector *vector_of(const std::vector<double> &values) {
    sarvo_vector *v = nullptr;
    expect_success(sarvo_vector_alloc(&v, SARVO_DOUBLE, 0, values.size()));
    if (!values.empty()) memcpy(v->data, values.data(), values.size() * sizeof(double));
    return v;
}

sarvo_matrix *matrix_of(uint64_t rows, uint64_t cols, const std::vector<double> &values) {
    sarvo_matrix *m = nullptr;
    expect_success(sarvo_matrix_alloc(&m, SARVO_DOUBLE, 0, rows, cols));
    EXPECT_EQ(values.size(), rows * cols);
    if (!values.empty()) memcpy(m->data, values.data(), values.size() * sizeof(double));
    return m;
}

double &at(sarvo_matrix *m, uint64_t i, uint64_t j) { return static_cast<double *>(m->row_ptrs[i])[j]; }
double at(const sarvo_matrix *m, uint64_t i, uint64_t j) { return static_cast<const double *>(m->row_ptrs[i])[j]; }
double &at(sarvo_vector *v, uint64_t i) { return static_cast<double *>(v->data)[i]; }
double at(const sarvo_vector *v, uint64_t i) { return static_cast<const double *>(v->data)[i]; }

uint64_t Random::next() { // xorshift64*, S. Vigna 2016
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 2685821657736338717u;
}

double Random::uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }

double Random::special() {
    static constexpr double values[] = {0.0,
                                        -0.0,
                                        std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(),
                                        std::numeric_limits<double>::quiet_NaN(),
                                        0x1p-1074,
                                        -0x1.8p-1030,
                                        0x1.fffffffffffffp1023,
                                        -0x1p-1022};
    return below(8) == 0 ? values[below(std::size(values))] : symmetric();
}

} // namespace test

namespace {

class LibraryEnvironment : public testing::Environment {
public:
    void SetUp() override {
        const sarko_mem_hooks hooks = test::memory::hooks();
        sarko_mem_set_hooks(&hooks);
        ASSERT_EQ(sarvo_initialize(), 0);
    }
    void TearDown() override {
        EXPECT_EQ(test::memory::live_blocks(), 0) << "blocks still live at the end of the program";
        sarvo_terminate();
        sarko_mem_set_hooks(nullptr);
    }
};

} // namespace

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new LibraryEnvironment);
    return RUN_ALL_TESTS();
}
