#include "apps/orvane/upscale.h"

#include <cstdio>
#include <string>

#include "apps/orvane/library_log.h"
#include "apps/orvane/picture_reader.h"
#include "apps/orvane/picture_writer.h"
#include "apps/orvane/support_check.h"
#include "apps/orvane/upscaler.h"
#include "apps/orvane/wic.h"
#include "apps/utils/atomic_file.h"
#include "apps/utils/utf8_path.h"

namespace orvane::tool {
namespace {

// At once, even into a pipe: what follows may take long.
void Announce(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

std::string SizeText(const Picture& picture, const char* times) {
    return std::to_string(picture.width) + times + std::to_string(picture.height);
}

Picture EmptyDouble(const Picture& input) {
    Picture output;
    output.width = 2 * input.width;
    output.height = 2 * input.height;
    output.colourProfile = input.colourProfile;
    output.pixels.resize(output.RowBytes() * output.height);
    return output;
}

PixelRows RowsOf(Picture& picture) {
    return {picture.width, picture.height, picture.RowBytes(), picture.pixels.data()};
}

// The mean time of a frame in milliseconds. The first of several is left out: it pays for the GPU's warming up.
double ProcessRepeatedly(Upscaler& upscaler, Picture& output, Picture& input, int32_t repeat) {
    const double first = upscaler.Process(RowsOf(input), RowsOf(output));
    if (repeat == 1) {
        return first;
    }
    double sum = 0;
    for (int32_t i = 1; i < repeat; ++i) {
        sum += upscaler.Process(RowsOf(input), RowsOf(output));
    }
    return sum / (repeat - 1);
}

double Double(const UpscaleOptions& options, LibraryLog& log, Picture& output, Picture& input) {
    const ModelChoice model = ChooseModel(options.model);
    if (!model.note.empty()) {
        Announce(model.note);
    }
    Upscaler upscaler(model, log);
    Announce("Preparing the network for " + SizeText(input, " x ") + " ...");
    upscaler.Open(input.width, input.height);
    Announce(options.repeat == 1 ? "Processing ..." : "Processing " + std::to_string(options.repeat) + " times ...");
    return ProcessRepeatedly(upscaler, output, input, options.repeat);
}

}  // namespace

bool HasPngEnding(const std::filesystem::path& path) {
    const std::string ending = Utf8FromPath(path.extension());
    return ending == ".png" || ending == ".PNG";
}

void Upscale(const UpscaleOptions& options) {
    RequireWritableTarget(options.output);
    const ComScope com;
    Picture input = ReadPicture(options.input);
    Picture output = EmptyDouble(input);

    LibraryLog log(options.verbose);
    const std::string adapter = RequireSupportedMachine();
    const double milliseconds = Double(options, log, output, input);
    WriteFileAtomically(options.output, EncodePng(output));

    Announce("Adapter: " + adapter);
    Announce("Size: " + SizeText(input, "x") + " -> " + SizeText(output, "x"));
    std::printf("Frame: %.1f ms\n", milliseconds);
    Announce("Wrote: " + Utf8FromPath(options.output));
}

}  // namespace orvane::tool
