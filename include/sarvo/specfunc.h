/* specfunc: gamma function, its logarithm, factorials, digamma, polygamma and Hurwitz zeta, with error estimates.
 *
 * Results come back through pointers: the value, which must not be null, and an estimate of its absolute error, which
 * may be null (it is not stored then). The estimate accounts for the rounding of the formula's own terms, not for a
 * rounded argument; the products and sums of its formulas are grouped from left to right. Where a sign is reported
 * (+1.0 or -1.0) its pointer may be null, too. eps below is SarvoDblEps; call sarvo_initialize first. After an error
 * nothing is written unless stated. NaN gives NaN and success.
 *
 *     #include <sarvo/specfunc.h>
 *     int main(void) {
 *         double value, error, sign;
 *         sarvo_initialize();
 *         sarko_error_t e = sarvo_lngamma_f(&value, &error, &sign, -2.5);
 *         if (!e) printf("ln |Gamma(-2.5)| = %.10f, sign %+g\n", value, sign);
 *         if (!e) e = sarvo_psi_e(2.5, &value, &error);
 *         if (!e) printf("psi(2.5) = %.10f +- %.0e\n", value, error);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_terminate();
 *         return e != 0;
 *     }
 *
 * Accuracy, by function and branch: docs/accuracy.md, with the command that measures it. Bits: exp, log, pow and sin
 * are the platform's, and with them all results but those at table arguments; everything else is fixed, operation by
 * operation. Threads: everything is pure.
 */
#ifndef SARVO_SPECFUNC_H
#define SARVO_SPECFUNC_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Kernels ---- */

/* A Chebyshev series sum_j c_j T_j(y) with c_0 halved, y in [-1, 1] for x in [a, b]. Not modified. */
typedef struct sarvo_cheb_series {
    const double *c; /* coefficients c[0 .. order] */
    int32_t order;   /* 0 or more */
    double a;        /* lower end of the interval */
    double b;        /* upper end */
} sarvo_cheb_series;

/* The series at x by Clenshaw's recurrence, y = (2x - a - b) / (b - a), from c[order] down. Always 0.
 * error = eps (sum over the steps of |2y d| + |dd| + |c_j|) + |c[order]|. */
SARVO_API sarko_error_t cheb_eval_e(const sarvo_cheb_series *series, double *value, double *error, double x);

/* exp(x) y, with absolute errors dx of x and dy of y carried on. y = 0: value 0, error |dy exp(x)|. For x within half
 * of SarvoDblLnXmin .. SarvoDblLnXmax and 1.2 SarvoDblSqrtXmin < |y| < 0.8 SarvoDblSqrtXmax, with ex = exp(x):
 *     value = y ex,  error = ex (|dx y| + |dy|) + 2 eps |value|
 * Others are formed from M = floor x, N = floor ln|y|, E = exp(M + N), R = exp((x - M) + (ln|y| - N)):
 *     value = +-E R,  error = 2 eps E R + |dx| E R + |dy/y| E R
 * Errors: ln of the product above SarvoDblLnXmax - 0.01: SarvoOverflowEC; below SarvoDblLnXmin + 0.01:
 * SarvoUnderflowEC. */
SARVO_API sarko_error_t sarvo_exp_mult_err_e(double *value, double *error, double x, double dx, double y, double dy);

/* ---- Factorials and the gamma function ---- */

/* ln n!: the logarithm of the rounded n! up to 170, ln Gamma(n + 1) above. Never fails. */
SARVO_API sarko_error_t sarvo_lnfact_f(uint32_t n, double *value, double *error);

/* ln |Gamma(x)| and the sign of Gamma(x). The form used, first that fits:
 *   |x - 1| < 0.01, |x - 2| < 0.01   rational forms about the zeros: relative accuracy there
 *   x >= 0.5                         Lanczos' sum, g = 7, nine terms
 *   |x| < 0.02                       series about the pole at 0
 *   else                             reflection with s = sin(pi (1 - x)), by series about the pole where |s| < 0.015 pi
 * Errors, in order: x = 0: SarvoDomainEC; x <= -0.5/(eps pi), about -7.2e14, no integer can be told: SarvoRoundEC;
 * s = 0: SarvoDomainEC; near an integer below -2147483646: SarvoRoundEC; x a negative integer: SarvoDomainEC. */
SARVO_API sarko_error_t sarvo_lngamma_f(double *value, double *error, double *sign, double x);

/* ln |Gamma(x)| as a plain function: where sarvo_lngamma_f fails, the error goes to sarko_error_stdhandler on the
 * standard error stream and the program ends by abort(). */
SARVO_API double sarvo_lngamma(double x);

