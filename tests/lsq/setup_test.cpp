// The least-squares record: defaults, storage, weights, chi square and normal equations, covariance, refusals.
#include <sarvo/lsq.h>

#include <math.h>
#include <string.h>

#include "lsq_support.h"

namespace {

using test::Doubles;
using test::expect_equal_bits;
using test::expect_error;
using test::expect_success;
using test::Fit;
using test::values;

const std::string null_text = "Input structure is not initialized";
const std::string alloc_text = "Cannot allocate LS.", weight_text = "Cannot initialize LS weighting.";
const std::string init_text = "Cannot init LS iteration.", covar_text = "Cannot calculate covariance matrix.";
const std::string setup_text = "Invalid setup of LS";

TEST(LsqDefaults, EveryFieldIsSetOrZero) {
    sarvo_lsq lsq;
    memset(&lsq, 0xAB, sizeof lsq);
    expect_success(sarvo_lsq_init_default(&lsq));
    EXPECT_EQ(lsq.tolx, 0x1p-26);
    EXPECT_EQ(lsq.tolg, pow(0x1p-52, 1.0 / 3.0));
    sarvo_lsq expected = {};
    expected.model_kind = expected.method = expected.solver = 1;
    expected.flags = SARVO_LSQ_DEFAULTS;
    expected.tolx = lsq.tolx;
    expected.tolg = lsq.tolg;
    expected.max_tries = 30;
    expected.up_factor = 3.0;
    expected.down_factor = 2.0;
    EXPECT_EQ(memcmp(&lsq, &expected, offsetof(sarvo_lsq, flags) + sizeof lsq.flags), 0);
    EXPECT_EQ(memcmp(&lsq.tolx, &expected.tolx, 2 * sizeof(double)), 0);
    EXPECT_EQ(lsq.max_tries, 30u);
    EXPECT_EQ(memcmp(&lsq.lambda, &expected.lambda, sizeof lsq - offsetof(sarvo_lsq, lambda)), 0);
    expect_success(sarvo_lsq_init_default(nullptr));
}

TEST(LsqDefaults, StartTheLibraryWhenItIsNot) {
    sarvo_terminate();
    ASSERT_EQ(SarvoInitialized, 0u);
    SarvoDblEps = 0.0;
    sarvo_lsq lsq;
    expect_success(sarvo_lsq_init_default(&lsq));
    EXPECT_EQ(SarvoInitialized, 1u);
    EXPECT_EQ(lsq.tolx, 0x1p-26);
    expect_success(sarvo_lsq_init_default(&lsq));
    EXPECT_EQ(SarvoInitialized, 1u) << "once only";
}

TEST(LsqAlloc, MakesStorageOfTheProblemsSizeAndAgainOfAnother) {
    Fit fit(test::exponential(), 2);
    expect_success(fit.start({1, 0}));
    const uint32_t flags = SARVO_LSQ_DEFAULTS | SARVO_LSQ_ALLOCATED | SARVO_LSQ_INITIALISED;
    struct Size {
        uint32_t npar, ndata;
    };
    for (const Size s : {Size{2, 10}, {5, 3}, {1, 1}, {4, 20}, {0, 6}}) {
        expect_success(sarvo_lsq_alloc(s.npar, s.ndata, &fit.lsq));
        const sarvo_lsq &lsq = fit.lsq;
        EXPECT_EQ(lsq.npar, s.npar);
        EXPECT_EQ(lsq.ndata, s.ndata);
        EXPECT_EQ(lsq.flags, flags) << "only the storage is of another size";
        EXPECT_EQ(lsq.r->length, s.ndata);
        EXPECT_EQ(lsq.J->rows, s.ndata);
        EXPECT_EQ(lsq.J->cols, s.npar);
        EXPECT_EQ(lsq.alpha->rows, s.npar);
        EXPECT_EQ(lsq.alpha->cols, s.npar);
        EXPECT_EQ(lsq.beta->length, s.npar);
        EXPECT_EQ(lsq.step->length, s.npar);
        EXPECT_EQ(lsq.svd->thresh, 0.0);
    }
    sarvo_lsq_free(&fit.lsq);
    EXPECT_EQ(fit.lsq.flags, static_cast<uint32_t>(SARVO_LSQ_DEFAULTS | SARVO_LSQ_INITIALISED));
    EXPECT_EQ(fit.lsq.J, nullptr);
    EXPECT_EQ(fit.lsq.svd, nullptr);
    sarvo_lsq_free(&fit.lsq);
    sarvo_lsq_free(nullptr);
    expect_success(sarvo_lsq_alloc(2, 10, &fit.lsq));
    expect_success(fit.start({1, 0}));
    expect_success(sarvo_lsq_minimize(50, nullptr, nullptr, &fit.lsq));
    EXPECT_NEAR(fit.x()[1], -0.9, 0.05);
}

// What every routine does with a record in a state that does not fit.
void expect_not_initialised(Fit &fit, const std::string &what) {
    SCOPED_TRACE(what);
    const std::string text = "LS iteration has not been initialized.";
    const std::string before = test::state_or_null(fit.lsq);
    expect_error(sarvo_lsq_iterate(&fit.lsq), SarvoLsqInitEC, {text});
    expect_error(sarvo_lsq_minimize(3, nullptr, nullptr, &fit.lsq), SarvoLsqInitEC, {"LS minimization error.", text});
    fit.lsq.flags |= SARVO_LSQ_STEP_MET | SARVO_LSQ_GRAD_MET;
    EXPECT_EQ(sarvo_lsq_convtest(&fit.lsq), 0);
    EXPECT_FALSE(fit.lsq.flags & (SARVO_LSQ_STEP_MET | SARVO_LSQ_GRAD_MET));
    EXPECT_EQ(test::state_or_null(fit.lsq), before);
}

TEST(LsqAlloc, OfAnotherSizeAsksForANewStart) {
    const Doubles start = {1, 0, 0, 0, 0, 0, 0};
    for (const uint32_t npar : {1u, 3u, 7u}) { // 2 before
        Fit fit(test::exponential(), 2);
        expect_success(fit.start({1, 0}));
        expect_success(sarvo_lsq_minimize(3, nullptr, nullptr, &fit.lsq));
        expect_success(sarvo_lsq_alloc(npar, 10, &fit.lsq));
        expect_not_initialised(fit, "alloc for " + std::to_string(npar));
        EXPECT_EQ(fit.x().size(), 2u);
        expect_error(sarvo_lsq_iterate_init(fit.lsq.x, &fit.lsq), SarvoSizeEC, {init_text, "Incorrect size"});
        fit.problem = test::linear(
            Doubles(10, 1.0), [](uint64_t i, uint64_t j) { return 1.0 + 0.1 * double(i * j); }, npar);
        sarvo_matrix *covar = nullptr;
        expect_success(sarvo_lsq_covar(&covar, &fit.lsq)); // of an alpha of zeros
        EXPECT_EQ(covar->rows, npar);
        sarvo_matrix_free(covar);
        expect_success(fit.start(Doubles(start.begin(), start.begin() + npar)));
        expect_success(sarvo_lsq_minimize(3, nullptr, nullptr, &fit.lsq));
    }
}

TEST(LsqAlloc, OfTheSameSizeOrOfOtherDataGoesOnFromX) {
    Fit fit(test::exponential(), 2);
    expect_success(fit.start({1, 0}));
    for (const uint32_t ndata : {10u, 6u, 9u}) {
        fit.problem.y.resize(ndata);
        const Doubles x = fit.x();
        expect_success(sarvo_lsq_alloc(2, ndata, &fit.lsq));
        EXPECT_EQ(fit.x(), x);
        const int calls = fit.problem.calls;
        expect_success(sarvo_lsq_minimize(20, nullptr, nullptr, &fit.lsq));
        EXPECT_GT(fit.problem.calls, calls);
        EXPECT_EQ(fit.r().size(), ndata);
    }
}

// sarvo_lsq_free clears the bit of the storage alone: that of the start stays, and both are asked for.
TEST(LsqFree, ClearsTheBitOfTheStorageAlone) {
    Fit fit(test::exponential(), 2);
    expect_success(fit.start({1, 0}));
    expect_success(sarvo_lsq_minimize(50, nullptr, nullptr, &fit.lsq));
    const uint32_t before = fit.lsq.flags;
    EXPECT_TRUE(before & SARVO_LSQ_INITIALISED);
    sarvo_lsq_free(&fit.lsq);
    EXPECT_EQ(fit.lsq.flags, before & ~static_cast<uint32_t>(SARVO_LSQ_ALLOCATED));
    expect_not_initialised(fit, "freed");
    sarvo_matrix *covar = nullptr;
    expect_error(sarvo_lsq_covar(&covar, &fit.lsq), SarvoLsqInitEC, {covar_text, "Initialization error in LS"});
    expect_error(fit.start({1, 0}), SarvoLsqInitEC, {init_text, "Initialization error in LS"});

    expect_success(sarvo_lsq_alloc(2, 10, &fit.lsq));
    EXPECT_TRUE(fit.lsq.flags & SARVO_LSQ_ALLOCATED);
    EXPECT_TRUE(fit.lsq.flags & SARVO_LSQ_INITIALISED);
    expect_not_initialised(fit, "freed and allocated: no parameters");
    expect_success(fit.start({1, 0}));
    expect_success(sarvo_lsq_minimize(50, nullptr, nullptr, &fit.lsq));
    EXPECT_NEAR(fit.x()[1], -0.9, 0.05);
}

// A caller who fills the record himself with objects that do not fit is told.
TEST(LsqAlloc, ObjectsOfOtherLengthsAreNoStart) {
    for (int object = 0; object < 6; object++) {
        Fit fit(test::exponential(), 2);
        expect_success(fit.start({1, 0}));
        sarvo_vector **vectors[] = {&fit.lsq.x, &fit.lsq.step, &fit.lsq.beta, &fit.lsq.r};
        sarvo_matrix **matrices[] = {&fit.lsq.J, &fit.lsq.alpha};
        if (object < 4) {
            sarvo_vector_free(*vectors[object]);
            *vectors[object] = test::vector_of({1.0});
        } else {
            sarvo_matrix_free(*matrices[object - 4]);
            *matrices[object - 4] = test::matrix_of(1, 2, {1.0, 2.0});
        }
        if (object < 3) expect_not_initialised(fit, "object " + std::to_string(object));
        expect_error(sarvo_lsq_iterate(&fit.lsq), SarvoLsqInitEC, {"LS iteration has not been initialized."});
    }
}

TEST(LsqAlloc, RefusesOtherKindsAndForgetsTheStorage) {
    expect_error(sarvo_lsq_alloc(1, 1, nullptr), SarvoNullEC, {alloc_text, null_text});
    Fit fit(test::exponential(), 2);
    for (int32_t *kind : {&fit.lsq.model_kind, &fit.lsq.method, &fit.lsq.solver})
        for (const int32_t value : {0, 2, -1}) {
            *kind = value;
            expect_error(sarvo_lsq_alloc(3, 4, &fit.lsq), SarvoLsqInvalidSetupEC, {alloc_text, setup_text});
            EXPECT_EQ(fit.lsq.npar, 3u) << "the size is stored before the check";
            EXPECT_EQ(fit.lsq.flags, static_cast<uint32_t>(SARVO_LSQ_DEFAULTS));
            *kind = 1;
        }
    expect_error(fit.start({1, 0}), SarvoLsqInitEC, {init_text, "Initialization error in LS"});
}

TEST(LsqAlloc, SizesBeyondMemoryAreRefusedAndTheRecordStaysUsable) {
    struct Case {
        uint32_t npar, ndata;
        const char *text;
    };
    const Case cases[] = {
        {1, UINT32_MAX, "Cannot allocate 34359738360 bytes."},  // r
        {UINT32_MAX, 3, "Cannot allocate 103079215080 bytes."}, // J
        {UINT32_MAX, 0, "Size of allocation overflows."},       // alpha
        {1u << 31, 1, "Cannot allocate 17179869184 bytes."},    // J
    };
    for (const Case &c : cases) {
        Fit fit(test::exponential(), 2);
        const sarko_error_t e = sarvo_lsq_alloc(c.npar, c.ndata, &fit.lsq);
        EXPECT_NE(e, 0u);
        EXPECT_STREQ(sarko_error_message(sarko_error_cause(e)), c.text);
        sarko_error_clear(e);
        EXPECT_FALSE(fit.lsq.flags & SARVO_LSQ_ALLOCATED);
        expect_success(sarvo_lsq_alloc(2, 10, &fit.lsq));
        expect_success(fit.start({1, 0}));
        expect_success(sarvo_lsq_minimize(3, nullptr, nullptr, &fit.lsq));
    }
}

// ---- Sums against their literal loops ----

enum Kind { none, vector_kind, matrix_kind };

struct Sums {
    double chisq = 0.0;
    Doubles alpha, beta;
};

// chi square, J'W J and J'W r in the stated orders; terms of a zero left factor are left out of the products.
Sums literal_sums(Kind kind, const Doubles &w, const Doubles &r, const Doubles &J, uint64_t n, uint64_t p) {
    Sums sums;
    Doubles JW(p * n, 0.0), rW(n, 0.0);
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t a = 0; a < p; a++) {
            if (kind == none) JW[a * n + i] = J[i * p + a];
            if (kind == vector_kind) JW[a * n + i] = w[i] * J[i * p + a];
            for (uint64_t l = 0; kind == matrix_kind && l < n; l++)
                if (J[l * p + a] != 0.0) JW[a * n + i] = JW[a * n + i] + J[l * p + a] * w[l * n + i];
        }
    for (uint64_t i = 0; i < n; i++) {
        for (uint64_t l = 0; kind == matrix_kind && l < n; l++) rW[i] = rW[i] + r[l] * w[l * n + i];
        const double term = kind == none ? r[i] * r[i] : kind == vector_kind ? w[i] * (r[i] * r[i]) : rW[i] * r[i];
        sums.chisq = sums.chisq + term;
    }
    const auto inner = [&](uint64_t a, const double *right, uint64_t step) {
        double sum = 0.0;
        for (uint64_t i = 0; i < n; i++)
            if (JW[a * n + i] != 0.0) sum = sum + JW[a * n + i] * right[i * step];
        return sum;
    };
    for (uint64_t a = 0; a < p; a++) {
        sums.beta.push_back(inner(a, r.data(), 1));
        for (uint64_t b = 0; b < p; b++) sums.alpha.push_back(inner(a, J.data() + b, p));
    }
    return sums;
}

