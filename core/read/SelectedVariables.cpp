#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/read/ParquetReader.hpp>

#include <parquet/schema.h>

#include <deque>
#include <string>
#include <unordered_map>

namespace orvane::io::parquet::core::read {
namespace {
constexpr const char* kTraceSource = "read/SelectedVariables";
}

::arrow::Status ParquetReader::SelectedVariables::init(const ::parquet::arrow::SchemaManifest* manifest) {
  OVPARQUET_TRACE();
  mManifest = manifest;
  mArrowFieldIndices.resize(mManifest->schema_fields.size());
  for (std::size_t i = 0; i < mArrowFieldIndices.size(); ++i) mArrowFieldIndices[i] = static_cast<int>(i);
  return setParquetColumnIndices();
}

::arrow::Status ParquetReader::SelectedVariables::setArrowFieldIndices(const VariableNames& names) {
  OVPARQUET_TRACE();
  // Fields that share a name queue up in schema order, so a name asked for
  // twice takes the first and then the second of them.
  std::unordered_map<std::string, std::deque<int>> fieldsByName;
  fieldsByName.max_load_factor(1.0f);
  const ::parquet::schema::GroupNode* root = mManifest->descr->group_node();
  for (int i = 0; i < root->field_count(); ++i) fieldsByName[root->field(i)->name()].push_back(i);

  std::vector<int> selected;
  for (const auto& name : names) {
    auto found = fieldsByName.find(orvane::ustring_to_utf8(name));
    if (found == fieldsByName.end() || found->second.empty()) continue;
    selected.push_back(found->second.front());
    found->second.pop_front();
  }
  mArrowFieldIndices = std::move(selected);
  return ::arrow::Status::OK();
}

::arrow::Status ParquetReader::SelectedVariables::setParquetColumnIndices() {
  OVPARQUET_TRACE();
  std::vector<int> columns;
  for (int field : mArrowFieldIndices) {
    const auto leaves =
        common::schema_field_to_all_leaf_indices(mManifest->schema_fields[static_cast<std::size_t>(field)]);
    if (!leaves) return ::arrow::Status::Invalid("Corrupt SchemaManifest");
    columns.insert(columns.end(), leaves->begin(), leaves->end());
  }
  mParquetColumnIndices = std::move(columns);
  return ::arrow::Status::OK();
}

::arrow::Status ParquetReader::SelectedVariables::setSelectedIndices(const VariableNames& names) {
  OVPARQUET_TRACE();
  ARROW_RETURN_NOT_OK(setArrowFieldIndices(names));
  return setParquetColumnIndices();
}

VariableNames ParquetReader::SelectedVariables::getSelectedVariableNames() const {
  OVPARQUET_TRACE();
  VariableNames names;
  names.reserve(mArrowFieldIndices.size());
  const ::parquet::schema::GroupNode* root = mManifest->descr->group_node();
  for (int field : mArrowFieldIndices) names.push_back(orvane::utf8_to_ustring(root->field(field)->name()));
  return names;
}

}  // namespace orvane::io::parquet::core::read
