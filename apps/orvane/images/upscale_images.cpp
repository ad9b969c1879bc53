#include "apps/orvane/images/upscale_images.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/orvane/images/image_batch.h"
#include "apps/orvane/images/wic.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/process/stop_signal.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

// Removes the jobs that an earlier run has finished, and returns their number.
uint64_t SkipDone(std::vector<ImageJob>& jobs, Progress& progress) {
    return std::erase_if(jobs, [&](const ImageJob& job) {
        if (!Exists(job.output)) {
            return false;
        }
        progress.Item("Skipped: " + job.output.name + " exists already (--force replaces it)",
                      {{"event", "skipped"}, {"input", job.input.name}, {"output", job.output.name}});
        return true;
    });
}

void Summarise(const BatchResult& result, uint64_t skipped, Progress& progress) {
    std::string text = Counted(result.done, "image") + " done";
    if (skipped > 0) {
        text += ", " + std::to_string(skipped) + " skipped";
    }
    if (result.failed > 0) {
        text += ", " + std::to_string(result.failed) + " failed";
    }
    if (result.frames > 0) {
        text += "; " + Counted(result.frames, "frame") +
                Formatted(" took %.2f s of %.2f s", result.frameMilliseconds / 1000, result.seconds);
    }
    progress.Item(text, {{"event", "summary"},
                         {"done", result.done},
                         {"skipped", skipped},
                         {"failed", result.failed},
                         {"frames", result.frames},
                         {"frameMilliseconds", result.frameMilliseconds},
                         {"seconds", result.seconds}});
}

BatchResult RunBatch(const ImageOptions& options, const std::vector<ImageJob>& jobs, Progress& progress) {
    FrameRun run(options.frames, progress);
    ImageBatch batch(jobs, {options.quality, run.Passes()}, run.Server(), progress);
    progress.Begin({"images", jobs.size()});
    const BatchResult result = batch.Run();
    progress.End();
    return result;
}

}  // namespace

void UpscaleImages(const ImageOptions& options) {
    const StopSignal signal;
    const ComScope com;
    const std::unique_ptr<Progress> progress = MakeProgress(options.progress, stdout);
    progress->Note("Looking for images ...");
    std::vector<ImageJob> jobs = FindImages(options.jobs);
    const uint64_t skipped = options.force ? 0 : SkipDone(jobs, *progress);

    const BatchResult result = jobs.empty() ? BatchResult() : RunBatch(options, jobs, *progress);
    Summarise(result, skipped, *progress);
    if (StopSignal::Requested()) {
        throw Failure("Stopped by Ctrl-C. Finished results are kept; the same command goes on with the rest.");
    }
    if (result.failed > 0) {
        throw Failure(std::to_string(result.failed) + " of " + std::to_string(jobs.size()) + " images failed.");
    }
}

}  // namespace orvane::tool
