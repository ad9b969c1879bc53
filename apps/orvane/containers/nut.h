// Raw video frames with their time stamps in the NUT container, which ffmpeg reads and writes through pipes. Portable.
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

// One video stream of frames of one size, 4 bytes a pixel: R, G, B, A.
struct NutVideo {
    uint32_t width = 0;
    uint32_t height = 0;
    Rational pixelAspect;           // width to height of a pixel; 0 to anything when unknown
    Rational timeBase = {1, 1000};  // of the time stamps, in seconds
    // Contents of the packets that say what else is known: language, title, frame rate. They are passed on as they are.
    std::vector<std::string> descriptions;
};

struct NutFrame {
    uint64_t time = 0;            // when it is shown, in units of the time base
    std::vector<uint8_t> pixels;  // rows from top to bottom without padding
};

// Reads what ffmpeg writes for `-f nut` with one stream of rawvideo in the pixel format rgba: version 3 of the format.
// Checksums are passed over: a pipe loses nothing.
class NutReader {
public:
    // `source` must outlive the object.
    explicit NutReader(ByteSource& source) : m_source(source) {}

    // Reads up to the first frame; nothing when the source ends before it. Throws Failure when what comes is something
    // else. Must be called once, before Next.
    std::optional<NutVideo> ReadHeaders();

    // Nothing at the end, also when it comes in the middle of a frame: WasCut tells. Throws Failure.
    std::optional<NutFrame> Next();

    bool WasCut() const { return m_wasCut; }

private:
    // What the first byte of a frame stands for.
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
    std::vector<std::vector<uint8_t>> m_heads;  // first bytes that frames may leave out
    uint64_t m_lastTime = 0;
    uint32_t m_timeShift = 0;
    bool m_hasMain = false;
    bool m_hasStream = false;
    bool m_wasCut = false;
};

// The bytes before the first frame, and those before each frame's pixels.
std::string NutHeaders(const NutVideo& video);
std::string NutFrameHeader(uint64_t time, uint64_t byteSize);

}  // namespace orvane::tool
