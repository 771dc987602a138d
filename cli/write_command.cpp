// write: reads the inputs a row group ahead on another thread while the
// writer writes, so that reading and compressing overlap.
#include "write_command.hpp"

#include "errors.hpp"
#include "option_values.hpp"
#include "output.hpp"
#include "output_target.hpp"
#include "progress.hpp"
#include "row_group_source.hpp"
#include "text.hpp"
#include "write_settings.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/redact.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;

struct WriteResult {
  std::uint64_t rows = 0;
  std::size_t rowGroups = 0;
};

unique_ovarray_ptr heightsArray(const std::vector<double>& heights) {
  return ovCreateNumericArrayFromVector<double>({1, heights.size()}, heights);
}

WriteResult writeAll(core::write::ParquetWriter& writer, InputChain& input, const WriteOptions& options) {
  RowGroupSource source(input, options);
  PrefetchedRowGroups rowGroups(source);
  WriteResult result;
  // Progress in thousandths of the inputs.
  ProgressBar progress("Writing", 1000);
  bool configured = false;
  std::vector<orvane::ustring> names;
  // The first table names the variables and sets up the writer.
  const auto configureOnFirstTable = [&](const ovArray* table) {
    if (configured) return;
    for (std::size_t v = 0; v < ovTableNumVariables(table); ++v) names.push_back(ovTableName(table, v));
    configureWriter(writer, options, names, table, input.name());
    configured = true;
  };
  while (auto table = rowGroups.next()) {
    orvane::throwIfInterruptPending();
    configureOnFirstTable(table.get());
    const std::uint64_t n = ovTableNumRows(table.get());
    const auto oneGroup = heightsArray({static_cast<double>(n)});
    writer.writeRowGroups(table.get(), oneGroup.get());
    result.rows += n;
    ++result.rowGroups;
    progress.update(static_cast<std::size_t>(rowGroups.progress() * 1000));
  }
  if (!configured) {
    // No rows at all: the schema alone, from the input's empty table.
    auto table = input.empty();
    configureOnFirstTable(table.get());
    const auto none = heightsArray({});
    writer.writeRowGroups(table.get(), none.get());
  }
  orvane::throwIfInterruptPending();
  progress.finish();
  return result;
}

std::string lowerExtension(const std::string& path) {
  std::string ext = std::filesystem::path(path).extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}

void printSummary(const GlobalOptions& global, const std::string& output, const WriteResult& result) {
  const std::string shownOutput = orvane::redactLocationSecrets(output);
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
}

}  // namespace

WriteCommand::WriteCommand(CLI::App& app) {
  mCommand = app.add_subcommand("write", "Write a Parquet file from CSV or Parquet files");
  mCommand->add_option("output", mOptions.output, "Parquet file to write")->required();
  mCommand->add_option("--from", mOptions.inputs,
                       "Input: a CSV or Parquet file, a directory of Parquet files, or - (standard input: Parquet when "
                       "it starts as Parquet does, else CSV); "
                       "repeat to append several inputs of the same variables")
      ->required()
      ->expected(1)
      ->take_all();
  mCommand->add_option("--input-format", mOptions.inputFormat, "auto (by the file name), csv or parquet")
      ->check(CLI::IsMember({"auto", "csv", "parquet"}));
  mCommand->add_option("--delimiter", mDelimiter, "CSV field separator (one character)");
  mCommand->add_option("--compression", mCompression,
                       "Codec for all variables (zstd) or per variable (a=zstd,b=gzip): brotli, gzip, lz4, "
                       "snappy, uncompressed, zstd");
  mCommand->add_option("--encoding", mEncoding,
                       "dictionary or plain, for all variables or per variable (a=plain); a variable not named gets "
                       "plain when its first values are mostly distinct, dictionary otherwise");
  mCommand->add_option("--version", mOptions.version, "Parquet format version: 1.0 or 2.0")
      ->check(CLI::IsMember({"1.0", "2.0"}));
  auto* lengthOpt = mCommand
                        ->add_option("--row-group-length", mRowGroupLength,
                                     "Most rows in one row group (CSV input: 1048576 unless given; Parquet input "
                                     "keeps its row groups unless given)")
                        ->check(CLI::PositiveNumber);
  mCommand->add_option("--row-group-heights", mHeights, "Rows of each row group, in order (100,200,...)")
      ->excludes(lengthOpt);
  mCommand->add_flag("--no-store-schema", mNoStoreSchema, "Do not store the Arrow schema in the file");
  mCommand->add_flag("--no-compliant-nested", mNoCompliant, "Name list elements 'item' instead of 'element'");
}

void WriteCommand::takeOptions() {
  if (!mCompression.empty()) mOptions.compression = perVariableSetting(mCompression, "--compression", kCompressions);
  if (!mEncoding.empty()) mOptions.encoding = perVariableSetting(mEncoding, "--encoding", kEncodings);
  if (!mHeights.empty()) mOptions.rowGroupHeights = countList<std::int64_t>(mHeights, "--row-group-heights", 1);
  mOptions.rowGroupLength = mRowGroupLength;
  if (mDelimiter.size() != 1) {
    throw usageError("InvalidOption", "Option --delimiter needs one character, not '" + mDelimiter + "'.");
  }
  mOptions.delimiter = mDelimiter[0];
  mOptions.storeSchema = !mNoStoreSchema;
  mOptions.compliantNested = !mNoCompliant;
}

int WriteCommand::run(const GlobalOptions& global) {
  takeOptions();
  const WriteOptions& options = mOptions;
  // write makes Parquet only: a text-format name is almost surely a mistake.
  const std::string outputExtension = lowerExtension(options.output);
  if (outputExtension == ".csv" || outputExtension == ".json" || outputExtension == ".ndjson" ||
      outputExtension == ".tsv") {
    throw usageError("OutputNotParquet", "'write' makes a Parquet file, but '" + options.output + "' ends in " +
                                             outputExtension + ". To export text, use 'ovparquet read FILE --format " +
                                             (outputExtension == ".tsv" ? std::string("csv") : outputExtension.substr(1)) +
                                             " > " + options.output + "'.");
  }
  InputChain input(inputFiles(options), options.delimiter);

  OutputTarget target(options.output);
  core::write::ParquetWriter writer(toHost(target.writeTo()));
  WriteResult result;
  try {
    result = writeAll(writer, input, options);
    target.commit(writer);
  } catch (...) {
    // Before the writer is gone: a destroyed writer completes its file.
    writer.discard();
    throw;
  }
  printSummary(global, options.output, result);
  return kExitOk;
}

}  // namespace ovparquet::cli
