#include <ovparquet/host/class_visit.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>

namespace {

// The element size of a class, or 0 when its data is not a plain array.
std::size_t elementSize(ovClassID id) {
  return ovVisitClass(id, [](auto tag) -> std::size_t {
    using T = typename decltype(tag)::Element;
    if constexpr (std::is_void_v<T>) {
      return 0;
    } else {
      return sizeof(T);
    }
  });
}

TEST(ClassVisit, EveryClassReachesItsTag) {
  for (int i = 0; i <= static_cast<int>(ovClassID::Categorical); ++i) {
    const auto id = static_cast<ovClassID>(i);
    EXPECT_EQ(ovVisitClass(id, [](auto tag) { return decltype(tag)::id; }), id) << ovClassName(id);
  }
}

TEST(ClassVisit, NumericClassesCarryTheirElementType) {
  EXPECT_EQ(elementSize(ovClassID::Double), 8u);
  EXPECT_EQ(elementSize(ovClassID::Single), 4u);
  EXPECT_EQ(elementSize(ovClassID::UInt16), 2u);
  EXPECT_EQ(elementSize(ovClassID::Int64), 8u);
  EXPECT_EQ(elementSize(ovClassID::Logical), 1u);
  EXPECT_EQ(elementSize(ovClassID::String), 0u);
  EXPECT_TRUE(ovClassTag<ovClassID::Int8>::isInteger);
  EXPECT_FALSE(ovClassTag<ovClassID::Single>::isInteger);
  EXPECT_TRUE(ovClassTag<ovClassID::Single>::isNumeric);
  EXPECT_FALSE(ovClassTag<ovClassID::Logical>::isNumeric);
}

}  // namespace
