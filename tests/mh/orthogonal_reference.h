// Householder and Givens transforms, Hessenberg form, symmetric QR and updates as plain loops on plain arrays.
#pragma once

#include <cmath>

#include "mh_support.h"

namespace test::mh::reference {

// A matrix by rows.
struct Dense {
    uint64_t rows, cols;
    Doubles x;
    Dense(uint64_t r, uint64_t c, const Doubles &values = {}) : rows(r), cols(c), x(values) { x.resize(r * c); }
    double &operator()(uint64_t i, uint64_t j) { return x[i * cols + j]; }
    double operator()(uint64_t i, uint64_t j) const { return x[i * cols + j]; }
};

inline Dense identity(uint64_t n) {
    Dense I(n, n);
    for (uint64_t i = 0; i < n; i++) I(i, i) = 1.0;
    return I;
}

inline void hhvec(Doubles &h, uint64_t i0, double &beta, double &newval) {
    double sum = 0.0;
    for (uint64_t i = i0; i < h.size(); i++) sum = sum + h[i] * h[i];
    const double norm = std::sqrt(sum);
    beta = 0.0;
    if (norm <= 0.0) return;
    beta = 1.0 / ((std::fabs(h[i0]) + norm) * norm);
    newval = h[i0] > 0.0 ? -norm : norm;
    h[i0] = h[i0] - newval;
}

inline void hhtrvec(const Doubles &h, double beta, uint64_t i0, Doubles &t) {
    double sum = 0.0;
    for (uint64_t i = i0; i < h.size(); i++) sum = sum + h[i] * t[i];
    const double scaled = beta * sum;
    for (uint64_t i = i0; i < h.size(); i++) t[i] = t[i] - scaled * h[i];
}

inline void hhtrrows(Dense &M, uint64_t i0, uint64_t j0, const Doubles &h, double beta) {
    for (uint64_t i = i0; beta != 0.0 && i < M.rows; i++) {
        double sum = 0.0;
        for (uint64_t j = j0; j < M.cols; j++) sum = sum + M(i, j) * h[j];
        const double scaled = beta * sum;
        for (uint64_t j = j0; scaled != 0.0 && j < M.cols; j++) M(i, j) = M(i, j) - scaled * h[j];
    }
}

inline void hhtrcols(Dense &M, uint64_t i0, uint64_t j0, const Doubles &h, double beta) {
    if (beta == 0.0) return;
    Doubles w(M.cols);
    for (uint64_t i = i0; i < M.rows; i++)
        for (uint64_t j = j0; j < M.cols; j++) w[j] = w[j] + h[i] * M(i, j);
    for (double &x : w) x = beta * x;
    for (uint64_t i = i0; i < M.rows; i++)
        for (uint64_t j = j0; j < M.cols; j++) M(i, j) = M(i, j) - h[i] * w[j];
}

inline void Hfactor(Dense &A, Doubles &diag, Doubles &beta) {
    for (uint64_t k = 0; k + 1 < A.rows; k++) {
        Doubles h;
        for (uint64_t i = 0; i < A.rows; i++) h.push_back(A(i, k));
        hhvec(h, k + 1, beta[k], A(k + 1, k));
        diag[k] = h[k + 1];
        hhtrcols(A, k + 1, k + 1, h, beta[k]);
        hhtrrows(A, 0, k + 1, h, beta[k]);
    }
}

inline Dense makeHQ(const Dense &H, const Doubles &diag, const Doubles &beta) {
    const uint64_t n = H.rows;
    Dense Q(n, n);
    for (uint64_t i = 0; i < n; i++) {
        Doubles t(n), h(n);
        t[i] = 1.0;
        for (uint64_t k = n - 1; k-- > 0;) {
            for (uint64_t r = 0; r < n; r++) h[r] = H(r, k);
            h[k + 1] = diag[k];
            hhtrvec(h, beta[k], k + 1, t);
        }
        for (uint64_t r = 0; r < n; r++) Q(r, i) = t[r];
    }
    return Q;
}

inline double givens(double &c, double &s, double x, double y) {
    const double r = std::sqrt(x * x + y * y);
    c = r == 0.0 ? 1.0 : x / r;
    s = r == 0.0 ? 0.0 : y / r;
    return r;
}

inline void rot_rows(Dense &M, uint64_t i, uint64_t k, double c, double s) {
    for (uint64_t j = 0; j < M.cols; j++) {
        const double x = M(i, j), y = M(k, j);
        M(i, j) = c * x + s * y;
        M(k, j) = c * y - s * x;
    }
}

inline void rot_cols(Dense &M, uint64_t i, uint64_t k, double c, double s) {
    for (uint64_t j = 0; j < M.rows; j++) {
        const double x = M(j, i), y = M(j, k);
        M(j, i) = c * x + s * y;
        M(j, k) = c * y - s * x;
    }
}

inline void trieig(Doubles &a, Doubles &b, Dense *Q) {
    const uint64_t n = a.size();
    for (uint64_t lo = 0; lo < n;) {
        uint64_t hi = n - 1;
        for (uint64_t i = n - 1; i-- > lo;)
            if (b[i] == 0.0) hi = i;
        if (hi <= lo) {
            lo = hi + 1;
            continue;
        }
        for (bool split = false; !split;) {
            const double d = (a[hi - 1] - a[hi]) * 0.5, b2 = b[hi - 1] * b[hi - 1];
            const double mu = a[hi] - b2 / (d + (d >= 0.0 ? 1.0 : -1.0) * std::sqrt(d * d + b2));
            double z = 0.0;
            for (uint64_t i = lo; i < hi; i++) {
                double c, s;
                if (i == lo) givens(c, s, a[lo] - mu, b[lo]);
                else givens(c, s, b[i - 1], z);
                s = -s;
                if (i > lo) b[i - 1] = c * b[i - 1] - s * z;
                double c2 = c * c, s2 = 1.0 - c2;
                if (std::fabs(c) >= 1.414213562373095) {
                    s2 = s * s;
                    c2 = 1.0 - s2;
                }
                const double cs = c * s, a0 = a[i], a1 = a[i + 1], b0 = b[i];
                a[i] = c2 * a0 + s2 * a1 - 2.0 * cs * b0;
                a[i + 1] = s2 * a0 + c2 * a1 + 2.0 * cs * b0;
                b[i] = cs * (a0 - a1) + (c2 - s2) * b0;
                z = i + 1 < hi ? -s * b[i + 1] : 0.0;
                if (i + 1 < hi) b[i + 1] = c * b[i + 1];
                if (Q) rot_cols(*Q, i, i + 1, c, -s);
            }
            for (uint64_t i = lo; i < hi; i++)
                if (std::fabs(b[i]) < SarvoDblEps * (std::fabs(a[i]) + std::fabs(a[i + 1]))) {
                    b[i] = 0.0;
                    split = true;
                }
        }
    }
}

// False for a diagonal element that is not positive.
inline bool LDLupdate(Dense &CH, Doubles &w, double alpha) {
    for (uint64_t k = 0; k < CH.rows; k++) {
        const double p = w[k], d = CH(k, k), updated = p * alpha * p + d;
        if (updated <= 0.0) return false;
        for (uint64_t i = k + 1; i < CH.rows; i++) {
            w[i] = w[i] - CH(i, k) * p;
            CH(i, k) = CH(i, k) + w[i] * (alpha * p / updated);
        }
        CH(k, k) = updated;
        alpha = alpha * (d / updated);
    }
    return true;
}

inline void QRupdate(Dense *Q, Dense &R, Doubles &u, const Doubles &v) {
    if (u.empty()) return;
    uint64_t last = u.size() - 1;
    while (last > 0 && u[last] == 0.0) last--;
    double c, s;
    for (uint64_t i = last; i-- > 0;) {
        givens(c, s, u[i], u[i + 1]);
        rot_rows(R, i, i + 1, c, s);
        if (Q) rot_cols(*Q, i, i + 1, c, s);
        const double x = u[i], y = u[i + 1];
        u[i] = c * x + s * y;
        u[i + 1] = c * y - s * x;
    }
    for (uint64_t j = 0; j < R.cols; j++) R(0, j) = R(0, j) + u[0] * v[j];
    for (uint64_t i = 0; i < last && i < R.cols; i++) {
        if (givens(c, s, R(i, i), R(i + 1, i)) == 0.0) continue;
        rot_rows(R, i, i + 1, c, s);
        if (Q) rot_cols(*Q, i, i + 1, c, s);
    }
}

} // namespace test::mh::reference
