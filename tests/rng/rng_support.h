// A seeded generator record that releases itself.
#pragma once

#include <sarvo/rng.h>

#include <memory>

#include "test_support.h"

namespace test {

struct Release {
    void operator()(sarvo_rng_t *rng) const { sarvo_rng_free(rng); }
};
using Rng = std::unique_ptr<sarvo_rng_t, Release>;

inline Rng make(uint64_t seed, uint32_t gauss_method = 0) {
    sarvo_rng_t *rng = nullptr;
    expect_success(sarvo_rng_init(&rng, 0, seed));
    expect_success(sarvo_rng_gauss_init(rng, gauss_method));
    expect_success(sarvo_rng_gamma_init(rng, 0));
    return Rng(rng);
}

} // namespace test
