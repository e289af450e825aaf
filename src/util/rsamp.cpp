// Summary statistics: over an array, and one observation at a time.
#include <sarvo/rsamp.h>

namespace {

double sum(const double *x, int32_t n) {
    double s = 0.0;
    for (int32_t i = 0; i < n; i++) s += x[i];
    return s;
}

double skewness_of(double weight, double m2, double m3) { return __builtin_sqrt(weight / (m2 * m2 * m2)) * m3; }

double kurtosis_of(double weight, double m2, double m4) { return weight * m4 / (m2 * m2) - 3.0; }

void update_extremes(sarvo_rsamp_incr_t *acc, double x) {
    if (x > acc->max) acc->max = x;
    if (acc->min > x) acc->min = x;
}

} // namespace

extern "C" {

double sarvo_rsamp_mean(const double *x, int32_t n) { return n < 1 ? 0.0 : sum(x, n) / n; }

double sarvo_rsamp_mean_variance(const double *x, int32_t n, double *mean_out) {
    const double mean = sarvo_rsamp_mean(x, n);
    if (mean_out) *mean_out = mean;
    if (n < 2) return 0.0;
    double s1 = 0.0;
    double s2 = 0.0;
    for (int32_t i = 0; i < n; i++) {
        const double d = x[i] - mean;
        s1 += d;
        s2 += d * d;
    }
    return (s2 - s1 * s1 / n) / (n - 1);
}

void sarvo_rsamp_statistics4(const double *x, int32_t n, double *mean, double *variance, double *skewness,
                             double *kurtosis) {
    double k = 0.0, m = 0.0, M2 = 0.0, M3 = 0.0, M4 = 0.0;
    double d = n < 1 ? 0.0 : x[0] - m;
    double dn = d;
    for (int32_t i = 0; i < n; i++) {
        const double k_old = k;
        k += 1.0;
        m += dn;
        // The next division begins before the moments that wait for nothing: the mean is the longest chain.
        const double d_next = x[i + 1 < n ? i + 1 : i] - m;
        const double dn_next = d_next / (k + 1.0);
        const double dn2 = dn * dn;
        const double t = d * dn * k_old;
        M4 = M4 + t * dn2 * (k * k - 3.0 * k + 3.0) + 6.0 * dn2 * M2 - 4.0 * dn * M3;
        M3 = M3 + t * dn * (k - 2.0) - 3.0 * dn * M2;
        M2 = M2 + t;
        d = d_next;
        dn = dn_next;
    }
    if (mean) *mean = m;
    if (variance && k > 1.0) *variance = M2 / (k - 1.0);
    if (M2 == 0.0) return;
    if (skewness) *skewness = skewness_of(k, M2, M3);
    if (kurtosis) *kurtosis = kurtosis_of(k, M2, M4);
}

void sarvo_rsamp_incr_init(sarvo_rsamp_incr_t *acc) {
    *acc = {};
    acc->min = SarvoDblXmax;
    acc->max = -SarvoDblXmax;
}

void sarvo_rsamp_incr_add(sarvo_rsamp_incr_t *acc, double x) {
    const uint64_t n_old = acc->n;
    acc->n = n_old + 1;
    const double k = static_cast<double>(acc->n);
    const double d = x - acc->mean;
    const double dn = d / k;
    const double dn2 = dn * dn;
    const double t = static_cast<double>(n_old) * d * dn;
    const double m2 = acc->m2;
    const double m3 = acc->m3;
    acc->m3 = m3 + static_cast<double>(n_old - 1) * t * dn - 3.0 * dn * m2;
    acc->m4 = acc->m4 + t * dn2 * (k * k - 3.0 * k + 3.0) + 6.0 * dn2 * m2 - 4.0 * dn * m3;
    acc->mean += dn;
    acc->m2 = m2 + t;
    update_extremes(acc, x);
}

void sarvo_rsamp_incr_add_w(sarvo_rsamp_incr_t *acc, double x, double w) {
    acc->n++;
    if (w != 0.0) { // NaN included
        const double W_old = acc->sum_w;
        const double W = W_old + w;
        const double d = x - acc->mean;
        const double r = w / W;
        const double dn = r * d;
        const double e = W_old / W * d;
        const double dn2 = dn * dn;
        const double e2 = e * e;
        const double m2 = acc->m2;
        const double m3 = acc->m3;
        acc->sum_w = W;
        acc->m4 = acc->m4 + W_old * (dn2 * dn2) + w * (e2 * e2) - 4.0 * d * m3 * r + 6.0 * (d * d) * m2 * (r * r);
        acc->m3 = m3 - W_old * (dn2 * dn) + w * (e2 * e) - 3.0 * d * m2 * r;
        acc->mean += dn;
        acc->m2 = m2 + W_old * dn2 + w * e2;
    }
    update_extremes(acc, x);
}

void sarvo_rsamp_incr_calc(sarvo_rsamp_incr_t *acc) {
    if (acc->n < 2 || acc->m2 == 0.0) return;
    const bool weighted = acc->sum_w != 0.0;
    const double n = static_cast<double>(acc->n);
    const double weight = weighted ? acc->sum_w : n;
    acc->variance = acc->m2 / (weighted ? weight : n - 1.0);
    acc->skewness = skewness_of(weight, acc->m2, acc->m3);
    acc->kurtosis = kurtosis_of(weight, acc->m2, acc->m4);
}

} // extern "C"
