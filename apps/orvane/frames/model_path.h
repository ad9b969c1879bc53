// The model file's path in the form that the library takes.
#pragma once

#include <filesystem>
#include <string>

namespace orvane::tool {

// The path in the process's ANSI encoding, if need be by the short name of the file. Throws Failure when there
// is no such file, or no such form of its path that fits into orvane_open_param.modelPath.
std::string AnsiModelPath(const std::filesystem::path& path);

}  // namespace orvane::tool
