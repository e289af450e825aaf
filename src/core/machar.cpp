// Machine characteristics: the parameters of floating-point arithmetic found by experiment (Cody 1988, Malcolm 1972).
#include <sarvo/sarvo.h>

namespace {

// Every intermediate is a volatile variable: stored in its own precision, never kept wider, merged or reassociated.
template <class T> struct Machar {
    using Stored = volatile T;

    int32_t ibeta = 0, it = 0, irnd = 0, ngrd = 0, machep = 0, negep = 0, iexp = 0, minexp = 0, maxexp = 0;
    Stored eps = 0, epsneg = 0, xmin = 0, xmax = 0;

    Stored one = 1, zero = 0, beta = 0, betain = 0;
    Stored last_y = 0, last_a = 0;    // left by the search for the smallest number
    int32_t k = 1, mx = 0, nxres = 0; // powers of two reached, range of exponents, 3 with gradual underflow

    void measure() {
        zero = one - one;
        measure_radix();
        measure_epsilons();
        measure_exponent_bits();
        measure_smallest();
        measure_largest();
    }

    static T magnitude(T x) { return x < 0 ? -x : x; }

    // Radix, digits of the mantissa, class of rounding.
    void measure_radix() {
        Stored a = one, b = one, sum, difference;
        do {
            a = a + a;
            sum = a + one;
            difference = sum - a;
            difference = difference - one;
        } while (difference == zero);
        const T large = a;
        do {
            b = b + b;
            sum = large + b;
            difference = sum - large;
            ibeta = static_cast<int32_t>(difference);
        } while (ibeta == 0);
        beta = static_cast<T>(ibeta);

        b = one;
        do {
            it = it + 1;
            b = b * beta;
            sum = b + one;
            difference = sum - b;
            difference = difference - one;
        } while (difference == zero);

        const Stored half = beta / static_cast<T>(2);
        sum = large + half;
        difference = sum - large;
        if (difference != zero) {
            irnd = 1;
        } else {
            const Stored next = large + beta;
            sum = next + half;
            difference = sum - next;
            if (difference != zero) irnd = 2;
        }
    }

    // Smallest powers of the radix that change 1 when subtracted and when added; guard digits.
    void measure_epsilons() {
        negep = it + 3;
        betain = one / beta;
        Stored a = one, sum, difference;
        for (int32_t i = 0; i < negep; i++) a = a * betain;
        const T start = a;
        for (;;) {
            sum = one - a;
            difference = sum - one;
            if (difference != zero) break;
            a = a * beta;
            negep = negep - 1;
        }
        negep = -negep;
        epsneg = a;

        machep = -it - 3;
        a = start;
        for (;;) {
            sum = one + a;
            difference = sum - one;
            if (difference != zero) break;
            a = a * beta;
            machep = machep + 1;
        }
        eps = a;

        sum = one + eps;
        difference = sum * one;
        difference = difference - one;
        if (irnd == 0 && difference != zero) ngrd = 1;
    }

    // Bits of the exponent: square the inverse radix until it underflows.
    void measure_exponent_bits() {
        int32_t i = 0;
        Stored z = betain, y, a, temp, doubled;
        const Stored t = one + eps;
        for (;;) {
            y = z;
            z = y * y;
            a = z * one;
            temp = z * t;
            doubled = a + a;
            if (doubled == zero || magnitude(z) >= y) break;
            temp = temp * betain;
            temp = temp * beta;
            if (temp == z) break;
            i = i + 1;
            k = k + k;
        }
        if (ibeta != 10) {
            iexp = i + 1;
            mx = k + k;
        } else {
            iexp = 2;
            int32_t iz = ibeta;
            while (k >= iz) {
                iz = iz * ibeta;
                iexp = iexp + 1;
            }
            mx = iz + iz - 1;
        }
        last_y = y;
    }

    // Smallest normalised number: divide by the radix until digits are lost.
    void measure_smallest() {
        Stored y = last_y, a, temp, doubled;
        const Stored t = one + eps;
        for (;;) {
            xmin = y;
            y = y * betain;
            a = y * one;
            temp = y * t;
            doubled = a + a;
            if (doubled == zero || magnitude(y) >= xmin) break;
            k = k + 1;
            const T scaled = temp;
            temp = temp * betain;
            temp = temp * beta;
            if (temp == y && scaled != y) {
                nxres = 3;
                xmin = y;
                break;
            }
        }
        minexp = -k;
        last_y = y;
        last_a = a;
    }

    // Largest exponent and largest number.
    void measure_largest() {
        if (mx <= k + k - 3 && ibeta != 10) {
            mx = mx + mx;
            iexp = iexp + 1;
        }
        maxexp = mx + minexp;
        irnd = irnd + nxres;
        if (irnd >= 2) maxexp = maxexp - 2;
        int32_t i = maxexp + minexp;
        if ((ibeta == 2 && i == 0) || i > 20) maxexp = maxexp - 1;
        if (last_a != last_y) maxexp = maxexp - 2;

        Stored product;
        xmax = one - epsneg;
        product = xmax * one;
        if (product != xmax) {
            product = beta * epsneg;
            xmax = one - product;
        }
        product = xmin * beta;
        product = product * beta;
        product = product * beta;
        xmax = xmax / product;
        for (i = maxexp + minexp + 3; i > 0; i--) {
            if (ibeta == 2) xmax = xmax + xmax;
            else xmax = xmax * beta;
        }
    }
};

template <class T>
void machar(int32_t *ibeta, int32_t *it, int32_t *irnd, int32_t *ngrd, int32_t *machep, int32_t *negep, int32_t *iexp,
            int32_t *minexp, int32_t *maxexp, T *eps, T *epsneg, T *xmin, T *xmax) {
    Machar<T> m;
    m.measure();
    *ibeta = m.ibeta;
    *it = m.it;
    *irnd = m.irnd;
    *ngrd = m.ngrd;
    *machep = m.machep;
    *negep = m.negep;
    *iexp = m.iexp;
    *minexp = m.minexp;
    *maxexp = m.maxexp;
    *eps = m.eps;
    *epsneg = m.epsneg;
    *xmin = m.xmin;
    *xmax = m.xmax;
}

} // namespace

extern "C" {

void sarvo_nr_machar_double(int32_t *ibeta, int32_t *it, int32_t *irnd, int32_t *ngrd, int32_t *machep, int32_t *negep,
                            int32_t *iexp, int32_t *minexp, int32_t *maxexp, double *eps, double *epsneg, double *xmin,
                            double *xmax) {
    machar<double>(ibeta, it, irnd, ngrd, machep, negep, iexp, minexp, maxexp, eps, epsneg, xmin, xmax);
}

void sarvo_nr_machar_float(int32_t *ibeta, int32_t *it, int32_t *irnd, int32_t *ngrd, int32_t *machep, int32_t *negep,
                           int32_t *iexp, int32_t *minexp, int32_t *maxexp, float *eps, float *epsneg, float *xmin,
                           float *xmax) {
    machar<float>(ibeta, it, irnd, ngrd, machep, negep, iexp, minexp, maxexp, eps, epsneg, xmin, xmax);
}

} // extern "C"
