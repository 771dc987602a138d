// The Parquet core on s3 locations gives exactly what it gives on a local
// copy of the same file; faults of the server end in identified errors; a
// read costs about one request per column chunk.
#include "S3Fixture.hpp"

#include "../support/Files.hpp"
#include "../support/HostErrors.hpp"
#include "../support/ParquetFiles.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/array.hpp>
#include <ovparquet/host/log.hpp>

#include <arrow/api.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

namespace ovtest {
namespace {

namespace core = orvane::io::parquet::core;
using orvane::ustring;
using testing::HasSubstr;
using testing::Not;

ustring u(const std::string& text) { return orvane::utf8_to_ustring(text); }

constexpr int kColumns = 20;
constexpr int kRowGroups = 5;
constexpr int64_t kRowsPerGroup = 20000;

// Names and leaf paths of the first `n` columns (all flat) for a writer.
void describeColumns(core::write::ParquetWriter& writer, int n) {
  std::vector<ustring> names;
  std::vector<uint64_t> offsets;
  for (int c = 0; c < n; ++c) {
    names.push_back(u("c" + std::to_string(c)));
    offsets.push_back(static_cast<uint64_t>(c));
  }
  offsets.push_back(static_cast<uint64_t>(n));
  writer.setVariableNames(names);
  writer.setLeafColumnPaths(offsets, names);
}

// 20 columns of four kinds, 5 row groups, some missing values.
std::shared_ptr<arrow::Table> wideTable() {
  const int64_t rows = kRowGroups * kRowsPerGroup;
  std::vector<std::shared_ptr<arrow::Field>> fields;
  std::vector<std::shared_ptr<arrow::Array>> columns;
  for (int c = 0; c < kColumns; ++c) {
    const std::string name = "c" + std::to_string(c);
    switch (c % 4) {
      case 0: {
        arrow::Int64Builder b;
        for (int64_t r = 0; r < rows; ++r) check(r % 17 == 0 ? b.AppendNull() : b.Append(r * (c + 1)));
        columns.push_back(check(b.Finish()));
        fields.push_back(arrow::field(name, arrow::int64()));
        break;
      }
      case 1: {
        arrow::DoubleBuilder b;
        for (int64_t r = 0; r < rows; ++r) check(b.Append(static_cast<double>(r) / (c + 1)));
        columns.push_back(check(b.Finish()));
        fields.push_back(arrow::field(name, arrow::float64()));
        break;
      }
      case 2: {
        arrow::StringBuilder b;
        for (int64_t r = 0; r < rows; ++r) check(b.Append("v" + std::to_string((r * 7 + c) % 300)));
        columns.push_back(check(b.Finish()));
        fields.push_back(arrow::field(name, arrow::utf8()));
        break;
      }
      default: {
        arrow::BooleanBuilder b;
        for (int64_t r = 0; r < rows; ++r) check(b.Append((r + c) % 3 == 0));
        columns.push_back(check(b.Finish()));
        fields.push_back(arrow::field(name, arrow::boolean()));
        break;
      }
    }
  }
  return arrow::Table::Make(arrow::schema(fields), columns);
}

class S3CoreTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    makeBucket("core");
    sDir = new TempDir();
    writeParquet(sDir->file("wide.parquet"), *wideTable(), kRowsPerGroup);
    uploadFile(sDir->file("wide.parquet"), "core/wide.parquet");
  }
  static void TearDownTestSuite() {
    delete sDir;
    sDir = nullptr;
  }

  static std::string local() { return sDir->file("wide.parquet"); }
  static std::string remote() { return s3Location("core/wide.parquet"); }

  static TempDir* sDir;
};
TempDir* S3CoreTest::sDir = nullptr;

