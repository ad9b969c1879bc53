// The GPU platform's parts on a real device: device resources, upload batch, descriptor heap.
#include <cstring>
#include <gtest/gtest.h>
#include <numeric>
#include <stdexcept>

#include "engine/model_path.h"
#include "engine/sample.h"
#include "engine/tensor_buffers.h"
#include "gpu/descriptor_heap.h"
#include "gpu/device_resources.h"
#include "gpu/gpu_resource.h"
#include "gpu/removed_reason.h"
#include "gpu/resource_upload_batch.h"
#include "tests/support/log_capture.h"
#include "tests/support/reference_network.h"
#include "tests/support/temp_folder.h"
#include "tools/hooks/function_tables.h"

namespace orvane {
namespace {

template <typename Exception, typename Function>
std::string ThrownText(Function&& function) {
    try {
        function();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

TEST(DeviceResources, RefusesWhatItCannotDo) {
    const auto error = [](uint32_t backBufferCount, D3D_FEATURE_LEVEL level) {
        return ThrownText<std::out_of_range>(
            [&] { DX::DeviceResources(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, backBufferCount, level, 1); });
    };
    EXPECT_EQ(error(2, D3D_FEATURE_LEVEL_10_1), "backBufferCount too large");
    EXPECT_EQ(error(1, D3D_FEATURE_LEVEL_10_1), "minFeatureLevel too low");
    EXPECT_EQ(error(0, D3D_FEATURE_LEVEL_11_0), "nothing was thrown");
}

class Device : public testing::Test {
protected:
    void SetUp() override {
        m_resources.WaitForGpu();  // for nothing, before the device exists
        ASSERT_EQ(m_resources.GetFenceValue(), 0U);
        ASSERT_EQ(m_resources.CreateDeviceResources(), 0);
    }

    DX::DeviceResources m_resources{DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 1};
};

TEST_F(Device, CountsItsWaits) {
    EXPECT_EQ(m_resources.GetFenceValue(), 1U);
    EXPECT_GE(m_resources.GetDeviceFeatureLevel(), D3D_FEATURE_LEVEL_11_0);
    m_resources.WaitForGpu();
    m_resources.WaitForGpu();
    EXPECT_EQ(m_resources.GetFenceValue(), 3U);
    EXPECT_EQ(m_resources.GetFence()->GetCompletedValue(), 2U);
}

HRESULT g_levelsResult = S_OK;
HRESULT STDMETHODCALLTYPE AnswerLevels(ID3D12Device* /*device*/, D3D12_FEATURE feature, void* data, UINT /*size*/) {
    EXPECT_EQ(feature, D3D12_FEATURE_FEATURE_LEVELS);
    static_cast<D3D12_FEATURE_DATA_FEATURE_LEVELS*>(data)->MaxSupportedFeatureLevel = D3D_FEATURE_LEVEL_12_1;
    return g_levelsResult;
}

TEST_F(Device, HasTheHighestLevelThatItReportsOrTheLeast) {
    void** const entry = *reinterpret_cast<void***>(m_resources.GetD3DDevice()) + 13;  // CheckFeatureSupport
    ReplaceEntry(entry, Address(&AnswerLevels));
    for (const auto& [result, level] : {std::pair{S_OK, D3D_FEATURE_LEVEL_12_1}, {E_FAIL, D3D_FEATURE_LEVEL_11_0}}) {
        g_levelsResult = result;
        DX::DeviceResources resources(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 1);
        EXPECT_EQ(resources.CreateDeviceResources(), 0);
        EXPECT_EQ(resources.GetDeviceFeatureLevel(), level);
    }
    ReplaceEntry(entry, Original(entry));
}

TEST_F(Device, DescriptorsLieInTheHeapOrNowhere) {
    DescriptorHeap heap;
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { heap.GetCpuHandle(0); }), "D3DX12_CPU_DESCRIPTOR_HANDLE");
    ASSERT_EQ(heap.Create(*m_resources.GetD3DDevice(), 2), S_OK);
    const UINT increment =
        m_resources.GetD3DDevice()->GetDescriptorHandleIncrementSize(D3D12_DESCRIPTOR_HEAP_TYPE_CBV_SRV_UAV);
    EXPECT_EQ(heap.GetCpuHandle(1).ptr - heap.GetCpuHandle(0).ptr, increment);
    EXPECT_EQ(heap.GetGpuHandle(1).ptr - heap.GetGpuHandle(0).ptr, increment);
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { heap.GetCpuHandle(2); }), "D3DX12_CPU_DESCRIPTOR_HANDLE");
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { heap.GetGpuHandle(2); }), "D3DX12_GPU_DESCRIPTOR_HANDLE");
}

TEST_F(Device, UploadBatchRefusesCallsOutOfOrder) {
    using Error = DirectX::upload_error;
    DirectX::ResourceUploadBatch batch(m_resources.GetD3DDevice());
    const auto begin = [&] { batch.Begin(); };
    const auto upload = [&] { batch.Upload(nullptr, 0, nullptr, 0); };
    const auto end = [&] { batch.End(m_resources.GetCommandQueue()).wait(); };
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(ThrownText<Error>(upload), "Can't call Upload on a closed ResourceUploadBatch.");
        EXPECT_EQ(ThrownText<Error>(end), "ResourceUploadBatch already closed.");
        begin();
        EXPECT_EQ(ThrownText<Error>(begin), "Can't Begin: already in a Begin-End block.");
        end();
    }
}

