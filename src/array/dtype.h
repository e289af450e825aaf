// Data-type ids: which are valid, which have elements that can be computed with, and the two errors about them.
#pragma once

#include <sarvo/array.h>

#include "core/fail.h"

namespace sarvo {

inline bool is_valid_dtype(uint32_t dtype) { return dtype >= 1 && dtype < SARVO_DTYPES; }

// Ids whose elements the library can copy, print and compute with.
inline bool is_implemented_dtype(uint32_t dtype) { return dtype == SARVO_INT32 || dtype == SARVO_DOUBLE; }

[[nodiscard]] inline sarko_error_t fail_invalid_dtype(uint32_t dtype) {
    return failf(SarvoDtypeEC, "Invalid data type %d", static_cast<int>(dtype));
}

[[nodiscard]] inline sarko_error_t fail_unimplemented_dtype(uint32_t dtype) {
    return failf(SarvoDtypeEC, "Invalid or not implemented data type %d", static_cast<int>(dtype));
}

} // namespace sarvo
