// The read memory budget, from the footer alone.
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/read/ParquetReader.hpp>
#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/host/memory.hpp>

#include <parquet/exception.h>
#include <parquet/schema.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <set>
#include <string>

namespace orvane::io::parquet::core::read {
namespace {

using common::makeMessage;
using common::MessageException;

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

// Footer values are the file's word, so every sum and product saturates.
std::uint64_t plus(std::uint64_t a, std::uint64_t b) {
  std::uint64_t sum = 0;
  return __builtin_add_overflow(a, b, &sum) ? kMost : sum;
}

std::uint64_t times(std::uint64_t a, std::uint64_t b) {
  std::uint64_t product = 0;
  return __builtin_mul_overflow(a, b, &product) ? kMost : product;
}

// A declared count; negative ones are the reader's to reject, not ours.
std::uint64_t count(std::int64_t declared) { return declared < 0 ? 0 : static_cast<std::uint64_t>(declared); }

// Bytes of one decoded value in Arrow's arrays.
std::uint64_t valueWidth(const ::parquet::ColumnDescriptor& column) {
  switch (column.physical_type()) {
    case ::parquet::Type::BOOLEAN: return 1;
    case ::parquet::Type::INT32:
    case ::parquet::Type::FLOAT: return 4;
    case ::parquet::Type::INT64:
    case ::parquet::Type::DOUBLE: return 8;
    case ::parquet::Type::INT96: return 12;
    case ::parquet::Type::FIXED_LEN_BYTE_ARRAY: return count(column.type_length());
    case ::parquet::Type::BYTE_ARRAY: return 4;  // the offset; the bytes are counted apart
    default: return 8;
  }
}

std::uint64_t chunkBytes(const ::parquet::ColumnDescriptor& column, const ::parquet::ColumnChunkMetaData& chunk) {
  const std::uint64_t pages = count(chunk.total_uncompressed_size());
  const std::uint64_t values = count(chunk.num_values());
  std::uint64_t perValue = valueWidth(column);
  if (column.max_definition_level() > 0) perValue += 2;
  if (column.max_repetition_level() > 0) perValue += 2;
  std::uint64_t bytes = plus(pages, times(values, perValue));
  if (column.physical_type() == ::parquet::Type::BYTE_ARRAY) bytes = plus(bytes, pages);
  return bytes;
}

std::string judged(const std::vector<int>& rowGroups, Holding holding, int worst) {
  if (holding == Holding::OneAtATime || rowGroups.size() == 1) return "row group " + std::to_string(worst + 1);
  return std::to_string(rowGroups.size()) + " row groups";
}

std::vector<int> upTo(int n) {
  std::vector<int> all(static_cast<std::size_t>(std::max(n, 0)));
  std::iota(all.begin(), all.end(), 0);
  return all;
}

}  // namespace

std::uint64_t declaredReadBytes(const ::parquet::FileMetaData& metadata, const std::vector<int>& rowGroups,
                                const std::vector<int>& columns) {
  const ::parquet::SchemaDescriptor* schema = metadata.schema();
  std::uint64_t total = 0;
  for (const int r : rowGroups) {
    const auto rowGroup = metadata.RowGroup(r);
    for (const int c : columns) {
      const auto chunk = rowGroup->ColumnChunk(c);
      total = plus(total, chunkBytes(*schema->Column(c), *chunk));
    }
  }
  return total;
}

void checkReadBudget(const ustring& file, const ::parquet::FileMetaData& metadata, const std::vector<int>& rowGroups,
                     const std::vector<int>& columns, Holding holding) {
  const std::uint64_t limit = orvane::readMemoryLimit();
  std::uint64_t needed = 0;
  int worst = rowGroups.empty() ? 0 : rowGroups.front();
  try {
    if (holding == Holding::Together) {
      needed = declaredReadBytes(metadata, rowGroups, columns);
    } else {
      for (const int r : rowGroups) {
        const std::uint64_t bytes = declaredReadBytes(metadata, {r}, columns);
        if (bytes > needed) {
          needed = bytes;
          worst = r;
        }
      }
    }
  } catch (const ::parquet::ParquetException& e) {
    common::throwInvalidRead(file, orvane::to_ustring(e.what()));
  }
  if (needed <= limit) return;
  using Tag = ORVANE::parquetio::read::MemoryLimitExceeded;
  throw MessageException<Tag>(makeMessage<Tag>(file, judged(rowGroups, holding, worst), needed, limit));
}

void checkReadBudget(const ustring& file, const ::parquet::FileMetaData& metadata, Holding holding) {
  checkReadBudget(file, metadata, upTo(metadata.num_row_groups()), upTo(metadata.num_columns()), holding);
}

std::vector<int> leafColumnsOf(const ::parquet::SchemaDescriptor& schema, const VariableNames& names) {
  std::set<std::string> wanted;
  for (const auto& n : names) wanted.insert(orvane::ustring_to_utf8(n));
  std::vector<int> leaves;
  for (int i = 0; i < schema.num_columns(); ++i) {
    if (wanted.count(schema.GetColumnRoot(i)->name()) != 0) leaves.push_back(i);
  }
  return leaves;
}

void checkReadBudget(const ParquetReader& reader, Holding holding) {
  const ::parquet::FileMetaData& metadata = reader.getMetadata();
  std::vector<int> rowGroups;
  for (const double r : reader.getRowGroups()) rowGroups.push_back(static_cast<int>(r) - 1);
  checkReadBudget(reader.getFilename(), metadata, rowGroups,
                  leafColumnsOf(*metadata.schema(), reader.getSelectedVariableNames()), holding);
}

}  // namespace orvane::io::parquet::core::read
