// The representation of host arrays, shared by the array_*.cpp files only.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ovdetail {

// Blocks of host array data (array_memory.cpp): 64-byte aligned, at least
// one byte; from oneTBB's scalable allocator, or the block cache for the
// largest. `freeBlock` takes the size the block was allocated with.
void* allocateBlock(std::size_t bytes);
void freeBlock(void* block, std::size_t bytes) noexcept;

// A flat data buffer: the memory and whatever keeps it alive (a block of the
// host's, an adopted std::vector, or memory shared with another library). A
// read-only buffer is copied before its first write.
struct Buffer {
  void* data = nullptr;
  std::shared_ptr<void> owner;
  bool readOnly = false;

  // At least one cache line even for zero bytes; zero-filled on request,
  // untouched otherwise.
  static Buffer allocate(std::size_t bytes, bool zero);
};

// Missing masks come from the scalable allocator.
struct ScalableFree {
  void operator()(std::uint8_t* p) const noexcept;
};
using MaskPtr = std::unique_ptr<std::uint8_t[], ScalableFree>;
// `count` bytes (at least one), zero-filled on request.
MaskPtr allocateMask(std::size_t count, bool zero);

// The allocator of the text and offsets of string arrays: host blocks, and
// the elements a resize adds are left unwritten, because converters write
// every one of them and zero-filling first would write the memory twice.
template <typename T>
struct UninitBlockAllocator {
  using value_type = T;
  using propagate_on_container_move_assignment = std::true_type;
  using is_always_equal = std::true_type;

  UninitBlockAllocator() = default;
  template <typename U>
  UninitBlockAllocator(const UninitBlockAllocator<U>&) noexcept {}

  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_alloc();
    return static_cast<T*>(allocateBlock(n * sizeof(T)));
  }
  void deallocate(T* p, std::size_t n) noexcept { freeBlock(p, n * sizeof(T)); }

  template <typename U>
  void construct(U* p) noexcept {
    ::new (static_cast<void*>(p)) U;
  }
  template <typename U, typename... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }

  friend bool operator==(const UninitBlockAllocator&, const UninitBlockAllocator&) noexcept {
    return true;
  }
};

using Text = std::vector<char16_t, UninitBlockAllocator<char16_t>>;
using Offsets = std::vector<std::int64_t, UninitBlockAllocator<std::int64_t>>;

inline std::u16string_view viewOf(const Text& text) noexcept { return {text.data(), text.size()}; }

// The members only some classes use. They live apart, allocated on first
// use, so that the many small numeric arrays of list rows stay small.
struct Extra {
  // Complex numeric arrays.
  Buffer imag;

  // String: all text, and numel+1 offsets into it.
  Text text;
  Offsets offsets;

  // Cell: numel slots. Struct: numel * fieldNames.size() slots, element-major
  // (all fields of element 0, then of element 1, ...).
  std::vector<unique_ovarray_ptr> slots;
  std::vector<std::string> fieldNames;

  // Datetime and duration.
  ovTimeUnit unit = ovTimeUnit::Second;
  std::optional<std::string> zone;

  // Categorical.
  unique_ovarray_ptr categories;
  bool ordered = false;

  // Host tables: missing records, one byte per row; empty when none.
  std::vector<std::uint8_t> rowMask;

  // What a converter made the array from (cells and tables); opaque here.
  std::shared_ptr<const ovOrigin> origin;

  // What an array without its own Extra reads.
  static const Extra& none();
};

}  // namespace ovdetail

// One struct for every class; each class uses only its own members.
class ovArray {
 public:
  // Headers come from oneTBB's scalable allocator, or from the slabs of the
  // thread's ovArrayArena (array_arena.cpp): a nested column makes one small
  // array per row, on several threads, and frees them all together.
  static void* operator new(std::size_t size);
  static void operator delete(void* p) noexcept;

  ovClassID classID = ovClassID::Double;
  bool complex = false;
  ovDims dims;  // set by makeArray, always normalised
  std::size_t numel = 0;

  // Numeric, logical, char, datetime, duration (int64 ticks), categorical
  // (int32 codes); the real parts of complex arrays.
  ovdetail::Buffer real;

  // One byte per element, 1 = missing; null when there is no mask.
  ovdetail::MaskPtr mask;

  std::unique_ptr<ovdetail::Extra> extra;

  // The class-specific members, created on first mutable use.
  ovdetail::Extra& more() {
    if (!extra) extra = std::make_unique<ovdetail::Extra>();
    return *extra;
  }
  const ovdetail::Extra& more() const { return extra ? *extra : ovdetail::Extra::none(); }
};

namespace ovdetail {

std::size_t checkedNumel(const ovDims& dims);
ovDims normaliseDims(std::size_t ndims, const std::size_t* dims);
ovDims normaliseDims(ovDims&& dims);
unique_ovarray_ptr makeArray(ovClassID classID, ovDims dims);
void allocateData(ovArray& array, bool complex, bool zero);

void requireArray(const ovArray* array);
[[noreturn]] void throwClassMismatch(const char* expected, const ovArray* array);
void requireClass(const ovArray* array, ovClassID classID);
void requireIndex(std::size_t index, std::size_t count);

bool hasFlatData(ovClassID classID) noexcept;
bool isFloatClass(ovClassID classID) noexcept;
bool isNumericClass(ovClassID classID) noexcept;

// Copies shared read-only data into the array's own storage.
void makeWritable(ovArray& array);
// Frees the elements of a cell or struct, in parallel when there are many.
void releaseSlots(std::vector<unique_ovarray_ptr>& slots) noexcept;
// Puts the conventional value under a missing element (the mask is not
// touched).
void writeMissingValue(ovArray& array, std::size_t index);
// Replaces the text of one string element, shifting the offsets after it.
void setStringElement(ovArray& array, std::size_t index, std::u16string_view text);

}  // namespace ovdetail
