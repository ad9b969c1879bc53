// The machine's graphics adapters, and the choice of the best one.
#pragma once

#include <cstdint>
#include <vector>

#include "gpu/platform.h"

namespace orvane {

// One enumerated adapter.
struct AdapterCandidate {
    ComPtr<IDXGIAdapter1> adapter;  // null when there was no candidate
    DXGI_ADAPTER_DESC1 desc{};
    uint32_t isDiscrete = 0;  // 0 or 1
    uint64_t score = 0;
};

// The first kMaxConsideredAdapters of the machine in enumeration order, without those that do not answer. Software
// adapters are kept. They rank lowest.
std::vector<AdapterCandidate> EnumerateAdapters(IDXGIFactory1& factory);

// The adapter that the engine runs on and that the support check judges: discrete before not discrete, then the
// highest score, then the first. Writes the number of candidates to `adapterCountOut` unless it is null.
AdapterCandidate SelectBestAdapter(IDXGIFactory1& factory, uint32_t* adapterCountOut);

}  // namespace orvane
