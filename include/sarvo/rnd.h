/* rnd: distribution functions and their inverses: beta, F, Student, chi-square, gamma; the normal density.
 *
 *     #include <sarvo/rnd.h>
 *     int main(void) {
 *         double p = sarvo_rnd_studentdf(5.0, 2.5706);        // 0.975: P(T <= 2.5706)
 *         double t = sarvo_rnd_studentdf_inv(5.0, 0.95);      // 2.5706: P(|T| <= t) = 0.95, see there
 *         double x = sarvo_rnd_chi2df_inv(3.0, 0.99);         // 11.345
 *         printf("%.4f %.4f %.3f\n", p, t, x);
 *     }
 *
 * Plain doubles in and out; no errors: sentinels for arguments outside the domain, as stated below. Nothing needs to be
 * initialised. Shapes and degrees of freedom are finite and above 0.
 *
 * Method: ln Gamma by sarvo_lngamma_stirling, Gauss's continued fraction for the incomplete beta function, series and
 * continued fraction for the incomplete gamma function, each until a convergent (partial sum) repeats; up to some
 * 10 sqrt(shape) steps. Accuracy, both tails: docs/accuracy.md. A probability that is formed as 1 minus the other
 * tail is good to 2^-53 absolutely, not relatively. exp and log are the platform's; everything else is fixed, operation
 * by operation.
 *
 * The inverses return the last midpoint of a plain bisection on the computed function, bit for bit, but evaluate it at
 * some ten of its midpoints only: far from the root a bound on the function's error decides.
 *
 * Every call answers within a second, whatever its arguments. The plain loops are given up after 2^26 terms of a series
 * (2^22 for shapes above 2^900) and 2^24 steps of a fraction (2^20 for x above 2^900): some 0.3 s. Then
 * - gamma functions of shapes from 10^8 on come from the uniform expansion in eta, eta^2 / 2 = x/a - 1 - ln(x/a)
 *   (Temme, 1979): half of Q(1/2, a eta^2 / 2) and one correction, within 10^-10 relatively; of smaller shapes, where x
 *   is far below a + 1, a fraction is 1 minus the series;
 * - beta functions with a shape from 2^30 on come from the like for two shapes from 10^5 on (Temme, 1982), otherwise
 *   from the gamma function of the smaller shape at -T ln of the argument that belongs to the larger one, T the larger
 *   shape plus half of (the smaller minus 1): within 10^-6 relatively, mostly 10^-9; of smaller shapes, where x is far
 *   above (a+1)/(a+b+2), a fraction is 1 minus that of the other tail.
 * The inverses bisect these functions from the start for gamma shapes above 10^8 (beside the mean) and beta shapes
 * above 2^30 (on [0, 1]), where the plain way would take from seconds to centuries. The plain loops of such shapes, as
 * long as they end, lose digits: their exponent takes its errors from logarithms of the size x ln x.
 * Also, NaN arguments, arguments that make the front factor NaN and infinite ones in the series' place give NaN. Where
 * a fraction flickers between neighbours (a shape below 1, x or 1 - x below 1e-9 or so) the one for the beta function
 * stops after 100000 steps, that for the gamma function after 10^7, when its last change is within 2^-52 relatively. In
 * rounding modes other than to nearest, and where subnormal numbers are flushed to zero, everything ends as well, with
 * no promise of bits: fractions after 100 steps when the change is within 2^-48.
 *
 * Threads: everything is pure.
 */
#ifndef SARVO_RND_H
#define SARVO_RND_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* exp(-(x/s)^2 / 2) / (s sqrt(2 pi)), s = |sigma|: the density, not its integral. */
SARVO_API double sarvo_rnd_gauss_df(double x, double sigma);

/* ---- Beta: I_x(a, b), shapes a and b ---- */

/* x^a (1-x)^b / (a B(a,b)) times the continued fraction: I_x(a, b), for 0 < x < (a+1)/(a+b+2). NaN for x outside of
 * [0, 1]. */
SARVO_API double sarvo_rnd_betadf_fraction(double a, double b, double x);
/* P(X <= x): 0 for x <= 0, 1 for x >= 1; the fraction at (a, b, x) below (1+a)/(a+b+2), else 1 minus that at (b, a,
 * 1-x). */
SARVO_API double sarvo_rnd_betadf_value(double a, double b, double x);
/* x with I_x(a, b) = p: 0 and 1 for p = 0 and 1; -1 for p outside [0, 1]. */
SARVO_API double sarvo_rnd_betadf_inv(double a, double b, double p);

/* ---- F, degrees of freedom d1 and d2 ---- */

/* P(F <= x) = 1 - I_w(d2/2, d1/2), w = d2 / (d1 x + d2); -1 for x < 0. Small probabilities lose digits: 1 minus. */
SARVO_API double sarvo_rnd_fdf(double d1, double d2, double x);
/* x = d2 w / d1 / (1 - w) with I_w(d1/2, d2/2) = p: 0 and +infinity for p = 0 and 1; -d2 / (2 d1) for p outside [0, 1].
 */
SARVO_API double sarvo_rnd_fdf_inv(double d1, double d2, double p);

/* ---- Student, nu degrees of freedom ---- */

/* P(T <= t): 0.5 at t = 0; -1 for nu < 0. From I_w(nu/2, 1/2) / 2, w = nu / (t^2 + nu). */
SARVO_API double sarvo_rnd_studentdf(double nu, double t);
/* Not the inverse of sarvo_rnd_studentdf: the t with P(|T| <= |t|) = |p|, negative for p < 0.5. So the two-sided
 * quantile: sarvo_rnd_studentdf_inv(nu, 0.975) is the t with sarvo_rnd_studentdf(nu, t) = 0.9875. 0 at p = 0.5; -0.0 at
 * p = 0; +infinity at p = 1, -infinity at p = -1; NaN for |p| > 1. */
SARVO_API double sarvo_rnd_studentdf_inv(double nu, double p);

/* ---- Gamma, shape a; chi-square with k degrees of freedom is twice the gamma of shape k/2 ---- */

/* P(a, x) by the series, for 0 < x < a + 1. */
SARVO_API double sarvo_rnd_gammadf_series(double a, double x);
/* Q(a, x) = 1 - P(a, x) by the continued fraction, for x >= a + 1. */
SARVO_API double sarvo_rnd_gammadf_fraction(double a, double x);
/* P(a, x): 0 for x <= 0; the series below a + 1, else 1 - Q(a, x). */
SARVO_API double sarvo_rnd_gammadf_value(double a, double x);
/* x with P(a, x) = p: by bisection between n - 1 and n, the first n = 1, 2, ... with P(a, n) >= p. 0 for p <= 0. p = 1
 * gives an x from which on P rounds to 1; +infinity for p > 1, where the search has no end. Shapes above 10^8: between
 * a (1 - 2^-6) and a (1 + 2^-6), see above. */
SARVO_API double sarvo_rnd_gammadf_inv(double a, double p);
SARVO_API double sarvo_rnd_chi2df(double k, double x);     /* sarvo_rnd_gammadf_value(k/2, x/2) */
SARVO_API double sarvo_rnd_chi2df_inv(double k, double p); /* 2 sarvo_rnd_gammadf_inv(k/2, p) */

#ifdef __cplusplus
}
#endif

#endif
