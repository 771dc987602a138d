#include <ovparquet/host/number_text.hpp>

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(NumberText, DigitsArePaddedToTheirCount) {
  std::string out = "t";
  ovAppendDigits(out, 7, 3);
  ovAppendDigits(out, 12, 2);
  ovAppendDigits(out, 0, 1);
  EXPECT_EQ(out, "t007120");
}

TEST(NumberText, ShortestTextReadsBackAndNamesNonFiniteValues) {
  EXPECT_EQ(ovShortestText(0.1), "0.1");
  EXPECT_EQ(ovShortestText(0.1f), "0.1");
  EXPECT_EQ(ovShortestText(1e300), "1e+300");
  EXPECT_EQ(ovShortestText(std::numeric_limits<double>::quiet_NaN()), "NaN");
  EXPECT_EQ(ovShortestText(-std::numeric_limits<float>::infinity()), "-Inf");
  EXPECT_EQ(ovShortestText(std::numeric_limits<double>::infinity()), "Inf");
}

}  // namespace
