// info FILE: the summary of one file, everything ParquetInfo holds plus the
// description of each variable's type, the writer and the key-value metadata.
#include "info_views.hpp"
#include "output.hpp"
#include "table_builder.hpp"
#include "text.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/info/TypeDescriptions.hpp>
#include <ovparquet/host/array.hpp>

#include <arrow/util/key_value_metadata.h>
#include <parquet/metadata.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace ovparquet::cli {
namespace {

using orvane::io::parquet::core::info::ParquetInfo;

constexpr std::size_t kBarWidth = 24;
constexpr std::size_t kMaxPictureLines = 24;

// A horizontal bar of value/maximum of the full width, in eighths of a cell.
std::string bar(double value, double maximum) {
  static const char* kEighths[] = {"", "\u258F", "\u258E", "\u258D", "\u258C", "\u258B", "\u258A", "\u2589"};
  if (maximum <= 0 || value <= 0) return "";
  const auto eighths = static_cast<std::size_t>(value / maximum * kBarWidth * 8 + 0.5);
  std::string out;
  for (std::size_t i = 0; i < eighths / 8; ++i) out += "\u2588";
  out += kEighths[eighths % 8];
  if (out.empty()) out = kEighths[1];  // something, however small
  return out;
}

std::string padLeft(const std::string& text, std::size_t width) {
  const std::size_t w = displayWidth(text);
  return w >= width ? text : std::string(width - w, ' ') + text;
}

std::string padRight(const std::string& text, std::size_t width) {
  const std::size_t w = displayWidth(text);
  return w >= width ? text : text + std::string(width - w, ' ');
}

// Compressed bytes of each row group; where a writer did not record them,
// the distance to the next row group (or to the footer).
std::vector<std::int64_t> rowGroupBytes(const ParquetInfo& info) {
  const auto metadata = info.getMetadata();
  const auto offsets = info.getRowGroupOffsets();
  const std::int64_t footer = info.getFileSize() - 8 - static_cast<std::int64_t>(metadata->size());
  std::vector<std::int64_t> bytes;
  for (int r = 0; r < metadata->num_row_groups(); ++r) {
    std::int64_t size = metadata->RowGroup(r)->total_compressed_size();
    const auto i = static_cast<std::size_t>(r);
    if (size <= 0 && i < offsets.size()) {
      const std::int64_t end = i + 1 < offsets.size() ? offsets[i + 1] : footer;
      size = std::max<std::int64_t>(0, end - offsets[i]);
    }
    bytes.push_back(size);
  }
  return bytes;
}

std::string at(const std::vector<std::string>& list, std::size_t i) { return i < list.size() ? list[i] : ""; }

unique_ovarray_ptr variablesTable(const ParquetInfo& info, const std::vector<orvane::ustring>& descriptions) {
  const std::size_t n = info.getVariableNames().size();
  std::vector<std::int64_t> numbers(n);
  for (std::size_t i = 0; i < n; ++i) numbers[i] = static_cast<std::int64_t>(i + 1);
  const auto column = [&](const std::vector<std::string>& values) {
    std::vector<orvane::ustring> texts;
    for (std::size_t i = 0; i < n; ++i) texts.push_back(toHost(at(values, i)));
    return ovCreateStringColumn(texts);
  };
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({n, 1}, numbers));
  columns.push_back(ovCreateStringColumn(info.getVariableNames()));
  columns.push_back(column(info.getVariableTypes()));
  columns.push_back(ovCreateStringColumn(descriptions));
  columns.push_back(column(info.getArrowTypes()));
  columns.push_back(column(info.getParquetPhysicalTypes()));
  columns.push_back(column(info.getParquetConvertedTypes()));
  columns.push_back(column(info.getParquetLogicalTypes()));
  columns.push_back(column(info.getVariableCompression()));
  columns.push_back(column(info.getVariableEncoding()));
  return ovCreateTable(std::move(columns), {u"#", u"Name", u"Type", u"Description", u"Arrow", u"Physical", u"Converted",
                                            u"Logical", u"Compression", u"Encoding"});
}

