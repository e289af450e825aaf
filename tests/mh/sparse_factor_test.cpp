// Sparse factorisations and solves: beside their plain loops bit for bit, on the given matrices, on bad input.
#include <cmath>

#include "sparse_factor_reference.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

const std::string null_text = "Input structure(s) is(are) not initialized", sizes_text = "Wrong size(s) of object(s)",
                  square_text = "Matrix is not square", range_text = "Object out of range",
                  posdef_text = "Matrix not positive definite", singular_text = "Singular matrix";

int32_t below(test::Random &random, int32_t bound) {
    return static_cast<int32_t>(random.below(static_cast<uint64_t>(bound)));
}

// Symmetric in its values, mostly positive definite.
Sp random_symmetric(int32_t n, double share, test::Random &random, Fill fill) {
    Sp A(n, n);
    for (int32_t i = 0; i < n; i++) {
        for (int32_t j = 0; j < i; j++) {
            if (random.uniform() >= share) continue;
            const double x = values(1, random, fill)[0];
            A.set(i, j, x), A.set(j, i, x);
        }
        if (random.below(60)) A.set(i, i, 0.75 * n * share + 1.0 + random.uniform());
    }
    return A;
}

Perm natural(int32_t n) {
    Perm p;
    expect_success(sarvo_mh_px_get(n, &p.p));
    return p;
}

TEST(SparseCholesky, HasTheBitsAndThePatternOfThePlainLoops) {
    test::Random random(11);
    int refused = 0, incomplete_differs = 0;
    for (int round = 0; round < 600; round++) {
        const Fill fill = fills[round % 3];
        const Sp A = random_symmetric(below(random, 24), 0.05 + 0.1 * (round % 4), random, fill);
        Sp L = A.copy(), incomplete = A.copy(), filled = A.copy();
        Stored expected(A.p), expected_incomplete(A.p), places(A.p);
        for (auto [factor, target, complete, name] : {std::tuple{&L, &expected, true, "spCHfactor"},
                                                      {&incomplete, &expected_incomplete, false, "spICHfactor"}}) {
            const std::string before = bytes(factor->p);
            const sarko_error_t e = complete ? sarvo_mh_spCHfactor(factor->p) : sarvo_mh_spICHfactor(factor->p);
            if (cholesky(*target, complete)) {
                expect_success(e);
                expect_stored(factor->p, *target, name);
                EXPECT_EQ(factor->p->flag_diag, 1);
            } else {
                expect_error(e, SarvoMHPosdefEC, {name, posdef_text});
                EXPECT_EQ(bytes(factor->p), before) << "unchanged after a refusal";
                refused++;
            }
        }
        expect_success(sarvo_mh_spCHsymb(filled.p));
        fill_cholesky(places);
        expect_stored(filled.p, places, "spCHsymb");
        const sarko_error_t e = sarvo_mh_spICHfactor(filled.p);
        if (!e) {
            EXPECT_EQ(bytes(filled.p), bytes(L.p)) << "the incomplete factor of the filled matrix";
            incomplete_differs += bytes(incomplete.p) != bytes(L.p);
        }
        sarko_error_clear(e);
    }
    EXPECT_GT(refused, 50);
    EXPECT_LT(refused, 800);
    EXPECT_GT(incomplete_differs, 100);
}

// The pattern changes nothing: the terms that it leaves out are zeros.
TEST(SparseCholesky, EqualsTheDenseLoops) {
    test::Random random(17);
    for (int round = 0; round < 100; round++) {
        const Sp A = random_symmetric(below(random, 60), 0.1, random, Fill::plain);
        Doubles a = dense(A.p);
        const auto n = static_cast<size_t>(A.p->n);
        bool definite = true;
        for (size_t i = 0; i < n; i++)
            for (size_t j = 0; j < n; j++) {
                for (size_t k = 0; k < j && j <= i; k++) a[i * n + j] -= a[i * n + k] * a[j * n + k];
                definite = definite && (i != j || a[i * n + i] > 0.0);
                a[i * n + j] = j > i ? 0.0 : i == j ? std::sqrt(a[i * n + i]) : a[i * n + j] / a[j * n + j];
            }
        Sp L = A.copy();
        const sarko_error_t e = sarvo_mh_spCHfactor(L.p);
        EXPECT_EQ(e == 0, definite);
        EXPECT_TRUE(e || dense(L.p) == a);
        sarko_error_clear(e);
    }
}

