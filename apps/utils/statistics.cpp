#include "apps/utils/statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace orvane::bench {

double Quantile(std::vector<double> values, double quantile) {
    if (values.empty()) {
        return kNone;
    }
    std::sort(values.begin(), values.end());
    const double position = quantile * static_cast<double>(values.size() - 1);
    const auto below = static_cast<size_t>(position);
    const size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], position - static_cast<double>(below));
}

Line FitLine(std::span<const double> x, std::span<const double> y) {
    const auto count = static_cast<double>(x.size());
    const double meanX = std::accumulate(x.begin(), x.end(), 0.0) / count;
    const double meanY = std::accumulate(y.begin(), y.end(), 0.0) / count;
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    for (size_t i = 0; i < x.size(); ++i) {
        xx += (x[i] - meanX) * (x[i] - meanX);
        xy += (x[i] - meanX) * (y[i] - meanY);
        yy += (y[i] - meanY) * (y[i] - meanY);
    }
    return {meanY - xy / xx * meanX, xy / xx, yy > 0.0 ? xy * xy / (xx * yy) : 1.0};
}

}  // namespace orvane::bench
