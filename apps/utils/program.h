// What every command line program does around its commands.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

// Parses the command line, which runs the callback of the chosen subcommand, and returns the exit code:
// 0 done, 1 failed with the reason on standard error, 2 wrong usage.
int RunProgram(CLI::App& app, int argc, const char* const* argv);

}  // namespace orvane::tool
