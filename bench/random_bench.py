"""The peer of random_bench: times NumPy's fills in one process, one request a line: NAME SHAPE -> nanoseconds a value."""
import sys
import time

import numpy

count = 10**6
out = numpy.empty(count)
generator = numpy.random.Generator(numpy.random.PCG64(1))
legacy = numpy.random.RandomState(1)
fills = {
    "normal": lambda shape: generator.standard_normal(out=out),
    "normal_legacy": lambda shape: legacy.standard_normal(count),
    "gamma": lambda shape: generator.standard_gamma(shape, out=out),
    "gamma_legacy": lambda shape: legacy.standard_gamma(shape, count),
}
print("NumPy", numpy.__version__, flush=True)
for line in sys.stdin:
    name, shape = line.split()
    start = time.perf_counter()
    fills[name](float(shape))
    print((time.perf_counter() - start) / count * 1e9, flush=True)
