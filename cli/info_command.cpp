// info PATH...: picks the view from the options and the number of files.
#include "info_command.hpp"

#include "errors.hpp"
#include "info_views.hpp"
#include "locations.hpp"
#include "show_each.hpp"
#include "text.hpp"

#include <set>

namespace ovparquet::cli {

InfoCommand::InfoCommand(CLI::App& app) {
  mCommand = app.add_subcommand(
      "info", "Summary of a file: variables, types, row groups, writer, key-value metadata (several: one line each)");
  mCommand->add_option("paths", mPaths, "Files, directories, s3 prefixes or quoted glob patterns")->required();
  auto* chunks = mCommand->add_flag(
      "--chunks", mChunks,
      "Per row group and column chunk: codec, encodings, bytes, statistics, dictionary, bloom filter, page index; "
      "then the bytes of each column");
  auto* pages = mCommand->add_flag("--pages", mPages, "The decoded page index: per page its rows, offset, bytes, "
                                                      "null count, minimum and maximum")
                    ->excludes(chunks);
  mCommand->add_option("--vars", mVars, "With --pages: the variables to show (a,b); default: all")->needs(pages);
}

int InfoCommand::run(const GlobalOptions& global) const {
  const std::vector<std::string> vars = mVars.empty() ? std::vector<std::string>{} : splitList(mVars);
  std::set<std::string> seen;
  for (const auto& name : vars) {
    if (name.empty() || !seen.insert(name).second) {
      throw usageError("InvalidOption", "Option --vars has an empty or repeated name in '" + mVars + "'.");
    }
  }
  const auto files = expandLocations(mPaths);
  if (mPages) return showEach(files, global, [&](const std::string& f) { return showPages(global, f, vars); });
  if (mChunks) return showEach(files, global, [&](const std::string& f) { return showChunks(global, f); });
  if (files.size() > 1) return showFileList(global, files);
  return showEach(files, global, [&](const std::string& f) { return showSummary(global, f); });
}

}  // namespace ovparquet::cli
