#include "gpu/adapter_selection.h"

#include <algorithm>
#include <cwchar>

#include "gpu/adapter_ranking.h"

namespace orvane {
namespace {

AdapterTraits TraitsOf(const DXGI_ADAPTER_DESC1& desc) {
    const size_t nameLength = wcsnlen(desc.Description, std::size(desc.Description));
    return {{desc.Description, nameLength},
            desc.VendorId,
            desc.DedicatedVideoMemory,
            (desc.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0};
}

bool RanksBefore(const AdapterCandidate& a, const AdapterCandidate& b) {
    return RanksBefore(AdapterRank{a.isDiscrete != 0, a.score}, AdapterRank{b.isDiscrete != 0, b.score});
}

}  // namespace

std::vector<AdapterCandidate> EnumerateAdapters(IDXGIFactory1& factory) {
    std::vector<AdapterCandidate> candidates;
    // A failure at one index does not end the enumeration.
    for (UINT i = 0; i < kMaxConsideredAdapters; ++i) {
        AdapterCandidate candidate;
        if (FAILED(factory.EnumAdapters1(i, candidate.adapter.GetAddressOf())) ||
            FAILED(candidate.adapter->GetDesc1(&candidate.desc))) {
            continue;
        }
        const AdapterRank rank = RankAdapter(TraitsOf(candidate.desc));
        candidate.isDiscrete = rank.isDiscrete ? 1 : 0;
        candidate.score = rank.score;
        candidates.push_back(std::move(candidate));
    }
    return candidates;
}

AdapterCandidate SelectBestAdapter(IDXGIFactory1& factory, uint32_t* adapterCountOut) {
    std::vector<AdapterCandidate> candidates = EnumerateAdapters(factory);
    if (adapterCountOut != nullptr) {
        *adapterCountOut = static_cast<uint32_t>(candidates.size());
    }
    if (candidates.empty()) {
        return {};
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const AdapterCandidate& a, const AdapterCandidate& b) { return RanksBefore(a, b); });
    return candidates.front();
}

}  // namespace orvane
