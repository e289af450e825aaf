// Dense arithmetic: bits of the stated loops at every level, sizing, coincidence and the order of checks.
#include <sarvo/mh/kernels.h>

#include <cmath>
#include <set>

#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

const std::vector<uint64_t> sizes = awkward_sizes();

// ---- The stated loops ----

Doubles product(const Mat &A, const Mat &B) {
    Doubles out(A.p->rows * B.p->cols);
    for (uint64_t i = 0; i < A.p->rows; i++)
        for (uint64_t k = 0; k < A.p->cols; k++)
            for (uint64_t j = 0; j < B.p->cols && A(i, k) != 0.0; j++) out[i * B.p->cols + j] += A(i, k) * B(k, j);
    return out;
}

Doubles product_second_transposed(const Mat &A, const Mat &B) {
    Doubles out;
    for (uint64_t i = 0; i < A.p->rows; i++)
        for (uint64_t j = 0; j < B.p->rows; j++) {
            double sum = 0.0;
            for (uint64_t k = 0; k < A.p->cols; k++) sum += A(i, k) * B(j, k);
            out.push_back(sum);
        }
    return out;
}

Doubles product_first_transposed(const Mat &A, const Mat &B) {
    Doubles out(A.p->cols * B.p->cols);
    for (uint64_t i = 0; i < A.p->rows; i++)
        for (uint64_t k = 0; k < A.p->cols; k++)
            for (uint64_t j = 0; j < B.p->cols && A(i, k) != 0.0; j++) out[k * B.p->cols + j] += A(i, k) * B(i, j);
    return out;
}

Doubles rows_times(const Mat &A, const Doubles &w) {
    Doubles out;
    for (uint64_t i = 0; i < A.p->rows; i++) {
        double sum = 0.0;
        for (uint64_t j = 0; j < A.p->cols; j++) sum += A(i, j) * w[j];
        out.push_back(sum);
    }
    return out;
}

Doubles add_rows(Doubles out, const Mat &A, const Doubles &w, double alpha) {
    for (uint64_t i = 0; i < A.p->rows; i++) {
        const double t = w[i] * alpha;
        for (uint64_t j = 0; j < A.p->cols && t != 0.0; j++) out[j] += A(i, j) * t;
    }
    return out;
}

Mat random_matrix(uint64_t rows, uint64_t cols, test::Random &random, Fill fill) {
    return {rows, cols, values(rows * cols, random, fill)};
}

TEST(MatrixProducts, HaveTheBitsOfTheLoops) {
    test::Random random(1);
    const auto check = [&](uint64_t m, uint64_t n, uint64_t k, Fill fill) {
        const Mat A = random_matrix(m, k, random, fill), B = random_matrix(k, n, random, fill);
        const Mat Bt = random_matrix(n, k, random, fill), At = random_matrix(k, m, random, fill);
        const Doubles ab = product(A, B), abt = product_second_transposed(A, Bt), atb = product_first_transposed(At, B);
        at_every_level([&](const std::string &level) {
            const std::string what = std::to_string(m) + " x " + std::to_string(n) + " x " + std::to_string(k) + level;
            Mat C(3, 2, {1, 2, 3, 4, 5, 6});
            expect_success(sarvo_mh_m_mlt(A.p, B.p, &C.p));
            expect_bits(C.get(), ab, "A B " + what);
            expect_success(sarvo_mh_mmtr_mlt(A.p, Bt.p, &C.p));
            expect_bits(C.get(), abt, "A B' " + what);
            expect_success(sarvo_mh_mtrm_mlt(At.p, B.p, &C.p));
            expect_bits(C.get(), atb, "A' B " + what);
        });
    };
    for (const uint64_t n : sizes)
        for (const Fill fill : fills) check(n, n, n, fill);
    for (int round = 0; round < 40; round++)
        check(random.below(70), random.below(70), random.below(140), fills[random.below(3)]);
    check(9, 70, 400, Fill::zeros); // beyond a block of k
}

