#include "apps/orvane/frames/image_upscale.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "apps/orvane/frames/alpha.h"
#include "apps/orvane/frames/tiles.h"

namespace orvane::tool {
namespace {

// Beyond an edge the image is mirrored; the outermost pixels appear twice.
uint32_t Mirrored(int64_t position, uint32_t length) {
    const int64_t period = 2 * int64_t{length};
    const int64_t folded = ((position % period) + period) % period;
    return static_cast<uint32_t>(std::min(folded, period - 1 - folded));
}

struct Tile {
    AxisTile x;
    AxisTile y;
};

ServedFrame CutOut(const Image& image, const Tile& tile, const Size& size) {
    ServedFrame frame{size, std::vector<uint8_t>(size.Area() * kBytesPerPixel), {}, 0};
    // The columns of the frame that need no mirroring.
    const int64_t start = tile.x.frameStart;
    const int64_t insideStart = std::max<int64_t>(start, 0);
    const int64_t insideEnd = std::min<int64_t>(start + size.width, image.width);
    uint8_t* target = frame.input.data();
    for (uint32_t row = 0; row < size.height; ++row) {
        const uint8_t* source = image.Row(Mirrored(tile.y.frameStart + row, image.height));
        const auto copyMirrored = [&](int64_t from, int64_t to) {
            for (int64_t x = from; x < to; ++x) {
                std::memcpy(target, source + Mirrored(x, image.width) * kBytesPerPixel, kBytesPerPixel);
                target += kBytesPerPixel;
            }
        };
        copyMirrored(start, insideStart);
        target = std::copy_n(source + insideStart * int64_t{kBytesPerPixel},
                             (insideEnd - insideStart) * int64_t{kBytesPerPixel}, target);
        copyMirrored(insideEnd, start + size.width);
    }
    return frame;
}

void PutIn(const ServedFrame& frame, const Tile& tile, Image& output) {
    const size_t frameRowBytes = size_t{frame.size.width} * 2 * kBytesPerPixel;
    const size_t columns = size_t{tile.x.keepEnd - tile.x.keepStart} * 2;
    const auto frameX = static_cast<size_t>(tile.x.keepStart - tile.x.frameStart) * 2;
    for (uint32_t y = 2 * tile.y.keepStart; y < 2 * tile.y.keepEnd; ++y) {
        const auto frameY = static_cast<size_t>(y - 2 * tile.y.frameStart);
        std::memcpy(output.Row(y) + size_t{tile.x.keepStart} * 2 * kBytesPerPixel,
                    frame.output.data() + frameY * frameRowBytes + frameX * kBytesPerPixel, columns * kBytesPerPixel);
    }
}

std::vector<Tile> CutIntoTiles(const Image& image, const Size& frame, const TileRules& rules) {
    std::vector<Tile> tiles;
    for (const AxisTile& y : SplitAxis(image.height, frame.height, rules)) {
        for (const AxisTile& x : SplitAxis(image.width, frame.width, rules)) {
            tiles.push_back({x, y});
        }
    }
    return tiles;
}

Image EmptyResult(const Image& input) {
    Image output;
    output.width = 2 * input.width;
    output.height = 2 * input.height;
    output.colourProfile = input.colourProfile;
    output.dpiX = 2 * input.dpiX;
    output.dpiY = 2 * input.dpiY;
    output.pixels.resize(output.RowBytes() * output.height);
    return output;
}

// Ends the session also when something throws, because the server waits for the end.
class EndOfSession {
public:
    explicit EndOfSession(FrameSession& session) : m_session(session) {}
    ~EndOfSession() { m_session.End(); }
    EndOfSession(const EndOfSession&) = delete;
    EndOfSession& operator=(const EndOfSession&) = delete;

private:
    FrameSession& m_session;
};

// While the library upscales one tile, the next one is cut out and the last one is put into the result.
void UpscaleTiles(const Image& input, Image& output, FrameServer& server, const FrameDone& frameDone) {
    const std::shared_ptr<FrameSession> session = server.Begin({input.width, input.height});
    const EndOfSession end(*session);
    const std::vector<Tile> tiles = CutIntoTiles(input, session->FrameSize(), server.Rules());
    const double share = 1 / static_cast<double>(tiles.size());
    size_t sent = 0;
    for (const Tile& tile : tiles) {
        while (sent < std::min(tiles.size(), static_cast<size_t>(&tile - tiles.data()) + FrameSession::kMaxFrames)) {
            session->Send(CutOut(input, tiles[sent++], session->FrameSize()));
        }
        const ServedFrame frame = session->Receive();
        PutIn(frame, tile, output);
        frameDone(share, frame.milliseconds);
    }
}

}  // namespace

Image UpscaleImage(Image input, FrameServer& server, const FrameDone& frameDone) {
    if (input.hasAlpha) {
        SpreadColours(input, server.Rules().reach);
    }
    Image output = EmptyResult(input);
    UpscaleTiles(input, output, server, frameDone);
    if (input.hasAlpha) {
        UpscaleAlpha(input, output);
    }
    return output;
}

}  // namespace orvane::tool
