#include <ovparquet/host/categories.hpp>
#include <ovparquet/host/class_visit.hpp>
#include <ovparquet/host/rows.hpp>

#include <cstring>
#include <numeric>
#include <stdexcept>
#include <string>

namespace {

std::size_t totalRows(const std::vector<ovRowPick>& pieces) {
  std::size_t n = 0;
  for (const auto& p : pieces) n += p.rows.size();
  return n;
}

// Copies the marks of the picked rows from each piece's mask (`maskOf`),
// allocating the output's mask (`allocate`) only when some picked row is
// marked.
template <typename MaskOf, typename Allocate>
void copyMarks(const std::vector<ovRowPick>& pieces, MaskOf maskOf, Allocate allocate) {
  std::size_t i = 0;
  std::uint8_t* mask = nullptr;
  for (const auto& p : pieces) {
    const std::uint8_t* src = maskOf(p.source);
    for (const std::size_t r : p.rows) {
      if (src != nullptr && src[r] != 0) {
        if (mask == nullptr) mask = allocate();
        mask[i] = 1;
      }
      ++i;
    }
  }
}

// The missing elements of flat columns.
void copyMissing(const std::vector<ovRowPick>& pieces, ovArray* out) {
  copyMarks(pieces, ovGetMissingMask, [out] { return ovAllocMissingMask(out); });
}

// The missing records of nested tables.
void copyMissingRows(const std::vector<ovRowPick>& pieces, ovArray* out) {
  copyMarks(pieces, ovTableMissingRows, [out] { return ovTableAllocMissingRows(out); });
}

// Numeric, logical and char columns, and the ticks of datetimes and durations:
// element-size copies from the data buffers.
void copyElements(const std::vector<ovRowPick>& pieces, ovArray* out) {
  const std::size_t size = ovGetElementSize(out);
  auto* dst = static_cast<unsigned char*>(ovGetDataMutable(out));
  unsigned char* dstImag = ovIsComplex(out) ? static_cast<unsigned char*>(ovGetImagDataMutable(out)) : nullptr;
  std::size_t i = 0;
  for (const auto& p : pieces) {
    const auto* src = static_cast<const unsigned char*>(ovGetData(p.source));
    const auto* srcImag = dstImag != nullptr ? static_cast<const unsigned char*>(ovGetImagData(p.source)) : nullptr;
    for (const std::size_t r : p.rows) {
      std::memcpy(dst + i * size, src + r * size, size);
      if (dstImag != nullptr) {
        if (srcImag != nullptr) {
          std::memcpy(dstImag + i * size, srcImag + r * size, size);
        } else {
          std::memset(dstImag + i * size, 0, size);
        }
      }
      ++i;
    }
  }
}

unique_ovarray_ptr gatherStrings(const std::vector<ovRowPick>& pieces, std::size_t n) {
  ovStringArrayBuilder builder({n, 1});
  for (const auto& p : pieces) {
    for (const std::size_t r : p.rows) {
      if (ovIsMissing(p.source, r)) {
        builder.appendMissing();
      } else {
        builder.append(ovGetStringView(p.source, r));
      }
    }
  }
  return builder.finish();
}

unique_ovarray_ptr gatherCategoricals(const std::vector<ovRowPick>& pieces, std::size_t n) {
  ovCategoryUnion categories;
  std::vector<std::int32_t> codes(n, -1);
  std::vector<std::size_t> missing;
  std::size_t i = 0;
  for (const auto& p : pieces) {
    const std::vector<std::int32_t>& recode = categories.add(p.source);
    const std::size_t categoryCount = ovGetNumberOfCategories(p.source);
    const std::int32_t* src = ovGetCategoryCodes(p.source);
    for (const std::size_t r : p.rows) {
      const std::int32_t code = src[r];
      if (ovIsMissing(p.source, r) || code < 0 || static_cast<std::size_t>(code) >= categoryCount) {
        missing.push_back(i);
      } else {
        codes[i] = recode.empty() ? code : recode[static_cast<std::size_t>(code)];
      }
      ++i;
    }
  }
  const bool ordered = !pieces.empty() && ovIsOrdinal(pieces.front().source);
  const std::vector<orvane::ustring> texts(categories.categories().begin(), categories.categories().end());
  auto out = ovCreateCategoricalArray({n, 1}, ovCreateStringColumn(texts), std::move(codes), ordered);
  for (const std::size_t m : missing) ovSetMissing(out.get(), m);
  return out;
}

unique_ovarray_ptr gatherCells(const std::vector<ovRowPick>& pieces, std::size_t n) {
  auto out = ovCreateCellArray({n, 1});
  std::size_t i = 0;
  for (const auto& p : pieces) {
    for (const std::size_t r : p.rows) {
      if (const ovArray* element = ovGetCell(p.source, r); element != nullptr) {
        ovReplaceCell(out.get(), i, ovDuplicateArray(element));
      }
      ++i;
    }
  }
  // The cell keeps what its rows were read from (a list, map or binary type).
  ovSetOrigin(out.get(), ovGetOrigin(pieces.front().source));
  return out;
}

}  // namespace