TEST(MatrixProducts, LeaveZerosOfTheLeftOperandOut) {
    const Mat A(1, 2, {0.0, 2.0}), B(2, 1, {INFINITY, 3.0}), At(2, 1, {0.0, 2.0}), Bt(1, 2, {INFINITY, 3.0});
    Mat C;
    expect_success(sarvo_mh_m_mlt(A.p, B.p, &C.p));
    EXPECT_EQ(C(0, 0), 6.0);
    expect_success(sarvo_mh_mtrm_mlt(At.p, B.p, &C.p));
    EXPECT_EQ(C(0, 0), 6.0);
    expect_success(sarvo_mh_mmtr_mlt(A.p, Bt.p, &C.p));
    EXPECT_TRUE(std::isnan(C(0, 0))) << "an inner product leaves nothing out";
}

TEST(MatrixVectorProducts, HaveTheBitsOfTheLoops) {
    test::Random random(2);
    for (const uint64_t m : sizes)
        for (const Fill fill : fills) {
            const uint64_t n = random.below(2) ? m : random.below(140);
            const Mat A = random_matrix(m, n, random, fill);
            const Doubles x = values(n, random, fill), y = values(m, random, fill), u = values(n, random, fill);
            const double alpha = random.below(4) ? random.symmetric() : 0.0;
            const Vec X(x), Y(y), U(u);
            Doubles y_plus = y;
            const Doubles Ax = rows_times(A, x);
            for (uint64_t i = 0; i < m && alpha != 0.0; i++) y_plus[i] += alpha * Ax[i];
            at_every_level([&](const std::string &level) {
                const std::string what = std::to_string(m) + " x " + std::to_string(n) + ' ' + level;
                Vec out({1, 2}), longer(Doubles(n + 2, 5.0)), in_place(y);
                expect_success(sarvo_mh_mv_mlt(A.p, X.p, &out.p));
                expect_bits(out.get(), Ax, "A x " + what);
                expect_success(sarvo_mh_vm_mlt(A.p, Y.p, &out.p));
                expect_bits(out.get(), add_rows(Doubles(n), A, y, 1.0), "y' A " + what);
                expect_success(sarvo_mh_mv_mltadd(in_place.p, X.p, A.p, alpha, &in_place.p));
                expect_bits(in_place.get(), y_plus, "y + alpha A x " + what);
                expect_success(sarvo_mh_vm_mltadd(U.p, Y.p, A.p, alpha, &longer.p));
                Doubles expected = alpha == 0.0 ? u : add_rows(u, A, y, alpha);
                expected.insert(expected.end(), {5.0, 5.0});
                expect_bits(longer.get(), expected, "u + alpha y' A " + what);
            });
        }
}

TEST(MatrixSums, HaveTheBitsOfTheLoopsInPlaceAndThroughViews) {
    test::Random random(3);
    for (const uint64_t n : {0u, 1u, 5u, 8u, 17u, 33u, 50u})
        for (const Fill fill : fills) {
            const uint64_t m = random.below(40);
            const Doubles a = values(m * n, random, fill), b = values(m * n, random, fill);
            for (const double s : {0.0, 1.0, -0.75}) {
                Doubles sum(m * n), difference(m * n), combination = a, scaled(m * n), transposed(m * n);
                for (uint64_t i = 0; i < m * n; i++) {
                    sum[i] = a[i] + b[i];
                    difference[i] = a[i] - b[i];
                    scaled[i] = s * a[i];
                    if (s != 0.0) combination[i] = s == 1.0 ? a[i] + b[i] : a[i] + s * b[i];
                    transposed[i % n * m + i / n] = a[i];
                }
                const Mat A(m, n, a), B(m, n, b);
                Mat out(1, 1), square(m, m), in_place(m, n, a);
                expect_success(sarvo_mh_m_add(A.p, B.p, &out.p));
                expect_bits(out.get(), sum, "A + B");
                expect_success(sarvo_mh_m_sub(A.p, B.p, &out.p));
                expect_bits(out.get(), difference, "A - B");
                expect_success(sarvo_mh_sm_mlt(A.p, &out.p, s));
                expect_bits(out.get(), scaled, "s A");
                expect_success(sarvo_mh_ms_mltadd(in_place.p, B.p, s, &in_place.p));
                expect_bits(in_place.get(), combination, "A + s B");
                expect_success(sarvo_mh_m_transp(A.p, &out.p));
                expect_bits(out.get(), transposed, "A'");
                expect_success(sarvo_mh_m_transp(out.p, &square.p));
                expect_bits(square.get(), a, "A''");
            }
            const Doubles s = values(m * m, random, fill);
            Mat S(m, m, s), T;
            expect_success(sarvo_mh_m_transp(S.p, &T.p));
            expect_success(sarvo_mh_m_transp(S.p, &S.p));
            expect_bits(S.get(), T.get(), "in place");
        }
}

