// One upscaling run: what every command sets up before its first frame.
#pragma once

#include <cstdint>

#include "apps/orvane/frames/frame_server.h"
#include "apps/orvane/frames/frame_size_choice.h"
#include "apps/orvane/frames/library_log.h"
#include "apps/orvane/frames/model_choice.h"
#include "apps/orvane/frames/upscaler.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

inline constexpr int32_t kMaxPasses = 3;

// Limits of FrameOptions::tile. The least one is more than twice the reach of any network. A square frame of the
// largest one is within the library's limit on every adapter (see orvane.h).
inline constexpr uint32_t kMinTile = 64;
inline constexpr uint32_t kMaxTile = 3344;

struct FrameOptions {
    ModelOptions model;
    int32_t passes = 1;     // 1 to kMaxPasses; each upscales by 2x
    uint32_t tile = 2048;   // longest side of a frame of the library, kMinTile to kMaxTile
    bool rawEdges = false;  // images are not mirrored beyond their edges
    bool verbose = false;   // every log line of the library is printed
};

// The model, the log and the one instance of the library that a run works with, and the server for its frames.
class FrameRun {
public:
    // Finds the model and checks that the machine is supported, with notes to `progress`, which must outlive the
    // object. Opens no instance of the library yet. Throws Failure.
    FrameRun(const FrameOptions& options, Progress& progress);

    int32_t Passes() const { return m_passes; }

    // Call its Run() on the thread that made this object.
    FrameServer& Server() { return m_server; }

private:
    const int32_t m_passes;
    LibraryLog m_log;
    Upscaler m_upscaler;
    FrameSizeChoice m_sizes;
    FrameServer m_server;
};

}  // namespace orvane::tool
