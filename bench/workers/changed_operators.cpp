#include "bench/workers/changed_operators.h"

#include <array>

#include "gpu/gpu_resource.h"
#include "tools/hooks/function_tables.h"

namespace orvane::bench {
namespace {

constexpr size_t kCreateOperator = 8;
constexpr size_t kCreateBindingTable = 12;
constexpr size_t kBindInputs = 8;

OperatorChanges g_changes;                  // without any, calls go on as they are
const NetworkWeights* g_weights = nullptr;  // for operators that own them

HRESULT STDMETHODCALLTYPE CreateOperator(IDMLDevice* self, const DML_OPERATOR_DESC* desc, REFIID iid, void** object) {
    const auto original = OriginalMethod<decltype(CreateOperator)>(self, kCreateOperator);
    if (desc->Type != DML_OPERATOR_CONVOLUTION) {
        return original(self, desc, iid, object);
    }
    auto convolution = *static_cast<const DML_CONVOLUTION_OPERATOR_DESC*>(desc->Desc);
    auto filterBuffer = *static_cast<const DML_BUFFER_TENSOR_DESC*>(convolution.FilterTensor->Desc);
    auto biasBuffer = *static_cast<const DML_BUFFER_TENSOR_DESC*>(convolution.BiasTensor->Desc);
    if (g_changes.isOwned) {
        filterBuffer.Flags = DML_TENSOR_FLAG_OWNED_BY_DML;
        biasBuffer.Flags = DML_TENSOR_FLAG_OWNED_BY_DML;
    }
    const DML_TENSOR_DESC filter{DML_TENSOR_TYPE_BUFFER, &filterBuffer};
    const DML_TENSOR_DESC bias{DML_TENSOR_TYPE_BUFFER, &biasBuffer};
    convolution.FilterTensor = &filter;
    convolution.BiasTensor = &bias;
    const DML_ELEMENT_WISE_CLIP_OPERATOR_DESC clip{nullptr, nullptr, nullptr, 0.0F, 1.0F};
    const DML_OPERATOR_DESC activation{DML_OPERATOR_ELEMENT_WISE_CLIP, &clip};
    if (g_changes.isClip) {
        convolution.FusedActivation = &activation;
    }
    const DML_OPERATOR_DESC changed{desc->Type, &convolution};
    return original(self, &changed, iid, object);
}

// The initializer has no inputs of the engine's; a layer has tensor, filter and bias.
void STDMETHODCALLTYPE BindInputs(IDMLBindingTable* self, UINT count, const DML_BINDING_DESC* inputs) {
    const auto original = OriginalMethod<decltype(BindInputs)>(self, kBindInputs);
    if (!g_changes.isOwned) {
        return original(self, count, inputs);
    }
    if (count != 0) {
        const std::array bound{inputs[0], DML_BINDING_DESC{}, DML_BINDING_DESC{}};
        return original(self, count, bound.data());
    }
    const size_t layerCount = g_weights->filters.size();
    std::vector<std::array<DML_BUFFER_BINDING, 3>> buffers(layerCount);
    std::vector<DML_BUFFER_ARRAY_BINDING> arrays(layerCount);
    std::vector<DML_BINDING_DESC> descs(layerCount);
    for (size_t i = 0; i < layerCount; ++i) {
        ID3D12Resource* const filter = g_weights->filters[i].Get();
        ID3D12Resource* const bias = g_weights->biases[i].Get();
        buffers[i][1] = {filter, 0, BufferSize(*filter)};
        buffers[i][2] = {bias, 0, BufferSize(*bias)};
        arrays[i] = {static_cast<UINT>(buffers[i].size()), buffers[i].data()};
        descs[i] = {DML_BINDING_TYPE_BUFFER_ARRAY, &arrays[i]};
    }
    original(self, static_cast<UINT>(layerCount), descs.data());
}

HRESULT STDMETHODCALLTYPE CreateBindingTable(IDMLDevice* self, const DML_BINDING_TABLE_DESC* desc, REFIID iid,
                                             void** object) {
    const HRESULT hr = OriginalMethod<decltype(CreateBindingTable)>(self, kCreateBindingTable)(self, desc, iid, object);
    if (SUCCEEDED(hr)) {
        ReplaceEntry(*static_cast<void***>(*object) + kBindInputs, Address(&BindInputs));
    }
    return hr;
}

}  // namespace

ChangedOperators::ChangedOperators(const DirectMLContext& context, const NetworkWeights& weights,
                                   OperatorChanges changes) {
    void** const table = *reinterpret_cast<void***>(context.device.Get());
    ReplaceEntry(table + kCreateOperator, Address(&CreateOperator));
    ReplaceEntry(table + kCreateBindingTable, Address(&CreateBindingTable));
    g_weights = &weights;
    g_changes = changes;
}

ChangedOperators::~ChangedOperators() {
    g_changes = {};
    g_weights = nullptr;
}

}  // namespace orvane::bench
