// Rank and nullity of a decomposition: how many of its singular values lie above its threshold, and how many do not.
#pragma once

#include <sarvo/nr/svd.h>

namespace sarvo::nr {

inline void count_rank(sarvo_nr_svd *svd) {
    const double *w = static_cast<const double *>(svd->w->data);
    svd->rank = 0;
    for (uint64_t j = 0; j < svd->n; j++) svd->rank += w[j] > svd->thresh;
    svd->nullity = static_cast<uint32_t>(svd->n) - svd->rank;
}

} // namespace sarvo::nr
