// The iteration: damped Gauss-Newton steps (Levenberg 1944, Marquardt 1963), their acceptance, and the convergence
// test.
#include <sarvo/lsq.h>

#include "array/dtype.h"
#include "normal.h"

using sarvo::fail;
using sarvo::wrap;
using namespace sarvo::lsq;

namespace {

constexpr double first_lambda = 0.01;

// Storage allocated, iteration initialised, and the objects of the present problem's lengths: neither bit is cleared
// when the problem gets another size.
bool is_initialised(const sarvo_lsq &lsq) {
    constexpr uint32_t both = SARVO_LSQ_ALLOCATED | SARVO_LSQ_INITIALISED;
    const uint64_t npar = lsq.npar, ndata = lsq.ndata;
    return (lsq.flags & both) == both && holds(lsq.x, npar) && holds(lsq.step, npar) && holds(lsq.beta, npar) &&
           holds(lsq.r, ndata) && holds(lsq.J, ndata, npar) && holds(lsq.alpha, npar, npar) && lsq.svd;
}

sarko_error_t start(const sarvo_vector *x0, sarvo_lsq *lsq) {
    if (!x0 || !lsq) return fail(SarvoNullEC);
    if (!(lsq->flags & SARVO_LSQ_ALLOCATED)) return fail(SarvoLsqInitEC);
    if (sarko_error_t e = check_setup(*lsq)) return e;
    if (x0->dtype != SARVO_DOUBLE) return sarvo::fail_invalid_dtype(x0->dtype);
    if (x0->length != lsq->npar) return fail(SarvoSizeEC);

    lsq->flags &= ~static_cast<uint32_t>(SARVO_LSQ_INITIALISED);
    Workspace work;
    if (sarko_error_t e = work.allocate(*lsq)) return e;
    if (sarko_error_t e = sarvo_vector_realloc(&lsq->x, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, lsq->npar)) return e;
    if (sarko_error_t e = sarvo_vector_copy(x0, 0, 0, &lsq->x, 0)) return e;
    if (sarko_error_t e = evaluate(*lsq, work, &lsq->chisq)) return e;
    if (lsq->method == 1) lsq->lambda = first_lambda;
    lsq->flags |= SARVO_LSQ_INITIALISED;
    return 0;
}

// J, alpha and beta at x. The model rewrites r, which is the accepted one again when it fails.
sarko_error_t linearise(sarvo_lsq &lsq, Workspace &work) {
    work.save(lsq);
    if (sarko_error_t e = lsq.model(lsq.x, lsq.r, lsq.J, lsq.user_data)) {
        work.restore(lsq);
        return e;
    }
    work.save(lsq);
    form_normal_equations(lsq, work);
    return 0;
}

// step = alpha^-1 beta through the decomposition, alpha being the damped matrix. Nothing of it is cut off, whatever
// threshold a covariance has left.
sarko_error_t solve(sarvo_lsq &lsq) {
    lsq.svd->thresh = 0.0;
    if (sarko_error_t e = sarvo_nr_svd_decompose(lsq.alpha, 0, 0, lsq.npar, lsq.npar, lsq.svd)) return e;
    if (sarko_error_t e = sarvo_nr_svd_reorder(lsq.svd)) return e;
    lsq.rcond = lsq.svd->rcond;
    lsq.nullity = lsq.svd->nullity;
    return sarvo_nr_svd_vsolve(lsq.svd, lsq.beta, &lsq.step);
}

// x = x + step, r and chi square there.
sarko_error_t take_step(sarvo_lsq &lsq, const Workspace &work) {
    if (sarko_error_t e = solve(lsq)) return e;
    if (sarko_error_t e = sarvo_vv_add(lsq.x, lsq.step, &lsq.x)) return e;
    return evaluate(lsq, work, &lsq.chisq_trial);
}

// Predicted reduction of chi square: sum_i step(i) (lambda D(i) step(i) + beta(i)), D the undamped diagonal of alpha.
double predicted_reduction(const sarvo_lsq &lsq) {
    const double *alpha = elements(lsq.alpha);
    const double *beta = elements(lsq.beta);
    const double *step = elements(lsq.step);
    double sum = 0.0;
    for (uint64_t i = 0; i < lsq.npar; i++) sum += step[i] * (lsq.lambda * alpha[i * lsq.npar + i] * step[i] + beta[i]);
    return sum;
}

// One trial step with the present damping. The diagonal is divided back also when the trial fails.
sarko_error_t try_step(sarvo_lsq &lsq, const Workspace &work) {
    const double damping = 1.0 + lsq.lambda;
    double *alpha = elements(lsq.alpha);
    const uint64_t npar = lsq.npar;
    for (uint64_t i = 0; i < npar; i++) alpha[i * npar + i] = alpha[i * npar + i] * damping;
    const sarko_error_t e = take_step(lsq, work);
    for (uint64_t i = 0; i < npar; i++) alpha[i * npar + i] = alpha[i * npar + i] / damping;
    if (e) return e;
    lsq.gain = (lsq.chisq - lsq.chisq_trial) / predicted_reduction(lsq);
    return 0;
}

// A trial and its verdict: x and r are those of the trial when it is accepted, else those before it.
sarko_error_t attempt(sarvo_lsq &lsq, const Workspace &work, bool *accepted) {
    sarko_error_t e = try_step(lsq, work);
    if (!e && lsq.progress) e = lsq.progress(2, static_cast<int32_t>(lsq.tries), lsq.user_data, &lsq);
    *accepted = !e && lsq.chisq_trial < lsq.chisq; // false for NaN
    if (*accepted) {
        lsq.chisq = lsq.chisq_trial;
        lsq.lambda = lsq.lambda / lsq.down_factor;
        return 0;
    }
    work.restore(lsq);
    if (e) return e;
    if (lsq.restore) {
        if (sarko_error_t restore_error = lsq.restore(lsq.x, lsq.step, lsq.user_data)) return restore_error;
    }
    lsq.lambda = lsq.lambda * lsq.up_factor;
    return 0;
}

sarko_error_t minimise(int32_t max_iterations, sarvo_lsq_progress progress, void *user_data, sarvo_lsq *lsq) {
    if (!lsq) return fail(SarvoNullEC);
    if (progress) lsq->progress = progress;
    if (user_data) lsq->user_data = user_data;
    for (int32_t k = 0; k < max_iterations; k++) {
        if (sarko_error_t e = sarvo_lsq_iterate(lsq)) return e;
        const int32_t criteria_met = sarvo_lsq_convtest(lsq);
        if (lsq->progress) {
            if (sarko_error_t e = lsq->progress(1, k, lsq->user_data, lsq)) return e;
        }
        if (criteria_met != 0) return 0;
    }
    return 0;
}

// ---- Convergence ----

double magnitude(double x) { return __builtin_fabs(x); }
double at_least_one(double x) { return x < 1.0 ? 1.0 : x; } // a NaN stays

// Largest value, NaN if one is, and root mean square; of values that are not negative.
struct Extent {
    double largest = 0.0;
    double sum_of_squares = 0.0;

