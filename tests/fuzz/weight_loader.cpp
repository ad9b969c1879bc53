// Any file with any configuration, loaded again, with another configuration and with the first one.
#include "model/weight_loader.h"

#include "tests/fuzz/fuzz.h"
#include "tests/support/temp_folder.h"

extern "C" const char* __asan_default_options() {                    // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1:max_allocation_size_mb=32";  // as on an exhausted heap
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const orvane::TempFolder folder;
    FuzzedDataProvider fuzz(data, size);
    const auto any = [&fuzz] { return fuzz.ConsumeIntegral<uint32_t>() >> fuzz.ConsumeIntegralInRange(0, 31); };
    // More layers would only need memory.
    const orvane::NetworkConfig first{fuzz.ConsumeIntegralInRange(0U, 31U), any(), any(), 1};
    const orvane::NetworkConfig second{fuzz.ConsumeIntegralInRange(0U, 31U), any(), any(), 1};
    const auto file = fuzz.ConsumeRemainingBytes<uint8_t>();
    orvane::WeightLoader loader;
    for (const auto& config : {first, first, second, first}) {
        orvane::WeightMap map;
        const bool succeeds = loader.LoadWeights(folder.Write("model", file).string(), config, map) == 0;
        double needed = 0;  // bytes; floating point does not wrap around
        for (uint32_t i = 0; i < 2 * config.layerCount; ++i) {
            const auto layer = LayerShapeAt(config, i / 2);
            const auto [outputs, inputs, height, width] = i % 2 == 0 ? FilterShape(layer) : BiasShape(layer);
            const auto& values = map[i % 2 == 0 ? orvane::FilterKey(i / 2) : orvane::BiasKey(i / 2)];
            const auto* const read = reinterpret_cast<const uint8_t*>(values.data());
            const double end = needed + 2.0 * outputs * inputs * height * width;
            Require(!succeeds || needed + 2.0 * static_cast<double>(values.size()) == end);
            Require(!succeeds || std::equal(read, read + 2 * values.size(), file.data() + static_cast<size_t>(needed)));
            needed = end;
        }
        Require(succeeds == (needed <= static_cast<double>(file.size()) && (!file.empty() || config.layerCount == 0)));
    }
    return 0;
}
