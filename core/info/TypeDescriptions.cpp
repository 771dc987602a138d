#include <ovparquet/core/info/TypeDescriptions.hpp>

#include <arrow/type.h>

#include <string>

namespace orvane::io::parquet::core::info {
namespace {

ustring number(int value) { return orvane::utf8_to_ustring(std::to_string(value)); }

// The unit words, written out where a unit appears in a description.
ustring unitText(::arrow::TimeUnit::type unit) {
  switch (unit) {
    case ::arrow::TimeUnit::SECOND: return u"seconds";
    case ::arrow::TimeUnit::MILLI: return u"milliseconds";
    case ::arrow::TimeUnit::MICRO: return u"microseconds";
    case ::arrow::TimeUnit::NANO: return u"nanoseconds";
  }
  return u"<Unknown>";
}

ustring list_to_ustring(const std::shared_ptr<::arrow::DataType>& type) {
  const auto& list = static_cast<const ::arrow::ListType&>(*type);
  return u"List<" + type_to_ustring(list.value_type()) + u">";
}

ustring large_list_to_ustring(const std::shared_ptr<::arrow::DataType>& type) {
  const auto& list = static_cast<const ::arrow::LargeListType&>(*type);
  return u"List<" + type_to_ustring(list.value_type()) + u">";
}

}  // namespace

ustring type_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  switch (type->id()) {
    case ::arrow::Type::NA: return u"Null";
    case ::arrow::Type::BOOL: return u"Boolean";
    case ::arrow::Type::UINT8:
    case ::arrow::Type::INT8:
    case ::arrow::Type::UINT16:
    case ::arrow::Type::INT16:
    case ::arrow::Type::UINT32:
    case ::arrow::Type::INT32:
    case ::arrow::Type::UINT64:
    case ::arrow::Type::INT64: return integer_to_ustring(std::move(type));
    case ::arrow::Type::HALF_FLOAT:
    case ::arrow::Type::FLOAT:
    case ::arrow::Type::DOUBLE: return float_to_ustring(std::move(type));
    case ::arrow::Type::STRING:
    case ::arrow::Type::LARGE_STRING: return u"String";
    case ::arrow::Type::BINARY:
    case ::arrow::Type::LARGE_BINARY: return u"ByteArray";
    case ::arrow::Type::FIXED_SIZE_BINARY: return flba_to_ustring(std::move(type));
    case ::arrow::Type::DATE32:
    case ::arrow::Type::DATE64: return date_to_ustring(std::move(type));
    case ::arrow::Type::TIMESTAMP: return timestamp_to_ustring(std::move(type));
    case ::arrow::Type::TIME32:
    case ::arrow::Type::TIME64: return time_to_ustring(std::move(type));
    case ::arrow::Type::DECIMAL128:
    case ::arrow::Type::DECIMAL256: return decimal_to_ustring(std::move(type));
    case ::arrow::Type::LIST: return list_to_ustring(type);
    case ::arrow::Type::LARGE_LIST: return large_list_to_ustring(type);
    case ::arrow::Type::STRUCT: return struct_type_to_ustring(std::move(type));
    case ::arrow::Type::DICTIONARY: return dictionary_type_to_ustring(std::move(type));
    case ::arrow::Type::MAP: return map_type_to_ustring(std::move(type));
    default: return u"Unknown";
  }
}

ustring integer_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  const auto& integer = static_cast<const ::arrow::IntegerType&>(*type);
  return (integer.is_signed() ? u"Int" : u"UInt") + number(integer.bit_width());
}

ustring float_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  return u"Float" + number(static_cast<const ::arrow::FixedWidthType&>(*type).bit_width());
}

ustring flba_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  const auto& binary = static_cast<const ::arrow::FixedSizeBinaryType&>(*type);
  return u"FixedLenByteArray[length=" + number(binary.byte_width()) + u"]";
}

ustring decimal_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  const auto& decimal = static_cast<const ::arrow::DecimalType&>(*type);
  return u"Decimal" + number(decimal.bit_width()) + u"[precision=" + number(decimal.precision()) +
         u", scale=" + number(decimal.scale()) + u"]";
}

ustring time_unit_to_ustring(::arrow::TimeUnit::type unit) { return unitText(unit); }

ustring time_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  const auto& time = static_cast<const ::arrow::TimeType&>(*type);
  return u"Time" + number(time.bit_width()) + u"[unit=" + unitText(time.unit()) + u"]";
}

ustring date_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  return u"Date" + number(static_cast<const ::arrow::FixedWidthType&>(*type).bit_width());
}

ustring timestamp_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  const auto& timestamp = static_cast<const ::arrow::TimestampType&>(*type);
  ustring text = u"Timestamp[unit=" + unitText(timestamp.unit());
  if (!timestamp.timezone().empty()) text += u", timezone=" + orvane::utf8_to_ustring(timestamp.timezone());
  return text + u"]";
}

ustring dictionary_type_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  const auto& dictionary = static_cast<const ::arrow::DictionaryType&>(*type);
  return u"Dictionary<index=" + type_to_ustring(dictionary.index_type()) + u", value=" +
         type_to_ustring(dictionary.value_type()) + u">";
}

ustring map_type_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  const auto& map = static_cast<const ::arrow::MapType&>(*type);
  return u"Map<key=" + type_to_ustring(map.key_type()) + u", value=" + type_to_ustring(map.item_type()) + u">";
}

ustring struct_type_to_ustring(std::shared_ptr<::arrow::DataType> type) {
  ustring text = u"Struct<";
  const auto& fields = type->fields();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) text += u", ";
    text += orvane::utf8_to_ustring(fields[i]->name()) + u": " + type_to_ustring(fields[i]->type());
  }
  return text + u">";
}

std::vector<ustring> parquet_types(std::shared_ptr<::arrow::Schema> schema) {
  std::vector<ustring> descriptions(static_cast<std::size_t>(schema->num_fields()));
  const auto& fields = schema->fields();
  for (std::size_t i = 0; i < fields.size(); ++i) descriptions[i] = type_to_ustring(fields[i]->type());
  return descriptions;
}

}  // namespace orvane::io::parquet::core::info
