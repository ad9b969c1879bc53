// How an image is cut into frames of the library. Plain arithmetic.
//
// The image is thought of with a rim around it. A frame's result is right up to the network's reach from the frame's
// edges, and right to its edge where the frame ends with the rim: what lies beyond is nothing either way. So
// neighbouring frames overlap by twice the reach, and each keeps its own side of the middle.
#pragma once

#include <cstdint>
#include <vector>

namespace orvane::tool {

struct FrameExtent {
    uint32_t width = 0;
    uint32_t height = 0;

    uint64_t Area() const { return uint64_t{width} * height; }
    bool operator==(const FrameExtent&) const = default;
};

// One frame's part of an axis, in pixels of the image.
struct AxisTile {
    int64_t frameStart = 0;  // negative in the rim
    uint32_t keepStart = 0;  // the part of the result that is kept
    uint32_t keepEnd = 0;
};

struct TileRules {
    uint32_t reach = 0;     // of the network
    uint32_t rim = 0;       // around the image: the reach or 0
    uint32_t maxFrame = 0;  // the longest side of a frame; more than twice the reach
};

// The side of the smallest frames that cover `length` pixels and their rim with as few of them as possible.
uint32_t BestFrameSide(uint32_t length, const TileRules& rules);

// The frames of a side of `frame` pixels that cover `length` pixels. All lie within the rim, but a single one may be
// longer than needed. `frame` is more than twice the reach when one is not enough.
std::vector<AxisTile> SplitAxis(uint32_t length, uint32_t frame, const TileRules& rules);

// The pixels that have to be processed for an image in frames of this size.
uint64_t WorkArea(const FrameExtent& image, const FrameExtent& frame, const TileRules& rules);

}  // namespace orvane::tool
