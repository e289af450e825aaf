// Solving sparse linear systems by the library.
#include "solve/linear_system.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "library.h"
#include "numbers.h"

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

// ---- Direct methods ----

// P A P' in factors.
class Factors {
public:
    Factors(const SPMAT *A, const std::string &order) {
        const int32_t method = order == "natural" ? 0 : order == "rcm" ? 1 : 2;
        PERM *p = nullptr;
        check(sarvo_mh_sp_order(A, method, &p));
        order_.reset(p);
        SPMAT *F = nullptr;
        check(sarvo_mh_sp_permute(A, p, p, &F));
        factor_.reset(F);
    }
    // False when the matrix is not positive definite.
    bool cholesky() {
        const sarko_error_t e = sarvo_mh_spCHfactor(factor_.get());
        if (e && sarko_error_code(e) == SarvoMHPosdefEC) return sarko_error_clear(e), false;
        check(e);
        return true;
    }
    void lu(double threshold) {
        PERM *p = nullptr;
        check(sarvo_mh_px_get(factor_->m, &p));
        exchanges_.reset(p);
        check(sarvo_mh_spLUfactor(factor_.get(), p, threshold));
    }
    Doubles solve(const Doubles &b, bool transposed = false) const {
        Doubles ordered(b.size()), x(b.size());
        for (size_t i = 0; i < b.size(); i++) ordered[i] = b[order_->elems[i]];
        const DenseVector right = to_library(ordered);
        VEC *out = nullptr;
        const auto lu_solve = transposed ? sarvo_mh_spLUTsolve : sarvo_mh_spLUsolve;
        const sarko_error_t e = exchanges_ ? lu_solve(factor_.get(), exchanges_.get(), right.get(), &out)
                                           : sarvo_mh_spCHsolve(factor_.get(), right.get(), &out);
        const DenseVector owner(out);
        if (e && sarko_error_code(e) == SarvoMHSingEC) {
            sarko_error_clear(e);
            throw Failure(exit_numerical, "the matrix is singular: a pivot is zero. --method lsqr finds a "
                                          "least-squares solution");
        }
        check(e);
        for (size_t i = 0; i < b.size(); i++) x[order_->elems[i]] = out->elems[i];
        return x;
    }
    int64_t entries() const { return count_entries(factor_.get()); }

private:
    Permutation order_, exchanges_;
    Sparse factor_;
};

// |A^-1| in the 1-norm, from below (Hager, 1984; the second start by Higham, 1988).
double inverse_norm(const Factors &factors, size_t n) {
    Doubles x(n, 1.0 / static_cast<double>(n)), y;
    double estimate = 0.0;
    for (int round = 0; round < 5; round++) {
        y = factors.solve(x);
        double sum = 0.0;
        Doubles signs(n);
        for (size_t i = 0; i < n; i++) {
            sum += std::fabs(y[i]);
            signs[i] = y[i] < 0.0 ? -1.0 : 1.0;
        }
        if (!(sum > estimate)) break;
        estimate = sum;
        const Doubles z = factors.solve(signs, true);
        size_t next = 0;
        for (size_t i = 1; i < n; i++)
            if (std::fabs(z[i]) > std::fabs(z[next])) next = i;
        std::fill(x.begin(), x.end(), 0.0);
        x[next] = 1.0;
    }
    for (size_t i = 0; i < n; i++)
        x[i] = (i % 2 ? -1.0 : 1.0) * (1.0 + (n > 1 ? static_cast<double>(i) / static_cast<double>(n - 1) : 0.0));
    double sum = 0.0;
    for (const double v : factors.solve(x)) sum += std::fabs(v);
    return std::max(estimate, 2.0 * sum / (3.0 * static_cast<double>(n)));
}

// x, and corrections while they halve the residual.
void solve_and_refine(const SPMAT *A, const Factors &factors, const Doubles &b, SolveResult &result) {
    result.x = factors.solve(b);
    double before = largest(difference(b, product(A, result.x)));
    while (result.steps < 5) {
        const Doubles correction = factors.solve(difference(b, product(A, result.x)));
        Doubles better = result.x;
        for (size_t i = 0; i < better.size(); i++) better[i] += correction[i];
        const double after = largest(difference(b, product(A, better)));
        if (!(after < 0.5 * before)) break;
        result.x = better;
        result.steps++;
        before = after;
    }
}

void solve_directly(const SPMAT *A, const Doubles &b, const SolveOptions &options, const SolveObserver &observer,
                    SolveResult &result) {
    const auto phase = [&observer](const char *what) {
        if (observer.phase) observer.phase(what);
    };
    result.order = options.order == "auto" ? "amd" : options.order;
    phase("ordering");
    Factors factors(A, result.order);
    if (result.method == "chol") phase("Cholesky factorisation");
    if (result.method == "chol" && !factors.cholesky()) {
        if (options.method != "auto")
            throw Failure(exit_numerical, "the matrix is not positive definite: --method lu solves it");
        result.method = "lu";
        result.choice = "square, not positive definite";
        factors = Factors(A, result.order);
    }
    if (result.method == "lu") {
        phase("LU factorisation");
        factors.lu(options.threshold);
    }
    result.factor_entries = factors.entries();
    phase("solution and condition");
    solve_and_refine(A, factors, b, result);
    if (!b.empty()) result.condition = column_norm(A) * inverse_norm(factors, b.size());
    result.converged = std::isfinite(largest(result.x));
    result.reason = result.converged ? "factored" : "the solution overflows";
}

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
    if (method == "lsqr" && (options.precond == "ich" || options.precond == "ilu"))
        throw usage_error("lsqr takes --precond none or jacobi");
    if (options.precond != "auto") return {options.precond};
    if (method == "lsqr") return {"jacobi", "none"};
    if (method == "gmres" || method == "bicgstab") return {"ilu", "jacobi", "none"};
    if (positive_diagonal(A)) return {"ich", "jacobi", "none"};
    return {"none"};
}

void precondition(const SPMAT *A, const std::string &name, bool least_squares, sarvo_mh_iter_t *ip, Iteration &run) {
    if (name == "ich" || name == "ilu") {
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
    precondition(A, result.precond, result.method == "lsqr", p, run);
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

} // namespace

SolveResult solve_system(const MarketMatrix &m, const std::optional<Doubles> &given, const SolveOptions &options,
                         const SolveObserver &observer) {
    const auto start = std::chrono::steady_clock::now();
    const Sparse A = to_library(m);
    SolveResult result;
    result.rows = m.rows;
    result.cols = m.cols;
    result.entries = static_cast<int64_t>(m.entries.size());
    const Doubles ones(static_cast<size_t>(m.cols), 1.0), b = given ? *given : product(A.get(), ones);
    choose_method(m, A.get(), options, result);
    if (result.method == "chol" || result.method == "lu") solve_directly(A.get(), b, options, observer, result);
    else try_preconditioners(A.get(), b, options, observer, result);

    const Doubles r = difference(b, product(A.get(), result.x));
    const double size = row_norm(A.get()) * largest(result.x) + largest(b);
    result.residual = largest(r);
    result.backward_error = result.residual == 0.0 ? 0.0 : result.residual / size;
    if (result.converged && result.factor_entries > 0 && result.backward_error > 1e-8) {
        result.converged = false;
        result.reason = "the factor is not that of the matrix";
    }
    if (result.method == "lsqr") {
        const double all = length(product(A.get(), b, true)), left = length(product(A.get(), r, true));
        result.gradient = left == 0.0 ? 0.0 : left / all;
    }
    if (!given) result.error = largest(difference(result.x, ones));
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

} // namespace command
