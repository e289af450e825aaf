// The cases, a table.
#include "verify/kernel_cases.h"

#include <bit>
#include <cmath>
#include <limits>

#include "rng/ziggurat_tables.h"

namespace command {

uint64_t CaseRandom::next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 2685821657736338717u;
}

double CaseRandom::special() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    static constexpr double values[] = {0.0,
                                        -0.0,
                                        infinity,
                                        -infinity,
                                        std::numeric_limits<double>::quiet_NaN(),
                                        0x1p-1074,
                                        -0x1.8p-1030,
                                        0x1.fffffffffffffp1023,
                                        -0x1p-1022};
    return below(8) == 0 ? values[below(std::size(values))] : symmetric();
}

namespace {

using sarvo::simd::Kernels;
using Doubles = std::vector<double>;

KernelCase pairwise(const char *name, void (*Kernels::*slot)(uint64_t, const double *, const double *, double *)) {
    return {name, [slot](const Kernels &k, CaseSource &s, Doubles &out) {
                const uint64_t n = s.size();
                const Doubles x = s.values(n), y = s.values(n);
                out = s.values(n);
                (k.*slot)(n, x.data(), y.data(), out.data());
            }};
}

KernelCase scaled(const char *name, void (*Kernels::*slot)(uint64_t, double, const double *, double *)) {
    return {name, [slot](const Kernels &k, CaseSource &s, Doubles &out) {
                const uint64_t n = s.size();
                const Doubles x = s.values(n);
                out = s.values(n);
                (k.*slot)(n, s.value(), x.data(), out.data());
            }};
}

KernelCase found(const char *name, uint64_t (*Kernels::*slot)(uint64_t, const double *)) {
    return {name, [slot](const Kernels &k, CaseSource &s, Doubles &out) {
                const uint64_t n = s.size() + 1;
                Doubles x = s.values(n);
                for (double &v : x)
                    if (s.random.below(3) == 0) v = static_cast<double>(s.random.below(3)) - 1.0; // ties
                out = {static_cast<double>((k.*slot)(n, x.data()))};
            }};
}

KernelCase product(const char *name, decltype(Kernels::product) Kernels::*slot, bool b_transposed) {
    return {name, [slot, b_transposed](const Kernels &k, CaseSource &s, Doubles &out) {
                const uint64_t m = s.size(20), n = s.size(), l = s.size(20);
                const bool transposed = s.random.below(2);
                const Doubles a = s.values(m * l), b = s.values(n * l);
                out = s.values(m * n);
                Doubles work(k.product_work(m, n, l) + 1);
                (k.*slot)(m, n, l, a.data(), transposed ? 1 : l, transposed ? m : 1, b.data(), b_transposed ? l : n,
                          out.data(), n, work.data());
            }};
}

KernelCase by_rows(const char *name,
                   std::function<void(const Kernels &, uint64_t, uint64_t, const Doubles &, Doubles &)> run) {
    return {name, [run](const Kernels &k, CaseSource &s, Doubles &out) {
                const uint64_t rows = s.size(33), n = s.size();
                const Doubles a = s.values(rows * n + n);
                out = s.values(rows * n + rows + n);
                run(k, rows, n, a, out);
            }};
}

const KernelCase cases[] = {
    pairwise("add", &Kernels::add), pairwise("subtract", &Kernels::subtract), pairwise("multiply", &Kernels::multiply),
    pairwise("divide", &Kernels::divide), scaled("divide_by", &Kernels::divide_by), scaled("scale", &Kernels::scale),
    scaled("shift", &Kernels::shift), scaled("axpy", &Kernels::axpy),
    {"scale_add",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size();
         const Doubles x = s.values(n), y = s.values(n);
         out = s.values(n);
         k.scale_add(n, s.value(), x.data(), y.data(), out.data());
     }},
    found("first_zero", &Kernels::first_zero), found("min_index", &Kernels::min_index),
    found("max_index", &Kernels::max_index),
    {"scaled_pivot and max_abs",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size();
         const Doubles x = s.values(n);
         Doubles scale = s.values(n);
         for (double &v : scale) v = v != v ? 0.5 : __builtin_fabs(v);
         out = {static_cast<double>(k.scaled_pivot(n, x.data(), scale.data())), k.max_abs(n, x.data())};
     }},
    by_rows("dot_rows", [](const Kernels &k, uint64_t rows, uint64_t n, const Doubles &a,
                           Doubles &out) { k.dot_rows(rows, n, a.data(), n, a.data() + rows * n, out.data()); }),
    by_rows("max_abs_rows", [](const Kernels &k, uint64_t rows, uint64_t n, const Doubles &a,
                               Doubles &out) { k.max_abs_rows(rows, n, a.data(), n, out.data()); }),
    by_rows("largest sums",
            [](const Kernels &k, uint64_t rows, uint64_t n, const Doubles &a, Doubles &out) {
                out = {k.max_row_sum(rows, n, a.data(), n), k.max_column_sum(rows, n, a.data(), n)};
            }),
    by_rows("transpose", [](const Kernels &k, uint64_t rows, uint64_t n, const Doubles &a,
                            Doubles &out) { k.transpose(rows, n, a.data(), n, out.data(), rows); }),
    by_rows("add_rows",
            [](const Kernels &k, uint64_t rows, uint64_t n, const Doubles &a, Doubles &out) {
                std::vector<const double *> pointers(rows + 1);
                for (uint64_t i = 0; i < rows; i++) pointers[i] = a.data() + i * n;
                const Doubles factors(out.end() - static_cast<std::ptrdiff_t>(rows), out.end());
                k.add_rows(rows, n, pointers.data(), factors.data(), out.data());
            }),
    product("product", &Kernels::product, false), product("product_add", &Kernels::product_add, false),
    product("product_subtract", &Kernels::product_subtract, false),
    product("product_transposed", &Kernels::product_transposed, true),
    {"upper_solve_strip",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size(12), columns = 1 + s.random.below(sarvo::simd::solve_strip);
         const Doubles u = s.values(n * n);
         Doubles x = s.values(n * sarvo::simd::solve_strip);
         k.upper_solve_strip(n, u.data(), n, columns, x.data());
         for (uint64_t i = 0; i < n; i++)
             for (uint64_t c = 0; c < columns; c++) out.push_back(x[i * sarvo::simd::solve_strip + c]);
     }},
    {"dot8", [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size();
         const Doubles x = s.values(n), y = s.values(n);
         out = {k.dot8(n, x.data(), y.data())};
     }},
    by_rows("dot8_rows", [](const Kernels &k, uint64_t rows, uint64_t n, const Doubles &a,
                            Doubles &out) { k.dot8_rows(rows, n, a.data(), n, a.data() + rows * n, out.data()); }),
    {"update2_accumulate",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t rows = s.size(12), n = 8 * s.random.below(5);
         const Doubles u = s.values(rows), y = s.values(n), x = s.values(rows), v = s.values(n), t = s.values(rows);
         out = s.values(rows * n + n);
         k.update2_accumulate(rows, n, out.data(), n, u.data(), y.data(), x.data(), v.data(), t.data(),
                              out.data() + rows * n);
     }},
    {"rotate_with_rows",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size(), first = s.random.below(n + 1), count = s.random.below(10);
         const Doubles s_tau = s.values(2 * count);
         out = s.values((count + 1) * n);
         std::vector<double *> rows(count + 1);
         for (uint64_t i = 0; i < count; i++) rows[i] = out.data() + (i + 1) * n;
         k.rotate_with_rows(count, first, n, s_tau.data(), out.data(), rows.data());
     }},
    {"crossings",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size();
         Doubles x = s.values(n), y = s.values(n);
         if (s.random.below(2)) // at the height of the point, flat, equal
             for (uint64_t i = 0; i < n; i++) y[i] = static_cast<double>(s.random.below(3)) - 1.0;
         const double px = 0.5 * s.value();
         out = {static_cast<double>(k.crossings(n, x.data(), y.data(), px, s.random.below(2) ? 0.0 : 0.5 * s.value()))};
     }},
    {"rotate",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size();
         out = s.values(2 * n);
         const double c = s.value();
         k.rotate(n, c, s.value(), out.data(), out.data() + n);
     }},
    {"rotation sweeps",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t rows = 2 + s.random.below(8), n = s.size(40), sweeps = s.random.below(9);
         const uint64_t first = s.random.below(rows), last = first + s.random.below(rows - first);
         const Doubles cs = s.values(sweeps * 2 * rows);
         out = s.values(rows * n);
         (s.random.below(2) ? k.rotate_sweeps : k.rotate_scaled_sweeps)(sweeps, first, last, n, cs.data(), 2 * rows,
                                                                        out.data(), n);
     }},
    {"sweeps of rows of their own",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t rows = 2 + s.random.below(10), n = 8 * s.random.below(6), sweeps = s.random.below(9);
         const Doubles cs = s.values(sweeps * 2 * rows);
         std::vector<uint64_t> first(sweeps + 1), last(sweeps + 1);
         for (uint64_t q = 0; q < sweeps; q++) {
             first[q] = s.random.below(s.random.below(2) ? 2 : rows);
             last[q] = first[q] + s.random.below(rows - first[q]);
         }
         out = s.values(rows * n + 2 * rows);
         double *a = out.data() + rows * n;
         sarvo::simd::Chase chase = {a, a + rows, nullptr, 0, rows - 1, 0, a[0], a[rows]};
         k.rotate_ranges(sweeps, first.data(), last.data(), n, cs.data(), 2 * rows, out.data(), n, &chase, 1);
         k.chase(&chase);
     }},
    {"dot_rows_updated",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t rows = s.size(40), n = s.size(40);
         const Doubles a = s.values(rows * n), u = s.values(rows), y = s.values(n), x = s.values(n);
         out = s.values(rows);
         k.dot_rows_updated(rows, n, a.data(), n, u.data(), y.data(), x.data(), out.data());
     }},
    {"reflect_columns",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = 1 + s.size(20), columns = 8 * s.random.below(8), count = s.random.below(n);
         const Doubles h = s.values(n * n), beta = s.values(n);
         out = s.values(n * columns);
         k.reflect_columns(count, n, columns, h.data(), n, beta.data(), out.data(), columns);
     }},
    {"convolve",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t outputs = s.size(), terms = s.size();
         const int64_t step = s.random.below(2) ? 1 : -1;
         const Doubles factors = s.values(terms), x = s.values(outputs + terms);
         out = s.values(outputs);
         k.convolve(outputs, terms, factors.data(), step == 1 || terms == 0 ? x.data() : x.data() + terms - 1, step,
                    out.data());
     }},
    {"fourier",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = uint64_t{2} << s.random.below(6);
         Doubles roots(2 * n); // any factors do; the first of each stage is 1
         for (double &root : roots) root = s.random.symmetric();
         for (uint64_t m = 1; m < n; m *= 2) {
             roots[m] = 1.0;
             roots[m + m / 2] = m == 1 ? 1.0 : 0.0;
         }
         out = s.values(2 * n);
         k.fourier(n, out.data(), out.data() + n, roots.data(), nullptr);
     }},
    {"pack_scaled",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.random.below(65), mask = s.random.next() | (s.random.below(2) ? s.random.next() : 0);
         const Doubles x = s.values(n);
         out = s.values(n); // what lies behind the packed ones must stay
         out.push_back(static_cast<double>(k.pack_scaled(n, mask, s.value(), x.data(), out.data())));
     }},
    {"gamma_trials",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size(64), stride = 2 + s.random.below(2);
         std::vector<uint64_t> words(n * stride + 1);
         for (uint64_t &w : words) w = s.random.next() >> 32;
         sarvo::simd::GammaTrials trials;
         k.gamma_trials(n, stride, words.data(), s.random.uniform(), sarvo::ziggurat::width, sarvo::ziggurat::inside,
                        &trials);
         const uint64_t regular = trials.odd ? static_cast<uint64_t>(__builtin_ctzll(trials.odd)) : n;
         out = {static_cast<double>(regular)};
         for (uint64_t t = 0; t < regular; t++)
             out.insert(out.end(), {trials.x[t], trials.u[t], trials.V[t], trials.sure >> t & 1 ? 1.0 : 0.0});
     }},
    {"random words",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size();
         std::vector<uint64_t> words(n + 1);
         out = s.values(2 * n);
         for (uint64_t &w : words) w = s.random.next();
         k.fractions(n, words.data(), out.data() + n);
         for (uint64_t &w : words) w &= 0xFFFFFFFF;
         k.mt_uniforms(n, words.data(), out.data(), 0);
     }},
    {"mt_regenerate",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         uint64_t words[624];
         for (uint64_t &w : words) w = s.random.next() >> 32;
         k.mt_regenerate(words);
         out.clear();
         for (const uint64_t w : words) out.push_back(static_cast<double>(w));
     }},
    {"mt_ziggurat",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.size();
         std::vector<uint64_t> words(n + 1);
         for (uint64_t &w : words) w = s.random.next() >> 32;
         std::vector<uint32_t> outside(n + 1);
         out.assign(n, 0.0);
         const uint64_t count = k.mt_ziggurat(n, words.data(), s.random.uniform(), sarvo::ziggurat::width,
                                              sarvo::ziggurat::inside, out.data(), outside.data());
         for (uint64_t i = 0; i < count; i++) out.push_back(outside[i]);
     }},
    {"beta_fractions",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.random.below(9);
         const double a = 0.1 + 20.0 * s.random.uniform(), b = 0.1 + 20.0 * s.random.uniform();
         Doubles x(n);
         for (double &v : x) v = (1.0 + a) / (a + b + 2.0) * s.random.uniform();
         out.assign(n, 0.0);
         k.beta_fractions(n, a, b, x.data(), out.data());
     }},
    {"gamma_fractions",
     [](const Kernels &k, CaseSource &s, Doubles &out) {
         const uint64_t n = s.random.below(9);
         const double a = 0.1 + 20.0 * s.random.uniform();
         Doubles x(n);
         for (double &v : x) v = a + 1.0 + 10.0 * s.random.uniform();
         out.assign(n, 0.0);
         k.gamma_fractions(n, a, x.data(), out.data());
     }},
};

bool same(double x, double y) { return (x != x && y != y) || std::bit_cast<uint64_t>(x) == std::bit_cast<uint64_t>(y); }

} // namespace

std::span<const KernelCase> kernel_cases() { return cases; }

bool find_disagreement(const KernelCase &kernel, uint64_t count, Disagreement *found,
                       const std::function<void(std::span<const double>)> &each) {
    const Kernels *levels[sarvo::simd::most_levels];
    const uint32_t level_count = sarvo::simd::available_levels(levels, sarvo::simd::most_levels);
    for (uint64_t seed = 0; seed < count; seed++) {
        Doubles expected, actual;
        CaseSource first(seed);
        kernel.run(*levels[0], first, expected);
        if (each) each(expected);
        for (uint32_t l = 1; l < level_count; l++) {
            CaseSource again(seed);
            actual.clear();
            kernel.run(*levels[l], again, actual);
            for (uint64_t i = 0; i < expected.size(); i++)
                if (actual.size() != expected.size() || !same(actual[i], expected[i])) {
                    *found = {seed, i, levels[l]->level};
                    return true;
                }
        }
    }
    return false;
}

} // namespace command
