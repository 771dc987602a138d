// The read memory limit and the sizes the program's option accepts.
#include <ovparquet/host/memory.hpp>

#include "../support/HostErrors.hpp"

#include <unistd.h>

#include <gtest/gtest.h>

namespace {

TEST(ReadMemoryLimit, DefaultsToFourGibOrHalfThePhysicalMemory) {
  const auto physical = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                        static_cast<std::uint64_t>(::sysconf(_SC_PAGE_SIZE));
  EXPECT_EQ(orvane::defaultReadMemoryLimit(), std::min(std::uint64_t{4} << 30, physical / 2));
  EXPECT_EQ(orvane::readMemoryLimit(), orvane::defaultReadMemoryLimit());
}

TEST(ReadMemoryLimit, SetsAndResets) {
  orvane::setReadMemoryLimit(12345);
  EXPECT_EQ(orvane::readMemoryLimit(), 12345u);
  const auto [identifier, text] = ovtest::hostError([] { orvane::setReadMemoryLimit(0); });
  EXPECT_EQ(identifier, "ORVANE:host:InvalidMemoryLimit");
  EXPECT_EQ(orvane::readMemoryLimit(), 12345u);
  orvane::resetReadMemoryLimit();
  EXPECT_EQ(orvane::readMemoryLimit(), orvane::defaultReadMemoryLimit());
}

TEST(ParseByteSize, WholeNumbersWithBinaryUnits) {
  EXPECT_EQ(orvane::parseByteSize("4096"), 4096u);
  EXPECT_EQ(orvane::parseByteSize("100B"), 100u);
  EXPECT_EQ(orvane::parseByteSize("1k"), 1024u);
  EXPECT_EQ(orvane::parseByteSize("512MiB"), std::uint64_t{512} << 20);
  EXPECT_EQ(orvane::parseByteSize("2gib"), std::uint64_t{2} << 30);
  EXPECT_EQ(orvane::parseByteSize("2GB"), std::uint64_t{2} << 30);
  EXPECT_EQ(orvane::parseByteSize("1.5GiB"), std::uint64_t{3} << 29);
  EXPECT_EQ(orvane::parseByteSize("16T"), std::uint64_t{16} << 40);
}

TEST(ParseByteSize, RejectsAnythingElse) {
  for (const char* text : {"", "GiB", "1.", ".5G", "1..5G", "1x", "1 GiB", "-1", "1GiBs", "1PiB", "99999999999T",
                           "18446744073709551616"}) {
    EXPECT_FALSE(orvane::parseByteSize(text).has_value()) << text;
  }
}

}  // namespace
