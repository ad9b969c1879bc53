#include "bench/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orvane::bench {
namespace {

// Numbers with four digits at least, the whole ones without decimals.
std::string ScreenText(const Row& value) {
    if (value.is_string()) {
        return value;
    }
    if (!value.is_number() || std::isnan(value.get<double>())) {
        return "";
    }
    const double number = value;
    const int digitsBefore = static_cast<int>(std::log10(std::max(std::abs(number), 1.0))) + 1;
    char text[64] = {};
    std::snprintf(text, sizeof(text), "%.*f", number == std::floor(number) ? 0 : std::max(4 - digitsBefore, 0), number);
    return text;
}

}  // namespace

std::string Table::Text() const {
    std::vector<std::vector<std::string>> lines(2);
    for (const Row& row : rows) {
        for (const auto& value : row.items()) {
            if (std::find(lines[0].begin(), lines[0].end(), value.key()) == lines[0].end()) {
                lines[0].push_back(value.key());
            }
        }
    }
    for (const Row& row : rows) {
        std::vector<std::string>& line = lines.emplace_back();
        for (const std::string& name : lines[0]) {
            line.push_back(ScreenText(row.value(name, Row())));
        }
    }
    std::string text = "### " + title + "\n\n";
    std::vector<size_t> widths(lines[0].size(), 3);
    for (auto& line : lines) {
        for (size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    for (const size_t width : widths) {
        lines[1].emplace_back(width, '-');
    }
    for (const auto& line : lines) {
        for (size_t i = 0; i < line.size(); ++i) {
            text += "| " + line[i] + std::string(widths[i] - line[i].size() + 1, ' ');
        }
        text += "|\n";
    }
    return text + "\n" + note + "\n";
}

std::string Report::Json() const {
    Row result = facts;
    result["failures"] = failures;
    for (const Table& table : tables) {
        result["tables"].push_back({{"title", table.title}, {"note", table.note}, {"rows", table.rows}});
    }
    return result.dump(2, ' ', false, Row::error_handler_t::replace) + "\n";
}

}  // namespace orvane::bench
