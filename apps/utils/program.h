// The frame of a command line program around its commands.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;  // something failed; the reason is on standard error
inline constexpr int kExitUsage = 2;   // wrong options; nothing was done

// Parses the command line, runs the callback of the chosen subcommand and returns the exit code. Callbacks throw
// Failure or UsageError.
int RunProgram(CLI::App& app, int argc, const char* const* argv);

}  // namespace orvane::tool
