// Reading arbitrary bytes into host arrays: whole, one row group at a time,
// and by byte range, each with the conversion of what Arrow decodes. Each read
// is judged by the read memory budget first, as the program and the Octave
// package do.
#include "FuzzInput.hpp"

#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include <numeric>

using orvane::io::parquet::core::read::checkReadBudget;
using orvane::io::parquet::core::read::Holding;
using orvane::io::parquet::core::read::RowGroupParquetReader;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ovfuzz::initialise();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto name = ovfuzz::serve(data, size);
  ovfuzz::expectingFailures([&] {
    RowGroupParquetReader whole(name, std::vector<double>{});
    checkReadBudget(name, whole.getMetadata(), Holding::Together);
    (void)whole.readFullFile();
  });
  ovfuzz::expectingFailures([&] {
    const RowGroupParquetReader probe(name, std::vector<double>{});
    std::vector<double> all(static_cast<std::size_t>(probe.getTotalNumRowGroups()));
    std::iota(all.begin(), all.end(), 1.0);
    RowGroupParquetReader reader(name, all);
    checkReadBudget(reader, Holding::OneAtATime);
    while (reader.hasdata()) (void)reader.read();
  });
  ovfuzz::expectingFailures([&] {
    const double half = static_cast<double>(size / 2);
    RowGroupParquetReader first(name, 0.0, half);
    checkReadBudget(first, Holding::OneAtATime);
    while (first.hasdata()) (void)first.read();
    RowGroupParquetReader second(name, half, static_cast<double>(size) - half);
    checkReadBudget(second, Holding::OneAtATime);
    while (second.hasdata()) (void)second.read();
  });
  return 0;
}
