#include <ovparquet/host/array.hpp>
#include <ovparquet/host/array_text.hpp>
#include <ovparquet/host/error.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using orvane::ustring;

// The identifier and arguments of the host error `f` raises.
struct RaisedError {
  std::string identifier;
  std::vector<orvane::MessageArgument> arguments;
};

RaisedError hostErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const orvane::HostError& e) {
    return {e.identifier(), e.message().arguments};
  }
  return {"no error", {}};
}

std::vector<orvane::MessageArgument> args(std::string a, std::string b) {
  return {orvane::MessageArgument(std::move(a)), orvane::MessageArgument(std::move(b))};
}

std::vector<orvane::MessageArgument> args(std::uint64_t a, std::uint64_t b) {
  return {orvane::MessageArgument(a), orvane::MessageArgument(b)};
}

constexpr const char* kClassMismatch = "ORVANE:host:ArrayClassMismatch";
constexpr const char* kOutOfRange = "ORVANE:host:ArrayIndexOutOfRange";
constexpr const char* kFieldNotFound = "ORVANE:host:ArrayFieldNotFound";

// An array whose destruction can be observed: it shares memory with an owner
// that is released only when the array goes.
struct Tracked {
  unique_ovarray_ptr array;
  std::weak_ptr<const void> alive;
};

Tracked tracked(double value = 1.0) {
  auto owner = std::make_shared<std::vector<double>>(1, value);
  std::weak_ptr<const void> alive = owner;
  auto array = ovCreateNumericArrayShared({1, 1}, ovClassID::Double, owner->data(), owner);
  return {std::move(array), alive};
}

unique_ovarray_ptr doubles(const ovDims& dims, std::vector<double> values) {
  return ovCreateNumericArrayFromVector(dims, std::move(values));
}

unique_ovarray_ptr doubleRow(std::vector<double> values) {
  const std::size_t n = values.size();
  return doubles({1, n}, std::move(values));
}

unique_ovarray_ptr doubleColumn(std::vector<double> values) {
  const std::size_t n = values.size();
  return doubles({n, 1}, std::move(values));
}

std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  statm >> size >> resident;
  return resident * 4096;
}

const ovClassID kFlatClasses[] = {
    ovClassID::Double, ovClassID::Single, ovClassID::Int8,   ovClassID::UInt8,
    ovClassID::Int16,  ovClassID::UInt16, ovClassID::Int32,  ovClassID::UInt32,
    ovClassID::Int64,  ovClassID::UInt64, ovClassID::Logical, ovClassID::Char,
};

// ---------------------------------------------------------------------------
// Classes and dimensions
// ---------------------------------------------------------------------------

TEST(ArrayClasses, NamesRoundTrip) {
  const std::vector<std::string> names = {
      "double", "single",  "int8", "uint8",  "int16", "uint16", "int32",    "uint32",   "int64",
      "uint64", "logical", "char", "string", "cell",  "struct", "datetime", "duration", "categorical"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto id = static_cast<ovClassID>(i);
    EXPECT_EQ(ovClassName(id), names[i]);
    ASSERT_TRUE(ovClassFromName(names[i]).has_value());
    EXPECT_EQ(*ovClassFromName(names[i]), id);
  }
  EXPECT_FALSE(ovClassFromName("table").has_value());
  EXPECT_FALSE(ovClassFromName("Double").has_value());
  EXPECT_STREQ(ovTimeUnitName(ovTimeUnit::Micro), "us");
  EXPECT_STREQ(ovTimeUnitName(ovTimeUnit::Day), "day");
}

TEST(ArrayNumeric, EveryFlatClassIsZeroFilledAndAligned) {
  for (const ovClassID id : kFlatClasses) {
    SCOPED_TRACE(ovClassName(id));
    auto a = ovCreateNumericMatrix(2, 3, id);
    EXPECT_EQ(ovGetClassID(a.get()), id);
    EXPECT_STREQ(ovGetClassName(a.get()), ovClassName(id));
    EXPECT_EQ(ovGetDimensions(a.get()), (ovDims{2, 3}));
    EXPECT_EQ(ovGetNumberOfElements(a.get()), 6u);
    EXPECT_EQ(ovGetM(a.get()), 2u);
    EXPECT_EQ(ovGetN(a.get()), 3u);
    EXPECT_FALSE(ovIsEmpty(a.get()));
    EXPECT_FALSE(ovIsComplex(a.get()));
    EXPECT_FALSE(ovIsContainer(a.get()));
    const auto* bytes = static_cast<const unsigned char*>(ovGetData(a.get()));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % 64, 0u);
    const std::size_t size = ovGetElementSize(a.get());
    EXPECT_EQ(size, ovClassElementSize(id));
    for (std::size_t i = 0; i < 6 * size; ++i) EXPECT_EQ(bytes[i], 0) << i;
    EXPECT_EQ(ovGetScalar(a.get(), 5), 0.0);
  }
  EXPECT_EQ(ovClassElementSize(ovClassID::Int16), 2u);
  EXPECT_EQ(ovClassElementSize(ovClassID::Char), 2u);
  EXPECT_EQ(ovClassElementSize(ovClassID::String), 0u);
}

TEST(ArrayNumeric, ClassPredicates) {
  auto d = ovCreateDoubleScalar(1);
  auto s = ovCreateNumericMatrix(1, 1, ovClassID::Single);
  auto i = ovCreateNumericMatrix(1, 1, ovClassID::UInt16);
  auto l = ovCreateLogicalScalar(true);
  auto c = ovCreateCharArray(u"x");
  auto str = ovCreateString(u"x");
  auto cell = ovCreateCellMatrix(1, 1);
  auto st = ovCreateStructMatrix(1, 1, {});
  auto dt = ovCreateDatetimeArray({1, 1}, ovTimeUnit::Second);
  auto du = ovCreateDurationArray({1, 1}, ovTimeUnit::Second);
  auto cat = ovCreateCategoricalArray({1, 1}, ovCreateString(u"a"));
  EXPECT_TRUE(ovIsNumeric(d.get()) && ovIsFloat(d.get()) && ovIsDouble(d.get()));
  EXPECT_FALSE(ovIsInteger(d.get()));
  EXPECT_TRUE(ovIsSingle(s.get()) && ovIsFloat(s.get()) && !ovIsDouble(s.get()));
  EXPECT_TRUE(ovIsInteger(i.get()) && ovIsNumeric(i.get()) && !ovIsFloat(i.get()));
  EXPECT_TRUE(ovIsLogical(l.get()));
  EXPECT_FALSE(ovIsNumeric(l.get()));
  EXPECT_TRUE(ovIsChar(c.get()));
  EXPECT_FALSE(ovIsNumeric(c.get()));
  EXPECT_TRUE(ovIsString(str.get()));
  EXPECT_TRUE(ovIsCell(cell.get()) && ovIsContainer(cell.get()));
  EXPECT_TRUE(ovIsStruct(st.get()) && ovIsContainer(st.get()));
  EXPECT_TRUE(ovIsDatetime(dt.get()) && !ovIsDuration(dt.get()));
  EXPECT_TRUE(ovIsDuration(du.get()) && !ovIsNumeric(du.get()));
  EXPECT_TRUE(ovIsCategorical(cat.get()));
  for (const ovArray* a : {str.get(), cell.get(), dt.get(), du.get(), cat.get()}) {
    EXPECT_FALSE(ovIsNumeric(a)) << ovGetClassName(a);
  }
}

TEST(ArrayDims, Normalisation) {
  auto none = ovCreateNumericArray(0, nullptr, ovClassID::Double);
  EXPECT_EQ(ovGetDimensions(none.get()), (ovDims{0, 0}));
  EXPECT_TRUE(ovIsEmpty(none.get()));
  const std::size_t one[] = {4};
  auto column = ovCreateNumericArray(1, one, ovClassID::Double);
  EXPECT_EQ(ovGetDimensions(column.get()), (ovDims{4, 1}));
  auto trailing = ovCreateNumericArray({2, 3, 1, 1}, ovClassID::Int8);
  EXPECT_EQ(ovGetDimensions(trailing.get()), (ovDims{2, 3}));
  EXPECT_EQ(ovGetNumberOfDimensions(trailing.get()), 2u);
  auto nd = ovCreateNumericArray({2, 1, 3}, ovClassID::Int8);
  EXPECT_EQ(ovGetDimensions(nd.get()), (ovDims{2, 1, 3}));
  EXPECT_EQ(ovGetNumberOfDimensions(nd.get()), 3u);
  EXPECT_EQ(ovGetM(nd.get()), 2u);
  EXPECT_EQ(ovGetN(nd.get()), 3u);
  EXPECT_EQ(ovGetNumberOfElements(nd.get()), 6u);
  auto zero = ovCreateNumericArray({3, 0, 2}, ovClassID::Double);
  EXPECT_EQ(ovGetNumberOfElements(zero.get()), 0u);
  EXPECT_NE(ovGetData(zero.get()), nullptr);

  ovSetDimensions(nd.get(), {3, 2, 1});
  EXPECT_EQ(ovGetDimensions(nd.get()), (ovDims{3, 2}));
  EXPECT_THROW(ovSetDimensions(nd.get(), {4, 2}), std::invalid_argument);
  EXPECT_EQ(ovGetDimensions(nd.get()), (ovDims{3, 2}));
}

