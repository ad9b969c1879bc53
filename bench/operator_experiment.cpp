#include "bench/operator_experiment.h"

#include <cstdio>

#include "bench/worker.h"
#include "engine/directml_context.h"
#include "engine/network_weights.h"
#include "engine/tensor_plan.h"
#include "gpu/descriptor_heap.h"
#include "gpu/device_resources.h"
#include "gpu/gpu_resource.h"
#include "model/weight_loader.h"

#if defined(__MINGW32__)
__CRT_UUID_DECL(IDMLDevice1, 0xa0884f9a, 0xd2be, 0x4355, 0xaa, 0x5d, 0x59, 0x01, 0x28, 0x1a, 0xd1, 0xd2)
#endif

namespace orvane::bench {
namespace {

constexpr DML_EXECUTION_FLAGS kNoFlags = DML_EXECUTION_FLAG_NONE;
constexpr DML_EXECUTION_FLAGS kHalfPrecision = DML_EXECUTION_FLAG_ALLOW_HALF_PRECISION_COMPUTATION;

struct Variant {
    TensorLayout layout = TensorLayout::kNchw;
    bool isOwned = false;
    DML_EXECUTION_FLAGS flags = kNoFlags;
    bool isOneGraph = false;
    bool hasActivation = true;
};

constexpr std::array<Variant, kOperatorVariantNames.size()> kVariants{{
    {TensorLayout::kNchw, false, kNoFlags, false},
    {TensorLayout::kNchw, true, kNoFlags, false},
    {TensorLayout::kNhwc, false, kNoFlags, false},
    {TensorLayout::kNhwc, true, kNoFlags, false},
    {TensorLayout::kNchw, false, kHalfPrecision, false},
    {TensorLayout::kNhwc, false, kHalfPrecision, false},
    {TensorLayout::kNhwc, true, kHalfPrecision, false},
    {TensorLayout::kNchw, false, DML_EXECUTION_FLAG_DISABLE_META_COMMANDS, false},
    {TensorLayout::kNchw, false, DML_EXECUTION_FLAG_DESCRIPTORS_VOLATILE, false},
    {TensorLayout::kNchw, false, kNoFlags, true},
    {TensorLayout::kNchw, true, kNoFlags, true},
    {TensorLayout::kNhwc, true, kHalfPrecision, true},
    {TensorLayout::kNchw, false, kNoFlags, false, false},
    {TensorLayout::kNchw, true, kNoFlags, true, false},
}};

void Check(HRESULT hr, const char* what) {
    if (FAILED(hr)) {
        char text[96] = {};
        std::snprintf(text, sizeof(text), "%s: 0x%08X", what, static_cast<unsigned int>(hr));
        throw std::runtime_error(text);
    }
}

template <typename Input, typename Make>
auto MakeEach(const std::vector<Input>& inputs, const Make& make) {
    std::vector<decltype(make(inputs.front()))> results;
    results.reserve(inputs.size());
    for (const Input& input : inputs) {
        results.push_back(make(input));
    }
    return results;
}

// A tensor's description with everything that it points to; not to be moved.
class TensorDesc {
public:
    TensorDesc(const TensorShape& shape, TensorLayout layout, bool isOwned)
        : m_shape(shape), m_strides(CalcStrides(shape, layout)) {
        m_buffer.DataType = DML_TENSOR_DATA_TYPE_FLOAT16;
        m_buffer.Flags = isOwned ? DML_TENSOR_FLAG_OWNED_BY_DML : DML_TENSOR_FLAG_NONE;
        m_buffer.DimensionCount = static_cast<UINT>(m_shape.size());
        m_buffer.Sizes = m_shape.data();
        m_buffer.Strides = m_strides.data();
        m_buffer.TotalTensorSizeInBytes = CalcTensorSize(m_shape, layout);
    }
    TensorDesc(const TensorDesc&) = delete;
    TensorDesc& operator=(const TensorDesc&) = delete;

