// LU factorisation of sparse matrices with threshold pivoting, row by row.
//
// The rows stand in one block of compact arrays, each sorted by column. Step k takes up the rows that begin, behind
// what was eliminated from them, in column k: they hang in bucket k. One of them becomes the pivot row and leaves; to
// each of the others its multiple of the pivot row is added, entries that come up are inserted, and the row goes to the
// bucket of its next column. So each entry gets its updates in ascending order of k, and a row's length is always that
// of its pattern at the moment. A row that outgrows its room moves to the end of the block; gaps are closed when the
// block is full.
#include "lu.h"

#include <math.h>

#include <initializer_list>

#include "compact.h"
#include "simd/simd.h"

using sarvo::Buffer;
using sarvo::mh::fail_in;
using sarvo::mh::LuChoice;
using sarvo::mh::LuRows;
using sarvo::mh::PivotRule;

namespace {

uint64_t at(int64_t i) { return static_cast<uint64_t>(i); }

// The rows in the making.
class Rows {
public:
    ~Rows() {
        sarko_mem_free(col_);
        sarko_mem_free(val_);
    }
    sarko_error_t allocate(const SPMAT &A);
    int32_t length(int32_t i) const { return row_[at(i)].len; }
    int32_t rest(int32_t i) const { return row_[at(i)].len - row_[at(i)].lead; }
    int64_t entries() const { return entries_; }
    bool ended(int32_t i) const { return row_[at(i)].lead == row_[at(i)].len; }
    int32_t lead_col(int32_t i) const { return col(i)[row_[at(i)].lead]; }
    double &lead(int32_t i) const { return val_[row_[at(i)].begin + row_[at(i)].lead]; }
    void advance(int32_t i) { row_[at(i)].lead++; }
    int32_t *col(int32_t i) const { return col_ + row_[at(i)].begin; }
    double *val(int32_t i) const { return val_ + row_[at(i)].begin; }
    sarko_error_t subtract_multiple(int32_t i, int32_t pivot_row, double factor);
    void finish(int32_t i) { row_[at(i)].room = row_[at(i)].len; } // it grows no more
    sarko_error_t hand_over(LuRows &out);

private:
    struct Row {
        int64_t begin;
        int32_t len, room;
        int32_t lead;             // entries before it belong to L
        int32_t previous, behind; // rows as they follow each other in the block, -1 at its ends
    };
    sarko_error_t enlarge(int64_t room);
    void close_gaps();
    void move_last(int32_t i);
    sarko_error_t make_room(int32_t i, int32_t count);
    void insert(int32_t i, int32_t pivot_row, double factor, int32_t kept, int32_t count);

