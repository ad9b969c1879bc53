#include <algorithm>
#include <array>

#include "engine/convolution.h"
#include "engine/directml_context.h"
#include "gpu/descriptor_heap.h"
#include "gpu/gpu_resource.h"
#include "tests/validation/alone.h"

namespace orvane::validation {
namespace {

constexpr TensorShape kInput{1, 3, 8, 8};
constexpr TensorShape kFilter{12, 3, 3, 3};
constexpr TensorShape kBias{1, 12, 1, 1};
constexpr TensorShape kOutput{1, 12, 8, 8};

class Convolution {
public:
    explicit Convolution(DX::DeviceResources& resources)
        : m_device(*resources.GetD3DDevice()), m_list(*resources.GetCommandList()) {
        Require(CreateDirectMLContext(resources, m_context) == 0, "DirectML");
        Require(CreateConvolution(m_context, kInput, kFilter, kOutput, m_operator) == 0, "CreateConvolution");
        IDMLCompiledOperator* const operators[] = {m_operator.Get()};
        Require(SUCCEEDED(m_context.device->CreateOperatorInitializer(1, operators,
                                                                      IID_PPV_ARGS(m_initializer.GetAddressOf()))),
                "CreateOperatorInitializer");
        Require(SUCCEEDED(m_descriptors.Create(
                    m_device, std::max(DescriptorCount(*m_initializer.Get()), DescriptorCount(*m_operator.Get())))),
                "CreateDescriptorHeap");
        for (size_t i = 0; i < m_buffers.size(); ++i) {
            const uint64_t byteSize = CalcTensorSize(kShapes[i], m_context.layout);
            Require(SUCCEEDED(CreateGpuBuffer(m_device, byteSize, D3D12_RESOURCE_STATE_UNORDERED_ACCESS, m_buffers[i])),
                    "CreateCommittedResource");
            m_bindings[i] = {m_buffers[i].Get(), 0, byteSize};
            m_descs[i] = {DML_BINDING_TYPE_BUFFER, &m_bindings[i]};
        }
    }

    void RecordInitialization() {
        SetTable(*m_initializer.Get());
        const DML_BINDING_DESC nothing{DML_BINDING_TYPE_NONE, nullptr};
        m_table->BindOutputs(1, &nothing);
        Record(*m_initializer.Get());
    }

    void RecordOperator() {
        SetTable(*m_operator.Get());
        m_table->BindInputs(3, m_descs.data());
        m_table->BindOutputs(1, &m_descs[3]);
        Record(*m_operator.Get());
    }

private:
    static constexpr std::array<TensorShape, 4> kShapes{kInput, kFilter, kBias, kOutput};

    static uint32_t DescriptorCount(IDMLDispatchable& dispatchable) {
        const DML_BINDING_PROPERTIES properties = GetBindingProperties(&dispatchable);
        Require(properties.TemporaryResourceSize == 0 && properties.PersistentResourceSize == 0,
                "memory of DirectML's");
        return properties.RequiredDescriptorCount;
    }

    void SetTable(IDMLDispatchable& dispatchable) {
        const DML_BINDING_TABLE_DESC desc{&dispatchable, m_descriptors.GetCpuHandle(0), m_descriptors.GetGpuHandle(0),
                                          DescriptorCount(dispatchable)};
        Require(SUCCEEDED(m_context.device->CreateBindingTable(&desc, IID_PPV_ARGS(m_table.ReleaseAndGetAddressOf()))),
                "CreateBindingTable");
    }

    void Record(IDMLDispatchable& dispatchable) {
        ID3D12DescriptorHeap* const heaps[] = {m_descriptors.Get()};
        m_list.SetDescriptorHeaps(1, heaps);
        m_context.recorder->RecordDispatch(&m_list, &dispatchable, m_table.Get());
    }

    ID3D12Device& m_device;
    ID3D12GraphicsCommandList& m_list;
    DirectMLContext m_context;
    ComPtr<IDMLCompiledOperator> m_operator;
    ComPtr<IDMLOperatorInitializer> m_initializer;
    ComPtr<IDMLBindingTable> m_table;
    DescriptorHeap m_descriptors;
    std::array<ComPtr<ID3D12Resource>, 4> m_buffers;
    std::array<DML_BUFFER_BINDING, 4> m_bindings{};
    std::array<DML_BINDING_DESC, 4> m_descs{};
};

void Execute(DX::DeviceResources& resources) {
    Require(SUCCEEDED(resources.CloseCommandList()), "Close");
    Require(resources.ExecuteAndWait() == 0, "ExecuteAndWait");
    Require(resources.ResetCommandList() == 0, "Reset");
}

}  // namespace

void RunDirectML(DX::DeviceResources& resources) {
    Require(resources.ResetCommandList() == 0, "Reset");
    Convolution convolution(resources);
    convolution.RecordInitialization();
    Execute(resources);
    for (int frame = 0; frame < 2; ++frame) {
        convolution.RecordOperator();
        Execute(resources);
    }
}

}  // namespace orvane::validation
