// Whether the parallel row-group count starts parallel work at all. oneTBB
// does nothing observable for an empty range, not even entering an arena, so
// an observer cannot tell a skipped loop from an empty one. What every
// parallel algorithm call does, empty or not, is make a task_group_context,
// and initialising one is a call into the oneTBB library. This executable
// defines that entry point itself (it takes precedence over the library's,
// being exported from the executable), counts the calls and forwards each to
// the library.
#include <ovparquet/core/info/RowGroupQueries.hpp>

#include "../../support/ParquetFiles.hpp"

#include <gtest/gtest.h>
#include <oneapi/tbb/task_group.h>

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>
#include <cstdio>

namespace {
std::atomic<int> gContextsMade{0};
}  // namespace

namespace tbb::detail::r1 {
void __TBB_EXPORTED_FUNC initialize(d1::task_group_context& context) {
  using Initialize = void (*)(d1::task_group_context&);
  static const Initialize library = [] {
    void* symbol = dlsym(RTLD_NEXT, "_ZN3tbb6detail2r110initializeERNS0_2d118task_group_contextE");
    if (symbol == nullptr) {
      std::fprintf(stderr, "oneTBB's task_group_context initialisation not found: %s\n", dlerror());
      std::abort();
    }
    return reinterpret_cast<Initialize>(symbol);
  }();
  ++gContextsMade;
  library(context);
}
}  // namespace tbb::detail::r1

namespace orvane::io::parquet::core {
namespace {

TEST(ParallelCount, EmptyListStartsNoParallelWork) {
  // The probe sees the parallel loop of a real list...
  ovtest::TempDir dir;
  const auto path = dir.file("one.parquet");
  ovtest::writeParquet(path, *ovtest::makeSimpleTable(4), 2);
  const int before = gContextsMade.load();
  EXPECT_EQ(info::getNumRowGroupsAsync({orvane::utf8_to_ustring(path)}), std::vector<std::int64_t>{2});
  ASSERT_GT(gContextsMade.load(), before) << "the probe does not see oneTBB's parallel loops";

  // ...and none for an empty one.
  const int beforeEmpty = gContextsMade.load();
  EXPECT_TRUE(info::getNumRowGroupsAsync({}).empty());
  EXPECT_EQ(gContextsMade.load(), beforeEmpty);
}

}  // namespace
}  // namespace orvane::io::parquet::core
