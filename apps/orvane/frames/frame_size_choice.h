// The frame size for each image of a run.
#pragma once

#include <mutex>
#include <optional>

#include "apps/orvane/frames/tiles.h"

namespace orvane::tool {

// Frames of an image's own size waste no pixels, but a change of the frame size makes the library rebuild the network.
// Keeping the last size wastes pixels in frames that are too large or too small for the image. So the last size is kept
// until the wasted time adds up to the time of a rebuild, both as measured in this run. That never costs more than
// twice the best choice. Thread-safe.
class FrameSizeChoice {
public:
    explicit FrameSizeChoice(const TileRules& rules) : m_rules(rules) {}

    // For the next image.
    Size Choose(const Size& image);

    // Reports the library's time for a frame. `afterChange`: the frame before had another size.
    void FrameTook(const Size& frame, double milliseconds, bool afterChange);

    const TileRules& Rules() const { return m_rules; }

private:
    bool StayingPays(const Size& image, const Size& best);

    const TileRules m_rules;
    std::mutex m_mutex;
    std::optional<Size> m_current;  // the last choice
    double m_wasted = 0;            // milliseconds since the last change
    double m_perPixel = 0;          // milliseconds; 0 until a frame was measured
    double m_rebuild = 0;           // milliseconds
};

}  // namespace orvane::tool
