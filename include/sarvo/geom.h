/* geom: plane geometry predicates: a point in a polygon, a rectangle against a circle.
 *
 * They allocate nothing, report no errors and keep no state. Every operation is rounded by itself in the order stated.
 *
 *     #include <sarvo/geom.h>
 *     int main(void) {
 *         static const double x[] = {0, 1, 1, 0}, y[] = {0, 0, 1, 1};
 *         double far_dist;
 *         sarvo_initialize();
 *         printf("%d", sarvo_geom_pnpoly(4, x, y, 0.5, 0.5));                                      // 1
 *         printf(" %d", sarvo_geom_rect_circle_itest(NULL, &far_dist, 0, 0, 1, 1, 0.5, 0.5, 1.0)); // 1, 0.707107
 *         printf(" %g\n", far_dist);
 *         sarvo_terminate();
 *     }
 */
#ifndef SARVO_GEOM_H
#define SARVO_GEOM_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 1 when the point is inside the polygon, else 0 (even-odd rule, either orientation, self-intersections allowed).
 *   nvert          vertices; 0 gives 0 and nothing is read
 *   vertx, verty   nvert coordinates each; the last vertex is joined to the first
 * Inside means that an odd number of edges (j, i), j before i, crosses the ray to the right of the point: those with
 * (y_i > testy) != (y_j > testy) and (testy - y_i) (x_j - x_i) / (y_j - y_i) + x_i > testx. A point on an edge that two
 * polygons share is inside exactly one of them. */
SARVO_API int32_t sarvo_geom_pnpoly(uint32_t nvert, const double *vertx, const double *verty, double testx,
                                    double testy);

/* The same for integers, the quotient truncated toward zero.
 *   nvals   integers in pts, two a vertex; an odd last one is ignored; below 2 gives 0
 *   pts     x0, y0, x1, y1, ...
 * Differences, products and sums wrap modulo 2^64 when they do not fit. */
SARVO_API int32_t sarvo_geom_pnpoly_int64v(uint32_t nvals, const int64_t *pts, int64_t testx, int64_t testy);

/* The rectangle [x, x + w] x [y, y + h] against the circle around (cx, cy): 1 when it lies strictly inside, -1 when it
 * lies wholly outside, 0 when they meet (touching included).
 *     fx = max(|cx - x|, |x + w - cx|), fy = max(|cy - y - h|, |y - cy|), F^2 = fx^2 + fy^2;  r^2 > F^2: inside
 *     nx = cx - max(x, min(cx, x + w)), ny = cy - max(y, min(cy, y + h)), N^2 = nx^2 + ny^2;  N^2 > r^2: outside
 *   near_dist, far_dist   receive N and F, the distances of the centre from the nearest and the farthest point of the
 *                         rectangle; either may be null */
SARVO_API int32_t sarvo_geom_rect_circle_itest(double *near_dist, double *far_dist, double x, double y, double w,
                                               double h, double cx, double cy, double r);

#ifdef __cplusplus
}
#endif

#endif
