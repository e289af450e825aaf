// How library code makes errors, and the guard that owns kernel-library memory until it is handed over.
#pragma once

#include <sarvo/sarvo.h>

namespace sarvo {

[[nodiscard]] inline sarko_error_t fail(uint32_t code, const char *text = nullptr) {
    return sarko_error_create_i(SARKO_KIND_ERROR, code, 0, 0, 0, 0, text);
}

// A formatted text; %zu for sizes (size_t), %d for ints.
template <class... Values> [[nodiscard]] sarko_error_t failf(uint32_t code, const char *format, Values... values) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    return sarko_error_createf_i(SARKO_KIND_ERROR, code, 0, 0, 0, 0, format, values...);
#pragma GCC diagnostic pop
}

// 0 stays 0.
[[nodiscard]] inline sarko_error_t wrap(sarko_error_t e, const char *text) {
    return e ? sarko_error_quick_wrap_i(0, 0, 0, e, text) : 0;
}

// Work space of `T`s, released at the end of the scope.
template <class T> class Buffer {
public:
    Buffer() = default;
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    ~Buffer() {
        if (p_) sarko_mem_free(p_);
    }

    // Zero-filled. At most one allocation per buffer.
    [[nodiscard]] sarko_error_t allocate(uint64_t count) {
        void *p = nullptr;
        const sarko_error_t e = sarko_mem_calloc(count, sizeof(T), &p);
        p_ = static_cast<T *>(p);
        return e;
    }
    // Contents undefined: for scratch whose first use is a write.
    [[nodiscard]] sarko_error_t allocate_unset(uint64_t count) {
        if (count == 0) return 0;
        uint64_t bytes;
        if (__builtin_mul_overflow(count, sizeof(T), &bytes)) return allocate(count); // which says so
        void *p = nullptr;
        const sarko_error_t e = sarko_mem_malloc(bytes, &p);
        p_ = static_cast<T *>(p);
        return e;
    }
    T *get() const { return p_; }
    T &operator[](uint64_t i) const { return p_[i]; }
    T *release() {
        T *p = p_;
        p_ = nullptr;
        return p;
    }

private:
    T *p_ = nullptr;
};

} // namespace sarvo
