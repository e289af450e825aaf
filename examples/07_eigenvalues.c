/* Lesson 7: the vibrations of a chain of masses: eigenvalues and eigenvectors of a symmetric matrix, sorted. */
#include <math.h>
#include <stdio.h>

#include <sarvo/mh.h>

enum { n = 5 };

int main(void) {
    if (sarvo_initialize() != 0) return 1;
    MAT *K = NULL, *modes = NULL;
    VEC *squares = NULL;
    PERM *order = NULL;

    /* Equal masses between walls, joined by equal springs. */
    sarko_error_t e = sarvo_mh_m_get(n, n, &K);
    for (int i = 0; !e && i < n; i++) {
        K->row_ptrs[i][i] = 2.0;
        if (i > 0) K->row_ptrs[i][i - 1] = K->row_ptrs[i - 1][i] = -1.0;
    }
    if (!e) e = sarvo_mh_symmeig(K, &modes, &squares); /* unsorted; column k of modes belongs to squares[k] */
    if (!e) e = sarvo_mh_v_sort(squares, &order);      /* order says which column each came from */

    double worst = 0.0;
    for (uint32_t k = 0; !e && k < n; k++) {
        const double exact = 2.0 * sin(acos(-1.0) * (k + 1) / (2 * (n + 1)));
        const uint32_t column = order->elems[k];
        printf("frequency %.6f (exact %.6f), mode", sqrt(squares->elems[k]), exact);
        const double sign = modes->row_ptrs[0][column] < 0 ? -1.0 : 1.0; /* a mode has no sign of its own */
        for (int i = 0; i < n; i++) {
            double residual = -squares->elems[k] * modes->row_ptrs[i][column];
            for (int j = 0; j < n; j++) residual += K->row_ptrs[i][j] * modes->row_ptrs[j][column];
            worst = fmax(worst, fabs(residual));
            const double x = sign * modes->row_ptrs[i][column];
            printf(" %6.3f", fabs(x) < 1e-12 ? 0.0 : x);
        }
        printf("\n");
    }
    if (!e) printf("K q = w q holds: %s\n", worst < 1e-14 ? "yes" : "no");

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_mh_m_free(K);
    sarvo_mh_m_free(modes);
    sarvo_mh_v_free(squares);
    sarvo_mh_px_free(order);
    sarvo_terminate();
    return e != 0;
}
