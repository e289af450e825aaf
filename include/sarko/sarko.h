/* sarko: error objects, memory and time, the kernel library under libsarvo.
 *
 * Errors are objects. A fallible operation returns a handle: 0 is success, anything else is an error that the caller
 * owns and either returns upward (wrapped or not) or releases with sarko_error_clear. An error has a code (registered
 * at start-up, 0 = none), a kind, a message, and possibly a cause: the error that it wraps, which it owns.
 *
 * Memory comes from the system allocator or from hooks (sarko_mem_set_hooks). Whatever the allocation operations hand
 * out can be released with sarko_mem_free or with the system free.
 *
 * Threads: making, wrapping, reading and clearing errors, and all memory operations, are safe from any number of
 * threads.
 * sarko_initialize, sarko_terminate, sarko_error_register and the setters of hooks and handlers are for start-up and
 * shut-down: one thread, while no other uses the library.
 *
 *     double *x = NULL;
 *     sarko_error_t e = sarko_mem_calloc(1000, sizeof *x, (void **)&x);
 *     if (e) {
 *         e = sarko_error_quick_wrap_i(0, 0, 0, e, "No room for the samples.");
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         return 1;
 *     }
 *     x[999] = 1.0;
 *     sarko_mem_free(x);
 */
#ifndef SARKO_SARKO_H
#define SARKO_SARKO_H

#include <stdint.h>
#include <stdio.h>

#if defined(__GNUC__)
#define SARKO_API __attribute__((visibility("default")))
#define SARKO_PRINTF(text, first) __attribute__((__format__(__printf__, text, first)))
#else
#define SARKO_API
#define SARKO_PRINTF(text, first)
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef uint64_t sarko_error_t; /* 0 = success, else an error object */

/* ---- Lifecycle ---- */

/* Starts the library; calls are counted and only the first does work. Returns 0, or 1 when the system has no real-time
 * clock (the count is not raised then). */
SARKO_API int32_t sarko_initialize(void);

/* Undoes one sarko_initialize; the last one forgets every registered code. Errors that are still held stay readable.
 * Without a matching sarko_initialize it does nothing. Always returns 0. May alternate with sarko_initialize any number
 * of times. */
SARKO_API sarko_error_t sarko_terminate(void);

/* ---- Errors ---- */

enum {
    SARKO_KIND_ERROR = 0,      /* an ordinary failure */
    SARKO_KIND_MEMORY = 1,     /* memory could not be had */
    SARKO_KIND_MALFUNCTION = 2, /* an internal state that must not occur */
    SARKO_KIND_WARNING = 3      /* something that the caller should know of; nothing failed */
};

/* Hands out the next code (1, 2, 3, ...), stores it in *code and binds `message` to it. The text is not copied: it must
 * stay valid (a string constant). *code must have a value, 0 at first: a variable that still holds the code that it
 * was given since the first sarko_initialize, for the same text, keeps it, and nothing is registered. So a library may
 * register its codes at each of its starts while somebody else keeps this one started.
 * Errors, in order: "Null pointer." (code or message null); "Too many error codes." (4096 are registered). *code is not
 * written then. */
SARKO_API sarko_error_t sarko_error_register(uint32_t *code, const char *message);

/* The message registered for `code`, null when there is none. */
SARKO_API const char *sarko_error_code_message(uint32_t code);

/* A new error of `kind` and `code`. The four context numbers are kept with the error and printed by the standard
 * handler when one of them is not 0. `text` (may be null) is copied; without it the registered message of the code is
 * the error's message.
 * Never returns 0: when the object cannot be allocated, the result is the library's preallocated out-of-memory error
 * (kind SARKO_KIND_MEMORY, code 0, "Out of memory."), which may be read, wrapped and cleared like any other. */
SARKO_API sarko_error_t sarko_error_create_i(int32_t kind, uint32_t code, uint64_t context1, uint64_t context2,
                                             uint64_t context3, uint64_t context4, const char *text);

/* The same with a formatted text. A format that cannot be printed leaves the registered message. */
SARKO_API sarko_error_t sarko_error_createf_i(int32_t kind, uint32_t code, uint64_t context1, uint64_t context2,
                                              uint64_t context3, uint64_t context4, const char *format, ...)
    SARKO_PRINTF(7, 8);

/* A new error with message `text` (copied; null = the message of the wrapped error) that has the code and kind of
 * `error` and owns it as its cause. error = 0 gives 0. When the object cannot be allocated, `error` is cleared and the
 * preallocated out-of-memory error returned. */
SARKO_API sarko_error_t sarko_error_quick_wrap_i(uint64_t context1, uint64_t context2, uint64_t context3,
                                                 sarko_error_t error, const char *text);

/* One error in place of a chain: the messages from the outermost to the root cause, joined by ": ", with the code and
 * kind of the outermost. Takes over `error`; an error without a cause is returned as it is, 0 gives 0. `context` is
 * kept like the first context number of sarko_error_create_i. When memory fails, `error` is cleared and the
 * out-of-memory error returned. */
SARKO_API sarko_error_t sarko_error_compose_create(sarko_error_t error, uint64_t context);

/* Properties of an error; of handle 0: code 0, kind 0, message "Success", no cause. The texts belong to the error. */
SARKO_API uint32_t sarko_error_code(sarko_error_t error);
SARKO_API int32_t sarko_error_kind(sarko_error_t error);
SARKO_API const char *
sarko_error_message(sarko_error_t error); /* own text, else the code's message, else "Unknown error" */
SARKO_API sarko_error_t sarko_error_cause(sarko_error_t error); /* still owned by `error`; 0 = none */

