#include "input_chain.hpp"

#include "csv_input.hpp"
#include "errors.hpp"
#include "parquet_input.hpp"
#include "text.hpp"

#include <ovparquet/host/stream.hpp>

#include <algorithm>
#include <filesystem>

namespace ovparquet::cli {
namespace {

std::string lowerExtension(const std::string& path) {
  std::string ext = std::filesystem::path(path).extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}

bool isCsv(const std::string& name, const std::string& inputFormat) {
  if (inputFormat != "auto") return inputFormat == "csv";
  const std::string ext = lowerExtension(name);
  if (ext == ".csv" || ext == ".tsv" || ext == ".txt") return true;
  if (ext == ".parquet" || ext == ".parq" || ext == ".pq") return false;
  throw usageError("UnknownInputFormat", "Cannot tell the format of '" + name +
                                             "' from its name: give --input-format csv or --input-format parquet.");
}

std::string baseName(const std::string& name) { return name.substr(name.rfind('/') + 1); }

std::vector<std::pair<std::string, std::string>> variablesOf(const ovArray* table) {
  std::vector<std::pair<std::string, std::string>> variables;
  for (std::size_t v = 0; v < ovTableNumVariables(table); ++v) {
    variables.emplace_back(orvane::ustring_to_utf8(ovTableName(table, v)), ovGetClassName(ovTableColumn(table, v)));
  }
  return variables;
}

}  // namespace

std::vector<InputFile> inputFiles(const WriteOptions& options) {
  if (std::count(options.inputs.begin(), options.inputs.end(), kStandardInput) > 1) {
    throw usageError("InvalidOption", "Standard input (--from -) can be read only once.");
  }
  std::vector<InputFile> files;
  for (const auto& input : options.inputs) {
    if (input == kStandardInput) {
      // Parquet (told, or seen by its first bytes) is copied to a
      // temporary file first: its footer comes last.
      const bool parquet =
          options.inputFormat == "parquet" || (options.inputFormat == "auto" && standardInputIsParquet());
      files.push_back({input, !parquet, parquet ? std::make_shared<SpooledInput>() : nullptr});
      continue;
    }
    const orvane::vfs::Listing listing = orvane::vfs::listLocation(toHost(input));
    if (!listing.isDirectory) {
      files.push_back({input, isCsv(input, options.inputFormat), nullptr});
      continue;
    }
    // A directory: its Parquet files, in name order, hidden ones left out.
    std::size_t found = 0;
    for (const auto& file : listing.files) {
      std::string name = orvane::ustring_to_utf8(file);
      const std::string base = baseName(name);
      if (base.empty() || base.front() == '.' || lowerExtension(base) != ".parquet") continue;
      files.push_back({std::move(name), false, nullptr});
      ++found;
    }
    if (found == 0) throw CliError("NoParquetFiles", "No Parquet files (*.parquet) found under '" + input + "'.");
  }
  return files;
}

InputChain::InputChain(std::vector<InputFile> files, char delimiter)
    : mFiles(std::move(files)), mDelimiter(delimiter) {
  mName = mFiles.size() == 1 ? mFiles.front().name : "the inputs";
  for (const auto& f : mFiles) {
    mAllCsv = mAllCsv && f.csv;
    mAnyCsv = mAnyCsv || f.csv;
  }
  open(0);
}

void InputChain::open(std::size_t index) {
  mInput.reset();
  mCurrent = index;
  mChecked = false;
  if (index >= mFiles.size()) return;
  const InputFile& file = mFiles[index];
  if (file.csv) {
    mInput = std::make_unique<CsvInput>(file.name, mDelimiter);
  } else if (file.spool) {
    mInput = std::make_unique<ParquetInput>(file.spool->path(), file.name);
  } else {
    mInput = std::make_unique<ParquetInput>(file.name);
  }
}

void InputChain::check(const ovArray* table) {
  if (mChecked) return;
  mChecked = true;
  auto variables = variablesOf(table);
  if (mCurrent == 0) {
    mVariables = std::move(variables);
    return;
  }
  const std::string& first = mFiles.front().name;
  const std::string& here = mFiles[mCurrent].name;
  const auto fail = [&](const std::string& why) {
    throw CliError("InputsDiffer", "'" + here + "' does not match '" + first + "': " + why + ".");
  };
  for (std::size_t v = 0; v < std::max(variables.size(), mVariables.size()); ++v) {
    if (v >= variables.size()) fail("it has no variable '" + mVariables[v].first + "'");
    if (v >= mVariables.size()) fail("it has an extra variable '" + variables[v].first + "'");
    if (variables[v].first != mVariables[v].first) {
      fail("variable " + std::to_string(v + 1) + " is '" + variables[v].first + "', not '" + mVariables[v].first + "'");
    }
    if (variables[v].second != mVariables[v].second) {
      fail("variable '" + variables[v].first + "' is " + variables[v].second + ", not " + mVariables[v].second);
    }
  }
}

unique_ovarray_ptr InputChain::next(std::uint64_t rows) {
  while (mInput) {
    auto table = mInput->next(rows);
    if (table) {
      check(table.get());
      return table;
    }
    // An input without rows still has to match.
    if (!mChecked) {
      auto none = mInput->empty();
      check(none.get());
      if (mCurrent == 0) mFirstEmpty = std::move(none);
    }
    open(mCurrent + 1);
  }
  return nullptr;
}

unique_ovarray_ptr InputChain::empty() {
  // Asked for when there were no rows at all: the first input's variables.
  if (mFirstEmpty) return std::move(mFirstEmpty);
  // The first input gave empty tables (row groups of no rows): open it again.
  if (mFiles.front().csv) return CsvInput(mFiles.front().name, mDelimiter).empty();
  const InputFile& first = mFiles.front();
  return (first.spool ? ParquetInput(first.spool->path(), first.name) : ParquetInput(first.name)).empty();
}

double InputChain::progress() const {
  if (mFiles.empty()) return 1;
  const double within = mInput ? mInput->progress() : 0;
  return (static_cast<double>(mCurrent) + within) / static_cast<double>(mFiles.size());
}

}  // namespace ovparquet::cli
