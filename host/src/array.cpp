// Host arrays: storage, creation, class tests, dimensions, data access and
// missing masks. Containers and tables are in array_containers.cpp, equality
// in array_compare.cpp.
#include "array_impl.hpp"
#include "scalable_memory.hpp"

#include <ovparquet/host/class_visit.hpp>
#include <ovparquet/host/error.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <type_traits>

namespace ovdetail {

namespace {

constexpr std::size_t kAlignment = 64;

// Frees a host block; the size says where it came from.
struct BlockFree {
  std::size_t bytes;
  void operator()(void* p) const noexcept { freeBlock(p, bytes); }
};

}  // namespace

void ScalableFree::operator()(std::uint8_t* p) const noexcept { scalableFree(p); }

MaskPtr allocateMask(std::size_t count, bool zero) {
  auto* p = static_cast<std::uint8_t*>(scalableAllocate(count, alignof(std::max_align_t)));
  if (zero) std::memset(p, 0, count);
  return MaskPtr(p);
}

const Extra& Extra::none() {
  static const Extra empty;
  return empty;
}

Buffer Buffer::allocate(std::size_t bytes, bool zero) {
  // Round up to whole cache lines, and never allocate nothing, so the data
  // pointer of an empty array is still valid for memcpy and friends.
  std::size_t size = bytes == 0 ? kAlignment : bytes;
  if (size > std::numeric_limits<std::size_t>::max() - kAlignment) throw std::bad_alloc();
  size = (size + kAlignment - 1) / kAlignment * kAlignment;
  void* p = allocateBlock(size);
  Buffer buffer;
  // The shared count beside the block comes from the scalable allocator
  // too: list rows make millions of small buffers. (Should it throw, the
  // block is freed by its deleter.)
  buffer.owner = std::shared_ptr<void>(p, BlockFree{size}, ScalableAllocator<char>());
  buffer.data = p;
  if (zero) std::memset(p, 0, size);
  return buffer;
}

std::size_t checkedNumel(const ovDims& dims) {
  std::size_t n = 1;
  for (std::size_t d : dims) {
    if (d != 0 && n > std::numeric_limits<std::size_t>::max() / d) {
      throw std::invalid_argument("ovArray: the element count overflows");
    }
    n *= d;
  }
  return n;
}

ovDims normaliseDims(std::size_t ndims, const std::size_t* dims) {
  if (ndims > 0 && dims == nullptr) throw std::invalid_argument("ovArray: null dimensions");
  return normaliseDims(ovDims(dims, dims + ndims));
}

namespace {

// `to` becomes a copy of `from`. Copying or moving a small_vector calls
// memmove even for two elements, which costs more than the stores
// themselves; nested columns make one array per row.
void assignDims(ovDims& to, ovDims&& from) {
  if (from.size() > to.static_capacity) {
    to = std::move(from);
    return;
  }
  to.clear();
  for (std::size_t d : from) to.push_back(d);
}

}  // namespace

ovDims normaliseDims(ovDims&& dims) {
  ovDims out;
  assignDims(out, std::move(dims));
  if (out.empty()) {
    out = {0, 0};
  } else if (out.size() == 1) {
    out.push_back(1);
  }
  while (out.size() > 2 && out.back() == 1) out.pop_back();
  return out;
}

unique_ovarray_ptr makeArray(ovClassID classID, ovDims dims) {
  unique_ovarray_ptr array(new ovArray);
  array->classID = classID;
  array->numel = checkedNumel(dims);
  assignDims(array->dims, std::move(dims));
  return array;
}

void allocateData(ovArray& array, bool complex, bool zero) {
  const std::size_t size = ovClassElementSize(array.classID);
  if (array.numel == 0) {
    // Empty arrays (many list rows are) share one block instead of each
    // allocating a cache line; being read-only, it is never written.
    alignas(kAlignment) static const std::byte kEmpty[kAlignment]{};
    Buffer empty;
    empty.data = const_cast<std::byte*>(kEmpty);
    empty.readOnly = true;
    array.real = empty;
    if (complex) array.more().imag = empty;
    array.complex = complex;
    return;
  }
  if (array.numel > std::numeric_limits<std::size_t>::max() / size) throw std::bad_alloc();
  array.real = Buffer::allocate(array.numel * size, zero);
  if (complex) array.more().imag = Buffer::allocate(array.numel * size, zero);
  array.complex = complex;
}

void requireArray(const ovArray* array) {
  if (array == nullptr) throw std::invalid_argument("ovArray: null array");
}

[[noreturn]] void throwClassMismatch(const char* expected, const ovArray* array) {
  orvane::throwHostError("ArrayClassMismatch", std::string(expected),
                         std::string(ovClassName(array->classID)));
}

void requireClass(const ovArray* array, ovClassID classID) {
  requireArray(array);
  if (array->classID != classID) throwClassMismatch(ovClassName(classID), array);
}

void requireIndex(std::size_t index, std::size_t count) {
  if (index >= count) {
    orvane::throwHostError("ArrayIndexOutOfRange", static_cast<std::uint64_t>(index),
                           static_cast<std::uint64_t>(count));
  }
}

bool hasFlatData(ovClassID classID) noexcept { return ovClassElementSize(classID) != 0; }

bool isFloatClass(ovClassID classID) noexcept {
  return classID == ovClassID::Double || classID == ovClassID::Single;
}

bool isNumericClass(ovClassID classID) noexcept {
  return static_cast<int>(classID) <= static_cast<int>(ovClassID::UInt64);
}

void makeWritable(ovArray& array) {
  // An empty array has nothing to write, so its shared block stays: list
  // rows ask for writable data even when they are empty.
  if (array.numel == 0) return;
  auto copy = [&](Buffer& buffer) {
    if (!buffer.readOnly) return;
    const std::size_t bytes = array.numel * ovClassElementSize(array.classID);
    Buffer own = Buffer::allocate(bytes, false);
    if (bytes != 0) std::memcpy(own.data, buffer.data, bytes);
    buffer = std::move(own);
  };
  copy(array.real);
  if (array.extra) copy(array.extra->imag);
}

void writeMissingValue(ovArray& array, std::size_t index) {
  ovVisitClass(array.classID, [&](auto tag) {
    using Tag = decltype(tag);
    if constexpr (Tag::isFloat) {
      using T = typename Tag::Element;
      static_cast<T*>(array.real.data)[index] = std::numeric_limits<T>::quiet_NaN();
      if (array.complex) static_cast<T*>(array.more().imag.data)[index] = std::numeric_limits<T>::quiet_NaN();
    } else if constexpr (Tag::id == ovClassID::Categorical) {
      static_cast<std::int32_t*>(array.real.data)[index] = -1;
    } else if constexpr (Tag::id == ovClassID::String) {
      setStringElement(array, index, {});
    } else if constexpr (Tag::id != ovClassID::Cell && Tag::id != ovClassID::Struct) {
      const std::size_t size = ovClassElementSize(array.classID);
      std::memset(static_cast<std::byte*>(array.real.data) + index * size, 0, size);
      if (array.complex) std::memset(static_cast<std::byte*>(array.more().imag.data) + index * size, 0, size);
    }
  });
}

void setStringElement(ovArray& array, std::size_t index, std::u16string_view text) {
  const auto begin = static_cast<std::size_t>(array.more().offsets[index]);
  const auto end = static_cast<std::size_t>(array.more().offsets[index + 1]);
  Text& all = array.more().text;
  const std::size_t old = end - begin;
  if (text.size() > old) {
    all.insert(all.begin() + static_cast<std::ptrdiff_t>(end), text.size() - old, u'\0');
  } else {
    all.erase(all.begin() + static_cast<std::ptrdiff_t>(begin + text.size()),
              all.begin() + static_cast<std::ptrdiff_t>(end));
  }
  std::copy(text.begin(), text.end(), all.begin() + static_cast<std::ptrdiff_t>(begin));
  const auto delta = static_cast<std::int64_t>(text.size()) - static_cast<std::int64_t>(end - begin);
  if (delta != 0) {
    for (std::size_t i = index + 1; i <= array.numel; ++i) array.more().offsets[i] += delta;
  }
}

unique_ovarray_ptr adoptBuffer(const ovDims& dims, ovClassID classID, void* data,
                               std::size_t count, std::shared_ptr<void> owner) {
  if (!hasFlatData(classID)) {
    throw std::invalid_argument("ovArray: cannot adopt a buffer for this class");
  }
  auto array = makeArray(classID, normaliseDims(dims.size(), dims.data()));
  if (count != array->numel) {
    throw std::invalid_argument("ovArray: the buffer length differs from the element count");
  }
  if (array->numel == 0) {
    // An empty vector may have no storage at all; keep the non-null promise.
    allocateData(*array, false, true);
  } else {
    array->real.data = data;
    array->real.owner = std::move(owner);
  }
  return array;
}

}  // namespace ovdetail

