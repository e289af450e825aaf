// The Hurwitz zeta function as the polygammas use it.
#pragma once

#include "special.h"

namespace sarvo::special {

sarko_error_t hurwitz_zeta(double s, double q, Estimate *r);

}
