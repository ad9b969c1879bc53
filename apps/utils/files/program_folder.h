// Where the program lies. Windows only.
#pragma once

#include <filesystem>

namespace orvane::tool {

// The folder of the running program, whatever the current folder is. Throws Failure.
std::filesystem::path ProgramFolder();

}  // namespace orvane::tool