/* Gamma(x). x >= 0.5: gamma_xgthalf. Below: 1 / (sin(pi x)/pi Gamma(1 - x)) for x > -169, by logarithms further down.
 * Arguments so close to 0 that the result overflows give an infinity and success.
 * Errors: x > 171 SarvoOverflowEC; x = 0, -1, -2, ... (every x <= -2^52) SarvoDomainEC; results below SarvoDblXmin
 * (about): SarvoUnderflowEC, those of sarvo_lngamma_f and sarvo_exp_mult_err_e below -169. */
SARVO_API sarko_error_t sarvo_gamma_f(double *value, double *error, double x);

/* ln Gamma(x), x > 0, by Stirling's series after a shift to x >= 7; exactly 0 at 1 and 2; x < 0 gives NaN. Absolute
 * accuracy: near 1 and 2 no digit of the value is promised. The distributions (sarvo/rnd.h) stand on it. */
SARVO_API double sarvo_lngamma_stirling(double x);

/* ---- Pieces of the gamma function: each for its own domain, which is not checked ---- */

/* ln Gamma(1 + e) and ln Gamma(2 + e), |e| < 0.01. error = 2 eps |value|. */
SARVO_API void lngamma_1_pade(double *value, double *error, double e);
SARVO_API void lngamma_2_pade(double *value, double *error, double e);
/* Gamma(x) / (sqrt(2 pi) x^(x-1/2) e^-x), x >= 10: exp of Stirling's series with eight terms. */
SARVO_API void gammastar_ser(double *value, double *error, double x);
/* ln Gamma(x), x >= 0.5: Lanczos' sum, terms k = 1 .. 8 added to the constant in this order. */
SARVO_API void lngamma_lanczos(double *value, double *error, double x);
/* ln |Gamma(x)| and its sign, |x| < 0.02. */
SARVO_API void lngamma_sgn_0(double *value, double *error, double *sign, double x);
/* ln |Gamma(-N + e)| and its sign, |e| < 0.02. Errors: e = 0 or N < 0 SarvoDomainEC. */
SARVO_API sarko_error_t lngamma_sgn_sing(int32_t N, double e, double *value, double *error, double *sign);
/* Gamma(x), x >= 0.5: the rounded factorial at integers up to 171, series about 1 and 2, exp of Lanczos' form below 5,
 * of a Chebyshev series below 10, Stirling's form below 171. Errors: x > 171 SarvoOverflowEC. */
SARVO_API sarko_error_t gamma_xgthalf(double *value, double *error, double x);

/* ---- Digamma, trigamma, polygamma, Hurwitz zeta ---- */

/* psi(n) and psi'(n) at integers: rounded values up to 100, asymptotic forms above. Errors: n <= 0 SarvoDomainEC. */
SARVO_API sarko_error_t sarvo_psi_int_e(int32_t n, double *value, double *error);
SARVO_API sarko_error_t sarvo_psi1_int_e(int32_t n, double *value, double *error);

/* psi(x), the derivative of ln |Gamma|: Chebyshev series on [1, 2] with shifts for |x| < 2, the asymptotic form with
 * reflection beyond. Errors: x = 0, -1, -2 SarvoDomainEC. At -3, -4, ... the formula stands as it is: pi x is no
 * multiple of pi, so the result is finite, huge and of no meaning.
 * error = that of the series, + |x| pi eps / (s s) for x <= -2, s = sin(pi x), or + |1/(x + k)| eps for each term that
 * was subtracted, k = 0, 1, 2 in turn, + |value| eps. */
SARVO_API sarko_error_t sarvo_psi_e(double x, double *value, double *error);

/* psi'(x): zeta(2, x) for x > 0, shifted from (-5, 0], reflected from -5 down. Errors: x = 0, -1, -2, -3, -4
 * SarvoDomainEC (from -5 down as at psi); those of sarvo_hzeta_e. */
SARVO_API sarko_error_t sarvo_psi1_e(double x, double *value, double *error);

/* The n-th derivative of psi: (-1)^(n+1) n! zeta(n + 1, x); n = 0 and 1 are sarvo_psi_e and sarvo_psi1_e.
 * Errors: n < 0, or n > 1 and x <= 0: SarvoDomainEC; those of sarvo_hzeta_e and sarvo_exp_mult_err_e. */
SARVO_API sarko_error_t sarvo_psin_e(int32_t n, double x, double *value, double *error);

/* sarvo_psin_e for n > 1 and x > 0, which is not checked. */
SARVO_API sarko_error_t psi_n_xg0(int32_t n, double x, double *value, double *error);

/* zeta(s, q) = sum_{k >= 0} (q + k)^-s. Large s and small q: the first one or three terms; else ten terms and thirteen
 * corrections of Euler and Maclaurin at most.
 * Errors, in order: s <= 1 or q <= 0 SarvoDomainEC; -s ln q below SarvoDblLnXmin + 1 SarvoUnderflowEC; above
 * SarvoDblLnXmax - 1 SarvoOverflowEC. */
SARVO_API sarko_error_t sarvo_hzeta_e(double s, double q, double *value, double *error);

#ifdef __cplusplus
}
#endif

#endif
