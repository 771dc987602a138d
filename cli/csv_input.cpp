#include "csv_input.hpp"

#include "errors.hpp"
#include "interrupt_watch.hpp"
#include "standard_input.hpp"
#include "text.hpp"

#include <ovparquet/convert/to_orvane.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/host/error.hpp>

#include <arrow/io/stdio.h>
#include <arrow/table.h>

#include <regex>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;
namespace convert = orvane::io::arrow::core;

// Blocks are parsed one after another: Arrow then counts rows, so that an
// error can name its line.
constexpr std::int32_t kBlockBytes = 4 << 20;

}  // namespace

CsvInput::CsvInput(const std::string& name, char delimiter) : mName(name) {
  std::shared_ptr<::arrow::io::InputStream> stream;
  if (name == "-") {
    stream = standardInput();
  } else {
    auto file = core::common::makeReadableFilePtr(toHost(name));
    const auto size = file->GetSize();
    if (size.ok()) mSize = *size;
    stream = file;
  }
  auto read = ::arrow::csv::ReadOptions::Defaults();
  read.use_threads = false;
  read.block_size = kBlockBytes;
  auto parse = ::arrow::csv::ParseOptions::Defaults();
  parse.delimiter = delimiter;
  auto conversion = ::arrow::csv::ConvertOptions::Defaults();
  // An empty field is a missing value, and nothing else is ("NA" and "null"
  // are texts, "NaN" a number); a quoted empty text ("") is a text.
  conversion.null_values = {""};
  conversion.strings_can_be_null = true;
  conversion.quoted_strings_can_be_null = false;
  auto reader = ::arrow::csv::StreamingReader::Make(::arrow::io::default_io_context(), stream, read, parse, conversion);
  if (!reader.ok()) {
    if (reader.status().message() == "Empty CSV file") {
      throw CliError("EmptyInput", "'" + mName + "' is empty: a CSV file needs at least a header line.");
    }
    fail(reader.status());
  }
  mReader = *reader;
}

void CsvInput::fail(const ::arrow::Status& status) const {
  // Arrow says "In CSV column #2: Row #7: ..."; the user thinks in lines
  // and column names.
  std::string text = status.message();
  std::smatch match;
  const std::string original = text;
  if (std::regex_search(original, match, std::regex("In CSV column #(\\d+): "))) {
    const int column = std::stoi(match[1]);
    const auto schema = mReader ? mReader->schema() : nullptr;
    const std::string named = schema && column < schema->num_fields()
                                  ? "column '" + schema->field(column)->name() + "'"
                                  : "column " + std::to_string(column + 1);
    text = match.prefix().str() + match.suffix().str();
    std::smatch row;
    const std::string rest = text;
    if (std::regex_search(rest, row, std::regex("Row #(\\d+): "))) {
      text = row.prefix().str() + "line " + row[1].str() + ", " + named + ": " + row.suffix().str();
    } else {
      text = named + ": " + text;
    }
    if (text.find("conversion error") != std::string::npos) {
      text += " (the column's type is taken from the first lines of the file)";
    }
  } else {
    text = std::regex_replace(text, std::regex("Row #(\\d+)"), "line $1");
  }
  throw CliError("InvalidCsv", "Unable to read CSV file '" + mName + "': " + text + ".");
}

bool CsvInput::readBlock() {
  if (mEnded) return false;
  std::shared_ptr<::arrow::RecordBatch> batch;
  const auto status = mReader->ReadNext(&batch);
  if (!status.ok()) fail(status);
  if (!batch) {
    mEnded = true;
    return false;
  }
  mAvailable += static_cast<std::uint64_t>(batch->num_rows());
  mBlocks.push_back(std::move(batch));
  return true;
}

unique_ovarray_ptr CsvInput::next(std::uint64_t rows) {
  while (mAvailable < rows) {
    // This may run on a worker thread, which the host's check ignores.
    if (interruptSignalled()) throw orvane::InterruptError();
    if (!readBlock()) break;
  }
  if (mAvailable == 0) return nullptr;
  std::vector<std::shared_ptr<::arrow::RecordBatch>> taken;
  std::uint64_t need = std::min(rows, mAvailable);
  while (need > 0) {
    auto& front = mBlocks.front();
    const auto height = static_cast<std::uint64_t>(front->num_rows());
    if (height <= need) {
      taken.push_back(std::move(front));
      mBlocks.pop_front();
      need -= height;
      mAvailable -= height;
    } else {
      taken.push_back(front->Slice(0, static_cast<std::int64_t>(need)));
      front = front->Slice(static_cast<std::int64_t>(need));
      mAvailable -= need;
      need = 0;
    }
  }
  auto table = ::arrow::Table::FromRecordBatches(mReader->schema(), taken);
  if (!table.ok()) fail(table.status());
  auto host = convert::to_orvane(*table, toHost(mName));
  if (!host.ok()) throw CliError("InvalidInput", "Unable to convert '" + mName + "': " + host.status().message());
  return std::move(host).ValueUnsafe();
}

unique_ovarray_ptr CsvInput::empty() {
  auto table = ::arrow::Table::MakeEmpty(mReader->schema());
  if (!table.ok()) fail(table.status());
  auto host = convert::to_orvane(*table, toHost(mName));
  if (!host.ok()) throw CliError("InvalidInput", "Unable to convert '" + mName + "': " + host.status().message());
  return std::move(host).ValueUnsafe();
}

double CsvInput::progress() const {
  if (mEnded) return 1;
  if (mSize <= 0) return 0;
  return std::min(1.0, static_cast<double>(mReader->bytes_read()) / static_cast<double>(mSize));
}

}  // namespace ovparquet::cli
