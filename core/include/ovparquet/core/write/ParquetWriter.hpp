// Writes host tables to one Parquet file. Set the options, then write whole
// tables (write) or tables cut into row groups of given heights
// (writeRowGroups) any number of times, then close.
//
// The file is written through the file system's commit-on-close temporary (a
// hidden sibling renamed into place, or an upload completed on close), so it
// appears under its name only when closed successfully. A writer destroyed
// unclosed closes and completes what it was given, as a destructor must not
// lose written data; only a writer never written to, or whose close fails,
// leaves nothing. To leave nothing after a failure or an interrupt, call
// discard() before the writer is destroyed.
#pragma once

#include <ovparquet/core/Types.hpp>
#include <ovparquet/core/write/ParquetWriterOptions.hpp>
#include <ovparquet/host/array.hpp>

#include <arrow/type_fwd.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace parquet::arrow {
class FileWriter;
}
namespace orvane::io::parquet::core::common {
class ReadableWritableFile;
}

namespace orvane::io::parquet::core::write {

class ParquetWriter {
 public:
  explicit ParquetWriter(const ustring& filename);
  // Closes (completing the file); discards it when never written to or when
  // the close fails. Never throws.
  ~ParquetWriter();
  ParquetWriter(const ParquetWriter&) = delete;
  ParquetWriter& operator=(const ParquetWriter&) = delete;

  // Finishes the file. Does nothing before the first write or after close.
  void close();
  // Abandons the file: the temporary is removed (an upload aborted) and
  // nothing appears under the name; later writes raise "InvalidWrite".
  // Does nothing after close.
  void discard() noexcept;

  // Names, compression and encoding can be set only while still empty; the
  // version once. Violations raise "InvalidWrite".
  const VariableNames& getVariableNames() const;
  void setVariableNames(const VariableNames& names);
  const VariableCompression& getVariableCompression() const;
  void setVariableCompression(const VariableCompression& compression);
  const VariableEncoding& getVariableEncoding() const;
  void setVariableEncoding(const VariableEncoding& encoding);
  const std::string getVersion() const;
  void setVersion(const std::string& version);
  bool getStoreArrowSchema() const;
  void setStoreArrowSchema(const bool store);
  bool getUseCompliantNestedTypes() const;
  void setUseCompliantNestedTypes(const bool compliant);
  int64_t getMaxRowGroupLength() const;
  void setMaxRowGroupLength(const int64_t length);
  void setLeafColumnPaths(std::vector<uint64_t> offsets, std::vector<ustring> paths);

  // Writes a host table; the Parquet writer splits it into row groups of at
  // most the maximum row-group length.
  void write(const ovArray* table);
  // Writes one row group per element of the double array of heights.
  void writeRowGroups(const ovArray* table, const ovArray* rowGroupHeights);

  // Raises "InvalidWrite" with `message` when the condition is false.
  void require(const bool condition, const std::string& message) const;
  // Checks the table's shape against the variable names.
  void validateWriteDimensons(const ovArray* table);
  std::shared_ptr<::arrow::Table> buildArrowTable(const ovArray* table);
  // Keeps the first table's schema and opens the Parquet writer with it;
  // later tables must have an equal schema (metadata aside).
  void validateSchema(const std::shared_ptr<::arrow::Schema>& schema, bool warnNestedDictionaries);
  // Warns about dictionaries nested in the kept schema's variables.
  void checkForNestedDictionary(bool check) const;

 private:
  // Removes an unclosed file's temporary (aborts its upload); the file is
  // released when that succeeded.
  void cleanupFile() noexcept;
  ustring mFilename;
  ParquetWriterOptions mOptions;
  bool mVersionSet = false;
  std::shared_ptr<common::ReadableWritableFile> mFile;
  std::shared_ptr<::arrow::Schema> mSchema;
  std::unique_ptr<::parquet::arrow::FileWriter> mFileWriter;
};

// Issues "RowGroupedListOfDictionaries" (one level down) or
// "NestedRowGroupedListOfDictionaries" (deeper) for each dictionary below the
// top level of a field, naming the top-level variable.
void warnIfNestedDictionary(const std::shared_ptr<::arrow::Field>& field, size_t depth, const std::string& name);

}  // namespace orvane::io::parquet::core::write
