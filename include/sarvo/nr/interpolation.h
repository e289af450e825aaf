/* nr, interpolation: search in a table of abscissae, cubic splines.
 *
 * The tables x(0..n-1), ascending or descending, and y(0..n-1) are the caller's plain arrays and must outlive the use
 * of the record, which remembers where the last search ended: queries near each other are found by hunting from there.
 * The record is the caller's too; one record is for one thread at a time.
 *
 *     #include <sarvo/nr.h>
 *     int main(void) {
 *         static const double x[] = {0, 1, 2}, y[] = {0, 1, 0};
 *         sarvo_nr_itpl s; double f = 0.0;
 *         sarvo_initialize();
 *         sarko_error_t e = sarvo_nr_itpl_init_cspline(&s, x, y, NULL, 3, 1e99, 1e99); // natural ends
 *         if (!e) e = sarvo_nr_itpl_cspline(&s, &f, 0.5);
 *         printf("%g\n", f);                                                           // 0.6875
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_nr_itpl_free_cspline(&s);
 *         sarvo_terminate();
 *     }
 */
#ifndef SARVO_NR_INTERPOLATION_H
#define SARVO_NR_INTERPOLATION_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct sarvo_nr_itpl {
    int32_t n;             /* points of the table */
    int32_t m;             /* points that the interpolation formula uses: 2 for the cubic spline */
    int32_t last;          /* index at which the last search ended; 0 at first */
    int32_t correlated;    /* 1 when that was within hunt_distance of the one before: the next search hunts */
    int32_t hunt_distance; /* max(1, integer part of n^(1/4)) */
    const double *x;       /* n abscissae, the caller's */
    const double *y;       /* n ordinates, the caller's */
    double *y2;            /* n second derivatives (cubic spline only) */
    int32_t y2_owned;      /* 1 when y2 is the record's and is released by sarvo_nr_itpl_free_cspline */
} sarvo_nr_itpl;

/* Prepares a record; last and correlated become 0, y2 null.
 *   m   points that the caller's formula takes, 2 <= m <= n
 * Errors, in order, wrapped with "Cannot init interpolation.": record null: SarvoNullEC; n < 2, m < 2 or m > n:
 * SarvoNrSizeEC "n=%d, m=%d"; x or y null: SarvoNullEC. The record is untouched then. */
SARVO_API sarko_error_t sarvo_nr_itpl_init(sarvo_nr_itpl *record, const double *x, const double *y, int32_t n,
                                           int32_t m);

/* Prepares a record with m = 2 and computes the second derivatives y2 of the cubic spline through the points, whose
 * first derivatives at the ends are yp0 and ypn; a value above 9.9e98 stands for a natural end, of second derivative 0.
 *     left end   natural: y2(0) = u(0) = 0; else y2(0) = -0.5, u(0) = (3 / (x1 - x0)) ((y1 - y0) / (x1 - x0) - yp0)
 *     i = 1 .. n-2:  sig = (x(i) - x(i-1)) / (x(i+1) - x(i-1)),  p = sig y2(i-1) + 2,  y2(i) = (sig - 1) / p,
 *                    u(i) = (y(i+1) - y(i)) / (x(i+1) - x(i)) - (y(i) - y(i-1)) / (x(i) - x(i-1)),
 *                    u(i) = (6 u(i) / (x(i+1) - x(i-1)) - sig u(i-1)) / p
 *     right end  natural: qn = un = 0; else qn = 0.5, un = (3 / h) (ypn - (y(n-1) - y(n-2)) / h), h = x(n-1) - x(n-2)
 *     y2(n-1) = (un - qn u(n-2)) / (qn y2(n-2) + 1);  y2(k) = y2(k) y2(k+1) + u(k), k = n-2 .. 0
 *   y2  storage of n doubles that must outlive the record's use; null: allocated
 * Errors, in order: record null: SarvoNullEC; n < 2: SarvoNrSizeEC "n=%d, m=%d" (n, 2); x or y null: SarvoNullEC (these
 * wrapped with "Cannot init interpolation."); the allocator's. After any of them y2 is null and y2_owned 0. Scratch
 * n - 1 doubles. */
SARVO_API sarko_error_t sarvo_nr_itpl_init_cspline(sarvo_nr_itpl *record, const double *x, const double *y, double *y2,
                                                   int32_t n, double yp0, double ypn);

/* Releases y2 if it is the record's own. Null is allowed; a second call does nothing. */
SARVO_API void sarvo_nr_itpl_free_cspline(sarvo_nr_itpl *record);

/* The index of the first of the m points around x: with lo the place where x(lo) <= x < x(lo+1) (reversed when
 * descending; 0 and n-2 beyond the ends) it is max(0, min(n - m, lo - (m - 2) / 2)). Sets correlated and last = lo.
 * locate finds lo by bisection, hunt by steps of 1, 2, 4, ... from `last` and bisection between the last two; in a
 * table that is strictly monotonic both find the same. For a NaN both end somewhere in the table. */
SARVO_API uint32_t sarvo_nr_itpl_locate(sarvo_nr_itpl *record, double x);
SARVO_API uint32_t sarvo_nr_itpl_hunt(sarvo_nr_itpl *record, double x);

/* *result = the spline at x, with lo from hunt when `correlated` is 1, else from locate; hi = lo + 1, h = x(hi) - x(lo),
 * a = (x(hi) - x) / h, b = (x - x(lo)) / h:
 *     a y(lo) + b y(hi) + ((a^3 - a) y2(lo) + (b^3 - b) y2(hi)) h^2 / 6
 * Beyond the ends it goes on with the first or the last cubic.
 * Errors: h = 0: SarvoNrStepEC (*result untouched). */
SARVO_API sarko_error_t sarvo_nr_itpl_cspline(sarvo_nr_itpl *record, double *result, double x);

#ifdef __cplusplus
}
#endif

#endif