TEST_F(S3CoreTest, InfoIsTheSameAsForTheLocalCopy) {
  const core::info::ParquetInfo a(u(local()));
  const core::info::ParquetInfo b(u(remote()));
  EXPECT_EQ(b.getFilename(), u(remote()));
  EXPECT_EQ(a.getFileSize(), b.getFileSize());
  EXPECT_EQ(b.getNumRowGroups(), kRowGroups);
  EXPECT_EQ(a.getVariableNames(), b.getVariableNames());
  EXPECT_EQ(a.getVariableTypes(), b.getVariableTypes());
  EXPECT_EQ(a.getRowGroupHeights(), b.getRowGroupHeights());
  EXPECT_EQ(a.getRowGroupOffsets(), b.getRowGroupOffsets());
  EXPECT_EQ(a.getVariableCompression(), b.getVariableCompression());
  EXPECT_EQ(a.getVariableEncoding(), b.getVariableEncoding());
  EXPECT_EQ(a.getVersion(), b.getVersion());
  EXPECT_EQ(a.getArrowTypes(), b.getArrowTypes());
}

TEST_F(S3CoreTest, CountsOfManyObjectsInParallel) {
  for (int i = 0; i < 6; ++i) uploadFile(local(), "core/many/f" + std::to_string(i) + ".parquet");
  std::vector<ustring> names;
  for (int i = 0; i < 6; ++i) names.push_back(u(s3Location("core/many/f" + std::to_string(i) + ".parquet")));
  EXPECT_EQ(core::info::getNumRowGroupsAsync(names), std::vector<std::int64_t>(6, kRowGroups));
  EXPECT_EQ(core::info::getNumRowGroupsSync(names), std::vector<std::int64_t>(6, kRowGroups));
  EXPECT_EQ(core::info::openAndGetRowGroups(u(remote())), kRowGroups);
}

TEST_F(S3CoreTest, WholeFileReadsEqual) {
  core::read::RowGroupParquetReader a(u(local()), {});
  core::read::RowGroupParquetReader b(u(remote()), {});
  const auto x = a.readFullFile();
  const auto y = b.readFullFile();
  EXPECT_EQ(*x, *y);
}

TEST_F(S3CoreTest, SelectedVariablesAndRowGroupsReadEqual) {
  const std::vector<ustring> vars = {u"c7", u"c2", u"c0"};
  core::read::RowGroupParquetReader a(u(local()), {4, 2});
  core::read::RowGroupParquetReader b(u(remote()), {4, 2});
  a.setSelectedVariableNames(vars);
  b.setSelectedVariableNames(vars);
  EXPECT_EQ(*a.readall(), *b.readall());
  while (a.hasdata()) {
    ASSERT_TRUE(b.hasdata());
    EXPECT_EQ(*a.read(), *b.read());
  }
  EXPECT_FALSE(b.hasdata());
}

TEST_F(S3CoreTest, ByteRangeSplitsTakeEveryRowGroupOnce) {
  const core::info::ParquetInfo info(u(remote()));
  const double size = static_cast<double>(info.getFileSize());
  for (const double split : {150000.0, 777777.0, size}) {
    std::vector<double> seen;
    std::vector<double> seenLocally;
    for (double offset = 0; offset < size; offset += split) {
      core::read::RowGroupParquetReader remoteReader(u(remote()), offset, split);
      core::read::RowGroupParquetReader localReader(u(local()), offset, split);
      const auto groups = remoteReader.getRowGroups();
      EXPECT_EQ(groups, localReader.getRowGroups());
      seen.insert(seen.end(), groups.begin(), groups.end());
      if (!groups.empty()) {
        EXPECT_EQ(*remoteReader.readall(), *localReader.readall());
      }
    }
    std::vector<double> expected(kRowGroups);
    std::iota(expected.begin(), expected.end(), 1.0);
    EXPECT_EQ(seen, expected) << "split " << split;
  }
}

