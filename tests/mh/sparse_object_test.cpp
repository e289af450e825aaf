// Sparse rows and matrices as objects: search, growth, insertion, shape, lists, listings; long random sequences.
#include <climits>
#include <cmath>
#include <cstdlib>
#include <map>

#include "sparse_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

const std::string null_text = "Input structure(s) is(are) not initialized", negative_text = "Negative argument",
                  sizes_text = "Wrong size(s) of object(s)";

TEST(SparseRows, SearchTellsThePositionOrTheInsertionPoint) {
    const Row row{{2, 1.0}, {5, 1.0}, {9, 1.0}}, empty{};
    const int32_t expected[][2] = {{5, 1}, {0, -2}, {6, -4}, {10, -5}, {2, 0}, {9, 2}, {3, -3}};
    for (const auto &[col, idx] : expected) EXPECT_EQ(sarvo_mh_sprow_idx(row.p, col), idx) << col;
    EXPECT_EQ(sarvo_mh_sprow_idx(Row({}).p, 3), -2);
    EXPECT_EQ(sarvo_mh_sprow_idx(nullptr, 3), -2);
}

TEST(SparseRows, GrowByTheStatedRule) {
    const int32_t cases[][4] = {// len, maxlen, n -> len afterwards
                                {3, 4, 0, 10},  {7, 7, 0, 15},    {7, 7, 20, 20},
                                {3, 12, 0, 10}, {10, 10, 10, 21}, {5, 40, -3, 11}};
    for (const auto &[len, room, n, grown] : cases) {
        Row row;
        expect_success(sarvo_mh_sprow_get(room, &row.p));
        for (int32_t col = 0; col < len; col++) expect_success(sarvo_mh_sprow_set_val(row.p, col, 1.0));
        expect_success(sarvo_mh_sprow_xpd(&row.p, n));
        EXPECT_EQ(row.p->len, grown);
        EXPECT_EQ(row.p->maxlen, std::max(room, grown));
        for (int32_t k = len; k < grown; k++) EXPECT_EQ(row.p->elt[k].val, 0.0);
        EXPECT_EQ(row.p->elt[len - 1].col, len - 1);
    }
    Row made, bare;
    expect_success(sarvo_mh_sprow_xpd(&made.p, 6)); // a null row is made first
    EXPECT_EQ(std::pair(made.p->len, made.p->maxlen), std::pair(0, 6));
    expect_success(sarvo_mh_sprow_get(0, &bare.p));
    const sarko_error_t e = sarvo_mh_sprow_xpd(&bare.p, -1);
    EXPECT_NE(e, 0u);
    sarko_error_clear(e);
}

TEST(SparseRows, KeepAllEntriesThroughAReallocation) {
    const auto fill = [](SPROW *row) {
        for (int32_t k = 0; k < row->maxlen; k++) row->elt[k] = {k + 1, k + 2, k + 3, 0.5 + k};
    };
    const auto expect_kept = [](const SPROW *row, int32_t kept, const std::string &what) {
        for (int32_t k = 0; k < row->len; k++) {
            const row_elt expected = k < kept ? row_elt{k + 1, k + 2, k + 3, 0.5 + k} : row_elt{};
            EXPECT_EQ(test::bytes(row->elt + k, sizeof expected), test::bytes(&expected, sizeof expected))
                << what << ", entry " << k;
        }
    };
    for (const int32_t len : {0, 1, 3, 4})
        for (const int32_t n : {5, 9, 100}) {
            Row row, grown;
            expect_success(sarvo_mh_sprow_get(4, &row.p));
            fill(row.p);
            row.p->len = 4;
            expect_success(sarvo_mh_sprow_resize(&row.p, len)); // the entries after len wait
            expect_success(sarvo_mh_sprow_resize(&row.p, n));
            EXPECT_EQ(std::pair(row.p->len, row.p->maxlen), std::pair(n, n));
            expect_kept(row.p, 4, "resize " + std::to_string(len) + " to " + std::to_string(n));
            expect_success(sarvo_mh_sprow_get(4, &grown.p));
            fill(grown.p);
            grown.p->len = len;
            expect_success(sarvo_mh_sprow_xpd(&grown.p, n));
            expect_kept(grown.p, 4, "xpd " + std::to_string(len) + " to " + std::to_string(n));
        }
}