TEST(VectorArithmetic, HasTheBitsOfTheLoopsInEveryCoincidence) {
    test::Random random(4);
    const auto negate = [](double x) { return -x; };
    for (const uint64_t n : {0u, 1u, 7u, 8u, 33u})
        for (const Fill fill : fills) {
            const Doubles a = values(n, random, fill), b = values(n, random, fill);
            struct Case {
                const char *name;
                std::function<sarko_error_t(const VEC *, const VEC *, VEC **)> run;
                std::function<double(double, double)> element;
            };
            const Case cases[] = {
                {"add", sarvo_mh_v_add, [](double x, double y) { return x + y; }},
                {"sub", sarvo_mh_v_sub, [](double x, double y) { return x - y; }},
                {"star", sarvo_mh_v_star, [](double x, double y) { return x * y; }},
                {"mltadd 0", [](auto x, auto y, auto o) { return sarvo_mh_v_mltadd(x, y, 0.0, o); },
                 [](double x, double) { return x; }},
                {"mltadd 1", [](auto x, auto y, auto o) { return sarvo_mh_v_mltadd(x, y, 1.0, o); },
                 [](double x, double y) { return x + y; }},
                {"mltadd", [](auto x, auto y, auto o) { return sarvo_mh_v_mltadd(x, y, 0.3, o); },
                 [](double x, double y) { return x + 0.3 * y; }},
                {"mlt 0", [](auto x, auto, auto o) { return sarvo_mh_sv_mlt(0.0, x, o); },
                 [](double, double) { return 0.0; }},
                {"mlt 1", [](auto x, auto, auto o) { return sarvo_mh_sv_mlt(1.0, x, o); },
                 [](double x, double) { return x; }},
                {"mlt", [](auto x, auto, auto o) { return sarvo_mh_sv_mlt(-3.1, x, o); },
                 [](double x, double) { return -3.1 * x; }},
                {"add s", [](auto x, auto, auto o) { return sarvo_mh_sv_add(0.1, x, o); },
                 [](double x, double) { return x + 0.1; }},
                {"sub s", [](auto x, auto, auto o) { return sarvo_mh_sv_sub(0.1, x, o); },
                 [](double x, double) { return x - 0.1; }},
                {"map", [&](auto x, auto, auto o) { return sarvo_mh_v_map(negate, x, o); },
                 [](double x, double) { return -x; }},
            };
            for (const Case &c : cases) {
                Doubles expected(n);
                for (uint64_t i = 0; i < n; i++) expected[i] = c.element(a[i], b[i]);
                Vec x1(a), x2(b), fresh, first(a), second(b);
                expect_success(c.run(x1.p, x2.p, &fresh.p));
                expect_bits(fresh.get(), expected, c.name);
                expect_success(c.run(first.p, x2.p, &first.p));
                expect_bits(first.get(), expected, std::string(c.name) + ", out is x1");
                expect_success(c.run(x1.p, second.p, &second.p));
                expect_bits(second.get(), expected, std::string(c.name) + ", out is x2");
            }
        }
}

