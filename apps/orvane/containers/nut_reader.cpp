#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "apps/orvane/containers/frame_bytes.h"
#include "apps/orvane/containers/nut.h"
#include "apps/orvane/containers/nut_format.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

// ffmpeg writes two: one for the file and one for the stream.
constexpr size_t kMaxDescriptions = 16;

// Thrown where the source ends; caught in this file.
struct SourceEnd {};

[[noreturn]] void FailFormat() {
    throw Failure("The frames from ffmpeg are in an unknown form. Another version of ffmpeg may help.");
}

// A number in groups of 7 bits, the most significant first.
template <typename NextByte>
uint64_t DecodeNumber(const NextByte& nextByte) {
    uint64_t value = 0;
    for (int i = 0; i < 9; ++i) {
        const uint8_t byte = nextByte();
        value = value << 7 | (byte & 0x7F);
        if (byte < 0x80) {
            return value;
        }
    }
    FailFormat();
}

int64_t SignedFrom(uint64_t number) {
    const auto magnitude = static_cast<int64_t>((number + 1) >> 1);
    return number % 2 == 0 ? -magnitude : magnitude;
}

uint32_t Narrow(uint64_t number) {
    if (number > UINT32_MAX) {
        FailFormat();
    }
    return static_cast<uint32_t>(number);
}

}  // namespace

// The content of a packet.
class NutReader::PacketBytes {
public:
    explicit PacketBytes(std::vector<uint8_t> bytes) : m_bytes(std::move(bytes)) {}

    uint64_t Number() {
        return DecodeNumber([this] { return Take(1).front(); });
    }
    std::span<const uint8_t> Take(uint64_t size) {
        if (size > m_bytes.size() - m_position) {
            FailFormat();
        }
        const auto taken = std::span(m_bytes).subspan(m_position, static_cast<size_t>(size));
        m_position += taken.size();
        return taken;
    }

private:
    std::vector<uint8_t> m_bytes;
    size_t m_position = 0;
};

std::optional<NutVideo> NutReader::ReadHeaders() {
    try {
        std::array<uint8_t, nut::kFileId.size()> id{};
        const size_t count = m_source.Read(id);
        if (count < id.size()) {
            return std::nullopt;
        }
        if (std::memcmp(id.data(), nut::kFileId.data(), id.size()) != 0) {
            FailFormat();
        }
        uint8_t byte = ReadByte();
        while (byte == 'N') {
            ReadPacket(byte);
            byte = ReadByte();
        }
        m_firstFrameCode = byte;
    } catch (const SourceEnd&) {
        return std::nullopt;
    }
    if (!m_hasStream) {
        FailFormat();
    }
    return m_video;
}

std::optional<NutFrame> NutReader::Next() {
    uint8_t code = 0;
    if (m_firstFrameCode.has_value()) {
        code = *std::exchange(m_firstFrameCode, std::nullopt);
    } else if (m_source.Read(std::span(&code, 1)) == 0) {
        return std::nullopt;
    }
    try {
        while (code == 'N') {
            ReadPacket(code);
            if (m_source.Read(std::span(&code, 1)) == 0) {
                return std::nullopt;
            }
        }
        const FrameHeader header = ReadFrameHeader(code);
        NutFrame frame{header.time, m_heads.at(header.headIndex)};
        if (!AppendBytes(m_source, header.size - frame.pixels.size(), frame.pixels)) {
            throw SourceEnd();
        }
        return frame;
    } catch (const SourceEnd&) {
        return std::nullopt;
    }
}

void NutReader::ReadPacket(uint8_t firstByte) {
    uint64_t startCode = firstByte;
    for (int i = 0; i < 7; ++i) {
        startCode = startCode << 8 | ReadByte();
    }
    const uint64_t size = ReadNumber();
    if (size > nut::kLongPacket) {
        Skip(nut::kChecksumBytes);
    }
    if (size < nut::kChecksumBytes) {
        FailFormat();
    }
    // Headers are repeated for readers that join late. Only the first ones count.
    if (startCode == nut::kMain && !m_hasMain) {
        PacketBytes packet(ReadPacketContent(size));
        ReadMainHeader(packet);
        m_hasMain = true;
    } else if (startCode == nut::kStream && m_hasMain && !m_hasStream) {
        PacketBytes packet(ReadPacketContent(size));
        ReadStreamHeader(packet);
        m_hasStream = true;
    } else if (startCode == nut::kSyncPoint) {
        m_lastTime = PacketBytes(ReadPacketContent(size)).Number();
    } else if (startCode == nut::kInfo && size < nut::kLongPacket && m_video.descriptions.size() < kMaxDescriptions) {
        const std::vector<uint8_t> content = ReadPacketContent(size);
        m_video.descriptions.emplace_back(content.begin(), content.end());
    } else {
        Skip(size);
    }
}

std::vector<uint8_t> NutReader::ReadPacketContent(uint64_t size) {
    constexpr uint64_t kMaxSize = 65536;
    std::vector<uint8_t> content;
    if (size > kMaxSize) {
        FailFormat();
    }
    if (!AppendBytes(m_source, size - nut::kChecksumBytes, content)) {
        throw SourceEnd();
    }
    Skip(nut::kChecksumBytes);
    return content;
}

void NutReader::Skip(uint64_t size) {
    std::array<uint8_t, 4096> piece{};
    while (size > 0) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(size, piece.size()));
        if (m_source.Read(std::span(piece).first(count)) < count) {
            throw SourceEnd();
        }
        size -= count;
    }
}

