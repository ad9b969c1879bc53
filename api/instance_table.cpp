#include "api/instance_table.h"

#include <new>
#include <objbase.h>

#include <windows.h>

#include "api/log.h"

namespace orvane {
namespace {

// The width is that of the rows including padding. Negative sizes become huge ones, and setting these up fails.
FrameSize SizeOf(const orvane_frame& frame) {
    return {static_cast<uint32_t>(frame.stride / static_cast<int32_t>(kBytesPerPixel)),
            static_cast<uint32_t>(frame.height)};
}

orvane_open_param WithSize(orvane_open_param record, FrameSize inputSize) {
    record.inputWidth = inputSize.width;
    record.inputHeight = inputSize.height;
    record.outputWidth = Upscaled(inputSize).width;
    record.outputHeight = Upscaled(inputSize).height;
    return record;
}

// Undoes its count unless told to keep it.
class ComCount {
public:
    explicit ComCount(ComCounter& counter) : m_counter(&counter) {}
    ~ComCount() {
        if (m_counter != nullptr) {
            m_counter->Remove();
        }
    }
    ComCount(const ComCount&) = delete;
    ComCount& operator=(const ComCount&) = delete;

    void Keep() { m_counter = nullptr; }

private:
    ComCounter* m_counter;
};

}  // namespace

int32_t ComCounter::Add() {
    if (m_count == 0) {
        const HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        if (FAILED(hr) && hr != RPC_E_CHANGED_MODE) {
            LogMessage(ORVANE_LOG_ERROR, "Failed to CoInitializeEx");
            return -1;
        }
    }
    ++m_count;
    return 0;
}

void ComCounter::Remove() {
    if (m_count-- == 1) {
        CoUninitialize();
    }
}

orvane_handle InstanceTable::Open(const orvane_open_param& param) {
    std::unique_ptr<Sample> engine(new (std::nothrow) Sample);
    if (!engine) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to create sample");
        return nullptr;
    }
    LogMessage(ORVANE_LOG_INFO, "input resolution %dx%d, output resolution: %dx%d, model:%d:%d",
               static_cast<int>(param.inputWidth), static_cast<int>(param.inputHeight),
               static_cast<int>(param.outputWidth), static_cast<int>(param.outputHeight), param.modelChannels,
               param.modelDepth);
    if (const int32_t result = engine->Init(&param); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to create device, error code: %d", result);
        return nullptr;
    }
    if (m_comCounter.Add() != 0) {
        return nullptr;
    }
    ComCount counted(m_comCounter);
    if (const int32_t result = engine->InitResources(); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to initialize resources, error code: %d", result);
        return nullptr;
    }
    const auto handle = reinterpret_cast<orvane_handle>(engine.get());
    const std::lock_guard lock(m_lock);
    m_engines[handle] = std::move(engine);
    counted.Keep();
    return handle;
}

int InstanceTable::Process(orvane_handle handle, orvane_frame& output, const orvane_frame& input) {
    const std::lock_guard lock(m_lock);
    const auto found = m_engines.find(handle);
    if (found == m_engines.end() || !found->second) {
        return ORVANE_ERROR_INVALID;
    }
    if (output.data == nullptr || input.data == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "input param is null");
        return ORVANE_ERROR_INVALID;
    }
    Sample& engine = *found->second;
    if (engine.Geometry().input != SizeOf(input)) {
        if (const int result = ChangeSize(handle, engine, output, input); result != 0) {
            return result;
        }
    }
    if (!engine.IsReady()) {
        LogMessage(ORVANE_LOG_ERROR, "sample is null or not initialized, possibly after a resolution change failed.");
        return ORVANE_ERROR_INVALID;
    }
    if (const int32_t result = engine.Infer(&input, &output); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to Infer, error code: %d", result);
        return ORVANE_ERROR_FAILED;
    }
    return ORVANE_OK;
}

int InstanceTable::ChangeSize(orvane_handle handle, Sample& engine, const orvane_frame& output,
                              const orvane_frame& input) {
    const orvane_open_param record = WithSize(engine.OpenParams(), SizeOf(input));
    LogMessage(ORVANE_LOG_INFO,
               "Re-initializing new input resolution %dx%d, stride:%d, output resolution: %dx%d, stride: %d",
               input.width, input.height, input.stride, output.width, output.height, output.stride);
    engine.Release();
    if (const int32_t result = engine.Reinit(&record); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to re-initialize sample, error code: %d", result);
        m_engines.erase(handle);
        m_comCounter.Remove();
        return ORVANE_ERROR_FAILED;
    }
    return ORVANE_OK;
}

int InstanceTable::Close(orvane_handle handle) {
    size_t erased = 0;
    {
        const std::lock_guard lock(m_lock);
        erased = m_engines.erase(handle);
    }
    if (erased != 0) {
        m_comCounter.Remove();
    }
    return ORVANE_OK;
}

}  // namespace orvane
