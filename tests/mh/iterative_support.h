// Owner of the workspace record of iterative methods.
#pragma once

#include <cmath>

#include "sparse_support.h"

namespace test::mh {

struct Iter {
    sarvo_mh_iter_t *p = nullptr;
    Iter() = default;
    Iter(int32_t lenb, int32_t lenx) { expect_success(sarvo_mh_iter_get(lenb, lenx, &p)); }
    Iter(Iter &&other) noexcept : p(other.p) { other.p = nullptr; }
    ~Iter() { sarvo_mh_iter_free(p); }
    sarvo_mh_iter_t *operator->() const { return p; }
};

} // namespace test::mh