TEST(SparseLU, HasTheBitsThePatternAndThePivotsOfThePlainLoops) {
    test::Random random(12);
    int exchanged = 0;
    for (int round = 0; round < 600; round++) {
        const int32_t n = below(random, 20), m = round % 5 ? n : below(random, 20);
        const Fill fill = fills[round % 3];
        Sp A = random_sparse(m, n, 0.1 + 0.1 * (round % 4), random, fill);
        if (round % 2) // equal magnitudes: the rule decides
            for (int32_t i = 0; i < m; i++)
                for (int32_t k = 0; k < A.p->row[i].len; k++) A.p->row[i].elt[k].val = random.below(2) ? 1.0 : -2.0;
        const double alpha = round % 3 == 0 ? 1.0 : random.uniform() + 0x1p-60;
        Stored expected(A.p);
        Perm px = natural(m);
        expect_success(sarvo_mh_spLUfactor(A.p, px.p, alpha));
        const std::vector<uint32_t> order = lu(expected, alpha);
        EXPECT_EQ(px.get(), order);
        expect_stored(A.p, expected, "spLUfactor " + std::to_string(round));
        exchanged += !std::is_sorted(order.begin(), order.end());
    }
    EXPECT_GT(exchanged, 200);
}

TEST(SparseLU, IncompleteHasTheBitsOfThePlainLoops) {
    test::Random random(13);
    for (int round = 0; round < 600; round++) {
        const int32_t n = below(random, 20);
        Sp A = random_sparse(n, n, 0.3, random, fills[round % 3]);
        const double alpha = round % 4 == 0 ? 0.0 : random.uniform();
        Stored expected(A.p);
        expect_success(sarvo_mh_spILUfactor(A.p, alpha));
        ilu(expected, alpha);
        expect_stored(A.p, expected, "spILUfactor");
    }
}

TEST(SparseSolves, HaveTheBitsOfTheStatedSums) {
    test::Random random(14);
    for (int round = 0; round < 300; round++) {
        const int32_t n = below(random, 25);
        Sp F = random_sparse(n, n, 0.3, random, fills[round % 3]);
        for (int32_t i = 0; i < n; i++) F.set(i, i, 1.0 + random.uniform());
        Stored f(F.p);
        Perm px = natural(n);
        for (int32_t i = n - 1; i > 0; i--) std::swap(px.p->elems[i], px.p->elems[below(random, i + 1)]);
        const Doubles b = values(static_cast<uint64_t>(n), random);
        Doubles ch(b), solved(b), transposed(b), z(b);
        const auto at = [](int32_t i) { return static_cast<size_t>(i); };
        const auto each = [&](int32_t from, int32_t to, int32_t step, auto visit) {
            for (int32_t i = from; i != to; i += step) visit(i);
        };
        const auto subtract = [&](Doubles &x, int32_t to, int32_t from, int32_t i, int32_t j) {
            if (f.stored(i, j)) x[at(to)] -= f(i, j) * x[at(from)];
        };
        // ---- L L' x = b ----
        each(0, n, 1, [&](int32_t i) {
            each(0, i, 1, [&](int32_t j) { subtract(ch, i, j, i, j); });
            ch[at(i)] /= f(i, i);
        });
        each(n - 1, -1, -1, [&](int32_t j) {
            each(n - 1, j, -1, [&](int32_t i) { subtract(ch, j, i, i, j); });
            ch[at(j)] /= f(j, j);
        });
        // ---- P A x = P b ----
        each(0, n, 1, [&](int32_t i) {
            solved[at(i)] = b[px.p->elems[i]];
            each(0, i, 1, [&](int32_t j) { subtract(solved, i, j, i, j); });
        });
        each(n - 1, -1, -1, [&](int32_t i) {
            each(i + 1, n, 1, [&](int32_t j) { subtract(solved, i, j, i, j); });
            solved[at(i)] /= f(i, i);
        });
        // ---- A' x = b ----
        each(0, n, 1, [&](int32_t j) {
            each(0, j, 1, [&](int32_t i) { subtract(z, j, i, i, j); });
            z[at(j)] /= f(j, j);
        });
        each(n - 1, -1, -1, [&](int32_t j) {
            each(n - 1, j, -1, [&](int32_t i) { subtract(z, j, i, i, j); });
            transposed[px.p->elems[j]] = z[at(j)];
        });
        Vec right(b), x;
        expect_success(sarvo_mh_spCHsolve(F.p, right.p, &x.p));
        expect_bits(x.get(), ch, "spCHsolve");
        expect_success(sarvo_mh_spLUsolve(F.p, px.p, right.p, &x.p));
        expect_bits(x.get(), solved, "spLUsolve");
        expect_success(sarvo_mh_spLUTsolve(F.p, px.p, right.p, &right.p)); // in place
        expect_bits(right.get(), transposed, "spLUTsolve");
    }
}

