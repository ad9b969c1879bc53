#include "apps/orvane/commands/model_options.h"

namespace orvane::tool {

void AddModelOptions(CLI::App& command, ModelOptions& options) {
    command.add_option("--model", options.model, "A name from \"orvane model list\", or the path of a model file")
        ->capture_default_str();
    AddNetworkOptions(command, options);
}

void AddNetworkOptions(CLI::App& command, ModelOptions& options) {
    command.add_option("--channels", options.channels, "Feature channels of a model file that has no .json beside it")
        ->check(CLI::Range(1, kMaxModelChannels).description(""));
    command.add_option("--depth", options.depth, "Layers between the first and the last one of such a file")
        ->check(CLI::Range(kMinModelDepth, kMaxModelDepth).description(""));
}

}  // namespace orvane::tool
