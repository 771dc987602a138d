// write OUT --from INPUT: a Parquet file from a CSV file or another Parquet
// file, through host tables and ParquetWriter.
//
// Nothing is left under OUT unless the write succeeds. The writer closes (and
// so completes) a file it has written to when it is destroyed, so it writes
// to a hidden sibling ".OUT.partial-PID" instead; only a successful close is
// followed by the rename to OUT, and on any failure or interrupt the sibling
// is removed once the writer is gone. A remote OUT (an object store has no
// rename) is written to a local temporary file first and then copied up; the
// copy appears only once complete.
#include "commands.hpp"
#include "errors.hpp"
#include "leaf_paths.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "rows.hpp"
#include "text.hpp"
#include "variables.hpp"

#include <ovparquet/convert/to_arrow.hpp>
#include <ovparquet/convert/to_orvane.hpp>
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/redact.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/threads.hpp>

#include <arrow/csv/api.h>
#include <arrow/io/interfaces.h>
#include <arrow/table.h>
#include <arrow/util/thread_pool.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>
#include <functional>
#include <iostream>

namespace ovparquet::cli {
namespace {

namespace fs = std::filesystem;
namespace core = orvane::io::parquet::core;
namespace convert = orvane::io::arrow::core;

// ---------------------------------------------------------------------------
// Where the file is written
// ---------------------------------------------------------------------------

// The name the writer writes to, and what to do with it afterwards.
class OutputTarget {
 public:
  explicit OutputTarget(const std::string& output) : mOutput(output) {
    const auto iri = orvane::vfs::Iri::absolute(toHost(output));
    if (iri.isLocal()) {
      const fs::path target = iri.localPath();
      mFinal = target;
      mPartial = target.parent_path() / ("." + target.filename().string() + ".partial-" + std::to_string(getpid()));
      mWriteTo = mPartial.string();
    } else {
      mRemote = true;
      mPartial = temporaryFile();
      mWriteTo = mPartial.string();
    }
  }
  ~OutputTarget() { discard(); }
  OutputTarget(const OutputTarget&) = delete;
  OutputTarget& operator=(const OutputTarget&) = delete;

  const std::string& writeTo() const { return mWriteTo; }

  // Moves the finished file into place.
  void commit() {
    if (mPartial.empty()) return;
    if (mRemote) {
      orvane::vfs::copyFile(toHost(mPartial.string()), toHost(mOutput));
      discard();
      return;
    }
    std::error_code ec;
    fs::rename(mPartial, mFinal, ec);
    if (ec) {
      throw CliError("CannotRename", "Unable to move the written file to '" + mOutput + "': " + ec.message() + ".");
    }
    mPartial.clear();
  }

  // Removes what was written (call after the writer is gone).
  void discard() noexcept {
    if (mPartial.empty()) return;
    std::error_code ec;
    fs::remove(mPartial, ec);
    mPartial.clear();
  }

  // Shows the output's name instead of the hidden sibling in a message of the
  // library (which names the file it was given).
  orvane::Message rename(orvane::Message message) const {
    if (mPartial.empty()) return message;
    const std::string from = mPartial.string();
    const auto replace = [&](std::string text) {
      for (std::size_t p = text.find(from); p != std::string::npos; p = text.find(from, p + mOutput.size())) {
        text.replace(p, from.size(), mOutput);
      }
      return text;
    };
    for (auto& argument : message.arguments) {
      if (auto* s = std::get_if<std::string>(&argument)) {
        *s = replace(*s);
      } else if (auto* u = std::get_if<ustring>(&argument)) {
        *u = orvane::to_ustring(replace(orvane::ustring_to_utf8(*u)));
      }
    }
    return message;
  }

