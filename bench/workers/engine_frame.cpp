#include "bench/workers/engine_frame.h"

#include "engine/row_copy.h"
#include "gpu/gpu_resource.h"
#include "model/weight_loader.h"

namespace orvane::bench {
namespace {

void NoStamp() {
}

}  // namespace

EngineFrame::EngineFrame(const OpenArguments& open, const std::optional<OperatorVariant>& variant,
                         std::vector<double>& times)
    : m_size(open.size),
      m_layers(open.network.Layers()),
      m_input(MakeImage(open.size)),
      m_output(m_input.size() * kScale * kScale),
      m_resources(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 0),
      m_stampCount(static_cast<UINT>(m_layers.size()) + 5) {
    const auto step = [&times](const char* name, const std::function<int32_t()>& work) {
        int32_t result = 0;
        times.push_back(Measure([&] { result = work(); }));
        Require(result == 0, std::string("it fails: ") + name);
    };
    step("device", [&] { return m_resources.CreateDeviceResources(); });
    step("DirectML", [&] { return CreateDirectMLContext(m_resources, m_directML); });
    std::optional<ChangedOperators> changed;
    if (variant) {
        m_directML.layout = variant->layout;
        m_directML.executionFlags = variant->flags;
        changed.emplace(m_directML, m_network.weights, variant->changes);
    }
    ID3D12Device& device = *m_resources.GetD3DDevice();
    step("shaders", [&] { return CreateLayoutShaders(m_resources, m_shaders); });
    step("network", [&] {
        WeightLoader weightLoader;
        return BuildNetworkGraph(m_resources, m_directML, m_size, open.network.Config(), m_layers, open.modelPath,
                                 weightLoader, m_network);
    });
    step("initialisation",
         [&] { return InitializeOperators(m_resources, m_directML, m_network, m_layers, m_bindings); });
    step("textures", [&] {
        const HRESULT hr = m_frame.depthToSpaceDescriptors.Create(device, kDescriptorSlotCount);
        return FAILED(hr) ? -1 : CreateFrameResources(device, m_size, m_network, m_directML.maxViewElements, m_frame);
    });
    CreateStamps();
}

void EngineFrame::RunWhole() {
    RecordFrame(NoStamp);
    Submit();
    ReadBack();
}

void EngineFrame::RunConvolutions() {
    Require(m_resources.ResetCommandList() == 0, "the command list cannot be reset");
    RecordLayers(NoStamp);
    Submit();
}

std::vector<double> EngineFrame::RunApart() {
    ID3D12GraphicsCommandList* const list = m_resources.GetCommandList();
    UINT count = 0;
    const double recording =
        Measure([&] { RecordFrame([&] { list->EndQuery(m_stamps.Get(), D3D12_QUERY_TYPE_TIMESTAMP, count++); }); });
    list->ResolveQueryData(m_stamps.Get(), D3D12_QUERY_TYPE_TIMESTAMP, 0, m_stampCount, m_stampValues.Get(), 0);
    const double submission = Measure([this] { Submit(); });
    const double rows = Measure([this] { ReadBack(); });

    std::vector<double> times{recording};
    const std::vector<double> stamped = ReadStamps();
    times.insert(times.end(), stamped.begin(), stamped.end());
    times.insert(times.end(), {submission, rows});
    return times;
}

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
    Require(SUCCEEDED(m_resources.CloseCommandList()), "the command list cannot be closed");
    Require(m_resources.ExecuteAndWait() == 0 && SUCCEEDED(m_resources.GetD3DDevice()->GetDeviceRemovedReason()) &&
                SUCCEEDED(m_directML.device->GetDeviceRemovedReason()),
            "the GPU failed");
}

void EngineFrame::ReadBack() {
    ID3D12Resource& readback = *m_frame.m_outputTextureReadback.Get();
    const D3D12_RANGE range{0, static_cast<SIZE_T>(BufferSize(readback))};
    const D3D12_RANGE nothing{0, 0};
    void* data = nullptr;
    Require(SUCCEEDED(readback.Map(0, &range, &data)), "the image cannot be read");
    const uint32_t rowBytes = Upscaled(m_size).width * kBytesPerPixel;
    CopyRows({static_cast<const uint8_t*>(data), range.End}, m_frame.readbackFootprint.Footprint.RowPitch,
             m_output.data(), static_cast<int32_t>(rowBytes), rowBytes, Upscaled(m_size).height);
    readback.Unmap(0, &nothing);
}

// Before the first step, after upload, image2tensor, each layer, DepthToSpaceCRD and the copy.
void EngineFrame::CreateStamps() {
    ID3D12Device& device = *m_resources.GetD3DDevice();
    const D3D12_QUERY_HEAP_DESC desc{D3D12_QUERY_HEAP_TYPE_TIMESTAMP, m_stampCount, 0};
    const CD3DX12_HEAP_PROPERTIES heap(D3D12_HEAP_TYPE_READBACK);
    const auto buffer = CD3DX12_RESOURCE_DESC::Buffer(m_stampCount * sizeof(uint64_t));
    Require(SUCCEEDED(m_resources.GetCommandQueue()->GetTimestampFrequency(&m_stampFrequency)) &&
                SUCCEEDED(device.CreateCommittedResource(&heap, D3D12_HEAP_FLAG_NONE, &buffer,
                                                         D3D12_RESOURCE_STATE_COPY_DEST, nullptr,
                                                         IID_PPV_ARGS(m_stampValues.GetAddressOf()))) &&
                SUCCEEDED(device.CreateQueryHeap(&desc, IID_PPV_ARGS(m_stamps.GetAddressOf()))),
            "the queue has no time stamps");
}

std::vector<double> EngineFrame::ReadStamps() const {
    void* data = nullptr;
    Require(SUCCEEDED(m_stampValues->Map(0, nullptr, &data)), "the time stamps cannot be read");
    const auto* const stamps = static_cast<const uint64_t*>(data);
    std::vector<double> milliseconds;
    for (UINT i = 0; i + 1 < m_stampCount; ++i) {
        milliseconds.push_back(static_cast<double>(stamps[i + 1] - stamps[i]) * 1e3 /
                               static_cast<double>(m_stampFrequency));
    }
    m_stampValues->Unmap(0, nullptr);
    return milliseconds;
}

}  // namespace orvane::bench
