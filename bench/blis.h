// BLIS beside OpenBLAS in one program: both bring the same names, so BLIS is loaded apart at run time.
#pragma once

#include <cblas.h>

namespace bench {

struct Blis {
    decltype(&cblas_dgemm) dgemm = nullptr;
    decltype(&cblas_dgemv) dgemv = nullptr;
    decltype(&cblas_dtrsv) dtrsv = nullptr;
};

// Members are null when the library is not installed.
const Blis &blis();

} // namespace bench
