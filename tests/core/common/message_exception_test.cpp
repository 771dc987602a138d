// The message catalog as the library loads it: the host's entries and those
// each layer registers beside its tags (MessageException.cpp for the core's).
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/host/message.hpp>

#include <gtest/gtest.h>

#include <set>

namespace orvane {
namespace {

std::vector<MessageArgument> sampleArguments(std::size_t n) {
  std::vector<MessageArgument> args;
  for (std::size_t i = 0; i < n; ++i) {
    switch (i % 3) {
      case 0: args.emplace_back(u"wide" + utf8_to_ustring(std::to_string(i))); break;
      case 1: args.emplace_back("narrow" + std::to_string(i)); break;
      default: args.emplace_back(static_cast<std::uint64_t>(1000 + i)); break;
    }
  }
  return args;
}

std::string rendered(const MessageArgument& a) {
  if (auto* n = std::get_if<std::uint64_t>(&a)) return std::to_string(*n);
  if (auto* s = std::get_if<std::string>(&a)) return *s;
  return ustring_to_utf8(std::get<ustring>(a));
}

// The hole numbers {N} found in a text.
std::set<int> holesIn(std::string_view text) {
  std::set<int> holes;
  for (std::size_t i = 0; i + 2 < text.size(); ++i) {
    if (text[i] == '{' && text[i + 2] == '}' && text[i + 1] >= '0' && text[i + 1] <= '9') {
      holes.insert(text[i + 1] - '0');
    }
  }
  return holes;
}

// Walks the whole catalog, every layer's entries: every entry formats with exactly its argument
// count, uses every argument, leaves no hole behind, and refuses any other
// argument count.
TEST(MessageCatalog, EveryEntryFormatsWithItsArgumentCountOnly) {
  std::set<std::string_view> seen;
  for (const auto& entry : messageCatalog()) {
    SCOPED_TRACE(std::string(entry.identifier));
    EXPECT_TRUE(seen.insert(entry.identifier).second) << "duplicate identifier";
    // Holes in the text are exactly {1}..{count}.
    const std::set<int> holes = holesIn(entry.text);
    std::set<int> expected;
    for (std::size_t i = 1; i <= entry.argumentCount; ++i) expected.insert(static_cast<int>(i));
    EXPECT_EQ(holes, expected);

    const auto args = sampleArguments(entry.argumentCount);
    const auto dot = entry.identifier.rfind(':');
    Message message(std::string(entry.identifier.substr(0, dot)), std::string(entry.identifier.substr(dot + 1)));
    message.arguments = args;
    const std::string formatted = formatMessage(message);
    EXPECT_TRUE(holesIn(formatted).empty()) << formatted;
    for (const auto& a : args) EXPECT_NE(formatted.find(rendered(a)), std::string::npos) << formatted;

    message.arguments = sampleArguments(entry.argumentCount + 1);
    EXPECT_THROW(formatMessage(message), std::logic_error);
    if (entry.argumentCount > 0) {
      message.arguments = sampleArguments(entry.argumentCount - 1);
      EXPECT_THROW(formatMessage(message), std::logic_error);
    }
  }
}

TEST(MessageCatalog, HoldsEveryLayersEntries) {
  // One entry of each layer: the host's own, the conversion library's and
  // the core's, each registered beside its tags.
  EXPECT_NE(findCatalogEntry("ORVANE:host:FileNotFound"), nullptr);
  EXPECT_NE(findCatalogEntry("ORVANE:convert:InvalidUtf8InColumn"), nullptr);
  EXPECT_NE(findCatalogEntry("ORVANE:parquetio:read:InternalInvalidRead"), nullptr);
}

TEST(MessageCatalog, HoldsEveryLibraryIdentifierWithItsArity) {
  const std::vector<std::pair<std::string, std::size_t>> library = {
      {"ORVANE:parquetio:read:InternalInvalidRead", 2},
      {"ORVANE:parquetio:read:ReaderLoadFailed", 2},
      {"ORVANE:parquetio:read:InternalUnsupportedParquetType", 1},
      {"ORVANE:parquetio:read:DictionaryInNestedStructure", 1},
      {"ORVANE:parquetio:read:InternalError", 2},
      {"ORVANE:parquetio:read:UnsupportedRowFilterVariable", 2},
      {"ORVANE:parquetio:write:InvalidWrite", 2},
      {"ORVANE:parquetio:write:InvalidWriteVars", 1},
      {"ORVANE:parquetio:write:InvalidZeroVars", 0},
      {"ORVANE:parquetio:write:LeafColumnPathsEmpty", 0},
      {"ORVANE:parquetio:write:LeafColumnPathsOffsetsAcending", 0},
      {"ORVANE:parquetio:write:LeafColumnPathsSizeMismatch", 0},
      {"ORVANE:parquetio:write:LeafColumnPathsNumTopLevelCols", 2},
      {"ORVANE:parquetio:write:InvalidOption", 2},
      {"ORVANE:parquetio:write:WrongOptionNumel", 2},
      {"ORVANE:parquetio:write:RowGroupedListOfDictionaries", 1},
      {"ORVANE:parquetio:write:NestedRowGroupedListOfDictionaries", 1},
  };
  for (const auto& [id, arity] : library) {
    const CatalogEntry* entry = findCatalogEntry(id);
    ASSERT_NE(entry, nullptr) << id;
    EXPECT_EQ(entry->argumentCount, arity) << id;
  }
  EXPECT_EQ(findCatalogEntry("ORVANE:parquetio:read:NoSuchKey"), nullptr);
}

TEST(MessageError, FormatsItsCatalogText) {
  const io::parquet::core::common::MessageError e(Message::make(
      "ORVANE:parquetio:write", "WrongOptionNumel", std::string("VariableCompression"), std::uint64_t{3}));
  EXPECT_EQ(e.identifier(), "ORVANE:parquetio:write:WrongOptionNumel");
  EXPECT_STREQ(e.what(), "Option 'VariableCompression' must be empty or have one entry per variable (3).");
}

}  // namespace
}  // namespace orvane
