#include "engine/network_weights.h"

#include <future>
#include <utility>

#include "gpu/gpu_resource.h"
#include "gpu/resource_upload_batch.h"

namespace orvane {
namespace {

void UploadValues(ID3D12Device& device, DirectX::ResourceUploadBatch& batch, std::vector<uint16_t> values,
                  uint64_t bufferSize, ComPtr<ID3D12Resource>& buffer) {
    if (CheckGpuResource(CreateGpuBuffer(device, bufferSize, D3D12_RESOURCE_STATE_COMMON, buffer)) != 0) {
        return;
    }
    // The copy fills the whole buffer, whose size is rounded up to a multiple of 4 bytes.
    values.resize(static_cast<size_t>(bufferSize / sizeof(uint16_t)));
    const D3D12_SUBRESOURCE_DATA data{values.data(), 0, 0};
    batch.Upload(buffer.Get(), 0, &data, 1);
}

}  // namespace

void UploadWeights(DX::DeviceResources& resources, const std::vector<LayerShape>& layers, TensorLayout layout,
                   WeightMap weightMap, NetworkWeights& weights) {
    ID3D12Device& device = *resources.GetD3DDevice();
    weights.filters.resize(layers.size());
    weights.biases.resize(layers.size());

    DirectX::ResourceUploadBatch batch(&device);
    std::shared_future<void> uploaded;  // unlike a plain future it stays valid when its wait fails
    try {
        batch.Begin();
        for (uint32_t i = 0; i < layers.size(); ++i) {
            const TensorShape filterShape = FilterShape(layers[i]);
            UploadValues(device, batch, ArrangeFilter(std::move(weightMap.at(FilterKey(i))), filterShape, layout),
                         CalcTensorSize(filterShape, layout), weights.filters[i]);
            UploadValues(device, batch, std::move(weightMap.at(BiasKey(i))),
                         CalcTensorSize(BiasShape(layers[i]), layout), weights.biases[i]);
        }
        uploaded = batch.End(resources.GetCommandQueue()).share();
        uploaded.get();
    } catch (...) {
        // The copies may still be running, and their sources are released with the batch and the future.
        resources.WaitForGpu();
        throw;
    }
}

}  // namespace orvane