void NutReader::ReadMainHeader(PacketBytes& packet) {
    const uint64_t version = packet.Number();
    const uint64_t streamCount = packet.Number();
    packet.Number();  // the longest distance between two packets
    const uint64_t timeBaseCount = packet.Number();
    if (version != nut::kVersion || streamCount != 1 || timeBaseCount != 1) {
        FailFormat();
    }
    m_video.timeBase.numerator = Narrow(packet.Number());
    m_video.timeBase.denominator = Narrow(packet.Number());
    if (m_video.timeBase.numerator == 0 || m_video.timeBase.denominator == 0) {
        FailFormat();
    }
    ReadFrameCodes(packet);
    ReadFrameHeads(packet);
}

void NutReader::ReadFrameCodes(PacketBytes& packet) {
    FrameCode code;  // fields that a run of codes omits keep the value of the run before
    m_codes['N'].flags = nut::kInvalid;
    for (size_t next = 0; next < m_codes.size();) {
        code.flags = packet.Number();
        const uint64_t fields = packet.Number();
        const auto field = [&](uint64_t number, uint64_t otherwise) {
            return number < fields ? packet.Number() : otherwise;
        };
        code.timeDelta = fields > 0 ? SignedFrom(packet.Number()) : code.timeDelta;
        code.sizeFactor = field(1, code.sizeFactor);
        field(2, 0);  // the stream: there is only one
        code.sizeRest = field(3, 0);
        code.reservedCount = field(4, 0);
        uint64_t count = field(5, code.sizeFactor - code.sizeRest);
        field(6, 0);  // for matching times
        code.headIndex = field(7, code.headIndex);
        for (uint64_t i = 8; i < fields; ++i) {
            packet.Number();
        }
        if (count == 0 || count > m_codes.size()) {
            FailFormat();
        }
        for (; count > 0 && next < m_codes.size(); ++next) {
            if (next != 'N') {
                m_codes[next] = code;
                ++code.sizeRest;
                --count;
            }
        }
    }
}

void NutReader::ReadFrameHeads(PacketBytes& packet) {
    m_heads.resize(1);  // the empty one
    for (uint64_t left = packet.Number(); left > 0; --left) {
        const std::span<const uint8_t> head = packet.Take(packet.Number());
        m_heads.emplace_back(head.begin(), head.end());
    }
}

void NutReader::ReadStreamHeader(PacketBytes& packet) {
    packet.Number();  // the stream's number
    const uint64_t streamClass = packet.Number();
    const std::span<const uint8_t> format = packet.Take(packet.Number());
    if (streamClass != 0 || !std::equal(format.begin(), format.end(), nut::kRgba.begin(), nut::kRgba.end())) {
        FailFormat();
    }
    packet.Number();  // the time base: there is only one
    const uint64_t timeShift = packet.Number();
    packet.Number();               // the longest time between two frames
    packet.Number();               // decode delay
    packet.Number();               // flags
    packet.Take(packet.Number());  // the codec's own data
    const uint64_t width = packet.Number();
    const uint64_t height = packet.Number();
    if (timeShift >= 32 || !IsFrameSize(width, height)) {
        FailFormat();
    }
    m_timeShift = static_cast<uint32_t>(timeShift);
    m_video.width = Narrow(width);
    m_video.height = Narrow(height);
    m_video.pixelAspect.numerator = Narrow(packet.Number());
    m_video.pixelAspect.denominator = Narrow(packet.Number());
}

NutReader::FrameHeader NutReader::ReadFrameHeader(uint8_t code) {
    const FrameCode& known = m_codes[code];
    uint64_t flags = known.flags;
    if ((flags & nut::kInvalid) != 0) {
        FailFormat();
    }
    if ((flags & nut::kCodedFlags) != 0) {
        flags ^= ReadNumber();
    }
    const auto field = [&](uint64_t flag, uint64_t otherwise) {
        return (flags & flag) != 0 ? ReadNumber() : otherwise;
    };
    field(nut::kStreamNumber, 0);
    FrameHeader header;
    header.time =
        (flags & nut::kCodedTime) != 0 ? FullTime(ReadNumber()) : m_lastTime + static_cast<uint64_t>(known.timeDelta);
    header.size = known.sizeRest + known.sizeFactor * field(nut::kCodedSize, 0);
    field(nut::kMatchTime, 0);
    header.headIndex = field(nut::kHeadIndex, known.headIndex);
    for (uint64_t left = field(nut::kReserved, known.reservedCount); left > 0; --left) {
        ReadNumber();
    }
    if ((flags & nut::kChecksum) != 0) {
        Skip(nut::kChecksumBytes);
    }
    if (header.size > nut::kMaxSizeWithHead) {
        header.headIndex = 0;
    }
    const uint64_t frameSize = uint64_t{m_video.width} * m_video.height * 4;
    if (header.size != frameSize || header.headIndex >= m_heads.size() ||
        m_heads[header.headIndex].size() > frameSize) {
        FailFormat();
    }
    m_lastTime = header.time;
    return header;
}

// Small numbers are only the last bits of the time. The full time is the one nearest to the last time.
uint64_t NutReader::FullTime(uint64_t coded) const {
    const uint64_t range = uint64_t{1} << m_timeShift;
    if (coded >= range) {
        return coded - range;
    }
    const uint64_t lowest = m_lastTime - (range - 1) / 2;
    return ((coded - lowest) & (range - 1)) + lowest;
}

uint8_t NutReader::ReadByte() {
    uint8_t byte = 0;
    if (m_source.Read(std::span(&byte, 1)) == 0) {
        throw SourceEnd();
    }
    return byte;
}

uint64_t NutReader::ReadNumber() {
    return DecodeNumber([this] { return ReadByte(); });
}

}  // namespace orvane::tool
