#include "apps/orvane/upscale_command.h"

#include <memory>
#include <string>

#include "apps/orvane/model_options.h"
#include "apps/orvane/upscale.h"
#include "apps/utils/utf8_path.h"

namespace orvane::tool {
namespace {

struct Arguments {
    std::string input;
    std::string output;
    UpscaleOptions options;
};

void Run(Arguments& arguments) {
    arguments.options.input = PathFromUtf8(arguments.input);
    arguments.options.output = PathFromUtf8(arguments.output);
    Upscale(arguments.options);
}

}  // namespace

void AddUpscaleCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    const auto endsInPng = [](const std::string& path) {
        return HasPngEnding(PathFromUtf8(path)) ? std::string()
                                                : "the result is a PNG file: \"" + path + "\" must end in .png";
    };
    CLI::App* upscale = app.add_subcommand("upscale", "Doubles the width and height of a picture");
    upscale->add_option("IN", arguments->input, "The picture to double, PNG or JPEG")->required();
    upscale->add_option("OUT", arguments->output, "The PNG file to write")->required()->check(endsInPng);
    AddModelOptions(*upscale, arguments->options.model);
    upscale->add_option("--repeat", arguments->options.repeat, "How often to process the picture, to measure the time")
        ->capture_default_str()
        ->check(CLI::Range(1, 1000000));
    upscale->add_flag("--verbose", arguments->options.verbose, "Print every message of the library");
    upscale->callback([arguments] { Run(*arguments); });
}

}  // namespace orvane::tool
