// The subcommand inv.
#include <algorithm>
#include <cmath>
#include <memory>

#include "line/options.h"
#include "line/subcommands.h"
#include "matrix/thin_svd.h"
#include "numbers.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose =
    "A is a matrix: a table of numbers, Matrix Market or .npy; - for standard input. A square one is inverted by its "
    "LU\n"
    "factors; a singular one ends with exit code 1. --pseudo gives the pseudo-inverse of any matrix, by its singular\n"
    "values. The residual is that of A X = 1 (of A X A = A for the pseudo-inverse).\n";

struct Arguments {
    std::string matrix, output;
    bool pseudo = false;
    double threshold = -1.0;
    OutputOptions form;
};

Dense inverse(const MAT &A, const std::string &source) {
    MAT *out = nullptr;
    const sarko_error_t e = sarvo_mh_m_inverse(&A, &out);
    Dense owned(out);
    try {
        check(e);
    } catch (const Failure &failure) {
        throw Failure(failure.code(), source + ": " + failure.what() + ". --pseudo gives the pseudo-inverse");
    }
    return owned;
}

void invert(const DenseInput &input, Answer &answer, Dense &X) {
    require_square(input);
    const Dense A = dense(input);
    X = inverse(*A, input.source);
    const double condition = norm1(*A) * norm1(*X);
    answer.fact("condition", "condition (1-norm)", condition, 4);
    answer.fact("digits", "digits left, about", std::max(0.0, 15.95 - std::log10(condition)), 3);
    answer.fact("residual", "residual |A X - 1|", distance_from_identity(*product(*A, *X)), 3);
    answer.fact("residual_left", "residual |X A - 1|", distance_from_identity(*product(*X, *A)), 3);
}

void pseudo_invert(const DenseInput &input, double threshold, Answer &answer, Dense &X) {
    const ThinSvd svd = thin_svd(input, threshold);
    const Dense scaled = make_dense(input.cols, svd.w.size()); // V diag(1/w)
    for (size_t i = 0; i < input.cols; i++)
        for (size_t k = 0; k < svd.w.size(); k++)
            scaled->row_ptrs[i][k] = svd.w[k] > svd.threshold ? svd.V->row_ptrs[i][k] / svd.w[k] : 0.0;
    X = product_transposed(*scaled, *svd.U);
    const Dense A = dense(input);
    const double scale = largest(*A);
    answer.fact("rank", "rank", whole(svd.rank), 0, "(singular values above " + general(svd.threshold, 3) + ")");
    // The smaller of A X and X A first.
    const Dense back = input.rows <= input.cols ? product(*product(*A, *X), *A) : product(*A, *product(*X, *A));
    answer.fact("threshold", "threshold", svd.threshold, 3);
    answer.fact("residual", "residual |A X A - A| / |A|", distance(*back, *A) / (scale > 0.0 ? scale : 1.0), 3);
}

int run_inv(const Arguments &a) {
    check_matrix_name(a.output);
    const Stopwatch watch;
    const DenseInput input = read_real_matrix(a.matrix);
    Answer answer;
    Dense X;
    answer.fact("rows", "rows", whole(input.rows));
    answer.fact("columns", "columns", whole(input.cols));
    if (a.pseudo) pseudo_invert(input, a.threshold, answer, X);
    else invert(input, answer, X);
    answer.time(watch.seconds());
    if (a.output.empty()) answer.matrix("inverse", "inverse", X->base, X->rows, X->cols);
    else write_matrix(*X, a.output);
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_inv(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo inv A.csv", "sarvo inv A.npy --output X.npy", "sarvo inv A.mtx --pseudo --threshold 1e-10"});
    argument(app, "A", a->matrix, "Matrix, a file or -")->required();
    app.add_flag("--pseudo", a->pseudo, "The pseudo-inverse");
    option(app, "--threshold", a->threshold, 0.0, HUGE_VAL, "X",
           "With --pseudo: singular values not above X count as zero");
    option(app, "--output", a->output, "FILE", "Write the matrix to FILE.npy, .mtx, .tsv or .csv instead");
    add_output_options(app, a->form);
    return [a] { return run_inv(*a); };
}

} // namespace command
