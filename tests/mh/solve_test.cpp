// LU factorisation, triangular solves, condition and inverse: bits of the stated loops, residuals, checks.
#include <algorithm>
#include <cmath>

#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

const std::string singular = "Singular matrix";

// ---- The stated loops ----

struct Factors {
    uint64_t m, n;
    Doubles a;
    std::vector<uint32_t> px;
    double &operator()(uint64_t i, uint64_t j) { return a[i * n + j]; }
};

void literal_factor(Factors &f) {
    Doubles scale(f.m);
    for (uint64_t i = 0; i < f.m; i++) {
        f.px.push_back(static_cast<uint32_t>(i));
        for (uint64_t j = 0; j < f.n; j++)
            if (std::fabs(f(i, j)) > scale[i]) scale[i] = std::fabs(f(i, j));
    }
    for (uint64_t k = 0; k + 1 < std::min(f.m, f.n); k++) {
        uint64_t chosen = f.m;
        double best = 0.0;
        for (uint64_t i = k; i < f.m; i++) {
            const double x = std::fabs(f(i, k));
            if (std::fabs(scale[i]) >= 0.0 * x && x / scale[i] > best) best = x / scale[i], chosen = i;
        }
        if (chosen == f.m) {
            f(k, k) = 0.0;
            continue;
        }
        if (chosen != k) {
            std::swap(f.px[k], f.px[chosen]);
            for (uint64_t j = 0; j < f.n; j++) std::swap(f(k, j), f(chosen, j));
        }
        for (uint64_t i = k + 1; i < f.m; i++) {
            f(i, k) = f(i, k) / f(k, k);
            for (uint64_t j = k + 1; j < f.n; j++) f(i, j) -= f(i, k) * f(k, j);
        }
    }
}

bool divide(const Mat &A, uint64_t i, double diag, double *x) {
    const double d = diag != 0.0 ? diag : A(i, i);
    if (diag == 0.0 && !(std::fabs(d) > 0.0 * std::fabs(*x))) return false;
    *x /= d;
    return true;
}

// Each returns false at a singular element, with what was written before.
bool literal_lower(const Mat &L, const Doubles &b, double diag, Doubles &x) {
    const uint64_t n = b.size();
    uint64_t f = 0;
    for (; f < n && b[f] == 0.0; f++) x[f] = 0.0;
    for (uint64_t i = f; i < n; i++) {
        double sum = 0.0;
        for (uint64_t j = f; j < i; j++) sum += L(i, j) * x[j];
        double xi = b[i] - sum;
        if (!divide(L, i, diag, &xi)) return false;
        x[i] = xi;
    }
    return true;
}

bool literal_upper(const Mat &U, const Doubles &b, double diag, Doubles &x) {
    uint64_t end = b.size();
    for (; end > 0 && b[end - 1] == 0.0; end--) x[end - 1] = 0.0;
    for (uint64_t i = end; i-- > 0;) {
        double sum = 0.0;
        for (uint64_t j = i + 1; j < end; j++) sum += U(i, j) * x[j];
        double xi = b[i] - sum;
        if (!divide(U, i, diag, &xi)) return false;
        x[i] = xi;
    }
    return true;
}

bool literal_upper_transposed(const Mat &U, const Doubles &b, double diag, Doubles &x) {
    const uint64_t n = b.size();
    x = b;
    uint64_t f = 0;
    for (; f < n && b[f] == 0.0; f++) x[f] = 0.0;
    for (uint64_t i = f; i < n; i++) {
        if (diag != 0.0) x[i] *= 1.0 / diag;
        else if (!divide(U, i, diag, &x[i])) return false;
        for (uint64_t j = i + 1; j < n; j++) x[j] -= x[i] * U(i, j);
    }
    return true;
}

bool literal_lower_transposed(const Mat &L, const Doubles &b, double diag, Doubles &x) {
    x = b;
    uint64_t end = b.size();
    for (; end > 0 && b[end - 1] == 0.0; end--) x[end - 1] = 0.0;
    for (uint64_t i = end; i-- > 0;) {
        if (diag != 0.0) x[i] *= 1.0 / diag;
        else if (!divide(L, i, diag, &x[i])) return false;
        for (uint64_t j = 0; j < i; j++) x[j] -= x[i] * L(i, j);
    }
    return true;
}

