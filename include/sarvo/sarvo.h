/* sarvo: start-up and shut-down, version, error codes, machine constants, scalar utilities.
 *
 * Call sarvo_initialize once before anything else; until then every error code below is 0. Every fallible operation of
 * the library returns a sarko_error_t (see sarko/sarko.h): 0, or an error object that the caller reports or clears.
 *
 * Arithmetic: results are promised for rounding to nearest with subnormal numbers kept, as every program starts. In
 * other rounding directions, or where subnormal numbers are flushed to zero, every operation of the library ends, with
 * a result or an error, but the bits are not promised. The library never changes the caller's setting.
 *
 * Threads: sarvo_initialize and sarvo_terminate are for one thread. Everything else may run in any number of threads on
 * distinct objects; nothing locks.
 *
 *     #include <sarvo/sarvo.h>
 *     int main(void) {
 *         if (sarvo_initialize() != 0) return 1;
 *         printf("sarvo %s, eps = %g\n", sarvo_version_string(), SarvoDblEps);
 *         sarvo_terminate();
 *         return 0;
 *     }
 */
#ifndef SARVO_SARVO_H
#define SARVO_SARVO_H

#include <stdint.h>

#include <sarko/sarko.h>

#if defined(__GNUC__)
#define SARVO_API __attribute__((visibility("default")))
#else
#define SARVO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Lifecycle and version ---- */

/* Number of sarvo_initialize calls not yet matched by sarvo_terminate. */
SARVO_API extern uint32_t SarvoInitialized;

/* Raises SarvoInitialized; only the call that finds it 0 does work: it starts the kernel library, measures the machine
 * constants, registers the error codes and fills SarvoDtype.
 * The constants are measured under rounding to nearest with subnormal numbers kept; the caller's floating-point
 * environment is put back.
 * Returns 0 on success and on every later call, 1 when the kernel library fails to start, 2 when an error code cannot
 * be registered. The counter stays raised after a failure, nothing is undone, and later calls return 0 without
 * retrying. */
SARVO_API int32_t sarvo_initialize(void);

/* Lowers SarvoInitialized and shuts the kernel library down when it was 1. Codes, constants and SarvoDtype keep their
 * values. Calling it with the counter at 0 wraps the counter to its largest value; there is no guard. */
SARVO_API void sarvo_terminate(void);

SARVO_API uint32_t sarvo_version_major(void);     /* 1 */
SARVO_API uint32_t sarvo_version_minor(void);     /* 0 */
SARVO_API uint32_t sarvo_version_patch(void);     /* 0 */
SARVO_API const char *sarvo_version_string(void); /* "1.0.0", constant */

/* ---- Error codes: registered by sarvo_initialize in this order, with these messages ---- */

SARVO_API extern uint32_t SarvoDtypeEC;            /* "Data type error" */
SARVO_API extern uint32_t SarvoDomainEC;           /* "Domain error" */
SARVO_API extern uint32_t SarvoRoundEC;            /* "Roundoff error" */
SARVO_API extern uint32_t SarvoUnderflowEC;        /* "Underflow error" */
SARVO_API extern uint32_t SarvoOverflowEC;         /* "Overflow error" */
SARVO_API extern uint32_t SarvoNullEC;             /* "Input structure is not initialized" */
SARVO_API extern uint32_t SarvoSizeEC;             /* "Incorrect size" */
SARVO_API extern uint32_t SarvoBoundsEC;           /* "Index out of bounds" */
SARVO_API extern uint32_t SarvoInsituEC;           /* "In situ error" */
SARVO_API extern uint32_t SarvoMHSingEC;           /* "Singular matrix" */
SARVO_API extern uint32_t SarvoMHNullEC;           /* "Input structure(s) is(are) not initialized" */
SARVO_API extern uint32_t SarvoMHRangeEC;          /* "Object out of range" */
SARVO_API extern uint32_t SarvoMHBoundsEC;         /* "Index out of bounds" */
SARVO_API extern uint32_t SarvoMHSizesEC;          /* "Wrong size(s) of object(s)" */
SARVO_API extern uint32_t SarvoMHInsituEC;         /* "Can't do operation in situ" */
SARVO_API extern uint32_t SarvoMHSquareEC;         /* "Matrix is not square" */
SARVO_API extern uint32_t SarvoMHPosdefEC;         /* "Matrix not positive definite" */
SARVO_API extern uint32_t SarvoMHNegEC;            /* "Negative argument" */
SARVO_API extern uint32_t SarvoMHMemEC;            /* "Cannot allocate memory" */
SARVO_API extern uint32_t SarvoMHIdxEC;            /* "Error in index/matrix" */
SARVO_API extern uint32_t SarvoNrInitEC;           /* "Object is not initialized" */
SARVO_API extern uint32_t SarvoNrIterEC;           /* "Too many iterations" */
SARVO_API extern uint32_t SarvoNrSizeEC;           /* "Incorrect size" */
SARVO_API extern uint32_t SarvoNrEmptyEC;          /* "Empty space" */
SARVO_API extern uint32_t SarvoNrSvdNotReadyEC;    /* "SVD has not yet been done" */
SARVO_API extern uint32_t SarvoNrStepEC;           /* "Invalid step size" */
SARVO_API extern uint32_t SarvoLsqInitEC;          /* "Initialization error in LS" */
SARVO_API extern uint32_t SarvoLsqInvalidSetupEC;  /* "Invalid setup of LS" */
SARVO_API extern uint32_t SarvoSMInvalidNumEC;     /* "Invalid number" */
SARVO_API extern uint32_t SarvoRngInvalidMethodEC; /* "Invalid method" */