using namespace ovdetail;

// ---------------------------------------------------------------------------
// Names and sizes
// ---------------------------------------------------------------------------

namespace {

constexpr const char* kClassNames[] = {
    "double", "single", "int8",   "uint8",  "int16", "uint16",   "int32",    "uint32",   "int64",
    "uint64", "logical", "char",  "string", "cell",  "struct",   "datetime", "duration", "categorical",
};

}  // namespace

const char* ovClassName(ovClassID classID) noexcept {
  const auto i = static_cast<std::size_t>(classID);
  return i < std::size(kClassNames) ? kClassNames[i] : "unknown";
}

std::optional<ovClassID> ovClassFromName(std::string_view name) noexcept {
  for (std::size_t i = 0; i < std::size(kClassNames); ++i) {
    if (name == kClassNames[i]) return static_cast<ovClassID>(i);
  }
  return std::nullopt;
}

const char* ovTimeUnitName(ovTimeUnit unit) noexcept {
  switch (unit) {
    case ovTimeUnit::Second: return "s";
    case ovTimeUnit::Milli: return "ms";
    case ovTimeUnit::Micro: return "us";
    case ovTimeUnit::Nano: return "ns";
    case ovTimeUnit::Day: return "day";
  }
  return "unknown";
}

std::size_t ovClassElementSize(ovClassID classID) noexcept {
  return ovVisitClass(classID, [](auto tag) -> std::size_t {
    using Tag = decltype(tag);
    if constexpr (!std::is_void_v<typename Tag::Element>) return sizeof(typename Tag::Element);
    else if constexpr (Tag::id == ovClassID::Datetime || Tag::id == ovClassID::Duration) return sizeof(std::int64_t);
    else if constexpr (Tag::id == ovClassID::Categorical) return sizeof(std::int32_t);
    else return 0;
  });
}

