// The file summary of arbitrary bytes.
#include "FuzzInput.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ovfuzz::initialise();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto name = ovfuzz::serve(data, size);
  ovfuzz::expectingFailures([&] {
    const orvane::io::parquet::core::info::ParquetInfo info(name);
    (void)info.getMetadata()->num_rows();
    (void)info.getSchemaManifest().schema_fields.size();
  });
  return 0;
}
