#include <ovparquet/host/message.hpp>
#include <ovparquet/host/redact.hpp>
#include <ovparquet/host/ustring.hpp>

#include <algorithm>
#include <stdexcept>

namespace orvane {

bool operator==(const Message& a, const Message& b) {
  return a.component == b.component && a.key == b.key && a.arguments == b.arguments;
}

namespace {

void appendArgument(const MessageArgument& argument, std::string& out) {
  if (const auto* number = std::get_if<std::uint64_t>(&argument)) {
    out += std::to_string(*number);
  } else if (const auto* narrow = std::get_if<std::string>(&argument)) {
    out += *narrow;
  } else {
    // Message texts must always be showable: a broken name shows U+FFFD.
    append_utf16_replacing(std::get<ustring>(argument), out);
  }
}

}  // namespace

std::string formatText(std::string_view text, std::size_t argumentCount,
                       const std::vector<MessageArgument>& arguments) {
  if (arguments.size() != argumentCount) {
    throw std::logic_error("message takes " + std::to_string(argumentCount) +
                           " arguments, " + std::to_string(arguments.size()) + " given");
  }
  std::string out;
  out.reserve(text.size() + 32 * arguments.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    // A hole is {N} with N in 1..9; anything else is literal text.
    if (text[i] == '{' && i + 2 < text.size() && text[i + 2] == '}' &&
        text[i + 1] >= '1' && text[i + 1] <= '9') {
      const std::size_t hole = static_cast<std::size_t>(text[i + 1] - '1');
      if (hole >= arguments.size()) {
        throw std::logic_error("message text refers to argument " + std::to_string(hole + 1) +
                               " of " + std::to_string(arguments.size()));
      }
      appendArgument(arguments[hole], out);
      i += 2;
    } else {
      out.push_back(text[i]);
    }
  }
  // A location given with credentials must not show them.
  return redactLocationSecrets(std::move(out));
}

std::string formatMessage(const Message& message) {
  const std::string id = message.identifier();
  const CatalogEntry* entry = findCatalogEntry(id);
  if (entry == nullptr) throw std::logic_error("no message catalog entry for " + id);
  return formatText(entry->text, entry->argumentCount, message.arguments);
}

const CatalogEntry* findCatalogEntry(std::string_view identifier) {
  const auto& catalog = messageCatalog();
  auto it = std::lower_bound(catalog.begin(), catalog.end(), identifier,
                             [](const CatalogEntry& e, std::string_view id) { return e.identifier < id; });
  return (it != catalog.end() && it->identifier == identifier) ? &*it : nullptr;
}

}  // namespace orvane
