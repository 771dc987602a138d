// Cells (lists of their elements' type) and nested host tables (structs).
#include "common.hpp"
#include "write_internal.hpp"

#include <arrow/buffer.h>
#include <arrow/util/bit_util.h>

#include <cstring>
#include <limits>

namespace orvane::io::arrow::core::detail {

std::shared_ptr<::arrow::ArrayData> writeCell(Pieces pieces, std::int64_t rows,
                                              const std::string& path, WriteContext& context) {
  const std::string elementPath = path + "{}";
  std::vector<const ovArray*> elements;
  auto offsets = allocate((rows + 1) * static_cast<std::int64_t>(sizeof(std::int32_t)));
  auto* offset = reinterpret_cast<std::int32_t*>(offsets->mutable_data());
  auto validity = allocate(::arrow::bit_util::BytesForBits(rows));
  std::uint8_t* bits = validity->mutable_data();
  std::memset(bits, 0, static_cast<std::size_t>(validity->size()));
  std::int64_t nullCount = 0;
  std::size_t total = 0;
  std::int64_t row = 0;
  *offset++ = 0;
  for (const ovArray* piece : pieces) {
    const std::size_t count = ovGetNumberOfElements(piece);
    for (std::size_t i = 0; i < count; ++i, ++row) {
      const ovArray* element = ovGetCell(piece, i);
      if (isNullElement(element)) {
        ++nullCount;
      } else {
        ::arrow::bit_util::SetBit(bits, row);
        total += pieceHeight(element, elementPath, context);
        if (total > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
          context.fail(::arrow::StatusCode::CapacityError, path,
                       "holds more list elements in all than 32-bit list offsets can address");
        }
        elements.push_back(element);
      }
      *offset++ = static_cast<std::int32_t>(total);
    }
  }
  // Without a single element the value type is unknown: list<null>.
  std::shared_ptr<::arrow::ArrayData> values =
      elements.empty()
          ? ::arrow::ArrayData::Make(::arrow::null(), 0, {nullptr}, 0)
          : writeColumn(elements, static_cast<std::int64_t>(total), elementPath, context);
  auto type = ::arrow::list(values->type);
  return ::arrow::ArrayData::Make(std::move(type), rows,
                                  {nullCount == 0 ? nullptr : std::move(validity),
                                   std::move(offsets)},
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
  return ::arrow::ArrayData::Make(::arrow::struct_(std::move(fields)), rows, {nullptr},
                                  std::move(children), 0);
}

}  // namespace orvane::io::arrow::core::detail
