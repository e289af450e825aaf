// The generator record: creation, release, integers and uniform doubles; MT19937's own functions.
#include <sarvo/rng.h>

#include "variates.h"

namespace sarvo {

void mt_set(void *state, uint64_t seed) {
    Mt19937 &s = *static_cast<Mt19937 *>(state);
    s.word[0] = (seed == 0 ? 4357 : seed) & 0xFFFFFFFF;
    for (uint64_t i = 1; i < Mt19937::size; i++)
        s.word[i] = (1812433253 * (s.word[i - 1] ^ (s.word[i - 1] >> 30)) + i) & 0xFFFFFFFF;
    s.index = Mt19937::size;
}

uint64_t mt_get(void *state) { return mt_draw(*static_cast<Mt19937 *>(state)); }

double mt_get_double(void *state) { return mt_to_double(mt_get(state)); }

} // namespace sarvo

using namespace sarvo;

extern "C" {

sarko_error_t sarvo_rng_init(sarvo_rng_t **rng, uint32_t method, uint64_t seed) {
    Buffer<sarvo_rng_t> record;
    const sarko_error_t e = record.allocate(1);
    *rng = record.get();
    if (e) return e;
    if (method > 1) {
        *rng = nullptr;
        return fail(SarvoRngInvalidMethodEC);
    }
    record[0] = {.method = 1,
                 .name = "MT19937",
                 .max = 0xFFFFFFFF,
                 .min = 0,
                 .set = mt_set,
                 .get = mt_get,
                 .get_double = mt_get_double,
                 .state_size = sizeof(Mt19937),
                 .state = nullptr,
                 .gauss_method = 0,
                 .gauss = nullptr,
                 .gamma_method = 0,
                 .gamma = nullptr};
    // From here on a failure leaves *rng with the released address, as the header says.
    if (const sarko_error_t no_state = sarko_mem_calloc(1, sizeof(Mt19937), &record[0].state)) return no_state;
    record[0].set(record[0].state, seed);
    record.release();
    return 0;
}

void sarvo_rng_free(sarvo_rng_t *rng) {
    if (!rng) return;
    sarko_mem_free(rng->state);
    sarko_mem_free(rng);
}

uint64_t sarvo_rng_uint64(sarvo_rng_t *rng) { return rng->get(rng->state); }

uint32_t sarvo_rng_uint32(sarvo_rng_t *rng) { return static_cast<uint32_t>(rng->get(rng->state)); }

uint64_t sarvo_rng_uint64_scale(sarvo_rng_t *rng, uint64_t s) {
    RecordSource source{*rng};
    return bounded(source, s);
}

double sarvo_rng_uniform(sarvo_rng_t *rng) { return rng->get_double(rng->state); }

double sarvo_rng_uniform_scale(sarvo_rng_t *rng, double a, double b) { return a + (b - a) * sarvo_rng_uniform(rng); }

double sarvo_rng_uniformp(sarvo_rng_t *rng) {
    RecordSource source{*rng};
    return positive_uniform(source);
}

} // extern "C"
