// The subcommand conv.
#include <algorithm>
#include <cmath>
#include <memory>

#include "data/matrix.h"
#include "library.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose =
    "X and Y are lists of numbers: a column of text, Matrix Market or .npy; one of them may be - for standard input.\n"
    "The linear convolution has a length of both less one; --periodic wraps around at the length of Y. Each element "
    "is\n"
    "one running sum, not a product of transforms; the error bound is n eps times the convolution of the magnitudes.\n";

struct Arguments {
    std::string first, second;
    bool periodic = false;
    OutputOptions form;
};

DenseVector list(const std::string &path) {
    const DenseInput in = read_vector(path);
    if (!in.imaginary.empty()) throw input_error(in.source + ": the numbers are complex, real ones are wanted");
    VEC *v = nullptr;
    check(sarvo_mh_v_get(in.values.size(), &v));
    DenseVector owned(v);
    std::copy(in.values.begin(), in.values.end(), v->elems);
    return owned;
}

DenseVector convolution(const VEC &x, const VEC &y, bool periodic) {
    VEC *out = nullptr;
    const sarko_error_t e = periodic ? sarvo_mh_v_pconv(&x, &y, &out) : sarvo_mh_v_conv(&x, &y, &out);
    DenseVector owned(out);
    check(e);
    return owned;
}

double sum(const VEC &x) {
    double all = 0.0;
    check(sarvo_mh_v_sum(&x, &all));
    return all;
}

// The largest bound on the error of an element: a sum of n products, each operation rounded.
double error_bound(VEC &x, VEC &y, bool periodic) {
    for (VEC *v : {&x, &y})
        for (uint64_t i = 0; i < v->dim; i++) v->elems[i] = std::fabs(v->elems[i]);
    const DenseVector magnitudes = convolution(x, y, periodic);
    const auto terms = static_cast<double>(periodic ? x.dim : std::min(x.dim, y.dim));
    double most = 0.0;
    for (uint64_t i = 0; i < magnitudes->dim; i++) most = std::max(most, magnitudes->elems[i]);
    return most * terms * 0x1p-53;
}

int run_conv(const Arguments &a) {
    if (a.first == "-" && a.second == "-") throw usage_error("only one of X and Y can be standard input");
    const Stopwatch watch;
    const DenseVector x = list(a.first), y = list(a.second);
    const DenseVector result = convolution(*x, *y, a.periodic);
    const double expected = sum(*x) * sum(*y), all = sum(*result);
    const double bound = error_bound(*x, *y, a.periodic);
    Answer answer;
    answer.fact("length", "length", whole(result->dim));
    answer.fact("error_bound", "error bound of an element", bound, 3);
    answer.fact("sum", "sum of the result", all);
    answer.fact("sum_difference", "difference to the product of the sums", std::fabs(all - expected), 3);
    answer.time(watch.seconds());
    answer.list("y", "", "number", std::vector<double>(result->elems, result->elems + result->dim)).shown = 64;
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_conv(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo conv signal.csv kernel.csv", "sarvo conv signal.npy kernel.txt --periodic --format csv",
             "seq 5 | sarvo conv - kernel.txt"});
    argument(app, "X", a->first, "File of numbers or -")->required();
    argument(app, "Y", a->second, "File of numbers or -")->required();
    app.add_flag("--periodic", a->periodic, "Of the period of Y");
    add_output_options(app, a->form);
    return [a] { return run_conv(*a); };
}

} // namespace command
