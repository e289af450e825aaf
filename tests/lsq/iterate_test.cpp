// The least-squares iteration: accepted and rejected trials, callbacks and their failures, the convergence test,
// recovery.
#include <sarvo/lsq.h>

#include <math.h>

#include "lsq_support.h"

namespace {

using test::at;
using test::bits;
using test::Doubles;
using test::expect_error;
using test::expect_success;
using test::Fit;
using test::values;

const std::string minimise_text = "LS minimization error.";

// What the progress and restore callbacks saw.
struct Log {
    std::vector<std::string> events;
    Doubles x_restored, step_restored;
    int calls = 0;
    int fails_at = 0; // that callback call returns an error
};
Log *log_of_test = nullptr;

sarko_error_t count_call(const char *who) {
    Log &log = *log_of_test;
    if (++log.calls != log.fails_at) return 0;
    return sarko_error_create_i(0, 0, 0, 0, 0, 0, who);
}

sarko_error_t progress(int32_t stage, int32_t number, void *, sarvo_lsq *) {
    log_of_test->events.push_back(std::to_string(stage) + ":" + std::to_string(number));
    return count_call("progress failed");
}

sarko_error_t restore(const sarvo_vector *x, const sarvo_vector *step, void *) {
    log_of_test->events.push_back("restore");
    log_of_test->x_restored = values(x);
    log_of_test->step_restored = values(step);
    return count_call("restore failed");
}

class Iterate : public testing::Test {
protected:
    Log log;
    Fit fit{test::exponential(), 2};

