// Arithmetic of sparse rows and matrices beside the dense loops, bit for bit; products; errors and their order.
#include <cmath>

#include "sparse_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

const std::string null_text = "Input structure(s) is(are) not initialized", sizes_text = "Wrong size(s) of object(s)",
                  insitu_text = "Can't do operation in situ";

// Whether a place is stored.
std::vector<bool> pattern(const SPMAT *A) {
    std::vector<bool> all;
    for (int32_t i = 0; i < A->m; i++)
        for (int32_t j = 0; j < A->n; j++) all.push_back(sarvo_mh_sprow_idx(&A->row[i], j) >= 0);
    return all;
}

// out of a matrix operation: null, or one of another shape with entries, lists and diagonal positions.
Sp used(bool null, test::Random &random) {
    if (null) return {};
    Sp out = random_sparse(static_cast<int32_t>(random.below(9)), static_cast<int32_t>(random.below(9)), 0.5, random);
    expect_success(sarvo_mh_sp_col_access(out.p));
    expect_success(sarvo_mh_sp_diag_access(out.p));
    return out;
}

TEST(SparseArithmetic, HasTheBitsOfTheDenseLoops) {
    test::Random random(3);
    for (int round = 0; round < 400; round++) {
        const auto m = static_cast<int32_t>(random.below(8)), n = static_cast<int32_t>(random.below(8));
        const Fill fill = fills[round % 3];
        const double share = static_cast<double>(random.below(4)) / 3.0;
        const Sp A = random_sparse(m, n, share, random, fill), B = random_sparse(m, n, 0.5, random, fill);
        const double s = round % 7 == 0 ? 0.0 : random.symmetric();
        Sp sum = used(round % 2, random), difference = used(round % 2, random), multiple = used(round % 2, random),
           combined = used(round % 2, random);
        expect_success(sarvo_mh_sp_add(A.p, B.p, &sum.p));
        expect_success(sarvo_mh_sp_sub(A.p, B.p, &difference.p));
        expect_success(sarvo_mh_sp_mltadd(A.p, B.p, s, &combined.p));
        expect_success(sarvo_mh_sp_smlt(A.p, s, &multiple.p));
        Doubles a = dense(A.p), b = dense(B.p), plus(a), minus(a), both(a), times(a);
        std::vector<bool> either = pattern(A.p), of_b = pattern(B.p);
        for (size_t k = 0; k < a.size(); k++) {
            plus[k] = a[k] + b[k], minus[k] = a[k] - b[k], both[k] = s == 0.0 ? a[k] : a[k] + s * b[k];
            times[k] = pattern(A.p)[k] ? s * a[k] : 0.0;
            either[k] = either[k] || of_b[k];
        }
        expect_bits(dense(sum.p), plus, "sum");
        expect_bits(dense(difference.p), minus, "difference");
        expect_bits(dense(combined.p), both, "with a factor");
        expect_bits(dense(multiple.p), times, "multiple");
        EXPECT_EQ(pattern(sum.p), either);
        EXPECT_EQ(pattern(combined.p), either);
        EXPECT_EQ(pattern(multiple.p), pattern(A.p));
        for (const Sp *C : {&sum, &difference, &combined, &multiple}) expect_invariants(C->p, "result");
        Sp in_place = A.copy();
        expect_success(sarvo_mh_sp_smlt(in_place.p, s, &in_place.p));
        expect_bits(dense(in_place.p), times, "in place");
    }
}

TEST(SparseArithmetic, ProductSumsInAscendingOrderFromZero) {
    test::Random random(4);
    for (int round = 0; round < 300; round++) {
        const auto m = random.below(9), l = random.below(9), n = random.below(40);
        const Sp A = random_sparse(static_cast<int32_t>(m), static_cast<int32_t>(l), 0.4, random, fills[round % 3]);
        const Sp B = random_sparse(static_cast<int32_t>(l), static_cast<int32_t>(n), 0.3, random, fills[round % 3]);
        Sp C = used(round % 2, random);
        expect_success(sarvo_mh_sp_mlt(A.p, B.p, &C.p));
        expect_invariants(C.p, "product");
        const Doubles a = dense(A.p), b = dense(B.p);
        const std::vector<bool> has_a = pattern(A.p), has_b = pattern(B.p);
        Doubles c(m * n);
        std::vector<bool> has_c(m * n);
        for (uint64_t i = 0; i < m; i++)
            for (uint64_t j = 0; j < n; j++)
                for (uint64_t k = 0; k < l; k++)
                    if (has_a[i * l + k] && has_b[k * n + j]) {
                        c[i * n + j] += a[i * l + k] * b[k * n + j];
                        has_c[i * n + j] = true;
                    }
        expect_bits(dense(C.p), c, "product");
        EXPECT_EQ(pattern(C.p), has_c);
    }
}

