// Minimal uses of Direct3D and DirectML. Messages of a validation layer about these are caused by Wine's translation of
// Direct3D to Vulkan, or by DirectML.
#pragma once

#include <stdexcept>

#include "gpu/device_resources.h"

namespace orvane::validation {

inline void Require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

// Twice: uploads a texture, copies it to another in a compute shader, and reads that back. `withFault` leaves out the
// barriers between two dispatches that write the same texture.
void RunDirect3D(DX::DeviceResources& resources, bool withFault);

// Twice: one convolution from buffer to buffer.
void RunDirectML(DX::DeviceResources& resources);

}  // namespace orvane::validation