// ---- Bits ----

TEST(Factorisation, HasTheBitsOfTheLoopsAtEveryLevel) {
    test::Random random(1);
    const auto check = [&](uint64_t m, uint64_t n, const Doubles &a) {
        Factors expected{m, n, a, {}};
        literal_factor(expected);
        at_every_level([&](const std::string &level) {
            const std::string what = std::to_string(m) + " x " + std::to_string(n) + ' ' + level;
            Mat A(m, n, a);
            Perm p(std::vector<uint32_t>(m, 77));
            expect_success(sarvo_mh_LUfactor(A.p, p.p));
            ASSERT_EQ(p.get(), expected.px) << what;
            expect_bits(A.get(), expected.a, what);
        });
    };
    for (const uint64_t n : awkward_sizes())
        for (const Fill fill : fills) {
            const uint64_t wide = n + random.below(40), tall = n + random.below(40);
            check(n, n, values(n * n, random, fill));
            check(n, wide, values(n * wide, random, fill));
            check(tall, n, values(n * tall, random, fill));
            if (n == 0) continue;
            Doubles deficient = values(n * n, random); // columns without a pivot, at any place of a panel
            for (int c = 0; c < 3; c++) {
                const uint64_t j = random.below(n);
                for (uint64_t i = 0; i < n; i++) deficient[i * n + j] = random.below(9) ? 0.0 : -0.0;
            }
            check(n, n, deficient);
            Doubles graded = values(n * n, random, fill);
            for (uint64_t i = 0; i < n * n; i++) graded[i] = std::ldexp(graded[i], static_cast<int>(i / n % 7) * 40);
            check(n, n, graded);
        }
}

TEST(TriangularSolves, HaveTheBitsOfTheLoopsAtEveryLevel) {
    test::Random random(2);
    const struct {
        const char *name;
        sarko_error_t (*solve)(const MAT *, const VEC *, VEC **, double);
        bool (*literal)(const Mat &, const Doubles &, double, Doubles &);
    } cases[] = {{"Lsolve", sarvo_mh_Lsolve, literal_lower},
                 {"Usolve", sarvo_mh_Usolve, literal_upper},
                 {"UTsolve", sarvo_mh_UTsolve, literal_upper_transposed},
                 {"LTsolve", sarvo_mh_LTsolve, literal_lower_transposed}};
    for (const uint64_t n : awkward_sizes())
        for (int round = 0; round < 8; round++) {
            const Fill fill = fills[round % 3];
            const uint64_t cols = n + (round == 7 ? 3 : 0);
            Mat A(n, cols, values(n * cols, random, fill));
            for (uint64_t i = 0; i < n && round % 2; i++) A.p->row_ptrs[i][i] += 2.0; // else it may be singular
            Doubles b = values(n, random, round == 5 ? Fill::special : Fill::plain);
            for (uint64_t i = 0; n && i < random.below(n + 1); i++) b[i] = random.below(2) ? 0.0 : -0.0;
            for (uint64_t i = n; n && i > n - random.below(n); i--) b[i - 1] = random.below(2) ? 0.0 : -0.0;
            for (const double diag : {0.0, 1.0, -3.0})
                for (const auto &c : cases) {
                    Doubles expected(n, 5.0);
                    const bool solved = c.literal(A, b, diag, expected);
                    at_every_level([&](const std::string &level) {
                        const std::string what = std::string(c.name) + " " + std::to_string(n) + ' ' + level;
                        Vec B(b), x(Doubles(n + 1, 5.0)), in_place(b);
                        const sarko_error_t e = c.solve(A.p, B.p, &x.p, diag);
                        const sarko_error_t e2 = c.solve(A.p, in_place.p, &in_place.p, diag);
                        if (solved) {
                            expect_success(e), expect_success(e2);
                            expect_bits(in_place.get(), expected, what + " in place");
                        } else {
                            expect_error(e, SarvoMHSingEC, {singular});
                            expect_error(e2, SarvoMHSingEC, {singular});
                        }
                        Doubles longer = expected;
                        longer.push_back(5.0);
                        expect_bits(x.get(), longer, what);
                    });
                }
        }
}

