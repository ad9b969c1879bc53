#include "apps/utils/statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orvane::tool {

double Quantile(std::vector<double> values, double quantile) {
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::sort(values.begin(), values.end());
    const double position = quantile * static_cast<double>(values.size() - 1);
    const auto below = static_cast<size_t>(position);
    const size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], position - static_cast<double>(below));
}

}  // namespace orvane::tool
