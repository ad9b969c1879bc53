#include "apps/orvane/commands/stream_command.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "apps/orvane/commands/frame_options.h"
#include "apps/orvane/containers/frame_bytes.h"
#include "apps/orvane/video/frame_line.h"
#include "apps/utils/process/pipe.h"
#include "apps/utils/progress.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

struct Arguments {
    std::string raw;  // empty: PAM
    FrameOptions frames;
    ProgressOptions progress;
};

std::string CheckSize(const std::string& text) {
    const std::optional<Size> size = SizeFromText(text);
    return size && IsFrameSize(size->width, size->height) ? std::string()
                                                          : Quoted(text) + " is not a size of a frame, such as 640x360";
}

void Run(const Arguments& arguments) {
    const std::unique_ptr<Progress> progress = MakeProgress(arguments.progress, stderr);
    FrameRun run(arguments.frames, *progress);
    PipeSource input = StandardInput();
    PipeSink output = StandardOutput();
    std::unique_ptr<FrameReader> reader = std::make_unique<PamFrameReader>(input);
    std::unique_ptr<FrameWriter> writer = std::make_unique<PamFrameWriter>(output);
    if (const std::optional<Size> size = SizeFromText(arguments.raw)) {
        reader = std::make_unique<RawFrameReader>(input, *size);
        writer = std::make_unique<RawFrameWriter>(output);
    }
    FrameCount count;
    progress->Note("Waiting for frames on standard input ...");
    progress->Begin({"frames", std::nullopt, true});
    try {
        UpscaleFrames(*reader, *writer, run, *progress, count);
    } catch (const NobodyReads&) {
        // The reader of the output has all it wants, like `head`.
    }
    progress->End();
    progress->Item(std::to_string(count.written) + " frames done", {{"event", "summary"},
                                                                    {"done", count.written},
                                                                    {"frames", count.libraryFrames},
                                                                    {"frameMilliseconds", count.milliseconds},
                                                                    {"seconds", count.seconds}});
}

}  // namespace

void AddStreamCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* stream = app.add_subcommand("stream", "Upscales frames from standard input to standard output");
    stream->add_option("--raw", arguments->raw, "Raw RGBA frames of WIDTHxHEIGHT without headers; default: PAM")
        ->check(CheckSize);
    AddFrameOptions(*stream, arguments->frames);
    AddProgressOptions(*stream, arguments->progress);
    stream->footer(
        "Example: ffmpeg -i in.mp4 -f image2pipe -c:v pam - | orvane stream | ffmpeg -f image2pipe -c:v pam -i - "
        "out.mp4");
    stream->callback([arguments] { Run(*arguments); });
}

}  // namespace orvane::tool