TEST(SparseRows, RecordTheirRoomAsEachInsertionSaysItIs) {
    Row row;
    expect_success(sarvo_mh_sprow_get(0, &row.p));
    Sp A(1, 100);
    const std::pair<int32_t, int32_t> after[] = {{1, 1}, {3, 5}, {3, 5}, {7, 5}, {7, 5}, {7, 11}, {7, 11}, {15, 11}};
    for (int32_t col = 0; col < 8; col++) { // a free-standing row records less than it has
        expect_success(sarvo_mh_sprow_set_val(row.p, col, 1.0));
        A.set(0, col, 1.0);
        EXPECT_EQ(row.p->maxlen, after[col].first) << col;
        EXPECT_EQ(A.p->row[0].maxlen, col == 0 ? 1 : after[col].second) << col;
    }
}

TEST(SparseRows, ResizeSetsTheLength) {
    Row row;
    expect_success(sarvo_mh_sprow_resize(&row.p, 4));
    EXPECT_EQ(std::pair(row.p->len, row.p->maxlen), std::pair(0, 4));
    const int32_t cases[][3] = {{3, 3, 4}, {7, 7, 7}, {2, 2, 7}, {0, 0, 7}}; // n -> len, maxlen
    for (const auto &[n, len, room] : cases) {
        expect_success(sarvo_mh_sprow_resize(&row.p, n));
        EXPECT_EQ(std::pair(row.p->len, row.p->maxlen), std::pair(len, room)) << n;
    }
    expect_error(sarvo_mh_sprow_resize(&row.p, -1), SarvoMHNegEC, {"sprow_resize", negative_text});
    expect_error(sarvo_mh_sprow_get(-1, &row.p), SarvoMHNegEC, {"sprow_get", negative_text});
    expect_error(sarvo_mh_sprow_set_val(nullptr, 0, 1.0), SarvoMHNullEC, {"sprow_set_val", null_text});
    EXPECT_EQ(sarvo_mh_sprow_free(nullptr), -1);
}

TEST(SparseMatrices, AreMadeEmpty) {
    Sp A;
    expect_success(sarvo_mh_sp_get(3, 4, 0, &A.p));
    EXPECT_EQ(bytes(A.p), bytes(Sp(3, 4).p));
    EXPECT_EQ(std::pair(A.p->max_m, A.p->max_n), std::pair(3, 4));
    for (int32_t i = 0; i < 3; i++) EXPECT_EQ(std::pair(A.p->row[i].maxlen, A.p->row[i].diag), std::pair(1, -1));
    for (int32_t j = 0; j < 4; j++) EXPECT_EQ(std::pair(A.p->start_row[j], A.p->start_idx[j]), std::pair(-1, -1));
    SPMAT *none = nullptr;
    expect_error(sarvo_mh_sp_get(-1, 4, 1, &none), SarvoMHNegEC, {"sp_get", negative_text});
    expect_error(sarvo_mh_sp_get(4, -1, 1, &none), SarvoMHNegEC, {"sp_get", negative_text});
    const sarko_error_t e = sarvo_mh_sp_get(INT32_MAX, INT32_MAX, INT32_MAX, &none);
    EXPECT_NE(e, 0u);
    sarko_error_clear(e);
    EXPECT_EQ(none, nullptr);
    sarvo_mh_sp_free(nullptr), sarvo_mh_sp_zero(nullptr);
    Sp B, C;
    expect_success(sarvo_mh_sp_get_vars(2, 3, 1, &B.p, &C.p, nullptr));
    expect_success(sarvo_mh_sp_resize_vars(4, 5, &B.p, &C.p, nullptr));
    EXPECT_EQ(bytes(C.p), bytes(Sp(4, 5).p));
    expect_error(sarvo_mh_sp_resize_vars(4, -5, &B.p, &C.p, nullptr), SarvoMHNegEC, {"sp_resize", negative_text});
    sarvo_mh_sp_free_vars(&B.p, &C.p, nullptr);
    EXPECT_EQ(B.p, nullptr);
    EXPECT_EQ(C.p, nullptr);
}

