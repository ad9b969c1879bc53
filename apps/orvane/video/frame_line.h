// Frames from a reader through the network to a writer.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>

#include "apps/orvane/commands/model_options.h"
#include "apps/orvane/containers/frame_stream.h"
#include "apps/orvane/frames/library_log.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

struct FrameOptions {
    int32_t passes = 1;     // each doubles the width and height
    uint32_t tile = 2048;   // longest side of what is processed at a time
    bool rawEdges = false;  // without the mirrored rim
};

// Adds --passes, --tile and --raw-edges.
void AddFrameOptions(CLI::App& command, FrameOptions& options);

struct FrameCount {
    uint64_t written = 0;
    uint64_t libraryFrames = 0;  // tiles and passes are frames of their own
    double milliseconds = 0;     // that the library took for them
    double seconds = 0;          // from the first frame that was read to the last one that was written
};

// Thrown when the writer's other end is closed.
struct NobodyReads {};

// Reads, upscales and writes at the same time and in order, with a few frames in memory, until the reader's end or
// Ctrl-C. What was read before a failure is written. Throws Failure or NobodyReads; `count` tells how far it came then
// too. On the thread that the library is to work on.
void UpscaleFrames(FrameReader& reader, FrameWriter& writer, const ModelChoice& model, const FrameOptions& options,
                   LibraryLog& log, Progress& progress, FrameCount& count);

}  // namespace orvane::tool