    const DML_TENSOR_DESC* Get() const { return &m_desc; }

private:
    TensorShape m_shape;
    TensorStrides m_strides;
    DML_BUFFER_TENSOR_DESC m_buffer{};
    DML_TENSOR_DESC m_desc{DML_TENSOR_TYPE_BUFFER, &m_buffer};
};

ComPtr<IDMLOperator> CreateConvolution(IDMLDevice& device, const LayerShape& layer, const TensorShape& inputShape,
                                       const TensorShape& outputShape, const Variant& variant) {
    const TensorLayout layout = variant.layout;
    const TensorShape filterShape = FilterShape(layer);
    const TensorDesc input(inputShape, layout, false);
    const TensorDesc filter(filterShape, layout, variant.isOwned);
    const TensorDesc bias(BiasShape(layer), layout, variant.isOwned);
    const TensorDesc output(outputShape, layout, false);
    const DML_ACTIVATION_HARD_SIGMOID_OPERATOR_DESC hardSigmoid{nullptr, nullptr, 1.0F, 0.0F};
    const DML_OPERATOR_DESC activation{DML_OPERATOR_ACTIVATION_HARD_SIGMOID, &hardSigmoid};
    constexpr std::array<UINT, 2> kOnes{1, 1};
    constexpr std::array<UINT, 2> kZeros{0, 0};
    const DML_CONVOLUTION_OPERATOR_DESC convolution{input.Get(),
                                                    filter.Get(),
                                                    bias.Get(),
                                                    output.Get(),
                                                    DML_CONVOLUTION_MODE_CROSS_CORRELATION,
                                                    DML_CONVOLUTION_DIRECTION_FORWARD,
                                                    2,
                                                    kOnes.data(),
                                                    kOnes.data(),
                                                    kOnes.data(),
                                                    kOnes.data(),
                                                    kZeros.data(),
                                                    1,
                                                    variant.hasActivation ? &activation : nullptr};
    const DML_OPERATOR_DESC desc{DML_OPERATOR_CONVOLUTION, &convolution};
    ComPtr<IDMLOperator> result;
    Check(device.CreateOperator(&desc, IID_PPV_ARGS(result.GetAddressOf())), "CreateOperator");
    return result;
}

// All layers as one operator. Its inputs are the network's input, then every layer's filter and bias.
ComPtr<IDMLCompiledOperator> CompileGraph(IDMLDevice& device, const std::vector<ComPtr<IDMLOperator>>& layers,
                                          DML_EXECUTION_FLAGS flags) {
    const auto count = static_cast<UINT>(layers.size());
    const auto operators = MakeEach(layers, [](const auto& layer) {
        return DML_OPERATOR_GRAPH_NODE_DESC{layer.Get(), nullptr};
    });
    std::vector<DML_INPUT_GRAPH_EDGE_DESC> inputs{{0, 0, 0, nullptr}};
    std::vector<DML_INTERMEDIATE_GRAPH_EDGE_DESC> intermediates;
    for (UINT i = 0; i < count; ++i) {
        inputs.push_back({1 + 2 * i, i, 1, nullptr});
        inputs.push_back({2 + 2 * i, i, 2, nullptr});
        if (i > 0) {
            intermediates.push_back({i - 1, 0, i, 0, nullptr});
        }
    }
    const DML_OUTPUT_GRAPH_EDGE_DESC output{count - 1, 0, 0, nullptr};
    const DML_GRAPH_EDGE_DESC outputEdge{DML_GRAPH_EDGE_TYPE_OUTPUT, &output};
    const auto nodes = MakeEach(operators, [](const auto& node) {
        return DML_GRAPH_NODE_DESC{DML_GRAPH_NODE_TYPE_OPERATOR, &node};
    });
    const auto inputEdges = MakeEach(inputs, [](const auto& edge) {
        return DML_GRAPH_EDGE_DESC{DML_GRAPH_EDGE_TYPE_INPUT, &edge};
    });
    const auto intermediateEdges = MakeEach(intermediates, [](const auto& edge) {
        return DML_GRAPH_EDGE_DESC{DML_GRAPH_EDGE_TYPE_INTERMEDIATE, &edge};
    });
    const DML_GRAPH_DESC desc{static_cast<UINT>(inputs.size()),
                              1,
                              count,
                              nodes.data(),
                              static_cast<UINT>(inputEdges.size()),
                              inputEdges.data(),
                              1,
                              &outputEdge,
                              static_cast<UINT>(intermediateEdges.size()),
                              intermediateEdges.data()};
    ComPtr<IDMLDevice1> device1;
    Check(device.QueryInterface(IID_PPV_ARGS(device1.GetAddressOf())), "IDMLDevice1");
    ComPtr<IDMLCompiledOperator> compiled;
    Check(device1->CompileGraph(&desc, flags, IID_PPV_ARGS(compiled.GetAddressOf())), "CompileGraph");
    return compiled;
}

// A compiled operator with what is bound to it.
struct Step {
    ComPtr<IDMLCompiledOperator> compiled;
    std::vector<ID3D12Resource*> inputs;  // the first is the tensor, the others weights
    ID3D12Resource* output = nullptr;
    ComPtr<ID3D12Resource> persistent;
    ComPtr<ID3D12Resource> temporary;
    ComPtr<IDMLBindingTable> table;
};

DML_BUFFER_BINDING WholeBuffer(ID3D12Resource* buffer) {
    return {buffer, 0, buffer != nullptr ? BufferSize(*buffer) : 0};
}

}  // namespace

// One variant, ready to run.
class OperatorChain {
public:
    OperatorChain(DX::DeviceResources& resources, const DirectMLContext& context, FrameSize size,
                  const std::vector<LayerShape>& layers, const WeightMap& weightMap, const Variant& variant)
        : m_resources(resources), m_context(context), m_variant(variant) {
        UploadWeights(resources, layers, variant.layout, weightMap, m_weights);
        const NetworkPlan plan = PlanNetwork(size, layers, variant.layout);
        for (size_t i = 0; i <= layers.size(); ++i) {
            m_tensors.push_back(Buffer(plan.bufferSizes[i], D3D12_RESOURCE_STATE_UNORDERED_ACCESS));
        }
        std::vector<ComPtr<IDMLOperator>> operators;
        for (uint32_t i = 0; i < layers.size(); ++i) {
            operators.push_back(
                CreateConvolution(*context.device.Get(), layers[i], plan.LayerInputShape(i), plan.shapes[i], variant));
        }
        MakeSteps(operators);
        Initialize();
        for (size_t i = 0; i < m_steps.size(); ++i) {
            Bind(m_steps[i], i);
        }
    }

