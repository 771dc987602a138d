// The option bag of one Parquet write: checks the settings against each
// other and turns them into Parquet's writer properties.
#pragma once

#include <ovparquet/core/Types.hpp>
#include <ovparquet/core/write/LeafColumnPaths.hpp>

#include <parquet/properties.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvane::io::parquet::core::write {

// The compression names setVariableCompression accepts whose codec this
// build of Arrow can write, in alphabetical order.
std::vector<std::string> writableCompressionNames();
// The encoding names setVariableEncoding accepts, in alphabetical order.
std::vector<std::string> encodingNames();

class ParquetWriterOptions {
 public:
  // Version "2.0", snappy and dictionary encoding for every column, the Arrow
  // schema stored, compliant nested names, row groups of at most 2^26 rows.
  ParquetWriterOptions();
  ParquetWriterOptions(ParquetWriterOptions&&) noexcept;
  ParquetWriterOptions& operator=(ParquetWriterOptions&&) noexcept;
  ~ParquetWriterOptions();

  const VariableNames& getVariableNames() const { return mVariableNames; }
  void setVariableNames(const VariableNames& names);
  const VariableEncoding& getVariableEncoding() const { return mVariableEncoding; }
  void setVariableEncoding(const VariableEncoding& encoding);
  const VariableCompression& getVariableCompression() const { return mVariableCompression; }
  void setVariableCompression(const VariableCompression& compression);
  // "1.0", "2.0" or "".
  std::string getVersion() const;
  // Exactly "1.0" or "2.0"; anything else raises "InvalidOption".
  void setVersion(const std::string& version);
  bool getStoreArrowSchema() const { return mStoreArrowSchema; }
  void setStoreArrowSchema(bool store) { mStoreArrowSchema = store; }
  bool getUseCompliantNestedTypes() const { return mUseCompliantNestedTypes; }
  void setUseCompliantNestedTypes(bool compliant) { mUseCompliantNestedTypes = compliant; }
  int64_t getMaxRowGroupLength() const { return mMaxRowGroupLength; }
  void setMaxRowGroupLength(int64_t length) { mMaxRowGroupLength = length; }
  void setLeafColumnPaths(std::unique_ptr<LeafColumnPaths> paths);

  // Raises on the first inconsistency between the settings.
  void validate() const;
  std::shared_ptr<::parquet::WriterProperties> buildWriterProperties() const;
  std::shared_ptr<::parquet::ArrowWriterProperties> buildArrowWriterProperties() const;

 private:
  VariableNames mVariableNames;
  VariableEncoding mVariableEncoding;
  VariableCompression mVariableCompression;
  ::parquet::ParquetVersion::type mVersion;
  bool mStoreArrowSchema = true;
  bool mUseCompliantNestedTypes = true;
  int64_t mMaxRowGroupLength = int64_t{1} << 26;
  std::unique_ptr<LeafColumnPaths> mLeafColumnPaths;
};

}  // namespace orvane::io::parquet::core::write