TEST(LsqSums, EqualTheLiteralLoopsForEveryKindOfWeights) {
    test::Random random(7);
    for (const uint64_t p : {1u, 2u, 3u, 9u})
        for (const uint64_t n : {1u, 2u, 7u, 8u, 33u, 130u})
            for (const Kind kind : {none, vector_kind, matrix_kind}) {
                Doubles y(n), basis(n * p), x0(p), w(kind == matrix_kind ? n * n : n);
                for (Doubles *list : {&y, &basis, &x0, &w})
                    for (double &value : *list) value = random.below(8) ? random.symmetric() : 0.0;
                const auto derivative = [&](uint64_t i, uint64_t j) { return basis[i * p + j]; };
                Fit fit(test::linear(y, derivative, p), static_cast<uint32_t>(p));
                if (kind == vector_kind) expect_success(fit.weigh(w));
                if (kind == matrix_kind) expect_success(fit.weigh_by_matrix(w)); // not symmetric: W as it is
                EXPECT_EQ(fit.lsq.weight_kind, kind);
                expect_success(fit.start(x0));
                fit.lsq.max_tries = 0; // only the derivatives and their sums
                expect_success(sarvo_lsq_iterate(&fit.lsq));
                const Sums sums = literal_sums(kind, w, fit.r(), basis, n, p);
                const std::string what =
                    std::to_string(n) + " data, " + std::to_string(p) + " parameters, kind " + std::to_string(kind);
                expect_equal_bits(&fit.lsq.chisq, &sums.chisq, 1, "chi square, " + what);
                expect_equal_bits(values(fit.lsq.alpha).data(), sums.alpha.data(), p * p, "alpha, " + what);
                expect_equal_bits(values(fit.lsq.beta).data(), sums.beta.data(), p, "beta, " + what);
                EXPECT_EQ(fit.lsq.tries, 0u);
                EXPECT_EQ(fit.x(), x0);
            }
}

