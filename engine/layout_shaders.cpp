#include "engine/layout_shaders.h"

#include <span>

#include "api/log.h"
#include "engine/tensor_plan.h"

// Bytecode, which the build compiles from shaders/.
#include "DepthToSpaceCRD.h"
#include "image2tensor.h"

namespace orvane {
namespace {

constexpr UINT kImageLayoutConstantCount = sizeof(ImageLayoutConstants) / sizeof(uint32_t);
constexpr UINT kDepthToSpaceConstantCount = sizeof(DepthToSpaceConstants) / sizeof(uint32_t);
static_assert(kImageLayoutConstantCount == 3 && kDepthToSpaceConstantCount == 7);

int32_t CreateRootSignature(DX::DeviceResources& resources, UINT constantCount, const wchar_t* name,
                            ComPtr<ID3D12RootSignature>& rootSignature) {
    const CD3DX12_DESCRIPTOR_RANGE shaderResource(D3D12_DESCRIPTOR_RANGE_TYPE_SRV, 1, 0);
    const CD3DX12_DESCRIPTOR_RANGE unorderedAccess(D3D12_DESCRIPTOR_RANGE_TYPE_UAV, 1, 0);
    std::array<CD3DX12_ROOT_PARAMETER, 3> parameters{};
    parameters[kRootConstants].InitAsConstants(constantCount, 0);
    parameters[kRootShaderResource].InitAsDescriptorTable(1, &shaderResource);
    parameters[kRootUnorderedAccess].InitAsDescriptorTable(1, &unorderedAccess);
    const D3D12_ROOT_SIGNATURE_DESC desc{static_cast<UINT>(parameters.size()), parameters.data(), 0, nullptr,
                                         D3D12_ROOT_SIGNATURE_FLAG_NONE};

    ComPtr<ID3DBlob> blob;
    if (CheckHResult(resources.GetSystemLibraries().D3D12SerializeRootSignature(desc, blob.GetAddressOf()),
                     "D3D12SerializeRootSignature") != 0 ||
        CheckHResult(
            resources.GetD3DDevice()->CreateRootSignature(0, blob->GetBufferPointer(), blob->GetBufferSize(),
                                                          IID_PPV_ARGS(rootSignature.ReleaseAndGetAddressOf())),
            "CreateRootSignature") != 0) {
        return -1;
    }
    rootSignature->SetName(name);
    return 0;
}

int32_t CreatePipelineState(ID3D12Device& device, std::span<const unsigned char> bytecode, const wchar_t* name,
                            ComputeShader& shader) {
    D3D12_COMPUTE_PIPELINE_STATE_DESC desc{};
    desc.pRootSignature = shader.rootSignature.Get();
    desc.CS = {bytecode.data(), bytecode.size()};
    if (CheckHResult(
            device.CreateComputePipelineState(&desc, IID_PPV_ARGS(shader.pipelineState.ReleaseAndGetAddressOf())),
            "CreateComputePipelineState") != 0) {
        return -1;
    }
    shader.pipelineState->SetName(name);
    return 0;
}

}  // namespace

int32_t CreateLayoutShaders(DX::DeviceResources& resources, LayoutShaders& shaders) {
    ID3D12Device& device = *resources.GetD3DDevice();
    if (CreateRootSignature(resources, kImageLayoutConstantCount, L"Compute RS", shaders.imageToTensor.rootSignature) !=
            0 ||
        CreatePipelineState(device, g_image2tensor, L"Compute image2tensor PSO", shaders.imageToTensor) != 0 ||
        CreateRootSignature(resources, kDepthToSpaceConstantCount, L"DepthToSpaceCRD RS",
                            shaders.depthToSpace.rootSignature) != 0 ||
        CreatePipelineState(device, g_DepthToSpaceCRD, L"DepthToSpaceCRD PSO", shaders.depthToSpace) != 0) {
        return -1;
    }
    return 0;
}

}  // namespace orvane
