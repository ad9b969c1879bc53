// What graphics adapters can do beyond what Direct3D 12 guarantees, judged by their vendor. Portable: no GPU needed.
#pragma once

#include <cstdint>

namespace orvane {

// How many elements a typed view of a buffer may have. Direct3D 12 guarantees 2^27
// (D3D12_REQ_BUFFER_RESOURCE_TEXEL_COUNT_2_TO_EXP). No call tells whether an adapter can do more, and none reports a
// view with too many: shaders then read zeros. For the drivers of the large vendors and for Windows' own software
// adapter 2^29 is assumed. No document says so, and it was not tested.
uint64_t MaxTypedViewElements(uint32_t vendorId);

}  // namespace orvane
