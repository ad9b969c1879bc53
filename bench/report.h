// The results: tables for the screen, and the same as JSON.
#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace orvane::bench {

using Cell = std::variant<std::string, double>;

struct Column {
    std::string name;
    int decimals = 0;  // of numbers, on the screen
};

struct Table {
    std::string title;
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;
    std::string note;  // below the table; may be empty

    // As Markdown, in columns of even width.
    std::string Text() const;
};

// Every table as an object with its title, its note and its rows, an object each. `facts` are pairs of name and value.
std::string MakeJson(const std::vector<std::pair<std::string, std::string>>& facts, const std::vector<Table>& tables);

}  // namespace orvane::bench
