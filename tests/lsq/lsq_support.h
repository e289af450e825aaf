// A small fit for the least-squares tests: y = x0 exp(x1 t) with a model that can fail or return NaN at a chosen call.
#pragma once

#include <sarvo/lsq.h>

#include <math.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "test_support.h"

namespace test {

using Doubles = std::vector<double>;

inline Doubles values(const sarvo_vector *v) {
    const double *data = static_cast<const double *>(v->data);
    return data ? Doubles(data, data + v->length) : Doubles();
}

inline Doubles values(const sarvo_matrix *m) {
    const double *data = static_cast<const double *>(m->data);
    return data ? Doubles(data, data + m->rows * m->cols) : Doubles();
}

// What the model does; calls are counted from 1.
struct Problem {
    Doubles y;
    std::function<double(const double *x, uint64_t i, double *derivatives)> f;
    int calls = 0;
    int fails_at = 0;                     // that call returns an error
    std::function<bool(int)> returns_nan; // calls whose residuals are NaN
};

inline sarko_error_t model(const sarvo_vector *x, sarvo_vector *r, sarvo_matrix *J, void *user_data) {
    Problem &problem = *static_cast<Problem *>(user_data);
    problem.calls++;
    const bool nan = problem.returns_nan && problem.returns_nan(problem.calls);
    Doubles derivatives(x->length);
    for (uint64_t i = 0; i < r->length; i++) {
        const double f = problem.f(static_cast<const double *>(x->data), i, derivatives.data());
        at(r, i) = nan ? std::numeric_limits<double>::quiet_NaN() : problem.y[i] - f;
        for (uint64_t j = 0; J && j < x->length; j++) at(J, i, j) = derivatives[j];
    }
    if (problem.calls == problem.fails_at) return sarko_error_create_i(0, 0, 0, 0, 0, 0, "model failed");
    return 0;
}

inline Problem exponential() {
    Problem problem;
    problem.f = [](const double *x, uint64_t i, double *d) {
        const double t = 0.3 * static_cast<double>(i), e = exp(x[1] * t);
        d[0] = e;
        d[1] = x[0] * t * e;
        return x[0] * e;
    };
    for (int i = 0; i < 10; i++) problem.y.push_back(2.0 * exp(-0.9 * 0.3 * i) + (i % 3 - 1) * 0.01);
    return problem;
}

// f = sum_j x_j basis(i, j)
inline Problem linear(const Doubles &y, const std::function<double(uint64_t i, uint64_t j)> &basis, uint64_t npar) {
    Problem problem;
    problem.y = y;
    problem.f = [=](const double *x, uint64_t i, double *d) {
        double sum = 0;
        for (uint64_t j = 0; j < npar; j++) {
            d[j] = basis(i, j);
            sum += x[j] * d[j];
        }
        return sum;
    };
    return problem;
}

// A record set up for a problem, from defaults to storage.
struct Fit {
    sarvo_lsq lsq;
    Problem problem;

    Fit(Problem given, uint32_t npar) : problem(std::move(given)) {
        expect_success(sarvo_lsq_init_default(&lsq));
        lsq.model = model;
        lsq.user_data = &problem;
        expect_success(sarvo_lsq_alloc(npar, static_cast<uint32_t>(problem.y.size()), &lsq));
    }
    Fit(const Fit &) = delete;
    ~Fit() { sarvo_lsq_free(&lsq); }

    sarko_error_t start(const Doubles &x0) {
        sarvo_vector *v = vector_of(x0);
        const sarko_error_t e = sarvo_lsq_iterate_init(v, &lsq);
        sarvo_vector_free(v);
        return e;
    }
    sarko_error_t weigh(const Doubles &w) {
        sarvo_vector *v = vector_of(w);
        const sarko_error_t e = sarvo_lsq_weight_vinit(v, &lsq);
        sarvo_vector_free(v);
        return e;
    }
    sarko_error_t weigh_by_matrix(const Doubles &W) {
        sarvo_matrix *m = matrix_of(lsq.ndata, lsq.ndata, W);
        const sarko_error_t e = sarvo_lsq_weight_minit(m, &lsq);
        sarvo_matrix_free(m);
        return e;
    }
    Doubles x() const { return values(lsq.x); }
    Doubles r() const { return values(lsq.r); }
};

// Everything that a fit leaves, as bytes.
inline std::string state(const sarvo_lsq &lsq) {
    const double numbers[] = {lsq.chisq, lsq.chisq_trial, lsq.lambda, lsq.gain, lsq.rcond};
    return bytes(lsq.x) + bytes(lsq.r) + bytes(lsq.step) + bytes(lsq.beta) + bytes(lsq.alpha) +
           bytes(numbers, sizeof numbers);
}

// The same of a record whose objects may be missing.
inline std::string state_or_null(const sarvo_lsq &lsq) {
    std::string all;
    for (const sarvo_vector *v : {lsq.x, lsq.r, lsq.step, lsq.beta}) all += v ? bytes(v) : "null";
    for (const sarvo_matrix *m : {lsq.alpha, lsq.J}) all += m ? bytes(m) : "null";
    const double numbers[] = {lsq.chisq,    lsq.chisq_trial, lsq.lambda,   lsq.gain,
                              lsq.step_max, lsq.step_rms,    lsq.grad_max, lsq.grad_rms};
    return all + bytes(numbers, sizeof numbers);
}

} // namespace test
