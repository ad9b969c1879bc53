#include "apps/utils/program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "apps/utils/failure.h"
#include "apps/utils/utf8_arguments.h"
#ifdef _WIN32
#include "apps/utils/windows_text.h"
#endif

namespace orvane::tool {
namespace {

int Report(const CLI::App& app, const char* reason, int exitCode = kExitFailed) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", app.get_name().c_str(), reason);
    return exitCode;
}

int ReportParseError(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help was requested
        return app.exit(error);
    }
    return Report(app, (std::string(error.what()) + " (--help lists the options)").c_str(), kExitUsage);
}

// "/a/b.png" is a path on Windows, too, and not an option.
void TakeSlashesAsPaths(CLI::App& program) {
    std::vector<CLI::App*> apps{&program};
    while (!apps.empty()) {
        CLI::App* const app = apps.back();
        apps.pop_back();
        app->allow_windows_style_options(false);
        const std::vector<CLI::App*> subcommands = app->get_subcommands({});
        apps.insert(apps.end(), subcommands.begin(), subcommands.end());
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
        return ReportParseError(app, error);
    } catch (const UsageError& error) {
        return Report(app, error.what(), kExitUsage);
    } catch (const std::bad_alloc&) {
        return Report(app, "There is not enough memory.");
    } catch (const std::exception& error) {
        return Report(app, error.what());
    } catch (...) {
        return Report(app, "An unknown error ended the program.");
    }
}

}  // namespace orvane::tool
