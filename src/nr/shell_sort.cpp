// Shell sort: of keys with their places, and of the elements of a vector.
#include "shell_sort.h"

#include <sarvo/nr/sort.h>

#include "core/fail.h"
#include "core/sort_values.h"

namespace sarvo::nr {
namespace {

// Gapped insertion sorts over n elements: take(i) lifts element i out, follows(j) says whether the lifted one belongs
// before element j, move(from, to) moves an element, put(i) puts the lifted one down.
template <class Elements> void shell_sort(uint64_t n, Elements elements) {
    uint64_t h = 1;
    while (3 * h + 1 < n) h = 3 * h + 1;
    for (; h > 0; h /= 3) {
        for (uint64_t i = h; i < n; i++) {
            elements.take(i);
            uint64_t j = i;
            for (; j >= h && elements.follows(j - h); j -= h) elements.move(j - h, j);
            elements.put(j);
        }
    }
}

struct DescendingKeys {
    double *keys;
    uint64_t *order;
    double key = 0.0;
    uint64_t place = 0;

    void take(uint64_t i) {
        key = keys[i];
        place = order[i];
    }
    bool follows(uint64_t j) const { return keys[j] < key; }
    void move(uint64_t from, uint64_t to) const {
        keys[to] = keys[from];
        order[to] = order[from];
    }
    void put(uint64_t i) const {
        keys[i] = key;
        order[i] = place;
    }
};

struct AscendingValues {
    double *x;
    double value = 0.0;

    void take(uint64_t i) { value = x[i]; }
    bool follows(uint64_t j) const { return x[j] > value; }
    void move(uint64_t from, uint64_t to) const { x[to] = x[from]; }
    void put(uint64_t i) const { x[i] = value; }
};

} // namespace

void shell_sort_descending(uint64_t n, double *keys, uint64_t *order) {
    for (uint64_t k = 0; k < n; k++) order[k] = k;
    shell_sort(n, DescendingKeys{keys, order});
}

void shell_sort_ascending(uint64_t n, double *x) { shell_sort(n, AscendingValues{x}); }

} // namespace sarvo::nr

extern "C" {

sarko_error_t sarvo_nr_sort_shell(sarvo_vector *v, uint64_t count) {
    using namespace sarvo;
    if (!v) return fail(SarvoNullEC);
    if (v->length == 0) return fail(SarvoNrSizeEC);
    const uint64_t n = count > 0 && count <= v->length ? count : v->length;
    auto *x = static_cast<double *>(v->data);
    if (!sort_values(x, n)) nr::shell_sort_ascending(n, x);
    return 0;
}

} // extern "C"
