// The network as an ONNX model.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/frame_size.h"
#include "model/network.h"

namespace orvane::bench {

// How the graph bounds the values of a layer to 0..1. Both give the same; DirectML computes them differently.
enum class Bound {
    kClip,         // what an exporter writes
    kHardSigmoid,  // with a slope of 1 through 0, as the library has it
};

// A serialised ModelProto (ONNX operator set 17): for each layer Conv and its bound, then DepthToSpace in CRD order.
// Everything is in half precision. The input "x" is {1, 3, height, width}, the output "y" {1, 3, 2 height, 2 width}.
// `modelFile` is a plain model file of the layers.
std::string MakeOnnxModel(const std::vector<LayerShape>& layers, const std::vector<uint8_t>& modelFile, FrameSize size,
                          Bound bound);

}  // namespace orvane::bench
