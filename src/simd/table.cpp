// The table of one level.
#include "levels.h"

#define SARVO_NAME_OF(level) #level
#define SARVO_LEVEL_NAME(level) SARVO_NAME_OF(level)

namespace sarvo::simd::SARVO_SIMD_LEVEL {

constexpr Kernels table = {
    .level = SARVO_LEVEL_NAME(SARVO_SIMD_LEVEL),
    .add = add,
    .subtract = subtract,
    .multiply = multiply,
    .divide = divide,
    .divide_by = divide_by,
    .scale = scale,
    .shift = shift,
    .axpy = axpy,
    .scale_add = scale_add,
    .first_zero = first_zero,
    .min_index = min_index,
    .max_index = max_index,
    .scaled_pivot = scaled_pivot,
    .max_abs = max_abs,
    .crossings = crossings,
    .dot_rows = dot_rows,
    .max_abs_rows = max_abs_rows,
    .add_rows = add_rows,
    .max_row_sum = max_row_sum,
    .max_column_sum = max_column_sum,
    .transpose = transpose,
    .product = product,
    .product_transposed = product_transposed,
    .product_add = product_add,
    .product_subtract = product_subtract,
    .product_work = product_work,
    .upper_solve_strip = upper_solve_strip,
    .dot8 = dot8,
    .dot8_rows = dot8_rows,
    .update2_accumulate = update2_accumulate,
    .dot_rows_updated = dot_rows_updated,
    .reflect_columns = reflect_columns,
    .fourier = fourier,
    .convolve = convolve,
    .rotate = rotate,
    .rotate_with_rows = rotate_with_rows,
    .rotate_sweeps = rotate_sweeps,
    .rotate_ranges = rotate_ranges,
    .chase = chase,
    .rotate_scaled_sweeps = rotate_scaled_sweeps,
    .mt_regenerate = mt_regenerate,
    .mt_uniforms = mt_uniforms,
    .mt_ziggurat = mt_ziggurat,
    .gamma_trials = gamma_trials,
    .pack_scaled = pack_scaled,
    .fractions = fractions,
    .beta_fractions = beta_fractions,
    .gamma_fractions = gamma_fractions,
};

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