TEST(ArrayDims, ColumnMajorIndexing) {
  auto a = ovCreateUninitNumericArray({2, 3, 2}, ovClassID::Double);
  double* data = ovGetTypedDataMutable<double>(a.get());
  for (std::size_t i = 0; i < 12; ++i) data[i] = static_cast<double>(i);
  EXPECT_EQ(ovCalcSingleSubscript(a.get(), {0, 0, 0}), 0u);
  EXPECT_EQ(ovCalcSingleSubscript(a.get(), {1, 0, 0}), 1u);
  EXPECT_EQ(ovCalcSingleSubscript(a.get(), {0, 1, 0}), 2u);
  EXPECT_EQ(ovCalcSingleSubscript(a.get(), {1, 2, 1}), 11u);
  EXPECT_EQ(ovCalcSingleSubscript(a.get(), {1, 2}), 5u);
  EXPECT_EQ(ovGetScalar(a.get(), ovCalcSingleSubscript(a.get(), {1, 1, 1})), 9.0);
  const auto e = hostErrorOf([&] { ovCalcSingleSubscript(a.get(), {2, 0, 0}); });
  EXPECT_EQ(e.identifier, kOutOfRange);
  EXPECT_EQ(e.arguments, args(2, 2));
}

// ---------------------------------------------------------------------------
// Numeric data
// ---------------------------------------------------------------------------

TEST(ArrayNumeric, UninitDoesNotTouchMemory) {
  constexpr std::size_t kCount = 10'000'000;  // 80 MB
  const std::size_t before = residentBytes();
  const std::size_t dims[] = {kCount, 1};
  auto uninit = ovCreateUninitNumericArray(2, dims, ovClassID::Double, ovComplexity::Real);
  const std::size_t afterUninit = residentBytes();
  EXPECT_EQ(ovGetNumberOfElements(uninit.get()), kCount);
  EXPECT_LT(afterUninit - std::min(afterUninit, before), 40u << 20);
  uninit.reset();

  // The measurement itself works: zero-filling makes the pages resident.
  const std::size_t beforeZero = residentBytes();
  auto zeroed = ovCreateNumericArray(2, dims, ovClassID::Double);
  const std::size_t afterZero = residentBytes();
  EXPECT_GT(afterZero - std::min(afterZero, beforeZero), 70u << 20);
}

TEST(ArrayNumeric, Scalars) {
  auto d = ovCreateDoubleScalar(2.5);
  EXPECT_EQ(ovGetDimensions(d.get()), (ovDims{1, 1}));
  EXPECT_TRUE(ovIsScalar(d.get()));
  EXPECT_EQ(ovGetScalar(d.get()), 2.5);
  auto l = ovCreateLogicalScalar(true);
  EXPECT_EQ(ovGetScalar(l.get()), 1.0);
  EXPECT_TRUE(ovGetTypedData<bool>(l.get())[0]);
  auto lm = ovCreateLogicalMatrix(2, 2);
  EXPECT_EQ(ovGetClassID(lm.get()), ovClassID::Logical);
  EXPECT_FALSE(ovGetTypedData<bool>(lm.get())[3]);

  auto i8 = ovCreateNumericMatrix(1, 2, ovClassID::Int8);
  ovGetTypedDataMutable<std::int8_t>(i8.get())[1] = -3;
  EXPECT_EQ(ovGetScalar(i8.get(), 1), -3.0);
  auto u64 = ovCreateNumericMatrix(1, 1, ovClassID::UInt64);
  ovGetTypedDataMutable<std::uint64_t>(u64.get())[0] = std::uint64_t{1} << 40;
  EXPECT_EQ(ovGetScalar(u64.get()), 1099511627776.0);
  auto c = ovCreateCharArray(u"AB");
  EXPECT_EQ(ovGetDimensions(c.get()), (ovDims{1, 2}));
  EXPECT_EQ(ovGetScalar(c.get(), 1), 66.0);
}

