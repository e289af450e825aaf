// The subcommand eig.
#include <algorithm>
#include <cmath>
#include <memory>

#include "errors.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "matrix/dense.h"
#include "numbers.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose =
    "A is a real symmetric matrix: a table of numbers, Matrix Market or .npy; - for standard input. Eigenvalues come\n"
    "smallest first. Methods: qr (reduction to tridiagonal form, implicit QR), jacobi (cyclic rotations, slower, "
    "small\n"
    "eigenvalues of positive definite matrices often better). --half says which triangle counts where A is not "
    "symmetric.\n";

struct Arguments {
    std::string matrix, method = "qr", half;
    bool vectors = false;
    OutputOptions form;
};

void make_symmetric(DenseInput &A, const std::string &half) {
    for (size_t i = 0; i < A.rows; i++)
        for (size_t j = 0; j < i; j++) {
            double &lower = A.values[i * A.cols + j], &upper = A.values[j * A.cols + i];
            if (lower == upper) continue;
            if (half.empty())
                throw input_error(
                    A.source + ": the matrix is not symmetric: " + shortest(lower) + " in row " +
                    std::to_string(i + 1) + ", column " + std::to_string(j + 1) + ", " + shortest(upper) +
                    " opposite. Eigenvalues of general matrices are not computed; --half lower, upper or mean takes "
                    "this one as symmetric");
            const double value = half == "lower" ? lower : half == "upper" ? upper : 0.5 * lower + 0.5 * upper;
            lower = upper = value;
        }
}

struct Decomposition {
    std::vector<double> values; // ascending
    Dense vectors;              // in columns
};

// Takes the pairs over in ascending order of the values.
Decomposition sorted(const double *values, const MAT &vectors) {
    std::vector<size_t> order(vectors.cols);
    for (size_t k = 0; k < order.size(); k++) order[k] = k;
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return values[a] < values[b]; });
    Decomposition all{{}, make_dense(vectors.rows, vectors.cols)};
    for (size_t k = 0; k < order.size(); k++) {
        all.values.push_back(values[order[k]]);
        for (uint64_t i = 0; i < vectors.rows; i++) all.vectors->row_ptrs[i][k] = vectors.row_ptrs[i][order[k]];
    }
    return all;
}

double largest_element(const DenseInput &A) {
    double most = 0.0;
    for (const double x : A.values) most = std::max(most, std::fabs(x));
    return most;
}

// The exponent of the power of 2 that brings the largest element near 2^400. Squares of elements 10^-280 times as large
// do not vanish then, and none overflows.
int scaling(const DenseInput &A) {
    constexpr int target = 400;
    const double most = largest_element(A);
    return most > 0.0 && std::isfinite(most) ? target - std::ilogb(most) : 0;
}

void scale(std::vector<double> &values, int exponent) {
    for (double &x : values) x = std::ldexp(x, exponent);
}

// Drops what lies off the diagonal and is less than 2^-100 of the largest element: far less than any rounding error.
DenseInput without_negligible(DenseInput A) {
    const double most = largest_element(A);
    for (size_t i = 0; i < A.rows; i++)
        for (size_t j = 0; j < A.cols; j++) {
            double &x = A.values[i * A.cols + j];
            if (i != j && std::fabs(x) < 0x1p-100 * most) x = 0.0;
        }
    return A;
}

Decomposition by_qr(const DenseInput &input) {
    MAT *q = nullptr;
    VEC *w = nullptr;
    sarko_error_t e = sarvo_mh_symmeig(dense(input).get(), &q, &w);
    if (e && sarko_error_code(e) == SarvoMHRangeEC) { // an extreme spread: products of small elements vanish
        sarko_error_clear(e);
        e = sarvo_mh_symmeig(dense(without_negligible(input)).get(), &q, &w);
    }
    const Dense Q(q);
    const DenseVector values(w);
    check(e);
    return sorted(values->elems, *Q);
}

struct JacobiFree {
    void operator()(sarvo_nr_jtsm *record) const { sarvo_nr_jtsm_free(record); }
};

Decomposition by_jacobi(const DenseInput &input) {
    sarvo_nr_jtsm *made = nullptr;
    check(sarvo_nr_jtsm_init(&made));
    const std::unique_ptr<sarvo_nr_jtsm, JacobiFree> record(made);
    check(sarvo_nr_jtsm_compute(typed(input).get(), 0, 0, input.rows, record.get()));
    return sorted(elements(record->d), *dense(*record->V));
}

// Largest element of A V - V diag(w), as a share of the largest of A.
double residual(const MAT &A, const Decomposition &d) {
    const Dense left = product(A, *d.vectors), right = make_dense(A.rows, A.cols);
    for (uint64_t i = 0; i < A.rows; i++)
        for (uint64_t j = 0; j < A.cols; j++) right->row_ptrs[i][j] = d.vectors->row_ptrs[i][j] * d.values[j];
    const double scale = largest(A);
    return distance(*left, *right) / (scale > 0.0 ? scale : 1.0);
}

std::string definiteness(const std::vector<double> &w) {
    const double least = w.front(), most = w.back(), noise = 1e-15 * std::max(std::fabs(least), std::fabs(most));
    if (least > noise) return "positive definite";
    if (most < -noise) return "negative definite";
    if (least < -noise && most > noise) return "indefinite";
    return "singular to working precision";
}

int run_eig(const Arguments &a) {
    const Stopwatch watch;
    DenseInput input = read_real_matrix(a.matrix);
    require_square(input);
    make_symmetric(input, a.half);

    // All is computed and measured with the scaled matrix; only the eigenvalues are put back.
    const int exponent = scaling(input);
    scale(input.values, exponent);
    Decomposition d = a.method == "jacobi" ? by_jacobi(input) : by_qr(input);
    const Dense A = dense(input);
    double least = HUGE_VAL, most = 0.0;
    for (const double w : d.values) {
        least = std::min(least, std::fabs(w));
        most = std::max(most, std::fabs(w));
    }
    Answer answer;
    answer.fact("order", "order", whole(input.rows));
    answer.fact("kind", "the matrix is", definiteness(d.values));
    answer.fact("condition", "condition (2-norm)", least > 0.0 ? most / least : HUGE_VAL, 4);
    answer.fact("residual", "residual |A V - V w| / |A|", residual(*A, d), 3);
    answer.fact("orthogonality", "orthogonality |V'V - 1|",
                distance_from_identity(*transposed_product(*d.vectors, *d.vectors)), 3);
    answer.time(watch.seconds());
    scale(d.values, -exponent);
    for (const double w : d.values)
        if (!std::isfinite(w))
            throw Failure(exit_numerical, input.source + ": an eigenvalue is beyond the largest number");
    answer.list("eigenvalues", "", "number", d.values).shown = 40;
    if (a.vectors) answer.matrix("vectors", "V, eigenvectors in columns", d.vectors->base, input.rows, input.rows);
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_eig(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(
        app, prose,
        {"sarvo eig A.csv", "sarvo eig A.mtx --vectors --method jacobi", "sarvo eig A.npy --half mean --format json"});
    argument(app, "A", a->matrix, "Matrix, a file or -")->required();
    choice(app, "--method", a->method, "qr|jacobi", "Method (default qr)");
    choice(app, "--half", a->half, "lower|upper|mean", "What counts where A is not symmetric (default: refuse)");
    app.add_flag("--vectors", a->vectors, "Print the eigenvectors too");
    add_output_options(app, a->form);
    return [a] { return run_eig(*a); };
}

} // namespace command
