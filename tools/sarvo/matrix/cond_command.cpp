// The subcommand cond.
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
    "A is a matrix: a table of numbers, Matrix Market or .npy; - for standard input. Its condition is told in the "
    "2-norm, by\n"
    "singular values; of a square matrix also in the 1-norm and the maximum norm, by its inverse, and as LU factors "
    "alone\n"
    "estimate it. A relative change of A by eps may change the solution of A x = b by condition times eps.\n";

struct Arguments {
    std::string matrix;
    OutputOptions form;
};

// By the singular values, which `answer` also gets the ends of.
double two_norm(const DenseInput &input, Answer &answer) {
    const ThinSvd svd = thin_svd(input, -1.0);
    const double condition = svd.condition();
    answer.fact("rank", "rank", whole(svd.rank), 0, "(singular values above " + general(svd.threshold, 3) + ")");
    answer.fact("threshold", "threshold", svd.threshold, 3);
    answer.fact("largest", "largest singular value", svd.w.front());
    answer.fact("smallest", "smallest singular value", svd.w.back());
    answer.fact("condition", "condition (2-norm)", condition, 6);
    answer.fact("digits", "digits left of 16, about", std::clamp(15.95 - std::log10(condition), 0.0, 16.0), 3);
    return condition;
}

void by_inverse(const MAT &A, Answer &answer) {
    MAT *out = nullptr;
    const sarko_error_t e = sarvo_mh_m_inverse(&A, &out);
    const Dense X(out);
    const bool singular = sarko_error_code(e) == SarvoMHSingEC;
    if (singular) sarko_error_clear(e);
    else check(e);
    answer.fact("condition_1", "condition (1-norm)", singular ? HUGE_VAL : norm1(A) * norm1(*X), 6);
    answer.fact("condition_inf", "condition (maximum norm)", singular ? HUGE_VAL : norm_inf(A) * norm_inf(*X), 6);
}

void by_factors(const MAT &A, Answer &answer) {
    const Dense lu = make_dense(A.rows, A.cols);
    std::copy_n(A.base, A.rows * A.cols, lu->base);
    PERM *made = nullptr;
    check(sarvo_mh_px_get(static_cast<int32_t>(A.rows), &made));
    const Permutation pivot(made);
    check(sarvo_mh_LUfactor(lu.get(), pivot.get()));
    double estimate = 0.0;
    check(sarvo_mh_LUcondest(lu.get(), pivot.get(), &estimate));
    answer.fact("estimate", "estimate by LU (maximum norm)", estimate, 3);
}

int run_cond(const Arguments &a) {
    const Stopwatch watch;
    const DenseInput input = read_real_matrix(a.matrix);
    Answer answer;
    answer.fact("rows", "rows", whole(input.rows));
    answer.fact("columns", "columns", whole(input.cols));
    two_norm(input, answer);
    if (input.rows == input.cols) {
        const Dense A = dense(input);
        by_inverse(*A, answer);
        by_factors(*A, answer);
    }
    answer.time(watch.seconds());
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_cond(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo cond A.csv", "sarvo cond A.mtx --format json", "sarvo inv A.csv --format csv | sarvo cond -"});
    argument(app, "A", a->matrix, "Matrix, a file or -")->required();
    add_output_options(app, a->form);
    return [a] { return run_cond(*a); };
}

} // namespace command
