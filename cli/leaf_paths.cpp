#include "leaf_paths.hpp"

#include <arrow/extension_type.h>
#include <arrow/type.h>

namespace ovparquet::cli {
namespace {

void collect(const ::arrow::DataType& type, const std::string& path, bool compliant, std::vector<std::string>& out) {
  switch (type.id()) {
    case ::arrow::Type::LIST:
    case ::arrow::Type::LARGE_LIST:
    case ::arrow::Type::FIXED_SIZE_LIST: {
      const auto& value = *static_cast<const ::arrow::BaseListType&>(type).value_field();
      collect(*value.type(), path + ".list." + (compliant ? std::string("element") : value.name()), compliant, out);
      return;
    }
    case ::arrow::Type::MAP: {
      const auto& map = static_cast<const ::arrow::MapType&>(type);
      collect(*map.key_type(), path + ".key_value." + map.key_field()->name(), compliant, out);
      collect(*map.item_type(), path + ".key_value." + map.item_field()->name(), compliant, out);
      return;
    }
    case ::arrow::Type::STRUCT:
      for (const auto& child : type.fields()) collect(*child->type(), path + "." + child->name(), compliant, out);
      return;
    case ::arrow::Type::EXTENSION:
      collect(*static_cast<const ::arrow::ExtensionType&>(type).storage_type(), path, compliant, out);
      return;
    default: out.push_back(path); return;
  }
}

}  // namespace

LeafPaths leafColumnPaths(const ::arrow::Schema& schema, bool compliantNestedTypes) {
  LeafPaths result;
  result.offsets.push_back(0);
  for (const auto& field : schema.fields()) {
    collect(*field->type(), field->name(), compliantNestedTypes, result.paths);
    result.offsets.push_back(result.paths.size());
  }
  return result;
}

}  // namespace ovparquet::cli
