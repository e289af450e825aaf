// The iterative solvers: what they reach, what they report, how they fail, the same bits at every level.
#include <sarvo/rng.h>

#include "iterative_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

struct Solver {
    const char *name;
    sarko_error_t (*run)(sarvo_mh_iter_t *);
    bool symmetric; // only for symmetric matrices
};
const Solver solvers[] = {{"cg", sarvo_mh_iter_cg, true},
                          {"minres", sarvo_mh_iter_minres, true},
                          {"gmres", sarvo_mh_iter_gmres, false},
                          {"bicgstab", sarvo_mh_iter_bicgstab, false},
                          {"lsqr", sarvo_mh_iter_lsqr, false}};

struct Generator {
    sarvo_rng_t *p = nullptr;
    explicit Generator(uint64_t seed) { expect_success(sarvo_rng_init(&p, 1, seed)); }
    ~Generator() { sarvo_rng_free(p); }
};

Sp symmetric_matrix(int32_t n, uint64_t seed = 1) {
    const Generator g(seed);
    Sp A;
    expect_success(sarvo_mh_iter_gen_sym(n, 8, 1, g.p, &A.p));
    return A;
}

// Each row has a strong entry in a column of its own.
Sp shuffled_matrix(int32_t m, int32_t n, double diag, uint64_t seed = 1) {
    const Generator g(seed);
    Sp A;
    expect_success(sarvo_mh_iter_gen_nonsym(diag, m, n, 4, 1, g.p, &A.p));
    return A;
}

// The same with the strong entries brought to the diagonal, as methods without least squares want it.
Sp general_matrix(int32_t n, double diag, uint64_t seed = 1) {
    const Sp A = shuffled_matrix(n, n, diag, seed);
    std::vector<uint32_t> natural(static_cast<size_t>(n)), row_of(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; i++) {
        natural[static_cast<size_t>(i)] = static_cast<uint32_t>(i);
        for (int32_t k = 0; k < A.p->row[i].len; k++)
            if (A.p->row[i].elt[k].val == diag)
                row_of[static_cast<size_t>(A.p->row[i].elt[k].col)] = static_cast<uint32_t>(i);
    }
    Sp B;
    expect_success(sarvo_mh_sp_permute(A.p, Perm(row_of).p, Perm(natural).p, &B.p));
    return B;
}

// The history of a run.
struct History {
    std::vector<double> norms;
    static void info(const sarvo_mh_iter_t *ip, double res) {
        static_cast<History *>(ip->reserved_1)->norms.push_back(res);
    }
};

// A record for A x = b with b random, quiet.
Iter record(const Sp &A, uint64_t seed = 3) {
    Iter ip(A.p->m, A.p->n);
    expect_success(sarvo_mh_iter_use_sp(ip.p, A.p));
    test::Random random(seed);
    for (uint64_t i = 0; i < ip->b->dim; i++) ip->b->elems[i] = random.symmetric();
    ip->info = nullptr;
    ip->eps = 1e-10;
    return ip;
}

Doubles residual(const SPMAT *A, const VEC *x, const VEC *b) {
    Vec Ax;
    expect_success(sarvo_mh_sp_mv_mlt(A, x, &Ax.p));
    Doubles r(b->elems, b->elems + b->dim);
    for (size_t i = 0; i < r.size(); i++) r[i] -= Ax.p->elems[i];
    return r;
}

double length(const Doubles &x) {
    double sum = 0.0;
    for (const double v : x) sum += v * v;
    return std::sqrt(sum);
}

// |A' (b - A x)|
double gradient(const SPMAT *A, const VEC *x, const VEC *b) {
    Vec g;
    expect_success(sarvo_mh_sp_vm_mlt(A, Vec(residual(A, x, b)).p, &g.p));
    return length(g.get());
}

double measure(const Solver &s, const SPMAT *A, const sarvo_mh_iter_t *ip) {
    return s.run == sarvo_mh_iter_lsqr ? gradient(A, ip->x, ip->b) : length(residual(A, ip->x, ip->b));
}

// ---- What they reach ----