    int32_t *col_ = nullptr;
    double *val_ = nullptr;
    int64_t room_ = 0, used_ = 0, entries_ = 0;
    int32_t count_ = 0, first_ = -1, last_ = -1;
    Buffer<Row> row_;
    Buffer<int32_t> missing_; // positions in the pivot row whose columns a row lacks
};

sarko_error_t Rows::enlarge(int64_t room) {
    void *p = col_;
    if (sarko_error_t e = sarko_mem_realloc(at(room) * sizeof(int32_t), &p)) return e;
    col_ = static_cast<int32_t *>(p);
    p = val_;
    if (sarko_error_t e = sarko_mem_realloc(at(room) * sizeof(double), &p)) return e;
    val_ = static_cast<double *>(p);
    room_ = room;
    return 0;
}

sarko_error_t Rows::allocate(const SPMAT &A) {
    int64_t entries = 0;
    for (int32_t i = 0; i < A.m; i++) entries += A.row[i].len;
    if (sarko_error_t e = row_.allocate_unset(at(A.m))) return e;
    if (sarko_error_t e = missing_.allocate_unset(at(A.n))) return e;
    if (sarko_error_t e = enlarge(4 * entries)) return e;
    for (int32_t i = 0; i < A.m; i++) {
        const int32_t len = A.row[i].len;
        row_[at(i)] = {used_, len, len, 0, i - 1, i + 1 < A.m ? i + 1 : -1};
        for (int32_t k = 0; k < len; k++) {
            col(i)[k] = A.row[i].elt[k].col;
            val(i)[k] = A.row[i].elt[k].val;
        }
        used_ += len;
    }
    entries_ = used_;
    count_ = A.m;
    first_ = A.m > 0 ? 0 : -1;
    last_ = A.m - 1;
    return 0;
}

// Moves all rows down to where the one before ends.
void Rows::close_gaps() {
    used_ = 0;
    for (int32_t i = first_; i >= 0; i = row_[at(i)].behind) {
        Row &row = row_[at(i)];
        memmove(col_ + used_, col_ + row.begin, at(row.len) * sizeof(int32_t));
        memmove(val_ + used_, val_ + row.begin, at(row.len) * sizeof(double));
        row.begin = used_;
        used_ += row.room;
    }
}

// Row i becomes the last of the block.
void Rows::move_last(int32_t i) {
    if (i == last_) return;
    Row &row = row_[at(i)];
    (row.previous >= 0 ? row_[at(row.previous)].behind : first_) = row.behind;
    row_[at(row.behind)].previous = row.previous;
    row_[at(last_)].behind = i;
    row.previous = last_;
    row.behind = -1;
    last_ = i;
}

// Room for `count` entries in row i, and some more when it has to move.
sarko_error_t Rows::make_room(int32_t i, int32_t count) {
    Row &row = row_[at(i)];
    if (count <= row.room) return 0;
    const int32_t room = count > INT32_MAX / 2 ? INT32_MAX : 2 * count;
    if (used_ + room > room_) {
        close_gaps();
        if (used_ + room > room_ - room_ / 4)
            if (sarko_error_t e = enlarge(room_ + room_ / 2 + room)) return e;
    }
    memcpy(col_ + used_, col_ + row.begin, at(row.len) * sizeof(int32_t));
    memcpy(val_ + used_, val_ + row.begin, at(row.len) * sizeof(double));
    row.begin = used_;
    row.room = room;
    used_ += room;
    move_last(i);
    return 0;
}

// The rows without gaps, in blocks that are the caller's from then on.
sarko_error_t Rows::hand_over(LuRows &out) {
    if (sarko_error_t e = out.begin.allocate_unset(at(count_))) return e;
    if (sarko_error_t e = out.length.allocate_unset(at(count_))) return e;
    for (int32_t i = 0; i < count_; i++) finish(i);
    close_gaps();
    for (int32_t i = 0; i < count_; i++) {
        out.begin[at(i)] = row_[at(i)].begin;
        out.length[at(i)] = row_[at(i)].len;
    }
    if (used_ > 0) {
        if (sarko_error_t e = enlarge(used_)) return e;
    }
    out.col = col_;
    out.value = val_;
    col_ = nullptr;
    val_ = nullptr;
    return 0;
}

// The number of last columns that two lists share.
int32_t common_tail(const int32_t *a, int32_t a_count, const int32_t *b, int32_t b_count) {
    constexpr int32_t block = 16;
    const int32_t most = a_count < b_count ? a_count : b_count;
    const int32_t *a_end = a + a_count, *b_end = b + b_count;
    int32_t count = 0;
    while (count + block <= most && memcmp(a_end - count - block, b_end - count - block, block * sizeof *a) == 0)
        count += block;
    while (count < most && a_end[-count - 1] == b_end[-count - 1]) count++;
    return count;
}

// And of first columns.
int32_t common_head(const int32_t *a, int32_t a_count, const int32_t *b, int32_t b_count) {
    const int32_t most = a_count < b_count ? a_count : b_count;
    int32_t count = 0;
    while (count < most && a[count] == b[count]) count++;
    return count;
}

void subtract(int32_t count, double factor, const double *x, double *y) {
    if (count >= 16) return sarvo::simd::kernels().axpy(at(count), -factor, x, y);
    for (int32_t k = 0; k < count; k++) y[k] -= factor * x[k];
}

// Row i -= factor times the pivot row, behind the leads of both; what row i does not store begins at +0.
sarko_error_t Rows::subtract_multiple(int32_t i, int32_t pivot_row, double factor) {
    const Row &row = row_[at(i)], &pivot = row_[at(pivot_row)];
    int32_t *a_col = col(i);
    double *a_val = val(i);
    const int32_t *b_col = col(pivot_row);
    const double *b_val = val(pivot_row);
    const int32_t a0 = row.lead + 1, b0 = pivot.lead + 1;
    const int32_t tail = common_tail(a_col + a0, row.len - a0, b_col + b0, pivot.len - b0);
    subtract(tail, factor, b_val + pivot.len - tail, a_val + row.len - tail);
    const int32_t a_end = row.len - tail, b_end = pivot.len - tail;
    int32_t count = 0;
    for (int32_t a = a0, b = b0; b < b_end;) {
        while (a < a_end && a_col[a] < b_col[b]) a++;
        const int32_t run = common_head(a_col + a, a_end - a, b_col + b, b_end - b);
        subtract(run, factor, b_val + b, a_val + a);
        a += run;
        b += run;
        for (const int32_t next = a < a_end ? a_col[a] : INT32_MAX; b < b_end && b_col[b] < next; b++)
            missing_[at(count++)] = b;
    }
    if (count == 0) return 0;
    entries_ += count;
    if (sarko_error_t e = make_room(i, row.len + count)) return e;
    insert(i, pivot_row, factor, a_end, count);
    return 0;
}

// Merges the missing entries into row i, from the end; its entries from `kept` on only move up.
void Rows::insert(int32_t i, int32_t pivot_row, double factor, int32_t kept, int32_t count) {
    Row &row = row_[at(i)];
    int32_t *a_col = col(i);
    double *a_val = val(i);
    memmove(a_col + kept + count, a_col + kept, at(row.len - kept) * sizeof(int32_t));
    memmove(a_val + kept + count, a_val + kept, at(row.len - kept) * sizeof(double));
    row.len += count;
    for (int32_t from = kept - 1, to = from + count; count > 0; to--) {
        const int32_t b = missing_[at(count - 1)], j = col(pivot_row)[b];
        if (a_col[from] > j) { // the lead, at least, is below
            a_col[to] = a_col[from];
            a_val[to] = a_val[from--];
        } else {
            a_col[to] = j;
            a_val[to] = 0.0 - factor * val(pivot_row)[b];
            count--;
        }
    }
}

class Factorisation {
public:
    sarko_error_t allocate(const SPMAT &A);
    sarko_error_t run(const LuChoice &choice, bool *complete);
    sarko_error_t store(SPMAT &A, PERM &px);
    sarko_error_t store(LuRows &out);

private:
    void hang(int32_t i);
    int32_t collect(int32_t k);
    int32_t choose(int32_t k, int32_t count, const LuChoice &choice) const;
    bool better(int32_t i, int32_t best, PivotRule rule) const;
    void zero_pivot(int32_t k, int32_t count);
    void place(int32_t k, int32_t row);

