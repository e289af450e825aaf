// Every allocating operation of least squares, successes and refusals, under every failure of the allocator.
#include <sarvo/lsq.h>

#include <functional>

#include "lsq_support.h"

namespace {

using test::bytes;
using test::Doubles;
using test::Fit;

using Run = std::function<sarko_error_t(struct Scenario &)>;

// A fit that is prepared up to the operation; x0, w and W are its inputs.
struct Scenario : test::AllocationScenario {
    Fit fit{test::exponential(), 2};
    sarvo_vector *x0 = test::vector_of({1, 0}), *w = test::vector_of(Doubles(10, 0.5));
    sarvo_matrix *W = nullptr, *covar = nullptr;
    Run operation;

    Scenario() {
        Doubles weights(100, 0.01);
        for (uint64_t i = 0; i < 10; i++) weights[11 * i] = 1.0;
        W = test::matrix_of(10, 10, weights);
    }
    ~Scenario() override {
        sarvo_vector_free(x0);
        sarvo_vector_free(w);
        sarvo_matrix_free(W);
        sarvo_matrix_free(covar);
    }
    sarko_error_t run() override { return operation(*this); }
    std::string inputs() const override { return bytes(x0) + bytes(w) + bytes(W); }
    std::string result() const override {
        const sarvo_lsq &lsq = fit.lsq;
        const bool started = lsq.flags & SARVO_LSQ_INITIALISED;
        return std::to_string(lsq.flags) + std::to_string(lsq.weight_kind) +
               (started ? test::state(lsq) : std::string()) + bytes(covar) + bytes(lsq.V) + bytes(lsq.w) +
               bytes(lsq.weight_vector) + bytes(lsq.weight_matrix);
    }
};

// Starts over, so that a retry after a failure repeats the whole operation from the same state.
sarko_error_t start(Scenario &s) { return sarvo_lsq_iterate_init(s.x0, &s.fit.lsq); }

sarko_error_t minimise_afresh(Scenario &s) {
    if (sarko_error_t e = start(s)) return e;
    return sarvo_lsq_minimize(4, nullptr, nullptr, &s.fit.lsq);
}

const Run vector_weights = [](Scenario &s) { return sarvo_lsq_weight_vinit(s.w, &s.fit.lsq); };
const Run matrix_weights = [](Scenario &s) { return sarvo_lsq_weight_minit(s.W, &s.fit.lsq); };
const Run one_iteration = [](Scenario &s) {
    const sarko_error_t e = start(s);
    return e ? e : sarvo_lsq_iterate(&s.fit.lsq);
};

const struct Case {
    const char *name;
    Run prepare; // done before failures begin; may be empty
    Run operation;
} cases[] = {
    {"alloc",
     [](Scenario &s) {
         sarvo_lsq_free(&s.fit.lsq);
         return sarko_error_t{0};
     },
     [](Scenario &s) { return sarvo_lsq_alloc(2, 10, &s.fit.lsq); }},
    {"alloc again", {}, [](Scenario &s) { return sarvo_lsq_alloc(5, 20, &s.fit.lsq); }},
    {"alloc refused",
     [](Scenario &s) {
         s.fit.lsq.solver = 9;
         return sarko_error_t{0};
     },
     [](Scenario &s) { return sarvo_lsq_alloc(5, 20, &s.fit.lsq); }},
    {"weight_vinit", {}, vector_weights},
    {"weight_minit", {}, matrix_weights},
    {"weight_vinit null", {}, [](Scenario &s) { return sarvo_lsq_weight_vinit(nullptr, &s.fit.lsq); }},
    {"weight_minit null", {}, [](Scenario &s) { return sarvo_lsq_weight_minit(nullptr, &s.fit.lsq); }},
    {"iterate_init", {}, start},
    {"iterate_init size", {}, [](Scenario &s) { return sarvo_lsq_iterate_init(s.w, &s.fit.lsq); }},
    {"iterate_init model",
     [](Scenario &s) {
         s.fit.problem.returns_nan = [&s](int k) {
             s.fit.problem.fails_at = k;
             return false;
         };
         return sarko_error_t{0};
     },
     start},
    {"iterate not initialised", {}, [](Scenario &s) { return sarvo_lsq_iterate(&s.fit.lsq); }},
    {"minimize", {}, minimise_afresh},
    {"minimize with vector weights", vector_weights, minimise_afresh},
    {"minimize with matrix weights", matrix_weights, minimise_afresh},
    {"covar", one_iteration, [](Scenario &s) { return sarvo_lsq_covar(&s.covar, &s.fit.lsq); }},
    {"covar null", one_iteration, [](Scenario &s) { return sarvo_lsq_covar(nullptr, &s.fit.lsq); }},
};

TEST(Allocation, EveryOperationSurvivesEveryFailure) {
    for (const Case &c : cases) {
        const uint64_t allocations = test::expect_survives_allocation_failures(c.name, [&] {
            auto scenario = std::make_unique<Scenario>();
            scenario->operation = c.operation;
            if (c.prepare) test::expect_success(c.prepare(*scenario));
            return scenario;
        });
        EXPECT_GE(allocations, 1u) << c.name << " allocates nothing: it tests nothing here";
    }
}

// An allocation that fails inside an iteration leaves x and r as they were, and the same iteration can be repeated.
TEST(Allocation, AFailedIterationCanBeRepeated) {
    Fit undisturbed(test::exponential(), 2);
    test::expect_success(undisturbed.start({1, 0}));
    test::expect_success(sarvo_lsq_iterate(&undisturbed.lsq));
    for (uint64_t k = 1;; k++) {
        Fit fit(test::exponential(), 2);
        test::expect_success(fit.start({1, 0}));
        const std::string before = bytes(fit.lsq.x) + bytes(fit.lsq.r);
        test::memory::arm(k, true);
        const sarko_error_t e = sarvo_lsq_iterate(&fit.lsq);
        if (!test::memory::disarm()) {
            test::expect_success(e);
            EXPECT_GT(k, 5u);
            break;
        }
        EXPECT_NE(e, 0u) << k;
        sarko_error_clear(e);
        EXPECT_EQ(bytes(fit.lsq.x) + bytes(fit.lsq.r), before) << k;
        test::expect_success(sarvo_lsq_iterate(&fit.lsq));
        EXPECT_EQ(test::state(fit.lsq), test::state(undisturbed.lsq)) << k;
    }
}

} // namespace
