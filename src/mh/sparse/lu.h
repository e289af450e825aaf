// LU factors of sparse matrices with a choice of the pivot rule, in compact rows.
#pragma once

#include <sarvo/mh/sparse_factor.h>

#include "core/fail.h"

namespace sarvo::mh {

enum class PivotRule {
    fewest_entries, // that of sarvo_mh_spLUfactor: the row of fewest entries, multipliers included
    shortest_rest,  // the row of which the least is left: it is what gets added to the others
    diagonal_first  // row k of A in step k when it is acceptable: an order that was made for the symmetric pattern
                    // stays as it is; else by shortest_rest
};

struct LuChoice {
    PivotRule rule = PivotRule::fewest_entries;
    double share = 1.0;               // of the largest candidate, that a pivot must have
    double diagonal_share = 1.0;      // and one on the diagonal, where it comes first
    int64_t most_entries = INT64_MAX; // of both factors: gives up beyond
};

// Row i of A, eliminated: its length[i] columns, ascending, and values from begin[i] on. order[k] is the row that is
// k-th in P A = L U; multipliers stand in the places that they eliminated.
struct LuRows {
    LuRows() = default;
    LuRows(const LuRows &) = delete;
    LuRows &operator=(const LuRows &) = delete;
    ~LuRows() {
        sarko_mem_free(col);
        sarko_mem_free(value);
    }
    int32_t count = 0;
    int32_t *col = nullptr;
    double *value = nullptr;
    Buffer<int64_t> begin;
    Buffer<int32_t> length, order;
};

// Elimination as in sarvo_mh_spLUfactor, but for the rule. *complete is 0 when there were too many entries; out, which
// must be empty, is set only otherwise.
[[nodiscard]] sarko_error_t factorise_lu(const SPMAT &A, const LuChoice &choice, LuRows &out, bool *complete);

} // namespace sarvo::mh