TEST(SparseMatrices, RefusePlacesOutside) {
    Sp A(2, 3, {0, 0, 5, 7, 0, 0});
    double x = 1.0;
    for (const auto &[i, j] : {std::pair{-1, 0}, {0, -1}, {2, 0}, {0, 3}, {INT_MAX, INT_MIN}}) {
        expect_error(sarvo_mh_sp_get_val(A.p, i, j, &x), SarvoMHSizesEC, {sizes_text});
        expect_error(sarvo_mh_sp_set_val(A.p, i, j, 1.0), SarvoMHSizesEC, {sizes_text});
    }
    expect_error(sarvo_mh_sp_get_val(nullptr, -1, 0, &x), SarvoMHNullEC, {null_text});
    expect_error(sarvo_mh_sp_set_val(nullptr, -1, 0, 1.0), SarvoMHNullEC, {null_text});
    EXPECT_EQ(x, 1.0);
    expect_success(sarvo_mh_sp_get_val(A.p, 0, 1, &x));
    EXPECT_EQ(x, 0.0);
}

TEST(SparseMatrices, CompactionRemovesWhatIsNotAboveTheTolerance) {
    const double nan = NAN;
    for (const auto &[tol, kept] : {std::pair{0.0, std::vector<int32_t>{1, 3, 4, 5}}, {1.0, {4, 5}}, {INFINITY, {5}}}) {
        Sp A(1, 6, {0, -1, 0, 1, 2, nan});
        A.set(0, 0, 0.0), A.set(0, 2, -0.0);
        expect_success(sarvo_mh_sp_col_access(A.p));
        expect_success(sarvo_mh_sp_diag_access(A.p));
        const int32_t room = A.p->row[0].maxlen;
        expect_success(sarvo_mh_sp_compact(A.p, tol));
        EXPECT_EQ(columns(A.p->row[0]), kept);
        EXPECT_EQ(A.p->row[0].maxlen, room);
        EXPECT_EQ(A.p->flag_col + A.p->flag_diag, 0);
    }
    Sp A(1, 1);
    expect_error(sarvo_mh_sp_compact(nullptr, -1.0), SarvoMHNullEC, {"sp_compact", null_text});
    expect_error(sarvo_mh_sp_compact(A.p, -1.0), SarvoMHRangeEC, {"sp_compact", "Object out of range"});
    expect_error(sarvo_mh_sp_col_access(nullptr), SarvoMHNullEC, {"sp_col_access", null_text});
    expect_error(sarvo_mh_sp_diag_access(nullptr), SarvoMHNullEC, {"sp_diag_access", null_text});
}

