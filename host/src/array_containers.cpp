// Host arrays: string arrays and their builder, cell and struct arrays, and
// host tables.
#include "array_impl.hpp"

#include <ovparquet/host/error.hpp>

#include <algorithm>
#include <limits>
#include <stdexcept>

using namespace ovdetail;

// ---------------------------------------------------------------------------
// String arrays
// ---------------------------------------------------------------------------

namespace {

unique_ovarray_ptr makeStringArray(ovDims dims) {
  auto array = makeArray(ovClassID::String, std::move(dims));
  array->more().offsets.assign(array->numel + 1, 0);
  return array;
}

}  // namespace

unique_ovarray_ptr ovCreateString(const orvane::ustring& text) {
  auto array = makeStringArray({1, 1});
  array->more().text.assign(text.begin(), text.end());
  array->more().offsets[1] = static_cast<std::int64_t>(text.size());
  return array;
}

unique_ovarray_ptr ovCreateStringFromUtf8(std::string_view text) {
  return ovCreateString(orvane::utf8_to_ustring(text));
}

unique_ovarray_ptr ovCreateStringArray(std::size_t ndims, const std::size_t* dims) {
  return makeStringArray(normaliseDims(ndims, dims));
}

unique_ovarray_ptr ovCreateStringArray(const ovDims& dims) {
  return makeStringArray(normaliseDims(dims.size(), dims.data()));
}

unique_ovarray_ptr ovCreateStringArrayFromBuffers(const ovDims& dims, orvane::ustring text,
                                                  std::vector<std::int64_t> offsets) {
  auto array = makeArray(ovClassID::String, normaliseDims(dims.size(), dims.data()));
  if (offsets.size() != array->numel + 1) {
    throw std::invalid_argument("ovCreateStringArrayFromBuffers: expected numel+1 offsets");
  }
  if (offsets.front() != 0 || offsets.back() != static_cast<std::int64_t>(text.size()) ||
      !std::is_sorted(offsets.begin(), offsets.end())) {
    throw std::invalid_argument(
        "ovCreateStringArrayFromBuffers: offsets must rise from 0 to the text length");
  }
  // Copied into the array's own allocator.
  array->more().text.assign(text.begin(), text.end());
  array->more().offsets.assign(offsets.begin(), offsets.end());
  return array;
}

unique_ovarray_ptr ovCreateUninitStringArray(const ovDims& dims, std::size_t units) {
  auto array = makeArray(ovClassID::String, normaliseDims(dims.size(), dims.data()));
  array->more().text.resize(units);
  array->more().offsets.resize(array->numel + 1);
  return array;
}

char16_t* ovGetStringTextMutable(ovArray* array) {
  requireClass(array, ovClassID::String);
  return array->more().text.data();
}

std::int64_t* ovGetStringOffsetsMutable(ovArray* array) {
  requireClass(array, ovClassID::String);
  return array->more().offsets.data();
}

void ovFinishStringArray(ovArray* array, std::size_t units) {
  requireClass(array, ovClassID::String);
  Extra& string = array->more();
  if (units > string.text.size()) {
    throw std::invalid_argument("ovFinishStringArray: more units than the text has room for");
  }
  string.text.resize(units);
  if (units < string.text.capacity() / 2) string.text.shrink_to_fit();
  if (string.offsets.front() != 0 || string.offsets.back() != static_cast<std::int64_t>(units) ||
      !std::is_sorted(string.offsets.begin(), string.offsets.end())) {
    throw std::invalid_argument("ovFinishStringArray: offsets must rise from 0 to the text length");
  }
}

namespace {

unique_ovarray_ptr stringsOf(ovDims dims, const std::vector<orvane::ustring>& texts) {
  ovStringArrayBuilder builder(dims);
  std::size_t units = 0;
  for (const auto& t : texts) units += t.size();
  builder.reserveText(units);
  for (const auto& t : texts) builder.append(t);
  return builder.finish();
}

}  // namespace

unique_ovarray_ptr ovCreateStringColumn(const std::vector<orvane::ustring>& texts) {
  return stringsOf({texts.size(), 1}, texts);
}

unique_ovarray_ptr ovCreateStringRow(const std::vector<orvane::ustring>& texts) {
  return stringsOf({1, texts.size()}, texts);
}

std::u16string_view ovGetStringView(const ovArray* array, std::size_t index) {
  requireClass(array, ovClassID::String);
  requireIndex(index, array->numel);
  if (array->mask && array->mask[index]) return {};
  const auto begin = static_cast<std::size_t>(array->more().offsets[index]);
  const auto end = static_cast<std::size_t>(array->more().offsets[index + 1]);
  return viewOf(array->more().text).substr(begin, end - begin);
}

