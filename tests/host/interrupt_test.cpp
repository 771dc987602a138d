#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace orvane {
namespace {

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
