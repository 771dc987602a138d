// What the reading side records on host arrays so that the writing side can
// give back the Arrow types they came from: the list, map or binary type of a
// cell array, and the key-value metadata of a table's schema.
#pragma once

#include <ovparquet/host/array.hpp>

#include <arrow/type.h>
#include <arrow/util/key_value_metadata.h>

#include <memory>

namespace orvane::io::arrow::core::detail {

// A cell array's Arrow type (list, large_list, map, binary, large_binary or
// fixed_size_binary).
class ArrowTypeOrigin final : public ovOrigin {
 public:
  explicit ArrowTypeOrigin(std::shared_ptr<::arrow::DataType> type) : mType(std::move(type)) {}
  const std::shared_ptr<::arrow::DataType>& type() const noexcept { return mType; }

 private:
  std::shared_ptr<::arrow::DataType> mType;
};

// A host table's schema metadata.
class SchemaMetadataOrigin final : public ovOrigin {
 public:
  explicit SchemaMetadataOrigin(std::shared_ptr<const ::arrow::KeyValueMetadata> metadata)
      : mMetadata(std::move(metadata)) {}
  const std::shared_ptr<const ::arrow::KeyValueMetadata>& metadata() const noexcept {
    return mMetadata;
  }

 private:
  std::shared_ptr<const ::arrow::KeyValueMetadata> mMetadata;
};

// The Arrow type recorded on a cell array, or null.
inline const ::arrow::DataType* originType(const ovArray* cell) {
  const auto* origin = dynamic_cast<const ArrowTypeOrigin*>(ovGetOrigin(cell).get());
  return origin ? origin->type().get() : nullptr;
}

// The schema metadata recorded on a host table, or null.
inline std::shared_ptr<const ::arrow::KeyValueMetadata> originMetadata(const ovArray* table) {
  const auto* origin = dynamic_cast<const SchemaMetadataOrigin*>(ovGetOrigin(table).get());
  return origin ? origin->metadata() : nullptr;
}

}  // namespace orvane::io::arrow::core::detail
