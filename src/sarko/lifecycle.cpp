// Start-up and shut-down of the kernel library, and its clock.
#include <sarko/sarko.h>

#include <time.h>

#include "internal.h"

namespace {
uint32_t started = 0; // sarko_initialize calls not yet matched by sarko_terminate
}

extern "C" {

int32_t sarko_initialize(void) {
    timespec now;
    if (started == 0 && clock_gettime(CLOCK_REALTIME, &now) != 0) return 1;
    started++;
    return 0;
}

sarko_error_t sarko_terminate(void) {
    if (started == 0) return 0;
    if (--started == 0) sarko::forget_codes();
    return 0;
}

double sarko_time_real(void) {
    timespec now;
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) return 0.0;
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

} // extern "C"
