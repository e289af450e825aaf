/* A program of somebody else that calls the library in many places and prints what it got. Linked once as it is and once
 * with functions of its own under the names of the library's other exports: the answers must be the same. */
#include <stdio.h>
#include <stdlib.h>

#include <sarvo/membench.h>
#include <sarvo/mh.h>
#include <sarvo/rnd.h>
#include <sarvo/scimark.h>
#include <sarvo/specfunc.h>

static void check(const char *what, sarko_error_t e) {
    if (!e) return;
    printf("%s: ", what);
    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stdout));
    exit(1);
}

static void print(const char *name, double value, double error) { printf("%s %a %a\n", name, value, error); }

static void special_functions(void) {
    double value, error, sign;
    check("ln Gamma", sarvo_lngamma_f(&value, &error, &sign, 2.1));
    print("ln Gamma(2.1)", value, error);
    check("ln Gamma", sarvo_lngamma_f(&value, &error, &sign, -3.5));
    print("ln Gamma(-3.5)", value, error);
    check("Gamma", sarvo_gamma_f(&value, &error, 7.25));
    print("Gamma(7.25)", value, error);
    check("psi_n", sarvo_psin_e(3, 2.5, &value, &error));
    print("psi_3(2.5)", value, error);
    print("F^-1(0.9)", sarvo_rnd_fdf_inv(3.0, 7.0, 0.9), 0.0);
}

static void dense_and_sparse_algebra(void) {
    MAT *A = NULL, *inverse = NULL, *exponential = NULL;
    check("get", sarvo_mh_m_get(6, 6, &A));
    for (int i = 0; i < 6; i++)
        for (int j = 0; j < 6; j++) A->row_ptrs[i][j] = i == j ? 4.0 : 1.0 / (1 + i + 2 * j);
    check("inverse", sarvo_mh_m_inverse(A, &inverse));
    check("exp", sarvo_mh_m_exp(A, 0.0, &exponential));
    print("inverse, exp", inverse->row_ptrs[2][3], exponential->row_ptrs[3][2]);
    sarvo_mh_m_free(A);
    sarvo_mh_m_free(inverse);
    sarvo_mh_m_free(exponential);

    SPMAT *S = NULL;
    sarvo_mh_iter_t *ip = NULL;
    check("get", sarvo_mh_sp_get(20, 20, 3, &S));
    check("get", sarvo_mh_iter_get(20, 20, &ip));
    for (int i = 0; i < 20; i++) {
        check("set", sarvo_mh_sp_set_val(S, i, i, 3.0 + i));
        if (i > 0) check("set", sarvo_mh_sp_set_val(S, i, i - 1, -1.0));
        ip->b->elems[i] = i;
    }
    ip->info = NULL;
    check("use", sarvo_mh_iter_use_sp(ip, S));
    check("gmres", sarvo_mh_iter_gmres(ip));
    print("gmres", ip->x->elems[0], ip->x->elems[19]);
    sarvo_mh_iter_free(ip);
    sarvo_mh_sp_free(S);
}

static void machine(void) {
    double mflops[6], result[6];
    int64_t cycles[6];
    check("suite", sarvo_scimark_all(64, 20, 50, 250, 20, 1, 1e-9, mflops, result, cycles));
    for (int i = 1; i < 6; i++)
        if (!(mflops[i] > 0.0)) printf("kernel %d did not run\n", i);
    print("relaxation, LU", result[2], result[5]);
    for (uint32_t test = 1; test <= 15; test++) {
        sarvo_membench_bandwidth_t copy = {.size = 1 << 14, .repeats = 1, .min_time = -1.0};
        check("bandwidth", sarvo_membench_bandwidth(test, &copy));
        if (!(copy.best > 0.0)) printf("bandwidth %u: nothing\n", test);
    }
    sarvo_membench_latency_t cached = {.repeats = 1, .reads = 1600};
    check("latency", sarvo_membench_latency(1 << 16, &cached));
}

int main(void) {
    if (sarvo_initialize() != 0) return 2;
    printf("codes %u %u\n", SarvoDtypeEC, SarvoRngInvalidMethodEC); /* the program's view of the library's data */
    special_functions();
    dense_and_sparse_algebra();
    machine();
    sarvo_terminate();
    return 0;
}
