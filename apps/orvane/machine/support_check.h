// Checks that this machine can run the library.
#pragma once

#include <string>

namespace orvane::tool {

// Returns the name of the graphics adapter that the library uses. Throws Failure that says what is missing.
std::string RequireSupportedMachine();

}  // namespace orvane::tool
