// Solving sparse linear systems by the library.
#include "solve/linear_system.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>

#include "library.h"
#include "matrix/dense.h"
#include "matrix/thin_svd.h"
#include "mh/sparse/ilut.h"
#include "numbers.h"
#include "solve/sparse_lu.h"

namespace command {
namespace {

using Doubles = std::vector<double>;

Sparse to_library(const MarketMatrix &m) {
    SPMAT *p = nullptr;
    check(sarvo_mh_sp_get(m.rows, m.cols, 1, &p));
    Sparse A(p);
    for (const auto &entry : m.entries) check(sarvo_mh_sp_set_val(p, entry.row, entry.col, entry.value));
    return A;
}

Sparse copy_of(const SPMAT *A) {
    SPMAT *p = nullptr;
    check(sarvo_mh_sp_copy(A, &p));
    return Sparse(p);
}

DenseVector to_library(const Doubles &values) {
    VEC *p = nullptr;
    check(sarvo_mh_v_get(values.size(), &p));
    DenseVector v(p);
    std::copy(values.begin(), values.end(), p->elems);
    return v;
}

Doubles product(const SPMAT *A, const Doubles &x, bool transposed = false) {
    VEC *out = nullptr;
    const DenseVector in = to_library(x);
    check(transposed ? sarvo_mh_sp_vm_mlt(A, in.get(), &out) : sarvo_mh_sp_mv_mlt(A, in.get(), &out));
    const DenseVector owner(out);
    return Doubles(out->elems, out->elems + out->dim);
}

double largest(const Doubles &x) {
    double most = 0.0;
    for (const double v : x) most = std::isnan(v) ? v : std::max(most, std::fabs(v));
    return most;
}

double length(const Doubles &x) {
    double sum = 0.0;
    for (const double v : x) sum += v * v;
    return std::sqrt(sum);
}

double row_norm(const SPMAT *A) { // infinity norm
    double most = 0.0;
    for (int32_t i = 0; i < A->m; i++) {
        double sum = 0.0;
        for (int32_t k = 0; k < A->row[i].len; k++) sum += std::fabs(A->row[i].elt[k].val);
        most = std::max(most, sum);
    }
    return most;
}

double column_norm(const SPMAT *A) { // 1-norm
    Doubles sums(static_cast<size_t>(A->n));
    for (int32_t i = 0; i < A->m; i++)
        for (int32_t k = 0; k < A->row[i].len; k++)
            sums[static_cast<size_t>(A->row[i].elt[k].col)] += std::fabs(A->row[i].elt[k].val);
    return largest(sums);
}

// What a solution is measured with: a matrix that multiplies.
struct System {
    size_t rows, cols;
    std::function<Doubles(const Doubles &x, bool transposed)> multiply;
    double norm1, norm_inf;
};

System system_of(const SPMAT *A) {
    return {static_cast<size_t>(A->m), static_cast<size_t>(A->n),
            [A](const Doubles &x, bool transposed) { return product(A, x, transposed); }, column_norm(A), row_norm(A)};
}

Doubles difference(const Doubles &b, const Doubles &Ax) {
    Doubles r = b;
    for (size_t i = 0; i < r.size(); i++) r[i] -= Ax[i];
    return r;
}

bool positive_diagonal(const SPMAT *A) {
    for (int32_t i = 0; i < A->n; i++) {
        double x = 0.0;
        check(sarvo_mh_sp_get_val(A, i, i, &x));
        if (!(x > 0.0)) return false;
    }
    return true;
}

bool symmetric(const SPMAT *A) {
    for (int32_t i = 0; i < A->m; i++)
        for (int32_t k = 0; k < A->row[i].len; k++) {
            double mirrored = 0.0;
            check(sarvo_mh_sp_get_val(A, A->row[i].elt[k].col, i, &mirrored));
            if (mirrored != A->row[i].elt[k].val) return false;
        }
    return true;
}

int64_t count_entries(const SPMAT *A) {
    int64_t count = 0;
    for (int32_t i = 0; i < A->m; i++) count += A->row[i].len;
    return count;
}

// P A P' = L L'.
class Cholesky {
public:
    Cholesky(const SPMAT *A, const std::string &order) {
        const int32_t method = order == "natural" ? 0 : order == "rcm" ? 1 : 2;
        PERM *p = nullptr;
        check(sarvo_mh_sp_order(A, method, &p));
        order_.reset(p);
        SPMAT *F = nullptr;
        check(sarvo_mh_sp_permute(A, p, p, &F));
        factor_.reset(F);
    }
    // False when the matrix is not positive definite.
    bool factorise() {
        const sarko_error_t e = sarvo_mh_spCHfactor(factor_.get());
        if (e && sarko_error_code(e) == SarvoMHPosdefEC) return sarko_error_clear(e), false;
        check(e);
        return true;
    }
    Doubles solve(const Doubles &b, bool) const { // A is its transpose
        Doubles ordered(b.size()), x(b.size());
        for (size_t i = 0; i < b.size(); i++) ordered[i] = b[order_->elems[i]];
        const DenseVector right = to_library(ordered);
        VEC *out = nullptr;
        const sarko_error_t e = sarvo_mh_spCHsolve(factor_.get(), right.get(), &out);
        const DenseVector owner(out);
        check(e);
        for (size_t i = 0; i < b.size(); i++) x[order_->elems[i]] = out->elems[i];
        return x;
    }
    int64_t entries() const { return count_entries(factor_.get()); }

private:
    Permutation order_;
    Sparse factor_;
};

// x from A x = b, or A' x = b.
using Solver = std::function<Doubles(const Doubles &b, bool transposed)>;

// |A^-1| in the 1-norm, from below (Hager, 1984; the second start by Higham, 1988).
double inverse_norm(const Solver &solve, size_t n) {
    Doubles x(n, 1.0 / static_cast<double>(n)), y;
    double estimate = 0.0;
    for (int round = 0; round < 5; round++) {
        y = solve(x, false);
        double sum = 0.0;
        Doubles signs(n);
        for (size_t i = 0; i < n; i++) {
            sum += std::fabs(y[i]);
            signs[i] = y[i] < 0.0 ? -1.0 : 1.0;
        }
        if (!(sum > estimate)) break;
        estimate = sum;
        const Doubles z = solve(signs, true);
        size_t next = 0;
        for (size_t i = 1; i < n; i++)
            if (std::fabs(z[i]) > std::fabs(z[next])) next = i;
        std::fill(x.begin(), x.end(), 0.0);
        x[next] = 1.0;
    }
    for (size_t i = 0; i < n; i++)
        x[i] = (i % 2 ? -1.0 : 1.0) * (1.0 + (n > 1 ? static_cast<double>(i) / static_cast<double>(n - 1) : 0.0));
    double sum = 0.0;
    for (const double v : solve(x, false)) sum += std::fabs(v);
    return std::max(estimate, 2.0 * sum / (3.0 * static_cast<double>(n)));
}

// |b - A x| / (|A| |x| + |b|).
double backward_error(const System &A, const Doubles &b, const Doubles &x) {
    const double residual = largest(difference(b, A.multiply(x, false)));
    return residual == 0.0 ? 0.0 : residual / (A.norm_inf * largest(x) + largest(b));
}

// x, and corrections while they halve the residual.
void solve_and_refine(const System &A, const Solver &solve, const Doubles &b, SolveResult &result) {
    result.x = solve(b, false);
    result.steps = 0;
    Doubles r = difference(b, A.multiply(result.x, false));
    while (result.steps < 5) {
        const Doubles correction = solve(r, false);
        Doubles better = result.x;
        for (size_t i = 0; i < better.size(); i++) better[i] += correction[i];
        Doubles after = difference(b, A.multiply(better, false));
        if (!(largest(after) < 0.5 * largest(r))) break;
        result.x = better;
        result.steps++;
        r = std::move(after);
    }
    result.converged = std::isfinite(largest(result.x));
    result.reason = result.converged ? "factored" : "the solution overflows";
}

// ---- Direct methods ----

// The factors of a sparse matrix, for all right-hand sides.
class Direct {
public:
    // Sets the method, order, entries and condition of the result.
    Direct(const SPMAT *A, const SolveOptions &options, const SolveObserver &observer, SolveResult &result)
        : A_(A), system_(system_of(A)), options_(options), observer_(observer) {
        if (result.method == "chol" && !cholesky(result)) {
            if (options.method != "auto")
                throw Failure(exit_numerical, "the matrix is not positive definite: --method lu solves it");
            result.method = "lu";
            result.choice = "square, not positive definite";
        }
        if (result.method == "lu") lu(options.threshold, result);
    }

