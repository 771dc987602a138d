// schema PATH...: walks the footer's schema; the host types come from the
// library's summary of the file.
#include "schema_command.hpp"

#include "locations.hpp"
#include "output.hpp"
#include "show_each.hpp"
#include "table_builder.hpp"
#include "text.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/host/redact.hpp>

#include <parquet/schema.h>
#include <parquet/types.h>

#include <iostream>

namespace ovparquet::cli {
namespace {

using orvane::io::parquet::core::info::ParquetInfo;
using ::parquet::schema::Node;

// One field of the tree, in depth-first order.
struct FieldRow {
  std::string path;  // dotted
  std::string name;
  std::string treeName;  // the name behind the tree's branch lines
  int depth = 0;  // 0 for variables
  std::string repetition;
  std::string physical;   // leaves only
  std::string logical;    // "" when none
  std::string converted;  // "" when none
  std::string hostType;   // variables only
  bool leaf = false;
};

std::string repetitionName(::parquet::Repetition::type repetition) {
  switch (repetition) {
    case ::parquet::Repetition::REQUIRED: return "required";
    case ::parquet::Repetition::OPTIONAL: return "optional";
    case ::parquet::Repetition::REPEATED: return "repeated";
    default: return "undefined";
  }
}

// `indent` continues the branch lines of the ancestors; `last` tells whether
// the node is the last field of its group.
void collect(const Node& node, const std::string& parentPath, int depth, const std::string& indent, bool last,
             std::vector<FieldRow>& rows) {
  FieldRow row;
  row.name = node.name();
  row.treeName = indent + (depth == 0 ? "" : last ? "\u2514\u2500 " : "\u251c\u2500 ") + node.name();
  row.path = parentPath.empty() ? node.name() : parentPath + "." + node.name();
  row.depth = depth;
  row.repetition = repetitionName(node.repetition());
  const auto& logical = node.logical_type();
  row.logical = logical && !logical->is_none() ? logical->ToString() : "";
  row.converted = node.converted_type() == ::parquet::ConvertedType::NONE
                      ? ""
                      : ::parquet::ConvertedTypeToString(node.converted_type());
  row.leaf = node.is_primitive();
  if (row.leaf) {
    row.physical = ::parquet::TypeToString(static_cast<const ::parquet::schema::PrimitiveNode&>(node).physical_type());
  }
  const std::string path = row.path;
  rows.push_back(std::move(row));
  if (node.is_group()) {
    const auto& group = static_cast<const ::parquet::schema::GroupNode&>(node);
    const std::string childIndent = indent + (depth == 0 ? "" : last ? "   " : "\u2502  ");
    for (int i = 0; i < group.field_count(); ++i) {
      collect(*group.field(i), path, depth + 1, childIndent, i + 1 == group.field_count(), rows);
    }
  }
}

std::vector<FieldRow> fieldRows(const ParquetInfo& info) {
  const auto& root = *info.getMetadata()->schema()->group_node();
  std::vector<FieldRow> rows;
  for (int i = 0; i < root.field_count(); ++i) {
    const std::size_t first = rows.size();
    collect(*root.field(i), "", 0, "", true, rows);
    const auto& types = info.getVariableTypes();
    if (static_cast<std::size_t>(i) < types.size()) rows[first].hostType = types[static_cast<std::size_t>(i)];
  }
  return rows;
}

nlohmann::ordered_json nodeJson(const FieldRow& row) {
  const auto orNull = [](const std::string& text) {
    return text.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(text);
  };
  nlohmann::ordered_json j = {{"name", row.name},
                              {"path", row.path},
                              {"repetition", row.repetition},
                              {"physicalType", orNull(row.physical)},
                              {"logicalType", orNull(row.logical)},
                              {"convertedType", orNull(row.converted)}};
  if (row.depth == 0) j["hostType"] = orNull(row.hostType);
  if (!row.leaf) j["fields"] = nlohmann::ordered_json::array();
  return j;
}

// The rows nested again: each group holds its fields.
nlohmann::ordered_json toJson(const std::string& file, const std::vector<FieldRow>& rows) {
  nlohmann::ordered_json j;
  j["filename"] = orvane::redactLocationSecrets(file);
  j["fields"] = nlohmann::ordered_json::array();
  std::vector<nlohmann::ordered_json*> open = {&j["fields"]};  // open[d]: where depth d goes
  for (const auto& row : rows) {
    open.resize(static_cast<std::size_t>(row.depth) + 1);
    auto& list = *open.back();
    list.push_back(nodeJson(row));
    if (!row.leaf) open.push_back(&list.back()["fields"]);
  }
  return j;
}

void writeCsv(const std::string& file, const std::vector<FieldRow>& rows) {
  writeCsvRow(std::cout, {"filename", "path", "depth", "repetition", "physicalType", "logicalType", "convertedType",
                          "hostType"});
  const std::string name = csvField(orvane::redactLocationSecrets(file));
  for (const auto& r : rows) {
    writeCsvRow(std::cout, {name, csvField(r.path), std::to_string(r.depth), r.repetition, r.physical,
                            csvField(r.logical), r.converted, r.hostType});
  }
}

void writeReadable(const std::vector<FieldRow>& rows) {
  std::vector<std::string> names, repetitions, physicals, logicals, hostTypes;
  for (const auto& r : rows) {
    names.push_back(r.treeName);
    repetitions.push_back(r.repetition);
    physicals.push_back(r.leaf ? r.physical : "group");
    logicals.push_back(!r.logical.empty() ? r.logical : r.converted);
    hostTypes.push_back(r.hostType);
  }
  TableBuilder()
      .text("Field", names)
      .text("Repetition", repetitions)
      .text("Physical", physicals)
      .text("Logical", logicals)
      .text("Host type", hostTypes)
      .write(std::cout, 0);
}

}  // namespace

SchemaCommand::SchemaCommand(CLI::App& app) {
  mCommand = app.add_subcommand(
      "schema", "The schema as a tree: physical, logical and repetition of each field, host type of each variable");
  mCommand->add_option("paths", mPaths, "Files, directories, s3 prefixes or quoted glob patterns")->required();
}

int SchemaCommand::run(const GlobalOptions& global) const {
  return showEach(expandLocations(mPaths), global, [&](const std::string& file) -> std::optional<nlohmann::ordered_json> {
    const ParquetInfo info(toHost(file));
    const auto rows = fieldRows(info);
    switch (global.format) {
      case Format::Json: return toJson(file, rows);
      case Format::Csv: writeCsv(file, rows); break;
      case Format::Table: writeReadable(rows); break;
    }
    return std::nullopt;
  });
}

}  // namespace ovparquet::cli
