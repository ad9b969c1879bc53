#include "apps/orvane/commands/model_options.h"

#include <CLI/CLI.hpp>

#include "apps/orvane/frames/model_path.h"
#include "apps/utils/files/program_folder.h"

namespace orvane::tool {

std::filesystem::path WeightsFolder() {
    return ProgramFolder() / "weights";
}

void AddModelOptions(CLI::App& command, ModelOptions& options) {
    command.add_option("--model", options.model, "A name that \"orvane model list\" shows, or a model file's path")
        ->capture_default_str();
    AddNetworkOptions(command, options);
}

void AddNetworkOptions(CLI::App& command, ModelOptions& options) {
    command.add_option("--channels", options.channels, "Feature channels, of a model file without a .json beside it")
        ->check(CLI::Range(1, kMaxModelChannels));
    command.add_option("--depth", options.depth, "Layers between the first and the last one, of such a file")
        ->check(CLI::Range(kMinModelDepth, kMaxModelDepth));
}

ModelChoice ChooseModel(const ModelOptions& options) {
    const FoundModel found = FindModel(options, WeightsFolder());
    return {AnsiModelPath(found.path), found.network.channels, found.network.depth, static_cast<uint32_t>(found.reach),
            found.note};
}

}  // namespace orvane::tool
