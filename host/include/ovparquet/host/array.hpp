// Host arrays: the host's N-dimensional, column-major array value and its
// C-style API (create, class tests, dimensions, data, missing values, cell
// and struct access, host tables).
//
// Ownership: creators return unique_ovarray_ptr. Functions that take a raw
// `ovArray*` value to store (ovSetCell, ovSetField, ...) take ownership of it.
// Functions returning `const ovArray*` hand out a view owned by the container.
//
// Errors: misuse a caller can trigger with bad data (the wrong class, an
// index past the end, an unknown field name) raises orvane::HostError with
//   ORVANE:host:ArrayClassMismatch   (expected class name, actual class name)
//   ORVANE:host:ArrayIndexOutOfRange (index, element count)
//   ORVANE:host:ArrayFieldNotFound   (field name)
// Broken preconditions of the programming interface itself (a null array, a
// buffer of the wrong length, a data size that does not match the
// dimensions) raise std::invalid_argument.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

class ovArray;

struct ovArrayDeleter {
  void operator()(ovArray* array) const noexcept;
};
using unique_ovarray_ptr = std::unique_ptr<ovArray, ovArrayDeleter>;

// ---------------------------------------------------------------------------
// Classes
// ---------------------------------------------------------------------------

enum class ovClassID {
  Double,
  Single,
  Int8,
  UInt8,
  Int16,
  UInt16,
  Int32,
  UInt32,
  Int64,
  UInt64,
  Logical,
  Char,
  String,
  Cell,
  Struct,
  Datetime,
  Duration,
  Categorical,
};

enum class ovComplexity { Real, Complex };

// Whether a creator fills the data (zeros, false, empty) or leaves the memory
// untouched for the caller to fill. Uninitialised memory is never read by the
// host itself before the caller writes it.
enum class ovInit { Zero, Uninit };

// Units of datetime and duration ticks. Day is for datetimes only.
enum class ovTimeUnit { Second, Milli, Micro, Nano, Day };

// "double", "single", "int8", "uint8", "int16", "uint16", "int32", "uint32",
// "int64", "uint64", "logical", "char", "string", "cell", "struct",
// "datetime", "duration", "categorical".
const char* ovClassName(ovClassID classID) noexcept;
// The class of one of the names above, or no value.
std::optional<ovClassID> ovClassFromName(std::string_view name) noexcept;
// "s", "ms", "us", "ns", "day".
const char* ovTimeUnitName(ovTimeUnit unit) noexcept;

// Element types: logical elements are bool, char elements char16_t,
// datetime and duration ticks int64_t, categorical codes int32_t.
using ovLogical = bool;
using ovChar = char16_t;

// The class whose element type is T (double, float, int8_t ... uint64_t,
// bool, char16_t).
template <typename T>
inline constexpr ovClassID ovClassOf = [] {
  if constexpr (std::is_same_v<T, double>) return ovClassID::Double;
  else if constexpr (std::is_same_v<T, float>) return ovClassID::Single;
  else if constexpr (std::is_same_v<T, std::int8_t>) return ovClassID::Int8;
  else if constexpr (std::is_same_v<T, std::uint8_t>) return ovClassID::UInt8;
  else if constexpr (std::is_same_v<T, std::int16_t>) return ovClassID::Int16;
  else if constexpr (std::is_same_v<T, std::uint16_t>) return ovClassID::UInt16;
  else if constexpr (std::is_same_v<T, std::int32_t>) return ovClassID::Int32;
  else if constexpr (std::is_same_v<T, std::uint32_t>) return ovClassID::UInt32;
  else if constexpr (std::is_same_v<T, std::int64_t>) return ovClassID::Int64;
  else if constexpr (std::is_same_v<T, std::uint64_t>) return ovClassID::UInt64;
  else if constexpr (std::is_same_v<T, bool>) return ovClassID::Logical;
  else if constexpr (std::is_same_v<T, char16_t>) return ovClassID::Char;
  else static_assert(sizeof(T) == 0, "no host class has this element type");
}();

