/* lsq: non-linear least squares. Fits npar parameters x to ndata residuals r_i = y_i - f_i(x) that a caller's function
 * computes.
 *
 * Minimised is chi^2 = r'r, sum w_i r_i^2 or r'W r. Each iteration solves (alpha + lambda D) step = beta with alpha =
 * J'W J, D its diagonal, beta = J'W r and J_ij = d f_i / d x_j through the singular value decomposition (nr.h), tries x
 * + step, and lowers or raises lambda (K. Levenberg 1944, D. W. Marquardt 1963). Signs: the residual is data minus
 * model, J the derivative of the model (not of the residual).
 *
 * Order of work: sarvo_lsq_init_default, set `model` (and user_data, tolerances), sarvo_lsq_alloc, weights if any,
 * sarvo_lsq_iterate_init, sarvo_lsq_minimize, sarvo_lsq_covar, sarvo_lsq_free. The record is the caller's storage; the
 * objects inside belong to it. One record is for one thread at a time. Callbacks must not throw.
 *
 * Example: y = x0 exp(x1 t) through ten points.
 *
 *     #include <math.h>
 *     #include <sarvo/lsq.h>
 *     static sarko_error_t model(const sarvo_vector *x, sarvo_vector *r, sarvo_matrix *J, void *user) {
 *         const double *p = x->data, *y = user;
 *         for (int i = 0; i < 10; i++) {
 *             double g = exp(p[1] * i);
 *             ((double *)r->data)[i] = y[i] - p[0] * g;              // data minus model
 *             if (J) {
 *                 double *row = ((double **)J->row_ptrs)[i];
 *                 row[0] = g;                                        // d f / d x0
 *                 row[1] = p[0] * i * g;                             // d f / d x1
 *             }
 *         }
 *         return 0;
 *     }
 *     int main(void) {
 *         double y[10];
 *         for (int i = 0; i < 10; i++) y[i] = 2.0 * exp(-0.3 * i) + (i % 2 ? 0.01 : -0.01);
 *         sarvo_lsq fit;
 *         sarvo_lsq_init_default(&fit);
 *         fit.model = model;
 *         fit.user_data = y;
 *         sarvo_vector *start = NULL; sarvo_matrix *covar = NULL;
 *         sarko_error_t e = sarvo_vector_alloc(&start, SARVO_DOUBLE, 0, 2);
 *         if (!e) { ((double *)start->data)[0] = 1.0; e = sarvo_lsq_alloc(2, 10, &fit); }
 *         if (!e) e = sarvo_lsq_iterate_init(start, &fit);
 *         if (!e) e = sarvo_lsq_minimize(100, NULL, NULL, &fit);
 *         if (!e) e = sarvo_lsq_covar(&covar, &fit);
 *         if (!e) printf("%.4f %.4f chisq %.3e\n", ((double *)fit.x->data)[0], ((double *)fit.x->data)[1], fit.chisq);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_matrix_free(covar); sarvo_vector_free(start); sarvo_lsq_free(&fit);
 *         sarvo_terminate();
 *         return e != 0;
 *     }
 */
#ifndef SARVO_LSQ_H
#define SARVO_LSQ_H

#include <sarvo/nr.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct sarvo_lsq sarvo_lsq;

/* The caller's model: fills the residuals r (ndata doubles) at the parameters x (npar doubles) and, when J is not null,
 * the ndata x npar derivatives of the model. A result other than 0 stops the operation, which passes it on wrapped. */
typedef sarko_error_t (*sarvo_lsq_model)(const sarvo_vector *x, sarvo_vector *r, sarvo_matrix *J, void *user_data);

/* Called when a trial step is rejected, with the restored parameters and the rejected step, before lambda is raised. */
typedef sarko_error_t (*sarvo_lsq_restore)(const sarvo_vector *x, const sarvo_vector *step, void *user_data);

/* stage 1: after each iteration of sarvo_lsq_minimize, `number` counts from 0. stage 2: after each trial step inside
 * sarvo_lsq_iterate, before it is judged, `number` counts trials from 1: x and r are those of the trial then,
 * chisq_trial, gain, step, rcond and nullity are set, alpha is undamped. A result other than 0 stops the operation,
 * which passes it on. */
typedef sarko_error_t (*sarvo_lsq_progress)(int32_t stage, int32_t number, void *user_data, sarvo_lsq *lsq);

