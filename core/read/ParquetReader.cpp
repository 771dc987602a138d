#include <ovparquet/convert.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/core/read/ParquetReader.hpp>
#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/threads.hpp>

#include <arrow/memory_pool.h>
#include <arrow/table.h>
#include <arrow/type.h>
#include <arrow/util/thread_pool.h>
#include <parquet/file_reader.h>

namespace orvane::io::parquet::core::read {
namespace {
constexpr const char* kTraceSource = "read/ParquetReader";

// Whether a location is a Hadoop one: its scheme is exactly "hdfs" (letter
// case counts here).
bool isHadoopLocation(const ustring& filename) {
  OVPARQUET_TRACE();
  try {
    return orvane::vfs::Iri::absolute(filename).scheme() == u"hdfs";
  } catch (...) {
    common::logCaughtException();
    return false;
  }
}

std::vector<uint64_t> toUnsigned(const std::vector<std::int64_t>& values) {
  return std::vector<uint64_t>(values.begin(), values.end());
}
}  // namespace

ParquetReader::ParquetReader() { OVPARQUET_TRACE(); }

ParquetReader::ParquetReader(const ustring& filename) : ParquetReader() {
  OVPARQUET_TRACE();
  init(filename);
}

ParquetReader::~ParquetReader() = default;

void ParquetReader::init(const ustring& filename) {
  OVPARQUET_TRACE();
  common::logDetail("filename", filename);
  auto file = common::makeReadableFilePtr(filename);
  mFilename = file->GetFilename();
  common::throwReadExceptIfNotOk(::parquet::arrow::OpenFile(file, ::arrow::default_memory_pool(), &mFileReader),
                                 mFilename);
  common::throwReadExceptIfNotOk(mSelection.init(&mFileReader->manifest()), mFilename);
}

unique_ovarray_ptr ParquetReader::read() {
  OVPARQUET_TRACE();
  if (!hasdata()) common::throwInvalidRead(mFilename, u"No more data");
  setupArrowThreadPool();
  return arrow_to_orvane(readNext(), mFilename);
}

void ParquetReader::setupArrowThreadPool() {
  OVPARQUET_TRACE();
  if (isHadoopLocation(mFilename)) {
    common::logRecord(orvane::log::kInformation,
                      "Disabling Arrow thread pool since multi-threaded column reads are not currently "
                      "supported for Hadoop IRIs");
    mFileReader->set_use_threads(false);
    return;
  }
  const unsigned numThreads = orvane::computationalThreadCount();
  common::logRecord(orvane::log::kInformation, "numThreads = ", numThreads);
  common::throwReadExceptIfNotOk(::arrow::SetCpuThreadPoolCapacity(static_cast<int>(numThreads)), mFilename);
  mFileReader->set_use_threads(true);
}

const ::parquet::FileMetaData& ParquetReader::getMetadata() const {
  OVPARQUET_TRACE();
  return *mFileReader->parquet_reader()->metadata();
}

double ParquetReader::getTotalNumRowGroups() const {
  OVPARQUET_TRACE();
  return static_cast<double>(getMetadata().num_row_groups());
}

const std::vector<uint64_t> ParquetReader::getRowGroupHeights() const {
  OVPARQUET_TRACE();
  return toUnsigned(info::getRowGroupHeights(getMetadata()));
}

const std::vector<uint64_t> ParquetReader::getRowGroupOffsets() const {
  OVPARQUET_TRACE();
  return toUnsigned(info::getRowGroupOffsets(getMetadata()));
}

const VariableNames ParquetReader::getVariableNames() const {
  OVPARQUET_TRACE();
  if (!mFileReader) return {};
  return info::getVariableNames(arrowSchema());
}

const VariableTypes ParquetReader::getVariableTypes() const {
  OVPARQUET_TRACE();
  if (!mFileReader) return {};
  return info::getVariableTypes(arrowSchema());
}

std::shared_ptr<::arrow::Schema> ParquetReader::arrowSchema() const {
  std::shared_ptr<::arrow::Schema> schema;
  common::throwReadExceptIfNotOk(mFileReader->GetSchema(&schema), mFilename);
  return schema;
}

const ustring& ParquetReader::getFilename() const {
  OVPARQUET_TRACE();
  common::logRecord(orvane::log::kReturnValue, "mFilename", "=", mFilename);
  return mFilename;
}

const VariableNames ParquetReader::getSelectedVariableNames() const {
  OVPARQUET_TRACE();
  if (!mFileReader) return {};
  return mSelection.getSelectedVariableNames();
}

void ParquetReader::setSelectedVariableNames(const VariableNames& names) {
  OVPARQUET_TRACE();
  if (!mFileReader) return;
  common::throwReadExceptIfNotOk(mSelection.setSelectedIndices(names), mFilename);
}

void ParquetReader::checkForRowGroupedNestedDictionary() const {
  OVPARQUET_TRACE();
  // One row group can hold any dictionary layout.
  if (getMetadata().num_row_groups() < 2) return;
  const auto schema = arrowSchema();
  for (int index : mSelection.arrowFieldIndices()) {
    const auto& field = schema->field(index);
    throwIfNestedDictionary(field, 0, field->name(), index);
  }
}

void ParquetReader::throwIfNestedDictionary(const std::shared_ptr<::arrow::Field>& field, size_t depth,
                                            const std::string& name, int index) const {
  OVPARQUET_TRACE();
  const auto id = field->type()->id();
  if (depth > 0 && id == ::arrow::Type::DICTIONARY) {
    using Tag = ORVANE::parquetio::read::DictionaryInNestedStructure;
    throw common::MessageException<Tag>(common::makeMessage<Tag>(name));
  }
  switch (id) {
    case ::arrow::Type::LIST:
    case ::arrow::Type::STRUCT:
    case ::arrow::Type::SPARSE_UNION:
    case ::arrow::Type::DENSE_UNION:
    case ::arrow::Type::MAP:
    case ::arrow::Type::FIXED_SIZE_LIST:
    case ::arrow::Type::LARGE_LIST:
    case ::arrow::Type::RUN_END_ENCODED:
    case ::arrow::Type::LIST_VIEW:
    case ::arrow::Type::LARGE_LIST_VIEW:
      if (!common::isSupportedNestedType(field->type())) common::throwInternalUnsupportedParquetTypeException(name);
      break;
    default:
      break;
  }
  for (const auto& child : field->type()->fields()) throwIfNestedDictionary(child, depth + 1, name, index);
}

unique_ovarray_ptr arrow_to_orvane(std::shared_ptr<::arrow::Table> table, const ustring& filename) {
  OVPARQUET_TRACE();
  auto converted = orvane::io::arrow::core::to_orvane(table, filename);
  if (converted.ok()) return std::move(converted).ValueUnsafe();
  const ::arrow::Status& status = converted.status();
  if (status.code() == ::arrow::StatusCode::TypeError) {
    common::throwInternalUnsupportedParquetTypeException(orvane::io::arrow::core::table_error_column_name(status));
  }
  common::throwReadExceptIfNotOk(status, filename);
  return nullptr;  // not reached: the status is not OK
}

}  // namespace orvane::io::parquet::core::read