// Bytes per element of a class with a flat data buffer (numeric, logical,
// char: their element type; datetime, duration: 8; categorical: 4); 0 for
// string, cell and struct.
std::size_t ovClassElementSize(ovClassID classID) noexcept;

// ---------------------------------------------------------------------------
// Every array
// ---------------------------------------------------------------------------

// Dimensions are normalised on creation: fewer than two become two (no
// dimensions: 0x0; one dimension d: d-by-1) and trailing singleton
// dimensions past the second are dropped (2x3x1 is 2x3). Two dimensions are
// kept inline, so a matrix (every list row is one) allocates none.
using ovDims = boost::container::small_vector<std::size_t, 2>;

void ovDestroyArray(ovArray* array) noexcept;
// A deep copy: no storage is shared with the original.
unique_ovarray_ptr ovDuplicateArray(const ovArray* array);

ovClassID ovGetClassID(const ovArray* array) noexcept;
const char* ovGetClassName(const ovArray* array) noexcept;

std::size_t ovGetNumberOfDimensions(const ovArray* array) noexcept;
const ovDims& ovGetDimensions(const ovArray* array) noexcept;
std::size_t ovGetNumberOfElements(const ovArray* array) noexcept;
// Rows (first dimension) and the product of all other dimensions.
std::size_t ovGetM(const ovArray* array) noexcept;
std::size_t ovGetN(const ovArray* array) noexcept;
bool ovIsEmpty(const ovArray* array) noexcept;
bool ovIsScalar(const ovArray* array) noexcept;
// Changes the shape, keeping the elements in storage order. The element
// count must not change (std::invalid_argument otherwise).
void ovSetDimensions(ovArray* array, const ovDims& dims);

// Column-major linear index of a subscript (one per dimension, 0-based).
std::size_t ovCalcSingleSubscript(const ovArray* array, const ovDims& subscript);

// Numeric: double, single and the eight integer classes (not logical, char).
bool ovIsNumeric(const ovArray* array) noexcept;
bool ovIsFloat(const ovArray* array) noexcept;    // double or single
bool ovIsInteger(const ovArray* array) noexcept;  // int8 ... uint64
bool ovIsDouble(const ovArray* array) noexcept;
bool ovIsSingle(const ovArray* array) noexcept;
bool ovIsLogical(const ovArray* array) noexcept;
bool ovIsChar(const ovArray* array) noexcept;
bool ovIsString(const ovArray* array) noexcept;
bool ovIsCell(const ovArray* array) noexcept;
bool ovIsStruct(const ovArray* array) noexcept;
bool ovIsDatetime(const ovArray* array) noexcept;
bool ovIsDuration(const ovArray* array) noexcept;
bool ovIsCategorical(const ovArray* array) noexcept;
bool ovIsComplex(const ovArray* array) noexcept;
// Cell and struct arrays hold other arrays; every other class is flat.
bool ovIsContainer(const ovArray* array) noexcept;

// Deep equality: class, dimensions, complexity, element values, which
// elements are missing (an absent mask equals an all-clear one), time unit
// and zone, categories and ordering, field names and their order, and,
// recursively, cell and field contents (an empty cell or field slot equals a
// 0x0 double). Values under the missing mask are not compared. Floating-point
// elements compare by value, except that NaN equals NaN (so -0.0 equals 0.0).
bool ovArraysEqual(const ovArray* a, const ovArray* b);
// An empty text when equal, otherwise a short description of the first
// difference found, with the path to it (for test failure messages).
std::string ovArraysDifference(const ovArray* a, const ovArray* b);
// ovArraysEqual on references, so that EXPECT_EQ(*a, *b) works in tests.
bool operator==(const ovArray& a, const ovArray& b);