    void solve(const Doubles &b, SolveResult &result) {
        phase("solution");
        solve_and_refine(system_, solver_, b, result);
        // Small pivots from the diagonal may have spoilt the factors, and the condition estimated by them.
        if (result.method != "lu" || options_.threshold > 0.0 || partial_pivoting_) return;
        const bool doubtful = result.steps > 2 || !(backward_error(system_, b, result.x) < 1e-13) ||
                              (result.condition && !(*result.condition < 1.0 / std::numeric_limits<double>::epsilon()));
        if (!doubtful) return;
        lu(1.0, result);
        solve_and_refine(system_, solver_, b, result);
    }

private:
    void phase(const char *what) const {
        if (observer_.phase) observer_.phase(what);
    }
    void measure(SolveResult &result) const {
        phase("condition");
        if (system_.cols > 0) result.condition = system_.norm1 * inverse_norm(solver_, system_.cols);
    }
    bool cholesky(SolveResult &result) {
        result.order = options_.order == "auto" ? "amd" : options_.order;
        phase("ordering");
        const auto factors = std::make_shared<Cholesky>(A_, result.order);
        phase("Cholesky factorisation");
        if (!factors->factorise()) return false;
        solver_ = [factors](const Doubles &b, bool transposed) { return factors->solve(b, transposed); };
        result.factor_entries = factors->entries();
        measure(result);
        return true;
    }
    void lu(double threshold, SolveResult &result) {
        phase("LU factorisation");
        partial_pivoting_ = threshold == 1.0;
        solver_ = nullptr; // before the new factors are made
        const auto factors = std::make_shared<SparseLu>(A_, options_.order, threshold);
        solver_ = [factors](const Doubles &b, bool transposed) { return factors->solve(b, transposed); };
        result.order = factors->order();
        result.factor_entries = factors->entries();
        result.blocks = static_cast<int64_t>(factors->blocks());
        measure(result);
    }

