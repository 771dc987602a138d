// Host messages: the identified value behind every error and warning, the
// catalog of English texts, and formatting with numbered holes.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orvane {

// One argument of a message, in this order of alternatives.
using MessageArgument = std::variant<std::uint64_t, std::string, ustring>;

// A message: its arguments, the component ("ORVANE:parquetio:read") and the
// key ("InternalInvalidRead"). The catalog is looked up by identifier(), the
// component, a colon and the key.
struct Message {
  std::vector<MessageArgument> arguments;
  std::string component;
  std::string key;

  Message() = default;
  Message(std::string component, std::string key)
      : component(std::move(component)), key(std::move(key)) {}

  // Builds a message with exactly these arguments (the list is reserved to
  // their number before they are appended).
  template <typename... Args>
  static Message make(std::string component, std::string key, Args&&... args) {
    Message message(std::move(component), std::move(key));
    message.arguments.reserve(sizeof...(Args));
    (message.arguments.emplace_back(std::forward<Args>(args)), ...);
    return message;
  }

  std::string identifier() const { return component + ":" + key; }
};

bool operator==(const Message& a, const Message& b);

// A catalog entry: the text with holes {1}, {2}, ... filled from the
// arguments in list order, and the number of arguments it takes.
struct CatalogEntry {
  std::string_view identifier;
  std::string_view text;
  std::size_t argumentCount;
};

// Adds a layer's entries to the catalog. Each layer keeps its texts beside
// its message tags in one static registration, made when its library loads:
//   static const orvane::CatalogRegistration entries{{"ORVANE:x:Key", "Text {1}.", 1}};
struct CatalogRegistration {
  explicit CatalogRegistration(std::initializer_list<CatalogEntry> entries);
};

// Every entry of the catalog (every loaded layer's), in identifier order.
const std::vector<CatalogEntry>& messageCatalog();

// The entry of an identifier, or nullptr when the catalog has none.
const CatalogEntry* findCatalogEntry(std::string_view identifier);

// The English text of a message, UTF-8. Throws std::logic_error when the
// identifier has no entry or the argument count differs from the entry's:
// both are bugs in the caller, never user errors.
std::string formatMessage(const Message& message);

// Fills the holes of `text` from `arguments`; the same checks as above
// against `argumentCount` (exposed for the catalog's own tests).
std::string formatText(std::string_view text, std::size_t argumentCount,
                       const std::vector<MessageArgument>& arguments);

}  // namespace orvane
