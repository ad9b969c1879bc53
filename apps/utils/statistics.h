// What is made of measured values.
#pragma once

#include <vector>

namespace orvane::tool {

// The value below which the fraction `quantile` (0..1) of the values lies, between the two nearest of them. NaN for no
// values.
double Quantile(std::vector<double> values, double quantile);

}  // namespace orvane::tool
