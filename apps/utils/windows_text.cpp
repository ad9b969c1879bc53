#include "apps/utils/windows_text.h"

#include <windows.h>

#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

int IntLength(size_t length) {
    if (length > 0x7FFFFFFF) {
        throw Failure("A text is too long.");
    }
    return static_cast<int>(length);
}

std::string NarrowFromWide(std::wstring_view text, UINT codePage) {
    const int length = IntLength(text.size());
    const int size = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

std::wstring WideFromNarrow(std::string_view text, UINT codePage) {
    const int length = IntLength(text.size());
    const int size = MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), size);
    return wide;
}

}  // namespace

std::string Utf8FromWide(std::wstring_view text) {
    return NarrowFromWide(text, CP_UTF8);
}

std::string AnsiFromWide(std::wstring_view text) {
    return NarrowFromWide(text, CP_ACP);
}

std::wstring WideFromAnsi(std::string_view text) {
    return WideFromNarrow(text, CP_ACP);
}

std::wstring WideFromUtf8(std::string_view text) {
    return WideFromNarrow(text, CP_UTF8);
}

std::string Utf8FromAnsi(std::string_view text) {
    return Utf8FromWide(WideFromAnsi(text));
}

Utf8Console::Utf8Console() : m_previousCodePage(GetConsoleOutputCP()) {
    if (m_previousCodePage != 0) {
        SetConsoleOutputCP(CP_UTF8);
    }
}

Utf8Console::~Utf8Console() {
    if (m_previousCodePage != 0) {
        SetConsoleOutputCP(m_previousCodePage);
    }
}

}  // namespace orvane::tool
