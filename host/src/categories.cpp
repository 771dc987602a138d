#include <ovparquet/host/categories.hpp>

#include <cstring>

namespace {

// Equal string arrays, compared by their buffers: categories shared between
// the pieces of one column are usually one array or equal copies.
bool sameStrings(const ovArray* a, const ovArray* b) {
  const std::size_t count = ovGetNumberOfElements(a);
  return count == ovGetNumberOfElements(b) && ovGetStringBuffer(a) == ovGetStringBuffer(b) &&
         std::memcmp(ovGetStringOffsets(a), ovGetStringOffsets(b), (count + 1) * sizeof(std::int64_t)) == 0;
}

}  // namespace

std::optional<std::u16string_view> ovCategoryText(const ovArray* categorical, std::size_t i) {
  const std::int32_t code = ovGetCategoryCodes(categorical)[i];
  const ovArray* categories = ovGetCategories(categorical);
  if (code < 0 || static_cast<std::size_t>(code) >= ovGetNumberOfElements(categories)) return std::nullopt;
  return ovGetStringView(categories, static_cast<std::size_t>(code));
}

const std::vector<std::int32_t>& ovCategoryUnion::add(const ovArray* categorical) {
  const ovArray* categories = ovGetCategories(categorical);
  const std::size_t count = ovGetNumberOfElements(categories);
  mRecode.clear();
  if (mFirst == nullptr) {
    mFirst = categories;
    for (std::size_t c = 0; c < count; ++c) mCategories.push_back(ovGetStringView(categories, c));
    return mRecode;
  }
  if (categories == mFirst || sameStrings(categories, mFirst)) return mRecode;
  if (mPositions.empty()) {
    // Backwards, so that a repeated category keeps its first position.
    for (std::size_t c = mCategories.size(); c-- > 0;) mPositions[mCategories[c]] = static_cast<std::int32_t>(c);
  }
  mRecode.resize(count);
  for (std::size_t c = 0; c < count; ++c) {
    const std::u16string_view text = ovGetStringView(categories, c);
    const auto [found, inserted] = mPositions.emplace(text, static_cast<std::int32_t>(mCategories.size()));
    if (inserted) mCategories.push_back(text);
    mRecode[c] = found->second;
  }
  return mRecode;
}
