#include "bench/engine_frame.h"

#include "bench/worker.h"
#include "engine/row_copy.h"
#include "model/weight_loader.h"

namespace orvane::bench {
namespace {

void NoStamp() {
}

}  // namespace

EngineFrame::EngineFrame(FrameSize size, NetworkNumbers network, const std::string& modelPath)
    : m_size(size),
      m_layers(LayersOf(network)),
      m_input(MakePicture(size)),
      m_output(m_input.size() * kScale * kScale),
      m_resources(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 0) {
    WeightLoader weightLoader;
    Require(m_resources.CreateDeviceResources() == 0 && CreateDirectMLContext(m_resources, m_directML) == 0 &&
                CreateLayoutShaders(m_resources, m_shaders) == 0,
            "no device");
    ID3D12Device& device = *m_resources.GetD3DDevice();
    Require(SUCCEEDED(m_frame.depthToSpaceDescriptors.Create(device, kDescriptorSlotCount)) &&
                BuildNetworkGraph(m_resources, m_directML, size, MakeNetworkConfig(network.channels, network.depth),
                                  m_layers, modelPath, weightLoader, m_network) == 0 &&
                InitializeOperators(m_resources, m_directML, m_network, m_layers, m_bindings) == 0 &&
                CreateFrameResources(device, size, m_network, m_directML.maxViewElements, m_frame) == 0,
            "the network cannot be built");
    CreateStamps();
}

void EngineFrame::RunWhole() {
    RecordFrame(NoStamp);
    Submit();
    ReadBack();
}

void EngineFrame::RunConvolutions() {
    Require(m_resources.ResetCommandList() == 0, "the command list cannot be reset");
    FrameRecorder(m_resources, m_directML, m_shaders, m_network, m_bindings, m_frame).RunNetwork();
    Require(SUCCEEDED(m_resources.CloseCommandList()), "the command list cannot be closed");
    Submit();
}

std::vector<double> EngineFrame::RunApart() {
    UINT stampCount = 0;
    const double recording = Measure([&] {
        RecordFrame([&] {
            if (m_stamps) {
                m_resources.GetCommandList()->EndQuery(m_stamps.Get(), D3D12_QUERY_TYPE_TIMESTAMP, stampCount++);
            }
        });
    });
    const double submission = Measure([this] { Submit(); });
    const double rows = Measure([this] { ReadBack(); });

    std::vector<double> times{recording};
    const std::vector<double> stamped = ReadStamps();
    times.insert(times.end(), stamped.begin(), stamped.end());
    times.insert(times.end(), {submission, rows});
    return times;
}

// `stamp` is called before the first step and after each.
void EngineFrame::RecordFrame(const std::function<void()>& stamp) {
    Require(m_resources.ResetCommandList() == 0, "the command list cannot be reset");
    FrameRecorder recorder(m_resources, m_directML, m_shaders, m_network, m_bindings, m_frame);
    stamp();
    Require(recorder.UploadFrame(m_input.data(), m_input.size(), m_size.width * kBytesPerPixel) == 0, "no upload");
    stamp();
    recorder.ImageToTensor(m_size);
    stamp();
    RecordLayers(stamp);
    recorder.DepthToSpace();
    stamp();
    recorder.CopyToReadback();
    stamp();
    if (m_stamps) {
        const auto count = static_cast<UINT>(m_layers.size() + 5);
        m_resources.GetCommandList()->ResolveQueryData(m_stamps.Get(), D3D12_QUERY_TYPE_TIMESTAMP, 0, count,
                                                       m_stampValues.Get(), 0);
    }
    Require(SUCCEEDED(m_resources.CloseCommandList()), "the command list cannot be closed");
}

// As FrameRecorder::RunNetwork does.
void EngineFrame::RecordLayers(const std::function<void()>& stamp) {
    ID3D12GraphicsCommandList* const list = m_resources.GetCommandList();
    ID3D12DescriptorHeap* const heaps[] = {m_bindings.descriptorHeap.Get()};
    list->SetDescriptorHeaps(1, heaps);
    for (size_t i = 0; i < m_layers.size(); ++i) {
        m_directML.recorder->RecordDispatch(list, m_network.operators[i].Get(), m_bindings.bindingTables[i].Get());
        const auto barrier = CD3DX12_RESOURCE_BARRIER::UAV(nullptr);
        list->ResourceBarrier(1, &barrier);
        stamp();
    }
}

void EngineFrame::Submit() {
    Require(m_resources.ExecuteAndWait() == 0 && SUCCEEDED(m_resources.GetD3DDevice()->GetDeviceRemovedReason()) &&
                SUCCEEDED(m_directML.device->GetDeviceRemovedReason()),
            "the GPU failed");
}

void EngineFrame::ReadBack() {
    const D3D12_RESOURCE_DESC desc = GetDesc(m_frame.outputTexture.Get());
    D3D12_PLACED_SUBRESOURCE_FOOTPRINT footprint{};
    UINT64 byteSize = 0;
    m_resources.GetD3DDevice()->GetCopyableFootprints(&desc, 0, 1, 0, &footprint, nullptr, nullptr, &byteSize);
    const D3D12_RANGE range{0, static_cast<SIZE_T>(byteSize)};
    const D3D12_RANGE nothing{0, 0};
    void* data = nullptr;
    Require(SUCCEEDED(m_frame.m_outputTextureReadback->Map(0, &range, &data)), "the picture cannot be read");
    const uint32_t rowBytes = Doubled(m_size).width * kBytesPerPixel;
    CopyRows({static_cast<const uint8_t*>(data), range.End}, footprint.Footprint.RowPitch, m_output.data(),
             static_cast<int32_t>(rowBytes), rowBytes, Doubled(m_size).height);
    m_frame.m_outputTextureReadback->Unmap(0, &nothing);
}

// Before the first step, after upload, image2tensor, each layer, DepthToSpaceCRD and the copy.
void EngineFrame::CreateStamps() {
    ID3D12Device& device = *m_resources.GetD3DDevice();
    const auto count = static_cast<UINT>(m_layers.size() + 5);
    const D3D12_QUERY_HEAP_DESC desc{D3D12_QUERY_HEAP_TYPE_TIMESTAMP, count, 0};
    const CD3DX12_HEAP_PROPERTIES heap(D3D12_HEAP_TYPE_READBACK);
    const auto buffer = CD3DX12_RESOURCE_DESC::Buffer(count * sizeof(uint64_t));
    if (FAILED(m_resources.GetCommandQueue()->GetTimestampFrequency(&m_stampFrequency)) || m_stampFrequency == 0 ||
        FAILED(device.CreateCommittedResource(&heap, D3D12_HEAP_FLAG_NONE, &buffer, D3D12_RESOURCE_STATE_COPY_DEST,
                                              nullptr, IID_PPV_ARGS(m_stampValues.GetAddressOf()))) ||
        FAILED(device.CreateQueryHeap(&desc, IID_PPV_ARGS(m_stamps.GetAddressOf())))) {
        m_stamps.Reset();
    }
}

std::vector<double> EngineFrame::ReadStamps() const {
    const size_t count = m_layers.size() + 5;
    std::vector<double> milliseconds(count - 1);
    void* data = nullptr;
    if (!m_stamps || FAILED(m_stampValues->Map(0, nullptr, &data))) {
        return milliseconds;
    }
    const auto* const stamps = static_cast<const uint64_t*>(data);
    for (size_t i = 0; i + 1 < count; ++i) {
        milliseconds[i] = static_cast<double>(stamps[i + 1] - stamps[i]) * 1e3 / static_cast<double>(m_stampFrequency);
    }
    m_stampValues->Unmap(0, nullptr);
    return milliseconds;
}

}  // namespace orvane::bench
