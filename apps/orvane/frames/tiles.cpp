#include "apps/orvane/frames/tiles.h"

#include <algorithm>

namespace orvane::tool {
namespace {

uint32_t CeilDiv(uint32_t a, uint32_t b) {
    return (a + b - 1) / b;
}

}  // namespace

uint32_t BestFrameSide(uint32_t length, const TileRules& rules) {
    const uint32_t domain = length + 2 * rules.rim;
    if (domain <= rules.maxFrame) {
        return domain;
    }
    const uint32_t inner = domain - 2 * rules.reach;
    const uint32_t count = CeilDiv(inner, rules.maxFrame - 2 * rules.reach);
    return CeilDiv(inner, count) + 2 * rules.reach;
}

std::vector<AxisTile> SplitAxis(uint32_t length, uint32_t frame, const TileRules& rules) {
    const int64_t first = -int64_t{rules.rim};
    const int64_t end = int64_t{length} + rules.rim;
    std::vector<AxisTile> tiles{{first, 0, length}};
    while (tiles.back().frameStart + frame < end) {
        AxisTile& last = tiles.back();
        last.keepEnd = static_cast<uint32_t>(last.frameStart + frame - rules.reach);
        const int64_t start = std::min(last.frameStart + frame - 2 * int64_t{rules.reach}, end - frame);
        tiles.push_back({start, last.keepEnd, length});
    }
    return tiles;
}

uint64_t WorkArea(const Size& image, const Size& frame, const TileRules& rules) {
    return SplitAxis(image.width, frame.width, rules).size() * SplitAxis(image.height, frame.height, rules).size() *
           frame.Area();
}

}  // namespace orvane::tool
