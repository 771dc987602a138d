// The read memory budget: before any data of a file is read, what its footer
// declares for the chosen row groups and columns is turned into the bytes a
// read will hold, and a read that would need more than the host's read memory
// limit is refused with an error naming the file. A few hundred bytes of
// footer can declare gigabytes; without this check Parquet allocates them
// before it finds out that the pages do not hold them.
//
// The estimate is a lower bound of what Parquet's reader holds for a column
// chunk at once: its decompressed pages, the decoded values (values times
// the width of the type; byte arrays their offsets and their bytes a second
// time) and the definition and repetition levels. Pages whose own headers
// declare more than the footer says are not seen here, and the host arrays a
// read converts to come on top.
#pragma once

#include <ovparquet/core/Types.hpp>
#include <ovparquet/host/ustring.hpp>

#include <parquet/metadata.h>

#include <cstdint>
#include <vector>

namespace orvane::io::parquet::core::read {

using orvane::ustring;

// How the row groups of a read are held: all at once (a whole read into one
// table) or one after another (a row-group or record-batch reader).
enum class Holding { Together, OneAtATime };

// The bytes a read of these leaf columns of these row groups (0-based) holds
// at once, saturating at the largest 64-bit count. Raises the Parquet
// library's exception for an index the metadata does not have.
std::uint64_t declaredReadBytes(const ::parquet::FileMetaData& metadata, const std::vector<int>& rowGroups,
                                const std::vector<int>& columns);

// Returns when the read fits the host's read memory limit (readMemoryLimit);
// else raises "ORVANE:parquetio:read:MemoryLimitExceeded" with the file name,
// what was judged ("row group 3", "5 row groups"), the bytes needed and the
// limit. Metadata the Parquet library cannot answer from becomes
// "InternalInvalidRead" naming the file.
void checkReadBudget(const ustring& file, const ::parquet::FileMetaData& metadata, const std::vector<int>& rowGroups,
                     const std::vector<int>& columns, Holding holding);

// The same for every leaf column of every row group of the file.
void checkReadBudget(const ustring& file, const ::parquet::FileMetaData& metadata, Holding holding);

// The leaf columns beneath the top-level variables of these names, in leaf
// order.
std::vector<int> leafColumnsOf(const ::parquet::SchemaDescriptor& schema, const VariableNames& names);

class ParquetReader;

// The same for what an opened reader is set to read: its row groups and the
// leaf columns of its selected variables.
void checkReadBudget(const ParquetReader& reader, Holding holding);

}  // namespace orvane::io::parquet::core::read