TEST(VectorArithmetic, SizesTheOutputAsStated) {
    const Vec x1({1, 2}), x2({3, 4});
    Vec resized({9, 9, 9}), kept({9, 9, 9}), kept_too({9, 9, 9});
    expect_success(sarvo_mh_v_add(x1.p, x2.p, &resized.p));
    EXPECT_EQ(resized.get(), (Doubles{4, 6}));
    expect_success(sarvo_mh_v_mltadd(x1.p, x2.p, 2.0, &kept.p));
    EXPECT_EQ(kept.get(), (Doubles{7, 10, 9}));
    expect_success(sarvo_mh_v_mltadd(x1.p, x2.p, 1.0, &kept_too.p));
    EXPECT_EQ(kept_too.get(), (Doubles{4, 6, 9}));
    double offset = 10.0;
    const auto plus = [](double x, void *params) { return x + *static_cast<double *>(params); };
    expect_success(sarvo_mh_v_map_(plus, &offset, x1.p, &kept.p));
    EXPECT_EQ(kept.get(), (Doubles{11, 12}));
}

TEST(Division, StopsAtTheFirstZeroDivisor) {
    const Vec x1({1, 0, 2}), x2({5, 6, 7}), minus({2, -0.0}), pair({1, 1});
    Vec out({9, 9, 9}), in_place({4, 0, 4});
    expect_error(sarvo_mh_v_slash(x1.p, x2.p, &out.p), SarvoMHSingEC, {"Singular matrix"});
    EXPECT_EQ(out.get(), (Doubles{5, 9, 9}));
    expect_error(sarvo_mh_v_slash(in_place.p, x2.p, &in_place.p), SarvoMHSingEC, {"Singular matrix"});
    EXPECT_EQ(in_place.get(), (Doubles{1.25, 0, 4}));
    expect_error(sarvo_mh_v_slash(minus.p, pair.p, &out.p), SarvoMHSingEC, {"Singular matrix"});
    const Vec nan({NAN, 2});
    expect_success(sarvo_mh_v_slash(nan.p, pair.p, &out.p));
    EXPECT_TRUE(std::isnan(out.get()[0]));
    EXPECT_EQ(out.get()[1], 0.5);
}

TEST(LinearCombinations, AddTermByTerm) {
    Vec a({1, 2}), b({3, 4}), c({5, 6}), bad({1}), out({7, 7, 7});
    VEC *v[] = {a.p, b.p, c.p};
    const double factors[] = {2.0, -1.0, 0.5};
    expect_success(sarvo_mh_v_lincomb(3, v, factors, &out.p));
    EXPECT_EQ(out.get(), (Doubles{1.5, 3.0}));
    expect_success(sarvo_mh_v_linlist(&out.p, a.p, 2.0, b.p, -1.0, c.p, 0.5, static_cast<VEC *>(nullptr)));
    EXPECT_EQ(out.get(), (Doubles{1.5, 3.0}));
    expect_success(sarvo_mh_v_linlist(&a.p, a.p, 1.0, b.p, 1.0, bad.p, 0.0, static_cast<VEC *>(nullptr)));
    EXPECT_EQ(a.get(), (Doubles{4, 6})) << "a coefficient of 0 skips the pair, whatever its size";
    VEC *in_situ[] = {a.p, b.p, out.p}, *short_one[] = {b.p, c.p, bad.p}, *with_null[] = {b.p, nullptr};
    expect_error(sarvo_mh_v_lincomb(3, in_situ, factors, &out.p), SarvoMHInsituEC, {"Can't do operation in situ"});
    EXPECT_EQ(out.get(), (Doubles{1.5, 3.0})) << "checked before any arithmetic";
    expect_error(sarvo_mh_v_lincomb(3, short_one, factors, &out.p), SarvoMHSizesEC, {"Wrong size(s) of object(s)"});
    EXPECT_EQ(out.get(), (Doubles{1, 2})) << "the partial sum stays";
    expect_error(sarvo_mh_v_lincomb(2, with_null, factors, &out.p), SarvoMHNullEC,
                 {"Input structure(s) is(are) not initialized"});
    expect_error(sarvo_mh_v_linlist(&out.p, b.p, 2.0, out.p, 1.0, static_cast<VEC *>(nullptr)), SarvoMHInsituEC,
                 {"Can't do operation in situ"});
    expect_error(sarvo_mh_v_linlist(&out.p, b.p, 2.0, bad.p, 1.0, static_cast<VEC *>(nullptr)), SarvoMHSizesEC,
                 {"Wrong size(s) of object(s)"});
    VEC *nothing = b.p;
    expect_success(sarvo_mh_v_lincomb(0, v, factors, &nothing));
    EXPECT_EQ(nothing, nullptr);
    nothing = b.p;
    expect_success(sarvo_mh_v_linlist(&nothing, nullptr, 1.0));
    EXPECT_EQ(nothing, nullptr);
}