/* ---- Machine constants: measured by sarvo_initialize; values on IEEE 754 arithmetic at the right ---- */

SARVO_API extern int32_t SarvoDblIbeta; /* radix: 2 */
SARVO_API extern int32_t SarvoDblIt;    /* digits of the mantissa: 53 */
SARVO_API extern int32_t
    SarvoDblIrnd; /* rounding: 0 chops, 1 rounds, 2 rounds as IEEE does; plus 3 with gradual underflow: 5 */
SARVO_API extern int32_t SarvoDblNgrd;    /* guard digits when chopping: 0 */
SARVO_API extern int32_t SarvoDblMachep;  /* exponent of Eps: -52 */
SARVO_API extern int32_t SarvoDblNegep;   /* exponent of Epsneg: -53 */
SARVO_API extern int32_t SarvoDblIexp;    /* bits of the exponent: 11 */
SARVO_API extern int32_t SarvoDblMinexp;  /* exponent of Xmin: -1022 */
SARVO_API extern int32_t SarvoDblMaxexp;  /* smallest power of the radix that overflows: 1024 */
SARVO_API extern double SarvoDblEps;      /* smallest power of the radix that changes 1 when added: 2^-52 */
SARVO_API extern double SarvoDblEpsneg;   /* the same when subtracted: 2^-53 */
SARVO_API extern double SarvoDblXmin;     /* smallest normalised positive number: 2^-1022 */
SARVO_API extern double SarvoDblXmax;     /* largest finite number */
SARVO_API extern double SarvoDblLnXmin;   /* ln Xmin, about -708.396 */
SARVO_API extern double SarvoDblLnXmax;   /* ln Xmax, about 709.783 */
SARVO_API extern double SarvoDblSqrtXmin; /* square root of Xmin */
SARVO_API extern double SarvoDblSqrtXmax; /* square root of Xmax */

SARVO_API extern int32_t SarvoFltIbeta;  /* 2 */
SARVO_API extern int32_t SarvoFltIt;     /* 24 */
SARVO_API extern int32_t SarvoFltIrnd;   /* 5 */
SARVO_API extern int32_t SarvoFltNgrd;   /* 0 */
SARVO_API extern int32_t SarvoFltMachep; /* -23 */
SARVO_API extern int32_t SarvoFltNegep;  /* -24 */
SARVO_API extern int32_t SarvoFltIexp;   /* 8 */
SARVO_API extern int32_t SarvoFltMinexp; /* -126 */
SARVO_API extern int32_t SarvoFltMaxexp; /* 128 */
SARVO_API extern float SarvoFltEps;      /* 2^-23 */
SARVO_API extern float SarvoFltEpsneg;   /* 2^-24 */
SARVO_API extern float SarvoFltXmin;     /* 2^-126 */
SARVO_API extern float SarvoFltXmax;     /* FLT_MAX */
SARVO_API extern float SarvoFltLnXmin;   /* ln Xmin, computed in double and rounded */
SARVO_API extern float SarvoFltLnXmax;   /* ln Xmax, about 88.7228 */
SARVO_API extern float SarvoFltSqrtXmin;
SARVO_API extern float SarvoFltSqrtXmax;

