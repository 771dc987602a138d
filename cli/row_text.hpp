// Rows of one batch as CSV lines, JSON records or the table view's cells.
//
// Most values are formatted from the host table. Two kinds are taken from
// the Arrow batch instead, because the host value cannot say them honestly:
// decimals (the host holds a double; the text is the exact stored digits)
// and time stamps with a time zone (shown as local time in their zone with
// the UTC offset, 2023-12-31T19:00:00-05:00).
#pragma once

#include <ovparquet/host/array.hpp>

#include <arrow/record_batch.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace ovparquet::cli {

// Local times of a zoned timestamp array in its zone with their offsets
// (2023-12-31T19:00:00-05:00); false when Arrow cannot convert (an unknown
// zone): the host's UTC text is used then.
bool zonedTexts(const std::shared_ptr<::arrow::Array>& array, std::vector<std::string>& texts,
                std::vector<bool>& missing);

class RowTexts {
 public:
  // `table` is the host table of `batch` (same rows, same variables in the
  // same order); `batch` may be null (every value from the host table).
  RowTexts(const ovArray* table, const std::shared_ptr<::arrow::RecordBatch>& batch,
           std::vector<std::string> names);

  // Appends rows[begin, end) as CSV lines.
  void appendCsv(std::string& out, const std::vector<std::size_t>& rows, std::size_t begin, std::size_t end) const;
  // Appends rows[begin, end) as compact JSON objects, each preceded by
  // `before` and followed by `after`.
  void appendJson(std::string& out, const std::vector<std::size_t>& rows, std::size_t begin, std::size_t end,
                  const char* before, const char* after) const;
  // The host table of the picked rows, for the table view, with decimals and
  // zoned time stamps as their exact texts.
  unique_ovarray_ptr shownTable(const std::vector<std::size_t>& rows) const;

 private:
  struct Column {
    const ovArray* host = nullptr;
    // Exact texts of every row (empty when the host value is used).
    std::vector<std::string> texts;
    std::vector<bool> missing;
    bool bareJson = false;  // texts that are JSON numbers
  };

  void appendCsvValue(std::string& out, const Column& column, std::size_t row) const;
  void appendJsonValue(std::string& out, const Column& column, std::size_t row) const;

  const ovArray* mTable;
  std::vector<std::string> mNames;
  std::vector<std::string> mJsonKeys;  // "\"name\":"
  std::vector<Column> mColumns;
};

}  // namespace ovparquet::cli