TEST(Reductions, HaveTheBitsOfTheLoops) {
    test::Random random(5);
    for (const uint64_t n : sizes)
        for (const Fill fill : fills) {
            const Doubles x = values(n, random, fill), s = values(n + 1, random, fill);
            const Vec X(x), S(s);
            double sum = 0.0, dot = 0.0, norm1 = 0.0, squares = 0.0, norminf = 0.0;
            double scaled1 = 0.0, scaled2 = 0.0, scaledinf = 0.0;
            for (uint64_t i = 0; i < n; i++) {
                const double t = s[i] == 0.0 ? x[i] : x[i] / s[i];
                sum += x[i];
                dot += x[i] * s[i];
                norm1 += std::fabs(x[i]), scaled1 += std::fabs(t);
                squares += x[i] * x[i], scaled2 += t * t;
                if (std::fabs(x[i]) > norminf) norminf = std::fabs(x[i]);
                if (std::fabs(t) > scaledinf) scaledinf = std::fabs(t);
            }
            const Doubles expected = {sum,      dot, norm1, std::sqrt(squares), norminf, scaled1, std::sqrt(scaled2),
                                      scaledinf};
            at_every_level([&](const std::string &level) {
                Doubles r(8, -1.0);
                expect_success(sarvo_mh_v_sum(X.p, &r[0]));
                expect_success(sarvo_mh_in_prod_(X.p, S.p, 0, &r[1]));
                expect_success(sarvo_mh_v_norm1_s(X.p, nullptr, &r[2]));
                expect_success(sarvo_mh_v_norm2_s(X.p, nullptr, &r[3]));
                expect_success(sarvo_mh_v_norminf_s(X.p, nullptr, &r[4]));
                expect_success(sarvo_mh_v_norm1_s(X.p, S.p, &r[5]));
                expect_success(sarvo_mh_v_norm2_s(X.p, S.p, &r[6]));
                expect_success(sarvo_mh_v_norminf_s(X.p, S.p, &r[7]));
                expect_bits(r, expected, "reductions of " + std::to_string(n) + " " + level);
            });
            EXPECT_EQ(test::bits(__ip__(x.data(), s.data(), n)), test::bits(dot + 0.0)) << n;
        }
    double r = -1.0;
    const Vec five({1, 2, 3, 4, 5}), three({1, 10, 100});
    expect_success(sarvo_mh_in_prod_(five.p, three.p, 1, &r));
    EXPECT_EQ(r, 320.0);
    expect_success(sarvo_mh_in_prod_(five.p, three.p, 3, &r));
    EXPECT_EQ(r, 0.0);
    expect_error(sarvo_mh_in_prod_(five.p, three.p, 4, &r), SarvoMHBoundsEC, {"Index out of bounds"});
}

