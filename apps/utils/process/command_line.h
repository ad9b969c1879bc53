// Arguments as one line of text. Portable.
#pragma once

#include <string>
#include <vector>

namespace orvane::tool {

// The arguments in the form from which a Windows program's start-up code makes the same arguments again.
std::string WindowsCommandLine(const std::vector<std::string>& arguments);

}  // namespace orvane::tool
