// The vendor identifiers of graphics adapters (PCI SIG's numbers). Portable.
#pragma once

#include <cstdint>

namespace orvane {

inline constexpr uint32_t kVendorAmd = 0x1002;
inline constexpr uint32_t kVendorAmdProcessors = 0x1022;
inline constexpr uint32_t kVendorIntel = 0x8086;
inline constexpr uint32_t kVendorMicrosoft = 0x1414;
inline constexpr uint32_t kVendorNvidia = 0x10DE;

}  // namespace orvane
