// Permutations, access to rows and columns, views.
#include <algorithm>

#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;
using Entries = std::vector<uint32_t>;

const std::string out_of_bounds = "Index out of bounds", null = "Input structure(s) is(are) not initialized",
                  wrong = "Wrong size(s) of object(s)", in_situ = "Can't do operation in situ",
                  out_of_range = "Object out of range";

Entries shuffled(uint32_t n, test::Random &random) {
    Entries p(n);
    for (uint32_t i = 0; i < n; i++) p[i] = i;
    for (uint32_t i = n; i > 1; i--) std::swap(p[i - 1], p[random.below(i)]);
    return p;
}

TEST(Permutations, InvertMultiplyAndApplyAsDefined) {
    test::Random random(1);
    for (uint32_t n = 0; n < 40; n++) {
        const Entries p = shuffled(n, random), q = shuffled(n, random);
        Entries inverse(n), product(n);
        Doubles x = values(n, random), applied(n), unapplied(n);
        int32_t inversions = 0, sign = 0;
        for (uint32_t i = 0; i < n; i++) {
            inverse[p[i]] = i;
            product[i] = p[q[i]];
            applied[i] = x[p[i]];
            unapplied[p[i]] = x[i];
            for (uint32_t j = 0; j < i; j++) inversions += p[j] > p[i];
        }
        Perm P(p), Q(q), out({1, 0}), pq;
        expect_success(sarvo_mh_px_inv(P.p, &out.p));
        EXPECT_EQ(out.get(), inverse);
        expect_success(sarvo_mh_px_inv(out.p, &out.p));
        EXPECT_EQ(out.get(), p);
        expect_success(sarvo_mh_px_mlt(P.p, Q.p, &pq.p));
        EXPECT_EQ(pq.get(), product);
        expect_success(sarvo_mh_px_sign(P.p, &sign));
        EXPECT_EQ(sign, inversions % 2 ? -1 : 1);
        Vec X(x), y, z, in_place(x), back(x);
        expect_success(sarvo_mh_px_vec(P.p, X.p, &y.p));
        expect_success(sarvo_mh_pxinv_vec(P.p, X.p, &z.p));
        expect_success(sarvo_mh_px_vec(P.p, in_place.p, &in_place.p));
        expect_success(sarvo_mh_pxinv_vec(P.p, back.p, &back.p));
        EXPECT_EQ(y.get(), applied);
        EXPECT_EQ(in_place.get(), applied);
        EXPECT_EQ(z.get(), unapplied);
        EXPECT_EQ(back.get(), unapplied);
        EXPECT_EQ(P.get(), p) << "in-place application restores the permutation";
        if (n == 0) continue;
        const Mat A(n, 3, values(3 * n, random)), B(2, n, values(2 * n, random));
        Mat rows, cols;
        expect_success(sarvo_mh_px_rows(P.p, A.p, &rows.p));
        expect_success(sarvo_mh_px_cols(P.p, B.p, &cols.p));
        for (uint32_t i = 0; i < n; i++) {
            EXPECT_EQ(rows(i, 2), A(p[i], 2));
            EXPECT_EQ(cols(1, p[i]), B(1, i));
        }
    }
}