// Copies a buffer back to the host.
std::vector<uint8_t> ReadBack(DX::DeviceResources& resources, ID3D12Resource* buffer, size_t byteCount) {
    const CD3DX12_HEAP_PROPERTIES heap(D3D12_HEAP_TYPE_READBACK);
    const auto desc = CD3DX12_RESOURCE_DESC::Buffer(byteCount);
    ComPtr<ID3D12Resource> readback;
    EXPECT_EQ(resources.GetD3DDevice()->CreateCommittedResource(&heap, D3D12_HEAP_FLAG_NONE, &desc,
                                                                D3D12_RESOURCE_STATE_COPY_DEST, nullptr,
                                                                IID_PPV_ARGS(readback.GetAddressOf())),
              S_OK);
    EXPECT_EQ(resources.ResetCommandList(), 0);
    resources.GetCommandList()->CopyResource(readback.Get(), buffer);
    EXPECT_EQ(resources.CloseCommandList(), S_OK);
    EXPECT_EQ(resources.ExecuteAndWait(), 0);
    void* data = nullptr;
    EXPECT_EQ(readback->Map(0, nullptr, &data), S_OK);
    std::vector<uint8_t> bytes(byteCount);
    std::memcpy(bytes.data(), data, byteCount);
    readback->Unmap(0, nullptr);
    return bytes;
}

TEST_F(Device, UploadBatchOutlivedByItsUploads) {
    constexpr size_t kBytes = 100'000;
    std::vector<uint8_t> bytes(kBytes);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    std::array<ComPtr<ID3D12Resource>, 3> buffers;
    // Holds the GPU back until the batch object is gone.
    ComPtr<ID3D12Fence> gate;
    ASSERT_EQ(m_resources.GetD3DDevice()->CreateFence(0, D3D12_FENCE_FLAG_NONE, IID_PPV_ARGS(gate.GetAddressOf())),
              S_OK);
    ASSERT_EQ(m_resources.GetCommandQueue()->Wait(gate.Get(), 1), S_OK);
    std::future<void> done;
    {
        DirectX::ResourceUploadBatch batch(m_resources.GetD3DDevice());
        batch.Begin();
        for (auto& buffer : buffers) {
            ASSERT_EQ(CreateGpuBuffer(*m_resources.GetD3DDevice(), kBytes, D3D12_RESOURCE_STATE_COMMON, buffer), S_OK);
            std::vector<uint8_t> source(bytes);
            const D3D12_SUBRESOURCE_DATA data{source.data(), 0, 0};
            batch.Upload(buffer.Get(), 0, &data, 1);
            std::fill(source.begin(), source.end(), uint8_t{0});  // it has been copied
        }
        done = batch.End(m_resources.GetCommandQueue());
    }
    ASSERT_EQ(gate->Signal(1), S_OK);
    done.get();
    for (auto& buffer : buffers) {
        EXPECT_EQ(ReadBack(m_resources, buffer.Get(), kBytes), bytes);
    }
}

TEST(Engine, ExplainsWhyADeviceIsGone) {
    const std::pair<HRESULT, std::string> cases[] = {
        {DXGI_ERROR_DEVICE_REMOVED, "REMOVED - GPU driver crashed or device was physically removed"},
        {DXGI_ERROR_DEVICE_RESET, "RESET - GPU driver was reset"},
        {DXGI_ERROR_DEVICE_HUNG, "HUNG - GPU hung and couldn't recover"},
    };
    for (const auto& [reason, text] : cases) {
        EXPECT_EQ(ExplainRemovedReason(reason), "DXGI_ERROR_DEVICE_" + text);
    }
    EXPECT_STREQ(ExplainRemovedReason(DXGI_ERROR_DRIVER_INTERNAL_ERROR),
                 "DXGI_ERROR_DRIVER_INTERNAL_ERROR - Internal driver error");
    EXPECT_STREQ(ExplainRemovedReason(DXGI_ERROR_INVALID_CALL), "DXGI_ERROR_INVALID_CALL - Invalid API call");
    EXPECT_EQ(ExplainRemovedReason(S_OK), nullptr);
}

TEST(Engine, ReadsNoPathBeyondItsField) {
    struct {
        orvane_open_param record;
        char beyond[8];
    } memory{};
    std::memset(&memory, 'x', sizeof(memory) - 1);
    EXPECT_EQ(ModelPath(memory.record), std::string(sizeof(memory.record.modelPath), 'x'));
    memory.record.modelPath[3] = '\0';
    EXPECT_EQ(ModelPath(memory.record), "xxx");
}

TEST(Engine, IsReadyFromItsResourcesToItsRelease) {
    const TempFolder folder;
    const test::ReferenceNetwork network = test::MakeRandomNetwork(4, 0, 1);
    orvane_open_param param{};
    param.inputWidth = param.inputHeight = 8;
    param.modelChannels = network.channels;
    param.modelDepth = network.depth;
    folder.Write("model.bin", test::ModelFile(network)).string().copy(param.modelPath, sizeof(param.modelPath) - 1);
    Sample engine;
    ASSERT_EQ(engine.Init(&param), 0);
    EXPECT_FALSE(engine.IsReady());
    ASSERT_EQ(engine.InitResources(), 0);
    EXPECT_TRUE(engine.IsReady());
    engine.Release();
    EXPECT_FALSE(engine.IsReady());
}

TEST(Engine, ThatWasNeverSetUpRefusesAndGoesAway) {
    LogCapture log;
    Sample engine;
    EXPECT_EQ(engine.Init(nullptr), -1);
    EXPECT_FALSE(engine.IsReady());
    orvane_frame frame{};
    EXPECT_EQ(engine.Infer(&frame, &frame), -1);
    EXPECT_EQ(log.Take(), (LogEntries{{ORVANE_LOG_ERROR, "Parameter is null"},
                                      {ORVANE_LOG_ERROR, "Error: Device resources not initialized"}}));
}

}  // namespace
}  // namespace orvane
