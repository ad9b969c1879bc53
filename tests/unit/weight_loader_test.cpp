// Reading weights by name, and reading the file again only after a change.
#include "model/weight_loader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "apps/models/model_file.h"
#include "apps/utils/files/atomic_file.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace orvane {
namespace {

constexpr size_t kDefaultBytes = 45720;
const std::vector<size_t> kDefaultCounts = {864, 32, 9216, 32, 9216, 32, 3456, 12};

// The values of a model file. They differ for every seed.
std::vector<uint16_t> Values(uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<uint16_t> values(kDefaultBytes / 2);
    std::generate(values.begin(), values.end(), [&] { return static_cast<uint16_t>(random() & 0xFFFF); });
    return values;
}

// The map of such a file, given the numbers of values in filter1, bias1, filter2, ...
WeightMap MapOf(const std::vector<size_t>& counts, uint32_t seed) {
    WeightMap map;
    const std::vector<uint16_t> values = Values(seed);
    const uint16_t* next = values.data();
    for (size_t i = 0; i < counts.size(); ++i) {
        map[(i % 2 == 0 ? "filter" : "bias") + std::to_string(i / 2 + 1)].assign(next, next + counts[i]);
        next += counts[i];
    }
    return map;
}

class WeightLoaderTest : public testing::Test {
protected:
    std::string PathOf(const std::string& name) const { return (m_folder.Path() / name).string(); }
    std::string Write(const std::string& name, size_t byteCount, uint32_t seed) const {
        const std::vector<uint16_t> values = Values(seed);
        const auto* const bytes = reinterpret_cast<const uint8_t*>(values.data());
        return m_folder.Write(name, {bytes, bytes + byteCount}).string();
    }

    TempFolder m_folder;
    LogCapture m_log;
    WeightLoader m_loader;
    WeightMap m_map{{"filter99", {1}}};
};

TEST_F(WeightLoaderTest, IsLeftEmptyByAFileThatItRefuses) {
    struct Case {
        const char* file;
        size_t byteCount;
        std::string message;
        std::string layer;
        NetworkConfig config;
    };
    const NetworkConfig tooLarge{1, 0x10000000, 3, 1};  // the size does not fit into 32 bits
    const Case cases[] = {{"model", kDefaultBytes - 1, "read weights stream err for bias of layer 3", "3", {}},
                          {"model", 45695, "read weights stream err for weights of layer 3", "3", {}},
                          {"model", 1728, "read weights stream err for bias of layer 0", "0", {}},
                          {"model", 0, "seek weights stream err for weights of layer 0", "0", {}},
                          {"model.en", 0, "read weights stream err for weights of layer 0", "0", {}},
                          {"model", 10, "Memory allocation failed for layer 0 weights", "0", tooLarge}};
    const WeightMap before = m_map;
    for (const auto& [file, byteCount, message, layer, config] : cases) {
        EXPECT_EQ(m_loader.LoadWeights(Write(file, byteCount, 0), config, m_map), -1) << message;
        EXPECT_EQ(m_log.Take(), (LogEntries{{0, message}, {0, "Failed to ReadLayerWeights for layer " + layer}}));
        EXPECT_EQ(m_map, before);
        EXPECT_FALSE(m_loader.HoldsWeights());
    }
}

TEST_F(WeightLoaderTest, RefusesAFileThatEndsAnywhereTooEarly) {
    const NetworkConfig config{3, 1, 3, 1};
    const std::vector<uint16_t> values = Values(3);
    constexpr size_t kBytes = 2 * (27 + 1 + 9 + 1 + 108 + 12);
    const auto* const bytes = reinterpret_cast<const uint8_t*>(values.data());
    for (const std::string name : {"m", "m.en", "m.en2"}) {
        const std::filesystem::path path = PathOf(name);
        tool::WriteModelFile(path, {bytes, kBytes});
        const std::vector<uint8_t> whole = tool::ReadWholeFile(path);
        // Without a whole number of blocks, the result is that many zeros.
        const size_t step = name == "m" ? 1 : 8;
        for (size_t size = 0; size < whole.size(); size += step) {
            m_folder.Write(name, {whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)});
            EXPECT_EQ(m_loader.LoadWeights(PathOf(name), config, m_map), -1) << name << ", " << size;
            EXPECT_FALSE(m_loader.HoldsWeights());
        }
        EXPECT_EQ(m_map.size(), 1U);
        m_folder.Write(name, whole);
        EXPECT_EQ(m_loader.LoadWeights(PathOf(name), config, m_map), 0) << name;
        EXPECT_EQ(m_map, MapOf({27, 1, 9, 1, 108, 12}, 3));
        m_map = {{"filter99", {1}}};
    }
}

