// Which graphics adapter is the best one, judged by its description alone. Portable: no GPU needed.
#pragma once

#include <cstdint>
#include <string_view>

namespace orvane {

// The library chooses among the first adapters that Windows lists.
inline constexpr uint32_t kMaxConsideredAdapters = 4;

// What the ranking depends on.
struct AdapterTraits {
    std::wstring_view description;
    uint32_t vendorId = 0;
    uint64_t dedicatedVideoMemory = 0;  // bytes
    bool isSoftware = false;
};

// Whether the adapter is a separate card rather than part of the processor. All size comparisons are strict.
bool IsDiscreteAdapter(const AdapterTraits& adapter);

// Whole mebibytes of video memory, plus 10000 for a discrete adapter, plus a preference by vendor. 0 for an adapter
// whose name says that it is not a real one ("Basic", "Software", "Microsoft").
uint64_t ScoreAdapter(const AdapterTraits& adapter);

// Orders the candidates of a machine.
struct AdapterRank {
    bool isDiscrete = false;
    uint64_t score = 0;
};

// The rank of an enumerated adapter. A software adapter ranks lowest, whatever its description.
AdapterRank RankAdapter(const AdapterTraits& adapter);

// Whether `a` is strictly better than `b`: discrete before not discrete, then by score.
bool RanksBefore(const AdapterRank& a, const AdapterRank& b);

}  // namespace orvane
