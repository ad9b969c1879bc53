#include "apps/utils/program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "apps/utils/utf8_arguments.h"
#ifdef _WIN32
#include "apps/utils/windows_text.h"
#endif

namespace orvane::tool {
namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

int ReportFailure(const CLI::App& app, const char* reason) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", app.get_name().c_str(), reason);
    return kExitFailed;
}

// "/a/b.png" is a path on Windows too, and not an option.
void TakeSlashesAsPaths(CLI::App& app) {
    app.allow_windows_style_options(false);
    for (CLI::App* const subcommand : app.get_subcommands({})) {
        subcommand->allow_windows_style_options(false);
    }
}

}  // namespace

int RunProgram(CLI::App& app, int argc, const char* const* argv) {
#ifdef _WIN32
    const Utf8Console console;
#endif
    try {
        std::vector<std::string> arguments = Utf8Arguments(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // CLI11 takes the arguments from the back
        TakeSlashesAsPaths(app);
        app.parse(std::move(arguments));
        return kExitDone;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitDone : kExitUsage;
    } catch (const std::bad_alloc&) {
        return ReportFailure(app, "There is not enough memory.");
    } catch (const std::exception& error) {
        return ReportFailure(app, error.what());
    } catch (...) {
        return ReportFailure(app, "An unknown error ended the program.");
    }
}

}  // namespace orvane::tool
