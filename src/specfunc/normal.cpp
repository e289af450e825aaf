// The normal density.
#include <sarvo/rnd.h>

#include "core/elementary.h"

extern "C" double sarvo_rnd_gauss_df(double x, double sigma) {
    const double s = __builtin_fabs(sigma);
    const double u = x / s;
    return sarvo::elementary::exp(-(u * u) / 2.0) / (s * 2.5066282746310002); // sqrt(2 pi)
}
