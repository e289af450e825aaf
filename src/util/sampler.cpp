// The adaptive sampler of a function of one variable: sorted samples, scores of intervals, proposals.
#include <sarvo/sampler.h>

#include <stdlib.h>
#include <string.h>

namespace {

using Sample = sarvo_fsampler_1d_sample_t;
using Options = sarvo_fsampler_1d_options_t;

// What sarvo_fsampler_1d_new hands out: the public record and what only the library sees.
struct Sampler {
    sarvo_fsampler_1d_t open;
    bool has_nan; // an x is NaN: the samples need not be in ascending order
};

Sampler *whole(sarvo_fsampler_1d_t *s) { return reinterpret_cast<Sampler *>(s); }

constexpr int32_t first_capacity = 64;

void forget(Sampler *s) {
    s->open.count = 0;
    s->open.num_refine = 0;
    s->open.x_min = s->open.y_min = SarvoDblXmax;
    s->open.x_max = s->open.y_max = -SarvoDblXmax;
    s->has_nan = false;
}

Options clamped(Options o) {
    if (o.rel_tol < 0.0) o.rel_tol = 0.0;
    if (o.abs_tol < 0.0) o.abs_tol = 0.0;
    if (o.min_sin_angle < 0.0) o.min_sin_angle = SarvoDblEps;
    if (o.min_sin_angle > 1.0) o.min_sin_angle = 1.0;
    if (o.min_dx < SarvoDblEps) o.min_dx = SarvoDblEps;
    if (o.refine_side > 2) o.refine_side = 0;
    return o;
}

// ---- Adding ----

void widen(sarvo_fsampler_1d_t *s, double x, double y) {
    if (x < s->x_min) s->x_min = x;
    if (x > s->x_max) s->x_max = x;
    if (y < s->y_min) s->y_min = y;
    if (y > s->y_max) s->y_max = y;
}

// The first index whose x is strictly greater: by bisection as long as the samples ascend.
int32_t position(const Sampler *s, double x) {
    const Sample *samples = s->open.samples;
    if (s->has_nan) {
        int32_t i = 0;
        while (i < s->open.count && !(samples[i].x > x)) i++;
        return i;
    }
    int32_t lo = 0;
    for (int32_t left = s->open.count; left > 0;) {
        const int32_t half = left / 2;
        if (samples[lo + half].x > x) left = half;
        else {
            lo += half + 1;
            left -= half + 1;
        }
    }
    return lo;
}

// Room for one more. A failure loses the samples.
bool grow(sarvo_fsampler_1d_t *s) {
    if (s->samples && s->count < s->capacity) return true;
    if (s->count > 0 && !s->samples) return false; // lost before
    if (s->count >= s->capacity) {
        if (s->capacity > INT32_MAX / 2) return false;
        s->capacity = s->capacity == 0 ? first_capacity : 2 * s->capacity;
    }
    void *grown = realloc(s->samples, static_cast<size_t>(s->capacity) * sizeof *s->samples);
    if (!grown) free(s->samples);
    s->samples = static_cast<Sample *>(grown);
    return grown != nullptr;
}

void unflag(sarvo_fsampler_1d_t *s, int32_t interval) {
    if (s->samples[interval].refine_score > 0.0) s->num_refine--;
    s->samples[interval].refine_score = 0.0;
}

void flag(sarvo_fsampler_1d_t *s, int32_t interval, double score) {
    double &stored = s->samples[interval].refine_score;
    if (!(stored > 0.0)) s->num_refine++;
    if (score > stored) stored = score;
}

double range_of(double a, double b, double c) {
    const double least = a < b ? (a < c ? a : c) : (b < c ? b : c);
    const double most = a > b ? (a > c ? a : c) : (b > c ? b : c);
    return most - least;
}

struct Vector {
    double x, y;
};

Vector unit(double x, double y) {
    const double length = __builtin_sqrt(x * x + y * y);
    return {x / length, y / length};
}

// Scores both intervals at sample i by the bend there.
void evaluate(sarvo_fsampler_1d_t *s, int32_t i) {
    const Options &o = s->options;
    const Sample &L = s->samples[i - 1], &M = s->samples[i], &R = s->samples[i + 1];
    const double dxl = M.x - L.x, dxr = R.x - M.x;
    const double dyl = M.y - L.y, dyr = R.y - M.y;
    const double step_left = __builtin_fabs(dyl), step_right = __builtin_fabs(dyr);
    if (o.min_dx > dxl && o.min_dx > dxr) return;
    if (o.abs_tol > step_left && o.abs_tol > step_right) return;
    const double negligible = (s->y_max - s->y_min) * o.rel_tol;
    if (negligible > step_left && negligible > step_right) return;
    const double X = R.x - L.x;
    const double Y = range_of(L.y, M.y, R.y);
    const Vector l = unit(dxl / X, dyl / Y);
    const Vector r = unit(dxr / X, dyr / Y);
    const double sine = l.x * r.y - r.x * l.y; // of the turn, counter-clockwise; NaN when Y is 0
    if ((o.refine_side == 1 && sine < 0.0) || (o.refine_side == 2 && sine > 0.0)) return;
    if (!(__builtin_fabs(sine) > o.min_sin_angle)) return;
    const double score = __builtin_fabs(dyr * dxl - dyl * dxr); // twice the area of the triangle
    if (!(score > 0.0)) return;
    if (dxl > o.min_dx) flag(s, i - 1, score);
    if (dxr > o.min_dx) flag(s, i, score);
}

// After a sample came in at p of at least three.
void rescore(sarvo_fsampler_1d_t *s, int32_t p) {
    const int32_t last = s->count - 1;
    if (p == 0) {
        evaluate(s, 1);
        return;
    }
    unflag(s, p - 1);
    if (p > 1) evaluate(s, p - 1);
    if (p < last) evaluate(s, p);
    if (p + 1 < last) evaluate(s, p + 1);
}

// ---- Proposing ----

double midpoint(const Sample *samples, int32_t i) { return samples[i + 1].x * 0.5 + samples[i].x * 0.5; }

int32_t best_interval(const sarvo_fsampler_1d_t *s, double *x) {
    double best = 0.0;
    int32_t found = 0;
    for (int32_t i = 0; i + 1 < s->count; i++)
        if (s->samples[i].refine_score > best) {
            best = s->samples[i].refine_score;
            *x = midpoint(s->samples, i);
            found = 1;
        }
    return found;
}

// The list of midpoints and scores, the highest first; an entry passes predecessors with strictly lower scores.
int32_t best_intervals(const sarvo_fsampler_1d_t *s, int32_t nmax, double *xs, double *scores) {
    int32_t listed = 0;
    for (int32_t i = 0; i + 1 < s->count; i++) {
        const double score = s->samples[i].refine_score;
        if (!(score > 0.0)) continue;
        if (listed < nmax) listed++;
        else if (!(score > scores[nmax - 1])) continue;
        int32_t place = listed - 1;
        for (; place > 0 && score > scores[place - 1]; place--) {
            scores[place] = scores[place - 1];
            xs[place] = xs[place - 1];
        }
        scores[place] = score;
        xs[place] = midpoint(s->samples, i);
    }
    return listed;
}

bool empty(const sarvo_fsampler_1d_t *s) { return s->count == 0 || !s->samples; }

void copy_out(const Sample &sample, double *x, double *y, uint32_t *tag) {
    *x = sample.x;
    *y = sample.y;
    *tag = sample.tag;
}

// The sample whose y no other beats, the leftmost of equals.
template <class Beats> int32_t extreme(const sarvo_fsampler_1d_t *s, double *x, double *y, uint32_t *tag, Beats beats) {
    if (!s) return -1;
    if (empty(s)) return -2;
    const Sample *best = s->samples;
    for (int32_t i = 1; i < s->count; i++)
        if (beats(s->samples[i].y, best->y)) best = s->samples + i;
    copy_out(*best, x, y, tag);
    return 0;
}

} // namespace

