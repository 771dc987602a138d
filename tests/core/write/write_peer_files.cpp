// Writes Parquet files through ParquetWriter for the peer implementations to
// read back (tests/peers/check_written_files.py). Every value follows a
// formula of the row number, which the check repeats independently.
//
//   write_peer_files OUTPUT_DIR
#include <ovparquet/core/write/ParquetWriter.hpp>

#include "../../support/HostTables.hpp"

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

using orvane::ustring;
using orvane::io::parquet::core::write::ParquetWriter;

constexpr std::size_t kRows = 50;
bool missing(std::size_t i) { return i % 7 == 3; }

template <typename T, typename F>
unique_ovarray_ptr numeric(F&& value, bool withMissing = true) {
  std::vector<T> data(kRows);
  for (std::size_t i = 0; i < kRows; ++i) data[i] = static_cast<T>(value(static_cast<int64_t>(i)));
  auto array = ovCreateNumericArrayFromVector<T>({kRows, 1}, std::move(data));
  for (std::size_t i = 0; i < kRows && withMissing; ++i) {
    if (missing(i)) ovSetMissing(array.get(), i);
  }
  return array;
}

unique_ovarray_ptr logical() {
  auto array = ovCreateLogicalArray({kRows, 1});
  auto* data = ovGetTypedDataMutable<bool>(array.get());
  for (std::size_t i = 0; i < kRows; ++i) data[i] = i % 2 == 0;
  for (std::size_t i = 0; i < kRows; ++i) {
    if (missing(i)) ovSetMissing(array.get(), i);
  }
  return array;
}

unique_ovarray_ptr text() {
  ovStringArrayBuilder builder({kRows, 1});
  for (std::size_t i = 0; i < kRows; ++i) {
    if (missing(i)) {
      builder.appendMissing();
    } else if (i % 5 == 0) {
      builder.append(u"");
    } else {
      builder.append(orvane::utf8_to_ustring("s" + std::to_string(i) + "ü"));
    }
  }
  return builder.finish();
}

unique_ovarray_ptr datetime(ovTimeUnit unit, std::optional<std::string> zone, int64_t base, int64_t step) {
  std::vector<int64_t> ticks(kRows);
  for (std::size_t i = 0; i < kRows; ++i) ticks[i] = base + static_cast<int64_t>(i) * step;
  auto array = ovCreateDatetimeArray({kRows, 1}, unit, std::move(zone), std::move(ticks));
  ovSetMissing(array.get(), 3);
  return array;
}

unique_ovarray_ptr duration() {
  std::vector<int64_t> ticks(kRows);
  for (std::size_t i = 0; i < kRows; ++i) ticks[i] = static_cast<int64_t>(i) * 1500;
  return ovCreateDurationArray({kRows, 1}, ovTimeUnit::Milli, std::move(ticks));
}

unique_ovarray_ptr categorical() {
  std::vector<int32_t> codes(kRows);
  for (std::size_t i = 0; i < kRows; ++i) codes[i] = static_cast<int32_t>(i % 3);
  auto array = ovCreateCategoricalArray({kRows, 1}, ovCreateStringColumn({u"lo", u"mid", u"hi"}), std::move(codes));
  for (std::size_t i = 0; i < kRows; ++i) {
    if (missing(i)) ovSetMissing(array.get(), i);
  }
  return array;
}

// Row i: a list of i % 4 doubles j * 1.5; no list at all when i % 9 == 4.
unique_ovarray_ptr listOfDoubles() {
  auto cell = ovCreateCellMatrix(kRows, 1);
  for (std::size_t i = 0; i < kRows; ++i) {
    if (i % 9 == 4) continue;
    std::vector<double> values;
    for (std::size_t j = 0; j < i % 4; ++j) values.push_back(static_cast<double>(j) * 1.5);
    const std::size_t n = values.size();
    ovReplaceCell(cell.get(), i, ovCreateNumericArrayFromVector<double>({n, 1}, std::move(values)));
  }
  return cell;
}

// Row i: {x: int32 i, y: "p<i>"}.
unique_ovarray_ptr point() {
  ovtest::NamedColumns fields;
  fields.emplace_back(u"x", numeric<int32_t>([](int64_t i) { return i; }, false));
  std::vector<ustring> labels;
  for (std::size_t i = 0; i < kRows; ++i) labels.push_back(orvane::utf8_to_ustring("p" + std::to_string(i)));
  fields.emplace_back(u"y", ovCreateStringColumn(labels));
  return ovtest::hostTable(std::move(fields));
}

