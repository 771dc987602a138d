// Test support: temporary directories and small Parquet files written with
// Arrow's own writer.
#pragma once

#include "Files.hpp"

#include <arrow/api.h>
#include <parquet/arrow/writer.h>
#include <parquet/properties.h>

#include <filesystem>
#include <memory>
#include <string>

namespace ovtest {

// Writes `table` to `path` in row groups of at most `rowGroupLength` rows.
void writeParquet(const std::string& path, const arrow::Table& table, int64_t rowGroupLength,
                  std::shared_ptr<parquet::WriterProperties> properties = nullptr,
                  std::shared_ptr<parquet::ArrowWriterProperties> arrowProperties = nullptr);

// Writes a file with the schema but no row group at all.
void writeParquetWithoutRowGroups(const std::string& path, const std::shared_ptr<arrow::Schema>& schema);

// A table of `rows` rows: "id" int64 0..rows-1, "value" double id*0.5 and
// "name" string "row<id>".
std::shared_ptr<arrow::Table> makeSimpleTable(int64_t rows);

// Dies with the status text when the status is not OK (test set-up only).
void check(const arrow::Status& status);
template <typename T>
T check(arrow::Result<T> result) {
  check(result.status());
  return std::move(result).ValueUnsafe();
}

}  // namespace ovtest
