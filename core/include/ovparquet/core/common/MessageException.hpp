// The library's error kinds: one exception type per message key, each
// carrying the component, the key and the ordered arguments of its message.
#pragma once

#include <ovparquet/host/message.hpp>
#include <ovparquet/host/ustring.hpp>

#include <exception>
#include <string>

namespace orvane::io::parquet::core::common {

using orvane::ustring;

// Common base of every MessageException<Tag>, so that a caller (the program,
// a host binding) can catch them all and still read the identifier.
class MessageError : public std::exception {
 public:
  explicit MessageError(orvane::Message message);

  const orvane::Message& message() const noexcept { return mMessage; }
  std::string identifier() const { return mMessage.identifier(); }
  // The formatted catalog text; the identifier itself when the catalog has no
  // entry for it.
  const char* what() const noexcept override { return mText.c_str(); }

 private:
  orvane::Message mMessage;
  std::string mText;
};

// Thrown for the message key `Tag`; catch exactly one kind with it, or all of
// them as MessageError or std::exception.
template <typename Tag>
class MessageException : public MessageError {
 public:
  using MessageError::MessageError;
};

// Builds the message of `Tag` with these arguments, in order.
template <typename Tag, typename... Args>
orvane::Message makeMessage(Args&&... args) {
  return orvane::Message::make(Tag::component, Tag::key, std::forward<Args>(args)...);
}

}  // namespace orvane::io::parquet::core::common

// Message keys, one tag type each.
#define OVPARQUET_MESSAGE_TAG(side, name)                                 \
  namespace ORVANE::parquetio::side {                                     \
  struct name {                                                           \
    static constexpr const char* component = "ORVANE:parquetio:" #side; \
    static constexpr const char* key = #name;                             \
  };                                                                      \
  }

OVPARQUET_MESSAGE_TAG(read, InternalInvalidRead)
OVPARQUET_MESSAGE_TAG(read, ReaderLoadFailed)
OVPARQUET_MESSAGE_TAG(read, InternalUnsupportedParquetType)
OVPARQUET_MESSAGE_TAG(read, DictionaryInNestedStructure)
OVPARQUET_MESSAGE_TAG(read, InternalError)
OVPARQUET_MESSAGE_TAG(read, UnsupportedRowFilterVariable)
OVPARQUET_MESSAGE_TAG(read, MemoryLimitExceeded)
OVPARQUET_MESSAGE_TAG(read, NoParquetFiles)
OVPARQUET_MESSAGE_TAG(read, InvalidSplitSize)
OVPARQUET_MESSAGE_TAG(write, InvalidWrite)
OVPARQUET_MESSAGE_TAG(write, InvalidWriteVars)
OVPARQUET_MESSAGE_TAG(write, InvalidZeroVars)
OVPARQUET_MESSAGE_TAG(write, LeafColumnPathsEmpty)
OVPARQUET_MESSAGE_TAG(write, LeafColumnPathsOffsetsAcending)
OVPARQUET_MESSAGE_TAG(write, LeafColumnPathsSizeMismatch)
OVPARQUET_MESSAGE_TAG(write, LeafColumnPathsNumTopLevelCols)
OVPARQUET_MESSAGE_TAG(write, InvalidOption)
OVPARQUET_MESSAGE_TAG(write, WrongOptionNumel)
OVPARQUET_MESSAGE_TAG(write, RowGroupedListOfDictionaries)
OVPARQUET_MESSAGE_TAG(write, NestedRowGroupedListOfDictionaries)

#undef OVPARQUET_MESSAGE_TAG
