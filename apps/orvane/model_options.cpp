#include "apps/orvane/model_options.h"

#include "apps/orvane/model_path.h"
#include "apps/utils/utf8_path.h"

namespace orvane::tool {

void AddModelOptions(CLI::App& command, ModelOptions& options) {
    command.add_option("--model", options.model, "The model file: NAME.en and NAME.en2 are enciphered")->required();
    command.add_option("--channels", options.channels, "Feature channels of the model's network")
        ->capture_default_str()
        ->check(CLI::Range(1, 1024));
    command.add_option("--depth", options.depth, "Layers between the network's first and last one")
        ->capture_default_str()
        ->check(CLI::Range(-1, 14));
}

ModelChoice ChooseModel(const ModelOptions& options) {
    return {AnsiModelPath(PathFromUtf8(options.model)), options.channels, options.depth};
}

}  // namespace orvane::tool
