#include "rows.hpp"

#include "errors.hpp"

#include <cstring>
#include <map>
#include <numeric>
#include <string>

namespace ovparquet::cli {
namespace {

std::size_t totalRows(const std::vector<RowPick>& pieces) {
  std::size_t n = 0;
  for (const auto& p : pieces) n += p.rows.size();
  return n;
}

// Copies the missing marks of the picked rows, allocating the mask only when
// some picked row is missing.
void copyMissing(const std::vector<RowPick>& pieces, ovArray* out) {
  std::size_t i = 0;
  std::uint8_t* mask = nullptr;
  for (const auto& p : pieces) {
    const std::uint8_t* src = ovGetMissingMask(p.source);
    for (const std::size_t r : p.rows) {
      if (src != nullptr && src[r] != 0) {
        if (mask == nullptr) mask = ovAllocMissingMask(out);
        mask[i] = 1;
      }
      ++i;
    }
  }
}

// Numeric, logical and char columns, and the ticks of datetimes and durations:
// element-size copies from the data buffers.
void copyElements(const std::vector<RowPick>& pieces, ovArray* out) {
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

unique_ovarray_ptr gatherStrings(const std::vector<RowPick>& pieces, std::size_t n) {
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

unique_ovarray_ptr gatherCategoricals(const std::vector<RowPick>& pieces, std::size_t n) {
  // The categories of all pieces, in order of first appearance.
  std::vector<orvane::ustring> categories;
  std::map<orvane::ustring, std::int32_t> codeOf;
  std::vector<std::vector<std::int32_t>> remap;
  for (const auto& p : pieces) {
    const ovArray* cats = ovGetCategories(p.source);
    auto& m = remap.emplace_back();
    for (std::size_t c = 0; c < ovGetNumberOfElements(cats); ++c) {
      orvane::ustring text(ovGetStringView(cats, c));
      auto [it, inserted] = codeOf.emplace(text, static_cast<std::int32_t>(categories.size()));
      if (inserted) categories.push_back(std::move(text));
      m.push_back(it->second);
    }
  }
  std::vector<std::int32_t> codes(n, -1);
  std::vector<std::size_t> missing;
  std::size_t i = 0;
  for (std::size_t k = 0; k < pieces.size(); ++k) {
    const auto& p = pieces[k];
    const std::int32_t* src = ovGetCategoryCodes(p.source);
    for (const std::size_t r : p.rows) {
      const std::int32_t code = src[r];
      if (ovIsMissing(p.source, r) || code < 0 || static_cast<std::size_t>(code) >= remap[k].size()) {
        missing.push_back(i);
      } else {
        codes[i] = remap[k][static_cast<std::size_t>(code)];
      }
      ++i;
    }
  }
  const bool ordered = !pieces.empty() && ovIsOrdinal(pieces.front().source);
  auto out = ovCreateCategoricalArray({n, 1}, ovCreateStringColumn(categories), std::move(codes), ordered);
  for (const std::size_t m : missing) ovSetMissing(out.get(), m);
  return out;
}

unique_ovarray_ptr gatherCells(const std::vector<RowPick>& pieces, std::size_t n) {
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

// Copies the missing records of the picked rows of nested tables.
void copyMissingRows(const std::vector<RowPick>& pieces, ovArray* out) {
  std::size_t i = 0;
  std::uint8_t* mask = nullptr;
  for (const auto& p : pieces) {
    const std::uint8_t* src = ovTableMissingRows(p.source);
    for (const std::size_t r : p.rows) {
      if (src != nullptr && src[r] != 0) {
        if (mask == nullptr) mask = ovTableAllocMissingRows(out);
        mask[i] = 1;
      }
      ++i;
    }
  }
}

}  // namespace

std::vector<std::size_t> rowRange(std::size_t begin, std::size_t end) {
  std::vector<std::size_t> rows(end > begin ? end - begin : 0);
  std::iota(rows.begin(), rows.end(), begin);
  return rows;
}

unique_ovarray_ptr gatherColumn(const std::vector<RowPick>& pieces) {
  if (pieces.empty()) return ovCreateNumericMatrix(0, 1, ovClassID::Double);
  const ovArray* first = pieces.front().source;
  const std::size_t n = totalRows(pieces);
  if (ovIsTable(first)) {
    std::vector<std::size_t> all(ovTableNumVariables(first));
    std::iota(all.begin(), all.end(), std::size_t{0});
    auto table = gatherTable(pieces, all);
    copyMissingRows(pieces, table.get());
    return table;
  }
  unique_ovarray_ptr out;
  switch (ovGetClassID(first)) {
    case ovClassID::String: out = gatherStrings(pieces, n); break;
    case ovClassID::Categorical: out = gatherCategoricals(pieces, n); break;
    case ovClassID::Cell: out = gatherCells(pieces, n); break;
    case ovClassID::Datetime:
      out = ovCreateDatetimeArray({n, 1}, ovGetTimeUnit(first), ovGetTimeZone(first), ovInit::Uninit);
      copyElements(pieces, out.get());
      copyMissing(pieces, out.get());
      break;
    case ovClassID::Duration:
      out = ovCreateDurationArray({n, 1}, ovGetTimeUnit(first), ovInit::Uninit);
      copyElements(pieces, out.get());
      copyMissing(pieces, out.get());
      break;
    case ovClassID::Struct:
      throw CliError("InternalError", "A struct column that is not a table cannot be sliced.");
    default:
      out = ovCreateUninitNumericArray({n, 1}, ovGetClassID(first),
                                       ovIsComplex(first) ? ovComplexity::Complex : ovComplexity::Real);
      copyElements(pieces, out.get());
      copyMissing(pieces, out.get());
      break;
  }
  return out;
}

unique_ovarray_ptr gatherTable(const std::vector<RowPick>& pieces, const std::vector<std::size_t>& variables) {
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> names;
  const ovArray* first = pieces.empty() ? nullptr : pieces.front().source;
  for (const std::size_t v : variables) {
    std::vector<RowPick> columnPieces;
    columnPieces.reserve(pieces.size());
    for (const auto& p : pieces) columnPieces.push_back({ovTableColumn(p.source, v), p.rows});
    columns.push_back(gatherColumn(columnPieces));
    names.push_back(ovTableName(first, v));
  }
  auto table = ovCreateTable(std::move(columns), names);
  // What the table was read from (its file's key-value metadata) stays with it.
  if (first != nullptr) ovSetOrigin(table.get(), ovGetOrigin(first));
  return table;
}

unique_ovarray_ptr emptyTable(const std::vector<orvane::ustring>& names) {
  std::vector<unique_ovarray_ptr> columns;
  for (std::size_t i = 0; i < names.size(); ++i) columns.push_back(ovCreateNumericMatrix(0, 1, ovClassID::Double));
  return ovCreateTable(std::move(columns), names);
}

}  // namespace ovparquet::cli
