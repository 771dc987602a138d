// Writing host tables with default options: a 10-million-row numeric table
// and a 2-million-row string table, through ParquetWriter and through
// Arrow's own writer on the same data (the Arrow table the host table
// converts to). bench/peers_write.py times pyarrow on the same data; run.sh
// puts the figures side by side.
#include <ovparquet/convert.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>

#include <arrow/io/file.h>
#include <arrow/table.h>
#include <parquet/arrow/writer.h>

#include <cstdio>
#include <filesystem>

#include "Timing.hpp"

namespace {

using ovbench::bestSeconds;
using orvane::ustring;

unique_ovarray_ptr table(std::vector<unique_ovarray_ptr> columns, std::vector<ustring> names) {
  return ovCreateTable(std::move(columns), names);
}

// The same formulas as bench/peers_write.py.
unique_ovarray_ptr numericTable(std::size_t rows) {
  std::vector<double> d1(rows), d2(rows);
  std::vector<int64_t> i1(rows), i2(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    d1[i] = static_cast<double>(i) * 0.5;
    d2[i] = static_cast<double>((i * 7919) % 1000003) / 3.0;
    i1[i] = static_cast<int64_t>(i);
    i2[i] = static_cast<int64_t>((i * 2654435761ULL) % 1000000007ULL);
  }
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(ovCreateNumericArrayFromVector<double>({rows, 1}, std::move(d1)));
  columns.push_back(ovCreateNumericArrayFromVector<double>({rows, 1}, std::move(d2)));
  columns.push_back(ovCreateNumericArrayFromVector<int64_t>({rows, 1}, std::move(i1)));
  columns.push_back(ovCreateNumericArrayFromVector<int64_t>({rows, 1}, std::move(i2)));
  return table(std::move(columns), {u"d1", u"d2", u"i1", u"i2"});
}

unique_ovarray_ptr stringTable(std::size_t rows) {
  ovStringArrayBuilder names({rows, 1}), values({rows, 1});
  for (std::size_t i = 0; i < rows; ++i) {
    names.appendUtf8("name" + std::to_string(i % 100000));
    values.appendUtf8("v" + std::to_string(i));
  }
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(names.finish());
  columns.push_back(values.finish());
  return table(std::move(columns), {u"s1", u"s2"});
}

void writeWithOurs(const ovArray* hostTable, const std::string& path) {
  orvane::io::parquet::core::write::ParquetWriter writer(orvane::utf8_to_ustring(path));
  std::vector<ustring> names;
  for (std::size_t v = 0; v < ovTableNumVariables(hostTable); ++v) names.push_back(ovTableName(hostTable, v));
  writer.setVariableNames(names);
  writer.write(hostTable);
  writer.close();
}

// Arrow's writer with the same properties as the defaults above.
void writeWithArrow(const arrow::Table& arrowTable, const std::string& path) {
  auto sink = arrow::io::FileOutputStream::Open(path).ValueOrDie();
  auto properties = parquet::WriterProperties::Builder()
                        .compression(arrow::Compression::SNAPPY)
                        ->enable_dictionary()
                        ->max_row_group_length(int64_t{1} << 26)
                        ->build();
  auto arrowProperties = parquet::ArrowWriterProperties::Builder().store_schema()->build();
  if (!parquet::arrow::WriteTable(arrowTable, arrow::default_memory_pool(), sink, int64_t{1} << 26, properties,
                                  arrowProperties)
           .ok()) {
    std::abort();
  }
  (void)sink->Close();
}

void run(const char* label, const ovArray* hostTable, const std::string& path) {
  auto arrowTable = orvane::io::arrow::core::to_arrow_table(hostTable).ValueOrDie();
  const double ours = bestSeconds(3, [&] { writeWithOurs(hostTable, path); });
  const double arrow = bestSeconds(3, [&] { writeWithArrow(*arrowTable, path); });
  const double convert = bestSeconds(3, [&] {
    (void)orvane::io::arrow::core::to_arrow_table(hostTable, orvane::io::arrow::core::HostMemory::Borrow).ValueOrDie();
  });
  std::printf("%-8s ParquetWriter %8.1f ms   Arrow WriteTable %8.1f ms   (of ours: conversion %6.1f ms)   "
              "ratio %.2fx\n",
              label, ours * 1e3, arrow * 1e3, convert * 1e3, ours / arrow);
  std::filesystem::remove(path);
}

}  // namespace

int main() {
  const auto dir = std::filesystem::temp_directory_path();
  const auto numeric = numericTable(10'000'000);
  run("numeric", numeric.get(), (dir / "ovparquet-write-bench-numeric.parquet").string());
  const auto strings = stringTable(2'000'000);
  run("strings", strings.get(), (dir / "ovparquet-write-bench-strings.parquet").string());
  return 0;
}
