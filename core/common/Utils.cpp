#include <ovparquet/core/common/Utils.hpp>

#include <ovparquet/host/ustring.hpp>

#include <arrow/type.h>

#include <cstdint>

namespace orvane::io::parquet::core::common {
namespace {
constexpr const char* kTraceSource = "common/Utils";
}

void throwInvalidRead(const ustring& first, const ustring& second) {
  OVPARQUET_TRACE();
  throw MessageException<ORVANE::parquetio::read::InternalInvalidRead>(
      makeMessage<ORVANE::parquetio::read::InternalInvalidRead>(first, second));
}

void throwReaderLoadException(const std::string& first, const std::string& second) {
  OVPARQUET_TRACE();
  throw MessageException<ORVANE::parquetio::read::ReaderLoadFailed>(
      makeMessage<ORVANE::parquetio::read::ReaderLoadFailed>(first, second));
}

void throwInternalUnsupportedParquetTypeException(const std::string& typeText) {
  OVPARQUET_TRACE();
  throw MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>(
      makeMessage<ORVANE::parquetio::read::InternalUnsupportedParquetType>(orvane::to_ustring(typeText)));
}

template <typename Message, typename... Args>
void throwIfNotOk(const ::arrow::Status& status, Args... args) {
  OVPARQUET_TRACE();
  if (status.ok()) return;
  // Strict on purpose and not caught: a status text that is not valid UTF-8
  // surfaces as the host's own invalid-UTF-8 error rather than a guessed text.
  ustring text = orvane::utf8_to_ustring(status.ToString());
  throw MessageException<Message>(makeMessage<Message>(std::move(args)..., std::move(text)));
}

template void throwIfNotOk<ORVANE::parquetio::read::InternalInvalidRead, ustring>(const ::arrow::Status&,
                                                                                  ustring);
template void throwIfNotOk<ORVANE::parquetio::write::InvalidWrite, ustring>(const ::arrow::Status&, ustring);

void throwReadExceptIfNotOk(const ::arrow::Status& status, const ustring& filename) {
  OVPARQUET_TRACE();
  throwIfNotOk<ORVANE::parquetio::read::InternalInvalidRead, ustring>(status, filename);
}

void throwWriteExceptIfNotOk(const ::arrow::Status& status, const ustring& filename) {
  OVPARQUET_TRACE();
  throwIfNotOk<ORVANE::parquetio::write::InvalidWrite, ustring>(status, filename);
}

std::optional<int> schema_field_to_leaf_index(const ::parquet::arrow::SchemaField& field) {
  if (field.column_index != -1) return field.column_index;
  if (field.children.empty()) return std::nullopt;
  return schema_field_to_leaf_index(field.children.front());
}

std::optional<std::vector<int>> schema_field_to_all_leaf_indices(const ::parquet::arrow::SchemaField& field) {
  if (field.column_index != -1) return std::vector<int>{field.column_index};
  if (field.children.empty()) return std::nullopt;
  std::vector<int> indices;
  for (const auto& child : field.children) {
    auto childIndices = schema_field_to_all_leaf_indices(child);
    if (!childIndices) return std::nullopt;
    indices.insert(indices.end(), childIndices->begin(), childIndices->end());
  }
  return indices;
}

bool isSupportedNestedType(const std::shared_ptr<::arrow::DataType>& type) {
  static_assert(::arrow::Type::LIST == 25 && ::arrow::Type::STRUCT == 26 && ::arrow::Type::MAP == 30 &&
                ::arrow::Type::LARGE_LIST == 36);
  constexpr unsigned kUpperBound = 37;
  constexpr std::uint64_t kMask = (std::uint64_t{1} << ::arrow::Type::LIST) |
                                  (std::uint64_t{1} << ::arrow::Type::STRUCT) |
                                  (std::uint64_t{1} << ::arrow::Type::MAP) |
                                  (std::uint64_t{1} << ::arrow::Type::LARGE_LIST);
  const unsigned id = static_cast<unsigned>(type->id());
  return id < kUpperBound && ((kMask >> id) & 1u) != 0;
}

}  // namespace orvane::io::parquet::core::common
