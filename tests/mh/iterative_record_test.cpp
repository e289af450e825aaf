// The workspace record of iterative methods, its default callbacks, and the random matrices, against literal draws.
#include <unistd.h>

#include <map>

#include <sarvo/nr.h>
#include <sarvo/rng.h>

#include "iterative_support.h"
#include "mh/iterative/record.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

constexpr const char *null_text = "Input structure(s) is(are) not initialized";

// What `print` writes to standard output.
std::string printed(const std::function<void()> &print) {
    fflush(stdout);
    char name[] = "/tmp/sarvo_printedXXXXXX";
    const int file = mkstemp(name), kept = dup(1);
    dup2(file, 1);
    print();
    fflush(stdout);
    dup2(kept, 1);
    close(kept);
    close(file);
    std::ifstream text(name);
    std::string all((std::istreambuf_iterator<char>(text)), {});
    unlink(name);
    return all;
}

TEST(IterRecord, BeginsWithItsDefaults) {
    Iter bare(0, -3), full(2, 3);
    EXPECT_EQ(bare->x, nullptr);
    EXPECT_EQ(bare->b, nullptr);
    EXPECT_EQ(Doubles(2, 0.0), Doubles(full->b->elems, full->b->elems + full->b->dim));
    EXPECT_EQ(full->x->dim, 3u);
    EXPECT_EQ(bare->limit, 1000u);
    EXPECT_EQ(bare->eps, 1e-6);
    EXPECT_TRUE(bare->steps == 0 && bare->k == 0 && !bare->Ax && !bare->ATx && !bare->Bx && bare->init_res == 0.0);

    bare->steps = 7;
    EXPECT_EQ(printed([&] {
                  for (const double r : {0.25, 0.0, -1.0, static_cast<double>(NAN)}) bare->info(bare.p, r);
              }),
              " 7. residual = 0.25\n 7. residual = 0\n 7. residual = -1 (WARNING !!! should be >= 0) \n"
              " 7. residual = nan (WARNING !!! should be >= 0) \n");
    EXPECT_TRUE(bare->stop_crit(bare.p, 0.0));
    EXPECT_FALSE(bare->stop_crit(bare.p, 1e-300));
    bare->init_res = 2.0;
    EXPECT_TRUE(bare->stop_crit(bare.p, 2e-6));
    EXPECT_FALSE(bare->stop_crit(bare.p, 2.1e-6));
    EXPECT_FALSE(bare->stop_crit(bare.p, static_cast<double>(NAN)));
    expect_error(sarvo_mh_iter_get(1, 1, nullptr), SarvoMHNullEC, {null_text});
}

TEST(IterRecord, ResizesAndSparesWhatIsShared) {
    Vec x({1, 2, 3});
    {
        Iter ip(2, 0);
        ip->x = x.p;
        ip->shared_x = 1;
        const VEC *record = x.p;
        expect_success(sarvo_mh_iter_resize(&ip.p, 3, 4));
        EXPECT_EQ(ip->x, record);
        EXPECT_EQ(ip->b->dim, 3u);
    }
    EXPECT_EQ(x.get(), Doubles({1, 2, 3, 0}));
    sarvo_mh_iter_t *null = nullptr;
    expect_error(sarvo_mh_iter_resize(&null, 1, 1), SarvoMHNullEC, {"iter_resize", null_text});

    Vec other({1});
    EXPECT_EQ(printed([&] {
                  sarvo::mh::warn_when_moved(1, x.p, other.p);
                  sarvo::mh::warn_when_moved(0, x.p, other.p);
                  sarvo::mh::warn_when_moved(1, nullptr, other.p);
                  sarvo::mh::warn_when_moved(1, x.p, x.p);
              }),
              "error 0 (warning): SARVO: shared vector resized!\n");
}

TEST(IterRecord, CopiesDeepAndShallow) {
    Iter from(2, 3), deep(1, 5), shallow(1, 0), made, made2;
    from->k = 9;
    from->b->elems[1] = 4.0;
    sarvo_mh_v_ones(from->x);
    deep->shared_x = deep->shared_b = 1;
    shallow->shared_b = 1;
    VEC *const x = deep->x, *const b = shallow->b;
    for (Iter *to : {&deep, &made}) {
        expect_success(sarvo_mh_iter_copy(from.p, &to->p));
        EXPECT_TRUE((*to)->k == 9 && (*to)->limit == 1000 && !(*to)->shared_x && !(*to)->shared_b);
        EXPECT_EQ((*to)->b->elems[1], 4.0);
        EXPECT_NE((*to)->b, from->b);
    }
    EXPECT_EQ(deep->x, x);
    EXPECT_EQ(x->dim, 5u); // longer: kept
    EXPECT_EQ(x->elems[2], 1.0);
    EXPECT_EQ(x->elems[3], 0.0);
    for (Iter *to : {&shallow, &made2}) {
        expect_success(sarvo_mh_iter_copy2(from.p, &to->p));
        EXPECT_EQ((*to)->k, 9u);
        EXPECT_EQ((*to)->x, nullptr);
    }
    EXPECT_EQ(shallow->b, b);
    EXPECT_EQ(shallow->shared_b, 1);
    shallow->shared_b = 0;
    EXPECT_EQ(made2->b, nullptr);
    expect_error(sarvo_mh_iter_copy(nullptr, &made.p), SarvoMHNullEC, {"iter_copy", null_text});
    expect_error(sarvo_mh_iter_copy2(nullptr, &made.p), SarvoMHNullEC, {"iter_copy2", null_text});
}

