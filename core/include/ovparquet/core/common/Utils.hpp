// Common utilities: the throw helpers that turn an ::arrow::Status or plain
// text into the library's identified errors, and the schema-field helpers
// that map Arrow fields to Parquet leaf columns.
#pragma once

#include <ovparquet/core/common/Log.hpp>
#include <ovparquet/core/common/MessageException.hpp>

#include <arrow/status.h>
#include <arrow/type_fwd.h>
#include <parquet/arrow/schema.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvane::io::parquet::core::common {

// Throws "InternalInvalidRead" with (first, second).
[[noreturn]] void throwInvalidRead(const ustring& first, const ustring& second);
// Throws "ReaderLoadFailed" with (first, second).
[[noreturn]] void throwReaderLoadException(const std::string& first, const std::string& second);
// Throws "InternalUnsupportedParquetType" with the description widened to
// ustring.
[[noreturn]] void throwInternalUnsupportedParquetTypeException(const std::string& typeText);

// Returns when the status is OK; otherwise throws MessageException<Message>
// with `args...` followed by the status's ToString() text as ustring. The
// text is converted strictly: invalid UTF-8 in it raises the host's
// "InvalidUtf8" error instead, as any failure while building the message
// propagates as itself.
template <typename Message, typename... Args>
void throwIfNotOk(const ::arrow::Status& status, Args... args);

// (filename, status text) as "InternalInvalidRead" / "InvalidWrite".
void throwReadExceptIfNotOk(const ::arrow::Status& status, const ustring& filename);
void throwWriteExceptIfNotOk(const ::arrow::Status& status, const ustring& filename);

// The Parquet leaf column of a field: its own column index, or for a nested
// field the leftmost leaf found by following first children; no value when
// a first child is an empty group.
std::optional<int> schema_field_to_leaf_index(const ::parquet::arrow::SchemaField& field);

// Every leaf column beneath a field, in Parquet leaf order; no value when any
// group beneath it is empty.
std::optional<std::vector<int>> schema_field_to_all_leaf_indices(
    const ::parquet::arrow::SchemaField& field);

// True for list, struct, map and large list.
bool isSupportedNestedType(const std::shared_ptr<::arrow::DataType>& type);

extern template void throwIfNotOk<ORVANE::parquetio::read::InternalInvalidRead, ustring>(
    const ::arrow::Status&, ustring);
extern template void throwIfNotOk<ORVANE::parquetio::write::InvalidWrite, ustring>(
    const ::arrow::Status&, ustring);

}  // namespace orvane::io::parquet::core::common
