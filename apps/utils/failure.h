// The one exception of the programs.
#pragma once

#include <stdexcept>

namespace orvane::tool {

// What a command could not do, as sentences in UTF-8 for the user. The program ends with exit code 1.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace orvane::tool
