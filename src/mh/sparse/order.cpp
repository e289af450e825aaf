// Orderings of a square sparse matrix that keep the fill of its factors small: reverse Cuthill-McKee, minimum degree.
#include <sarvo/mh/sparse_factor.h>

#include <algorithm>

#include "compact.h"

using sarvo::mh::fail_in;
using sarvo::mh::Lists;

namespace {

enum Method { natural = 0, reverse_cuthill_mckee = 1, minimum_degree = 2 };

// Breadth-first search over the graph, level by level.
class Levels {
public:
    explicit Levels(const Lists &graph) : graph_(graph) {}
    sarko_error_t allocate() {
        const auto n = static_cast<uint64_t>(graph_.count);
        if (sarko_error_t e = reached_.allocate(n)) return e;
        return done_.allocate(n);
    }
    bool done(int32_t i) const { return done_[static_cast<uint64_t>(i)] != 0; }
    void finish(int32_t i) { done_[static_cast<uint64_t>(i)] = 1; }
    int32_t degree(int32_t i) const { return static_cast<int32_t>(graph_.end(i) - graph_.begin(i)); }

    // Writes the component of `start` to queue in the order of a search; where `sorted`, the new neighbours of each
    // node by degree, then index. Stores the number of levels and the first place of the last one; returns the count of
    // nodes.
    int32_t search(int32_t start, uint32_t *queue, bool sorted) {
        round_++;
        int32_t count = 0, level_end = 1;
        queue[count++] = static_cast<uint32_t>(start);
        reached_[static_cast<uint64_t>(start)] = round_;
        depth = 1;
        last_level = 0;
        for (int32_t k = 0; k < count; k++) {
            if (k == level_end) {
                depth++;
                last_level = k;
                level_end = count;
            }
            const int32_t first = count;
            const auto i = static_cast<int32_t>(queue[k]);
            for (int64_t q = graph_.begin(i); q < graph_.end(i); q++) {
                const int32_t j = graph_.index[static_cast<uint64_t>(q)];
                if (reached_[static_cast<uint64_t>(j)] == round_) continue;
                reached_[static_cast<uint64_t>(j)] = round_;
                queue[count++] = static_cast<uint32_t>(j);
            }
            if (sorted)
                std::sort(queue + first, queue + count, [this](uint32_t x, uint32_t y) {
                    const int32_t dx = degree(static_cast<int32_t>(x)), dy = degree(static_cast<int32_t>(y));
                    return dx != dy ? dx < dy : x < y;
                });
        }
        return count;
    }
    int32_t depth = 0, last_level = 0;

private:
    const Lists &graph_;
    sarvo::Buffer<int32_t> reached_; // in which search
    sarvo::Buffer<uint8_t> done_;
    int32_t round_ = 0;
};

// A node of its component from which a search goes about as deep as from any (George and Liu, 1979): on from a node of
// least degree in the last level, as long as that gives more levels.
int32_t far_node(Levels &levels, int32_t start, uint32_t *queue) {
    int32_t count = levels.search(start, queue, false);
    for (;;) {
        const int32_t depth = levels.depth;
        auto next = static_cast<int32_t>(queue[levels.last_level]);
        for (int32_t k = levels.last_level; k < count; k++)
            if (levels.degree(static_cast<int32_t>(queue[k])) < levels.degree(next))
                next = static_cast<int32_t>(queue[k]);
        count = levels.search(next, queue, false);
        if (levels.depth <= depth) return start;
        start = next;
    }
}

sarko_error_t cuthill_mckee(const Lists &graph, uint32_t *order) {
    Levels levels(graph);
    if (sarko_error_t e = levels.allocate()) return e;
    int32_t placed = 0;
    for (int32_t i = 0; i < graph.count; i++) {
        if (levels.done(i)) continue;
        uint32_t *queue = order + placed;
        const int32_t count = levels.search(far_node(levels, i, queue), queue, true);
        for (int32_t k = 0; k < count; k++) levels.finish(static_cast<int32_t>(queue[k]));
        placed += count;
    }
    std::reverse(order, order + graph.count);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_sp_order(const SPMAT *A, int32_t method, PERM **out) {
    if (!A || !out) return fail_in(SarvoMHNullEC, "sp_order");
    if (A->m != A->n) return fail_in(SarvoMHSquareEC, "sp_order");
    if (method < natural || method > minimum_degree) return fail_in(SarvoMHRangeEC, "sp_order");
    sarvo::Buffer<uint32_t> order;
    if (sarko_error_t e = order.allocate_unset(static_cast<uint64_t>(A->n))) return e;
    if (method != natural) {
        Lists graph;
        if (sarko_error_t e = sarvo::mh::graph_of(*A, graph)) return e;
        const auto by = method == minimum_degree ? sarvo::mh::minimum_degree : cuthill_mckee;
        if (sarko_error_t e = by(graph, order.get())) return e;
    }
    if (sarko_error_t e = sarvo_mh_px_resize(out, A->n)) return e;
    sarvo_mh_px_ident(*out);
    for (uint64_t k = 0; method != natural && k < (*out)->size; k++) (*out)->elems[k] = order[k];
    return 0;
}

} // extern "C"
