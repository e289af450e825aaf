/* Lesson 9: functions of a matrix: a Markov chain by powers, a rotation by the exponential, a polynomial that is zero. */
#include <stdio.h>

#include <sarvo/mh.h>

int main(void) {
    if (sarvo_initialize() != 0) return 1;
    MAT *P = NULL, *Pn = NULL, *G = NULL, *R = NULL, *zero = NULL;
    VEC *coefficients = NULL;
    int32_t degree = 0, squarings = 0;

    /* Tomorrow's weather from today's; after 60 days today does not matter. */
    sarko_error_t e = sarvo_mh_m_get(2, 2, &P);
    if (!e) {
        P->row_ptrs[0][0] = 0.9, P->row_ptrs[0][1] = 0.1;
        P->row_ptrs[1][0] = 0.5, P->row_ptrs[1][1] = 0.5;
        e = sarvo_mh_m_pow(P, 60, &Pn);
    }
    if (!e) sarvo_mh_m_foutput(stdout, " %.6f", Pn);

    /* exp of a skew matrix is a rotation: here by 60 degrees. */
    if (!e) e = sarvo_mh_m_get(2, 2, &G);
    if (!e) {
        G->row_ptrs[0][1] = -1.0471975511965976, G->row_ptrs[1][0] = 1.0471975511965976;
        e = sarvo_mh_m_exp_(G, 0.0, &R, &degree, &squarings);
    }
    if (!e) {
        sarvo_mh_m_foutput(stdout, " %.6f", R);
        printf("degree %d, %d squarings\n", degree, squarings);
    }

    /* A matrix is a root of its own characteristic polynomial: x^2 - 1.4 x + 0.4. */
    if (!e) e = sarvo_mh_v_get(3, &coefficients);
    if (!e) {
        coefficients->elems[0] = 0.4, coefficients->elems[1] = -1.4, coefficients->elems[2] = 1.0;
        e = sarvo_mh_m_poly(P, coefficients, &zero);
    }
    double norm = 1.0;
    if (!e) e = sarvo_mh_m_norm_frob(zero, &norm);
    printf("p(P) is zero to rounding: %s\n", norm < 1e-15 ? "yes" : "no");

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_mh_m_free(P), sarvo_mh_m_free(Pn), sarvo_mh_m_free(G), sarvo_mh_m_free(R), sarvo_mh_m_free(zero);
    sarvo_mh_v_free(coefficients);
    sarvo_terminate();
    return e != 0;
}
