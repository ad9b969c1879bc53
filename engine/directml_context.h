// The DirectML device of an engine, and what its adapter decides: the tensor layout and the precision.
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
};

// Makes the context anew on the device of `resources`. 0, or -1 with the reason logged: a failing call, or an adapter
// without half-precision tensors, which the whole network is made of.
int32_t CreateDirectMLContext(DX::DeviceResources& resources, DirectMLContext& context);

}  // namespace orvane
