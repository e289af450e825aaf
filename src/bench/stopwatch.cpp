// The stopwatch of the suite.
#include <sarvo/scimark.h>

#include <stdlib.h>

extern "C" {

sarko_error_t new_Stopwatch(Stopwatch **out) {
    void *p = nullptr;
    const sarko_error_t e = sarko_mem_malloc(sizeof(Stopwatch), &p);
    *out = static_cast<Stopwatch *>(p);
    if (!e) Stopwatch_reset(*out);
    return e;
}

void Stopwatch_delete(Stopwatch *watch) { free(watch); }

void Stopwatch_start(Stopwatch *watch) {
    if (!watch->running) *watch = {1, sarko_time_real(), 0.0};
}

void Stopwatch_resume(Stopwatch *watch) {
    watch->running = 1;
    watch->last_time = sarko_time_real();
}

void Stopwatch_stop(Stopwatch *watch) {
    if (!watch->running) return;
    watch->total += sarko_time_real() - watch->last_time;
    watch->running = 0;
}

void Stopwatch_reset(Stopwatch *watch) { *watch = {}; }

double Stopwatch_read(Stopwatch *watch) {
    if (watch->running) {
        const double now = sarko_time_real();
        watch->total += now - watch->last_time;
        watch->last_time = now;
    }
    return watch->total;
}

} // extern "C"
