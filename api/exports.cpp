#include <array>
#include <type_traits>

#include <windows.h>

#include "api/instance_table.h"
#include "api/log.h"
#include "api/orvane.h"
#include "gpu/support_check.h"
#include "version.h"

namespace {

// Never destroyed. The system cleans up instances that are still open when the library is unloaded or the process ends.
// Destroying an engine waits for the GPU and frees libraries, and both block forever during an unload.
orvane::InstanceTable& Instances() {
    static auto& instances = *new orvane::InstanceTable;
    return instances;
}

constexpr uint32_t kLibraryConstant = 4;

// The hosts' header names the version of the project.
static_assert(std::array{ORVANE_VERSION_MAJOR, ORVANE_VERSION_MINOR, ORVANE_VERSION_PATCH, 0} ==
              std::array{ORVANE_VERSION_NUMBERS});

// The types with which a host calls what GetProcAddress returns.
static_assert(std::is_same_v<decltype(&orvane_get_version), orvane_get_version_fn>);
static_assert(std::is_same_v<decltype(&orvane_check_supported), orvane_check_supported_fn>);
static_assert(std::is_same_v<decltype(&orvane_init), orvane_init_fn>);
static_assert(std::is_same_v<decltype(&orvane_uninit), orvane_uninit_fn>);
static_assert(std::is_same_v<decltype(&orvane_open), orvane_open_fn>);
static_assert(std::is_same_v<decltype(&orvane_process), orvane_process_fn>);
static_assert(std::is_same_v<decltype(&orvane_close), orvane_close_fn>);
static_assert(std::is_same_v<decltype(&orvane_getickcount), orvane_getickcount_fn>);

}  // namespace

const char* orvane_get_version(void) {
    return ORVANE_VERSION;
}

int orvane_check_supported(orvane_check_result* result, orvane_check_class* cls) {
    if (result == nullptr) {
        return ORVANE_ERROR_INVALID;
    }
    orvane_check_class ignored{};
    orvane_check_class& classRecord = cls != nullptr ? *cls : ignored;

    result->supported = 0;
    const int32_t status = orvane::DetectHardware(*result, classRecord);
    if (status != 0) {
        result->status = static_cast<uint32_t>(status);
        orvane::LogMessage(ORVANE_LOG_ERROR, "device not support dml, status:%d", status);
    } else {
        result->supported = 1;
    }
    classRecord.libraryConstant = kLibraryConstant;
    return status != 0 ? ORVANE_ERROR_UNSUPPORTED : ORVANE_OK;
}

int orvane_init(const orvane_init_param* param) {
    const orvane_init_param printEverything{ORVANE_LOG_DEBUG, orvane::DefaultLogSink, nullptr};
    orvane::SetLogConfiguration(param != nullptr ? *param : printEverything);
    return ORVANE_OK;
}

int orvane_uninit(void* /*ignored*/) {
    return ORVANE_OK;
}

orvane_handle orvane_open(const orvane_open_param* param) {
    return param != nullptr ? Instances().Open(*param) : nullptr;
}

int orvane_process(orvane_handle handle, orvane_frame* output, const orvane_frame* input) {
    if (handle == nullptr || output == nullptr || input == nullptr) {
        orvane::LogMessage(ORVANE_LOG_ERROR, "input param is null");
        return ORVANE_ERROR_INVALID;
    }
    return Instances().Process(handle, *output, *input);
}

int orvane_close(orvane_handle handle) {
    return handle != nullptr ? Instances().Close(handle) : ORVANE_ERROR_INVALID;
}

int64_t orvane_getickcount(void) {
    LARGE_INTEGER frequency{};
    LARGE_INTEGER counter{};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    // Multiplied first, which wraps; see orvane.h.
    return static_cast<int64_t>(static_cast<uint64_t>(counter.QuadPart) * 1'000'000) / frequency.QuadPart;
}
