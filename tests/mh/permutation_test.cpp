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

// The parity of the exchanges of the stated quicksort: both scans step before they compare, the upper one stops at the
// pivot at the latest; the pivot trades places with x[j], which counts unless j is 0.
uint64_t literal_exchanges(uint32_t *x, uint64_t m) {
    uint64_t count = 0;
    while (m >= 2) {
        const uint32_t p = x[0];
        uint64_t i = 0, j = m;
        for (;;) {
            do i++;
            while (i < m && x[i] < p);
            do j--;
            while (x[j] > p);
            if (i >= j) break;
            std::swap(x[i], x[j]);
            count++;
        }
        std::swap(x[0], x[j]);
        if (j != 0) count += 1 + literal_exchanges(x, j);
        x += j + 1;
        m -= j + 1;
    }
    return count;
}

void expect_literal_sign(const Entries &entries) {
    Perm P(entries);
    Entries sorted = entries;
    const int32_t expected = literal_exchanges(sorted.data(), sorted.size()) % 2 ? -1 : 1;
    ASSERT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
    int32_t sign = 0;
    expect_success(sarvo_mh_px_sign(P.p, &sign));
    std::string what;
    for (const uint32_t e : entries) what += std::to_string(e) + " ";
    ASSERT_EQ(sign, expected) << what;
    ASSERT_EQ(P.get(), entries);
}

TEST(Permutations, SignOfAnyEntriesIsTheParityOfTheStatedSort) {
    for (uint32_t n = 0; n <= 5; n++) { // all n^n
        uint64_t count = 1;
        for (uint32_t i = 0; i < n; i++) count *= n;
        for (uint64_t k = 0; k < count; k++) {
            Entries entries(n);
            uint64_t digits = k;
            for (uint32_t &e : entries) {
                e = static_cast<uint32_t>(digits % n);
                digits /= n;
            }
            expect_literal_sign(entries);
        }
    }
    test::Random random(5);
    for (uint32_t round = 0; round < 3000; round++) {
        Entries entries(random.below(70));
        const uint64_t range = 1 + random.below(entries.size() + 3);
        for (uint32_t &e : entries) e = random.below(30) ? static_cast<uint32_t>(random.below(range)) : UINT32_MAX;
        expect_literal_sign(entries);
    }
    for (const Entries &outside : {Entries{UINT32_MAX, 1}, Entries{1, UINT32_MAX}, Entries{0, UINT32_MAX, 1}})
        expect_literal_sign(outside);
}

