/* Lesson 11: special functions with error estimates, distribution functions and their inverses. */
#include <math.h>
#include <stdio.h>

#include <sarvo/rnd.h>
#include <sarvo/specfunc.h>

int main(void) {
    if (sarvo_initialize() != 0) return 1;
    double value, error, sign;

    /* Results come back through pointers: the value, an estimate of its absolute error, here also the sign. */
    sarko_error_t e = sarvo_lngamma_f(&value, &error, &sign, -2.5);
    if (!e)
        printf("ln|Gamma(-2.5)| = %.12f, Gamma is %s, error below 1e-14: %s\n", value,
               sign < 0 ? "negative" : "positive", error < 1e-14 ? "yes" : "no");
    if (!e) e = sarvo_gamma_f(&value, &error, 0.5);
    if (!e) printf("Gamma(1/2)^2 = %.12f\n", value * value);
    if (!e) e = sarvo_psi_e(1.0, &value, NULL); /* the estimate is optional */
    if (!e) printf("-psi(1) = %.12f, Euler's constant\n", -value);
    if (!e) e = sarvo_hzeta_e(2.0, 1.0, &value, NULL);
    if (!e) printf("zeta(2) = %.12f\n", value);

    /* At a pole there is no value, but an error that says so. */
    sarko_error_t pole = sarvo_gamma_f(&value, &error, -3.0);
    printf("Gamma(-3): %s\n", sarko_error_message(pole));
    sarko_error_clear(pole);

    /* Distributions are plain functions. Three throws in 20 of a coin that shows heads once in 20: P(X >= 3). */
    printf("P(at least 3 of 20) = %.10f\n", sarvo_rnd_betadf_value(3.0, 18.0, 0.05));

    /* Twelve measurements with mean 5.2 and standard deviation 0.4 of something claimed to be 5. */
    const double t = (5.2 - 5.0) / (0.4 / sqrt(12.0));
    printf("t = %.4f, two-sided p = %.6f\n", t, 2.0 * sarvo_rnd_studentdf(11.0, -t));
    printf("95%% of |t| stay below %.8f\n", sarvo_rnd_studentdf_inv(11.0, 0.95)); /* two-sided: P(|T| <= t) */
    printf("chi square with 3 degrees, 99%%: %.8f\n", sarvo_rnd_chi2df_inv(3.0, 0.99));
    printf("F with 4 and 10 degrees, 95%%: %.8f\n", sarvo_rnd_fdf_inv(4.0, 10.0, 0.95));

    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_terminate();
    return e != 0;
}
