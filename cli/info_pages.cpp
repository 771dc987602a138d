// info --pages FILE [--vars a,b]: the page index, chunk by chunk: where
// each data page lies, which rows it holds and its null count and bounds.
#include "info_views.hpp"
#include "output.hpp"
#include "page_bounds.hpp"
#include "table_builder.hpp"
#include "text.hpp"
#include "variables.hpp"

#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/PageIndex.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/host/redact.hpp>

#include <algorithm>
#include <iostream>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;

// The leaf columns of the variables, in the order given.
std::vector<int> leafColumns(const std::string& file, const std::vector<std::string>& variables) {
  if (variables.empty()) return {};
  const core::info::ParquetInfo info(toHost(file));
  const auto& names = info.getVariableNames();
  requireVariables(variables, names, file);
  std::vector<int> leaves;
  for (const auto& name : variables) {
    const auto& field = info.getSchemaManifest().schema_fields[static_cast<std::size_t>(variableIndex(names, name))];
    if (const auto all = core::common::schema_field_to_all_leaf_indices(field)) {
      leaves.insert(leaves.end(), all->begin(), all->end());
    }
  }
  return leaves;
}

nlohmann::ordered_json orNull(const std::optional<std::string>& text) {
  return text ? nlohmann::ordered_json(*text) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json toJson(const std::string& file, const std::vector<core::info::ColumnChunkPages>& chunks) {
  nlohmann::ordered_json j;
  j["filename"] = orvane::redactLocationSecrets(file);
  j["columnChunks"] = nlohmann::ordered_json::array();
  for (const auto& c : chunks) {
    nlohmann::ordered_json chunk = {{"rowGroup", c.rowGroup + 1},
                                    {"column", c.path},
                                    {"hasOffsetIndex", c.hasOffsetIndex},
                                    {"hasColumnIndex", c.hasColumnIndex},
                                    {"boundaryOrder", c.boundaryOrder.empty() ? nlohmann::ordered_json(nullptr)
                                                                              : nlohmann::ordered_json(c.boundaryOrder)},
                                    {"pages", nlohmann::ordered_json::array()}};
    for (const auto& p : c.pages) {
      chunk["pages"].push_back({{"firstRow", p.firstRow},
                                {"numRows", p.numRows},
                                {"offset", p.offset},
                                {"compressedBytes", p.compressedBytes},
                                {"nullPage", p.nullPage},
                                {"nullCount", p.nullCount ? nlohmann::ordered_json(*p.nullCount) : nullptr},
                                {"min", orNull(p.min)},
                                {"max", orNull(p.max)}});
    }
    j["columnChunks"].push_back(std::move(chunk));
  }
  return j;
}

void writeCsv(const std::string& file, const std::vector<core::info::ColumnChunkPages>& chunks) {
  writeCsvRow(std::cout, {"filename", "rowGroup", "column", "page", "firstRow", "numRows", "offset",
                          "compressedBytes", "nullPage", "nullCount", "min", "max"});
  const std::string name = csvField(orvane::redactLocationSecrets(file));
  for (const auto& c : chunks) {
    for (std::size_t i = 0; i < c.pages.size(); ++i) {
      const auto& p = c.pages[i];
      writeCsvRow(std::cout, {name, std::to_string(c.rowGroup + 1), csvField(c.path), std::to_string(i + 1),
                              std::to_string(p.firstRow), std::to_string(p.numRows), std::to_string(p.offset),
                              std::to_string(p.compressedBytes), p.nullPage ? "true" : "false",
                              p.nullCount ? std::to_string(*p.nullCount) : "", csvField(p.min.value_or(""), !p.min),
                              csvField(p.max.value_or(""), !p.max)});
    }
  }
}

void writeReadable(const std::vector<core::info::ColumnChunkPages>& chunks) {
  const bool any = std::any_of(chunks.begin(), chunks.end(),
                               [](const auto& c) { return c.hasOffsetIndex || c.hasColumnIndex; });
  if (!any) {
    std::cout << "No page index: the writer of this file wrote none for these columns.\n";
    return;
  }
  for (std::size_t k = 0; k < chunks.size(); ++k) {
    const auto& c = chunks[k];
    std::cout << (k > 0 ? "\n" : "") << "Row group " << c.rowGroup + 1 << ", column " << c.path;
    if (!c.hasOffsetIndex && !c.hasColumnIndex) {
      std::cout << ": no page index\n";
      continue;
    }
    if (!c.hasColumnIndex) std::cout << " (no column index: no null counts or bounds)";
    if (!c.boundaryOrder.empty()) std::cout << " (bounds " << c.boundaryOrder << ")";
    std::cout << '\n';
    std::vector<std::int64_t> numbers, firstRows, rows, offsets, bytes;
    std::vector<std::string> nulls, mins, maxs;
    for (std::size_t i = 0; i < c.pages.size(); ++i) {
      const auto& p = c.pages[i];
      numbers.push_back(static_cast<std::int64_t>(i + 1));
      firstRows.push_back(p.firstRow);
      rows.push_back(p.numRows);
      offsets.push_back(p.offset);
      bytes.push_back(p.compressedBytes);
      nulls.push_back(p.nullCount ? groupedNumber(*p.nullCount) : "");
      mins.push_back(p.nullPage ? "(all null)" : p.min.value_or(""));
      maxs.push_back(p.nullPage ? "(all null)" : p.max.value_or(""));
    }
    TableBuilder builder;
    builder.numbers("Page", numbers).numbers("First row", firstRows).numbers("Rows", rows);
    if (c.hasOffsetIndex) builder.numbers("Offset", offsets).numbers("Bytes", bytes);
    if (c.hasColumnIndex) builder.text("Nulls", nulls).text("Min", mins).text("Max", maxs);
    builder.write(std::cout);
  }
}

}  // namespace

std::optional<nlohmann::ordered_json> showPages(const GlobalOptions& global, const std::string& file,
                                                const std::vector<std::string>& variables) {
  const auto leaves = leafColumns(file, variables);
  // Variables without leaves (empty groups) have no pages; no leaves asked for means all.
  auto chunks = !variables.empty() && leaves.empty() ? std::vector<core::info::ColumnChunkPages>{}
                                                     : core::info::readPageIndex(toHost(file), leaves);
  if (!chunks.empty()) {
    const core::info::ParquetInfo info(toHost(file));
    decodePageBounds(chunks, *info.getMetadata()->schema());
  }
  switch (global.format) {
    case Format::Json: return toJson(file, chunks);
    case Format::Csv: writeCsv(file, chunks); break;
    case Format::Table: writeReadable(chunks); break;
  }
  return std::nullopt;
}

}  // namespace ovparquet::cli
