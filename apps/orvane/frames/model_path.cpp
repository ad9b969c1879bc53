#include "apps/orvane/frames/model_path.h"

#include <algorithm>
#include <cwctype>
#include <optional>

#include <windows.h>

#include "api/orvane.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/long_path.h"
#include "apps/utils/text.h"
#include "apps/utils/windows_text.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

// Nothing if characters would be lost or replaced by similar ones.
std::optional<std::string> LosslessAnsi(const std::wstring& text) {
    const std::string ansi = AnsiFromWide(text);
    return WideFromAnsi(ansi) == text ? std::optional(ansi) : std::nullopt;
}

bool EqualIgnoringCase(const std::wstring& a, const std::wstring& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return std::towlower(x) == std::towlower(y); });
}

// Short names are in capitals, but the library knows encrypted files by an extension in lower case. This restores it.
fs::path WithExtensionOf(const fs::path& path, fs::path shortened) {
    if (EqualIgnoringCase(shortened.extension().native(), path.extension().native())) {
        shortened.replace_extension(path.extension());
    }
    return shortened;
}

fs::path ShortPath(const fs::path& path) {
    std::wstring text(GetShortPathNameW(path.c_str(), nullptr, 0), L'\0');  // the length with the final zero
    const DWORD length = GetShortPathNameW(path.c_str(), text.data(), static_cast<DWORD>(text.size()));
    text.resize(std::min<size_t>(length, text.size()));
    return text.empty() ? path : WithExtensionOf(path, text);
}

}  // namespace

std::string AnsiModelPath(const fs::path& path) {
    RequireReadableFile(path);
    const fs::path usable = fs::absolute(path).native().size() < MAX_PATH ? path : LongPath(path);
    std::optional<std::string> ansi = LosslessAnsi(usable.native());
    if (!ansi) {
        ansi = LosslessAnsi(ShortPath(usable).native());
    }
    if (!ansi) {
        throw Failure("The library cannot open " + Quoted(path) +
                      ": the path has characters outside the system's code page. Rename the file or its folder.");
    }
    if (ansi->size() >= sizeof(orvane_open_param::modelPath)) {
        throw Failure("The path of the model file is too long: the library takes at most " +
                      std::to_string(sizeof(orvane_open_param::modelPath) - 1) + " bytes.");
    }
    return *ansi;
}

}  // namespace orvane::tool
