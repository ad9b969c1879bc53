#include "apps/utils/process/command_line.h"

#include <string_view>

namespace orvane::tool {
namespace {

// Backslashes stand for themselves, except in front of a quotation mark, where each must be written twice.
std::string QuotedArgument(std::string_view argument) {
    std::string quoted = "\"";
    size_t backslashes = 0;
    for (const char letter : argument) {
        if (letter == '"') {
            quoted.append(backslashes + 1, '\\');
        }
        backslashes = letter == '\\' ? backslashes + 1 : 0;
        quoted += letter;
    }
    quoted.append(backslashes, '\\');
    return quoted + '"';
}

}  // namespace

std::string WindowsCommandLine(const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        const bool isPlain = !argument.empty() && argument.find_first_of(" \t\n\v\"") == std::string::npos;
        line += line.empty() ? "" : " ";
        line += isPlain ? argument : QuotedArgument(argument);
    }
    return line;
}

}  // namespace orvane::tool
