// Listings of typed vectors and matrices.
#include <sarvo/array.h>

namespace {

constexpr uint64_t default_per_line = 5;

// Prints `count` elements, a newline after each full line and after a last one that is not full.
template <class T>
void print_line(FILE *stream, const T *elements, uint64_t count, const char *format, uint64_t per_line) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    for (uint64_t k = 0; k < count; k++) {
        fprintf(stream, format, elements[k]);
        if (k % per_line == per_line - 1) fputc('\n', stream);
    }
#pragma GCC diagnostic pop
    if (count % per_line != 0) fputc('\n', stream);
}

// Elements of other ids than 5 and 20 are not printed.
void print_elements(FILE *stream, uint32_t dtype, const void *elements, uint64_t count, const char *format,
                    uint64_t per_line) {
    if (per_line == 0) per_line = default_per_line;
    if (dtype == SARVO_INT32)
        print_line(stream, static_cast<const int32_t *>(elements), count, format ? format : " % d", per_line);
    else if (dtype == SARVO_DOUBLE)
        print_line(stream, static_cast<const double *>(elements), count, format ? format : " % e", per_line);
}

} // namespace

extern "C" {

void sarvo_vector_fprintf(const sarvo_vector *v, FILE *stream, const char *format, uint64_t per_line) {
    if (!v || !v->data || !stream) return;
    print_elements(stream, v->dtype, v->data, v->length, format, per_line);
}

void sarvo_matrix_fprintf(const sarvo_matrix *m, FILE *stream, const char *format, uint32_t per_line) {
    if (!m || !m->data || !m->row_ptrs || m->cols == 0 || !stream) return;
    for (uint64_t i = 0; i < m->rows; i++) print_elements(stream, m->dtype, m->row_ptrs[i], m->cols, format, per_line);
}

} // extern "C"