    void Run() {
        Require(m_resources.ResetCommandList() == 0, "the command list cannot be reset");
        ID3D12GraphicsCommandList* const list = m_resources.GetCommandList();
        ID3D12DescriptorHeap* const heaps[] = {m_descriptors.Get()};
        list->SetDescriptorHeaps(1, heaps);
        for (const Step& step : m_steps) {
            m_context.recorder->RecordDispatch(list, step.compiled.Get(), step.table.Get());
            const auto barrier = CD3DX12_RESOURCE_BARRIER::UAV(nullptr);
            list->ResourceBarrier(1, &barrier);
        }
        Require(SUCCEEDED(m_resources.CloseCommandList()) && m_resources.ExecuteAndWait() == 0, "the GPU failed");
    }

private:
    ComPtr<ID3D12Resource> Buffer(uint64_t byteSize, D3D12_RESOURCE_STATES state) const {
        ComPtr<ID3D12Resource> buffer;
        Check(CreateGpuBuffer(*m_resources.GetD3DDevice(), byteSize, state, buffer), "CreateCommittedResource");
        return buffer;
    }

    ComPtr<ID3D12Resource> BufferIfAny(uint64_t byteSize) const {
        return byteSize != 0 ? Buffer(byteSize, D3D12_RESOURCE_STATE_COMMON) : nullptr;
    }

