#include "bench/workers/model_files.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "apps/models/encrypt.h"
#include "model/keys.h"
#include "model/model_stream.h"
#include "model/tea.h"
#include "model/weight_loader.h"

namespace orvane::bench {
namespace {

Numbers TimeChain(std::istream& /*arguments*/) {
    constexpr int kSteps = 200'000;
    double least = INFINITY;
    volatile uint32_t seed = 0x9E3779B9;
    const uint32_t a = seed;
    const uint32_t b = seed + 2;
    for (int run = 0; run < 2000; ++run) {
        uint32_t chain = seed;
        // Two steps in each iteration: the compiler cannot join an exclusive-or and an addition.
        const double time = Measure([&] {
            for (int i = 0; i < kSteps / 2; ++i) {
                chain = (chain ^ a) + b;
            }
        });
        seed = chain;
        least = std::min(least, time * 1e6 / kSteps);
    }
    return {least};
}

// The milliseconds that `work` takes one core: the least of many times, or for longer work, which other programs
// interrupt, the processor time. This process has no other thread.
template <typename Work>
Numbers TimeOnCore(double patience, const Work& work) {
    constexpr double kLong = 5.0;
    double least = INFINITY;
    int runs = 0;
    double used = 0.0;
    for (const double start = ProcessorMilliseconds(); runs == 0 || used < patience; ++runs) {
        least = std::min(least, Measure(work));
        used = ProcessorMilliseconds() - start;
    }
    // The clock of processor time ticks some 60 times a second and may not have ticked yet.
    return {least < kLong || used == 0.0 ? least : used / runs};
}

bool IsEncryptedTwice(const std::filesystem::path& path) {
    return path.extension() == ".en2";
}

Numbers Encrypt(std::istream& arguments) {
    std::filesystem::path path = ReadPath(arguments);
    const std::vector<uint8_t> plain = LoadBytes(path);
    path.replace_extension(path.extension() == ".en" ? ".en2" : ".en");
    std::mt19937 random(3);
    SaveBytes(path, tool::EncryptContainer(plain, IsEncryptedTwice(path) ? kOuterKey : kFileKey, random));
    return {};
}

Numbers TimeDecryption(std::istream& arguments) {
    double patience = 0.0;
    arguments >> patience;
    const std::string path = ReadPath(arguments);
    const std::vector<uint8_t> container = LoadBytes(path);
    std::vector<uint8_t> output(container.size());
    return TimeOnCore(patience, [&] {
        auto length = static_cast<int32_t>(output.size());
        TeaDecryptBuffer(container.data(), static_cast<int32_t>(container.size()), output.data(), length,
                         IsEncryptedTwice(path) ? kOuterKey : kFileKey);
    });
}

Numbers TimeReading(std::istream& arguments) {
    double patience = 0.0;
    arguments >> patience;
    const std::string path = ReadPath(arguments);
    return TimeOnCore(patience, [&] {
        std::stringstream stream;
        Require(OpenModelStream(path, stream), "a model cannot be read");
    });
}

Numbers TimeLoading(std::istream& arguments) {
    double patience = 0.0;
    NetworkNumbers network;
    arguments >> patience >> network.channels >> network.depth;
    const std::string path = ReadPath(arguments);
    return TimeOnCore(patience, [&] {
        WeightLoader loader;
        WeightMap weights;
        Require(loader.LoadWeights(path, network.Config(), weights) == 0, "a model cannot be loaded");
    });
}

}  // namespace

std::map<std::string, Command> ModelFileCommands() {
    return {{"chain", TimeChain},
            {"encrypt", Encrypt},
            {"decrypt", TimeDecryption},
            {"read", TimeReading},
            {"load", TimeLoading}};
}

}  // namespace orvane::bench
