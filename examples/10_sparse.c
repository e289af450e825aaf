/* Lesson 10: sparse systems: assembly, the fill of three orderings, Cholesky, LU, a singular matrix. */
#include <math.h>
#include <stdio.h>

#include <sarvo/mh.h>

enum { side = 20, n = side * side };

/* The five-point Laplacian: heat in a square plate whose rim is kept cold. Row by row, each in ascending columns. */
static sarko_error_t laplacian(SPMAT **A) {
    sarko_error_t e = sarvo_mh_sp_get(n, n, 5, A);
    for (int i = 0; !e && i < n; i++) {
        if (i >= side) e = sarvo_mh_sp_set_val(*A, i, i - side, -1);
        if (!e && i % side) e = sarvo_mh_sp_set_val(*A, i, i - 1, -1);
        if (!e) e = sarvo_mh_sp_set_val(*A, i, i, 4);
        if (!e && (i + 1) % side) e = sarvo_mh_sp_set_val(*A, i, i + 1, -1);
        if (!e && i + side < n) e = sarvo_mh_sp_set_val(*A, i, i + side, -1);
    }
    return e;
}

static int entries(const SPMAT *A) {
    int count = 0;
    for (int i = 0; i < A->m; i++) count += A->row[i].len;
    return count;
}

static double largest_residual(const SPMAT *A, const VEC *x) {
    VEC *y = NULL;
    double largest = 0.0;
    sarko_error_clear(sarvo_mh_sp_mv_mlt(A, x, &y));
    for (int i = 0; y && i < n; i++) largest = fmax(largest, fabs(1.0 - y->elems[i]));
    sarvo_mh_v_free(y);
    return largest;
}

int main(void) {
    static const char *const names[] = {"natural", "reverse Cuthill-McKee", "minimum degree"};
    if (sarvo_initialize() != 0) return 1;
    SPMAT *A = NULL, *L = NULL, *LU = NULL;
    PERM *order = NULL, *px = NULL;
    VEC *b = NULL, *x = NULL;
    sarko_error_t e = laplacian(&A);
    if (!e) printf("A: %d rows, %d entries\n", n, entries(A));

    for (int32_t method = 0; !e && method <= 2; method++) {
        e = sarvo_mh_sp_order(A, method, &order);
        if (!e) e = sarvo_mh_sp_permute(A, order, order, &L);
        if (!e) e = sarvo_mh_spCHfactor(L); /* in place */
        if (!e) printf("  %-22s L has %d entries\n", names[method], entries(L));
    }

    if (!e) e = sarvo_mh_v_get(n, &b);
    sarvo_mh_v_ones(b); /* heated evenly; a permutation leaves ones as they are */
    if (!e) e = sarvo_mh_spCHsolve(L, b, &x);
    if (!e) e = sarvo_mh_pxinv_vec(order, x, &x); /* back to the plate's own order */
    if (!e)
        printf("in the middle %.4f, residual below 1e-12: %s\n", x->elems[n / 2 + side / 2],
               largest_residual(A, x) < 1e-12 ? "yes" : "no");

    if (!e) e = sarvo_mh_sp_set_val(A, 0, n - 1, 0.5); /* no longer symmetric */
    if (!e) e = sarvo_mh_sp_copy(A, &LU);
    if (!e) e = sarvo_mh_px_get(n, &px);
    if (!e) e = sarvo_mh_spLUfactor(LU, px, 0.5);
    if (!e) e = sarvo_mh_spLUsolve(LU, px, b, &x);
    if (!e) printf("by LU, residual below 1e-12: %s\n", largest_residual(A, x) < 1e-12 ? "yes" : "no");

    sarvo_mh_sp_zero(LU); /* the structure stays, every pivot is 0 */
    const sarko_error_t singular = sarvo_mh_spLUsolve(LU, px, b, &x);
    printf("%s: %s\n", sarko_error_message(singular), sarko_error_message(sarko_error_cause(singular)));
    sarko_error_clear(singular);

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_mh_sp_free_vars(&A, &L, &LU, NULL);
    sarvo_mh_px_free(order), sarvo_mh_px_free(px);
    sarvo_mh_v_free(b), sarvo_mh_v_free(x);
    sarvo_terminate();
    return e != 0;
}
