// One layer of the network as a compiled DirectML operator.
#pragma once

#include <cstdint>

#include "engine/directml_context.h"
#include "engine/tensor_plan.h"
#include "gpu/platform.h"

namespace orvane {

// Compiles a 3 x 3 convolution with stride 1 and padding 1, bias and max(0, min(x, 1)) on top. 0, or -1 with the
// failing call logged.
int32_t CreateConvolution(const DirectMLContext& context, const TensorShape& inputShape, const TensorShape& filterShape,
                          const TensorShape& outputShape, ComPtr<IDMLCompiledOperator>& compiledOperator);

}  // namespace orvane
