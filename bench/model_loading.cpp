// Model files: how fast they are deciphered and loaded, against what one core's arithmetic allows.
#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "apps/models/encrypt.h"
#include "bench/session.h"
#include "apps/utils/statistics.h"
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
    for (int run = 0; run < 2000; ++run) {
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

struct ModelFile {
    NetworkNumbers network;
    std::string path;
    size_t plainBytes;
    int layers;                      // how often it is enciphered
    std::vector<uint8_t> container;  // what is deciphered of it: once, of the outermost cipher
};

void AddRow(Table& table, const ModelFile& file, double patience) {
    const auto speed = [&](double milliseconds) {
        return static_cast<double>(file.plainBytes) / 1e3 / milliseconds;  // MB/s
    };
    double deciphered = kNone;
    double read = kNone;
    const double limit = file.layers > 0 ? 8e3 / (kStepsPerBlock * StepNanoseconds()) / file.layers : kNone;
    if (file.layers > 0) {
        std::vector<uint8_t> output(file.container.size());
        deciphered =
            speed(TimeOnCore(patience,
                             [&] {
                                 auto length = static_cast<int32_t>(output.size());
                                 TeaDecryptBuffer(file.container.data(), static_cast<int32_t>(file.container.size()),
                                                  output.data(), length, file.layers == 2 ? kOuterKey : kFileKey);
                             })) /
            file.layers;
        read = speed(TimeOnCore(patience, [&] {
            std::stringstream stream;
            Require(OpenModelStream(file.path, stream), "a model cannot be read");
        }));
    }
    const double loaded = speed(TimeOnCore(patience, [&] {
        WeightLoader loader;
        WeightMap weights;
        const NetworkConfig config = MakeNetworkConfig(file.network.channels, file.network.depth);
        Require(loader.LoadWeights(file.path, config, weights) == 0, "a model cannot be loaded");
    }));
    table.rows.push_back({{"bytes", file.plainBytes},
                          {"enciphered", file.layers},
                          {"deciphered, MB/s", deciphered},
                          {"limit, MB/s", limit},
                          {"share", deciphered / limit},
                          {"read and deciphered, MB/s", read},
                          {"share of both", read / limit},
                          {"loaded, MB/s", loaded}});
}

void TimeNetwork(const Session& session, NetworkNumbers network, Table& table) {
    std::mt19937 random(3);
    const std::filesystem::path path = session.ModelFile(network);
    const std::vector<uint8_t> plain = LoadBytes(path);
    std::vector<uint8_t> bytes = plain;
    for (const int layers : {0, 1, 2}) {
        ModelFile file{network, path.string(), plain.size(), layers, {}};
        if (layers > 0) {
            bytes = tool::EncryptContainer(bytes, layers == 1 ? kFileKey : kOuterKey, random);
            file.path = (session.options.folder / "models" / (layers == 1 ? "model.en" : "model.en2")).string();
            file.container = bytes;
            SaveBytes(file.path, bytes);
        }
        AddRow(table, file, session.Patience(500.0));
    }
}

}  // namespace

void TimeModelLoading(Session& session) {
    Table& table = session.AddTable(
        "Model files",
        "Megabytes of the plain file a second on one core. The limit is the serial chain of one core: 161 operations "
        "that wait for each other for every 8 bytes, once or twice. Loaded is everything from the file to the weights "
        "by name.");
    std::vector<NetworkNumbers> networks{{32, 2}, {128, 3}, {528, 4}};
    networks.resize(session.options.isShort ? 1 : networks.size());
    for (const NetworkNumbers network : networks) {
        session.Try("model files of " + network.Name(), [&] { TimeNetwork(session, network, table); });
    }
}

}  // namespace orvane::bench
