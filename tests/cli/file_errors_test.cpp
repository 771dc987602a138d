// What a file's content makes the program say: errors that name the file
// (and the column, for a name that is not UTF-8), and the read memory limit.
#include "CliTest.hpp"

namespace ovtest {
namespace {

const std::string kFuzzing = OVPARQUET_TEST_DATA "/arrow-testing/data/parquet/fuzzing/";

// Statistics Parquet cannot decode used to come out as the program's
// catch-all "ORVANE:cli:InternalError" without the file.
TEST(FileErrors, UndecodableStatisticsNameTheFile) {
  for (const char* name : {"clusterfuzz-testcase-minimized-parquet-arrow-fuzz-4899358320623616",
                           "clusterfuzz-testcase-minimized-parquet-arrow-fuzz-5639431718699008"}) {
    const std::string file = kFuzzing + name;
    SCOPED_TRACE(file);
    const RunResult r = runProgram({"stats", file});
    expectFailure(r, 1, "ORVANE:parquetio:read:InternalInvalidRead");
    EXPECT_EQ(r.err, "ORVANE:parquetio:read:InternalInvalidRead: Unable to read Parquet file '" + file +
                         "': Can't decode page statistics for selected column type\n");
  }
}

// A column name that is not UTF-8 used to say only where in some text the
// bad byte was.
TEST(FileErrors, ANameThatIsNotUtf8NamesTheFileAndTheColumn) {
  const std::string file = kFuzzing + "clusterfuzz-testcase-parquet-arrow-fuzz-6015129204424704";
  Scratch dir;
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"read", file}, {"stats", file}, {"write", dir.file("out.parquet"), "--from", file, "--input-format", "parquet"}}) {
    SCOPED_TRACE(args[0]);
    const RunResult r = runProgram(args);
    expectFailure(r, 1, "ORVANE:parquetio:read:InternalInvalidRead");
    EXPECT_EQ(r.err, "ORVANE:parquetio:read:InternalInvalidRead: Unable to read Parquet file '" + file +
                         "': the name of column '\\x81a\\xC1\\x88\\xE1' is not valid UTF-8 (The text is not valid "
                         "UTF-8: invalid byte sequence at byte 0.)\n");
  }
  EXPECT_TRUE(dir.entries().empty());
}

// A 343-byte file declaring 1768 values of 1.4 GB each is refused before
// any of its data is read.
TEST(FileErrors, AFileDeclaringMoreThanTheMemoryLimitIsRefused) {
  const std::string file = kFuzzing + "clusterfuzz-testcase-minimized-parquet-arrow-fuzz-5843248142942208";
  const RunResult r = runProgram({"read", file});
  expectFailure(r, 1, "ORVANE:parquetio:read:MemoryLimitExceeded");
  EXPECT_NE(r.err.find("Unable to read Parquet file '" + file + "': what it declares for row group 1 needs "
                       "2477683944528 bytes of memory"),
            std::string::npos)
      << r.err;
}

TEST(FileErrors, TheMemoryLimitOption) {
  const std::string file = OVPARQUET_TEST_DATA "/parquet-testing/data/alltypes_plain.parquet";
  EXPECT_EQ(runProgram({"--memory-limit", "1MiB", "read", file}).status, 0);
  const RunResult small = runProgram({"--memory-limit", "1KiB", "read", file});
  expectFailure(small, 1, "ORVANE:parquetio:read:MemoryLimitExceeded");
  EXPECT_NE(small.err.find("more than the read memory limit of 1024 bytes."), std::string::npos) << small.err;
  // The footer alone answers info and stats: no limit applies.
  EXPECT_EQ(runProgram({"--memory-limit", "1", "info", file}).status, 0);
  for (const char* bad : {"0", "lots", "1.5x", "-3"}) {
    SCOPED_TRACE(bad);
    expectFailure(runProgram({"--memory-limit", bad, "read", file}), 2, "ORVANE:cli:InvalidOption");
  }
}

}  // namespace
}  // namespace ovtest
