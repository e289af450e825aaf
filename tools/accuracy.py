#!/usr/bin/env python3
"""Prints the tables of docs/accuracy.md: errors of the special functions and distributions by function and branch.

usage: accuracy.py LIBSARVO [REFERENCE_TABLES]
Truth: mpmath with 40 digits on the exact doubles; arguments from a fixed seed.
"""
import csv
import ctypes
import math
import os
import random
import sys

import mpmath
from mpmath import mpf

mpmath.mp.dps = 40
library = ctypes.CDLL(sys.argv[1])
library.sarvo_initialize()
draw = random.Random(1)


class Failed(Exception):
    pass


def result(name, kinds, *arguments):
    """Calls an error-returning function; kinds: v e s the outputs, n an int, x a double. -> value, error."""
    f = getattr(library, name)
    f.restype = ctypes.c_uint64
    out = {k: ctypes.c_double(math.nan) for k in "ves"}
    rest = list(arguments)
    passed = [ctypes.byref(out[k]) if k in out else
              (ctypes.c_int32(int(rest.pop(0))) if k == "n" else ctypes.c_double(rest.pop(0))) for k in kinds]
    if f(*passed):
        raise Failed
    return out["v"].value, out["e"].value


def plain(name, *arguments):
    f = getattr(library, name)
    f.restype = ctypes.c_double
    return f(*(ctypes.c_double(a) for a in arguments)), None


def ulp(t):
    if not t:
        return mpf(2) ** -1074
    return mpf(2) ** max(int(mpmath.floor(mpmath.log(abs(t), 2))) - 52, -1074)


class Errors:
    def __init__(self):
        self.n = self.within = self.twice = 0
        self.worst = self.total = self.absolute = mpf(0)
        self.estimated = False

    def add(self, value, estimate, truth):
        error = abs(mpf(value) - truth)
        ulps = error / ulp(truth) if truth else mpf(0 if error == 0 else math.inf)
        self.n += 1
        self.worst, self.total, self.absolute = max(self.worst, ulps), self.total + ulps, max(self.absolute, error)
        if estimate is not None:
            self.estimated = True
            self.within += error <= estimate
            self.twice += error <= 2 * estimate + ulp(truth) / 2

    def row(self, *head):
        number = lambda x: mpmath.nstr(x, 2, min_fixed=-3, max_fixed=6)
        cells = list(head) + [str(self.n), number(self.worst), number(self.total / self.n), number(self.absolute)]
        if self.estimated:
            cells += ["%.1f" % (100 * self.within / self.n), "%.1f" % (100 * self.twice / self.n)]
        print("| " + " | ".join(cells) + " |")


def uniform(lo, hi):
    return lambda: draw.uniform(lo, hi)


def spread(lo, hi):
    return lambda: math.exp(draw.uniform(math.log(lo), math.log(hi)))


def near(centres, lo, hi):
    return lambda: draw.choice(centres) + draw.choice((-1, 1)) * spread(lo, hi)()


def integers(lo, hi):
    return lambda: draw.randint(lo, hi)


def pair(first, second):
    return lambda: (first(), second())


def ln_gamma(x):
    return mpmath.loggamma(mpf(x)).real


def hurwitz_zeta(s, q, terms=50):
    """Euler and Maclaurin's sum to 40 digits, relative also where zeta is tiny."""
    s, w = mpf(s), mpf(q) + terms
    total = mpmath.fsum((mpf(q) + k) ** -s for k in range(terms)) + w ** -s * (w / (s - 1) + mpf(1) / 2)
    factor = s * w ** (-s - 1)
    for j in range(1, 25):
        total += mpmath.bernoulli(2 * j) / mpmath.factorial(2 * j) * factor
        factor *= (s + 2 * j - 1) * (s + 2 * j) / w ** 2
    return total


def sweep(title, call, truth, branches, count=2000):
    for name, arguments in branches:
        errors = Errors()
        while errors.n < count:
            a = arguments()
            a = a if isinstance(a, tuple) else (a,)
            try:
                errors.add(*call(*a), truth(*a))
            except (Failed, ZeroDivisionError):
                continue
        errors.row("`%s`" % title, name)


COLUMNS = "worst, ulp | mean, ulp | worst absolute | estimate holds, % | twice and half an ulp, % |"