/* Bits of sarvo_lsq.flags. */
enum {
    SARVO_LSQ_DEFAULTS = 1,    /* defaults set */
    SARVO_LSQ_ALLOCATED = 2,   /* storage allocated */
    SARVO_LSQ_INITIALISED = 4, /* iteration initialised */
    SARVO_LSQ_STEP_MET = 8,    /* step criterion met */
    SARVO_LSQ_GRAD_MET = 16    /* gradient criterion met */
};

struct sarvo_lsq {
    int32_t model_kind;  /* 1: the model fills the Jacobian too (the only kind) */
    int32_t weight_kind; /* 0 none, 1 vector, 2 matrix; set by the weight operations */
    int32_t method;      /* 1: Levenberg-Marquardt (the only method) */
    int32_t solver;      /* 1: singular value decomposition (the only solver) */
    uint32_t npar;       /* number of parameters */
    uint32_t ndata;      /* number of residuals */
    uint32_t flags;      /* SARVO_LSQ_... */
    double tolx;         /* step tolerance, default sqrt(SarvoDblEps) */
    double tolg;         /* gradient tolerance, default SarvoDblEps^(1/3) */
    uint32_t max_tries;  /* damping increases tried within one iteration, default 30 */
    double lambda;       /* damping; 0.01 after sarvo_lsq_iterate_init */
    double up_factor;    /* lambda's factor on rejection, default 3 */
    double down_factor;  /* lambda's divisor on acceptance, default 2 */
    sarvo_matrix *J;     /* ndata x npar, derivatives at the start of the last iteration */
    sarvo_matrix *alpha; /* npar x npar, J'W J; damping multiplies its diagonal by 1 + lambda and divides it back */
    sarvo_vector *beta;  /* npar, J'W r */
    sarvo_vector *x;     /* npar, parameters */
    sarvo_vector *step;  /* npar, last step tried */
    sarvo_vector *r;     /* ndata, residuals at x */
    sarvo_vector *weight_vector; /* ndata, or null */
    sarvo_matrix *weight_matrix; /* ndata x ndata, or null */
    sarvo_matrix *V;             /* npar x npar, from the last sarvo_lsq_covar */
    sarvo_vector *w;             /* npar, from the last sarvo_lsq_covar */
    double chisq;                /* weighted sum of squared residuals at x */
    double chisq_trial;          /* the same at the last trial */
    double step_max;             /* filled by sarvo_lsq_convtest */
    double step_rms;
    double grad_max;
    double grad_rms;
    double gain;                 /* actual over predicted reduction of the last trial */
    uint32_t nullity;            /* of the last solve */
    double rcond;                /* of the last solve */
    uint32_t tries;              /* trials of the last iteration */
    void *user_data;             /* passed to the callbacks */
    sarvo_lsq_model model;       /* required */
    sarvo_lsq_restore restore;   /* or null */
    sarvo_lsq_progress progress; /* or null */
    sarvo_nr_svd *svd;           /* the decomposition used by the solves */
};

/* Initialises the library if it is not, zeroes the whole record (objects in it are not freed: use it once per record,
 * or after sarvo_lsq_free) and sets the defaults above. Always 0. When the library cannot start, prints "SARVO failed
 * to initialize. rc=%d\n" to standard error and exits the process with status 1. A null record only initialises the
 * library. */
SARVO_API sarko_error_t sarvo_lsq_init_default(sarvo_lsq *lsq);

/* Makes J, alpha, beta, step, r and the decomposition for the problem size; a second call resizes them. The
 * decomposition's threshold is set to 0, so that a damped matrix is never cut off. Sets SARVO_LSQ_ALLOCATED and leaves
 * the other flags. x and chisq stay: another npar asks for a new iterate_init, and other data do for a chisq of theirs;
 * weights stay, but must be given anew for another ndata. After a failure the storage counts as not allocated.
 * Wrap: "Cannot allocate LS.". Errors, in order: lsq null: SarvoNullEC; npar and ndata are stored; model_kind, solver
 * or method not 1: SarvoLsqInvalidSetupEC; the allocator's. */
SARVO_API sarko_error_t sarvo_lsq_alloc(uint32_t npar, uint32_t ndata, sarvo_lsq *lsq);

/* Frees all objects inside the record and clears SARVO_LSQ_ALLOCATED; null is allowed. Settings and the other flags
 * stay. */
SARVO_API void sarvo_lsq_free(sarvo_lsq *lsq);

/* Copies weights into the record: w (ndata doubles, weight of the squared residual: 1 / variance) or W (ndata x ndata,
 * symmetric).
 * Wrap: "Cannot initialize LS weighting.". Errors, in order: null: SarvoNullEC; not of id 20: SarvoDtypeEC "Invalid
 * data type %d"; wrong length or shape: SarvoSizeEC; the allocator's. weight_kind is unchanged after a failure. */
