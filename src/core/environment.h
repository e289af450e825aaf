// The floating-point environment that results are promised for, for the length of a scope: round to nearest, subnormal
// numbers kept, no traps. What was set before, flags included, is put back at the end.
#pragma once

#include <fenv.h>

namespace sarvo {

class DefaultEnvironment {
public:
    DefaultEnvironment() {
        fegetenv(&before_);
        fesetenv(FE_DFL_ENV);
    }
    ~DefaultEnvironment() { fesetenv(&before_); }
    DefaultEnvironment(const DefaultEnvironment &) = delete;
    DefaultEnvironment &operator=(const DefaultEnvironment &) = delete;

private:
    fenv_t before_;
};

} // namespace sarvo