    const SPMAT *A_;
    System system_;
    const SolveOptions &options_;
    const SolveObserver &observer_;
    Solver solver_;
    bool partial_pivoting_ = false;
};

// ---- Iterative methods ----

struct Iteration {
    Sparse factor;
    Doubles diagonal;
    Doubles *history;
    const SolveObserver *observer;
    const std::string *norm;
};

sarko_error_t divide(void *par, const VEC *in, VEC *out) {
    const auto &divisors = static_cast<const Iteration *>(par)->diagonal;
    for (size_t i = 0; i < divisors.size(); i++) out->elems[i] = in->elems[i] / divisors[i];
    return 0;
}

// The squares of the columns for least squares, else the diagonal; 1 in place of zeros.
Doubles jacobi(const SPMAT *A, bool least_squares) {
    Doubles d(static_cast<size_t>(A->n));
    for (int32_t i = 0; i < A->m; i++)
        for (int32_t k = 0; k < A->row[i].len; k++) {
            const row_elt &e = A->row[i].elt[k];
            if (least_squares) d[static_cast<size_t>(e.col)] += e.val * e.val;
            else if (e.col == i) d[static_cast<size_t>(i)] = e.val;
        }
    for (double &x : d)
        if (x == 0.0) x = 1.0;
    return d;
}

// The preconditioners to try in turn.
std::vector<std::string> candidates(const SPMAT *A, const SolveOptions &options, const std::string &method) {
    if (method == "lsqr" && (options.precond != "auto" && options.precond != "jacobi" && options.precond != "none"))
        throw usage_error("lsqr takes --precond none or jacobi");
    if (options.precond != "auto") return {options.precond};
    if (method == "lsqr") return {"jacobi", "none"};
    if (method == "gmres" || method == "bicgstab") return {"ilu", "ilut", "jacobi", "none"};
    if (positive_diagonal(A)) return {"ich", "jacobi", "none"};
    return {"none"};
}

void precondition(const SPMAT *A, const std::string &name, const SolveOptions &options, bool least_squares,
                  sarvo_mh_iter_t *ip, Iteration &run) {
    if (name == "ilut") {
        SPMAT *made = nullptr;
        check(sarvo::mh::ilu_by_threshold(*A, options.drop, options.fill, &made));
        run.factor.reset(made);
        check(sarvo_mh_iter_use_ilu(ip, made));
    } else if (name == "ich" || name == "ilu") {
        const double tiny = 1e-10 * row_norm(A);
        run.factor = copy_of(A);
        check(name == "ich" ? sarvo_mh_spICHfactor(run.factor.get())
                            : sarvo_mh_spILUfactor(run.factor.get(), tiny > 0.0 ? tiny : 1.0));
        check((name == "ich" ? sarvo_mh_iter_use_ich : sarvo_mh_iter_use_ilu)(ip, run.factor.get()));
    } else if (name == "jacobi") {
        run.diagonal = jacobi(A, least_squares);
        ip->Bx = divide;
        ip->B_par = &run;
    }
}

// Whose norm the method tests: see sarvo/mh/iterative.h.
std::string tested_norm(const SolveResult &r) {
    const bool preconditioned = r.precond != "none" && (r.method == "minres" || r.method == "lsqr");
    return std::string(r.method == "lsqr" ? "gradient A'r" : "residual") +
           (preconditioned ? " in the norm of the preconditioner" : "");
}

void iterate(const SPMAT *A, const Doubles &b, const SolveOptions &options, const SolveObserver &observer,
             SolveResult &result) {
    result.norm = tested_norm(result);
    Iteration run = {nullptr, {}, &result.history, &observer, &result.norm};
    sarvo_mh_iter_t *p = nullptr;
    check(sarvo_mh_iter_get(static_cast<int32_t>(b.size()), A->n, &p));
    const IterativeRecord ip(p);
    std::copy(b.begin(), b.end(), p->b->elems);
    check(sarvo_mh_iter_use_sp(p, A));
    precondition(A, result.precond, options, result.method == "lsqr", p, run);
    p->eps = options.tolerance;
    p->k = options.restart;
    p->limit =
        options.max_steps ? options.max_steps : static_cast<uint32_t>(std::max<int64_t>(2 * int64_t{A->n}, 1000));
    p->reserved_1 = &run;
    p->info = [](const sarvo_mh_iter_t *record, double norm) {
        const auto *r = static_cast<const Iteration *>(record->reserved_1);
        if (r->history->empty()) r->history->push_back(record->init_res);
        r->history->push_back(norm);
        if (r->observer->step) r->observer->step(record->steps, norm, *r->norm);
    };
    const auto solver = result.method == "cg"       ? sarvo_mh_iter_cg
                        : result.method == "minres" ? sarvo_mh_iter_minres
                        : result.method == "gmres"  ? sarvo_mh_iter_gmres
                        : result.method == "lsqr"   ? sarvo_mh_iter_lsqr
                                                    : sarvo_mh_iter_bicgstab;
    const sarko_error_t e = solver(p);
    result.steps = p->steps;
    result.x.assign(p->x->elems, p->x->elems + p->x->dim);
    result.converged = e == 0;
    if (!e) result.reason = "the " + result.norm + " fell below " + general(options.tolerance, 6) + " of that of x = 0";
    else if (sarko_error_code(e) == SarvoNrIterEC)
        result.reason =
            p->steps >= p->limit ? "the limit of steps was reached" : "no step made the " + result.norm + " smaller";
    else if (sarko_error_code(e) == SarvoMHPosdefEC)
        result.reason = "the matrix or preconditioner is not positive definite";
    else result.reason = sarko_error_message(e);
    sarko_error_clear(e);
}

// Of the automatic preconditioners the first that serves; if none does, the one that came closest.
void try_preconditioners(const SPMAT *A, const Doubles &b, const SolveOptions &options, const SolveObserver &observer,
                         SolveResult &result) {
    const auto names = candidates(A, options, result.method);
    SolveResult best;
    for (const std::string &name : names) {
        SolveResult trial = result;
        trial.precond = name;
        try {
            iterate(A, b, options, observer, trial);
        } catch (const Failure &) { // a factor that does not exist
            if (name == names.back()) throw;
            continue;
        }
        trial.residual = length(difference(b, product(A, trial.x)));
        if (best.precond.empty() || trial.converged || trial.residual < best.residual) best = trial;
        if (best.converged) break;
    }
    result = best;
}

void choose_method(const MarketMatrix &m, const SPMAT *A, const SolveOptions &options, SolveResult &result) {
    const bool square = A->m == A->n;
    if (options.method != "auto") {
        result.method = options.method;
        result.choice = "as asked";
        const bool wants_symmetry = result.method == "cg" || result.method == "minres" || result.method == "chol";
        if (square && wants_symmetry && !m.symmetric && !symmetric(A))
            result.choice += ", but the matrix is not symmetric";
        if (!square && result.method != "lsqr")
            throw usage_error("the matrix is " + std::to_string(A->m) + " x " + std::to_string(A->n) +
                              ": only lsqr takes " + "one that is not square");
    } else if (!square) {
        result.method = "lsqr";
        result.choice = "not square: least squares";
    } else if ((m.symmetric || symmetric(A)) && positive_diagonal(A)) {
        result.method = "chol";
        result.choice = "symmetric positive definite";
    } else {
        result.method = "lu";
        result.choice = "square, not positive definite";
    }
}

// What a careful reader asks of x.
void measure(const System &A, const Doubles &b, bool least_squares, SolveResult &result) {
    const Doubles r = difference(b, A.multiply(result.x, false));
    result.residual = largest(r);
    result.backward_error = backward_error(A, b, result.x);
    if (result.converged && result.factor_entries > 0 && result.backward_error > 1e-8) {
        result.converged = false;
        result.reason = "the factor is not that of the matrix";
    }
    if (least_squares) {
        const double all = length(A.multiply(b, true)), left = length(A.multiply(r, true));
        result.gradient = left == 0.0 ? 0.0 : left / all;
    }
}

// Solves for each right-hand side by `solve`; without any b is made, so that all x are 1.
template <class Solve>
std::vector<SolveResult> solve_each(const System &A, const std::vector<Doubles> &given, const SolveResult &start,
                                    Solve solve) {
    const Doubles ones(A.cols, 1.0);
    std::vector<Doubles> made;
    if (given.empty()) made.push_back(A.multiply(ones, false));
    std::vector<SolveResult> results;
    for (const Doubles &b : given.empty() ? made : given) {
        results.push_back(results.empty() ? start : results.back());
        SolveResult &result = results.back();
        solve(b, result);
        measure(A, b, result.method == "lsqr" || result.method == "svd", result);
        // x = 1 is the answer only where there is no other.
        if (given.empty() && A.rows >= A.cols) result.error = largest(difference(result.x, ones));
    }
    return results;
}

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// ---- Dense matrices ----

System system_of(const DenseInput &A) {
    System system{A.rows, A.cols, nullptr, 0.0, 0.0};
    Doubles sums(A.cols);
    for (size_t i = 0; i < A.rows; i++) {
        double sum = 0.0;
        for (size_t j = 0; j < A.cols; j++) {
            sum += std::fabs(A.values[i * A.cols + j]);
            sums[j] += std::fabs(A.values[i * A.cols + j]);
        }
        system.norm_inf = std::max(system.norm_inf, sum);
    }
    system.norm1 = largest(sums);
    system.multiply = [&A](const Doubles &x, bool transposed) {
        Doubles out(transposed ? A.cols : A.rows);
        for (size_t i = 0; i < A.rows; i++)
            for (size_t j = 0; j < A.cols; j++)
                out[transposed ? j : i] += A.values[i * A.cols + j] * x[transposed ? i : j];
        return out;
    };
    return system;
}

Solver dense_lu(const DenseInput &A) {
    struct Factors {
        Dense lu;
        Permutation pivot;
    };
    const auto f = std::make_shared<Factors>();
    f->lu = dense(A);
    PERM *p = nullptr;
    check(sarvo_mh_px_get(static_cast<int32_t>(A.rows), &p));
    f->pivot.reset(p);
    check(sarvo_mh_LUfactor(f->lu.get(), p));
    return [f](const Doubles &b, bool transposed) {
        const DenseVector right = to_library(b);
        VEC *out = nullptr;
        const auto solve = transposed ? sarvo_mh_LUTsolve : sarvo_mh_LUsolve;
        const sarko_error_t e = solve(f->lu.get(), f->pivot.get(), right.get(), &out);
        const DenseVector owner(out);
        if (e && sarko_error_code(e) == SarvoMHSingEC) {
            sarko_error_clear(e);
            throw Failure(exit_numerical, "the matrix is singular: a pivot is zero. --method svd finds the shortest "
                                          "least-squares solution");
        }
        check(e);
        return Doubles(out->elems, out->elems + out->dim);
    };
}

// x = V (U'b / w) over the singular values that count.
Doubles by_singular_values(const ThinSvd &svd, const Doubles &b) {
    Doubles x(svd.V->rows);
    for (size_t k = 0; k < svd.w.size(); k++) {
        if (!(svd.w[k] > svd.threshold)) continue;
        double sum = 0.0;
        for (size_t i = 0; i < b.size(); i++) sum += svd.U->row_ptrs[i][k] * b[i];
        for (size_t i = 0; i < x.size(); i++) x[i] += svd.V->row_ptrs[i][k] * (sum / svd.w[k]);
    }
    return x;
}

} // namespace

std::vector<SolveResult> solve_systems(const MarketMatrix &m, const std::vector<Doubles> &given,
                                       const SolveOptions &options, const SolveObserver &observer) {
    const auto start = Clock::now();
    const Sparse A = to_library(m);
    SolveResult first;
    first.rows = m.rows;
    first.cols = m.cols;
    first.entries = static_cast<int64_t>(m.entries.size());
    choose_method(m, A.get(), options, first);
    std::optional<Direct> direct;
    if (first.method == "chol" || first.method == "lu") direct.emplace(A.get(), options, observer, first);
    const SolveResult begun = first;
    auto results = solve_each(system_of(A.get()), given, begun, [&](const Doubles &b, SolveResult &result) {
        if (direct) return direct->solve(b, result);
        result = begun;
        try_preconditioners(A.get(), b, options, observer, result);
    });
    for (SolveResult &result : results) {
        result.seconds = seconds_since(start);
        if (!direct) continue;
        // Factors that were made anew on the way count for all.
        const SolveResult &last = results.back();
        result.order = last.order;
        result.condition = last.condition;
        result.factor_entries = last.factor_entries;
        result.blocks = last.blocks;
    }
    return results;
}

std::vector<SolveResult> solve_dense_systems(const DenseInput &A, const std::vector<Doubles> &given,
                                             const SolveOptions &options, const SolveObserver &observer) {
    const auto start = Clock::now();
    const bool square = A.rows == A.cols;
    SolveResult first;
    first.rows = static_cast<int64_t>(A.rows);
    first.cols = static_cast<int64_t>(A.cols);
    first.entries = first.rows * first.cols;
    first.dense = true;
    first.method = options.method != "auto" ? options.method : square ? "lu" : "svd";
    first.choice = options.method != "auto" ? "as asked" : square ? "dense, square" : "not square: least squares";
    if (first.method == "lu" && !square)
        throw usage_error("the matrix is " + std::to_string(A.rows) + " x " + std::to_string(A.cols) +
                          ": only svd and lsqr take one that is not square");
    const System system = system_of(A);
    Solver solver;
    std::optional<ThinSvd> svd;
    if (observer.phase) observer.phase(first.method == "lu" ? "LU factorisation" : "singular values");
    if (first.method == "lu") {
        solver = dense_lu(A);
        first.condition = system.norm1 * inverse_norm(solver, A.cols);
    } else {
        svd.emplace(thin_svd(A, -1.0));
        first.rank = static_cast<int64_t>(svd->rank);
        first.condition = svd->condition();
    }
    auto results = solve_each(system, given, first, [&](const Doubles &b, SolveResult &result) {
        if (solver) return solve_and_refine(system, solver, b, result);
        result.x = by_singular_values(*svd, b);
        result.converged = std::isfinite(largest(result.x));
        result.reason = !result.converged                      ? "the solution overflows"
                        : svd->rank < std::min(A.rows, A.cols) ? "the shortest of many least-squares solutions"
                                                               : "decomposed";
    });
    // Where the rank is not full other x than 1 give the same b.
    if (svd && svd->rank < A.cols)
        for (SolveResult &result : results) result.error.reset();
    for (SolveResult &result : results) result.seconds = seconds_since(start);
    return results;
}

SolveResult solve_system(const MarketMatrix &m, const std::optional<Doubles> &b, const SolveOptions &options,
                         const SolveObserver &observer) {
    return solve_systems(m, b ? std::vector<Doubles>{*b} : std::vector<Doubles>(), options, observer).front();
}

} // namespace command
