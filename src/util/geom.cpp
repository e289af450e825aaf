// Plane geometry predicates: a point in a polygon, a rectangle against a circle.
#include <sarvo/geom.h>

#include "simd/simd.h"

namespace {

double smaller(double a, double b) { return a < b ? a : b; }
double larger(double a, double b) { return a > b ? a : b; }

// ---- Integers that wrap where they do not fit ----

int64_t wrapped(uint64_t x) { return static_cast<int64_t>(x); }
int64_t add(int64_t a, int64_t b) { return wrapped(static_cast<uint64_t>(a) + static_cast<uint64_t>(b)); }
int64_t subtract(int64_t a, int64_t b) { return wrapped(static_cast<uint64_t>(a) - static_cast<uint64_t>(b)); }
int64_t multiply(int64_t a, int64_t b) { return wrapped(static_cast<uint64_t>(a) * static_cast<uint64_t>(b)); }
int64_t divide(int64_t a, int64_t b) { return b == -1 ? subtract(0, a) : a / b; } // the least by -1 does not fit

struct Point {
    int64_t x, y;
};

bool crosses(Point j, Point i, Point test) {
    if ((i.y > test.y) == (j.y > test.y)) return false;
    const int64_t numerator = multiply(subtract(test.y, i.y), subtract(j.x, i.x));
    return add(divide(numerator, subtract(j.y, i.y)), i.x) > test.x;
}

} // namespace

extern "C" {

int32_t sarvo_geom_pnpoly(uint32_t nvert, const double *vertx, const double *verty, double testx, double testy) {
    if (nvert == 0) return 0;
    const sarvo::simd::Kernels &kernels = sarvo::simd::kernels();
    // The edge from the last vertex to the first, then those of the chain: of their number only the parity counts.
    const double x[] = {vertx[nvert - 1], vertx[0]};
    const double y[] = {verty[nvert - 1], verty[0]};
    const uint64_t crossings =
        kernels.crossings(2, x, y, testx, testy) + kernels.crossings(nvert, vertx, verty, testx, testy);
    return crossings % 2 == 1 ? 1 : 0;
}

int32_t sarvo_geom_pnpoly_int64v(uint32_t nvals, const int64_t *pts, int64_t testx, int64_t testy) {
    const uint32_t nvert = nvals / 2;
    if (nvert == 0) return 0;
    const Point test = {testx, testy};
    const auto vertex = [pts](uint64_t i) { return Point{pts[2 * i], pts[2 * i + 1]}; };
    bool inside = false;
    Point j = vertex(nvert - 1);
    for (uint64_t k = 0; k < nvert; k++) {
        const Point i = vertex(k);
        inside ^= crosses(j, i, test);
        j = i;
    }
    return inside ? 1 : 0;
}

int32_t sarvo_geom_rect_circle_itest(double *near_dist, double *far_dist, double x, double y, double w, double h,
                                     double cx, double cy, double r) {
    const double fx = larger(__builtin_fabs(cx - x), __builtin_fabs(x + w - cx));
    const double fy = larger(__builtin_fabs(cy - y - h), __builtin_fabs(y - cy));
    const double far_squared = fx * fx + fy * fy;
    const double nx = cx - larger(x, smaller(cx, x + w));
    const double ny = cy - larger(y, smaller(cy, y + h));
    const double near_squared = nx * nx + ny * ny;
    if (near_dist) *near_dist = __builtin_sqrt(near_squared);
    if (far_dist) *far_dist = __builtin_sqrt(far_squared);
    if (r * r > far_squared) return 1;
    return near_squared > r * r ? -1 : 0;
}

} // extern "C"