// A permutation of negative size holds none; every operation treats it so.
TEST(Permutations, OfNegativeSizeHaveNoEntries) {
    for (const int32_t size : {-1, -3, INT32_MIN}) {
        SCOPED_TRACE(size);
        Perm P, other, three({2, 0, 1}), fresh;
        expect_success(sarvo_mh_px_get(size, &P.p));
        expect_success(sarvo_mh_px_get(size, &other.p));
        const std::string refused = "Incorrect dimension: " + std::to_string(size);
        EXPECT_EQ(P.p->elems, nullptr);
        sarvo_mh_px_ident(P.p);
        sarvo_mh_px_free(P.p); // does nothing

        // What would make such a size is refused, what has it already is left alone.
        expect_error(sarvo_mh_px_copy(P.p, &three.p), 0, {refused});
        expect_error(sarvo_mh_px_inv(P.p, &three.p), 0, {refused});
        expect_error(sarvo_mh_px_inv(P.p, &fresh.p), 0, {refused});
        expect_error(sarvo_mh_px_mlt(P.p, other.p, &fresh.p), 0, {refused});
        EXPECT_EQ(fresh.p, nullptr);
        expect_success(sarvo_mh_px_copy(P.p, &other.p));
        expect_success(sarvo_mh_px_inv(P.p, &other.p));
        expect_success(sarvo_mh_px_inv(P.p, &P.p));
        expect_success(sarvo_mh_px_mlt(P.p, other.p, &three.p)); // which is larger, and keeps its size
        EXPECT_EQ(three.get(), (Entries{2, 0, 1}));
        expect_error(sarvo_mh_px_mlt(P.p, three.p, &fresh.p), SarvoMHSizesEC, {wrong});

        int32_t sign = 0;
        expect_success(sarvo_mh_px_sign(P.p, &sign));
        EXPECT_EQ(sign, 1);
        expect_success(sarvo_mh_px_transp(P.p, 0, 0));
        expect_success(sarvo_mh_px_transp(P.p, 0, 7));

        // Applied, it is the permutation of no entries.
        Vec x({1, 2, 3}), y, z;
        expect_success(sarvo_mh_px_vec(P.p, x.p, &y.p));
        expect_success(sarvo_mh_pxinv_vec(P.p, x.p, &z.p));
        expect_success(sarvo_mh_px_vec(P.p, x.p, &x.p));
        expect_success(sarvo_mh_pxinv_vec(P.p, x.p, &x.p));
        for (const Vec *v : {&x, &y, &z}) EXPECT_EQ(v->get(), (Doubles{1, 2, 3}));

        // Its size is that of no matrix and no vector, an empty one included.
        Mat A(0, 0), M;
        Vec empty(Doubles{});
        double cond;
        expect_error(sarvo_mh_px_rows(P.p, A.p, &M.p), SarvoMHSizesEC, {wrong});
        expect_error(sarvo_mh_px_cols(P.p, A.p, &M.p), SarvoMHSizesEC, {wrong});
        const std::string permutation_text = "Sizes of input matrix and permutation are not consistent.",
                          vector_text =
                              "Sizes of input matrix and vector are not consistent or input matrix is not square.";
        expect_error(sarvo_mh_LUfactor(A.p, P.p), 0, {permutation_text});
        expect_error(sarvo_mh_LUcondest(A.p, P.p, &cond), 0, {permutation_text});
        expect_error(sarvo_mh_LUsolve(A.p, P.p, empty.p, &y.p), 0, {vector_text});
        expect_error(sarvo_mh_LUTsolve(A.p, P.p, empty.p, &y.p), 0, {vector_text});
        // Records that claim as many rows as the size has bits are not mistaken for its equals.
        MAT wide = {}, high = {};
        wide.cols = wide.max_cols = high.rows = high.max_rows = static_cast<uint32_t>(size);
        VEC long_vector = {};
        long_vector.dim = static_cast<uint32_t>(size);
        expect_error(sarvo_mh_px_rows(P.p, &high, &M.p), SarvoMHSizesEC, {wrong});
        expect_error(sarvo_mh_px_cols(P.p, &wide, &M.p), SarvoMHSizesEC, {wrong});
        expect_error(sarvo_mh_LUfactor(&high, P.p), 0, {permutation_text});
        high.cols = high.rows;
        expect_error(sarvo_mh_LUcondest(&high, P.p, &cond), 0, {permutation_text});
        expect_error(sarvo_mh_LUsolve(&high, P.p, &long_vector, &y.p), 0, {vector_text});
        expect_error(sarvo_mh_LUTsolve(&high, P.p, &long_vector, &y.p), 0, {vector_text});

        // Sparse routines compare sizes likewise; a factorisation and a sort give it the size that they need.
        SPMAT *S = nullptr, *T = nullptr;
        expect_success(sarvo_mh_sp_get(0, 0, 1, &S));
        expect_error(sarvo_mh_sp_permute(S, P.p, nullptr, &T), SarvoMHSizesEC, {"sp_permute", wrong});
        expect_error(sarvo_mh_spLUfactor(S, P.p, 0.1), SarvoMHSizesEC, {"spLUfactor", wrong});
        expect_error(sarvo_mh_spLUsolve(S, P.p, empty.p, &y.p), SarvoMHSizesEC, {"spLUsolve", wrong});
        expect_error(sarvo_mh_spLUTsolve(S, P.p, empty.p, &y.p), SarvoMHSizesEC, {"spLUTsolve", wrong});
        sarvo_mh_sp_free(S);
        EXPECT_EQ(listing([&](FILE *stream) { sarvo_mh_px_foutput(stream, P.p); }),
                  "Permutation: [size=" + std::to_string(static_cast<uint32_t>(size)) + "]\nNULL\n");
        expect_success(sarvo_mh_v_sort(empty.p, &other.p));
        EXPECT_EQ(other.p->size, 0u);
        expect_success(sarvo_mh_v_sort(x.p, &P.p));
        EXPECT_EQ(P.get(), (Entries{0, 1, 2}));
    }
}

// x(i) = x(px(i)) as stated for one vector: along the cycles from the lowest place, an entry met twice ends one.
Doubles literal_in_place(Entries px, Doubles x) {
    const auto n = static_cast<uint32_t>(px.size());
    for (uint32_t i = 0; i < n; i++) {
        if (px[i] >= n) continue;
        const double saved = x[i];
        uint32_t cur = i, nxt = px[i];
        while (true) {
            x[cur] = x[nxt];
            px[cur] += n;
            if (px[nxt] >= n) break;
            if (px[nxt] == i) {
                x[nxt] = saved;
                px[nxt] += n;
                break;
            }
            cur = nxt;
            nxt = px[nxt];
        }
    }
    return x;
}

TEST(Permutations, AppliedInPlaceWithRepeatedEntriesFollowTheStatedCyclesAndStayUnchanged) {
    test::Random random(6);
    for (const uint32_t n : {1u, 2u, 3u, 4u, 9u, 255u, 256u, 257u, 600u})
        for (int round = 0; round < 200; round++) {
            Entries entries(n);
            for (uint32_t &e : entries) e = static_cast<uint32_t>(random.below(n));
            Entries sorted = entries;
            std::sort(sorted.begin(), sorted.end());
            const bool distinct = std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end();
            const Doubles before = values(n + 2, random);
            const Perm P(entries);
            Vec x(before), y(before);
            expect_success(sarvo_mh_px_vec(P.p, x.p, &x.p));
            EXPECT_EQ(x.get(), literal_in_place(entries, before));
            EXPECT_EQ(P.get(), entries);
            if (distinct) {
                expect_success(sarvo_mh_pxinv_vec(P.p, y.p, &y.p));
            } else {
                expect_error(sarvo_mh_pxinv_vec(P.p, y.p, &y.p), SarvoMHBoundsEC, {out_of_bounds});
                EXPECT_EQ(y.get(), before);
            }
            EXPECT_EQ(P.get(), entries);
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
