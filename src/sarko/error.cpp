// Error objects: registered codes, creation, wrapping, reading, reporting, clearing.
#include <sarko/sarko.h>

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "internal.h"

namespace {

// ---- Registry: written at start-up only ----

constexpr uint32_t registry_size = 4096;
struct Registered {
    const char *message;
    const uint32_t *owner; // whose variable the code is in: only compared, never read through
};
Registered registered[registry_size]; // code k at k - 1
uint32_t registered_count = 0;

// Whether *code is already this variable's code with this message: of the present start, not one left by an earlier.
bool has_code(const uint32_t *code, const char *message) {
    if (*code < 1 || *code > registered_count) return false;
    const Registered &r = registered[*code - 1];
    return r.owner == code && strcmp(r.message, message) == 0;
}

// ---- Objects ----

struct Error {
    int32_t kind;
    uint32_t code;
    uint64_t context[4];
    Error *cause;        // owned
    const char *message; // own text, stored behind the object, or the registered message, or null
};

// Stands for any error that could not be allocated. Shared and never written, hence safe to "clear" any number of
// times.
constexpr Error out_of_memory_error = {SARKO_KIND_MEMORY, 0, {0, 0, 0, 0}, nullptr, "Out of memory."};

sarko_error_t to_handle(const Error *e) { return static_cast<sarko_error_t>(reinterpret_cast<uintptr_t>(e)); }
Error *to_error(sarko_error_t handle) { return reinterpret_cast<Error *>(static_cast<uintptr_t>(handle)); }
sarko_error_t out_of_memory() { return to_handle(&out_of_memory_error); }

// An object with room for text_bytes of text behind it; null when memory fails.
Error *allocate_error(int32_t kind, uint32_t code, uint64_t text_bytes) {
    Error *e = static_cast<Error *>(sarko::allocate(sizeof(Error) + text_bytes, true));
    if (!e) return nullptr;
    e->kind = kind;
    e->code = code;
    e->message = text_bytes ? reinterpret_cast<char *>(e + 1) : sarko_error_code_message(code);
    return e;
}

Error *make_error(int32_t kind, uint32_t code, const char *text) {
    const uint64_t bytes = text ? strlen(text) + 1 : 0;
    Error *e = allocate_error(kind, code, bytes);
    if (e && bytes) memcpy(e + 1, text, bytes);
    return e;
}

void set_context(Error *e, uint64_t c1, uint64_t c2, uint64_t c3, uint64_t c4) {
    e->context[0] = c1;
    e->context[1] = c2;
    e->context[2] = c3;
    e->context[3] = c4;
}

void print_error(const Error *e, FILE *stream) {
    fprintf(stream, "error %u", e->code);
    if (e->kind == SARKO_KIND_MEMORY) fputs(" (memory)", stream);
    else if (e->kind == SARKO_KIND_MALFUNCTION) fputs(" (malfunction)", stream);
    else if (e->kind == SARKO_KIND_WARNING) fputs(" (warning)", stream);
    else if (e->kind != SARKO_KIND_ERROR) fprintf(stream, " (kind %d)", e->kind);
    const uint64_t *c = e->context;
    if (c[0] | c[1] | c[2] | c[3])
        fprintf(stream, " [%llu %llu %llu %llu]", static_cast<unsigned long long>(c[0]),
                static_cast<unsigned long long>(c[1]), static_cast<unsigned long long>(c[2]),
                static_cast<unsigned long long>(c[3]));
    fprintf(stream, ": %s\n", sarko_error_message(to_handle(e)));
}

// ---- Malfunctions ----

void default_malfunction_handler(sarko_error_t error, void *) {
    sarko_error_stdhandler(error, stderr);
    abort();
}

void (*malfunction_handler)(sarko_error_t, void *) = default_malfunction_handler;
void *malfunction_ctx = nullptr;

} // namespace

namespace sarko {
void forget_codes() { registered_count = 0; }
} // namespace sarko

