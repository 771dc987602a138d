#include "write_settings.hpp"

#include "encoding_choice.hpp"
#include "errors.hpp"
#include "text.hpp"
#include "variables.hpp"

#include <ovparquet/convert/to_arrow.hpp>

#include <arrow/table.h>

#include <algorithm>

namespace ovparquet::cli {
namespace {

namespace convert = orvane::io::arrow::core;

// One entry per variable: the per-variable setting, else the setting for all,
// else the default.
std::vector<std::string> perVariable(const PerVariableSetting& setting, const std::vector<orvane::ustring>& names,
                                     const std::string& fallback, const std::string& input) {
  std::vector<std::string> wanted;
  for (const auto& [name, value] : setting.byVariable) wanted.push_back(name);
  requireVariables(wanted, names, input);
  std::vector<std::string> values(names.size(), setting.all.empty() ? fallback : setting.all);
  for (const auto& [name, value] : setting.byVariable) values[static_cast<std::size_t>(variableIndex(names, name))] = value;
  return values;
}

}  // namespace

namespace {
std::set<std::string> asSet(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }
}  // namespace

const std::set<std::string> kCompressions = asSet(orvane::io::parquet::core::write::writableCompressionNames());
const std::set<std::string> kEncodings = asSet(orvane::io::parquet::core::write::encodingNames());

PerVariableSetting perVariableSetting(const std::string& text, const std::string& option,
                                      const std::set<std::string>& allowed) {
  PerVariableSetting setting;
  std::set<std::string> seen;
  for (const auto& item : splitList(text)) {
    const auto eq = item.find('=');
    const std::string value = eq == std::string::npos ? item : trim(item.substr(eq + 1));
    if (allowed.count(value) == 0) {
      throw usageError("InvalidOption", "Option " + option + " does not know '" + value + "'; use one of: " +
                                            join(std::vector<std::string>(allowed.begin(), allowed.end())) + ".");
    }
    if (eq == std::string::npos) {
      if (!setting.all.empty()) throw usageError("InvalidOption", "Option " + option + " has two settings for all variables.");
      setting.all = value;
    } else {
      const std::string name = trim(item.substr(0, eq));
      if (name.empty() || !seen.insert(name).second) {
        throw usageError("InvalidOption", "Option " + option + " has an empty or repeated variable name in '" + text + "'.");
      }
      setting.byVariable.emplace_back(name, value);
    }
  }
  return setting;
}

void configureWriter(orvane::io::parquet::core::write::ParquetWriter& writer, const WriteOptions& options,
                     const std::vector<orvane::ustring>& names, const ovArray* firstTable, const std::string& input) {
  writer.setVariableNames(names);
  if (!options.version.empty()) writer.setVersion(options.version);
  writer.setStoreArrowSchema(options.storeSchema);
  writer.setUseCompliantNestedTypes(options.compliantNested);
  if (options.rowGroupLength) writer.setMaxRowGroupLength(*options.rowGroupLength);
  // Variables not told an encoding get the one their first rows suit.
  const bool chooseAny = options.encoding.all.empty() && options.encoding.byVariable.size() < names.size();
  if (!options.compression.given() && !options.encoding.given() && !chooseAny) return;

  // Per-variable settings reach the leaf columns of each variable through
  // their paths in the schema the writer will write.
  auto arrowTable = convert::to_arrow_table(firstTable);
  if (!arrowTable.ok()) {
    throw CliError("InvalidInput", "Unable to convert '" + input + "': " + arrowTable.status().message());
  }
  const auto leaves =
      orvane::io::parquet::core::write::LeafColumnPaths::ofSchema(*(*arrowTable)->schema(), options.compliantNested);
  writer.setLeafColumnPaths(leaves.offsets(), leaves.paths());
  if (options.compression.given()) {
    writer.setVariableCompression(perVariable(options.compression, names, "snappy", input));
  }
  std::vector<std::string> encodings = perVariable(options.encoding, names, "dictionary", input);
  if (chooseAny) {
    const auto chosen = chooseEncodings(firstTable);
    for (std::size_t v = 0; v < names.size(); ++v) {
      const bool told = std::any_of(options.encoding.byVariable.begin(), options.encoding.byVariable.end(),
                                    [&](const auto& entry) { return toHost(entry.first) == names[v]; });
      if (!told) encodings[v] = chosen[v];
    }
  }
  writer.setVariableEncoding(encodings);
}

}  // namespace ovparquet::cli
