#include "apps/orvane/commands/video_command.h"

#include <memory>
#include <string>

#include "apps/orvane/commands/frame_options.h"
#include "apps/orvane/video/upscale_video.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/progress.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

struct Arguments {
    std::string input;
    std::string output;
    std::string ffmpeg;
    std::string start;
    std::string duration;
    ProgressOptions progress;
    VideoOptions options;
};

std::string CheckTime(const std::string& text) {
    return SecondsFromText(text) >= 0 ? std::string() : Quoted(text) + " is not a time, such as 90 or 1:30.5";
}

void RequireOptionsOnly(const std::vector<std::string>& encoderArguments) {
    if (!encoderArguments.empty() && !encoderArguments.front().starts_with('-')) {
        throw UsageError(Quoted(encoderArguments.front()) + " is one argument too many; options for ffmpeg follow --.");
    }
}

NamedPath AbsolutePath(const std::string& name) {
    return {std::filesystem::absolute(PathFromUtf8(name)), name};
}

void Run(Arguments& arguments) {
    VideoOptions& options = arguments.options;
    RequireOptionsOnly(options.job.encoderArguments);
    options.input = AbsolutePath(arguments.input);
    options.output = AbsolutePath(arguments.output);
    options.ffmpeg = PathFromUtf8(arguments.ffmpeg);
    if (!arguments.start.empty()) {
        options.job.start = arguments.start;
    }
    if (!arguments.duration.empty()) {
        options.job.duration = arguments.duration;
    }
    UpscaleVideo(options, *MakeProgress(arguments.progress, stdout));
}

}  // namespace

void AddVideoCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    VideoOptions& options = arguments->options;
    CLI::App* video = app.add_subcommand("video", "Upscales a video");
    video->add_option("IN", arguments->input, "The video to upscale, in any format that ffmpeg reads")->required();
    video->add_option("OUT", arguments->output, "The video to write; the extension selects the container")->required();
    video->add_option("ENCODER", options.job.encoderArguments, "After --: options for the ffmpeg that writes OUT");
    video->add_option("--codec", options.job.codec, "ffmpeg's name of the encoder; default: libx264");
    video->add_option("--crf", options.job.crf, "Quality: lower values look better and need more space; default: 18");
    video->add_option("--preset", options.job.preset, "Speed of the encoder, such as fast or slow");
    video->add_option("--start", arguments->start, "Where to begin: seconds, or hours:minutes:seconds")
        ->check(CheckTime);
    video->add_option("--duration", arguments->duration, "How much to upscale, in the same form")->check(CheckTime);
    video->add_option("--ffmpeg", arguments->ffmpeg, "Path of ffmpeg.exe; default: beside this program, then in PATH");
    video->add_flag("--force", options.force, "Replace OUT if it exists");
    AddFrameOptions(*video, options.frames);
    AddProgressOptions(*video, arguments->progress);
    video->footer("Example: orvane video holiday.mp4 holiday-2x.mp4 --crf 16 -- -tune film");
    video->callback([arguments] { Run(*arguments); });
}

}  // namespace orvane::tool