    void MakeSteps(const std::vector<ComPtr<IDMLOperator>>& operators) {
        if (m_variant.isOneGraph) {
            Step& step = m_steps.emplace_back();
            step.compiled = CompileGraph(*m_context.device.Get(), operators, m_variant.flags);
            step.inputs = {m_tensors.front().Get()};
            step.output = m_tensors.back().Get();
        }
        for (size_t i = 0; i < operators.size(); ++i) {
            if (!m_variant.isOneGraph) {
                Step& step = m_steps.emplace_back();
                Check(m_context.device->CompileOperator(operators[i].Get(), m_variant.flags,
                                                        IID_PPV_ARGS(step.compiled.GetAddressOf())),
                      "CompileOperator");
                step.inputs = {m_tensors[i].Get()};
                step.output = m_tensors[i + 1].Get();
            }
            m_steps.back().inputs.push_back(m_weights.filters[i].Get());
            m_steps.back().inputs.push_back(m_weights.biases[i].Get());
        }
        for (Step& step : m_steps) {
            const DML_BINDING_PROPERTIES properties = GetBindingProperties(step.compiled.Get());
            step.persistent = BufferIfAny(properties.PersistentResourceSize);
            step.temporary = BufferIfAny(properties.TemporaryResourceSize);
            m_descriptorsPerStep = std::max(m_descriptorsPerStep, properties.RequiredDescriptorCount);
        }
    }

    void Initialize() {
        const auto compiled = MakeEach(m_steps, [](const Step& step) { return step.compiled.Get(); });
        ComPtr<IDMLOperatorInitializer> initializer;
        Check(m_context.device->CreateOperatorInitializer(static_cast<UINT>(compiled.size()), compiled.data(),
                                                          IID_PPV_ARGS(initializer.GetAddressOf())),
              "CreateOperatorInitializer");
        const DML_BINDING_PROPERTIES properties = GetBindingProperties(initializer.Get());
        m_descriptorsPerStep = std::max(m_descriptorsPerStep, properties.RequiredDescriptorCount);
        Check(m_descriptors.Create(*m_resources.GetD3DDevice(),
                                   m_descriptorsPerStep * static_cast<uint32_t>(m_steps.size())),
              "CreateDescriptorHeap");
        const ComPtr<IDMLBindingTable> table = Table(initializer.Get(), 0);
        BindForInitialization(*table.Get());
        const ComPtr<ID3D12Resource> temporary = BufferIfAny(properties.TemporaryResourceSize);
        const DML_BUFFER_BINDING binding = WholeBuffer(temporary.Get());
        const DML_BINDING_DESC desc{DML_BINDING_TYPE_BUFFER, &binding};
        if (temporary) {
            table->BindTemporaryResource(&desc);
        }

        Require(m_resources.ResetCommandList() == 0, "the command list cannot be reset");
        ID3D12DescriptorHeap* const heaps[] = {m_descriptors.Get()};
        m_resources.GetCommandList()->SetDescriptorHeaps(1, heaps);
        m_context.recorder->RecordDispatch(m_resources.GetCommandList(), initializer.Get(), table.Get());
        Require(SUCCEEDED(m_resources.CloseCommandList()) && m_resources.ExecuteAndWait() == 0, "the GPU failed");
    }

    // What is bound to a step's inputs: the tensor and the weights, or, when DirectML owns those, the ones at its
    // initialisation and the other at its execution.
    std::vector<DML_BUFFER_BINDING> Inputs(const Step& step, bool atInitialization) const {
        return MakeEach(step.inputs, [&](ID3D12Resource* input) {
            const bool isWeight = input != step.inputs.front();
            const bool isBound = atInitialization ? isWeight : !isWeight || !m_variant.isOwned;
            return WholeBuffer(isBound ? input : nullptr);
        });
    }

    void BindForInitialization(IDMLBindingTable& table) const {
        const auto inputs = MakeEach(m_steps, [this](const Step& step) { return Inputs(step, true); });
        const auto arrays = MakeEach(inputs, [](const auto& buffers) {
            return DML_BUFFER_ARRAY_BINDING{static_cast<UINT>(buffers.size()), buffers.data()};
        });
        const auto inputDescs = MakeEach(arrays, [](const auto& array) {
            return DML_BINDING_DESC{DML_BINDING_TYPE_BUFFER_ARRAY, &array};
        });
        if (m_variant.isOwned) {
            table.BindInputs(static_cast<UINT>(inputDescs.size()), inputDescs.data());
        }
        const auto persistent = MakeEach(m_steps, [](const Step& step) { return WholeBuffer(step.persistent.Get()); });
        const auto outputDescs = MakeEach(persistent, Desc);
        table.BindOutputs(static_cast<UINT>(outputDescs.size()), outputDescs.data());
    }

