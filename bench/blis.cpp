// BLIS beside OpenBLAS in one program: both bring the same names, so BLIS is loaded apart at run time.
#include "blis.h"

#include <dlfcn.h>

namespace bench {

const Blis &blis() {
    static const Blis loaded = [] {
        Blis b;
        void *library = dlopen("libblis.so.4", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
        if (!library) return b;
        b.dgemm = reinterpret_cast<decltype(b.dgemm)>(dlsym(library, "cblas_dgemm"));
        b.dgemv = reinterpret_cast<decltype(b.dgemv)>(dlsym(library, "cblas_dgemv"));
        b.dtrsv = reinterpret_cast<decltype(b.dtrsv)>(dlsym(library, "cblas_dtrsv"));
        return b;
    }();
    return loaded;
}

} // namespace bench