TEST(IterativeSolvers, SolveRandomSystemsWithAndWithoutPreconditioner) {
    for (const int32_t n : {1, 2, 30, 300}) {
        const Sp S = symmetric_matrix(n), G = general_matrix(n, 9.0);
        Sp L = S.copy(), LU = G.copy();
        expect_success(sarvo_mh_spICHfactor(L.p));
        expect_success(sarvo_mh_spILUfactor(LU.p, 1e-3));
        for (const Solver &s : solvers)
            for (const bool symmetric : {true, false})
                for (const bool preconditioned : {false, true}) {
                    if ((s.symmetric && !symmetric) || (preconditioned && !symmetric && s.run == sarvo_mh_iter_lsqr))
                        continue;
                    const std::string what = std::string(s.name) + ", n = " + std::to_string(n) +
                                             (symmetric ? ", symmetric" : "") +
                                             (preconditioned ? ", preconditioned" : "");
                    const Sp &A = symmetric ? S : G;
                    Iter ip = record(A);
                    History history;
                    ip->reserved_1 = &history;
                    ip->info = History::info;
                    if (preconditioned)
                        expect_success(symmetric ? sarvo_mh_iter_use_ich(ip.p, L.p)
                                                 : sarvo_mh_iter_use_ilu(ip.p, LU.p));
                    const double before = measure(s, A.p, ip.p);
                    expect_success(s.run(ip.p));
                    EXPECT_EQ(history.norms.size(), ip->steps) << what;
                    EXPECT_GE(ip->steps, 1u) << what;
                    // In the norm of the preconditioner, where there is one, the bound is another by its condition.
                    const bool other_norm = preconditioned && s.run != sarvo_mh_iter_cg && s.symmetric;
                    if (!other_norm && !(preconditioned && s.run == sarvo_mh_iter_lsqr)) {
                        EXPECT_NEAR(ip->init_res, before, 1e-13 * before) << what;
                        EXPECT_LE(measure(s, A.p, ip.p), 1.0001e-10 * before) << what;
                    }
                    EXPECT_LE(measure(s, A.p, ip.p), 1e-8 * before) << what;
                    // From the solution there is nothing to do but to see so.
                    ip->eps = 1.0;
                    expect_success(s.run(ip.p));
                    EXPECT_EQ(ip->steps, 0u) << what;
                }
    }
}

// Their strong entries lie anywhere: eigenvalues all around zero. What multiplies alone cannot do, a complete factor with
// exchanges as preconditioner, or the normal equations, make easy.
TEST(IterativeSolvers, SolveShuffledMatricesWithHelp) {
    struct Lu {
        Sp factor;
        Perm px;
    };
    for (const int32_t n : {5, 40, 200}) {
        const Sp A = shuffled_matrix(n, n, 6.0);
        Lu lu = {A.copy(), Perm(std::vector<uint32_t>(static_cast<size_t>(n)))};
        expect_success(sarvo_mh_spLUfactor(lu.factor.p, lu.px.p, 0.5));
        Sp AAT;
        expect_success(sarvo_mh_sp_comp_AAT(A.p, &AAT.p));
        for (const Solver &s : solvers) {
            Iter ip = record(s.symmetric ? AAT : A); // A A' y = b, x = A' y
            if (!s.symmetric && s.run != sarvo_mh_iter_lsqr) {
                ip->B_par = &lu;
                ip->Bx = [](void *par, const VEC *in, VEC *out) {
                    const auto *f = static_cast<const Lu *>(par);
                    return sarvo_mh_spLUsolve(f->factor.p, f->px.p, in, &out);
                };
            }
            ip->eps = 1e-12;
            expect_success(s.run(ip.p));
            Vec x;
            if (s.symmetric) expect_success(sarvo_mh_sp_vm_mlt(A.p, ip->x, &x.p));
            EXPECT_LE(length(residual(A.p, s.symmetric ? x.p : ip->x, ip->b)), 1e-9) << s.name << ", n = " << n;
            EXPECT_TRUE(!ip->Bx || ip->steps <= 3) << s.name;
        }
        Iter whole = record(A); // without restarts the space is the whole one
        whole->k = static_cast<uint32_t>(n);
        expect_success(sarvo_mh_iter_gmres(whole.p));
    }
}

