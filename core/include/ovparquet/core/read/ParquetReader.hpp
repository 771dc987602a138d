// The abstract base of the library's readers: opens one Parquet file through
// the file adapter, holds the Arrow file reader and the variable selection,
// answers metadata questions, and converts the tables a derived reader
// produces into host arrays.
#pragma once

#include <ovparquet/core/Types.hpp>
#include <ovparquet/core/read/Statistics.hpp>
#include <ovparquet/host/array.hpp>

#include <arrow/status.h>
#include <arrow/type_fwd.h>
#include <parquet/arrow/reader.h>
#include <parquet/arrow/schema.h>
#include <parquet/metadata.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace orvane::io::parquet::core::read {

class ParquetReader {
 public:
  // The variables a reader reads: the chosen top-level Arrow fields, in the
  // caller's order, and the Parquet leaf columns beneath them (what Parquet
  // needs to read nested columns). Works on the reader's schema manifest,
  // which must outlive it.
  class SelectedVariables {
   public:
    // Binds to the manifest and selects every top-level field.
    ::arrow::Status init(const ::parquet::arrow::SchemaManifest* manifest);
    // Selects variables by name (exact, case-sensitive) in the given order.
    // A name the file does not hold selects nothing; a name asked for again
    // selects the next field of that name, if any.
    ::arrow::Status setSelectedIndices(const VariableNames& names);
    ::arrow::Status setArrowFieldIndices(const VariableNames& names);
    // Recomputes the leaf columns from the selected fields; "Corrupt
    // SchemaManifest" when a selected field has no leaves.
    ::arrow::Status setParquetColumnIndices();
    VariableNames getSelectedVariableNames() const;

    const std::vector<int>& arrowFieldIndices() const { return mArrowFieldIndices; }
    const std::vector<int>& parquetColumnIndices() const { return mParquetColumnIndices; }

   private:
    std::vector<int> mArrowFieldIndices;
    std::vector<int> mParquetColumnIndices;
    const ::parquet::arrow::SchemaManifest* mManifest = nullptr;
  };

  // A closed reader: no file; names and selection are empty.
  ParquetReader();
  explicit ParquetReader(const ustring& filename);
  virtual ~ParquetReader();
  ParquetReader(const ParquetReader&) = delete;
  ParquetReader& operator=(const ParquetReader&) = delete;

  virtual const std::vector<double> getRowGroups() const = 0;
  virtual bool hasdata() const = 0;
  virtual void reset() = 0;
  virtual unique_ovarray_ptr serialize() const = 0;
  virtual void deserialize(const unique_ovarray_ptr& state) = 0;
  virtual std::shared_ptr<::arrow::Table> readNext() = 0;

  // Opens the file and selects every variable.
  void init(const ustring& filename);
  // Reads the next table (readNext) and converts it to a host table;
  // "InternalInvalidRead" with "No more data" when nothing is left.
  unique_ovarray_ptr read();
  // Lets Parquet decode columns on Arrow's CPU pool, sized to the host's
  // computational thread count, except for Hadoop locations.
  void setupArrowThreadPool();

  // Metadata (the reader must be open).
  const ::parquet::FileMetaData& getMetadata() const;
  double getTotalNumRowGroups() const;
  const std::vector<uint64_t> getRowGroupHeights() const;
  const std::vector<uint64_t> getRowGroupOffsets() const;
  // Empty for a closed reader.
  const VariableNames getVariableNames() const;
  const VariableTypes getVariableTypes() const;
  const ustring& getFilename() const;
  const VariableNames getSelectedVariableNames() const;
  // Does nothing on a closed reader; "InternalInvalidRead" if the selection
  // cannot be made.
  void setSelectedVariableNames(const VariableNames& names);

  // Row-group statistics of the top-level variables at these 0-based indices
  // (see read_statistics), from the footer already read when the file was
  // opened.
  Statistics getStatistics(const std::vector<int32_t>& variableIndices) const;

  // Rejects dictionaries below the top level of selected variables in files
  // of two or more row groups, and unsupported nested types.
  void checkForRowGroupedNestedDictionary() const;
  void throwIfNestedDictionary(const std::shared_ptr<::arrow::Field>& field, size_t depth,
                               const std::string& name, int index) const;

 protected:
  // The file's Arrow schema; "InternalInvalidRead" when it cannot be read.
  std::shared_ptr<::arrow::Schema> arrowSchema() const;

  ustring mFilename;
  std::unique_ptr<::parquet::arrow::FileReader> mFileReader;
  SelectedVariables mSelection;
};

// Converts a table to a host table. A column without host class raises
// "InternalUnsupportedParquetType" naming it; any other failure
// "InternalInvalidRead" naming the file.
unique_ovarray_ptr arrow_to_orvane(std::shared_ptr<::arrow::Table> table, const ustring& filename);

}  // namespace orvane::io::parquet::core::read
