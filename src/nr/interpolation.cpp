// Interpolation: search in a table by bisection or hunting, cubic splines.
#include <sarvo/nr/interpolation.h>

#include "core/fail.h"

namespace sarvo::nr {
namespace {

constexpr double natural_from = 9.9e98;

int32_t hunt_distance(int32_t n) {
    int64_t k = 1;
    while ((k + 1) * (k + 1) * (k + 1) * (k + 1) <= n) k++;
    return static_cast<int32_t>(k);
}

sarko_error_t prepare(sarvo_nr_itpl *record, const double *x, const double *y, int32_t n, int32_t m) {
    if (!record) return fail(SarvoNullEC);
    if (n < 2 || m < 2 || m > n) return failf(SarvoNrSizeEC, "n=%d, m=%d", n, m);
    if (!x || !y) return fail(SarvoNullEC);
    *record = {n, m, 0, 0, hunt_distance(n), x, y, nullptr, 0};
    return 0;
}

// The search, in 64 bits: steps may pass the largest 32-bit index.
class Search {
public:
    Search(const sarvo_nr_itpl &record, double x)
        : table_(record.x), x_(x), n_(record.n), ascending_(table_[n_ - 1] >= table_[0]) {}

    int64_t bisect(int64_t lo, int64_t hi) const {
        while (hi - lo > 1) {
            const int64_t mid = (hi + lo) / 2;
            (beyond(mid) ? lo : hi) = mid;
        }
        return lo;
    }

    int64_t hunt(int64_t lo) const {
        if (lo < 0 || lo > n_ - 1) return bisect(0, n_ - 1);
        int64_t hi = lo;
        if (beyond(lo)) {
            for (int64_t step = 1;; step += step) {
                hi = lo + step;
                if (hi >= n_ - 1) {
                    hi = n_ - 1;
                    break;
                }
                if ((x_ < table_[hi]) == ascending_) break;
                lo = hi;
            }
        } else {
            for (int64_t step = 1;; step += step) {
                lo -= step;
                if (lo <= 0) {
                    lo = 0;
                    break;
                }
                if (beyond(lo)) break;
                hi = lo;
            }
        }
        return bisect(lo, hi);
    }

    // Where hunting from lo ends at once.
    bool stays(int64_t lo) const { return lo >= 0 && lo < n_ - 1 && beyond(lo) && (x_ < table_[lo + 1]) == ascending_; }

    int64_t whole() const { return bisect(0, n_ - 1); }

private:
    const double *table_;
    double x_;
    int64_t n_;
    bool ascending_;

