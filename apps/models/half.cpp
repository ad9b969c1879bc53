#include "apps/models/half.h"

#include <bit>

namespace orvane::tool {
namespace {

constexpr uint32_t kFloatInfinity = 0x7F800000;
constexpr uint32_t kHalfInfinity = 0x7C00;
constexpr uint32_t kHalfQuietNan = 0x7E00;
constexpr uint32_t kSmallestNormal = 0x38800000;  // 2^-14, the smallest half with a full mantissa
constexpr uint32_t kOverflow = 0x477FF000;        // 65520, halfway between 65504 and what would be 65536
constexpr uint32_t kExponentRebias = (127 - 15) << 23;
constexpr int kDroppedBits = 23 - 10;

// Bit patterns of one sign are ordered like their values, so rounding up may carry into the exponent.
uint32_t ShiftRoundingToEven(uint32_t bits, int shift) {
    const uint32_t kept = bits >> shift;
    const uint32_t dropped = bits & ((uint32_t{1} << shift) - 1);
    const uint32_t halfway = uint32_t{1} << (shift - 1);
    const bool up = dropped > halfway || (dropped == halfway && (kept & 1) != 0);
    return kept + (up ? 1 : 0);
}

// For magnitudes below 2^-14: a multiple of 2^-24.
uint32_t SubnormalHalf(uint32_t magnitude) {
    const int exponent = static_cast<int>(magnitude >> 23);
    const int shift = 126 - exponent;
    if (shift > 24) {
        return 0;  // below half of the smallest half
    }
    return ShiftRoundingToEven((magnitude & 0x7FFFFF) | 0x800000, shift);
}

uint32_t HalfMagnitude(uint32_t magnitude) {
    if (magnitude > kFloatInfinity) {
        return kHalfQuietNan;
    }
    if (magnitude >= kOverflow) {
        return kHalfInfinity;
    }
    if (magnitude < kSmallestNormal) {
        return SubnormalHalf(magnitude);
    }
    return ShiftRoundingToEven(magnitude - kExponentRebias, kDroppedBits);
}

}  // namespace

uint16_t HalfFromFloat(float value) {
    const auto bits = std::bit_cast<uint32_t>(value);
    return static_cast<uint16_t>((bits >> 16 & 0x8000) | HalfMagnitude(bits & 0x7FFFFFFF));
}

float FloatFromHalf(uint16_t half) {
    const uint32_t sign = (half & uint32_t{0x8000}) << 16;
    const uint32_t magnitude = half & uint32_t{0x7FFF};
    if (magnitude >= kHalfInfinity) {
        return std::bit_cast<float>(sign | kFloatInfinity | (magnitude & 0x3FF) << kDroppedBits);
    }
    // Read with the exponent bias of a float, the value is too small by a factor of 2^112. This holds for subnormals,
    // too.
    const auto scaled = std::bit_cast<float>(sign | magnitude << kDroppedBits);
    return scaled * 0x1p112F;
}

}  // namespace orvane::tool
