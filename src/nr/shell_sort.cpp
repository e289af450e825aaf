// Shell sort into descending order.
#include "shell_sort.h"

namespace sarvo::nr {

void shell_sort_descending(uint64_t n, double *keys, uint64_t *order) {
    for (uint64_t k = 0; k < n; k++) order[k] = k;
    uint64_t h = 1;
    while (3 * h + 1 < n) h = 3 * h + 1;
    for (; h > 0; h /= 3) {
        for (uint64_t i = h; i < n; i++) {
            const double key = keys[i];
            const uint64_t place = order[i];
            uint64_t j = i;
            for (; j >= h && keys[j - h] < key; j -= h) {
                keys[j] = keys[j - h];
                order[j] = order[j - h];
            }
            keys[j] = key;
            order[j] = place;
        }
    }
}

} // namespace sarvo::nr
