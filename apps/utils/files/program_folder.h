// The folder of the program. Windows only.
#pragma once

#include <filesystem>

namespace orvane::tool {

// The folder of the running program's file, not the current folder. Throws Failure.
std::filesystem::path ProgramFolder();

}  // namespace orvane::tool
