// Dense objects: shapes, storage rules, listings, copies and moves.
#include <climits>
#include <cstdio>

#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

TEST(Creation, AllocatesWhatTheShapeNeeds) {
    Mat no_rows(0, 5), no_cols(3, 0), A(2, 3);
    EXPECT_EQ(no_rows.p->row_ptrs, nullptr);
    EXPECT_EQ(no_rows.p->base, nullptr);
    EXPECT_NE(no_cols.p->row_ptrs, nullptr);
    EXPECT_EQ(no_cols.p->base, nullptr);
    EXPECT_EQ(A.p->capacity, 6u);
    EXPECT_EQ(A.p->row_ptrs[1], A.p->base + 3);
    EXPECT_EQ(A.get(), Doubles(6, 0.0));
    EXPECT_EQ(Vec(Doubles()).p->elems, nullptr);
    Perm p, negative;
    expect_success(sarvo_mh_px_get(3, &p.p));
    EXPECT_EQ(p.get(), (std::vector<uint32_t>{0, 1, 2}));
    expect_success(sarvo_mh_px_get(-2, &negative.p));
    EXPECT_EQ(static_cast<int32_t>(negative.p->size), -2);
    EXPECT_EQ(negative.p->elems, nullptr);
    const int64_t live = test::memory::live_blocks();
    sarvo_mh_px_free(negative.p);
    EXPECT_EQ(test::memory::live_blocks(), live) << "a permutation of negative size is not freed";
}

TEST(Creation, OfAnImpossibleSizeFails) {
    for (const auto &[rows, cols] : {std::pair{1ull << 62, 2ull}, {1ull << 33, 1ull << 33}, {UINT64_MAX, UINT64_MAX}}) {
        MAT *A = nullptr;
        sarko_error_t e = sarvo_mh_m_get(rows, cols, &A);
        EXPECT_NE(e, 0u);
        EXPECT_EQ(A, nullptr);
        sarko_error_clear(e);
        Mat B(2, 3, {1, 2, 3, 4, 5, 6});
        const std::string before = bytes(B.p);
        e = sarvo_mh_m_resize(&B.p, rows, cols);
        EXPECT_NE(e, 0u);
        sarko_error_clear(e);
        EXPECT_EQ(bytes(B.p), before);
    }
    VEC *v = nullptr;
    sarko_error_t e = sarvo_mh_v_get(1ull << 61, &v);
    EXPECT_NE(e, 0u);
    sarko_error_clear(e);
}

TEST(MatrixResize, KeepsTheCommonPartAndZeroesTheRest) {
    test::Random random(1);
    for (int round = 0; round < 300; round++) {
        Mat A(random.below(5), random.below(5));
        std::vector<Doubles> model(A.p->rows, Doubles(A.p->cols));
        for (int step = 0; step < 5; step++) {
            for (uint64_t i = 0; i < A.p->rows; i++)
                for (uint64_t j = 0; j < A.p->cols; j++) model[i][j] = A.p->row_ptrs[i][j] = random.symmetric();
            const uint64_t rows = random.below(6), cols = random.below(6);
            expect_success(sarvo_mh_m_resize(&A.p, rows, cols));
            model.resize(rows);
            Doubles expected;
            for (Doubles &row : model) {
                row.resize(cols);
                expected.insert(expected.end(), row.begin(), row.end());
            }
            ASSERT_EQ(A.get(), expected) << rows << " x " << cols;
            ASSERT_EQ(A.p->capacity, A.p->max_rows * A.p->max_cols);
            for (uint64_t i = 0; i < rows && cols; i++) ASSERT_EQ(A.p->row_ptrs[i], A.p->base + i * cols);
        }
    }
}

