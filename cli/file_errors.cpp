#include "file_errors.hpp"

#include "errors.hpp"
#include "text.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/host/error.hpp>

#include <parquet/exception.h>
#include <parquet/file_reader.h>
#include <parquet/schema.h>

#include <cstdio>
#include <optional>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;

// The name with every byte outside printable ASCII written as \xHH.
std::string escaped(const std::string& name) {
  std::string out;
  for (const unsigned char c : name) {
    if (c >= 0x20 && c < 0x7F && c != '\\') {
      out += static_cast<char>(c);
    } else {
      char hex[5];
      std::snprintf(hex, sizeof hex, "\\x%02X", c);
      out += hex;
    }
  }
  return out;
}

bool validUtf8(const std::string& text) {
  try {
    (void)orvane::utf8_to_ustring(text);
    return true;
  } catch (const orvane::HostError&) {
    return false;
  }
}

// The dotted path of the first schema node whose name is not UTF-8.
std::optional<std::string> firstInvalidName(const ::parquet::schema::Node& node, const std::string& parent) {
  const std::string path = parent.empty() ? escaped(node.name()) : parent + "." + escaped(node.name());
  if (!validUtf8(node.name())) return path;
  if (!node.is_group()) return std::nullopt;
  const auto& group = static_cast<const ::parquet::schema::GroupNode&>(node);
  for (int i = 0; i < group.field_count(); ++i) {
    if (auto found = firstInvalidName(*group.field(i), path)) return found;
  }
  return std::nullopt;
}

// Looks in the footer again for the name that failed; none when the file
// cannot be opened or all its names are UTF-8 (then the bad text came from
// elsewhere, the command line for one, and the error stands as it is).
std::optional<std::string> invalidColumnName(const orvane::ustring& file) {
  try {
    auto reader = ::parquet::ParquetFileReader::Open(core::common::makeReadableFilePtr(file));
    const auto& root = *reader->metadata()->schema()->group_node();
    for (int i = 0; i < root.field_count(); ++i) {
      if (auto found = firstInvalidName(*root.field(i), "")) return found;
    }
  } catch (const std::exception&) {
  }
  return std::nullopt;
}

[[noreturn]] void throwNaming(const std::string& file, const std::string& text) {
  core::common::throwInvalidRead(orvane::to_ustring(file), orvane::to_ustring(text));
}

}  // namespace

void rethrowNamingFile(const std::string& file) {
  try {
    throw;
  } catch (const orvane::HostError& e) {
    if (e.identifier() != "ORVANE:host:InvalidUtf8") throw;
    const auto column = invalidColumnName(orvane::to_ustring(file));
    if (!column) throw;
    throwNaming(file, "the name of column '" + *column + "' is not valid UTF-8 (" + e.what() + ")");
  } catch (const ::parquet::ParquetException& e) {
    throwNaming(file, e.what());
  } catch (const core::common::ReadFailure& e) {
    // The device failed under the file adapter, which names no file.
    throwNaming(file, e.what());
  }
}

}  // namespace ovparquet::cli
