#include "gpu/adapter_limits.h"

#include "gpu/vendors.h"

namespace orvane {

uint64_t MaxTypedViewElements(uint32_t vendorId) {
    constexpr uint64_t kGuaranteed = uint64_t{1} << 27;
    constexpr uint64_t kAssumed = uint64_t{1} << 29;
    switch (vendorId) {
        case kVendorAmd:
        case kVendorAmdProcessors:
        case kVendorIntel:
        case kVendorMicrosoft:
        case kVendorNvidia:
            return kAssumed;
        default:
            return kGuaranteed;
    }
}

}  // namespace orvane
