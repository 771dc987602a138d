// The metadata summary of one Parquet file: size, format version, row groups
// with their heights and byte offsets, and per top-level variable its name,
// host type, Arrow type, Parquet physical, converted and logical types,
// compression codec and encoding. Built once, in the constructor.
#pragma once

#include <ovparquet/core/Types.hpp>

#include <arrow/type_fwd.h>
#include <parquet/arrow/reader.h>
#include <parquet/arrow/schema.h>
#include <parquet/metadata.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvane::io::parquet::core::info {

class ParquetInfo {
 public:
  // Reads the summary; any failure raises "InternalInvalidRead" with the
  // file name and the failure's own text.
  explicit ParquetInfo(const ustring& filename);

  // The adapter's name of the file: a local path, or the location text.
  const ustring& getFilename() const { return mFilename; }
  std::int64_t getFileSize() const { return mFileSize; }
  int getNumRowGroups() const { return mNumRowGroups; }
  const VariableNames& getVariableNames() const { return mVariableNames; }
  std::vector<std::int64_t> getRowGroupHeights() const { return mRowGroupHeights; }
  std::vector<std::int64_t> getRowGroupOffsets() const { return mRowGroupOffsets; }
  const VariableTypes& getVariableTypes() const { return mVariableTypes; }
  // Read from the first row group; empty when the file has none.
  const VariableCompression& getVariableCompression() const { return mVariableCompression; }
  const VariableEncoding& getVariableEncoding() const { return mVariableEncoding; }
  // "1.0", "2.0" (for every 2.x) or "".
  const std::string& getVersion() const { return mVersion; }
  const std::vector<std::string>& getParquetPhysicalTypes() const { return mParquetPhysicalTypes; }
  const std::vector<std::string>& getParquetConvertedTypes() const { return mParquetConvertedTypes; }
  const std::vector<std::string>& getParquetLogicalTypes() const { return mParquetLogicalTypes; }
  const std::vector<std::string>& getArrowTypes() const { return mArrowTypes; }
  const std::shared_ptr<::parquet::FileMetaData> getMetadata() const;
  std::shared_ptr<::arrow::Schema> getArrowSchema() const { return mArrowSchema; }
  const ::parquet::arrow::SchemaManifest& getSchemaManifest() const;

 private:
  void doBuildInfo();
  void setVersion();
  void setArrowSchema();
  void setNumRowGroups();
  void setVariableNames();
  void setVariableTypes();
  void setArrowTypes();
  void setRowGroupHeights();
  void setRowGroupOffsets();
  void setParquetPhysicalTypes();
  void setParquetConvertedTypes();
  void setParquetLogicalTypes();
  void setVariableCompression(const ::parquet::RowGroupMetaData& rowGroup);
  void setVariableEncoding(const ::parquet::RowGroupMetaData& rowGroup);

  ustring mFilename;
  std::int64_t mFileSize = 0;
  int mNumRowGroups = 0;
  std::vector<std::int64_t> mRowGroupHeights;
  std::vector<std::int64_t> mRowGroupOffsets;
  VariableNames mVariableNames;
  VariableTypes mVariableTypes;
  VariableCompression mVariableCompression;
  VariableEncoding mVariableEncoding;
  std::string mVersion;
  std::vector<std::string> mParquetPhysicalTypes;
  std::vector<std::string> mParquetConvertedTypes;
  std::vector<std::string> mParquetLogicalTypes;
  std::vector<std::string> mArrowTypes;
  std::unique_ptr<::parquet::arrow::FileReader> mReader;
  std::shared_ptr<::arrow::Schema> mArrowSchema;
};

}  // namespace orvane::io::parquet::core::info