orvane::ustring ovGetString(const ovArray* array, std::size_t index) {
  return orvane::ustring(ovGetStringView(array, index));
}

std::string ovGetStringUtf8(const ovArray* array, std::size_t index) {
  std::string out;
  orvane::append_utf16_replacing(ovGetStringView(array, index), out);
  return out;
}

void ovSetString(ovArray* array, std::size_t index, std::u16string_view text) {
  requireClass(array, ovClassID::String);
  requireIndex(index, array->numel);
  setStringElement(*array, index, text);
  if (array->mask) array->mask[index] = 0;
}

std::u16string_view ovGetStringBuffer(const ovArray* array) {
  requireClass(array, ovClassID::String);
  return viewOf(array->more().text);
}

const std::int64_t* ovGetStringOffsets(const ovArray* array) {
  requireClass(array, ovClassID::String);
  return array->more().offsets.data();
}

ovStringArrayBuilder::ovStringArrayBuilder(const ovDims& dims)
    : mArray(makeArray(ovClassID::String, normaliseDims(dims.size(), dims.data()))),
      mNumel(mArray->numel) {
  mArray->more().offsets.reserve(mNumel + 1);
  mArray->more().offsets.push_back(0);
}

ovStringArrayBuilder::~ovStringArrayBuilder() = default;

void ovStringArrayBuilder::reserveText(std::size_t units) {
  if (!mArray) throw std::logic_error("ovStringArrayBuilder: already finished");
  mArray->more().text.reserve(units);
}

void ovStringArrayBuilder::append(std::u16string_view text) {
  if (!mArray || mCount == mNumel) throw std::logic_error("ovStringArrayBuilder: array is full");
  mArray->more().text.insert(mArray->more().text.end(), text.begin(), text.end());
  mArray->more().offsets.push_back(static_cast<std::int64_t>(mArray->more().text.size()));
  ++mCount;
}

std::size_t ovStringArrayBuilder::appendUtf8(std::string_view text) {
  if (!mArray || mCount == mNumel) throw std::logic_error("ovStringArrayBuilder: array is full");
  thread_local orvane::ustring scratch;
  scratch.clear();
  const std::size_t replaced = orvane::append_utf8_replacing(text, scratch);
  mArray->more().text.insert(mArray->more().text.end(), scratch.begin(), scratch.end());
  mArray->more().offsets.push_back(static_cast<std::int64_t>(mArray->more().text.size()));
  ++mCount;
  return replaced;
}

void ovStringArrayBuilder::appendMissing() {
  if (!mArray || mCount == mNumel) throw std::logic_error("ovStringArrayBuilder: array is full");
  ovAllocMissingMask(mArray.get())[mCount] = 1;
  mArray->more().offsets.push_back(static_cast<std::int64_t>(mArray->more().text.size()));
  ++mCount;
}

unique_ovarray_ptr ovStringArrayBuilder::finish() {
  if (!mArray || mCount != mNumel) {
    throw std::logic_error("ovStringArrayBuilder: not every element was appended");
  }
  mCount = 0;
  mNumel = 0;
  return std::move(mArray);
}

// ---------------------------------------------------------------------------
// Cell arrays
// ---------------------------------------------------------------------------

namespace {

unique_ovarray_ptr makeCell(ovDims dims) {
  auto array = makeArray(ovClassID::Cell, std::move(dims));
  array->more().slots.resize(array->numel);
  return array;
}

unique_ovarray_ptr& cellSlot(ovArray* cell, std::size_t index) {
  requireClass(cell, ovClassID::Cell);
  requireIndex(index, cell->numel);
  return cell->more().slots[index];
}

}  // namespace

unique_ovarray_ptr ovCreateCellArray(std::size_t ndims, const std::size_t* dims) {
  return makeCell(normaliseDims(ndims, dims));
}

unique_ovarray_ptr ovCreateCellArray(const ovDims& dims) {
  return makeCell(normaliseDims(dims.size(), dims.data()));
}

unique_ovarray_ptr ovCreateCellMatrix(std::size_t m, std::size_t n) { return makeCell({m, n}); }

const ovArray* ovGetCell(const ovArray* cell, std::size_t index) {
  requireClass(cell, ovClassID::Cell);
  requireIndex(index, cell->numel);
  return cell->more().slots[index].get();
}