TEST(VectorResize, ZeroesWhatAShrinkHadHidden) {
    Vec v({1, 2, 3, 4});
    expect_success(sarvo_mh_v_resize(&v.p, 2));
    expect_success(sarvo_mh_v_resize(&v.p, 4));
    EXPECT_EQ(v.get(), (Doubles{1, 2, 0, 0}));
    EXPECT_EQ(v.p->max_dim, 4u);
    IVEC *iv = nullptr;
    I64VEC *i64v = nullptr;
    expect_success(sarvo_mh_iv_resize(&iv, 2));
    expect_success(sarvo_mh_i64v_resize(&i64v, 3));
    sarvo_mh_iv_ones(iv);
    sarvo_mh_i64v_ones(i64v);
    expect_success(sarvo_mh_iv_resize(&iv, 5));
    expect_success(sarvo_mh_i64v_resize(&i64v, 4));
    EXPECT_EQ(std::vector<uint32_t>(iv->elems, iv->elems + 5), (std::vector<uint32_t>{1, 1, 0, 0, 0}));
    EXPECT_EQ(std::vector<int64_t>(i64v->elems, i64v->elems + 4), (std::vector<int64_t>{1, 1, 1, 0}));
    sarvo_mh_iv_free(iv);
    sarvo_mh_i64v_free(i64v);
}

TEST(PermutationResize, GrowsByTheIdentityAndShrinksToIt) {
    Perm p({2, 0, 1}), q({2, 0, 1}), negative;
    expect_success(sarvo_mh_px_resize(&p.p, 5));
    EXPECT_EQ(p.get(), (std::vector<uint32_t>{2, 0, 1, 3, 4}));
    expect_success(sarvo_mh_px_resize(&q.p, 2));
    EXPECT_EQ(q.get(), (std::vector<uint32_t>{0, 1}));
    expect_error(sarvo_mh_px_resize(&q.p, -1), 0, {"Incorrect dimension: -1"});
    expect_success(sarvo_mh_px_get(-3, &negative.p));
    expect_success(sarvo_mh_px_resize(&negative.p, 2));
    EXPECT_EQ(negative.get(), (std::vector<uint32_t>{0, 1}));
}

TEST(Fills, WriteEveryElementAndAcceptNull) {
    Mat A(2, 3, {1, 2, 3, 4, 5, 6}), view_parent(3, 3);
    sarvo_mh_m_ident(A.p);
    EXPECT_EQ(A.get(), (Doubles{1, 0, 0, 0, 1, 0}));
    sarvo_mh_m_ones(A.p);
    EXPECT_EQ(A.get(), Doubles(6, 1.0));
    sarvo_mh_m_zero(A.p);
    EXPECT_EQ(A.get(), Doubles(6, 0.0));
    Vec v({7, 7, 7});
    sarvo_mh_v_count(v.p);
    EXPECT_EQ(v.get(), (Doubles{0, 1, 2}));
    sarvo_mh_v_ones(v.p);
    EXPECT_EQ(v.get(), (Doubles{1, 1, 1}));
    sarvo_mh_v_zero(v.p);
    EXPECT_EQ(v.get(), (Doubles{0, 0, 0}));
    sarvo_mh_m_zero(nullptr), sarvo_mh_m_ones(nullptr), sarvo_mh_m_ident(nullptr);
    sarvo_mh_v_zero(nullptr), sarvo_mh_v_ones(nullptr), sarvo_mh_v_count(nullptr);
    sarvo_mh_iv_zero(nullptr), sarvo_mh_iv_ones(nullptr), sarvo_mh_i64v_zero(nullptr), sarvo_mh_i64v_ones(nullptr);
    sarvo_mh_px_ident(nullptr), sarvo_mh_px_free(nullptr), sarvo_mh_m_free(nullptr), sarvo_mh_v_free(nullptr);
}