    Iterate() {
        log_of_test = &log;
        fit.lsq.progress = progress;
        fit.lsq.restore = restore;
    }
};

TEST_F(Iterate, AnAcceptedTrialTakesTheDampedStep) {
    const auto basis = [](uint64_t i, uint64_t j) { return j == 0 ? 1.0 : static_cast<double>(i) - 2.0; };
    Fit line(test::linear({1, 3, 2, 5, 4}, basis, 2), 2);
    expect_success(line.start({0, 0}));
    EXPECT_EQ(line.lsq.chisq, 55.0);
    expect_success(sarvo_lsq_iterate(&line.lsq));
    // J'J = diag(5, 10), J'r = (15, 8), lambda = 0.01
    EXPECT_NEAR(at(line.lsq.step, 0), 15 / 5.05, 1e-14);
    EXPECT_NEAR(at(line.lsq.step, 1), 8 / 10.1, 1e-14);
    EXPECT_EQ(line.x(), values(line.lsq.step)) << "x + step from the origin";
    EXPECT_EQ(line.lsq.lambda, 0.005);
    EXPECT_EQ(line.lsq.tries, 1u);
    EXPECT_EQ(line.lsq.chisq, line.lsq.chisq_trial);
    EXPECT_LT(line.lsq.chisq, 3.7);
    EXPECT_NEAR(line.lsq.rcond, 5.05 / 10.1, 1e-15);
    EXPECT_EQ(line.lsq.nullity, 0u);
    EXPECT_NEAR(line.lsq.gain, 1.0, 1e-12) << "a linear model reduces chi square as predicted";
}

// The prediction is that of the damped quadratic model, whose reduction is step'(lambda D step + beta).
TEST_F(Iterate, GainIsActualOverPredictedReduction) {
    expect_success(fit.start({1, 0}));
    for (int k = 0; k < 5; k++) {
        const double before = fit.lsq.chisq, lambda = fit.lsq.lambda;
        expect_success(sarvo_lsq_iterate(&fit.lsq));
        ASSERT_EQ(fit.lsq.tries, 1u);
        double predicted = 0.0;
        for (uint64_t i = 0; i < 2; i++) {
            const double step = at(fit.lsq.step, i);
            predicted = predicted + step * (lambda * at(fit.lsq.alpha, i, i) * step + at(fit.lsq.beta, i));
        }
        EXPECT_EQ(fit.lsq.gain, (before - fit.lsq.chisq_trial) / predicted);
    }
}

TEST_F(Iterate, RejectedTrialsRestoreEverythingAndRaiseLambda) {
    for (const bool nan : {true, false}) {
        log = {};
        expect_success(fit.start({1, 0}));
        const Doubles x = fit.x(), r = fit.r();
        const double chisq = fit.lsq.chisq;
        const int first = fit.problem.calls + 1; // the call with derivatives; trials follow
        if (nan) fit.problem.returns_nan = [first](int call) { return call > first && call <= first + 3; };
        else fit.problem.returns_nan = nullptr;
        const double lambda = nan ? 0.01 : -0.99; // alpha (1 - 0.99) makes steps a hundred times too long
        fit.lsq.lambda = lambda;
        fit.lsq.max_tries = 3;
        if (!nan) fit.lsq.up_factor = 1.0;
        expect_success(sarvo_lsq_iterate(&fit.lsq));
        EXPECT_EQ(log.events, (std::vector<std::string>{"2:1", "restore", "2:2", "restore", "2:3", "restore"}));
        EXPECT_EQ(fit.lsq.tries, 3u);
        EXPECT_EQ(fit.x(), x);
        EXPECT_EQ(fit.r(), r);
        EXPECT_EQ(fit.lsq.chisq, chisq);
        EXPECT_EQ(isnan(fit.lsq.chisq_trial) != 0, nan);
        EXPECT_FALSE(fit.lsq.chisq_trial < chisq);
        EXPECT_EQ(fit.lsq.lambda, nan ? lambda * 3.0 * 3.0 * 3.0 : lambda);
        EXPECT_EQ(log.x_restored, x);
        EXPECT_EQ(log.step_restored, values(fit.lsq.step)) << "the step is kept";
        EXPECT_NE(at(fit.lsq.step, 0), 0.0);
    }
    fit.lsq.lambda = 0.27;
    fit.lsq.max_tries = 30;
    fit.lsq.up_factor = 3;
    expect_success(sarvo_lsq_iterate(&fit.lsq)); // goes on as if nothing had happened
    EXPECT_EQ(fit.lsq.lambda, 0.27 / 2);
}

TEST_F(Iterate, ATrialAfterRejectionsIsAccepted) {
    expect_success(fit.start({1, 0}));
    fit.problem.returns_nan = [](int call) { return call == 3 || call == 4; };
    const double chisq = fit.lsq.chisq;
    expect_success(sarvo_lsq_iterate(&fit.lsq));
    EXPECT_EQ(log.events, (std::vector<std::string>{"2:1", "restore", "2:2", "restore", "2:3"}));
    EXPECT_EQ(fit.lsq.tries, 3u);
    EXPECT_LT(fit.lsq.chisq, chisq);
    EXPECT_EQ(fit.lsq.lambda, 0.01 * 3.0 * 3.0 / 2.0);
}

TEST_F(Iterate, AnEqualChiSquareIsRejected) {
    Fit flat(test::linear(
                 {1, 2}, [](uint64_t, uint64_t) { return 0.0; }, 1),
             1);
    flat.lsq.max_tries = 2;
    expect_success(flat.start({3}));
    expect_success(sarvo_lsq_iterate(&flat.lsq));
    EXPECT_EQ(flat.lsq.tries, 2u);
    EXPECT_EQ(flat.lsq.nullity, 1u) << "alpha is the zero matrix: the step is the least one, 0";
    EXPECT_EQ(flat.x(), (Doubles{3}));
}

TEST_F(Iterate, RefusesInOrder) {
    expect_error(sarvo_lsq_iterate(nullptr), SarvoNullEC, {"Input structure is not initialized"});
    fit.lsq.method = 2;
    expect_error(sarvo_lsq_iterate(&fit.lsq), SarvoLsqInvalidSetupEC, {"Invalid setup of LS"});
    fit.lsq.method = 1;
    expect_error(sarvo_lsq_iterate(&fit.lsq), SarvoLsqInitEC, {"LS iteration has not been initialized."});
    expect_success(fit.start({1, 0}));
    fit.lsq.model = nullptr;
    expect_error(sarvo_lsq_iterate(&fit.lsq), SarvoLsqInvalidSetupEC, {"Invalid setup of LS"});
}

TEST_F(Iterate, AModelOfNaNDerivativesEndsWithTheDecompositionsError) {
    fit.problem.f = [](const double *x, uint64_t, double *d) {
        d[0] = d[1] = NAN;
        return x[0];
    };
    expect_success(fit.start({1, 0}));
    const std::string before = test::bytes(fit.lsq.x) + test::bytes(fit.lsq.r);
    expect_error(sarvo_lsq_minimize(5, nullptr, nullptr, &fit.lsq), SarvoNrIterEC,
                 {minimise_text, "Cannot do SVD", "No convergence in 30 iterations"});
    EXPECT_EQ(test::bytes(fit.lsq.x) + test::bytes(fit.lsq.r), before);
}

TEST_F(Iterate, MoreParametersThanDataAreDamped) {
    const auto basis = [](uint64_t i, uint64_t j) { return static_cast<double>((i + 1) * (j + 1) + i * i); };
    Fit wide(test::linear({3, 7}, basis, 4), 4);
    expect_success(wide.start({0, 0, 0, 0}));
    expect_success(sarvo_lsq_minimize(200, nullptr, nullptr, &wide.lsq));
    EXPECT_LT(wide.lsq.chisq, 1e-10);
    sarvo_matrix *covar = nullptr;
    expect_success(sarvo_lsq_covar(&covar, &wide.lsq));
    EXPECT_EQ(wide.lsq.svd->rank, 2u);
    sarvo_matrix_free(covar);
}

// ---- Minimisation ----

TEST_F(Iterate, MinimiseReportsEachIterationAndStopsAtConvergence) {
    expect_success(fit.start({1, 0}));
    fit.lsq.progress = nullptr;
    expect_success(sarvo_lsq_minimize(100, progress, nullptr, &fit.lsq));
    EXPECT_EQ(fit.lsq.progress, progress) << "kept in the record";
    ASSERT_GE(log.events.size(), 4u);
    EXPECT_EQ(log.events[0], "2:1");
    EXPECT_EQ(log.events[1], "1:0");
    EXPECT_EQ(log.events[3], "1:1");
    EXPECT_EQ(log.events.back().substr(0, 2), "1:") << "the last iteration is reported too";
    EXPECT_NE(fit.lsq.flags & (SARVO_LSQ_STEP_MET | SARVO_LSQ_GRAD_MET), 0u);
    EXPECT_GT(sarvo_lsq_convtest(&fit.lsq), 0);
    EXPECT_NEAR(fit.x()[0], 2.0, 0.02);
    EXPECT_NEAR(fit.x()[1], -0.9, 0.02);
}

TEST_F(Iterate, MinimiseHonoursItsLimitAndStoresWhatIsGiven) {
    expect_success(fit.start({1, 0}));
    fit.lsq.tolx = fit.lsq.tolg = 0;
    expect_success(sarvo_lsq_minimize(3, nullptr, nullptr, &fit.lsq));
    EXPECT_EQ(log.events, (std::vector<std::string>{"2:1", "1:0", "2:1", "1:1", "2:1", "1:2"}));
    test::Problem other = test::exponential();
    fit.lsq.progress = nullptr;
    const std::string before = test::state(fit.lsq);
    for (const int32_t limit : {0, -1, INT32_MIN}) {
        expect_success(sarvo_lsq_minimize(limit, progress, &other, &fit.lsq));
        EXPECT_EQ(test::state(fit.lsq), before);
        EXPECT_EQ(fit.lsq.progress, progress);
        EXPECT_EQ(fit.lsq.user_data, &other);
    }
    expect_success(sarvo_lsq_minimize(1, nullptr, nullptr, &fit.lsq));
    EXPECT_EQ(other.calls, 2) << "null keeps the callback and the user data";
    expect_error(sarvo_lsq_minimize(1, nullptr, nullptr, nullptr), SarvoNullEC,
                 {minimise_text, "Input structure is not initialized"});
    sarvo_lsq bare;
    expect_success(sarvo_lsq_init_default(&bare));
    expect_error(sarvo_lsq_minimize(1, nullptr, nullptr, &bare), SarvoLsqInitEC,
                 {minimise_text, "LS iteration has not been initialized."});
    expect_success(sarvo_lsq_minimize(0, nullptr, nullptr, &bare));
}

// ---- Failing callbacks ----

std::string undisturbed_fit() {
    Fit fit(test::exponential(), 2);
    expect_success(fit.start({1, 0}));
    expect_success(sarvo_lsq_minimize(100, nullptr, nullptr, &fit.lsq));
    return test::state(fit.lsq);
}

// After the failure x and r are those of the last accepted state, and a new start gives the undisturbed fit, bit for
// bit.
void expect_usable(Fit &fit, const std::string &where) {
    EXPECT_TRUE(fit.lsq.flags & SARVO_LSQ_INITIALISED) << where;
    double chisq = 0.0;
    for (const double r : fit.r()) chisq = chisq + r * r;
    EXPECT_EQ(bits(chisq), bits(fit.lsq.chisq)) << where << ": r does not belong to chi square";
    Doubles derivatives(2);
    for (uint64_t i = 0; i < 10; i++)
        EXPECT_EQ(fit.r()[i], fit.problem.y[i] - fit.problem.f(fit.x().data(), i, derivatives.data())) << where;
    fit.lsq.progress = nullptr;
    fit.lsq.restore = nullptr;
    fit.problem.fails_at = 0;
    fit.problem.returns_nan = nullptr;
    expect_success(fit.start({1, 0}));
    expect_success(sarvo_lsq_minimize(100, nullptr, nullptr, &fit.lsq));
    EXPECT_EQ(test::state(fit.lsq), undisturbed_fit()) << where;
}

TEST_F(Iterate, AModelFailingAtAnyCallIsPassedOnAndTheRecordUsable) {
    int failures = 0;
    for (int call = 2;; call++, failures++) {
        Fit failing(test::exponential(), 2);
        expect_success(failing.start({1, 0}));
        failing.problem.fails_at = call;
        failing.problem.returns_nan = [](int k) { return k == 5 || k == 6; };
        const int64_t live = test::memory::live_blocks();
        const sarko_error_t e = sarvo_lsq_minimize(100, nullptr, nullptr, &failing.lsq);
        if (!e) break;
        expect_error(e, 0, {minimise_text, "model failed"});
        EXPECT_LE(test::memory::live_blocks(), live + 8) << "no more than the decomposition's U, V and w";
        expect_usable(failing, "model call " + std::to_string(call));
    }
    EXPECT_GT(failures, 8);
}

TEST_F(Iterate, CallbacksFailingAtAnyCallArePassedOnAndTheRecordUsable) {
    int by_progress = 0, by_restore = 0;
    for (int call = 1;; call++) {
        Fit failing(test::exponential(), 2);
        log = {};
        log.fails_at = call;
        failing.lsq.progress = progress;
        failing.lsq.restore = restore;
        failing.problem.returns_nan = [](int k) { return k == 5 || k == 6; };
        expect_success(failing.start({1, 0}));
        const sarko_error_t e = sarvo_lsq_minimize(100, nullptr, nullptr, &failing.lsq);
        if (!e) break;
        const bool restoring = log.events.back() == "restore";
        expect_error(e, 0, {minimise_text, restoring ? "restore failed" : "progress failed"});
        (restoring ? by_restore : by_progress)++;
        expect_usable(failing, "callback call " + std::to_string(call));
    }
    EXPECT_EQ(by_restore, 2);
    EXPECT_GT(by_progress, 8);
}

// ---- Convergence test ----

void fill(sarvo_vector *v, const Doubles &given) {
    for (uint64_t i = 0; i < v->length; i++) at(v, i) = given[i];
}

TEST(Convergence, FiguresFollowTheirFormulas) {
    test::Random random(11);
    for (int round = 0; round < 200; round++) {
        const uint32_t n = 1 + static_cast<uint32_t>(random.below(5));
        Fit fit(test::linear(
                    {0}, [](uint64_t, uint64_t) { return 1.0; }, n),
                n);
        expect_success(fit.start(Doubles(n, 0.0)));
        Doubles x(n), step(n), beta(n);
        for (uint32_t i = 0; i < n; i++) {
            x[i] = 3 * random.symmetric();
            step[i] = random.symmetric() * (round % 2 ? 1e-3 : 1.0);
            beta[i] = random.symmetric() * (round % 3 ? 1e-3 : 1.0);
        }
        fill(fit.lsq.x, x);
        fill(fit.lsq.step, step);
        fill(fit.lsq.beta, beta);
        fit.lsq.chisq = round % 5 ? random.uniform() * 3 : 1e6;
        fit.lsq.tolx = 0.1 * random.uniform();
        fit.lsq.tolg = 0.1 * random.uniform();
        double step_max = 0, step_squares = 0, grad_max = 0, grad_squares = 0;
        bool step_met = true;
        for (uint32_t i = 0; i < n; i++) {
            const double s = fabs(step[i]) / (fabs(x[i]) + fit.lsq.tolx);
            const double g = 2 * beta[i] * fmax(fabs(x[i]), 1);
            step_met = step_met && s <= fit.lsq.tolx;
            step_max = fmax(step_max, s);
            grad_max = fmax(grad_max, fabs(g));
            step_squares += s * s;
            grad_squares += g * g;
        }
        const double scale = fmax(fit.lsq.chisq, 1);
        const bool grad_met = grad_max / scale <= fit.lsq.tolg;
        fit.lsq.flags |= SARVO_LSQ_STEP_MET | SARVO_LSQ_GRAD_MET;
        EXPECT_EQ(sarvo_lsq_convtest(&fit.lsq), step_met + grad_met);
        EXPECT_EQ((fit.lsq.flags & SARVO_LSQ_STEP_MET) != 0, step_met);
        EXPECT_EQ((fit.lsq.flags & SARVO_LSQ_GRAD_MET) != 0, grad_met);
        EXPECT_EQ(fit.lsq.step_max, step_max);
        EXPECT_EQ(fit.lsq.step_rms, sqrt(step_squares / n));
        EXPECT_EQ(fit.lsq.grad_max, grad_max / scale);
        EXPECT_EQ(fit.lsq.grad_rms, sqrt(grad_squares / n) / scale);
    }
}

TEST(Convergence, BoundsAreInclusive) {
    Fit fit(test::linear(
                {0}, [](uint64_t, uint64_t) { return 1.0; }, 1),
            1);
    expect_success(fit.start({1.0}));
    fit.lsq.tolx = 0.5;
    fill(fit.lsq.step, {0.75}); // 0.75 / (1 + 0.5) = tolx
    fill(fit.lsq.beta, {0.25});
    fit.lsq.tolg = 0.5;
    EXPECT_EQ(sarvo_lsq_convtest(&fit.lsq), 2);
    fit.lsq.tolg = 0x1.fffffffffffffp-2;
    EXPECT_EQ(sarvo_lsq_convtest(&fit.lsq), 1);
    fill(fit.lsq.step, {nextafter(0.75, 1)});
    EXPECT_EQ(sarvo_lsq_convtest(&fit.lsq), 0);
}

TEST(Convergence, NaNNeverCountsAsMet) {
    struct Case {
        Doubles x, step, beta;
        double chisq;
        int32_t met;
    };
    const Case cases[] = {{{1, 1}, {0, 0}, {0, 0}, 1, 2},   {{1, 1}, {NAN, 0}, {0, 0}, 1, 1},
                          {{1, 1}, {0, NAN}, {0, 0}, 1, 1}, {{1, 1}, {0, 0}, {NAN, 0}, 1, 1},
                          {{1, 1}, {0, 0}, {0, NAN}, 1, 1}, {{NAN, 1}, {0, 0}, {0, 0}, 1, 0},
                          {{1, 1}, {0, 0}, {0, 0}, NAN, 1}, {{1, NAN}, {0, 0}, {0, 0}, NAN, 0}};
    Fit fit(test::linear(
                {0}, [](uint64_t, uint64_t) { return 1.0; }, 2),
            2);
    expect_success(fit.start({1.0, 1.0}));
    for (const Case &c : cases) {
        fill(fit.lsq.x, c.x);
        fill(fit.lsq.step, c.step);
        fill(fit.lsq.beta, c.beta);
        fit.lsq.chisq = c.chisq;
        EXPECT_EQ(sarvo_lsq_convtest(&fit.lsq), c.met);
    }
}

TEST(Convergence, NoParametersMeetBothAndNothingToJudgeMeetsNone) {
    Fit none(test::exponential(), 0);
    none.problem.f = [](const double *, uint64_t, double *) { return 1.0; };
    EXPECT_EQ(sarvo_lsq_convtest(&none.lsq), 0) << "not started yet";
    expect_success(none.start({}));
    EXPECT_EQ(sarvo_lsq_convtest(&none.lsq), 2);
    EXPECT_TRUE(isnan(none.lsq.step_rms));
    EXPECT_TRUE(isnan(none.lsq.grad_rms));
    EXPECT_EQ(none.lsq.step_max, 0.0);
    EXPECT_EQ(sarvo_lsq_convtest(nullptr), 0);
    sarvo_lsq bare;
    expect_success(sarvo_lsq_init_default(&bare));
    EXPECT_EQ(sarvo_lsq_convtest(&bare), 0);
    Fit fit(test::exponential(), 2);
    EXPECT_EQ(sarvo_lsq_convtest(&fit.lsq), 0) << "no parameters have been given yet";
}

} // namespace
