// Cells (lists of their elements' type) and nested host tables (structs).
#include "common.hpp"
#include "origin.hpp"
#include "write_internal.hpp"

#include <arrow/array/array_base.h>
#include <arrow/array/util.h>
#include <arrow/buffer.h>
#include <arrow/util/bit_util.h>

#include <cstring>
#include <limits>

namespace orvane::io::arrow::core::detail {

namespace {

// The Arrow type recorded on the first of the cells that has one.
const ::arrow::DataType* cellsOrigin(Pieces pieces) {
  for (const ovArray* piece : pieces) {
    if (const ::arrow::DataType* type = originType(piece)) return type;
  }
  return nullptr;
}

bool isBinaryType(const ::arrow::DataType& type) {
  return type.id() == ::arrow::Type::BINARY || type.id() == ::arrow::Type::LARGE_BINARY ||
         type.id() == ::arrow::Type::FIXED_SIZE_BINARY;
}

// Whether every element is a uint8 column vector without missing bytes (and,
// for a fixed-size binary type, of its width): the cell can be that binary type.
bool fitsBinary(const std::vector<const ovArray*>& elements, const ::arrow::DataType& type) {
  const std::int64_t width = type.id() == ::arrow::Type::FIXED_SIZE_BINARY
                                 ? static_cast<const ::arrow::FixedSizeBinaryType&>(type).byte_width()
                                 : -1;
  for (const ovArray* element : elements) {
    if (!ovIsNumeric(element) || ovGetClassID(element) != ovClassID::UInt8 ||
        ovGetNumberOfDimensions(element) != 2 || ovGetN(element) != 1 || ovHasMissing(element)) {
      return false;
    }
    if (width >= 0 && static_cast<std::int64_t>(ovGetM(element)) != width) return false;
  }
  return true;
}

// The elements' bytes as a binary array of `type`.
std::shared_ptr<::arrow::ArrayData> writeBinary(Pieces pieces, std::int64_t rows,
                                                const std::shared_ptr<::arrow::DataType>& type,
                                                std::shared_ptr<::arrow::Buffer> validity,
                                                std::int64_t nullCount, std::size_t total) {
  if (type->id() == ::arrow::Type::FIXED_SIZE_BINARY) {
    // Null rows take their width of zero bytes too.
    const auto width = static_cast<std::size_t>(
        static_cast<const ::arrow::FixedSizeBinaryType&>(*type).byte_width());
    auto bytes = allocate(static_cast<std::int64_t>(width) * rows);
    std::uint8_t* out = bytes->mutable_data();
    std::memset(out, 0, static_cast<std::size_t>(bytes->size()));
    std::size_t row = 0;
    for (const ovArray* piece : pieces) {
      for (std::size_t i = 0; i < ovGetNumberOfElements(piece); ++i, ++row) {
        const ovArray* element = ovGetCell(piece, i);
        if (isNullElement(element) || width == 0) continue;
        std::memcpy(out + row * width, ovGetData(element), width);
      }
    }
    return ::arrow::ArrayData::Make(type, rows, {std::move(validity), std::move(bytes)},
                                    nullCount);
  }
  auto bytes = allocate(static_cast<std::int64_t>(total));
  std::uint8_t* out = bytes->mutable_data();
  const bool large = type->id() == ::arrow::Type::LARGE_BINARY;
  const std::int64_t offsetSize = large ? 8 : 4;
  auto offsets = allocate((rows + 1) * offsetSize);
  std::int64_t position = 0;
  std::int64_t row = 0;
  const auto setOffset = [&](std::int64_t r, std::int64_t value) {
    if (large) {
      reinterpret_cast<std::int64_t*>(offsets->mutable_data())[r] = value;
    } else {
      reinterpret_cast<std::int32_t*>(offsets->mutable_data())[r] = static_cast<std::int32_t>(value);
    }
  };
  setOffset(0, 0);
  for (const ovArray* piece : pieces) {
    for (std::size_t i = 0; i < ovGetNumberOfElements(piece); ++i) {
      const ovArray* element = ovGetCell(piece, i);
      if (!isNullElement(element)) {
        const std::size_t size = ovGetNumberOfElements(element);
        if (size != 0) std::memcpy(out + position, ovGetData(element), size);
        position += static_cast<std::int64_t>(size);
      }
      setOffset(++row, position);
    }
  }
  return ::arrow::ArrayData::Make(type, rows,
                                  {std::move(validity), std::move(offsets), std::move(bytes)},
                                  nullCount);
}

// The recorded field with the values' type: its name kept, "not null" only
// while the values have no null.
std::shared_ptr<::arrow::Field> fieldLike(const std::shared_ptr<::arrow::Field>& recorded,
                                          const ::arrow::ArrayData& values) {
  if (recorded->type()->Equals(*values.type) &&
      (recorded->nullable() || values.GetNullCount() == 0)) {
    return recorded;
  }
  return ::arrow::field(recorded->name(), values.type,
                        recorded->nullable() || values.GetNullCount() != 0);
}

// The list type to write: the recorded list or large_list (its element
// field's name kept) around the values' type, else a list of it.
std::shared_ptr<::arrow::DataType> listType(const ::arrow::DataType* origin,
                                            const ::arrow::ArrayData& values) {
  if (origin != nullptr && origin->id() == ::arrow::Type::LIST) {
    const auto& recorded = static_cast<const ::arrow::ListType&>(*origin).value_field();
    auto field = fieldLike(recorded, values);
    return field == recorded ? origin->GetSharedPtr() : ::arrow::list(std::move(field));
  }
  if (origin != nullptr && origin->id() == ::arrow::Type::LARGE_LIST) {
    const auto& recorded = static_cast<const ::arrow::LargeListType&>(*origin).value_field();
    auto field = fieldLike(recorded, values);
    return field == recorded ? origin->GetSharedPtr() : ::arrow::large_list(std::move(field));
  }
  return ::arrow::list(values.type);
}

// The map type a cell of "Key"/"Value" tables goes back to: the recorded map
// (names, sortedness) around the entries' key and item types, or null when
// the cell was not a map or a key is missing.
std::shared_ptr<::arrow::DataType> mapType(const ::arrow::DataType* origin,
                                           const ::arrow::ArrayData& values) {
  if (origin == nullptr || origin->id() != ::arrow::Type::MAP) return nullptr;
  const auto& map = static_cast<const ::arrow::MapType&>(*origin);
  if (values.type->Equals(*map.value_type())) return origin->GetSharedPtr();
  if (values.type->id() != ::arrow::Type::STRUCT || values.child_data.size() != 2) return nullptr;
  if (values.GetNullCount() != 0 || values.child_data[0]->GetNullCount() != 0) return nullptr;
  auto key = ::arrow::field(map.key_field()->name(), values.child_data[0]->type, false);
  auto item = fieldLike(map.item_field(), *values.child_data[1]);
  auto entries = ::arrow::field(map.value_field()->name(), ::arrow::struct_({key, item}), false);
  return valueOrThrow(::arrow::MapType::Make(std::move(entries), map.keys_sorted()));
}

}  // namespace

std::shared_ptr<::arrow::ArrayData> writeCell(Pieces pieces, std::int64_t rows,
                                              const std::string& path, WriteContext& context) {
  const std::string elementPath = path + "{}";
  const ::arrow::DataType* origin = cellsOrigin(pieces);
  const bool large = origin != nullptr && (origin->id() == ::arrow::Type::LARGE_LIST ||
                                           origin->id() == ::arrow::Type::LARGE_BINARY);
  std::vector<const ovArray*> elements;
  std::vector<std::int64_t> offsetValues;
  offsetValues.reserve(static_cast<std::size_t>(rows) + 1);
  auto validity = allocate(::arrow::bit_util::BytesForBits(rows));
  std::uint8_t* bits = validity->mutable_data();
  std::memset(bits, 0, static_cast<std::size_t>(validity->size()));
  std::int64_t nullCount = 0;
  std::size_t total = 0;
  std::int64_t row = 0;
  offsetValues.push_back(0);
  for (const ovArray* piece : pieces) {
    const std::size_t count = ovGetNumberOfElements(piece);
    for (std::size_t i = 0; i < count; ++i, ++row) {
      const ovArray* element = ovGetCell(piece, i);
      if (isNullElement(element)) {
        ++nullCount;
      } else {
        ::arrow::bit_util::SetBit(bits, row);
        total += pieceHeight(element, elementPath, context);
        if (!large && total > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
          context.fail(::arrow::StatusCode::CapacityError, path,
                       "holds more list elements in all than 32-bit list offsets can address");
        }
        elements.push_back(element);
      }
      offsetValues.push_back(static_cast<std::int64_t>(total));
    }
  }
  std::shared_ptr<::arrow::Buffer> bitmap = nullCount == 0 ? nullptr : std::move(validity);

  // Bytes read from a binary column go back to that binary type.
  if (origin != nullptr && isBinaryType(*origin) && fitsBinary(elements, *origin)) {
    return writeBinary(pieces, rows, origin->GetSharedPtr(), std::move(bitmap), nullCount, total);
  }

  // The value type comes from the elements; without any, from the recorded
  // type, and only a cell built by hand without elements is a list<null>.
  std::shared_ptr<::arrow::ArrayData> values;
  if (!elements.empty()) {
    values = writeColumn(elements, static_cast<std::int64_t>(total), elementPath, context);
  } else if (origin != nullptr && (origin->id() == ::arrow::Type::LIST ||
                                   origin->id() == ::arrow::Type::LARGE_LIST ||
                                   origin->id() == ::arrow::Type::MAP)) {
    // (MakeEmptyArray goes through a builder, which drops the ordered flag of
    // dictionaries.)
    values = valueOrThrow(::arrow::MakeArrayOfNull(origin->field(0)->type(), 0))->data();
  } else {
    values = ::arrow::ArrayData::Make(::arrow::null(), 0, {nullptr}, 0);
  }

  std::shared_ptr<::arrow::DataType> type;
  if (auto map = mapType(origin, *values)) {
    // The entries keep their data under the map's own entry type.
    values = values->Copy();
    values->type = static_cast<const ::arrow::MapType&>(*map).value_type();
    type = std::move(map);
  } else {
    type = listType(origin, *values);
  }

  std::shared_ptr<::arrow::Buffer> offsets;
  if (type->id() == ::arrow::Type::LARGE_LIST) {
    offsets = allocate((rows + 1) * static_cast<std::int64_t>(sizeof(std::int64_t)));
    std::memcpy(offsets->mutable_data(), offsetValues.data(), offsetValues.size() * sizeof(std::int64_t));
  } else {
    if (total > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
      context.fail(::arrow::StatusCode::CapacityError, path,
                   "holds more list elements in all than 32-bit list offsets can address");
    }
    offsets = allocate((rows + 1) * static_cast<std::int64_t>(sizeof(std::int32_t)));
    auto* out = reinterpret_cast<std::int32_t*>(offsets->mutable_data());
    for (std::size_t i = 0; i < offsetValues.size(); ++i) out[i] = static_cast<std::int32_t>(offsetValues[i]);
  }
  return ::arrow::ArrayData::Make(std::move(type), rows, {std::move(bitmap), std::move(offsets)},
                                  {std::move(values)}, nullCount);
}

std::shared_ptr<::arrow::ArrayData> writeTable(Pieces pieces, std::int64_t rows,
                                               const std::string& path, WriteContext& context) {
  const ovArray* first = pieces.front();
  const std::size_t count = ovTableNumVariables(first);
  const ovArray* names = ovGetField(first, 0, "Names");
  for (const ovArray* piece : pieces) {
    if (piece == first) continue;
    const ovArray* pieceNames = ovGetField(piece, 0, "Names");
    bool same = ovTableNumVariables(piece) == count;
    for (std::size_t v = 0; same && v < count; ++v) {
      same = ovGetStringView(pieceNames, v) == ovGetStringView(names, v);
    }
    if (!same) {
      context.fail(::arrow::StatusCode::Invalid, path,
                   "mixes host tables of different variables; the tables in a cell must share "
                   "their variable names");
    }
  }
  ::arrow::FieldVector fields;
  std::vector<std::shared_ptr<::arrow::ArrayData>> children;
  std::vector<const ovArray*> columns(pieces.size());
  for (std::size_t v = 0; v < count; ++v) {
    const std::string name = nameToUtf8(ovGetStringView(names, v), path, context);
    for (std::size_t p = 0; p < pieces.size(); ++p) columns[p] = ovTableColumn(pieces[p], v);
    auto child = writeColumn(columns, rows, path + "." + name, context);
    fields.push_back(::arrow::field(name, child->type));
    children.push_back(std::move(child));
  }
  // Missing records become null structs.
  std::int64_t nullCount = 0;
  std::shared_ptr<::arrow::Buffer> validity;
  for (const ovArray* piece : pieces) {
    if (ovTableMissingRows(piece) != nullptr) {
      validity = allocate(::arrow::bit_util::BytesForBits(rows));
      break;
    }
  }
  if (validity) {
    std::uint8_t* bits = validity->mutable_data();
    std::int64_t position = 0;
    for (const ovArray* piece : pieces) {
      const std::size_t height = ovTableNumRows(piece);
      const std::uint8_t* missing = ovTableMissingRows(piece);
      for (std::size_t r = 0; r < height; ++r, ++position) {
        const bool present = missing == nullptr || missing[r] == 0;
        ::arrow::bit_util::SetBitTo(bits, position, present);
        nullCount += present ? 0 : 1;
      }
    }
    if (nullCount == 0) validity = nullptr;
  }
  return ::arrow::ArrayData::Make(::arrow::struct_(std::move(fields)), rows, {std::move(validity)},
                                  std::move(children), nullCount);
}

}  // namespace orvane::io::arrow::core::detail