extern "C" {

void sarvo_fsampler_1d_options_defaults(sarvo_fsampler_1d_options_t *options) {
    if (options) *options = {0.0, 0.001, 0.17364817766693033, 1e-6, 0};
}

sarvo_fsampler_1d_t *sarvo_fsampler_1d_new(const sarvo_fsampler_1d_options_t *options) {
    auto *s = static_cast<Sampler *>(malloc(sizeof(Sampler)));
    if (!s) return nullptr;
    *s = {};
    if (options) s->open.options = clamped(*options);
    else sarvo_fsampler_1d_options_defaults(&s->open.options);
    forget(s);
    return &s->open;
}

sarvo_fsampler_1d_options_t *sarvo_fsampler_1d_get_options(sarvo_fsampler_1d_t *sampler) {
    return sampler ? &sampler->options : nullptr;
}

void sarvo_fsampler_1d_destroy(sarvo_fsampler_1d_t *sampler) {
    if (!sampler) return;
    free(sampler->samples);
    free(sampler->refine_buf);
    free(sampler);
}

void sarvo_fsampler_1d_clear(sarvo_fsampler_1d_t *sampler) {
    if (sampler) forget(whole(sampler));
}

int32_t sarvo_fsampler_1d_is_done(const sarvo_fsampler_1d_t *sampler) {
    return !sampler || sampler->num_refine == 0 ? 1 : 0;
}

int32_t sarvo_fsampler_1d_num_samples(const sarvo_fsampler_1d_t *sampler) { return sampler ? sampler->count : 0; }

int32_t sarvo_fsampler_1d_num_refine(const sarvo_fsampler_1d_t *sampler) { return sampler ? sampler->num_refine : 0; }

int32_t sarvo_fsampler_1d_add(sarvo_fsampler_1d_t *sampler, double x, double y, uint32_t tag) {
    if (!sampler) return -1;
    widen(sampler, x, y);
    if (!grow(sampler)) return -2;
    const int32_t p = position(whole(sampler), x);
    Sample *place = sampler->samples + p;
    memmove(place + 1, place, static_cast<size_t>(sampler->count - p) * sizeof *place);
    *place = {x, y, 0.0, tag};
    if (sampler->count == 0) sampler->y_min = sampler->y_max = y;
    if (x != x) whole(sampler)->has_nan = true;
    sampler->count++;
    if (sampler->count > 2) rescore(sampler, p);
    return 0;
}

int32_t sarvo_fsampler_1d_get(const sarvo_fsampler_1d_t *sampler, int32_t i, double *x, double *y, uint32_t *tag) {
    if (!sampler) return -1;
    if (i >= sampler->count || !sampler->samples) return -2;
    copy_out(sampler->samples[i], x, y, tag);
    return 0;
}

int32_t sarvo_fsampler_1d_get_min(const sarvo_fsampler_1d_t *sampler, double *x, double *y, uint32_t *tag) {
    return extreme(sampler, x, y, tag, [](double a, double b) { return a < b; });
}

int32_t sarvo_fsampler_1d_get_max(const sarvo_fsampler_1d_t *sampler, double *x, double *y, uint32_t *tag) {
    return extreme(sampler, x, y, tag, [](double a, double b) { return a > b; });
}

int32_t sarvo_fsampler_1d_get_refine(sarvo_fsampler_1d_t *sampler, int32_t nmax, double *xs) {
    if (!sampler) return -1;
    if (nmax < 1) return -2;
    if (!xs) return -3;
    if (nmax > 1) {
        void *scores = realloc(sampler->refine_buf, static_cast<size_t>(nmax) * sizeof(double));
        if (!scores) free(sampler->refine_buf);
        sampler->refine_buf = static_cast<double *>(scores);
        if (!scores) return -4;
    }
    if (empty(sampler)) return 0;
    if (nmax == 1) return best_interval(sampler, xs);
    return best_intervals(sampler, nmax, xs, sampler->refine_buf);
}

} // extern "C"
