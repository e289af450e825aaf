// The distributions of both generators.
#include "random/sources.h"

#include <cmath>

#include <sarvo/mh/random.h>
#include <sarvo/nr.h>
#include <sarvo/rng.h>

#include "library.h"
#include "rng/fill.h"

namespace command {
namespace {

using Numbers = std::span<const double>;
using Maybe = std::optional<double>;

const Deviate table[] = {
    {"uniform",
     "[a, b)",
     {{"a", 0.0}, {"b", 1.0}},
     true,
     true,
     [](Numbers p) { return Maybe(0.5 * (p[0] + p[1])); },
     [](Numbers p) { return Maybe(std::fabs(p[1] - p[0]) / std::sqrt(12.0)); }},
    {"bits",
     "the generator's integers as they come (32 bits; of kiss, xorshift, mwc the low 32 of 64)",
     {},
     true,
     true,
     [](Numbers) { return Maybe(2147483647.5); },
     [](Numbers) { return Maybe(4294967296.0 / std::sqrt(12.0)); }},
    {"integer",
     "0 .. s - 1, equally likely",
     {{"s", {}, true}},
     true,
     false,
     [](Numbers p) { return Maybe(0.5 * (p[0] - 1.0)); },
     [](Numbers p) { return Maybe(std::sqrt((p[0] * p[0] - 1.0) / 12.0)); }},
    {"normal",
     "",
     {{"mean", 0.0}, {"sd", 1.0, true}},
     true,
     true,
     [](Numbers p) { return Maybe(p[0]); },
     [](Numbers p) { return Maybe(p[1]); }},
    {"gamma",
     "density x^(shape-1) exp(-x/scale)",
     {{"shape", {}, true}, {"scale", 1.0, true}},
     true,
     true,
     [](Numbers p) { return Maybe(p[0] * p[1]); },
     [](Numbers p) { return Maybe(std::sqrt(p[0]) * p[1]); }},
    {"exponential",
     "",
     {{"rate", 1.0, true}},
     false,
     true,
     [](Numbers p) { return Maybe(1.0 / p[0]); },
     [](Numbers p) { return Maybe(1.0 / p[0]); }},
    {"logistic",
     "",
     {{"mean", 0.0}, {"sd", 1.0, true}},
     false,
     true,
     [](Numbers p) { return Maybe(p[0]); },
     [](Numbers p) { return Maybe(p[1]); }},
    {"cauchy",
     "has no mean",
     {{"centre", 0.0}, {"halfwidth", 1.0, true}},
     false,
     true,
     [](Numbers) { return Maybe(); },
     [](Numbers) { return Maybe(); }},
};

struct Free {
    void operator()(sarvo_rng_t *rng) const { sarvo_rng_free(rng); }
    void operator()(sarvo_nr_rng_t *rng) const { sarvo_nr_rng_free(rng); }
};

// Calls `draw` for each element.
template <typename Owner, typename Draw> Source each(const Owner &owner, Draw draw) {
    return [owner, draw](std::span<double> block) {
        for (double &x : block) x = draw(owner.get());
    };
}

// Uniform deviates by the fast fill, then stretched where asked.
template <typename Owner> Source uniform(const Owner &owner, int32_t selector, double a, double b) {
    return [owner, selector, a, b](std::span<double> block) {
        mrandlist(selector, owner.get(), block.data(), block.size());
        if (a == 0.0 && b == 1.0) return;
        for (double &x : block) x = a + (b - a) * x;
    };
}

Source twister_source(const Deviate &deviate, const std::vector<double> &p, const SourceOptions &options) {
    sarvo_rng_t *made = nullptr;
    check(sarvo_rng_init(&made, 0, options.seed));
    const std::shared_ptr<sarvo_rng_t> rng(made, Free());
    check(sarvo_rng_gauss_init(made, options.method == "polar" ? 1 : 2));
    check(sarvo_rng_gamma_init(made, 0));
    if (deviate.name == "uniform") return uniform(rng, 1, p[0], p[1]);
    if (deviate.name == "bits")
        return each(rng, [](sarvo_rng_t *r) { return static_cast<double>(sarvo_rng_uint32(r)); });
    if (deviate.name == "integer")
        return each(rng, [s = static_cast<uint64_t>(p[0])](sarvo_rng_t *r) {
            return static_cast<double>(sarvo_rng_uint64_scale(r, s));
        });
    if (deviate.name == "normal")
        return [rng, mean = p[0], sd = p[1]](std::span<double> block) {
            sarvo::rng_fill_gauss(rng.get(), sd, block.size(), block.data());
            if (mean == 0.0) return;
            for (double &x : block) x = mean + x;
        };
    return [rng, shape = p[0], scale = p[1]](std::span<double> block) {
        sarvo::rng_fill_gamma(rng.get(), shape, scale, block.size(), block.data());
    };
}

Source classic_source(const Deviate &deviate, const std::vector<double> &p, const SourceOptions &options) {
    using Rng = sarvo_nr_rng_t;
    const int32_t method = options.generator == "kiss" ? 0 : options.generator == "xorshift" ? 1 : 2;
    Rng *made = nullptr;
    check(sarvo_nr_rng_init(&made, method, options.seed));
    const std::shared_ptr<Rng> rng(made, Free());
    const double a = p.empty() ? 0.0 : p[0], b = p.size() < 2 ? 0.0 : p[1];
    if (deviate.name == "uniform") return uniform(rng, 2, a, b);
    if (deviate.name == "bits") return each(rng, [](Rng *r) { return static_cast<double>(sarvo_nr_rng_uint32(r)); });
    if (deviate.name == "normal") return each(rng, [a, b](Rng *r) { return sarvo_nr_rng_normdev(r, a, b); });
    if (deviate.name == "exponential") return each(rng, [a](Rng *r) { return sarvo_nr_rng_expdev(r, a); });
    if (deviate.name == "logistic") return each(rng, [a, b](Rng *r) { return sarvo_nr_rng_logdev(r, a, b); });
    if (deviate.name == "cauchy") return each(rng, [a, b](Rng *r) { return sarvo_nr_rng_cauchydev(r, a, b); });
    sarvo_nr_rng_gamma_t gamma;
    check(sarvo_nr_rng_gammadev_init(&gamma, a, 1.0 / b));
    return each(rng, [gamma](Rng *r) { return sarvo_nr_rng_gammadev(r, &gamma); });
}

} // namespace

std::span<const Deviate> deviates() { return table; }

Source open_source(const Deviate &deviate, const std::vector<double> &parameters, const SourceOptions &options) {
    const bool twister = options.generator == "mt";
    if (twister ? !deviate.twister : !deviate.classic)
        throw usage_error(std::string(deviate.name) + " deviates come from --generator " +
                          (twister ? "kiss, xorshift or mwc" : "mt"));
    return twister ? twister_source(deviate, parameters, options) : classic_source(deviate, parameters, options);
}

} // namespace command
