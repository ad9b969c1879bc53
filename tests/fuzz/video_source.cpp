// ffmpeg's messages about a file, and the command lines made from them.
#include "apps/orvane/video/ffmpeg_arguments.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace orvane::tool;
    const VideoSource source = ParseVideoSource({reinterpret_cast<const char*>(data), size});
    Require(source.seconds >= 0 && (source.hasVideo || source.pixelFormat.empty()));
    const ColourDescription colour = ResolvedColour(source);
    Require(!colour.matrix.empty() && (colour.range == "tv" || colour.range == "pc"));
    VideoJob job;
    job.output = "a.mp4";
    Require(DecodeArguments(job, source).back() == "pipe:1");
    Require(EncodeArguments(job, source, {}, 0).back() == "file:a.mp4");
    SummaryOfMessages({data, data + size});
    return 0;
}
