// info --chunks FILE: how each column chunk is stored, and what each column
// costs in the file (compressed and uncompressed bytes, ratio, share).
#include "info_views.hpp"
#include "output.hpp"
#include "table_builder.hpp"
#include "text.hpp"

#include <ovparquet/core/info/FileLayout.hpp>
#include <ovparquet/host/redact.hpp>

#include <cstdio>
#include <iostream>
#include <map>

namespace ovparquet::cli {
namespace {

namespace info = orvane::io::parquet::core::info;

struct ColumnSize {
  std::string path;
  std::int64_t compressed = 0;
  std::int64_t uncompressed = 0;
};

// Leaf column by leaf column, summed over the row groups.
std::vector<ColumnSize> columnSizes(const std::vector<info::ColumnChunkLayout>& chunks) {
  std::map<int, ColumnSize> byColumn;
  for (const auto& c : chunks) {
    ColumnSize& size = byColumn[c.column];
    size.path = c.path;
    size.compressed += c.compressedBytes;
    size.uncompressed += c.uncompressedBytes;
  }
  std::vector<ColumnSize> sizes;
  for (auto& [column, size] : byColumn) sizes.push_back(std::move(size));
  return sizes;
}

// Uncompressed bytes per compressed byte; 0 for an empty column.
double ratio(const ColumnSize& size) {
  return size.compressed > 0 ? static_cast<double>(size.uncompressed) / static_cast<double>(size.compressed) : 0.0;
}

double share(const ColumnSize& size, std::int64_t fileSize) {
  return fileSize > 0 ? static_cast<double>(size.compressed) / static_cast<double>(fileSize) : 0.0;
}

std::string fixed(double value, int decimals, const char* suffix = "") {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f%s", decimals, value, suffix);
  return text;
}

std::string yesNo(bool value) { return value ? "yes" : "no"; }

nlohmann::ordered_json toJson(const std::string& file, const info::FileLayout& layout) {
  nlohmann::ordered_json j;
  j["filename"] = orvane::redactLocationSecrets(file);
  j["fileSize"] = layout.summary.fileSize;
  j["columnChunks"] = nlohmann::ordered_json::array();
  for (const auto& c : layout.chunks) {
    j["columnChunks"].push_back({{"rowGroup", c.rowGroup + 1},
                                 {"column", c.path},
                                 {"codec", c.codec},
                                 {"encodings", c.encodings},
                                 {"numValues", c.numValues},
                                 {"compressedBytes", c.compressedBytes},
                                 {"uncompressedBytes", c.uncompressedBytes},
                                 {"hasStatistics", c.hasStatistics},
                                 {"hasDictionaryPage", c.hasDictionaryPage},
                                 {"hasBloomFilter", c.hasBloomFilter},
                                 {"hasColumnIndex", c.hasColumnIndex},
                                 {"hasOffsetIndex", c.hasOffsetIndex}});
  }
  j["columns"] = nlohmann::ordered_json::array();
  for (const auto& s : columnSizes(layout.chunks)) {
    j["columns"].push_back({{"column", s.path},
                            {"compressedBytes", s.compressed},
                            {"uncompressedBytes", s.uncompressed},
                            {"ratio", ratio(s)},
                            {"shareOfFile", share(s, layout.summary.fileSize)}});
  }
  return j;
}

void writeCsv(const std::string& file, const info::FileLayout& layout) {
  writeCsvRow(std::cout, {"filename", "rowGroup", "column", "codec", "encodings", "numValues", "compressedBytes",
                          "uncompressedBytes", "hasStatistics", "hasDictionaryPage", "hasBloomFilter",
                          "hasColumnIndex", "hasOffsetIndex"});
  const std::string name = csvField(orvane::redactLocationSecrets(file));
  for (const auto& c : layout.chunks) {
    writeCsvRow(std::cout, {name, std::to_string(c.rowGroup + 1), csvField(c.path), c.codec,
                            csvField(join(c.encodings, " ")), std::to_string(c.numValues),
                            std::to_string(c.compressedBytes), std::to_string(c.uncompressedBytes),
                            c.hasStatistics ? "true" : "false", c.hasDictionaryPage ? "true" : "false",
                            c.hasBloomFilter ? "true" : "false", c.hasColumnIndex ? "true" : "false",
                            c.hasOffsetIndex ? "true" : "false"});
  }
}

void writeReadable(const info::FileLayout& layout) {
  std::vector<std::int64_t> rowGroups, values, compressed, uncompressed;
  std::vector<std::string> paths, codecs, encodings, statistics, dictionaries, blooms, columnIndexes, offsetIndexes;
  for (const auto& c : layout.chunks) {
    rowGroups.push_back(c.rowGroup + 1);
    paths.push_back(c.path);
    codecs.push_back(c.codec);
    encodings.push_back(join(c.encodings, " "));
    values.push_back(c.numValues);
    compressed.push_back(c.compressedBytes);
    uncompressed.push_back(c.uncompressedBytes);
    statistics.push_back(yesNo(c.hasStatistics));
    dictionaries.push_back(yesNo(c.hasDictionaryPage));
    blooms.push_back(yesNo(c.hasBloomFilter));
    columnIndexes.push_back(yesNo(c.hasColumnIndex));
    offsetIndexes.push_back(yesNo(c.hasOffsetIndex));
  }
  std::cout << "Column chunks\n";
  TableBuilder()
      .numbers("Row group", rowGroups)
      .text("Column", paths)
      .text("Codec", codecs)
      .text("Encodings", encodings)
      .numbers("Values", values)
      .numbers("Compressed", compressed)
      .numbers("Uncompressed", uncompressed)
      .text("Statistics", statistics)
      .text("Dictionary", dictionaries)
      .text("Bloom filter", blooms)
      .text("Column index", columnIndexes)
      .text("Offset index", offsetIndexes)
      .write(std::cout);

  std::vector<std::string> columns, ratios, shares;
  std::vector<std::int64_t> compressedSums, uncompressedSums;
  for (const auto& s : columnSizes(layout.chunks)) {
    columns.push_back(s.path);
    compressedSums.push_back(s.compressed);
    uncompressedSums.push_back(s.uncompressed);
    ratios.push_back(fixed(ratio(s), 2));
    shares.push_back(fixed(100 * share(s, layout.summary.fileSize), 1, "%"));
  }
  std::cout << "\nSizes per column (file: " << groupedNumber(layout.summary.fileSize) << " bytes)\n";
  TableBuilder()
      .text("Column", columns)
      .numbers("Compressed", compressedSums)
      .numbers("Uncompressed", uncompressedSums)
      .text("Ratio", ratios)
      .text("Share of file", shares)
      .write(std::cout);
}

}  // namespace

std::optional<nlohmann::ordered_json> showChunks(const GlobalOptions& global, const std::string& file) {
  const auto layout = info::readFileLayout(toHost(file));
  switch (global.format) {
    case Format::Json: return toJson(file, layout);
    case Format::Csv: writeCsv(file, layout); break;
    case Format::Table: writeReadable(layout); break;
  }
  return std::nullopt;
}

}  // namespace ovparquet::cli
