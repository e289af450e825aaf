// Ordering by approximate minimum degree (Amestoy, Davis, Duff, 1996).
//
// The elimination is played through on a quotient graph. A node is at first a variable; eliminating it makes it an
// element, which stands for the clique of the variables that it was adjacent to. The list of a variable names adjacent
// elements, then adjacent variables; that of an element its variables. Lists never grow: a new element takes the place
// of what it absorbs. Each step
//     takes a variable of least degree and forms its element Lme of its variables and those of its elements, which
//     vanish;
//     counts |Le \ Lme| for every element e that touches Lme; those with 0 vanish too (aggressive absorption);
//     bounds the degree of every i in Lme by |Lme \ i| + sum of |Le \ Lme| + its variables outside of Lme;
//     eliminates at once the i that have nothing outside of Lme (mass elimination);
//     merges those of Lme with equal lists, found by a hash, into one variable of greater weight.
// What vanishes hangs below what absorbed it: a postorder of that forest is the result.
#include "compact.h"

#include <initializer_list>

namespace sarvo::mh {
namespace {

enum class State : uint8_t { variable, element, absorbed };

class Elimination {
public:
    sarko_error_t allocate(const Lists &graph);
    void run();
    void postorder(uint32_t *order);

private:
    uint64_t at(int32_t i) const { return static_cast<uint64_t>(i); }
    int32_t *list(int32_t i) const { return work_.get() + place_[at(i)]; }

    void insert(int32_t i);
    void remove(int32_t i);
    int32_t take_least();
    void set_aside_dense();
    void collect_garbage();
    void absorb(int32_t child, int32_t parent);
    void join(int32_t i, int32_t *&end);
    void form_element(int32_t me);
    void count_outside(int32_t me);
    uint64_t shorten_list(int32_t me, int32_t i);
    void update_degrees(int32_t me);
    bool same_lists(int32_t i, int32_t j) const;
    void merge_bucket(int32_t first);
    void merge_equals(int32_t me);
    void finish(int32_t me);

