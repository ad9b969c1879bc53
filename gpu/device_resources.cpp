#include "gpu/device_resources.h"

#include <cstdio>
#include <cwchar>
#include <stdexcept>

#include "api/log.h"
#include "gpu/adapter_selection.h"

namespace DX {

using orvane::CheckHResult;
using orvane::LogMessage;

DeviceResources::DeviceResources(DXGI_FORMAT backBufferFormat, DXGI_FORMAT depthBufferFormat, uint32_t backBufferCount,
                                 D3D_FEATURE_LEVEL minFeatureLevel, uint32_t options)
    : m_backBufferFormat(backBufferFormat),
      m_depthBufferFormat(depthBufferFormat),
      m_backBufferCount(backBufferCount),
      m_minFeatureLevel(minFeatureLevel),
      m_options(options) {
    if (backBufferCount > kMaxBackBufferCount) {
        throw std::out_of_range("backBufferCount too large");
    }
    if (minFeatureLevel < D3D_FEATURE_LEVEL_11_0) {
        throw std::out_of_range("minFeatureLevel too low");
    }
}

DeviceResources::~DeviceResources() {
    WaitForGpu();
}

int32_t DeviceResources::CreateDeviceResources() {
    if (CreateDevice() != 0) {
        return -1;
    }
    DetermineFeatureLevel();
    if (CreateCommandObjects() != 0) {
        return -1;
    }
    return CreateFenceObjects();
}

int32_t DeviceResources::CreateDevice() {
    constexpr UINT kFactoryFlags = 0;
    if (CheckHResult(
            m_libraries.CreateDXGIFactory2(kFactoryFlags, IID_PPV_ARGS(m_dxgiFactory.ReleaseAndGetAddressOf())),
            "CreateDXGIFactory2") != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to CreateDXGIFactory2, error code: %d", -1);
        return -1;
    }
    const ComPtr<IDXGIAdapter1> adapter = orvane::SelectBestAdapter(*m_dxgiFactory.Get(), nullptr).adapter;
    if (!adapter) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to selected Adapter");
        return -1;
    }
    if (CheckHResult(m_libraries.D3D12CreateDevice(adapter.Get(), m_minFeatureLevel,
                                                   IID_PPV_ARGS(m_d3dDevice.ReleaseAndGetAddressOf())),
                     "D3D12CreateDevice") != 0) {
        return -1;
    }
    m_d3dDevice->SetName(L"DeviceResources");
    return 0;
}

void DeviceResources::DetermineFeatureLevel() {
    constexpr std::array kLevels{D3D_FEATURE_LEVEL_12_1, D3D_FEATURE_LEVEL_12_0, D3D_FEATURE_LEVEL_11_1,
                                 D3D_FEATURE_LEVEL_11_0};
    D3D12_FEATURE_DATA_FEATURE_LEVELS levels{static_cast<UINT>(kLevels.size()), kLevels.data(), D3D_FEATURE_LEVEL_11_0};
    const HRESULT hr = m_d3dDevice->CheckFeatureSupport(D3D12_FEATURE_FEATURE_LEVELS, &levels, sizeof(levels));
    m_d3dFeatureLevel = SUCCEEDED(hr) ? levels.MaxSupportedFeatureLevel : m_minFeatureLevel;
}

int32_t DeviceResources::CreateCommandObjects() {
    constexpr D3D12_COMMAND_LIST_TYPE kType = D3D12_COMMAND_LIST_TYPE_DIRECT;
    const D3D12_COMMAND_QUEUE_DESC queueDesc{kType, D3D12_COMMAND_QUEUE_PRIORITY_NORMAL, D3D12_COMMAND_QUEUE_FLAG_NONE,
                                             0};
    if (CheckHResult(m_d3dDevice->CreateCommandQueue(&queueDesc, IID_PPV_ARGS(m_commandQueue.ReleaseAndGetAddressOf())),
                     "CreateCommandQueue") != 0) {
        return -1;
    }
    m_commandQueue->SetName(L"DeviceResources");

    for (uint32_t n = 0; n < m_backBufferCount; ++n) {
        ComPtr<ID3D12CommandAllocator>& allocator = m_commandAllocators[n];
        if (CheckHResult(m_d3dDevice->CreateCommandAllocator(kType, IID_PPV_ARGS(allocator.ReleaseAndGetAddressOf())),
                         "CreateCommandAllocator") != 0) {
            return -1;
        }
        std::array<wchar_t, 25> name{};
        std::swprintf(name.data(), name.size(), L"Render target %u", n);
        allocator->SetName(name.data());
    }

    if (CheckHResult(m_d3dDevice->CreateCommandList(0, kType, m_commandAllocators[0].Get(), nullptr,
                                                    IID_PPV_ARGS(m_commandList.ReleaseAndGetAddressOf())),
                     "CreateCommandList") != 0) {
        return -1;
    }
    m_commandList->Close();  // it is reset before each use
    m_commandList->SetName(L"DeviceResources");
    return 0;
}