ovArray* ovGetCellMutable(ovArray* cell, std::size_t index) { return cellSlot(cell, index).get(); }

void ovSetCell(ovArray* cell, std::size_t index, ovArray* value) {
  unique_ovarray_ptr owned(value);  // destroyed here if the checks below throw
  cellSlot(cell, index) = std::move(owned);
}

void ovReplaceCell(ovArray* cell, std::size_t index, unique_ovarray_ptr value) {
  cellSlot(cell, index) = std::move(value);
}

unique_ovarray_ptr ovTakeCell(ovArray* cell, std::size_t index) {
  return std::move(cellSlot(cell, index));
}

// ---------------------------------------------------------------------------
// Struct arrays
// ---------------------------------------------------------------------------

namespace {

int fieldNumberOf(const ovArray* array, std::string_view name) noexcept {
  const auto& names = array->more().fieldNames;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == name) return static_cast<int>(i);
  }
  return -1;
}

unique_ovarray_ptr& structSlot(ovArray* array, std::size_t index, int fieldNumber) {
  requireClass(array, ovClassID::Struct);
  requireIndex(index, array->numel);
  const std::size_t fields = array->more().fieldNames.size();
  if (fieldNumber < 0 || static_cast<std::size_t>(fieldNumber) >= fields) {
    orvane::throwHostError("ArrayIndexOutOfRange",
                           static_cast<std::uint64_t>(static_cast<std::int64_t>(fieldNumber)),
                           static_cast<std::uint64_t>(fields));
  }
  return array->more().slots[index * fields + static_cast<std::size_t>(fieldNumber)];
}

int requireField(const ovArray* array, std::string_view name) {
  requireClass(array, ovClassID::Struct);
  const int number = fieldNumberOf(array, name);
  if (number < 0) orvane::throwHostError("ArrayFieldNotFound", std::string(name));
  return number;
}

}  // namespace

unique_ovarray_ptr ovCreateStructArray(const ovDims& dims,
                                       const std::vector<std::string>& fieldNames) {
  for (std::size_t i = 0; i < fieldNames.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (fieldNames[i] == fieldNames[j]) {
        throw std::invalid_argument("ovCreateStructArray: duplicate field name " + fieldNames[i]);
      }
    }
  }
  auto array = makeArray(ovClassID::Struct, normaliseDims(dims.size(), dims.data()));
  if (!fieldNames.empty() &&
      array->numel > std::numeric_limits<std::size_t>::max() / fieldNames.size()) {
    throw std::bad_alloc();
  }
  array->more().fieldNames = fieldNames;
  array->more().slots.resize(array->numel * fieldNames.size());
  return array;
}

unique_ovarray_ptr ovCreateStructMatrix(std::size_t m, std::size_t n,
                                        const std::vector<std::string>& fieldNames) {
  return ovCreateStructArray({m, n}, fieldNames);
}

int ovGetNumberOfFields(const ovArray* array) {
  requireArray(array);
  return static_cast<int>(array->more().fieldNames.size());
}

const std::string& ovGetFieldNameByNumber(const ovArray* array, int fieldNumber) {
  requireClass(array, ovClassID::Struct);
  if (fieldNumber < 0 || static_cast<std::size_t>(fieldNumber) >= array->more().fieldNames.size()) {
    orvane::throwHostError("ArrayIndexOutOfRange",
                           static_cast<std::uint64_t>(static_cast<std::int64_t>(fieldNumber)),
                           static_cast<std::uint64_t>(array->more().fieldNames.size()));
  }
  return array->more().fieldNames[static_cast<std::size_t>(fieldNumber)];
}

std::vector<std::string> ovGetFieldNames(const ovArray* array) {
  requireClass(array, ovClassID::Struct);
  return array->more().fieldNames;
}

int ovGetFieldNumber(const ovArray* array, std::string_view name) noexcept {
  if (array == nullptr || array->classID != ovClassID::Struct) return -1;
  return fieldNumberOf(array, name);
}

const ovArray* ovGetField(const ovArray* array, std::size_t index, std::string_view name) {
  requireClass(array, ovClassID::Struct);
  requireIndex(index, array->numel);
  const int number = fieldNumberOf(array, name);
  if (number < 0) return nullptr;
  return array->more().slots[index * array->more().fieldNames.size() + static_cast<std::size_t>(number)].get();
}

const ovArray* ovGetFieldByNumber(const ovArray* array, std::size_t index, int fieldNumber) {
  return structSlot(const_cast<ovArray*>(array), index, fieldNumber).get();
}

