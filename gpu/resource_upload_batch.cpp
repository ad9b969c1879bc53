#include "gpu/resource_upload_batch.h"

#include <cstdio>
#include <vector>

#include "gpu/gpu_resource.h"

namespace DirectX {
namespace {

using orvane::ComPtr;

void ThrowIfFailed(HRESULT hr) {
    if (FAILED(hr)) {
        throw com_exception(hr);
    }
}

// What must stay alive until the GPU has run one batch.
struct UploadBatch {
    std::vector<ComPtr<ID3D12DeviceChild>> trackedObjects;
    ComPtr<ID3D12CommandAllocator> commandAllocator;  // owns the memory of the recorded commands
    ComPtr<ID3D12GraphicsCommandList> commandList;
    ComPtr<ID3D12Fence> fence;
    HANDLE gpuCompleteEvent = nullptr;
};

void WaitForCompletion(const UploadBatch& batch) {
    const DWORD result = WaitForSingleObject(batch.gpuCompleteEvent, INFINITE);
    if (result == WAIT_FAILED) {
        ThrowIfFailed(HRESULT_FROM_WIN32(GetLastError()));
    } else if (result != WAIT_OBJECT_0) {
        throw upload_error("WaitForSingleObject");
    }
}

std::string DescribeResult(HRESULT hr) {
    char text[48] = {};
    std::snprintf(text, sizeof(text), "Failure with HRESULT of %08X", static_cast<unsigned int>(hr));
    return text;
}

}  // namespace

com_exception::com_exception(HRESULT hr) : m_result(hr), m_text(DescribeResult(hr)) {
}

class ResourceUploadBatch::Impl {
public:
    explicit Impl(ID3D12Device* device) : m_device(device) {}

    void Begin() {
        if (m_inBeginEndBlock) {
            throw upload_error("Can't Begin: already in a Begin-End block.");
        }
        ThrowIfFailed(m_device->CreateCommandAllocator(D3D12_COMMAND_LIST_TYPE_DIRECT,
                                                       IID_PPV_ARGS(m_commandAllocator.ReleaseAndGetAddressOf())));
        ThrowIfFailed(m_device->CreateCommandList(1, D3D12_COMMAND_LIST_TYPE_DIRECT, m_commandAllocator.Get(), nullptr,
                                                  IID_PPV_ARGS(m_commandList.ReleaseAndGetAddressOf())));
        m_inBeginEndBlock = true;
    }

    void Upload(ID3D12Resource* resource, uint32_t subresourceIndexStart, const D3D12_SUBRESOURCE_DATA* subresourceData,
                uint32_t numSubresources) {
        if (!m_inBeginEndBlock) {
            throw upload_error("Can't call Upload on a closed ResourceUploadBatch.");
        }
        const uint64_t uploadSize = GetRequiredIntermediateSize(resource, subresourceIndexStart, numSubresources);
        ComPtr<ID3D12Resource> scratch;
        ThrowIfFailed(orvane::CreateGpuResource(*m_device.Get(), D3D12_HEAP_TYPE_UPLOAD,
                                                CD3DX12_RESOURCE_DESC::Buffer(uploadSize),
                                                D3D12_RESOURCE_STATE_GENERIC_READ, scratch));
        if (UpdateSubresources(m_commandList.Get(), resource, scratch.Get(), 0, subresourceIndexStart, numSubresources,
                               subresourceData) == 0) {
            throw com_exception(E_FAIL);  // nothing was recorded: memory is exhausted, or the buffer cannot be mapped
        }
        m_trackedObjects.emplace_back(scratch);
    }

    std::future<void> End(ID3D12CommandQueue* commandQueue) {
        if (!m_inBeginEndBlock) {
            throw upload_error("ResourceUploadBatch already closed.");
        }
        ThrowIfFailed(m_commandList->Close());
        ID3D12CommandList* const commandLists[] = {m_commandList.Get()};
        commandQueue->ExecuteCommandLists(1, commandLists);

        ComPtr<ID3D12Fence> fence;
        ThrowIfFailed(m_device->CreateFence(0, D3D12_FENCE_FLAG_NONE, IID_PPV_ARGS(fence.GetAddressOf())));
        // Never closed: one handle for each open and each change of frame size, as documented for hosts.
        const HANDLE gpuCompleteEvent = CreateEventExW(nullptr, nullptr, 0, EVENT_ALL_ACCESS);
        if (gpuCompleteEvent == nullptr) {
            throw upload_error("CreateEventEx");
        }
        ThrowIfFailed(commandQueue->Signal(fence.Get(), 1));
        ThrowIfFailed(fence->SetEventOnCompletion(1, gpuCompleteEvent));

        m_submitted = std::make_shared<UploadBatch>();
        m_submitted->trackedObjects.swap(m_trackedObjects);
        m_submitted->commandAllocator = m_commandAllocator;
        m_submitted->commandList = m_commandList;
        m_submitted->fence = fence;
        m_submitted->gpuCompleteEvent = gpuCompleteEvent;
        // The task keeps the batch until the GPU is done, whether or not this object still exists. If waiting fails,
        // the future keeps it.
        std::future<void> future = std::async(std::launch::async, [batch = m_submitted]() mutable {
            WaitForCompletion(*batch);
            batch.reset();
        });
        m_submitted.reset();

        m_inBeginEndBlock = false;
        m_commandList.Reset();
        m_commandAllocator.Reset();
        return future;
    }

private:
    ComPtr<ID3D12Device> m_device;
    ComPtr<ID3D12CommandAllocator> m_commandAllocator;
    ComPtr<ID3D12GraphicsCommandList> m_commandList;
    std::vector<ComPtr<ID3D12DeviceChild>> m_trackedObjects;
    std::shared_ptr<UploadBatch> m_submitted;  // set only while no task owns it
    bool m_inBeginEndBlock = false;
};

ResourceUploadBatch::ResourceUploadBatch(ID3D12Device* device) : m_impl(std::make_unique<Impl>(device)) {
}

ResourceUploadBatch::~ResourceUploadBatch() = default;

void ResourceUploadBatch::Begin() {
    m_impl->Begin();
}

void ResourceUploadBatch::Upload(ID3D12Resource* resource, uint32_t subresourceIndexStart,
                                 const D3D12_SUBRESOURCE_DATA* subresourceData, uint32_t numSubresources) {
    m_impl->Upload(resource, subresourceIndexStart, subresourceData, numSubresources);
}

std::future<void> ResourceUploadBatch::End(ID3D12CommandQueue* commandQueue) {
    return m_impl->End(commandQueue);
}

}  // namespace DirectX
