// Frames from a reader through the network to a writer.
#pragma once

#include <cstdint>

#include "apps/orvane/containers/frame_stream.h"
#include "apps/orvane/frames/frame_run.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

struct FrameCount {
    uint64_t written = 0;
    uint64_t libraryFrames = 0;  // every tile and every pass is a frame of its own
    double milliseconds = 0;     // the library's time for them
    double seconds = 0;          // from reading the first frame to writing the last one
};

// Thrown when the other end of the writer is closed.
struct NobodyReads {};

// Reads, upscales and writes at the same time and in order, with a few frames in memory, until the reader ends or
// Ctrl-C is pressed. Frames that were read before a failure are still written. Throws Failure or NobodyReads; `count`
// is valid then too. Must be called on the thread that made `run`.
void UpscaleFrames(FrameReader& reader, FrameWriter& writer, FrameRun& run, Progress& progress, FrameCount& count);

}  // namespace orvane::tool
