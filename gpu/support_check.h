// Whether this machine can run the engine.
#pragma once

#include <cstdint>

#include "api/orvane.h"

namespace orvane {

// Checks the machine and fills the two records as far as the check gets. Returns 0 or an orvane_check_status, with the
// reason logged. Leaves no library loaded and no object alive.
int32_t DetectHardware(orvane_check_result& supportRecord, orvane_check_class& classRecord);

}  // namespace orvane