TEST_F(S3CoreTest, SavedStateResumesOnTheObject) {
  core::read::RowGroupParquetReader reader(u(remote()), {1, 2, 3, 4, 5});
  (void)reader.read();
  const auto state = reader.serialize();
  core::read::RowGroupParquetReader resumed{};
  resumed.deserialize(state);
  core::read::RowGroupParquetReader fromDisk(u(local()), {2, 3, 4, 5});
  EXPECT_EQ(*resumed.read(), *fromDisk.read());
}

TEST_F(S3CoreTest, StatisticsEqual) {
  core::read::RowGroupParquetReader a(u(local()), {});
  core::read::RowGroupParquetReader b(u(remote()), {});
  const std::vector<int32_t> vars = {0, 1, 2, 3, 4};
  const auto x = a.getStatistics(vars);
  const auto y = b.getStatistics(vars);
  EXPECT_EQ(*x.nullCounts, *y.nullCounts);
  EXPECT_EQ(*x.nullCountValid, *y.nullCountValid);
  EXPECT_EQ(*x.minMaxValid, *y.minMaxValid);
  EXPECT_EQ(*x.minValues, *y.minValues);
  EXPECT_EQ(*x.maxValues, *y.maxValues);
}

TEST_F(S3CoreTest, WriterWritesWithCodecsAndHeights) {
  core::read::RowGroupParquetReader source(u(local()), {});
  source.setSelectedVariableNames({u"c0", u"c1", u"c2"});
  const auto table = source.readFullFile();
  const auto heights = ovCreateNumericArrayFromVector<double>({3, 1}, {10000, 50000, 40000});

  const auto writeTo = [&](const std::string& name) {
    core::write::ParquetWriter writer(u(name));
    describeColumns(writer, 3);
    writer.setVariableCompression({"zstd", "snappy", "gzip"});
    writer.writeRowGroups(table.get(), heights.get());
    writer.close();
  };
  TempDir dir;
  writeTo(dir.file("written.parquet"));
  writeTo(s3Location("core/written.parquet"));
  std::ifstream in(dir.file("written.parquet"), std::ios::binary);
  EXPECT_EQ(getObject("core/written.parquet"), std::string(std::istreambuf_iterator<char>(in), {}));

  const core::info::ParquetInfo info(u(s3Location("core/written.parquet")));
  EXPECT_EQ(info.getRowGroupHeights(), (std::vector<std::int64_t>{10000, 50000, 40000}));
  EXPECT_EQ(info.getVariableCompression(), (std::vector<std::string>{"zstd", "snappy", "gzip"}));
  core::read::RowGroupParquetReader back(u(s3Location("core/written.parquet")), {});
  EXPECT_EQ(*back.readFullFile(), *table);
}

TEST_F(S3CoreTest, AnObjectThatIsNotParquetIsAnInvalidRead) {
  putObject("core/not-parquet.parquet", "this is not a Parquet file, only some text of fair length\n");
  try {
    core::info::ParquetInfo info(u(s3Location("core/not-parquet.parquet")));
    FAIL() << "no error";
  } catch (const core::common::MessageError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:parquetio:read:InternalInvalidRead");
    EXPECT_THAT(std::string(e.what()), HasSubstr("s3://core/not-parquet.parquet"));
  }
}

TEST_F(S3CoreTest, ServerGoneInTheMiddleOfAReadIsAnIdentifiedError) {
  ScopedEnv relay("AWS_ENDPOINT_URL_S3", "http://" + s3Server().relayEndpoint());
  core::read::RowGroupParquetReader reader(u(remote()), {1, 3});
  (void)reader.read();
  s3Server().cutRelay();
  try {
    (void)reader.read();
    ADD_FAILURE() << "no error";
  } catch (const core::common::MessageError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:parquetio:read:InternalInvalidRead");
  }
  s3Server().restoreRelay();
}

