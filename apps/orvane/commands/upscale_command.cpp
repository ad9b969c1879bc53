#include "apps/orvane/commands/upscale_command.h"

#include <map>
#include <memory>
#include <string>

#include "apps/orvane/commands/frame_options.h"
#include "apps/orvane/images/upscale_images.h"

namespace orvane::tool {
namespace {

struct Arguments {
    std::string format;
    ImageOptions options;
};

void Run(Arguments& arguments) {
    static const std::map<std::string, ImageFormat> kFormats{{"png", ImageFormat::kPng},
                                                             {"jpeg", ImageFormat::kJpeg},
                                                             {"tiff", ImageFormat::kTiff},
                                                             {"bmp", ImageFormat::kBmp}};
    JobOptions& jobs = arguments.options.jobs;
    jobs.keepsFormat = arguments.format == "same";
    if (const auto found = kFormats.find(arguments.format); found != kFormats.end()) {
        jobs.format = found->second;
    }
    UpscaleImages(arguments.options);
}

}  // namespace

void AddUpscaleCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    ImageOptions& options = arguments->options;
    CLI::App* upscale = app.add_subcommand("upscale", "Upscales images");
    auto* inputs = upscale->add_option("INPUT", options.jobs.inputs, "Images, and folders of images");
    auto* list =
        upscale->add_option("--list", options.jobs.list, "A file with one path per line; - reads standard input");
    upscale->add_option("-o", options.jobs.output, "The folder for the results, or a file for a single image")
        ->required();
    upscale->add_option("--format", arguments->format, "png (the default), jpeg, tiff, bmp, or same as the image")
        ->check(CLI::IsMember({"png", "jpeg", "tiff", "bmp", "same"}));
    upscale->add_option("--quality", options.quality, "Quality of JPEG results, 1 to 100")
        ->capture_default_str()
        ->check(CLI::Range(1, 100).description(""));
    upscale->add_flag("--force", options.force, "Replace existing results instead of skipping them");
    AddFrameOptions(*upscale, options.frames);
    AddProgressOptions(*upscale, options.progress);
    upscale->footer("Example: orvane upscale photos -o large --passes 2");
    upscale->callback([arguments, inputs, list] {
        if (inputs->empty() && list->empty()) {
            throw CLI::RequiredError("INPUT or --list");
        }
        Run(*arguments);
    });
}

}  // namespace orvane::tool