TEST(IterativeSolvers, UseThePreconditioner) {
    Sp A(400, 400), scaled(400, 400);
    Doubles squares(400);
    const auto put = [&](int32_t i, int32_t j, double x) {
        const double factor = std::pow(10.0, j % 4);
        A.set(i, j, x);
        const double y = (i == j ? 2.0 * x : x) * factor;
        scaled.set(i, j, y);
        squares[static_cast<size_t>(j)] += y * y;
    };
    for (int32_t i = 0; i < 400; i++) { // a chain: a hundred steps without, few with
        put(i, i, 2.01);
        if (i > 0) put(i, i - 1, -1.0), put(i - 1, i, -1.0);
    }
    Sp L = A.copy(), LU = A.copy();
    expect_success(sarvo_mh_spICHfactor(L.p));
    expect_success(sarvo_mh_spILUfactor(LU.p, 0.0));
    for (const Solver &s : solvers) {
        if (s.run == sarvo_mh_iter_lsqr) continue;
        Iter plain = record(A), better = record(A);
        expect_success(s.symmetric ? sarvo_mh_iter_use_ich(better.p, L.p) : sarvo_mh_iter_use_ilu(better.p, LU.p));
        plain->k = 200;
        expect_success(s.run(plain.p));
        expect_success(s.run(better.p));
        EXPECT_LE(better->steps, 3u) << s.name; // the factors are complete
        EXPECT_GE(plain->steps, 60u) << s.name;
    }
    // For least squares (A' A)^-1 is wanted: here that of its diagonal.
    Iter plain = record(scaled), better = record(scaled);
    better->B_par = &squares;
    better->Bx = [](void *par, const VEC *in, VEC *out) -> sarko_error_t {
        const auto &divisors = *static_cast<const Doubles *>(par);
        for (size_t i = 0; i < divisors.size(); i++) out->elems[i] = in->elems[i] / divisors[i];
        return 0;
    };
    expect_success(sarvo_mh_iter_lsqr(better.p));
    plain->limit = better->steps;
    expect_error(sarvo_mh_iter_lsqr(plain.p), SarvoNrIterEC, {"Too many iterations"});
    EXPECT_LT(100 * length(residual(scaled.p, better->x, better->b)), length(residual(scaled.p, plain->x, plain->b)));
}

TEST(IterativeSolvers, MinimiseResidualsOfIndefiniteAndRestartedSystems) {
    Sp A(60, 60);
    for (int32_t i = 0; i < 60; i++) A.set(i, i, i % 2 ? 1.0 + 0.1 * i : -2.0 - 0.1 * i);
    Iter minres = record(A), gmres = record(A);
    History history;
    for (Iter *ip : {&minres, &gmres}) {
        (*ip)->reserved_1 = &history;
        (*ip)->info = History::info;
        (*ip)->k = 20;
        (*ip)->limit = 3000;
        history.norms.clear();
        expect_success(ip == &minres ? sarvo_mh_iter_minres(minres.p) : sarvo_mh_iter_gmres(gmres.p));
        for (size_t i = 1; i < history.norms.size(); i++)
            EXPECT_LE(history.norms[i], history.norms[i - 1] * (1.0 + 1e-12)) << i;
        EXPECT_LE(length(residual(A.p, (*ip)->x, (*ip)->b)), 1.001e-10 * (*ip)->init_res);
    }
    EXPECT_GT(gmres->steps, 20u); // more than one pass
}

TEST(IterativeSolvers, LsqrFindsLeastSquaresAndShortestSolutions) {
    const Sp tall = shuffled_matrix(90, 40, 3.0), wide = shuffled_matrix(30, 80, 3.0);
    Iter over = record(tall), under = record(wide);
    expect_success(sarvo_mh_iter_lsqr(over.p));
    EXPECT_LE(gradient(tall.p, over->x, over->b), 1.001e-10 * over->init_res);
    EXPECT_GT(length(residual(tall.p, over->x, over->b)), 0.1);

    under->eps = 1e-13;
    expect_success(sarvo_mh_iter_lsqr(under.p));
    EXPECT_LE(length(residual(wide.p, under->x, under->b)), 1e-11);
    Iter dual = record(wide); // the shortest solution is A' y with A A' y = b
    Sp AAT;
    expect_success(sarvo_mh_sp_comp_AAT(wide.p, &AAT.p));
    Iter normal(30, 30);
    expect_success(sarvo_mh_iter_use_sp(normal.p, AAT.p));
    normal->info = nullptr;
    normal->eps = 1e-14;
    memcpy(normal->b->elems, under->b->elems, 30 * sizeof(double));
    expect_success(sarvo_mh_iter_cg(normal.p));
    Vec shortest;
    expect_success(sarvo_mh_sp_vm_mlt(wide.p, normal->x, &shortest.p));
    for (uint64_t i = 0; i < 80; i++) EXPECT_NEAR(under->x->elems[i], shortest.p->elems[i], 1e-10) << i;
}

