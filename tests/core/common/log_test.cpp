#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>

#include "../../support/LogCapture.hpp"
#include "../../support/ParquetFiles.hpp"

#include <gtest/gtest.h>

namespace orvane::io::parquet::core::common {
namespace {

constexpr const char* kTraceSource = "tests/trace";

void tracedThrow() {
  OVPARQUET_TRACE();
  throw std::runtime_error("boom");
}

void tracedNormal() { OVPARQUET_TRACE(); }

struct TracesInDestructor {
  ~TracesInDestructor() { tracedNormal(); }
};

int tracedWithDetail(const ustring& name) {
  OVPARQUET_TRACE();
  logDetail("name", name);
  return 1;
}

bool startsWith(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

TEST(ScopeTrace, NothingIsWrittenWithoutTheEntryBit) {
  ovtest::LogCapture log(orvane::log::kAllSeverities & ~orvane::log::kScopeEntry);
  tracedNormal();
  EXPECT_TRUE(log.records().empty());
}

TEST(ScopeTrace, ExitByExceptionIsMarked) {
  ovtest::LogCapture log(orvane::log::kAllSeverities);
  EXPECT_THROW(tracedThrow(), std::runtime_error);
  const auto records = log.records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0], "void orvane::io::parquet::core::common::{anonymous}::tracedThrow()");
  EXPECT_EQ(records[1], records[0] + " [throw]");
}

TEST(ScopeTrace, NormalExitDuringUnwindingIsNotMarked) {
  ovtest::LogCapture log(orvane::log::kScopeEntry | orvane::log::kScopeExit);
  try {
    TracesInDestructor guard;
    throw std::runtime_error("older exception");
  } catch (const std::runtime_error&) {
  }
  const auto records = log.records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[1], records[0]);
  EXPECT_EQ(records[1].find("[throw]"), std::string::npos);
}

TEST(ScopeTrace, DetailsAreIndentedInsideTheScopeAndWideTextIsUtf8) {
  ovtest::LogCapture log(orvane::log::kAllSeverities);
  tracedWithDetail(u"Grüße");
  const auto records = log.records();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_TRUE(startsWith(records[0], "int orvane::io::parquet::core::common::{anonymous}::tracedWithDetail(const ustring&)"))
      << records[0];
  EXPECT_EQ(records[1], "   name=Grüße");  // two blanks of depth, then " name="
  EXPECT_EQ(records[2], records[0]);
}

TEST(ScopeTrace, OpenAndCountAndAFailingCheck) {
  ovtest::TempDir dir;
  const std::string path = dir.file("traced.parquet");
  ovtest::writeParquet(path, *ovtest::makeSimpleTable(10), 5);
  ovtest::LogCapture log(orvane::log::kAllSeverities);
  EXPECT_EQ(info::openAndGetRowGroups(orvane::utf8_to_ustring(path)), 2);
  EXPECT_THROW(throwReadExceptIfNotOk(::arrow::Status::IOError("bad"), u"x.parquet"), MessageError);
  const auto records = log.records();
  const std::string open =
      "orvane::io::parquet::core::common::ReadWriteFilePtr "
      "orvane::io::parquet::core::common::makeReadableFilePtr(const ustring&)";
  const std::string check =
      "void orvane::io::parquet::core::common::throwReadExceptIfNotOk(const arrow::Status&, const ustring&)";
  const std::string inner =
      "  void orvane::io::parquet::core::common::throwIfNotOk(const arrow::Status&, Args ...) "
      "[with Message = ORVANE::parquetio::read::InternalInvalidRead; Args = {ustring}]";
  // Opening traces the file factory with its detail nested inside; the OK
  // check of the open status leaves normally, the failing one by throwing.
  const std::vector<std::string> expected = {
      open, "   filename=" + path, open,                  // makeReadableFilePtr
      check, inner, inner, check,                        // OK status
      check, inner, inner + " [throw]", check + " [throw]",  // failed status
  };
  EXPECT_EQ(records, expected);
}

}  // namespace
}  // namespace orvane::io::parquet::core::common
