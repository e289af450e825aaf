// The choice of the kernel table: the only place that asks what the processor can do.
#include <atomic>

#include "levels.h"

namespace sarvo::simd {
namespace {

// Levels that this processor has, slowest first. The compiler's test includes that the system saves the registers.
uint32_t list_levels(const Kernels *list[most_levels]) {
    uint32_t count = 0;
    list[count++] = &ref::table;
    list[count++] = &base::table;
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("sse4.2")) list[count++] = &v2::table;
    if (__builtin_cpu_supports("avx2")) list[count++] = &v3::table;
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"))
        list[count++] = &v4::table;
#endif
    return count;
}

const Kernels *choose() {
    const Kernels *list[most_levels];
    return list[list_levels(list) - 1];
}

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
    const Kernels *list[most_levels];
    const uint32_t count = list_levels(list);
    for (uint32_t i = 0; i < count && i < capacity; i++) tables[i] = list[i];
    return count < capacity ? count : capacity;
}

} // namespace sarvo::simd
