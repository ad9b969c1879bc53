#include "apps/models/model_inspection.h"

#include <algorithm>
#include <cmath>

#include "apps/models/half.h"

namespace orvane::tool {
namespace {

// Takes the values from the front of `bytes`, as many as there are.
ValueRange TakeValues(std::span<const uint8_t>& bytes, uint64_t count) {
    ValueRange range;
    range.count = static_cast<size_t>(std::min<uint64_t>(count, bytes.size() / 2));
    bool isFirst = true;
    for (size_t i = 0; i < range.count; ++i) {
        const float value = FloatFromHalf(static_cast<uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8));
        if (!std::isfinite(value)) {
            ++range.notFinite;
            continue;
        }
        range.lowest = isFirst ? value : std::min(range.lowest, value);
        range.highest = isFirst ? value : std::max(range.highest, value);
        isFirst = false;
    }
    bytes = bytes.subspan(2 * range.count);
    return range;
}

}  // namespace

ModelInspection InspectModel(std::span<const uint8_t> plain, const NetworkSize& size) {
    ModelInspection inspection;
    const uint64_t needed = PlainModelBytes(size);
    inspection.missingBytes = needed > plain.size() ? needed - plain.size() : 0;
    inspection.extraBytes = plain.size() > needed ? plain.size() - needed : 0;

    const NetworkConfig config = MakeNetworkConfig(size.channels, size.depth);
    for (uint32_t i = 0; i < config.layerCount; ++i) {
        LayerInspection layer{LayerShapeAt(config, i), {}, {}};
        const uint64_t kernelValues = uint64_t{layer.shape.kernelSize} * layer.shape.kernelSize;
        layer.filter = TakeValues(plain, kernelValues * layer.shape.inChannels * layer.shape.outChannels);
        layer.bias = TakeValues(plain, layer.shape.outChannels);
        inspection.notFinite += layer.filter.notFinite + layer.bias.notFinite;
        inspection.layers.push_back(layer);
    }
    return inspection;
}

}  // namespace orvane::tool
