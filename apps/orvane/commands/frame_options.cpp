#include "apps/orvane/commands/frame_options.h"

#include <string>

#include "apps/orvane/commands/model_options.h"

namespace orvane::tool {

// Without a description of its own, a range takes no room beside the option's name, where it would not fit.
void AddFrameOptions(CLI::App& command, FrameOptions& options) {
    AddModelOptions(command, options.model);
    command.add_option("--passes", options.passes, "Number of 2x passes: 2 gives 4x, 3 gives 8x")
        ->capture_default_str()
        ->check(CLI::Range(1, kMaxPasses).description(""));
    command
        .add_option("--tile", options.tile,
                    "Longest side of a tile, " + std::to_string(kMinTile) + " to " + std::to_string(kMaxTile) +
                        "; smaller tiles need less memory")
        ->capture_default_str()
        ->check(CLI::Range(kMinTile, kMaxTile).description(""));
    command.add_flag("--raw-edges", options.rawEdges, "Do not mirror the image beyond its edges");
    command.add_flag("--verbose", options.verbose, "Print every log line of the library");
}

}  // namespace orvane::tool
