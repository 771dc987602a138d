#include "field_paths.hpp"

#include "errors.hpp"
#include "text.hpp"
#include "variables.hpp"

#include <arrow/array.h>
#include <arrow/type.h>

namespace ovparquet::cli {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = text.find(separator, start);
    parts.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
    if (end == std::string::npos) return parts;
    start = end + 1;
  }
}

// The path when every step after the first names a field of a record.
std::optional<FieldPath> pathThroughRecords(const std::string& name, const ::arrow::Schema& schema) {
  const auto parts = split(name, '.');
  if (parts.size() < 2) return std::nullopt;
  // The longest leading run of parts that is a variable (names may hold dots).
  for (std::size_t head = parts.size() - 1; head >= 1; --head) {
    std::string variable = parts[0];
    for (std::size_t k = 1; k < head; ++k) variable += "." + parts[k];
    auto field = schema.GetFieldByName(variable);
    if (!field) continue;
    FieldPath path{name, variable, {}, nullptr};
    std::shared_ptr<::arrow::DataType> type = field->type();
    bool found = true;
    for (std::size_t k = head; k < parts.size() && found; ++k) {
      if (type->id() != ::arrow::Type::STRUCT) {
        found = false;
        break;
      }
      const auto child = static_cast<const ::arrow::StructType&>(*type).GetFieldByName(parts[k]);
      if (!child) {
        found = false;
        break;
      }
      path.fields.push_back(parts[k]);
      type = child->type();
    }
    if (found) {
      path.type = type;
      return path;
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<FieldPath> resolveFieldPaths(const std::vector<std::string>& names, const ::arrow::Schema& schema,
                                         const std::string& file) {
  std::vector<FieldPath> paths;
  std::vector<orvane::ustring> variables;
  for (const auto& f : schema.fields()) variables.push_back(toHost(f->name()));
  for (const auto& name : names) {
    if (const auto field = schema.GetFieldByName(name)) {
      paths.push_back({name, name, {}, field->type()});
      continue;
    }
    auto path = pathThroughRecords(name, schema);
    if (!path) requireVariables({name}, variables, file);  // raises, naming the file's variables
    paths.push_back(std::move(*path));
  }
  return paths;
}

bool reachesInside(const std::vector<FieldPath>& paths) {
  for (const auto& p : paths) {
    if (!p.fields.empty()) return true;
  }
  return false;
}

namespace {

std::shared_ptr<::arrow::Array> pathValues(const ::arrow::RecordBatch& batch, const FieldPath& path) {
  auto array = batch.GetColumnByName(path.variable);
  if (!array) throw CliError("InternalError", "Variable '" + path.variable + "' was not read.");
  for (const auto& name : path.fields) {
    const auto& record = static_cast<const ::arrow::StructArray&>(*array);
    const int index = record.struct_type()->GetFieldIndex(name);
    // Flattened: a field of a missing record is missing too.
    auto flattened = record.GetFlattenedField(index);
    if (!flattened.ok()) throw CliError("InternalError", flattened.status().message());
    array = *flattened;
  }
  return array;
}

}  // namespace

std::shared_ptr<::arrow::RecordBatch> projectBatch(const std::shared_ptr<::arrow::RecordBatch>& batch,
                                                   const std::vector<FieldPath>& paths,
                                                   const std::vector<FieldPath>& extra) {
  ::arrow::FieldVector fields;
  ::arrow::ArrayVector columns;
  for (const auto* list : {&paths, &extra}) {
    for (const auto& path : *list) {
      columns.push_back(pathValues(*batch, path));
      fields.push_back(::arrow::field(path.text, columns.back()->type(), true));
    }
  }
  return ::arrow::RecordBatch::Make(::arrow::schema(fields), batch->num_rows(), columns);
}

}  // namespace ovparquet::cli
