#include "apps/orvane/containers/frame_stream.h"

#include <span>
#include <string>
#include <utility>

#include "apps/orvane/containers/frame_bytes.h"
#include "apps/orvane/containers/pam.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

[[noreturn]] void FailCut(uint64_t count, uint64_t size) {
    throw Failure("The last frame is cut off: " + std::to_string(count) + " of its " + std::to_string(size) +
                  " bytes arrived.");
}

std::vector<uint8_t> WithAlpha(const std::vector<uint8_t>& colours) {
    std::vector<uint8_t> pixels(colours.size() / 3 * 4);
    const uint8_t* source = colours.data();
    for (size_t i = 0; i < pixels.size(); i += 4, source += 3) {
        pixels[i] = source[0];
        pixels[i + 1] = source[1];
        pixels[i + 2] = source[2];
        pixels[i + 3] = 255;
    }
    return pixels;
}

std::vector<uint8_t> WithoutAlpha(const std::vector<uint8_t>& pixels) {
    std::vector<uint8_t> colours(pixels.size() / 4 * 3);
    const uint8_t* source = pixels.data();
    for (size_t i = 0; i < colours.size(); i += 3, source += 4) {
        colours[i] = source[0];
        colours[i + 1] = source[1];
        colours[i + 2] = source[2];
    }
    return colours;
}

}  // namespace

Frame MakeFrame(const Size& size, std::vector<uint8_t> pixels) {
    Frame frame;
    frame.image.width = size.width;
    frame.image.height = size.height;
    frame.image.pixels = std::move(pixels);
    for (size_t i = 3; i < frame.image.pixels.size() && !frame.image.hasAlpha; i += kBytesPerPixel) {
        frame.image.hasAlpha = frame.image.pixels[i] != 255;
    }
    return frame;
}

std::optional<Frame> PamFrameReader::Next() {
    const std::optional<PamHeader> header = ReadPamHeader(m_source);
    if (!header) {
        return std::nullopt;
    }
    std::vector<uint8_t> bytes;
    if (!AppendBytes(m_source, header->PixelBytes(), bytes)) {
        FailCut(bytes.size(), header->PixelBytes());
    }
    const bool isRgba = header->channels == 4;
    Frame frame = MakeFrame({header->width, header->height}, isRgba ? std::move(bytes) : WithAlpha(bytes));
    frame.isRgba = isRgba;
    return frame;
}

bool PamFrameWriter::Write(const Frame& frame) {
    const Image& image = frame.image;
    const std::string header = PamHeaderText({image.width, image.height, frame.isRgba ? 4U : 3U});
    const std::vector<uint8_t> bytes(header.begin(), header.end());
    return m_sink.Write(bytes) && m_sink.Write(frame.isRgba ? image.pixels : WithoutAlpha(image.pixels));
}

std::optional<Frame> RawFrameReader::Next() {
    const uint64_t size = m_size.Area() * kBytesPerPixel;
    std::vector<uint8_t> bytes;
    if (!AppendBytes(m_source, size, bytes)) {
        if (bytes.empty()) {
            return std::nullopt;
        }
        FailCut(bytes.size(), size);
    }
    return MakeFrame(m_size, std::move(bytes));
}

}  // namespace orvane::tool
