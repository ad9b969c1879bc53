// The model file's path in the form that the library takes.
#pragma once

#include <filesystem>
#include <string>

namespace orvane::tool {

// The path in the process's ANSI encoding; Windows' short name stands in for names that have no such form. Throws
// Failure when there is no such file, or when no form of its path fits into orvane_open_param.modelPath.
std::string AnsiModelPath(const std::filesystem::path& path);

}  // namespace orvane::tool
