// The least that Direct3D and DirectML can be asked for. What a checking layer says about these comes from below: from
// Wine's translation of Direct3D to Vulkan, or from DirectML.
#pragma once

#include <stdexcept>

#include "gpu/device_resources.h"

namespace orvane::validation {

inline void Require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

// Twice: uploads a texture, draws it into another in a compute shader, and copies that back to the host. Without the
// barriers between two dispatches that write the same texture when `withFault`.
void RunDirect3D(DX::DeviceResources& resources, bool withFault);

// Twice: one convolution from buffer to buffer.
void RunDirectML(DX::DeviceResources& resources);

}  // namespace orvane::validation