TEST(SparseProducts, WithVectorsHaveTheBitsOfTheStatedLoops) {
    test::Random random(5);
    for (int round = 0; round < 300; round++) {
        const auto m = random.below(30), n = random.below(30);
        const Sp A = random_sparse(static_cast<int32_t>(m), static_cast<int32_t>(n), 0.3, random, fills[round % 3]);
        const Vec x(values(n, random, fills[round % 3])), z(values(m, random, fills[round % 3]));
        Doubles y(m + 2, 7.5), t(n + 2, 7.5);
        Vec longer(y), longer_t(t), fresh;
        for (uint64_t i = 0; i < m; i++) y[i] = 0.0;
        for (uint64_t j = 0; j < n; j++) t[j] = 0.0;
        for (int32_t i = 0; i < A.p->m; i++)
            for (int32_t k = 0; k < A.p->row[i].len; k++) {
                const row_elt &entry = A.p->row[i].elt[k];
                y[static_cast<size_t>(i)] += entry.val * x.p->elems[entry.col];
                t[static_cast<size_t>(entry.col)] += z.p->elems[i] * entry.val;
            }
        expect_success(sarvo_mh_sp_mv_mlt(A.p, x.p, &longer.p));
        expect_success(sarvo_mh_sp_vm_mlt(A.p, z.p, &longer_t.p));
        expect_success(sarvo_mh_sp_mv_mlt(A.p, x.p, &fresh.p));
        expect_bits(longer.get(), y, "A x; the tail stays");
        expect_bits(longer_t.get(), t, "x' A; the tail stays");
        EXPECT_EQ(fresh.p->dim, m);
    }
}

TEST(SparseRows, AreMergedAndAddedFromTheFirstColumnOn) {
    const Row r1{{1, 10.0}, {4, 40.0}, {8, 80.0}}, r2{{0, 1.0}, {4, 2.0}, {9, 3.0}};
    Row merged, sum{{77, 1.0}}, difference, combined, copied, scaled;
    expect_success(sarvo_mh_sprow_merge(r1.p, r2.p, &merged.p));
    expect_success(sarvo_mh_sprow_add(r1.p, r2.p, 0, &sum.p));
    expect_success(sarvo_mh_sprow_sub(r1.p, r2.p, 4, &difference.p));
    expect_success(sarvo_mh_sprow_mltadd(r1.p, r2.p, 3.0, 5, &combined.p));
    expect_success(sarvo_mh_sprow_copy(r1.p, &copied.p));
    expect_success(sarvo_mh_sprow_smlt(r1.p, 0.5, &scaled.p));
    EXPECT_EQ(bytes(*merged.p), bytes(*Row{{0, 1.0}, {1, 10.0}, {4, 40.0}, {8, 80.0}, {9, 3.0}}.p));
    EXPECT_EQ(bytes(*sum.p), bytes(*Row{{0, 1.0}, {1, 10.0}, {4, 42.0}, {8, 80.0}, {9, 3.0}}.p));
    EXPECT_EQ(bytes(*difference.p), bytes(*Row{{4, 38.0}, {8, 80.0}, {9, -3.0}}.p));
    EXPECT_EQ(bytes(*combined.p), bytes(*Row{{8, 80.0}, {9, 9.0}}.p));
    EXPECT_EQ(bytes(*copied.p), bytes(*r1.p));
    EXPECT_EQ(bytes(*scaled.p), bytes(*Row{{1, 5.0}, {4, 20.0}, {8, 40.0}}.p));
    EXPECT_EQ(merged.p->maxlen, 10); // made with that room
    Row many, none;
    expect_success(sarvo_mh_sprow_get(0, &many.p));
    for (int32_t col = 0; col < 25; col++) expect_success(sarvo_mh_sprow_set_val(many.p, col, 1.0));
    Row all;
    expect_success(sarvo_mh_sprow_merge(many.p, r1.p, &all.p));
    EXPECT_EQ(std::pair(all.p->len, all.p->maxlen), std::pair(25, 43)); // 10, 21, 43
    expect_success(sarvo_mh_sprow_get(0, &none.p));
    expect_success(sarvo_mh_sprow_merge(none.p, none.p, &all.p));
    EXPECT_EQ(all.p->len, 0);
}