TEST(Permutations, ThatAreNoneAreReportedWhereTheyAreFollowed) {
    const Entries bad_entries[] = {{0, 5, 1}, {1, 1, 0}, {3, 0, 1}, {0, 7, 2}};
    for (const Entries &bad : bad_entries) {
        Perm P(bad), out;
        const bool in_range = std::all_of(bad.begin(), bad.end(), [](uint32_t e) { return e < 3; });
        expect_error(sarvo_mh_px_inv(P.p, &out.p), SarvoMHBoundsEC, {out_of_bounds});
        EXPECT_EQ(P.get(), bad);
        int32_t sign = 0;
        expect_success(sarvo_mh_px_sign(P.p, &sign));
        EXPECT_TRUE(sign == 1 || sign == -1);
        if (in_range) continue;
        const Mat A(3, 3), no_columns(3, 0), no_rows(0, 3);
        Vec x({1, 2, 3}), y;
        Mat M;
        expect_error(sarvo_mh_px_vec(P.p, x.p, &y.p), SarvoMHBoundsEC, {out_of_bounds});
        expect_error(sarvo_mh_pxinv_vec(P.p, x.p, &y.p), SarvoMHBoundsEC, {out_of_bounds});
        expect_error(sarvo_mh_px_vec(P.p, x.p, &x.p), SarvoMHBoundsEC, {out_of_bounds});
        expect_error(sarvo_mh_pxinv_vec(P.p, x.p, &x.p), SarvoMHBoundsEC, {out_of_bounds});
        EXPECT_EQ(x.get(), (Doubles{1, 2, 3}));
        for (const MAT *B : {A.p, no_columns.p})
            expect_error(sarvo_mh_px_rows(P.p, B, &M.p), SarvoMHBoundsEC, {out_of_bounds});
        for (const MAT *B : {A.p, no_rows.p})
            expect_error(sarvo_mh_px_cols(P.p, B, &M.p), SarvoMHBoundsEC, {out_of_bounds});
        Perm identity({0, 1, 2});
        expect_error(sarvo_mh_px_mlt(identity.p, P.p, &out.p), SarvoMHBoundsEC, {out_of_bounds});
    }
}

TEST(Permutations, SizesAndCoincidences) {
    Perm two({1, 0}), three({2, 0, 1}), none(Entries{}), out({3, 2, 1, 0}), fresh;
    Vec four({1, 2, 3, 4}), longer({9, 9, 9, 9}), one({1});
    expect_success(sarvo_mh_px_vec(two.p, four.p, &longer.p));
    EXPECT_EQ(longer.get(), (Doubles{2, 1, 9, 9}));
    expect_success(sarvo_mh_px_vec(none.p, four.p, &longer.p));
    EXPECT_EQ(longer.get(), four.get());
    expect_error(sarvo_mh_px_vec(two.p, one.p, &longer.p), SarvoMHSizesEC, {wrong});
    expect_error(sarvo_mh_px_vec(nullptr, one.p, &longer.p), SarvoMHNullEC, {null});
    expect_success(sarvo_mh_px_mlt(two.p, two.p, &out.p));
    EXPECT_EQ(out.get(), (Entries{0, 1, 1, 0})) << "a larger output keeps its size";
    expect_error(sarvo_mh_px_mlt(two.p, three.p, &two.p), SarvoMHSizesEC, {wrong});
    expect_error(sarvo_mh_px_mlt(two.p, two.p, &two.p), SarvoMHInsituEC, {in_situ});
    expect_error(sarvo_mh_px_inv(nullptr, &fresh.p), 0, {"Input permutation is not initialized."});
    expect_success(sarvo_mh_px_transp(three.p, 0, 2));
    EXPECT_EQ(three.get(), (Entries{1, 0, 2}));
    expect_success(sarvo_mh_px_transp(three.p, 0, 3));
    EXPECT_EQ(three.get(), (Entries{1, 0, 2}));
    Mat A(2, 3), S(2, 2), M;
    expect_error(sarvo_mh_px_rows(three.p, A.p, &M.p), SarvoMHSizesEC, {wrong});
    expect_error(sarvo_mh_px_rows(two.p, A.p, &A.p), SarvoMHInsituEC, {in_situ});
    expect_error(sarvo_mh_px_cols(two.p, A.p, &M.p), SarvoMHSizesEC, {wrong});
    expect_error(sarvo_mh_px_cols(two.p, S.p, &S.p), SarvoMHInsituEC, {in_situ});
}

TEST(Access, ReadsAndWritesRowsAndColumns) {
    Mat A(2, 3, {1, 2, 3, 4, 5, 6});
    Vec v, longer({9, 9, 9, 9});
    expect_success(sarvo_mh_get_col(A.p, 1, &v.p));
    EXPECT_EQ(v.get(), (Doubles{2, 5}));
    expect_success(sarvo_mh_get_row(A.p, 1, &longer.p));
    EXPECT_EQ(longer.get(), (Doubles{4, 5, 6, 9}));
    expect_success(sarvo_mh_set_col_(A.p, 0, Vec({7, 8, 9}).p, 1));
    expect_success(sarvo_mh_set_row_(A.p, 0, Vec({-1, -2}).p, 1));
    expect_success(sarvo_mh_set_row_(A.p, 0, v.p, 9));
    EXPECT_EQ(A.get(), (Doubles{1, -2, 3, 8, 5, 6}));
    expect_error(sarvo_mh_get_col(A.p, 3, &v.p), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_get_row(A.p, 2, &v.p), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_set_col_(A.p, 3, v.p, 0), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_set_row_(A.p, 2, v.p, 0), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_set_row_(A.p, 0, nullptr, 0), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_get_col(nullptr, 0, &v.p), SarvoMHNullEC, {null});
}

