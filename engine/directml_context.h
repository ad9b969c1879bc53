// The DirectML device of an engine, and what depends on its adapter: layout, precision and size of tensors.
#pragma once

#include <cstdint>

#include "engine/tensor_plan.h"
#include "gpu/device_resources.h"
#include "gpu/platform.h"

namespace orvane {

struct DirectMLContext {
    ComPtr<IDMLDevice> device;
    ComPtr<IDMLCommandRecorder> recorder;
    DML_EXECUTION_FLAGS executionFlags = DML_EXECUTION_FLAG_NONE;
    TensorLayout layout = TensorLayout::kNchw;
    uint64_t maxViewElements = 0;  // of a tensor that a shader of the library reads or writes
};

// Re-creates the context on the device of `resources`. 0, or -1 with the reason logged: a failing call, or an adapter
// without half-precision tensors, which the whole network needs.
int32_t CreateDirectMLContext(DX::DeviceResources& resources, DirectMLContext& context);

}  // namespace orvane
