#include "bench/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>

namespace orvane::bench {
namespace {

constexpr double kLeft = 80.0;
constexpr double kTop = 40.0;
constexpr double kWidth = 480.0;
constexpr double kHeight = 320.0;
constexpr std::array kColours{"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd", "#8c564b"};

// A logarithmic axis from one power of ten to another.
class Axis {
public:
    void Cover(double value) {
        m_low = std::min(m_low, std::floor(std::log10(value)));
        m_high = std::max(m_high, std::ceil(std::log10(value)));
    }
    int Low() const { return static_cast<int>(m_low); }
    int High() const { return static_cast<int>(std::max(m_high, m_low + 1)); }
    double Share(double value) const { return (std::log10(value) - Low()) / (High() - Low()); }

private:
    double m_low = std::numeric_limits<double>::max();
    double m_high = std::numeric_limits<double>::lowest();
};

class Drawing {
public:
    Drawing() {
        m_svg.precision(5);
        m_svg << R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 840 420" font-family="sans-serif" )"
              << R"(font-size="12"><rect width="840" height="420" fill="white"/>)" << '\n';
    }

    void Line(double x1, double y1, double x2, double y2, const char* colour) {
        m_svg << R"(<path d="M)" << x1 << ' ' << y1 << 'L' << x2 << ' ' << y2 << R"(" stroke=")" << colour << R"("/>)"
              << '\n';
    }
    void Text(double x, double y, const char* anchor, const std::string& text) {
        m_svg << R"(<text x=")" << x << R"(" y=")" << y << R"(" text-anchor=")" << anchor << R"(">)" << text
              << "</text>\n";
    }
    void Dot(double x, double y, const char* colour) {
        m_svg << R"(<circle cx=")" << x << R"(" cy=")" << y << R"(" r="3" fill=")" << colour << R"("/>)" << '\n';
    }
    std::string Finish() { return m_svg.str() + "</svg>\n"; }

private:
    std::ostringstream m_svg;
};

std::string PowerOfTen(int exponent) {
    std::ostringstream text;
    text << std::pow(10.0, exponent);
    return text.str();
}

}  // namespace

std::string MakePlot(const std::string& title, const std::string& xAxis, const std::string& yAxis,
                     const std::vector<Series>& series) {
    Axis horizontal;
    Axis vertical;
    for (const Series& one : series) {
        for (const auto& [x, y] : one.points) {
            horizontal.Cover(x);
            vertical.Cover(y);
        }
    }
    const auto toX = [&](double value) { return kLeft + kWidth * horizontal.Share(value); };
    const auto toY = [&](double value) { return kTop + kHeight * (1.0 - vertical.Share(value)); };

    Drawing drawing;
    drawing.Text(kLeft, kTop - 16, "start", title);
    drawing.Text(kLeft + kWidth / 2, kTop + kHeight + 42, "middle", xAxis);
    drawing.Text(kLeft - 68, kTop - 16, "start", yAxis);
    for (int exponent = horizontal.Low(); exponent <= horizontal.High(); ++exponent) {
        const double x = toX(std::pow(10.0, exponent));
        drawing.Line(x, kTop, x, kTop + kHeight, "#cccccc");
        drawing.Text(x, kTop + kHeight + 18, "middle", PowerOfTen(exponent));
    }
    for (int exponent = vertical.Low(); exponent <= vertical.High(); ++exponent) {
        const double y = toY(std::pow(10.0, exponent));
        drawing.Line(kLeft, y, kLeft + kWidth, y, "#cccccc");
        drawing.Text(kLeft - 8, y + 4, "end", PowerOfTen(exponent));
    }
    for (size_t i = 0; i < series.size(); ++i) {
        const char* const colour = kColours[i % kColours.size()];
        const auto& points = series[i].points;
        for (size_t k = 0; k < points.size(); ++k) {
            drawing.Dot(toX(points[k].first), toY(points[k].second), colour);
            if (k > 0) {
                drawing.Line(toX(points[k - 1].first), toY(points[k - 1].second), toX(points[k].first),
                             toY(points[k].second), colour);
            }
        }
        const double y = kTop + 12 + 20 * static_cast<double>(i);
        drawing.Line(kLeft + kWidth + 16, y - 4, kLeft + kWidth + 40, y - 4, colour);
        drawing.Text(kLeft + kWidth + 48, y, "start", series[i].name);
    }
    return drawing.Finish();
}

}  // namespace orvane::bench
