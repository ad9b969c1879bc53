#include "gpu/adapter_classes.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <string>

#include "api/orvane.h"

namespace orvane {
namespace {

constexpr size_t kMaxNameBytes = 127;

std::string LowerCase(std::string_view name) {
    std::string lower(name.substr(0, kMaxNameBytes));
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

bool ContainsAny(const std::string& text, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(),
                       [&text](const char* word) { return text.find(word) != std::string::npos; });
}

// The decimal integer that begins `skip` characters after the start of `word` in the name.
std::optional<long> NumberAfter(const std::string& name, const char* word, size_t skip) {
    const size_t position = name.find(word);
    if (position == std::string::npos || position + skip > name.size()) {
        return std::nullopt;
    }
    const char* const start = name.c_str() + position + skip;
    char* end = nullptr;
    const long number = std::strtol(start, &end, 10);
    return end != start ? std::optional(number) : std::nullopt;
}

int32_t ClassifyNvidia(const std::string& name) {
    if (ContainsAny(name, {"4090", "3070", "3080", "3090", "3060", "3050"})) {
        return ORVANE_PERFORMANCE_TOP;
    }
    if (ContainsAny(name, {"1660", "1650", "1050"})) {
        return ORVANE_PERFORMANCE_UPPER_MIDDLE;
    }
    const char* const series = ContainsAny(name, {"rtx "}) ? "rtx " : "gtx ";
    const long number = NumberAfter(name, series, 4).value_or(0);
    if (number >= 3050) {
        return ORVANE_PERFORMANCE_TOP;
    }
    return number >= 1050 ? ORVANE_PERFORMANCE_UPPER_MIDDLE : ORVANE_PERFORMANCE_UNKNOWN;
}

int32_t ClassifyIntel(const std::string& name) {
    if (ContainsAny(name, {"arc"})) {
        return ORVANE_PERFORMANCE_UPPER_MIDDLE;
    }
    if (ContainsAny(name, {"iris"})) {
        return ORVANE_PERFORMANCE_INTEL_IRIS;
    }
    return ContainsAny(name, {"uhd"}) ? ORVANE_PERFORMANCE_INTEL_UHD : ORVANE_PERFORMANCE_UNKNOWN;
}

int32_t ClassifyAmd(const std::string& name) {
    if (ContainsAny(name, {"7900", "6600"})) {
        return ORVANE_PERFORMANCE_TOP;
    }
    // One more character than the two letters is skipped, whatever it is, so "rx6800" reads as 800.
    const long number = NumberAfter(name, "rx", 3).value_or(0);
    return number >= 6000 ? ORVANE_PERFORMANCE_UPPER_MIDDLE : ORVANE_PERFORMANCE_UNKNOWN;
}

}  // namespace

int32_t ClassifyVendor(std::string_view name) {
    const std::string lower = LowerCase(name);
    if (ContainsAny(lower, {"nvidia", "geforce", "rtx", "gtx"})) {
        return kVendorClassNvidia;
    }
    if (ContainsAny(lower, {"intel", "uhd", "arc", "iris"})) {
        return kVendorClassIntel;
    }
    return ContainsAny(lower, {"amd", "radeon", "rx "}) ? kVendorClassAmd : kVendorClassUnknown;
}

int32_t ClassifyPerformance(std::string_view name, int32_t vendorClass) {
    const std::string lower = LowerCase(name);
    switch (vendorClass) {
        case kVendorClassNvidia:
            return ClassifyNvidia(lower);
        case kVendorClassIntel:
            return ClassifyIntel(lower);
        case kVendorClassAmd:
            return ClassifyAmd(lower);
        default:
            return ORVANE_PERFORMANCE_UNKNOWN;
    }
}

}  // namespace orvane
