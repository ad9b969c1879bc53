#include "engine/operator_bindings.h"

#include <algorithm>
#include <array>

#include "api/log.h"
#include "gpu/gpu_resource.h"

namespace orvane {
namespace {

// A binding of a whole buffer, or of nothing. DML_BINDING_DESC points into it, so it must not be moved.
class BufferBinding {
public:
    explicit BufferBinding(ID3D12Resource* buffer) : m_buffer{buffer, 0, buffer != nullptr ? BufferSize(*buffer) : 0} {}

    DML_BINDING_DESC Get() const {
        if (m_buffer.Buffer == nullptr) {
            return {DML_BINDING_TYPE_NONE, nullptr};
        }
        return {DML_BINDING_TYPE_BUFFER, &m_buffer};
    }

private:
    DML_BUFFER_BINDING m_buffer;
};

// Builds the bindings of one network. Borrows everything for the duration of InitializeOperators.
class BindingBuilder {
public:
    BindingBuilder(DX::DeviceResources& resources, const DirectMLContext& context, const NetworkGraph& graph,
                   const std::vector<LayerShape>& layers, OperatorBindings& bindings)
        : m_device(*resources.GetD3DDevice()),
          m_commandList(*resources.GetCommandList()),
          m_context(context),
          m_graph(graph),
          m_layers(layers),
          m_bindings(bindings),
          m_layerCount(static_cast<uint32_t>(layers.size())) {}

    // Records the initialisation of the operators onto the open command list.
    int32_t RecordInitialization() {
        m_bindings.persistentResources.resize(m_layerCount);
        if (CreateInitializer() != 0 || CreateDescriptorHeap() != 0 || CreatePersistentResources() != 0) {
            return -1;
        }
        return RecordInitializer();
    }

    // Creates the binding tables of all layers. The initialisation must have run, because the first layer's descriptors
    // replace the initializer's.
    int32_t BindLayers() {
        m_bindings.temporaryResources.resize(m_layerCount);
        m_bindings.bindingTables.resize(m_layerCount);
        for (uint32_t i = 0; i < m_layerCount; ++i) {
            if (BindLayer(i) != 0) {
                return -1;
            }
        }
        return 0;
    }

private:
    int32_t CreateInitializer() {
        std::vector<IDMLCompiledOperator*> operators;
        operators.reserve(m_layerCount);
        for (const auto& compiledOperator : m_graph.operators) {
            operators.push_back(compiledOperator.Get());
        }
        return CheckHResult(
            m_context.device->CreateOperatorInitializer(m_layerCount, operators.data(),
                                                        IID_PPV_ARGS(m_bindings.initializer.ReleaseAndGetAddressOf())),
            "CreateOperatorInitializer");
    }

    // All operators get as many descriptors as the most demanding one needs. The initializer uses the first ones.
    int32_t CreateDescriptorHeap() {
        m_descriptorsPerOperator = GetBindingProperties(m_bindings.initializer.Get()).RequiredDescriptorCount;
        for (const auto& compiledOperator : m_graph.operators) {
            m_descriptorsPerOperator = std::max(m_descriptorsPerOperator,
                                                GetBindingProperties(compiledOperator.Get()).RequiredDescriptorCount);
        }
        if (CheckHResult(m_bindings.descriptorHeap.Create(m_device, m_layerCount * m_descriptorsPerOperator),
                         "CreateDescriptorHeap") != 0) {
            return -1;
        }
        ID3D12DescriptorHeap* const heaps[] = {m_bindings.descriptorHeap.Get()};
        m_commandList.SetDescriptorHeaps(1, heaps);
        return 0;
    }

    int32_t CreatePersistentResources() {
        for (uint32_t i = 0; i < m_layerCount; ++i) {
            ComPtr<ID3D12Resource>& resource = m_bindings.persistentResources[i];
            resource.Reset();
            const uint64_t byteSize = GetBindingProperties(m_graph.operators[i].Get()).PersistentResourceSize;
            if (byteSize != 0 &&
                CheckHResult(CreateGpuBuffer(m_device, byteSize, D3D12_RESOURCE_STATE_COMMON, resource),
                             "CreateCommittedResource") != 0) {
                return -1;
            }
        }
        return 0;
    }

    int32_t RecordInitializer() {
        IDMLOperatorInitializer* const initializer = m_bindings.initializer.Get();
        const DML_BINDING_PROPERTIES properties = GetBindingProperties(initializer);
        const DML_BINDING_TABLE_DESC tableDesc = TableDesc(initializer, 0, properties);
        ComPtr<IDMLBindingTable> table;
        if (CheckHResult(m_context.device->CreateBindingTable(&tableDesc, IID_PPV_ARGS(table.GetAddressOf())),
                         "CreateBindingTable") != 0 ||
            CheckHResult(table->Reset(&tableDesc), "ResetBindingTable") != 0) {
            return -1;
        }
        // No tensor is owned by DirectML, so the initializer has nothing to read.
        table->BindInputs(0, nullptr);
        BindPersistentOutputs(*table.Get());

        m_bindings.initializerTemporary.Reset();
        if (properties.TemporaryResourceSize != 0) {
            const int32_t result = BindTempResourceIfNeeded(properties, *table.Get(), m_bindings.initializerTemporary);
            if (result != 0) {
                LogMessage(ORVANE_LOG_ERROR, "Failed to BindTempResourceIfNeeded for conv, error code: %d", result);
                return -1;
            }
        }
        m_context.recorder->RecordDispatch(&m_commandList, initializer, table.Get());
        return 0;
    }