TEST(ArrayNumeric, ScalarMisuseRaisesHostErrors) {
  auto s = ovCreateString(u"x");
  auto e = hostErrorOf([&] { ovGetScalar(s.get()); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("numeric", "string"));
  auto d = ovCreateDoubleScalar(1);
  e = hostErrorOf([&] { ovGetScalar(d.get(), 5); });
  EXPECT_EQ(e.identifier, kOutOfRange);
  EXPECT_EQ(e.arguments, args(5, 1));
  auto cell = ovCreateCellMatrix(1, 1);
  e = hostErrorOf([&] { ovGetData(cell.get()); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("numeric", "cell"));
  EXPECT_THROW(ovCreateNumericMatrix(1, 1, ovClassID::String), std::invalid_argument);
}

TEST(ArrayNumeric, TypedDataChecksTheClass) {
  auto a = ovCreateNumericMatrix(1, 3, ovClassID::Int32);
  EXPECT_NE(ovGetTypedData<std::int32_t>(a.get()), nullptr);
  const auto e = hostErrorOf([&] { ovGetTypedData<double>(a.get()); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("double", "int32"));
  EXPECT_EQ(hostErrorOf([&] { ovGetTypedDataMutable<std::uint32_t>(a.get()); }).identifier,
            kClassMismatch);
  // Same width, different class.
  EXPECT_EQ(hostErrorOf([&] { ovGetTypedData<std::uint32_t>(a.get()); }).identifier, kClassMismatch);
}

TEST(ArrayNumeric, ComplexKeepsASecondBuffer) {
  auto z = ovCreateNumericMatrix(1, 2, ovClassID::Double, ovComplexity::Complex);
  EXPECT_TRUE(ovIsComplex(z.get()));
  auto* re = static_cast<double*>(ovGetDataMutable(z.get()));
  auto* im = static_cast<double*>(ovGetImagDataMutable(z.get()));
  ASSERT_NE(im, nullptr);
  EXPECT_NE(re, im);
  EXPECT_EQ(im[0], 0.0);
  EXPECT_EQ(im[1], 0.0);
  re[1] = 3;
  im[1] = -4;
  EXPECT_EQ(ovGetScalar(z.get(), 1), 3.0);  // the real part

  auto real = ovCreateDoubleScalar(1);
  EXPECT_EQ(ovGetImagData(real.get()), nullptr);
  EXPECT_THROW(ovCreateNumericMatrix(1, 1, ovClassID::Logical, ovComplexity::Complex),
               std::invalid_argument);
  EXPECT_THROW(ovCreateNumericMatrix(1, 1, ovClassID::Char, ovComplexity::Complex),
               std::invalid_argument);

  auto copy = ovDuplicateArray(z.get());
  EXPECT_TRUE(ovArraysEqual(z.get(), copy.get()));
  static_cast<double*>(ovGetImagDataMutable(copy.get()))[1] = 4;
  EXPECT_FALSE(ovArraysEqual(z.get(), copy.get()));
  EXPECT_EQ(ovArraysDifference(z.get(), copy.get()), "array(1): imaginary -4 vs 4");
  EXPECT_EQ(im[1], -4);
}

TEST(ArrayNumeric, AdoptsAVectorWithoutCopying) {
  std::vector<std::int16_t> values = {1, -2, 3, -4, 5, -6};
  const std::int16_t* storage = values.data();
  auto a = ovCreateNumericArrayFromVector({2, 3}, std::move(values));
  EXPECT_EQ(ovGetClassID(a.get()), ovClassID::Int16);
  EXPECT_EQ(ovGetTypedData<std::int16_t>(a.get()), storage);
  EXPECT_EQ(ovGetScalar(a.get(), 3), -4.0);
  ovGetTypedDataMutable<std::int16_t>(a.get())[0] = 7;  // owned: written in place
  EXPECT_EQ(ovGetTypedData<std::int16_t>(a.get()), storage);
  EXPECT_EQ(storage[0], 7);

  EXPECT_THROW(ovCreateNumericArrayFromVector({2, 2}, std::vector<double>(3)),
               std::invalid_argument);
  auto empty = ovCreateNumericArrayFromVector({0, 1}, std::vector<float>{});
  EXPECT_NE(ovGetData(empty.get()), nullptr);
  EXPECT_EQ(ovGetClassID(empty.get()), ovClassID::Single);
}

TEST(ArrayNumeric, SharedMemoryIsCopiedBeforeWriting) {
  auto owner = std::make_shared<std::vector<double>>(std::vector<double>{1, 2, 3});
  const double* shared = owner->data();
  std::weak_ptr<std::vector<double>> alive = owner;
  auto a = ovCreateNumericArrayShared({3, 1}, ovClassID::Double, owner->data(), owner);
  auto b = ovCreateNumericArrayShared({3, 1}, ovClassID::Double, owner->data(), owner);
  std::shared_ptr<const void> keep = owner;  // lets the test read the memory to the end
  owner.reset();
  ASSERT_FALSE(alive.expired());
  EXPECT_EQ(ovGetData(a.get()), shared);

  double* mine = ovGetTypedDataMutable<double>(a.get());
  EXPECT_NE(mine, shared);
  mine[0] = 10;
  EXPECT_EQ(shared[0], 1.0);
  EXPECT_EQ(ovGetScalar(a.get(), 0), 10.0);
  EXPECT_EQ(ovGetScalar(a.get(), 2), 3.0);

  ovSetMissing(b.get(), 1);  // a write too
  EXPECT_NE(ovGetData(b.get()), shared);
  EXPECT_EQ(shared[1], 2.0);
  EXPECT_TRUE(std::isnan(ovGetScalar(b.get(), 1)));
  keep.reset();
  EXPECT_TRUE(alive.expired());  // neither array holds the shared memory any more
  EXPECT_EQ(ovGetScalar(b.get(), 2), 3.0);

  const std::int64_t ticks[] = {1};
  EXPECT_THROW(ovCreateNumericArrayShared({1, 1}, ovClassID::Datetime, ticks, nullptr),
               std::invalid_argument);
  EXPECT_THROW(ovCreateNumericArrayShared({1, 1}, ovClassID::String, ticks, nullptr),
               std::invalid_argument);
}

// ---------------------------------------------------------------------------
// Missing values
// ---------------------------------------------------------------------------

TEST(ArrayMissing, ValueUnderTheMaskPerClass) {
  for (const ovClassID id : kFlatClasses) {
    SCOPED_TRACE(ovClassName(id));
    auto a = ovCreateUninitNumericArray({1, 3}, id);
    std::memset(ovGetDataMutable(a.get()), 0x01, 3 * ovGetElementSize(a.get()));
    EXPECT_FALSE(ovHasMissingMask(a.get()));
    EXPECT_FALSE(ovHasMissing(a.get()));
    EXPECT_EQ(ovGetMissingMask(a.get()), nullptr);
    ovSetMissing(a.get(), 1);
    ASSERT_NE(ovGetMissingMask(a.get()), nullptr);
    EXPECT_EQ(ovGetMissingMask(a.get())[0], 0);
    EXPECT_EQ(ovGetMissingMask(a.get())[1], 1);
    EXPECT_TRUE(ovIsMissing(a.get(), 1));
    EXPECT_FALSE(ovIsMissing(a.get(), 2));
    EXPECT_TRUE(ovHasMissing(a.get()));
    EXPECT_EQ(ovCountMissing(a.get()), 1u);
    const double under = ovGetScalar(a.get(), 1);
    if (id == ovClassID::Double || id == ovClassID::Single) {
      EXPECT_TRUE(std::isnan(under));
    } else {
      EXPECT_EQ(under, 0.0);
    }
    EXPECT_NE(ovGetScalar(a.get(), 0), 0.0);  // neighbours untouched
    EXPECT_NE(ovGetScalar(a.get(), 2), 0.0);
  }
}

TEST(ArrayMissing, ComplexTimeAndCategoricalConventions) {
  auto z = ovCreateNumericMatrix(1, 1, ovClassID::Single, ovComplexity::Complex);
  ovSetMissing(z.get(), 0);
  EXPECT_TRUE(std::isnan(static_cast<const float*>(ovGetData(z.get()))[0]));
  EXPECT_TRUE(std::isnan(static_cast<const float*>(ovGetImagData(z.get()))[0]));

  auto dt = ovCreateDatetimeArray({1, 2}, ovTimeUnit::Milli, std::nullopt,
                                  std::vector<std::int64_t>{5, 6});
  ovSetMissing(dt.get(), 0);
  EXPECT_EQ(ovGetTicks(dt.get())[0], 0);
  EXPECT_EQ(ovGetTicks(dt.get())[1], 6);
  auto du = ovCreateDurationArray({1, 1}, ovTimeUnit::Nano, std::vector<std::int64_t>{9});
  ovSetMissing(du.get(), 0);
  EXPECT_EQ(ovGetTicks(du.get())[0], 0);

  auto cat = ovCreateCategoricalArray({1, 2}, ovCreateStringRow({u"a", u"b"}),
                                      std::vector<std::int32_t>{1, 0});
  ovSetMissing(cat.get(), 0);
  EXPECT_EQ(ovGetCategoryCodes(cat.get())[0], -1);
  EXPECT_EQ(ovGetCategoryCodes(cat.get())[1], 0);
  EXPECT_TRUE(ovIsMissing(cat.get(), 0));
  EXPECT_TRUE(ovCategoryCodesValid(cat.get()));
}

TEST(ArrayMissing, StringElementBecomesEmpty) {
  auto s = ovCreateStringRow({u"ab", u"cde", u"f"});
  ovSetMissing(s.get(), 1);
  EXPECT_TRUE(ovIsMissing(s.get(), 1));
  EXPECT_EQ(ovGetString(s.get(), 1), u"");
  EXPECT_EQ(ovGetString(s.get(), 0), u"ab");
  EXPECT_EQ(ovGetString(s.get(), 2), u"f");
  EXPECT_EQ(ovGetStringBuffer(s.get()), u"abf");
  const std::int64_t* offsets = ovGetStringOffsets(s.get());
  EXPECT_EQ(std::vector<std::int64_t>(offsets, offsets + 4), (std::vector<std::int64_t>{0, 2, 2, 3}));
  // Setting the text again makes it present.
  ovSetString(s.get(), 1, u"xy");
  EXPECT_FALSE(ovIsMissing(s.get(), 1));
  EXPECT_EQ(ovGetString(s.get(), 1), u"xy");
}

TEST(ArrayMissing, MaskAllocationAndRemoval) {
  auto a = ovCreateNumericMatrix(2, 2, ovClassID::Int64);
  std::uint8_t* mask = ovAllocMissingMask(a.get());
  ASSERT_NE(mask, nullptr);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(mask[i], 0);
  EXPECT_TRUE(ovHasMissingMask(a.get()));
  EXPECT_FALSE(ovHasMissing(a.get()));
  EXPECT_EQ(ovAllocMissingMask(a.get()), mask);  // the same mask again
  mask[3] = 1;
  EXPECT_TRUE(ovIsMissing(a.get(), 3));
  EXPECT_EQ(ovCountMissing(a.get()), 1u);
  ovRemoveMissingMask(a.get());
  EXPECT_FALSE(ovHasMissingMask(a.get()));
  EXPECT_FALSE(ovIsMissing(a.get(), 3));
  EXPECT_EQ(hostErrorOf([&] { ovIsMissing(a.get(), 4); }).identifier, kOutOfRange);
  EXPECT_EQ(hostErrorOf([&] { ovSetMissing(a.get(), 4); }).identifier, kOutOfRange);
}

TEST(ArrayMissing, ContainersHaveNoMask) {
  auto cell = ovCreateCellMatrix(1, 2);
  auto st = ovCreateStructMatrix(1, 1, {"a"});
  for (ovArray* a : {cell.get(), st.get()}) {
    SCOPED_TRACE(ovGetClassName(a));
    EXPECT_EQ(ovGetMissingMask(a), nullptr);
    EXPECT_FALSE(ovIsMissing(a, 0));
    const auto e = hostErrorOf([&] { ovSetMissing(a, 0); });
    EXPECT_EQ(e.identifier, kClassMismatch);
    EXPECT_EQ(e.arguments, args("non-container", ovGetClassName(a)));
    EXPECT_EQ(hostErrorOf([&] { ovAllocMissingMask(a); }).identifier, kClassMismatch);
  }
}

// ---------------------------------------------------------------------------
// Strings
// ---------------------------------------------------------------------------

TEST(ArrayString, SingleString) {
  auto s = ovCreateString(u"h\u00e9llo");
  EXPECT_TRUE(ovIsString(s.get()));
  EXPECT_EQ(ovGetDimensions(s.get()), (ovDims{1, 1}));
  EXPECT_EQ(ovGetString(s.get()), u"h\u00e9llo");
  EXPECT_EQ(ovGetStringView(s.get(), 0), u"h\u00e9llo");
  EXPECT_EQ(ovGetStringUtf8(s.get()), "h\xc3\xa9llo");
  auto e = ovCreateString(u"");
  EXPECT_EQ(ovGetString(e.get()), u"");
  EXPECT_EQ(ovGetNumberOfElements(e.get()), 1u);
  auto u = ovCreateStringFromUtf8("\xf0\x9f\x98\x80");
  EXPECT_EQ(ovGetString(u.get()), u"\U0001F600");
  EXPECT_EQ(ovGetString(u.get()).size(), 2u);  // a surrogate pair
}

TEST(ArrayString, BuilderLaysOutOneBufferWithOffsets) {
  ovStringArrayBuilder builder({5, 1});
  builder.reserveText(16);
  builder.append(u"");
  builder.append(u"ab");
  EXPECT_EQ(builder.appendUtf8("\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"), 0u);  // é € 😀
  builder.appendMissing();
  EXPECT_EQ(builder.appendUtf8("\xffx"), 1u);
  EXPECT_EQ(builder.size(), 5u);
  EXPECT_THROW(builder.append(u"too many"), std::logic_error);
  auto s = builder.finish();
  EXPECT_EQ(ovGetDimensions(s.get()), (ovDims{5, 1}));
  EXPECT_EQ(ovGetStringBuffer(s.get()), u"ab\u00e9\u20ac\U0001F600\uFFFDx");
  const std::int64_t* offsets = ovGetStringOffsets(s.get());
  EXPECT_EQ(std::vector<std::int64_t>(offsets, offsets + 6),
            (std::vector<std::int64_t>{0, 0, 2, 6, 6, 8}));
  EXPECT_EQ(ovGetString(s.get(), 0), u"");
  EXPECT_FALSE(ovIsMissing(s.get(), 0));
  EXPECT_EQ(ovGetString(s.get(), 2), u"\u00e9\u20ac\U0001F600");
  EXPECT_EQ(ovGetStringUtf8(s.get(), 2), "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
  EXPECT_TRUE(ovIsMissing(s.get(), 3));
  EXPECT_EQ(ovGetString(s.get(), 4), u"\uFFFDx");
  EXPECT_EQ(ovCountMissing(s.get()), 1u);
}

TEST(ArrayString, BuilderDemandsEveryElement) {
  ovStringArrayBuilder builder({1, 2});
  builder.append(u"a");
  EXPECT_THROW(builder.finish(), std::logic_error);
  builder.append(u"b");
  auto s = builder.finish();
  EXPECT_EQ(ovGetString(s.get(), 1), u"b");
  EXPECT_THROW(builder.finish(), std::logic_error);
  EXPECT_THROW(builder.append(u"c"), std::logic_error);
}

TEST(ArrayString, ArraysSettersAndBuffers) {
  auto s = ovCreateStringArray({2, 2});
  EXPECT_EQ(ovGetNumberOfElements(s.get()), 4u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(ovGetString(s.get(), i), u"");
  ovSetString(s.get(), 2, u"mid");
  ovSetString(s.get(), 0, u"first");
  ovSetString(s.get(), 3, u"\U0001F600");
  ovSetString(s.get(), 2, u"M");
  EXPECT_EQ(ovGetStringBuffer(s.get()), u"firstM\U0001F600");
  const std::int64_t* offsets = ovGetStringOffsets(s.get());
  EXPECT_EQ(std::vector<std::int64_t>(offsets, offsets + 5),
            (std::vector<std::int64_t>{0, 5, 5, 6, 8}));

  auto adopted = ovCreateStringArrayFromBuffers({1, 3}, u"abcd", {0, 1, 1, 4});
  EXPECT_EQ(ovGetString(adopted.get(), 0), u"a");
  EXPECT_EQ(ovGetString(adopted.get(), 1), u"");
  EXPECT_EQ(ovGetString(adopted.get(), 2), u"bcd");
  EXPECT_THROW(ovCreateStringArrayFromBuffers({1, 3}, u"abcd", {0, 1, 4}), std::invalid_argument);
  EXPECT_THROW(ovCreateStringArrayFromBuffers({1, 2}, u"abcd", {0, 3, 2}), std::invalid_argument);
  EXPECT_THROW(ovCreateStringArrayFromBuffers({1, 2}, u"abcd", {0, 1, 3}), std::invalid_argument);
  EXPECT_THROW(ovCreateStringArrayFromBuffers({1, 1}, u"ab", {1, 2}), std::invalid_argument);

  // Written in place: room for more text than used, trimmed on finishing.
  auto inPlace = ovCreateUninitStringArray({3, 1}, 10);
  std::u16string_view written = u"abcd";
  std::copy(written.begin(), written.end(), ovGetStringTextMutable(inPlace.get()));
  std::int64_t* room = ovGetStringOffsetsMutable(inPlace.get());
  room[0] = 0;
  room[1] = 1;
  room[2] = 1;
  room[3] = 4;
  ovFinishStringArray(inPlace.get(), 4);
  EXPECT_EQ(ovGetStringBuffer(inPlace.get()), u"abcd");
  EXPECT_EQ(ovGetString(inPlace.get(), 2), u"bcd");
  auto broken = ovCreateUninitStringArray({2, 1}, 4);
  std::int64_t* brokenOffsets = ovGetStringOffsetsMutable(broken.get());
  brokenOffsets[0] = 0;
  brokenOffsets[1] = 3;
  brokenOffsets[2] = 2;
  EXPECT_THROW(ovFinishStringArray(broken.get(), 2), std::invalid_argument);
  EXPECT_THROW(ovFinishStringArray(broken.get(), 5), std::invalid_argument);

  auto column = ovCreateStringColumn({u"x", u"yz"});
  EXPECT_EQ(ovGetDimensions(column.get()), (ovDims{2, 1}));
  EXPECT_EQ(ovGetString(column.get(), 1), u"yz");
}

TEST(ArrayString, MisuseRaisesHostErrors) {
  auto d = ovCreateDoubleScalar(1);
  auto e = hostErrorOf([&] { ovGetString(d.get()); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("string", "double"));
  auto s = ovCreateStringRow({u"a", u"b"});
  e = hostErrorOf([&] { ovGetStringView(s.get(), 2); });
  EXPECT_EQ(e.identifier, kOutOfRange);
  EXPECT_EQ(e.arguments, args(2, 2));
  EXPECT_EQ(hostErrorOf([&] { ovSetString(s.get(), 7, u"x"); }).identifier, kOutOfRange);
  EXPECT_EQ(hostErrorOf([&] { ovSetString(d.get(), 0, u"x"); }).identifier, kClassMismatch);
}

// ---------------------------------------------------------------------------
// Cells
// ---------------------------------------------------------------------------

TEST(ArrayCell, CreationAndEmptySlots) {
  const std::size_t dims[] = {1, 2};
  auto cell = ovCreateCellArray(2, dims);
  EXPECT_TRUE(ovIsCell(cell.get()));
  EXPECT_EQ(ovGetDimensions(cell.get()), (ovDims{1, 2}));
  EXPECT_EQ(ovGetCell(cell.get(), 0), nullptr);
  EXPECT_EQ(ovGetCell(cell.get(), 1), nullptr);
  auto matrix = ovCreateCellMatrix(3, 2);
  EXPECT_EQ(ovGetNumberOfElements(matrix.get()), 6u);
  auto nd = ovCreateCellArray({2, 2, 2});
  EXPECT_EQ(ovGetNumberOfDimensions(nd.get()), 3u);
}

TEST(ArrayCell, SetAndReplaceTakeOwnershipAndDestroyThePrevious) {
  auto cell = ovCreateCellMatrix(1, 2);
  Tracked first = tracked(1);
  Tracked second = tracked(2);
  ovArray* raw = first.array.release();
  ovSetCell(cell.get(), 0, raw);
  EXPECT_EQ(ovGetCell(cell.get(), 0), raw);
  EXPECT_FALSE(first.alive.expired());
  ovReplaceCell(cell.get(), 0, std::move(second.array));
  EXPECT_TRUE(first.alive.expired());
  EXPECT_EQ(ovGetScalar(ovGetCell(cell.get(), 0)), 2.0);
  ovSetCell(cell.get(), 0, nullptr);
  EXPECT_TRUE(second.alive.expired());
  EXPECT_EQ(ovGetCell(cell.get(), 0), nullptr);

  Tracked third = tracked(3);
  ovReplaceCell(cell.get(), 1, std::move(third.array));
  auto taken = ovTakeCell(cell.get(), 1);
  EXPECT_EQ(ovGetCell(cell.get(), 1), nullptr);
  EXPECT_FALSE(third.alive.expired());
  taken.reset();
  EXPECT_TRUE(third.alive.expired());

  Tracked fourth = tracked(4);
  ovReplaceCell(cell.get(), 1, std::move(fourth.array));
  cell.reset();
  EXPECT_TRUE(fourth.alive.expired());
}

TEST(ArrayCell, DestroyArrayFreesARawArray) {
  Tracked value = tracked();
  ovArray* raw = value.array.release();
  EXPECT_FALSE(value.alive.expired());
  ovDestroyArray(raw);
  EXPECT_TRUE(value.alive.expired());
  ovDestroyArray(nullptr);  // allowed, like delete
}

TEST(ArrayCell, MisuseDestroysTheValueAndRaises) {
  auto cell = ovCreateCellMatrix(1, 2);
  Tracked value = tracked();
  auto e = hostErrorOf([&] { ovSetCell(cell.get(), 2, value.array.release()); });
  EXPECT_EQ(e.identifier, kOutOfRange);
  EXPECT_EQ(e.arguments, args(2, 2));
  EXPECT_TRUE(value.alive.expired());

  auto notCell = ovCreateDoubleScalar(0);
  Tracked other = tracked();
  e = hostErrorOf([&] { ovSetCell(notCell.get(), 0, other.array.release()); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("cell", "double"));
  EXPECT_TRUE(other.alive.expired());
  EXPECT_EQ(hostErrorOf([&] { ovGetCell(cell.get(), 5); }).identifier, kOutOfRange);
  EXPECT_EQ(hostErrorOf([&] { ovGetCell(notCell.get(), 0); }).identifier, kClassMismatch);
}

TEST(ArrayCell, DuplicateIsIndependent) {
  auto cell = ovCreateCellMatrix(1, 2);
  ovReplaceCell(cell.get(), 0, doubleRow({1, 2, 3}));
  ovReplaceCell(cell.get(), 1, ovCreateString(u"s"));
  auto copy = ovDuplicateArray(cell.get());
  EXPECT_TRUE(ovArraysEqual(cell.get(), copy.get()));
  EXPECT_NE(ovGetCell(copy.get(), 0), ovGetCell(cell.get(), 0));
  ovGetTypedDataMutable<double>(ovGetCellMutable(cell.get(), 0))[1] = 20;
  EXPECT_EQ(ovGetScalar(ovGetCell(copy.get(), 0), 1), 2.0);
  EXPECT_FALSE(ovArraysEqual(cell.get(), copy.get()));
  cell.reset();
  EXPECT_EQ(ovGetString(ovGetCell(copy.get(), 1)), u"s");
}

// The way a reader's state travels: a 1-by-2 cell of the file name and the
// remaining row-group numbers.
TEST(ArrayCell, StateRoundTrip) {
  const std::vector<double> numbers = {1, 2, 3, 4};
  const std::size_t cellDims[] = {1, 2};
  auto state = ovCreateCellArray(2, cellDims);
  const std::size_t numberDims[] = {numbers.size() - 1, 1};
  auto remaining = ovCreateUninitNumericArray(2, numberDims, ovClassID::Double, ovComplexity::Real);
  std::copy(numbers.begin() + 1, numbers.end(), static_cast<double*>(ovGetDataMutable(remaining.get())));
  auto name = ovCreateString(u"f\u00fc.parquet");
  ovReplaceCell(state.get(), 0, std::move(name));
  ovReplaceCell(state.get(), 1, std::move(remaining));

  EXPECT_EQ(ovGetString(ovGetCell(state.get(), 0)), u"f\u00fc.parquet");
  const ovArray* read = ovGetCell(state.get(), 1);
  std::vector<double> back;
  for (std::size_t i = 0; i < ovGetNumberOfElements(read); ++i) back.push_back(ovGetScalar(read, i));
  EXPECT_EQ(back, (std::vector<double>{2, 3, 4}));
}

// ---------------------------------------------------------------------------
// Structs
// ---------------------------------------------------------------------------

TEST(ArrayStruct, FieldsAndAccess) {
  auto st = ovCreateStructMatrix(1, 2, {"a", "b"});
  EXPECT_TRUE(ovIsStruct(st.get()));
  EXPECT_EQ(ovGetNumberOfFields(st.get()), 2);
  EXPECT_EQ(ovGetFieldNameByNumber(st.get(), 1), "b");
  EXPECT_EQ(ovGetFieldNames(st.get()), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(ovGetFieldNumber(st.get(), "b"), 1);
  EXPECT_EQ(ovGetFieldNumber(st.get(), "c"), -1);
  EXPECT_EQ(ovGetField(st.get(), 0, "a"), nullptr);
  EXPECT_EQ(ovGetField(st.get(), 0, "c"), nullptr);

  ovSetField(st.get(), 1, "a", ovCreateDoubleScalar(7).release());
  ovReplaceField(st.get(), 0, "b", ovCreateString(u"x"));
  ovSetFieldByNumber(st.get(), 1, 1, ovCreateString(u"y").release());
  EXPECT_EQ(ovGetScalar(ovGetField(st.get(), 1, "a")), 7.0);
  EXPECT_EQ(ovGetField(st.get(), 0, "a"), nullptr);
  EXPECT_EQ(ovGetString(ovGetFieldByNumber(st.get(), 0, 1)), u"x");
  EXPECT_EQ(ovGetString(ovGetField(st.get(), 1, "b")), u"y");
  EXPECT_EQ(ovGetFieldMutable(st.get(), 1, "a"), ovGetField(st.get(), 1, "a"));

  EXPECT_EQ(ovGetNumberOfFields(ovCreateDoubleScalar(0).get()), 0);
  EXPECT_EQ(ovGetFieldNumber(ovCreateDoubleScalar(0).get(), "a"), -1);
  EXPECT_THROW(ovCreateStructMatrix(1, 1, {"a", "a"}), std::invalid_argument);
}

TEST(ArrayStruct, SetReplacesAndDestroys) {
  auto st = ovCreateStructMatrix(2, 1, {"v"});
  Tracked first = tracked(1);
  Tracked second = tracked(2);
  ovSetField(st.get(), 1, "v", first.array.release());
  ovReplaceField(st.get(), 1, "v", std::move(second.array));
  EXPECT_TRUE(first.alive.expired());
  EXPECT_EQ(ovGetScalar(ovGetField(st.get(), 1, "v")), 2.0);
  st.reset();
  EXPECT_TRUE(second.alive.expired());
}

TEST(ArrayStruct, AddAndRemoveFields) {
  auto st = ovCreateStructMatrix(1, 2, {"a", "b"});
  ovSetField(st.get(), 0, "a", ovCreateDoubleScalar(1).release());
  ovSetField(st.get(), 1, "a", ovCreateDoubleScalar(2).release());
  Tracked b1 = tracked(3);
  ovReplaceField(st.get(), 1, "b", std::move(b1.array));

  EXPECT_EQ(ovAddField(st.get(), "c"), 2);
  EXPECT_EQ(ovAddField(st.get(), "a"), 0);  // already there
  EXPECT_EQ(ovGetNumberOfFields(st.get()), 3);
  EXPECT_EQ(ovGetScalar(ovGetField(st.get(), 0, "a")), 1.0);
  EXPECT_EQ(ovGetScalar(ovGetField(st.get(), 1, "a")), 2.0);
  EXPECT_EQ(ovGetScalar(ovGetField(st.get(), 1, "b")), 3.0);
  EXPECT_EQ(ovGetField(st.get(), 1, "c"), nullptr);
  ovSetField(st.get(), 1, "c", ovCreateString(u"c1").release());

  ovRemoveField(st.get(), "b");
  EXPECT_TRUE(b1.alive.expired());
  EXPECT_EQ(ovGetFieldNames(st.get()), (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(ovGetScalar(ovGetField(st.get(), 1, "a")), 2.0);
  EXPECT_EQ(ovGetString(ovGetField(st.get(), 1, "c")), u"c1");
  const auto e = hostErrorOf([&] { ovRemoveField(st.get(), "b"); });
  EXPECT_EQ(e.identifier, kFieldNotFound);
  ASSERT_EQ(e.arguments.size(), 1u);
  EXPECT_EQ(std::get<std::string>(e.arguments[0]), "b");
}

TEST(ArrayStruct, MisuseRaisesHostErrors) {
  auto st = ovCreateStructMatrix(1, 1, {"a"});
  Tracked value = tracked();
  auto e = hostErrorOf([&] { ovSetField(st.get(), 0, "zzz", value.array.release()); });
  EXPECT_EQ(e.identifier, kFieldNotFound);
  ASSERT_EQ(e.arguments.size(), 1u);
  EXPECT_EQ(std::get<std::string>(e.arguments[0]), "zzz");
  EXPECT_TRUE(value.alive.expired());

  e = hostErrorOf([&] { ovGetField(st.get(), 1, "a"); });
  EXPECT_EQ(e.identifier, kOutOfRange);
  EXPECT_EQ(e.arguments, args(1, 1));
  e = hostErrorOf([&] { ovGetFieldByNumber(st.get(), 0, 1); });
  EXPECT_EQ(e.identifier, kOutOfRange);
  EXPECT_EQ(e.arguments, args(1, 1));
  EXPECT_EQ(hostErrorOf([&] { ovGetFieldNameByNumber(st.get(), -1); }).identifier, kOutOfRange);
  auto cell = ovCreateCellMatrix(1, 1);
  e = hostErrorOf([&] { ovGetField(cell.get(), 0, "a"); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("struct", "cell"));
  EXPECT_EQ(hostErrorOf([&] { ovAddField(cell.get(), "a"); }).identifier, kClassMismatch);
}

TEST(ArrayStruct, DuplicateIsDeep) {
  auto st = ovCreateStructMatrix(1, 1, {"n", "s"});
  ovReplaceField(st.get(), 0, "n", doubleRow({1, 2}));
  ovReplaceField(st.get(), 0, "s", ovCreateString(u"x"));
  auto copy = ovDuplicateArray(st.get());
  EXPECT_TRUE(ovArraysEqual(st.get(), copy.get()));
  ovSetString(ovGetFieldMutable(st.get(), 0, "s"), 0, u"changed");
  EXPECT_EQ(ovGetString(ovGetField(copy.get(), 0, "s")), u"x");
  EXPECT_EQ(ovArraysDifference(st.get(), copy.get()), "array.s(0): \"changed\" vs \"x\"");
}

// ---------------------------------------------------------------------------
// Datetime, duration, categorical
// ---------------------------------------------------------------------------

TEST(ArrayTime, DatetimeUnitZoneAndTicks) {
  auto naive = ovCreateDatetimeArray({2, 1}, ovTimeUnit::Micro);
  EXPECT_EQ(ovGetTimeUnit(naive.get()), ovTimeUnit::Micro);
  EXPECT_FALSE(ovGetTimeZone(naive.get()).has_value());
  EXPECT_EQ(ovGetTicks(naive.get())[1], 0);
  ovGetTicksMutable(naive.get())[1] = -5;
  EXPECT_EQ(ovGetTicks(naive.get())[1], -5);

  std::vector<std::int64_t> ticks = {1, 2, 3};
  const std::int64_t* storage = ticks.data();
  auto zoned = ovCreateDatetimeArray({1, 3}, ovTimeUnit::Nano, "Europe/Paris", std::move(ticks));
  EXPECT_EQ(ovGetTicks(zoned.get()), storage);
  EXPECT_EQ(*ovGetTimeZone(zoned.get()), "Europe/Paris");
  auto emptyZone = ovCreateDatetimeArray({1, 1}, ovTimeUnit::Day, std::string());
  ASSERT_TRUE(ovGetTimeZone(emptyZone.get()).has_value());
  EXPECT_EQ(*ovGetTimeZone(emptyZone.get()), "");
  ovSetTimeZone(emptyZone.get(), std::nullopt);
  EXPECT_FALSE(ovGetTimeZone(emptyZone.get()).has_value());
  EXPECT_THROW(ovCreateDatetimeArray({1, 2}, ovTimeUnit::Second, std::nullopt,
                                     std::vector<std::int64_t>{1}),
               std::invalid_argument);

  auto uninit = ovCreateDatetimeArray({3, 1}, ovTimeUnit::Second, std::nullopt, ovInit::Uninit);
  EXPECT_EQ(ovGetNumberOfElements(uninit.get()), 3u);
}

TEST(ArrayTime, Duration) {
  auto d = ovCreateDurationArray({1, 2}, ovTimeUnit::Milli, std::vector<std::int64_t>{1500, -1});
  EXPECT_TRUE(ovIsDuration(d.get()));
  EXPECT_EQ(ovGetTimeUnit(d.get()), ovTimeUnit::Milli);
  EXPECT_EQ(ovGetTicks(d.get())[0], 1500);
  EXPECT_THROW(ovCreateDurationArray({1, 1}, ovTimeUnit::Day), std::invalid_argument);
  auto e = hostErrorOf([&] { ovGetTimeZone(d.get()); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("datetime", "duration"));
  auto x = ovCreateDoubleScalar(0);
  EXPECT_EQ(hostErrorOf([&] { ovGetTicks(x.get()); }).identifier, kClassMismatch);
  EXPECT_EQ(hostErrorOf([&] { ovGetTimeUnit(x.get()); }).identifier, kClassMismatch);
}

TEST(ArrayCategorical, CodesAndCategories) {
  auto cat = ovCreateCategoricalArray({3, 1}, ovCreateStringRow({u"lo", u"hi"}),
                                      std::vector<std::int32_t>{1, 0, 1}, true);
  EXPECT_TRUE(ovIsCategorical(cat.get()));
  EXPECT_TRUE(ovIsOrdinal(cat.get()));
  EXPECT_EQ(ovGetNumberOfCategories(cat.get()), 2u);
  EXPECT_EQ(ovGetString(ovGetCategories(cat.get()), 1), u"hi");
  EXPECT_EQ(ovGetCategoryCodes(cat.get())[2], 1);
  EXPECT_TRUE(ovCategoryCodesValid(cat.get()));
  ovGetCategoryCodesMutable(cat.get())[2] = 2;
  EXPECT_FALSE(ovCategoryCodesValid(cat.get()));
  ovAllocMissingMask(cat.get())[2] = 1;  // a bad code under the mask is not looked at
  EXPECT_TRUE(ovCategoryCodesValid(cat.get()));

  auto zero = ovCreateCategoricalArray({1, 2}, ovCreateString(u"only"));
  EXPECT_FALSE(ovIsOrdinal(zero.get()));
  EXPECT_EQ(ovGetCategoryCodes(zero.get())[1], 0);

  auto copy = ovDuplicateArray(cat.get());
  EXPECT_NE(ovGetCategories(copy.get()), ovGetCategories(cat.get()));
  EXPECT_TRUE(ovArraysEqual(copy.get(), cat.get()));

  const auto e = hostErrorOf([&] { ovCreateCategoricalArray({1, 1}, ovCreateDoubleScalar(1)); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("string", "double"));
  EXPECT_THROW(ovCreateCategoricalArray({1, 1}, nullptr), std::invalid_argument);
  auto x = ovCreateDoubleScalar(0);
  EXPECT_EQ(hostErrorOf([&] { ovGetCategories(x.get()); }).identifier, kClassMismatch);
}

// ---------------------------------------------------------------------------
// Equality
// ---------------------------------------------------------------------------

TEST(ArrayEquality, EqualCopiesOfEveryClass) {
  std::vector<unique_ovarray_ptr> arrays;
  for (const ovClassID id : kFlatClasses) arrays.push_back(ovCreateNumericMatrix(2, 2, id));
  arrays.push_back(ovCreateStringRow({u"a", u""}));
  auto cell = ovCreateCellMatrix(1, 2);
  ovReplaceCell(cell.get(), 0, ovCreateDoubleScalar(1));
  arrays.push_back(std::move(cell));
  auto st = ovCreateStructMatrix(1, 1, {"f"});
  ovReplaceField(st.get(), 0, "f", ovCreateString(u"v"));
  arrays.push_back(std::move(st));
  arrays.push_back(ovCreateDatetimeArray({1, 1}, ovTimeUnit::Milli, "UTC"));
  arrays.push_back(ovCreateDurationArray({1, 1}, ovTimeUnit::Nano));
  arrays.push_back(ovCreateCategoricalArray({1, 1}, ovCreateString(u"c")));
  for (const auto& a : arrays) {
    SCOPED_TRACE(ovGetClassName(a.get()));
    auto copy = ovDuplicateArray(a.get());
    EXPECT_TRUE(ovArraysEqual(a.get(), copy.get()));
    EXPECT_EQ(*a, *copy);
    EXPECT_EQ(ovArraysDifference(a.get(), copy.get()), "");
  }
}

TEST(ArrayEquality, DetectsEachKindOfDifference) {
  struct Case {
    const char* what;
    unique_ovarray_ptr a;
    unique_ovarray_ptr b;
    std::string difference;
  };
  std::vector<Case> cases;
  cases.push_back({"class", ovCreateNumericMatrix(1, 1, ovClassID::Double),
                   ovCreateNumericMatrix(1, 1, ovClassID::Single), "array: class double vs single"});
  cases.push_back({"dims", doubleRow({1, 2}), doubleColumn({1, 2}), "array: dimensions 1x2 vs 2x1"});
  cases.push_back({"data", doubleRow({1, 2}), doubleRow({1, 3}), "array(1): 2 vs 3"});
  cases.push_back({"complexity", ovCreateNumericMatrix(1, 1, ovClassID::Double),
                   ovCreateNumericMatrix(1, 1, ovClassID::Double, ovComplexity::Complex),
                   "array: complexity real vs complex"});
  {
    auto a = doubleRow({1, 2});
    auto b = doubleRow({1, 2});
    ovAllocMissingMask(b.get())[0] = 1;
    cases.push_back({"missing", std::move(a), std::move(b), "array(0): present vs missing"});
  }
  {
    auto a = ovCreateNumericMatrix(1, 1, ovClassID::Int8);
    auto b = ovCreateNumericMatrix(1, 1, ovClassID::Int8);
    ovGetTypedDataMutable<std::int8_t>(b.get())[0] = 1;
    cases.push_back({"integer", std::move(a), std::move(b), "array(0): values differ"});
  }
  cases.push_back({"unit", ovCreateDatetimeArray({1, 1}, ovTimeUnit::Second),
                   ovCreateDatetimeArray({1, 1}, ovTimeUnit::Milli), "array: unit s vs ms"});
  cases.push_back({"zone", ovCreateDatetimeArray({1, 1}, ovTimeUnit::Second, "UTC"),
                   ovCreateDatetimeArray({1, 1}, ovTimeUnit::Second, "Asia/Tokyo"),
                   "array: time zone \"UTC\" vs \"Asia/Tokyo\""});
  cases.push_back({"zone given empty", ovCreateDatetimeArray({1, 1}, ovTimeUnit::Second),
                   ovCreateDatetimeArray({1, 1}, ovTimeUnit::Second, std::string()),
                   "array: time zone none vs \"\""});
  cases.push_back({"ticks", ovCreateDurationArray({1, 1}, ovTimeUnit::Second, std::vector<std::int64_t>{1}),
                   ovCreateDurationArray({1, 1}, ovTimeUnit::Second, std::vector<std::int64_t>{2}),
                   "array(0): values differ"});
  cases.push_back({"categories", ovCreateCategoricalArray({1, 1}, ovCreateString(u"a")),
                   ovCreateCategoricalArray({1, 1}, ovCreateString(u"b")),
                   "array.categories(0): \"a\" vs \"b\""});
  cases.push_back({"ordinal", ovCreateCategoricalArray({1, 1}, ovCreateString(u"a"), ovInit::Zero, false),
                   ovCreateCategoricalArray({1, 1}, ovCreateString(u"a"), ovInit::Zero, true),
                   "array: ordinal flag differs"});
  cases.push_back({"codes",
                   ovCreateCategoricalArray({1, 1}, ovCreateStringRow({u"a", u"b"}), std::vector<std::int32_t>{0}),
                   ovCreateCategoricalArray({1, 1}, ovCreateStringRow({u"a", u"b"}), std::vector<std::int32_t>{1}),
                   "array(0): values differ"});
  cases.push_back({"field names", ovCreateStructMatrix(1, 1, {"a", "b"}),
                   ovCreateStructMatrix(1, 1, {"b", "a"}), "array: fields [a, b] vs [b, a]"});
  {
    auto a = ovCreateCellMatrix(1, 2);
    auto b = ovCreateCellMatrix(1, 2);
    ovReplaceCell(a.get(), 1, doubleRow({1, 2, 3}));
    ovReplaceCell(b.get(), 1, doubleRow({1, 2, 4}));
    cases.push_back({"nested", std::move(a), std::move(b), "array{1}(2): 3 vs 4"});
  }
  {
    auto a = ovCreateCellMatrix(1, 1);
    auto b = ovCreateCellMatrix(1, 1);
    ovReplaceCell(b.get(), 0, ovCreateDoubleScalar(0));
    cases.push_back({"empty slot vs scalar", std::move(a), std::move(b),
                     "array{0}: dimensions 0x0 vs 1x1"});
  }
  cases.push_back({"text", ovCreateString(u"a"), ovCreateString(u"b"), "array(0): \"a\" vs \"b\""});
  {
    auto a = ovCreateString(u"");
    auto b = ovCreateString(u"");
    ovSetMissing(b.get(), 0);
    cases.push_back({"missing vs empty text", std::move(a), std::move(b), "array(0): present vs missing"});
  }
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_FALSE(ovArraysEqual(c.a.get(), c.b.get()));
    EXPECT_FALSE(ovArraysEqual(c.b.get(), c.a.get()));
    EXPECT_FALSE(*c.a == *c.b);
    EXPECT_EQ(ovArraysDifference(c.a.get(), c.b.get()), c.difference);
  }
}

TEST(ArrayEquality, MissingAndNaNRules) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(ovArraysEqual(doubleRow({nan, 1}).get(), doubleRow({nan, 1}).get()));
  EXPECT_TRUE(ovArraysEqual(doubleRow({-0.0}).get(), doubleRow({0.0}).get()));
  EXPECT_FALSE(ovArraysEqual(doubleRow({nan}).get(), doubleRow({0.0}).get()));

  // Values under the mask are not compared.
  auto a = doubleRow({1, 2});
  auto b = doubleRow({1, 5});
  ovAllocMissingMask(a.get())[1] = 1;
  ovAllocMissingMask(b.get())[1] = 1;
  EXPECT_TRUE(ovArraysEqual(a.get(), b.get()));
  auto i1 = ovCreateNumericArrayFromVector({1, 2}, std::vector<std::int32_t>{1, 2});
  auto i2 = ovCreateNumericArrayFromVector({1, 2}, std::vector<std::int32_t>{1, 9});
  ovAllocMissingMask(i1.get())[1] = 1;
  ovAllocMissingMask(i2.get())[1] = 1;
  EXPECT_TRUE(ovArraysEqual(i1.get(), i2.get()));

  // An all-clear mask equals none.
  auto c = doubleRow({1, 2});
  ovAllocMissingMask(c.get());
  EXPECT_TRUE(ovArraysEqual(c.get(), doubleRow({1, 2}).get()));

  // An empty slot equals a 0x0 double, in cells and structs.
  auto cell = ovCreateCellMatrix(1, 1);
  auto filled = ovCreateCellMatrix(1, 1);
  ovReplaceCell(filled.get(), 0, ovCreateNumericMatrix(0, 0, ovClassID::Double));
  EXPECT_TRUE(ovArraysEqual(cell.get(), filled.get()));
  EXPECT_TRUE(ovArraysEqual(ovCreateStructMatrix(1, 1, {"a"}).get(), ovCreateStructMatrix(1, 1, {"a"}).get()));
}

// ---------------------------------------------------------------------------
// Host tables
// ---------------------------------------------------------------------------

unique_ovarray_ptr sampleTable(std::size_t rows = 3) {
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(doubleColumn(std::vector<double>(rows, 1.5)));
  columns.push_back(ovCreateStringColumn(std::vector<ustring>(rows, u"s")));
  return ovCreateTable(std::move(columns), {u"x", u"name"});
}

TEST(ArrayTable, CreateAndRead) {
  auto table = sampleTable();
  EXPECT_TRUE(ovIsTable(table.get()));
  EXPECT_TRUE(ovIsStruct(table.get()));
  EXPECT_EQ(ovGetDimensions(table.get()), (ovDims{1, 1}));
  EXPECT_EQ(ovGetFieldNames(table.get()), (std::vector<std::string>{"Columns", "Names"}));
  EXPECT_EQ(ovGetNumberOfElements(ovGetField(table.get(), 0, "Columns")), 2u);
  EXPECT_EQ(ovGetNumberOfElements(ovGetField(table.get(), 0, "Names")), 2u);
  EXPECT_EQ(ovGetDimensions(ovGetField(table.get(), 0, "Columns")), (ovDims{1, 2}));
  EXPECT_EQ(ovTableNumVariables(table.get()), 2u);
  EXPECT_EQ(ovTableNumRows(table.get()), 3u);
  EXPECT_TRUE(ovIsString(ovTableColumn(table.get(), 1)));
  EXPECT_EQ(ovTableName(table.get(), 0), u"x");
  EXPECT_EQ(ovTableName(table.get(), 1), u"name");
  EXPECT_EQ(ovColumnHeight(ovTableColumn(table.get(), 0)), 3u);

  auto empty = ovCreateTable({}, {});
  EXPECT_TRUE(ovIsTable(empty.get()));
  EXPECT_EQ(ovTableNumVariables(empty.get()), 0u);
  EXPECT_EQ(ovTableNumRows(empty.get()), 0u);

  std::vector<unique_ovarray_ptr> one;
  one.push_back(ovCreateDoubleScalar(1));
  EXPECT_THROW(ovCreateTable(std::move(one), {u"a", u"b"}), std::invalid_argument);
  std::vector<unique_ovarray_ptr> withNull(1);
  EXPECT_THROW(ovCreateTable(std::move(withNull), {u"a"}), std::invalid_argument);
}

TEST(ArrayTable, NestedTablesCountTheirRows) {
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(doubleColumn({1, 2}));
  columns.push_back(sampleTable(2));
  auto table = ovCreateTable(std::move(columns), {u"id", u"inner"});
  EXPECT_TRUE(ovIsTable(table.get()));
  EXPECT_EQ(ovColumnHeight(ovTableColumn(table.get(), 1)), 2u);

  std::vector<unique_ovarray_ptr> uneven;
  uneven.push_back(doubleColumn({1, 2}));
  uneven.push_back(sampleTable(3));
  EXPECT_FALSE(ovIsTable(ovCreateTable(std::move(uneven), {u"id", u"inner"}).get()));
}

TEST(ArrayTable, RejectsMalformedShapes) {
  EXPECT_FALSE(ovIsTable(nullptr));
  EXPECT_FALSE(ovIsTable(ovCreateCellMatrix(1, 2).get()));
  EXPECT_FALSE(ovIsTable(ovCreateDoubleScalar(0).get()));

  auto build = [](unique_ovarray_ptr columns, unique_ovarray_ptr names) {
    auto st = ovCreateStructMatrix(1, 1, {"Columns", "Names"});
    ovReplaceField(st.get(), 0, "Columns", std::move(columns));
    ovReplaceField(st.get(), 0, "Names", std::move(names));
    return st;
  };
  auto cellOf = [](std::vector<unique_ovarray_ptr> items, bool row = true) {
    auto cell = row ? ovCreateCellMatrix(1, items.size()) : ovCreateCellMatrix(items.size(), 1);
    for (std::size_t i = 0; i < items.size(); ++i) ovReplaceCell(cell.get(), i, std::move(items[i]));
    return cell;
  };
  auto twoColumns = [&](std::vector<double> a, std::vector<double> b) {
    std::vector<unique_ovarray_ptr> items;
    items.push_back(doubleColumn(std::move(a)));
    items.push_back(doubleColumn(std::move(b)));
    return items;
  };

  // The well-formed reference.
  EXPECT_TRUE(ovIsTable(build(cellOf(twoColumns({1, 2}, {3, 4})), ovCreateStringRow({u"a", u"b"})).get()));
  // Unequal heights.
  EXPECT_FALSE(ovIsTable(build(cellOf(twoColumns({1, 2}, {3})), ovCreateStringRow({u"a", u"b"})).get()));
  // Names of another count.
  EXPECT_FALSE(ovIsTable(build(cellOf(twoColumns({1}, {3})), ovCreateStringRow({u"a"})).get()));
  // Names not strings.
  EXPECT_FALSE(ovIsTable(build(cellOf(twoColumns({1}, {3})), doubleRow({1, 2})).get()));
  // A missing name.
  {
    auto names = ovCreateStringRow({u"a", u"b"});
    ovSetMissing(names.get(), 1);
    EXPECT_FALSE(ovIsTable(build(cellOf(twoColumns({1}, {3})), std::move(names)).get()));
  }
  // Columns not a cell, or not a row.
  EXPECT_FALSE(ovIsTable(build(doubleRow({1, 2}), ovCreateStringRow({u"a", u"b"})).get()));
  EXPECT_FALSE(ovIsTable(build(cellOf(twoColumns({1}, {3}), false), ovCreateStringRow({u"a", u"b"})).get()));
  // A column that is not N-by-1, or an empty slot.
  {
    std::vector<unique_ovarray_ptr> items;
    items.push_back(doubleRow({1, 2}));
    EXPECT_FALSE(ovIsTable(build(cellOf(std::move(items)), ovCreateStringRow({u"a"})).get()));
  }
  EXPECT_FALSE(ovIsTable(build(ovCreateCellMatrix(1, 1), ovCreateStringRow({u"a"})).get()));
  // Fields missing, extra, or the struct not 1-by-1.
  {
    auto st = ovCreateStructMatrix(1, 1, {"Columns"});
    ovReplaceField(st.get(), 0, "Columns", ovCreateCellMatrix(1, 0));
    EXPECT_FALSE(ovIsTable(st.get()));
    auto good = ovCreateTable({}, {});
    EXPECT_TRUE(ovIsTable(good.get()));
    ovAddField(good.get(), "Extra");
    EXPECT_FALSE(ovIsTable(good.get()));
    auto wide = ovCreateStructMatrix(1, 2, {"Columns", "Names"});
    ovReplaceField(wide.get(), 0, "Columns", ovCreateCellMatrix(1, 0));
    ovReplaceField(wide.get(), 0, "Names", ovCreateStringRow({}));
    EXPECT_FALSE(ovIsTable(wide.get()));
  }
}

TEST(ArrayTable, AccessorsRaiseOnNonTables) {
  auto x = ovCreateDoubleScalar(0);
  auto e = hostErrorOf([&] { ovTableNumVariables(x.get()); });
  EXPECT_EQ(e.identifier, kClassMismatch);
  EXPECT_EQ(e.arguments, args("struct", "double"));
  auto st = ovCreateStructMatrix(1, 1, {"Names"});
  e = hostErrorOf([&] { ovTableColumn(st.get(), 0); });
  EXPECT_EQ(e.identifier, kFieldNotFound);
  ASSERT_EQ(e.arguments.size(), 1u);
  EXPECT_EQ(std::get<std::string>(e.arguments[0]), "Columns");
  auto table = sampleTable();
  e = hostErrorOf([&] { ovTableColumn(table.get(), 2); });
  EXPECT_EQ(e.identifier, kOutOfRange);
  EXPECT_EQ(e.arguments, args(2, 2));
  EXPECT_EQ(hostErrorOf([&] { ovTableName(table.get(), 9); }).identifier, kOutOfRange);
}

TEST(ArrayTable, MissingRecordsAreMarkedComparedAndCopied) {
  auto table = sampleTable(3);
  EXPECT_EQ(ovTableMissingRows(table.get()), nullptr);
  EXPECT_FALSE(ovTableIsRowMissing(table.get(), 1));
  auto plain = ovDuplicateArray(table.get());
  // All-clear marks equal no marks.
  ovTableAllocMissingRows(table.get());
  EXPECT_TRUE(ovArraysEqual(table.get(), plain.get()));
  ovTableAllocMissingRows(table.get())[1] = 1;
  EXPECT_TRUE(ovTableIsRowMissing(table.get(), 1));
  EXPECT_FALSE(ovArraysEqual(table.get(), plain.get()));
  EXPECT_NE(ovArraysDifference(table.get(), plain.get()).find("missing record"), std::string::npos);
  auto copy = ovDuplicateArray(table.get());
  EXPECT_TRUE(ovTableIsRowMissing(copy.get(), 1));
  EXPECT_TRUE(ovArraysEqual(table.get(), copy.get()));
  EXPECT_EQ(hostErrorOf([&] { ovTableIsRowMissing(table.get(), 3); }).identifier, kOutOfRange);
  ovTableRemoveMissingRows(copy.get());
  EXPECT_TRUE(ovArraysEqual(copy.get(), plain.get()));
  // Marks of another height make the table malformed.
  ovSetDimensions(const_cast<ovArray*>(ovTableColumn(table.get(), 0)), {1, 3});
  EXPECT_FALSE(ovIsTable(table.get()));
  auto x = ovCreateDoubleScalar(0);
  EXPECT_EQ(hostErrorOf([&] { ovTableMissingRows(x.get()); }).identifier, kClassMismatch);
}

struct TestOrigin final : ovOrigin {
  int tag = 0;
};

TEST(ArrayOrigin, KeptByCopiesAndIgnoredByEquality) {
  auto cell = ovCreateCellMatrix(1, 1);
  EXPECT_EQ(ovGetOrigin(cell.get()), nullptr);
  auto origin = std::make_shared<TestOrigin>();
  origin->tag = 7;
  ovSetOrigin(cell.get(), origin);
  EXPECT_EQ(ovGetOrigin(cell.get()).get(), origin.get());
  auto copy = ovDuplicateArray(cell.get());
  ASSERT_NE(ovGetOrigin(copy.get()), nullptr);
  EXPECT_EQ(dynamic_cast<const TestOrigin&>(*ovGetOrigin(copy.get())).tag, 7);
  EXPECT_TRUE(ovArraysEqual(cell.get(), ovCreateCellMatrix(1, 1).get()));
  ovSetOrigin(cell.get(), nullptr);
  EXPECT_EQ(ovGetOrigin(cell.get()), nullptr);
  EXPECT_NE(ovGetOrigin(copy.get()), nullptr);
}

}  // namespace
