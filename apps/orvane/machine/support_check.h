// Whether this machine can run the library.
#pragma once

#include <string>

namespace orvane::tool {

// The name of the graphics adapter that the library will use. Throws Failure that says what is missing.
std::string RequireSupportedMachine();

}  // namespace orvane::tool
