#include "bench/report.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace orvane::bench {
namespace {

std::string ScreenText(const Cell& cell, const Column& column) {
    if (const auto* const text = std::get_if<std::string>(&cell)) {
        return *text;
    }
    char number[64] = {};
    std::snprintf(number, sizeof(number), "%.*f", column.decimals, std::get<double>(cell));
    return number;
}

}  // namespace

std::string Table::Text() const {
    std::vector<std::vector<std::string>> lines(2);
    for (const Column& column : columns) {
        lines[0].push_back(column.name);
    }
    for (const auto& row : rows) {
        std::vector<std::string>& line = lines.emplace_back();
        for (size_t i = 0; i < row.size(); ++i) {
            line.push_back(ScreenText(row[i], columns[i]));
        }
    }
    std::vector<size_t> widths(columns.size(), 3);
    for (const auto& line : lines) {
        for (size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    for (const size_t width : widths) {
        lines[1].emplace_back(width, '-');
    }
    std::string text = "### " + title + "\n\n";
    for (const auto& line : lines) {
        for (size_t i = 0; i < line.size(); ++i) {
            text += "| " + line[i] + std::string(widths[i] - line[i].size() + 1, ' ');
        }
        text += "|\n";
    }
    return text + (note.empty() ? "" : "\n" + note + "\n");
}

std::string MakeJson(const std::vector<std::pair<std::string, std::string>>& facts, const std::vector<Table>& tables) {
    using nlohmann::ordered_json;
    ordered_json result = ordered_json::object();
    for (const auto& [name, value] : facts) {
        result[name] = value;
    }
    for (const Table& table : tables) {
        ordered_json rows = ordered_json::array();
        for (const auto& row : table.rows) {
            ordered_json& object = rows.emplace_back(ordered_json::object());
            for (size_t i = 0; i < row.size(); ++i) {
                std::visit([&](const auto& value) { object[table.columns[i].name] = value; }, row[i]);
            }
        }
        result["tables"].push_back({{"title", table.title}, {"note", table.note}, {"rows", std::move(rows)}});
    }
    return result.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace orvane::bench