def functions():
    print("| function | branch | arguments | " + COLUMNS + "\n|---|---|---|---|---|---|---|---|")
    sweep("sarvo_lngamma_f", lambda x: result("sarvo_lngamma_f", "vesx", x), ln_gamma, [
        ("about 1", near([1.0], 1e-12, 0.01)), ("about 2", near([2.0], 1e-12, 0.01)),
        ("0.5 .. 3, Lanczos", uniform(0.5, 3)), ("3 .. 1000, Lanczos", spread(3, 1000)),
        ("1000 .. 10^300, Lanczos", spread(1e3, 1e300)), ("below 0.02", near([0.0], 1e-300, 0.02)),
        ("-0.5 .. 0.5", uniform(-0.5, 0.5)), ("-170 .. -0.5, reflection", uniform(-170, -0.5)),
        ("about -1", near([-1.0], 1e-12, 0.015)), ("about -2 .. -150", lambda: near([float(-draw.randint(2, 150))],
                                                                                  1e-12, 0.015)())])
    sweep("sarvo_lnfact_f", lambda n: result("sarvo_lnfact_f", "nve", n), lambda n: ln_gamma(n + 1), [
        ("2 .. 170, table", integers(2, 170)), ("above", integers(171, 10**6))])
    sweep("sarvo_gamma_f", lambda x: result("sarvo_gamma_f", "vex", x), lambda x: mpmath.gamma(mpf(x)), [
        ("1 .. 171, table", lambda: float(draw.randint(1, 171))), ("about 1", near([1.0], 1e-12, 0.01)),
        ("about 2", near([2.0], 1e-12, 0.01)), ("0.5 .. 5, exp of Lanczos", uniform(0.5, 5)),
        ("5 .. 10, series", uniform(5, 10)), ("10 .. 171, Stirling", uniform(10, 171)),
        ("-169 .. 0.5, reflection", uniform(-169, 0.5)), ("-171 .. -169, logarithms", uniform(-170.6, -169))])
    sweep("sarvo_lngamma_stirling", lambda x: plain("sarvo_lngamma_stirling", x), ln_gamma, [
        ("0.01 .. 7, shifted", spread(0.01, 7)), ("7 .. 10^6", spread(7, 1e6))])
    sweep("sarvo_psi_e", lambda x: result("sarvo_psi_e", "xve", x), lambda x: mpmath.psi(0, mpf(x)), [
        ("0 .. 1, series", spread(1e-10, 1)), ("1 .. 2, series", uniform(1, 2)), ("2 .. 10^6, asymptotic",
                                                                              spread(2, 1e6)),
        ("-2 .. 0, shifted", uniform(-2, 0)), ("-100 .. -2, reflection", uniform(-100, -2))])
    sweep("sarvo_psi_int_e", lambda n: result("sarvo_psi_int_e", "nve", n), lambda n: mpmath.psi(0, n), [
        ("1 .. 100, table", integers(1, 100)), ("above", integers(101, 10**6))])
    sweep("sarvo_psi1_int_e", lambda n: result("sarvo_psi1_int_e", "nve", n), lambda n: mpmath.psi(1, n), [
        ("1 .. 100, table", integers(1, 100)), ("above", integers(101, 10**6))])
    sweep("sarvo_psi1_e", lambda x: result("sarvo_psi1_e", "xve", x), lambda x: mpmath.psi(1, mpf(x)), [
        ("above 0, zeta", spread(1e-10, 1e6)), ("-5 .. 0, shifted", uniform(-5, 0)),
        ("-100 .. -5, reflection", uniform(-100, -5))])
    sweep("sarvo_psin_e", lambda n, x: result("sarvo_psin_e", "nxve", n, x), lambda n, x: mpmath.psi(n, mpf(x)), [
        ("n = 2 .. 6, x in 0.01 .. 100", pair(integers(2, 6), spread(0.01, 100))),
        ("n = 7 .. 100, x in 0.5 .. 20", pair(integers(7, 100), spread(0.5, 20)))], 1000)
    sweep("sarvo_hzeta_e", lambda s, q: result("sarvo_hzeta_e", "xxve", s, q),
          hurwitz_zeta, [
              ("one term", pair(uniform(54, 90), uniform(0.01, 1))),
              ("three terms", pair(uniform(27, 54), uniform(0.25, 1))),
              ("sum, s in 1.001 .. 27", pair(uniform(1.001, 27), spread(0.01, 1000))),
              ("sum, s in 27 .. 60, q > 1", pair(uniform(27, 60), uniform(1, 100)))], 1000)


def incomplete_beta(a, b, x, upper=False):
    a, b, x = mpf(a), mpf(b), mpf(x)
    return mpmath.betainc(a, b, *((x, 1) if upper else (0, x)), regularized=True)


