// Instances of the plain loops that the tests take as reference.
#include "special_literal.h"

#include "literal.h"
#include "literal_functions.h"

namespace bench::plain {

double digamma(double x) { return literal::digamma(x); }
double polygamma(int n, double x) { return literal::polygamma(n, x); }
double hurwitz_zeta(double s, double q) { return literal::hurwitz_zeta(s, q); }
double beta_bisection(double a, double b, double p) { return literal::beta_bisection(a, b, p); }
double gamma_bisection(double a, double p) { return literal::gamma_bisection(a, p); }

} // namespace bench::plain
