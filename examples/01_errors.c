/* Lesson 1: errors are objects. Make one fail on purpose, look at it, report it, clear it; see memory hooks count
 * blocks. */
#include <stdio.h>
#include <stdlib.h>

#include <sarvo/array.h>

/* Memory hooks that count what is live; everything the library allocates goes through them. */
static long live;
static void *take(uint64_t bytes, int32_t zeroed, void *ctx) {
    (void)ctx;
    live++;
    return zeroed ? calloc(1, bytes) : malloc(bytes);
}
static void *resize(void *p, uint64_t bytes, void *ctx) {
    (void)ctx;
    return realloc(p, bytes);
}
static void release(void *p, void *ctx) {
    (void)ctx;
    live--;
    free(p);
}

int main(void) {
    const sarko_mem_hooks hooks = {take, resize, release, NULL};
    sarko_mem_set_hooks(&hooks);
    if (sarvo_initialize() != 0) return 1;

    /* A 2 x 3 matrix times a 2 x 3 matrix: the sizes do not fit. */
    sarvo_matrix *a = NULL, *b = NULL, *c = NULL;
    sarko_error_t e = sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, 2, 3);
    if (!e) e = sarvo_matrix_alloc(&b, SARVO_DOUBLE, 0, 2, 3);
    if (!e) e = sarvo_mm_mlt(a, b, &c);
    printf("code %s SarvoSizeEC, message: %s\n", sarko_error_code(e) == SarvoSizeEC ? "is" : "is not",
           sarko_error_message(e));

    /* Say what was being done, print the chain, release it. */
    e = sarko_error_quick_wrap_i(0, 0, 0, e, "Cannot form the product.");
    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stdout));

    sarvo_matrix_free(a);
    sarvo_matrix_free(b);
    printf("blocks still live: %ld\n", live);
    sarvo_terminate();
    return live == 0 ? 0 : 1;
}
