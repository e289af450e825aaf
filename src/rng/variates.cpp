// Normal and gamma deviates of a generator record: the choice of the method, and the calls.
#include "variates.h"

namespace sarvo {

double polar_method(sarvo_rng_t *rng, double sigma) {
    RecordSource source{*rng};
    return polar(source, sigma);
}

double ziggurat_method(sarvo_rng_t *rng, double sigma) {
    RecordSource source{*rng};
    return ziggurat_normal(source, sigma);
}

double marsaglia_tsang_method(sarvo_rng_t *rng, double a, double b) {
    RecordSource source{*rng};
    return marsaglia_tsang(source, a, b);
}

} // namespace sarvo

using namespace sarvo;

extern "C" {

sarko_error_t sarvo_rng_gauss_init(sarvo_rng_t *rng, uint32_t method) {
    if (method > 2) return fail(SarvoRngInvalidMethodEC);
    rng->gauss_method = method == 2 ? 2 : 1;
    rng->gauss = method == 2 ? ziggurat_method : polar_method;
    return 0;
}

double sarvo_rng_gauss(sarvo_rng_t *rng, double sigma) { return rng->gauss(rng, sigma); }

sarko_error_t sarvo_rng_gamma_init(sarvo_rng_t *rng, uint32_t method) {
    if (method > 1) return fail(SarvoRngInvalidMethodEC);
    rng->gamma_method = 1;
    rng->gamma = marsaglia_tsang_method;
    return 0;
}

double sarvo_rng_gamma(sarvo_rng_t *rng, double a, double b) { return rng->gamma(rng, a, b); }

} // extern "C"
