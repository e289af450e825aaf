// The plain loops beside which the special functions are timed, compiled like the library.
#pragma once

namespace bench::plain {

double digamma(double x);
double polygamma(int n, double x);
double hurwitz_zeta(double s, double q);
double beta_bisection(double a, double b, double p);
double gamma_bisection(double a, double p);

} // namespace bench::plain