 private:
  // A new, empty file in the temporary directory.
  static fs::path temporaryFile() {
    std::error_code ec;
    fs::path directory = fs::temp_directory_path(ec);
    if (ec) directory = "/tmp";
    std::string name = (directory / "ovparquet-upload-XXXXXX").string();
    const int fd = ::mkstemp(name.data());
    if (fd < 0) {
      throw CliError("CannotWrite", "Unable to create a temporary file in '" + directory.string() + "': " +
                                        std::strerror(errno) + ".");
    }
    ::close(fd);
    return name;
  }

  std::string mOutput;
  std::string mWriteTo;
  bool mRemote = false;
  fs::path mFinal;
  fs::path mPartial;
};

// ---------------------------------------------------------------------------
// Reading the input
// ---------------------------------------------------------------------------

std::string lowerExtension(const std::string& path) {
  std::string ext = fs::path(path).extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}

std::string inputFormat(const WriteOptions& options) {
  if (options.inputFormat != "auto") return options.inputFormat;
  const std::string ext = lowerExtension(options.input);
  if (ext == ".csv" || ext == ".tsv" || ext == ".txt") return "csv";
  if (ext == ".parquet" || ext == ".parq" || ext == ".pq") return "parquet";
  throw usageError("UnknownInputFormat", "Cannot tell the format of '" + options.input +
                                             "' from its name: give --input-format csv or --input-format parquet.");
}

std::shared_ptr<::arrow::Table> readCsv(const WriteOptions& options) {
  auto file = core::common::makeReadableFilePtr(toHost(options.input));
  const unsigned threads = orvane::computationalThreadCount();
  auto read = ::arrow::csv::ReadOptions::Defaults();
  read.use_threads = threads > 1;
  auto parse = ::arrow::csv::ParseOptions::Defaults();
  parse.delimiter = options.delimiter;
  auto conversion = ::arrow::csv::ConvertOptions::Defaults();
  // An empty field is a missing value, and nothing else is ("NA" and "null"
  // are texts, "NaN" a number); a quoted empty text ("") is a text.
  conversion.null_values = {""};
  conversion.strings_can_be_null = true;
  conversion.quoted_strings_can_be_null = false;
  if (read.use_threads) (void)::arrow::SetCpuThreadPoolCapacity(static_cast<int>(threads));
  const auto fail = [&](const ::arrow::Status& status) {
    throw CliError("InvalidCsv", "Unable to read CSV file '" + options.input + "': " + status.message());
  };
  auto reader = ::arrow::csv::TableReader::Make(::arrow::io::default_io_context(), file, read, parse, conversion);
  if (!reader.ok()) fail(reader.status());
  auto table = (*reader)->Read();
  if (!table.ok()) fail(table.status());
  return *table;
}

unique_ovarray_ptr toHostTable(const std::shared_ptr<::arrow::Table>& table, const std::string& input) {
  auto result = convert::to_orvane(table, toHost(input));
  if (!result.ok()) {
    throw CliError("InvalidInput", "Unable to convert '" + input + "': " + result.status().message());
  }
  return std::move(result).ValueUnsafe();
}

// Host tables of the input, in order, each handed to `sink`.
class Input {
 public:
  virtual ~Input() = default;
  virtual std::vector<ustring> names() const = 0;
  virtual std::uint64_t rows() const = 0;
  // Natural chunk heights of the input (Parquet row groups), if any.
  virtual std::vector<std::uint64_t> chunkHeights() const = 0;
  // The next chunk: of `rows` rows when the input can cut anywhere (CSV),
  // its own next row group otherwise; null at the end.
  virtual unique_ovarray_ptr next(std::uint64_t rows) = 0;
  virtual bool cutsAnywhere() const = 0;
};

class CsvInput : public Input {
 public:
  explicit CsvInput(const WriteOptions& options) : mInput(options.input), mTable(readCsv(options)) {}
  std::vector<ustring> names() const override { return toHost(mTable->schema()->field_names()); }
  std::uint64_t rows() const override { return static_cast<std::uint64_t>(mTable->num_rows()); }
  std::vector<std::uint64_t> chunkHeights() const override { return {}; }
  bool cutsAnywhere() const override { return true; }
  unique_ovarray_ptr next(std::uint64_t rows) override {
    const auto total = static_cast<std::uint64_t>(mTable->num_rows());
    if (mOffset >= total && !(total == 0 && !mGaveEmpty)) return nullptr;
    mGaveEmpty = true;
    const std::uint64_t n = std::min(rows, total - mOffset);
    auto slice = mTable->Slice(static_cast<std::int64_t>(mOffset), static_cast<std::int64_t>(n));
    mOffset += n;
    return toHostTable(slice, mInput);
  }

