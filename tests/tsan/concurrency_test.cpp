// Work the library runs on several threads at once, for ThreadSanitizer
// (make tsan): the parallel row-group count over many files, readers of
// different files on different threads, and writers of different files on
// different threads. Each result is also compared with the same work done
// on one thread, so the test means something without the sanitizer too.
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/threads.hpp>

#include "../support/HostTables.hpp"
#include "../support/ParquetFiles.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

namespace orvane::io::parquet::core {
namespace {

constexpr int kThreads = 4;

unique_ovarray_ptr rows(std::size_t first, std::size_t count) {
  auto x = ovCreateNumericMatrix(count, 1, ovClassID::Double);
  ovStringArrayBuilder s({count, 1});
  for (std::size_t i = 0; i < count; ++i) {
    ovGetTypedDataMutable<double>(x.get())[i] = static_cast<double>(first + i) * 0.5;
    s.appendUtf8("row " + std::to_string(first + i));
  }
  ovtest::NamedColumns columns;
  columns.emplace_back(u"x", std::move(x));
  columns.emplace_back(u"s", s.finish());
  return ovtest::hostTable(std::move(columns));
}

// Runs body(i) for i in [0, n) on n threads at once.
template <typename Body>
void onThreads(int n, Body&& body) {
  std::vector<std::thread> threads;
  for (int i = 0; i < n; ++i) threads.emplace_back([&body, i] { body(i); });
  for (auto& t : threads) t.join();
}

class Concurrency : public testing::Test {
 protected:
  void SetUp() override {
    orvane::setComputationalThreadCount(2);
    for (int i = 0; i < 12; ++i) {
      const auto path = mDir.file("f" + std::to_string(i) + ".parquet");
      ovtest::writeParquet(path, *ovtest::makeSimpleTable(200 + 100 * i), 100);
      mFiles.push_back(orvane::utf8_to_ustring(path));
    }
  }
  void TearDown() override { orvane::resetComputationalThreadCount(); }

  ovtest::TempDir mDir;
  std::vector<ustring> mFiles;
};

TEST_F(Concurrency, ParallelRowGroupCountOverManyFiles) {
  const auto serial = info::getNumRowGroupsSync(mFiles);
  for (int round = 0; round < 3; ++round) EXPECT_EQ(info::getNumRowGroupsAsync(mFiles), serial);
  EXPECT_EQ(serial.front(), 2);
  EXPECT_EQ(serial.back(), 13);
}

TEST_F(Concurrency, ReadersOfDifferentFilesOnDifferentThreads) {
  std::vector<unique_ovarray_ptr> expected;
  for (int i = 0; i < kThreads; ++i) {
    read::RowGroupParquetReader reader(mFiles[static_cast<std::size_t>(i)], std::vector<double>{});
    expected.push_back(reader.readFullFile());
  }
  std::vector<unique_ovarray_ptr> whole(kThreads);
  std::vector<std::size_t> groups(kThreads);
  onThreads(kThreads, [&](int i) {
    const ustring& file = mFiles[static_cast<std::size_t>(i)];
    read::RowGroupParquetReader reader(file, std::vector<double>{});
    read::checkReadBudget(file, reader.getMetadata(), read::Holding::Together);
    whole[static_cast<std::size_t>(i)] = reader.readFullFile();
    (void)reader.getStatistics({0, 1, 2});
    std::vector<double> all(static_cast<std::size_t>(reader.getTotalNumRowGroups()));
    std::iota(all.begin(), all.end(), 1.0);
    read::RowGroupParquetReader byGroup(file, all);
    while (byGroup.hasdata()) {
      (void)byGroup.read();
      ++groups[static_cast<std::size_t>(i)];
    }
  });
  for (int i = 0; i < kThreads; ++i) {
    EXPECT_TRUE(ovArraysEqual(whole[static_cast<std::size_t>(i)].get(), expected[static_cast<std::size_t>(i)].get()))
        << i;
    EXPECT_EQ(groups[static_cast<std::size_t>(i)], static_cast<std::size_t>(2 + i));
  }
}

TEST_F(Concurrency, WritersOfDifferentFilesOnDifferentThreads) {
  onThreads(kThreads, [&](int i) {
    write::ParquetWriter writer(orvane::utf8_to_ustring(mDir.file("w" + std::to_string(i) + ".parquet")));
    writer.setVariableNames({u"x", u"s"});
    writer.write(rows(0, 1000 + static_cast<std::size_t>(i)).get());
    writer.write(rows(5000, 500).get());
    writer.close();
  });
  for (int i = 0; i < kThreads; ++i) {
    read::RowGroupParquetReader reader(orvane::utf8_to_ustring(mDir.file("w" + std::to_string(i) + ".parquet")),
                                       std::vector<double>{});
    EXPECT_EQ(reader.getRowGroupHeights(), (std::vector<uint64_t>{1000u + static_cast<uint64_t>(i), 500u}));
    const auto table = reader.readFullFile();
    EXPECT_EQ(ovTableNumRows(table.get()), 1500u + static_cast<std::size_t>(i));
  }
}

}  // namespace
}  // namespace orvane::io::parquet::core