TEST(IterativeSolvers, HaveTheSameBitsAtEveryLevel) {
    const Sp S = symmetric_matrix(133), G = general_matrix(133, 7.0);
    for (const Solver &s : solvers) {
        Doubles expected;
        at_every_level([&](const std::string &level) {
            Iter ip = record(s.symmetric ? S : G);
            expect_success(s.run(ip.p));
            const Doubles x(ip->x->elems, ip->x->elems + ip->x->dim);
            if (expected.empty()) expected = x;
            expect_bits(x, expected, s.name + std::string(" at ") + level);
        });
    }
}

// ---- How they fail ----

TEST(IterativeSolvers, KeepTheBestIterateAtTheLimit) {
    const Sp S = symmetric_matrix(200), G = general_matrix(200, 2.2);
    for (const Solver &s : solvers)
        for (const uint32_t limit : {0u, 1u, 3u, 6u}) {
            const Sp &A = s.symmetric ? S : G;
            Iter ip = record(A);
            History history;
            ip->reserved_1 = &history;
            ip->info = History::info;
            ip->limit = limit;
            test::Random random(8); // a start that is not bad
            for (uint64_t i = 0; i < ip->x->dim; i++) ip->x->elems[i] = 0.1 * random.symmetric();
            const double start = measure(s, A.p, ip.p);
            expect_error(s.run(ip.p), SarvoNrIterEC, {"Too many iterations"});
            EXPECT_EQ(ip->steps, limit);
            double best = start;
            for (const double norm : history.norms) best = std::fmin(best, norm);
            EXPECT_NEAR(measure(s, A.p, ip.p), best, 1e-12 * start) << s.name << ", limit " << limit;
        }
}

TEST(IterativeSolvers, EndOnWhatTheyCannotSolve) {
    Sp indefinite(3, 3, {1, 0, 0, 0, -1, 0, 0, 0, 1}), singular(2, 2, {1, 1, 1, 1}), none(3, 3),
        turn(2, 2, {0, 1, -1, 0});
    Iter ip = record(indefinite);
    sarvo_mh_v_ones(ip->b);
    expect_error(sarvo_mh_iter_cg(ip.p), SarvoMHPosdefEC, {sarko_error_code_message(SarvoMHPosdefEC)});
    EXPECT_EQ(length(Doubles(ip->x->elems, ip->x->elems + 3)), 0.0); // the start is the best
    Iter by_minres = record(symmetric_matrix(20));
    by_minres->Bx = [](void *, const VEC *in, VEC *out) -> sarko_error_t {
        for (uint64_t i = 0; i < in->dim; i++) out->elems[i] = -in->elems[i];
        return 0;
    };
    for (const auto run : {sarvo_mh_iter_cg, sarvo_mh_iter_minres, sarvo_mh_iter_lsqr}) {
        Sp A = symmetric_matrix(20);
        expect_success(sarvo_mh_iter_use_sp(by_minres.p, A.p));
        expect_error(run(by_minres.p), SarvoMHPosdefEC, {sarko_error_code_message(SarvoMHPosdefEC)});
    }

    for (const Solver &s : solvers) {
        for (const Sp *A : {&singular, &none}) { // inconsistent: no step may go on for ever, nothing is made worse
            Iter bad = record(*A);
            for (uint64_t i = 0; i < bad->b->dim; i++) bad->b->elems[i] = i == 0 ? 3.0 : 1.0;
            const double before = length(residual(A->p, bad->x, bad->b));
            const sarko_error_t e = s.run(bad.p);
            EXPECT_LE(bad->steps, 100u) << s.name;
            if (s.run == sarvo_mh_iter_lsqr) expect_success(e); // a least-squares solution there is
            else EXPECT_NE(e, 0u) << s.name;
            EXPECT_LE(length(residual(A->p, bad->x, bad->b)), before * 1.0001) << s.name;
            sarko_error_clear(e);
        }
        for (const double special : {HUGE_VAL, static_cast<double>(NAN)}) {
            Iter bad = record(indefinite);
            bad->b->elems[1] = special;
            expect_error(s.run(bad.p), SarvoMHRangeEC, {sarko_error_code_message(SarvoMHRangeEC)});
            EXPECT_EQ(bad->steps, 0u);
        }
        Iter zero = record(indefinite);
        sarvo_mh_v_zero(zero->b);
        expect_success(s.run(zero.p));
        EXPECT_EQ(zero->steps, 0u);
        Iter empty(0, 0); // dimension 0
        Sp nothing(0, 0);
        expect_success(sarvo_mh_v_get(0, &empty->b));
        expect_success(sarvo_mh_v_get(0, &empty->x));
        expect_success(sarvo_mh_iter_use_sp(empty.p, nothing.p));
        expect_success(s.run(empty.p));
    }
    Iter skew = record(turn); // r' A r = 0: the shadow residual breaks down at once
    expect_success(sarvo_mh_iter_gmres(skew.p));
    expect_error(sarvo_mh_iter_bicgstab(record(turn).p), SarvoNrIterEC, {"Too many iterations"});
}

