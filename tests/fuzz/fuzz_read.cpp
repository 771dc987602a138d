// Reading arbitrary bytes into host arrays: whole, one row group at a time,
// and by byte range, each with the conversion of what Arrow decodes.
#include "FuzzInput.hpp"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include <numeric>

using orvane::io::parquet::core::read::RowGroupParquetReader;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ovfuzz::initialise();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto name = ovfuzz::serve(data, size);
  ovfuzz::expectingFailures([&] {
    RowGroupParquetReader whole(name, std::vector<double>{});
    (void)whole.readFullFile();
  });
  ovfuzz::expectingFailures([&] {
    const RowGroupParquetReader probe(name, std::vector<double>{});
    std::vector<double> all(static_cast<std::size_t>(probe.getTotalNumRowGroups()));
    std::iota(all.begin(), all.end(), 1.0);
    RowGroupParquetReader reader(name, all);
    while (reader.hasdata()) (void)reader.read();
  });
  ovfuzz::expectingFailures([&] {
    const double half = static_cast<double>(size / 2);
    RowGroupParquetReader first(name, 0.0, half);
    while (first.hasdata()) (void)first.read();
    RowGroupParquetReader second(name, half, static_cast<double>(size) - half);
    while (second.hasdata()) (void)second.read();
  });
  return 0;
}
