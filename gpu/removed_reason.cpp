#include "gpu/removed_reason.h"

namespace orvane {

const char* ExplainRemovedReason(HRESULT reason) {
    switch (reason) {
        case DXGI_ERROR_DEVICE_REMOVED:
            return "DXGI_ERROR_DEVICE_REMOVED - GPU driver crashed or device was physically removed";
        case DXGI_ERROR_DEVICE_RESET:
            return "DXGI_ERROR_DEVICE_RESET - GPU driver was reset";
        case DXGI_ERROR_DEVICE_HUNG:
            return "DXGI_ERROR_DEVICE_HUNG - GPU hung and couldn't recover";
        case DXGI_ERROR_DRIVER_INTERNAL_ERROR:
            return "DXGI_ERROR_DRIVER_INTERNAL_ERROR - Internal driver error";
        case DXGI_ERROR_INVALID_CALL:
            return "DXGI_ERROR_INVALID_CALL - Invalid API call";
        default:
            return nullptr;
    }
}

}  // namespace orvane
