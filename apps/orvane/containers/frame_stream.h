// Frames that come one after another, and go.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "apps/orvane/frames/image.h"
#include "apps/utils/byte_stream.h"

namespace orvane::tool {

struct Frame {
    Image image;
    bool isRgba = true;  // else its alpha, 255 everywhere, is not passed on
    uint64_t time = 0;   // for the one who made it
};

// A frame without a profile, with what the pixels say of transparency.
Frame MakeFrame(uint32_t width, uint32_t height, std::vector<uint8_t> pixels);

class FrameReader {
public:
    virtual ~FrameReader() = default;

    // Nothing at the end. Throws Failure when what comes is no frame, or less than one.
    virtual std::optional<Frame> Next() = 0;
};

class FrameWriter {
public:
    virtual ~FrameWriter() = default;

    // False when nobody reads any more. Throws Failure.
    virtual bool Write(const Frame& frame) = 0;
};

// Frames in the PAM format, of any size each. `source` must outlive the object.
class PamFrameReader : public FrameReader {
public:
    explicit PamFrameReader(ByteSource& source) : m_source(source) {}
    std::optional<Frame> Next() override;

private:
    ByteSource& m_source;
};

// As RGB_ALPHA or RGB. `sink` must outlive the object.
class PamFrameWriter : public FrameWriter {
public:
    explicit PamFrameWriter(ByteSink& sink) : m_sink(sink) {}
    bool Write(const Frame& frame) override;

private:
    ByteSink& m_sink;
};

// Frames of one size without a header, R, G, B, A.
class RawFrameReader : public FrameReader {
public:
    RawFrameReader(ByteSource& source, uint32_t width, uint32_t height)
        : m_source(source), m_width(width), m_height(height) {}
    std::optional<Frame> Next() override;

private:
    ByteSource& m_source;
    uint32_t m_width;
    uint32_t m_height;
};

class RawFrameWriter : public FrameWriter {
public:
    explicit RawFrameWriter(ByteSink& sink) : m_sink(sink) {}
    bool Write(const Frame& frame) override { return m_sink.Write(frame.image.pixels); }

private:
    ByteSink& m_sink;
};

}  // namespace orvane::tool
