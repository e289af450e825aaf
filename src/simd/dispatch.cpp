// The choice of the kernel table: the only place that asks what the processor can do.
#include "simd.h"

#include <atomic>

#include "ref/ref.h"

namespace sarvo::simd {
namespace {

constexpr Kernels scalar_table = {"scalar", ref::add, ref::scale, ref::shift, ref::axpy, ref::product, ref::product_work};

const Kernels *choose() { return &scalar_table; }

// Chosen at first use. Threads that race here all store the same pointer.
std::atomic<const Kernels *> chosen{nullptr};

} // namespace

const Kernels &kernels() {
    const Kernels *table = chosen.load(std::memory_order_relaxed);
    if (!table) {
        table = choose();
        chosen.store(table, std::memory_order_relaxed);
    }
    return *table;
}

void force_level(const Kernels *table) { chosen.store(table, std::memory_order_relaxed); }

uint32_t available_levels(const Kernels **tables, uint32_t capacity) {
    uint32_t count = 0;
    if (count < capacity) tables[count++] = &scalar_table;
    return count;
}

} // namespace sarvo::simd
