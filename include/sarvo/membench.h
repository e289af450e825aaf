/* membench: memory bandwidth by fifteen numbered copies and fills, memory latency by dependent random reads.
 *
 * A caller passes a record of parameters; those that are 0 are replaced by their defaults, which stay in the record
 * beside the results. Times are taken by sarko_time_real. Bytes are bytes, MB/s are 10^6 bytes a second, and a copy of
 * n bytes counts n, although it reads n and writes n. Records are the caller's and must not be null.
 *
 * Threads: runs on distinct records share no buffers, but disturb each other's times. The latency run has state of the
 * whole library (the place that it reads from, the last state of a chain): one thread at a time.
 *
 *     #include <sarvo/membench.h>
 *     int main(void) {
 *         sarvo_membench_bandwidth_t copy = {.size = 1 << 20, .repeats = 3, .min_time = 0.001};
 *         sarvo_membench_latency_t cached = {.repeats = 3, .reads = 16000};
 *         sarvo_initialize();
 *         sarko_error_t e = sarvo_membench_bandwidth(4, &copy);
 *         if (!e) e = sarvo_membench_latency(1 << 15, &cached);
 *         if (!e) printf("%s: %.0f MB/s; a read: %.1f ns\n", copy.test_name, copy.best, cached.single_ns);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_terminate();
 *         return e != 0;
 *     }
 */
#ifndef SARVO_MEMBENCH_H
#define SARVO_MEMBENCH_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Kernels ----
 * What is timed: plain loads and stores of 64-bit words, eight to a group of 64 bytes, no call inside. They handle the
 * whole groups of the first `size` bytes, counted from the start of the buffers: size / 64 of them, none below 64 and
 * for negative sizes. Memory is read and written word by word in exactly the order stated, which overlapping buffers
 * show: each word is written before the next is read. Addresses need no alignment; buffers hold `size` bytes. */

typedef void (*sarvo_membench_kernel)(void *destination, const void *source, int32_t size);

/* Upwards. */
SARVO_API void aligned_block_copy(void *destination, const void *source, int32_t size);

/* Downwards: from the last group to the first, each from its highest word to its lowest; in blocks of 32 or of 64 bytes
 * that are copied upwards inside, the blocks taken downwards. */
SARVO_API void aligned_block_copy_backwards(void *destination, const void *source, int32_t size);
SARVO_API void aligned_block_copy_backwards_bs32(void *destination, const void *source, int32_t size);
SARVO_API void aligned_block_copy_backwards_bs64(void *destination, const void *source, int32_t size);

/* Upwards, with prefetches for a single use (non-temporal) 256 bytes ahead in the source: for each half of a group, at
 * +256 and +288 from its start; for each group, at +256. */
SARVO_API void aligned_block_copy_pf32(void *destination, const void *source, int32_t size);
SARVO_API void aligned_block_copy_pf64(void *destination, const void *source, int32_t size);

/* Write the 64-bit word at `source`, read once before, over the destination: upwards, or with the words of each group
 * in another order: 0 1 3 2 5 4 6 7; 3 0 2 1 6 5 7 4; 5 0 2 7 1 6 3 4. The source is not read when there is no group. */
SARVO_API void aligned_block_fill(void *destination, const void *source, int32_t size);
SARVO_API void aligned_block_fill_shuffle16(void *destination, const void *source, int32_t size);
SARVO_API void aligned_block_fill_shuffle32(void *destination, const void *source, int32_t size);
SARVO_API void aligned_block_fill_shuffle64(void *destination, const void *source, int32_t size);

/* The standard library's memcpy and memset of exactly `size` bytes, nothing for negative sizes. The fill byte is the
 * low byte of the 32-bit word at `source`. */
SARVO_API void memcpy_wrapper(void *destination, const void *source, int32_t size);
SARVO_API void memset_wrapper(void *destination, const void *source, int32_t size);

/* ---- Bandwidth ---- */