// ---- Singular systems ----

// Square matrices of known kinds with a null space.
Sp random_of_low_rank(int32_t n, int32_t rank, bool symmetric, test::Random &random) {
    Doubles U(static_cast<size_t>(n * rank)), V(U.size()), sums(static_cast<size_t>(n * n));
    for (double &x : U) x = random.symmetric();
    for (double &x : V) x = random.symmetric();
    for (int32_t k = 0; k < rank; k++)
        for (int32_t i = 0; i < n; i++)
            for (int32_t j = 0; j < n; j++)
                sums[static_cast<size_t>(i * n + j)] +=
                    symmetric ? (k % 3 ? 1.0 : -1.0) *
                                    (U[static_cast<size_t>(i * rank + k)] * U[static_cast<size_t>(j * rank + k)])
                              : U[static_cast<size_t>(i * rank + k)] * V[static_cast<size_t>(j * rank + k)];
    return Sp(n, n, sums);
}
Sp laplacian(int32_t n, bool symmetric, test::Random &random) { // of a path with weights from 1/100 to 100, and chords
    Doubles A(static_cast<size_t>(n * n));
    const auto at = [&](int32_t i, int32_t j) -> double & { return A[static_cast<size_t>(i * n + j)]; };
    const auto connect = [&](int32_t i, int32_t j, double w) {
        at(i, j) -= w;
        at(i, i) += w;
        if (!symmetric) return;
        at(j, i) -= w;
        at(j, j) += w;
    };
    for (int32_t i = 0; i + 1 < n; i++) {
        connect(i, i + 1, std::pow(100.0, random.symmetric()));
        const auto j = static_cast<int32_t>(random.below(static_cast<uint64_t>(n)));
        if (i != j && random.uniform() < 0.3) connect(i, j, 1.0);
    }
    return Sp(n, n, A);
}
Sp projector(int32_t n, int32_t rank, test::Random &random) {
    std::vector<Doubles> basis;
    Doubles P(static_cast<size_t>(n * n));
    for (int32_t k = 0; k < rank; k++) {
        Doubles q(static_cast<size_t>(n));
        for (double &x : q) x = random.symmetric();
        for (int round = 0; round < 2; round++)
            for (const Doubles &other : basis) {
                double along = 0.0;
                for (size_t i = 0; i < q.size(); i++) along += other[i] * q[i];
                for (size_t i = 0; i < q.size(); i++) q[i] -= along * other[i];
            }
        const double size = length(q);
        for (double &x : q) x /= size;
        for (size_t i = 0; i < q.size(); i++)
            for (size_t j = 0; j < q.size(); j++) P[i * q.size() + j] += q[i] * q[j];
        basis.push_back(q);
    }
    return Sp(n, n, P);
}
// Of -1, 0, 1, the last row that of the first: often nilpotent in a part, so that the Krylov space lacks the solution.
Sp sparse_signs(int32_t n, double density, test::Random &random) {
    Doubles A(static_cast<size_t>(n * n));
    for (double &x : A) x = random.uniform() < density ? (random.uniform() < 0.5 ? 1.0 : -1.0) : 0.0;
    std::copy(A.begin(), A.begin() + n, A.end() - n);
    return Sp(n, n, A);
}
struct SingularKind {
    const char *name;
    bool symmetric;
    Sp (*make)(int32_t n, int32_t rank, test::Random &);
};
const SingularKind singular_kinds[] = {
    {"random of low rank", false,
     [](int32_t n, int32_t r, test::Random &g) { return random_of_low_rank(n, r, false, g); }},
    {"symmetric of low rank", true,
     [](int32_t n, int32_t r, test::Random &g) { return random_of_low_rank(n, r, true, g); }},
    {"Laplacian", true, [](int32_t n, int32_t, test::Random &g) { return laplacian(n, true, g); }},
    {"directed Laplacian", false, [](int32_t n, int32_t, test::Random &g) { return laplacian(n, false, g); }},
    {"projector", true, [](int32_t n, int32_t r, test::Random &g) { return projector(n, r, g); }},
    {"few signs", false, [](int32_t n, int32_t, test::Random &g) { return sparse_signs(n, 0.15, g); }},
    {"many signs", false, [](int32_t n, int32_t, test::Random &g) { return sparse_signs(n, 0.5, g); }},
};