extern "C" {

sarko_error_t sarko_error_register(uint32_t *code, const char *message) {
    if (!code || !message) return sarko_error_create_i(SARKO_KIND_ERROR, 0, 0, 0, 0, 0, "Null pointer.");
    if (has_code(code, message)) return 0;
    if (registered_count == registry_size)
        return sarko_error_create_i(SARKO_KIND_ERROR, 0, 0, 0, 0, 0, "Too many error codes.");
    registered[registered_count] = {message, code};
    *code = ++registered_count;
    return 0;
}

const char *sarko_error_code_message(uint32_t code) {
    return code >= 1 && code <= registered_count ? registered[code - 1].message : nullptr;
}

sarko_error_t sarko_error_create_i(int32_t kind, uint32_t code, uint64_t context1, uint64_t context2, uint64_t context3,
                                   uint64_t context4, const char *text) {
    Error *e = make_error(kind, code, text);
    if (!e) return out_of_memory();
    set_context(e, context1, context2, context3, context4);
    return to_handle(e);
}

sarko_error_t sarko_error_createf_i(int32_t kind, uint32_t code, uint64_t context1, uint64_t context2,
                                    uint64_t context3, uint64_t context4, const char *format, ...) {
    va_list args, again;
    va_start(args, format);
    va_copy(again, args);
    const int length = format ? vsnprintf(nullptr, 0, format, args) : -1;
    const uint64_t bytes = length < 0 ? 0 : static_cast<uint64_t>(length) + 1;
    Error *e = allocate_error(kind, code, bytes);
    if (e && bytes) vsnprintf(reinterpret_cast<char *>(e + 1), bytes, format, again);
    va_end(again);
    va_end(args);
    if (!e) return out_of_memory();
    set_context(e, context1, context2, context3, context4);
    return to_handle(e);
}

sarko_error_t sarko_error_quick_wrap_i(uint64_t context1, uint64_t context2, uint64_t context3, sarko_error_t error,
                                       const char *text) {
    if (!error) return 0;
    Error *cause = to_error(error);
    Error *e = make_error(cause->kind, cause->code, text ? text : sarko_error_message(error));
    if (!e) {
        sarko_error_clear(error);
        return out_of_memory();
    }
    set_context(e, context1, context2, context3, 0);
    e->cause = cause;
    return to_handle(e);
}

sarko_error_t sarko_error_compose_create(sarko_error_t error, uint64_t context) {
    if (!error || !to_error(error)->cause) return error;
    uint64_t bytes = 0; // each message with ": " or the terminating zero
    for (const Error *e = to_error(error); e; e = e->cause) bytes += strlen(sarko_error_message(to_handle(e))) + 2;
    Error *composed = allocate_error(to_error(error)->kind, to_error(error)->code, bytes);
    if (composed) {
        set_context(composed, context, 0, 0, 0);
        char *end = reinterpret_cast<char *>(composed + 1);
        for (const Error *e = to_error(error); e; e = e->cause) {
            const char *message = sarko_error_message(to_handle(e));
            const uint64_t length = strlen(message);
            memcpy(end, message, length);
            memcpy(end + length, ": ", e->cause ? 2 : 0);
            end += length + 2;
        }
    }
    sarko_error_clear(error);
    return composed ? to_handle(composed) : out_of_memory();
}

uint32_t sarko_error_code(sarko_error_t error) { return error ? to_error(error)->code : 0; }

int32_t sarko_error_kind(sarko_error_t error) { return error ? to_error(error)->kind : SARKO_KIND_ERROR; }

const char *sarko_error_message(sarko_error_t error) {
    if (!error) return "Success";
    const char *message = to_error(error)->message;
    return message ? message : "Unknown error";
}

sarko_error_t sarko_error_cause(sarko_error_t error) { return error ? to_handle(to_error(error)->cause) : 0; }

sarko_error_t sarko_error_clear(sarko_error_t error) {
    Error *e = to_error(error);
    while (e && e != &out_of_memory_error) {
        Error *cause = e->cause;
        sarko::release(e);
        e = cause;
    }
    return 0;
}

sarko_error_t sarko_error_handle(sarko_error_t error, sarko_error_handler handler, FILE *stream) {
    if (error) (handler ? handler : sarko_error_stdhandler)(error, stream);
    return error;
}

void sarko_error_stdhandler(sarko_error_t error, FILE *stream) {
    if (!stream) return;
    int depth = 0;
    for (const Error *e = to_error(error); e; e = e->cause, depth++) {
        if (depth > 0) fprintf(stream, "%*scaused by ", 2 * depth, "");
        print_error(e, stream);
    }
}

sarko_error_t sarko_error_malfunction(sarko_error_t error) {
    malfunction_handler(error, malfunction_ctx);
    return sarko_error_clear(error);
}

void sarko_error_set_malfunction_handler(void (*handler)(sarko_error_t, void *), void *ctx) {
    malfunction_handler = handler ? handler : default_malfunction_handler;
    malfunction_ctx = handler ? ctx : nullptr;
}

} // extern "C"