TEST(LsqWeights, VectorAndDiagonalMatrixGiveTheSameFit) {
    const Doubles w = {1, 2, 0.5, 4, 1, 0, 3, 1, 2, 0.25};
    Doubles W(100, 0.0);
    for (uint64_t i = 0; i < 10; i++) W[11 * i] = w[i];
    Fit by_vector(test::exponential(), 2), by_matrix(test::exponential(), 2), unweighted(test::exponential(), 2);
    expect_success(by_vector.weigh(w));
    expect_success(by_matrix.weigh_by_matrix(W));
    for (Fit *fit : {&by_vector, &by_matrix, &unweighted}) {
        expect_success(fit->start({1, 0}));
        fit->lsq.tolx = 1e-12;
        fit->lsq.tolg = 0;
        expect_success(sarvo_lsq_minimize(200, nullptr, nullptr, &fit->lsq));
    }
    for (uint64_t j = 0; j < 2; j++) {
        EXPECT_NEAR(by_vector.x()[j], by_matrix.x()[j], 1e-9);
        EXPECT_GT(fabs(by_vector.x()[j] - unweighted.x()[j]), 1e-5) << "the weights matter";
    }
}

TEST(LsqWeights, RefuseInOrderAndKeepTheKind) {
    Fit fit(test::exponential(), 2);
    sarvo_vector *v = test::vector_of(Doubles(9, 1.0));
    sarvo_matrix *m = test::matrix_of(10, 9, Doubles(90, 1.0)), *t = test::matrix_of(9, 10, Doubles(90, 1.0));
    expect_error(sarvo_lsq_weight_vinit(nullptr, &fit.lsq), SarvoNullEC, {weight_text, null_text});
    expect_error(sarvo_lsq_weight_vinit(v, nullptr), SarvoNullEC, {weight_text, null_text});
    expect_error(sarvo_lsq_weight_minit(nullptr, &fit.lsq), SarvoNullEC, {weight_text, null_text});
    expect_error(sarvo_lsq_weight_minit(m, nullptr), SarvoNullEC, {weight_text, null_text});
    expect_error(sarvo_lsq_weight_vinit(v, &fit.lsq), SarvoSizeEC, {weight_text, "Incorrect size"});
    expect_error(sarvo_lsq_weight_minit(m, &fit.lsq), SarvoSizeEC, {weight_text, "Incorrect size"});
    expect_error(sarvo_lsq_weight_minit(t, &fit.lsq), SarvoSizeEC, {weight_text, "Incorrect size"});
    v->dtype = SARVO_INT32;
    m->dtype = SARVO_INT32;
    expect_error(sarvo_lsq_weight_vinit(v, &fit.lsq), SarvoDtypeEC, {weight_text, "Invalid data type 5"});
    expect_error(sarvo_lsq_weight_minit(m, &fit.lsq), SarvoDtypeEC, {weight_text, "Invalid data type 5"});
    EXPECT_EQ(fit.lsq.weight_kind, none);
    sarvo_vector_free(v);
    sarvo_matrix_free(m);
    sarvo_matrix_free(t);
}