TEST(IterativeSolvers, GmresSolvesConsistentSingularSystemsAndReportsTrueNorms) {
    constexpr int seeds = 60;
    for (const SingularKind &kind : singular_kinds) {
        int solved = 0, true_norms = 0;
        double largest = 0.0;
        for (int seed = 1; seed <= seeds; seed++) {
            test::Random random(static_cast<uint64_t>(seed));
            const auto n = static_cast<int32_t>(3 + random.below(38));
            const auto rank = static_cast<int32_t>(1 + random.below(static_cast<uint64_t>(n - 1)));
            const Sp A = kind.make(n, rank, random);
            Doubles t(static_cast<size_t>(n));
            for (double &x : t) x = random.symmetric();
            Iter ip = record(A);
            expect_success(sarvo_mh_sp_mv_mlt(A.p, Vec(t).p, &ip->b));
            History history;
            ip->reserved_1 = &history;
            ip->info = History::info;
            ip->k = static_cast<uint32_t>(n);
            sarko_error_clear(sarvo_mh_iter_gmres(ip.p));
            const double start = length(Doubles(ip->b->elems, ip->b->elems + n));
            const double left = length(residual(A.p, ip->x, ip->b));
            solved += left <= 1e-10 * start;
            const double last = history.norms.empty() ? start : history.norms.back();
            true_norms += std::fabs(last - left) <= 1e-12 * start;
            largest = std::fmax(largest, length(Doubles(ip->x->elems, ip->x->elems + n)) / length(t));
        }
        EXPECT_GE(solved, seeds - 1) << kind.name;
        EXPECT_EQ(true_norms, seeds) << kind.name;
        EXPECT_LE(largest, 1e4) << kind.name;
    }
}

TEST(IterativeSolvers, LeaveNothingWorseThanTheStartOnSystemsWithoutSolution) {
    for (const SingularKind &kind : singular_kinds)
        for (const Solver &s : solvers) {
            if (!kind.symmetric && s.symmetric) continue;
            int worse = 0, far_from_least = 0, runs = 0;
            for (uint64_t seed = 1; seed <= 40; seed++, runs++) {
                test::Random random(100 + seed);
                const auto n = static_cast<int32_t>(3 + random.below(38));
                const auto rank = static_cast<int32_t>(1 + random.below(static_cast<uint64_t>(n - 1)));
                const Sp A = kind.make(n, rank, random);
                Iter ip = record(A, seed), least = record(A, seed);
                for (uint64_t i = 0; i < ip->x->dim; i++) ip->x->elems[i] = random.symmetric();
                const double before = measure(s, A.p, ip.p);
                sarko_error_clear(s.run(ip.p));
                worse += !(measure(s, A.p, ip.p) <= before * (1.0 + 1e-12));
                least->limit = 10000;
                sarko_error_clear(sarvo_mh_iter_lsqr(least.p));
                const double left = length(residual(A.p, ip->x, ip->b));
                far_from_least += !(left <= 1.01 * length(residual(A.p, least->x, least->b)) + 1e-6);
            }
            EXPECT_EQ(worse, 0) << s.name << ", " << kind.name << ", of " << runs;
            const bool on_its_way = s.run == sarvo_mh_iter_minres; // it meets the least squares
            EXPECT_LE(far_from_least, on_its_way ? runs / 10 : runs) << s.name << ", " << kind.name;
        }
}