TEST(Inverse, HasTheBitsOfTheColumnSolves) {
    test::Random random(3);
    for (const uint64_t n : awkward_sizes())
        for (int round = 0; round < 4; round++) {
            Doubles a = values(n * n, random, round == 3 ? Fill::plain : fills[round]);
            if (round == 3) // triangular: zeros lead and trail in the right-hand sides; negative diagonals
                for (uint64_t i = 0; i < n * n; i++)
                    if (i / n > i % n) a[i] = 0.0;
            Mat A(n, n, a), LU(n, n, a), expected(n + 1, n, Doubles((n + 1) * n, 5.0));
            Perm p;
            expect_success(sarvo_mh_px_get(static_cast<int32_t>(n), &p.p));
            expect_success(sarvo_mh_LUfactor(LU.p, p.p));
            bool failed = false;
            for (uint64_t i = 0; i < n && !failed; i++) {
                Vec unit{Doubles(n)}, x;
                unit.p->elems[i] = 1.0;
                const sarko_error_t e = sarvo_mh_LUsolve(LU.p, p.p, unit.p, &x.p);
                failed = e != 0;
                sarko_error_clear(e);
                for (uint64_t r = 0; r < n && !failed; r++) expected.p->row_ptrs[r][i] = x.p->elems[r];
            }
            at_every_level([&](const std::string &level) {
                Mat out(n + 1, n, Doubles((n + 1) * n, 5.0));
                const sarko_error_t e = sarvo_mh_m_inverse(A.p, &out.p);
                if (failed) expect_error(e, SarvoMHSingEC, {singular});
                else expect_success(e);
                expect_bits(out.get(), expected.get(), "inverse of order " + std::to_string(n) + ' ' + level);
                expect_bits(A.get(), a, "the matrix stays");
            });
            if (failed) continue;
            Mat fresh;
            expect_success(sarvo_mh_m_inverse(A.p, &fresh.p));
            expect_success(sarvo_mh_m_inverse(A.p, &A.p));
            expect_bits(A.get(), fresh.get(), "over the matrix");
        }
}

TEST(Condition, HasTheBitsOfTheLoops) {
    test::Random random(4);
    for (const uint64_t n : {1u, 2u, 5u, 16u, 17u, 40u, 65u, 100u}) {
        Mat LU(n, n, values(n * n, random));
        Perm p;
        expect_success(sarvo_mh_px_get(static_cast<int32_t>(n), &p.p));
        expect_success(sarvo_mh_LUfactor(LU.p, p.p));
        Doubles y(n);
        double upper = 0.0, lower = 0.0, cond = 0.0, most_y = 0.0, most_z = 0.0;
        for (uint64_t i = 0; i < n; i++) {
            double sum = 0.0, row_u = 0.0, row_l = 1.0;
            for (uint64_t j = 0; j < i; j++) sum += LU(j, i) * y[j], row_l += std::fabs(LU(i, j));
            for (uint64_t j = i; j < n; j++) row_u += std::fabs(LU(i, j));
            y[i] = (-sum < 0.0 ? -sum - 1.0 : -sum + 1.0) / LU(i, i);
            upper = std::max(upper, row_u), lower = std::max(lower, row_l);
        }
        Vec Y(y), z;
        expect_success(sarvo_mh_LTsolve(LU.p, Y.p, &Y.p, 1.0));
        expect_success(sarvo_mh_LUsolve(LU.p, p.p, Y.p, &z.p));
        for (const double t : Y.get()) most_y = std::max(most_y, std::fabs(t));
        for (const double t : z.get()) most_z = std::max(most_z, std::fabs(t));
        const double expected = upper * lower * most_z / most_y;
        at_every_level([&](const std::string &level) {
            expect_success(sarvo_mh_LUcondest(LU.p, p.p, &cond));
            EXPECT_EQ(test::bits(cond), test::bits(expected)) << n << ' ' << level;
        });
    }
}

// ---- Residuals: |P A - L U|, |b - A x|, |I - A X| in units of n eps and the norms of the factors ----

struct Ratios {
    double factor = 0.0, solve = 0.0, transposed = 0.0, inverse = 0.0;
};

double norm1(const Mat &A) {
    double norm;
    expect_success(sarvo_mh_m_norm1(A.p, &norm));
    return norm;
}

