// The network as an ONNX model.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/frame_size.h"
#include "model/network.h"

namespace orvane::bench {

// A serialised ModelProto (ONNX operator set 17): for each layer Conv and Clip to 0..1, then DepthToSpace in CRD order.
// Everything is in half precision. The input "x" is {1, 3, height, width}, the output "y" {1, 3, 2 height, 2 width}.
// `modelFile` is a plain model file of the layers.
std::string MakeOnnxModel(const std::vector<LayerShape>& layers, const std::vector<uint8_t>& modelFile, FrameSize size);

}  // namespace orvane::bench
