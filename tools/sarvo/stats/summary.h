// Summary statistics of columns: in one pass and constant memory, with quantiles of what is kept.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sarvo/rng.h>

#include "library.h"
#include "stats/moments.h"

namespace command {

struct Summary {
    std::string name;
    uint64_t n = 0;
    double sum_of_weights = 0.0; // 0 without weights
    double mean = 0.0, min = 0.0, max = 0.0;
    std::optional<double> sd, standard_error, skewness, kurtosis; // where there are enough different values
    std::vector<std::optional<double>> quantiles;
    bool sampled = false;            // quantiles are those of a random part of the values
    std::vector<uint64_t> histogram; // of the values kept, from min to max
};

// One column. Values are kept up to `capacity`; beyond, a uniform random part of them (Vitter, 1985, algorithm R).
class ColumnSummary {
public:
    ColumnSummary(std::string name, uint64_t capacity, bool weighted);

    void add(double x, double weight);
    Summary result(const std::vector<double> &probabilities, size_t bins = 16);

private:
    std::optional<double> quantile(double p) const; // of sorted values

    struct Kept {
        double x, weight;
    };
    struct Free {
        void operator()(sarvo_rng_t *rng) const { sarvo_rng_free(rng); }
    };
    std::string name_;
    uint64_t capacity_;
    bool weighted_;
    uint64_t n_ = 0;
    double min_, max_;
    Moments moments_;
    std::vector<Kept> kept_;
    std::unique_ptr<sarvo_rng_t, Free> rng_;
};

} // namespace command