TEST(LsqWeights, StaleOrMissingOnesAreAnInvalidSetup) {
    Fit fit(test::exponential(), 2);
    expect_success(fit.weigh(Doubles(10, 1.0)));
    fit.problem.y.resize(6);
    expect_success(sarvo_lsq_alloc(2, 6, &fit.lsq)); // the weights are still ten
    expect_error(fit.start({1, 0}), SarvoLsqInvalidSetupEC, {init_text, setup_text});
    expect_success(fit.weigh(Doubles(6, 1.0)));
    expect_success(fit.start({1, 0}));
    for (const int32_t kind : {2, 3, -1}) {
        fit.lsq.weight_kind = kind;
        expect_error(sarvo_lsq_iterate(&fit.lsq), SarvoLsqInvalidSetupEC, {setup_text});
    }
    fit.lsq.weight_kind = 0;
    expect_success(sarvo_lsq_iterate(&fit.lsq));
}

// ---- Start ----

TEST(LsqStart, CopiesTheParametersAndRefusesInOrder) {
    Fit fit(test::exponential(), 2);
    sarvo_vector *ints = nullptr;
    expect_success(sarvo_vector_alloc(&ints, SARVO_INT32, 0, 3));
    expect_error(sarvo_lsq_iterate_init(nullptr, &fit.lsq), SarvoNullEC, {init_text, null_text});
    expect_error(sarvo_lsq_iterate_init(ints, nullptr), SarvoNullEC, {init_text, null_text});
    sarvo_lsq bare;
    expect_success(sarvo_lsq_init_default(&bare));
    expect_error(sarvo_lsq_iterate_init(ints, &bare), SarvoLsqInitEC, {init_text, "Initialization error in LS"});
    fit.lsq.model = nullptr;
    expect_error(sarvo_lsq_iterate_init(ints, &fit.lsq), SarvoLsqInvalidSetupEC, {init_text, setup_text});
    fit.lsq.model = test::model;
    expect_error(sarvo_lsq_iterate_init(ints, &fit.lsq), SarvoDtypeEC, {init_text, "Invalid data type 5"});
    expect_error(fit.start({1, 2, 3}), SarvoSizeEC, {init_text, "Incorrect size"});
    expect_error(fit.start({1}), SarvoSizeEC, {init_text, "Incorrect size"});
    EXPECT_EQ(fit.problem.calls, 0);
    fit.problem.fails_at = 1;
    expect_error(fit.start({1, 0}), 0, {init_text, "model failed"});
    expect_error(sarvo_lsq_iterate(&fit.lsq), SarvoLsqInitEC, {"LS iteration has not been initialized."});
    fit.lsq.lambda = 77;
    expect_success(fit.start({1, -0.5}));
    EXPECT_EQ(fit.x(), (Doubles{1, -0.5}));
    EXPECT_EQ(fit.lsq.lambda, 0.01);
    EXPECT_TRUE(fit.lsq.flags & SARVO_LSQ_INITIALISED);
    expect_success(sarvo_lsq_iterate_init(fit.lsq.x, &fit.lsq)); // from where it stands
    EXPECT_EQ(fit.x(), (Doubles{1, -0.5}));
    sarvo_vector_free(ints);
}

