// Helpers shared by the conversion library's tests: Arrow literals, unwrapping
// results, host column builders and a host-array equality assertion.
#pragma once

#include <ovparquet/convert.hpp>
#include <ovparquet/host/array.hpp>
#include <ovparquet/host/array_text.hpp>

#include <arrow/api.h>
#include <arrow/ipc/json_simple.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace convert_test {

// The value of a result; throws (failing the test) with the status text.
template <typename T>
T unwrap(::arrow::Result<T> result) {
  if (!result.ok()) throw std::runtime_error("unexpected failure: " + result.status().ToString());
  return std::move(result).ValueUnsafe();
}

inline std::shared_ptr<::arrow::Array> fromJson(const std::shared_ptr<::arrow::DataType>& type,
                                                std::string_view json) {
  return unwrap(::arrow::ipc::internal::json::ArrayFromJSON(type, json));
}

inline std::shared_ptr<::arrow::ChunkedArray> chunked(
    std::vector<std::shared_ptr<::arrow::Array>> chunks,
    std::shared_ptr<::arrow::DataType> type = nullptr) {
  if (!type) type = chunks.front()->type();
  return std::make_shared<::arrow::ChunkedArray>(std::move(chunks), std::move(type));
}

// A table of named columns.
inline std::shared_ptr<::arrow::Table> tableOf(
    std::vector<std::pair<std::string, std::shared_ptr<::arrow::ChunkedArray>>> columns) {
  ::arrow::FieldVector fields;
  ::arrow::ChunkedArrayVector data;
  for (auto& [name, column] : columns) {
    fields.push_back(::arrow::field(name, column->type()));
    data.push_back(column);
  }
  return ::arrow::Table::Make(::arrow::schema(fields), data);
}

inline std::shared_ptr<::arrow::Table> tableOf(const std::string& name,
                                               std::shared_ptr<::arrow::Array> column) {
  return tableOf({{name, chunked({std::move(column)})}});
}

// The single variable of a host table converted from `table`.
inline unique_ovarray_ptr readOnly(const std::shared_ptr<::arrow::Table>& table) {
  auto host = unwrap(orvane::io::arrow::core::to_orvane(table));
  if (ovTableNumVariables(host.get()) != 1) throw std::runtime_error("expected one variable");
  return ovDuplicateArray(ovTableColumn(host.get(), 0));
}

inline unique_ovarray_ptr readArray(std::shared_ptr<::arrow::Array> array) {
  return readOnly(tableOf("x", std::move(array)));
}

// Host columns with the given elements; `missing` lists 0-based indices that
// are marked missing (with the conventional value written under the mask).
// Flat host columns of the temporal and categorical classes; `missing`
// lists the rows to mark missing (for categoricals: negative codes).
inline unique_ovarray_ptr datetimes(ovTimeUnit unit, std::optional<std::string> zone,
                             std::vector<std::int64_t> ticks,
                             std::initializer_list<std::size_t> missing = {}) {
  const std::size_t rows = ticks.size();
  auto array = ovCreateDatetimeArray(ovDims{rows, 1}, unit, std::move(zone), std::move(ticks));
  for (std::size_t i : missing) ovSetMissing(array.get(), i);
  return array;
}

inline unique_ovarray_ptr durations(ovTimeUnit unit, std::vector<std::int64_t> ticks,
                             std::initializer_list<std::size_t> missing = {}) {
  const std::size_t rows = ticks.size();
  auto array = ovCreateDurationArray(ovDims{rows, 1}, unit, std::move(ticks));
  for (std::size_t i : missing) ovSetMissing(array.get(), i);
  return array;
}

inline unique_ovarray_ptr categorical(const std::vector<orvane::ustring>& categories,
                               std::vector<std::int32_t> codes, bool ordered = false) {
  const std::size_t rows = codes.size();
  std::vector<std::size_t> missing;
  for (std::size_t i = 0; i < rows; ++i) {
    if (codes[i] < 0) missing.push_back(i);
  }
  auto array = ovCreateCategoricalArray(ovDims{rows, 1}, ovCreateStringColumn(categories),
                                        std::move(codes), ordered);
  for (std::size_t i : missing) ovSetMissing(array.get(), i);
  return array;
}

template <typename T>
unique_ovarray_ptr numeric(std::vector<T> values, std::initializer_list<std::size_t> missing = {}) {
  const std::size_t rows = values.size();
  auto array = ovCreateNumericArrayFromVector<T>(ovDims{rows, 1}, std::move(values));
  for (std::size_t i : missing) ovSetMissing(array.get(), i);
  return array;
}

inline unique_ovarray_ptr logical(std::vector<int> values,
                                  std::initializer_list<std::size_t> missing = {}) {
  auto array = ovCreateLogicalArray(ovDims{values.size(), 1});
  auto* data = static_cast<bool*>(ovGetDataMutable(array.get()));
  for (std::size_t i = 0; i < values.size(); ++i) data[i] = values[i] != 0;
  for (std::size_t i : missing) ovSetMissing(array.get(), i);
  return array;
}

inline unique_ovarray_ptr strings(const std::vector<orvane::ustring>& texts,
                                  std::initializer_list<std::size_t> missing = {}) {
  auto array = ovCreateStringColumn(texts);
  for (std::size_t i : missing) ovSetMissing(array.get(), i);
  return array;
}

inline unique_ovarray_ptr cells(std::vector<unique_ovarray_ptr> elements) {
  auto cell = ovCreateCellArray(ovDims{elements.size(), 1});
  for (std::size_t i = 0; i < elements.size(); ++i) ovReplaceCell(cell.get(), i, std::move(elements[i]));
  return cell;
}

template <typename... Columns>
unique_ovarray_ptr table(const std::vector<orvane::ustring>& names, Columns... columns) {
  std::vector<unique_ovarray_ptr> list;
  (list.push_back(std::move(columns)), ...);
  return ovCreateTable(std::move(list), names);
}

inline std::string describe(const ovArray* array) {
  return array ? ovArrayToText(array) : std::string("<null>");
}

inline ::testing::AssertionResult hostEqual(const ovArray* actual, const ovArray* expected) {
  const std::string difference = ovArraysDifference(actual, expected);
  if (difference.empty()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << difference << "\nactual:\n"
                                       << describe(actual) << "\nexpected:\n"
                                       << describe(expected);
}

}  // namespace convert_test

// Deep equality of host arrays, printing the first difference and both arrays.
#define EXPECT_HOST_EQ(actual, expected) \
  EXPECT_TRUE(::convert_test::hostEqual((actual), (expected)))
