#include "parquet_input.hpp"

#include "file_errors.hpp"
#include "interrupt_watch.hpp"
#include "rows.hpp"
#include "text.hpp"

#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/host/error.hpp>

namespace ovparquet::cli {

namespace read = orvane::io::parquet::core::read;

ParquetInput::ParquetInput(const std::string& path, const std::string& name)
    : mPath(path), mName(name.empty() ? path : name) {
  namingFile(mName, [&] {
    const orvane::ustring file = toHost(mPath);
    const read::RowGroupParquetReader probe(file, std::vector<double>{});
    std::vector<double> all;
    for (double r = 1; r <= probe.getTotalNumRowGroups(); ++r) all.push_back(r);
    mRowGroups = all.size();
    mReader = std::make_unique<read::RowGroupParquetReader>(file, all);
    read::checkReadBudget(*mReader, read::Holding::OneAtATime);
  });
}

unique_ovarray_ptr ParquetInput::next(std::uint64_t) {
  // This may run on a worker thread, which the host's check ignores.
  if (interruptSignalled()) throw orvane::InterruptError();
  if (!mReader->hasdata()) return nullptr;
  ++mRead;
  return namingFile(mName, [&] { return mReader->read(); });
}

unique_ovarray_ptr ParquetInput::empty() {
  // A file without row groups gives its empty table once; any other file's
  // first row group is cut to no rows.
  std::vector<double> first;
  if (mRowGroups > 0) first.push_back(1);
  read::RowGroupParquetReader reader(toHost(mPath), first);
  auto table = reader.read();
  if (ovTableNumRows(table.get()) == 0) return table;
  std::vector<std::size_t> all(ovTableNumVariables(table.get()));
  for (std::size_t v = 0; v < all.size(); ++v) all[v] = v;
  return gatherTable({{table.get(), {}}}, all);
}

double ParquetInput::progress() const {
  return mRowGroups == 0 ? 1 : static_cast<double>(mRead) / static_cast<double>(mRowGroups);
}

}  // namespace ovparquet::cli
