#include "apps/orvane/images/orientation.h"

#include <algorithm>
#include <utility>

namespace orvane::tool {

Image Upright(Image stored, uint16_t orientation) {
    if (orientation < 2 || orientation > 8) {
        return stored;
    }
    // The position of an upright pixel (x, y) in the stored image: first swap, then mirror.
    const bool swapsAxes = orientation >= 5;
    const bool mirrorsX = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool mirrorsY = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;

    Image upright;
    upright.width = swapsAxes ? stored.height : stored.width;
    upright.height = swapsAxes ? stored.width : stored.height;
    upright.colourProfile = std::move(stored.colourProfile);
    upright.hasAlpha = stored.hasAlpha;
    upright.dpiX = swapsAxes ? stored.dpiY : stored.dpiX;
    upright.dpiY = swapsAxes ? stored.dpiX : stored.dpiY;
    upright.pixels.resize(stored.pixels.size());
    uint8_t* target = upright.pixels.data();
    for (uint32_t y = 0; y < upright.height; ++y) {
        for (uint32_t x = 0; x < upright.width; ++x) {
            const uint32_t column = swapsAxes ? y : x;
            const uint32_t row = swapsAxes ? x : y;
            const size_t storedX = mirrorsX ? stored.width - 1 - column : column;
            const size_t storedY = mirrorsY ? stored.height - 1 - row : row;
            const uint8_t* source = &stored.pixels[storedY * stored.RowBytes() + storedX * kBytesPerPixel];
            target = std::copy_n(source, kBytesPerPixel, target);
        }
    }
    return upright;
}

}  // namespace orvane::tool