ovArray* ovGetFieldMutable(ovArray* array, std::size_t index, std::string_view name) {
  requireClass(array, ovClassID::Struct);
  requireIndex(index, array->numel);
  const int number = fieldNumberOf(array, name);
  if (number < 0) return nullptr;
  return array->more().slots[index * array->more().fieldNames.size() + static_cast<std::size_t>(number)].get();
}

void ovSetField(ovArray* array, std::size_t index, std::string_view name, ovArray* value) {
  unique_ovarray_ptr owned(value);  // destroyed here if the checks below throw
  ovReplaceField(array, index, name, std::move(owned));
}

void ovSetFieldByNumber(ovArray* array, std::size_t index, int fieldNumber, ovArray* value) {
  unique_ovarray_ptr owned(value);
  structSlot(array, index, fieldNumber) = std::move(owned);
}

void ovReplaceField(ovArray* array, std::size_t index, std::string_view name,
                    unique_ovarray_ptr value) {
  const int number = requireField(array, name);
  structSlot(array, index, number) = std::move(value);
}

int ovAddField(ovArray* array, std::string_view name) {
  requireClass(array, ovClassID::Struct);
  const int existing = fieldNumberOf(array, name);
  if (existing >= 0) return existing;
  const std::size_t oldFields = array->more().fieldNames.size();
  const std::size_t newFields = oldFields + 1;
  std::vector<unique_ovarray_ptr> slots(array->numel * newFields);
  for (std::size_t e = 0; e < array->numel; ++e) {
    for (std::size_t f = 0; f < oldFields; ++f) {
      slots[e * newFields + f] = std::move(array->more().slots[e * oldFields + f]);
    }
  }
  array->more().fieldNames.emplace_back(name);
  array->more().slots = std::move(slots);
  return static_cast<int>(oldFields);
}

void ovRemoveField(ovArray* array, std::string_view name) {
  const auto number = static_cast<std::size_t>(requireField(array, name));
  const std::size_t oldFields = array->more().fieldNames.size();
  const std::size_t newFields = oldFields - 1;
  std::vector<unique_ovarray_ptr> slots(array->numel * newFields);
  for (std::size_t e = 0; e < array->numel; ++e) {
    for (std::size_t f = 0, g = 0; f < oldFields; ++f) {
      if (f == number) continue;
      slots[e * newFields + g++] = std::move(array->more().slots[e * oldFields + f]);
    }
  }
  array->more().fieldNames.erase(array->more().fieldNames.begin() + static_cast<std::ptrdiff_t>(number));
  array->more().slots = std::move(slots);  // the removed field's values go with the old vector
}

// ---------------------------------------------------------------------------
// Host tables
// ---------------------------------------------------------------------------

namespace {

constexpr const char* kColumns = "Columns";
constexpr const char* kNames = "Names";

// The Columns and Names of a table-shaped struct, or nulls.
struct TableParts {
  const ovArray* columns = nullptr;
  const ovArray* names = nullptr;
};

TableParts tableParts(const ovArray* array) noexcept {
  if (array == nullptr || array->classID != ovClassID::Struct || array->numel != 1 ||
      array->more().fieldNames.size() != 2) {
    return {};
  }
  const int c = fieldNumberOf(array, kColumns);
  const int n = fieldNumberOf(array, kNames);
  if (c < 0 || n < 0) return {};
  return {array->more().slots[static_cast<std::size_t>(c)].get(),
          array->more().slots[static_cast<std::size_t>(n)].get()};
}

bool isRow(const ovArray* array) noexcept {
  return array->dims.size() == 2 && array->dims[0] == 1;
}

// The Columns cell of a table, with the class and field errors of the table
// accessors.
const ovArray* requireColumns(const ovArray* table) {
  requireClass(table, ovClassID::Struct);
  if (table->numel == 0) requireIndex(0, 0);
  const ovArray* columns = ovGetField(table, 0, kColumns);
  if (columns == nullptr) orvane::throwHostError("ArrayFieldNotFound", std::string(kColumns));
  requireClass(columns, ovClassID::Cell);
  return columns;
}

const ovArray* requireNames(const ovArray* table) {
  requireClass(table, ovClassID::Struct);
  if (table->numel == 0) requireIndex(0, 0);
  const ovArray* names = ovGetField(table, 0, kNames);
  if (names == nullptr) orvane::throwHostError("ArrayFieldNotFound", std::string(kNames));
  requireClass(names, ovClassID::String);
  return names;
}

bool isTable(const ovArray* array, std::size_t* rows) noexcept;

// The height of a variable: rows of a nested table, or N of an N-by-1 array;
// false for any other shape.
bool variableHeight(const ovArray* column, std::size_t* height) noexcept {
  if (column == nullptr) return false;
  if (isTable(column, height)) return true;
  if (column->dims.size() != 2 || column->dims[1] != 1) return false;
  *height = column->dims[0];
  return true;
}

bool isTable(const ovArray* array, std::size_t* rows) noexcept {
  const TableParts parts = tableParts(array);
  if (parts.columns == nullptr || parts.names == nullptr) return false;
  if (parts.columns->classID != ovClassID::Cell || !isRow(parts.columns)) return false;
  if (parts.names->classID != ovClassID::String || !isRow(parts.names)) return false;
  if (parts.names->numel != parts.columns->numel || ovHasMissing(parts.names)) return false;
  std::size_t height = 0;
  for (std::size_t v = 0; v < parts.columns->numel; ++v) {
    std::size_t h = 0;
    if (!variableHeight(parts.columns->more().slots[v].get(), &h)) return false;
    if (v > 0 && h != height) return false;
    height = h;
  }
  if (!array->more().rowMask.empty() && array->more().rowMask.size() != height) return false;
  *rows = height;
  return true;
}

}  // namespace

