#include <ovparquet/host/error.hpp>
#include <ovparquet/host/threads.hpp>

#include <gtest/gtest.h>

#include <thread>

namespace orvane {
namespace {

TEST(ThreadCount, DefaultsToHardwareAndIsNeverZero) {
  resetComputationalThreadCount();
  const unsigned hw = std::thread::hardware_concurrency();
  EXPECT_EQ(computationalThreadCount(), hw == 0 ? 1u : hw);
  setComputationalThreadCount(3);
  EXPECT_EQ(computationalThreadCount(), 3u);
  try {
    setComputationalThreadCount(0);
    FAIL() << "no error";
  } catch (const HostError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:host:InvalidThreadCount");
  }
  EXPECT_EQ(computationalThreadCount(), 3u);
  resetComputationalThreadCount();
}

}  // namespace
}  // namespace orvane
