// Row-group statistics of files written by pyarrow (statistics on, off, for
// some columns only, format 1.0 and 2.6, both data page versions) agree with
// what pyarrow itself reports about each row group.
//
// Where the two views differ in representation, instants are compared:
// pyarrow's raw values are in the unit the file stores, ours in the unit of
// the field as Arrow reads it back. Parquet has no seconds unit, so
// timestamp[s] and time32[s] are stored (and read back) in milliseconds;
// format 1.0 stores nanosecond timestamps in microseconds and uint32 as
// int64; date64 is stored as days and read back as date32 (host datetimes in
// days either way). NaN never appears as a minimum or maximum: Arrow's writer
// leaves it out, and a row group holding only NaN has no pair in either view.
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <string>

namespace orvane::io::parquet::core::read {
namespace {

std::string fixtureDir() {
  const char* dir = std::getenv("OVPARQUET_STATS_FIXTURES");
  return dir ? dir : "";
}

// Nanoseconds per tick of a manifest unit and of a host time unit.
__int128 nanosPerUnit(const std::string& unit) {
  if (unit == "s") return 1000000000;
  if (unit == "ms") return 1000000;
  if (unit == "us") return 1000;
  if (unit == "ns") return 1;
  ADD_FAILURE() << "unknown unit " << unit;
  return 0;
}

__int128 nanosPerUnit(ovTimeUnit unit) {
  switch (unit) {
    case ovTimeUnit::Second: return 1000000000;
    case ovTimeUnit::Milli: return 1000000;
    case ovTimeUnit::Micro: return 1000;
    case ovTimeUnit::Nano: return 1;
    case ovTimeUnit::Day: return static_cast<__int128>(86400) * 1000000000;
  }
  return 0;
}

// An integer element of any integer class, as decimal text (the manifest's
// JSON numbers are compared in the same form, so uint64 values above 2^63
// stay exact).
std::string integerText(const ovArray* array, std::size_t i) {
  switch (ovGetClassID(array)) {
    case ovClassID::Int8: return std::to_string(ovGetTypedData<int8_t>(array)[i]);
    case ovClassID::UInt8: return std::to_string(ovGetTypedData<uint8_t>(array)[i]);
    case ovClassID::Int16: return std::to_string(ovGetTypedData<int16_t>(array)[i]);
    case ovClassID::UInt16: return std::to_string(ovGetTypedData<uint16_t>(array)[i]);
    case ovClassID::Int32: return std::to_string(ovGetTypedData<int32_t>(array)[i]);
    case ovClassID::UInt32: return std::to_string(ovGetTypedData<uint32_t>(array)[i]);
    case ovClassID::Int64: return std::to_string(ovGetTypedData<int64_t>(array)[i]);
    case ovClassID::UInt64: return std::to_string(ovGetTypedData<uint64_t>(array)[i]);
    default: break;
  }
  ADD_FAILURE() << "not an integer class: " << ovGetClassName(array);
  return "";
}

// Element i of our minima or maxima equals pyarrow's value of that kind.
void expectValue(const nlohmann::json& column, const ovArray* values, std::size_t i, const nlohmann::json& expected) {
  const std::string kind = column["kind"].get<std::string>();
  ASSERT_FALSE(ovIsMissing(values, i));
  if (kind == "bool") {
    ASSERT_TRUE(ovIsLogical(values));
    EXPECT_EQ(ovGetTypedData<bool>(values)[i], expected.get<bool>());
  } else if (kind == "int") {
    ASSERT_TRUE(ovIsInteger(values)) << ovGetClassName(values);
    EXPECT_EQ(integerText(values, i), expected.dump());
  } else if (kind == "float") {
    ASSERT_TRUE(ovIsFloat(values)) << ovGetClassName(values);
    const double want = std::strtod(expected.get<std::string>().c_str(), nullptr);
    const double got = ovGetScalar(values, i);
    if (std::isnan(want)) {
      EXPECT_TRUE(std::isnan(got));
    } else {
      EXPECT_EQ(got, want);
      EXPECT_EQ(std::signbit(got), std::signbit(want)) << "sign of zero";
    }
  } else if (kind == "string") {
    ASSERT_TRUE(ovIsString(values));
    EXPECT_EQ(ovGetStringUtf8(values, i), expected.get<std::string>());
  } else if (kind == "timestamp") {
    ASSERT_TRUE(ovIsDatetime(values));
    const auto& zone = column["zone"];
    EXPECT_EQ(ovGetTimeZone(values),
              zone.is_null() ? std::optional<std::string>() : std::optional<std::string>(zone.get<std::string>()));
    // Ticks of the field's unit against the stored integer of the file's
    // unit: equal instants.
    EXPECT_TRUE(ovGetTicks(values)[i] * nanosPerUnit(ovGetTimeUnit(values)) ==
                expected.get<int64_t>() * nanosPerUnit(column["unit"].get<std::string>()))
        << ovGetTicks(values)[i] << " " << ovTimeUnitName(ovGetTimeUnit(values)) << " vs " << expected.dump() << " "
        << column["unit"].get<std::string>();
  } else if (kind == "date") {
    ASSERT_TRUE(ovIsDatetime(values));
    EXPECT_EQ(ovGetTimeUnit(values), ovTimeUnit::Day);
    EXPECT_EQ(ovGetTicks(values)[i], expected.get<int64_t>());
  } else if (kind == "time") {
    // Times of day become durations since midnight.
    ASSERT_TRUE(ovIsDuration(values));
    EXPECT_TRUE(ovGetTicks(values)[i] * nanosPerUnit(ovGetTimeUnit(values)) ==
                expected.get<int64_t>() * nanosPerUnit(column["unit"].get<std::string>()))
        << ovGetTicks(values)[i] << " vs " << expected.dump();
  } else {
    ADD_FAILURE() << "a " << kind << " column has no minimum";
  }
}

bool flag(const ovArray* array, std::size_t at) { return ovGetTypedData<bool>(array)[at]; }
int64_t count(const ovArray* array, std::size_t at) { return ovGetTypedData<int64_t>(array)[at]; }

TEST(StatisticsAgainstPyarrow, EveryRowGroupOfEveryColumnAgrees) {
  std::ifstream in(fixtureDir() + "/manifest.json");
  ASSERT_TRUE(in) << "no manifest in " << fixtureDir();
  const auto manifest = nlohmann::json::parse(in);
  ASSERT_EQ(manifest.size(), 6u);
  std::size_t comparedMinMax = 0;
  std::size_t comparedWithout = 0;
  for (const auto& file : manifest) {
    const std::string path = fixtureDir() + "/" + file["file"].get<std::string>();
    SCOPED_TRACE(path);
    RowGroupParquetReader reader(orvane::utf8_to_ustring(path), std::vector<double>{});
    const auto& columns = file["columns"];
    std::vector<int32_t> indices(columns.size());
    std::iota(indices.begin(), indices.end(), 0);
    const Statistics s = reader.getStatistics(indices);

    const auto rows = static_cast<std::size_t>(file["numRowGroups"].get<int>());
    ASSERT_EQ(ovGetM(s.nullCountValid.get()), rows);
    ASSERT_EQ(ovGetN(s.nullCountValid.get()), columns.size());
    ASSERT_EQ(ovGetN(s.minValues.get()), columns.size());
    for (std::size_t v = 0; v < columns.size(); ++v) {
      const auto& column = columns[v];
      SCOPED_TRACE(column["name"].get<std::string>() + " " + column["arrowType"].get<std::string>());
      const ovArray* minima = ovGetCell(s.minValues.get(), v);
      const ovArray* maxima = ovGetCell(s.maxValues.get(), v);
      ASSERT_NE(minima, nullptr);
      ASSERT_NE(maxima, nullptr);
      ASSERT_EQ(ovGetNumberOfElements(minima), rows);
      ASSERT_EQ(ovGetNumberOfElements(maxima), rows);
      for (std::size_t r = 0; r < rows; ++r) {
        SCOPED_TRACE("row group " + std::to_string(r));
        const auto& expected = column["rowGroups"][r];
        const std::size_t at = r + v * rows;
        const bool statsSet = expected["statsSet"].get<bool>();
        const bool nullCountValid =
            statsSet && expected["hasNullCount"].get<bool>() && expected["nullCount"].get<int64_t>() >= 0;
        EXPECT_EQ(flag(s.nullCountValid.get(), at), nullCountValid);
        EXPECT_EQ(count(s.nullCounts.get(), at), nullCountValid ? expected["nullCount"].get<int64_t>() : 0);
        const bool distinctCountValid =
            statsSet && expected["hasDistinctCount"].get<bool>() && expected["distinctCount"].get<int64_t>() >= 0;
        EXPECT_EQ(flag(s.distinctCountValid.get(), at), distinctCountValid);
        EXPECT_EQ(count(s.distinctCounts.get(), at), distinctCountValid ? expected["distinctCount"].get<int64_t>() : 0);

        const bool hasMinMax = statsSet && expected["hasMinMax"].get<bool>();
        EXPECT_EQ(flag(s.minMaxValid.get(), at), hasMinMax);
        if (hasMinMax) {
          expectValue(column, minima, r, expected["min"]);
          expectValue(column, maxima, r, expected["max"]);
          ++comparedMinMax;
        } else {
          EXPECT_TRUE(ovIsMissing(minima, r));
          EXPECT_TRUE(ovIsMissing(maxima, r));
          ++comparedWithout;
        }
      }
    }
  }
  // The fixtures hold both kinds of row groups in numbers.
  EXPECT_GT(comparedMinMax, 100u);
  EXPECT_GT(comparedWithout, 50u);
}

}  // namespace
}  // namespace orvane::io::parquet::core::read