/* Determine the parameters of the arithmetic by experiment and store them through the thirteen pointers (none may be
 * null), which have the meaning of the constants above. They read no globals and may be called at any time.
 * Method: W. J. Cody, "MACHAR: a subroutine to dynamically determine machine parameters", ACM TOMS 14 (1988), after
 * M. A. Malcolm, CACM 15 (1972). */
SARVO_API void sarvo_nr_machar_double(int32_t *ibeta, int32_t *it, int32_t *irnd, int32_t *ngrd, int32_t *machep,
                                      int32_t *negep, int32_t *iexp, int32_t *minexp, int32_t *maxexp, double *eps,
                                      double *epsneg, double *xmin, double *xmax);
SARVO_API void sarvo_nr_machar_float(int32_t *ibeta, int32_t *it, int32_t *irnd, int32_t *ngrd, int32_t *machep,
                                     int32_t *negep, int32_t *iexp, int32_t *minexp, int32_t *maxexp, float *eps,
                                     float *epsneg, float *xmin, float *xmax);

/* ---- Scalar utilities: none allocates, none fails with an error ---- */

/* base to the power exponent by repeated squaring, for base and exponent not negative.
 * Sentinels: -1 for 0 to the 0; -2 when a multiplication into the result would overflow; -3 when a squaring of the base
 * would (or the base became 0, or 1 under a negative exponent). Exponent 1 returns any base as it is; exponent 0
 * returns 1 for any other base than 0; base 0 gives 0 and base 1 gives 1 for every other exponent. Negative bases and
 * exponents run into the same tests, which are signed: a negative base gives -2 or -3 for exponents from 2 on; a
 * negative exponent squares until a sentinel comes out. Products that the tests let through wrap in two's complement.
 * */
SARVO_API int32_t sarvo_ipow(int32_t base, int32_t exponent);
SARVO_API int64_t sarvo_i64pow(int64_t base, int64_t exponent);

/* 1 when the 64-bit signed operation is defined and its result representable, else 0. div and rem behave alike. */
SARVO_API int32_t sarvo_test_int64add(int64_t a, int64_t b);  /* a + b */
SARVO_API int32_t sarvo_test_int64sub(int64_t a, int64_t b);  /* a - b */
SARVO_API int32_t sarvo_test_int64mult(int64_t a, int64_t b); /* a * b */
SARVO_API int32_t sarvo_test_int64rem(int64_t a, int64_t b);  /* a % b */
SARVO_API int32_t sarvo_test_int64div(int64_t a, int64_t b);  /* a / b */
SARVO_API int32_t sarvo_test_int64umin(int64_t a);            /* -a */

SARVO_API int32_t sarvo_is_number(double x);        /* 1 unless x is NaN */
SARVO_API int32_t sarvo_is_finite_number(double x); /* 1 if -DBL_MAX <= x <= DBL_MAX, else 0 (infinities, NaN) */

/* Compare a and b within the tolerance tol: 0 when equal within it, else 1 for a > b and -1 otherwise.
 * The difference d = |a - b| is taken absolutely (0 if tol >= d) when a or b is 0 or d < SarvoDblXmin (SarvoFltXmin),
 * else relatively (0 if tol >= d / max(|a|, |b|)). Any NaN gives -1. */
SARVO_API int32_t sarvo_cmp_double(double a, double b, double tol);
SARVO_API int32_t sarvo_cmp_float(float a, float b, float tol);

/* Leaves the four values in ascending order, *a the smallest (five comparators). All are read before any is written.
 * None may be null. */
SARVO_API void sarvo_sort_four(double *a, double *b, double *c, double *d);

/* Prints rows[i][j], first_row <= i <= last_row, first_col <= j <= last_col, to standard output: each element with
 * " % 1.14e", each row ended by a blank and a newline, also when the column range is empty. */
SARVO_API void print_arr(double **rows, int32_t first_row, int32_t last_row, int32_t first_col, int32_t last_col);

#ifdef __cplusplus
}
#endif

#endif