typedef struct sarvo_membench_bandwidth_t {
    const char *test_name; /* result: the name in the table below, a constant */
    uint64_t size;         /* bytes copied or filled by a call of the kernel; 0: 33554432 (32 MiB) */
    uint64_t block_size;   /* bytes of a step of the two-pass tests; 0: 2048 */
    uint32_t alignment;    /* bytes, a power of two: the buffers start at multiples of it; 0: 128 */
    int32_t repeats;       /* measurements at most; 0: 10; negative: none */
    double min_time;       /* seconds that a measurement lasts at least; 0: 0.5; negative: one call a measurement */
    double best;           /* result: highest rate, MB/s */
    double deviation;      /* result: sample standard deviation of the rates, MB/s; 0 for fewer than three */
    double precision;      /* measuring ends once precision * best > deviation; 0: 0.001 */
} sarvo_membench_bandwidth_t;

/* Sizes and block sizes are used as signed 32-bit values, like those of the kernels: their low 32 bits count, and what
 * is negative then counts as 0. */

/* Measures one test:
 *      1 "Copy backwards"                           aligned_block_copy_backwards
 *      2 "Copy backwards (32 byte blocks)"          aligned_block_copy_backwards_bs32
 *      3 "Copy backwards (64 byte blocks)"          aligned_block_copy_backwards_bs64
 *      4 "Copy"                                     aligned_block_copy
 *      5 "Copy prefetched (32 bytes step)"          aligned_block_copy_pf32
 *      6 "Copy prefetched (64 bytes step)"          aligned_block_copy_pf64
 *      7 "2-pass copy"                              aligned_block_copy, twice
 *      8 "2-pass copy prefetched (32 bytes step)"   aligned_block_copy_pf32, twice
 *      9 "2-pass copy prefetched (64 bytes step)"   aligned_block_copy_pf64, twice
 *     10 "Fill"                                     aligned_block_fill
 *     11 "Fill (shuffle within 16 byte blocks)"     aligned_block_fill_shuffle16
 *     12 "Fill (shuffle within 32 byte blocks)"     aligned_block_fill_shuffle32
 *     13 "Fill (shuffle within 64 byte blocks)"     aligned_block_fill_shuffle64
 *     14 "Standard memcpy"                          memcpy_wrapper
 *     15 "Standard memset"                          memset_wrapper
 * The buffers are those of alloc_nonaliased_buffers for source, destination and temporary, in this order; the
 * measurement is that of bandwidth_bench_helper.
 * Errors, in order, without a code and wrapped with "Cannot determine memory bandwidth.": "Invalid test number %d,
 * allowed range 1...%d" (test, 15), the record untouched; the allocator's for 2 size + block_size + 9437184 bytes, the
 * defaults filled in and nothing else. */
SARVO_API sarko_error_t sarvo_membench_bandwidth(uint32_t test, sarvo_membench_bandwidth_t *record);

/* One block of the sum of the sizes + 9437184 bytes, filled with the byte 0xCC, and up to four buffers in it whose low
 * address bits differ, so that they do not share the sets of a cache: with R(p) = p rounded up to a multiple of 2^20
 * and o = -alignment modulo 2^32
 *     *p1 = R(block) + (o & 0xAAAAA)                *p2 = R(*p1 + size1) + (o & 0x55555)
 *     *p3 = R(*p2 + size2) + (o & 0xCCCCC)          *p4 = R(*p3 + size3) + (o & 0x33333)
 *   p1 .. p4  where the addresses go; a null one asks for no buffer: its size does not count, its mask is passed over
 *   size1 ..  bytes of the buffers
 *   base      receives the block, to be released with sarko_mem_free; not null
 * Errors: the allocator's, unwrapped; *base is null and the others untouched then. */
SARVO_API sarko_error_t alloc_nonaliased_buffers(uint32_t alignment, void **p1, uint64_t size1, void **p2,
                                                 uint64_t size2, void **p3, uint64_t size3, void **p4, uint64_t size4,
                                                 void **base);

