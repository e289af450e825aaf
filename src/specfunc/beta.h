// The regularised incomplete beta function as its distributions and their inverses use it.
#pragma once

namespace sarvo::special {

// Shapes a and b with what all arguments x share.
struct Beta {
    double a, b;
    double ln_beta; // ln B(a, b); the same double for (b, a)
    double split;   // below it the fraction gives I_x(a, b), from it on 1 - I_{1-x}(b, a)

    Beta(double a, double b);
};

// Gauss's continued fraction f with I_x(a, b) = x^a (1-x)^b / (a B(a, b)) f, f = 2F1(a + b, 1; a + 1; x), meant for x
// below the split. *ended is false after 2^24 steps, when it is given up.
double beta_continued_fraction(double a, double b, double x, bool *ended = nullptr);

// x^a (1-x)^b / B(a, b)
double beta_front(double a, double b, double ln_beta, double x);

double beta_value(const Beta &beta, double x); // I_x(a, b)

// The last midpoint of the bisection for I_w(a, b) = p on [0, 1], 0 < p < 1.
double beta_inverse(double a, double b, double p);

} // namespace sarvo::special
