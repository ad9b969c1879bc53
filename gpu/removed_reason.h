// Why a device was removed.
#pragma once

#include "gpu/platform.h"

namespace orvane {

// A log line that explains the result of GetDeviceRemovedReason, or null for a reason that needs no explanation.
const char* ExplainRemovedReason(HRESULT reason);

}  // namespace orvane