// ---------------------------------------------------------------------------
// Numeric, logical and char arrays
// ---------------------------------------------------------------------------
// One contiguous buffer of the element type, 64-byte aligned when the host
// allocates it; complex arrays keep their imaginary parts in a second buffer
// of the same type. Complex is allowed for the numeric classes only.

// `init` Uninit leaves the memory untouched (the caller fills every element).
unique_ovarray_ptr ovCreateUninitNumericArray(std::size_t ndims, const std::size_t* dims,
                                              ovClassID classID, ovComplexity complexity);
unique_ovarray_ptr ovCreateUninitNumericArray(ovDims dims, ovClassID classID,
                                              ovComplexity complexity = ovComplexity::Real);
// Zero-filled.
unique_ovarray_ptr ovCreateNumericArray(std::size_t ndims, const std::size_t* dims,
                                        ovClassID classID,
                                        ovComplexity complexity = ovComplexity::Real);
unique_ovarray_ptr ovCreateNumericArray(const ovDims& dims, ovClassID classID,
                                        ovComplexity complexity = ovComplexity::Real);
unique_ovarray_ptr ovCreateNumericMatrix(std::size_t m, std::size_t n, ovClassID classID,
                                         ovComplexity complexity = ovComplexity::Real);
unique_ovarray_ptr ovCreateDoubleScalar(double value);
unique_ovarray_ptr ovCreateLogicalScalar(bool value);
unique_ovarray_ptr ovCreateLogicalMatrix(std::size_t m, std::size_t n);
unique_ovarray_ptr ovCreateLogicalArray(const ovDims& dims);
// A 1-by-N char row holding the text's UTF-16 units.
unique_ovarray_ptr ovCreateCharArray(orvane::ustring_view text);

// Zero-copy construction: the array takes the vector's storage over; its
// class is ovClassOf<T>. The vector's size must equal the element count of
// `dims`. (Logical arrays cannot be built this way: std::vector<bool> packs.)
template <typename T>
unique_ovarray_ptr ovCreateNumericArrayFromVector(const ovDims& dims, std::vector<T> data);

// Zero-copy sharing of memory owned elsewhere (e.g. an Arrow buffer) by a
// real numeric, logical or char array (std::invalid_argument for other
// classes): it reads `data` (aligned to the element size, numel elements) and keeps
// `owner` alive while it does. The memory is never written: the first
// mutable access (ovGetDataMutable, ovSetMissing, ...) copies it into the
// array's own storage.
unique_ovarray_ptr ovCreateNumericArrayShared(ovDims dims, ovClassID classID,
                                              const void* data,
                                              std::shared_ptr<const void> owner);

// The data of a numeric, logical, char, datetime, duration or categorical
// array (real parts for complex arrays). Any other class raises
// ArrayClassMismatch. Never null, also for empty arrays.
const void* ovGetData(const ovArray* array);
void* ovGetDataMutable(ovArray* array);
// The imaginary parts of a complex numeric array; nullptr when real.
const void* ovGetImagData(const ovArray* array);
void* ovGetImagDataMutable(ovArray* array);
// Bytes per element of the array's data buffer (see ovClassElementSize).
std::size_t ovGetElementSize(const ovArray* array) noexcept;

// Typed data: raises ArrayClassMismatch unless the array's class is
// ovClassOf<T>.
const void* ovGetDataOfClass(const ovArray* array, ovClassID classID);
void* ovGetDataOfClassMutable(ovArray* array, ovClassID classID);
template <typename T>
const T* ovGetTypedData(const ovArray* array) {
  return static_cast<const T*>(ovGetDataOfClass(array, ovClassOf<T>));
}
template <typename T>
T* ovGetTypedDataMutable(ovArray* array) {
  return static_cast<T*>(ovGetDataOfClassMutable(array, ovClassOf<T>));
}

// Element `index` (storage order) of a numeric, logical or char array as a
// double: the real part of complex elements; a missing element reads as what
// lies under the mask (NaN for floats, 0 otherwise). Raises
// ArrayClassMismatch ("numeric") for other classes and ArrayIndexOutOfRange.
double ovGetScalar(const ovArray* array, std::size_t index = 0);