/* Releases an error with its whole chain of causes; 0 is allowed. Always returns 0. */
SARKO_API sarko_error_t sarko_error_clear(sarko_error_t error);

/* A handler reports an error to a stream; it does not clear it. */
typedef void (*sarko_error_handler)(sarko_error_t error, FILE *stream);

/* Lets `handler` (null = sarko_error_stdhandler) report `error` to `stream`; 0 is not reported. Returns `error`, still
 * the caller's to clear. */
SARKO_API sarko_error_t sarko_error_handle(sarko_error_t error, sarko_error_handler handler, FILE *stream);

/* The standard handler: one line for the error, one for each cause, outermost first:
 *     error 7: Cannot do SVD
 *       caused by error 7: Incorrect size
 * The number is the code; kinds other than 0 and contexts are named on the line. A null stream prints nothing. */
SARKO_API void sarko_error_stdhandler(sarko_error_t error, FILE *stream);

/* Reports an internal malfunction: hands `error` to the malfunction handler and clears it once the handler returns. The
 * default handler prints the chain to standard error and aborts. Returns 0. */
SARKO_API sarko_error_t sarko_error_malfunction(sarko_error_t error);

/* Sets the malfunction handler and the pointer passed to it; a null handler restores the default. */
SARKO_API void sarko_error_set_malfunction_handler(void (*handler)(sarko_error_t error, void *ctx), void *ctx);

/* ---- Memory ----
 * All sizes in bytes. Errors of the allocating operations: kind SARKO_KIND_MEMORY, code 0,
 * "Cannot allocate %zu bytes." or, when a product of sizes overflows 64 bits, "Size of allocation overflows.". A null
 * address: "Null pointer.". Blocks of the system allocator from 1024 bytes on begin at a multiple of 64 bytes, except
 * zero-filled ones above 4 MiB and resized ones. */

/* Hooks that stand for the system allocator. `alloc` returns null on failure and zero-filled memory when `zeroed` is
 * not 0;
 * `resize` follows realloc (p is never null, bytes never 0, p stays valid on failure). Blocks must be ones that the
 * system free accepts, aligned as malloc does. Hooks must not throw. */
typedef struct {
    void *(*alloc)(uint64_t bytes, int32_t zeroed, void *ctx);
    void *(*resize)(void *p, uint64_t bytes, void *ctx);
    void (*release)(void *p, void *ctx); /* p is never null */
    void *ctx;
} sarko_mem_hooks;

/* Installs a copy of *hooks; null restores the system allocator. */
SARKO_API void sarko_mem_set_hooks(const sarko_mem_hooks *hooks);

/* Allocates `bytes` (contents undefined), respectively count * size zero-filled bytes, and stores the address in *p.
 * 0 bytes store null and succeed. On failure *p is null. */
SARKO_API sarko_error_t sarko_mem_malloc(uint64_t bytes, void **p);
SARKO_API sarko_error_t sarko_mem_calloc(uint64_t count, uint64_t size, void **p);

/* Resizes the block at *p (null: allocates) to `bytes`, keeping contents up to the smaller size; 0 bytes release it and
 * store null. On failure *p and its block are unchanged. */
SARKO_API sarko_error_t sarko_mem_realloc(uint64_t bytes, void **p);

/* Releases a block; null is allowed. */
SARKO_API void sarko_mem_free(void *p);

/* Copies `bytes` from source to destination; the two may overlap. Returns 0, or "Null pointer." when one is null and
 * bytes is not 0. */
SARKO_API sarko_error_t sarko_mem_move(void *destination, const void *source, uint64_t bytes);

/* Offset vector: stores in *p an address v such that v[lowest] .. v[highest] are the zero-filled elements of `size`
 * bytes.
 * Bounds are taken modulo 2^64, so negative ones may be passed. highest = lowest - 1 is an empty vector.
 * Errors, in order: "Null pointer."; "Index range is empty." (highest below lowest - 1); the allocator's. *p is null
 * then. */
SARKO_API sarko_error_t sarko_mem_vector_alloc(void **p, uint64_t size, uint64_t lowest, uint64_t highest);

/* Releases an offset vector; the arguments are those of its allocation. Null is allowed. Always returns 0. */
SARKO_API sarko_error_t sarko_mem_vector_free(void *p, uint64_t size, uint64_t lowest, uint64_t highest);

/* Offset matrix: stores in *p an array m of row pointers such that m[i][j], lowest_row <= i <= highest_row,
 * lowest_col <= j <= highest_col, are zero-filled elements of `size` bytes, row after row in one block. Errors as
 * above. */
SARKO_API sarko_error_t sarko_mem_matrix_alloc(void **p, uint64_t size, uint64_t lowest_row, uint64_t highest_row,
                                               uint64_t lowest_col, uint64_t highest_col);

/* Releases an offset matrix; the arguments are those of its allocation. Null is allowed. Always returns 0. */
SARKO_API sarko_error_t sarko_mem_matrix_free(void *p, uint64_t size, uint64_t lowest_row, uint64_t highest_row,
                                              uint64_t lowest_col, uint64_t highest_col);

/* ---- Time ---- */

/* Wall-clock time in seconds since 1970-01-01 00:00 UTC. */
SARKO_API double sarko_time_real(void);

#ifdef __cplusplus
}
#endif

#endif
