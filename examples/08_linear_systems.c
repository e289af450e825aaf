/* Lesson 8: a linear system by LU: factors, permutation, solution, condition, residual, inverse; a sorted vector. */
#include <stdio.h>

#include <sarvo/mh.h>

int main(void) {
    static const double rows[3][3] = {{8, 7, 9}, {4, 3, 3}, {2, 1, 1}};
    static const double right[3] = {24, 10, 4};
    if (sarvo_initialize() != 0) return 1;
    MAT *A = NULL, *LU = NULL, *inverse = NULL, *product = NULL;
    VEC *b = NULL, *x = NULL, *residual = NULL;
    PERM *pivot = NULL, *order = NULL;
    double cond = 0.0, norm = 0.0;
    int32_t sign = 0;

    sarko_error_t e = sarvo_mh_m_get(3, 3, &A);
    if (!e) e = sarvo_mh_v_get(3, &b);
    if (!e) e = sarvo_mh_px_get(3, &pivot);
    for (int i = 0; !e && i < 3; i++) {
        for (int j = 0; j < 3; j++) A->row_ptrs[i][j] = rows[i][j];
        b->elems[i] = right[i];
    }
    if (!e) e = sarvo_mh_m_copy_(A, &LU, 0, 0); /* the factors take the place of their matrix */
    if (!e) e = sarvo_mh_LUfactor(LU, pivot);
    if (!e) e = sarvo_mh_px_sign(pivot, &sign);
    if (!e) e = sarvo_mh_LUsolve(LU, pivot, b, &x);
    if (!e) e = sarvo_mh_mv_mltadd(b, x, A, -1.0, &residual); /* b - A x */
    if (!e) e = sarvo_mh_v_norm2_s(residual, NULL, &norm);
    if (!e) e = sarvo_mh_LUcondest(LU, pivot, &cond);
    if (!e) {
        sarvo_mh_px_foutput(stdout, pivot);
        sarvo_mh_m_foutput(stdout, " %8.4f", LU);
        printf("determinant %.1f\n", sign * LU->row_ptrs[0][0] * LU->row_ptrs[1][1] * LU->row_ptrs[2][2]);
        printf("x = %.6f %.6f %.6f, residual below 1e-14: %s, condition about %.0f\n", x->elems[0], x->elems[1],
               x->elems[2], norm < 1e-14 ? "yes" : "no", cond);
    }

    if (!e) e = sarvo_mh_m_inverse(A, &inverse);
    if (!e) e = sarvo_mh_m_mlt(A, inverse, &product);
    if (!e) sarvo_mh_m_foutput(stdout, " %8.4f", inverse);

    if (!e) e = sarvo_mh_v_sort(b, &order); /* order: where each element stood */
    if (!e) sarvo_mh_px_foutput(stdout, order);

    if (!e) A->row_ptrs[2][0] = 4, A->row_ptrs[2][1] = 4, A->row_ptrs[2][2] = 6; /* the difference of the rows above */
    const sarko_error_t singular = sarvo_mh_m_inverse(A, &inverse);
    printf("%s\n", sarko_error_message(singular));
    sarko_error_clear(singular);

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_mh_m_free(A), sarvo_mh_m_free(LU), sarvo_mh_m_free(inverse), sarvo_mh_m_free(product);
    sarvo_mh_v_free(b), sarvo_mh_v_free(x), sarvo_mh_v_free(residual);
    sarvo_mh_px_free(pivot), sarvo_mh_px_free(order);
    sarvo_terminate();
    return e != 0;
}
