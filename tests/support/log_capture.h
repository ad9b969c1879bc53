// Captures the log of the library.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "api/log.h"

namespace orvane {

using LogEntries = std::vector<std::pair<int32_t, std::string>>;  // level and text

// Receives all messages up to `level` while it lives. Afterwards nothing is logged. One at a time.
class LogCapture {
public:
    explicit LogCapture(int32_t level = ORVANE_LOG_DEBUG) { SetLogConfiguration({level, &Receive, this}); }
    ~LogCapture() { SetLogConfiguration({-1, nullptr, nullptr}); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Returns the messages since the last call.
    LogEntries Take() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_entries, {});
    }

    // The orvane_log_callback; `userData` is a LogCapture.
    static void Receive(void* userData, int32_t level, const char* format, va_list arguments) {
        va_list copy;
        va_copy(copy, arguments);
        const int length = std::vsnprintf(nullptr, 0, format, copy);
        va_end(copy);
        std::string text(static_cast<size_t>(length < 0 ? 0 : length), '\0');
        std::vsnprintf(text.data(), text.size() + 1, format, arguments);

        auto& capture = *static_cast<LogCapture*>(userData);
        const std::lock_guard lock(capture.m_mutex);
        capture.m_entries.emplace_back(level, text);
    }

private:
    std::mutex m_mutex;
    LogEntries m_entries;
};

}  // namespace orvane
