// The exceptions of the programs.
#pragma once

#include <stdexcept>

namespace orvane::tool {

// A command failed. The text is for the user: whole sentences in UTF-8. The program ends with kExitFailed.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The options make no sense, and nothing was done. The program ends with kExitUsage.
class UsageError : public Failure {
public:
    using Failure::Failure;
};

}  // namespace orvane::tool