 private:
  std::string mInput;
  std::shared_ptr<::arrow::Table> mTable;
  std::uint64_t mOffset = 0;
  bool mGaveEmpty = false;
};

class ParquetInput : public Input {
 public:
  explicit ParquetInput(const std::string& input) {
    const ustring file = toHost(input);
    const core::read::RowGroupParquetReader probe(file, std::vector<double>{});
    std::vector<double> all;
    for (double r = 1; r <= probe.getTotalNumRowGroups(); ++r) all.push_back(r);
    mReader = std::make_unique<core::read::RowGroupParquetReader>(file, all);
    core::read::checkReadBudget(*mReader, core::read::Holding::OneAtATime);
    mNames = mReader->getVariableNames();
    for (const auto h : mReader->getRowGroupHeights()) mHeights.push_back(h);
  }
  std::vector<ustring> names() const override { return mNames; }
  std::uint64_t rows() const override {
    std::uint64_t n = 0;
    for (const auto h : mHeights) n += h;
    return n;
  }
  std::vector<std::uint64_t> chunkHeights() const override { return mHeights; }
  bool cutsAnywhere() const override { return false; }
  unique_ovarray_ptr next(std::uint64_t) override { return mReader->hasdata() ? mReader->read() : nullptr; }

 private:
  std::unique_ptr<core::read::RowGroupParquetReader> mReader;
  std::vector<ustring> mNames;
  std::vector<std::uint64_t> mHeights;
};

// ---------------------------------------------------------------------------
// Options for the writer
// ---------------------------------------------------------------------------

// One entry per variable: the per-variable setting, else the setting for all,
// else the default.
std::vector<std::string> perVariable(const PerVariableSetting& setting, const std::vector<ustring>& names,
                                     const std::string& fallback, const std::string& input) {
  std::vector<std::string> wanted;
  for (const auto& [name, value] : setting.byVariable) wanted.push_back(name);
  requireVariables(wanted, names, input);
  std::vector<std::string> values(names.size(), setting.all.empty() ? fallback : setting.all);
  for (const auto& [name, value] : setting.byVariable) values[static_cast<std::size_t>(variableIndex(names, name))] = value;
  return values;
}

void configure(core::write::ParquetWriter& writer, const WriteOptions& options, const std::vector<ustring>& names,
               const ovArray* firstTable) {
  writer.setVariableNames(names);
  if (!options.version.empty()) writer.setVersion(options.version);
  writer.setStoreArrowSchema(options.storeSchema);
  writer.setUseCompliantNestedTypes(options.compliantNested);
  if (options.rowGroupLength) writer.setMaxRowGroupLength(*options.rowGroupLength);
  if (!options.compression.given() && !options.encoding.given()) return;

  // Per-variable settings reach the leaf columns of each variable through
  // their paths in the schema the writer will write.
  auto arrowTable = convert::to_arrow_table(firstTable);
  if (!arrowTable.ok()) {
    throw CliError("InvalidInput", "Unable to convert '" + options.input + "': " + arrowTable.status().message());
  }
  const LeafPaths leaves = leafColumnPaths(*(*arrowTable)->schema(), options.compliantNested);
  writer.setLeafColumnPaths(leaves.offsets, toHost(leaves.paths));
  if (options.compression.given()) {
    writer.setVariableCompression(perVariable(options.compression, names, "snappy", options.input));
  }
  if (options.encoding.given()) {
    writer.setVariableEncoding(perVariable(options.encoding, names, "dictionary", options.input));
  }
}

// ---------------------------------------------------------------------------
// Cutting the input into row groups
// ---------------------------------------------------------------------------

// Collects the input's chunks and hands out row groups of the wanted heights.
class RowGroupCutter {
 public:
  explicit RowGroupCutter(Input& input) : mInput(input) {}

