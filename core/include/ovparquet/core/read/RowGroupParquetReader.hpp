// The concrete reader: reads a Parquet file one row group at a time, a
// chosen list of row groups at once, or whole; its position can be saved
// into a host cell and restored.
//
// Row groups are named towards the host by 1-based numbers held as double.
#pragma once

#include <ovparquet/core/read/ParquetReader.hpp>

#include <cstddef>
#include <vector>

namespace orvane::io::parquet::core::read {

class RowGroupParquetReader : public ParquetReader {
 public:
  // Reads the given row groups, in that order (kept as given: duplicates,
  // any order, no range check).
  RowGroupParquetReader(const ustring& filename, const std::vector<double>& rowGroups);
  // Reads the row groups whose first byte lies in [fileOffset, fileOffset +
  // size), so adjacent ranges take every row group exactly once.
  RowGroupParquetReader(const ustring& filename, const double fileOffset, const double size);
  // No file; restore a saved state with deserialize.
  RowGroupParquetReader();
  ~RowGroupParquetReader() override;

  // All row-group numbers, whatever the cursor.
  const std::vector<double> getRowGroups() const override;
  bool hasdata() const override;
  void reset() override;
  // A 1-by-2 cell: the file name, and the N-by-1 double column of the
  // row-group numbers not yet delivered.
  unique_ovarray_ptr serialize() const override;
  // Opens the saved file and takes the saved numbers; the cursor is kept.
  void deserialize(const unique_ovarray_ptr& state) override;
  // The next row group as an Arrow table (a file without row groups gives
  // one empty table); advances the cursor.
  std::shared_ptr<::arrow::Table> readNext() override;

  size_t getRowGroupIndex() const;
  void setRowGroupIndex(size_t rowGroupIndex);
  bool shouldReadEmptyOnce() const;
  // Reads the listed row groups into one host table; the cursor is not moved.
  unique_ovarray_ptr readRowGroups(const std::vector<double> rowGroups);
  // readRowGroups of the whole list, ignoring the cursor.
  unique_ovarray_ptr readall();
  // Every row group of the file, for the selected variables.
  unique_ovarray_ptr readFullFile();

 private:
  std::vector<double> mRowGroups;
  size_t mRowGroupIndex = 0;
};

}  // namespace orvane::io::parquet::core::read
