// Joins arguments into a command line. Portable.
#pragma once

#include <string>
#include <vector>

namespace orvane::tool {

// The line from which the start-up code of a Windows program gets the same arguments.
std::string WindowsCommandLine(const std::vector<std::string>& arguments);

}  // namespace orvane::tool
