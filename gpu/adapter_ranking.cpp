#include "gpu/adapter_ranking.h"

#include <algorithm>
#include <initializer_list>

#include "gpu/vendors.h"

namespace orvane {
namespace {

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;

bool ContainsAny(std::wstring_view text, std::initializer_list<std::wstring_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [text](std::wstring_view word) { return text.find(word) != std::wstring_view::npos; });
}

uint64_t VendorPreference(uint32_t vendorId) {
    switch (vendorId) {
        case kVendorNvidia:
            return 1000;
        case kVendorAmd:
            return 500;
        case kVendorIntel:
            return 100;
        default:
            return 0;
    }
}

}  // namespace

bool IsDiscreteAdapter(const AdapterTraits& adapter) {
    const std::wstring_view name = adapter.description;
    const uint64_t memory = adapter.dedicatedVideoMemory;
    if (memory > 2 * kGiB) {
        return true;
    }
    switch (adapter.vendorId) {
        case kVendorAmd:
            return ContainsAny(name, {L"RX ", L"Pro ", L"Radeon VII", L"Vega 64", L"Vega 56"}) ||
                   (!ContainsAny(name, {L"APU"}) && memory > 512 * kMiB);
        case kVendorNvidia:
            return !ContainsAny(name, {L"Tegra"});
        case kVendorIntel:
            return ContainsAny(name, {L"Arc", L"Iris Xe MAX"}) || memory > kGiB;
        default:
            return memory > kGiB;
    }
}

uint64_t ScoreAdapter(const AdapterTraits& adapter) {
    constexpr uint64_t kDiscretePreference = 10000;
    if (ContainsAny(adapter.description, {L"Basic", L"Software", L"Microsoft"})) {
        return 0;
    }
    uint64_t score = adapter.dedicatedVideoMemory / kMiB;
    if (!adapter.isSoftware && IsDiscreteAdapter(adapter)) {
        score += kDiscretePreference;
    }
    return score + VendorPreference(adapter.vendorId);
}

AdapterRank RankAdapter(const AdapterTraits& adapter) {
    if (adapter.isSoftware) {
        return {};
    }
    return {IsDiscreteAdapter(adapter), ScoreAdapter(adapter)};
}

bool RanksBefore(const AdapterRank& a, const AdapterRank& b) {
    return a.isDiscrete != b.isDiscrete ? a.isDiscrete : a.score > b.score;
}

}  // namespace orvane
