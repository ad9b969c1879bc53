// The results: tables for the screen, and the same as JSON.
#pragma once

#include <deque>
#include <nlohmann/json.hpp>
#include <string>

namespace orvane::bench {

using Row = nlohmann::ordered_json;  // an object: values by the names of their columns, NaN where nothing was measured

struct Table {
    std::string title;
    std::string note;  // below the table; may be empty
    std::vector<Row> rows;

    // As Markdown, in columns of even width.
    std::string Text() const;
};

struct Report {
    Row facts;                          // of the machine
    std::vector<std::string> failures;  // parts of the work that failed, and why
    std::deque<Table> tables;           // do not move as more are added

    std::string Json() const;
};

}  // namespace orvane::bench