TEST_F(WeightLoaderTest, ReadsAgainOnlyAfterAChange) {
    struct Step {
        const char* name;
        const char* file;
        NetworkConfig config;
        LogEntries messages;
        std::vector<size_t> counts;
        uint32_t seed;
    };
    const LogEntries reloading{{2, "Network configuration changed. Reloading weights from file."}};
    LogEntries missing = reloading;
    missing.emplace_back(0, "open the " + PathOf("first") + " file failed");
    missing.emplace_back(0, "Failed to open or decrypt model file: " + PathOf("first"));
    const Step steps[] = {{"first load", "first", {}, {}, kDefaultCounts, 1},
                          {"the same", "first", {4, 32, 3, 1, {7, 7, 7}}, {}, kDefaultCounts, 1},
                          {"path", "second", {}, reloading, kDefaultCounts, 2},
                          {"layers", "second", {3, 32, 3, 1}, reloading, {864, 32, 9216, 32, 3456, 12}, 2},
                          {"channels", "second", {3, 4, 3, 1}, reloading, {108, 4, 144, 4, 432, 12}, 2},
                          {"kernel", "second", {3, 4, 1, 1}, reloading, {12, 4, 16, 4, 48, 12}, 2},
                          {"flag", "second", {3, 4, 1, 0}, reloading, {12, 4, 16, 4, 48, 12}, 2},
                          {"missing file", "first", {3, 4, 1, 0}, missing, {}, 0},
                          {"after a failure", "second", {3, 4, 1, 0}, {}, {12, 4, 16, 4, 48, 12}, 2}};
    Write("first", kDefaultBytes, 1);
    Write("second", kDefaultBytes, 2);
    EXPECT_EQ(m_loader.LoadWeights(PathOf("second"), {0, 32, 3, 1}, m_map), 0);
    EXPECT_EQ(m_map, WeightMap{});  // no layers: nothing is held or left over from the file
    for (const Step& step : steps) {
        SCOPED_TRACE(step.name);
        const bool succeeds = step.messages != missing;
        const WeightMap before = m_map;
        EXPECT_EQ(m_loader.LoadWeights(PathOf(step.file), step.config, m_map), succeeds ? 0 : -1);
        EXPECT_EQ(m_log.Take(), step.messages);
        EXPECT_EQ(m_loader.HoldsWeights(), succeeds);
        EXPECT_EQ(m_map, succeeds ? MapOf(step.counts, step.seed) : before);
        m_map.erase("filter1");
        m_map["filter99"] = {1};
        std::filesystem::remove(PathOf("first"));
    }
    m_loader.ReleaseWeights();
    EXPECT_FALSE(m_loader.HoldsWeights());
    std::filesystem::remove(PathOf("second"));
    EXPECT_EQ(m_loader.LoadWeights(PathOf("second"), steps[8].config, m_map), -1);
}

TEST_F(WeightLoaderTest, FoldersAreNotModels) {
    for (const char* const name : {"folder", "folder.en", "folder.en2"}) {
        std::filesystem::create_directory(m_folder.Path() / name);
        EXPECT_EQ(m_loader.LoadWeights(PathOf(name), NetworkConfig{}, m_map), -1) << name;
    }
}

}  // namespace
}  // namespace orvane
