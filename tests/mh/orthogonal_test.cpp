// Reflections, rotations, Hessenberg form and updates: bits of the plain loops, residuals, coincidence, checks.
#include <cmath>

#include "orthogonal_reference.h"

namespace {

using namespace test::mh;
using reference::Dense;
using test::expect_error;
using test::expect_success;

constexpr double eps = 0x1p-52;
const char *const null_message = "Input structure(s) is(are) not initialized";
const uint64_t orders[] = {1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 25, 33, 40};

Mat mat(const Dense &M) { return {M.rows, M.cols, M.x}; }

Dense random_dense(uint64_t rows, uint64_t cols, test::Random &random, Fill fill) {
    return {rows, cols, values(rows * cols, random, fill)};
}

Dense product(const Dense &A, const Dense &B) {
    Dense C(A.rows, B.cols);
    for (uint64_t i = 0; i < A.rows; i++)
        for (uint64_t j = 0; j < B.cols; j++) {
            long double sum = 0.0L;
            for (uint64_t k = 0; k < A.cols; k++) sum += static_cast<long double>(A(i, k)) * B(k, j);
            C(i, j) = static_cast<double>(sum);
        }
    return C;
}

Dense transposed(const Dense &A) {
    Dense T(A.cols, A.rows);
    for (uint64_t i = 0; i < A.rows; i++)
        for (uint64_t j = 0; j < A.cols; j++) T(j, i) = A(i, j);
    return T;
}

double norm(const Dense &A) {
    double sum = 0.0;
    for (const double x : A.x) sum += x * x;
    return std::sqrt(sum);
}

// |A - B| / (|A| n eps)
double ratio(const Dense &A, const Dense &B) {
    Dense D = A;
    for (uint64_t i = 0; i < D.x.size(); i++) D.x[i] -= B.x[i];
    return norm(D) / (norm(A) * static_cast<double>(A.rows) * eps);
}

TEST(Householder, HasTheBitsOfTheLoops) {
    test::Random random(1);
    for (const Fill fill : fills)
        for (const uint64_t m : {0u, 1u, 2u, 7u, 8u, 17u, 40u})
            for (const uint64_t n : {0u, 1u, 3u, 8u, 9u, 33u, 70u}) {
                const Doubles x = values(m, random, fill), hn = values(n, random, fill), hm = values(m, random, fill);
                const Dense M = random_dense(m, n, random, fill);
                const uint64_t i0 = random.below(m + 1), j0 = random.below(n + 1);
                const double beta = random.below(8) ? random.symmetric() : 0.0;
                Doubles made = x, turned = x;
                double made_beta = 9.0, newval = 9.0;
                reference::hhvec(made, i0, made_beta, newval);
                reference::hhtrvec(hm, beta, i0, turned);
                Dense rows = M, cols = M;
                reference::hhtrrows(rows, i0, j0, hn, beta);
                reference::hhtrcols(cols, i0, j0, hm, beta);
                at_every_level([&](const std::string &level) {
                    const std::string what = std::to_string(m) + " x " + std::to_string(n) + " " + level;
                    Vec v(x), out, fresh, w;
                    const Vec h(hm), g(hn);
                    double got_beta = 1.0, got_newval = 9.0;
                    expect_success(sarvo_mh_hhtrvec(h.p, beta, i0, v.p, &out.p));
                    expect_bits(out.get(), turned, "hhtrvec " + what);
                    expect_success(sarvo_mh_hhvec(v.p, i0, &got_beta, &v.p, &got_newval)); // in place
                    expect_bits(v.get(), made, "hhvec " + what);
                    expect_bits({got_beta, got_newval}, {made_beta, newval}, "beta and newval " + what);
                    Mat R = mat(M), C = mat(M);
                    expect_success(sarvo_mh_hhtrrows(R.p, i0, j0, g.p, beta));
                    expect_success(sarvo_mh_hhtrcols_(C.p, i0, j0, h.p, beta, &w.p));
                    expect_bits(R.get(), rows.x, "hhtrrows " + what);
                    expect_bits(C.get(), cols.x, "hhtrcols " + what);
                });
            }
}

TEST(Householder, MakesTheKnownReflections) {
    Vec v({3, 4}), zero({0, 0}), longer({9, 9, 9, 9}), out;
    double beta = 7.0, newval = 7.0;
    expect_success(sarvo_mh_hhvec(v.p, 0, &beta, &out.p, &newval));
    EXPECT_EQ(out.get(), Doubles({8, 4}));
    EXPECT_EQ(newval, -5.0);
    EXPECT_EQ(beta, 1.0 / 40.0);
    expect_success(sarvo_mh_hhvec(v.p, 1, &beta, &longer.p, &newval));
    EXPECT_EQ(longer.get(), Doubles({9, 8, 9, 9})) << "elements before i0 and behind stay";
    newval = 7.0;
    expect_success(sarvo_mh_hhvec(zero.p, 0, &beta, &out.p, &newval));
    expect_success(sarvo_mh_hhvec(v.p, 2, &beta, &out.p, &newval));
    EXPECT_EQ(beta, 0.0);
    EXPECT_EQ(newval, 7.0);
}

TEST(Hessenberg, HasTheBitsOfTheLoops) {
    test::Random random(2);
    for (const Fill fill : fills)
        for (const uint64_t n : orders) {
            Dense A = random_dense(n, n, random, fill);
            if (fill == Fill::zeros) // rows that the transforms leave alone, and steps without a reflection
                for (uint64_t k = 0; k < n; k++) A(n / 2, k) = A(k, 0) = 0.0;
            Dense H = A;
            Doubles diag(n, 5.0), beta(n, 6.0);
            reference::Hfactor(H, diag, beta);
            const Dense Q = reference::makeHQ(H, diag, beta);
            at_every_level([&](const std::string &level) {
                const std::string what = std::to_string(n) + " " + level;
                Mat B = mat(A), q, upper(n + 1, n + 1, Doubles((n + 1) * (n + 1), 3.0));
                Vec d(Doubles(n, 5.0)), b(Doubles(n, 6.0));
                expect_success(sarvo_mh_Hfactor(B.p, d.p, b.p));
                expect_bits(B.get(), H.x, "Hfactor " + what);
                expect_bits(d.get(), diag, "diag " + what);
                expect_bits(b.get(), beta, "beta " + what);
                expect_success(sarvo_mh_makeHQ(B.p, d.p, b.p, &q.p));
                expect_bits(q.get(), Q.x, "makeHQ " + what);
                expect_success(sarvo_mh_makeH(B.p, &upper.p));
                for (uint64_t i = 0; i <= n; i++)
                    for (uint64_t j = 0; j <= n; j++) {
                        const double expected = i == n || j == n ? 3.0 : i > j + 1 ? 0.0 : H(i, j);
                        EXPECT_TRUE(test::bits(upper(i, j)) == test::bits(expected) || std::isnan(expected)) << what;
                    }
                expect_success(sarvo_mh_makeHQ(B.p, d.p, b.p, &B.p)); // in place
                expect_bits(B.get(), Q.x, "makeHQ in place " + what);
            });
        }
}

TEST(Hessenberg, GivesTheMatrixBack) {
    test::Random random(3);
    double worst = 0.0;
    for (const uint64_t n : {1u, 2u, 3u, 5u, 10u, 50u})
        for (int draw = 0; draw < (n <= 10 ? 200 : 20); draw++) {
            const Dense A = random_dense(n, n, random, Fill::plain);
            Mat H = mat(A), Q;
            Vec diag{Doubles(n)}, beta{Doubles(n)};
            expect_success(sarvo_mh_Hfactor(H.p, diag.p, beta.p));
            expect_success(sarvo_mh_makeHQ(H.p, diag.p, beta.p, &Q.p));
            expect_success(sarvo_mh_makeH(H.p, &H.p));
            const Dense q(n, n, Q.get()), h(n, n, H.get());
            worst = std::fmax(worst, ratio(A, product(product(q, h), transposed(q))));
            worst = std::fmax(worst, ratio(reference::identity(n), product(transposed(q), q)));
        }
    EXPECT_LT(worst, 30.0);
    std::printf("Hessenberg: worst ratio %.2f\n", worst);
}

TEST(Givens, RotatesVectorsRowsAndColumns) {
    double c = 7, s = 7;
    sarvo_mh_givens(&c, &s, 0, 0);
    EXPECT_EQ(Doubles({c, s}), Doubles({1, 0}));
    sarvo_mh_givens(&c, &s, 3, 4);
    EXPECT_EQ(Doubles({c, s}), Doubles({0.6, 0.8}));
    test::Random random(4);
    for (const uint64_t n : orders) {
        const uint64_t i = random.below(n), k = random.below(n);
        const double t = random.symmetric();
        const Dense M = random_dense(n, n, random, Fill::special);
        Dense rows = M, cols = M, vector(n, 1, Doubles(M.x.begin(), M.x.begin() + static_cast<std::ptrdiff_t>(n)));
        Vec x(vector.x), y;
        reference::rot_rows(rows, i, k, 0.5, t);
        reference::rot_cols(cols, i, k, 0.5, t);
        reference::rot_rows(vector, i, k, 0.5, t);
        at_every_level([&](const std::string &level) {
            Mat A = mat(M), out;
            expect_success(sarvo_mh_rot_rows(A.p, i, k, 0.5, t, &out.p));
            expect_bits(out.get(), rows.x, "rot_rows " + level);
            expect_success(sarvo_mh_rot_cols(A.p, i, k, 0.5, t, &A.p));
            expect_bits(A.get(), cols.x, "rot_cols " + level);
        });
        expect_success(sarvo_mh_rot_vec(x.p, i, k, 0.5, t, &y.p));
        expect_bits(y.get(), vector.x, "rot_vec");
    }
    Vec x({1, 2}), longer({0, 0, 5});
    expect_success(sarvo_mh_rot_vec(x.p, 0, 1, 0.0, 1.0, &longer.p));
    EXPECT_EQ(longer.get(), Doubles({2, -1, 5})) << "a longer output keeps the rest";
}

TEST(Updates, HaveTheBitsOfTheLoops) {
    test::Random random(5);
    for (const Fill fill : fills)
        for (const uint64_t n : orders)
            for (int draw = 0; draw < 4; draw++) {
                const uint64_t cols = draw == 3 ? n + 2 : draw == 2 ? (n + 1) / 2 : n;
                const Dense Q = random_dense(n, n, random, fill), R = random_dense(n, cols, random, fill);
                Doubles u = values(n, random, fill), v = values(cols, random, fill), w = values(n, random, fill);
                for (uint64_t i = n - random.below(n); i < n; i++) u[i] = 0.0;
                Dense C = random_dense(n, n, random, fill);
                for (uint64_t i = 0; i < n; i++) C(i, i) = 2.0 + C(i, i);
                if (draw == 1) C(n / 2, n / 2) = -100.0; // fails half way
                Dense q = Q, r = R, ldl = C;
                Doubles ru = u, rw = w;
                reference::QRupdate(&q, r, ru, v);
                const bool positive = reference::LDLupdate(ldl, rw, 0.5);
                at_every_level([&](const std::string &level) {
                    Mat gq = mat(Q), gr = mat(R), gc = mat(C), without = mat(R);
                    Vec gu(u), gv(v), gw(w), unused(u);
                    expect_success(sarvo_mh_QRupdate(gq.p, gr.p, gu.p, gv.p));
                    expect_bits(gq.get(), q.x, "Q " + level);
                    expect_bits(gr.get(), r.x, "R " + level);
                    expect_bits(gu.get(), ru, "u " + level);
                    expect_success(sarvo_mh_QRupdate(nullptr, without.p, unused.p, gv.p));
                    expect_bits(without.get(), r.x, "R without Q " + level);
                    const sarko_error_t e = sarvo_mh_LDLupdate(gc.p, gw.p, 0.5);
                    if (positive) expect_success(e);
                    else expect_error(e, SarvoMHPosdefEC, {"Matrix not positive definite"});
                    expect_bits(gc.get(), ldl.x, "LDL " + level);
                    expect_bits(gw.get(), rw, "w " + level);
                });
            }
}

// Q R + Q u v' = Q' R', and L D L' + alpha w w' = L' D' L''.
TEST(Updates, AreThoseOfTheMatrices) {
    test::Random random(6);
    double worst = 0.0;
    for (const uint64_t n : {1u, 2u, 3u, 5u, 10u, 50u})
        for (int draw = 0; draw < (n <= 10 ? 200 : 20); draw++) {
            Dense R = random_dense(n, n, random, Fill::plain), D(n, n);
            for (uint64_t i = 0; i < n; i++)
                for (uint64_t j = 0; j < i; j++) R(i, j) = 0.0;
            const Doubles uu = values(n, random), vv = values(n, random);
            Dense target = R, L = transposed(R);
            for (uint64_t i = 0; i < n; i++) {
                for (uint64_t j = 0; j < n; j++) target(i, j) += uu[i] * vv[j];
                L(i, i) = 1.0;
                D(i, i) = 0.1 + random.uniform();
            }
            Mat q = mat(reference::identity(n)), r = mat(R), ch = mat(L);
            Vec u(uu), v(vv), w(uu);
            expect_success(sarvo_mh_QRupdate(q.p, r.p, u.p, v.p));
            const Dense new_q(n, n, q.get()), new_r(n, n, r.get());
            worst = std::fmax(worst, ratio(target, product(new_q, new_r)));
            for (uint64_t i = 1; i < n; i++)
                for (uint64_t j = 0; j < i; j++) EXPECT_LE(std::fabs(new_r(i, j)), 30 * eps * norm(target));

            Dense sum = product(product(L, D), transposed(L));
            for (uint64_t i = 0; i < n; i++)
                for (uint64_t j = 0; j < n; j++) sum(i, j) += 0.75 * uu[i] * uu[j];
            for (uint64_t i = 0; i < n; i++) ch.p->row_ptrs[i][i] = D(i, i);
            expect_success(sarvo_mh_LDLupdate(ch.p, w.p, 0.75));
            Dense new_l(n, n, ch.get()), new_d(n, n);
            for (uint64_t i = 0; i < n; i++) {
                new_d(i, i) = new_l(i, i);
                for (uint64_t j = i; j < n; j++) new_l(i, j) = i == j ? 1.0 : 0.0;
            }
            worst = std::fmax(worst, ratio(sum, product(product(new_l, new_d), transposed(new_l))));
        }
    EXPECT_LT(worst, 30.0);
    std::printf("QR and LDL updates: worst ratio %.2f\n", worst);
}

TEST(Orthogonal, ChecksInOrder) {
    Mat A(3, 3), wide(3, 4), out;
    Vec x({1, 2, 3}), y({1, 2, 3, 4}), one({1}), v;
    double beta = 0.0, newval = 0.0;
    const auto null = [&](sarko_error_t e) { expect_error(e, SarvoMHNullEC, {null_message}); };
    const auto sizes = [&](sarko_error_t e) { expect_error(e, SarvoMHSizesEC, {"Wrong size(s) of object(s)"}); };
    const auto bounds = [&](sarko_error_t e) { expect_error(e, SarvoMHBoundsEC, {"Index out of bounds"}); };
    const auto range = [&](sarko_error_t e) { expect_error(e, SarvoMHRangeEC, {"Object out of range"}); };
    const auto square = [&](sarko_error_t e) { expect_error(e, SarvoMHSquareEC, {"Matrix is not square"}); };

    expect_error(sarvo_mh_hhvec(nullptr, 9, &beta, &v.p, &newval), 0, {"Input vector is not initialized."});
    bounds(sarvo_mh_hhvec(x.p, 4, &beta, &v.p, &newval));
    null(sarvo_mh_hhtrvec(nullptr, 1, 9, y.p, &v.p));
    null(sarvo_mh_hhtrvec(x.p, 1, 9, y.p, nullptr));
    sizes(sarvo_mh_hhtrvec(x.p, 1, 9, y.p, &v.p));
    bounds(sarvo_mh_hhtrvec(x.p, 1, 4, x.p, &v.p));
    null(sarvo_mh_hhtrrows(wide.p, 9, 9, nullptr, 1));
    range(sarvo_mh_hhtrrows(wide.p, 9, 9, x.p, 1));
    bounds(sarvo_mh_hhtrrows(wide.p, 4, 0, y.p, 1));
    bounds(sarvo_mh_hhtrrows(wide.p, 0, 5, y.p, 1));
    null(sarvo_mh_hhtrcols_(wide.p, 9, 9, y.p, 1, nullptr));
    sizes(sarvo_mh_hhtrcols_(wide.p, 9, 9, y.p, 1, &v.p));
    bounds(sarvo_mh_hhtrcols_(wide.p, 4, 0, x.p, 1, &v.p));
    bounds(sarvo_mh_hhtrcols_(wide.p, 0, 5, x.p, 1, &v.p));
    null(sarvo_mh_hhtrcols());

    null(sarvo_mh_Hfactor(wide.p, nullptr, one.p));
    sizes(sarvo_mh_Hfactor(wide.p, x.p, one.p));
    square(sarvo_mh_Hfactor(wide.p, x.p, x.p));
    null(sarvo_mh_makeHQ(nullptr, x.p, x.p, &out.p));
    sizes(sarvo_mh_makeHQ(wide.p, one.p, x.p, &out.p));
    square(sarvo_mh_makeHQ(wide.p, x.p, x.p, &out.p));
    null(sarvo_mh_makeH(nullptr, &out.p));
    square(sarvo_mh_makeH(wide.p, &out.p));

    null(sarvo_mh_rot_vec(nullptr, 9, 0, 1, 0, &v.p));
    range(sarvo_mh_rot_vec(x.p, 0, 3, 1, 0, &v.p));
    null(sarvo_mh_rot_rows(nullptr, 9, 0, 1, 0, &out.p));
    range(sarvo_mh_rot_rows(wide.p, 3, 0, 1, 0, &out.p));
    range(sarvo_mh_rot_cols(wide.p, 3, 4, 1, 0, &out.p));

    null(sarvo_mh_LDLupdate(wide.p, nullptr, 1));
    sizes(sarvo_mh_LDLupdate(wide.p, x.p, 1));
    sizes(sarvo_mh_LDLupdate(A.p, y.p, 1));
    null(sarvo_mh_QRupdate(wide.p, nullptr, x.p, x.p));
    null(sarvo_mh_QRupdate(nullptr, A.p, x.p, nullptr));
    sizes(sarvo_mh_QRupdate(wide.p, A.p, x.p, x.p));
    sizes(sarvo_mh_QRupdate(nullptr, wide.p, y.p, y.p));
    sizes(sarvo_mh_QRupdate(nullptr, wide.p, x.p, x.p));
    EXPECT_EQ(out.p, nullptr);
    EXPECT_EQ(v.p, nullptr);

    Mat factor(1, 1, {1}), empty(0, 0);
    Vec none{Doubles{}};
    expect_error(sarvo_mh_LDLupdate(factor.p, one.p, -1), SarvoMHPosdefEC, {"Matrix not positive definite"});
    expect_success(sarvo_mh_Hfactor(empty.p, none.p, none.p)); // order 0 is valid
    expect_success(sarvo_mh_makeHQ(empty.p, none.p, none.p, &out.p));
    expect_success(sarvo_mh_makeH(empty.p, &out.p));
    expect_success(sarvo_mh_LDLupdate(empty.p, none.p, 1));
    expect_success(sarvo_mh_QRupdate(empty.p, empty.p, none.p, none.p));
}

} // namespace