TEST(SparseArithmetic, ReportsTheFirstFaultWithItsName) {
    Sp A(2, 3), B(3, 2), square(2, 2), out;
    Row r{{1, 1.0}}, r2{{2, 1.0}}, row_out;
    Vec two({1, 2}), three({1, 2, 3}), v;
    Mat dense_out;
    using Call = std::function<sarko_error_t()>;
    const std::string bounds_text = "Index out of bounds";
    const struct {
        Call call;
        uint32_t code;
        std::string name, text;
    } cases[] = {
        {[&] { return sarvo_mh_sp_add(A.p, nullptr, &out.p); }, SarvoMHNullEC, "sp_add", null_text},
        {[&] { return sarvo_mh_sp_sub(nullptr, B.p, &out.p); }, SarvoMHNullEC, "sp_sub", null_text},
        {[&] { return sarvo_mh_sp_mltadd(A.p, B.p, 2.0, &A.p); }, SarvoMHSizesEC, "sp_mltadd", sizes_text},
        {[&] { return sarvo_mh_sp_add(A.p, A.p, &A.p); }, SarvoMHInsituEC, "sprow_add", insitu_text},
        {[&] { return sarvo_mh_sp_sub(A.p, A.p, &A.p); }, SarvoMHInsituEC, "sprow_sub", insitu_text},
        {[&] { return sarvo_mh_sp_mltadd(A.p, A.p, 2.0, &A.p); }, SarvoMHInsituEC, "sprow_mltadd", insitu_text},
        {[&] { return sarvo_mh_sp_smlt(nullptr, 2.0, &out.p); }, SarvoMHNullEC, "sp_smlt", null_text},
        {[&] { return sarvo_mh_sp_mlt(A.p, nullptr, &out.p); }, SarvoMHNullEC, "sp_mlt", null_text},
        {[&] { return sarvo_mh_sp_mlt(A.p, A.p, &A.p); }, SarvoMHSizesEC, "sp_mlt", sizes_text},
        {[&] { return sarvo_mh_sp_mlt(square.p, square.p, &square.p); }, SarvoMHInsituEC, "sp_mlt", insitu_text},
        {[&] { return sarvo_mh_sp_copy(nullptr, &out.p); }, SarvoMHNullEC, "sp_copy", null_text},
        {[&] { return sarvo_mh_sp_copy2(nullptr, &out.p); }, SarvoMHNullEC, "sp_copy2", null_text},
        {[&] { return sarvo_mh_sp_m2dense(nullptr, &dense_out.p); }, SarvoMHNullEC, "sp_m2dense", null_text},
        {[&] { return sarvo_mh_sp_mv_mlt(A.p, nullptr, &v.p); }, SarvoMHNullEC, "sp_mv_mlt", null_text},
        {[&] { return sarvo_mh_sp_mv_mlt(A.p, two.p, &two.p); }, SarvoMHSizesEC, "sp_mv_mlt", sizes_text},
        {[&] { return sarvo_mh_sp_mv_mlt(A.p, three.p, &three.p); }, SarvoMHInsituEC, "sp_mv_mlt", insitu_text},
        {[&] { return sarvo_mh_sp_vm_mlt(nullptr, two.p, &v.p); }, SarvoMHNullEC, "sp_vm_mlt", null_text},
        {[&] { return sarvo_mh_sp_vm_mlt(A.p, three.p, &three.p); }, SarvoMHSizesEC, "sp_vm_mlt", sizes_text},
        {[&] { return sarvo_mh_sp_vm_mlt(A.p, two.p, &two.p); }, SarvoMHInsituEC, "sp_vm_mlt", insitu_text},
        {[&] { return sarvo_mh_sprow_merge(nullptr, r.p, &r.p); }, SarvoMHNullEC, "sprow_merge", null_text},
        {[&] { return sarvo_mh_sprow_merge(r2.p, r.p, &r.p); }, SarvoMHInsituEC, "sprow_merge", insitu_text},
        {[&] { return sarvo_mh_sprow_copy(nullptr, &r.p); }, SarvoMHNullEC, "sprow_copy", null_text},
        {[&] { return sarvo_mh_sprow_copy(r.p, &r.p); }, SarvoMHInsituEC, "sprow_copy", insitu_text},
        {[&] { return sarvo_mh_sprow_add(r.p, nullptr, -1, &r.p); }, SarvoMHNullEC, "sprow_add", null_text},
        {[&] { return sarvo_mh_sprow_sub(r.p, r2.p, -1, &r.p); }, SarvoMHInsituEC, "sprow_sub", insitu_text},
        {[&] { return sarvo_mh_sprow_mltadd(r.p, r2.p, 1, -1, &row_out.p); }, SarvoMHBoundsEC, "sprow_mltadd",
         bounds_text},
        {[&] { return sarvo_mh_sprow_smlt(nullptr, 1.0, &row_out.p); }, SarvoMHNullEC, "sprow_smlt", null_text},
    };
    for (const auto &c : cases) expect_error(c.call(), c.code, {c.name, c.text});
    EXPECT_EQ(out.p, nullptr);
    EXPECT_EQ(row_out.p, nullptr);
    EXPECT_EQ(v.p, nullptr);
}

