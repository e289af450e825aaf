// LU factors by blocks: the plan, the factorisation, the solves.
#include "solve/sparse_lu.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "mh/sparse/compact.h"
#include "mh/sparse/lu.h"
#include "solve/block_form.h"

namespace command {
namespace {

using sarvo::mh::Lists;
using sarvo::mh::LuChoice;
using sarvo::mh::LuRows;
using sarvo::mh::PivotRule;
using Indices = std::vector<int32_t>;

size_t at(int64_t i) { return static_cast<size_t>(i); }

Pattern pattern_of(const SPMAT *A) {
    Pattern P;
    P.count = A->n;
    P.start.push_back(0);
    for (int32_t i = 0; i < A->m; i++) {
        for (int32_t k = 0; k < A->row[i].len; k++) P.index.push_back(A->row[i].elt[k].col);
        P.start.push_back(static_cast<int64_t>(P.index.size()));
    }
    return P;
}

Pattern transposed(const Pattern &A) {
    Pattern T;
    T.count = A.count;
    T.start.assign(at(A.count) + 1, 0);
    T.index.resize(A.index.size());
    for (const int32_t j : A.index) T.start[at(j) + 1]++;
    std::partial_sum(T.start.begin(), T.start.end(), T.start.begin());
    std::vector<int64_t> next(T.start.begin(), T.start.end() - 1);
    for (int32_t i = 0; i < A.count; i++)
        for (int64_t p = A.begin(i); p < A.end(i); p++) T.index[at(next[at(A.index[at(p)])]++)] = i;
    return T;
}

// What stands in the diagonal blocks, rows and columns numbered as the form has them; columns ascending.
Pattern inside_blocks(const SPMAT *A, const BlockForm &form) {
    Indices place(at(A->n)), block(at(A->n));
    for (int32_t k = 0, b = 0; k < A->n; k++) {
        while (k >= form.first[at(b) + 1]) b++;
        place[at(form.cols[at(k)])] = k;
        block[at(k)] = b;
    }
    Pattern P;
    P.count = A->n;
    P.start.push_back(0);
    for (int32_t k = 0; k < A->n; k++) {
        const SPROW &row = A->row[form.rows[at(k)]];
        for (int32_t p = 0; p < row.len; p++)
            if (const int32_t to = place[at(row.elt[p].col)]; block[at(to)] == block[at(k)]) P.index.push_back(to);
        std::sort(P.index.begin() + P.start.back(), P.index.end());
        P.start.push_back(static_cast<int64_t>(P.index.size()));
    }
    return P;
}

// The graph, without the nodes themselves, whose neighbours `visit_all(node, visit)` visits, some more than once.
template <class Visit> void graph_by(int32_t count, Visit visit_all, Lists &graph) {
    check(graph.prepare(count));
    Indices seen(at(count), -1);
    const auto pass = [&](auto put) {
        std::fill(seen.begin(), seen.end(), -1);
        for (int32_t i = 0; i < count; i++) {
            seen[at(i)] = i;
            visit_all(i, [&](int32_t j) {
                if (seen[at(j)] == i) return;
                seen[at(j)] = i;
                put(i, j);
            });
        }
    };
    pass([&](int32_t i, int32_t) { graph.length(i)++; });
    check(graph.lay_out(false));
    pass([&](int32_t i, int32_t j) { graph.index[at(graph.next(i)++)] = j; });
    for (int32_t i = 0; i < count; i++) std::sort(graph.index.get() + graph.begin(i), graph.index.get() + graph.end(i));
}

void graph_of_sum(const Pattern &B, const Pattern &T, Lists &graph) {
    const auto neighbours = [&](int32_t i, auto visit) {
        for (const Pattern *P : {&B, &T})
            for (int64_t p = P->begin(i); p < P->end(i); p++) visit(P->index[at(p)]);
    };
    graph_by(B.count, neighbours, graph);
}

// Rows with very many entries are passed over: they would join everything.
bool dense_row(const Pattern &B, int32_t i) {
    return static_cast<double>(B.end(i) - B.begin(i)) > std::max(16.0, 10.0 * std::sqrt(B.count));
}

void graph_of_columns(const Pattern &B, const Pattern &T, Lists &graph) {
    const auto neighbours = [&](int32_t j, auto visit) {
        for (int64_t q = T.begin(j); q < T.end(j); q++) {
            const int32_t i = T.index[at(q)];
            if (dense_row(B, i)) continue;
            for (int64_t p = B.begin(i); p < B.end(i); p++) visit(B.index[at(p)]);
        }
    };
    graph_by(B.count, neighbours, graph);
}

double work_of_columns(const Pattern &B) {
    double work = 0.0;
    for (int32_t i = 0; i < B.count; i++)
        if (!dense_row(B, i)) work += std::pow(static_cast<double>(B.end(i) - B.begin(i)), 2.0);
    return work;
}

// Minimum degree, kept inside the blocks.
Indices least_degree(const Lists &graph, const BlockForm &form) {
    std::vector<uint32_t> order(at(graph.count));
    check(sarvo::mh::minimum_degree(graph, order.data()));
    Indices block(order.size());
    for (size_t b = 0; b + 1 < form.first.size(); b++)
        std::fill(block.begin() + form.first[b], block.begin() + form.first[b + 1], static_cast<int32_t>(b));
    std::stable_sort(order.begin(), order.end(), [&](uint32_t i, uint32_t j) { return block[i] < block[j]; });
    return {order.begin(), order.end()};
}

// Entries of L and U together when all pivots come from the diagonal: rows of the Cholesky factor by the elimination
// tree (Liu, 1990).
int64_t predicted_entries(const Lists &graph, const Indices &order) {
    const int32_t n = graph.count;
    Indices place(at(n)), parent(at(n), -1), ancestor(at(n), -1), mark(at(n), -1);
    for (int32_t k = 0; k < n; k++) place[at(order[at(k)])] = k;
    int64_t below = 0;
    for (int32_t k = 0; k < n; k++) {
        const int32_t i = order[at(k)];
        for (int64_t p = graph.begin(i); p < graph.end(i); p++)
            for (int32_t j = place[at(graph.index[at(p)])], next; j >= 0 && j < k; j = next) {
                next = ancestor[at(j)];
                ancestor[at(j)] = k;
                if (next < 0) parent[at(j)] = k;
            }
        mark[at(k)] = k;
        for (int64_t p = graph.begin(i); p < graph.end(i); p++)
            for (int32_t j = place[at(graph.index[at(p)])]; j < k && mark[at(j)] != k; j = parent[at(j)]) {
                mark[at(j)] = k;
                below++;
            }
    }
    return 2 * below + n;
}

// The share of the entries beside the diagonal whose mirror image is stored, too.
double symmetry(const Pattern &B, const Pattern &T) {
    int64_t all = 0, both = 0;
    for (int32_t i = 0; i < B.count; i++) {
        const auto mirrored = T.index.begin() + T.begin(i), end = T.index.begin() + T.end(i);
        for (int64_t p = B.begin(i); p < B.end(i); p++) {
            const int32_t j = B.index[at(p)];
            if (j == i) continue;
            all++;
            both += std::binary_search(mirrored, end, j);
        }
    }
    return all == 0 ? 1.0 : static_cast<double>(both) / static_cast<double>(all);
}

BlockForm whole_matrix(int32_t n) {
    BlockForm form;
    form.rows.resize(at(n));
    std::iota(form.rows.begin(), form.rows.end(), 0);
    form.cols = form.rows;
    form.first = {0, n};
    return form;
}

} // namespace

struct SparseLu::State {
    int32_t n = 0;
    std::string order;
    bool singular = false;
    BlockForm form; // with the order inside the blocks; rows before the exchanges
    std::unique_ptr<LuRows> factor = std::make_unique<LuRows>();
    Indices pivot;   // position of the pivot in the row at place k
    Pattern outside; // of the blocks, to their right: rows before the exchanges, columns by place
    std::vector<double> outside_value;

