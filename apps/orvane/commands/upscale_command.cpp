#include "apps/orvane/commands/upscale_command.h"

#include <map>
#include <memory>
#include <string>

#include "apps/orvane/commands/model_options.h"
#include "apps/orvane/images/upscale_images.h"

namespace orvane::tool {
namespace {

// The library takes a square frame of this size on every adapter (see orvane.h).
constexpr int kLargestTile = 3344;

struct Arguments {
    std::string format;
    UpscaleOptions options;
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
    Upscale(arguments.options);
}

}  // namespace

void AddUpscaleCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    UpscaleOptions& options = arguments->options;
    CLI::App* upscale = app.add_subcommand("upscale", "Upscales the width and height of images");
    auto* inputs = upscale->add_option("INPUT", options.jobs.inputs, "Images, and folders of images");
    auto* list =
        upscale->add_option("--list", options.jobs.list, "A file with a path on every line; - for standard input");
    upscale->add_option("-o", options.jobs.output, "The folder for the results; a file for a single image")->required();
    AddModelOptions(*upscale, options.model);
    upscale->add_option("--passes", options.passes, "How often to double: 2 for four times the size, 3 for eight")
        ->capture_default_str()
        ->check(CLI::Range(1, 3));
    upscale->add_option("--format", arguments->format, "png (the default), jpeg, tiff, bmp, or same as the image")
        ->check(CLI::IsMember({"png", "jpeg", "tiff", "bmp", "same"}));
    upscale->add_option("--quality", options.quality, "Of JPEG results, 1 to 100")
        ->capture_default_str()
        ->check(CLI::Range(1, 100));
    upscale->add_option("--tile", options.tile, "Longest side of what is processed at a time; less needs less memory")
        ->capture_default_str()
        ->check(CLI::Range(64, kLargestTile));
    upscale->add_flag("--raw-edges", options.rawEdges, "Do not mirror the image beyond its edges");
    upscale->add_flag("--force", options.force, "Replace results that exist instead of skipping them");
    AddProgressOptions(*upscale, options.progress);
    upscale->add_flag("--verbose", options.verbose, "Print every message of the library");
    upscale->footer("Example: orvane upscale photos -o large --passes 2");
    upscale->callback([arguments, inputs, list] {
        if (inputs->empty() && list->empty()) {
            throw CLI::RequiredError("INPUT or --list");
        }
        Run(*arguments);
    });
}

}  // namespace orvane::tool
