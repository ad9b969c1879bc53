// Vendor and performance class of a graphics adapter, guessed from its name. Portable: no GPU needed.
#pragma once

#include <cstdint>
#include <string_view>

namespace orvane {

enum VendorClass : int32_t {
    kVendorClassUnknown = 0,
    kVendorClassNvidia = 1,
    kVendorClassIntel = 2,
    kVendorClassAmd = 3,
};

// Names are compared without regard to the case of ASCII letters. Only their first 127 bytes count.

// The vendor that the name suggests.
int32_t ClassifyVendor(std::string_view name);

// The orvane_performance_class of the name, given its vendor. The values are not ordered by strength: 3 ranks above 4.
int32_t ClassifyPerformance(std::string_view name, int32_t vendorClass);

}  // namespace orvane
