// orvane: the Orvane library at work on pictures and video.
#include "apps/orvane/bench_command.h"
#include "apps/orvane/check_command.h"
#include "apps/orvane/model_command.h"
#include "apps/orvane/stream_command.h"
#include "apps/orvane/upscale_command.h"
#include "apps/orvane/video_command.h"
#include "apps/utils/library_search.h"
#include "apps/utils/program.h"

int main(int argc, char** argv) {
    orvane::tool::RestrictLibrarySearch();
    CLI::App app("Doubles pictures with a small convolutional network on the GPU.", "orvane");
    app.require_subcommand(1);
    orvane::tool::AddUpscaleCommand(app);
    orvane::tool::AddVideoCommand(app);
    orvane::tool::AddStreamCommand(app);
    orvane::tool::AddModelCommand(app);
    orvane::tool::AddCheckCommand(app);
    orvane::tool::AddBenchCommand(app);
    return orvane::tool::RunProgram(app, argc, argv);
}