TEST(Listings, AreTheStatedCharacters) {
    const auto matrix = [](const MAT *A) { return listing([A](FILE *f) { sarvo_mh_m_foutput(f, " %g", A); }); };
    const auto vector = [](const VEC *v) { return listing([v](FILE *f) { sarvo_mh_v_foutput(f, " %g", v); }); };
    const auto permutation = [](const PERM *p) { return listing([p](FILE *f) { sarvo_mh_px_foutput(f, p); }); };
    EXPECT_EQ(matrix(nullptr), "Matrix: NULL\n");
    EXPECT_EQ(matrix(Mat(0, 5).p), "Matrix: [0-by-5]\nNULL\n");
    EXPECT_EQ(matrix(Mat(1, 0).p), "Matrix: [1-by-0]\nrow 0: \n");
    EXPECT_EQ(matrix(Mat(1, 9, {1, 2, 3, 4, 5, 6, 7, 8, 9}).p), "Matrix: [1-by-9]\nrow 0:  1 2 3 4\n 5 6 7 8 9\n");
    EXPECT_EQ(matrix(Mat(2, 4, {1, 2, 3, 4, 5, 6, 7, 8}).p), "Matrix: [2-by-4]\nrow 0:  1 2 3 4\nrow 1:  5 6 7 8\n");
    EXPECT_EQ(matrix(Mat(1, 5, {1, 2, 3, 4, 5}).p), "Matrix: [1-by-5]\nrow 0:  1 2 3 4\n 5\n");
    EXPECT_EQ(vector(nullptr), "Vector: NULL\n");
    EXPECT_EQ(vector(Vec(Doubles()).p), "Vector: [dim=0]\nNULL\n");
    EXPECT_EQ(vector(Vec({1, 2, 3, 4, 5, 6, 7}).p), "Vector: [dim=7]\n 1 2 3 4 5\n 6 7\n");
    EXPECT_EQ(vector(Vec(Doubles(10, 1)).p), "Vector: [dim=10]\n 1 1 1 1 1\n 1 1 1 1 1\n");
    IVEC *iv = nullptr;
    expect_success(sarvo_mh_iv_get(6, &iv));
    EXPECT_EQ(listing([iv](FILE *f) { sarvo_mh_iv_foutput(f, "%u,", iv); }), "I-Vector: [dim=6]\n0,0,0,0,0,\n0,\n");
    EXPECT_EQ(listing([](FILE *f) { sarvo_mh_iv_foutput(f, "%u", nullptr); }), "Vector: NULL\n");
    sarvo_mh_iv_free(iv);
    EXPECT_EQ(permutation(nullptr), "Permutation: NULL\n");
    Perm p;
    expect_success(sarvo_mh_px_get(9, &p.p));
    EXPECT_EQ(permutation(p.p), "Permutation: [size=9]\n0->0 1->1 2->2 3->3 4->4 5->5 6->6 7->7 \n  8->8 \n");
    expect_success(sarvo_mh_px_resize(&p.p, 0));
    EXPECT_EQ(permutation(p.p), "Permutation: [size=0]\n\n");
}

TEST(Copies, FillFromTheOffsetAndKeepALargerTarget) {
    const Mat A(2, 2, {1, 2, 3, 4});
    Mat fresh, larger(3, 3, Doubles(9, 7)), narrow(5, 1);
    expect_success(sarvo_mh_m_copy_(A.p, &fresh.p, 1, 0));
    EXPECT_EQ(fresh.get(), (Doubles{0, 0, 3, 4}));
    expect_success(sarvo_mh_m_copy_(A.p, &larger.p, 0, 1));
    EXPECT_EQ(larger.get(), (Doubles{7, 2, 7, 7, 4, 7, 7, 7, 7}));
    expect_success(sarvo_mh_m_copy_(A.p, &narrow.p, 0, 0));
    EXPECT_EQ(narrow.get(), A.get());
    expect_success(sarvo_mh_m_copy_(A.p, &larger.p, 9, 9));
    const Vec v({1, 2, 3});
    Vec w({9, 9, 9, 9}), shorter({9});
    expect_success(sarvo_mh_v_copy_(v.p, &w.p, 1));
    EXPECT_EQ(w.get(), (Doubles{9, 2, 3, 9}));
    expect_success(sarvo_mh_v_copy_(v.p, &shorter.p, 5));
    EXPECT_EQ(shorter.get(), (Doubles{9, 0, 0}));
    VEC *same = v.p;
    expect_success(sarvo_mh_v_copy_(v.p, &same, 0));
    Perm p({1, 0}), q({0, 1, 2});
    expect_success(sarvo_mh_px_copy(p.p, &q.p));
    EXPECT_EQ(q.get(), p.get());
}

