// Incomplete LU factorisation of sparse matrices by a threshold, with limited fill.
//
// A row is worked on as a spread vector with the list of its places. The places left of the diagonal wait in a heap,
// for elimination brings in further ones between them.
#include "ilut.h"

#include <math.h>

#include <algorithm>
#include <initializer_list>

using sarvo::Buffer;
using sarvo::mh::TemporarySparse;

namespace {

uint64_t at(int64_t i) { return static_cast<uint64_t>(i); }

// Moves `list[0]` down a heap of `count` whose first is before all others.
template <class Before> void sift_down(int32_t *list, int32_t count, Before before) {
    const int32_t moved = list[0];
    int32_t hole = 0;
    for (int32_t child = 1; child < count; child = 2 * hole + 1) {
        if (child + 1 < count && before(list[child + 1], list[child])) child++;
        if (!before(list[child], moved)) break;
        list[hole] = list[child];
        hole = child;
    }
    list[hole] = moved;
}

template <class Before> void push(int32_t *list, int32_t count, int32_t added, Before before) {
    int32_t hole = count;
    for (; hole > 0 && before(added, list[(hole - 1) / 2]); hole = (hole - 1) / 2) list[hole] = list[(hole - 1) / 2];
    list[hole] = added;
}

bool ascending(int32_t a, int32_t b) { return a < b; }

class Elimination {
public:
    Elimination(const SPMAT &A, SPMAT &out, double drop, int32_t fill) : A_(A), out_(out), drop_(drop), fill_(fill) {}
    sarko_error_t allocate();
    sarko_error_t row(int32_t i);

private:
    double spread(int32_t i);
    void eliminate(int32_t i, double bound);
    int32_t keep_largest(Buffer<int32_t> &list, int32_t count, int64_t most, double bound);
    sarko_error_t store(int32_t i, double bound);

    const SPMAT &A_;
    SPMAT &out_;
    const double drop_;
    const int32_t fill_;
    Buffer<double> value_;                 // the row
    Buffer<int32_t> mark_;                 // the last row that had each place
    Buffer<int32_t> heap_, lower_, upper_; // places that wait, multipliers, places right of the diagonal
    int32_t waiting_ = 0, lower_count_ = 0, upper_count_ = 0;
};

sarko_error_t Elimination::allocate() {
    if (sarko_error_t e = value_.allocate(at(A_.n))) return e;
    for (Buffer<int32_t> *b : {&mark_, &heap_, &lower_, &upper_})
        if (sarko_error_t e = b->allocate_unset(at(A_.n))) return e;
    for (int32_t j = 0; j < A_.n; j++) mark_[at(j)] = -1;
    return 0;
}

// Row i of A; returns the bound.
double Elimination::spread(int32_t i) {
    waiting_ = lower_count_ = upper_count_ = 0;
    mark_[at(i)] = i;
    value_[at(i)] = 0.0;
    double sum = 0.0;
    for (int32_t k = 0; k < A_.row[i].len; k++) {
        const row_elt &entry = A_.row[i].elt[k];
        sum += entry.val * entry.val;
        value_[at(entry.col)] = entry.val;
        mark_[at(entry.col)] = i;
        if (entry.col < i) heap_[at(waiting_++)] = entry.col; // ascending: a heap already
        else if (entry.col > i) upper_[at(upper_count_++)] = entry.col;
    }
    return drop_ * sqrt(sum);
}

void Elimination::eliminate(int32_t i, double bound) {
    while (waiting_ > 0) {
        const int32_t k = heap_[0];
        heap_[0] = heap_[at(--waiting_)];
        if (waiting_ > 0) sift_down(heap_.get(), waiting_, ascending);
        const SPROW &above = out_.row[k];
        const double factor = value_[at(k)] = value_[at(k)] / above.elt[above.diag].val; // L(i,k)
        if (!(fabs(factor) >= bound) || factor == 0.0) continue;
        lower_[at(lower_count_++)] = k;
        for (int32_t q = above.diag + 1; q < above.len; q++) {
            const int32_t j = above.elt[q].col;
            if (mark_[at(j)] != i) {
                mark_[at(j)] = i;
                value_[at(j)] = 0.0;
                if (j < i) push(heap_.get(), waiting_++, j, ascending);
                else upper_[at(upper_count_++)] = j;
            }
            value_[at(j)] -= factor * above.elt[q].val;
        }
    }
}

// The places of the `most` largest values of those not below the bound, ascending; how many there are.
int32_t Elimination::keep_largest(Buffer<int32_t> &list, int32_t count, int64_t most, double bound) {
    int32_t kept = 0;
    const auto smaller = [this](int32_t a, int32_t b) { // the first of the heap is what leaves next
        const double x = fabs(value_[at(a)]), y = fabs(value_[at(b)]);
        return x < y || (x == y && a > b);
    };
    for (int32_t p = 0; p < count; p++) {
        const int32_t j = list[at(p)];
        if (!(fabs(value_[at(j)]) >= bound) || value_[at(j)] == 0.0 || most == 0) continue;
        if (kept < most) {
            push(list.get(), kept++, j, smaller);
        } else if (smaller(list[0], j)) {
            list[0] = j;
            sift_down(list.get(), kept, smaller);
        }
    }
    std::sort(list.get(), list.get() + kept);
    return kept;
}

sarko_error_t Elimination::store(int32_t i, double bound) {
    int32_t before = 0, after = 0;
    for (int32_t k = 0; k < A_.row[i].len; k++) {
        before += A_.row[i].elt[k].col < i;
        after += A_.row[i].elt[k].col > i;
    }
    const int32_t lower = keep_largest(lower_, lower_count_, int64_t{before} + fill_, bound);
    const int32_t upper = keep_largest(upper_, upper_count_, int64_t{after} + fill_, bound);
    SPROW &row = out_.row[i];
    if (sarko_error_t e = sarvo::mh::reserve(row, lower + 1 + upper)) return e;
    const auto put = [&row, this](int32_t j) {
        row.elt[row.len].col = j;
        row.elt[row.len++].val = value_[at(j)];
    };
    for (int32_t p = 0; p < lower; p++) put(lower_[at(p)]);
    double &pivot = value_[at(i)];
    if (!(fabs(pivot) >= bound) || pivot == 0.0) pivot = copysign(bound > 0.0 ? bound : 1.0, pivot);
    row.diag = row.len;
    put(i);
    for (int32_t p = 0; p < upper; p++) put(upper_[at(p)]);
    return 0;
}

sarko_error_t Elimination::row(int32_t i) {
    const double bound = spread(i);
    eliminate(i, bound);
    return store(i, bound);
}

} // namespace

sarko_error_t sarvo::mh::ilu_by_threshold(const SPMAT &A, double drop, int32_t fill, SPMAT **out) {
    TemporarySparse made;
    if (sarko_error_t e = sarvo_mh_sp_get(A.n, A.n, 1, &made.p)) return e;
    Elimination elimination(A, *made.p, drop, fill);
    if (sarko_error_t e = elimination.allocate()) return e;
    for (int32_t i = 0; i < A.n; i++)
        if (sarko_error_t e = elimination.row(i)) return e;
    made.p->flag_diag = 1;
    *out = made.p;
    made.p = nullptr;
    return 0;
}
