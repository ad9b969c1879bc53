// Raw video frames with time stamps in the NUT container, which ffmpeg reads and writes through pipes. Portable.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/utils/byte_stream.h"

namespace orvane::tool {

struct Rational {
    uint32_t numerator = 0;
    uint32_t denominator = 1;
};

// One video stream whose frames have one size and 4 bytes per pixel: R, G, B, A.
struct NutVideo {
    uint32_t width = 0;
    uint32_t height = 0;
    Rational pixelAspect;           // width to height of a pixel; the numerator is 0 when unknown
    Rational timeBase = {1, 1000};  // of the time stamps, in seconds
    // Contents of the info packets: language, title, frame rate. They are passed on unchanged.
    std::vector<std::string> descriptions;
};

struct NutFrame {
    uint64_t time = 0;            // when it is shown, in units of the time base
    std::vector<uint8_t> pixels;  // rows from top to bottom without padding
};

// Reads what ffmpeg writes with `-f nut` and one rawvideo stream in the pixel format rgba: version 3 of the container.
// Checksums are not verified, because pipes do not lose bytes.
class NutReader {
public:
    // `source` must outlive the object.
    explicit NutReader(ByteSource& source) : m_source(source) {}

    // Reads up to the first frame; nothing when the source ends before it. Throws Failure when the source holds
    // anything else. Call it once, before Next.
    std::optional<NutVideo> ReadHeaders();

    // The next frame; nothing at the end of the source, also when that is in the middle of a frame. Throws Failure.
    std::optional<NutFrame> Next();

private:
    // The meaning of a frame's first byte.
    struct FrameCode {
        uint64_t flags = 0;
        int64_t timeDelta = 0;
        uint64_t sizeFactor = 1;
        uint64_t sizeRest = 0;
        uint64_t reservedCount = 0;
        uint64_t headIndex = 0;
    };
    struct FrameHeader {
        uint64_t time = 0;
        uint64_t size = 0;
        uint64_t headIndex = 0;
    };
    class PacketBytes;

    void ReadPacket(uint8_t firstByte);
    std::vector<uint8_t> ReadPacketContent(uint64_t size);
    void Skip(uint64_t size);
    void ReadMainHeader(PacketBytes& packet);
    void ReadFrameCodes(PacketBytes& packet);
    void ReadFrameHeads(PacketBytes& packet);
    void ReadStreamHeader(PacketBytes& packet);
    FrameHeader ReadFrameHeader(uint8_t code);
    uint64_t FullTime(uint64_t coded) const;
    uint8_t ReadByte();
    uint64_t ReadNumber();

    ByteSource& m_source;
    std::optional<uint8_t> m_firstFrameCode;  // read with the headers
    NutVideo m_video;
    std::array<FrameCode, 256> m_codes;
    std::vector<std::vector<uint8_t>> m_heads;  // first bytes that frames may omit
    uint64_t m_lastTime = 0;
    uint32_t m_timeShift = 0;
    bool m_hasMain = false;
    bool m_hasStream = false;
};

// The bytes before the first frame, and those before each frame's pixels.
std::string NutHeaders(const NutVideo& video);
std::string NutFrameHeader(uint64_t time, uint64_t byteSize);

}  // namespace orvane::tool
