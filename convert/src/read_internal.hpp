// The reading side (Arrow to host), shared by the read_*.cpp files only.
//
// A column is converted from a list of segments: row ranges of Arrow arrays
// in order (the chunks of a column, one row's slice of a list's values, the
// field of a struct over the struct's rows). Each converter writes its rows
// straight into one host array allocated for all of them.
#pragma once

#include <ovparquet/host/array.hpp>

#include <arrow/array/data.h>
#include <arrow/type.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace orvane::io::arrow::core::detail {

// Rows [start, start + length) of one array: row j lies at position
// data->offset + start + j of the array's own buffers.
struct Segment {
  const ::arrow::ArrayData* data = nullptr;
  std::int64_t start = 0;
  std::int64_t length = 0;

  std::int64_t position(std::int64_t j = 0) const { return data->offset + start + j; }
};
using Segments = std::span<const Segment>;

// State of the conversion of one top-level column, shared by the threads
// that convert the rows of its lists.
class ReadContext {
 public:
  ReadContext(std::string column, std::string filename)
      : mColumn(std::move(column)), mFilename(std::move(filename)) {}

  // The top-level column's name, UTF-8.
  const std::string& column() const noexcept { return mColumn; }

  // Values of string data that held invalid UTF-8.
  void addInvalidUtf8Values(std::uint64_t count) noexcept {
    mInvalidUtf8Values.fetch_add(count, std::memory_order_relaxed);
  }
  std::uint64_t invalidUtf8Values() const noexcept {
    return mInvalidUtf8Values.load(std::memory_order_relaxed);
  }

  // The TypeError of a type without a host class, naming the column.
  [[noreturn]] void unsupported(const ::arrow::DataType& type) const;
  // An Invalid status naming the column.
  [[noreturn]] void invalid(const std::string& what) const;

  // Host categories of a string dictionary, converted once and copied for
  // every list row that uses the dictionary.
  struct Categories {
    unique_ovarray_ptr strings;
    std::vector<std::uint8_t> nullEntries;  // empty when the dictionary has no nulls
    // Keeps the dictionary (the key) alive, so its address is never reused
    // while the entry exists.
    std::shared_ptr<const ::arrow::ArrayData> dictionary;
  };
  std::unordered_map<const ::arrow::ArrayData*, Categories> categoryCache;
  // Guards categoryCache: the rows of a list column convert on several
  // threads.
  std::mutex categoryMutex;

  // The origin recorded on the cell arrays made from columns of `type`: one
  // record shared by every cell of a column (and by the per-row cells of
  // nested lists).
  const std::shared_ptr<const ovOrigin>& cellOrigin(const ::arrow::DataType& type);

 private:
  std::string mColumn;
  std::string mFilename;
  std::atomic<std::uint64_t> mInvalidUtf8Values{0};
  std::mutex mOriginMutex;
  std::unordered_map<const ::arrow::DataType*, std::shared_ptr<const ovOrigin>> mOrigins;
};

// Rows of a column that are missing because an enclosing struct row is null:
// one byte per row of the column (1 = missing), or null when there are none.
using ParentMissing = const std::uint8_t*;

// The `rows` rows of `segments` (all of type `type`) as an N-by-1 host array
// of the class to_orvane_datatype names (a nested host table for structs).
unique_ovarray_ptr readColumn(const ::arrow::DataType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context);

// One converter per family of types.
unique_ovarray_ptr readBoolean(Segments segments, std::size_t rows, ParentMissing parentMissing);
unique_ovarray_ptr readNumeric(::arrow::Type::type id, Segments segments, std::size_t rows,
                               ParentMissing parentMissing);
unique_ovarray_ptr readHalfFloat(Segments segments, std::size_t rows, ParentMissing parentMissing);
unique_ovarray_ptr readDecimal(const ::arrow::DecimalType& type, Segments segments,
                               std::size_t rows, ParentMissing parentMissing);
unique_ovarray_ptr readNull(std::size_t rows);
unique_ovarray_ptr readTemporal(const ::arrow::DataType& type, Segments segments,
                                std::size_t rows, ParentMissing parentMissing);
unique_ovarray_ptr readString(const ::arrow::DataType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context);
unique_ovarray_ptr readBinary(const ::arrow::DataType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context);
unique_ovarray_ptr readDictionary(const ::arrow::DictionaryType& type, Segments segments,
                                  std::size_t rows, ParentMissing parentMissing,
                                  ReadContext& context);
unique_ovarray_ptr readList(const ::arrow::DataType& type, Segments segments,
                            std::size_t rows, ParentMissing parentMissing,
                            ReadContext& context);
// `names` replaces the field names when given (the "Key" and "Value" of maps).
unique_ovarray_ptr readStruct(const ::arrow::StructType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context,
                              const std::vector<orvane::ustring>* names = nullptr);

// ---------------------------------------------------------------------------
// Missing rows
// ---------------------------------------------------------------------------

// Writes one byte per bit of `bitmap` from bit `offset` on: the bit's value,
// or its complement when `invert`.
void unpackBits(const std::uint8_t* bitmap, std::int64_t offset, std::int64_t length,
                std::uint8_t* out, bool invert);

// Whether any row of `segments` might be missing (a cheap test on null
// counts; false means certainly none).
bool mayHaveMissing(Segments segments, ParentMissing parentMissing);

// Writes the missing mask of `segments` (one byte per row, 1 = missing: a
// null in Arrow or a missing parent row) and returns the number of missing
// rows.
std::size_t fillMissing(Segments segments, ParentMissing parentMissing, std::uint8_t* out);

// The missing mask of `segments` as a vector, empty when no row is missing.
std::vector<std::uint8_t> missingRows(Segments segments, std::size_t rows,
                                      ParentMissing parentMissing);

// Gives `array` (a flat class) the missing mask of `segments` when a row is
// missing and returns it; returns null, leaving the array without a mask,
// otherwise. The values under the mask are left to the caller.
const std::uint8_t* attachMissing(ovArray* array, Segments segments, ParentMissing parentMissing);

}  // namespace orvane::io::arrow::core::detail
