/* Lesson 2: typed arrays. Resizing keeps elements in their place; arithmetic makes its results; listings. */
#include <stdio.h>

#include <sarvo/array.h>

int main(void) {
    if (sarvo_initialize() != 0) return 1;
    sarvo_matrix *m = NULL, *square = NULL;
    sarvo_vector *x = NULL, *y = NULL;
    double dot = 0.0;

    sarko_error_t e = sarvo_matrix_alloc(&m, SARVO_DOUBLE, 0, 2, 2);
    if (!e) e = sarvo_matrix_ident(m);
    if (!e) {
        ((double **)m->row_ptrs)[0][1] = 0.5;
        e = sarvo_mm_mlt(m, m, &square);
    }
    if (!e) e = sarvo_matrix_realloc(&square, SARVO_DOUBLE, 0, 3, 3); /* a new row and column of zeros */
    if (!e) sarvo_matrix_fprintf(square, stdout, " %g", 0);

    if (!e) e = sarvo_vector_alloc(&x, SARVO_DOUBLE, 0, 4);
    for (int i = 0; !e && i < 4; i++) ((double *)x->data)[i] = i;
    if (!e) e = sarvo_sv_mlt(2.0, x, &y);
    if (!e) e = sarvo_vv_inprod(x, y, 0, 0, 0, &dot);
    if (!e) printf("x . 2x = %g\n", dot);

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_matrix_free(m);
    sarvo_matrix_free(square);
    sarvo_vector_free(x);
    sarvo_vector_free(y);
    sarvo_terminate();
    return e != 0;
}