TEST(IterRecord, IsPrintedCharacterByCharacter) {
    EXPECT_EQ(listing([](FILE *f) { sarvo_mh_iter_dump(f, nullptr); }), " sarvo_mh_iter_t structure: NULL\n");
    Iter ip(1, 0);
    ip->shared_b = 1;
    ip->steps = 12;
    char expected[1000];
    void *const none = nullptr;
    snprintf(expected, sizeof expected,
             "\n sarvo_mh_iter_t structure:\n ip->shared_x = FALSE, ip->shared_b = TRUE\n"
             " ip->k = 0, ip->limit = 1000, ip->steps = 12, ip->eps = 1e-06\n ip->x = 0x%p, ip->b = 0x%p\n"
             " ip->Ax = 0x%p, ip->A_par = 0x%p\n ip->ATx = 0x%p, ip->AT_par = 0x%p\n ip->Bx = 0x%p, ip->B_par = 0x%p\n"
             " ip->info = 0x%p, ip->stop_crit = 0x%p, ip->init_res = 0\n\n",
             none, reinterpret_cast<void *>(ip->b), none, none, none, none, none, none,
             reinterpret_cast<void *>(ip->info), reinterpret_cast<void *>(ip->stop_crit));
    EXPECT_EQ(listing([&](FILE *f) { sarvo_mh_iter_dump(f, ip.p); }), expected);
    ip->shared_b = 0;
}

// ---- Random matrices ----

// A generator of one of the three selectors, and the literal draws from it.
struct Draws {
    explicit Draws(int32_t source) : selector(source) {
        if (selector == 1) test::expect_success(sarvo_rng_init(&mt, 1, 99));
        if (selector == 2) test::expect_success(sarvo_nr_rng_init(&classic, 0, 99));
    }
    ~Draws() {
        sarvo_rng_free(mt);
        sarvo_nr_rng_free(classic);
    }
    void *rng() const { return selector == 1 ? static_cast<void *>(mt) : classic; }
    uint32_t integer() const {
        return selector == 1 ? sarvo_rng_uint32(mt) : selector == 2 ? sarvo_nr_rng_uint32(classic) : 0;
    }
    int32_t position(int32_t n) const { return static_cast<int32_t>((integer() >> 8) % static_cast<uint32_t>(n)); }
    double value() const {
        return selector == 1 ? sarvo_rng_uniform(mt) : selector == 2 ? sarvo_nr_rng_double(classic) : 0.0;
    }
    int32_t selector;
    sarvo_rng_t *mt = nullptr;
    sarvo_nr_rng_t *classic = nullptr;
};

using Entries = std::map<std::pair<int32_t, int32_t>, double>;

Entries entries_of(const SPMAT *A) {
    Entries all;
    for (int32_t i = 0; i < A->m; i++)
        for (int32_t k = 0; k < A->row[i].len; k++) all[{i, A->row[i].elt[k].col}] = A->row[i].elt[k].val;
    return all;
}

TEST(RandomMatrices, AreThoseOfTheLiteralDraws) {
    for (const int32_t selector : {1, 2, 3})
        for (const int32_t n : {1, 2, 7, 50})
            for (const int32_t nrow : {-1, 1, 3, 4, 9}) {
                const std::string what =
                    std::to_string(selector) + ", " + std::to_string(n) + ", " + std::to_string(nrow);
                Draws used(selector), twin(selector);
                Sp A, B;
                expect_success(sarvo_mh_iter_gen_sym(n, nrow, selector, used.rng(), &A.p));
                Entries expected;
                Doubles sum(static_cast<size_t>(n));
                const int32_t w = std::max(nrow, 2) / 2 * 2;
                for (int32_t i = 0; i < n; i++)
                    for (int32_t c = twin.position(w / 2) + 1; c > 0; c--) {
                        const int32_t j = twin.position(n);
                        const double v = twin.value();
                        expected[{i, j}] = expected[{j, i}] = v;
                        sum[static_cast<size_t>(i)] += std::fabs(v);
                        sum[static_cast<size_t>(j)] += std::fabs(v);
                    }
                for (int32_t i = 0; i < n; i++) expected[{i, i}] = sum[static_cast<size_t>(i)] + 1.0;
                EXPECT_EQ(entries_of(A.p), expected) << what;
                EXPECT_EQ(used.integer(), twin.integer()) << what;

                const int32_t m = n + nrow / 3;
                expect_success(sarvo_mh_iter_gen_nonsym(5.0, m, n, nrow, selector, used.rng(), &B.p));
                expected.clear();
                for (int32_t i = 0; i < m; i++)
                    for (int32_t c = twin.position(std::max(nrow, 2) - 1) + 1; c > 0; c--) {
                        const int32_t j = twin.position(n);
                        expected[{i, j}] = -twin.value();
                    }
                std::vector<int32_t> p(static_cast<size_t>(n));
                for (int32_t i = 0; i < n; i++) p[static_cast<size_t>(i)] = i;
                for (int32_t k = 0; k < 2 * n; k++) {
                    const auto i = static_cast<size_t>(twin.position(n)), j = static_cast<size_t>(twin.position(n));
                    std::swap(p[i], p[j]);
                }
                for (int32_t i = 0; i < std::min(m, n); i++) expected[{i, p[static_cast<size_t>(i)]}] = 5.0;
                EXPECT_EQ(entries_of(B.p), expected) << what;
                expect_invariants(B.p, what);
            }
    Draws draws(1);
    SPMAT *none = nullptr;
    expect_error(sarvo_mh_iter_gen_sym(-1, 2, 1, draws.rng(), &none), SarvoMHNegEC,
                 {"sp_get", sarko_error_code_message(SarvoMHNegEC)});
    expect_error(sarvo_mh_iter_gen_nonsym(1.0, 2, -1, 2, 1, draws.rng(), &none), SarvoMHNegEC,
                 {"sp_get", sarko_error_code_message(SarvoMHNegEC)});
    EXPECT_EQ(none, nullptr);
}

} // namespace
