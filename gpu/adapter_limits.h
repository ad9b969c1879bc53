// What graphics adapters can do beyond what Direct3D 12 guarantees, judged by their vendor. Portable: no GPU needed.
#pragma once

#include <cstdint>

namespace orvane {

// The largest number of elements of a typed buffer view. Direct3D 12 guarantees 2^27
// (D3D12_REQ_BUFFER_RESOURCE_TEXEL_COUNT_2_TO_EXP). It has no call that reports a larger limit, and none that fails for
// a view with too many elements: shaders read zeros beyond the limit. The drivers of the large vendors and Windows' own
// software adapter support 2^29. Others, such as those for phone processors, support only 2^27.
uint64_t MaxTypedViewElements(uint32_t vendorId);

}  // namespace orvane