// ---------------------------------------------------------------------------
// Every array
// ---------------------------------------------------------------------------

void ovArrayDeleter::operator()(ovArray* array) const noexcept {
  if (array == nullptr) return;
  if (array->extra) releaseSlots(array->extra->slots);
  delete array;
}

void ovDestroyArray(ovArray* array) noexcept { ovArrayDeleter()(array); }

unique_ovarray_ptr ovDuplicateArray(const ovArray* array) {
  requireArray(array);
  auto copy = makeArray(array->classID, array->dims);
  if (hasFlatData(array->classID)) {
    allocateData(*copy, array->complex, false);
    const std::size_t bytes = array->numel * ovClassElementSize(array->classID);
    if (bytes != 0) {
      std::memcpy(copy->real.data, array->real.data, bytes);
      if (array->complex) std::memcpy(copy->more().imag.data, array->more().imag.data, bytes);
    }
  }
  if (array->mask) {
    copy->mask = allocateMask(array->numel, false);
    std::copy_n(array->mask.get(), array->numel, copy->mask.get());
  }
  if (array->extra) {
    Extra& to = copy->more();
    const Extra& from = *array->extra;
    to.text = from.text;
    to.offsets = from.offsets;
    to.slots.reserve(from.slots.size());
    for (const auto& slot : from.slots) {
      to.slots.push_back(slot ? ovDuplicateArray(slot.get()) : nullptr);
    }
    to.fieldNames = from.fieldNames;
    to.unit = from.unit;
    to.zone = from.zone;
    if (from.categories) to.categories = ovDuplicateArray(from.categories.get());
    to.ordered = from.ordered;
    to.rowMask = from.rowMask;
    to.origin = from.origin;
  }
  return copy;
}

