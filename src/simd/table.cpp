// The table of one level.
#include "levels.h"

#define SARVO_NAME_OF(level) #level
#define SARVO_LEVEL_NAME(level) SARVO_NAME_OF(level)

namespace sarvo::simd::SARVO_SIMD_LEVEL {

constexpr Kernels table = {
    .level = SARVO_LEVEL_NAME(SARVO_SIMD_LEVEL),
    .add = add,
    .scale = scale,
    .shift = shift,
    .axpy = axpy,
    .product = product,
    .product_add = product_add,
    .product_work = product_work,
    .dot8 = dot8,
    .dot8_rows = dot8_rows,
    .update2_accumulate = update2_accumulate,
    .rotate = rotate,
    .rotate_sweeps = rotate_sweeps,
    .rotate_scaled_sweeps = rotate_scaled_sweeps,
};

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