// ---------------------------------------------------------------------------
// Missing values
// ---------------------------------------------------------------------------
// Every non-container array (numeric, logical, char, string, datetime,
// duration, categorical) may carry a missing mask: one byte per element in
// storage order, 1 = missing, 0 = present. It is allocated on demand; an
// array without one has no missing elements. The value under the mask is
// NaN for float classes (both parts when complex), 0 / false / u'\0' for
// integer, logical and char, 0 ticks for datetime and duration, code -1 for
// categorical, the empty text for string. Container classes raise
// ArrayClassMismatch from the functions that would create or set a mask.

// Whether the array has a mask allocated (it may still be all clear).
bool ovHasMissingMask(const ovArray* array) noexcept;
// Whether any element is missing (scans the mask).
bool ovHasMissing(const ovArray* array) noexcept;
std::size_t ovCountMissing(const ovArray* array) noexcept;
// The mask, or nullptr when none is allocated (always nullptr for cell and
// struct arrays).
const std::uint8_t* ovGetMissingMask(const ovArray* array) noexcept;
// Allocates an all-clear mask when there is none and returns it. Writing 1
// into it marks elements missing; the writer is responsible for putting the
// conventional value under the mask (ovSetMissing does so).
std::uint8_t* ovAllocMissingMask(ovArray* array);
// Marks one element missing and writes the conventional value under it.
void ovSetMissing(ovArray* array, std::size_t index);
// False for arrays without a mask and for containers; raises
// ArrayIndexOutOfRange past the end.
bool ovIsMissing(const ovArray* array, std::size_t index);
// Frees the mask (all elements become present, their values unchanged).
void ovRemoveMissingMask(ovArray* array) noexcept;

// ---------------------------------------------------------------------------
// String arrays
// ---------------------------------------------------------------------------
// All text of a string array lives in one UTF-16 buffer; element i is the
// units [offsets[i], offsets[i+1]) of it. There are numel+1 int64 offsets,
// offsets[0] = 0, non-decreasing, and the last one is the buffer's length.

// A 1-by-1 string.
unique_ovarray_ptr ovCreateString(const orvane::ustring& text);
unique_ovarray_ptr ovCreateStringFromUtf8(std::string_view text);
// An array of empty strings.
unique_ovarray_ptr ovCreateStringArray(std::size_t ndims, const std::size_t* dims);
unique_ovarray_ptr ovCreateStringArray(const ovDims& dims);
// A string array from its buffer and offsets (copied).
// The offsets are checked (std::invalid_argument when broken).
unique_ovarray_ptr ovCreateStringArrayFromBuffers(const ovDims& dims, orvane::ustring text,
                                                  std::vector<std::int64_t> offsets);
// In-place construction for converters: a string array with room for
// `units` UTF-16 units of text and numel+1 offsets, none of them written.
// The caller writes the offsets (0 first, non-decreasing) and the text they
// cover, then calls ovFinishStringArray with the units used, which trims the
// text and checks the offsets (std::invalid_argument when broken).
unique_ovarray_ptr ovCreateUninitStringArray(const ovDims& dims, std::size_t units);
char16_t* ovGetStringTextMutable(ovArray* array);
std::int64_t* ovGetStringOffsetsMutable(ovArray* array);
void ovFinishStringArray(ovArray* array, std::size_t units);
// A column (N-by-1) of the given texts.
unique_ovarray_ptr ovCreateStringColumn(const std::vector<orvane::ustring>& texts);
unique_ovarray_ptr ovCreateStringRow(const std::vector<orvane::ustring>& texts);

