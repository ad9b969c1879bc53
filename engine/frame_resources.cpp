#include "engine/frame_resources.h"

#include <algorithm>

#include "api/log.h"
#include "gpu/gpu_resource.h"

namespace orvane {
namespace {

constexpr DXGI_FORMAT kPixelFormat = DXGI_FORMAT_R8G8B8A8_UNORM;
constexpr DXGI_FORMAT kTensorFormat = DXGI_FORMAT_R16_FLOAT;

// Some drivers accept what Direct3D does not allow, and the image is wrong: they write beyond a texture that is too
// large, and no call reports a buffer view with more elements than the driver supports.
bool CanBeCarried(FrameSize inputSize, const NetworkPlan& plan, uint64_t maxViewElements) {
    constexpr uint32_t kMaxSide = D3D12_REQ_TEXTURE2D_U_OR_V_DIMENSION / kScale;
    return std::max(inputSize.width, inputSize.height) <= kMaxSide && plan.ViewElements() <= maxViewElements;
}

int32_t CreateTexture(ID3D12Device& device, FrameSize size, D3D12_RESOURCE_FLAGS flags,
                      D3D12_RESOURCE_STATES initialState, ComPtr<ID3D12Resource>& texture) {
    const auto desc = CD3DX12_RESOURCE_DESC::Tex2D(kPixelFormat, size.width, size.height, 1, 1, 1, 0, flags);
    return CheckGpuResource(CreateGpuResource(device, D3D12_HEAP_TYPE_DEFAULT, desc, initialState, texture));
}

// A buffer on the host's side that holds a whole texture.
int32_t CreateStagingBuffer(ID3D12Device& device, D3D12_HEAP_TYPE heapType, ID3D12Resource& texture,
                            D3D12_RESOURCE_STATES initialState, const wchar_t* name, ComPtr<ID3D12Resource>& buffer) {
    const auto desc = CD3DX12_RESOURCE_DESC::Buffer(GetRequiredIntermediateSize(&texture, 0, 1));
    if (CheckGpuResource(CreateGpuResource(device, heapType, desc, initialState, buffer)) != 0) {
        return -1;
    }
    buffer->SetName(name);
    return 0;
}

void CreateImageReadView(ID3D12Device& device, ID3D12Resource& texture, D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    D3D12_SHADER_RESOURCE_VIEW_DESC desc{};
    desc.Format = kPixelFormat;
    desc.ViewDimension = D3D12_SRV_DIMENSION_TEXTURE2D;
    desc.Shader4ComponentMapping = D3D12_DEFAULT_SHADER_4_COMPONENT_MAPPING;
    desc.Texture2D.MipLevels = 1;
    device.CreateShaderResourceView(&texture, &desc, handle);
}

UINT ElementCount(ID3D12Resource& tensor) {
    return static_cast<UINT>(BufferSize(tensor) / sizeof(uint16_t));
}

}  // namespace

void CreateTensorReadView(ID3D12Device& device, ID3D12Resource& tensor, D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    D3D12_SHADER_RESOURCE_VIEW_DESC desc{};
    desc.Format = kTensorFormat;
    desc.ViewDimension = D3D12_SRV_DIMENSION_BUFFER;
    desc.Shader4ComponentMapping = D3D12_DEFAULT_SHADER_4_COMPONENT_MAPPING;
    desc.Buffer.NumElements = ElementCount(tensor);
    device.CreateShaderResourceView(&tensor, &desc, handle);
}

void CreateTensorWriteView(ID3D12Device& device, ID3D12Resource& tensor, D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    D3D12_UNORDERED_ACCESS_VIEW_DESC desc{};
    desc.Format = kTensorFormat;
    desc.ViewDimension = D3D12_UAV_DIMENSION_BUFFER;
    desc.Buffer.NumElements = ElementCount(tensor);
    device.CreateUnorderedAccessView(&tensor, nullptr, &desc, handle);
}

void CreateImageWriteView(ID3D12Device& device, ID3D12Resource& texture, D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    D3D12_UNORDERED_ACCESS_VIEW_DESC desc{};
    desc.Format = kPixelFormat;
    desc.ViewDimension = D3D12_UAV_DIMENSION_TEXTURE2D;
    device.CreateUnorderedAccessView(&texture, nullptr, &desc, handle);
}

int32_t CreateFrameResources(ID3D12Device& device, FrameSize inputSize, const NetworkGraph& graph,
                             uint64_t maxViewElements, FrameResources& frame) {
    if (!CanBeCarried(inputSize, graph.plan, maxViewElements)) {
        return CheckGpuResource(E_INVALIDARG);
    }
    if (CreateTexture(device, inputSize, D3D12_RESOURCE_FLAG_NONE, D3D12_RESOURCE_STATE_GENERIC_READ,
                      frame.inputTexture) != 0 ||
        CreateStagingBuffer(device, D3D12_HEAP_TYPE_UPLOAD, *frame.inputTexture.Get(),
                            D3D12_RESOURCE_STATE_GENERIC_READ, L"Texture Upload Heap", frame.uploadHeap) != 0) {
        return -1;
    }

    if (CheckHResult(frame.textureDescriptors.Create(device, kDescriptorSlotCount), "CreateDescriptorHeap") != 0) {
        return -1;
    }
    CreateImageReadView(device, *frame.inputTexture.Get(), frame.textureDescriptors.GetCpuHandle(kReadSlot));
    CreateTensorWriteView(device, *graph.buffers.m_modelInput.Get(), frame.textureDescriptors.GetCpuHandle(kWriteSlot));

    if (CreateTexture(device, Upscaled(inputSize), D3D12_RESOURCE_FLAG_ALLOW_UNORDERED_ACCESS,
                      D3D12_RESOURCE_STATE_UNORDERED_ACCESS, frame.outputTexture) != 0) {
        return -1;
    }
    frame.outputTexture->SetName(L"Output Texture");
    const D3D12_RESOURCE_DESC outputDesc = GetDesc(frame.outputTexture.Get());
    device.GetCopyableFootprints(&outputDesc, 0, 1, 0, &frame.readbackFootprint, nullptr, nullptr, nullptr);
    return CreateStagingBuffer(device, D3D12_HEAP_TYPE_READBACK, *frame.outputTexture.Get(),
                               D3D12_RESOURCE_STATE_COPY_DEST, L"Output Texture Readback",
                               frame.m_outputTextureReadback);
}

}  // namespace orvane