    void order_by(const Indices &inside, bool rows_too);
    Sparse split(const SPMAT *A);
    bool factorise(const SPMAT *A, PivotRule rule, double threshold, int64_t most);
    void choose(const SPMAT *A, double threshold);
    void find_pivots();
    int64_t factor_entries() const;

    int32_t row(int32_t k) const { return factor->order[at(k)]; }
    const int32_t *cols(int32_t k) const { return factor->col + factor->begin[at(row(k))]; }
    const double *values(int32_t k) const { return factor->value + factor->begin[at(row(k))]; }
    int32_t length(int32_t k) const { return factor->length[at(row(k))]; }
};

void SparseLu::State::order_by(const Indices &inside, bool rows_too) {
    const BlockForm before = form;
    for (size_t k = 0; k < inside.size(); k++) {
        form.cols[k] = before.cols[at(inside[k])];
        if (rows_too) form.rows[k] = before.rows[at(inside[k])];
    }
}

// The diagonal blocks as a matrix; what is beside them goes to `outside`.
Sparse SparseLu::State::split(const SPMAT *A) {
    Indices place(at(n)), block_end(at(n));
    for (size_t b = 0; b + 1 < form.first.size(); b++)
        std::fill(block_end.begin() + form.first[b], block_end.begin() + form.first[b + 1], form.first[b + 1]);
    for (int32_t k = 0; k < n; k++) place[at(form.cols[at(k)])] = k;

    SPMAT *made = nullptr;
    check(sarvo_mh_sp_get(n, n, 1, &made));
    Sparse F(made);
    outside = Pattern();
    outside.count = n;
    outside.start.push_back(0);
    outside_value.clear();
    std::vector<std::pair<int32_t, double>> inside;
    for (int32_t k = 0; k < n; k++) {
        const SPROW &from = A->row[form.rows[at(k)]];
        inside.clear();
        for (int32_t p = 0; p < from.len; p++) {
            const int32_t to = place[at(from.elt[p].col)];
            if (to < block_end[at(k)]) {
                inside.emplace_back(to, from.elt[p].val);
            } else {
                outside.index.push_back(to);
                outside_value.push_back(from.elt[p].val);
            }
        }
        outside.start.push_back(static_cast<int64_t>(outside.index.size()));
        std::sort(inside.begin(), inside.end());
        SPROW *row = &F->row[k];
        check(sarvo_mh_sprow_resize(&row, static_cast<int32_t>(inside.size())));
        for (size_t p = 0; p < inside.size(); p++) {
            row->elt[p].col = inside[p].first;
            row->elt[p].val = inside[p].second;
        }
    }
    return F;
}

bool SparseLu::State::factorise(const SPMAT *A, PivotRule rule, double threshold, int64_t most) {
    const Sparse F = split(A);
    LuChoice choice;
    choice.rule = rule;
    choice.share = threshold > 0.0 ? threshold : 0.1;
    choice.diagonal_share = threshold > 0.0 ? threshold : 0.001;
    choice.most_entries = most;
    bool complete = false;
    factor = std::make_unique<LuRows>();
    check(sarvo::mh::factorise_lu(*F, choice, *factor, &complete));
    return complete;
}

void SparseLu::State::choose(const SPMAT *A, double threshold) {
    // The blocks.
    const std::vector<int32_t> row_of = maximum_transversal(pattern_of(A));
    singular = std::find(row_of.begin(), row_of.end(), -1) != row_of.end();
    if (singular) return;
    form = block_form(pattern_of(A), row_of);
    const Pattern B = inside_blocks(A, form), T = transposed(B);
    const BlockForm blocks = form;

    Lists sum, columns;
    graph_of_sum(B, T, sum);
    const Indices by_sum = least_degree(sum, blocks);
    const int64_t predicted = predicted_entries(sum, by_sum), some_more = predicted + predicted / 2;
    Indices by_columns;
    // Replaces the factors if there are no more entries than `most`.
    const auto attempt = [&](bool symmetric_pattern, int64_t most) {
        State other;
        other.n = n;
        other.form = blocks;
        other.order = symmetric_pattern ? "amd" : "amd of A'A";
        other.order_by(symmetric_pattern ? by_sum : by_columns, symmetric_pattern);
        const auto rule = symmetric_pattern ? PivotRule::diagonal_first : PivotRule::shortest_rest;
        const bool complete = other.factorise(A, rule, threshold, most);
        if (complete) *this = std::move(other);
        return complete;
    };

    // By the symmetric pattern. Pivots that are not on the diagonal may add to what was predicted, up to a half.
    const bool nearly_symmetric = symmetry(B, T) >= 0.5;
    if (nearly_symmetric && attempt(true, some_more)) return;
    if (work_of_columns(B) > 1e8) { // B'B would be too much
        attempt(true, INT64_MAX);
        return;
    }
    graph_of_columns(B, T, columns);
    by_columns = least_degree(columns, blocks);
    if (nearly_symmetric) {
        if (!attempt(false, 10 * predicted)) attempt(true, INT64_MAX);
        return;
    }

    // Both; the one that promises less begins, the other must have fewer entries.
    if (predicted_entries(columns, by_columns) < predicted) {
        attempt(false, INT64_MAX);
        attempt(true, factor_entries() - 1);
    } else if (attempt(true, some_more)) {
        attempt(false, factor_entries() - 1);
    } else {
        attempt(false, INT64_MAX);
    }
}

int64_t SparseLu::State::factor_entries() const {
    int64_t all = 0;
    for (int32_t i = 0; i < factor->count; i++) all += factor->length[at(i)];
    return all;
}

void SparseLu::State::find_pivots() {
    pivot.resize(at(n));
    for (int32_t k = 0; k < n; k++) {
        const int32_t *const found = std::lower_bound(cols(k), cols(k) + length(k), k);
        pivot[at(k)] = static_cast<int32_t>(found - cols(k));
        if (pivot[at(k)] == length(k) || *found != k || values(k)[pivot[at(k)]] == 0.0) singular = true;
    }
}

SparseLu::SparseLu(const SPMAT *A, const std::string &order, double threshold) : state_(std::make_unique<State>()) {
    State &s = *state_;
    s.n = A->n;
    s.order = order;
    s.form = whole_matrix(A->n);
    if (order == "auto") {
        s.choose(A, threshold);
    } else {
        PERM *p = nullptr;
        check(sarvo_mh_sp_order(A, order == "natural" ? 0 : order == "rcm" ? 1 : 2, &p));
        const Permutation owner(p);
        s.order_by({p->elems, p->elems + p->size}, true);
        s.factorise(A, PivotRule::diagonal_first, threshold, INT64_MAX);
    }
    if (!s.singular) s.find_pivots();
}

SparseLu::~SparseLu() = default;
SparseLu::SparseLu(SparseLu &&) noexcept = default;
SparseLu &SparseLu::operator=(SparseLu &&) noexcept = default;

std::vector<double> SparseLu::solve(const std::vector<double> &b, bool transposed) const {
    const State &s = *state_;
    if (s.singular)
        throw Failure(exit_numerical, "the matrix is singular: a pivot is zero. --method lsqr finds a least-squares "
                                      "solution");
    std::vector<double> y(b.size()), x(b.size());
    const auto blocks = static_cast<int64_t>(s.form.first.size()) - 1;
    if (!transposed) {
        for (int64_t block = blocks - 1; block >= 0; block--) {
            const int32_t begin = s.form.first[at(block)], end = s.form.first[at(block) + 1];
            for (int32_t k = begin; k < end; k++) { // L y = b less what the blocks behind take
                double sum = b[at(s.form.rows[at(s.row(k))])];
                for (int64_t p = s.outside.begin(s.row(k)); p < s.outside.end(s.row(k)); p++)
                    sum -= s.outside_value[at(p)] * y[at(s.outside.index[at(p)])];
                const int32_t *const col = s.cols(k);
                const double *const value = s.values(k);
                for (int32_t p = 0; p < s.pivot[at(k)]; p++) sum -= value[p] * y[at(col[p])];
                y[at(k)] = sum;
            }
            for (int32_t k = end - 1; k >= begin; k--) { // U x = y
                const int32_t *const col = s.cols(k);
                const double *const value = s.values(k);
                double sum = y[at(k)];
                for (int32_t p = s.pivot[at(k)] + 1; p < s.length(k); p++) sum -= value[p] * y[at(col[p])];
                y[at(k)] = sum / value[s.pivot[at(k)]];
            }
        }
        for (int32_t k = 0; k < s.n; k++) x[at(s.form.cols[at(k)])] = y[at(k)];
        return x;
    }
    for (int32_t k = 0; k < s.n; k++) y[at(k)] = b[at(s.form.cols[at(k)])];
    for (int64_t block = 0; block < blocks; block++) {
        const int32_t begin = s.form.first[at(block)], end = s.form.first[at(block) + 1];
        for (int32_t k = begin; k < end; k++) { // U' y = b
            const double *const value = s.values(k);
            const double yk = y[at(k)] = y[at(k)] / value[s.pivot[at(k)]];
            for (int32_t p = s.pivot[at(k)] + 1; p < s.length(k); p++) y[at(s.cols(k)[p])] -= value[p] * yk;
        }
        for (int32_t k = end - 1; k >= begin; k--) // L' z = y
            for (int32_t p = 0; p < s.pivot[at(k)]; p++) y[at(s.cols(k)[p])] -= s.values(k)[p] * y[at(k)];
        for (int32_t k = begin; k < end; k++)
            for (int64_t p = s.outside.begin(s.row(k)); p < s.outside.end(s.row(k)); p++)
                y[at(s.outside.index[at(p)])] -= s.outside_value[at(p)] * y[at(k)];
    }
    for (int32_t k = 0; k < s.n; k++) x[at(s.form.rows[at(s.row(k))])] = y[at(k)];
    return x;
}

int64_t SparseLu::entries() const {
    return state_->factor_entries() + static_cast<int64_t>(state_->outside.index.size());
}

size_t SparseLu::blocks() const { return state_->form.first.size() - 1; }
std::string SparseLu::order() const { return state_->order; }
bool SparseLu::singular() const { return state_->singular; }

} // namespace command
