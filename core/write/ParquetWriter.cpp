#include <ovparquet/convert.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/warning.hpp>

#include <arrow/memory_pool.h>
#include <arrow/table.h>
#include <parquet/arrow/writer.h>

namespace orvane::io::parquet::core::write {
namespace {
constexpr const char* kTraceSource = "write/ParquetWriter";
}

ParquetWriter::ParquetWriter(const ustring& filename) {
  OVPARQUET_TRACE();
  mFile = common::makeWritableFilePtr(filename, common::CleanupPolicy::CommitOnClose);
  common::logDetail("filename", filename);
  mFilename = mFile->GetFilename();
}

ParquetWriter::~ParquetWriter() {
  OVPARQUET_TRACE();
  try {
    close();
  } catch (...) {
    common::logCaughtException();
  }
  // Never written, or the close failed: nothing may be left under the name.
  cleanupFile();
  // Members go in the order the Parquet writer needs: the writer before the
  // file it writes to.
  mFileWriter.reset();
  mSchema.reset();
  mFile.reset();
}

void ParquetWriter::cleanupFile() noexcept {
  if (!mFile) return;
  try {
    mFile->Cleanup();
    mFile.reset();
  } catch (...) {
    common::logCaughtException();
  }
}

void ParquetWriter::discard() noexcept {
  cleanupFile();
  // The Parquet writer completes the file it has begun when destroyed; the
  // file is abandoned by now, so that completes nothing under the name.
  mFileWriter.reset();
  mFile.reset();
}

void ParquetWriter::close() {
  OVPARQUET_TRACE();
  if (!mFileWriter || !mFile) return;
  common::throwWriteExceptIfNotOk(mFileWriter->Close(), mFilename);
  common::throwWriteExceptIfNotOk(mFile->Close(), mFilename);
  mFile.reset();
}

const VariableNames& ParquetWriter::getVariableNames() const {
  OVPARQUET_TRACE();
  return mOptions.getVariableNames();
}

void ParquetWriter::setVariableNames(const VariableNames& names) {
  OVPARQUET_TRACE();
  require(getVariableNames().empty(), "VariableNames cannot be modified.");
  mOptions.setVariableNames(names);
}

const VariableCompression& ParquetWriter::getVariableCompression() const {
  OVPARQUET_TRACE();
  return mOptions.getVariableCompression();
}

void ParquetWriter::setVariableCompression(const VariableCompression& compression) {
  OVPARQUET_TRACE();
  require(getVariableCompression().empty(), "VariableCompression cannot be modified.");
  mOptions.setVariableCompression(compression);
}

const VariableEncoding& ParquetWriter::getVariableEncoding() const {
  OVPARQUET_TRACE();
  return mOptions.getVariableEncoding();
}

void ParquetWriter::setVariableEncoding(const VariableEncoding& encoding) {
  OVPARQUET_TRACE();
  require(getVariableEncoding().empty(), "VariableEncoding cannot be modified.");
  mOptions.setVariableEncoding(encoding);
}

const std::string ParquetWriter::getVersion() const {
  OVPARQUET_TRACE();
  return mOptions.getVersion();
}

void ParquetWriter::setVersion(const std::string& version) {
  OVPARQUET_TRACE();
  require(!mVersionSet, "Version cannot be modified.");
  mOptions.setVersion(version);
  mVersionSet = true;
}

bool ParquetWriter::getStoreArrowSchema() const {
  OVPARQUET_TRACE();
  return mOptions.getStoreArrowSchema();
}

void ParquetWriter::setStoreArrowSchema(const bool store) {
  OVPARQUET_TRACE();
  mOptions.setStoreArrowSchema(store);
}

bool ParquetWriter::getUseCompliantNestedTypes() const {
  OVPARQUET_TRACE();
  return mOptions.getUseCompliantNestedTypes();
}

void ParquetWriter::setUseCompliantNestedTypes(const bool compliant) {
  OVPARQUET_TRACE();
  mOptions.setUseCompliantNestedTypes(compliant);
}

int64_t ParquetWriter::getMaxRowGroupLength() const {
  OVPARQUET_TRACE();
  return mOptions.getMaxRowGroupLength();
}

void ParquetWriter::setMaxRowGroupLength(const int64_t length) {
  OVPARQUET_TRACE();
  mOptions.setMaxRowGroupLength(length);
}

void ParquetWriter::setLeafColumnPaths(std::vector<uint64_t> offsets, std::vector<ustring> paths) {
  OVPARQUET_TRACE();
  mOptions.setLeafColumnPaths(LeafColumnPaths::Make(std::move(offsets), std::move(paths)));
}

void ParquetWriter::require(const bool condition, const std::string& message) const {
  OVPARQUET_TRACE();
  if (condition) return;
  common::throwWriteExceptIfNotOk(::arrow::Status::Invalid(message), mFilename);
}

void ParquetWriter::validateWriteDimensons(const ovArray* table) {
  OVPARQUET_TRACE();
  const uint64_t v = getVariableNames().size();
  using namespace ORVANE::parquetio::write;
  const auto wrongShape = [v] { throw common::MessageException<InvalidWriteVars>(common::makeMessage<InvalidWriteVars>(v)); };
  if (table == nullptr || !ovIsStruct(table) || ovGetNumberOfElements(table) == 0) wrongShape();
  const ovArray* columns = ovGetField(table, 0, "Columns");
  const ovArray* names = ovGetField(table, 0, "Names");
  const uint64_t c = columns ? ovGetNumberOfElements(columns) : 0;
  const uint64_t n = names ? ovGetNumberOfElements(names) : 0;
  if (c == 0) throw common::MessageException<InvalidZeroVars>(common::makeMessage<InvalidZeroVars>());
  if (n == c && c == v) return;
  wrongShape();
}

std::shared_ptr<::arrow::Table> ParquetWriter::buildArrowTable(const ovArray* table) {
  OVPARQUET_TRACE();
  // The Arrow table lives only within this write, so it may read the host
  // table's memory in place.
  auto converted = orvane::io::arrow::core::to_arrow_table(table, orvane::io::arrow::core::HostMemory::Borrow);
  common::throwWriteExceptIfNotOk(converted.status(), mFilename);
  return std::move(converted).ValueUnsafe();
}

void ParquetWriter::write(const ovArray* table) {
  OVPARQUET_TRACE();
  require(mFile != nullptr, "Writer already closed");
  validateWriteDimensons(table);
  const auto arrowTable = buildArrowTable(table);
  validateSchema(arrowTable->schema(), false);
  common::throwWriteExceptIfNotOk(mFileWriter->WriteTable(*arrowTable, arrowTable->num_rows()), mFilename);
}

void ParquetWriter::writeRowGroups(const ovArray* table, const ovArray* rowGroupHeights) {
  OVPARQUET_TRACE();
  require(mFile != nullptr, "Writer already closed");
  validateWriteDimensons(table);
  const auto arrowTable = buildArrowTable(table);
  validateSchema(arrowTable->schema(), true);
  const std::size_t k = rowGroupHeights ? ovGetNumberOfElements(rowGroupHeights) : 0;
  int64_t offset = 0;
  for (std::size_t i = 0; i < k; ++i) {
    const auto height = static_cast<int64_t>(ovGetScalar(rowGroupHeights, i));
    const auto slice = arrowTable->Slice(offset, height);
    common::throwWriteExceptIfNotOk(mFileWriter->WriteTable(*slice, height), mFilename);
    offset += height;
  }
}

void ParquetWriter::validateSchema(const std::shared_ptr<::arrow::Schema>& schema, bool warnNestedDictionaries) {
  OVPARQUET_TRACE();
  if (mSchema) {
    require(mSchema->Equals(*schema, /*check_metadata=*/false), "Inconsistent Schema");
    // A first write that failed while building the properties kept the
    // schema but opened no writer; nothing can be written through it.
    require(mFileWriter != nullptr, "The Parquet file writer could not be created");
    return;
  }
  mSchema = schema;
  // The schema is kept before the properties are built, so an options error
  // leaves it kept and no file writer.
  auto opened = ::parquet::arrow::FileWriter::Open(*mSchema, ::arrow::default_memory_pool(), mFile,
                                                   mOptions.buildWriterProperties(),
                                                   mOptions.buildArrowWriterProperties());
  common::throwWriteExceptIfNotOk(opened.status(), mFilename);
  mFileWriter = std::move(opened).ValueUnsafe();
  if (warnNestedDictionaries) {
    for (const auto& field : mSchema->fields()) warnIfNestedDictionary(field, 0, field->name());
  }
}

void ParquetWriter::checkForNestedDictionary(bool check) const {
  OVPARQUET_TRACE();
  if (!check) return;
  for (const auto& field : mSchema->fields()) warnIfNestedDictionary(field, 0, field->name());
}

void warnIfNestedDictionary(const std::shared_ptr<::arrow::Field>& field, size_t depth, const std::string& name) {
  OVPARQUET_TRACE();
  if (depth >= 1 && field->type()->id() == ::arrow::Type::DICTIONARY) {
    const char* key = depth == 1 ? ORVANE::parquetio::write::RowGroupedListOfDictionaries::key
                                 : ORVANE::parquetio::write::NestedRowGroupedListOfDictionaries::key;
    orvane::ovWarningMsgId(orvane::Message::make("ORVANE:parquetio:write", key, name));
    return;
  }
  if (common::isSupportedNestedType(field->type())) {
    for (const auto& child : field->type()->fields()) warnIfNestedDictionary(child, depth + 1, name);
  }
}

}  // namespace orvane::io::parquet::core::write
