// What the benchmark makes of the values that it measures.
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "bench/plot.h"
#include "bench/report.h"
#include "apps/utils/statistics.h"

namespace orvane::bench {
namespace {

TEST(Statistics, QuantilesLieBetweenTheNearestValues) {
    EXPECT_EQ(Median({3.0, 1.0, 2.0}), 2.0);
    EXPECT_EQ(Median({4.0, 1.0, 2.0, 3.0}), 2.5);
    EXPECT_EQ(Least({3.0, 1.0, 2.0}), 1.0);
    EXPECT_EQ(Quantile({10.0, 0.0}, 0.95), 9.5);
    EXPECT_EQ(Quantile({7.0}, 0.25), 7.0);
    EXPECT_TRUE(std::isnan(Median({})));
}

TEST(Statistics, LinesAreThoseOfLeastSquares) {
    const std::vector<double> x{1.0, 2.0, 4.0};
    const Line exact = FitLine(x, std::vector<double>{5.0, 7.0, 11.0});
    EXPECT_NEAR(exact.intercept, 3.0, 1e-12);
    EXPECT_NEAR(exact.slope, 2.0, 1e-12);
    EXPECT_NEAR(exact.explained, 1.0, 1e-12);
    const Line near = FitLine(std::vector<double>{0.0, 1.0, 2.0}, std::vector<double>{0.0, 1.0, 1.0});
    EXPECT_NEAR(near.intercept, 1.0 / 6.0, 1e-12);
    EXPECT_NEAR(near.slope, 0.5, 1e-12);
    EXPECT_NEAR(near.explained, 0.75, 1e-12);
}

TEST(Report, HoldsWhatWasMeasuredAndWhatFailed) {
    Report report;
    report.facts = {{"adapter", "one"}};
    EXPECT_EQ(Table({"Empty", "", {}}).Text(), "### Empty\n\n|\n|\n\n\n");
    Table& table = report.tables.emplace_back(Table{"Times", "Medians.", {}});
    // The first row came to nothing before its second value.
    table.rows.push_back({{"size", "64x36"}});
    table.rows.push_back({{"size", "8x8"}, {"median, ms", 1.23456}});
    table.rows.push_back({{"size", "16x8"}, {"median, ms", 12345.6}});
    table.rows.push_back({{"size", "1x1"}, {"median, ms", 3.0}});
    table.rows.push_back({{"size", "2x2"}, {"median, ms", kNone}});
    report.failures.emplace_back("frames of 64x36: no device");
    EXPECT_EQ(table.Text(),
              "### Times\n\n"
              "| size  | median, ms |\n"
              "| ----- | ---------- |\n"
              "| 64x36 |            |\n"
              "| 8x8   | 1.235      |\n"
              "| 16x8  | 12346      |\n"
              "| 1x1   | 3          |\n"
              "| 2x2   |            |\n"
              "\nMedians.\n");
    const Row json = Row::parse(report.Json());
    EXPECT_EQ(json["adapter"], "one");
    EXPECT_EQ(json["failures"][0], "frames of 64x36: no device");
    EXPECT_EQ(json["tables"][0]["rows"][1]["median, ms"], 1.23456);
    EXPECT_TRUE(json["tables"][0]["rows"][4]["median, ms"].is_null());
}

// From the drawing's left to its right, and from its bottom to its top.
TEST(Plot, HasAPowerOfTenAtEveryEdge) {
    const std::string plot =
        MakePlot("Title", "x", "y", {{"one", {{1.0, 0.1}, {100.0, 10.0}}}, {"two", {{10.0, 1.0}}}});
    for (const char* const dot : {"cx='80' cy='360'", "cx='560' cy='40'", "cx='320' cy='200'"}) {
        EXPECT_NE(plot.find(dot), std::string::npos) << dot << " in\n" << plot;
    }
    for (const char* const text : {">0.1<", ">1<", ">10<", ">100<", ">one<", ">two<", "</svg>"}) {
        EXPECT_NE(plot.find(text), std::string::npos) << text << " in\n" << plot;
    }
    EXPECT_EQ(plot.find(">1000<"), std::string::npos);
}

}  // namespace
}  // namespace orvane::bench
