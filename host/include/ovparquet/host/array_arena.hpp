// Array arenas: cheap headers for converters that make one small array per
// row (the cells of a list column).
#pragma once

#include <cstddef>

class ovArray;
namespace ovdetail {
struct ArenaSlab;
}

// While an arena is alive, the arrays created on its thread take their
// headers from large shared slabs instead of one allocation each. The arrays
// are ordinary in every other way: they outlive the arena, move between
// containers and threads, and are freed as usual; a slab is freed with the
// last of its arrays. Arenas nest (the innermost is used) and belong to the
// thread that made them.
class ovArrayArena {
 public:
  ovArrayArena() noexcept;
  ~ovArrayArena();
  ovArrayArena(const ovArrayArena&) = delete;
  ovArrayArena& operator=(const ovArrayArena&) = delete;

 private:
  friend class ovArray;

  // A header of `size` bytes from the current slab (a new one when it is
  // full).
  void* take(std::size_t size);

  ovdetail::ArenaSlab* mSlab = nullptr;
  std::size_t mUsed = 0;
  ovArrayArena* mOuter = nullptr;
};
