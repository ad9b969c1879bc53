#include "apps/orvane/machine/support_check.h"

#include <string>

#include "api/orvane.h"
#include "apps/orvane/machine/machine_report.h"
#include "apps/utils/failure.h"
#include "apps/utils/windows_text.h"

namespace orvane::tool {

std::string RequireSupportedMachine() {
    orvane_check_result result{};
    orvane_check_class performance{};
    const int code = orvane_check_supported(&result, &performance);
    const std::string adapter = Utf8FromAnsi(result.adapterName);
    if (code != ORVANE_OK) {
        const std::string windows = result.osVersion[0] != '\0' ? result.osVersion : "of unknown version";
        const std::string best = adapter.empty() ? "" : ", the best one: " + adapter;
        throw Failure("This machine cannot run the library: " + SupportReason(result.status) + ". " +
                      SupportAdvice(result.status) + " (Windows " + windows +
                      ", graphics adapters found: " + std::to_string(result.adapterCount) + best + ")");
    }
    return adapter;
}

}  // namespace orvane::tool
