// One typed dispatch on a host class, so that code which treats the numeric
// classes alike is written once as a template instead of a switch listing
// them one by one:
//
//   ovVisitClass(ovGetClassID(a), [&](auto tag) {
//     using Tag = decltype(tag);
//     if constexpr (Tag::isNumeric) { using T = typename Tag::Element; ... }
//     else if constexpr (Tag::id == ovClassID::String) { ... }
//   });
//
// The visitor is called with an ovClassTag of the class; every call must
// return the same type.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstdint>

// The element type of a class whose data is a plain array of numbers
// (logical as bool, char as char16_t); void for the others.
template <ovClassID Id>
struct ovClassElement {
  using type = void;
};
template <> struct ovClassElement<ovClassID::Double> { using type = double; };
template <> struct ovClassElement<ovClassID::Single> { using type = float; };
template <> struct ovClassElement<ovClassID::Int8> { using type = std::int8_t; };
template <> struct ovClassElement<ovClassID::UInt8> { using type = std::uint8_t; };
template <> struct ovClassElement<ovClassID::Int16> { using type = std::int16_t; };
template <> struct ovClassElement<ovClassID::UInt16> { using type = std::uint16_t; };
template <> struct ovClassElement<ovClassID::Int32> { using type = std::int32_t; };
template <> struct ovClassElement<ovClassID::UInt32> { using type = std::uint32_t; };
template <> struct ovClassElement<ovClassID::Int64> { using type = std::int64_t; };
template <> struct ovClassElement<ovClassID::UInt64> { using type = std::uint64_t; };
template <> struct ovClassElement<ovClassID::Logical> { using type = bool; };
template <> struct ovClassElement<ovClassID::Char> { using type = char16_t; };

template <ovClassID Id>
struct ovClassTag {
  static constexpr ovClassID id = Id;
  using Element = typename ovClassElement<Id>::type;
  // double, single and the eight integer classes.
  static constexpr bool isNumeric = Id <= ovClassID::UInt64;
  static constexpr bool isInteger = Id >= ovClassID::Int8 && Id <= ovClassID::UInt64;
  static constexpr bool isFloat = Id == ovClassID::Double || Id == ovClassID::Single;
};

template <typename Visitor>
decltype(auto) ovVisitClass(ovClassID id, Visitor&& visitor) {
  switch (id) {
    case ovClassID::Double: return visitor(ovClassTag<ovClassID::Double>{});
    case ovClassID::Single: return visitor(ovClassTag<ovClassID::Single>{});
    case ovClassID::Int8: return visitor(ovClassTag<ovClassID::Int8>{});
    case ovClassID::UInt8: return visitor(ovClassTag<ovClassID::UInt8>{});
    case ovClassID::Int16: return visitor(ovClassTag<ovClassID::Int16>{});
    case ovClassID::UInt16: return visitor(ovClassTag<ovClassID::UInt16>{});
    case ovClassID::Int32: return visitor(ovClassTag<ovClassID::Int32>{});
    case ovClassID::UInt32: return visitor(ovClassTag<ovClassID::UInt32>{});
    case ovClassID::Int64: return visitor(ovClassTag<ovClassID::Int64>{});
    case ovClassID::UInt64: return visitor(ovClassTag<ovClassID::UInt64>{});
    case ovClassID::Logical: return visitor(ovClassTag<ovClassID::Logical>{});
    case ovClassID::Char: return visitor(ovClassTag<ovClassID::Char>{});
    case ovClassID::String: return visitor(ovClassTag<ovClassID::String>{});
    case ovClassID::Cell: return visitor(ovClassTag<ovClassID::Cell>{});
    case ovClassID::Struct: return visitor(ovClassTag<ovClassID::Struct>{});
    case ovClassID::Datetime: return visitor(ovClassTag<ovClassID::Datetime>{});
    case ovClassID::Duration: return visitor(ovClassTag<ovClassID::Duration>{});
    case ovClassID::Categorical: break;
  }
  // Every value not listed above is out of the enumeration; treat it as the
  // last class rather than fall off the end.
  return visitor(ovClassTag<ovClassID::Categorical>{});
}
