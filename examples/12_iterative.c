/* Lesson 12: a large system that is only multiplied with: conjugate gradients, a preconditioner, an operator of one's own. */
#include <math.h>
#include <stdio.h>

#include <sarvo/mh.h>

enum { side = 60, unknowns = side * side };

/* The heat equation on a square plate, without any matrix: out = (4 in - in of the four neighbours). */
static sarko_error_t plate(void *par, const VEC *in, VEC *out) {
    (void)par;
    for (int i = 0; i < unknowns; i++) {
        double sum = 4.0 * in->elems[i];
        if (i >= side) sum -= in->elems[i - side];
        if (i % side != 0) sum -= in->elems[i - 1];
        if (i % side != side - 1) sum -= in->elems[i + 1];
        if (i < unknowns - side) sum -= in->elems[i + side];
        out->elems[i] = sum;
    }
    return 0;
}

/* The same as a sparse matrix. */
static sarko_error_t plate_matrix(SPMAT **A) {
    sarko_error_t e = sarvo_mh_sp_get(unknowns, unknowns, 5, A);
    for (int i = 0; !e && i < unknowns; i++) { /* columns ascending: each entry goes to the end of its row */
        if (i >= side) e = sarvo_mh_sp_set_val(*A, i, i - side, -1.0);
        if (!e && i % side != 0) e = sarvo_mh_sp_set_val(*A, i, i - 1, -1.0);
        if (!e) e = sarvo_mh_sp_set_val(*A, i, i, 4.0);
        if (!e && i % side != side - 1) e = sarvo_mh_sp_set_val(*A, i, i + 1, -1.0);
        if (!e && i < unknowns - side) e = sarvo_mh_sp_set_val(*A, i, i + side, -1.0);
    }
    return e;
}

static void report(const char *what, const sarvo_mh_iter_t *ip) {
    printf("%-34s %s, warmest %.4f\n", what, ip->steps < 50 ? "less than 50 steps" : "more than 100 steps",
           ip->x->elems[side / 2 * side + side / 2]);
}

int main(void) {
    sarvo_initialize();
    SPMAT *A = NULL, *L = NULL;
    sarvo_mh_iter_t *ip = NULL;
    sarko_error_t e = sarvo_mh_iter_get(unknowns, unknowns, &ip);
    if (!e) {
        ip->Ax = plate;
        ip->eps = 1e-8;
        ip->info = NULL; /* the default prints a line for each step */
        for (int i = 0; i < unknowns; i++) ip->b->elems[i] = 1.0 / unknowns; /* heated everywhere, cold at the edge */
        e = sarvo_mh_iter_cg(ip);
    }
    if (!e) report("an operator of one's own:", ip);

    /* A factor without fill as preconditioner: a third of the steps. */
    if (!e) e = plate_matrix(&A);
    if (!e) e = sarvo_mh_sp_copy(A, &L);
    if (!e) e = sarvo_mh_spICHfactor(L);
    if (!e) e = sarvo_mh_iter_use_sp(ip, A);
    if (!e) e = sarvo_mh_iter_use_ich(ip, L);
    sarvo_mh_v_zero(ip->x);
    if (!e) e = sarvo_mh_iter_cg(ip);
    if (!e) report("a matrix, incomplete Cholesky:", ip);

    /* What happens when the limit is too low: an error, and the best that was found. */
    sarvo_mh_v_zero(ip->x);
    ip->limit = 10;
    sarko_error_t early = e ? 0 : sarvo_mh_iter_cg(ip);
    printf("after %u steps: %s\n", ip->steps, sarko_error_message(early));
    sarko_error_clear(early);

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_mh_iter_free(ip);
    sarvo_mh_sp_free(A);
    sarvo_mh_sp_free(L);
    sarvo_terminate();
    return e != 0;
}
