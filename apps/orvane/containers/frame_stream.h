// Streams of frames.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "apps/orvane/frames/image.h"
#include "apps/utils/byte_stream.h"
#include "apps/utils/size.h"

namespace orvane::tool {

struct Frame {
    Image image;
    bool isRgba = true;  // false: written without alpha, which is 255 everywhere
    uint64_t time = 0;   // passed through from the reader to the writer
};

// A frame without a colour profile; the pixels tell whether it has transparency.
Frame MakeFrame(const Size& size, std::vector<uint8_t> pixels);

class FrameReader {
public:
    virtual ~FrameReader() = default;

    // The next frame; nothing at the end. Throws Failure when the input is not a frame, or ends inside one.
    virtual std::optional<Frame> Next() = 0;
};

class FrameWriter {
public:
    virtual ~FrameWriter() = default;

    // False when the other end is closed. Throws Failure for any other error.
    virtual bool Write(const Frame& frame) = 0;
};

// Frames in the PAM format; each may have another size. `source` must outlive the object.
class PamFrameReader : public FrameReader {
public:
    explicit PamFrameReader(ByteSource& source) : m_source(source) {}
    std::optional<Frame> Next() override;

private:
    ByteSource& m_source;
};

// Frames in the PAM format, as RGB_ALPHA or RGB. `sink` must outlive the object.
class PamFrameWriter : public FrameWriter {
public:
    explicit PamFrameWriter(ByteSink& sink) : m_sink(sink) {}
    bool Write(const Frame& frame) override;

private:
    ByteSink& m_sink;
};

// Frames of one size without headers: R, G, B, A. `source` must outlive the object.
class RawFrameReader : public FrameReader {
public:
    RawFrameReader(ByteSource& source, const Size& size) : m_source(source), m_size(size) {}
    std::optional<Frame> Next() override;

private:
    ByteSource& m_source;
    Size m_size;
};

// As RawFrameReader reads them. `sink` must outlive the object.
class RawFrameWriter : public FrameWriter {
public:
    explicit RawFrameWriter(ByteSink& sink) : m_sink(sink) {}
    bool Write(const Frame& frame) override { return m_sink.Write(frame.image.pixels); }

private:
    ByteSink& m_sink;
};

}  // namespace orvane::tool