// Heights and byte sizes as bars; consecutive row groups share a line when
// there are many.
void writePicture(std::ostream& out, const std::vector<std::int64_t>& heights, const std::vector<std::int64_t>& bytes,
                  const std::vector<std::int64_t>& offsets) {
  const std::size_t n = heights.size();
  const std::size_t perLine = (n + kMaxPictureLines - 1) / kMaxPictureLines;
  struct Line {
    std::string label;
    std::int64_t rows = 0;
    std::int64_t bytes = 0;
    std::int64_t offset = 0;
  };
  std::vector<Line> lines;
  for (std::size_t first = 0; first < n; first += perLine) {
    const std::size_t last = std::min(n, first + perLine) - 1;
    Line line;
    line.label = first == last ? std::to_string(first + 1) : std::to_string(first + 1) + "-" + std::to_string(last + 1);
    line.offset = first < offsets.size() ? offsets[first] : 0;
    for (std::size_t r = first; r <= last; ++r) {
      line.rows += heights[r];
      line.bytes += r < bytes.size() ? bytes[r] : 0;
    }
    lines.push_back(line);
  }
  double maxRows = 0;
  double maxBytes = 0;
  std::size_t labelWidth = 1;
  std::size_t rowsWidth = 4;
  std::size_t offsetWidth = 6;
  std::size_t bytesWidth = 5;
  for (const auto& l : lines) {
    maxRows = std::max(maxRows, static_cast<double>(l.rows));
    maxBytes = std::max(maxBytes, static_cast<double>(l.bytes));
    labelWidth = std::max(labelWidth, l.label.size());
    rowsWidth = std::max(rowsWidth, groupedNumber(l.rows).size());
    offsetWidth = std::max(offsetWidth, groupedNumber(l.offset).size());
    bytesWidth = std::max(bytesWidth, humanBytes(l.bytes).size());
  }
  out << "Row groups" << (perLine > 1 ? " (" + std::to_string(perLine) + " per line)" : std::string()) << '\n';
  out << "  " << padLeft("#", labelWidth) << "  " << padLeft("Rows", rowsWidth) << "  " << padLeft("Offset", offsetWidth)
      << "  " << padLeft("Bytes", bytesWidth) << "  " << padRight("Rows", kBarWidth + 1) << "  Bytes\n";
  for (const auto& l : lines) {
    std::string line = "  " + padLeft(l.label, labelWidth) + "  " + padLeft(groupedNumber(l.rows), rowsWidth) + "  " +
                       padLeft(groupedNumber(l.offset), offsetWidth) + "  " + padLeft(humanBytes(l.bytes), bytesWidth) +
                       "  " + padRight(bar(static_cast<double>(l.rows), maxRows), kBarWidth + 1) + "  " +
                       bar(static_cast<double>(l.bytes), maxBytes);
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
  }
}

// Key-value metadata as the footer holds it, in order.
std::vector<std::pair<std::string, std::string>> keyValues(const ::parquet::FileMetaData& metadata) {
  std::vector<std::pair<std::string, std::string>> pairs;
  if (const auto& kv = metadata.key_value_metadata()) {
    for (std::int64_t i = 0; i < kv->size(); ++i) pairs.emplace_back(kv->key(i), kv->value(i));
  }
  return pairs;
}

void writeKeyValues(std::ostream& out, const ::parquet::FileMetaData& metadata) {
  const auto pairs = keyValues(metadata);
  if (pairs.empty()) return;
  std::vector<std::string> keys, values;
  for (const auto& [k, v] : pairs) {
    keys.push_back(k);
    values.push_back(v);
  }
  out << "\nKey-value metadata\n";
  TableBuilder().text("Key", keys).text("Value", values).write(out);
}

