// How an image is cut into frames of the library. Arithmetic only.
//
// An image gets a rim on all sides. The result of a frame is correct except near the frame's edges, as far as the
// network reaches. It is correct up to the edge where the frame ends with the rim, because nothing lies beyond either.
// So neighbouring frames overlap by twice the reach, and each keeps its own side of the middle.
#pragma once

#include <cstdint>
#include <vector>

#include "apps/utils/size.h"

namespace orvane::tool {

// One frame's part of an axis, in pixels of the image.
struct AxisTile {
    int64_t frameStart = 0;  // negative in the rim
    uint32_t keepStart = 0;  // the part of the result that is kept, from here ...
    uint32_t keepEnd = 0;    // ... to before here
};

struct TileRules {
    uint32_t reach = 0;     // of the network, in pixels
    uint32_t rim = 0;       // width of the rim in pixels: the reach, or 0 without a rim
    uint32_t maxFrame = 0;  // longest side of a frame in pixels; more than twice the reach
};

// The side of the smallest frames that cover `length` pixels and their rim with the fewest frames.
uint32_t BestFrameSide(uint32_t length, const TileRules& rules);

// The frames of side `frame` that cover `length` pixels. They lie within the rim, except that a single one may be
// longer than needed. `frame` must be more than twice the reach when one frame is not enough.
std::vector<AxisTile> SplitAxis(uint32_t length, uint32_t frame, const TileRules& rules);

// The number of input pixels that all frames of an image have together.
uint64_t WorkArea(const Size& image, const Size& frame, const TileRules& rules);

}  // namespace orvane::tool
