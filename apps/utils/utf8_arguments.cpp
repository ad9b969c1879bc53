#include "apps/utils/utf8_arguments.h"

#ifdef _WIN32
#include <memory>

#include <windows.h>
// windows.h goes first.
#include <shellapi.h>

#include "apps/utils/failure.h"
#include "apps/utils/windows_text.h"

namespace orvane::tool {

std::vector<std::string> Utf8Arguments(int /*argc*/, const char* const* /*argv*/) {
    int count = 0;
    const std::unique_ptr<LPWSTR[], decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count),
                                                               &LocalFree);
    if (wide == nullptr) {
        throw Failure("The command line could not be read.");
    }
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(Utf8FromWide(wide[static_cast<size_t>(i)]));
    }
    return arguments;
}

}  // namespace orvane::tool

#else

namespace orvane::tool {

std::vector<std::string> Utf8Arguments(int argc, const char* const* argv) {
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

}  // namespace orvane::tool

#endif
