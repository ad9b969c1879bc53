// The command line in UTF-8 on every platform.
#pragma once

#include <string>
#include <vector>

namespace orvane::tool {

// The arguments without the program's name. On Windows argc and argv are ignored, because their ANSI form loses
// characters of other languages.
std::vector<std::string> Utf8Arguments(int argc, const char* const* argv);

}  // namespace orvane::tool
