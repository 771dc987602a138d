#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/threads.hpp>

#include <gtest/gtest.h>

#include <csignal>
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

TEST(Interrupt, OnlyTheSignalThreadRaisesAndTheFlagClears) {
  markSignalThread();
  clearInterrupt();
  EXPECT_NO_THROW(throwIfInterruptPending());
  requestInterrupt();
  std::thread worker([] {
    EXPECT_FALSE(isSignalThread());
    EXPECT_NO_THROW(throwIfInterruptPending());  // workers never see the flag
  });
  worker.join();
  EXPECT_TRUE(isInterruptPending());
  EXPECT_THROW(throwIfInterruptPending(), InterruptError);
  EXPECT_FALSE(isInterruptPending());
  EXPECT_NO_THROW(throwIfInterruptPending());
}

TEST(Interrupt, SigintSetsThePendingFlag) {
  markSignalThread();
  clearInterrupt();
  installInterruptHandler();
  installInterruptHandler();  // idempotent
  ASSERT_EQ(std::raise(SIGINT), 0);
  EXPECT_TRUE(isInterruptPending());
  try {
    throwIfInterruptPending();
    FAIL() << "no error";
  } catch (const HostError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:host:Interrupted");
  }
  uninstallInterruptHandler();
}

}  // namespace
}  // namespace orvane