// Element `index`; a missing element reads as empty. Raises
// ArrayClassMismatch for non-strings and ArrayIndexOutOfRange.
orvane::ustring ovGetString(const ovArray* array, std::size_t index = 0);
// The same without copying; valid until the array is changed or destroyed.
std::u16string_view ovGetStringView(const ovArray* array, std::size_t index = 0);
// Element `index` as UTF-8 (unpaired surrogates become U+FFFD).
std::string ovGetStringUtf8(const ovArray* array, std::size_t index = 0);
// Replaces one element (and clears its missing mark). Costs a move of the
// text after it: use the builder or ovCreateStringArrayFromBuffers for bulk.
void ovSetString(ovArray* array, std::size_t index, std::u16string_view text);
// The whole buffer and the numel+1 offsets.
std::u16string_view ovGetStringBuffer(const ovArray* array);
const std::int64_t* ovGetStringOffsets(const ovArray* array);

// Bulk construction of a string array: append exactly numel elements in
// storage order, then finish().
class ovStringArrayBuilder {
 public:
  explicit ovStringArrayBuilder(const ovDims& dims);
  ovStringArrayBuilder(const ovStringArrayBuilder&) = delete;
  ovStringArrayBuilder& operator=(const ovStringArrayBuilder&) = delete;
  ~ovStringArrayBuilder();

  // Reserves room for this many UTF-16 units of text in total.
  void reserveText(std::size_t units);
  void append(std::u16string_view text);
  // Appends UTF-8 text converted to UTF-16; every invalid sequence becomes
  // U+FFFD. Returns the number of replacements.
  std::size_t appendUtf8(std::string_view text);
  // Appends a missing element (empty text, marked in the mask).
  void appendMissing();
  // Elements appended so far.
  std::size_t size() const noexcept { return mCount; }
  // The finished array; std::logic_error unless exactly numel elements were
  // appended. The builder is empty afterwards.
  unique_ovarray_ptr finish();

 private:
  unique_ovarray_ptr mArray;
  std::size_t mCount = 0;
  std::size_t mNumel = 0;
};

// ---------------------------------------------------------------------------
// Cell arrays
// ---------------------------------------------------------------------------
// A cell array owns one array per element. A slot may be empty (never set, or
// set to nullptr); it stands for a 0x0 double, and ovGetCell returns nullptr
// for it.

unique_ovarray_ptr ovCreateCellArray(std::size_t ndims, const std::size_t* dims);
unique_ovarray_ptr ovCreateCellArray(const ovDims& dims);
unique_ovarray_ptr ovCreateCellMatrix(std::size_t m, std::size_t n);

// Element `index`, or nullptr for an empty slot. ArrayClassMismatch for
// non-cells, ArrayIndexOutOfRange past the end.
const ovArray* ovGetCell(const ovArray* cell, std::size_t index);
ovArray* ovGetCellMutable(ovArray* cell, std::size_t index);
// Stores `value` (ownership taken, may be nullptr) and destroys the previous
// element. On error `value` is destroyed too, so it never leaks.
void ovSetCell(ovArray* cell, std::size_t index, ovArray* value);
void ovReplaceCell(ovArray* cell, std::size_t index, unique_ovarray_ptr value);
// Takes element `index` out, leaving the slot empty.
unique_ovarray_ptr ovTakeCell(ovArray* cell, std::size_t index);

// ---------------------------------------------------------------------------
// Struct arrays
// ---------------------------------------------------------------------------
// A struct array has an ordered list of field names (UTF-8) and one slot per
// element per field. Slots behave like cell slots: empty = 0x0 double,
// returned as nullptr.

unique_ovarray_ptr ovCreateStructArray(const ovDims& dims,
                                       const std::vector<std::string>& fieldNames);
unique_ovarray_ptr ovCreateStructMatrix(std::size_t m, std::size_t n,
                                        const std::vector<std::string>& fieldNames);

