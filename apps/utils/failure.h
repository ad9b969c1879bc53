// The exceptions of the programs.
#pragma once

#include <stdexcept>

namespace orvane::tool {

// What a command could not do, as sentences in UTF-8 for the user. The program ends with kExitFailed.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What a command was asked for makes no sense, and nothing was done. The program ends with kExitUsage.
class UsageError : public Failure {
public:
    using Failure::Failure;
};

}  // namespace orvane::tool
