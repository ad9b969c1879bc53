// The program orvane, which upscales images and video with the Orvane library.
#include "apps/orvane/commands/bench_command.h"
#include "apps/orvane/commands/check_command.h"
#include "apps/orvane/commands/model_command.h"
#include "apps/orvane/commands/stream_command.h"
#include "apps/orvane/commands/upscale_command.h"
#include "apps/orvane/commands/video_command.h"
#include "apps/utils/process/library_search.h"
#include "apps/utils/program.h"

int main(int argc, char** argv) {
    orvane::tool::RestrictLibrarySearch();
    CLI::App app("Upscales images and video with a small convolutional network on the GPU.", "orvane");
    app.require_subcommand(1);
    orvane::tool::AddUpscaleCommand(app);
    orvane::tool::AddVideoCommand(app);
    orvane::tool::AddStreamCommand(app);
    orvane::tool::AddModelCommand(app);
    orvane::tool::AddCheckCommand(app);
    orvane::tool::AddBenchCommand(app);
    return orvane::tool::RunProgram(app, argc, argv);
}
