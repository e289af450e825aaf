// Kernels of the random generators: state regeneration, tempering and conversion, the ziggurat's candidates.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

typedef uint64_t Words __attribute__((vector_size(sizeof(Vec))));
typedef uint64_t WordsAnywhere __attribute__((vector_size(sizeof(Vec)), aligned(8), may_alias));

inline Words load_words(const uint64_t *p) { return *reinterpret_cast<const WordsAnywhere *>(p); }
inline void store_words(uint64_t *p, Words w) { *reinterpret_cast<WordsAnywhere *>(p) = w; }

// The recurrence of MT19937, for one word or one vector of words.
template <class T> inline T twist(T high, T low, T distant) {
    const T y = (high & 0x80000000) | (low & 0x7FFFFFFF);
    return distant ^ (y >> 1) ^ (-(low & 1) & 0x9908B0DF);
}

template <class T> inline T temper(T y) {
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680;
    y ^= (y << 15) & 0xEFC60000;
    return y ^ (y >> 18);
}

// `count` words, each from itself, its neighbour and a distant word. A vector reads what the loop one by one would
// read: neighbours not yet changed, and distant words that are 227 behind, changed long ago, or 397 ahead.
inline void regenerate_run(uint64_t *words, uint64_t count, const uint64_t *distant) {
    uint64_t k = 0;
    for (; k + lanes <= count; k += lanes)
        store_words(words + k, twist(load_words(words + k), load_words(words + k + 1), load_words(distant + k)));
    for (uint64_t rest = count % lanes; rest > 0; rest--, k++) words[k] = twist(words[k], words[k + 1], distant[k]);
}

// 2^52 + w has w < 2^52 in its low bits: a conversion without the instruction that only the widest level has.
inline Vec small_to_double(Words w) { return reinterpret_cast<Vec>(w | 0x4330000000000000) - broadcast(0x1p52); }

// w 2^-32 for w < 2^32: 2^20 + w 2^-32 has w in its low bits.
inline Vec fraction_of_2_32(Words w) { return reinterpret_cast<Vec>(w | 0x4130000000000000) - broadcast(0x1p20); }

// The mask of the lanes in which a comparison holds.
template <class Comparison> inline uint64_t lanes_set(Comparison c) {
#if SARVO_SIMD_LANES == 8
    return _mm512_movepi64_mask(reinterpret_cast<__m512i>(c));
#elif SARVO_SIMD_LANES == 4
    return static_cast<uint64_t>(_mm256_movemask_pd(reinterpret_cast<__m256d>(c)));
#else
    return static_cast<uint64_t>(c[0] & 1) | static_cast<uint64_t>(c[1] & 2);
#endif
}

// Table entries for the indices in the lanes, and the mask of the lanes with a >= b (both below 2^63).
#if SARVO_SIMD_LANES == 8
inline Vec gather(const double *table, Words index) {
    return _mm512_mask_i64gather_pd(Vec{}, 0xFF, reinterpret_cast<__m512i>(index), table, 8);
}
inline Words gather(const uint64_t *table, Words index) {
    return reinterpret_cast<Words>(
        _mm512_mask_i64gather_epi64(__m512i{}, 0xFF, reinterpret_cast<__m512i>(index), table, 8));
}
inline uint64_t not_below(Words a, Words b) {
    return _mm512_cmpge_epu64_mask(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b));
}
#else
template <class Result, class T> inline Result gather_by_one(const T *table, Words index) {
    Result r = {};
    for (uint64_t l = 0; l < lanes; l++) r[l] = table[index[l]];
    return r;
}
inline Vec gather(const double *table, Words index) { return gather_by_one<Vec>(table, index); }
inline Words gather(const uint64_t *table, Words index) { return gather_by_one<Words>(table, index); }
inline uint64_t not_below(Words a, Words b) {
    typedef int64_t Signed __attribute__((vector_size(sizeof(Vec))));
    return lanes_set(reinterpret_cast<Signed>(a) >= reinterpret_cast<Signed>(b));
}
#endif

// Words 0, stride, 2 stride, ... and those behind each; count of both.
inline void load_pairs(const uint64_t *words, uint64_t stride, uint64_t count, Words &first, Words &second) {
    if (stride == 2 && count == lanes) {
        const Words a = load_words(words), b = load_words(words + lanes);
#if SARVO_SIMD_LANES == 8
        first = __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14);
        second = __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15);
#elif SARVO_SIMD_LANES == 4
        first = __builtin_shufflevector(a, b, 0, 2, 4, 6);
        second = __builtin_shufflevector(a, b, 1, 3, 5, 7);
#else
        first = __builtin_shufflevector(a, b, 0, 2);
        second = __builtin_shufflevector(a, b, 1, 3);
#endif
        return;
    }
    first = second = Words{};
    for (uint64_t l = 0; l < count; l++) {
        first[l] = words[l * stride];
        second[l] = words[l * stride + 1];
    }
}

} // namespace

void mt_regenerate(uint64_t *words) {
    regenerate_run(words, 227, words + 397);
    regenerate_run(words + 227, 396, words);
    words[623] = twist(words[623], words[0], words[396]);
}