TEST(Extremes, AreTheFirstOfEqualsAndPassOverNaNs) {
    const double nan = NAN;
    const struct {
        Doubles x;
        uint64_t imin, imax;
    } cases[] = {{{3, 1, 1, 2}, 1, 0}, {{nan, 1, 2}, 0, 0},    {{1, nan, 2, nan}, 0, 2},
                 {{0.0, -0.0}, 0, 0},  {{-0.0, 0.0, 1}, 0, 2}, {{INFINITY, 1}, 1, 0},
                 {{2}, 0, 0}};
    for (const auto &c : cases) {
        uint64_t i = 99;
        double value = 99;
        const Vec x(c.x);
        expect_success(sarvo_mh_v_min(x.p, &i, &value));
        EXPECT_EQ(i, c.imin);
        EXPECT_EQ(test::bits(value), test::bits(c.x[c.imin]));
        expect_success(sarvo_mh_v_max(x.p, &i, &value));
        EXPECT_EQ(i, c.imax);
        expect_success(sarvo_mh_v_max(x.p, nullptr, nullptr));
    }
    expect_error(sarvo_mh_v_min(nullptr, nullptr, nullptr), SarvoMHNullEC,
                 {"Input structure(s) is(are) not initialized"});
    expect_error(sarvo_mh_v_max(Vec(Doubles()).p, nullptr, nullptr), SarvoMHSizesEC, {"Wrong size(s) of object(s)"});
}

TEST(MatrixNorms, HaveTheBitsOfTheLoops) {
    test::Random random(6);
    for (const uint64_t m : sizes)
        for (const Fill fill : fills) {
            const uint64_t n = random.below(100);
            const Mat A = random_matrix(m, n, random, fill);
            double most_row = 0.0, squares = 0.0, most_column = 0.0;
            for (uint64_t i = 0; i < m; i++) {
                double row = 0.0;
                for (uint64_t j = 0; j < n; j++) row += std::fabs(A(i, j)), squares += A(i, j) * A(i, j);
                if (row > most_row) most_row = row;
            }
            for (uint64_t j = 0; j < n; j++) {
                double column = 0.0;
                for (uint64_t i = 0; i < m; i++) column += std::fabs(A(i, j));
                if (column > most_column) most_column = column;
            }
            Doubles r(3, -1.0);
            expect_success(sarvo_mh_m_norm1(A.p, &r[0]));
            expect_success(sarvo_mh_m_norm_inf(A.p, &r[1]));
            expect_success(sarvo_mh_m_norm_frob(A.p, &r[2]));
            expect_bits(r, {most_column, most_row, std::sqrt(squares)}, "norms");
        }
}

TEST(PlainKernels, DoWhatTheirFormulasSay) {
    const double a[] = {1, -2, 3}, b[] = {4, 5, -6};
    double d[] = {1, 1, 1};
    const auto is = [&](double x, double y, double z) { return d[0] == x && d[1] == y && d[2] == z; };
    __mltadd__(d, a, 3, 2.0);
    EXPECT_TRUE(is(3, -3, 7));
    __smlt__(a, d, 3, -1.0);
    EXPECT_TRUE(is(-1, 2, -3));
    __add__(a, b, d, 3);
    EXPECT_TRUE(is(5, 3, -3));
    __sub__(a, b, d, 3);
    EXPECT_TRUE(is(-3, -7, 9));
    __sadd__(a, d, 3, 0.5);
    EXPECT_TRUE(is(1.5, -1.5, 3.5));
    __ssub__(a, d, 2, 0.5);
    EXPECT_TRUE(is(0.5, -2.5, 3.5)) << "exactly n elements";
    __zero__(d, 3);
    EXPECT_TRUE(is(0, 0, 0));
    EXPECT_EQ(__ip__(a, b, 3), -24.0);
    EXPECT_EQ(square(-3.0), 9.0);
    EXPECT_EQ(cube(-2.0), -8.0);
}

// ---- Checks, in their order, with everything untouched ----

