#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include <arrow/table.h>

namespace orvane::io::parquet::core::read {
namespace {
constexpr const char* kTraceSource = "read/RowGroupParquetReader";
}

RowGroupParquetReader::RowGroupParquetReader(const ustring& filename, const std::vector<double>& rowGroups)
    : ParquetReader(filename), mRowGroups(rowGroups) {
  OVPARQUET_TRACE();
  common::logDetail("filename", filename);
}

RowGroupParquetReader::RowGroupParquetReader(const ustring& filename, const double fileOffset, const double size)
    : ParquetReader(filename) {
  OVPARQUET_TRACE();
  common::logRecord(orvane::log::kDetail, " filename=", filename, " fileOffset=", fileOffset, " size=", size);
  const ::parquet::FileMetaData& metadata = getMetadata();
  const int n = metadata.num_row_groups();
  common::logRecord(orvane::log::kInformation, "numRowGroups = ", n);
  if (n < 1) return;
  const double end = fileOffset + size;
  for (int i = 0; i < n; ++i) {
    const double offset = static_cast<double>(calculateRowGroupOffset(*metadata.RowGroup(i)));
    common::logRecord(orvane::log::kInformation, "offset = ", offset);
    // Row groups are stored in increasing offset order: nothing later can
    // start inside the range.
    if (end <= offset) break;
    if (offset >= fileOffset) mRowGroups.push_back(static_cast<double>(i + 1));
  }
}

RowGroupParquetReader::RowGroupParquetReader() { OVPARQUET_TRACE(); }

RowGroupParquetReader::~RowGroupParquetReader() = default;

const std::vector<double> RowGroupParquetReader::getRowGroups() const {
  OVPARQUET_TRACE();
  return mRowGroups;
}

size_t RowGroupParquetReader::getRowGroupIndex() const {
  OVPARQUET_TRACE();
  common::logRecord(orvane::log::kReturnValue, "mRowGroupIndex", "=", mRowGroupIndex);
  return mRowGroupIndex;
}

void RowGroupParquetReader::setRowGroupIndex(size_t rowGroupIndex) {
  OVPARQUET_TRACE();
  common::logDetail("rowGroupIndex", rowGroupIndex);
  mRowGroupIndex = rowGroupIndex;
}

bool RowGroupParquetReader::shouldReadEmptyOnce() const {
  OVPARQUET_TRACE();
  const bool result = getMetadata().num_row_groups() == 0 && mRowGroupIndex == 0;
  common::logRecord(orvane::log::kReturnValue, "result", "=", result);
  return result;
}

bool RowGroupParquetReader::hasdata() const {
  OVPARQUET_TRACE();
  const bool result = shouldReadEmptyOnce() || mRowGroupIndex < mRowGroups.size();
  common::logRecord(orvane::log::kReturnValue, "result", "=", result);
  return result;
}

void RowGroupParquetReader::reset() {
  OVPARQUET_TRACE();
  mRowGroupIndex = 0;
}

std::shared_ptr<::arrow::Table> RowGroupParquetReader::readNext() {
  OVPARQUET_TRACE();
  std::shared_ptr<::arrow::Table> table;
  if (!mFileReader) return table;
  const auto& columns = mSelection.parquetColumnIndices();
  ::arrow::Status status;
  if (shouldReadEmptyOnce()) {
    // No row groups: one empty table that still carries the selected variables.
    status = mFileReader->ReadTable(columns, &table);
  } else {
    // Truncate, then make 0-based (readRowGroups subtracts first).
    const int index = static_cast<int>(mRowGroups[mRowGroupIndex]) - 1;
    status = mFileReader->ReadRowGroup(index, columns, &table);
  }
  common::throwReadExceptIfNotOk(status, mFilename);
  ++mRowGroupIndex;
  return table;
}

unique_ovarray_ptr RowGroupParquetReader::readRowGroups(const std::vector<double> rowGroups) {
  OVPARQUET_TRACE();
  setupArrowThreadPool();
  if (!mFileReader) return arrow_to_orvane(nullptr, mFilename);
  if (rowGroups.size() > 1) checkForRowGroupedNestedDictionary();
  std::vector<int> indices;
  indices.reserve(rowGroups.size());
  for (double number : rowGroups) indices.push_back(static_cast<int>(number - 1.0));
  std::shared_ptr<::arrow::Table> table;
  common::throwReadExceptIfNotOk(mFileReader->ReadRowGroups(indices, mSelection.parquetColumnIndices(), &table),
                                 mFilename);
  return arrow_to_orvane(table, mFilename);
}

unique_ovarray_ptr RowGroupParquetReader::readall() {
  OVPARQUET_TRACE();
  return readRowGroups(mRowGroups);
}

unique_ovarray_ptr RowGroupParquetReader::readFullFile() {
  OVPARQUET_TRACE();
  setupArrowThreadPool();
  if (!mFileReader) return arrow_to_orvane(nullptr, mFilename);
  checkForRowGroupedNestedDictionary();
  std::shared_ptr<::arrow::Table> table;
  common::throwReadExceptIfNotOk(mFileReader->ReadTable(mSelection.parquetColumnIndices(), &table), mFilename);
  return arrow_to_orvane(table, mFilename);
}

unique_ovarray_ptr RowGroupParquetReader::serialize() const {
  OVPARQUET_TRACE();
  auto state = ovCreateCellMatrix(1, 2);
  const std::size_t remaining = mRowGroupIndex < mRowGroups.size() ? mRowGroups.size() - mRowGroupIndex : 0;
  auto numbers = ovCreateUninitNumericArray(ovDims{remaining, 1}, ovClassID::Double, ovComplexity::Real);
  std::copy(mRowGroups.end() - static_cast<std::ptrdiff_t>(remaining), mRowGroups.end(),
            ovGetTypedDataMutable<double>(numbers.get()));
  auto name = ovCreateString(mFilename);
  ovReplaceCell(state.get(), 0, std::move(name));
  ovReplaceCell(state.get(), 1, std::move(numbers));
  return state;
}

void RowGroupParquetReader::deserialize(const unique_ovarray_ptr& state) {
  OVPARQUET_TRACE();
  // Checked before anything changes, so a bad state leaves the reader as it was.
  const bool wellFormed = state && ovIsCell(state.get()) && ovGetNumberOfElements(state.get()) == 2 &&
                          ovGetCell(state.get(), 0) && ovIsString(ovGetCell(state.get(), 0)) &&
                          ovGetNumberOfElements(ovGetCell(state.get(), 0)) == 1 &&
                          (!ovGetCell(state.get(), 1) || ovIsNumeric(ovGetCell(state.get(), 1)));
  if (!wellFormed) {
    common::throwInvalidRead(u"", u"The saved reader state is not a 1-by-2 cell of a file name and row-group numbers.");
  }
  const ovArray* numbers = ovGetCell(state.get(), 1);
  std::vector<double> rowGroups(numbers ? ovGetNumberOfElements(numbers) : 0);
  for (std::size_t i = 0; i < rowGroups.size(); ++i) rowGroups[i] = ovGetScalar(numbers, i);
  init(ovGetString(ovGetCell(state.get(), 0)));
  mRowGroups = std::move(rowGroups);
}

}  // namespace orvane::io::parquet::core::read