TEST(SparseOrder, IsAPermutationAndPermutingMovesEveryEntry) {
    test::Random random(15);
    for (int round = 0; round < 300; round++) {
        const int32_t n = below(random, 60);
        const double share = round % 10 == 0 ? 1.0 : random.uniform() * 0.2;
        Sp A = random_sparse(n, n, share, random);
        for (int32_t j = 0; round % 3 == 0 && j < n; j++) A.set(n / 2, j, 1.0); // a dense row
        for (int32_t method = 0; method <= 2; method++) {
            Perm order;
            expect_success(sarvo_mh_sp_order(A.p, method, &order.p));
            std::vector<uint32_t> sorted = order.get();
            std::sort(sorted.begin(), sorted.end());
            EXPECT_EQ(sorted, natural(n).get()) << method << " round " << round;
            Sp B;
            expect_success(sarvo_mh_sp_permute(A.p, order.p, method == 1 ? nullptr : order.p, &B.p));
            Stored expected(A.p);
            const Stored old(A.p);
            for (int32_t i = 0; i < n; i++)
                for (int32_t j = 0; j < n; j++) {
                    const auto from = old.at(static_cast<int32_t>(order.p->elems[i]),
                                             method == 1 ? j : static_cast<int32_t>(order.p->elems[j]));
                    expected(i, j) = old.value[from];
                    expected.has[expected.at(i, j)] = old.has[from];
                }
            expect_stored(B.p, expected, "sp_permute");
        }
        Sp AAT;
        expect_success(sarvo_mh_sp_comp_AAT(A.p, &AAT.p));
        Stored a(A.p), product(AAT.p);
        for (int32_t i = 0; i < n && round % 10 == 1; i++)
            for (int32_t j = 0; j < n; j++) {
                double sum = 0.0;
                for (int32_t k = 0; k < n; k++)
                    if (a.stored(i, k) && a.stored(j, k)) sum += a(i, k) * a(j, k);
                EXPECT_EQ(test::bits(product(i, j)), test::bits(sum));
            }
    }
}

// The five-point Laplacian of a side x side grid.
Sp laplacian(int32_t side) {
    Sp A(side * side, side * side);
    for (int32_t i = 0; i < side * side; i++) {
        if (i >= side) A.set(i, i - side, -1.0);
        if (i % side) A.set(i, i - 1, -1.0);
        A.set(i, i, 4.0);
        if ((i + 1) % side) A.set(i, i + 1, -1.0);
        if (i + side < side * side) A.set(i, i + side, -1.0);
    }
    return A;
}

int64_t entries_of_factor(const Sp &A, int32_t method) {
    Perm order;
    Sp B;
    expect_success(sarvo_mh_sp_order(A.p, method, &order.p));
    expect_success(sarvo_mh_sp_permute(A.p, order.p, order.p, &B.p));
    expect_success(sarvo_mh_spCHfactor(B.p));
    return entries(B.p);
}

// Entries of the factor when the node of least exact degree is always taken, and the first of these.
int64_t entries_by_exact_degree(const Sp &A) {
    Stored a(A.p);
    const int32_t n = A.p->n;
    std::vector<bool> done(static_cast<size_t>(n));
    int64_t count = 0;
    for (int32_t step = 0; step < n; step++) {
        int32_t best = -1, least = n;
        std::vector<int32_t> around;
        for (int32_t i = 0; i < n; i++) {
            std::vector<int32_t> neighbours;
            for (int32_t j = 0; j < n; j++)
                if (j != i && !done[static_cast<size_t>(j)] && a.stored(i, j)) neighbours.push_back(j);
            if (done[static_cast<size_t>(i)] || static_cast<int32_t>(neighbours.size()) >= least) continue;
            best = i, least = static_cast<int32_t>(neighbours.size()), around = neighbours;
        }
        done[static_cast<size_t>(best)] = true;
        count += 1 + least;
        for (const int32_t i : around)
            for (const int32_t j : around) a.store(i, j);
    }
    return count;
}

