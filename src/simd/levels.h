// Declarations of the kernels compiled per level, and of each level's table.
#pragma once

#include "simd.h"

#define SARVO_DECLARE_LEVEL(level)                                                                                     \
    namespace sarvo::simd::level {                                                                                     \
    extern const Kernels table;                                                                                        \
    void add(uint64_t, const double *, const double *, double *);                                                      \
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
    void rotate(uint64_t, double, double, double *, double *);                                                         \
    void rotate_sweeps(uint64_t, uint64_t, uint64_t, uint64_t, const double *, uint64_t, double *, uint64_t);          \
    void rotate_scaled_sweeps(uint64_t, uint64_t, uint64_t, uint64_t, const double *, uint64_t, double *, uint64_t);   \
    }

SARVO_DECLARE_LEVEL(ref)
SARVO_DECLARE_LEVEL(base)
SARVO_DECLARE_LEVEL(v2)
SARVO_DECLARE_LEVEL(v3)
SARVO_DECLARE_LEVEL(v4)

#undef SARVO_DECLARE_LEVEL