// 20 points, weights of four magnitudes, a right-hand side with a part in the null space.
TEST(IterativeSolvers, DoNotRunAwayOnTheLaplacianOfAPath) {
    Sp A(20, 20);
    Doubles diagonal(20);
    for (int32_t i = 0; i + 1 < 20; i++) {
        const double w = std::pow(10.0, i % 4);
        A.set(i, i + 1, -w), A.set(i + 1, i, -w);
        diagonal[static_cast<size_t>(i)] += w;
        diagonal[static_cast<size_t>(i + 1)] += w;
    }
    for (int32_t i = 0; i < 20; i++) A.set(i, i, diagonal[static_cast<size_t>(i)]);
    for (const Solver &s : solvers) {
        Iter ip = record(A);
        for (uint64_t i = 0; i < 20; i++) ip->b->elems[i] = i == 0 ? 1.0 : 0.0;
        sarko_error_clear(s.run(ip.p));
        EXPECT_LE(length(Doubles(ip->x->elems, ip->x->elems + 20)), 1e5) << s.name;
        EXPECT_LE(length(residual(A.p, ip->x, ip->b)), 1.0 + 1e-12) << s.name;
    }
}

TEST(IterativeSolvers, MinresSeesASingularMatrixBeforeStartUpToo) {
    Doubles expected;
    const double measured = SarvoDblEps;
    for (const double eps : {measured, 0.0}) { // as it is before sarvo_initialize
        SarvoDblEps = eps;
        Sp A(2, 2, {1, 1, 1, 1});
        Iter ip = record(A);
        ip->b->elems[0] = 3.0, ip->b->elems[1] = 1.0;
        const sarko_error_t e = sarvo_mh_iter_minres(ip.p);
        EXPECT_NE(e, 0u);
        sarko_error_clear(e);
        const Doubles x = {ip->x->elems[0], ip->x->elems[1], static_cast<double>(ip->steps)};
        if (expected.empty()) expected = x;
        expect_bits(x, expected, "without the measured constant");
    }
    SarvoDblEps = measured;
}

TEST(IterativeSolvers, CheckInOrderAndMakeX) {
    const char *null = "Input structure(s) is(are) not initialized";
    const Sp A = symmetric_matrix(5);
    for (const Solver &s : solvers) {
        expect_error(s.run(nullptr), SarvoMHNullEC, {null});
        Iter ip = record(A), bare(5, 0);
        expect_error(s.run(bare.p), SarvoMHNullEC, {null});
        sarvo_mh_v_free(ip->x);
        ip->x = ip->b;
        expect_error(s.run(ip.p), SarvoMHInsituEC, {sarko_error_code_message(SarvoMHInsituEC)});
        ip->x = nullptr;
        if (s.run == sarvo_mh_iter_lsqr) {
            expect_error(s.run(ip.p), SarvoMHNullEC, {null});
            continue;
        }
        expect_success(s.run(ip.p));
        EXPECT_EQ(ip->x->dim, 5u);
        expect_success(sarvo_mh_v_resize(&ip->x, 6));
        expect_error(s.run(ip.p), SarvoMHSizesEC, {"Wrong size(s) of object(s)"});
    }
    Iter ip(1, 1);
    expect_error(sarvo_mh_iter_use_sp(ip.p, nullptr), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_iter_use_ich(nullptr, A.p), SarvoMHNullEC, {null});
    expect_error(sarvo_mh_iter_use_ilu(ip.p, nullptr), SarvoMHNullEC, {null});
}

// ---- Callbacks and the allocator that fail at each call in turn ----

// Operators that count their calls and fail at one of them.
struct Failing {
    const SPMAT *A, *L;
    uint64_t calls = 0, fail_at = 0;

