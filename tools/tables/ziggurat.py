#!/usr/bin/env python3
"""Writes src/rng/ziggurat_tables.cpp from the definition of the 128 layers: tools/tables/ziggurat.py > src/rng/ziggurat_tables.cpp

f(x) = exp(-x^2/2), x(y) = sqrt(-2 ln y). From the tail's start R up, each layer of area v = f(R) (R + 1/R) adds the height
v / x(y); R is where the top of the last of the 127 layers comes to lie at height 1. All of it with 50 digits; each stored value is
rounded to 12 significant digits at the end.
"""
from decimal import Decimal, getcontext

getcontext().prec = 50
LAYERS = 128
SCALE = Decimal(2) ** 24


def f(x):
    return (-x * x / 2).exp()


def abscissa(y):
    return (-2 * y.ln()).sqrt()


def heights(R):
    """The 128 heights from the top down to f(R); the top is not a height below 1 when R is too small: None then."""
    v = f(R) * (R + 1 / R)
    y = [f(R)]
    for _ in range(LAYERS - 1):
        if y[-1] >= 1:
            return None
        y.append(y[-1] + v / abscissa(y[-1]))
    return y[::-1]


def tail_start():
    low, high = Decimal(3), Decimal(4)  # the layers overshoot height 1 at low and do not reach it at high
    for _ in range(150):
        R = (low + high) / 2
        y = heights(R)
        if y is None or y[0] > 1:
            low = R
        else:
            high = R
    return (low + high) / 2


def tables():
    R = tail_start()
    y = heights(R)
    y[0] = Decimal(1)
    right = [abscissa(y[i + 1]) for i in range(LAYERS - 1)] + [R + 1 / R]  # v / f(R) is the base's pseudo-width
    left = [abscissa(y[i]) for i in range(LAYERS - 1)] + [R]
    return R, y, [r / SCALE for r in right], [int(SCALE * l / r) for l, r in zip(left, right)]


def rows(values, per_line):
    lines = [", ".join(values[i:i + per_line]) for i in range(0, LAYERS, per_line)]
    return "\n".join("    " + line + "," for line in lines)


def main():
    R, y, w, k = tables()
    print("// The three tables of the 128-layer ziggurat, written by tools/tables/ziggurat.py (R = %s).\n"
          '#include "ziggurat_tables.h"\n\nnamespace sarvo::ziggurat {\n\n// clang-format off' % format(R, ".30g"))
    for kind, name, values, per_line in (
            ("double", "height", [format(v, ".11e") for v in y], 5),
            ("double", "width", [format(v, ".11e") for v in w], 5),
            ("uint64_t", "inside", [str(v) for v in k], 10)):
        print("const %s %s[layers] = {\n%s\n};\n" % (kind, name, rows(values, per_line)))
    print("// clang-format on\n\n} // namespace sarvo::ziggurat")


main()