TEST(SparseOrder, ByApproximateDegreeFillsAsLittleAsByTheExactOne) {
    test::Random random(18);
    int64_t approximate = 0, exact = 0;
    for (int round = 0; round < 150; round++) {
        const int32_t n = 20 + below(random, 40);
        Sp A(n, n);
        for (int32_t i = 0; i < n; i++) A.set(i, i, n);
        for (int32_t i = 1; i < n; i++) { // a tree has no fill at all; then some more edges
            const int32_t edges = round % 3 == 0 ? 1 : 1 + below(random, 3);
            for (int32_t k = 0; k < edges; k++) {
                const int32_t j = below(random, i);
                A.set(i, j, -1.0), A.set(j, i, -1.0);
            }
        }
        const int64_t ours = entries_of_factor(A, 2), reference = entries_by_exact_degree(A);
        if (round % 3 == 0) {
            EXPECT_EQ(ours, 2 * n - 1) << round;
            EXPECT_EQ(entries_of_factor(A, 1), 2 * n - 1) << "leaves come before what they hang on";
        }
        approximate += ours;
        exact += reference;
    }
    EXPECT_LT(static_cast<double>(approximate), 1.003 * static_cast<double>(exact));
}

// The natural factor of the grid has about side^3 entries; nested dissection would reach about 7.75 n log2 n.
TEST(SparseOrder, KeepsTheFillOfGridsSmall) {
    const Sp A = laplacian(40);
    const int64_t plain = entries_of_factor(A, 0), band = entries_of_factor(A, 1), least = entries_of_factor(A, 2);
    EXPECT_LT(band, plain);
    EXPECT_LT(least, plain / 2);
    EXPECT_LT(least, 20000 + 1600 * 8);
}

// |b - A x| / (|A| |x| n eps), norms infinity.
double residual(const Sp &A, const Vec &b, const Vec &x) {
    Vec y;
    expect_success(sarvo_mh_sp_mv_mlt(A.p, x.p, &y.p));
    double norm = 0.0, largest = 0.0, error = 0.0;
    for (int32_t i = 0; i < A.p->m; i++) {
        double sum = 0.0;
        for (int32_t k = 0; k < A.p->row[i].len; k++) sum += std::fabs(A.p->row[i].elt[k].val);
        norm = std::max(norm, sum);
        largest = std::max(largest, std::fabs(x.p->elems[i]));
        error = std::max(error, std::fabs(b.p->elems[i] - y.p->elems[i]));
    }
    return error / (norm * largest * A.p->m * 0x1p-52);
}

void expect_solved_by_lu(const Sp &A, int32_t method, double alpha) {
    Perm order, px = natural(A.p->m);
    Sp LU, B, transposed;
    expect_success(sarvo_mh_sp_order(A.p, method, &order.p));
    expect_success(sarvo_mh_sp_permute(A.p, order.p, order.p, &B.p));
    LU = B.copy();
    expect_success(sarvo_mh_spLUfactor(LU.p, px.p, alpha));
    expect_invariants(LU.p, "factors");
    const Vec b(Doubles(static_cast<size_t>(A.p->m), 1.0));
    Vec x;
    expect_success(sarvo_mh_spLUsolve(LU.p, px.p, b.p, &x.p));
    EXPECT_LT(residual(B, b, x), 10.0) << "order " << method;
    expect_success(sarvo_mh_spLUTsolve(LU.p, px.p, b.p, &x.p));
    transposed = Sp(A.p->n, A.p->m);
    for (int32_t i = 0; i < A.p->m; i++)
        for (int32_t k = 0; k < B.p->row[i].len; k++) transposed.set(B.p->row[i].elt[k].col, i, B.p->row[i].elt[k].val);
    EXPECT_LT(residual(transposed, b, x), 10.0) << "transposed, order " << method;
}

void expect_solved_by_cholesky(const Sp &A, int32_t method) {
    Perm order;
    Sp B, L;
    expect_success(sarvo_mh_sp_order(A.p, method, &order.p));
    expect_success(sarvo_mh_sp_permute(A.p, order.p, order.p, &B.p));
    L = B.copy();
    expect_success(sarvo_mh_spCHfactor(L.p));
    const Vec b(Doubles(static_cast<size_t>(A.p->m), 1.0));
    Vec x;
    expect_success(sarvo_mh_spCHsolve(L.p, b.p, &x.p));
    EXPECT_LT(residual(B, b, x), 10.0) << "order " << method;
}

