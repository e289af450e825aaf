// ln Gamma(x) by Stirling's series as the distributions use it.
#pragma once

namespace sarvo::special {

double lngamma_stirling(double x);

}
