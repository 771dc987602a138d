// Random Arrow types, arrays and tables for the round-trip property tests.
#pragma once

#include <arrow/api.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace convert_test {

class RandomArrow {
 public:
  struct Options {
    // Only the canonical types of host classes (those to_arrow_table
    // produces, lists, large lists, maps and binaries included); otherwise
    // every type with a host class.
    bool canonical = true;
    // Null struct rows (missing records).
    bool structNulls = false;
    // Top-level dictionary columns whose chunks carry different dictionaries.
    bool differingDictionaries = false;
    // Nesting depth of generated types.
    int maxDepth = 3;
    // Every list array of at least one row has a row with elements (when
    // false, lists may be all empty or all missing, and null list rows may
    // still span values).
    bool listsHaveElements = true;
  };

  RandomArrow(std::uint64_t seed, Options options) : mRng(seed), mOptions(options) {}

  std::shared_ptr<::arrow::DataType> type(int depth = 0);
  // `length` rows of `type`; nulls, slices (non-zero offsets) and, for lists,
  // null rows that still span values are all mixed in.
  std::shared_ptr<::arrow::Array> array(const std::shared_ptr<::arrow::DataType>& type,
                                        std::int64_t length, bool underList = false);
  // A column of several chunks (some of them empty).
  std::shared_ptr<::arrow::ChunkedArray> column(const std::shared_ptr<::arrow::DataType>& type,
                                                std::int64_t length);
  std::shared_ptr<::arrow::Table> table(int columns, std::int64_t rows);

  std::mt19937_64& rng() { return mRng; }
  int uniform(int low, int high) { return std::uniform_int_distribution<int>(low, high)(mRng); }
  bool chance(double p) { return std::bernoulli_distribution(p)(mRng); }

 private:
  std::shared_ptr<::arrow::DataType> scalarType();
  std::shared_ptr<::arrow::Buffer> validity(std::int64_t length, double nullProbability,
                                            std::int64_t* nullCount);
  // `filledRow`: a row that lists must fill (when listsHaveElements), or -1.
  std::shared_ptr<::arrow::Array> build(const std::shared_ptr<::arrow::DataType>& type,
                                        std::int64_t length, bool underList,
                                        std::int64_t filledRow);
  std::shared_ptr<::arrow::Array> dictionaryValues(const ::arrow::DictionaryType& type,
                                                   bool fresh);
  std::string text(bool utf8);

  std::mt19937_64 mRng;
  Options mOptions;
  double mNullProbability = 0.2;
  bool mAllowNulls = true;
  bool mFreshDictionaries = false;
  std::map<std::string, std::shared_ptr<::arrow::Array>> mDictionaries;
};

}  // namespace convert_test