    void BindPersistentOutputs(IDMLBindingTable& table) {
        std::vector<BufferBinding> outputs;
        outputs.reserve(m_layerCount);
        for (const auto& resource : m_bindings.persistentResources) {
            outputs.emplace_back(resource.Get());
        }
        std::vector<DML_BINDING_DESC> descs;
        descs.reserve(m_layerCount);
        for (const BufferBinding& output : outputs) {
            descs.push_back(output.Get());
        }
        table.BindOutputs(m_layerCount, descs.data());
    }

    int32_t BindLayer(uint32_t i) {
        ID3D12Resource* const filter = m_graph.weights.filters[i].Get();
        ID3D12Resource* const bias = m_layers[i].HasBias() ? m_graph.weights.biases[i].Get() : nullptr;
        if (filter == nullptr || (m_layers[i].HasBias() && bias == nullptr)) {
            // With an operator without weights, DirectML would remove the whole device.
            LogMessage(ORVANE_LOG_ERROR, "Weights of layer %d are not on the GPU", static_cast<int>(i));
            return -1;
        }
        IDMLCompiledOperator* const compiledOperator = m_graph.operators[i].Get();
        const DML_BINDING_PROPERTIES properties = GetBindingProperties(compiledOperator);
        const DML_BINDING_TABLE_DESC tableDesc = TableDesc(compiledOperator, i * m_descriptorsPerOperator, properties);
        ComPtr<IDMLBindingTable>& table = m_bindings.bindingTables[i];
        if (CheckHResult(m_context.device->CreateBindingTable(&tableDesc, IID_PPV_ARGS(table.ReleaseAndGetAddressOf())),
                         "CreateBindingTable") != 0) {
            return -1;
        }

        const TensorBuffers& buffers = m_graph.buffers;
        const BufferBinding input((i == 0 ? buffers.m_modelInput : buffers.m_modelIntermediateResult[i - 1]).Get());
        const BufferBinding filterBinding(filter);
        const BufferBinding biasBinding(bias);
        const std::array inputs{input.Get(), filterBinding.Get(), biasBinding.Get()};
        table->BindInputs(static_cast<UINT>(inputs.size()), inputs.data());

        const BufferBinding output(buffers.m_modelIntermediateResult[i].Get());
        const DML_BINDING_DESC outputDesc = output.Get();
        table->BindOutputs(1, &outputDesc);

        ComPtr<ID3D12Resource>& temporary = m_bindings.temporaryResources[i];
        temporary.Reset();
        if (properties.TemporaryResourceSize != 0) {
            BindTempResourceIfNeeded(properties, *table.Get(), temporary);
        }
        if (ID3D12Resource* const persistent = m_bindings.persistentResources[i].Get(); persistent != nullptr) {
            const BufferBinding binding(persistent);
            const DML_BINDING_DESC desc = binding.Get();
            table->BindPersistentResource(&desc);
        }
        return 0;
    }

    // Allocates the temporary memory of a dispatchable in `slot` and binds it.
    int32_t BindTempResourceIfNeeded(const DML_BINDING_PROPERTIES& properties, IDMLBindingTable& table,
                                     ComPtr<ID3D12Resource>& slot) {
        if (CheckGpuResource(
                CreateGpuBuffer(m_device, properties.TemporaryResourceSize, D3D12_RESOURCE_STATE_COMMON, slot)) != 0) {
            return -1;
        }
        const BufferBinding binding(slot.Get());
        const DML_BINDING_DESC desc = binding.Get();
        table.BindTemporaryResource(&desc);
        return 0;
    }

    DML_BINDING_TABLE_DESC TableDesc(IDMLDispatchable* dispatchable, uint32_t firstDescriptor,
                                     const DML_BINDING_PROPERTIES& properties) const {
        return {dispatchable, m_bindings.descriptorHeap.GetCpuHandle(firstDescriptor),
                m_bindings.descriptorHeap.GetGpuHandle(firstDescriptor), properties.RequiredDescriptorCount};
    }

    ID3D12Device& m_device;
    ID3D12GraphicsCommandList& m_commandList;
    const DirectMLContext& m_context;
    const NetworkGraph& m_graph;
    const std::vector<LayerShape>& m_layers;
    OperatorBindings& m_bindings;
    uint32_t m_layerCount;
    uint32_t m_descriptorsPerOperator = 0;
};

}  // namespace

int32_t InitializeOperators(DX::DeviceResources& resources, const DirectMLContext& context, const NetworkGraph& graph,
                            const std::vector<LayerShape>& layers, OperatorBindings& bindings) {
    if (resources.ResetCommandList() != 0) {
        return -1;
    }
    BindingBuilder builder(resources, context, graph, layers, bindings);
    if (builder.RecordInitialization() != 0 || CheckHResult(resources.CloseCommandList(), "Close") != 0 ||
        resources.ExecuteAndWait() != 0) {
        return -1;
    }
    return builder.BindLayers();
}

}  // namespace orvane
