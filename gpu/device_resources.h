// The Direct3D 12 objects that one engine works with: factory, device, queue, allocator, command list, fence.
#pragma once

#include <array>
#include <cstdint>

#include "gpu/event.h"
#include "gpu/platform.h"
#include "gpu/system_library.h"

namespace DX {

using orvane::ComPtr;

// Receives the owner's messages about the device.
class IDeviceNotify {
public:
    virtual void DeviceLost() = 0;      // release everything that lives on the device
    virtual void DeviceRestored() = 0;  // rebuild it

protected:
    ~IDeviceNotify() = default;
};

// Used by one thread at a time. There is no window and no swap chain, so there is one frame slot and nothing is
// presented. A lost device is not detected here: calls on it fail.
class DeviceResources {
public:
    // Creates nothing on the GPU yet. Throws std::out_of_range when `backBufferCount` exceeds 1 or
    // `minFeatureLevel` is below 11_0. `options` is stored and not interpreted.
    DeviceResources(DXGI_FORMAT backBufferFormat, DXGI_FORMAT depthBufferFormat, uint32_t backBufferCount,
                    D3D_FEATURE_LEVEL minFeatureLevel, uint32_t options);
    // Waits for the GPU, then releases everything.
    ~DeviceResources();
    DeviceResources(const DeviceResources&) = delete;
    DeviceResources& operator=(const DeviceResources&) = delete;

    // `notify` is not owned.
    void RegisterDeviceNotify(IDeviceNotify* notify) { m_deviceNotify = notify; }

    // Creates all objects on the best adapter. 0, or -1 with the reason logged. What exists by then stays until
    // destruction.
    int32_t CreateDeviceResources();

    // Blocks until the queue has finished everything submitted. Does nothing before the device exists. Returns without
    // an error when waiting is not possible.
    void WaitForGpu();

    // The libraries that everything on this device comes from.
    orvane::SystemLibraries& GetSystemLibraries() { return m_libraries; }

    // Borrowed. Null until CreateDeviceResources has created them.
    IDXGIFactory4* GetDXGIFactory() const { return m_dxgiFactory.Get(); }
    ID3D12Device* GetD3DDevice() const { return m_d3dDevice.Get(); }
    ID3D12CommandQueue* GetCommandQueue() const { return m_commandQueue.Get(); }
    ID3D12CommandAllocator* GetCommandAllocator() const { return m_commandAllocators[m_backBufferIndex].Get(); }
    ID3D12GraphicsCommandList* GetCommandList() const { return m_commandList.Get(); }
    ID3D12Fence* GetFence() const { return m_fence.Get(); }

    // The value that the next WaitForGpu signals.
    uint64_t GetFenceValue() const { return m_fenceValues[m_backBufferIndex]; }
    // The highest level that the device supports, at least the minimum once the device exists.
    D3D_FEATURE_LEVEL GetDeviceFeatureLevel() const { return m_d3dFeatureLevel; }

    // Resets the allocator and opens the command list on it, even if it was left open. 0, or -1 with the failing call
    // logged.
    int32_t ResetCommandList();
    HRESULT CloseCommandList();
    // Submits the closed command list and waits until it has run. 0, or -1 with the reason logged when waiting failed.
    // The list may still be running then.
    int32_t ExecuteAndWait();

private:
    static constexpr uint32_t kMaxBackBufferCount = 1;

    int32_t CreateDevice();
    void DetermineFeatureLevel();
    int32_t CreateCommandObjects();
    int32_t CreateFenceObjects();
    // 0 when nothing runs on the queue, else -1 with that logged.
    int32_t RequireIdleGpu();

    orvane::SystemLibraries m_libraries;  // outlives every object below
    uint32_t m_backBufferIndex = 0;
    ComPtr<IDXGIFactory4> m_dxgiFactory;  // outlives the device: Wine unloads the driver with the last factory
    ComPtr<ID3D12Device> m_d3dDevice;
    ComPtr<ID3D12CommandQueue> m_commandQueue;
    ComPtr<ID3D12GraphicsCommandList> m_commandList;
    std::array<ComPtr<ID3D12CommandAllocator>, kMaxBackBufferCount> m_commandAllocators;
    ComPtr<ID3D12Fence> m_fence;
    std::array<uint64_t, kMaxBackBufferCount> m_fenceValues{};
    orvane::Event m_fenceEvent;
    bool m_fenceValueIsSignalled = false;  // m_fenceValues has been signalled and not waited for
    bool m_gpuIsIdle = true;
    bool m_commandListIsOpen = false;
    DXGI_FORMAT m_backBufferFormat;
    DXGI_FORMAT m_depthBufferFormat;
    uint32_t m_backBufferCount;
    D3D_FEATURE_LEVEL m_minFeatureLevel;
    D3D_FEATURE_LEVEL m_d3dFeatureLevel = D3D_FEATURE_LEVEL_11_0;
    uint32_t m_options;
    IDeviceNotify* m_deviceNotify = nullptr;
};

}  // namespace DX