void mt_uniforms(uint64_t n, const uint64_t *words, double *out, uint64_t more) {
    typedef uint32_t Halves __attribute__((vector_size(sizeof(Vec)))); // two vectors of words tempered as one
    constexpr uint64_t distance = 1024; // 8 KiB: stores that miss would wait for their lines, one after the other
    const uint64_t fetched = more < distance ? 0 : n;
    uint64_t p = 0;
    for (; p + 2 * lanes <= n; p += 2 * lanes) {
        if (p < fetched)
            for (uint64_t i = 0; i < 2 * lanes; i += 8) __builtin_prefetch(out + p + distance + i, 1);
        const Words both = load_words(words + p) | load_words(words + p + lanes) << 32;
        const Words y = reinterpret_cast<Words>(temper(reinterpret_cast<Halves>(both)));
        store(out + p, fraction_of_2_32(y & 0xFFFFFFFF));
        store(out + p + lanes, fraction_of_2_32(y >> 32));
    }
    for (; p + lanes <= n; p += lanes) store(out + p, fraction_of_2_32(temper(load_words(words + p))));
    for (; p < n; p++) out[p] = static_cast<double>(temper(words[p])) * 0x1p-32;
}

uint64_t mt_ziggurat(uint64_t n, const uint64_t *words, double sigma, const double *width, const uint64_t *inside,
                     double *out, uint32_t *outside) {
    uint64_t count = 0;
    uint64_t p = 0;
    for (; p + lanes <= n; p += lanes) {
        const Words k = temper(load_words(words + p));
        const Words i = k & 127;
        const Words j = k >> 8;
        const Words minus = (~k & 128) << 56; // the sign bit where bit 7 of k is clear
        const Vec x = small_to_double(j) * gather(width, i);
        store(out + p, reinterpret_cast<Vec>(reinterpret_cast<Words>(broadcast(sigma)) ^ minus) * x);
        for (uint64_t mask = not_below(j, gather(inside, i)); mask; mask &= mask - 1)
            outside[count++] = static_cast<uint32_t>(p) + static_cast<uint32_t>(__builtin_ctzll(mask));
    }
    for (; p < n; p++) {
        const uint64_t k = temper(words[p]);
        const double x = static_cast<double>(k >> 8) * width[k & 127];
        out[p] = (k & 128 ? sigma : -sigma) * x;
        if (k >> 8 >= inside[k & 127]) outside[count++] = static_cast<uint32_t>(p);
    }
    return count;
}

void gamma_trials(uint64_t n, uint64_t stride, const uint64_t *words, double c, const double *width,
                  const uint64_t *inside, GammaTrials *out) {
    uint64_t all_odd = 0;
    uint64_t all_sure = 0;
    for (uint64_t t = 0; t < n && all_odd == 0; t += lanes) {
        const uint64_t count = smaller(lanes, n - t);
        const uint64_t used = (uint64_t{1} << count) - 1;
        Words first, second;
        load_pairs(words + t * stride, stride, count, first, second);
        const Words k = temper(first);
        const Words i = k & 127;
        const Words j = k >> 8;
        const Vec u = fraction_of_2_32(temper(second));
        const Vec size = small_to_double(j) * gather(width, i);
        const Vec x = reinterpret_cast<Vec>(reinterpret_cast<Words>(size) ^ ((~k & 128) << 56));
        const Vec v = 1.0 + c * x;
        store(out->x + t, x);
        store(out->u + t, u);
        store(out->V + t, v * v * v);
        const uint64_t odd = (not_below(j, gather(inside, i)) | lanes_set(v <= 0.0) | lanes_set(u == 0.0)) & used;
        all_odd |= odd << t;
        all_sure |= (lanes_set(u < 1.0 - 0.0331 * ((x * x) * (x * x))) & ~odd & used) << t;
    }
    out->odd = all_odd;
    out->sure = all_sure;
}

uint64_t pack_scaled(uint64_t n, uint64_t mask, double s, const double *x, double *out) {
    double *end = out;
    uint64_t i = 0;
#if SARVO_SIMD_LANES == 8
    for (; i + lanes <= n; i += lanes) {
        const auto set = static_cast<uint8_t>(mask >> i);
        _mm512_mask_compressstoreu_pd(end, set, s * load(x + i));
        end += __builtin_popcount(set);
    }
#endif
    for (; i < n; i++)
        if (mask >> i & 1) *end++ = s * x[i];
    return static_cast<uint64_t>(end - out);
}

// The two halves are exact and their sum rounds once, to the same value as the whole: 2^-64 only shifts exponents.
void fractions(uint64_t n, const uint64_t *x, double *out) {
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const Words w = load_words(x + i);
        const Vec high = fraction_of_2_32(w >> 32);
        store(out + i, high + small_to_double(w & 0xFFFFFFFF) * broadcast(0x1p-64));
    }
    for (; i < n; i++) out[i] = static_cast<double>(x[i]) * 0x1p-64;
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
