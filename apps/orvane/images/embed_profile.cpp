#include "apps/orvane/images/embed_profile.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <zlib.h>

#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

void AppendBigEndian(std::string& bytes, uint32_t value, int count) {
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
}

std::string Deflated(const std::vector<uint8_t>& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<uint8_t> packed(size);
    if (compress2(packed.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()), Z_BEST_COMPRESSION) != Z_OK) {
        throw Failure("The colour profile cannot be compressed.");
    }
    return {packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size)};
}

// PNG (third edition), 11.3.2.3: the profile's name, a zero, the compression method 0, the compressed profile. A chunk
// has its length, its name, its data and the checksum of the last two.
std::string PngChunk(const std::vector<uint8_t>& profile) {
    using namespace std::string_view_literals;
    const std::string content = std::string("iCCPICC profile\0\0"sv) + Deflated(profile);
    std::string chunk;
    AppendBigEndian(chunk, static_cast<uint32_t>(content.size() - 4), 4);
    chunk += content;
    const std::vector<uint8_t> bytes(content.begin(), content.end());
    AppendBigEndian(chunk, static_cast<uint32_t>(crc32(0, bytes.data(), static_cast<uInt>(bytes.size()))), 4);
    return chunk;
}

// ICC.1, annex B.4: segments with the marker APP2, each with its number and their total. A segment has the marker, the
// length of the rest, and the data.
std::string JpegSegments(const std::vector<uint8_t>& profile) {
    using namespace std::string_view_literals;
    constexpr size_t kMaxPart = 65519;
    const size_t count = (profile.size() + kMaxPart - 1) / kMaxPart;
    std::string segments;
    for (size_t i = 0; i < count; ++i) {
        const size_t start = i * kMaxPart;
        const size_t end = std::min(start + kMaxPart, profile.size());
        segments += "\xFF\xE2"sv;
        AppendBigEndian(segments, static_cast<uint32_t>(end - start + 16), 2);
        segments += "ICC_PROFILE\0"sv;
        AppendBigEndian(segments, static_cast<uint32_t>(i + 1), 1);
        AppendBigEndian(segments, static_cast<uint32_t>(count), 1);
        segments.append(profile.begin() + static_cast<std::ptrdiff_t>(start),
                        profile.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return segments;
}

// Inserts `insert` after the first `position` bytes of the file.
void InsertIntoFile(const std::filesystem::path& path, size_t position, const std::string& insert) {
    std::filesystem::path copy = path;
    copy += ".icc";
    std::ifstream source(path, std::ios::binary);
    std::ofstream target(copy, std::ios::binary | std::ios::trunc);
    std::string head(position, '\0');
    source.read(head.data(), static_cast<std::streamsize>(position));
    target << head << insert << source.rdbuf();
    source.close();
    target.close();
    std::error_code error;
    if (source.good() && target.good()) {
        std::filesystem::rename(copy, path, error);
        if (!error) {
            return;
        }
    }
    std::filesystem::remove(copy, error);
    throw Failure("The colour profile cannot be written: the folder is read-only or the disk is full.");
}

// The length of the two bytes at the start of every JPEG file plus that of the JFIF segment that follows.
size_t JpegHeadLength(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<uint8_t, 6> head{};
    for (uint8_t& byte : head) {
        byte = static_cast<uint8_t>(file.get());
    }
    return head[3] == 0xE0 ? 4 + (size_t{head[4]} * 256 + head[5]) : 2;
}

}  // namespace

bool EmbedProfile(const std::filesystem::path& path, ImageFormat format, const std::vector<uint8_t>& profile) {
    constexpr size_t kPngHeadLength = 8 + 25;  // the signature and the first chunk
    if (format == ImageFormat::kPng) {
        InsertIntoFile(path, kPngHeadLength, PngChunk(profile));
        return true;
    }
    if (format == ImageFormat::kJpeg) {
        InsertIntoFile(path, JpegHeadLength(path), JpegSegments(profile));
        return true;
    }
    return false;
}

}  // namespace orvane::tool
