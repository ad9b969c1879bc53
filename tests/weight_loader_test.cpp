// Reading weights by name, and reading them again only when something changed.
#include "model/weight_loader.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "tests/log_capture.h"
#include "tests/temp_folder.h"

namespace orvane {
namespace {

// Differs from one value to the next and, by `seed`, from one file to the next.
uint16_t ValueAt(size_t index, uint32_t seed) {
    return static_cast<uint16_t>((index * 40503 + seed * 257 + 11) & 0xFFFF);
}

// The map of a model file of such values: the numbers of values in filter1, bias1, filter2, ...
WeightMap MapOf(const std::vector<size_t>& counts, uint32_t seed) {
    WeightMap map;
    size_t position = 0;
    for (size_t i = 0; i < counts.size(); ++i) {
        auto& values = map[(i % 2 == 0 ? "filter" : "bias") + std::to_string(i / 2 + 1)];
        while (values.size() < counts[i]) {
            values.push_back(ValueAt(position++, seed));
        }
    }
    return map;
}

constexpr size_t kDefaultBytes = 45720;
const std::vector<size_t> kDefaultCounts = {864, 32, 9216, 32, 9216, 32, 3456, 12};

class WeightLoaderTest : public testing::Test {
protected:
    std::string PathOf(const std::string& name) const { return (m_folder.Path() / name).string(); }
    std::string Write(const std::string& name, size_t byteCount, uint32_t seed) const {
        std::vector<uint8_t> content(byteCount);
        for (size_t i = 0; i < byteCount; ++i) {
            content[i] = static_cast<uint8_t>(ValueAt(i / 2, seed) >> (i % 2 * 8) & 0xFF);  // little-endian
        }
        return m_folder.Write(name, content).string();
    }

    TempFolder m_folder;
    LogCapture m_log;
    WeightLoader m_loader;
    WeightMap m_map{{"filter99", {1}}};
};

TEST_F(WeightLoaderTest, ReadsEveryLayer) {
    struct Case {
        NetworkConfig config;
        size_t byteCount;
        std::vector<size_t> counts;
    };
    const std::vector<size_t> twelveLayers = {54, 2, 36, 2, 36, 2, 36, 2, 36, 2, 36,  2,
                                              36, 2, 36, 2, 36, 2, 36, 2, 36, 2, 216, 12};
    const Case cases[] = {{NetworkConfig{}, kDefaultBytes, kDefaultCounts},
                          {NetworkConfig{}, 3 * kDefaultBytes, kDefaultCounts},
                          {MakeNetworkConfig(2, 10), 1328, twelveLayers},
                          {MakeNetworkConfig(5, -1), 280, {135, 5}}};
    for (const Case& test : cases) {
        SCOPED_TRACE(testing::Message() << test.config.layerCount << " layers, " << test.byteCount << " bytes");
        WeightLoader loader;
        EXPECT_FALSE(loader.HoldsWeights());
        EXPECT_EQ(loader.LoadWeights(Write("model", test.byteCount, 0), test.config, m_map), 0);
        EXPECT_EQ(m_map, MapOf(test.counts, 0));
        EXPECT_TRUE(loader.HoldsWeights());
        EXPECT_EQ(m_log.Take(), LogEntries{});
    }
}

TEST_F(WeightLoaderTest, IsLeftEmptyByAFileThatItRefuses) {
    struct Case {
        const char* file;
        size_t byteCount;
        NetworkConfig config;
        std::string message;
    };
    const NetworkConfig tooLarge{1, 0x10000000, 3, 1};  // the size does not fit into 32 bits
    const Case cases[] = {{"model", kDefaultBytes - 1, {}, "read weights stream err for bias of layer 3"},
                          {"model", 45695, {}, "read weights stream err for weights of layer 3"},
                          {"model", 1728, {}, "read weights stream err for bias of layer 0"},
                          {"model", 0, {}, "seek weights stream err for weights of layer 0"},
                          {"model.en", 0, {}, "read weights stream err for weights of layer 0"},
                          {"model", 10, tooLarge, "Memory allocation failed for layer 0 weights"}};
    const WeightMap before = m_map;
    for (const Case& test : cases) {
        SCOPED_TRACE(testing::Message() << test.file << ", " << test.byteCount << " bytes");
        EXPECT_EQ(m_loader.LoadWeights(Write(test.file, test.byteCount, 0), test.config, m_map), -1);
        const std::string layer = test.message.find('3') != std::string::npos ? "3" : "0";
        EXPECT_EQ(m_log.Take(), (LogEntries{{0, test.message}, {0, "Failed to ReadLayerWeights for layer " + layer}}));
        EXPECT_EQ(m_map, before);
        EXPECT_FALSE(m_loader.HoldsWeights());
    }
    EXPECT_EQ(m_loader.LoadWeights(Write("model", kDefaultBytes, 0), NetworkConfig{}, m_map), 0);
    EXPECT_EQ(m_log.Take(), LogEntries{});
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
    EXPECT_EQ(m_map, WeightMap{});  // no layers: nothing is held, and nothing of the file stays behind
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

TEST_F(WeightLoaderTest, FoldersAreNoModels) {
    for (const char* const name : {"folder", "folder.en", "folder.en2"}) {
        std::filesystem::create_directory(m_folder.Path() / name);
        EXPECT_EQ(m_loader.LoadWeights(PathOf(name), NetworkConfig{}, m_map), -1) << name;
    }
}

}  // namespace
}  // namespace orvane
