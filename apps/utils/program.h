// What every command line program does around its commands.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;  // something failed; standard error says what
inline constexpr int kExitUsage = 2;   // wrong options; nothing was done

// Parses the command line, which runs the callback of the chosen subcommand, and returns the exit code. A callback
// throws Failure or UsageError.
int RunProgram(CLI::App& app, int argc, const char* const* argv);

}  // namespace orvane::tool
