// Conversions between UTF-8, UTF-16 and the process's narrow (ANSI) encoding. Windows only.
#pragma once

#include <string>
#include <string_view>

namespace orvane::tool {

std::string Utf8FromWide(std::wstring_view text);
std::string AnsiFromWide(std::wstring_view text);  // characters without an ANSI form are replaced
std::wstring WideFromAnsi(std::string_view text);
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromAnsi(std::string_view text);

// Makes the console show UTF-8 text, and restores its setting at the end.
class Utf8Console {
public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    unsigned int m_previousCodePage;  // 0 when there is no console
};

}  // namespace orvane::tool