def distributions():
    print("\n| function | arguments below, and tail | arguments | worst, ulp | mean, ulp | worst absolute |")
    print("|---|---|---|---|---|---|")
    for name, lo, hi in (("shapes 0.1 .. 10", 0.1, 10), ("shapes 10 .. 1000", 10, 1000)):
        shape = spread(lo, hi)

        def beta_point(lower):
            while True:
                a, b = shape(), shape()
                split, x = (1 + a) / (a + b + 2), draw.betavariate(a, b)
                if 0.0 < x < 1.0 and (x < split) == lower:
                    return a, b, x

        def gamma_point(lower):
            while True:
                a = shape()
                x = draw.gammavariate(a, 1)
                if x > 0.0 and (x < a + 1) == lower:
                    return a, x

        Q = lambda a, x: mpmath.gammainc(mpf(a), mpf(x), regularized=True)
        sweep("sarvo_rnd_betadf_value", lambda a, b, x: plain("sarvo_rnd_betadf_value", a, b, x), incomplete_beta, [
            (name + ", lower: the fraction", lambda: beta_point(True)),
            (name + ", upper: 1 minus", lambda: beta_point(False))], 300)
        sweep("sarvo_rnd_betadf_fraction",
              lambda a, b, x: plain("sarvo_rnd_betadf_fraction", b, a, 1 - x) if 1 - (1 - x) == x else plain("f"),
              lambda a, b, x: incomplete_beta(a, b, x, True), [
                  (name + ", upper tail", lambda: (lambda a, b, x: (a, b, 1 - (1 - x)))(*beta_point(False)))], 300)
        sweep("sarvo_rnd_gammadf_value", lambda a, x: plain("sarvo_rnd_gammadf_value", a, x),
              lambda a, x: 1 - Q(a, x), [
            (name + ", lower: the series", lambda: gamma_point(True)),
            (name + ", upper: 1 minus", lambda: gamma_point(False))], 300)
        sweep("sarvo_rnd_gammadf_fraction", lambda a, x: plain("sarvo_rnd_gammadf_fraction", a, x), Q, [
            (name + ", upper tail", lambda: gamma_point(False))], 300)
        sweep("sarvo_rnd_fdf", lambda d1, d2, x: plain("sarvo_rnd_fdf", d1, d2, x),
              lambda d1, d2, x: incomplete_beta(mpf(d1) / 2, mpf(d2) / 2, mpf(d1) * x / (mpf(d1) * x + d2)), [
                  (name.replace("shapes", "degrees"), lambda: (shape(), shape(), spread(0.1, 10)()))], 300)
        sweep("sarvo_rnd_studentdf", lambda nu, t: plain("sarvo_rnd_studentdf", nu, t),
              lambda nu, t: incomplete_beta(mpf(nu) / 2, mpf(1) / 2, nu / (mpf(t)**2 + nu)) / 2, [
                  (name.replace("shapes", "degrees") + ", t < 0", lambda: (shape(), -spread(0.01, 30)()))], 300)


def tables(folder):
    print("\n| table | tag | rows | " + COLUMNS)
    print("|---|---|---|---|---|---|---|---|")
    calls = {
        "lgamma": (1, lambda x: result("sarvo_lngamma_f", "vesx", x)),
        "gamma": (1, lambda x: result("sarvo_gamma_f", "vex", x)),
        "lnfact": (1, lambda n: result("sarvo_lnfact_f", "nve", n)),
        "digamma": (1, lambda x: result("sarvo_psi_e", "xve", x)),
        "trigamma": (1, lambda x: result("sarvo_psi1_e", "xve", x)),
        "polygamma": (2, lambda n, x: result("sarvo_psin_e", "nxve", n, x)),
        "hzeta": (2, lambda s, q: result("sarvo_hzeta_e", "xxve", s, q)),
        "gauss_pdf": (2, lambda x, s: plain("sarvo_rnd_gauss_df", x, s)),
        "beta_cdf": (3, lambda *a: plain("sarvo_rnd_betadf_value", *a)),
        "gamma_cdf": (2, lambda *a: plain("sarvo_rnd_gammadf_value", *a)),
        "f_cdf": (3, lambda *a: plain("sarvo_rnd_fdf", *a)),
        "student_cdf": (2, lambda *a: plain("sarvo_rnd_studentdf", *a)),
        "chi2_cdf": (2, lambda *a: plain("sarvo_rnd_chi2df", *a)),
        "beta_quantile": (3, lambda *a: plain("sarvo_rnd_betadf_inv", *a)),
        "gamma_quantile": (2, lambda *a: plain("sarvo_rnd_gammadf_inv", *a)),
        "f_quantile": (3, lambda *a: plain("sarvo_rnd_fdf_inv", *a)),
        "student_quantile": (2, lambda *a: plain("sarvo_rnd_studentdf_inv", *a)),
        "chi2_quantile": (2, lambda *a: plain("sarvo_rnd_chi2df_inv", *a))}
    for name, (inputs, call) in calls.items():
        by_tag = {}
        with open(os.path.join(folder, name + ".csv")) as file:
            rows = csv.reader(file)
            next(rows)
            for cells in rows:
                errors = by_tag.setdefault(cells[-1], Errors())
                errors.add(*call(*map(float, cells[:inputs])), mpf(cells[inputs]))
        for tag, errors in by_tag.items():
            errors.row(name, tag)


functions()
distributions()
if len(sys.argv) > 2:
    tables(sys.argv[2])