ovClassID ovGetClassID(const ovArray* array) noexcept { return array->classID; }
const char* ovGetClassName(const ovArray* array) noexcept { return ovClassName(array->classID); }

std::size_t ovGetNumberOfDimensions(const ovArray* array) noexcept { return array->dims.size(); }
const ovDims& ovGetDimensions(const ovArray* array) noexcept { return array->dims; }
std::size_t ovGetNumberOfElements(const ovArray* array) noexcept { return array->numel; }
std::size_t ovGetM(const ovArray* array) noexcept { return array->dims[0]; }
std::size_t ovGetN(const ovArray* array) noexcept {
  std::size_t n = 1;
  for (std::size_t i = 1; i < array->dims.size(); ++i) n *= array->dims[i];
  return n;
}
bool ovIsEmpty(const ovArray* array) noexcept { return array->numel == 0; }
bool ovIsScalar(const ovArray* array) noexcept { return array->numel == 1; }

void ovSetDimensions(ovArray* array, const ovDims& dims) {
  requireArray(array);
  ovDims normal = normaliseDims(dims.size(), dims.data());
  if (checkedNumel(normal) != array->numel) {
    throw std::invalid_argument("ovSetDimensions: the element count would change");
  }
  array->dims = std::move(normal);
}

std::size_t ovCalcSingleSubscript(const ovArray* array, const ovDims& subscript) {
  requireArray(array);
  std::size_t index = 0;
  std::size_t stride = 1;
  for (std::size_t k = 0; k < subscript.size(); ++k) {
    const std::size_t extent = k < array->dims.size() ? array->dims[k] : 1;
    requireIndex(subscript[k], extent);
    index += subscript[k] * stride;
    stride *= extent;
  }
  return index;
}

bool ovIsNumeric(const ovArray* array) noexcept { return isNumericClass(array->classID); }
bool ovIsFloat(const ovArray* array) noexcept { return isFloatClass(array->classID); }
bool ovIsInteger(const ovArray* array) noexcept {
  return isNumericClass(array->classID) && !isFloatClass(array->classID);
}
bool ovIsDouble(const ovArray* array) noexcept { return array->classID == ovClassID::Double; }
bool ovIsSingle(const ovArray* array) noexcept { return array->classID == ovClassID::Single; }
bool ovIsLogical(const ovArray* array) noexcept { return array->classID == ovClassID::Logical; }
bool ovIsChar(const ovArray* array) noexcept { return array->classID == ovClassID::Char; }
bool ovIsString(const ovArray* array) noexcept { return array->classID == ovClassID::String; }
bool ovIsCell(const ovArray* array) noexcept { return array->classID == ovClassID::Cell; }
bool ovIsStruct(const ovArray* array) noexcept { return array->classID == ovClassID::Struct; }
bool ovIsDatetime(const ovArray* array) noexcept { return array->classID == ovClassID::Datetime; }
bool ovIsDuration(const ovArray* array) noexcept { return array->classID == ovClassID::Duration; }
bool ovIsCategorical(const ovArray* array) noexcept {
  return array->classID == ovClassID::Categorical;
}
bool ovIsComplex(const ovArray* array) noexcept { return array->complex; }
bool ovIsContainer(const ovArray* array) noexcept {
  return array->classID == ovClassID::Cell || array->classID == ovClassID::Struct;
}

// ---------------------------------------------------------------------------
// Numeric, logical and char arrays
// ---------------------------------------------------------------------------

namespace {

unique_ovarray_ptr createFlat(ovDims dims, ovClassID classID, ovComplexity complexity,
                              bool zero) {
  const bool plain = isNumericClass(classID) || classID == ovClassID::Logical ||
                     classID == ovClassID::Char;
  if (!plain) {
    throw std::invalid_argument(std::string("ovCreateNumericArray: not a numeric, logical or char class: ") +
                                ovClassName(classID));
  }
  const bool complex = complexity == ovComplexity::Complex;
  if (complex && !isNumericClass(classID)) {
    throw std::invalid_argument(std::string("ovCreateNumericArray: a ") + ovClassName(classID) +
                                " array cannot be complex");
  }
  auto array = makeArray(classID, std::move(dims));
  allocateData(*array, complex, zero);
  return array;
}

}  // namespace

