// The subcommand fft.
#include <algorithm>
#include <cmath>
#include <memory>

#include "data/matrix.h"
#include "elementary.h"
#include "library.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose =
    "X is a list of numbers, or of complex ones: two columns (real, imaginary part), a complex .npy or Matrix Market "
    "file;\n"
    "- for standard input. Forward: sum of x[k] exp(+2 pi i j k / n), unscaled; --inverse: the opposite sign, 1/n. "
    "Lists\n"
    "are filled with zeros up to a power of two. Checks: the inverse of the result against X, and the energy.\n";

struct Arguments {
    std::string data;
    bool inverse = false;
    double rate = 1.0;
    OutputOptions form;
};

struct Complex {
    DenseVector re, im;
};

DenseVector make_dense_vector(uint64_t n) {
    VEC *v = nullptr;
    check(sarvo_mh_v_get(n, &v));
    return DenseVector(v);
}

Complex read_complex(const std::string &path) {
    const DenseInput in = read_matrix(path);
    const bool pairs = in.cols == 2 && in.imaginary.empty();
    if (!pairs && in.rows != 1 && in.cols != 1)
        throw input_error(in.source + ": a list, or two columns, is wanted, not " + std::to_string(in.rows) + " x " +
                          std::to_string(in.cols));
    const size_t n = pairs ? in.rows : in.rows * in.cols;
    Complex x{make_dense_vector(n), make_dense_vector(n)};
    for (size_t i = 0; i < n; i++) {
        x.re->elems[i] = in.values[pairs ? 2 * i : i];
        x.im->elems[i] = pairs ? in.values[2 * i + 1] : in.imaginary.empty() ? 0.0 : in.imaginary[i];
    }
    return x;
}

Complex copy(const Complex &x) {
    Complex y{make_dense_vector(x.re->dim), make_dense_vector(x.im->dim)};
    std::copy_n(x.re->elems, x.re->dim, y.re->elems);
    std::copy_n(x.im->elems, x.im->dim, y.im->elems);
    return y;
}

void transform(Complex &x, bool inverse) {
    check(inverse ? sarvo_mh_ifft(x.re.get(), x.im.get()) : sarvo_mh_fft(x.re.get(), x.im.get()));
}

double energy(const Complex &x) {
    double sum = 0.0;
    for (uint64_t i = 0; i < x.re->dim; i++) sum += x.re->elems[i] * x.re->elems[i] + x.im->elems[i] * x.im->elems[i];
    return sum;
}

// Largest difference, as a share of the largest element.
double difference(const Complex &x, const Complex &y) {
    double most = 0.0, scale = 0.0;
    for (uint64_t i = 0; i < y.re->dim; i++) {
        const double re = i < x.re->dim ? x.re->elems[i] : 0.0, im = i < x.im->dim ? x.im->elems[i] : 0.0;
        most = std::max({most, std::fabs(re - y.re->elems[i]), std::fabs(im - y.im->elems[i])});
        scale = std::max({scale, std::fabs(re), std::fabs(im)});
    }
    return most / (scale > 0.0 ? scale : 1.0);
}

void add_checks(Answer &answer, const Complex &x, const Complex &result, bool inverse) {
    Complex back = copy(result);
    transform(back, !inverse);
    const auto n = static_cast<double>(result.re->dim);
    const double before = energy(x) * (inverse ? 1.0 / n : n), after = energy(result);
    answer.fact("round_trip", "round trip |x - back| / |x|", difference(x, back), 3);
    answer.fact("energy", "energy, relative difference", std::fabs(after - before) / (before > 0.0 ? before : 1.0), 3);
}

int run_fft(const Arguments &a) {
    const Stopwatch watch;
    const Complex x = read_complex(a.data);
    Complex result = copy(x);
    transform(result, a.inverse);
    const uint64_t n = result.re->dim;
    Answer answer;
    answer.fact("length", "length", whole(x.re->dim));
    answer.fact("transformed", "length transformed", whole(n));
    if (n != x.re->dim) answer.notes.push_back("zeros were appended up to the next power of two");
    add_checks(answer, x, result, a.inverse);
    answer.time(watch.seconds());
    Grid &grid = answer.grid("spectrum", "",
                             {{"index", "index"},
                              {a.inverse ? "time" : "frequency", a.inverse ? "time" : "frequency"},
                              {"re", "real part"},
                              {"im", "imaginary part"},
                              {"magnitude", "magnitude"},
                              {"phase", "phase"}});
    grid.shown = 64;
    for (uint64_t k = 0; k < n; k++) {
        const double re = result.re->elems[k], im = result.im->elems[k], index = static_cast<double>(k);
        const double place = a.inverse ? index / a.rate : index * a.rate / static_cast<double>(n);
        grid.rows.push_back({whole(k), place, re, im, std::hypot(re, im), std::atan2(im, re)});
    }
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_fft(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(
        app, prose,
        {"sarvo fft signal.csv", "sarvo fft signal.npy --rate 44100 --format csv", "sarvo fft spectrum.tsv --inverse"});
    argument(app, "X", a->data, "File of numbers, - for standard input")->required();
    app.add_flag("--inverse", a->inverse, "The inverse transform");
    option(app, "--rate", a->rate, 1e-300, 1e300, "X", "Samples a unit of time, for the frequencies (default 1)");
    add_output_options(app, a->form);
    return [a] { return run_fft(*a); };
}

} // namespace command