// 0 for arrays of other classes.
int ovGetNumberOfFields(const ovArray* array);
// ArrayIndexOutOfRange for a bad field number.
const std::string& ovGetFieldNameByNumber(const ovArray* array, int fieldNumber);
std::vector<std::string> ovGetFieldNames(const ovArray* array);
// -1 when the struct has no such field (and for non-structs).
int ovGetFieldNumber(const ovArray* array, std::string_view name) noexcept;
// The field of element `index`; nullptr when the field does not exist or the
// slot is empty. ArrayClassMismatch for non-structs, ArrayIndexOutOfRange.
const ovArray* ovGetField(const ovArray* array, std::size_t index, std::string_view name);
const ovArray* ovGetFieldByNumber(const ovArray* array, std::size_t index, int fieldNumber);
ovArray* ovGetFieldMutable(ovArray* array, std::size_t index, std::string_view name);
// Stores `value` (ownership taken, may be nullptr), destroying the previous
// one; ArrayFieldNotFound for an unknown name (value destroyed then too).
void ovSetField(ovArray* array, std::size_t index, std::string_view name, ovArray* value);
void ovSetFieldByNumber(ovArray* array, std::size_t index, int fieldNumber, ovArray* value);
void ovReplaceField(ovArray* array, std::size_t index, std::string_view name,
                    unique_ovarray_ptr value);
// Adds a field with empty slots and returns its number; returns the existing
// number when the field is already there.
int ovAddField(ovArray* array, std::string_view name);
// Removes a field and destroys its values; ArrayFieldNotFound if absent.
void ovRemoveField(ovArray* array, std::string_view name);

// ---------------------------------------------------------------------------
// Datetime and duration arrays
// ---------------------------------------------------------------------------
// int64 ticks in the unit. Datetimes count from 1970-01-01T00:00:00 UTC and
// may carry a time-zone text (no value = no zone; an empty text is a zone
// given as empty and kept distinct). Durations take Second..Nano only.

unique_ovarray_ptr ovCreateDatetimeArray(const ovDims& dims, ovTimeUnit unit,
                                         std::optional<std::string> zone = std::nullopt,
                                         ovInit init = ovInit::Zero);
unique_ovarray_ptr ovCreateDurationArray(const ovDims& dims, ovTimeUnit unit,
                                         ovInit init = ovInit::Zero);
// The same, taking the ticks over without copying.
unique_ovarray_ptr ovCreateDatetimeArray(const ovDims& dims, ovTimeUnit unit,
                                         std::optional<std::string> zone,
                                         std::vector<std::int64_t> ticks);
unique_ovarray_ptr ovCreateDurationArray(const ovDims& dims, ovTimeUnit unit,
                                         std::vector<std::int64_t> ticks);

// ArrayClassMismatch unless datetime or duration.
ovTimeUnit ovGetTimeUnit(const ovArray* array);
// ArrayClassMismatch unless datetime.
const std::optional<std::string>& ovGetTimeZone(const ovArray* array);
void ovSetTimeZone(ovArray* array, std::optional<std::string> zone);
// ArrayClassMismatch unless datetime or duration.
const std::int64_t* ovGetTicks(const ovArray* array);
std::int64_t* ovGetTicksMutable(ovArray* array);

// ---------------------------------------------------------------------------
// Categorical arrays
// ---------------------------------------------------------------------------
// int32 codes, 0-based positions in the categories (a string array, owned).
// Missing elements are those marked in the missing mask, and their code is
// -1; every present element must hold a code in [0, number of categories).

unique_ovarray_ptr ovCreateCategoricalArray(const ovDims& dims, unique_ovarray_ptr categories,
                                            ovInit init = ovInit::Zero, bool ordered = false);
unique_ovarray_ptr ovCreateCategoricalArray(const ovDims& dims, unique_ovarray_ptr categories,
                                            std::vector<std::int32_t> codes,
                                            bool ordered = false);
// ArrayClassMismatch unless categorical.
const ovArray* ovGetCategories(const ovArray* array);
std::size_t ovGetNumberOfCategories(const ovArray* array);
const std::int32_t* ovGetCategoryCodes(const ovArray* array);
std::int32_t* ovGetCategoryCodesMutable(ovArray* array);
bool ovIsOrdinal(const ovArray* array);
// Whether every present code is in range (missing ones are not looked at).
bool ovCategoryCodesValid(const ovArray* array);