// Row i: a list of i % 3 records {k: j, v: i + j}.
unique_ovarray_ptr items() {
  auto cell = ovCreateCellMatrix(kRows, 1);
  for (std::size_t i = 0; i < kRows; ++i) {
    const std::size_t n = i % 3;
    std::vector<int64_t> k(n);
    std::vector<double> v(n);
    for (std::size_t j = 0; j < n; ++j) {
      k[j] = static_cast<int64_t>(j);
      v[j] = static_cast<double>(i + j);
    }
    ovtest::NamedColumns fields;
    fields.emplace_back(u"k", ovCreateNumericArrayFromVector<int64_t>({n, 1}, std::move(k)));
    fields.emplace_back(u"v", ovCreateNumericArrayFromVector<double>({n, 1}, std::move(v)));
    ovReplaceCell(cell.get(), i, ovtest::hostTable(std::move(fields)));
  }
  return cell;
}

void writeAllClasses(const std::string& path) {
  ovtest::NamedColumns columns;
  columns.emplace_back(u"flag", logical());
  columns.emplace_back(u"i8", numeric<int8_t>([](int64_t i) { return i % 100 - 50; }));
  columns.emplace_back(u"u8", numeric<uint8_t>([](int64_t i) { return i; }));
  columns.emplace_back(u"i16", numeric<int16_t>([](int64_t i) { return i * 100 - 2000; }));
  columns.emplace_back(u"u16", numeric<uint16_t>([](int64_t i) { return i * 1000; }));
  columns.emplace_back(u"i32", numeric<int32_t>([](int64_t i) { return i * 100000 - 1000000; }));
  columns.emplace_back(u"u32", numeric<uint32_t>([](int64_t i) { return i * 50000000; }));
  columns.emplace_back(u"i64", numeric<int64_t>([](int64_t i) { return i * 1000000000000 - 5000000000000; }));
  columns.emplace_back(u"u64", numeric<uint64_t>([](int64_t i) { return static_cast<uint64_t>(i) * 100000000000000000ULL; }));
  columns.emplace_back(u"single", numeric<float>([](int64_t i) { return static_cast<double>(i) * 0.25; }));
  columns.emplace_back(u"double", numeric<double>([](int64_t i) { return static_cast<double>(i) / 3.0; }));
  columns.emplace_back(u"text", text());
  columns.emplace_back(u"when", datetime(ovTimeUnit::Milli, std::nullopt, 1700000000000, 1000));
  columns.emplace_back(u"whenz", datetime(ovTimeUnit::Micro, std::string("UTC"), 1700000000000000, 1));
  columns.emplace_back(u"day", datetime(ovTimeUnit::Day, std::nullopt, 19000, 1));
  columns.emplace_back(u"span", duration());
  columns.emplace_back(u"cat", categorical());
  columns.emplace_back(u"vals", listOfDoubles());
  columns.emplace_back(u"point", point());
  columns.emplace_back(u"items", items());
  auto table = ovtest::hostTable(std::move(columns));
  ParquetWriter writer(orvane::utf8_to_ustring(path));
  std::vector<ustring> names;
  for (std::size_t v = 0; v < ovTableNumVariables(table.get()); ++v) names.push_back(ovTableName(table.get(), v));
  writer.setVariableNames(names);
  writer.write(table.get());
  writer.close();
}

// Per-variable codecs and dictionary settings, given through leaf paths.
void writeCodecs(const std::string& path) {
  ovtest::NamedColumns columns;
  columns.emplace_back(u"a", numeric<double>([](int64_t i) { return static_cast<double>(i); }, false));
  columns.emplace_back(u"point", point());
  columns.emplace_back(u"vals", listOfDoubles());
  auto table = ovtest::hostTable(std::move(columns));
  ParquetWriter writer(orvane::utf8_to_ustring(path));
  writer.setVariableNames({u"a", u"point", u"vals"});
  writer.setLeafColumnPaths({0, 1, 3, 4}, {u"a", u"point.x", u"point.y", u"vals.list.element"});
  writer.setVariableCompression({"zstd", "gzip", "brotli"});
  writer.setVariableEncoding({"plain", "dictionary", "plain"});
  writer.write(table.get());
  writer.close();
}

// Explicit row-group heights, format version 1.0.
void writeHeights(const std::string& path) {
  ovtest::NamedColumns columns;
  columns.emplace_back(u"a", numeric<double>([](int64_t i) { return static_cast<double>(i); }, false));
  auto table = ovtest::hostTable(std::move(columns));
  ParquetWriter writer(orvane::utf8_to_ustring(path));
  writer.setVariableNames({u"a"});
  writer.setVersion("1.0");
  auto heights = ovCreateNumericArrayFromVector<double>({4, 1}, std::vector<double>{10, 25, 5, 10});
  writer.writeRowGroups(table.get(), heights.get());
  writer.close();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: write_peer_files OUTPUT_DIR\n");
    return 2;
  }
  const std::filesystem::path dir = argv[1];
  try {
    std::filesystem::create_directories(dir);
    writeAllClasses((dir / "all_classes.parquet").string());
    writeCodecs((dir / "codecs.parquet").string());
    writeHeights((dir / "heights.parquet").string());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "write_peer_files: %s\n", e.what());
    return 1;
  }
  std::printf("wrote 3 files to %s\n", dir.c_str());
  return 0;
}
