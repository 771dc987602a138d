#include <ovparquet/host/error.hpp>
#include <ovparquet/host/message.hpp>

#include <gtest/gtest.h>

namespace orvane {
namespace {

TEST(Message, MakeKeepsArgumentOrderAndTypes) {
  const Message m = Message::make("ORVANE:host", "ArrayIndexOutOfRange", std::uint64_t{7}, std::uint64_t{3});
  EXPECT_EQ(m.identifier(), "ORVANE:host:ArrayIndexOutOfRange");
  ASSERT_EQ(m.arguments.size(), 2u);
  EXPECT_EQ(std::get<std::uint64_t>(m.arguments[0]), 7u);
  EXPECT_EQ(std::get<std::uint64_t>(m.arguments[1]), 3u);
  EXPECT_EQ(formatMessage(m), "Index 7 is out of range for an array of 3 elements.");
}

TEST(Message, UnknownIdentifierIsABug) {
  EXPECT_THROW(formatMessage(Message("ORVANE:host", "Nope")), std::logic_error);
}

TEST(Message, FormatTextTreatsOnlyDigitHolesAsHoles) {
  EXPECT_EQ(formatText("{x} {1} {} {10", 1, {std::string("A")}), "{x} A {} {10");
  EXPECT_THROW(formatText("{2}", 2, {std::string("a")}), std::logic_error);
}

TEST(HostError, CarriesItsMessageAndText) {
  try {
    throwHostError("FileNotFound", std::string("/tmp/missing.parquet"));
  } catch (const HostError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:host:FileNotFound");
    EXPECT_STREQ(e.what(), "Unable to open '/tmp/missing.parquet': no such file or directory.");
    return;
  }
  FAIL() << "no error";
}

TEST(HostError, InterruptHasItsOwnIdentifier) {
  const InterruptError e;
  EXPECT_EQ(e.identifier(), "ORVANE:host:Interrupted");
  EXPECT_STREQ(e.what(), "Operation interrupted by the user.");
}

}  // namespace
}  // namespace orvane