TEST(SparseListings, AreTheStatedCharacters) {
    const auto dump = [](const SPROW *r) { return listing([r](FILE *f) { sarvo_mh_sprow_dump(f, r); }); };
    const auto output = [](const SPROW *r) { return listing([r](FILE *f) { sarvo_mh_sprow_foutput(f, r); }); };
    EXPECT_EQ(dump(nullptr), "SparseRow dump:\n*** NULL row ***\n");
    EXPECT_EQ(output(nullptr), "SparseRow: **** NULL ****\n");
    Row bare;
    expect_success(sarvo_mh_sprow_get(0, &bare.p));
    EXPECT_EQ(dump(bare.p), "SparseRow dump:\nrow: len = 0, maxlen = 0, diag idx = -1\nelement list @ 0x0\n"
                            "*** NULL element list ***\n");
    Sp A(2, 3, {0, 2.5, 0, 0, 1e10, 0});
    expect_success(sarvo_mh_sp_col_access(A.p));
    expect_success(sarvo_mh_sp_diag_access(A.p));
    char address[40];
    snprintf(address, sizeof address, "0x%lx", reinterpret_cast<unsigned long>(A.p->row[0].elt));
    EXPECT_EQ(dump(&A.p->row[0]), std::string("SparseRow dump:\nrow: len = 1, maxlen = 1, diag idx = -2\n") +
                                      "element list @ " + address + "\nCol: 1, Val: 2.5, nxt_row = 1, nxt_idx = 0\n\n");
    EXPECT_EQ(output(&A.p->row[1]), "SparseRow: length: 1\nColumn 1: 1e+10, next row: -1, next index -1\n");
}

// ---- Random operations beside a model: a map from places to values ----

using Model = std::map<std::pair<int32_t, int32_t>, double>;

std::string bytes_of(const Model &model, int32_t m, int32_t n) {
    Sp A(m, n);
    for (const auto &[place, value] : model) A.set(place.first, place.second, value);
    return bytes(A.p);
}

void resize(Sp &A, Model &model, int32_t m, int32_t n) {
    expect_success(sarvo_mh_sp_resize(&A.p, m, n));
    std::erase_if(model, [m, n](const auto &x) { return x.first.first >= m || x.first.second >= n; });
}

void operate(Sp &A, Model &model, test::Random &random) {
    const int32_t m = A.p->m, n = A.p->n;
    const auto below = [&random](int32_t bound) {
        return static_cast<int32_t>(random.below(static_cast<uint64_t>(bound)));
    };
    switch (below(40)) {
    case 0: resize(A, model, below(20), below(20)); break;
    case 1:
        expect_success(sarvo_mh_sp_compact(A.p, 0.25));
        std::erase_if(model, [](const auto &x) { return std::fabs(x.second) <= 0.25; });
        break;
    case 2: expect_success(sarvo_mh_sp_col_access(A.p)); break;
    case 3: expect_success(sarvo_mh_sp_diag_access(A.p)); break;
    case 4: { // doubled through a sum, into a matrix that had other contents
        Sp sum(below(20), below(20));
        expect_success(sarvo_mh_sp_add(A.p, A.p, &sum.p));
        std::swap(sum.p, A.p);
        for (auto &x : model) x.second += x.second;
        break;
    }
    case 5: {
        Sp other = random_sparse(below(20), below(20), 0.3, random);
        expect_success(sarvo_mh_sp_copy2(A.p, &other.p));
        std::swap(other.p, A.p);
        break;
    }
    default:
        if (m == 0 || n == 0) break;
        const int32_t i = below(m), j = below(n);
        const double value = random.below(5) ? random.symmetric() : 0.0;
        A.set(i, j, value);
        model[{i, j}] = value;
        A.p->flag_col = A.p->flag_diag = 0; // what a caller knows after an insertion
    }
}

TEST(SparseMatrices, KeepTheirStructureOverRandomOperations) {
    const char *wanted = std::getenv("SARVO_RANDOM_OPERATIONS");
    const long operations = wanted ? std::atol(wanted) : 100000;
    test::Random random(7);
    Sp A(9, 7);
    Model model;
    for (long k = 0; k < operations && !testing::Test::HasFailure(); k++) {
        operate(A, model, random);
        expect_invariants(A.p, std::to_string(k));
        if (k % 16 != 0) continue;
        Sp plain = A.copy();
        plain.p->flag_col = plain.p->flag_diag = 0;
        EXPECT_EQ(bytes(plain.p), bytes_of(model, A.p->m, A.p->n)) << k;
    }
}

} // namespace
