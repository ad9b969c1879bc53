#include "api/log.h"

#include <array>
#include <atomic>
#include <cstdio>

namespace orvane {
namespace {

struct Callback {
    orvane_log_callback function = nullptr;
};

// Nothing is logged until the host installs a callback. Each value is read and written atomically, in case orvane_init
// runs during a frame.
struct LogConfiguration {
    std::atomic<int32_t> level = -1;
    std::atomic<Callback> callback = Callback{};
    std::atomic<void*> userData = nullptr;
};
LogConfiguration g_logConfiguration;

constexpr std::array kLevelNames{"ERROR", "WARNING", "INFO", "DEBUG"};

}  // namespace

void SetLogConfiguration(const orvane_init_param& configuration) {
    g_logConfiguration.level = configuration.level;
    g_logConfiguration.userData = configuration.userData;
    g_logConfiguration.callback = Callback{configuration.callback};
}

void LogMessage(int32_t level, const char* format, ...) {
    // Copied before the test, because another thread may be silencing the log.
    const Callback callback = g_logConfiguration.callback;
    if (level > g_logConfiguration.level || callback.function == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    callback.function(g_logConfiguration.userData, level, format, arguments);
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