TEST(Exchanges, AreCrossedAndSpareIndexZero) {
    const Doubles original = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    Mat A(3, 3, original), B(3, 3, original), wide(2, 4);
    expect_success(sarvo_mh_swap_rows(A.p, 1, 2, 0, 9));
    EXPECT_EQ(A.get(), (Doubles{0, 2, 1, 3, 5, 4, 6, 8, 7}));
    expect_success(sarvo_mh_swap_cols(B.p, 1, 2, 1, 2));
    EXPECT_EQ(B.get(), (Doubles{0, 1, 2, 3, 7, 8, 6, 4, 5}));
    expect_success(sarvo_mh_swap_cols(B.p, 1, 2, 2, 1));
    const std::string text = "Wrong input indices.";
    expect_error(sarvo_mh_swap_rows(A.p, 0, 1, 0, 9), 0, {text});
    expect_error(sarvo_mh_swap_rows(A.p, 1, 3, 0, 9), 0, {text});
    expect_error(sarvo_mh_swap_cols(A.p, 3, 1, 0, 9), 0, {text});
    expect_error(sarvo_mh_swap_cols(nullptr, 1, 1, 0, 9), 0, {"Input matrix is not initialized."});
    expect_error(sarvo_mh_swap_rows(wide.p, 1, 2, 0, 0), 0, {text});
}

TEST(Views, ShareTheElementsOfTheirParent) {
    Mat A(3, 4, {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23}), view;
    expect_success(sarvo_mh_sub_mat(A.p, 1, 1, 2, 2, &view.p));
    EXPECT_EQ(view.get(), (Doubles{11, 12, 21, 22}));
    EXPECT_EQ(view.p->base, nullptr);
    view.p->row_ptrs[0][0] = -1;
    EXPECT_EQ(A(1, 1), -1.0);
    expect_success(sarvo_mh_sub_mat(A.p, 2, 0, 2, 3, &view.p)); // fewer rows: the row pointers are used again
    EXPECT_EQ(view.get(), (Doubles{20, 21, 22, 23}));
    Mat product, sum; // operations work through the parent's stride
    Mat left, right;
    expect_success(sarvo_mh_sub_mat(A.p, 0, 0, 2, 1, &left.p));
    expect_success(sarvo_mh_sub_mat(A.p, 0, 2, 1, 3, &right.p));
    expect_success(sarvo_mh_m_mlt(left.p, right.p, &product.p));
    EXPECT_EQ(product.get(), (Doubles{12, 13, 8, 17, 292, 333}));
    expect_success(sarvo_mh_m_add(right.p, right.p, &right.p));
    EXPECT_EQ(A(0, 2), 4.0);
    EXPECT_EQ(A(0, 1), 1.0);
    expect_error(sarvo_mh_sub_mat(A.p, 1, 0, 0, 0, &view.p), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_sub_mat(A.p, 0, 0, 3, 0, &view.p), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_sub_mat(A.p, 0, 0, 0, 4, &view.p), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_sub_mat(nullptr, 0, 0, 0, 0, &view.p), SarvoMHNullEC, {null});
    const Vec x({1, 2, 3});
    VEC *part = nullptr;
    expect_success(sarvo_mh_sub_vec(x.p, 1, 3, &part)); // one beyond the end is let through
    EXPECT_EQ(part->dim, 3u);
    EXPECT_EQ(part->elems, x.p->elems + 1);
    EXPECT_EQ(part->max_dim, 0u);
    expect_error(sarvo_mh_sub_vec(x.p, 1, 4, &part), SarvoMHRangeEC, {out_of_range});
    expect_error(sarvo_mh_sub_vec(x.p, 2, 1, &part), SarvoMHRangeEC, {out_of_range});
    sarko_mem_free(part);
}

} // namespace
