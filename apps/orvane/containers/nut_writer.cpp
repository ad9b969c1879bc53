#include <initializer_list>
#include <string>
#include <string_view>

#include "apps/orvane/containers/nut.h"
#include "apps/orvane/containers/nut_format.h"

namespace orvane::tool {
namespace {

// Numbers below 2^7 would be the last bits of a time stamp. Others are a whole time stamp plus 2^7.
constexpr uint64_t kTimeShift = 7;

void AppendNumber(std::string& bytes, uint64_t value) {
    int groups = 1;
    while (groups < 9 && value >> (7 * groups) != 0) {
        ++groups;
    }
    for (int i = groups - 1; i >= 0; --i) {
        const uint64_t group = value >> (7 * i) & 0x7F;
        bytes += static_cast<char>(i > 0 ? group | 0x80 : group);
    }
}

void AppendNumbers(std::string& bytes, std::initializer_list<uint64_t> values) {
    for (const uint64_t value : values) {
        AppendNumber(bytes, value);
    }
}

void AppendBigEndian(std::string& bytes, uint64_t value, int count) {
    for (int i = count - 1; i >= 0; --i) {
        bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    }
}

// The CRC of generator 0x04C11DB7, most significant bit first, from 0.
uint32_t Checksum(std::string_view bytes) {
    uint32_t crc = 0;
    for (const char byte : bytes) {
        crc ^= uint32_t{static_cast<uint8_t>(byte)} << 24;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1) ^ ((crc >> 31) * 0x04C11DB7);
        }
    }
    return crc;
}

// `content` must be shorter than a long packet.
std::string Packet(uint64_t startCode, const std::string& content) {
    std::string bytes;
    AppendBigEndian(bytes, startCode, 8);
    AppendNumber(bytes, content.size() + nut::kChecksumBytes);
    bytes += content;
    AppendBigEndian(bytes, Checksum(content), 4);
    return bytes;
}

std::string MainHeader(const NutVideo& video) {
    constexpr uint64_t kStreamCount = 1;
    constexpr uint64_t kMaxDistance = 65536;  // frames longer than twice this need a checksum; here all frames have one
    constexpr uint64_t kTimeBaseCount = 1;
    std::string content;
    AppendNumbers(content, {nut::kVersion, kStreamCount, kMaxDistance, kTimeBaseCount});
    AppendNumbers(content, {video.timeBase.numerator, video.timeBase.denominator});
    // All frame codes mean that every field is written in full, except "N", which begins the start codes. The six
    // numbers are the fields of a frame code: time delta, size factor, stream, size rest, reserved count, number of
    // codes.
    AppendNumbers(content, {nut::kCodedFlags, 6, 0, 1, 0, 0, 0, 255});
    AppendNumber(content, 0);  // no heads
    return Packet(nut::kMain, content);
}

std::string StreamHeader(const NutVideo& video) {
    constexpr uint64_t kClassVideo = 0;
    std::string content;
    AppendNumbers(content, {0, kClassVideo, nut::kRgba.size()});
    content += nut::kRgba;
    AppendNumbers(content,
                  {0, kTimeShift, video.timeBase.denominator});  // time base, shift, longest time between frames
    AppendNumbers(content, {0, 0, 0});                           // decode delay, flags, size of the codec's own data
    AppendNumbers(content, {video.width, video.height});
    AppendNumbers(content, {video.pixelAspect.numerator, video.pixelAspect.denominator, 0});
    return Packet(nut::kStream, content);
}

}  // namespace

std::string NutHeaders(const NutVideo& video) {
    std::string headers = std::string(nut::kFileId) + MainHeader(video) + StreamHeader(video);
    for (const std::string& description : video.descriptions) {
        headers += Packet(nut::kInfo, description);
    }
    return headers;
}

std::string NutFrameHeader(uint64_t time, uint64_t byteSize) {
    std::string syncPoint;
    AppendNumbers(syncPoint, {time, 0});  // no way back, because nobody seeks in a pipe

    std::string header(1, '\0');  // the frame code
    AppendNumber(header, nut::kKeyFrame | nut::kCodedTime | nut::kCodedSize | nut::kChecksum);
    AppendNumbers(header, {time + (uint64_t{1} << kTimeShift), byteSize});
    AppendBigEndian(header, Checksum(header), 4);
    return Packet(nut::kSyncPoint, syncPoint) + header;
}

}  // namespace orvane::tool