// ---- Covariance ----

TEST(LsqCovar, IsTheInverseForAKnownLinearProblem) {
    const auto basis = [](uint64_t i, uint64_t j) { return j == 0 ? 1.0 : static_cast<double>(i) - 2.0; };
    Fit fit(test::linear({1, 3, 2, 5, 4}, basis, 2), 2);
    expect_success(fit.start({0, 0}));
    expect_success(sarvo_lsq_minimize(100, nullptr, nullptr, &fit.lsq));
    EXPECT_NEAR(fit.x()[0], 3.0, 1e-7);
    EXPECT_NEAR(fit.x()[1], 0.8, 1e-7);
    fit.lsq.svd->thresh = 0.125;
    sarvo_matrix *covar = nullptr;
    expect_success(sarvo_lsq_covar(&covar, &fit.lsq));
    EXPECT_LT(fit.lsq.svd->thresh, 1e-13) << "derived from the matrix, whatever was set";
    EXPECT_EQ(fit.lsq.svd->rank, 2u);
    const double expected[] = {1.0 / 5, 0, 0, 1.0 / 10}; // J'J = diag(5, 10)
    for (uint64_t k = 0; k < 4; k++) EXPECT_NEAR(values(covar)[k], expected[k], 1e-15);
    ASSERT_EQ(fit.lsq.w->length, 2u);
    EXPECT_NEAR(test::at(fit.lsq.w, 0) * test::at(fit.lsq.w, 1), 50.0, 1e-13);
    EXPECT_NEAR(fabs(test::at(fit.lsq.V, 0, 0)) + fabs(test::at(fit.lsq.V, 0, 1)), 1.0, 1e-15);
    sarvo_matrix_free(covar);
}

