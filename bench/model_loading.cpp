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
    constexpr int kSteps = 200'000;
    static double least = INFINITY;
    volatile uint32_t seed = 0x9E3779B9;
    const uint32_t a = seed;
    const uint32_t b = seed + 2;
    for (int run = 0; run < 100; ++run) {
        uint32_t chain = seed;
        // Two steps each time round: the compiler cannot join an exclusive-or and an addition.
        const double time = Measure([&] {
            for (int i = 0; i < kSteps / 2; ++i) {
                chain = (chain ^ a) + b;
            }
        });
        seed = chain;
        least = std::min(least, time * 1e6 / kSteps);
    }
    return least;
}

// The milliseconds that `work` takes one core: the least of many times, or for longer work, which other programs
// interrupt, the processor time. This process has no other thread.
template <typename Work>
double TimeOnCore(double patience, const Work& work) {
    constexpr double kLong = 5.0;
    double least = INFINITY;
    int runs = 0;
    double used = 0.0;
    for (const double start = ProcessorMilliseconds(); runs == 0 || used < patience; ++runs) {
        least = std::min(least, Measure(work));
        used = ProcessorMilliseconds() - start;
    }
    return least < kLong ? least : used / runs;
}

// The file at `path` is the container, enciphered `layers` times, or a plain file.
void AddRow(Table& table, NetworkNumbers network, size_t plainBytes, const std::filesystem::path& path,
            const std::vector<uint8_t>& container, int layers, double patience) {
    const double megabytes = static_cast<double>(plainBytes) / 1e6;
    const auto speed = [&](double milliseconds) { return megabytes / milliseconds * 1e3; };
    std::vector<Cell>& row = table.rows.emplace_back();
    row = {static_cast<double>(plainBytes), static_cast<double>(layers)};
    if (layers == 0) {
        row.insert(row.end(), 5, "");
    } else {
        std::vector<uint8_t> output(container.size());
        const double once = TimeOnCore(patience, [&] {
            auto length = static_cast<int32_t>(output.size());
            TeaDecryptBuffer(container.data(), static_cast<int32_t>(container.size()), output.data(), length,
                             layers == 2 ? kOuterKey : kFileKey);
        });
        const double read = TimeOnCore(patience, [&] {
            std::stringstream stream;
            Require(OpenModelStream(path.string(), stream), "a model cannot be read");
        });
        const double limit = 8e3 / (kStepsPerBlock * StepNanoseconds()) / layers;
        const double deciphered = speed(once) / layers;
        row.insert(row.end(), {deciphered, limit, deciphered / limit, speed(read), speed(read) / limit});
    }
    row.emplace_back(speed(TimeOnCore(patience, [&] {
        WeightLoader loader;
        WeightMap weights;
        Require(loader.LoadWeights(path.string(), MakeNetworkConfig(network.channels, network.depth), weights) == 0,
                "a model cannot be loaded");
    })));
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
        "Megabytes of the plain file a second on one core. The limit is the serial chain of one core: 161 "
        "operations that wait for each other for every 8 bytes, once or twice. Loaded is everything from the file "
        "to the weights by name."};
    const double patience = session.Patience(500.0);
    std::vector<NetworkNumbers> networks{{32, 2}, {128, 3}, {528, 4}};
    if (session.options.isShort) {
        networks.resize(1);
    }
    std::mt19937 random(3);
    for (const NetworkNumbers network : networks) {
        const std::vector<uint8_t> plain = LoadBytes(session.ModelFile(network));
        const std::vector<uint8_t> once = tool::EncipherContainer(plain, kFileKey, random);
        const std::vector<uint8_t> twice = tool::EncipherContainer(once, kOuterKey, random);
        AddRow(table, network, plain.size(), session.ModelFile(network), {}, 0, patience);
        for (const int layers : {1, 2}) {
            const auto path = session.options.folder / "models" / (layers == 1 ? "model.en" : "model.en2");
            SaveBytes(path, layers == 1 ? once : twice);
            AddRow(table, network, plain.size(), path, layers == 1 ? once : twice, layers, patience);
        }
    }
    session.Add(table);
}

}  // namespace orvane::bench