TEST(Checks, OfMatrixOperationsComeInTheirOrder) {
    Mat A(2, 3, {1, 2, 3, 4, 5, 6}), B(2, 3), S(2, 2), X(3, 3), nowhere;
    Vec two({1, 2}), three({1, 2, 3}), none;
    const std::string null = "Input matrix is not initialized.", sizes_text = "Sizes of matrices are not consistent.",
                      same = "Input matrix(ces) coincide with output matrix.",
                      null_operand = "Input matrix and/or vector are/is not initialized.",
                      vector_sizes = "Sizes of matrix and vector are not consistent.",
                      same_vector = "Input vector coincides with output vector.",
                      null_of_three = "Input vector(s) and/or matrix is/are not initialized.",
                      sizes_of_three = "Sizes of input vectors and matrix are not consistent.";
    const struct {
        std::function<sarko_error_t()> run;
        std::string text;
    } cases[] = {
        {[&] { return sarvo_mh_m_add(nullptr, B.p, &S.p); }, null},
        {[&] { return sarvo_mh_m_add(A.p, S.p, &S.p); }, sizes_text},
        {[&] { return sarvo_mh_m_sub(A.p, nullptr, &S.p); }, null},
        {[&] { return sarvo_mh_m_sub(A.p, B.p, nullptr); }, null},
        {[&] { return sarvo_mh_m_sub(X.p, A.p, &S.p); }, sizes_text},
        {[&] { return sarvo_mh_m_mlt(A.p, nullptr, &A.p); }, null},
        {[&] { return sarvo_mh_m_mlt(A.p, B.p, &A.p); }, sizes_text},
        {[&] { return sarvo_mh_m_mlt(S.p, A.p, &A.p); }, same},
        {[&] { return sarvo_mh_m_mlt(S.p, A.p, &S.p); }, same},
        {[&] { return sarvo_mh_mmtr_mlt(nullptr, B.p, &A.p); }, null},
        {[&] { return sarvo_mh_mmtr_mlt(A.p, S.p, &A.p); }, same},
        {[&] { return sarvo_mh_mmtr_mlt(A.p, S.p, &B.p); }, sizes_text},
        {[&] { return sarvo_mh_mtrm_mlt(A.p, X.p, &X.p); }, same},
        {[&] { return sarvo_mh_mtrm_mlt(A.p, X.p, &B.p); }, sizes_text},
        {[&] { return sarvo_mh_mv_mlt(A.p, nullptr, &three.p); }, null_operand},
        {[&] { return sarvo_mh_mv_mlt(A.p, two.p, &two.p); }, vector_sizes},
        {[&] { return sarvo_mh_mv_mlt(A.p, three.p, &three.p); }, same_vector},
        {[&] { return sarvo_mh_vm_mlt(nullptr, two.p, &three.p); }, null_operand},
        {[&] { return sarvo_mh_vm_mlt(A.p, three.p, &three.p); }, vector_sizes},
        {[&] { return sarvo_mh_vm_mlt(A.p, two.p, &two.p); }, same_vector},
        {[&] { return sarvo_mh_sm_mlt(nullptr, &S.p, 2.0); }, null},
        {[&] { return sarvo_mh_ms_mltadd(A.p, nullptr, 1.0, &S.p); }, "Input matrix(ces) is/are not initialized."},
        {[&] { return sarvo_mh_ms_mltadd(A.p, S.p, 1.0, &S.p); }, "Sizes of input matrices are not consistent."},
        {[&] { return sarvo_mh_mv_mltadd(nullptr, three.p, A.p, 1.0, &three.p); }, null_of_three},
        {[&] { return sarvo_mh_mv_mltadd(three.p, three.p, A.p, 1.0, &three.p); }, same_vector},
        {[&] { return sarvo_mh_mv_mltadd(three.p, two.p, A.p, 0.0, &none.p); }, sizes_of_three},
        {[&] { return sarvo_mh_vm_mltadd(three.p, two.p, nullptr, 1.0, &two.p); }, null_of_three},
        {[&] { return sarvo_mh_vm_mltadd(three.p, two.p, A.p, 1.0, &two.p); }, same_vector},
        {[&] { return sarvo_mh_vm_mltadd(two.p, three.p, A.p, 0.0, &none.p); }, sizes_of_three},
        {[&] { return sarvo_mh_m_transp(nullptr, &S.p); }, null},
        {[&] { return sarvo_mh_m_transp(A.p, &A.p); }, "Input matrix coincides with output but is not square."},
        {[&] { return sarvo_mh_m_norm1(nullptr, nullptr); }, null},
        {[&] { return sarvo_mh_m_norm_inf(nullptr, nullptr); }, null},
        {[&] { return sarvo_mh_m_norm_frob(nullptr, nullptr); }, null},
    };
    const auto state = [&] {
        return bytes(A.p) + bytes(B.p) + bytes(S.p) + bytes(X.p) + bytes(two.p) + bytes(three.p) + bytes(none.p);
    };
    const std::string before = state();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        expect_error(c.run(), 0, {c.text});
        EXPECT_EQ(state(), before);
    }
    Vec u({1, 2}), w({1, NAN, 3}), out;
    expect_success(sarvo_mh_mv_mltadd(u.p, w.p, A.p, 0.0, &out.p));
    EXPECT_EQ(out.get(), u.get()) << "alpha = 0 copies, NaNs or not";
}

