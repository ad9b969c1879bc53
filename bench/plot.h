// A line chart with logarithmic axes, as SVG.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orvane::bench {

struct Series {
    std::string name;
    std::vector<std::pair<double, double>> points;  // above 0
};

// `series` has at least one point.
std::string MakePlot(const std::string& title, const std::string& xAxis, const std::string& yAxis,
                     const std::vector<Series>& series);

}  // namespace orvane::bench
