#include "api/log.h"

#include <array>
#include <cstdio>

namespace orvane {
namespace {

// Level -1 and no callback: nothing is logged until the host installs something.
orvane_init_param g_logConfiguration{-1, nullptr, nullptr};

constexpr std::array kLevelNames{"ERROR", "WARNING", "INFO", "DEBUG"};

}  // namespace

void SetLogConfiguration(const orvane_init_param& configuration) {
    g_logConfiguration = configuration;
}

void LogMessage(int32_t level, const char* format, ...) {
    if (level > g_logConfiguration.level || g_logConfiguration.callback == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    g_logConfiguration.callback(g_logConfiguration.userData, level, format, arguments);
    va_end(arguments);
}

int32_t CheckHResult(int32_t hr, const char* what) {
    if (hr >= 0) {
        return 0;
    }
    if (what == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "Operation failed with HRESULT: 0x%08X", static_cast<uint32_t>(hr));
    } else {
        LogMessage(ORVANE_LOG_ERROR, "Operation failed: %s, HRESULT: 0x%08X", what, static_cast<uint32_t>(hr));
    }
    return -1;
}

void DefaultLogSink(void* /*userData*/, int32_t level, const char* format, va_list arguments) {
    const auto index = static_cast<uint32_t>(level);
    if (index >= kLevelNames.size()) {
        return;
    }
    std::printf("[Orvane %s] ", kLevelNames[index]);
    std::vfprintf(stdout, format, arguments);
    std::printf("\n");
}

}  // namespace orvane