TEST(SparseCopies, CarryLinksAndMakeListsAnew) {
    test::Random random(6);
    Sp A = random_sparse(5, 4, 0.5, random), copy2;
    const Sp unlisted = A.copy();
    expect_success(sarvo_mh_sp_col_access(A.p));
    expect_success(sarvo_mh_sp_diag_access(A.p));
    const Sp copied = A.copy();
    EXPECT_EQ(bytes(copied.p), bytes(A.p));
    expect_invariants(copied.p, "copy with lists");
    expect_success(sarvo_mh_sp_copy2(unlisted.p, &copy2.p));
    EXPECT_EQ(copy2.p->flag_col, 1);
    expect_invariants(copy2.p, "lists made anew");
    expect_success(sarvo_mh_sp_copy2(copy2.p, &copy2.p));
    Mat larger(7, 6, Doubles(42, 9.0)), smaller(5, 3, Doubles(15, 9.0));
    expect_success(sarvo_mh_sp_m2dense(A.p, &larger.p));
    expect_success(sarvo_mh_sp_m2dense(A.p, &smaller.p));
    EXPECT_EQ(smaller.get(), dense(A.p));
    for (uint64_t i = 0; i < 7; i++)
        for (uint64_t j = 0; j < 6; j++) EXPECT_EQ(larger(i, j), i < 5 && j < 4 ? smaller(i, j) : 0.0) << i << "," << j;
}

TEST(SparseProducts, OfTheCollectionEqualTheDenseOnes) {
    const auto collection = test::market_collection();
    if (collection.empty()) GTEST_SKIP() << "no reference data beside the sources";
    test::Random random(8);
    for (const test::MarketMatrix &file : collection) {
        SCOPED_TRACE(file.name);
        const Sp A(file);
        expect_invariants(A.p, file.name);
        EXPECT_EQ(static_cast<size_t>(entries(A.p)), file.entries.size());
        const Vec x(values(static_cast<uint64_t>(file.cols), random)),
            z(values(static_cast<uint64_t>(file.rows), random));
        Vec y, t, y_dense, t_dense;
        Mat D;
        expect_success(sarvo_mh_sp_mv_mlt(A.p, x.p, &y.p));
        expect_success(sarvo_mh_sp_vm_mlt(A.p, z.p, &t.p));
        expect_success(sarvo_mh_sp_m2dense(A.p, &D.p));
        expect_success(sarvo_mh_mv_mlt(D.p, x.p, &y_dense.p));
        expect_success(sarvo_mh_vm_mlt(D.p, z.p, &t_dense.p));
        expect_bits(y.get(), y_dense.get(), "A x");
        expect_bits(t.get(), t_dense.get(), "x' A");
    }
}

} // namespace
