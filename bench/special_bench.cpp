// Special functions, distributions and their inverses beside Boost.Math and the plain loops: nanoseconds a value.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <vector>

#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/digamma.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/math/special_functions/polygamma.hpp>
#include <boost/math/special_functions/trigamma.hpp>
#include <boost/version.hpp>
#include <sarvo/rnd.h>
#include <sarvo/specfunc.h>

#include "harness.h"
#include "special_literal.h"

namespace {

namespace bm = boost::math;
using Policy = bm::policies::policy<bm::policies::promote_double<false>, bm::policies::promote_float<false>>;

constexpr int rounds = 41;
struct Point {
    double a, b, c;
};
using Points = std::vector<Point>;
using Function = std::function<double(const Point &)>;

struct Peer {
    std::string name;
    Function f;
    bool equal_bits; // else equal to `tolerance`
    double at_least; // ratio to reach, 0: none
};

bool close(double x, double y, bool equal_bits, double tolerance) {
    if (equal_bits) return x == y;
    if (std::fabs(x) > 1e4) return true; // of F and t, formed by w / (1 - w): few digits of 1 - w are left
    return std::fabs(x - y) <= tolerance * (1.0 + std::fabs(y));
}

// Each candidate sums its values over all points; the results are compared first.
bool row(const std::string &what, const Points &points, const Function &ours, const std::vector<Peer> &peers,
         double tolerance = 1e-9) {
    bool right = true;
    std::vector<bench::Candidate> candidates;
    volatile double sink = 0.0;
    const auto add = [&](const std::string &name, const Function &f) {
        candidates.push_back({name, {}, [&points, f, &sink] {
                                  double sum = 0.0;
                                  for (const Point &p : points) sum += f(p);
                                  sink = sum;
                              }});
    };
    add("sarvo", ours);
    for (const Peer &peer : peers) {
        add(peer.name, peer.f);
        for (const Point &p : points) {
            if (close(ours(p), peer.f(p), peer.equal_bits, tolerance)) continue;
            std::printf("WRONG: %s at %.17g, %.17g, %.17g: %.17g, %s %.17g\n", what.c_str(), p.a, p.b, p.c, ours(p),
                        peer.name.c_str(), peer.f(p));
            right = false;
            break;
        }
    }
    const auto t = bench::interleave(candidates, rounds);
    const double unit = 1e9 / static_cast<double>(points.size());
    std::printf("%-34s | %8.1f (%.1f .. %.1f)", what.c_str(), t[0].median * unit, t[0].low * unit, t[0].high * unit);
    for (size_t i = 0; i < peers.size(); i++) {
        const double ratio = t[i + 1].median / t[0].median;
        std::printf(" | %s %.1f, ratio %.2f", peers[i].name.c_str(), t[i + 1].median * unit, ratio);
        if (peers[i].at_least > 0.0)
            std::printf(" (wanted %.1f%s)", peers[i].at_least, ratio < peers[i].at_least ? ": BELOW" : "");
    }
    std::printf("\n");
    std::fflush(stdout);
    return right;
}

Points points(int n, const std::function<Point(std::function<double(double, double)>)> &make) {
    static std::mt19937_64 engine(1);
    const auto uniform = [](double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(engine); };
    Points p(static_cast<size_t>(n));
    for (Point &x : p) x = make(uniform);
    return p;
}

template <class Uniform> double logarithmic(Uniform uniform, double lo, double hi) {
    return std::exp(uniform(std::log(lo), std::log(hi)));
}

bool functions() {
    const Policy policy;
    const auto x = points(2000, [](auto u) { return Point{logarithmic(u, 0.01, 1000.0), u(1.5, 30.0), 0.0}; });
    const auto small = points(2000, [](auto u) { return Point{u(-20.0, 171.0), 0.0, 0.0}; });
    double value, error;
    bool right = true;
    const double ranges[][2] = {{0.0, 100.0}, {0.02, 0.5}, {0.5, 3.0}, {3.0, 100.0}, {100.0, 1000.0}, {-50.0, 0.0}};
    for (const auto &range : ranges) {
        const auto z = points(2000, [&](auto u) { return Point{u(range[0], range[1]), 0.0, 0.0}; });
        char name[64];
        std::snprintf(name, sizeof name, "sarvo_lngamma_f, x in [%g, %g]", range[0], range[1]);
        const double wanted = range[1] - range[0] == 100.0 ? 1.3 : 0.0;
        right = row(name, z, [&](const Point &p) { return sarvo_lngamma_f(&value, &error, nullptr, p.a), value; },
                    {{"Boost", [=](const Point &p) { return bm::lgamma(p.a, policy); }, false, wanted}}) &&
                right;
    }
    right = row("sarvo_gamma_f, x in [-20, 171]", small,
                [&](const Point &p) { return sarvo_gamma_f(&value, &error, p.a), value; },
                {{"Boost", [=](const Point &p) { return bm::tgamma(p.a, policy); }, false, 0.7}}) &&
            right;
    right = row("sarvo_psi_e", x, [&](const Point &p) { return sarvo_psi_e(p.a, &value, nullptr), value; },
                {{"plain", [](const Point &p) { return bench::plain::digamma(p.a); }, true, 1.0},
                 {"Boost", [=](const Point &p) { return bm::digamma(p.a, policy); }, false, 0.0}}) &&
            right;
    right = row("sarvo_psi1_e", x, [&](const Point &p) { return sarvo_psi1_e(p.a, &value, nullptr), value; },
                {{"plain", [](const Point &p) { return bench::plain::hurwitz_zeta(2.0, p.a); }, true, 1.0},
                 {"Boost", [=](const Point &p) { return bm::trigamma(p.a, policy); }, false, 0.0}}) &&
            right;
    right = row("sarvo_psin_e, n = 3", x, [&](const Point &p) { return sarvo_psin_e(3, p.a, &value, nullptr), value; },
                {{"plain", [](const Point &p) { return bench::plain::polygamma(3, p.a); }, true, 1.0},
                 {"Boost", [=](const Point &p) { return bm::polygamma(3, p.a, policy); }, false, 0.0}}) &&
            right;
    return row("sarvo_hzeta_e, s in [1.5, 30]", x,
               [&](const Point &p) { return sarvo_hzeta_e(p.b, p.a, &value, nullptr), value; },
               {{"plain", [](const Point &p) { return bench::plain::hurwitz_zeta(p.b, p.a); }, true, 1.0}}) &&
           right;
}

bool distributions(double lo, double hi, bool wanted) {
    const Policy policy;
    const double want = wanted ? 1.0 : 0.0;
    char range[64];
    std::snprintf(range, sizeof range, ", shapes in [%g, %g]", lo, hi);
    const auto shapes = points(500, [=](auto u) {
        return Point{logarithmic(u, lo, hi), logarithmic(u, lo, hi), u(0.001, 0.999)};
    });
    Points at = shapes, above = shapes; // arguments of the functions: quantiles
    for (Point &p : at) p.c = bm::ibeta_inv(p.a, p.b, p.c, policy);
    for (Point &p : above) p.c = bm::gamma_p_inv(p.a, p.c, policy);
    bool right =
        row(std::string("beta") + range, at, [](const Point &p) { return sarvo_rnd_betadf_value(p.a, p.b, p.c); },
            {{"Boost", [=](const Point &p) { return bm::ibeta(p.a, p.b, p.c, policy); }, false, 0.8 * want}});
    right = row(std::string("gamma") + range, above, [](const Point &p) { return sarvo_rnd_gammadf_value(p.a, p.c); },
                {{"Boost", [=](const Point &p) { return bm::gamma_p(p.a, p.c, policy); }, false, 0.5 * want}}) &&
            right;
    right =
        row(std::string("beta inverse") + range, shapes,
            [](const Point &p) { return sarvo_rnd_betadf_inv(p.a, p.b, p.c); },
            {{"plain", [](const Point &p) { return bench::plain::beta_bisection(p.a, p.b, p.c); }, true, 5.0 * want},
             {"Boost", [=](const Point &p) { return bm::ibeta_inv(p.a, p.b, p.c, policy); }, false, want}}) &&
        right;
    right = row(
                std::string("F inverse") + range, shapes,
                [](const Point &p) { return sarvo_rnd_fdf_inv(2.0 * p.a, 2.0 * p.b, p.c); },
                {{"plain",
                  [](const Point &p) {
                      const double w = bench::plain::beta_bisection(p.a, p.b, p.c);
                      return 2.0 * p.b * w / (2.0 * p.a) / (1.0 - w);
                  },
                  true, 5.0 * want},
                 {"Boost",
                  [=](const Point &p) {
                      return quantile(bm::fisher_f_distribution<double, Policy>(2.0 * p.a, 2.0 * p.b), p.c);
                  },
                  false, want}},
                1e-6) &&
            right;
    right = row(
                std::string("Student inverse") + range, shapes,
                [](const Point &p) { return sarvo_rnd_studentdf_inv(2.0 * p.a, p.c); },
                {{"plain",
                  [](const Point &p) {
                      const double w = bench::plain::beta_bisection(0.5, p.a, p.c);
                      const double t = std::sqrt(2.0 * p.a * w / (1.0 - w));
                      return p.c < 0.5 ? -t : t;
                  },
                  true, 5.0 * want},
                 {"Boost",
                  [=](const Point &p) { // P(|T| <= t) = p at the one-sided (1 + p) / 2
                      const double t =
                          quantile(bm::students_t_distribution<double, Policy>(2.0 * p.a), 0.5 + 0.5 * p.c);
                      return p.c < 0.5 ? -t : t;
                  },
                  false, 0.3 * want}},
                1e-6) &&
            right;
    return row(std::string("gamma inverse") + range, shapes,
               [](const Point &p) { return sarvo_rnd_gammadf_inv(p.a, p.c); },
               {{"plain", [](const Point &p) { return bench::plain::gamma_bisection(p.a, p.c); }, true, 5.0 * want},
                {"Boost", [=](const Point &p) { return bm::gamma_p_inv(p.a, p.c, policy); }, false, 0.3 * want}}) &&
           right;
}

} // namespace

int main() {
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("Boost.Math " BOOST_LIB_VERSION ", double without promotion");
    std::printf("ns a value (quartiles) | peers, ratio = peer / ours\n");
    bool right = functions();
    right = distributions(0.5, 50.0, true) && right;
    right = distributions(0.05, 0.5, false) && right;
    right = distributions(50.0, 5000.0, false) && right;
    if (!right) std::printf("WRONG RESULT\n");
    sarvo_terminate();
    return right ? 0 : 1;
}
