// The host's conversion of whatever Arrow's own reader makes of arbitrary
// bytes: the table Arrow decodes is converted whole and column by column.
#include "FuzzInput.hpp"

#include <ovparquet/convert.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/read/ReadBudget.hpp>

#include <arrow/memory_pool.h>
#include <arrow/table.h>
#include <parquet/arrow/reader.h>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ovfuzz::initialise();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto name = ovfuzz::serve(data, size);
  ovfuzz::expectingFailures([&] {
    std::unique_ptr<::parquet::arrow::FileReader> reader;
    auto file = orvane::io::parquet::core::common::makeReadableFilePtr(name);
    if (!::parquet::arrow::OpenFile(file, ::arrow::default_memory_pool(), &reader).ok()) return;
    orvane::io::parquet::core::read::checkReadBudget(name, *reader->parquet_reader()->metadata(),
                                                     orvane::io::parquet::core::read::Holding::Together);
    std::shared_ptr<::arrow::Table> table;
    if (!reader->ReadTable(&table).ok()) return;
    (void)orvane::io::arrow::core::to_orvane(table);
    for (const auto& column : table->columns()) (void)orvane::io::arrow::core::to_orvane(column);
  });
  return 0;
}