SARVO_API sarko_error_t sarvo_lsq_weight_vinit(const sarvo_vector *w, sarvo_lsq *lsq);
SARVO_API sarko_error_t sarvo_lsq_weight_minit(const sarvo_matrix *W, sarvo_lsq *lsq);

/* Copies the start x0 (npar doubles, not modified), computes r and chisq, sets lambda = 0.01.
 * Wrap: "Cannot init LS iteration.". Errors, in order: null: SarvoNullEC; storage not allocated: SarvoLsqInitEC; model
 * null, or weight_kind without weights for ndata: SarvoLsqInvalidSetupEC; x0 not of id 20: SarvoDtypeEC "Invalid data
 * type %d"; its length not npar: SarvoSizeEC; the allocator's; the model's. */
SARVO_API sarko_error_t sarvo_lsq_iterate_init(const sarvo_vector *x0, sarvo_lsq *lsq);

/* One iteration: derivatives at x, alpha = (J'W) J and beta = (J'W) r, then up to max_tries trial steps until one
 * lowers chisq; svd->thresh is set to 0 for their solves. All rejected: success, x unchanged.
 * Sums ascend over the data, one running sum from +0 each; in the products terms whose left factor is zero are left
 * out. chisq = sum r_i r_i, sum w_i (r_i r_i), or sum_j t_j r_j with t_j = sum_i r_i W(i,j).
 * A rejected trial restores x and r bit for bit and keeps the step; a trial whose chisq is NaN is rejected.
 * Errors, in order: lsq null: SarvoNullEC; method not 1: SarvoLsqInvalidSetupEC; storage not allocated or iteration not
 * initialised (both bits), or an object that is missing or of another length than npar and ndata ask for:
 * SarvoLsqInitEC "LS iteration has not been initialized."; model null, or weight_kind without weights for ndata:
 * SarvoLsqInvalidSetupEC; the allocator's; the model's, the decomposition's, the callbacks'. Then x and r are those of
 * the last accepted state. */
SARVO_API sarko_error_t sarvo_lsq_iterate(sarvo_lsq *lsq);

/* Judges the last iteration; returns the number of criteria met (0, 1 or 2) and sets the two flag bits.
 * step: s_i = |step_i| / (|x_i| + tolx) <= tolx for all i; step_max, step_rms = largest and root mean square of s.
 * gradient: g_i = 2 beta_i max(|x_i|, 1); grad_max, grad_rms = largest and root mean square of |g|, over max(chisq, 1);
 * grad_max <= tolg.
 * A NaN never counts as met. npar = 0 meets both (the rms are NaN). The result is 0 for null and wherever
 * sarvo_lsq_iterate would give SarvoLsqInitEC; both bits are then cleared and the figures stay. */
SARVO_API int32_t sarvo_lsq_convtest(sarvo_lsq *lsq);

/* *covar = pseudo-inverse of alpha (npar x npar), decomposed afresh with a derived threshold; V and w are copied into
 * the record (unsorted). *covar null is allocated, a smaller one resized, a larger one keeps its size.
 * Multiply by chisq / (ndata - npar) for the covariance of parameters when the weights are not known variances.
 * alpha is that of the start of the last iteration. svd holds its decomposition afterwards, with the derived threshold and
 * the rank and nullity by it: sarvo_nr_svd_nullspace gives the directions that the data leave open. A failed
 * decomposition leaves the threshold 0.
 * Wrap: "Cannot calculate covariance matrix.". Errors, in order: null: SarvoNullEC; solver not 1:
 * SarvoLsqInvalidSetupEC; storage not allocated: SarvoLsqInitEC; the decomposition's; the allocator's. */
SARVO_API sarko_error_t sarvo_lsq_covar(sarvo_matrix **covar, sarvo_lsq *lsq);

/* Iterates until sarvo_lsq_convtest is not 0 or max_iterations were made (below 1: nothing), calling progress with
 * stage 1 after each.
 * progress and user_data replace the record's when not null.
 * Wrap: "LS minimization error.". Errors: lsq null: SarvoNullEC; those of sarvo_lsq_iterate; the progress callback's.
 * Reaching the limit is success: ask sarvo_lsq_convtest or the flags. */
SARVO_API sarko_error_t sarvo_lsq_minimize(int32_t max_iterations, sarvo_lsq_progress progress, void *user_data,
                                           sarvo_lsq *lsq);

#ifdef __cplusplus
}
#endif

#endif
