// The small files of apache/parquet-testing (kept as fuzz seeds): each one is
// summarised and read whole, or fails with an identified error of the
// library or the host. None may end in another kind of exception.
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/error.hpp>

#include <gtest/gtest.h>
#include <parquet/exception.h>

#include <filesystem>
#include <numeric>
#include <string>
#include <typeinfo>

namespace orvane::io::parquet::core {
namespace {

std::vector<std::string> corpusFiles() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(OVPARQUET_CORPUS_DIR)) {
    if (entry.path().extension() == ".parquet") files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// "" when `body` succeeds or raises an identified error; otherwise the kind
// and text of what it raised.
template <typename Body>
std::string unidentifiedFailure(Body&& body) {
  try {
    body();
  } catch (const common::MessageError&) {
  } catch (const orvane::HostError&) {
  } catch (const std::exception& e) {
    return std::string(typeid(e).name()) + ": " + e.what();
  }
  return "";
}

TEST(Corpus, EveryFileIsReadOrFailsWithAnIdentifiedError) {
  const auto files = corpusFiles();
  ASSERT_GE(files.size(), 60u);
  int read = 0;
  int failed = 0;
  for (const auto& path : files) {
    SCOPED_TRACE(path);
    const auto name = orvane::utf8_to_ustring(path);
    EXPECT_EQ(unidentifiedFailure([&] { info::ParquetInfo info(name); }), "");
    bool whole = false;
    EXPECT_EQ(unidentifiedFailure([&] {
                read::RowGroupParquetReader reader(name, std::vector<double>{});
                (void)reader.readFullFile();
                whole = true;
              }),
              "");
    (whole ? read : failed) += 1;
  }
  // Most of the corpus is readable; the broken and unsupported files fail.
  EXPECT_GT(read, 40);
  EXPECT_GT(failed, 0);
}

// Statistics come from the footer; where the Parquet library cannot decode a
// chunk's statistics its exception passes through the reader unchanged.
TEST(Corpus, StatisticsOfEveryFileAreGatheredOrFailIdentifiably) {
  for (const auto& path : corpusFiles()) {
    SCOPED_TRACE(path);
    const auto name = orvane::utf8_to_ustring(path);
    std::unique_ptr<read::RowGroupParquetReader> reader;
    if (!unidentifiedFailure([&] { reader = std::make_unique<read::RowGroupParquetReader>(name, std::vector<double>{}); })
             .empty() ||
        !reader) {
      continue;
    }
    std::vector<std::int32_t> all(reader->getVariableNames().size());
    std::iota(all.begin(), all.end(), 0);
    for (const auto index : all) {
      const auto failure = unidentifiedFailure([&] {
        try {
          (void)reader->getStatistics({index});
        } catch (const ::parquet::ParquetException&) {
        }
      });
      EXPECT_EQ(failure, "") << "variable " << index;
    }
  }
}

}  // namespace
}  // namespace orvane::io::parquet::core
