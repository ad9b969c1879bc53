// Constants of the NUT container.
#pragma once

#include <cstdint>
#include <string_view>

namespace orvane::tool::nut {

inline constexpr std::string_view kFileId{"nut/multimedia container\0", 25};  // with the final zero

inline constexpr std::string_view kRgba = "RGBA";  // the pixel format

inline constexpr uint64_t kMain = 0x4E4D7A561F5F04AD;
inline constexpr uint64_t kStream = 0x4E5311405BF2F9DB;
inline constexpr uint64_t kSyncPoint = 0x4E4BE4ADEECA4569;
inline constexpr uint64_t kInfo = 0x4E49AB68B596BA78;

inline constexpr uint64_t kVersion = 3;
// Longer packets have a checksum after their length.
inline constexpr uint64_t kLongPacket = 4096;
inline constexpr uint64_t kChecksumBytes = 4;
// Longer frames never omit their head.
inline constexpr uint64_t kMaxSizeWithHead = 4096;

// Frame flags.
inline constexpr uint64_t kKeyFrame = 1;
inline constexpr uint64_t kCodedTime = 8;
inline constexpr uint64_t kStreamNumber = 16;
inline constexpr uint64_t kCodedSize = 32;
inline constexpr uint64_t kChecksum = 64;
inline constexpr uint64_t kReserved = 128;
inline constexpr uint64_t kHeadIndex = 1024;
inline constexpr uint64_t kMatchTime = 2048;
inline constexpr uint64_t kCodedFlags = 4096;
inline constexpr uint64_t kInvalid = 8192;

}  // namespace orvane::tool::nut
