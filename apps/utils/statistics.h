// What is made of measured values.
#pragma once

#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace orvane::bench {

// Not measured.
inline constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// The value below which the fraction `quantile` (0..1) of the values lies, between the two nearest of them. kNone for
// no values.
double Quantile(std::vector<double> values, double quantile);

inline double Least(std::vector<double> values) {
    return Quantile(std::move(values), 0.0);
}
inline double Median(std::vector<double> values) {
    return Quantile(std::move(values), 0.5);
}

// The straight line of least squares, y = intercept + slope * x.
struct Line {
    double intercept = 0.0;
    double slope = 0.0;
    double explained = 0.0;  // share of the variance, 0..1 (the coefficient of determination)
};

// `x` and `y` have the same length, at least 2, and `x` more than one value.
Line FitLine(std::span<const double> x, std::span<const double> y);

}  // namespace orvane::bench
