#include "ParquetFiles.hpp"

#include <arrow/io/file.h>

#include <stdexcept>

namespace ovtest {

void check(const arrow::Status& status) {
  if (!status.ok()) throw std::runtime_error("test set-up failed: " + status.ToString());
}

void writeParquet(const std::string& path, const arrow::Table& table, int64_t rowGroupLength,
                  std::shared_ptr<parquet::WriterProperties> properties,
                  std::shared_ptr<parquet::ArrowWriterProperties> arrowProperties) {
  auto sink = check(arrow::io::FileOutputStream::Open(path));
  if (!properties) properties = parquet::default_writer_properties();
  if (!arrowProperties) arrowProperties = parquet::default_arrow_writer_properties();
  check(parquet::arrow::WriteTable(table, arrow::default_memory_pool(), sink, rowGroupLength, properties,
                                   arrowProperties));
  check(sink->Close());
}

void writeParquetWithoutRowGroups(const std::string& path, const std::shared_ptr<arrow::Schema>& schema) {
  auto sink = check(arrow::io::FileOutputStream::Open(path));
  auto writer = check(parquet::arrow::FileWriter::Open(*schema, arrow::default_memory_pool(), sink));
  check(writer->Close());
  check(sink->Close());
}

std::shared_ptr<arrow::Table> makeSimpleTable(int64_t rows) {
  arrow::Int64Builder ids;
  arrow::DoubleBuilder values;
  arrow::StringBuilder names;
  for (int64_t i = 0; i < rows; ++i) {
    check(ids.Append(i));
    check(values.Append(static_cast<double>(i) * 0.5));
    check(names.Append("row" + std::to_string(i)));
  }
  auto schema = arrow::schema({arrow::field("id", arrow::int64()), arrow::field("value", arrow::float64()),
                               arrow::field("name", arrow::utf8())});
  return arrow::Table::Make(schema, {check(ids.Finish()), check(values.Finish()), check(names.Finish())});
}

}  // namespace ovtest
