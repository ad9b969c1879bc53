#include <array>
#include <vector>

#include "gpu/descriptor_heap.h"
#include "gpu/gpu_resource.h"
#include "tests/validation/alone.h"

// Bytecode, which the build compiles from brighten.hlsl.
#include "brighten.h"

namespace orvane::validation {
namespace {

constexpr UINT kSide = 16;
constexpr DXGI_FORMAT kFormat = DXGI_FORMAT_R8G8B8A8_UNORM;

class Brightening {
public:
    explicit Brightening(DX::DeviceResources& resources)
        : m_device(*resources.GetD3DDevice()), m_list(*resources.GetCommandList()) {
        CreateShader(resources.GetSystemLibraries());
        CreateTextures();
        CreateViews();
    }

    void Record(bool withFault) {
        const std::vector<uint8_t> pixels(size_t{kSide} * kSide * 4, 100);
        const D3D12_SUBRESOURCE_DATA data{pixels.data(), kSide * 4, static_cast<LONG_PTR>(pixels.size())};
        Transition(m_source, D3D12_RESOURCE_STATE_GENERIC_READ, D3D12_RESOURCE_STATE_COPY_DEST);
        Require(UpdateSubresources(&m_list, m_source.Get(), m_upload.Get(), 0, 0, 1, &data) != 0, "UpdateSubresources");
        Transition(m_source, D3D12_RESOURCE_STATE_COPY_DEST, D3D12_RESOURCE_STATE_GENERIC_READ);
        Dispatch();
        if (!withFault) {
            Transition(m_target, D3D12_RESOURCE_STATE_UNORDERED_ACCESS, D3D12_RESOURCE_STATE_COPY_SOURCE);
        }
        const CD3DX12_TEXTURE_COPY_LOCATION to(m_readback.Get(), m_footprint);
        const CD3DX12_TEXTURE_COPY_LOCATION from(m_target.Get(), 0);
        m_list.CopyTextureRegion(&to, 0, 0, 0, &from, nullptr);
        Transition(m_target, D3D12_RESOURCE_STATE_COPY_SOURCE, D3D12_RESOURCE_STATE_UNORDERED_ACCESS);
    }

private:
    void CreateShader(SystemLibraries& libraries) {
        const CD3DX12_DESCRIPTOR_RANGE read(D3D12_DESCRIPTOR_RANGE_TYPE_SRV, 1, 0);
        const CD3DX12_DESCRIPTOR_RANGE write(D3D12_DESCRIPTOR_RANGE_TYPE_UAV, 1, 0);
        std::array<CD3DX12_ROOT_PARAMETER, 3> parameters{};
        parameters[0].InitAsConstants(3, 0);
        parameters[1].InitAsDescriptorTable(1, &read);
        parameters[2].InitAsDescriptorTable(1, &write);
        const D3D12_ROOT_SIGNATURE_DESC desc{3, parameters.data(), 0, nullptr, D3D12_ROOT_SIGNATURE_FLAG_NONE};
        ComPtr<ID3DBlob> blob;
        Require(SUCCEEDED(libraries.D3D12SerializeRootSignature(desc, blob.GetAddressOf())), "root signature's text");
        Require(SUCCEEDED(m_device.CreateRootSignature(0, blob->GetBufferPointer(), blob->GetBufferSize(),
                                                       IID_PPV_ARGS(m_signature.GetAddressOf()))),
                "CreateRootSignature");
        D3D12_COMPUTE_PIPELINE_STATE_DESC pipeline{};
        pipeline.pRootSignature = m_signature.Get();
        pipeline.CS = {g_brighten, sizeof(g_brighten)};
        Require(SUCCEEDED(m_device.CreateComputePipelineState(&pipeline, IID_PPV_ARGS(m_pipeline.GetAddressOf()))),
                "CreateComputePipelineState");
    }

