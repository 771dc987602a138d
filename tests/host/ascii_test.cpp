#include <ovparquet/host/ascii.hpp>

#include <gtest/gtest.h>

namespace orvane {
namespace {

TEST(Ascii, CaseFoldsOnlyAsciiLetters) {
  EXPECT_EQ(asciiLowered("S3://Bucket/ÄÖ"), "s3://bucket/ÄÖ");
  EXPECT_TRUE(equalsIgnoringAsciiCase("LocalHost", "localhost"));
  EXPECT_FALSE(equalsIgnoringAsciiCase("file", "files"));
  EXPECT_FALSE(equalsIgnoringAsciiCase("[", "{"));
}

}  // namespace
}  // namespace orvane