TEST_F(S3CoreTest, ServerGoneInTheMiddleOfAWriteLeavesTheOlderObject) {
  putObject("core/interrupted.parquet", "older");
  ScopedEnv relay("AWS_ENDPOINT_URL_S3", "http://" + s3Server().relayEndpoint());
  core::read::RowGroupParquetReader source(u(local()), {});
  const auto table = source.readFullFile();
  {
    core::write::ParquetWriter writer(u(s3Location("core/interrupted.parquet")));
    describeColumns(writer, kColumns);
    writer.write(table.get());
    s3Server().cutRelay();
    bool failed = false;
    try {
      writer.close();
    } catch (const core::common::MessageError& e) {
      failed = true;
      EXPECT_EQ(e.identifier(), "ORVANE:parquetio:write:InvalidWrite");
    } catch (const orvane::HostError& e) {
      failed = true;
      EXPECT_EQ(e.identifier(), "ORVANE:host:CannotWrite");
    }
    EXPECT_TRUE(failed);
  }
  s3Server().restoreRelay();
  EXPECT_EQ(getObject("core/interrupted.parquet"), "older");
}

TEST_F(S3CoreTest, ReadsCostAboutOneRequestPerColumnChunk) {
  s3Server().takeRequestCount();
  { const core::info::ParquetInfo info(u(remote())); }
  const RequestCount info = s3Server().takeRequestCount();
  EXPECT_LE(info.total(), 2) << info.get << " GET, " << info.head << " HEAD";

  {
    core::read::RowGroupParquetReader reader(u(remote()), {});
    (void)reader.readFullFile();
  }
  const RequestCount whole = s3Server().takeRequestCount();
  EXPECT_LE(whole.total(), kColumns * kRowGroups + 2) << whole.get << " GET, " << whole.head << " HEAD";

  {
    core::read::RowGroupParquetReader reader(u(remote()), {});
    reader.setSelectedVariableNames({u"c5"});
    (void)reader.readFullFile();
  }
  const RequestCount one = s3Server().takeRequestCount();
  EXPECT_LE(one.total(), kRowGroups + 2) << one.get << " GET, " << one.head << " HEAD";
  std::printf("requests: info %d, whole read %d, one variable %d\n", info.total(), whole.total(), one.total());
}

TEST_F(S3CoreTest, NoSecretInMessagesOrTheDiagnosticLog) {
  auto log = std::make_shared<std::ostringstream>();
  orvane::log::logToStream(log);
  orvane::log::setMask(0xFF);
  std::vector<std::string> texts;
  const auto collect = [&](auto&& call) {
    try {
      call();
    } catch (const std::exception& e) {
      texts.push_back(e.what());
    }
  };
  const std::string withSecrets =
      "s3://" + std::string(kAccessKey) + ":" + kSecretKey + "@core/missing.parquet?secret_key=" + kSecretKey;
  collect([&] { core::info::ParquetInfo info(u(withSecrets)); });
  collect([&] { core::read::RowGroupParquetReader reader(u(withSecrets), {}); });
  collect([&] { core::write::ParquetWriter writer(u("s3://no-bucket-here/x.parquet?session_token=" + std::string(kSecretKey))); });
  {
    S3Server strict(/*requireCredentials=*/true);
    ScopedEnv endpoint("AWS_ENDPOINT_URL_S3", "http://" + strict.endpoint());
    collect([&] { core::info::ParquetInfo info(u(remote())); });
    collect([&] { core::write::ParquetWriter writer(u(remote())); });
  }
  orvane::log::setMask(0);
  orvane::log::flush();
  orvane::log::logToStderr();
  ASSERT_EQ(texts.size(), 5u);
  for (const auto& text : texts) {
    EXPECT_THAT(text, Not(HasSubstr(kSecretKey)));
    EXPECT_THAT(text, Not(HasSubstr(kAccessKey)));
  }
  const std::string logged = log->str();
  EXPECT_THAT(logged, HasSubstr("core/missing.parquet"));
  EXPECT_THAT(logged, Not(HasSubstr(kSecretKey)));
  EXPECT_THAT(logged, Not(HasSubstr(kAccessKey)));
}

}  // namespace
}  // namespace ovtest
