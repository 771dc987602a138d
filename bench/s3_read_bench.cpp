// Reading the same file from an S3-compatible server on loopback (moto) and
// from local disk, in one run: whole reads, a one-variable read and the
// summary, with the requests each remote read costs, and Arrow's own S3
// read (ReadTable over Arrow's S3 file) as the remote baseline.
#include "../tests/remote/S3Server.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include <arrow/api.h>
#include <arrow/filesystem/s3fs.h>
#include <arrow/io/file.h>
#include <parquet/arrow/reader.h>
#include <parquet/arrow/writer.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Timing.hpp"

namespace {

using ovbench::bestSeconds;

constexpr const char* kKey = "OVBENCHKEY";
constexpr const char* kSecret = "ovbench-secret";

// 2M rows: 6 numeric columns and 2 string columns, 10 row groups.
std::shared_ptr<arrow::Table> benchTable(int64_t rows) {
  arrow::FieldVector fields;
  arrow::ArrayVector columns;
  for (int c = 0; c < 8; ++c) {
    if (c < 3) {
      arrow::DoubleBuilder b;
      (void)b.Reserve(rows);
      for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend(static_cast<double>(i * (c + 1)) * 0.37);
      columns.push_back(b.Finish().ValueOrDie());
      fields.push_back(arrow::field("d" + std::to_string(c), arrow::float64()));
    } else if (c < 6) {
      arrow::Int64Builder b;
      (void)b.Reserve(rows);
      for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend((i * 2654435761LL + c) % 1000000007LL);
      columns.push_back(b.Finish().ValueOrDie());
      fields.push_back(arrow::field("i" + std::to_string(c), arrow::int64()));
    } else {
      arrow::StringBuilder b;
      for (int64_t i = 0; i < rows; ++i) (void)b.Append("text " + std::to_string((i * (c + 3)) % 5000));
      columns.push_back(b.Finish().ValueOrDie());
      fields.push_back(arrow::field("s" + std::to_string(c), arrow::utf8()));
    }
  }
  return arrow::Table::Make(arrow::schema(fields), columns);
}

void die(const arrow::Status& status) {
  if (!status.ok()) {
    std::fprintf(stderr, "%s\n", status.ToString().c_str());
    std::exit(1);
  }
}

}  // namespace

int main() {
  namespace core = orvane::io::parquet::core;
  const std::string local = (std::filesystem::temp_directory_path() / "ovparquet-s3-bench.parquet").string();
  const int64_t rows = 2'000'000;
  {
    auto out = arrow::io::FileOutputStream::Open(local).ValueOrDie();
    die(parquet::arrow::WriteTable(*benchTable(rows), arrow::default_memory_pool(), out, rows / 10));
    die(out->Close());
  }
  const auto bytes = std::filesystem::file_size(local);

  ovtest::S3Server server;
  ::setenv("AWS_ACCESS_KEY_ID", kKey, 1);
  ::setenv("AWS_SECRET_ACCESS_KEY", kSecret, 1);
  ::setenv("AWS_REGION", "us-east-1", 1);
  ::setenv("AWS_ENDPOINT_URL_S3", ("http://" + server.endpoint()).c_str(), 1);
  die(arrow::fs::EnsureS3Initialized());
  auto options = arrow::fs::S3Options::FromAccessKey(kKey, kSecret);
  options.endpoint_override = server.endpoint();
  options.scheme = "http";
  options.allow_bucket_creation = true;
  auto s3 = arrow::fs::S3FileSystem::Make(options).ValueOrDie();
  die(s3->CreateDir("bench"));
  {
    std::ifstream in(local, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(in)), {});
    auto out = s3->OpenOutputStream("bench/file.parquet").ValueOrDie();
    die(out->Write(content.data(), static_cast<int64_t>(content.size())));
    die(out->Close());
  }
  const orvane::ustring remote = u"s3://bench/file.parquet";
  const orvane::ustring localName = orvane::utf8_to_ustring(local);

  const auto readWhole = [](const orvane::ustring& name) {
    core::read::RowGroupParquetReader reader(name, {});
    (void)reader.readFullFile();
  };
  const auto readOne = [](const orvane::ustring& name) {
    core::read::RowGroupParquetReader reader(name, {});
    reader.setSelectedVariableNames({u"i4"});
    (void)reader.readFullFile();
  };
  const auto summary = [](const orvane::ustring& name) { core::info::ParquetInfo info(name); };
  const auto arrowS3 = [&] {
    auto file = s3->OpenInputFile("bench/file.parquet").ValueOrDie();
    std::unique_ptr<parquet::arrow::FileReader> reader;
    die(parquet::arrow::OpenFile(file, arrow::default_memory_pool(), &reader));
    std::shared_ptr<arrow::Table> table;
    die(reader->ReadTable(&table));
  };

  std::printf("file: %lld rows x 8 columns, 10 row groups, %.1f MiB, on %s and local disk\n",
              static_cast<long long>(rows), static_cast<double>(bytes) / (1 << 20), server.endpoint().c_str());
  readWhole(remote);  // warm: connections, the server's first request
  (void)server.takeRequestCount();
  readWhole(remote);
  const auto wholeRequests = server.takeRequestCount();
  readOne(remote);
  const auto oneRequests = server.takeRequestCount();
  summary(remote);
  const auto infoRequests = server.takeRequestCount();

  const int reps = 5;
  const double wholeLocal = bestSeconds(reps, [&] { readWhole(localName); });
  const double wholeRemote = bestSeconds(reps, [&] { readWhole(remote); });
  const double wholeArrow = bestSeconds(reps, arrowS3);
  const double oneLocal = bestSeconds(reps, [&] { readOne(localName); });
  const double oneRemote = bestSeconds(reps, [&] { readOne(remote); });
  const double infoLocal = bestSeconds(reps, [&] { summary(localName); });
  const double infoRemote = bestSeconds(reps, [&] { summary(remote); });

  std::printf("%-22s %10s %10s %8s %10s\n", "read", "local ms", "s3 ms", "ratio", "requests");
  std::printf("%-22s %10.1f %10.1f %8.2f %10d\n", "whole file", wholeLocal * 1e3, wholeRemote * 1e3,
              wholeRemote / wholeLocal, wholeRequests.total());
  std::printf("%-22s %10.1f %10.1f %8.2f %10d\n", "one variable", oneLocal * 1e3, oneRemote * 1e3,
              oneRemote / oneLocal, oneRequests.total());
  std::printf("%-22s %10.2f %10.2f %8.2f %10d\n", "info (summary)", infoLocal * 1e3, infoRemote * 1e3,
              infoRemote / infoLocal, infoRequests.total());
  std::printf("Arrow's own ReadTable over its S3 file: %.1f ms (ours / Arrow's: %.2f)\n", wholeArrow * 1e3,
              wholeRemote / wholeArrow);
  std::filesystem::remove(local);
  s3.reset();
  return 0;
}
