#include <ovparquet/core/common/MessageException.hpp>

#include <stdexcept>

namespace orvane::io::parquet::core::common {
namespace {

// The texts of the tags declared in MessageException.hpp.
const orvane::CatalogRegistration coreEntries{
    // Reading and file information.
    {"ORVANE:parquetio:read:InternalInvalidRead", "Unable to read Parquet file '{1}': {2}", 2},
    {"ORVANE:parquetio:read:ReaderLoadFailed", "Unable to load the Parquet reader for '{1}': {2}", 2},
    {"ORVANE:parquetio:read:InternalUnsupportedParquetType",
     "Variable '{1}' has a Parquet data type that is not supported.", 1},
    {"ORVANE:parquetio:read:DictionaryInNestedStructure",
     "Variable '{1}' holds dictionary-encoded data inside a nested type, which can only be "
     "read one row group at a time.", 1},
    {"ORVANE:parquetio:read:InternalError", "Internal error during {1}. {2}", 2},
    {"ORVANE:parquetio:read:UnsupportedRowFilterVariable",
     "Variable '{1}' of type {2} cannot be used to filter rows.", 2},
    {"ORVANE:parquetio:read:MemoryLimitExceeded",
     "Unable to read Parquet file '{1}': what it declares for {2} needs {3} bytes of memory, more than the "
     "read memory limit of {4} bytes.", 4},
    {"ORVANE:parquetio:read:NoParquetFiles", "No Parquet files (*.parquet) found under '{1}'.", 1},
    {"ORVANE:parquetio:read:InvalidSplitSize",
     "The split size must be a whole number of bytes of at least 1, not {1}.", 1},

    // Writing.
    {"ORVANE:parquetio:write:InvalidWrite", "Unable to write Parquet file '{1}': {2}", 2},
    {"ORVANE:parquetio:write:InvalidWriteVars",
     "The table to write must be a table with {1} variables, matching the variable names.", 1},
    {"ORVANE:parquetio:write:InvalidZeroVars", "The table to write has no variables.", 0},
    {"ORVANE:parquetio:write:LeafColumnPathsEmpty",
     "Leaf column paths need at least one offset and one path.", 0},
    {"ORVANE:parquetio:write:LeafColumnPathsOffsetsAcending",
     "Leaf column path offsets must be strictly ascending.", 0},
    {"ORVANE:parquetio:write:LeafColumnPathsSizeMismatch",
     "The last leaf column path offset must equal the number of paths.", 0},
    {"ORVANE:parquetio:write:LeafColumnPathsNumTopLevelCols",
     "Leaf column paths describe {1} top-level columns, but there are {2} variables.", 2},
    {"ORVANE:parquetio:write:InvalidOption", "Invalid value for option '{1}': '{2}'.", 2},
    {"ORVANE:parquetio:write:WrongOptionNumel",
     "Option '{1}' must be empty or have one entry per variable ({2}).", 2},
    {"ORVANE:parquetio:write:RowGroupedListOfDictionaries",
     "Variable '{1}' holds dictionary-encoded values inside a list; each row group stores its "
     "own dictionary.", 1},
    {"ORVANE:parquetio:write:NestedRowGroupedListOfDictionaries",
     "Variable '{1}' holds dictionary-encoded values nested deep inside lists or structs; each "
     "row group stores its own dictionary.", 1},
};

std::string formatOrIdentifier(const orvane::Message& message) {
  try {
    return orvane::formatMessage(message);
  } catch (const std::logic_error&) {
    return message.identifier();
  }
}

}  // namespace

MessageError::MessageError(orvane::Message message)
    : mMessage(std::move(message)), mText(formatOrIdentifier(mMessage)) {}

}  // namespace orvane::io::parquet::core::common
