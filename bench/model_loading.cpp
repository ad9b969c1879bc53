// Model files: how fast they are deciphered and loaded, against what one core's arithmetic allows.
#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "apps/model_tool/encipher.h"
#include "bench/session.h"
#include "bench/worker.h"
#include "model/keys.h"
#include "model/model_stream.h"
#include "model/tea.h"
#include "model/weight_loader.h"

namespace orvane::bench {
namespace {

// The chain of one deciphered block. Each of the 32 half rounds waits for the one before: shift, add, two times
// exclusive-or, subtract. One more exclusive-or joins the blocks.
constexpr double kStepsPerBlock = 32 * 5 + 1;

// Nanoseconds of one simple operation that waits for the one before.
double StepNanoseconds() {
    constexpr int kSteps = 2'000'000;
    volatile uint32_t seed = 0x9E3779B9;
    const uint32_t a = seed;
    const uint32_t b = seed + 2;
    uint32_t chain = seed + 1;
    const double time = Measure([&] {
        for (int i = 0; i < kSteps / 16; ++i) {
            // Eight times two steps; the compiler cannot join an addition and an exclusive-or.
            for (int k = 0; k < 8; ++k) {
                chain = (chain ^ a) + b;
            }
        }
    });
    seed = chain;
    return time * 1e6 / kSteps;
}

// The least time of `work` in milliseconds, with the machine's step measured in between: both are of the same moments.
struct Timing {
    double least = INFINITY;
    double step = INFINITY;

    template <typename Work>
    void Run(double milliseconds, const Work& work) {
        const double start = NowMilliseconds();
        do {
            step = std::min(step, StepNanoseconds());
            least = std::min(least, Measure(work));
        } while (NowMilliseconds() - start < milliseconds);
    }
};

double LoadMilliseconds(const std::filesystem::path& path, NetworkNumbers network, double milliseconds) {
    Timing timing;
    timing.Run(milliseconds, [&] {
        WeightLoader loader;
        WeightMap weights;
        Require(loader.LoadWeights(path.string(), MakeNetworkConfig(network.channels, network.depth), weights) == 0,
                "a model cannot be loaded");
    });
    return timing.least;
}

}  // namespace

void TimeModelLoading(Session& session) {
    Table table{
        "Model files",
        {{"bytes"},
         {"enciphered"},
         {"deciphered, MB/s", 1},
         {"limit, MB/s", 1},
         {"share", 3},
         {"read and deciphered, MB/s", 1},
         {"share of both", 3},
         {"loaded, MB/s", 1}},
        {},
        "Megabytes of the plain file a second, the best of many. The limit is the serial chain of one core: 161 "
        "operations that wait for each other for every 8 bytes, once or twice. Loaded is everything from the file "
        "to the weights by name."};
    const double patience = session.options.isShort ? 20.0 : 1'500.0;
    std::vector<NetworkNumbers> networks{{32, 2}, {128, 3}, {528, 4}};
    if (session.options.isShort) {
        networks.resize(1);
    }
    std::mt19937 random(3);
    for (const NetworkNumbers network : networks) {
        const std::vector<uint8_t> plain = LoadBytes(session.ModelFile(network));
        const double megabytes = static_cast<double>(plain.size()) / 1e6;
        const std::vector<uint8_t> once = tool::EncipherContainer(plain, kFileKey, random);
        const std::vector<uint8_t> twice = tool::EncipherContainer(once, kOuterKey, random);
        std::vector<uint8_t> output(twice.size());
        for (const int times : {0, 1, 2}) {
            const auto path = session.options.folder / "models" / (std::string("model.") + (times == 1 ? "en" : "en2"));
            const auto& file = times == 2 ? twice : once;
            double deciphered = NAN;
            double read = NAN;
            double limit = NAN;
            if (times != 0) {
                SaveBytes(path, file);
                Timing alone;
                alone.Run(patience, [&] {
                    auto length = static_cast<int32_t>(output.size());
                    TeaDecryptBuffer(file.data(), static_cast<int32_t>(file.size()), output.data(), length,
                                     times == 2 ? kOuterKey : kFileKey);
                });
                Timing whole;
                whole.Run(patience, [&] {
                    std::stringstream stream;
                    Require(OpenModelStream(path.string(), stream), "a model cannot be read");
                });
                limit = 8e3 / (kStepsPerBlock * std::min(alone.step, whole.step)) / times;
                deciphered = megabytes / alone.least * 1e3 / times;
                read = megabytes / whole.least * 1e3;
            }
            const double load = LoadMilliseconds(times == 0 ? session.ModelFile(network) : path, network, patience);
            const auto number = [](double value) { return std::isnan(value) ? Cell("") : Cell(value); };
            table.rows.push_back({static_cast<double>(plain.size()),
                                  std::string(times == 0   ? "no"
                                              : times == 1 ? "once"
                                                           : "twice"),
                                  number(deciphered), number(limit), number(deciphered / limit), number(read),
                                  number(read / limit), megabytes / load * 1e3});
        }
    }
    session.Add(table);
}

}  // namespace orvane::bench