// A random matrix of one of five kinds; the third and fourth are U diag(s) V' of the wanted condition.
Mat test_matrix(uint64_t n, int kind, test::Random &random) {
    Mat A(n, n, values(n * n, random));
    if (kind == 1) // nearly normal deviates
        for (uint64_t i = 0; i < n * n; i++) {
            double sum = 0.0;
            for (int k = 0; k < 12; k++) sum += random.uniform();
            A.p->base[i] = sum - 6.0;
        }
    if (kind < 2 || n < 2) return A;
    Mat U(n, n), V(n, n), S(n, n), US, out; // products of reflections, singular values between 1 and 1 / condition
    for (MAT *Q : {U.p, V.p}) {
        sarvo_mh_m_ident(Q);
        for (int k = 0; k < 3; k++) {
            const Doubles h = values(n, random);
            double hh = 0.0;
            for (const double t : h) hh += t * t;
            for (uint64_t i = 0; i < n; i++) {
                double dot = 0.0;
                for (uint64_t j = 0; j < n; j++) dot += Q->row_ptrs[i][j] * h[j];
                for (uint64_t j = 0; j < n; j++) Q->row_ptrs[i][j] -= 2.0 / hh * dot * h[j];
            }
        }
    }
    const double eps = 2.220446049250313e-16;
    const double smallest = kind == 2 ? std::sqrt(eps / 0.1) : kind == 3 ? eps / 0.1 : 1e-10;
    for (uint64_t i = 0; i < n; i++)
        S.p->row_ptrs[i][i] = kind == 4 ? (i + 1 == n ? smallest : 1.0)
                                        : std::pow(smallest, static_cast<double>(i) / static_cast<double>(n - 1));
    expect_success(sarvo_mh_m_mlt(U.p, S.p, &US.p));
    expect_success(sarvo_mh_mmtr_mlt(US.p, V.p, &out.p));
    return out;
}

void worst(double &ratio, double found) {
    if (!(found <= ratio)) ratio = found; // a NaN shows
}

void measure(uint64_t n, int kind, test::Random &random, Ratios &ratios) {
    const double unit = 2.220446049250313e-16 * static_cast<double>(n);
    const Mat A = test_matrix(n, kind, random);
    Mat LU(n, n), X;
    Perm p;
    MAT *copy = LU.p;
    expect_success(sarvo_mh_m_copy_(A.p, &copy, 0, 0));
    expect_success(sarvo_mh_px_get(static_cast<int32_t>(n), &p.p));
    expect_success(sarvo_mh_LUfactor(LU.p, p.p));
    const double norm = norm1(A);
    double difference = 0.0;
    for (uint64_t j = 0; j < n; j++) {
        double column = 0.0;
        for (uint64_t i = 0; i < n; i++) {
            double sum = 0.0;
            for (uint64_t k = 0; k <= std::min(i, j); k++) sum += (k == i ? 1.0 : LU(i, k)) * LU(k, j);
            column += std::fabs(A(p.get()[i], j) - sum);
        }
        difference = std::max(difference, column);
    }
    worst(ratios.factor, difference / (norm * unit));
    const Vec b(values(n, random));
    Vec x, xt, r, rt;
    expect_success(sarvo_mh_LUsolve(LU.p, p.p, b.p, &x.p));
    expect_success(sarvo_mh_LUTsolve(LU.p, p.p, b.p, &xt.p));
    expect_success(sarvo_mh_mv_mltadd(b.p, x.p, A.p, -1.0, &r.p));
    expect_success(sarvo_mh_vm_mltadd(b.p, xt.p, A.p, -1.0, &rt.p));
    double norm_r, norm_x, norm_inf;
    expect_success(sarvo_mh_v_norm1_s(r.p, nullptr, &norm_r));
    expect_success(sarvo_mh_v_norm1_s(x.p, nullptr, &norm_x));
    worst(ratios.solve, norm_r / (norm * norm_x * unit));
    expect_success(sarvo_mh_v_norm1_s(rt.p, nullptr, &norm_r));
    expect_success(sarvo_mh_v_norm1_s(xt.p, nullptr, &norm_x));
    expect_success(sarvo_mh_m_norm_inf(A.p, &norm_inf));
    worst(ratios.transposed, norm_r / (norm_inf * norm_x * unit));
    if (kind == 3) return; // too near to singular for an inverse to mean anything
    Mat AX, I(n, n);
    sarvo_mh_m_ident(I.p);
    expect_success(sarvo_mh_m_inverse(A.p, &X.p));
    expect_success(sarvo_mh_m_mlt(A.p, X.p, &AX.p));
    expect_success(sarvo_mh_m_sub(AX.p, I.p, &AX.p));
    worst(ratios.inverse, norm1(AX) / (norm * norm1(X) * unit));
}

