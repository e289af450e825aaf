// The clock and the system's free as the tests of this folder have them.
#include "bench_support.h"

#include <cstdlib>
#include <set>

extern "C" {
double __real_sarko_time_real(void);
double __wrap_sarko_time_real(void);
void __real_free(void *);
void __wrap_free(void *);
}

namespace test::bench {
namespace {

Clock *clock_in_use;

bool counting;
std::set<void *> handed_out;
int64_t system_releases;
uint64_t largest_block;

void *remember(void *p, uint64_t size) {
    if (p) handed_out.insert(p);
    if (p && size > largest_block) largest_block = size;
    return p;
}

void *hook_alloc(uint64_t size, int32_t zeroed, void *) {
    return remember(memory::hooks().alloc(size, zeroed, nullptr), size);
}

void *hook_resize(void *p, uint64_t size, void *) {
    void *const resized = memory::hooks().resize(p, size, nullptr);
    if (resized) handed_out.erase(p);
    return remember(resized, size);
}

void hook_release(void *p, void *) {
    handed_out.erase(p);
    memory::hooks().release(p, nullptr);
}

} // namespace

Clock::Clock(std::function<double(int64_t)> steps) : step(std::move(steps)) { clock_in_use = this; }
Clock::~Clock() { clock_in_use = nullptr; }

SystemFree::SystemFree() {
    handed_out.clear();
    system_releases = 0;
    largest_block = 0;
    counting = true;
    const sarko_mem_hooks hooks = {hook_alloc, hook_resize, hook_release, nullptr};
    sarko_mem_set_hooks(&hooks);
}

SystemFree::~SystemFree() {
    counting = false;
    const sarko_mem_hooks hooks = memory::hooks();
    sarko_mem_set_hooks(&hooks);
}

int64_t SystemFree::releases() const { return system_releases; }
uint64_t SystemFree::largest() const { return largest_block; }

} // namespace test::bench

using namespace test::bench;

double __wrap_sarko_time_real(void) {
    if (!clock_in_use) return __real_sarko_time_real();
    return clock_in_use->now += clock_in_use->step(clock_in_use->readings++);
}

void __wrap_free(void *p) {
    if (!counting || handed_out.erase(p) == 0) return __real_free(p);
    system_releases++;
    test::memory::hooks().release(p, nullptr);
}