unique_ovarray_ptr ovCreateTable(std::vector<unique_ovarray_ptr> columns,
                                 const std::vector<orvane::ustring>& names) {
  if (columns.size() != names.size()) {
    throw std::invalid_argument("ovCreateTable: the numbers of columns and names differ");
  }
  for (const auto& column : columns) {
    if (!column) throw std::invalid_argument("ovCreateTable: null column");
  }
  auto cell = makeCell({1, columns.size()});
  for (std::size_t v = 0; v < columns.size(); ++v) cell->more().slots[v] = std::move(columns[v]);
  auto table = ovCreateStructMatrix(1, 1, {kColumns, kNames});
  table->more().slots[0] = std::move(cell);
  table->more().slots[1] = ovCreateStringRow(names);
  return table;
}

bool ovIsTable(const ovArray* array) noexcept {
  std::size_t rows = 0;
  return isTable(array, &rows);
}

std::size_t ovColumnHeight(const ovArray* column) noexcept {
  if (column == nullptr) return 0;
  std::size_t rows = 0;
  if (isTable(column, &rows)) return rows;
  return column->dims[0];
}

std::size_t ovTableNumVariables(const ovArray* table) {
  return requireColumns(table)->numel;
}

std::size_t ovTableNumRows(const ovArray* table) {
  const ovArray* columns = requireColumns(table);
  return columns->numel == 0 ? 0 : ovColumnHeight(columns->more().slots[0].get());
}

const ovArray* ovTableColumn(const ovArray* table, std::size_t variable) {
  return ovGetCell(requireColumns(table), variable);
}

orvane::ustring ovTableName(const ovArray* table, std::size_t variable) {
  return ovGetString(requireNames(table), variable);
}

const std::uint8_t* ovTableMissingRows(const ovArray* table) {
  requireColumns(table);
  return table->more().rowMask.empty() ? nullptr : table->more().rowMask.data();
}

std::uint8_t* ovTableAllocMissingRows(ovArray* table) {
  const std::size_t rows = ovTableNumRows(table);
  if (table->more().rowMask.size() != rows) table->more().rowMask.assign(rows, 0);
  // No row: nothing to mark, and an empty vector stands for no marks.
  return table->more().rowMask.data();
}

bool ovTableIsRowMissing(const ovArray* table, std::size_t row) {
  requireIndex(row, ovTableNumRows(table));
  return !table->more().rowMask.empty() && table->more().rowMask[row] != 0;
}

void ovTableRemoveMissingRows(ovArray* table) {
  requireColumns(table);
  table->more().rowMask.clear();
  table->more().rowMask.shrink_to_fit();
}

// ---------------------------------------------------------------------------
// Origins
// ---------------------------------------------------------------------------

ovOrigin::~ovOrigin() = default;

void ovSetOrigin(ovArray* array, std::shared_ptr<const ovOrigin> origin) {
  requireArray(array);
  if (origin || array->extra) array->more().origin = std::move(origin);
}

const std::shared_ptr<const ovOrigin>& ovGetOrigin(const ovArray* array) {
  requireArray(array);
  return array->more().origin;
}