#ifdef NDEBUG
constexpr int fewer = 1;
#else
constexpr int fewer = 20; // sanitized and unoptimised: the draws are for the other build
#endif

TEST(Residuals, StayBelowThirty) {
    test::Random random(5);
    Ratios ratios;
    for (const uint64_t n : {1u, 2u, 3u, 5u, 10u, 50u, 100u, 200u})
        for (int kind = 0; kind < 5; kind++)
            for (int draw = 0; draw < (n < 100 ? 200 : 10) / fewer + 1; draw++) measure(n, kind, random, ratios);
    std::printf("worst ratios: PA-LU %.2f, solve %.2f, transposed %.2f, inverse %.2f\n", ratios.factor, ratios.solve,
                ratios.transposed, ratios.inverse);
    for (const double ratio : {ratios.factor, ratios.solve, ratios.transposed, ratios.inverse}) EXPECT_LT(ratio, 30.0);
}

// ---- Examples and checks ----

TEST(Factorisation, Examples) {
    Mat swap(2, 2, {0, 1, 1, 0}), tie(2, 2, {1, 2, 2, 4}), A(2, 2, {4, 7, 2, 6}), inverse;
    Perm p({0, 0}), q({0, 0});
    expect_success(sarvo_mh_LUfactor(swap.p, p.p));
    EXPECT_EQ(p.get(), (std::vector<uint32_t>{1, 0}));
    EXPECT_EQ(swap.get(), (Doubles{1, 0, 0, 1}));
    expect_success(sarvo_mh_LUfactor(tie.p, q.p));
    EXPECT_EQ(q.get(), (std::vector<uint32_t>{0, 1}));
    EXPECT_EQ(tie.get(), (Doubles{1, 2, 2, 0}));
    Vec b({1, 1}), x;
    double cond = 0.0;
    expect_error(sarvo_mh_LUsolve(tie.p, q.p, b.p, &x.p), SarvoMHSingEC, {singular});
    expect_success(sarvo_mh_LUcondest(tie.p, q.p, &cond));
    EXPECT_EQ(cond, INFINITY);
    expect_success(sarvo_mh_m_inverse(A.p, &inverse.p));
    for (uint64_t i = 0; i < 4; i++) EXPECT_NEAR(inverse.get()[i], (Doubles{0.6, -0.7, -0.2, 0.4})[i], 1e-15);
    Vec zero{Doubles(3)}, y;
    expect_success(sarvo_mh_Usolve(Mat(3, 3).p, zero.p, &y.p, 0.0)); // nothing is read
    EXPECT_EQ(y.get(), Doubles(3));
}

TEST(DiagonalSolve, DividesUpToTheShorterSide) {
    const Mat A(2, 3, {2, 9, 9, 9, 4, 9}), hole(2, 2, {2, 0, 0, 0});
    Vec b({6, 8}), x;
    expect_success(sarvo_mh_Dsolve(A.p, b.p, &x.p));
    EXPECT_EQ(x.get(), (Doubles{3, 2, 0}));
    expect_error(sarvo_mh_Dsolve(hole.p, b.p, &x.p), SarvoMHSingEC, {singular});
    EXPECT_EQ(x.get(), (Doubles{3, 2}));
    const Vec infinite({1, INFINITY});
    expect_success(sarvo_mh_Dsolve(hole.p, infinite.p, &x.p));
    EXPECT_EQ(x.get()[1], INFINITY);
    expect_success(sarvo_mh_Dsolve(A.p, b.p, &b.p));
    EXPECT_EQ(b.get(), (Doubles{3, 2, 0}));
}

