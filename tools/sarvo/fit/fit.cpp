// The fit: problem set-up, the iteration with its reasons to stop, and the statistics of the result.
#include "fit/fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include <sarvo/rnd.h>

#include "elementary.h"
#include "formula/parser.h"
#include "library.h"
#include "line/suggest.h"
#include "numbers.h"
#include "stopwatch.h"

namespace command {
namespace {

// Where a descent counts as having arrived: the largest share of the residual that a further step could explain (Bates
// and Watts 1981 call its root the relative offset and find 1e-3 enough).
constexpr double arrived = 1e-4;

// Sum of squares below which a fit is exact but for rounding, relative to that of the left side.
constexpr double exact = 1e-28;

struct Problem {
    const Table &table;
    formula::Model model;
    std::vector<double> observed; // the left side
    const std::vector<double> *weights = nullptr;
    size_t parameters;
    formula::Tape::Work work;

    double weight(size_t i) const { return weights ? (*weights)[i] : 1.0; }
    double modelled(const double *x, size_t i, double *gradient) {
        return model.right.evaluate(table.columns, i, {x, parameters}, gradient, work);
    }
};

// The model callback: residuals, data minus model, and derivatives of the model.
sarko_error_t evaluate(const sarvo_vector *x, sarvo_vector *r, sarvo_matrix *J, void *user) {
    Problem &problem = *static_cast<Problem *>(user);
    for (size_t i = 0; i < problem.observed.size(); i++)
        elements(r)[i] = problem.observed[i] - problem.modelled(elements(x), i, J ? row(J, i) : nullptr);
    return 0;
}

std::string row_name(const Table &table, size_t i) {
    return "row " + std::to_string(i + 1) + " (" + table.source + ":" + std::to_string(table.lines[i]) + ")";
}

Problem make_problem(const Table &table, const FitOptions &options) {
    std::vector<std::string> names;
    for (const auto &[name, value] : options.start) {
        if (table.find(name))
            throw usage_error("'" + name + "' is a column of " + table.source + " and cannot be a parameter");
        for (const std::string &other : names)
            if (other == name) throw usage_error("parameter '" + name + "' has two starts");
        if (!std::isfinite(value)) throw usage_error("the start of '" + name + "' is not finite");
        names.push_back(name);
    }
    Problem problem{table, formula::parse_model(options.formula, table, names), {}, nullptr, names.size(), {}};
    if (names.empty()) throw usage_error("there is nothing to fit: give the parameters with --start name=value,...");
    for (size_t p = 0; p < names.size(); p++) {
        bool used = false;
        for (size_t i = 0; i < problem.model.right.size(); i++) {
            const formula::Step &s = problem.model.right.step(i);
            used = used || (s.op == formula::Op::parameter && s.left == p);
        }
        if (!used) throw usage_error("parameter '" + names[p] + "' does not occur in the formula");
    }
    if (table.rows() < names.size())
        throw usage_error(std::to_string(names.size()) + " parameters cannot be fitted to " +
                          std::to_string(table.rows()) + " rows of " + table.source);
    problem.work = problem.model.right.work(names.size());
    formula::Tape::Work left_work = problem.model.left.work(0);
    for (size_t i = 0; i < table.rows(); i++) {
        problem.observed.push_back(problem.model.left.evaluate(table.columns, i, {}, nullptr, left_work));
        if (!std::isfinite(problem.observed.back()))
            throw usage_error("the left side of the formula is not finite in " + row_name(table, i));
    }
    if (!options.weights.empty()) {
        const auto column = table.find(options.weights);
        if (!column)
            throw usage_error("there is no column '" + options.weights + "' for the weights." +
                              suggestion(options.weights, table.names));
        problem.weights = &table.columns[*column];
        for (size_t i = 0; i < table.rows(); i++)
            if (!(problem.weight(i) >= 0.0)) throw usage_error("the weight is negative in " + row_name(table, i));
    }
    return problem;
}

void require_finite_start(Problem &problem, const sarvo_vector *start) {
    std::vector<double> gradient(problem.parameters);
    for (size_t i = 0; i < problem.observed.size(); i++) {
        bool finite = std::isfinite(problem.modelled(elements(start), i, gradient.data()));
        for (const double g : gradient) finite = finite && std::isfinite(g);
        if (!finite)
            throw usage_error("at the start the formula or a derivative is not finite in " +
                              row_name(problem.table, i) + ": give another --start");
    }
}

// A least-squares record that frees its objects.
struct Record {
    sarvo_lsq lsq;
    Record() { check(sarvo_lsq_init_default(&lsq)); }
    ~Record() {
        sarvo_lsq_free(&lsq);
        sarvo_terminate();
    }
    Record(const Record &) = delete;
};

// What the undamped step would still take off chi square: beta' alpha^-1 beta.
double possible_reduction(sarvo_lsq &lsq) {
    const Svd svd = make_svd();
    svd->thresh = 0.0;
    check(sarvo_nr_svd_decompose(lsq.alpha, 0, 0, lsq.npar, lsq.npar, svd.get()));
    sarvo_vector *step = nullptr;
    check(sarvo_nr_svd_vsolve(svd.get(), lsq.beta, &step));
    const Vector owner(step);
    double reduction = 0.0;
    check(sarvo_vv_inprod(lsq.beta, step, 0, 0, 0, &reduction));
    return std::fabs(reduction);
}

// Whether the descent has arrived. Either the root of the share of chi square that could still be explained, per degree
// of freedom, sqrt((reduction / p) / (chi^2 / max(n - p, 1))), is small; or the reduction is less than what rounding
// changes in chi square: residuals are differences of numbers of the size of the data, so each is wrong by some eps of
// that, and chi^2 = |r|^2 by some eps |r| |y|.
bool has_arrived(sarvo_lsq &lsq, double size) {
    constexpr double eps = std::numeric_limits<double>::epsilon();
    const double reduction = possible_reduction(lsq);
    const double freedom = lsq.ndata > lsq.npar ? lsq.ndata - lsq.npar : 1.0;
    return elementary::sqrt(reduction / lsq.npar / (lsq.chisq / freedom)) <= arrived ||
           reduction <= 4.0 * eps * elementary::sqrt(lsq.chisq * size);
}

// Weighted sum of squares of the left side.
double size_of_data(const Problem &problem) {
    double size = 0.0;
    for (size_t i = 0; i < problem.observed.size(); i++)
        size += problem.weight(i) * problem.observed[i] * problem.observed[i];
    return size;
}

// Iterates until a reason to stop is found; fills iterations, converged and reason.
void iterate(const Problem &problem, sarvo_lsq &lsq, int limit,
             const std::function<void(const FitIteration &)> &progress, FitResult &result) {
    const double size = size_of_data(problem);
    for (int k = 1; k <= limit; k++) {
        const double before = lsq.chisq;
        check(sarvo_lsq_iterate(&lsq));
        result.iterations = k;
        const bool accepted = lsq.chisq < before;
        const int met = sarvo_lsq_convtest(&lsq);
        if (progress) progress({k, lsq.chisq, lsq.lambda, lsq.gain, lsq.tries, accepted});
        result.converged = true;
        if (lsq.chisq <= exact * size) {
            result.reason = "the model meets the data exactly";
            return;
        }
        if (met > 0 || !accepted) {
            const bool there = has_arrived(lsq, size);
            if (there && accepted) {
                result.reason = (lsq.flags & SARVO_LSQ_STEP_MET) ? "the step is within tolerance"
                                                                 : "the gradient is within tolerance";
                return;
            }
            if (there) {
                result.reason = "chi square cannot be lowered any further";
                return;
            }
            if (!accepted) {
                result.converged = false;
                result.reason = "no step lowers chi square, though this is no minimum";
                return;
            }
        }
    }
    result.converged = false;
    result.reason = "the limit of " + std::to_string(limit) + " iterations was reached";
}

// The weighted Jacobian at x, columns scaled to length 1, and its decomposition U diag(w) V'.
struct Linearisation {
    std::vector<double> length; // of the columns before they were scaled
    Svd svd;                    // none when a derivative is not finite