std::vector<std::size_t> ovRowRange(std::size_t begin, std::size_t end) {
  std::vector<std::size_t> rows(end > begin ? end - begin : 0);
  std::iota(rows.begin(), rows.end(), begin);
  return rows;
}

unique_ovarray_ptr ovGatherColumn(const std::vector<ovRowPick>& pieces) {
  if (pieces.empty()) return ovCreateNumericMatrix(0, 1, ovClassID::Double);
  const ovArray* first = pieces.front().source;
  const std::size_t n = totalRows(pieces);
  if (ovIsTable(first)) {
    std::vector<std::size_t> all(ovTableNumVariables(first));
    std::iota(all.begin(), all.end(), std::size_t{0});
    auto table = ovGatherTable(pieces, all);
    copyMissingRows(pieces, table.get());
    return table;
  }
  return ovVisitClass(ovGetClassID(first), [&](auto tag) -> unique_ovarray_ptr {
    using Tag = decltype(tag);
    if constexpr (Tag::id == ovClassID::String) {
      return gatherStrings(pieces, n);
    } else if constexpr (Tag::id == ovClassID::Categorical) {
      return gatherCategoricals(pieces, n);
    } else if constexpr (Tag::id == ovClassID::Cell) {
      return gatherCells(pieces, n);
    } else if constexpr (Tag::id == ovClassID::Struct) {
      throw std::logic_error("A struct column that is not a table cannot be sliced.");
    } else {
      // Flat classes: element-size copies of the data (the ticks of datetimes
      // and durations), and the missing marks.
      unique_ovarray_ptr out;
      if constexpr (Tag::id == ovClassID::Datetime) {
        out = ovCreateDatetimeArray({n, 1}, ovGetTimeUnit(first), ovGetTimeZone(first), ovInit::Uninit);
      } else if constexpr (Tag::id == ovClassID::Duration) {
        out = ovCreateDurationArray({n, 1}, ovGetTimeUnit(first), ovInit::Uninit);
      } else {
        out = ovCreateUninitNumericArray({n, 1}, Tag::id, ovIsComplex(first) ? ovComplexity::Complex : ovComplexity::Real);
      }
      copyElements(pieces, out.get());
      copyMissing(pieces, out.get());
      return out;
    }
  });
}

unique_ovarray_ptr ovGatherTable(const std::vector<ovRowPick>& pieces, const std::vector<std::size_t>& variables) {
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> names;
  const ovArray* first = pieces.empty() ? nullptr : pieces.front().source;
  for (const std::size_t v : variables) {
    std::vector<ovRowPick> columnPieces;
    columnPieces.reserve(pieces.size());
    for (const auto& p : pieces) columnPieces.push_back({ovTableColumn(p.source, v), p.rows});
    columns.push_back(ovGatherColumn(columnPieces));
    names.push_back(ovTableName(first, v));
  }
  auto table = ovCreateTable(std::move(columns), names);
  // What the table was read from (its file's key-value metadata) stays with it.
  if (first != nullptr) ovSetOrigin(table.get(), ovGetOrigin(first));
  return table;
}

