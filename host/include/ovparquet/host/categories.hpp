// Categorical arrays beyond their accessors: the text of one element, and the
// categories of several arrays joined into one list.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

// The category of element i (its missing mark aside); nullopt when its code
// is outside the categories, an undefined element.
std::optional<std::u16string_view> ovCategoryText(const ovArray* categorical, std::size_t i);

// The categories of several categorical arrays, in order of first appearance
// (the first array's own order first), and for each array the map from its
// codes to codes into the joined list. The texts are views into the arrays'
// categories: the arrays must outlive the union.
class ovCategoryUnion {
 public:
  // Adds the categories of `categorical`. The result maps each of its codes
  // to the joined list; it is empty when the codes stand as they are (the
  // first array, and any whose categories equal the first's). Valid until
  // the next add.
  const std::vector<std::int32_t>& add(const ovArray* categorical);

  const std::vector<std::u16string_view>& categories() const { return mCategories; }

 private:
  const ovArray* mFirst = nullptr;
  std::vector<std::u16string_view> mCategories;
  // Filled on the first array whose categories differ from the first's.
  std::unordered_map<std::u16string_view, std::int32_t> mPositions;
  std::vector<std::int32_t> mRecode;
};
