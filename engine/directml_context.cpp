#include "engine/directml_context.h"

#include "api/log.h"
#include "gpu/adapter_limits.h"
#include "gpu/vendors.h"

namespace orvane {
namespace {

int32_t CreateDevice(DX::DeviceResources& resources, DirectMLContext& context) {
    context.executionFlags = DML_EXECUTION_FLAG_NONE;
    context.layout = TensorLayout::kNchw;
    if (CheckHResult(
            resources.GetSystemLibraries().DMLCreateDevice(resources.GetD3DDevice(), DML_CREATE_DEVICE_FLAG_NONE,
                                                           IID_PPV_ARGS(context.device.ReleaseAndGetAddressOf())),
            "DMLCreateDevice") != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to DMLCreateDevice, error code: %d", -1);
        return -1;
    }
    return 0;
}

// NVIDIA's adapters are faster with NHWC tensors and half precision throughout.
int32_t JudgeAdapter(DX::DeviceResources& resources, DirectMLContext& context) {
    ComPtr<IDXGIAdapter1> adapter;
    if (CheckHResult(resources.GetDXGIFactory()->EnumAdapterByLuid(GetAdapterLuid(resources.GetD3DDevice()),
                                                                   IID_PPV_ARGS(adapter.GetAddressOf())),
                     "GetAdapterLuid") != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to GetAdapterLuid, error code: %d", -1);
        return -1;
    }
    DXGI_ADAPTER_DESC1 desc{};
    adapter->GetDesc1(&desc);
    LogMessage(ORVANE_LOG_INFO, "run on the device: %ls", desc.Description);
    context.maxViewElements = MaxTypedViewElements(desc.VendorId);
    if (desc.VendorId == kVendorNvidia) {
        context.layout = TensorLayout::kNhwc;
        context.executionFlags = DML_EXECUTION_FLAG_ALLOW_HALF_PRECISION_COMPUTATION;
    }
    return 0;
}

int32_t RequireHalfPrecision(IDMLDevice& device) {
    const DML_FEATURE_QUERY_TENSOR_DATA_TYPE_SUPPORT query{DML_TENSOR_DATA_TYPE_FLOAT16};
    DML_FEATURE_DATA_TENSOR_DATA_TYPE_SUPPORT support{};
    if (CheckHResult(device.CheckFeatureSupport(DML_FEATURE_TENSOR_DATA_TYPE_SUPPORT, sizeof(query), &query,
                                                sizeof(support), &support),
                     "CheckFeatureSupport") != 0) {
        return -1;
    }
    if (!support.IsSupported) {
        LogMessage(ORVANE_LOG_ERROR, "can't support fp16: %d", support.IsSupported);
        return -1;
    }
    return 0;
}

}  // namespace

int32_t CreateDirectMLContext(DX::DeviceResources& resources, DirectMLContext& context) {
    if (CreateDevice(resources, context) != 0 || JudgeAdapter(resources, context) != 0 ||
        RequireHalfPrecision(*context.device.Get()) != 0) {
        return -1;
    }
    return CheckHResult(context.device->CreateCommandRecorder(IID_PPV_ARGS(context.recorder.ReleaseAndGetAddressOf())),
                        "CreateCommandRecorder");
}

}  // namespace orvane
