// The library-wide log sink and the check of platform results. Portable: no Windows header.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "api/orvane.h"

#if defined(__MINGW32__) && !defined(__clang__)
#define ORVANE_PRINTF_LIKE(text, values) __attribute__((format(gnu_printf, text, values)))
#elif defined(__GNUC__)
#define ORVANE_PRINTF_LIKE(text, values) __attribute__((format(printf, text, values)))
#else
#define ORVANE_PRINTF_LIKE(text, values)
#endif

namespace orvane {

// Installs the callback and level that LogMessage uses. Not locked: the host calls it before anything else.
void SetLogConfiguration(const orvane_init_param& configuration);

// Passes a message, still unformatted, to the host's callback unless `level` is above the configured one.
// Messages have no line end. May be called from any thread.
ORVANE_PRINTF_LIKE(2, 3)
void LogMessage(int32_t level, const char* format, ...);

// 0 when `hr`, a Windows result, is a success code. Otherwise logs the failure of the operation that `what` names
// (which may be null) and returns -1.
int32_t CheckHResult(int32_t hr, const char* what);

// An orvane_log_callback that prints "[Orvane LEVEL] message" and a line end to standard output.
void DefaultLogSink(void* userData, int32_t level, const char* format, va_list arguments);

}  // namespace orvane