/* Measures a kernel, by the record's repeats, min_time and precision as they stand (no defaults); writes its best and
 * deviation alone. Each measurement: one call (destination, source, size) that is not timed; then, from one reading of
 * the clock, the body 1, 2, 4, 8, ... times until a reading after such a round shows min_time; its rate is
 * (size * all bodies) / elapsed / 10^6. From the third on deviation = sqrt((n sum rate^2 - (sum rate)^2) / ((n - 1) n)),
 * a negative argument taken as 0, and measuring ends early once precision * best > deviation. repeats < 1: both 0.
 *   two_pass  0: the body is the call above. Else for off = 0, block_size, 2 block_size, .. < size, with b = off rounded
 *             down to a multiple of 8, it calls kernel(temporary, source + b, block_size) and
 *             kernel(destination + b, temporary, block_size): the last step may go beyond size, source and destination
 *             must have room up to the next multiple of block_size. A block size of 0 copies nothing: both results 0.
 *   temporary  block_size bytes; used by two passes only
 * Always returns 0. */
SARVO_API sarko_error_t bandwidth_bench_helper(void *destination, const void *source, void *temporary, uint64_t size,
                                               uint64_t block_size, int32_t two_pass, sarvo_membench_kernel kernel,
                                               sarvo_membench_bandwidth_t *record);

/* ---- Latency ---- */

typedef struct sarvo_membench_latency_t {
    int32_t repeats;         /* measurements at most, and passes of the calibration; 0: 10; negative: none */
    int32_t reads;           /* steps of a chain; whole groups of 16 are made; 0: 10000000 */
    uint64_t test_size;      /* result: bytes of the region that is read: the largest power of two in the size */
    double single_ns;        /* result: nanoseconds a read, each waiting for the one before */
    double single_deviation; /* result: sample standard deviation of the runs, seconds; 0 for fewer than three */
    double single_precision; /* see below; 0: 0.001 */
    double dual_ns;          /* the same for steps of two reads that do not wait for each other */
    double dual_deviation;
    double dual_precision; /* 0: 0.001 */
} sarvo_membench_latency_t;

/* Measures the time of a random read in a buffer of `size` zero bytes at a multiple of 4096, of which the first
 * test_size = 2^k are read (addresses have 31 bits: of more than 2^31 bytes only so many).
 *
 * A chain computes addresses by x = x 1103515245 + 12345 modulo 2^32 from x = 0, with M = 2^k - 1:
 *   single  x1, x2, x3 follow on x; the byte at ((x3 & 0x7FFF0000) | (x2 >> 8 & 0xFF00) | (x1 >> 16 & 0xFF)) & M,
 *           sign-extended, OR x3 is the next x
 *   dual    x1 .. x5 follow on x; i1 = (x5 >> 24 | (x4 & 0x7FFF0000) | (x2 >> 8 & 0xFF00)) & M,
 *           i2 = (i1 ^ ((x5 >> 16 & 0xFF) | (x3 & 0x7FFF0000) | (x1 >> 8 & 0xFF00))) & M; byte(i2) + (byte(i1) OR x5)
 *           is the next x
 *
 * First `repeats` runs of each chain with k = 1, all in the cache: the smallest time of each is what a chain takes
 * without memory (SarvoDblXmax at first). Then up to `repeats` runs of each over the region; their times less that,
 * and not below 0, count, and the smallest gives the results: seconds 10^9 / reads. From the third on the deviations
 * sqrt((n sum t^2 - (sum t)^2) / (n (n - 1))) are computed, and measuring ends early once precision * smallest >
 * deviation for both chains.
 * repeats < 1: deviations 0, times SarvoDblXmax 10^9 / reads, that is infinite.
 *
 * Errors, in order, without a code and wrapped with "Cannot determine memory latency.": "Invalid size of buffer %zu,
 * must be at least %d" (size, 1024), the record untouched; the allocator's for size + 4095 bytes, the defaults filled
 * in and nothing else. */
SARVO_API sarko_error_t sarvo_membench_latency(uint64_t size, sarvo_membench_latency_t *record);

#ifdef __cplusplus
}
#endif

#endif
