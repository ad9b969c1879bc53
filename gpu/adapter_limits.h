// What graphics adapters can do beyond what Direct3D 12 guarantees, judged by their vendor. Portable: no GPU needed.
#pragma once

#include <cstdint>

namespace orvane {

// The most elements that a typed view of a buffer may have. Direct3D 12 guarantees 2^27
// (D3D12_REQ_BUFFER_RESOURCE_TEXEL_COUNT_2_TO_EXP) and has no call that tells more, nor one that reports a view with
// too many: shaders then read zeros where the view should go on. The drivers of the large vendors, and Windows' own
// software adapter, carry 2^29; others, such as those of phones' processors, end at 2^27.
uint64_t MaxTypedViewElements(uint32_t vendorId);

}  // namespace orvane
