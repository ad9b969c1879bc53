// Which frame size the images of a run are processed in.
#pragma once

#include <mutex>
#include <optional>

#include "apps/orvane/frames/tiles.h"

namespace orvane::tool {

// Images of different sizes would each do best with frames of their own size, but a change of size makes the library
// rebuild the network. Staying with the last size costs pixels that are processed for nothing, in frames that are too
// large or too small for the image. The choice is to stay until what that has cost adds up to a rebuild, as measured
// on this machine: that never costs more than twice what the best choice would have. From any thread.
class FrameSizeChoice {
public:
    explicit FrameSizeChoice(const TileRules& rules) : m_rules(rules) {}

    // For the next image.
    FrameExtent Choose(const FrameExtent& image);

    // What the library took for a frame, after a change of size or in the same size as before.
    void FrameTook(const FrameExtent& frame, double milliseconds, bool afterChange);

    const TileRules& Rules() const { return m_rules; }

private:
    bool StayingPays(const FrameExtent& image, const FrameExtent& best);

    const TileRules m_rules;
    std::mutex m_mutex;
    std::optional<FrameExtent> m_current;  // of the image that was chosen for last
    double m_wasted = 0;                   // milliseconds, since the last change
    double m_perPixel = 0;                 // milliseconds; 0 until it was measured
    double m_rebuild = 0;                  // milliseconds
};

}  // namespace orvane::tool
