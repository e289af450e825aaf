// Operands that are const are never written: every routine that takes one runs on operands in memory that cannot be
// written, and then in many threads that share them, with the results of one.
#include <sarvo/geom.h>
#include <sarvo/lsq.h>
#include <sarvo/mh.h>
#include <sarvo/nr.h>
#include <sarvo/rnd.h>
#include <sarvo/rsamp.h>
#include <sarvo/sampler.h>
#include <sarvo/specfunc.h>

#include <math.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

using test::bytes;
using test::expect_success;

// ---- Memory that can be made read-only: pages of their own for each block ----

std::map<void *, uint64_t> pages; // the blocks, with their sizes in bytes

uint64_t rounded(uint64_t size) {
    const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

void *page_alloc(uint64_t size, int32_t, void *) {
    void *p = mmap(nullptr, rounded(size), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) return nullptr;
    pages[p] = size;
    return p;
}
void page_release(void *p, void *) {
    munmap(p, rounded(pages[p]));
    pages.erase(p);
}
void *page_resize(void *p, uint64_t size, void *) {
    void *q = page_alloc(size, 0, nullptr);
    if (!q) return nullptr;
    memcpy(q, p, std::min(size, pages[p]));
    page_release(p, nullptr);
    return q;
}

// While one lives, the library's memory comes in pages of its own.
struct OnPages {
    OnPages() {
        static const sarko_mem_hooks hooks = {page_alloc, page_resize, page_release, nullptr};
        sarko_mem_set_hooks(&hooks);
    }
    OnPages(const OnPages &) = delete;
    ~OnPages() {
        const sarko_mem_hooks usual = test::memory::hooks();
        sarko_mem_set_hooks(&usual);
    }
};

void protect(bool read_only) {
    for (const auto &[p, size] : pages)
        ASSERT_EQ(mprotect(p, rounded(size), read_only ? PROT_READ : PROT_READ | PROT_WRITE), 0);
}

// A write to a read-only operand ends the program with the name of the routine.
const char *running = "";
void report_write(int) {
    static const char text[] = "\nwrites to a const operand: ";
    (void)!write(STDERR_FILENO, text, sizeof text - 1);
    (void)!write(STDERR_FILENO, running, strlen(running));
    (void)!write(STDERR_FILENO, "\n", 1);
    _exit(1);
}

// ---- Outputs: made by a routine, described, released ----

struct Out {
    VEC *v = nullptr;
    MAT *m = nullptr;
    PERM *p = nullptr;
    SPMAT *s = nullptr;
    SPROW *row = nullptr;
    sarvo_vector *tv = nullptr;
    sarvo_matrix *tm = nullptr;
    IVEC *iv = nullptr;
    I64VEC *i64v = nullptr;
    std::string text; // anything else
    Out() = default;
    Out(const Out &) = delete;
    ~Out() {
        sarvo_mh_v_free(v);
        sarvo_mh_m_free(m);
        sarvo_mh_px_free(p);
        sarvo_mh_sp_free(s);
        sarvo_mh_sprow_free(row);
        sarvo_vector_free(tv);
        sarvo_matrix_free(tm);
        sarvo_mh_iv_free(iv);
        sarvo_mh_i64v_free(i64v);
    }
    void add(double x) { text += bytes(&x, sizeof x); }
    void add(const SPROW &r) {
        for (int32_t k = 0; k < r.len; k++) text += std::to_string(r.elt[k].col) + bytes(&r.elt[k].val, sizeof(double));
    }
    std::string describe() const {
        Out all;
        all.text = text;
        if (v) all.text += bytes(v->elems, v->dim * sizeof(double));
        for (uint64_t i = 0; m && i < m->rows; i++) all.text += bytes(m->row_ptrs[i], m->cols * sizeof(double));
        if (p) all.text += bytes(p->elems, p->size * sizeof(uint32_t));
        for (int32_t i = 0; s && i < s->m; i++) all.add(s->row[i]);
        if (row) all.add(*row);
        if (iv) all.text += bytes(iv->elems, iv->dim * 4);
        if (i64v) all.text += bytes(i64v->elems, i64v->dim * 8);
        return all.text + bytes(tv) + bytes(tm);
    }
};

// ---- Operands ----

constexpr uint64_t n = 40;     // larger than what the small cases of the routines take
constexpr uint64_t many = 700; // the same for permutations

struct Operands {
    MAT *A = nullptr, *B = nullptr, *LU = nullptr, *large_LU = nullptr;
    VEC *x = nullptr, *y = nullptr, *long_x = nullptr, *beta = nullptr;
    PERM *px = nullptr, *pivot = nullptr, *long_px = nullptr, *large_pivot = nullptr;
    IVEC *iv = nullptr;
    I64VEC *i64v = nullptr;
    SPMAT *S = nullptr, *T = nullptr, *L = nullptr, *spLU = nullptr, *ILU = nullptr, *N = nullptr;
    PERM *sp_pivot = nullptr;
    sarvo_matrix *tA = nullptr, *tB = nullptr, *weights = nullptr;
    sarvo_vector *tx = nullptr, *ty = nullptr, *start = nullptr, *vector_weights = nullptr;
    sarvo_nr_svd *svd = nullptr;
    double *plain = nullptr, *other = nullptr; // many each
    int64_t *points = nullptr;

    Operands() {
        test::Random random(11);
        const OnPages on_pages;
        const auto matrix = [&](uint64_t rows, uint64_t cols, double diagonal) {
            MAT *M = nullptr;
            expect_success(sarvo_mh_m_get(rows, cols, &M));
            for (uint64_t i = 0; i < rows; i++)
                for (uint64_t j = 0; j < cols; j++) M->row_ptrs[i][j] = random.symmetric() + (i == j ? diagonal : 0.0);
            return M;
        };
        const auto vector = [&](uint64_t dim) {
            VEC *v = nullptr;
            expect_success(sarvo_mh_v_get(dim, &v));
            for (uint64_t i = 0; i < dim; i++) v->elems[i] = 1.5 + random.symmetric();
            return v;
        };
        const auto shuffled = [&](uint64_t size) {
            PERM *p = nullptr;
            expect_success(sarvo_mh_px_get(static_cast<int32_t>(size), &p));
            for (uint64_t i = size; i > 1; i--) std::swap(p->elems[i - 1], p->elems[random.below(i)]);
            return p;
        };
        A = matrix(n, n, 3.0);
        B = matrix(n, n, 0.0);
        LU = matrix(n, n, 3.0);
        large_LU = matrix(many, many, 9.0);
        x = vector(n);
        y = vector(n);
        beta = vector(n);
        long_x = vector(many);
        px = shuffled(n);
        pivot = shuffled(n);
        long_px = shuffled(many);
        large_pivot = shuffled(many);
        expect_success(sarvo_mh_LUfactor(LU, pivot));
        expect_success(sarvo_mh_LUfactor(large_LU, large_pivot));
        for (uint64_t i = 0; i < n; i++)
            for (uint64_t j = 0; j < i; j++) B->row_ptrs[i][j] = B->row_ptrs[j][i]; // symmetric
        expect_success(sarvo_mh_iv_get(n, &iv));
        expect_success(sarvo_mh_i64v_get(n, &i64v));
        sarvo_mh_iv_ones(iv);
        sarvo_mh_i64v_ones(i64v);

        // Sparse: a band, diagonally dominant and symmetric, its factors, and one that is not symmetric.
        const auto order = static_cast<int32_t>(n);
        for (SPMAT **M : {&S, &T, &L, &spLU, &ILU, &N}) {
            expect_success(sarvo_mh_sp_get(order, order, 3, M));
            for (int32_t i = 0; i < order; i++)
                for (const int32_t j : {i - 7, i - 1, i, i + 1, i + 7})
                    if (j >= 0 && j < order)
                        expect_success(sarvo_mh_sp_set_val(*M, i, j, i == j ? 9.0 : M == &N && j > i ? 2.0 : -1.0));
        }
        expect_success(sarvo_mh_px_get(order, &sp_pivot));
        expect_success(sarvo_mh_spCHfactor(L));
        expect_success(sarvo_mh_spLUfactor(spLU, sp_pivot, 0.5));
        expect_success(sarvo_mh_spILUfactor(ILU, 0.0));
        expect_success(sarvo_mh_sp_col_access(T));

        const auto typed_matrix = [&](uint64_t rows, uint64_t cols) {
            sarvo_matrix *m = test::matrix_of(rows, cols, std::vector<double>(rows * cols));
            for (uint64_t i = 0; i < rows; i++)
                for (uint64_t j = 0; j < cols; j++) test::at(m, i, j) = random.symmetric() + (i == j ? 3.0 : 0.0);
            return m;
        };
        const auto typed_vector = [&](uint64_t length) {
            sarvo_vector *v = test::vector_of(std::vector<double>(length));
            for (uint64_t i = 0; i < length; i++) test::at(v, i) = 1.5 + random.symmetric();
            return v;
        };
        tA = typed_matrix(n, n);
        for (uint64_t j = 0; j < n; j++) test::at(tA, n - 1, j) = test::at(tA, 0, j); // a null space of one dimension
        tB = typed_matrix(n, n);
        for (uint64_t i = 0; i < n; i++)
            for (uint64_t j = 0; j < i; j++) test::at(tB, i, j) = test::at(tB, j, i);
        weights = typed_matrix(10, 10);
        tx = typed_vector(n);
        ty = typed_vector(n);
        vector_weights = typed_vector(10);
        start = test::vector_of({1.0, 0.0});
        expect_success(sarvo_nr_svd_init(&svd));
        expect_success(sarvo_nr_svd_decompose(tA, 0, 0, 0, 0, svd));
        void *block = nullptr;
        expect_success(sarko_mem_malloc(many * sizeof(double), &block));
        plain = static_cast<double *>(block);
        expect_success(sarko_mem_malloc(many * sizeof(double), &block));
        other = static_cast<double *>(block);
        expect_success(sarko_mem_malloc(many * sizeof(int64_t), &block));
        points = static_cast<int64_t *>(block);
        for (uint64_t i = 0; i < many; i++) {
            plain[i] = static_cast<double>(i) + 0.25 * random.uniform();
            other[i] = random.symmetric();
            points[i] = static_cast<int64_t>(random.below(100));
        }
    }
    Operands(const Operands &) = delete;
    ~Operands() {
        const OnPages on_pages;
        for (MAT *M : {A, B, LU, large_LU}) sarvo_mh_m_free(M);
        for (VEC *v : {x, y, long_x, beta}) sarvo_mh_v_free(v);
        for (PERM *p : {px, pivot, long_px, large_pivot, sp_pivot}) sarvo_mh_px_free(p);
        sarvo_mh_iv_free(iv);
        sarvo_mh_i64v_free(i64v);
        for (SPMAT *M : {S, T, L, spLU, ILU, N}) sarvo_mh_sp_free(M);
        for (sarvo_matrix *m : {tA, tB, weights}) sarvo_matrix_free(m);
        for (sarvo_vector *v : {tx, ty, start, vector_weights}) sarvo_vector_free(v);
        sarvo_nr_svd_free(svd);
        for (void *p : {static_cast<void *>(plain), static_cast<void *>(other), static_cast<void *>(points)})
            sarko_mem_free(p);
        EXPECT_TRUE(pages.empty());
    }
};

// ---- The routines ----

using Operation = std::function<sarko_error_t(const Operands &, Out &)>;
struct Case {
    const char *name;
    Operation run;
};

// x in place of a fresh copy of the operand.
sarko_error_t copy_of(const VEC *v, Out &out) { return sarvo_mh_v_copy_(v, &out.v, 0); }

const Case permutations[] = {
    {"px_inv", [](const Operands &o, Out &r) { return sarvo_mh_px_inv(o.px, &r.p); }},
    {"px_mlt", [](const Operands &o, Out &r) { return sarvo_mh_px_mlt(o.px, o.pivot, &r.p); }},
    {"px_copy", [](const Operands &o, Out &r) { return sarvo_mh_px_copy(o.px, &r.p); }},
    {"px_sign",
     [](const Operands &o, Out &r) {
         int32_t sign = 0;
         const sarko_error_t e = sarvo_mh_px_sign(o.long_px, &sign);
         r.add(sign);
         return e;
     }},
    {"px_vec", [](const Operands &o, Out &r) { return sarvo_mh_px_vec(o.px, o.x, &r.v); }},
    {"px_vec in place",
     [](const Operands &o, Out &r) {
         const sarko_error_t e = copy_of(o.x, r);
         return e ? e : sarvo_mh_px_vec(o.px, r.v, &r.v);
     }},
    {"px_vec of many in place",
     [](const Operands &o, Out &r) {
         const sarko_error_t e = copy_of(o.long_x, r);
         return e ? e : sarvo_mh_px_vec(o.long_px, r.v, &r.v);
     }},
    {"pxinv_vec", [](const Operands &o, Out &r) { return sarvo_mh_pxinv_vec(o.px, o.x, &r.v); }},
    {"pxinv_vec in place",
     [](const Operands &o, Out &r) {
         const sarko_error_t e = copy_of(o.x, r);
         return e ? e : sarvo_mh_pxinv_vec(o.px, r.v, &r.v);
     }},
    {"pxinv_vec of many in place",
     [](const Operands &o, Out &r) {
         const sarko_error_t e = copy_of(o.long_x, r);
         return e ? e : sarvo_mh_pxinv_vec(o.long_px, r.v, &r.v);
     }},
    {"px_rows", [](const Operands &o, Out &r) { return sarvo_mh_px_rows(o.px, o.A, &r.m); }},
    {"px_cols", [](const Operands &o, Out &r) { return sarvo_mh_px_cols(o.px, o.A, &r.m); }},
    {"px_foutput",
     [](const Operands &o, Out &r) {
         char *text = nullptr;
         size_t size = 0;
         FILE *stream = open_memstream(&text, &size);
         sarvo_mh_px_foutput(stream, o.px);
         sarvo_mh_m_foutput(stream, " %g", o.A);
         sarvo_mh_v_foutput(stream, " %g", o.x);
         sarvo_mh_iv_foutput(stream, " %u", o.iv);
         sarvo_mh_sprow_dump(stream, &o.S->row[1]);
         sarvo_mh_sprow_foutput(stream, &o.S->row[1]);
         sarvo_vector_fprintf(o.tx, stream, " %g", 5);
         sarvo_matrix_fprintf(o.tA, stream, " %g", 5);
         fclose(stream);
         r.text.assign(text, size);
         free(text);
         return sarko_error_t{0};
     }},
};

template <class F> Operation number(F f) {
    return [f](const Operands &o, Out &r) {
        double value = -1.0;
        const sarko_error_t e = f(o, &value);
        r.add(value);
        return e;
    };
}

const Case dense[] = {
    {"m_copy", [](const Operands &o, Out &r) { return sarvo_mh_m_copy_(o.A, &r.m, 0, 0); }},
    {"v_copy", [](const Operands &o, Out &r) { return sarvo_mh_v_copy_(o.x, &r.v, 0); }},
    {"iv_copy", [](const Operands &o, Out &r) { return sarvo_mh_iv_copy_(o.iv, &r.iv, 0); }},
    {"i64v_copy", [](const Operands &o, Out &r) { return sarvo_mh_i64v_copy_(o.i64v, &r.i64v, 0); }},
    {"m_move", [](const Operands &o, Out &r) { return sarvo_mh_m_move(o.A, 1, 1, 5, 5, &r.m, 2, 2); }},
    {"v_move", [](const Operands &o, Out &r) { return sarvo_mh_v_move(o.x, 1, 5, &r.v, 2); }},
    {"iv_move", [](const Operands &o, Out &r) { return sarvo_mh_iv_move(o.iv, 1, 5, &r.iv, 2); }},
    {"i64v_move", [](const Operands &o, Out &r) { return sarvo_mh_i64v_move(o.i64v, 1, 5, &r.i64v, 2); }},
    {"mv_move", [](const Operands &o, Out &r) { return sarvo_mh_mv_move(o.A, 1, 1, 5, 5, &r.v, 2); }},
    {"vm_move", [](const Operands &o, Out &r) { return sarvo_mh_vm_move(o.x, 0, &r.m, 1, 1, 5, 5); }},
    {"m_add", [](const Operands &o, Out &r) { return sarvo_mh_m_add(o.A, o.B, &r.m); }},
    {"m_sub", [](const Operands &o, Out &r) { return sarvo_mh_m_sub(o.A, o.B, &r.m); }},
    {"m_mlt", [](const Operands &o, Out &r) { return sarvo_mh_m_mlt(o.A, o.B, &r.m); }},
    {"mmtr_mlt", [](const Operands &o, Out &r) { return sarvo_mh_mmtr_mlt(o.A, o.B, &r.m); }},
    {"mtrm_mlt", [](const Operands &o, Out &r) { return sarvo_mh_mtrm_mlt(o.A, o.B, &r.m); }},
    {"mv_mlt", [](const Operands &o, Out &r) { return sarvo_mh_mv_mlt(o.A, o.x, &r.v); }},
    {"vm_mlt", [](const Operands &o, Out &r) { return sarvo_mh_vm_mlt(o.A, o.x, &r.v); }},
    {"sm_mlt", [](const Operands &o, Out &r) { return sarvo_mh_sm_mlt(o.A, &r.m, 2.0); }},
    {"ms_mltadd", [](const Operands &o, Out &r) { return sarvo_mh_ms_mltadd(o.A, o.B, 2.0, &r.m); }},
    {"mv_mltadd", [](const Operands &o, Out &r) { return sarvo_mh_mv_mltadd(o.x, o.y, o.A, 2.0, &r.v); }},
    {"vm_mltadd", [](const Operands &o, Out &r) { return sarvo_mh_vm_mltadd(o.x, o.y, o.A, 2.0, &r.v); }},
    {"m_transp", [](const Operands &o, Out &r) { return sarvo_mh_m_transp(o.A, &r.m); }},
    {"v_add", [](const Operands &o, Out &r) { return sarvo_mh_v_add(o.x, o.y, &r.v); }},
    {"v_sub", [](const Operands &o, Out &r) { return sarvo_mh_v_sub(o.x, o.y, &r.v); }},
    {"v_star", [](const Operands &o, Out &r) { return sarvo_mh_v_star(o.x, o.y, &r.v); }},
    {"v_slash", [](const Operands &o, Out &r) { return sarvo_mh_v_slash(o.x, o.y, &r.v); }},
    {"v_mltadd", [](const Operands &o, Out &r) { return sarvo_mh_v_mltadd(o.x, o.y, 2.0, &r.v); }},
    {"sv_mlt", [](const Operands &o, Out &r) { return sarvo_mh_sv_mlt(2.0, o.x, &r.v); }},
    {"sv_add", [](const Operands &o, Out &r) { return sarvo_mh_sv_add(2.0, o.x, &r.v); }},
    {"sv_sub", [](const Operands &o, Out &r) { return sarvo_mh_sv_sub(2.0, o.x, &r.v); }},
    {"v_map", [](const Operands &o, Out &r) { return sarvo_mh_v_map(fabs, o.x, &r.v); }},
    {"v_lincomb",
     [](const Operands &o, Out &r) {
         VEC *const v[] = {o.x, o.y, o.beta};
         return sarvo_mh_v_lincomb(3, v, o.other, &r.v);
     }},
    {"v_linlist",
     [](const Operands &o, Out &r) {
         return sarvo_mh_v_linlist(&r.v, o.x, 2.0, o.y, -1.0, o.beta, 0.5, static_cast<VEC *>(nullptr));
     }},
    {"in_prod", number([](const Operands &o, double *value) { return sarvo_mh_in_prod_(o.x, o.y, 1, value); })},
    {"v_sum", number([](const Operands &o, double *value) { return sarvo_mh_v_sum(o.x, value); })},
    {"v_min", number([](const Operands &o, double *value) { return sarvo_mh_v_min(o.x, nullptr, value); })},
    {"v_max", number([](const Operands &o, double *value) { return sarvo_mh_v_max(o.x, nullptr, value); })},
    {"v_norm1", number([](const Operands &o, double *value) { return sarvo_mh_v_norm1_s(o.x, o.y, value); })},
    {"v_norm2", number([](const Operands &o, double *value) { return sarvo_mh_v_norm2_s(o.x, o.y, value); })},
    {"v_norminf", number([](const Operands &o, double *value) { return sarvo_mh_v_norminf_s(o.x, o.y, value); })},
    {"m_norm1", number([](const Operands &o, double *value) { return sarvo_mh_m_norm1(o.A, value); })},
    {"m_norm_inf", number([](const Operands &o, double *value) { return sarvo_mh_m_norm_inf(o.A, value); })},
    {"m_norm_frob", number([](const Operands &o, double *value) { return sarvo_mh_m_norm_frob(o.A, value); })},
    {"get_col", [](const Operands &o, Out &r) { return sarvo_mh_get_col(o.A, 3, &r.v); }},
    {"get_row", [](const Operands &o, Out &r) { return sarvo_mh_get_row(o.A, 3, &r.v); }},
    {"set_col and set_row",
     [](const Operands &o, Out &r) {
         sarko_error_t e = sarvo_mh_m_get(n, n, &r.m);
         if (!e) e = sarvo_mh_set_col_(r.m, 2, o.x, 0);
         return e ? e : sarvo_mh_set_row_(r.m, 2, o.y, 0);
     }},
    {"sub_mat", [](const Operands &o, Out &r) { return sarvo_mh_sub_mat(o.A, 1, 1, 5, 5, &r.m); }},
    {"LUsolve", [](const Operands &o, Out &r) { return sarvo_mh_LUsolve(o.LU, o.pivot, o.x, &r.v); }},
    {"LUTsolve", [](const Operands &o, Out &r) { return sarvo_mh_LUTsolve(o.LU, o.pivot, o.x, &r.v); }},
    {"LUTsolve of many",
     [](const Operands &o, Out &r) { return sarvo_mh_LUTsolve(o.large_LU, o.large_pivot, o.long_x, &r.v); }},
    {"Lsolve", [](const Operands &o, Out &r) { return sarvo_mh_Lsolve(o.LU, o.x, &r.v, 1.0); }},
    {"Usolve", [](const Operands &o, Out &r) { return sarvo_mh_Usolve(o.LU, o.x, &r.v, 0.0); }},
    {"LTsolve", [](const Operands &o, Out &r) { return sarvo_mh_LTsolve(o.LU, o.x, &r.v, 1.0); }},
    {"UTsolve", [](const Operands &o, Out &r) { return sarvo_mh_UTsolve(o.LU, o.x, &r.v, 0.0); }},
    {"Dsolve", [](const Operands &o, Out &r) { return sarvo_mh_Dsolve(o.LU, o.x, &r.v); }},
    {"LUcondest",
     number([](const Operands &o, double *value) { return sarvo_mh_LUcondest(o.LU, o.pivot, value); })},
    {"m_inverse", [](const Operands &o, Out &r) { return sarvo_mh_m_inverse(o.A, &r.m); }},
    {"m_pow", [](const Operands &o, Out &r) { return sarvo_mh_m_pow(o.A, -3, &r.m); }},
    {"m_exp", [](const Operands &o, Out &r) { return sarvo_mh_m_exp(o.A, 0.0, &r.m); }},
    {"m_poly", [](const Operands &o, Out &r) { return sarvo_mh_m_poly(o.A, o.x, &r.m); }},
    {"v_conv", [](const Operands &o, Out &r) { return sarvo_mh_v_conv(o.x, o.long_x, &r.v); }},
    {"v_pconv", [](const Operands &o, Out &r) { return sarvo_mh_v_pconv(o.long_x, o.x, &r.v); }},
    {"hhvec",
     [](const Operands &o, Out &r) {
         double beta = 0.0, value = 0.0;
         const sarko_error_t e = sarvo_mh_hhvec(o.x, 1, &beta, &r.v, &value);
         r.add(beta);
         r.add(value);
         return e;
     }},
    {"hhtrvec", [](const Operands &o, Out &r) { return sarvo_mh_hhtrvec(o.x, 0.5, 1, o.y, &r.v); }},
    {"hhtrrows and hhtrcols",
     [](const Operands &o, Out &r) {
         sarko_error_t e = sarvo_mh_m_copy_(o.A, &r.m, 0, 0);
         if (!e) e = sarvo_mh_hhtrrows(r.m, 1, 1, o.x, 0.5);
         return e ? e : sarvo_mh_hhtrcols_(r.m, 1, 1, o.x, 0.5, &r.v);
     }},
    {"makeHQ", [](const Operands &o, Out &r) { return sarvo_mh_makeHQ(o.A, o.x, o.beta, &r.m); }},
    {"makeH", [](const Operands &o, Out &r) { return sarvo_mh_makeH(o.A, &r.m); }},
    {"rot_vec", [](const Operands &o, Out &r) { return sarvo_mh_rot_vec(o.x, 1, 2, 0.6, 0.8, &r.v); }},
    {"rot_rows", [](const Operands &o, Out &r) { return sarvo_mh_rot_rows(o.A, 1, 2, 0.6, 0.8, &r.m); }},
    {"rot_cols", [](const Operands &o, Out &r) { return sarvo_mh_rot_cols(o.A, 1, 2, 0.6, 0.8, &r.m); }},
    {"symmeig", [](const Operands &o, Out &r) { return sarvo_mh_symmeig(o.B, &r.m, &r.v); }},
};

// A solver on a record of its own, with shared matrices.
template <class Solver> Operation iterative(Solver solver, bool symmetric) {
    return [=](const Operands &o, Out &r) {
        sarvo_mh_iter_t *ip = nullptr;
        sarko_error_t e = sarvo_mh_iter_get(n, n, &ip);
        if (e) return e;
        ip->info = nullptr;
        memcpy(ip->b->elems, o.x->elems, n * sizeof(double));
        e = sarvo_mh_iter_use_sp(ip, symmetric ? o.S : o.N);
        if (!e) e = symmetric ? sarvo_mh_iter_use_ich(ip, o.L) : sarvo_mh_iter_use_ilu(ip, o.ILU);
        if (!e) e = solver(ip);
        r.text += bytes(ip->x->elems, n * sizeof(double));
        sarvo_mh_iter_free(ip);
        return e;
    };
}

sarko_error_t lsqr_without_preconditioner(sarvo_mh_iter_t *ip) {
    ip->Bx = nullptr;
    return sarvo_mh_iter_lsqr(ip);
}

const Case sparse[] = {
    {"sp_get_val", number([](const Operands &o, double *value) { return sarvo_mh_sp_get_val(o.S, 3, 4, value); })},
    {"sprow_idx",
     [](const Operands &o, Out &r) {
         r.add(sarvo_mh_sprow_idx(&o.S->row[3], 4));
         return sarko_error_t{0};
     }},
    {"sp_mv_mlt", [](const Operands &o, Out &r) { return sarvo_mh_sp_mv_mlt(o.S, o.x, &r.v); }},
    {"sp_vm_mlt", [](const Operands &o, Out &r) { return sarvo_mh_sp_vm_mlt(o.S, o.x, &r.v); }},
    {"sp_m2dense", [](const Operands &o, Out &r) { return sarvo_mh_sp_m2dense(o.S, &r.m); }},
    {"sprow_merge", [](const Operands &o, Out &r) { return sarvo_mh_sprow_merge(o.S->row, o.S->row + 3, &r.row); }},
    {"sprow_copy", [](const Operands &o, Out &r) { return sarvo_mh_sprow_copy(o.S->row, &r.row); }},
    {"sprow_add", [](const Operands &o, Out &r) { return sarvo_mh_sprow_add(o.S->row, o.S->row + 3, 0, &r.row); }},
    {"sprow_sub", [](const Operands &o, Out &r) { return sarvo_mh_sprow_sub(o.S->row, o.S->row + 3, 0, &r.row); }},
    {"sprow_mltadd",
     [](const Operands &o, Out &r) { return sarvo_mh_sprow_mltadd(o.S->row, o.S->row + 3, 2.0, 0, &r.row); }},
    {"sprow_smlt", [](const Operands &o, Out &r) { return sarvo_mh_sprow_smlt(o.S->row, 2.0, &r.row); }},
    {"sp_add", [](const Operands &o, Out &r) { return sarvo_mh_sp_add(o.S, o.N, &r.s); }},
    {"sp_sub", [](const Operands &o, Out &r) { return sarvo_mh_sp_sub(o.S, o.N, &r.s); }},
    {"sp_mltadd", [](const Operands &o, Out &r) { return sarvo_mh_sp_mltadd(o.S, o.N, 2.0, &r.s); }},
    {"sp_smlt", [](const Operands &o, Out &r) { return sarvo_mh_sp_smlt(o.S, 2.0, &r.s); }},
    {"sp_mlt", [](const Operands &o, Out &r) { return sarvo_mh_sp_mlt(o.S, o.N, &r.s); }},
    {"sp_copy", [](const Operands &o, Out &r) { return sarvo_mh_sp_copy(o.T, &r.s); }},
    {"sp_copy2", [](const Operands &o, Out &r) { return sarvo_mh_sp_copy2(o.S, &r.s); }},
    {"sp_order 1", [](const Operands &o, Out &r) { return sarvo_mh_sp_order(o.S, 1, &r.p); }},
    {"sp_order 2", [](const Operands &o, Out &r) { return sarvo_mh_sp_order(o.S, 2, &r.p); }},
    {"sp_permute", [](const Operands &o, Out &r) { return sarvo_mh_sp_permute(o.S, o.px, o.pivot, &r.s); }},
    {"sp_comp_AAT", [](const Operands &o, Out &r) { return sarvo_mh_sp_comp_AAT(o.N, &r.s); }},
    {"spCHsolve", [](const Operands &o, Out &r) { return sarvo_mh_spCHsolve(o.L, o.x, &r.v); }},
    {"spLUsolve", [](const Operands &o, Out &r) { return sarvo_mh_spLUsolve(o.spLU, o.sp_pivot, o.x, &r.v); }},
    {"spLUTsolve", [](const Operands &o, Out &r) { return sarvo_mh_spLUTsolve(o.spLU, o.sp_pivot, o.x, &r.v); }},
    {"cg", iterative(sarvo_mh_iter_cg, true)},
    {"minres", iterative(sarvo_mh_iter_minres, true)},
    {"gmres", iterative(sarvo_mh_iter_gmres, false)},
    {"bicgstab", iterative(sarvo_mh_iter_bicgstab, false)},
    {"lsqr", iterative(lsqr_without_preconditioner, false)},
};

// Residuals of y = x0 exp(x1 t) at ten points.
sarko_error_t model(const sarvo_vector *x, sarvo_vector *r, sarvo_matrix *J, void *) {
    const double *p = static_cast<const double *>(x->data);
    for (uint64_t i = 0; i < 10; i++) {
        const double t = 0.3 * static_cast<double>(i), e = exp(p[1] * t);
        test::at(r, i) = 2.0 * exp(-0.27 * static_cast<double>(i)) + 0.01 * static_cast<double>(i % 3) - p[0] * e;
        if (J) {
            test::at(J, i, 0) = e;
            test::at(J, i, 1) = p[0] * t * e;
        }
    }
    return 0;
}

Operation fit(bool by_matrix) {
    return [by_matrix](const Operands &o, Out &r) {
        sarvo_lsq lsq;
        sarko_error_t e = sarvo_lsq_init_default(&lsq);
        lsq.model = model;
        if (!e) e = sarvo_lsq_alloc(2, 10, &lsq);
        if (!e)
            e = by_matrix ? sarvo_lsq_weight_minit(o.weights, &lsq) : sarvo_lsq_weight_vinit(o.vector_weights, &lsq);
        if (!e) e = sarvo_lsq_iterate_init(o.start, &lsq);
        if (!e) e = sarvo_lsq_minimize(20, nullptr, nullptr, &lsq);
        if (!e) e = sarvo_lsq_covar(&r.tm, &lsq);
        r.text += bytes(lsq.x);
        sarvo_lsq_free(&lsq);
        return e;
    };
}

// All special functions and distributions at the numbers of a list.
sarko_error_t functions(const Operands &o, Out &r) {
    for (uint64_t i = 0; i < 40; i++) {
        const double x = 0.3 + 4.0 * fabs(o.other[i]), p = fabs(o.other[i + 1]);
        double value = 0.0, error = 0.0, sign = 0.0;
        const auto add = [&](sarko_error_t e) {
            r.add(value);
            r.add(error);
            expect_success(e);
        };
        add(sarvo_lngamma_f(&value, &error, &sign, -x - 0.01));
        add(sarvo_gamma_f(&value, &error, x));
        add(sarvo_lnfact_f(static_cast<uint32_t>(i), &value, &error));
        add(sarvo_psi_e(x, &value, &error));
        add(sarvo_psi1_e(x, &value, &error));
        add(sarvo_psin_e(3, x, &value, &error));
        add(sarvo_hzeta_e(x + 1.0, x, &value, &error));
        for (const double f :
             {sarvo_rnd_betadf_inv(x, 2.0, p), sarvo_rnd_fdf_inv(x, 3.0, p), sarvo_rnd_studentdf_inv(x, p),
              sarvo_rnd_gammadf_inv(x, p), sarvo_rnd_chi2df(x, x), sarvo_rnd_gauss_df(x, 1.0)})
            r.add(f);
    }
    return 0;
}

sarko_error_t spline(const Operands &o, Out &r) {
    sarvo_nr_itpl s;
    sarko_error_t e = sarvo_nr_itpl_init_cspline(&s, o.plain, o.other, nullptr, static_cast<int32_t>(many), 1e99, 0.5);
    for (int i = 0; !e && i < 200; i++) {
        double value = 0.0;
        e = sarvo_nr_itpl_cspline(&s, &value, 3.3 * i);
        r.add(value);
    }
    sarvo_nr_itpl_free_cspline(&s);
    return e;
}

sarko_error_t statistics(const Operands &o, Out &r) {
    double mean = 0.0, variance = 0.0, skewness = 0.0, kurtosis = 0.0;
    const auto count = static_cast<int32_t>(many);
    r.add(sarvo_rsamp_mean(o.other, count));
    r.add(sarvo_rsamp_mean_variance(o.other, count, &mean));
    sarvo_rsamp_statistics4(o.other, count, &mean, &variance, &skewness, &kurtosis);
    for (const double value : {mean, variance, skewness, kurtosis}) r.add(value);
    for (int i = 0; i < 20; i++) {
        r.add(sarvo_geom_pnpoly(300, o.plain, o.other, 10.0 * i, 0.1));
        r.add(sarvo_geom_pnpoly_int64v(600, o.points, 5 * i, 50));
    }
    return 0;
}

Operation jacobi() {
    return [](const Operands &o, Out &r) {
        sarvo_nr_jtsm *record = nullptr;
        sarko_error_t e = sarvo_nr_jtsm_init(&record);
        if (!e) e = sarvo_nr_jtsm_compute(o.tB, 0, 0, 0, record);
        if (!e) r.text += bytes(record->V) + bytes(record->d);
        sarvo_nr_jtsm_free(record);
        return e;
    };
}

Operation decomposition() {
    return [](const Operands &o, Out &r) {
        sarvo_nr_svd *record = nullptr;
        sarko_error_t e = sarvo_nr_svd_init(&record);
        if (!e) e = sarvo_nr_svd_decompose(o.tA, 0, 0, 0, 0, record);
        if (!e) r.text += bytes(record->U) + bytes(record->V) + bytes(record->w);
        sarvo_nr_svd_free(record);
        return e;
    };
}

const Case typed[] = {
    {"vector_copy", [](const Operands &o, Out &r) { return sarvo_vector_copy(o.tx, 1, 5, &r.tv, 2); }},
    {"matrix_copy", [](const Operands &o, Out &r) { return sarvo_matrix_copy(o.tA, 1, 1, 5, 5, &r.tm, 2, 2); }},
    {"vv_inprod", number([](const Operands &o, double *value) { return sarvo_vv_inprod(o.tx, o.ty, 0, 0, 0, value); })},
    {"vv_add", [](const Operands &o, Out &r) { return sarvo_vv_add(o.tx, o.ty, &r.tv); }},
    {"sv_mlt", [](const Operands &o, Out &r) { return sarvo_sv_mlt(2.0, o.tx, &r.tv); }},
    {"sv_add", [](const Operands &o, Out &r) { return sarvo_sv_add(2.0, o.tx, &r.tv); }},
    {"vs_sub", [](const Operands &o, Out &r) { return sarvo_vs_sub(2.0, o.tx, &r.tv); }},
    {"mm_mlt", [](const Operands &o, Out &r) { return sarvo_mm_mlt(o.tA, o.tB, &r.tm); }},
    {"sm_mlt", [](const Operands &o, Out &r) { return sarvo_sm_mlt(2.0, o.tA, &r.tm); }},
    {"svd_decompose", decomposition()},
    {"svd_invert", [](const Operands &o, Out &r) { return sarvo_nr_svd_invert(o.svd, &r.tm); }},
    {"svd_vsolve", [](const Operands &o, Out &r) { return sarvo_nr_svd_vsolve(o.svd, o.tx, &r.tv); }},
    {"svd_msolve", [](const Operands &o, Out &r) { return sarvo_nr_svd_msolve(o.svd, o.tB, &r.tm); }},
    {"svd_range", [](const Operands &o, Out &r) { return sarvo_nr_svd_range(o.svd, &r.tm); }},
    {"svd_nullspace", [](const Operands &o, Out &r) { return sarvo_nr_svd_nullspace(o.svd, &r.tm); }},
    {"jtsm_compute", jacobi()},
    {"spline", spline},
    {"lsq with weights", fit(false)},
    {"lsq with a matrix of weights", fit(true)},
    {"statistics and geometry", statistics},
    {"special functions and distributions", functions},
};

std::vector<const Case *> all_cases() {
    std::vector<const Case *> all;
    for (const Case &c : permutations) all.push_back(&c);
    for (const Case &c : dense) all.push_back(&c);
    for (const Case &c : sparse) all.push_back(&c);
    for (const Case &c : typed) all.push_back(&c);
    return all;
}

std::string result_of(const Case &c, const Operands &operands) {
    Out out;
    SCOPED_TRACE(c.name);
    expect_success(c.run(operands, out));
    return out.describe();
}

TEST(ConstOperands, AreNotWritten) {
    const Operands operands;
    struct sigaction usual, reporting = {};
    reporting.sa_handler = report_write;
    sigaction(SIGSEGV, &reporting, &usual);
    protect(true);
    for (const Case *c : all_cases()) {
        running = c->name;
        result_of(*c, operands);
    }
    protect(false);
    sigaction(SIGSEGV, &usual, nullptr);
}

// Each thread goes through all routines from another place on, so that different ones run side by side, too.
TEST(ConstOperands, SharedByThreadsGiveTheResultsOfOne) {
    const Operands operands;
    const std::vector<const Case *> cases = all_cases();
    std::vector<std::string> expected;
    for (const Case *c : cases) expected.push_back(result_of(*c, operands));
    std::atomic<uint64_t> differences{0};
    std::vector<std::thread> threads;
    for (uint64_t t = 0; t < 8; t++)
        threads.emplace_back([&, t] {
            for (uint64_t round = 0; round < 3; round++)
                for (uint64_t k = 0; k < cases.size(); k++) {
                    const uint64_t c = (k + (round == 0 ? 0 : 17 * t)) % cases.size();
                    Out out;
                    const sarko_error_t e = cases[c]->run(operands, out);
                    if (e || out.describe() != expected[c]) differences++;
                    sarko_error_clear(e);
                }
        });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(differences, 0u);
}

// A sampler that is only read may be shared as well.
TEST(ConstOperands, OfTheSamplerMayBeReadByThreads) {
    sarvo_fsampler_1d_t *sampler = sarvo_fsampler_1d_new(nullptr);
    ASSERT_NE(sampler, nullptr);
    for (int i = 0; i < 50; i++) sarvo_fsampler_1d_add(sampler, 0.1 * i, sin(0.1 * i), 0);
    const auto read = [sampler] {
        Out all;
        double x = 0.0, y = 0.0;
        uint32_t tag = 0;
        all.add(sarvo_fsampler_1d_is_done(sampler) + sarvo_fsampler_1d_num_refine(sampler));
        for (int32_t i = 0; i < sarvo_fsampler_1d_num_samples(sampler); i++) {
            all.add(sarvo_fsampler_1d_get(sampler, i, &x, &y, &tag));
            all.add(x);
            all.add(y);
        }
        all.add(sarvo_fsampler_1d_get_min(sampler, &x, &y, &tag));
        all.add(y);
        all.add(sarvo_fsampler_1d_get_max(sampler, &x, &y, &tag));
        all.add(y);
        return all.text;
    };
    const std::string expected = read();
    std::atomic<uint64_t> differences{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; t++) threads.emplace_back([&] { differences += read() != expected; });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(differences, 0u);
    sarvo_fsampler_1d_destroy(sampler);
}

} // namespace