    void Bind(Step& step, size_t index) const {
        step.table = Table(step.compiled.Get(), index);
        const auto inputs = Inputs(step, false);
        const auto inputDescs = MakeEach(inputs, Desc);
        step.table->BindInputs(static_cast<UINT>(inputDescs.size()), inputDescs.data());
        const std::vector<DML_BUFFER_BINDING> buffers{WholeBuffer(step.output), WholeBuffer(step.temporary.Get()),
                                                      WholeBuffer(step.persistent.Get())};
        const auto descs = MakeEach(buffers, Desc);
        step.table->BindOutputs(1, &descs[0]);
        step.table->BindTemporaryResource(&descs[1]);
        step.table->BindPersistentResource(&descs[2]);
    }

    static DML_BINDING_DESC Desc(const DML_BUFFER_BINDING& binding) {
        return binding.Buffer != nullptr ? DML_BINDING_DESC{DML_BINDING_TYPE_BUFFER, &binding}
                                         : DML_BINDING_DESC{DML_BINDING_TYPE_NONE, nullptr};
    }

    ComPtr<IDMLBindingTable> Table(IDMLDispatchable* dispatchable, size_t step) const {
        const auto first = static_cast<uint32_t>(step) * m_descriptorsPerStep;
        const DML_BINDING_TABLE_DESC desc{dispatchable, m_descriptors.GetCpuHandle(first),
                                          m_descriptors.GetGpuHandle(first), m_descriptorsPerStep};
        ComPtr<IDMLBindingTable> table;
        Check(m_context.device->CreateBindingTable(&desc, IID_PPV_ARGS(table.GetAddressOf())), "CreateBindingTable");
        return table;
    }

    DX::DeviceResources& m_resources;
    const DirectMLContext& m_context;
    Variant m_variant;
    NetworkWeights m_weights;
    std::vector<ComPtr<ID3D12Resource>> m_tensors;  // entry i is what layer i reads
    DescriptorHeap m_descriptors;
    uint32_t m_descriptorsPerStep = 0;
    std::vector<Step> m_steps;
};

struct OperatorExperiment::State {
    DX::DeviceResources resources{DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 0};
    DirectMLContext context;
    std::vector<std::unique_ptr<OperatorChain>> chains;  // null where DirectML refuses
};

OperatorExperiment::OperatorExperiment(FrameSize size, NetworkNumbers network, const std::string& modelPath)
    : m_state(std::make_unique<State>()) {
    Require(m_state->resources.CreateDeviceResources() == 0 &&
                CreateDirectMLContext(m_state->resources, m_state->context) == 0,
            "no device");
    WeightMap weightMap;
    WeightLoader loader;
    Require(loader.LoadWeights(modelPath, MakeNetworkConfig(network.channels, network.depth), weightMap) == 0,
            "the model cannot be loaded");
    for (size_t i = 0; i < kVariants.size(); ++i) {
        std::unique_ptr<OperatorChain>& chain = m_state->chains.emplace_back();
        try {
            chain = std::make_unique<OperatorChain>(m_state->resources, m_state->context, size, LayersOf(network),
                                                    weightMap, kVariants[i]);
        } catch (const std::runtime_error& refusal) {
            std::fprintf(stderr, "bench: %s: %s\n", kOperatorVariantNames[i], refusal.what());
        }
    }
}

OperatorExperiment::~OperatorExperiment() = default;

std::vector<double> OperatorExperiment::Accepted() const {
    std::vector<double> accepted;
    for (const auto& chain : m_state->chains) {
        accepted.push_back(chain ? 1.0 : 0.0);
    }
    return accepted;
}

void OperatorExperiment::Run(size_t variant) {
    m_state->chains.at(variant)->Run();
}

}  // namespace orvane::bench
