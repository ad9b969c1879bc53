#include "apps/orvane/frames/model_choice.h"

#include "apps/orvane/frames/model_path.h"
#include "apps/utils/files/program_folder.h"

namespace orvane::tool {

std::filesystem::path WeightsFolder() {
    return ProgramFolder() / "weights";
}

ModelChoice ChooseModel(const ModelOptions& options) {
    const FoundModel found = FindModel(options, WeightsFolder());
    return {AnsiModelPath(found.path), found.network.channels, found.network.depth, static_cast<uint32_t>(found.reach),
            found.note};
}

}  // namespace orvane::tool