TEST(Moves, ArriveWhereTheyShouldAndGrowTheTarget) {
    const Mat A(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    Mat out, same(2, 3, {1, 2, 3, 4, 5, 6});
    expect_success(sarvo_mh_m_move(A.p, 1, 1, 2, 2, &out.p, 0, 1));
    EXPECT_EQ(out.get(), (Doubles{0, 5, 6, 0, 8, 9}));
    expect_success(sarvo_mh_m_move(same.p, 0, 0, 2, 2, &same.p, 0, 1)); // rows ascend, each safe against overlap
    EXPECT_EQ(same.get(), (Doubles{1, 1, 2, 4, 4, 5}));
    expect_success(sarvo_mh_m_move(same.p, 0, 0, 1, 3, &same.p, 3, 2));
    EXPECT_EQ(same.p->rows, 4u);
    EXPECT_EQ(same.p->cols, 5u);
    EXPECT_EQ(same(3, 4), 2.0);
    Vec v({1, 2, 3, 4});
    expect_success(sarvo_mh_v_move(v.p, 0, 3, &v.p, 2));
    EXPECT_EQ(v.get(), (Doubles{1, 2, 1, 2, 3}));
    Vec row;
    expect_success(sarvo_mh_mv_move(A.p, 0, 1, 2, 2, &row.p, 1));
    EXPECT_EQ(row.get(), (Doubles{0, 2, 3, 5, 6}));
    Mat block;
    expect_success(sarvo_mh_vm_move(row.p, 1, &block.p, 1, 0, 2, 2));
    EXPECT_EQ(block.get(), (Doubles{0, 0, 2, 3, 5, 6}));
}

TEST(Copies, AndMovesReportBadInput) {
    const Mat A(2, 3);
    const Vec v(Doubles(4));
    Mat M;
    Vec w;
    Perm p;
    const std::string matrix = "Input matrix is not initialized.", vector = "Input vector is not initialized.";
    const std::string block = "Wrong bounds for input matrix.", range = "Wrong bounds for input vector.";
    expect_error(sarvo_mh_m_copy_(nullptr, &M.p, 0, 0), 0, {matrix});
    expect_error(sarvo_mh_v_copy_(nullptr, &w.p, 0), 0, {vector});
    expect_error(sarvo_mh_px_copy(nullptr, &p.p), 0, {"Input permutation is not initialized."});
    expect_error(sarvo_mh_m_move(nullptr, 0, 0, 1, 1, &M.p, 0, 0), 0, {matrix});
    expect_error(sarvo_mh_mv_move(nullptr, 0, 0, 1, 1, &w.p, 0), 0, {matrix});
    expect_error(sarvo_mh_vm_move(nullptr, 0, &M.p, 0, 0, 1, 1), 0, {vector});
    const uint64_t most = UINT64_MAX;
    const uint64_t bad[][4] = {{0, 0, 0, 1}, {0, 0, 1, 0}, {1, 0, 2, 1}, {0, 2, 1, 2}, {3, 0, 1, 1}, {1, 1, most, 1}};
    for (const auto &b : bad) {
        expect_error(sarvo_mh_m_move(A.p, b[0], b[1], b[2], b[3], &M.p, 0, 0), SarvoMHSizesEC, {block});
        expect_error(sarvo_mh_mv_move(A.p, b[0], b[1], b[2], b[3], &w.p, 0), SarvoMHSizesEC, {block});
    }
    for (const auto &[i0, len] : {std::pair{0ull, 0ull}, {1ull, 4ull}, {5ull, 1ull}, {2ull, most - 1ull}})
        expect_error(sarvo_mh_v_move(v.p, i0, len, &w.p, 0), SarvoMHSizesEC, {range});
    expect_error(sarvo_mh_vm_move(v.p, 0, &M.p, 0, 0, 1ull << 32, 1ull << 32), SarvoMHSizesEC, {range});
    EXPECT_EQ(M.p, nullptr);
    EXPECT_EQ(w.p, nullptr);
    const sarko_error_t far = sarvo_mh_v_move(v.p, 0, 1, &w.p, most); // i1 + len wraps
    EXPECT_NE(far, 0u);
    sarko_error_clear(far);
}

} // namespace