TEST(LsqCovar, CutsOffWhatTheDataDoNotDetermine) {
    const auto basis = [](uint64_t i, uint64_t) { return static_cast<double>(i + 1); }; // f = (x0 + x1) t
    Fit fit(test::linear({2, 4, 6}, basis, 2), 2);
    expect_success(fit.start({0, 0.5}));
    expect_success(sarvo_lsq_minimize(100, nullptr, nullptr, &fit.lsq));
    EXPECT_NEAR(fit.x()[0] + fit.x()[1], 2.0, 1e-6);
    EXPECT_EQ(fit.lsq.nullity, 0u) << "the damped matrix is regular";
    sarvo_matrix *covar = test::matrix_of(1, 1, {5}); // too small: resized
    expect_success(sarvo_lsq_covar(&covar, &fit.lsq));
    for (const double c : values(covar)) EXPECT_NEAR(c, 1.0 / 56, 1e-15); // pseudo-inverse of 14 [1 1; 1 1]
    EXPECT_EQ(fit.lsq.svd->rank, 1u);
    EXPECT_EQ(fit.lsq.svd->nullity, 1u);
    sarvo_matrix *open = nullptr; // x0 - x1
    expect_success(sarvo_nr_svd_nullspace(fit.lsq.svd, &open));
    EXPECT_NEAR(test::at(open, 0, 0), -test::at(open, 1, 0), 1e-15);
    sarvo_matrix_free(open);
    sarvo_matrix_free(covar);
}

