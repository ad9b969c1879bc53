#include "engine/network_graph.h"

#include <utility>

#include "api/log.h"
#include "engine/convolution.h"

namespace orvane {
namespace {

int32_t LoadAndUploadWeights(DX::DeviceResources& resources, TensorLayout layout, const NetworkConfig& config,
                             const std::vector<LayerShape>& layers, const std::string& modelPath,
                             WeightLoader& weightLoader, NetworkWeights& weights) {
    WeightMap weightMap;
    if (const int32_t result = weightLoader.LoadWeights(modelPath, config, weightMap); result != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to LoadWeights, error code: %d", result);
        return -1;
    }
    UploadWeights(resources, layers, layout, std::move(weightMap), weights);
    return 0;
}

int32_t CreateOperators(const DirectMLContext& context, const NetworkPlan& plan, const std::vector<LayerShape>& layers,
                        std::vector<ComPtr<IDMLCompiledOperator>>& operators) {
    operators.resize(layers.size());
    for (uint32_t i = 0; i < layers.size(); ++i) {
        if (CreateConvolution(context, plan.LayerInputShape(i), FilterShape(layers[i]), plan.shapes[i], operators[i]) !=
            0) {
            return -1;
        }
    }
    return 0;
}

}  // namespace

int32_t BuildNetworkGraph(DX::DeviceResources& resources, const DirectMLContext& context, FrameSize inputSize,
                          const NetworkConfig& config, const std::vector<LayerShape>& layers,
                          const std::string& modelPath, WeightLoader& weightLoader, NetworkGraph& graph) {
    graph.plan = PlanNetwork(inputSize, layers, context.layout);
    if (graph.weights.IsEmpty() &&
        LoadAndUploadWeights(resources, context.layout, config, layers, modelPath, weightLoader, graph.weights) != 0) {
        return -1;
    }
    if (CreateOperators(context, graph.plan, layers, graph.operators) != 0 ||
        CreateTensorBuffers(*resources.GetD3DDevice(), graph.plan, graph.buffers) != 0) {
        return -1;
    }
    resources.WaitForGpu();
    return 0;
}

}  // namespace orvane
