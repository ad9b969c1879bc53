#include "bench/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>

namespace orvane::bench {
namespace {

constexpr double kLeft = 80.0;
constexpr double kTop = 40.0;
constexpr double kWidth = 480.0;
constexpr double kHeight = 320.0;
constexpr std::array kColours{"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e"};

// A logarithmic axis from one power of ten to another, drawn from `start` to `end`.
struct Axis {
    double start;
    double end;
    int low = 9;
    int high = -9;

    void Cover(double value) {
        low = std::min(low, static_cast<int>(std::floor(std::log10(value))));
        high = std::max({high, static_cast<int>(std::ceil(std::log10(value))), low + 1});
    }
    std::vector<double> Powers() const {
        std::vector<double> powers;
        for (int exponent = low; exponent <= high; ++exponent) {
            powers.push_back(std::pow(10.0, exponent));
        }
        return powers;
    }
    double Position(double value) const { return std::lerp(start, end, (std::log10(value) - low) / (high - low)); }
};

class Drawing {
public:
    void Line(double x1, double y1, double x2, double y2, const char* colour) {
        m_svg << "<path d='M" << x1 << ' ' << y1 << 'L' << x2 << ' ' << y2 << "' stroke='" << colour << "'/>\n";
    }
    template <typename Value>
    void Text(double x, double y, const char* anchor, const Value& value) {
        m_svg << "<text x='" << x << "' y='" << y << "' text-anchor='" << anchor << "'>" << value << "</text>\n";
    }
    void Dot(double x, double y, const char* colour) {
        m_svg << "<circle cx='" << x << "' cy='" << y << "' r='3' fill='" << colour << "'/>\n";
    }
    std::string Finish() const {
        return "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 840 420' font-family='sans-serif' "
               "font-size='12'>\n"
               "<rect width='840' height='420' fill='white'/>\n" +
               m_svg.str() + "</svg>\n";
    }

private:
    std::ostringstream m_svg;
};

}  // namespace

std::string MakePlot(const std::string& title, const std::string& xAxis, const std::string& yAxis,
                     const std::vector<Series>& series) {
    Axis horizontal{kLeft, kLeft + kWidth};
    Axis vertical{kTop + kHeight, kTop};
    for (const Series& one : series) {
        for (const auto& [x, y] : one.points) {
            horizontal.Cover(x);
            vertical.Cover(y);
        }
    }
    Drawing drawing;
    drawing.Text(kLeft, kTop - 16, "start", title);
    drawing.Text(kLeft + kWidth / 2, kTop + kHeight + 42, "middle", xAxis);
    drawing.Text(kLeft - 68, kTop - 16, "start", yAxis);
    for (const double power : horizontal.Powers()) {
        const double x = horizontal.Position(power);
        drawing.Line(x, kTop, x, kTop + kHeight, "#cccccc");
        drawing.Text(x, kTop + kHeight + 18, "middle", power);
    }
    for (const double power : vertical.Powers()) {
        const double y = vertical.Position(power);
        drawing.Line(kLeft, y, kLeft + kWidth, y, "#cccccc");
        drawing.Text(kLeft - 8, y + 4, "end", power);
    }
    for (size_t i = 0; i < series.size(); ++i) {
        const char* const colour = kColours.at(i % kColours.size());
        const auto& points = series[i].points;
        for (size_t k = 0; k < points.size(); ++k) {
            const double x = horizontal.Position(points[k].first);
            const double y = vertical.Position(points[k].second);
            drawing.Dot(x, y, colour);
            if (k > 0) {
                drawing.Line(horizontal.Position(points[k - 1].first), vertical.Position(points[k - 1].second), x, y,
                             colour);
            }
        }
        const double y = kTop + 12 + 20 * static_cast<double>(i);
        drawing.Line(kLeft + kWidth + 16, y - 4, kLeft + kWidth + 40, y - 4, colour);
        drawing.Text(kLeft + kWidth + 48, y, "start", series[i].name);
    }
    return drawing.Finish();
}

}  // namespace orvane::bench