unique_ovarray_ptr ovCreateUninitNumericArray(std::size_t ndims, const std::size_t* dims,
                                              ovClassID classID, ovComplexity complexity) {
  return createFlat(normaliseDims(ndims, dims), classID, complexity, false);
}

unique_ovarray_ptr ovCreateUninitNumericArray(ovDims dims, ovClassID classID,
                                              ovComplexity complexity) {
  return createFlat(normaliseDims(std::move(dims)), classID, complexity, false);
}

unique_ovarray_ptr ovCreateNumericArray(std::size_t ndims, const std::size_t* dims,
                                        ovClassID classID, ovComplexity complexity) {
  return createFlat(normaliseDims(ndims, dims), classID, complexity, true);
}

unique_ovarray_ptr ovCreateNumericArray(const ovDims& dims, ovClassID classID,
                                        ovComplexity complexity) {
  return createFlat(normaliseDims(dims.size(), dims.data()), classID, complexity, true);
}

unique_ovarray_ptr ovCreateNumericMatrix(std::size_t m, std::size_t n, ovClassID classID,
                                         ovComplexity complexity) {
  return createFlat({m, n}, classID, complexity, true);
}

unique_ovarray_ptr ovCreateDoubleScalar(double value) {
  auto array = createFlat({1, 1}, ovClassID::Double, ovComplexity::Real, false);
  *static_cast<double*>(array->real.data) = value;
  return array;
}

unique_ovarray_ptr ovCreateLogicalScalar(bool value) {
  auto array = createFlat({1, 1}, ovClassID::Logical, ovComplexity::Real, false);
  *static_cast<bool*>(array->real.data) = value;
  return array;
}

unique_ovarray_ptr ovCreateLogicalMatrix(std::size_t m, std::size_t n) {
  return createFlat({m, n}, ovClassID::Logical, ovComplexity::Real, true);
}

unique_ovarray_ptr ovCreateLogicalArray(const ovDims& dims) {
  return createFlat(normaliseDims(dims.size(), dims.data()), ovClassID::Logical,
                    ovComplexity::Real, true);
}

unique_ovarray_ptr ovCreateCharArray(orvane::ustring_view text) {
  auto array = createFlat({1, text.size()}, ovClassID::Char, ovComplexity::Real, false);
  if (!text.empty()) std::memcpy(array->real.data, text.data(), text.size() * sizeof(char16_t));
  return array;
}

unique_ovarray_ptr ovCreateNumericArrayShared(ovDims dims, ovClassID classID,
                                              const void* data,
                                              std::shared_ptr<const void> owner) {
  if (!isNumericClass(classID) && classID != ovClassID::Logical && classID != ovClassID::Char) {
    throw std::invalid_argument("ovCreateNumericArrayShared: not a numeric, logical or char class");
  }
  auto array = makeArray(classID, normaliseDims(std::move(dims)));
  if (array->numel == 0) {
    allocateData(*array, false, true);
    return array;
  }
  if (data == nullptr) throw std::invalid_argument("ovCreateNumericArrayShared: null data");
  // The memory is only ever read through this pointer; makeWritable copies it
  // before any write.
  array->real.data = const_cast<void*>(data);
  array->real.owner = std::const_pointer_cast<void>(std::move(owner));
  array->real.readOnly = true;
  return array;
}

const void* ovGetData(const ovArray* array) {
  requireArray(array);
  if (!hasFlatData(array->classID)) throwClassMismatch("numeric", array);
  return array->real.data;
}

void* ovGetDataMutable(ovArray* array) {
  requireArray(array);
  if (!hasFlatData(array->classID)) throwClassMismatch("numeric", array);
  makeWritable(*array);
  return array->real.data;
}

const void* ovGetImagData(const ovArray* array) {
  requireArray(array);
  if (!hasFlatData(array->classID)) throwClassMismatch("numeric", array);
  return array->complex ? array->more().imag.data : nullptr;
}

void* ovGetImagDataMutable(ovArray* array) {
  requireArray(array);
  if (!hasFlatData(array->classID)) throwClassMismatch("numeric", array);
  if (!array->complex) return nullptr;
  makeWritable(*array);
  return array->more().imag.data;
}

