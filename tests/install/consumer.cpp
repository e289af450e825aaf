// A C++ program of somebody else: the headers as C++, both libraries, and the version.
#include <cstdio>
#include <cstring>

#include <sarko/sarko.h>
#include <sarvo/array.h>

int main() {
    if (sarvo_initialize() != 0) return 2;
    sarvo_vector *v = nullptr;
    sarko_error_t e = sarvo_vector_alloc(&v, 99, 0, 3);
    const bool right = sarko_error_code(e) == SarvoDtypeEC &&
                       !std::strcmp(sarko_error_message(e), "Invalid data type 99") &&
                       !std::strcmp(sarvo_version_string(), "1.0.0");
    sarko_error_clear(e);
    sarvo_terminate();
    std::puts(right ? "right" : "wrong");
    return right ? 0 : 1;
}
