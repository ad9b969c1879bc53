#include "apps/utils/statistics.h"

#include <cmath>
#include <gtest/gtest.h>

namespace orvane::tool {
namespace {

TEST(Statistics, QuantilesLieBetweenTheNearestValues) {
    EXPECT_EQ(Quantile({3.0, 1.0, 2.0}, 0.5), 2.0);
    EXPECT_EQ(Quantile({4.0, 1.0, 2.0, 3.0}, 0.5), 2.5);
    EXPECT_EQ(Quantile({3.0, 1.0, 2.0}, 0.0), 1.0);
    EXPECT_EQ(Quantile({10.0, 0.0}, 0.95), 9.5);
    EXPECT_EQ(Quantile({7.0}, 0.25), 7.0);
    EXPECT_TRUE(std::isnan(Quantile({}, 0.5)));
}

}  // namespace
}  // namespace orvane::tool
