#include "engine/sample.h"

#include "api/log.h"
#include "engine/frame_recorder.h"
#include "engine/model_path.h"
#include "engine/performance_clock.h"
#include "engine/row_copy.h"
#include "gpu/gpu_resource.h"

namespace orvane {
namespace {

int64_t NowMicroseconds() {
    LARGE_INTEGER counter{};
    LARGE_INTEGER frequency{};
    QueryPerformanceCounter(&counter);
    QueryPerformanceFrequency(&frequency);
    return CounterToMicroseconds(counter.QuadPart, frequency.QuadPart);
}

}  // namespace

Sample::Sample() : m_deviceResources(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 1) {
    m_deviceResources.RegisterDeviceNotify(this);
}

Sample::~Sample() {
    m_deviceResources.WaitForGpu();
    DeviceLost();
}

int32_t Sample::Init(const orvane_open_param* record) {
    if (record == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "Parameter is null");
        return -1;
    }
    SetGeometry(*record);
    if (const int32_t result = m_deviceResources.CreateDeviceResources(); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to CreateDeviceResources, error code: %d", result);
        return -1;
    }
    m_networkConfig = MakeNetworkConfig(record->modelChannels, record->modelDepth);
    BuildLayerTable(m_networkConfig, m_layers);
    if (!IsValidNetworkConfig(m_networkConfig)) {
        LogMessage(ORVANE_LOG_ERROR, "Invalid network configuration");
        return -1;
    }
    if (const int32_t result = CreateDirectMLResources(); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to CreateDirectMLResources, error code: %d", result);
        return -1;
    }
    return 0;
}

int32_t Sample::InitResources() {
    if (const int32_t result = InitializeDirectMLResources(); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "fail InitializeDirectMLResources, error code: %d", result);
        return result;
    }
    if (const int32_t result = InitTextureResource(); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "fail InitTextureResource, error code: %d", result);
        return result;
    }
    m_initialized = true;
    return 0;
}

void Sample::Release() {
    m_initialized = false;
    m_deviceResources.WaitForGpu();
    m_frame = {};
    m_bindings = {};
    m_network = {};
}

int32_t Sample::Reinit(const orvane_open_param* record) {
    SetGeometry(*record);
    LogMessage(ORVANE_LOG_INFO, "Re-initializing with new resolution: %dx%d", static_cast<int>(m_geometry.input.width),
               static_cast<int>(m_geometry.input.height));
    if (const int32_t result = CreateDirectMLResources(); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to CreateDirectMLResources on Reinit, error code: %d", result);
        return -1;
    }
    if (const int32_t result = InitResources(); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to InitResources on Reinit, error code: %d", result);
        return -1;
    }
    return 0;
}

bool Sample::IsReady() const {
    return m_initialized && m_deviceResources.GetD3DDevice() != nullptr && m_network.buffers.m_modelInput &&
           m_network.buffers.m_modelOutput;
}

int32_t Sample::Infer(const orvane_frame* input, orvane_frame* output) {
    if (m_deviceResources.GetD3DDevice() == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "Error: Device resources not initialized");
        return -1;
    }
    if (output != nullptr && output->stride < 0) {
        LogMessage(ORVANE_LOG_ERROR, "Negative output stride is not supported: %d", output->stride);
        return -1;
    }
    const int64_t start = NowMicroseconds();
    if (RecordFrame(*input) != 0) {
        return -1;
    }
    if (m_deviceResources.ExecuteAndWait() != 0 || CheckDevices() != 0) {
        return -1;
    }
    if (output != nullptr && ReadBack(*input, *output) != 0) {
        return -1;
    }
    m_frameTimes.push_back(NowMicroseconds() - start);
    return 0;
}

void Sample::DeviceLost() {
    Release();
    m_weightLoader.ReleaseWeights();
    m_shaders = {};
    m_directML = {};
}

void Sample::SetGeometry(const orvane_open_param& record) {
    m_openParams = record;
    m_geometry.input = {record.inputWidth, record.inputHeight};
    m_geometry.output = Upscaled(m_geometry.input);
    m_geometry.pixelFormat = record.pixelFormat;
}

int32_t Sample::CreateDirectMLResources() {
    if (CreateDirectMLContext(m_deviceResources, m_directML) != 0 ||
        CreateLayoutShaders(m_deviceResources, m_shaders) != 0 ||
        CheckHResult(m_frame.depthToSpaceDescriptors.Create(*m_deviceResources.GetD3DDevice(), kDescriptorSlotCount),
                     "CreateDescriptorHeap") != 0) {
        return -1;
    }
    return BuildNetworkGraph(m_deviceResources, m_directML, m_geometry.input, m_networkConfig, m_layers,
                             ModelPath(m_openParams), m_weightLoader, m_network);
}

int32_t Sample::InitializeDirectMLResources() {
    return InitializeOperators(m_deviceResources, m_directML, m_network, m_layers, m_bindings);
}

int32_t Sample::InitTextureResource() {
    return CreateFrameResources(*m_deviceResources.GetD3DDevice(), m_geometry.input, m_network,
                                m_directML.maxViewElements, m_frame);
}

// Leaves the command list closed, ready to be executed.
int32_t Sample::RecordFrame(const orvane_frame& input) {
    if (m_deviceResources.ResetCommandList() != 0) {
        return -1;
    }
    FrameRecorder recorder(m_deviceResources, m_directML, m_shaders, m_network, m_bindings, m_frame);
    const auto byteSize = static_cast<uint64_t>(int64_t{input.height} * input.width * kBytesPerPixel);
    if (recorder.UploadFrame(input.data, byteSize, kBytesPerPixel * m_geometry.input.width) != 0) {
        return -1;
    }
    recorder.ImageToTensor(m_geometry.input);
    recorder.RunNetwork();
    recorder.DepthToSpace();
    recorder.CopyToReadback();
    if (const HRESULT hr = m_deviceResources.CloseCommandList(); FAILED(hr)) {
        LogMessage(ORVANE_LOG_ERROR, "Copy output texture to CPU failed! hr=0x%08X", static_cast<uint32_t>(hr));
        return -1;
    }
    return 0;
}

// On a removed device every wait ends at once without an error, and what is read back is not the frame.
int32_t Sample::CheckDevices() const {
    if (CheckHResult(m_deviceResources.GetD3DDevice()->GetDeviceRemovedReason(), "GetDeviceRemovedReason") != 0) {
        return -1;
    }
    return CheckHResult(m_directML.device->GetDeviceRemovedReason(), "GetDeviceRemovedReason");
}

int32_t Sample::ReadBack(const orvane_frame& input, orvane_frame& output) const {
    output.format = m_geometry.pixelFormat;
    output.userValue = input.userValue;

    ID3D12Resource& readback = *m_frame.m_outputTextureReadback.Get();
    const D3D12_RANGE readRange{0, static_cast<SIZE_T>(BufferSize(readback))};
    void* data = nullptr;
    if (CheckHResult(readback.Map(0, &readRange, &data), "m_outputTextureReadback") != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to m_outputTextureReadback, error code: %d", -1);
        return -1;
    }
    CopyRows({static_cast<const uint8_t*>(data), readRange.End}, m_frame.readbackFootprint.Footprint.RowPitch,
             static_cast<uint8_t*>(output.data), output.stride, m_geometry.output.width * kBytesPerPixel,
             m_geometry.output.height);
    const D3D12_RANGE nothingWritten{0, 0};
    readback.Unmap(0, &nothingWritten);
    return 0;
}

}  // namespace orvane