    static sarko_error_t count(void *par) {
        auto &f = *static_cast<Failing *>(par);
        return ++f.calls == f.fail_at ? sarko_error_create_i(SARKO_KIND_ERROR, SarvoDomainEC, 0, 0, 0, 0, "mine") : 0;
    }
    template <auto op, auto matrix> static sarko_error_t run(void *par, const VEC *in, VEC *out) {
        if (sarko_error_t e = count(par)) return e;
        return op(static_cast<Failing *>(par)->*matrix, in, &out);
    }
    Iter record_on(const Sp &A_) {
        Iter ip = record(A_);
        ip->Ax = run<sarvo_mh_sp_mv_mlt, &Failing::A>;
        ip->ATx = run<sarvo_mh_sp_vm_mlt, &Failing::A>;
        ip->Bx = run<sarvo_mh_spCHsolve, &Failing::L>;
        ip->A_par = ip->AT_par = ip->B_par = this;
        return ip;
    }
};

TEST(IterativeSolvers, PassOnTheErrorOfEveryCall) {
    const Sp A = symmetric_matrix(30);
    Sp L = A.copy();
    expect_success(sarvo_mh_spICHfactor(L.p));
    for (const Solver &s : solvers) {
        Failing whole{A.p, L.p};
        Iter reference = whole.record_on(A);
        expect_success(s.run(reference.p));
        ASSERT_GE(whole.calls, 5u);
        for (uint64_t k = 1; k <= whole.calls; k++) {
            Failing failing{A.p, L.p, 0, k};
            Iter ip = failing.record_on(A);
            const double before = length(residual(A.p, ip->x, ip->b));
            expect_error(s.run(ip.p), SarvoDomainEC, {"mine"});
            EXPECT_LE(length(residual(A.p, ip->x, ip->b)), 1.5 * before) << s.name << ", call " << k;
            sarvo_mh_v_zero(ip->x);
            expect_success(s.run(ip.p)); // the record is as good as new
            expect_bits(Doubles(ip->x->elems, ip->x->elems + 30),
                        Doubles(reference->x->elems, reference->x->elems + 30), s.name);
        }
    }
}

struct Solve : test::AllocationScenario {
    Sp A = symmetric_matrix(12);
    Iter ip = record(A), copy;
    Generator rng{5};
    Sp made;
    std::function<sarko_error_t(Solve &)> operation;
    sarko_error_t run() override { return operation(*this); }
    std::string inputs() const override { return bytes(A.p) + bytes(ip->b); }
    std::string result() const override {
        return bytes(ip->x) + bytes(made.p) + (copy.p ? bytes(copy->x) + bytes(copy->b) : "");
    }
};

TEST(IterativeAllocationFailures, LeaveInputsAloneAndLoseNothing) {
    std::vector<std::pair<std::string, std::function<sarko_error_t(Solve &)>>> cases = {
        {"iter_get", [](Solve &o) { return sarvo_mh_iter_get(3, 2, &o.copy.p); }},
        {"iter_copy", [](Solve &o) { return sarvo_mh_iter_copy(o.ip.p, &o.copy.p); }},
        {"iter_copy2", [](Solve &o) { return sarvo_mh_iter_copy2(o.ip.p, &o.copy.p); }},
        {"iter_copy refused", [](Solve &o) { return sarvo_mh_iter_copy(nullptr, &o.copy.p); }},
        {"gen_sym", [](Solve &o) { return sarvo_mh_iter_gen_sym(6, 4, 3, o.rng.p, &o.made.p); }},
        {"gen_nonsym", [](Solve &o) { return sarvo_mh_iter_gen_nonsym(2.0, 6, 5, 4, 3, o.rng.p, &o.made.p); }},
        {"iter_resize", [](Solve &o) {
             sarvo_mh_v_free(o.ip->x);
             o.ip->x = nullptr;
             return sarvo_mh_iter_resize(&o.ip.p, 12, 20);
         }}};
    for (const Solver &s : solvers)
        cases.push_back({s.name, [&s](Solve &o) {
                             o.ip->limit = 40;
                             sarvo_mh_v_zero(o.ip->x);
                             return s.run(o.ip.p);
                         }});
    for (const auto &[name, operation] : cases)
        test::expect_survives_allocation_failures(name, [&operation = operation] {
            auto operands = std::make_unique<Solve>();
            operands->operation = operation;
            return operands;
        });
}

} // namespace
