// The subcommand exp.
#include <cmath>
#include <memory>

#include "line/options.h"
#include "line/subcommands.h"
#include "matrix/dense.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose = "A is a square matrix: a table of numbers, Matrix Market or .npy; - for standard input. Its "
                          "exponential is computed by\n"
                          "scaling, a Pade approximant, and squaring. As a check exp(A) exp(-A) is compared with the "
                          "identity; the figure is\n"
                          "relative to |exp(A)| |exp(-A)|, the condition of that product.\n";

struct Arguments {
    std::string matrix, output;
    double accuracy = 0.0;
    OutputOptions form;
};

struct Exponential {
    Dense value;
    int32_t degree = 0, squarings = 0;
};

Exponential exponential(const MAT &A, double accuracy) {
    MAT *out = nullptr;
    Exponential result;
    const sarko_error_t e = sarvo_mh_m_exp_(&A, accuracy, &out, &result.degree, &result.squarings);
    result.value.reset(out);
    check(e);
    return result;
}

double check_by_inverse(const MAT &A, const MAT &forward, double accuracy) {
    const Dense negative = make_dense(A.rows, A.cols);
    for (uint64_t i = 0; i < A.rows * A.cols; i++) negative->base[i] = -A.base[i];
    const Exponential back = exponential(*negative, accuracy);
    const double scale = norm1(forward) * norm1(*back.value);
    return distance_from_identity(*product(forward, *back.value)) / scale;
}

int run_exp(const Arguments &a) {
    check_matrix_name(a.output);
    const Stopwatch watch;
    const DenseInput input = read_real_matrix(a.matrix);
    require_square(input);
    const Dense A = dense(input);
    const Exponential result = exponential(*A, a.accuracy);
    for (uint64_t i = 0; i < input.rows * input.cols; i++) // an infinity may have become a NaN in the squarings
        if (!std::isfinite(result.value->base[i]))
            throw Failure(exit_numerical, input.source + ": the exponential overflows");
    Answer answer;
    answer.fact("order", "order", whole(input.rows));
    answer.fact("norm", "norm of A (1-norm)", norm1(*A), 4);
    answer.fact("norm_exp", "norm of exp(A) (1-norm)", norm1(*result.value), 4);
    answer.fact("degree", "degree of the approximant", int64_t{result.degree});
    answer.fact("squarings", "squarings", int64_t{result.squarings});
    answer.fact("check", "check |exp(A) exp(-A) - 1|", check_by_inverse(*A, *result.value, a.accuracy), 3,
                "(relative)");
    answer.time(watch.seconds());
    if (a.output.empty()) answer.matrix("exp", "exp(A)", result.value->base, input.rows, input.cols);
    else write_matrix(*result.value, a.output);
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_exp(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo exp A.csv", "sarvo exp A.npy --output E.npy", "sarvo exp A.mtx --accuracy 1e-8 --format json"});
    argument(app, "A", a->matrix, "Matrix, a file or -")->required();
    option(app, "--accuracy", a->accuracy, 0.0, 1.0, "X",
           "Relative accuracy of the approximant (default that of double)");
    option(app, "--output", a->output, "FILE", "Write the matrix to FILE.npy, .mtx, .tsv or .csv instead");
    add_output_options(app, a->form);
    return [a] { return run_exp(*a); };
}

} // namespace command