std::size_t ovGetElementSize(const ovArray* array) noexcept {
  return ovClassElementSize(array->classID);
}

const void* ovGetDataOfClass(const ovArray* array, ovClassID classID) {
  requireClass(array, classID);
  return array->real.data;
}

void* ovGetDataOfClassMutable(ovArray* array, ovClassID classID) {
  requireClass(array, classID);
  makeWritable(*array);
  return array->real.data;
}

double ovGetScalar(const ovArray* array, std::size_t index) {
  requireArray(array);
  const void* data = array->real.data;
  return ovVisitClass(array->classID, [&](auto tag) -> double {
    using T = typename decltype(tag)::Element;
    if constexpr (std::is_void_v<T>) {
      throwClassMismatch("numeric", array);
    } else {
      requireIndex(index, array->numel);
      return static_cast<double>(static_cast<const T*>(data)[index]);
    }
  });
}

// ---------------------------------------------------------------------------
// Missing values
// ---------------------------------------------------------------------------

bool ovHasMissingMask(const ovArray* array) noexcept { return array->mask != nullptr; }

std::size_t ovCountMissing(const ovArray* array) noexcept {
  if (!array->mask) return 0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < array->numel; ++i) count += array->mask[i] != 0;
  return count;
}

bool ovHasMissing(const ovArray* array) noexcept {
  if (!array->mask) return false;
  const std::uint8_t* mask = array->mask.get();
  return std::any_of(mask, mask + array->numel, [](std::uint8_t m) { return m != 0; });
}

const std::uint8_t* ovGetMissingMask(const ovArray* array) noexcept { return array->mask.get(); }

std::uint8_t* ovAllocMissingMask(ovArray* array) {
  requireArray(array);
  if (ovIsContainer(array)) throwClassMismatch("non-container", array);
  if (!array->mask) array->mask = allocateMask(array->numel, true);
  return array->mask.get();
}

void ovSetMissing(ovArray* array, std::size_t index) {
  requireArray(array);
  if (ovIsContainer(array)) throwClassMismatch("non-container", array);
  requireIndex(index, array->numel);
  makeWritable(*array);
  writeMissingValue(*array, index);
  ovAllocMissingMask(array)[index] = 1;
}

bool ovIsMissing(const ovArray* array, std::size_t index) {
  requireArray(array);
  requireIndex(index, array->numel);
  return array->mask && array->mask[index] != 0;
}

void ovRemoveMissingMask(ovArray* array) noexcept { array->mask.reset(); }

// ---------------------------------------------------------------------------
// Datetime and duration arrays
// ---------------------------------------------------------------------------

namespace {

void requireDurationUnit(ovTimeUnit unit) {
  if (unit == ovTimeUnit::Day) {
    throw std::invalid_argument("ovCreateDurationArray: durations have no day unit");
  }
}

void requireTimeClass(const ovArray* array) {
  requireArray(array);
  if (array->classID != ovClassID::Datetime && array->classID != ovClassID::Duration) {
    throwClassMismatch("datetime", array);
  }
}

}  // namespace

unique_ovarray_ptr ovCreateDatetimeArray(const ovDims& dims, ovTimeUnit unit,
                                         std::optional<std::string> zone, ovInit init) {
  auto array = makeArray(ovClassID::Datetime, normaliseDims(dims.size(), dims.data()));
  allocateData(*array, false, init == ovInit::Zero);
  array->more().unit = unit;
  array->more().zone = std::move(zone);
  return array;
}

unique_ovarray_ptr ovCreateDurationArray(const ovDims& dims, ovTimeUnit unit, ovInit init) {
  requireDurationUnit(unit);
  auto array = makeArray(ovClassID::Duration, normaliseDims(dims.size(), dims.data()));
  allocateData(*array, false, init == ovInit::Zero);
  array->more().unit = unit;
  return array;
}

