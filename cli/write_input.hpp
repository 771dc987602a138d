// An input of `write`: host tables read from a CSV or Parquet file, in
// order, a bounded piece at a time.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstdint>
#include <string>

namespace ovparquet::cli {

class WriteInput {
 public:
  virtual ~WriteInput() = default;

  // The input as the user named it, for messages.
  virtual const std::string& name() const = 0;
  // Whether next() cuts at any row (text) or only between row groups.
  virtual bool cutsAnywhere() const = 0;
  // The next rows: at most `rows` of them when the input cuts anywhere, its
  // next row group otherwise; null at the end.
  virtual unique_ovarray_ptr next(std::uint64_t rows) = 0;
  // A table of no rows with the input's variables.
  virtual unique_ovarray_ptr empty() = 0;
  // Progress through the input, from 0 to 1.
  virtual double progress() const = 0;
};

}  // namespace ovparquet::cli
