#include "model/weight_loader.h"

#include <algorithm>

#include "api/log.h"
#include "model/model_stream.h"

namespace orvane {
namespace {

// Exact below 2^32. A larger count stays too large instead of wrapping around.
size_t ElementCount(const TensorShape& shape) {
    constexpr uint64_t kTooLarge = uint64_t{1} << 32;
    uint64_t count = 1;
    for (const uint32_t size : shape) {
        count = std::min(count, kTooLarge) * size;
    }
    return count;
}

bool SeekTo(std::stringstream& stream, uint32_t offset) {
    stream.clear(stream.rdstate() & ~std::ios::eofbit);
    stream.seekg(static_cast<std::streamoff>(offset), std::ios::beg);
    return !stream.fail();
}

bool ReadBytes(std::stringstream& stream, uint16_t* values, uint32_t byteCount) {
    stream.read(reinterpret_cast<char*>(values), static_cast<std::streamsize>(byteCount));
    return stream.gcount() == static_cast<std::streamsize>(byteCount);
}

// Null when the heap is exhausted or the size does not fit into 32 bits.
HalfBlob AllocateHalves(const TensorShape& shape, uint32_t byteCount) {
    const bool fits = ElementCount(shape) == byteCount / sizeof(uint16_t);
    return HalfBlob(fits ? static_cast<uint16_t*>(std::malloc(byteCount)) : nullptr);
}

std::vector<uint16_t> CopyValues(const HalfBlob& blob, const TensorShape& shape) {
    return {blob.get(), blob.get() + ElementCount(shape)};
}

}  // namespace

std::vector<LayerOffsets> CalcLayerOffsets(const NetworkConfig& config) {
    std::vector<LayerOffsets> offsets(config.layerCount);
    uint32_t position = 0;
    for (uint32_t i = 0; i < config.layerCount; ++i) {
        const LayerShape layer = LayerShapeAt(config, i);
        LayerOffsets& entry = offsets[i];
        entry.weightBytes =
            layer.kernelSize * layer.kernelSize * layer.outChannels * layer.inChannels * uint32_t{sizeof(uint16_t)};
        entry.biasBytes = layer.outChannels * uint32_t{sizeof(uint16_t)};
        entry.weightOffset = position;
        entry.biasOffset = position + entry.weightBytes;
        position += entry.weightBytes + entry.biasBytes;
    }
    return offsets;
}

int32_t WeightLoader::LoadWeights(const std::string& path, const NetworkConfig& config, WeightMap& weightMap) {
    if (HoldsWeights() && !(m_loadedConfig == config && m_loadedPath == path)) {
        LogMessage(ORVANE_LOG_INFO, "Network configuration changed. Reloading weights from file.");
        ReleaseWeights();
    }
    if (HoldsWeights()) {
        return GenerateWeightMap(weightMap);
    }
    EmptyModelStream();
    if (!OpenModelStream(path, m_modelStream)) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to open or decrypt model file: %s", path.c_str());
        return -1;
    }
    m_loadedConfig = config;
    m_layerWeights.resize(config.layerCount);
    if (InitializeOffsets(config) != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to initialize offsets");
        return -1;
    }
    for (uint32_t i = 0; i < config.layerCount; ++i) {
        if (ReadLayerWeights(i) != 0) {
            LogMessage(ORVANE_LOG_ERROR, "Failed to ReadLayerWeights for layer %d", static_cast<int>(i));
            ReleaseWeights();
            return -1;
        }
    }
    if (GenerateWeightMap(weightMap) != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to GenerateWeightMap");
        ReleaseWeights();
        return -1;
    }
    m_loadedPath = path;
    return 0;
}

void WeightLoader::ReleaseWeights() {
    m_layerWeights.clear();
    m_offsets.clear();
    EmptyModelStream();
    m_loadedPath.clear();
}

int32_t WeightLoader::InitializeOffsets(const NetworkConfig& config) {
    m_offsets = CalcLayerOffsets(config);
    for (uint32_t i = 0; i < config.layerCount; ++i) {
        const LayerShape layer = LayerShapeAt(config, i);
        m_layerWeights[i].filterShape = FilterShape(layer);
        m_layerWeights[i].biasShape = BiasShape(layer);
    }
    return 0;
}

int32_t WeightLoader::ReadLayerWeights(uint32_t layerIndex) {
    LayerWeights& weights = m_layerWeights[layerIndex];
    const LayerOffsets& offsets = m_offsets[layerIndex];
    const int layerNumber = static_cast<int>(layerIndex);

    FreeLayerWeights(layerIndex);
    weights.filter = AllocateHalves(weights.filterShape, offsets.weightBytes);
    if (!weights.filter) {
        LogMessage(ORVANE_LOG_ERROR, "Memory allocation failed for layer %d weights", layerNumber);
        return -1;
    }
    weights.bias = AllocateHalves(weights.biasShape, offsets.biasBytes);
    if (!weights.bias) {
        LogMessage(ORVANE_LOG_ERROR, "Memory allocation failed for layer %d bias", layerNumber);
        FreeLayerWeights(layerIndex);
        return -1;
    }

    if (!SeekTo(m_modelStream, offsets.weightOffset)) {
        LogMessage(ORVANE_LOG_ERROR, "seek weights stream err for weights of layer %d", layerNumber);
    } else if (!ReadBytes(m_modelStream, weights.filter.get(), offsets.weightBytes)) {
        LogMessage(ORVANE_LOG_ERROR, "read weights stream err for weights of layer %d", layerNumber);
    } else if (!SeekTo(m_modelStream, offsets.biasOffset)) {
        LogMessage(ORVANE_LOG_ERROR, "seek weights stream err for bias of layer %d", layerNumber);
    } else if (!ReadBytes(m_modelStream, weights.bias.get(), offsets.biasBytes)) {
        LogMessage(ORVANE_LOG_ERROR, "read weights stream err for bias of layer %d", layerNumber);
    } else {
        return 0;
    }
    FreeLayerWeights(layerIndex);
    return -1;
}

void WeightLoader::FreeLayerWeights(uint32_t layerIndex) {
    m_layerWeights[layerIndex].filter.reset();
    m_layerWeights[layerIndex].bias.reset();
}

int32_t WeightLoader::GenerateWeightMap(WeightMap& weightMap) const {
    weightMap.clear();
    for (uint32_t i = 0; i < m_loadedConfig.layerCount; ++i) {
        const LayerWeights& weights = m_layerWeights[i];
        weightMap[FilterKey(i)] = CopyValues(weights.filter, weights.filterShape);
        weightMap[BiasKey(i)] = CopyValues(weights.bias, weights.biasShape);
    }
    return 0;
}

void WeightLoader::EmptyModelStream() {
    m_modelStream.str(std::string());
    m_modelStream.clear();
}

}  // namespace orvane