  // The next `height` rows as one table (fewer at the end of the input).
  unique_ovarray_ptr take(std::uint64_t height) {
    if (mInput.cutsAnywhere() && mPending.empty()) return mInput.next(height);
    while (mAvailable < height) {
      auto chunk = mInput.next(height - mAvailable);
      if (!chunk) break;
      mAvailable += ovTableNumRows(chunk.get());
      mPending.push_back(std::move(chunk));
    }
    if (mPending.empty()) return nullptr;
    if (mFirstRow == 0 && ovTableNumRows(mPending.front().get()) == height) {
      // A chunk that is exactly the row group: no copy.
      auto table = std::move(mPending.front());
      mPending.pop_front();
      mAvailable -= height;
      return table;
    }
    std::vector<RowPick> pieces;
    std::uint64_t need = height;
    std::size_t used = 0;
    for (auto& chunk : mPending) {
      const std::size_t rows = ovTableNumRows(chunk.get());
      const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(need, rows - mFirstRow));
      pieces.push_back({chunk.get(), rowRange(mFirstRow, mFirstRow + n)});
      need -= n;
      if (mFirstRow + n == rows) {
        ++used;
        mFirstRow = 0;
      } else {
        mFirstRow += n;
      }
      if (need == 0) break;
    }
    std::vector<std::size_t> all(ovTableNumVariables(mPending.front().get()));
    for (std::size_t v = 0; v < all.size(); ++v) all[v] = v;
    auto table = gatherTable(pieces, all);
    mAvailable -= ovTableNumRows(table.get());
    mPending.erase(mPending.begin(), mPending.begin() + static_cast<std::ptrdiff_t>(used));
    return table;
  }

 private:
  Input& mInput;
  std::deque<unique_ovarray_ptr> mPending;
  std::size_t mFirstRow = 0;  // first unused row of mPending.front()
  std::uint64_t mAvailable = 0;
};

unique_ovarray_ptr heightsArray(const std::vector<std::uint64_t>& heights) {
  std::vector<double> values(heights.begin(), heights.end());
  return ovCreateNumericArrayFromVector<double>({1, values.size()}, values);
}

struct WriteResult {
  std::uint64_t rows = 0;
  std::size_t rowGroups = 0;
};

WriteResult writeAll(core::write::ParquetWriter& writer, Input& input, const WriteOptions& options) {
  const std::uint64_t total = input.rows();
  const std::vector<ustring> names = input.names();

  // The heights of the row groups to write.
  std::vector<std::uint64_t> heights;
  if (!options.rowGroupHeights.empty()) {
    std::uint64_t sum = 0;
    for (const auto h : options.rowGroupHeights) {
      heights.push_back(static_cast<std::uint64_t>(h));
      sum += static_cast<std::uint64_t>(h);
    }
    if (sum != total) {
      throw CliError("RowGroupHeightsMismatch", "The row-group heights add up to " + std::to_string(sum) +
                                                    " rows, but '" + options.input + "' has " + std::to_string(total) +
                                                    " rows.");
    }
  } else if (options.rowGroupLength || input.cutsAnywhere()) {
    const auto length = static_cast<std::uint64_t>(options.rowGroupLength.value_or(writer.getMaxRowGroupLength()));
    for (std::uint64_t done = 0; done < total; done += length) heights.push_back(std::min(length, total - done));
  } else {
    heights = input.chunkHeights();
  }

  RowGroupCutter cutter(input);
  WriteResult result;
  ProgressBar progress("Writing", heights.size());
  bool configured = false;
  const auto start = [&](const ovArray* table) {
    if (configured) return;
    configure(writer, options, names, table);
    configured = true;
  };
  for (const auto h : heights) {
    orvane::throwIfInterruptPending();
    auto table = cutter.take(h);
    if (!table) break;
    start(table.get());
    const std::uint64_t n = ovTableNumRows(table.get());
    const auto oneGroup = heightsArray({n});
    writer.writeRowGroups(table.get(), oneGroup.get());
    result.rows += n;
    ++result.rowGroups;
    progress.update(result.rowGroups);
  }
  if (!configured) {
    // No rows at all: the schema alone, from the input's empty table.
    auto table = input.next(0);
    if (!table) throw CliError("InvalidInput", "'" + options.input + "' holds no table.");
    start(table.get());
    const auto none = heightsArray({});
    writer.writeRowGroups(table.get(), none.get());
  }
  orvane::throwIfInterruptPending();
  progress.finish();
  return result;
}

}  // namespace