TEST(LsqCovar, LeavesCountsThatAgreeWithTheThreshold) {
    // f = x0 t + x1 (t + delta(t)): alpha is regular, its smaller singular value below the derived threshold.
    const auto basis = [](uint64_t i, uint64_t j) {
        const double t = static_cast<double>(i + 1);
        return j == 0 ? t : t + (i % 2 ? 1e-8 : -1e-8);
    };
    Fit fit(test::linear({2, 4, 6, 8, 11}, basis, 2), 2);
    expect_success(fit.start({0, 0.5}));
    expect_success(sarvo_lsq_iterate(&fit.lsq));
    sarvo_matrix *covar = nullptr, *basis_of_range = nullptr, *basis_of_kernel = nullptr;
    expect_success(sarvo_lsq_covar(&covar, &fit.lsq));
    const sarvo_nr_svd &svd = *fit.lsq.svd;
    EXPECT_GT(svd.thresh, 0.0);
    uint32_t above = 0;
    for (uint64_t k = 0; k < 2; k++) above += test::at(svd.w, k) > svd.thresh;
    EXPECT_EQ(svd.rank, above);
    EXPECT_EQ(svd.nullity, 2 - above);
    EXPECT_EQ(svd.nullity, 1u);
    expect_success(sarvo_nr_svd_range(&svd, &basis_of_range));
    EXPECT_EQ(basis_of_range->cols, svd.rank);
    expect_success(sarvo_nr_svd_nullspace(&svd, &basis_of_kernel));
    EXPECT_EQ(basis_of_kernel->cols, svd.nullity);
    expect_success(sarvo_lsq_iterate(&fit.lsq)); // goes on, and cuts nothing off
    EXPECT_EQ(fit.lsq.nullity, 0u);
    EXPECT_EQ(svd.thresh, 0.0);
    sarvo_matrix_free(covar);
    sarvo_matrix_free(basis_of_range);
    sarvo_matrix_free(basis_of_kernel);
}

TEST(LsqCovar, RefusesInOrder) {
    Fit fit(test::exponential(), 2);
    sarvo_matrix *covar = nullptr;
    fit.lsq.solver = 2;
    expect_error(sarvo_lsq_covar(nullptr, &fit.lsq), SarvoNullEC, {covar_text, null_text});
    expect_error(sarvo_lsq_covar(&covar, nullptr), SarvoNullEC, {covar_text, null_text});
    sarvo_lsq bare;
    expect_success(sarvo_lsq_init_default(&bare));
    bare.solver = 2;
    expect_error(sarvo_lsq_covar(&covar, &bare), SarvoLsqInvalidSetupEC, {covar_text, setup_text});
    bare.solver = 1;
    expect_error(sarvo_lsq_covar(&covar, &bare), SarvoLsqInitEC, {covar_text, "Initialization error in LS"});
    fit.lsq.solver = 1;
    test::at(fit.lsq.alpha, 0, 0) = NAN;
    expect_error(sarvo_lsq_covar(&covar, &fit.lsq), SarvoNrIterEC,
                 {covar_text, "Cannot do SVD", "No convergence in 30 iterations"});
    EXPECT_EQ(covar, nullptr);
    EXPECT_EQ(fit.lsq.svd->thresh, 0.0);
}

} // namespace
