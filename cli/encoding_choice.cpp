#include "encoding_choice.hpp"

#include <ovparquet/host/class_visit.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>
#include <unordered_set>

namespace ovparquet::cli {
namespace {

// Rows looked at: enough to tell repeating values from distinct ones, few
// enough to cost next to nothing against writing the rows.
constexpr std::size_t kSampleRows = 1 << 15;

enum class Choice { Dictionary, Plain };

// Plain when more than half of the present values sampled are distinct.
template <typename Key>
Choice byDistinct(std::size_t rows, const std::uint8_t* missing, const std::function<Key(std::size_t)>& key) {
  const std::size_t sample = std::min(rows, kSampleRows);
  std::unordered_set<Key> seen;
  seen.reserve(sample);
  std::size_t present = 0;
  for (std::size_t i = 0; i < sample; ++i) {
    if (missing != nullptr && missing[i] != 0) continue;
    ++present;
    seen.insert(key(i));
  }
  return present > 0 && 2 * seen.size() > present ? Choice::Plain : Choice::Dictionary;
}

Choice choose(const ovArray* column) {
  if (ovIsTable(column)) {
    // A record: plain only when every field is.
    const std::size_t fields = ovTableNumVariables(column);
    for (std::size_t f = 0; f < fields; ++f) {
      if (choose(ovTableColumn(column, f)) == Choice::Dictionary) return Choice::Dictionary;
    }
    return fields > 0 ? Choice::Plain : Choice::Dictionary;
  }
  if (ovIsCell(column) || ovIsStruct(column) || ovIsComplex(column)) return Choice::Dictionary;
  const std::size_t rows = ovGetNumberOfElements(column);
  const std::uint8_t* missing = ovGetMissingMask(column);
  return ovVisitClass(ovGetClassID(column), [&](auto tag) {
    using Tag = decltype(tag);
    if constexpr (Tag::isNumeric || Tag::id == ovClassID::Datetime || Tag::id == ovClassID::Duration) {
      // The value's bytes stand for it.
      const auto* bytes = static_cast<const std::uint8_t*>(ovGetData(column));
      const std::size_t size = std::min<std::size_t>(ovGetElementSize(column), sizeof(std::uint64_t));
      return byDistinct<std::uint64_t>(rows, missing, [&](std::size_t i) {
        std::uint64_t value = 0;
        std::memcpy(&value, bytes + i * size, size);
        return value;
      });
    } else if constexpr (Tag::id == ovClassID::String) {
      return byDistinct<std::u16string_view>(rows, missing, [&](std::size_t i) { return ovGetStringView(column, i); });
    } else {
      return Choice::Dictionary;
    }
  });
}

}  // namespace

std::vector<std::string> chooseEncodings(const ovArray* table) {
  std::vector<std::string> encodings;
  for (std::size_t v = 0; v < ovTableNumVariables(table); ++v) {
    encodings.push_back(choose(ovTableColumn(table, v)) == Choice::Plain ? "plain" : "dictionary");
  }
  return encodings;
}

}  // namespace ovparquet::cli
