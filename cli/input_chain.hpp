// Several inputs of `write` one after another, as one: each must hold the
// variables of the first, with the same classes, or the write fails naming
// the file that differs. A directory stands for the Parquet files below it.
#pragma once

#include "standard_input.hpp"
#include "write_input.hpp"
#include "write_options.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ovparquet::cli {

// One file to read and how.
struct InputFile {
  std::string name;
  bool csv = false;
  std::shared_ptr<SpooledInput> spool;  // Parquet on standard input: its copy
};

// The files the --from options stand for, in order.
std::vector<InputFile> inputFiles(const WriteOptions& options);

class InputChain : public WriteInput {
 public:
  InputChain(std::vector<InputFile> files, char delimiter);

  // The single input's name, or "the inputs".
  const std::string& name() const override { return mName; }
  bool cutsAnywhere() const override { return mAllCsv; }
  bool anyCsv() const { return mAnyCsv; }
  // The next rows of the current input (never across two inputs).
  unique_ovarray_ptr next(std::uint64_t rows) override;
  unique_ovarray_ptr empty() override;
  double progress() const override;

 private:
  void open(std::size_t index);
  void check(const ovArray* table);

  std::vector<InputFile> mFiles;
  char mDelimiter;
  std::string mName;
  bool mAllCsv = true;
  bool mAnyCsv = false;
  std::size_t mCurrent = 0;
  std::unique_ptr<WriteInput> mInput;
  bool mChecked = false;  // the current input's variables were compared
  // The variables of the first input: names and class names.
  std::vector<std::pair<std::string, std::string>> mVariables;
  unique_ovarray_ptr mFirstEmpty;  // the first input's variables, when it had no rows
};

}  // namespace ovparquet::cli
