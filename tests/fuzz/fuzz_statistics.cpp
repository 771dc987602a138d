// Row-group statistics of every variable of arbitrary bytes.
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
    const RowGroupParquetReader reader(name, std::vector<double>{});
    std::vector<std::int32_t> all(reader.getVariableNames().size());
    std::iota(all.begin(), all.end(), 0);
    // All at once, then one by one: a variable that fails must not hide the
    // others from the fuzzer.
    ovfuzz::expectingFailures([&] { (void)reader.getStatistics(all); });
    for (const auto index : all) ovfuzz::expectingFailures([&] { (void)reader.getStatistics({index}); });
  });
  return 0;
}
