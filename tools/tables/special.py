#!/usr/bin/env python3
"""Prints src/specfunc/tables.cpp: factorials, psi(n) and psi'(n), each the double nearest to the exact value.

n! is exact; psi(n) = -gamma + sum 1/k, psi'(n) = pi^2/6 - sum 1/k^2 (k = 1 .. n-1) in rationals, with gamma by Brent and
McMillan (1980) and pi by Machin (1706) to more than 60 digits. Python rounds a Fraction correctly when it makes it a float.
"""
from decimal import Decimal, getcontext
from fractions import Fraction
from math import factorial

getcontext().prec = 90


def euler_gamma():
    """A/B with B = sum (n^k / k!)^2, A = sum (n^k / k!)^2 (H_k - ln n); the error is below 10^-65 at n = 40."""
    n = 40
    ln_n = Decimal(n).ln()
    a, b, term, harmonic = -ln_n, Decimal(1), Decimal(1), Decimal(0)
    for k in range(1, 400):
        term = term * n * n / (k * k)
        harmonic += Decimal(1) / k
        a += term * (harmonic - ln_n)
        b += term
    return Fraction(a / b)


def arctan_inverse(q):
    return sum(Fraction((-1) ** k, (2 * k + 1) * q ** (2 * k + 1)) for k in range(60))


def rows(values, per_line):
    lines = [", ".join(values[i:i + per_line]) for i in range(0, len(values), per_line)]
    return "\n".join("    " + line + "," for line in lines)


def main():
    gamma = euler_gamma()
    pi = 16 * arctan_inverse(5) - 4 * arctan_inverse(239)
    psi, psi1 = [Fraction(0), -gamma], [Fraction(0), pi * pi / 6]
    for k in range(1, 100):
        psi.append(psi[-1] + Fraction(1, k))
        psi1.append(psi1[-1] - Fraction(1, k * k))
    factorials = ["{%d, %r, %d}" % (n, float(Fraction(factorial(n))), factorial(n) if n <= 12 else 0)
                  for n in range(171)]
    print('// Factorials, psi and psi\' at integers, correctly rounded; written by tools/tables/special.py.\n'
          '#include "tables.h"\n\nnamespace sarvo::special {\n\n// clang-format off')
    print("const Factorial factorials[171] = {\n%s\n};\n" % rows(factorials, 3))
    print("const double psi_at_integer[101] = {\n%s\n};\n" % rows([repr(float(v)) for v in psi], 5))
    print("const double psi1_at_integer[101] = {\n%s\n};\n" % rows([repr(float(v)) for v in psi1], 5))
    print("// clang-format on\n\n} // namespace sarvo::special")


main()
