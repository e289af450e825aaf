// Bulk draws: whole windows of the state's words are evaluated ahead, by vectors; the few deviates that need more than
// the common path are drawn one by one from the word at which they begin.
#include "fill.h"

#include "variates.h"

namespace sarvo {
namespace {

// ---- The words that are left before the next regeneration ----

struct Window {
    const uint64_t *words;
    uint64_t count;
};

uint64_t smaller(uint64_t a, uint64_t b) { return a < b ? a : b; }

Window window(Mt19937 &s, uint64_t wanted) {
    mt_regenerate_when_used_up(s);
    return {s.word + s.index, smaller(wanted, static_cast<uint64_t>(Mt19937::size - s.index))};
}

Mt19937 &state_of(sarvo_rng_t &rng) { return *static_cast<Mt19937 *>(rng.state); }

bool draws_are_ours(const sarvo_rng_t &rng) {
    return rng.get == mt_get && rng.get_double == mt_get_double && rng.min == 0 && rng.max == 0xFFFFFFFF;
}

bool gauss_is_ours(const sarvo_rng_t &rng) {
    return draws_are_ours(rng) && (rng.gauss == polar_method || rng.gauss == ziggurat_method);
}

// Where in the window that began at `base` the next word lies, after a deviate drawn singly from word p on; behind its
// `count` words when that deviate has regenerated them: it needs far fewer words than there are, so the index fell.
uint64_t position(const Mt19937 &s, int64_t base, uint64_t p, uint64_t count) {
    return s.index > base + static_cast<int64_t>(p) ? static_cast<uint64_t>(s.index - base) : count + 1;
}

// ---- Normal ----

// Candidates of the whole window; runs of accepted ones are copied. Where one lies outside the sure part, its deviate
// is drawn singly, which uses further words: the candidates behind them are those of later deviates all the same.
void fill_ziggurat(Mt19937 &s, double sigma, uint64_t n, double *out) {
    double candidate[Mt19937::size];
    uint32_t outside[Mt19937::size];
    Mt19937Source source{s, true};
    uint64_t done = 0;
    while (done < n) {
        const Window w = window(s, n - done); // a deviate takes a word at least: never more than n are drawn
        const int64_t base = s.index;
        const uint64_t unsure =
            simd::kernels().mt_ziggurat(w.count, w.words, sigma, ziggurat::width, ziggurat::inside, candidate, outside);
        uint64_t p = 0;
        for (uint64_t r = 0; r < unsure && p < w.count; r++) {
            if (outside[r] < p) continue; // a word of the last single deviate
            while (p < outside[r]) out[done++] = candidate[p++];
            s.index = base + static_cast<int64_t>(p);
            out[done++] = ziggurat_normal(source, sigma);
            p = position(s, base, p, w.count);
        }
        if (p > w.count) continue;
        while (p < w.count) out[done++] = candidate[p++];
        s.index = base + static_cast<int64_t>(w.count);
    }
}

// Trials of two words each, none of which may be 0: those that are accepted are written side by side, then finished.
void fill_polar(Mt19937 &s, double sigma, uint64_t n, double *out) {
    double u[Mt19937::size];
    double y[Mt19937::size / 2];
    double r2[Mt19937::size / 2];
    Mt19937Source source{s, false};
    uint64_t done = 0;
    while (done < n) {
        const Window w = window(s, 2 * smaller(n - done, Mt19937::size));
        simd::kernels().mt_uniforms(w.count, w.words, u, 0);
        const uint64_t trials = simd::kernels().first_zero(w.count, u) / 2;
        if (trials == 0) { // a zero, or the last word before the regeneration
            out[done++] = polar(source, sigma);
            continue;
        }
        uint64_t accepted = 0;
        for (uint64_t t = 0; t < trials; t++) {
            const double x = 2.0 * u[2 * t] - 1.0;
            y[accepted] = 2.0 * u[2 * t + 1] - 1.0;
            r2[accepted] = x * x + y[accepted] * y[accepted];
            accepted += !(r2[accepted] > 1.0 || r2[accepted] == 0.0);
        }
        for (uint64_t t = 0; t < accepted; t++)
            out[done++] = sigma * y[t] * sqrt(-2.0 * elementary::log(r2[t]) / r2[t]);
        s.index += static_cast<int64_t>(2 * trials);
    }
}

// ---- Gamma ----

uint64_t lowest(uint64_t count) { return count < 64 ? (uint64_t{1} << count) - 1 : ~uint64_t{0}; }

// The trials that are taken among those set in `all`: the sure ones, and of the others those that the logarithms take.
uint64_t taken(const simd::GammaTrials &trials, uint64_t all, const GammaShape &shape) {
    uint64_t mask = trials.sure & all;
    for (uint64_t open = all & ~mask; open; open &= open - 1) {
        const int t = __builtin_ctzll(open);
        mask |= uint64_t{shape.takes_by_logarithms(trials.x[t], trials.V[t], trials.u[t])} << t;
    }
    return mask;
}

// Shape at least 1: trials of two words each. Those before the first odd one are finished here; the deviate that begins
// there is drawn by itself.
void fill_gamma(Mt19937 &s, double a, double b, uint64_t n, double *out) {
    const GammaShape shape(a);
    const double scale = b * shape.d;
    Mt19937Source source{s, true};
    simd::GammaTrials trials;
    for (uint64_t done = 0; done < n;) {
        const Window w = window(s, 2 * smaller(n - done, 64)); // a trial each at least: never more than n are drawn
        simd::kernels().gamma_trials(w.count / 2, 2, w.words, shape.c, ziggurat::width, ziggurat::inside, &trials);
        const uint64_t regular = trials.odd ? static_cast<uint64_t>(__builtin_ctzll(trials.odd)) : w.count / 2;
        const uint64_t mask = taken(trials, lowest(regular), shape);
        done += simd::kernels().pack_scaled(regular, mask, scale, trials.V, out + done);
        s.index += static_cast<int64_t>(2 * regular);
        if (trials.odd || regular == 0) out[done++] = marsaglia_tsang(source, shape, b);
    }
}

// Shape below 1: three words each, the first for the power. A trial that is not taken ends the run too.
void fill_small_gamma(Mt19937 &s, double a, double b, uint64_t n, double *out) {
    const GammaShape shape(a + 1.0);
    const double scale = b * shape.d;
    const double power = 1.0 / a;
    Mt19937Source source{s, true};
    simd::GammaTrials trials;
    for (uint64_t done = 0; done < n;) {
        const Window w = window(s, 3 * smaller(n - done, 32)); // a run has some 20 deviates
        const uint64_t count = w.count / 3;
        simd::kernels().gamma_trials(count, 3, w.words + 1, shape.c, ziggurat::width, ziggurat::inside, &trials);
        const uint64_t regular = trials.odd ? static_cast<uint64_t>(__builtin_ctzll(trials.odd)) : count;
        const uint64_t mask = taken(trials, lowest(regular), shape);
        uint64_t t = 0;
        for (; mask >> t & 1; t++) {
            const double u = mt_to_double(mt_temper(w.words[3 * t]));
            if (u == 0.0) break;
            out[done++] = scale * trials.V[t] * elementary::pow(u, power);
        }
        s.index += static_cast<int64_t>(3 * t);
        if (t < count || count == 0) {
            const double u = positive_uniform(source);
            out[done++] = marsaglia_tsang(source, shape, b) * elementary::pow(u, power);
        }
    }
}

} // namespace

void rng_fill_uniform(sarvo_rng_t *rng, uint64_t n, double *out) {
    if (rng->get_double != mt_get_double) {
        for (uint64_t i = 0; i < n; i++) out[i] = rng->get_double(rng->state);
        return;
    }
    Mt19937 &s = state_of(*rng);
    for (uint64_t done = 0; done < n;) {
        const Window w = window(s, n - done);
        simd::kernels().mt_uniforms(w.count, w.words, out + done, n - done - w.count);
        s.index += static_cast<int64_t>(w.count);
        done += w.count;
    }
}

void rng_fill_gauss(sarvo_rng_t *rng, double sigma, uint64_t n, double *out) {
    if (!gauss_is_ours(*rng)) {
        for (uint64_t i = 0; i < n; i++) out[i] = rng->gauss(rng, sigma);
    } else if (rng->gauss == ziggurat_method) {
        fill_ziggurat(state_of(*rng), sigma, n, out);
    } else {
        fill_polar(state_of(*rng), sigma, n, out);
    }
}

void rng_fill_gamma(sarvo_rng_t *rng, double a, double b, uint64_t n, double *out) {
    if (!gauss_is_ours(*rng) || rng->gamma != marsaglia_tsang_method) {
        for (uint64_t i = 0; i < n; i++) out[i] = rng->gamma(rng, a, b);
    } else if (rng->gauss == ziggurat_method && a > 0.0) {
        (a < 1.0 ? fill_small_gamma : fill_gamma)(state_of(*rng), a, b, n, out);
    } else {
        Mt19937Source source{state_of(*rng), rng->gauss == ziggurat_method};
        for (uint64_t i = 0; i < n; i++) out[i] = marsaglia_tsang(source, a, b);
    }
}

} // namespace sarvo
