// Parquet input of `write`: one row group at a time, through the library's
// row-group reader (so the host tables are those any reader of the file
// gets).
#pragma once

#include "write_input.hpp"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include <memory>
#include <vector>

namespace ovparquet::cli {

class ParquetInput : public WriteInput {
 public:
  // `path` is read; `name` names it in messages ("-" for a copy of
  // standard input).
  explicit ParquetInput(const std::string& path, const std::string& name = {});

  const std::string& name() const override { return mName; }
  bool cutsAnywhere() const override { return false; }
  unique_ovarray_ptr next(std::uint64_t rows) override;
  unique_ovarray_ptr empty() override;
  double progress() const override;

 private:
  std::string mPath;
  std::string mName;
  std::unique_ptr<orvane::io::parquet::core::read::RowGroupParquetReader> mReader;
  std::size_t mRowGroups = 0;
  std::size_t mRead = 0;
};

}  // namespace ovparquet::cli
