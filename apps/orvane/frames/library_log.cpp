#include "apps/orvane/frames/library_log.h"

#include <array>
#include <cstdio>
#include <utility>

#include "api/orvane.h"
#include "apps/utils/failure.h"
#include "apps/utils/windows_text.h"

namespace orvane::tool {
namespace {

constexpr std::array kLevelNames{"error", "warning", "info", "debug"};

std::string Formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

}  // namespace

LibraryLog::LibraryLog(bool verbose) : m_verbose(verbose) {
    const orvane_init_param param{verbose ? ORVANE_LOG_DEBUG : ORVANE_LOG_ERROR, &LibraryLog::Receive, this};
    orvane_init(&param);
}

LibraryLog::~LibraryLog() {
    const orvane_init_param silent{-1, nullptr, nullptr};
    orvane_init(&silent);
}

void LibraryLog::Fail(const std::string& sentence) {
    const std::lock_guard lock(m_mutex);
    throw Failure(m_verbose ? sentence : sentence + std::exchange(m_errors, {}));
}

void LibraryLog::Receive(void* userData, int32_t level, const char* format, va_list arguments) {
    static_cast<LibraryLog*>(userData)->Keep(level, Utf8FromAnsi(Formatted(format, arguments)));
}

void LibraryLog::Keep(int32_t level, const std::string& message) {
    const std::lock_guard lock(m_mutex);
    if (m_verbose) {
        const auto index = static_cast<size_t>(level);
        std::fprintf(stderr, "  %s: %s\n", index < kLevelNames.size() ? kLevelNames[index] : "log", message.c_str());
    } else if (level == ORVANE_LOG_ERROR) {
        m_errors += "\n  " + message;
    }
}

}  // namespace orvane::tool
