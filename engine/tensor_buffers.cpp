#include "engine/tensor_buffers.h"

#include "api/log.h"
#include "gpu/gpu_resource.h"
#include "gpu/removed_reason.h"

namespace orvane {
namespace {

HRESULT CreateTensorBuffer(ID3D12Device& device, uint64_t byteSize, ComPtr<ID3D12Resource>& buffer) {
    return CreateGpuBuffer(device, byteSize, D3D12_RESOURCE_STATE_UNORDERED_ACCESS, buffer);
}

uint32_t RemovedReason(ID3D12Device& device) {
    return static_cast<uint32_t>(device.GetDeviceRemovedReason());
}

int32_t CreateModelInput(ID3D12Device& device, uint64_t byteSize, ComPtr<ID3D12Resource>& buffer) {
    if (CheckHResult(CreateTensorBuffer(device, byteSize, buffer), "CreateCommittedResource m_modelInput") == 0) {
        return 0;
    }
    LogMessage(ORVANE_LOG_ERROR, "Failed to create m_modelInput resource, checking device state...");
    LogMessage(ORVANE_LOG_ERROR, "Device removal reason after m_modelInput failure: 0x%08X", RemovedReason(device));
    return -1;
}

int32_t CreateModelOutput(ID3D12Device& device, uint64_t byteSize, ComPtr<ID3D12Resource>& buffer) {
    if (CheckHResult(CreateTensorBuffer(device, byteSize, buffer), "CreateCommittedResource m_modelOutput") == 0) {
        return 0;
    }
    LogMessage(ORVANE_LOG_ERROR, "Failed to create m_modelOutput resource, checking device state...");
    const uint32_t reason = RemovedReason(device);
    LogMessage(ORVANE_LOG_ERROR, "Device removal reason after m_modelOutput failure: 0x%08X", reason);
    if (const char* const explanation = ExplainRemovedReason(static_cast<HRESULT>(reason)); explanation != nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "%s", explanation);
    }
    return -1;
}

int32_t CreateIntermediateResults(ID3D12Device& device, const NetworkPlan& plan,
                                  std::vector<ComPtr<ID3D12Resource>>& results, uint64_t& totalSize) {
    for (uint32_t k = 0; k <= plan.lastLayer; ++k) {
        if (k + 1 >= plan.bufferSizes.size() || k >= results.size()) {
            LogMessage(ORVANE_LOG_ERROR, "Buffer size array out of bounds: %d", static_cast<int>(k + 1));
            return -1;
        }
        const uint64_t byteSize = plan.bufferSizes[k + 1];
        if (byteSize == 0) {
            results[k].Reset();
            continue;
        }
        if (CheckHResult(CreateTensorBuffer(device, byteSize, results[k]),
                         "CreateCommittedResource m_modelIntermediateResult") != 0) {
            LogMessage(ORVANE_LOG_ERROR, "Failed to create intermediate resource %d, checking device state...",
                       static_cast<int>(k));
            LogMessage(ORVANE_LOG_ERROR, "Device removal reason: 0x%08X", RemovedReason(device));
            return -1;
        }
        totalSize += byteSize;
    }
    return 0;
}

double Mebibytes(uint64_t byteSize) {
    return static_cast<double>(byteSize) / 1048576.0;
}

}  // namespace

int32_t CreateTensorBuffers(ID3D12Device& device, const NetworkPlan& plan, TensorBuffers& buffers) {
    if (const uint32_t reason = RemovedReason(device); reason != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Device already removed before resource creation, reason: 0x%08X", reason);
        return -1;
    }
    const uint32_t layerCount = plan.lastLayer + 1;
    buffers.m_modelIntermediateResult.resize(layerCount + 1);
    uint64_t intermediateSize = 0;
    if (CreateModelInput(device, plan.modelInputSize, buffers.m_modelInput) != 0 ||
        CreateModelOutput(device, plan.modelOutputSize, buffers.m_modelOutput) != 0 ||
        CreateIntermediateResults(device, plan, buffers.m_modelIntermediateResult, intermediateSize) != 0) {
        return -1;
    }
    const uint64_t totalSize = plan.modelInputSize + plan.modelOutputSize + intermediateSize;
    LogMessage(ORVANE_LOG_INFO, "Total GPU memory allocated: %.2f MB (Input: %.2f, Output: %.2f, Intermediate: %.2f)",
               Mebibytes(totalSize), Mebibytes(plan.modelInputSize), Mebibytes(plan.modelOutputSize),
               Mebibytes(intermediateSize));
    return 0;
}

}  // namespace orvane