int32_t DeviceResources::CreateFenceObjects() {
    uint64_t& fenceValue = m_fenceValues[m_backBufferIndex];
    if (CheckHResult(
            m_d3dDevice->CreateFence(fenceValue, D3D12_FENCE_FLAG_NONE, IID_PPV_ARGS(m_fence.ReleaseAndGetAddressOf())),
            "CreateFence") != 0) {
        return -1;
    }
    ++fenceValue;
    m_fence->SetName(L"DeviceResources");

    m_fenceEvent.Attach(CreateEventExW(nullptr, nullptr, 0, EVENT_MODIFY_STATE | SYNCHRONIZE));
    if (!m_fenceEvent.IsValid()) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to CreateEventEx");
        return -1;
    }
    return 0;
}

void DeviceResources::WaitForGpu() {
    if (m_commandListIsOpen) {
        CloseCommandList();  // the recording was abandoned, and what it refers to may be released next
    }
    if (!m_commandQueue || !m_fence || !m_fenceEvent.IsValid()) {
        return;
    }
    uint64_t& fenceValue = m_fenceValues[m_backBufferIndex];
    if (m_fenceValueIsSignalled) {
        ++fenceValue;  // a wait for this value was abandoned, and it may already have been reached
    }
    m_fenceValueIsSignalled = SUCCEEDED(m_commandQueue->Signal(m_fence.Get(), fenceValue));
    if (!m_fenceValueIsSignalled || FAILED(m_fence->SetEventOnCompletion(fenceValue, m_fenceEvent.Get()))) {
        return;
    }
    // The event may still be set from an abandoned wait.
    do {
        if (WaitForSingleObjectEx(m_fenceEvent.Get(), INFINITE, FALSE) != WAIT_OBJECT_0) {
            return;
        }
    } while (m_fence->GetCompletedValue() < fenceValue);
    ++fenceValue;
    m_fenceValueIsSignalled = false;
    m_gpuIsIdle = true;
}

int32_t DeviceResources::RequireIdleGpu() {
    if (!m_gpuIsIdle) {
        WaitForGpu();
    }
    if (!m_gpuIsIdle) {
        CheckHResult(m_d3dDevice->GetDeviceRemovedReason(), "GetDeviceRemovedReason");  // the likely reason
        LogMessage(ORVANE_LOG_ERROR, "Failed to WaitForGpu, error code: %d", -1);
        return -1;
    }
    return 0;
}

int32_t DeviceResources::ResetCommandList() {
    // An earlier list that could not be waited for may still be running from the memory that is reset here.
    if (RequireIdleGpu() != 0) {
        return -1;
    }
    if (m_commandListIsOpen) {
        CloseCommandList();
    }
    ID3D12CommandAllocator* const allocator = GetCommandAllocator();
    if (CheckHResult(allocator->Reset(), "ResetCommandAllocator") != 0 ||
        CheckHResult(m_commandList->Reset(allocator, nullptr), "ResetCommandList") != 0) {
        return -1;
    }
    m_commandListIsOpen = true;
    return 0;
}

HRESULT DeviceResources::CloseCommandList() {
    m_commandListIsOpen = false;
    return m_commandList->Close();
}

int32_t DeviceResources::ExecuteAndWait() {
    ID3D12CommandList* const commandLists[] = {m_commandList.Get()};
    m_gpuIsIdle = false;
    m_commandQueue->ExecuteCommandLists(1, commandLists);
    return RequireIdleGpu();
}

}  // namespace DX
