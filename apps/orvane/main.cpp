// orvane: doubles pictures with the Orvane library.
#include <string>

#include "apps/orvane/upscale.h"
#include "apps/utils/program.h"
#include "apps/utils/utf8_path.h"

namespace {

struct UpscaleArguments {
    std::string input;
    std::string output;
    std::string model;
    orvane::tool::UpscaleOptions options;
};

void RunUpscale(UpscaleArguments& arguments) {
    arguments.options.input = orvane::tool::PathFromUtf8(arguments.input);
    arguments.options.output = orvane::tool::PathFromUtf8(arguments.output);
    arguments.options.model = orvane::tool::PathFromUtf8(arguments.model);
    Upscale(arguments.options);
}

void AddUpscale(CLI::App& app, UpscaleArguments& arguments) {
    const auto endsInPng = [](const std::string& path) {
        return orvane::tool::HasPngEnding(orvane::tool::PathFromUtf8(path))
                   ? std::string()
                   : "the result is a PNG file: \"" + path + "\" must end in .png";
    };
    CLI::App* upscale = app.add_subcommand("upscale", "Doubles the width and height of a picture");
    upscale->add_option("IN", arguments.input, "The picture to double, PNG or JPEG")->required();
    upscale->add_option("OUT", arguments.output, "The PNG file to write")->required()->check(endsInPng);
    upscale->add_option("--model", arguments.model, "The model file: NAME.en and NAME.en2 are enciphered")->required();
    upscale->add_option("--channels", arguments.options.channels, "Feature channels of the model's network")
        ->capture_default_str()
        ->check(CLI::Range(1, 1024));
    upscale->add_option("--depth", arguments.options.depth, "Layers between the network's first and last one")
        ->capture_default_str()
        ->check(CLI::Range(-1, 14));
    upscale->add_option("--repeat", arguments.options.repeat, "How often to process the picture, to measure the time")
        ->capture_default_str()
        ->check(CLI::Range(1, 1000000));
    upscale->add_flag("--verbose", arguments.options.verbose, "Print every message of the library");
    upscale->callback([&arguments] { RunUpscale(arguments); });
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Doubles pictures with a small convolutional network on the GPU.", "orvane");
    app.require_subcommand(1);
    UpscaleArguments arguments;
    AddUpscale(app, arguments);
    return orvane::tool::RunProgram(app, argc, argv);
}