    Linearisation(Problem &problem, const std::vector<double> &x) : length(x.size()) {
        const size_t rows = problem.observed.size();
        const Matrix J = make_matrix(rows, x.size());
        for (size_t i = 0; i < rows; i++) {
            problem.modelled(x.data(), i, row(J.get(), i));
            const double root = elementary::sqrt(problem.weight(i));
            for (size_t p = 0; p < x.size(); p++) {
                row(J.get(), i)[p] *= root;
                length[p] += row(J.get(), i)[p] * row(J.get(), i)[p];
            }
        }
        for (double &l : length) {
            if (!std::isfinite(l)) return;
            l = l > 0.0 ? elementary::sqrt(l) : 1.0;
        }
        for (size_t i = 0; i < rows; i++)
            for (size_t p = 0; p < x.size(); p++) row(J.get(), i)[p] /= length[p];
        svd = make_svd();
        check(sarvo_nr_svd_decompose(J.get(), 0, 0, rows, x.size(), svd.get()));
    }
};

double chi_square(Problem &problem, const std::vector<double> &x) {
    double sum = 0.0;
    for (size_t i = 0; i < problem.observed.size(); i++) {
        const double r = problem.observed[i] - problem.modelled(x.data(), i, nullptr);
        sum += problem.weight(i) * (r * r);
    }
    return sum;
}

// An undamped step from the minimum that the iteration found. Near it chi square is flat to its last bits and cannot
// lead any further, while the step still gains digits: it is solved from the Jacobian itself, not from its square.
void refine(Problem &problem, FitResult &result) {
    const Linearisation at(problem, result.estimates);
    if (!at.svd || at.svd->nullity > 0) return;
    const Vector residuals = make_vector(problem.observed.size());
    for (size_t i = 0; i < problem.observed.size(); i++)
        elements(residuals.get())[i] = elementary::sqrt(problem.weight(i)) *
                                       (problem.observed[i] - problem.modelled(result.estimates.data(), i, nullptr));
    sarvo_vector *step = nullptr;
    check(sarvo_nr_svd_vsolve(at.svd.get(), residuals.get(), &step));
    const Vector owner(step);
    std::vector<double> x = result.estimates;
    for (size_t p = 0; p < x.size(); p++) x[p] += elements(step)[p] / at.length[p];
    constexpr double flat = 1e-12; // chi square may differ by so much in its last bits
    const double after = chi_square(problem, x);
    if (!(after <= result.chi_square * (1.0 + flat))) return;
    result.estimates = x;
    result.chi_square = after;
}

// The parameters that the data leave open at the result: those with a share in a direction along which the model does not
// change, and those whose whole value changes it by less than rounding (a rate that has run away).
std::vector<std::string> undetermined(const Problem &problem, const FitOptions &options, const FitResult &result,
                                      const Linearisation &at) {
    const double size = size_of_data(problem);
    constexpr double share = 0.1, eps = std::numeric_limits<double>::epsilon();
    std::vector<std::string> names;
    for (size_t p = 0; p < result.names.size(); p++) {
        double open = 0.0;
        for (size_t k = 0; k < result.names.size(); k++)
            if (!(elements(at.svd->w)[k] > at.svd->thresh)) open = std::max(open, std::fabs(row(at.svd->V, p)[k]));
        const double extent = std::max({std::fabs(result.estimates[p]), std::fabs(options.start[p].second), 1.0});
        if (open > share || at.length[p] * extent <= eps * elementary::sqrt(size)) names.push_back(result.names[p]);
    }
    return names;
}

std::string listed(const std::vector<std::string> &names) {
    std::string text;
    for (size_t i = 0; i < names.size(); i++) text += (i == 0 ? "" : i + 1 < names.size() ? ", " : " and ") + names[i];
    return text;
}

// A state from which the model cannot be told from others is no result.
void refuse(FitResult &result, const std::string &why) {
    result.converged = false;
    result.reason = why;
    result.warning = "there are no standard errors. Try another --start, nearer to what the data show, or a model with "
                     "fewer parameters";
}

// Standard errors and correlations: (J'W J)^-1 = D^-1 V w^-2 V' D^-1, D the lengths of the columns.
void add_covariance(Problem &problem, const FitOptions &options, double variance, FitResult &result) {
    const size_t n = result.estimates.size();
    const Linearisation at(problem, result.estimates);
    result.standard_errors.assign(n, std::numeric_limits<double>::quiet_NaN());
    result.correlation.assign(n, std::vector<double>(n, std::numeric_limits<double>::quiet_NaN()));
    if (!at.svd) return refuse(result, "the derivatives are not finite here");
    result.condition = 1.0 / at.svd->rcond;
    const std::vector<std::string> open = undetermined(problem, options, result, at);
    if (at.svd->nullity > 0 || !open.empty())
        return refuse(result, "the data do not determine all parameters (rank " + std::to_string(at.svd->rank) +
                                  " of " + std::to_string(n) + ")" + (open.empty() ? "" : ": " + listed(open)));
    std::vector<std::vector<double>> inverse(n, std::vector<double>(n));
    for (size_t a = 0; a < n; a++)
        for (size_t b = 0; b < n; b++)
            for (size_t k = 0; k < n; k++) {
                const double w = elements(at.svd->w)[k];
                inverse[a][b] += row(at.svd->V, a)[k] / w * (row(at.svd->V, b)[k] / w);
            }
    for (size_t a = 0; a < n; a++) {
        result.standard_errors[a] = elementary::sqrt(variance * inverse[a][a]) / at.length[a];
        for (size_t b = 0; b < n; b++)
            result.correlation[a][b] = a == b ? 1.0 : inverse[a][b] / elementary::sqrt(inverse[a][a] * inverse[b][b]);
    }
}

void add_statistics(const Problem &problem, FitResult &result) {
    result.rows = problem.observed.size();
    result.degrees_of_freedom = static_cast<long>(result.rows) - static_cast<long>(problem.parameters);
    if (result.degrees_of_freedom > 0)
        result.residual_sd = elementary::sqrt(result.chi_square / static_cast<double>(result.degrees_of_freedom));
    double weights = 0.0, mean = 0.0, total = 0.0;
    for (size_t i = 0; i < result.rows; i++) {
        weights += problem.weight(i);
        mean += problem.weight(i) * problem.observed[i];
    }
    mean /= weights;
    for (size_t i = 0; i < result.rows; i++)
        total += problem.weight(i) * (problem.observed[i] - mean) * (problem.observed[i] - mean);
    if (total > 0.0) result.r_squared = 1.0 - result.chi_square / total;
}

// P(|T| >= |t|), the far tail with its own digits: twice Student's lower tail at -|t|, which is formed directly; the
// normal tail as that of chi square with one degree of freedom at t^2.
double two_sided_p(double t, long degrees_of_freedom, bool normal) {
    if (!std::isfinite(t)) return std::numeric_limits<double>::quiet_NaN();
    if (!normal) return 2.0 * sarvo_rnd_studentdf(static_cast<double>(degrees_of_freedom), -std::fabs(t));
    const double x = 0.5 * t * t;
    return x < 1.5 ? 1.0 - sarvo_rnd_gammadf_value(0.5, x) : sarvo_rnd_gammadf_fraction(0.5, x);
}

void add_significance(bool normal, FitResult &result) {
    for (size_t p = 0; p < result.estimates.size(); p++) {
        const double t = result.estimates[p] / result.standard_errors[p];
        result.t_values.push_back(t);
        result.p_values.push_back(two_sided_p(t, result.degrees_of_freedom, normal));
    }
}

} // namespace

FitResult fit(const Table &table, const FitOptions &options,
              const std::function<void(const FitIteration &)> &progress) {
    const Stopwatch watch;
    Problem problem = make_problem(table, options);
    Record record;
    sarvo_lsq &lsq = record.lsq;
    lsq.model = evaluate;
    lsq.user_data = &problem;
    lsq.tolx = options.step_tolerance;
    lsq.tolg = options.gradient_tolerance;
    const Vector start = make_vector(problem.parameters);
    for (size_t p = 0; p < problem.parameters; p++) elements(start.get())[p] = options.start[p].second;
    require_finite_start(problem, start.get());

    check(sarvo_lsq_alloc(static_cast<uint32_t>(problem.parameters), static_cast<uint32_t>(table.rows()), &lsq));
    if (problem.weights) {
        const Vector weights = make_vector(table.rows());
        for (size_t i = 0; i < table.rows(); i++) elements(weights.get())[i] = problem.weight(i);
        check(sarvo_lsq_weight_vinit(weights.get(), &lsq));
    }
    check(sarvo_lsq_iterate_init(start.get(), &lsq));
    if (!std::isfinite(lsq.chisq)) throw usage_error("at the start the sum of squares overflows: give another --start");

    FitResult result;
    iterate(problem, lsq, options.max_iterations, progress, result);
    for (size_t p = 0; p < problem.parameters; p++) {
        result.names.push_back(options.start[p].first);
        result.estimates.push_back(elements(lsq.x)[p]);
    }
    result.chi_square = lsq.chisq;
    for (int step = 0; result.converged && step < 3; step++) refine(problem, result);
    add_statistics(problem, result);
    const double variance = options.known_variances ? 1.0
                            : result.residual_sd    ? *result.residual_sd * *result.residual_sd
                                                    : std::numeric_limits<double>::quiet_NaN();
    add_covariance(problem, options, variance, result);
    add_significance(options.known_variances, result);
    if (!options.known_variances && !result.residual_sd && result.warning.empty())
        result.warning = "as many parameters as rows: there are no standard errors";
    result.seconds = watch.seconds();
    return result;
}

} // namespace command
