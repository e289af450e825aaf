// Every allocation of the decomposition and of what follows from it fails in turn.
#include <sarvo/nr.h>

#include <functional>
#include <string>

#include "test_support.h"

namespace {

using Operation = std::function<sarko_error_t(struct Scenario &)>;

// A decomposed 5 x 4 matrix of rank 3, right-hand sides, and outputs that start as null or as small objects.
struct Scenario : test::AllocationScenario {
    sarvo_matrix *A;
    sarvo_matrix *B = test::matrix_of(5, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    sarvo_vector *b = test::vector_of({1, 2, 3, 4, 5});
    sarvo_nr_svd *svd = nullptr;
    sarvo_matrix *out = nullptr;
    sarvo_vector *x = nullptr;
    sarvo_nr_svd *made = nullptr;
    Operation operation;

    Scenario(Operation op, bool decomposed, bool small_outputs) : operation(std::move(op)) {
        A = test::matrix_of(5, 4, {1, 2, 3, 3, 4, 5, 7, 9, 9, 8, 7, 17, 2, 4, 6, 6, 1, 1, 2, 2});
        test::expect_success(sarvo_nr_svd_init(&svd));
        if (decomposed) test::expect_success(sarvo_nr_svd_decompose(A, 0, 0, 0, 0, svd));
        if (small_outputs) {
            out = test::matrix_of(1, 1, {3.0});
            x = test::vector_of({3.0});
        }
    }
    ~Scenario() override {
        sarvo_matrix_free(A);
        sarvo_matrix_free(B);
        sarvo_matrix_free(out);
        sarvo_vector_free(b);
        sarvo_vector_free(x);
        sarvo_nr_svd_free(svd);
        sarvo_nr_svd_free(made);
    }
    sarko_error_t run() override { return operation(*this); }
    std::string inputs() const override { return test::bytes(A) + test::bytes(B) + test::bytes(b); }
    std::string result() const override {
        return test::bytes(out) + test::bytes(x) + test::bytes(svd->U) + test::bytes(svd->w) + test::bytes(svd->V) +
               std::to_string(svd->rank) + (made ? "made" : "");
    }
};

TEST(Allocation, EveryFailureComesBackAndNothingIsLost) {
    struct Row {
        const char *name;
        bool decomposed;
        Operation operation;
    };
    const Row rows[] = {
        {"init", false, [](Scenario &s) { return sarvo_nr_svd_init(&s.made); }},
        {"decompose", false, [](Scenario &s) { return sarvo_nr_svd_decompose(s.A, 0, 0, 0, 0, s.svd); }},
        {"decompose a wide block", true, [](Scenario &s) { return sarvo_nr_svd_decompose(s.A, 0, 0, 3, 4, s.svd); }},
        {"decompose without convergence", true,
         [](Scenario &s) {
             s.svd->maxiter = 0;
             return sarvo_nr_svd_decompose(s.A, 0, 0, 0, 0, s.svd);
         }},
        {"decompose a block that is not there", true,
         [](Scenario &s) { return sarvo_nr_svd_decompose(s.A, 3, 0, 9, 0, s.svd); }},
        {"decompose ints", true,
         [](Scenario &s) {
             s.A->dtype = SARVO_INT32;
             const sarko_error_t e = sarvo_nr_svd_decompose(s.A, 0, 0, 0, 0, s.svd);
             s.A->dtype = SARVO_DOUBLE;
             return e;
         }},
        {"reorder", true, [](Scenario &s) { return sarvo_nr_svd_reorder(s.svd); }},
        {"reorder without a decomposition", false, [](Scenario &s) { return sarvo_nr_svd_reorder(s.svd); }},
        {"invert", true, [](Scenario &s) { return sarvo_nr_svd_invert(s.svd, &s.out); }},
        {"vsolve", true, [](Scenario &s) { return sarvo_nr_svd_vsolve(s.svd, s.b, &s.x); }},
        {"msolve", true, [](Scenario &s) { return sarvo_nr_svd_msolve(s.svd, s.B, &s.out); }},
        {"msolve of wrong size", true, [](Scenario &s) { return sarvo_nr_svd_msolve(s.svd, s.svd->V, &s.out); }},
        {"range", true, [](Scenario &s) { return sarvo_nr_svd_range(s.svd, &s.out); }},
        {"nullspace", true, [](Scenario &s) { return sarvo_nr_svd_nullspace(s.svd, &s.out); }},
    };
    for (const Row &row : rows)
        for (const bool small_outputs : {false, true}) {
            const uint64_t allocations = test::expect_survives_allocation_failures(
                row.name, [&] { return std::make_unique<Scenario>(row.operation, row.decomposed, small_outputs); });
            EXPECT_GT(allocations, 0u) << row.name;
        }
}

// Jacobi and splines: everything in one record, with settings that make it succeed or not.
struct Routines : test::AllocationScenario {
    sarvo_matrix *A = test::matrix_of(3, 3, {2, 1, 0, 1, 2, 1, 0, 1, 2});
    sarvo_nr_jtsm *solver = nullptr, *made = nullptr;
    sarvo_nr_itpl spline = {};
    std::function<sarko_error_t(Routines &)> operation;

    explicit Routines(std::function<sarko_error_t(Routines &)> op) : operation(std::move(op)) {
        test::expect_success(sarvo_nr_jtsm_init(&solver));
    }
    ~Routines() override {
        sarvo_matrix_free(A);
        sarvo_nr_jtsm_free(solver);
        sarvo_nr_jtsm_free(made);
        sarvo_nr_itpl_free_cspline(&spline);
    }
    sarko_error_t run() override { return operation(*this); }
    std::string inputs() const override { return test::bytes(A); }
    std::string result() const override {
        return test::bytes(solver->V) + test::bytes(solver->d) + std::to_string(solver->n) + (made ? "made" : "") +
               (spline.y2 ? test::bytes(spline.y2, 3 * sizeof(double)) : "");
    }
};

TEST(Allocation, OfJacobiAndSplinesFailsCleanly) {
    struct Row {
        const char *name;
        std::function<sarko_error_t(Routines &)> operation;
    };
    static const double x[] = {0, 1, 2}, y[] = {0, 1, 0};
    const Row rows[] = {
        {"jtsm_init", [](Routines &s) { return sarvo_nr_jtsm_init(&s.made); }},
        {"jtsm_compute", [](Routines &s) { return sarvo_nr_jtsm_compute(s.A, 0, 0, 0, s.solver); }},
        {"jtsm_compute without convergence",
         [](Routines &s) {
             s.solver->max_sweeps = 1;
             return sarvo_nr_jtsm_compute(s.A, 0, 0, 0, s.solver);
         }},
        {"jtsm_compute of a block that is not there",
         [](Routines &s) { return sarvo_nr_jtsm_compute(s.A, 1, 0, 0, s.solver); }},
        {"spline", [](Routines &s) { return sarvo_nr_itpl_init_cspline(&s.spline, x, y, nullptr, 3, 1e99, 0.5); }},
        {"spline refused",
         [](Routines &s) { return sarvo_nr_itpl_init_cspline(&s.spline, x, y, nullptr, 1, 1e99, 0.5); }},
    };
    for (const Row &row : rows) {
        const uint64_t allocations = test::expect_survives_allocation_failures(
            row.name, [&] { return std::make_unique<Routines>(row.operation); });
        EXPECT_GT(allocations, 0u) << row.name;
    }
}

} // namespace
