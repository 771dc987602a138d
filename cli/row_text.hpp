// Rows of one batch as CSV lines, JSON records or the table view's cells.
//
// Most values are formatted from the host table. Two kinds are taken from
// the Arrow batch instead, because the host value cannot say them honestly:
// decimals (the host holds a double; the text is the exact stored digits)
// and time stamps with a time zone (shown as local time in their zone with
// the UTC offset, 2023-12-31T19:00:00-05:00).
#pragma once

#include <ovparquet/host/array.hpp>

#include <arrow/array.h>
#include <arrow/record_batch.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ovparquet::cli {

// Texts held in one buffer (no string per value): text i is bytes[ends[i-1], ends[i]).
struct TextList {
  std::string bytes;
  std::vector<std::size_t> ends;
  std::string_view at(std::size_t i) const {
    const std::size_t begin = i == 0 ? 0 : ends[i - 1];
    return std::string_view(bytes).substr(begin, ends[i] - begin);
  }
  void push(std::string_view text) {
    bytes += text;
    ends.push_back(bytes.size());
  }
};

// Local times of a zoned timestamp array in its zone with their offsets
// (2023-12-31T19:00:00-05:00); false when Arrow cannot convert (an unknown
// zone): the host's UTC text is used then.
bool zonedTexts(const std::shared_ptr<::arrow::Array>& array, TextList& texts, std::vector<bool>& missing);

// A zoned timestamp array with its wall-clock times, so that each value's
// text can be written when (and on whichever thread) it is needed.
class ZonedTimes {
 public:
  // False when Arrow cannot convert (an unknown zone).
  bool reset(const std::shared_ptr<::arrow::Array>& array);
  bool isMissing(std::size_t row) const { return mUtc->IsNull(static_cast<std::int64_t>(row)); }
  // The local time and its offset, 2023-12-31T19:00:00-05:00 (Z in UTC).
  void append(std::string& out, std::size_t row) const;

 private:
  std::shared_ptr<::arrow::Array> mUtc;
  std::shared_ptr<::arrow::Array> mWall;
  const std::int64_t* mUtcTicks = nullptr;
  const std::int64_t* mWallTicks = nullptr;
  ovTimeUnit mUnit = ovTimeUnit::Second;
  std::int64_t mPerSecond = 1;
  bool mUtcZone = false;
};

// The exact text of a decimal array's values (-8602.6138), written without a
// string per value where the digits fit 64 bits.
class DecimalTexts {
 public:
  void reset(const std::shared_ptr<::arrow::Array>& array);
  bool isMissing(std::size_t row) const { return mArray->IsNull(static_cast<std::int64_t>(row)); }
  void append(std::string& out, std::size_t row) const;
  // As a JSON number: Arrow's exponent form of a lone digit ("9.E-7") has a
  // point JSON does not allow.
  void appendJson(std::string& out, std::size_t row) const;

 private:
  std::shared_ptr<::arrow::Array> mArray;
  const std::uint8_t* mBytes = nullptr;  // the values, first row first
  int mWidth = 16;
  int mScale = 0;
};

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
  // How a column's values become text, decided once per batch.
  enum class Kind { Decimal, Zoned, Double, Int64, Int32, Logical, String, Categorical, Datetime, Other };

  struct Column {
    Kind kind = Kind::Other;
    const ovArray* host = nullptr;
    const std::uint8_t* missingMask = nullptr;  // host flags per row, or null
    const void* values = nullptr;              // numbers, ticks or category codes
    ovTimeUnit unit = ovTimeUnit::Second;
    bool instant = false;                      // a zoned datetime: UTC with "Z"
    TextList texts;                            // Categorical: a text per category
    TextList csvTexts;                         // ... as a CSV field
    TextList jsonTexts;                        // ... as a JSON string
    DecimalTexts decimals;                     // Decimal: texts from the Arrow array
    ZonedTimes zoned;                          // Zoned: texts from the Arrow array
    bool missingAt(std::size_t row) const { return missingMask != nullptr && missingMask[row] != 0; }
    // Decimal and Zoned: the value is missing in the Arrow array.
    bool exactMissing(std::size_t row) const {
      return kind == Kind::Decimal ? decimals.isMissing(row) : zoned.isMissing(row);
    }
    void appendExact(std::string& out, std::size_t row) const {
      if (kind == Kind::Decimal) {
        decimals.append(out, row);
      } else {
        zoned.append(out, row);
      }
    }
    bool exact() const { return kind == Kind::Decimal || kind == Kind::Zoned; }
  };

  static void classify(Column& column);
  void appendCsvValue(std::string& out, std::string& scratch, const Column& column, std::size_t row) const;
  void appendJsonValue(std::string& out, std::string& scratch, const Column& column, std::size_t row) const;
  // A present value of the typed kinds (numbers, logicals, strings, times,
  // categories), texts written the way Style (CSV or JSON) writes them.
  template <typename Style>
  static void appendTypedValue(std::string& out, std::string& scratch, const Column& column, std::size_t row);

  const ovArray* mTable;
  std::vector<std::string> mNames;
  std::vector<std::string> mJsonKeys;  // "\"name\":"
  std::vector<Column> mColumns;
};

}  // namespace ovparquet::cli