TEST(Solves, CheckTheirArgumentsInOrder) {
    Mat square(2, 2, {2, 0, 0, 2}), wide(2, 3), out;
    Perm two({0, 1}), three({0, 1, 2}), broken({0, 9});
    Vec b({1, 2}), one({1}), x;
    double cond = 0.0;
    const std::string null_factor = "Input matrix and/or permutation are/is not initialized.",
                      sizes_factor = "Sizes of input matrix and permutation are not consistent.",
                      null_solve = "Input matrix and/or permutation and/or vector are/is not initialized.",
                      sizes_solve =
                          "Sizes of input matrix and vector are not consistent or input matrix is not square.",
                      null_triangle = "Input matrix and/or vector are/is not initialized.",
                      sizes_triangle = "Sizes of input matrix and vector are not consistent.";
    expect_error(sarvo_mh_LUfactor(nullptr, two.p), 0, {null_factor});
    expect_error(sarvo_mh_LUfactor(square.p, nullptr), 0, {null_factor});
    expect_error(sarvo_mh_LUfactor(square.p, three.p), 0, {sizes_factor});
    for (const auto solve : {sarvo_mh_LUsolve, sarvo_mh_LUTsolve}) {
        expect_error(solve(square.p, nullptr, b.p, &x.p), 0, {null_solve});
        expect_error(solve(square.p, two.p, nullptr, &x.p), 0, {null_solve});
        expect_error(solve(wide.p, two.p, b.p, &x.p), 0, {sizes_solve});
        expect_error(solve(square.p, two.p, one.p, &x.p), 0, {sizes_solve});
        expect_error(solve(square.p, three.p, b.p, &x.p), 0, {sizes_solve});
    }
    for (const auto solve : {sarvo_mh_Lsolve, sarvo_mh_Usolve, sarvo_mh_LTsolve, sarvo_mh_UTsolve}) {
        expect_error(solve(nullptr, b.p, &x.p, 0.0), 0, {null_triangle});
        expect_error(solve(square.p, one.p, &x.p, 0.0), 0, {sizes_triangle});
    }
    expect_error(sarvo_mh_Dsolve(square.p, nullptr, &x.p), 0, {null_triangle});
    expect_error(sarvo_mh_Dsolve(square.p, one.p, &x.p), 0, {sizes_triangle});
    EXPECT_EQ(x.p, nullptr);
    expect_error(sarvo_mh_LUsolve(square.p, broken.p, b.p, &x.p), SarvoMHBoundsEC, {"Index out of bounds"});
    expect_error(sarvo_mh_LUcondest(square.p, nullptr, &cond), 0, {null_factor});
    expect_error(sarvo_mh_LUcondest(wide.p, two.p, &cond), 0, {sizes_factor});
    expect_error(sarvo_mh_LUcondest(square.p, three.p, &cond), 0, {sizes_factor});
    expect_error(sarvo_mh_m_inverse(nullptr, &out.p), 0, {"Input matrix is not initialized."});
    expect_error(sarvo_mh_m_inverse(wide.p, &out.p), 0, {"Input matrix is not square."});
    Vec same({3, 5});
    expect_success(sarvo_mh_LUsolve(square.p, two.p, same.p, &same.p));
    EXPECT_EQ(same.get(), (Doubles{1.5, 2.5}));
}

// Until the library is started every code is 0: no error may pass for that of a singular matrix.
TEST(LuCondest, BeforeStartUpTakesNoErrorForASingularMatrix) {
    Mat LU(3, 3, {4, 1, 2, 0.5, 3, 1, 0.25, 0.5, 2});
    Perm p({0, 1, 2});
    const uint32_t code = SarvoMHSingEC;
    double cond = -1.0;
    SarvoMHSingEC = 0;
    uint64_t refused = 0;
    for (uint64_t k = 1; k < 20; k++) { // each allocation in turn
        test::memory::arm(k, false);
        const sarko_error_t e = sarvo_mh_LUcondest(LU.p, p.p, &cond);
        const bool failed = test::memory::disarm();
        refused += failed;
        EXPECT_EQ(e != 0, failed) << k;
        EXPECT_TRUE(e || std::isfinite(cond)) << k;
        sarko_error_clear(e);
    }
    SarvoMHSingEC = code;
    EXPECT_GT(refused, 0u);
}

} // namespace
