#include "output_target.hpp"

#include "text.hpp"

#include <ovparquet/host/iri.hpp>

namespace ovparquet::cli {

OutputTarget::OutputTarget(const std::string& output) : mOutput(output) {
  // An object store's unfinished upload is no object; only a local output
  // has temporaries for the watcher to remove.
  const auto iri = orvane::vfs::Iri::absolute(toHost(output));
  if (iri.isLocal()) mTemporaries.track(iri.localPath());
}

void OutputTarget::commit(orvane::io::parquet::core::write::ParquetWriter& writer) {
  mTemporaries.commit([&] { writer.close(); });
}

}  // namespace ovparquet::cli