    void add(double value) {
        if (value > largest || value != value) largest = value;
        sum_of_squares += value * value;
    }
    double rms(uint32_t count) const { return __builtin_sqrt(sum_of_squares / static_cast<double>(count)); }
};

// s(i) = |step(i)| / (|x(i)| + tolx) <= tolx for all i.
bool step_is_small(sarvo_lsq &lsq) {
    Extent s;
    for (uint64_t i = 0; i < lsq.npar; i++)
        s.add(magnitude(elements(lsq.step)[i]) / (magnitude(elements(lsq.x)[i]) + lsq.tolx));
    lsq.step_max = s.largest;
    lsq.step_rms = s.rms(lsq.npar);
    return lsq.npar == 0 || s.largest <= lsq.tolx;
}

// g(i) = 2 beta(i) max(|x(i)|, 1), over max(chi square, 1): the largest magnitude <= tolg.
bool gradient_is_small(sarvo_lsq &lsq) {
    Extent g;
    for (uint64_t i = 0; i < lsq.npar; i++)
        g.add(magnitude(2.0 * elements(lsq.beta)[i] * at_least_one(magnitude(elements(lsq.x)[i]))));
    lsq.grad_max = g.largest / at_least_one(lsq.chisq);
    lsq.grad_rms = g.rms(lsq.npar) / at_least_one(lsq.chisq);
    return lsq.grad_max <= lsq.tolg;
}

} // namespace

extern "C" {

sarko_error_t sarvo_lsq_iterate_init(const sarvo_vector *x0, sarvo_lsq *lsq) {
    return wrap(start(x0, lsq), "Cannot init LS iteration.");
}

sarko_error_t sarvo_lsq_iterate(sarvo_lsq *lsq) {
    if (!lsq) return fail(SarvoNullEC);
    if (lsq->method != 1) return fail(SarvoLsqInvalidSetupEC);
    if (!is_initialised(*lsq)) return fail(SarvoLsqInitEC, "LS iteration has not been initialized.");
    if (sarko_error_t e = check_setup(*lsq)) return e;
    Workspace work;
    if (sarko_error_t e = work.allocate(*lsq)) return e;
    if (sarko_error_t e = linearise(*lsq, work)) return e;
    bool accepted = false;
    for (lsq->tries = 0; !accepted && lsq->tries < lsq->max_tries;) {
        lsq->tries++;
        if (sarko_error_t e = attempt(*lsq, work, &accepted)) return e;
    }
    return 0;
}

int32_t sarvo_lsq_convtest(sarvo_lsq *lsq) {
    if (!lsq) return 0;
    lsq->flags &= ~static_cast<uint32_t>(SARVO_LSQ_STEP_MET | SARVO_LSQ_GRAD_MET);
    if (!is_initialised(*lsq)) return 0; // nothing to judge
    const bool step_met = step_is_small(*lsq);
    const bool gradient_met = gradient_is_small(*lsq);
    if (step_met) lsq->flags |= SARVO_LSQ_STEP_MET;
    if (gradient_met) lsq->flags |= SARVO_LSQ_GRAD_MET;
    return static_cast<int32_t>(step_met) + static_cast<int32_t>(gradient_met);
}

sarko_error_t sarvo_lsq_minimize(int32_t max_iterations, sarvo_lsq_progress progress, void *user_data, sarvo_lsq *lsq) {
    return wrap(minimise(max_iterations, progress, user_data, lsq), "LS minimization error.");
}

} // extern "C"
