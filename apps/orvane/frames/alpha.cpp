#include "apps/orvane/frames/alpha.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace orvane::tool {
namespace {

struct Point {
    uint32_t x;
    uint32_t y;
};

// The pixels around the point, including the point itself.
template <typename Visit>
void ForEachAround(const Image& image, Point point, const Visit& visit) {
    for (uint32_t y = point.y - (point.y > 0 ? 1 : 0); y < std::min(point.y + 2, image.height); ++y) {
        for (uint32_t x = point.x - (point.x > 0 ? 1 : 0); x < std::min(point.x + 2, image.width); ++x) {
            visit(Point{x, y}, size_t{y} * image.width + x);
        }
    }
}

enum class Colour : uint8_t { kNone, kWanted, kKnown };

class ColourSpreader {
public:
    explicit ColourSpreader(Image& image) : m_image(image), m_colours(image.pixels.size() / kBytesPerPixel) {
        for (size_t i = 0; i < m_colours.size(); ++i) {
            m_colours[i] = image.pixels[i * kBytesPerPixel + 3] != 0 ? Colour::kKnown : Colour::kNone;
        }
    }

    // The transparent pixels next to others.
    std::vector<Point> FirstRing() {
        std::vector<Point> ring;
        for (uint32_t y = 0; y < m_image.height; ++y) {
            for (uint32_t x = 0; x < m_image.width; ++x) {
                if (m_colours[size_t{y} * m_image.width + x] == Colour::kKnown) {
                    WantAround({x, y}, ring);
                }
            }
        }
        return ring;
    }

    // Colours the pixels of a ring from known neighbours, and returns the next ring.
    std::vector<Point> Grow(const std::vector<Point>& ring) {
        for (const Point& point : ring) {
            TakeMean(point);
        }
        for (const Point& point : ring) {
            m_colours[Index(point)] = Colour::kKnown;
        }
        std::vector<Point> next;
        for (const Point& point : ring) {
            WantAround(point, next);
        }
        return next;
    }

private:
    size_t Index(Point point) const { return size_t{point.y} * m_image.width + point.x; }

    void WantAround(Point point, std::vector<Point>& ring) {
        ForEachAround(m_image, point, [&](Point around, size_t index) {
            if (m_colours[index] == Colour::kNone) {
                m_colours[index] = Colour::kWanted;
                ring.push_back(around);
            }
        });
    }

    void TakeMean(Point point) {
        std::array<uint32_t, 3> sum{};
        uint32_t count = 0;
        ForEachAround(m_image, point, [&](Point /*around*/, size_t index) {
            if (m_colours[index] == Colour::kKnown) {
                for (size_t channel = 0; channel < sum.size(); ++channel) {
                    sum[channel] += m_image.pixels[index * kBytesPerPixel + channel];
                }
                ++count;
            }
        });
        for (size_t channel = 0; channel < sum.size(); ++channel) {
            m_image.pixels[Index(point) * kBytesPerPixel + channel] =
                static_cast<uint8_t>((sum[channel] + count / 2) / count);
        }
    }

    Image& m_image;
    std::vector<Colour> m_colours;
};

// The centres of upscaled pixels lie a quarter of an input pixel beside those of input pixels. In units of 1/128.
constexpr int kUnit = 128;
constexpr std::array kFilter{-9, 111, 29, -3};

// The positions of the four input samples for the upscaled sample at `index`, the nearest one second. Positions beyond
// the edge become the edge.
std::array<uint32_t, 4> Taps(uint32_t index, uint32_t length) {
    const int64_t direction = index % 2 == 0 ? -1 : 1;
    std::array<uint32_t, 4> taps{};
    for (int64_t i = 0; i < 4; ++i) {
        const int64_t position = int64_t{index / 2} + direction * (i - 1);
        taps[static_cast<size_t>(i)] = static_cast<uint32_t>(std::clamp<int64_t>(position, 0, int64_t{length} - 1));
    }
    return taps;
}

// One row that is upscaled in height only, in units of 1 / kUnit.
void MixRows(const Image& input, uint32_t outputY, std::vector<int>& mixed) {
    const std::array<uint32_t, 4> rows = Taps(outputY, input.height);
    for (uint32_t x = 0; x < input.width; ++x) {
        mixed[x] = 0;
        for (size_t i = 0; i < rows.size(); ++i) {
            mixed[x] += kFilter[i] * input.Row(rows[i])[x * kBytesPerPixel + 3];
        }
    }
}

}  // namespace

void SpreadColours(Image& image, uint32_t distance) {
    ColourSpreader spreader(image);
    std::vector<Point> ring = spreader.FirstRing();
    for (uint32_t i = 0; i < distance && !ring.empty(); ++i) {
        ring = spreader.Grow(ring);
    }
}

void UpscaleAlpha(const Image& input, Image& output) {
    std::vector<int> mixed(input.width);
    for (uint32_t y = 0; y < output.height; ++y) {
        MixRows(input, y, mixed);
        uint8_t* row = output.Row(y);
        for (uint32_t x = 0; x < output.width; ++x) {
            const std::array<uint32_t, 4> columns = Taps(x, input.width);
            int sum = kUnit * kUnit / 2;
            for (size_t i = 0; i < columns.size(); ++i) {
                sum += kFilter[i] * mixed[columns[i]];
            }
            row[x * kBytesPerPixel + 3] = static_cast<uint8_t>(std::clamp(sum / (kUnit * kUnit), 0, 255));
        }
    }
    output.hasAlpha = true;
}

void LayOnWhite(Image& image) {
    for (size_t i = 0; i < image.pixels.size(); i += kBytesPerPixel) {
        const uint32_t alpha = std::exchange(image.pixels[i + 3], uint8_t{255});
        for (size_t channel = 0; channel < 3; ++channel) {
            const uint32_t mixed = image.pixels[i + channel] * alpha + 255 * (255 - alpha);
            image.pixels[i + channel] = static_cast<uint8_t>((mixed + 127) / 255);
        }
    }
    image.hasAlpha = false;
}

}  // namespace orvane::tool
