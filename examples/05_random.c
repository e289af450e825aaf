/* Lesson 5: two random sources. Streams that repeat, bounded integers, and a walk whose mean square distance is known. */
#include <stdio.h>

#include <sarvo/nr.h>
#include <sarvo/rng.h>

int main(void) {
    if (sarvo_initialize() != 0) return 1;
    sarvo_rng_t *rng = NULL, *twin = NULL;
    sarvo_nr_rng_t *classic = NULL;

    /* After an error of sarvo_rng_init there is no generator, whatever the pointer holds: free only what was made. */
    sarko_error_t e = sarvo_rng_init(&rng, 0, 5489);
    if (e) rng = NULL;
    if (!e && (e = sarvo_rng_init(&twin, 0, 5489))) twin = NULL;
    if (!e) e = sarvo_rng_gauss_init(rng, 2); /* ziggurat; before any normal deviate */
    if (!e) e = sarvo_nr_rng_init(&classic, 0, 17);
    if (!e) {
        printf("MT19937, seed 5489: %u\n", sarvo_rng_uint32(rng));
        printf("the same seed again: %u\n", sarvo_rng_uint32(twin));

        printf("ten throws of a die:");
        for (int i = 0; i < 10; i++) printf(" %u", 1 + (unsigned)sarvo_rng_uint64_scale(rng, 6));
        printf("\nthree classic doubles:");
        for (int i = 0; i < 3; i++) printf(" %.6f", sarvo_nr_rng_double(classic));

        /* 10000 walks of 100 normal steps: the mean square distance is 100, its standard error 1.41. */
        double sum = 0;
        for (int walk = 0; walk < 10000; walk++) {
            double x = 0;
            for (int step = 0; step < 100; step++) x += sarvo_rng_gauss(rng, 1.0);
            sum += x * x;
        }
        printf("\nmean square distance of walks: %.1f\n", sum / 10000);
    }
    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
    sarvo_rng_free(rng);
    sarvo_rng_free(twin);
    sarvo_nr_rng_free(classic);
    sarvo_terminate();
    return e != 0;
}