TEST(Checks, OfVectorOperationsReportCodes) {
    Vec two({1, 2}), three({1, 2, 3}), out;
    double r = 7.0;
    const std::string null = "Input structure(s) is(are) not initialized", wrong = "Wrong size(s) of object(s)";
    for (const auto operation : {sarvo_mh_v_add, sarvo_mh_v_sub, sarvo_mh_v_star, sarvo_mh_v_slash}) {
        expect_error(operation(nullptr, two.p, &out.p), SarvoMHNullEC, {null});
        expect_error(operation(two.p, nullptr, &out.p), SarvoMHNullEC, {null});
        expect_error(operation(two.p, three.p, &out.p), SarvoMHSizesEC, {wrong});
    }
    expect_error(sarvo_mh_v_mltadd(two.p, three.p, 0.0, &out.p), SarvoMHSizesEC, {wrong});
    for (const auto operation : {sarvo_mh_sv_mlt, sarvo_mh_sv_add, sarvo_mh_sv_sub})
        expect_error(operation(1.0, nullptr, &out.p), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_v_map(nullptr, two.p, &out.p), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_v_map_(nullptr, nullptr, two.p, &out.p), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_v_lincomb(1, nullptr, &r, &out.p), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_v_sum(nullptr, &r), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_in_prod_(two.p, nullptr, 0, &r), SarvoMHNullEC, {null});
    const std::string null_text = "Input vector is not initialized.",
                      sizes_text = "Sizes of input vectors are not consistent.";
    expect_error(sarvo_mh_v_norm1_s(nullptr, two.p, &r), 0, {null_text});
    expect_error(sarvo_mh_v_norm1_s(three.p, two.p, &r), 0, {sizes_text});
    expect_error(sarvo_mh_v_norm2_s(nullptr, two.p, &r), SarvoMHNullEC, {null_text});
    expect_error(sarvo_mh_v_norm2_s(three.p, two.p, &r), SarvoMHSizesEC, {sizes_text});
    expect_error(sarvo_mh_v_norminf_s(nullptr, two.p, &r), 0, {null_text});
    expect_error(sarvo_mh_v_norminf_s(three.p, two.p, &r), 0, {sizes_text});
    EXPECT_EQ(out.p, nullptr);
    EXPECT_EQ(r, 7.0);
    const Vec scale({0, 2}), x({3, 4});
    expect_success(sarvo_mh_v_norm1_s(x.p, scale.p, &r));
    EXPECT_EQ(r, 5.0);
}

} // namespace