// ---------------------------------------------------------------------------
// Host tables
// ---------------------------------------------------------------------------
// A host table is a 1-by-1 struct with the fields "Columns" (a 1-by-V cell,
// one variable per element) and "Names" (a 1-by-V string array without
// missing elements). Each variable has the same height N: an N-by-1 array,
// or a nested host table of N rows.

// Builds a table; the columns are taken over. std::invalid_argument when the
// counts differ or a column is null; the heights are not checked here.
unique_ovarray_ptr ovCreateTable(std::vector<unique_ovarray_ptr> columns,
                                 const std::vector<orvane::ustring>& names);
// Whether the array is a well-formed host table (shape, fields, classes,
// equal heights), recursively for nested tables.
bool ovIsTable(const ovArray* array) noexcept;
// The height of one variable: a nested table's number of rows, otherwise the
// first dimension.
std::size_t ovColumnHeight(const ovArray* column) noexcept;

// Accessors of a table. ArrayClassMismatch ("struct") or ArrayFieldNotFound
// ("Columns", "Names") for arrays not shaped like a table;
// ArrayIndexOutOfRange for a bad variable index.
std::size_t ovTableNumVariables(const ovArray* table);
// Rows: the height of the first variable, 0 without variables.
std::size_t ovTableNumRows(const ovArray* table);
const ovArray* ovTableColumn(const ovArray* table, std::size_t variable);
orvane::ustring ovTableName(const ovArray* table, std::size_t variable);

// Missing records of a host table: one byte per row, 1 = missing. A nested
// table made from an Arrow struct column marks its null records here (a
// missing record is not the same as a record whose variables are all
// missing); its variables hold missing values in those rows as well, so
// code that ignores the marks still sees nothing in them. The marks are
// allocated on demand; a table without them has no missing record. A table
// whose marks do not match its number of rows is not well-formed.
//
// The table's marks, or nullptr when none are allocated.
const std::uint8_t* ovTableMissingRows(const ovArray* table);
// Allocates all-clear marks (ovTableNumRows bytes) when there are none and
// returns them.
std::uint8_t* ovTableAllocMissingRows(ovArray* table);
// Whether row `row` is a missing record (false without marks).
bool ovTableIsRowMissing(const ovArray* table, std::size_t row);
// Frees the marks (every record becomes present).
void ovTableRemoveMissingRows(ovArray* table);

// ---------------------------------------------------------------------------
// Origins
// ---------------------------------------------------------------------------
// A converter may record on an array what it was made from (for example the
// Arrow type of a list column a cell array was read from), so that it can
// convert the array back to the same thing. The host keeps the record without
// looking into it: ovDuplicateArray shares it, ovArraysEqual ignores it, and
// an array built by hand has none.

class ovOrigin {
 public:
  virtual ~ovOrigin();
};

void ovSetOrigin(ovArray* array, std::shared_ptr<const ovOrigin> origin);
// The record, or nullptr when the array has none.
const std::shared_ptr<const ovOrigin>& ovGetOrigin(const ovArray* array);

// ---------------------------------------------------------------------------
// Template definitions
// ---------------------------------------------------------------------------

namespace ovdetail {
// Wraps storage that an owner object keeps alive.
unique_ovarray_ptr adoptBuffer(const ovDims& dims, ovClassID classID, void* data,
                               std::size_t count, std::shared_ptr<void> owner);
}  // namespace ovdetail

template <typename T>
unique_ovarray_ptr ovCreateNumericArrayFromVector(const ovDims& dims, std::vector<T> data) {
  static_assert(!std::is_same_v<T, bool>, "std::vector<bool> has no element storage");
  auto owner = std::make_shared<std::vector<T>>(std::move(data));
  return ovdetail::adoptBuffer(dims, ovClassOf<T>, owner->data(), owner->size(), owner);
}
