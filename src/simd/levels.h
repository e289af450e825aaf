// Declarations of the kernels compiled per level, and of each level's table.
#pragma once

#include "simd.h"

#define SARVO_DECLARE_LEVEL(level)                                                                                     \
    namespace sarvo::simd::level {                                                                                     \
    extern const Kernels table;                                                                                        \
    void add(uint64_t, const double *, const double *, double *);                                                      \
    void subtract(uint64_t, const double *, const double *, double *);                                                 \
    void multiply(uint64_t, const double *, const double *, double *);                                                 \
    void divide(uint64_t, const double *, const double *, double *);                                                   \
    void scale_add(uint64_t, double, const double *, const double *, double *);                                        \
    uint64_t first_zero(uint64_t, const double *);                                                                     \
    uint64_t min_index(uint64_t, const double *);                                                                      \
    uint64_t max_index(uint64_t, const double *);                                                                      \
    uint64_t crossings(uint64_t, const double *, const double *, double, double);                                      \
    void rotate_with_rows(uint64_t, uint64_t, uint64_t, const double *, double *, double *const *);                    \
    double max_abs(uint64_t, const double *);                                                                          \
    void dot_rows(uint64_t, uint64_t, const double *, uint64_t, const double *, double *);                             \
    void max_abs_rows(uint64_t, uint64_t, const double *, uint64_t, double *);                                         \
    void add_rows(uint64_t, uint64_t, const double *const *, const double *, double *);                                \
    double max_row_sum(uint64_t, uint64_t, const double *, uint64_t);                                                  \
    double max_column_sum(uint64_t, uint64_t, const double *, uint64_t);                                               \
    void transpose(uint64_t, uint64_t, const double *, uint64_t, double *, uint64_t);                                  \
    void product_transposed(uint64_t, uint64_t, uint64_t, const double *, uint64_t, uint64_t, const double *,          \
                            uint64_t, double *, uint64_t, double *);                                                   \
    void product_subtract(uint64_t, uint64_t, uint64_t, const double *, uint64_t, uint64_t, const double *, uint64_t,  \
                          double *, uint64_t, double *);                                                               \
    void divide_by(uint64_t, double, const double *, double *);                                                        \
    uint64_t scaled_pivot(uint64_t, const double *, const double *);                                                   \
    void upper_solve_strip(uint64_t, const double *, uint64_t, uint64_t, double *);                                    \
    void scale(uint64_t, double, const double *, double *);                                                            \
    void shift(uint64_t, double, const double *, double *);                                                            \
    void axpy(uint64_t, double, const double *, double *);                                                             \
    void product(uint64_t, uint64_t, uint64_t, const double *, uint64_t, uint64_t, const double *, uint64_t, double *, \
                 uint64_t, double *);                                                                                  \
    void product_add(uint64_t, uint64_t, uint64_t, const double *, uint64_t, uint64_t, const double *, uint64_t,       \
                     double *, uint64_t, double *);                                                                    \
    uint64_t product_work(uint64_t, uint64_t, uint64_t);                                                               \
    double dot8(uint64_t, const double *, const double *);                                                             \
    void dot8_rows(uint64_t, uint64_t, const double *, uint64_t, const double *, double *);                            \
    void update2_accumulate(uint64_t, uint64_t, double *, uint64_t, const double *, const double *, const double *,    \
                            const double *, const double *, double *);                                                 \
    void dot_rows_updated(uint64_t, uint64_t, const double *, uint64_t, const double *, const double *,                \
                          const double *, double *);                                                                   \
    void reflect_columns(uint64_t, uint64_t, uint64_t, const double *, uint64_t, const double *, double *, uint64_t);  \
    void rotate_ranges(uint64_t, const uint64_t *, const uint64_t *, uint64_t, const double *, uint64_t, double *,     \
                       uint64_t, Chase *, uint64_t);                                                                   \
    void chase(Chase *);                                                                                               \
    void fourier(uint64_t, double *, double *, const double *, const double *);                                        \
    void convolve(uint64_t, uint64_t, const double *, const double *, int64_t, double *);                              \
    void rotate(uint64_t, double, double, double *, double *);                                                         \
    void rotate_sweeps(uint64_t, uint64_t, uint64_t, uint64_t, const double *, uint64_t, double *, uint64_t);          \
    void rotate_scaled_sweeps(uint64_t, uint64_t, uint64_t, uint64_t, const double *, uint64_t, double *, uint64_t);   \
    void mt_regenerate(uint64_t *);                                                                                    \
    void mt_uniforms(uint64_t, const uint64_t *, double *, uint64_t);                                                  \
    uint64_t mt_ziggurat(uint64_t, const uint64_t *, double, const double *, const uint64_t *, double *, uint32_t *);  \
    void gamma_trials(uint64_t, uint64_t, const uint64_t *, double, const double *, const uint64_t *, GammaTrials *);  \
    uint64_t pack_scaled(uint64_t, uint64_t, double, const double *, double *);                                        \
    void fractions(uint64_t, const uint64_t *, double *);                                                              \
    void beta_fractions(uint64_t, double, double, const double *, double *);                                           \
    void gamma_fractions(uint64_t, double, const double *, double *);                                                  \
    }

SARVO_DECLARE_LEVEL(ref)
SARVO_DECLARE_LEVEL(base)
SARVO_DECLARE_LEVEL(v2)
SARVO_DECLARE_LEVEL(v3)
SARVO_DECLARE_LEVEL(v4)

#undef SARVO_DECLARE_LEVEL
