#include "engine/row_copy.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <emmintrin.h>

namespace orvane {
namespace {

constexpr size_t kBlock = sizeof(__m128i);
// Below, the rows still fit into the caches, and streaming costs their reader more than it saves.
constexpr size_t kStreamFrom = size_t{16} << 20;

// The bytes before the first one at a multiple of a block.
size_t BytesToBoundary(const uint8_t* address) {
    return (kBlock - reinterpret_cast<uintptr_t>(address) % kBlock) % kBlock;
}

void Copy(uint8_t* target, const uint8_t* source, size_t byteCount) {
    std::memcpy(target, source, byteCount);
}

// StreamBytes, but for the fence.
void Stream(uint8_t* target, const uint8_t* source, size_t byteCount) {
    const size_t head = std::min(byteCount, BytesToBoundary(target));
    std::memcpy(target, source, head);
    size_t at = head;
    for (; byteCount - at >= kBlock; at += kBlock) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + at));
        _mm_stream_si128(reinterpret_cast<__m128i*>(target + at), block);
    }
    std::memcpy(target + at, source + at, byteCount - at);
}

}  // namespace

void StreamBytes(uint8_t* target, const uint8_t* source, size_t byteCount) {
    Stream(target, source, byteCount);
    _mm_sfence();  // whoever is told of the copy must see it, on other threads, too
}

void CopyRows(std::span<const uint8_t> source, uint32_t rowPitch, uint8_t* target, int32_t stride, uint32_t rowBytes,
              uint32_t height) {
    // Offsets are unsigned 32-bit products: bottom-up images (negative strides) are not supported.
    const auto targetPitch = static_cast<uint32_t>(stride);
    const bool isOnePiece = rowPitch == rowBytes && targetPitch == rowBytes;
    const size_t copyBytes = isOnePiece ? height * rowBytes : std::min(rowPitch, targetPitch);
    const uint32_t copyCount = isOnePiece ? 1 : height;
    const auto copy = copyCount * copyBytes >= kStreamFrom ? Stream : Copy;
    for (uint32_t row = 0; row < copyCount; ++row) {
        const std::span<const uint8_t> rest = source.subspan(row * rowPitch);
        copy(target + row * targetPitch, rest.data(), std::min(copyBytes, rest.size()));
    }
    _mm_sfence();
}

}  // namespace orvane