unique_ovarray_ptr ovCreateDatetimeArray(const ovDims& dims, ovTimeUnit unit,
                                         std::optional<std::string> zone,
                                         std::vector<std::int64_t> ticks) {
  auto owner = std::make_shared<std::vector<std::int64_t>>(std::move(ticks));
  auto array = adoptBuffer(dims, ovClassID::Datetime, owner->data(), owner->size(), owner);
  array->more().unit = unit;
  array->more().zone = std::move(zone);
  return array;
}

unique_ovarray_ptr ovCreateDurationArray(const ovDims& dims, ovTimeUnit unit,
                                         std::vector<std::int64_t> ticks) {
  requireDurationUnit(unit);
  auto owner = std::make_shared<std::vector<std::int64_t>>(std::move(ticks));
  auto array = adoptBuffer(dims, ovClassID::Duration, owner->data(), owner->size(), owner);
  array->more().unit = unit;
  return array;
}

ovTimeUnit ovGetTimeUnit(const ovArray* array) {
  requireTimeClass(array);
  return array->more().unit;
}

const std::optional<std::string>& ovGetTimeZone(const ovArray* array) {
  requireClass(array, ovClassID::Datetime);
  return array->more().zone;
}

void ovSetTimeZone(ovArray* array, std::optional<std::string> zone) {
  requireClass(array, ovClassID::Datetime);
  array->more().zone = std::move(zone);
}

const std::int64_t* ovGetTicks(const ovArray* array) {
  requireTimeClass(array);
  return static_cast<const std::int64_t*>(array->real.data);
}

std::int64_t* ovGetTicksMutable(ovArray* array) {
  requireTimeClass(array);
  makeWritable(*array);
  return static_cast<std::int64_t*>(array->real.data);
}

// ---------------------------------------------------------------------------
// Categorical arrays
// ---------------------------------------------------------------------------

namespace {

void checkCategories(const unique_ovarray_ptr& categories) {
  if (!categories) throw std::invalid_argument("ovCreateCategoricalArray: null categories");
  requireClass(categories.get(), ovClassID::String);
}

}  // namespace

unique_ovarray_ptr ovCreateCategoricalArray(const ovDims& dims, unique_ovarray_ptr categories,
                                            ovInit init, bool ordered) {
  checkCategories(categories);
  auto array = makeArray(ovClassID::Categorical, normaliseDims(dims.size(), dims.data()));
  allocateData(*array, false, init == ovInit::Zero);
  array->more().categories = std::move(categories);
  array->more().ordered = ordered;
  return array;
}

unique_ovarray_ptr ovCreateCategoricalArray(const ovDims& dims, unique_ovarray_ptr categories,
                                            std::vector<std::int32_t> codes, bool ordered) {
  checkCategories(categories);
  auto owner = std::make_shared<std::vector<std::int32_t>>(std::move(codes));
  auto array = adoptBuffer(dims, ovClassID::Categorical, owner->data(), owner->size(), owner);
  array->more().categories = std::move(categories);
  array->more().ordered = ordered;
  return array;
}

const ovArray* ovGetCategories(const ovArray* array) {
  requireClass(array, ovClassID::Categorical);
  return array->more().categories.get();
}

std::size_t ovGetNumberOfCategories(const ovArray* array) {
  requireClass(array, ovClassID::Categorical);
  return array->more().categories->numel;
}

const std::int32_t* ovGetCategoryCodes(const ovArray* array) {
  requireClass(array, ovClassID::Categorical);
  return static_cast<const std::int32_t*>(array->real.data);
}

std::int32_t* ovGetCategoryCodesMutable(ovArray* array) {
  requireClass(array, ovClassID::Categorical);
  makeWritable(*array);
  return static_cast<std::int32_t*>(array->real.data);
}

bool ovIsOrdinal(const ovArray* array) {
  requireClass(array, ovClassID::Categorical);
  return array->more().ordered;
}

bool ovCategoryCodesValid(const ovArray* array) {
  requireClass(array, ovClassID::Categorical);
  const auto* codes = static_cast<const std::int32_t*>(array->real.data);
  const std::size_t count = array->more().categories->numel;
  for (std::size_t i = 0; i < array->numel; ++i) {
    if (array->mask && array->mask[i]) continue;
    if (codes[i] < 0 || static_cast<std::size_t>(codes[i]) >= count) return false;
  }
  return true;
}
