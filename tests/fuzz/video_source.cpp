// ffmpeg's messages about a file, and the command lines made from them.
#include "apps/orvane/video/ffmpeg_arguments.h"
#include "apps/orvane/video/ffprobe_report.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace orvane::tool;
    const std::string_view said(reinterpret_cast<const char*>(data), size);
    const VideoSource source = said.starts_with('{') ? ParseFfprobeReport(said) : ParseVideoSource(said);
    Require(source.seconds >= 0 && (source.hasVideo || source.pixelFormat.empty()));
    const ColourDescription colour = ResolvedColour(source);
    Require(!colour.matrix.empty() && (colour.range == "tv" || colour.range == "pc"));
    VideoJob job;
    job.output = "a.mp4";
    Require(DecodeArguments(job, source).back() == "-");
    Require(EncodeArguments(job, source, {}, 0).back() == "-");
    SummaryOfMessages({data, data + size});
    return 0;
}
