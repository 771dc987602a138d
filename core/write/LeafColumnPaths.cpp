#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/write/LeafColumnPaths.hpp>

#include <arrow/extension_type.h>
#include <arrow/type.h>

namespace orvane::io::parquet::core::write {
namespace {
constexpr const char* kTraceSource = "write/LeafColumnPaths";

template <typename Tag>
[[noreturn]] void fail() {
  throw common::MessageException<Tag>(common::makeMessage<Tag>());
}

void collect(const ::arrow::DataType& type, const std::string& path, bool compliant, std::vector<ustring>& out) {
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
    default: out.push_back(orvane::utf8_to_ustring(path)); return;
  }
}
}  // namespace

std::unique_ptr<LeafColumnPaths> LeafColumnPaths::Make(std::vector<uint64_t> offsets, std::vector<ustring> paths) {
  OVPARQUET_TRACE();
  if (offsets.empty() || paths.empty()) fail<ORVANE::parquetio::write::LeafColumnPathsEmpty>();
  for (std::size_t k = 0; k + 1 < offsets.size(); ++k) {
    // Equal neighbours too: every column owns at least one path.
    if (offsets[k] >= offsets[k + 1]) fail<ORVANE::parquetio::write::LeafColumnPathsOffsetsAcending>();
  }
  if (offsets.back() != paths.size()) fail<ORVANE::parquetio::write::LeafColumnPathsSizeMismatch>();
  return std::make_unique<LeafColumnPaths>(std::move(offsets), std::move(paths));
}

LeafColumnPaths::LeafColumnPaths(std::vector<uint64_t> offsets, std::vector<ustring> paths)
    : mOffsets(std::move(offsets)), mPaths(std::move(paths)) {}

LeafColumnPaths LeafColumnPaths::ofSchema(const ::arrow::Schema& schema, bool compliantNestedTypes) {
  std::vector<uint64_t> offsets{0};
  std::vector<ustring> paths;
  for (const auto& field : schema.fields()) {
    collect(*field->type(), field->name(), compliantNestedTypes, paths);
    offsets.push_back(paths.size());
  }
  return LeafColumnPaths(std::move(offsets), std::move(paths));
}

std::pair<LeafColumnPaths::const_iterator, LeafColumnPaths::const_iterator> LeafColumnPaths::leaf_paths(
    size_t i) const {
  return {mPaths.begin() + static_cast<std::ptrdiff_t>(mOffsets[i]),
          mPaths.begin() + static_cast<std::ptrdiff_t>(mOffsets[i + 1])};
}

}  // namespace orvane::io::parquet::core::write