int runWrite(const GlobalOptions& global, const WriteOptions& options) {
  // write makes Parquet only: a text-format name is almost surely a mistake.
  const std::string outputExtension = lowerExtension(options.output);
  if (outputExtension == ".csv" || outputExtension == ".json" || outputExtension == ".ndjson" ||
      outputExtension == ".tsv") {
    throw usageError("OutputNotParquet", "'write' makes a Parquet file, but '" + options.output + "' ends in " +
                                             outputExtension + ". To export text, use 'ovparquet read FILE --format " +
                                             (outputExtension == ".tsv" ? std::string("csv") : outputExtension.substr(1)) +
                                             " > " + options.output + "'.");
  }
  const std::string format = inputFormat(options);
  std::unique_ptr<Input> input;
  if (format == "csv") {
    input = std::make_unique<CsvInput>(options);
  } else {
    input = std::make_unique<ParquetInput>(options.input);
  }

  OutputTarget target(options.output);
  WriteResult result;
  try {
    core::write::ParquetWriter writer(toHost(target.writeTo()));
    result = writeAll(writer, *input, options);
    writer.close();
  } catch (const core::common::MessageError& e) {
    // The writer is gone by now: what it left is removed.
    auto message = target.rename(e.message());
    target.discard();
    throw core::common::MessageError(std::move(message));
  } catch (const orvane::HostError& e) {
    if (dynamic_cast<const orvane::InterruptError*>(&e) != nullptr) {
      target.discard();
      throw;
    }
    auto message = target.rename(e.message());
    target.discard();
    throw orvane::HostError(std::move(message));
  } catch (...) {
    target.discard();
    throw;
  }
  target.commit();

  const std::string shownOutput = orvane::redactLocationSecrets(options.output);
  if (global.verbose) {
    std::cerr << "wrote " << result.rows << " rows in " << result.rowGroups << " row groups\n";
  }
  switch (global.format) {
    case Format::Json:
      writeJson(std::cout, {{"filename", shownOutput}, {"rows", result.rows}, {"rowGroups", result.rowGroups}});
      break;
    case Format::Csv:
      writeCsvRow(std::cout, {"filename", "rows", "rowGroups"});
      writeCsvRow(std::cout, {csvField(shownOutput), std::to_string(result.rows), std::to_string(result.rowGroups)});
      break;
    case Format::Table:
      std::cout << "Wrote " << groupedNumber(static_cast<std::int64_t>(result.rows)) << " rows in "
                << result.rowGroups << (result.rowGroups == 1 ? " row group" : " row groups") << " to "
                << shownOutput << '\n';
      break;
  }
  return 0;
}

}  // namespace ovparquet::cli