    int32_t n_ = 0, least_ = 0, eliminated_ = 0;
    int64_t room_ = 0, free_ = 0, mark_ = 1;
    int32_t element_weight_ = 0, pivot_weight_ = 0; // of Lme, and of what is eliminated with it
    Buffer<int32_t> work_;                          // all lists
    Buffer<int64_t> place_, stamp_;
    Buffer<int32_t> length_,
        elements_;           // of a list; elements that stand first in that of a variable, -1 once it was eliminated
    Buffer<int32_t> weight_; // variables that one stands for; 0 absorbed, negative while in Lme
    Buffer<int32_t> degree_; // bound for a variable, weight of an element
    Buffer<int32_t> head_, next_, previous_, bucket_, parent_;
    Buffer<State> state_;
};

sarko_error_t Elimination::allocate(const Lists &graph) {
    n_ = graph.count;
    const uint64_t n = at(n_);
    free_ = graph.total();
    room_ = free_ + free_ / 5 + n_;
    for (Buffer<int32_t> *b :
         {&length_, &elements_, &weight_, &degree_, &head_, &next_, &previous_, &bucket_, &parent_})
        if (sarko_error_t e = b->allocate_unset(n)) return e;
    if (sarko_error_t e = work_.allocate_unset(static_cast<uint64_t>(room_))) return e;
    if (sarko_error_t e = place_.allocate_unset(n)) return e;
    if (sarko_error_t e = stamp_.allocate_unset(n)) return e;
    if (sarko_error_t e = state_.allocate_unset(n)) return e;
    if (free_ != 0) memcpy(work_.get(), graph.index.get(), static_cast<uint64_t>(free_) * sizeof(int32_t));
    for (int32_t i = 0; i < n_; i++) {
        place_[at(i)] = graph.begin(i);
        stamp_[at(i)] = 0;
        length_[at(i)] = degree_[at(i)] = static_cast<int32_t>(graph.end(i) - graph.begin(i));
        elements_[at(i)] = 0;
        weight_[at(i)] = 1;
        head_[at(i)] = bucket_[at(i)] = parent_[at(i)] = -1;
        state_[at(i)] = State::variable;
    }
    return 0;
}

// ---- Lists of the variables of each degree ----

void Elimination::insert(int32_t i) {
    const uint64_t d = at(degree_[at(i)]);
    next_[at(i)] = head_[d];
    previous_[at(i)] = -1;
    if (head_[d] >= 0) previous_[at(head_[d])] = i;
    head_[d] = i;
    if (degree_[at(i)] < least_) least_ = degree_[at(i)];
}

void Elimination::remove(int32_t i) {
    const int32_t before = previous_[at(i)], after = next_[at(i)];
    if (after >= 0) previous_[at(after)] = before;
    if (before >= 0) next_[at(before)] = after;
    else head_[at(degree_[at(i)])] = after;
}

int32_t Elimination::take_least() {
    while (head_[at(least_)] < 0) least_++;
    const int32_t i = head_[at(least_)];
    remove(i);
    return i;
}

// Nodes adjacent to very many others would be met at every step: they come last.
void Elimination::set_aside_dense() {
    int64_t limit = 16;
    while (limit * limit < 100 * int64_t{n_}) limit++; // 10 sqrt(n)
    for (int32_t i = 0; i < n_; i++) {
        if (degree_[at(i)] <= limit) continue;
        weight_[at(i)] = 0;
        state_[at(i)] = State::absorbed;
        eliminated_++;
    }
}

// Moves all live lists to the front. The first word of each is kept in place_ while a marker stands for it.
void Elimination::collect_garbage() {
    for (int32_t i = 0; i < n_; i++) {
        if (state_[at(i)] == State::absorbed || length_[at(i)] == 0) continue;
        int32_t &first = *list(i);
        place_[at(i)] = first;
        first = -i - 1;
    }
    int64_t to = 0;
    for (int64_t from = 0; from < free_;) {
        const int32_t marker = work_[static_cast<uint64_t>(from++)];
        if (marker >= 0) continue;
        const int32_t i = -marker - 1;
        work_[static_cast<uint64_t>(to)] = static_cast<int32_t>(place_[at(i)]);
        place_[at(i)] = to++;
        for (int32_t k = 1; k < length_[at(i)]; k++)
            work_[static_cast<uint64_t>(to++)] = work_[static_cast<uint64_t>(from++)];
    }
    free_ = to;
}

void Elimination::absorb(int32_t child, int32_t parent) {
    parent_[at(child)] = parent;
    state_[at(child)] = State::absorbed;
    stamp_[at(child)] = 0;
}

// ---- One step ----

// Takes variable i into the element in the making, unless it is in it or gone.
void Elimination::join(int32_t i, int32_t *&end) {
    const int32_t weight = weight_[at(i)];
    if (weight <= 0) return;
    weight_[at(i)] = -weight;
    element_weight_ += weight;
    remove(i);
    *end++ = i;
}

void Elimination::form_element(int32_t me) {
    int64_t bound = length_[at(me)];
    for (int32_t k = 0; k < elements_[at(me)]; k++) bound += length_[at(list(me)[k])];
    if (free_ + (bound < n_ ? bound : n_) > room_) collect_garbage();
    pivot_weight_ = weight_[at(me)];
    weight_[at(me)] = -pivot_weight_;
    element_weight_ = 0;
    const int32_t *source = list(me), count = length_[at(me)], first_variable = elements_[at(me)];
    int32_t *begin = first_variable == 0 ? list(me) : work_.get() + free_, *end = begin;
    for (int32_t k = 0; k < first_variable; k++) {
        const int32_t e = source[k], *variables = list(e);
        for (int32_t q = 0; q < length_[at(e)]; q++) join(variables[q], end);
        absorb(e, me);
    }
    for (int32_t k = first_variable; k < count; k++) join(source[k], end);
    state_[at(me)] = State::element;
    elements_[at(me)] = -1;
    place_[at(me)] = begin - work_.get();
    length_[at(me)] = static_cast<int32_t>(end - begin);
    if (first_variable != 0) free_ = end - work_.get();
}

// stamp(e) = mark + |Le \ Lme| for each element e of a variable in Lme.
void Elimination::count_outside(int32_t me) {
    mark_ += n_ + 1; // above all stamps so far
    for (int32_t k = 0; k < length_[at(me)]; k++) {
        const int32_t i = list(me)[k], weight = -weight_[at(i)];
        for (int32_t q = 0; q < elements_[at(i)]; q++) {
            const int32_t e = list(i)[q];
            if (state_[at(e)] != State::element) continue;
            int64_t &stamp = stamp_[at(e)];
            stamp = (stamp >= mark_ ? stamp : mark_ + degree_[at(e)]) - weight;
        }
    }
}

// Drops from i's list what is gone or covered by me, puts me first, and bounds the degree outside of Lme. Returns a
// hash of the list without me, which is 0 when nothing else is left in it.
uint64_t Elimination::shorten_list(int32_t me, int32_t i) {
    int32_t *const begin = list(i), *end = begin;
    uint64_t hash = 0;
    int64_t degree = 0;
    for (int32_t q = 0; q < elements_[at(i)]; q++) {
        const int32_t e = begin[q];
        if (state_[at(e)] != State::element) continue;
        const int64_t outside = stamp_[at(e)] - mark_;
        if (outside == 0) {
            absorb(e, me);
            continue;
        }
        degree += outside;
        *end++ = e;
        hash += at(e) + 1;
    }
    int32_t *const variables = end;
    for (int32_t q = elements_[at(i)]; q < length_[at(i)]; q++) {
        const int32_t j = begin[q];
        if (weight_[at(j)] <= 0) continue;
        degree += weight_[at(j)];
        *end++ = j;
        hash += at(j) + 1;
    }
    // What made i join left its list, so there is room for one more.
    *end++ = *variables;
    *variables = *begin;
    *begin = me;
    elements_[at(i)] = static_cast<int32_t>(variables - begin) + 1;
    length_[at(i)] = static_cast<int32_t>(end - begin);
    if (degree < degree_[at(i)]) degree_[at(i)] = static_cast<int32_t>(degree);
    return hash;
}

void Elimination::update_degrees(int32_t me) {
    for (int32_t k = 0; k < length_[at(me)]; k++) {
        const int32_t i = list(me)[k];
        const uint64_t hash = shorten_list(me, i);
        if (hash == 0) { // mass elimination
            const int32_t weight = -weight_[at(i)];
            pivot_weight_ += weight;
            element_weight_ -= weight;
            weight_[at(i)] = 0;
            absorb(i, me);
            continue;
        }
        const auto bucket = static_cast<int32_t>(hash % at(n_));
        next_[at(i)] = bucket_[at(bucket)]; // variables of Lme are in no degree list
        bucket_[at(bucket)] = i;
        previous_[at(i)] = bucket;
    }
}

// Whether j's list is i's, whose nodes carry the mark. The first is me in both.
bool Elimination::same_lists(int32_t i, int32_t j) const {
    if (length_[at(i)] != length_[at(j)] || elements_[at(i)] != elements_[at(j)]) return false;
    for (int32_t q = 1; q < length_[at(j)]; q++)
        if (stamp_[at(list(j)[q])] != mark_) return false;
    return true;
}

void Elimination::merge_bucket(int32_t first) {
    for (int32_t i = first; i >= 0; i = next_[at(i)]) {
        if (next_[at(i)] < 0) return;
        mark_++;
        for (int32_t q = 1; q < length_[at(i)]; q++) stamp_[at(list(i)[q])] = mark_;
        for (int32_t before = i, j = next_[at(i)]; j >= 0; j = next_[at(before)]) {
            if (!same_lists(i, j)) {
                before = j;
                continue;
            }
            weight_[at(i)] += weight_[at(j)];
            weight_[at(j)] = 0;
            absorb(j, i);
            next_[at(before)] = next_[at(j)];
        }
    }
}

void Elimination::merge_equals(int32_t me) {
    mark_ += n_ + 1;
    for (int32_t k = 0; k < length_[at(me)]; k++) {
        const int32_t i = list(me)[k];
        if (weight_[at(i)] == 0) continue;
        const uint64_t bucket = at(previous_[at(i)]);
        const int32_t first = bucket_[bucket];
        bucket_[bucket] = -1;
        merge_bucket(first);
    }
}

// Lme keeps those that are left, which go to the lists of their new degrees.
void Elimination::finish(int32_t me) {
    eliminated_ += pivot_weight_;
    int32_t *const begin = list(me), *end = begin;
    const bool at_the_end = place_[at(me)] + length_[at(me)] == free_;
    for (int32_t k = 0; k < length_[at(me)]; k++) {
        const int32_t i = begin[k], weight = -weight_[at(i)];
        if (weight == 0) continue;
        weight_[at(i)] = weight;
        const int32_t bound = n_ - eliminated_ - weight;
        const int64_t degree = int64_t{degree_[at(i)]} + element_weight_ - weight;
        degree_[at(i)] = static_cast<int32_t>(degree < bound ? degree : bound);
        insert(i);
        *end++ = i;
    }
    length_[at(me)] = static_cast<int32_t>(end - begin);
    if (at_the_end) free_ = end - work_.get();
    degree_[at(me)] = element_weight_;
    if (end == begin) state_[at(me)] = State::absorbed; // a root: nothing refers to it any more
}

void Elimination::run() {
    set_aside_dense();
    for (int32_t i = n_ - 1; i >= 0; i--)
        if (weight_[at(i)] != 0) insert(i);
    while (eliminated_ < n_) {
        const int32_t me = take_least();
        form_element(me);
        count_outside(me);
        update_degrees(me);
        merge_equals(me);
        finish(me);
    }
}

// Children before their parents; variables, which have no elements below them, right before what absorbed them.
void Elimination::postorder(uint32_t *order) {
    int32_t *child = head_.get(), *sibling = next_.get(), *stack = previous_.get();
    for (int32_t i = 0; i < n_; i++) child[i] = -1;
    const auto hang = [&](bool eliminated) {
        for (int32_t i = n_ - 1; i >= 0; i--) {
            if (parent_[at(i)] < 0 || (elements_[at(i)] < 0) != eliminated) continue;
            sibling[i] = child[parent_[at(i)]];
            child[parent_[at(i)]] = i;
        }
    };
    hang(false);
    hang(true);
    uint32_t *next = order;
    const auto visit = [&](int32_t root) {
        int32_t depth = 0;
        stack[depth++] = root;
        while (depth > 0) {
            const int32_t i = stack[depth - 1];
            if (child[i] >= 0) {
                stack[depth++] = child[i];
                child[i] = sibling[child[i]];
            } else {
                *next++ = static_cast<uint32_t>(i);
                depth--;
            }
        }
    };
    for (int32_t i = 0; i < n_; i++)
        if (parent_[at(i)] < 0 && elements_[at(i)] < 0) visit(i);
    for (int32_t i = 0; i < n_; i++)
        if (parent_[at(i)] < 0 && elements_[at(i)] >= 0) visit(i); // the dense ones
}

} // namespace

sarko_error_t minimum_degree(const Lists &graph, uint32_t *order) {
    if (graph.count == 0) return 0;
    Elimination elimination;
    if (sarko_error_t e = elimination.allocate(graph)) return e;
    elimination.run();
    elimination.postorder(order);
    return 0;
}

} // namespace sarvo::mh