    int32_t m_ = 0, n_ = 0;
    Rows rows_;
    Buffer<int32_t> bucket_, next_;    // rows by the column of their lead
    Buffer<int32_t> candidate_;        // those of the step
    Buffer<int32_t> order_, position_; // row at each place, and back
    Buffer<uint8_t> done_;             // has got its place for good
    Buffer<SPROW> exchanged_;
};

sarko_error_t Factorisation::allocate(const SPMAT &A) {
    m_ = A.m;
    n_ = A.n;
    for (Buffer<int32_t> *b : {&next_, &candidate_, &order_, &position_})
        if (sarko_error_t e = b->allocate_unset(at(m_))) return e;
    if (sarko_error_t e = bucket_.allocate_unset(at(n_))) return e;
    if (sarko_error_t e = done_.allocate(at(m_))) return e;
    if (sarko_error_t e = exchanged_.allocate_unset(at(m_))) return e;
    if (sarko_error_t e = rows_.allocate(A)) return e;
    for (int32_t j = 0; j < n_; j++) bucket_[at(j)] = -1;
    for (int32_t i = 0; i < m_; i++) {
        order_[at(i)] = position_[at(i)] = i;
        hang(i);
    }
    return 0;
}

void Factorisation::hang(int32_t i) {
    if (rows_.ended(i)) return;
    int32_t &first = bucket_[at(rows_.lead_col(i))];
    next_[at(i)] = first;
    first = i;
}

int32_t Factorisation::collect(int32_t k) {
    int32_t count = 0;
    for (int32_t i = bucket_[at(k)]; i >= 0; i = next_[at(i)])
        if (!done_[at(i)]) candidate_[at(count++)] = i;
    return count;
}

bool Factorisation::better(int32_t i, int32_t best, PivotRule rule) const {
    const int32_t a = rule == PivotRule::fewest_entries ? rows_.length(i) : rows_.rest(i);
    const int32_t b = rule == PivotRule::fewest_entries ? rows_.length(best) : rows_.rest(best);
    return a < b || (a == b && position_[at(i)] < position_[at(best)]);
}

// The pivot row among the candidates, -1 for none. Only finite candidates that are not zero count.
int32_t Factorisation::choose(int32_t k, int32_t count, const LuChoice &choice) const {
    double largest = 0.0;
    for (int32_t c = 0; c < count; c++) {
        const double magnitude = fabs(rows_.lead(candidate_[at(c)]));
        if (magnitude > largest && magnitude < INFINITY) largest = magnitude;
    }
    int32_t best = -1;
    for (int32_t c = 0; c < count; c++) {
        const int32_t i = candidate_[at(c)];
        const double magnitude = fabs(rows_.lead(i));
        if (!(magnitude > 0.0 && magnitude < INFINITY)) continue;
        if (i == k && choice.rule == PivotRule::diagonal_first && magnitude >= choice.diagonal_share * largest)
            return i;
        if (magnitude >= choice.share * largest && (best < 0 || better(i, best, choice.rule))) best = i;
    }
    return best;
}

// The row at place k stays there, with 0 on the diagonal if it stores it; nothing is eliminated.
void Factorisation::zero_pivot(int32_t k, int32_t count) {
    const int32_t fixed = order_[at(k)];
    done_[at(fixed)] = 1;
    if (!rows_.ended(fixed) && rows_.lead_col(fixed) == k) rows_.lead(fixed) = 0.0;
    for (int32_t c = 0; c < count; c++) {
        const int32_t i = candidate_[at(c)];
        rows_.advance(i);
        hang(i);
    }
}

void Factorisation::place(int32_t k, int32_t row) {
    const int32_t other = order_[at(k)], from = position_[at(row)];
    order_[at(from)] = other;
    position_[at(other)] = from;
    order_[at(k)] = row;
    position_[at(row)] = k;
    done_[at(row)] = 1;
    rows_.finish(row);
}

sarko_error_t Factorisation::run(const LuChoice &choice, bool *complete) {
    *complete = false;
    for (int32_t k = 0; k < m_ && k < n_; k++) {
        const int32_t count = collect(k), pivot_row = choose(k, count, choice);
        if (pivot_row < 0) {
            zero_pivot(k, count);
            continue;
        }
        place(k, pivot_row);
        const double pivot = rows_.lead(pivot_row);
        for (int32_t c = 0; c < count; c++) {
            const int32_t i = candidate_[at(c)];
            if (i == pivot_row) continue;
            const double factor = rows_.lead(i) = rows_.lead(i) / pivot; // L(i,k)
            if (sarko_error_t e = rows_.subtract_multiple(i, pivot_row, factor)) return e;
            rows_.advance(i);
            hang(i);
        }
        if (rows_.entries() > choice.most_entries) return 0;
    }
    *complete = true;
    return 0;
}

sarko_error_t Factorisation::store(SPMAT &A, PERM &px) {
    for (int32_t i = 0; i < m_; i++) {
        const int32_t count = rows_.length(i);
        if (A.row[i].maxlen >= count) continue;
        if (sarko_error_t e = sarvo::mh::reallocate(A.row[i], count)) return e;
        A.row[i].maxlen = count;
    }
    for (int32_t k = 0; k < m_; k++) {
        const int32_t i = order_[at(k)];
        SPROW &row = exchanged_[at(k)] = A.row[i];
        row.len = rows_.length(i);
        for (int32_t q = 0; q < row.len; q++) {
            row.elt[q].col = rows_.col(i)[q];
            row.elt[q].val = rows_.val(i)[q];
        }
        px.elems[k] = static_cast<uint32_t>(i);
    }
    for (int32_t k = 0; k < m_; k++) A.row[k] = exchanged_[at(k)];
    A.flag_col = 0;
    return sarvo_mh_sp_diag_access(&A);
}

sarko_error_t Factorisation::store(LuRows &out) {
    out.count = m_;
    if (sarko_error_t e = out.order.allocate_unset(at(m_))) return e;
    for (int32_t k = 0; k < m_; k++) out.order[at(k)] = order_[at(k)];
    return rows_.hand_over(out);
}

} // namespace

sarko_error_t sarvo::mh::factorise_lu(const SPMAT &A, const LuChoice &choice, LuRows &out, bool *complete) {
    Factorisation factorisation;
    if (sarko_error_t e = factorisation.allocate(A)) return e;
    if (sarko_error_t e = factorisation.run(choice, complete)) return e;
    return *complete ? factorisation.store(out) : 0;
}

extern "C" {

sarko_error_t sarvo_mh_spLUfactor(SPMAT *A, PERM *px, double alpha) {
    if (!A || !px) return fail_in(SarvoMHNullEC, "spLUfactor");
    if (!sarvo::mh::has_size(*px, static_cast<uint64_t>(A->m))) return fail_in(SarvoMHSizesEC, "spLUfactor");
    if (!(alpha > 0.0 && alpha <= 1.0)) return fail_in(SarvoMHRangeEC, "spLUfactor");
    Factorisation factorisation;
    if (sarko_error_t e = factorisation.allocate(*A)) return e;
    LuChoice choice;
    choice.share = alpha;
    bool complete = false;
    if (sarko_error_t e = factorisation.run(choice, &complete)) return e;
    return factorisation.store(*A, *px);
}

} // extern "C"
