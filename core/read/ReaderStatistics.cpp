// The reader's row-group statistics: the open file's footer, schema and
// schema manifest handed to read_statistics.
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/read/ParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <arrow/type.h>
#include <parquet/file_reader.h>

namespace orvane::io::parquet::core::read {
namespace {
constexpr const char* kTraceSource = "read/ReaderStatistics";
}  // namespace

Statistics ParquetReader::getStatistics(const std::vector<int32_t>& variableIndices) const {
  OVPARQUET_TRACE();
  std::shared_ptr<::arrow::Schema> schema = arrowSchema();
  std::shared_ptr<::parquet::FileMetaData> metadata = mFileReader->parquet_reader()->metadata();
  const ::parquet::arrow::SchemaManifest& manifest = mFileReader->manifest();
  return read_statistics(std::move(metadata), std::move(schema), manifest, variableIndices);
}

}  // namespace orvane::io::parquet::core::read
