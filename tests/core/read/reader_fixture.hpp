// The reader tests' tables and fixture: files whose "id" column counts rows,
// so every read can be checked.
#pragma once

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/host/array.hpp>

#include "../../support/ParquetFiles.hpp"

#include <arrow/api.h>
#include <gtest/gtest.h>

namespace orvane::io::parquet::core::read {

using ReadError = common::MessageException<ORVANE::parquetio::read::InternalInvalidRead>;
using NestedDictionaryError = common::MessageException<ORVANE::parquetio::read::DictionaryInNestedStructure>;

// A table whose "id" column counts rows, so every read can be checked.
inline std::shared_ptr<::arrow::Table> idTable(int64_t rows, const std::vector<std::string>& names = {"id", "b", "c"}) {
  std::vector<std::shared_ptr<::arrow::Field>> fields;
  std::vector<std::shared_ptr<::arrow::Array>> columns;
  for (std::size_t f = 0; f < names.size(); ++f) {
    ::arrow::Int64Builder builder;
    for (int64_t i = 0; i < rows; ++i) ovtest::check(builder.Append(i + static_cast<int64_t>(f) * 1000000));
    fields.push_back(::arrow::field(names[f], ::arrow::int64()));
    columns.push_back(ovtest::check(builder.Finish()));
  }
  return ::arrow::Table::Make(::arrow::schema(fields), columns);
}

inline std::vector<double> columnValues(const ovArray* table, std::size_t variable) {
  const ovArray* column = ovTableColumn(table, variable);
  std::vector<double> values(ovGetNumberOfElements(column));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = ovGetScalar(column, i);
  return values;
}

inline std::vector<double> range(double from, double to) {
  std::vector<double> out;
  for (double v = from; v < to; ++v) out.push_back(v);
  return out;
}

class ReaderTest : public testing::Test {
 protected:
  std::string write(const std::string& name, const ::arrow::Table& table, int64_t rowGroupLength) {
    const auto path = mDir.file(name);
    ovtest::writeParquet(path, table, rowGroupLength);
    return path;
  }
  ovtest::TempDir mDir;
};

}  // namespace orvane::io::parquet::core::read
