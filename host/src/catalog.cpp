// The host's message catalog: one English text per identifier, with holes
// {1}, {2}, ... filled from the message's arguments in order.
#include <ovparquet/host/message.hpp>

#include <algorithm>

namespace orvane {

const std::vector<CatalogEntry>& messageCatalog() {
  static const std::vector<CatalogEntry> catalog = [] {
    std::vector<CatalogEntry> entries = {
        // The host itself.
        {"ORVANE:host:FileNotFound", "Unable to open '{1}': no such file or directory.", 1},
        {"ORVANE:host:PermissionDenied", "Unable to open '{1}': permission denied.", 1},
        {"ORVANE:host:IsDirectory", "Unable to open '{1}': it is a directory, not a file.", 1},
        {"ORVANE:host:UnsupportedScheme", "Unable to open '{2}': the scheme '{1}' is not supported.", 2},
        {"ORVANE:host:CannotOpen", "Unable to open '{1}': {2}.", 2},
        {"ORVANE:host:CannotWrite", "Unable to write '{1}': {2}.", 2},
        {"ORVANE:host:EmptyName", "The file name is empty.", 0},
        {"ORVANE:host:MalformedIri", "'{1}' is not a valid location: {2}.", 2},
        {"ORVANE:host:NotLocal", "'{1}' is not a local file.", 1},
        {"ORVANE:host:RemoteUnreachable", "Unable to reach '{1}': {2}.", 2},
        {"ORVANE:host:AccessDenied", "Unable to open '{1}': the server refused access ({2}).", 2},
        {"ORVANE:host:BucketNotFound", "Unable to open '{1}': the bucket '{2}' does not exist.", 2},
        {"ORVANE:host:UnsupportedMode", "Unable to open '{1}': {2}.", 2},
        {"ORVANE:host:HdfsUnavailable", "Unable to open '{1}': HDFS is not available here: {2}.", 2},
        {"ORVANE:host:CannotList", "Unable to list '{1}': {2}.", 2},
        {"ORVANE:host:InvalidUtf8", "The text is not valid UTF-8: invalid byte sequence at byte {1}.", 1},
        {"ORVANE:host:InvalidUtf16", "The text is not valid UTF-16: unpaired surrogate at position {1}.", 1},
        {"ORVANE:host:Interrupted", "Operation interrupted by the user.", 0},
        {"ORVANE:host:InvalidThreadCount", "The computational thread count must be at least 1, not {1}.", 1},
        {"ORVANE:host:InvalidMemoryLimit", "The read memory limit must be at least 1 byte, not {1}.", 1},
        {"ORVANE:host:CannotOpenLog", "Unable to open the log file '{1}': {2}.", 2},
        {"ORVANE:host:ArrayClassMismatch", "Expected a {1} array, got a {2} array.", 2},
        {"ORVANE:host:ArrayIndexOutOfRange", "Index {1} is out of range for an array of {2} elements.", 2},
        {"ORVANE:host:ArrayFieldNotFound", "The struct has no field '{1}'.", 1},

        // Conversion between Arrow and host arrays.
        {"ORVANE:convert:InvalidUtf8InColumn",
         "Column '{1}' holds {2} values that are not valid UTF-8; invalid sequences were replaced by U+FFFD.", 2},

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
    std::sort(entries.begin(), entries.end(),
              [](const CatalogEntry& a, const CatalogEntry& b) { return a.identifier < b.identifier; });
    return entries;
  }();
  return catalog;
}

}  // namespace orvane
