// The writing side (host to Arrow), shared by the write_*.cpp files only.
//
// A column is converted from a list of pieces: host arrays of one class whose
// rows follow each other (the one variable of a table column, or all the
// elements of a cell, which become the values of a list). Each converter
// writes all pieces into one Arrow array of the canonical type.
#pragma once

#include <ovparquet/host/array.hpp>

#include <arrow/array/data.h>
#include <arrow/status.h>
#include <arrow/type.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace orvane::io::arrow::core::detail {

using Pieces = std::span<const ovArray* const>;

// The conversion of one top-level variable.
class WriteContext {
 public:
  explicit WriteContext(std::string column, bool borrowHostData = false)
      : mColumn(std::move(column)), mBorrowHostData(borrowHostData) {}
  const std::string& column() const noexcept { return mColumn; }
  // Whether Arrow buffers may point into the host arrays' own memory.
  bool borrowHostData() const noexcept { return mBorrowHostData; }

  // Raises a failed status of `code` whose message starts with the path of
  // the variable concerned ("Variable 'a.b': ...").
  [[noreturn]] void fail(::arrow::StatusCode code, const std::string& path,
                         const std::string& what) const;

 private:
  std::string mColumn;
  bool mBorrowHostData;
};

// Rows of one piece: its height as a variable (a host table's rows, or N of an
// N-by-1 array). Raises the failure of a piece that is neither.
std::size_t pieceHeight(const ovArray* piece, const std::string& path, const WriteContext& context);

// Whether a cell element stands for a null list: an empty slot or a 0x0 double.
bool isNullElement(const ovArray* element) noexcept;

// The pieces (all of one class, `rows` rows in total) as one Arrow array.
// `path` names the variable in messages.
std::shared_ptr<::arrow::ArrayData> writeColumn(Pieces pieces, std::int64_t rows,
                                                const std::string& path, WriteContext& context);

// One converter per family of classes; the pieces are checked to agree in
// class before they are called.
std::shared_ptr<::arrow::ArrayData> writeNumeric(Pieces pieces, std::int64_t rows, const WriteContext& context);
std::shared_ptr<::arrow::ArrayData> writeLogical(Pieces pieces, std::int64_t rows);
std::shared_ptr<::arrow::ArrayData> writeDatetime(Pieces pieces, std::int64_t rows,
                                                  const std::string& path,
                                                  const WriteContext& context);
std::shared_ptr<::arrow::ArrayData> writeDuration(Pieces pieces, std::int64_t rows,
                                                  const std::string& path,
                                                  const WriteContext& context);
std::shared_ptr<::arrow::ArrayData> writeString(Pieces pieces, std::int64_t rows,
                                                const std::string& path,
                                                const WriteContext& context);
std::shared_ptr<::arrow::ArrayData> writeCategorical(Pieces pieces, std::int64_t rows,
                                                     const std::string& path,
                                                     const WriteContext& context);
std::shared_ptr<::arrow::ArrayData> writeCell(Pieces pieces, std::int64_t rows,
                                              const std::string& path, WriteContext& context);
std::shared_ptr<::arrow::ArrayData> writeTable(Pieces pieces, std::int64_t rows,
                                               const std::string& path, WriteContext& context);

// The validity bitmap of the pieces' missing masks, or null when nothing is
// missing; `nullCount` receives the number of missing elements.
std::shared_ptr<::arrow::Buffer> validityOf(Pieces pieces, std::int64_t rows,
                                            std::int64_t* nullCount);

// A buffer of `bytes` bytes from the default pool (padding zeroed).
std::shared_ptr<::arrow::Buffer> allocate(std::int64_t bytes);

// UTF-8 of a name; raises an Invalid failure for unpaired surrogates.
std::string nameToUtf8(std::u16string_view name, const std::string& path,
                       const WriteContext& context);

}  // namespace orvane::io::arrow::core::detail
