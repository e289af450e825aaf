// Moments by blocks: two passes over each, then the blocks are merged.
#include "stats/moments.h"

namespace command {

void Moments::take_block() {
    // --- the mean, around the first value so that large values lose nothing ---
    Twofold W, sum;
    for (const auto &[x, w] : block_) {
        W = W + w;
        sum = sum + exact_sum(x, -origin_) * Twofold(w);
    }
    total_ = total_ + sum;
    const bool counts = W.high > 0.0;
    const Twofold mean = counts ? Twofold(origin_) + sum / W : Twofold();

    // --- the moments about it ---
    Twofold m2, m3, m4;
    for (const auto &[x, w] : block_) {
        const Twofold d = Twofold(x) - mean, square = d * d, term = Twofold(w) * square;
        m2 = m2 + term;
        m3 = m3 + term * d;
        m4 = m4 + term * square;
    }
    if (counts) merge(W, mean, m2, m3, m4);
    block_.clear();
}

// Moments of two sets together (P. Pebay 2008): with weights A and B, W = A + B, and d the distance of the means,
//     mean = a + d B / W
//     M2 = M2a + M2b + d^2 A B / W
//     M3 = M3a + M3b + d^3 A B (A - B) / W^2 + 3 d (A M2b - B M2a) / W
//     M4 = M4a + M4b + d^4 A B (A^2 - A B + B^2) / W^3 + 6 d^2 (A^2 M2b + B^2 M2a) / W^2 + 4 d (A M3b - B M3a) / W
void Moments::merge(Twofold B, Twofold mean, Twofold m2, Twofold m3, Twofold m4) {
    const Twofold A = weight_, W = A + B, d = mean - mean_;
    const Twofold a = A / W, b = B / W, dd = d * d; // shares of the weight
    m4_ = m4_ + m4 + dd * dd * (A * b) * (a * a - a * b + b * b) + Twofold(6.0) * dd * (a * a * m2 + b * b * m2_) +
          Twofold(4.0) * d * (a * m3 - b * m3_);
    m3_ = m3_ + m3 + dd * d * (A * b) * (a - b) + Twofold(3.0) * d * (a * m2 - b * m2_);
    m2_ = m2_ + m2 + dd * (A * b);
    mean_ = mean_ + d * b;
    weight_ = W;
}

} // namespace command