void writeReadable(std::ostream& out, const ParquetInfo& info, const std::vector<orvane::ustring>& descriptions) {
  const auto& metadata = *info.getMetadata();
  const auto heights = info.getRowGroupHeights();
  std::int64_t rows = 0;
  for (const auto h : heights) rows += h;
  out << "File        " << toUtf8(info.getFilename()) << '\n';
  out << "Size        " << humanBytes(info.getFileSize()) << " (" << groupedNumber(info.getFileSize()) << " bytes)\n";
  out << "Version     " << (info.getVersion().empty() ? "unknown" : info.getVersion()) << '\n';
  out << "Created by  " << (metadata.created_by().empty() ? "unknown" : metadata.created_by()) << '\n';
  out << "Rows        " << groupedNumber(rows) << '\n';
  out << "Row groups  " << info.getNumRowGroups() << '\n';
  out << "Variables   " << info.getVariableNames().size() << "\n\n";
  const auto table = variablesTable(info, descriptions);
  writeTable(out, table.get());
  if (!heights.empty()) {
    out << '\n';
    writePicture(out, heights, rowGroupBytes(info), info.getRowGroupOffsets());
  }
  writeKeyValues(out, metadata);
}

void writeCsv(std::ostream& out, const ParquetInfo& info, const std::vector<orvane::ustring>& descriptions) {
  writeCsvRow(out, {"name", "type", "description", "arrowType", "physicalType", "convertedType", "logicalType",
                    "compression", "encoding"});
  const auto& names = info.getVariableNames();
  for (std::size_t i = 0; i < names.size(); ++i) {
    writeCsvRow(out, {csvField(toUtf8(names[i])), csvField(at(info.getVariableTypes(), i)),
                      csvField(toUtf8(descriptions[i])), csvField(at(info.getArrowTypes(), i)),
                      csvField(at(info.getParquetPhysicalTypes(), i)), csvField(at(info.getParquetConvertedTypes(), i)),
                      csvField(at(info.getParquetLogicalTypes(), i)), csvField(at(info.getVariableCompression(), i)),
                      csvField(at(info.getVariableEncoding(), i))});
  }
}

nlohmann::ordered_json toJson(const ParquetInfo& info, const std::vector<orvane::ustring>& descriptions) {
  nlohmann::ordered_json j;
  j["filename"] = toUtf8(info.getFilename());
  j["fileSize"] = info.getFileSize();
  j["numRowGroups"] = info.getNumRowGroups();
  j["rowGroupHeights"] = info.getRowGroupHeights();
  j["rowGroupOffsets"] = info.getRowGroupOffsets();
  j["variableNames"] = toUtf8(info.getVariableNames());
  j["variableTypes"] = info.getVariableTypes();
  j["variableCompression"] = info.getVariableCompression();
  j["variableEncoding"] = info.getVariableEncoding();
  j["version"] = info.getVersion();
  j["parquetPhysicalTypes"] = info.getParquetPhysicalTypes();
  j["parquetConvertedTypes"] = info.getParquetConvertedTypes();
  j["parquetLogicalTypes"] = info.getParquetLogicalTypes();
  j["arrowTypes"] = info.getArrowTypes();
  j["typeDescriptions"] = toUtf8(descriptions);
  const auto metadata = info.getMetadata();
  j["createdBy"] = metadata->created_by();
  j["keyValueMetadata"] = nlohmann::ordered_json::object();
  for (const auto& [k, v] : keyValues(*metadata)) j["keyValueMetadata"][k] = v;
  return j;
}

}  // namespace

std::optional<nlohmann::ordered_json> showSummary(const GlobalOptions& global, const std::string& file) {
  const ParquetInfo info(toHost(file));
  const auto descriptions = orvane::io::parquet::core::info::parquet_types(info.getArrowSchema());
  switch (global.format) {
    case Format::Json: return toJson(info, descriptions);
    case Format::Csv: writeCsv(std::cout, info, descriptions); break;
    case Format::Table: writeReadable(std::cout, info, descriptions); break;
  }
  return std::nullopt;
}

}  // namespace ovparquet::cli