TEST(SparseSolves, TheCollectionToTheLastDigits) {
    const auto collection = test::market_collection();
    if (collection.empty()) GTEST_SKIP() << "no reference data beside the sources";
    int square = 0, definite = 0;
    for (const test::MarketMatrix &file : collection) {
        SCOPED_TRACE(file.name);
        if (file.rows != file.cols) continue;
        const Sp A(file);
        for (int32_t method = 0; method <= 2; method++)
            for (const double alpha : {1.0, 0.1}) expect_solved_by_lu(A, method, alpha);
        square++;
        Sp probe = A.copy();
        const sarko_error_t e = file.symmetric ? sarvo_mh_spCHfactor(probe.p) : 0;
        for (int32_t method = 0; file.symmetric && !e && method <= 2; method++) expect_solved_by_cholesky(A, method);
        definite += file.symmetric && !e;
        sarko_error_clear(e);
    }
    EXPECT_GE(square, 15);
    EXPECT_EQ(definite, 4); // 494_bus and the three stiffness matrices
}

TEST(SparseSolves, SayThatAMatrixIsSingular) {
    const Sp matrices[] = {Sp(2, 2, {1, 2, 2, 4}), Sp(3, 3, {1, 2, 3, 0, 0, 0, 4, 5, 7}),
                           Sp(3, 3, {1, 0, 2, 3, 0, 4, 5, 0, 7}), Sp(3, 3, {0, 0, 1, 0, 0, 2, 3, 4, 5}), Sp(2, 2)};
    for (const Sp &A : matrices) {
        Sp LU = A.copy();
        Perm px = natural(A.p->m);
        Vec b(Doubles(static_cast<size_t>(A.p->m), 1.0)), x;
        expect_success(sarvo_mh_spLUfactor(LU.p, px.p, 0.5));
        expect_error(sarvo_mh_spLUsolve(LU.p, px.p, b.p, &x.p), SarvoMHSingEC, {"spLUsolve", singular_text});
        expect_error(sarvo_mh_spLUTsolve(LU.p, px.p, b.p, &b.p), SarvoMHSingEC, {"spLUTsolve", singular_text});
        EXPECT_EQ(x.p, nullptr);
        Sp L = A.copy();
        const sarko_error_t e = sarvo_mh_spCHfactor(L.p);
        EXPECT_EQ(sarko_error_code(e), SarvoMHPosdefEC);
        sarko_error_clear(e);
        EXPECT_EQ(bytes(L.p), bytes(A.p));
    }
    Sp unfinished(2, 2, {1, 0, 3, 0});
    Vec b({1, 2});
    expect_error(sarvo_mh_spCHsolve(unfinished.p, b.p, &b.p), SarvoMHSingEC, {"spCHsolve", singular_text});
    EXPECT_EQ(b.get(), (Doubles{1, 2}));
}

TEST(SparseFactors, EndOnNotANumber) {
    test::Random random(16);
    for (int round = 0; round < 200; round++) {
        const int32_t n = 1 + below(random, 12);
        Sp A = random_sparse(n, n, 0.4, random), B, C;
        for (int k = 0; k < 3; k++) A.set(below(random, n), below(random, n), round % 2 ? NAN : INFINITY);
        B = A.copy(), C = A.copy();
        Perm px = natural(n);
        Vec b(Doubles(static_cast<size_t>(n), 1.0)), x;
        expect_success(sarvo_mh_spLUfactor(A.p, px.p, 0.1));
        expect_invariants(A.p, "LU");
        sarko_error_clear(sarvo_mh_spLUsolve(A.p, px.p, b.p, &x.p));
        sarko_error_clear(sarvo_mh_spCHfactor(B.p));
        expect_invariants(B.p, "Cholesky");
        expect_success(sarvo_mh_spILUfactor(C.p, 0.1));
        expect_invariants(C.p, "ILU");
    }
}