    bool beyond(int64_t i) const { return (x_ >= table_[i]) == ascending_; } // the place is i or behind it
};

// Remembers the place and turns it into the first of the m points.
uint32_t settle(sarvo_nr_itpl *record, int64_t lo) {
    const int64_t distance = lo < record->last ? record->last - lo : lo - record->last;
    record->correlated = distance <= record->hunt_distance;
    record->last = static_cast<int32_t>(lo);
    const int64_t m = record->m;
    const int64_t wanted = lo - ((m - 2) >> 1);
    const int64_t last_possible = record->n - m;
    const int64_t first = wanted < last_possible ? wanted : last_possible;
    return static_cast<uint32_t>(first > 0 ? first : 0);
}

uint32_t locate(sarvo_nr_itpl *record, double x) { return settle(record, Search(*record, x).whole()); }

uint32_t hunt(sarvo_nr_itpl *record, double x) { return settle(record, Search(*record, x).hunt(record->last)); }

// The place for the spline: a record that hunts and whose place stays is left alone, so that no query waits for the
// one before to have written it.
uint32_t spline_place(sarvo_nr_itpl *record, double x) {
    if (record->correlated != 1) return locate(record, x);
    if (record->m == 2 && record->hunt_distance >= 0 && Search(*record, x).stays(record->last))
        return static_cast<uint32_t>(record->last);
    return hunt(record, x);
}

// u is work space for n - 1 values.
void second_derivatives(int32_t n, const double *x, const double *y, double yp0, double ypn, double *u, double *y2) {
    if (yp0 > natural_from) y2[0] = u[0] = 0.0;
    else {
        y2[0] = -0.5;
        u[0] = (3.0 / (x[1] - x[0])) * ((y[1] - y[0]) / (x[1] - x[0]) - yp0);
    }
    for (int32_t i = 1; i < n - 1; i++) {
        const double width = x[i + 1] - x[i - 1];
        const double sig = (x[i] - x[i - 1]) / width;
        const double p = sig * y2[i - 1] + 2.0;
        y2[i] = (sig - 1.0) / p;
        const double bend = (y[i + 1] - y[i]) / (x[i + 1] - x[i]) - (y[i] - y[i - 1]) / (x[i] - x[i - 1]);
        u[i] = (6.0 * bend / width - sig * u[i - 1]) / p;
    }
    double qn = 0.0;
    double un = 0.0;
    if (!(ypn > natural_from)) {
        const double h = x[n - 1] - x[n - 2];
        qn = 0.5;
        un = (3.0 / h) * (ypn - (y[n - 1] - y[n - 2]) / h);
    }
    y2[n - 1] = (un - qn * u[n - 2]) / (qn * y2[n - 2] + 1.0);
    for (int32_t k = n - 2; k >= 0; k--) y2[k] = y2[k] * y2[k + 1] + u[k];
}

sarko_error_t allocate(double **values, uint64_t count) {
    void *p = nullptr;
    const sarko_error_t e = sarko_mem_vector_alloc(&p, sizeof(double), 0, count - 1);
    *values = static_cast<double *>(p);
    return e;
}

void release(double *values, uint64_t count) { (void)sarko_mem_vector_free(values, sizeof(double), 0, count - 1); }

} // namespace
} // namespace sarvo::nr

using namespace sarvo;

extern "C" {

sarko_error_t sarvo_nr_itpl_init(sarvo_nr_itpl *record, const double *x, const double *y, int32_t n, int32_t m) {
    return wrap(nr::prepare(record, x, y, n, m), "Cannot init interpolation.");
}

sarko_error_t sarvo_nr_itpl_init_cspline(sarvo_nr_itpl *record, const double *x, const double *y, double *y2, int32_t n,
                                         double yp0, double ypn) {
    if (record) { // to be released safely whatever happens
        record->y2 = nullptr;
        record->y2_owned = 0;
    }
    if (sarko_error_t e = sarvo_nr_itpl_init(record, x, y, n, 2)) return e;
    const auto count = static_cast<uint64_t>(n);
    double *u, *own = nullptr;
    if (sarko_error_t e = nr::allocate(&u, count - 1)) return e;
    if (!y2) {
        if (sarko_error_t e = nr::allocate(&own, count)) {
            nr::release(u, count - 1);
            return e;
        }
    }
    record->y2 = y2 ? y2 : own;
    record->y2_owned = own ? 1 : 0;
    nr::second_derivatives(n, x, y, yp0, ypn, u, record->y2);
    nr::release(u, count - 1);
    return 0;
}

void sarvo_nr_itpl_free_cspline(sarvo_nr_itpl *record) {
    if (!record || record->y2_owned == 0) return;
    nr::release(record->y2, static_cast<uint64_t>(record->n));
    record->y2 = nullptr;
    record->y2_owned = 0;
}

uint32_t sarvo_nr_itpl_locate(sarvo_nr_itpl *record, double x) { return nr::locate(record, x); }

uint32_t sarvo_nr_itpl_hunt(sarvo_nr_itpl *record, double x) { return nr::hunt(record, x); }

sarko_error_t sarvo_nr_itpl_cspline(sarvo_nr_itpl *record, double *result, double x) {
    const uint32_t lo = nr::spline_place(record, x);
    const uint32_t hi = lo + 1;
    const double h = record->x[hi] - record->x[lo];
    if (h == 0.0) return fail(SarvoNrStepEC);
    const double a = (record->x[hi] - x) / h;
    const double b = (x - record->x[lo]) / h;
    const double bend = (a * a * a - a) * record->y2[lo] + (b * b * b - b) * record->y2[hi];
    *result = a * record->y[lo] + b * record->y[hi] + bend * (h * h) / 6.0;
    return 0;
}

} // extern "C"