    void CreateTextures() {
        const auto source = CD3DX12_RESOURCE_DESC::Tex2D(kFormat, kSide, kSide, 1, 1);
        const auto target =
            CD3DX12_RESOURCE_DESC::Tex2D(kFormat, kSide, kSide, 1, 1, 1, 0, D3D12_RESOURCE_FLAG_ALLOW_UNORDERED_ACCESS);
        UINT64 byteSize = 0;
        m_device.GetCopyableFootprints(&target, 0, 1, 0, &m_footprint, nullptr, nullptr, &byteSize);
        const auto staging = CD3DX12_RESOURCE_DESC::Buffer(byteSize);
        Create(D3D12_HEAP_TYPE_DEFAULT, source, D3D12_RESOURCE_STATE_GENERIC_READ, m_source);
        Create(D3D12_HEAP_TYPE_DEFAULT, target, D3D12_RESOURCE_STATE_UNORDERED_ACCESS, m_target);
        Create(D3D12_HEAP_TYPE_UPLOAD, staging, D3D12_RESOURCE_STATE_GENERIC_READ, m_upload);
        Create(D3D12_HEAP_TYPE_READBACK, staging, D3D12_RESOURCE_STATE_COPY_DEST, m_readback);
    }

    void Create(D3D12_HEAP_TYPE heap, const D3D12_RESOURCE_DESC& desc, D3D12_RESOURCE_STATES state,
                ComPtr<ID3D12Resource>& resource) {
        Require(SUCCEEDED(CreateGpuResource(m_device, heap, desc, state, resource)), "CreateCommittedResource");
    }

    void CreateViews() {
        Require(SUCCEEDED(m_descriptors.Create(m_device, 2)), "CreateDescriptorHeap");
        m_device.CreateShaderResourceView(m_source.Get(), nullptr, m_descriptors.GetCpuHandle(0));
        m_device.CreateUnorderedAccessView(m_target.Get(), nullptr, nullptr, m_descriptors.GetCpuHandle(1));
    }

    void Transition(const ComPtr<ID3D12Resource>& resource, D3D12_RESOURCE_STATES before, D3D12_RESOURCE_STATES after) {
        const auto barrier = CD3DX12_RESOURCE_BARRIER::Transition(resource.Get(), before, after);
        m_list.ResourceBarrier(1, &barrier);
    }

    void Dispatch() {
        const struct {
            uint32_t height, width;
            float factor;
        } constants{kSide, kSide, 2};
        ID3D12DescriptorHeap* const heaps[] = {m_descriptors.Get()};
        m_list.SetDescriptorHeaps(1, heaps);
        m_list.SetComputeRootSignature(m_signature.Get());
        m_list.SetComputeRoot32BitConstants(0, 3, &constants, 0);
        m_list.SetComputeRootDescriptorTable(1, m_descriptors.GetGpuHandle(0));
        m_list.SetComputeRootDescriptorTable(2, m_descriptors.GetGpuHandle(1));
        m_list.SetPipelineState(m_pipeline.Get());
        m_list.Dispatch(kSide / 8, kSide / 8, 1);
    }

    ID3D12Device& m_device;
    ID3D12GraphicsCommandList& m_list;
    ComPtr<ID3D12RootSignature> m_signature;
    ComPtr<ID3D12PipelineState> m_pipeline;
    DescriptorHeap m_descriptors;
    ComPtr<ID3D12Resource> m_source, m_target, m_upload, m_readback;
    D3D12_PLACED_SUBRESOURCE_FOOTPRINT m_footprint{};
};

}  // namespace

void RunDirect3D(DX::DeviceResources& resources, bool withFault) {
    Brightening brightening(resources);
    for (int frame = 0; frame < 2; ++frame) {
        Require(resources.ResetCommandList() == 0, "Reset");
        brightening.Record(withFault);
        Require(SUCCEEDED(resources.CloseCommandList()), "Close");
        Require(resources.ExecuteAndWait() == 0, "ExecuteAndWait");
    }
}

}  // namespace orvane::validation