TEST(SparseFactors, ReportTheFirstFaultWithTheirName) {
    Sp wide(2, 3), A(2, 2, {2, 1, 1, 2}), out;
    Perm two({0, 1}), three({0, 1, 2}), repeated({1, 1}), beyond({0, 5}), order;
    Vec b({1, 2}), longer({1, 2, 3}), x;
    const std::string bounds_text = "Index out of bounds", insitu_text = "Can't do operation in situ";
    const struct {
        std::function<sarko_error_t()> call;
        uint32_t code;
        std::string name, text;
    } cases[] = {
        {[&] { return sarvo_mh_spCHfactor(nullptr); }, SarvoMHNullEC, "spCHfactor", null_text},
        {[&] { return sarvo_mh_spCHfactor(wide.p); }, SarvoMHSquareEC, "spCHfactor", square_text},
        {[&] { return sarvo_mh_spICHfactor(nullptr); }, SarvoMHNullEC, "spICHfactor", null_text},
        {[&] { return sarvo_mh_spICHfactor(wide.p); }, SarvoMHSquareEC, "spICHfactor", square_text},
        {[&] { return sarvo_mh_spCHsymb(nullptr); }, SarvoMHNullEC, "spCHsymb", null_text},
        {[&] { return sarvo_mh_spCHsymb(wide.p); }, SarvoMHSquareEC, "spCHsymb", square_text},
        {[&] { return sarvo_mh_spCHsolve(A.p, nullptr, &x.p); }, SarvoMHNullEC, "spCHsolve", null_text},
        {[&] { return sarvo_mh_spCHsolve(A.p, longer.p, &x.p); }, SarvoMHSizesEC, "spCHsolve", sizes_text},
        {[&] { return sarvo_mh_spCHsolve(wide.p, b.p, &x.p); }, SarvoMHSizesEC, "spCHsolve", sizes_text},
        {[&] { return sarvo_mh_spLUfactor(A.p, nullptr, 0.0); }, SarvoMHNullEC, "spLUfactor", null_text},
        {[&] { return sarvo_mh_spLUfactor(A.p, three.p, 0.0); }, SarvoMHSizesEC, "spLUfactor", sizes_text},
        {[&] { return sarvo_mh_spLUfactor(A.p, two.p, 0.0); }, SarvoMHRangeEC, "spLUfactor", range_text},
        {[&] { return sarvo_mh_spLUfactor(A.p, two.p, NAN); }, SarvoMHRangeEC, "spLUfactor", range_text},
        {[&] { return sarvo_mh_spLUfactor(A.p, two.p, 1.5); }, SarvoMHRangeEC, "spLUfactor", range_text},
        {[&] { return sarvo_mh_spLUsolve(A.p, nullptr, b.p, &x.p); }, SarvoMHNullEC, "spLUsolve", null_text},
        {[&] { return sarvo_mh_spLUsolve(A.p, three.p, b.p, &x.p); }, SarvoMHSizesEC, "spLUsolve", sizes_text},
        {[&] { return sarvo_mh_spLUTsolve(A.p, beyond.p, b.p, &x.p); }, SarvoMHBoundsEC, "spLUTsolve", bounds_text},
        {[&] { return sarvo_mh_spILUfactor(nullptr, -1.0); }, SarvoMHNullEC, "spILUfactor", null_text},
        {[&] { return sarvo_mh_spILUfactor(wide.p, -1.0); }, SarvoMHSquareEC, "spILUfactor", square_text},
        {[&] { return sarvo_mh_spILUfactor(A.p, -1.0); }, SarvoMHRangeEC, "spILUfactor", range_text},
        {[&] { return sarvo_mh_sp_order(nullptr, 9, &order.p); }, SarvoMHNullEC, "sp_order", null_text},
        {[&] { return sarvo_mh_sp_order(wide.p, 9, &order.p); }, SarvoMHSquareEC, "sp_order", square_text},
        {[&] { return sarvo_mh_sp_order(A.p, 3, &order.p); }, SarvoMHRangeEC, "sp_order", range_text},
        {[&] { return sarvo_mh_sp_permute(nullptr, two.p, two.p, &out.p); }, SarvoMHNullEC, "sp_permute", null_text},
        {[&] { return sarvo_mh_sp_permute(A.p, three.p, two.p, &A.p); }, SarvoMHSizesEC, "sp_permute", sizes_text},
        {[&] { return sarvo_mh_sp_permute(A.p, beyond.p, two.p, &A.p); }, SarvoMHInsituEC, "sp_permute", insitu_text},
        {[&] { return sarvo_mh_sp_permute(A.p, two.p, repeated.p, &out.p); }, SarvoMHBoundsEC, "sp_permute",
         bounds_text},
        {[&] { return sarvo_mh_sp_comp_AAT(nullptr, &out.p); }, SarvoMHNullEC, "sp_comp_AAT", null_text},
        {[&] { return sarvo_mh_sp_comp_AAT(A.p, &A.p); }, SarvoMHInsituEC, "sp_comp_AAT", insitu_text},
    };
    const std::string before = bytes(A.p);
    for (const auto &c : cases) expect_error(c.call(), c.code, {c.name, c.text});
    EXPECT_EQ(bytes(A.p), before);
    EXPECT_EQ(x.p, nullptr);
    EXPECT_EQ(out.p, nullptr);
}

} // namespace
