#include <ovparquet/convert/datatype.hpp>

#include <ovparquet/host/array.hpp>

#include <arrow/type.h>

namespace orvane::io::arrow::core {
namespace {

std::optional<std::string> className(ovClassID classID) { return std::string(ovClassName(classID)); }

bool isStringType(::arrow::Type::type id) {
  return id == ::arrow::Type::STRING || id == ::arrow::Type::LARGE_STRING;
}

}  // namespace

std::optional<std::string> to_orvane_datatype(const std::shared_ptr<::arrow::DataType>& type) {
  if (!type) return std::nullopt;
  using ::arrow::Type;
  switch (type->id()) {
    case Type::BOOL:
      return className(ovClassID::Logical);
    case Type::INT8:
      return className(ovClassID::Int8);
    case Type::UINT8:
      return className(ovClassID::UInt8);
    case Type::INT16:
      return className(ovClassID::Int16);
    case Type::UINT16:
      return className(ovClassID::UInt16);
    case Type::INT32:
      return className(ovClassID::Int32);
    case Type::UINT32:
      return className(ovClassID::UInt32);
    case Type::INT64:
      return className(ovClassID::Int64);
    case Type::UINT64:
      return className(ovClassID::UInt64);
    case Type::HALF_FLOAT:
    case Type::FLOAT:
      return className(ovClassID::Single);
    case Type::DOUBLE:
    case Type::DECIMAL128:
    case Type::DECIMAL256:
    case Type::NA:
      return className(ovClassID::Double);
    case Type::STRING:
    case Type::LARGE_STRING:
      return className(ovClassID::String);
    case Type::BINARY:
    case Type::LARGE_BINARY:
    case Type::FIXED_SIZE_BINARY:
      return className(ovClassID::Cell);
    case Type::DATE32:
    case Type::DATE64:
    case Type::TIMESTAMP:
      return className(ovClassID::Datetime);
    case Type::TIME32:
    case Type::TIME64:
    case Type::DURATION:
      return className(ovClassID::Duration);
    case Type::DICTIONARY: {
      const auto& dictionary = static_cast<const ::arrow::DictionaryType&>(*type);
      if (isStringType(dictionary.value_type()->id())) return className(ovClassID::Categorical);
      return to_orvane_datatype(dictionary.value_type());
    }
    case Type::LIST:
    case Type::LARGE_LIST:
    case Type::MAP:
      // A map's single child is its struct<key, value> entries.
      for (const auto& field : type->fields()) {
        if (!to_orvane_datatype(field->type())) return std::nullopt;
      }
      return className(ovClassID::Cell);
    case Type::STRUCT:
      if (type->num_fields() == 0) return std::nullopt;
      for (const auto& field : type->fields()) {
        if (!to_orvane_datatype(field->type())) return std::nullopt;
      }
      return className(ovClassID::Struct);
    default:
      return std::nullopt;
  }
}

}  // namespace orvane::io::arrow::core
