#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/write/ParquetWriterOptions.hpp>

#include <arrow/util/compression.h>

#include <algorithm>
#include <map>

namespace orvane::io::parquet::core::write {
namespace {
constexpr const char* kTraceSource = "write/ParquetWriterOptions";

// "2.0" is the Parquet library's deprecated alias that writes format 2.6.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
constexpr ::parquet::ParquetVersion::type kVersion2 = ::parquet::ParquetVersion::PARQUET_2_0;
#pragma GCC diagnostic pop

const std::map<std::string, ::arrow::Compression::type>& compressionTable() {
  static const std::map<std::string, ::arrow::Compression::type> table = {
      {"brotli", ::arrow::Compression::BROTLI}, {"gzip", ::arrow::Compression::GZIP},
      {"lz4", ::arrow::Compression::LZ4},       {"lzo", ::arrow::Compression::LZO},
      {"snappy", ::arrow::Compression::SNAPPY}, {"uncompressed", ::arrow::Compression::UNCOMPRESSED},
      {"zstd", ::arrow::Compression::ZSTD},
  };
  return table;
}

bool isEncodingName(const std::string& name) {
  const auto names = encodingNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

template <typename Tag, typename... Args>
[[noreturn]] void fail(Args&&... args) {
  throw common::MessageException<Tag>(common::makeMessage<Tag>(std::forward<Args>(args)...));
}
}  // namespace

std::vector<std::string> writableCompressionNames() {
  std::vector<std::string> names;
  for (const auto& [name, codec] : compressionTable()) {
    if (::arrow::util::Codec::IsAvailable(codec)) names.push_back(name);
  }
  return names;
}

std::vector<std::string> encodingNames() { return {"dictionary", "plain"}; }

ParquetWriterOptions::ParquetWriterOptions() : mVersion(kVersion2) {}
ParquetWriterOptions::ParquetWriterOptions(ParquetWriterOptions&&) noexcept = default;
ParquetWriterOptions& ParquetWriterOptions::operator=(ParquetWriterOptions&&) noexcept = default;
ParquetWriterOptions::~ParquetWriterOptions() = default;

void ParquetWriterOptions::setVariableNames(const VariableNames& names) {
  if (&names != &mVariableNames) mVariableNames = names;
}

void ParquetWriterOptions::setVariableEncoding(const VariableEncoding& encoding) {
  if (&encoding != &mVariableEncoding) mVariableEncoding = encoding;
}

void ParquetWriterOptions::setVariableCompression(const VariableCompression& compression) {
  if (&compression != &mVariableCompression) mVariableCompression = compression;
}

std::string ParquetWriterOptions::getVersion() const {
  switch (static_cast<int>(mVersion)) {
    case 0: return "1.0";
    case 1:
    case 2:
    case 3: return "2.0";
    default: return "";
  }
}

void ParquetWriterOptions::setVersion(const std::string& version) {
  if (version == "1.0") {
    mVersion = ::parquet::ParquetVersion::PARQUET_1_0;
  } else if (version == "2.0") {
    mVersion = kVersion2;
  } else {
    fail<ORVANE::parquetio::write::InvalidOption>(std::string("Version"), version);
  }
}

void ParquetWriterOptions::setLeafColumnPaths(std::unique_ptr<LeafColumnPaths> paths) {
  mLeafColumnPaths = std::move(paths);
}

void ParquetWriterOptions::validate() const {
  OVPARQUET_TRACE();
  using namespace ORVANE::parquetio::write;
  if (!mLeafColumnPaths) {
    // Without leaf paths no per-variable setting can be applied.
    if (!mVariableEncoding.empty()) fail<WrongOptionNumel>(std::string("VariableEncoding"), uint64_t{0});
    if (!mVariableCompression.empty()) fail<WrongOptionNumel>(std::string("VariableCompression"), uint64_t{0});
  } else {
    const uint64_t n = mLeafColumnPaths->numTopLevelColumns();
    const uint64_t v = mVariableNames.size();
    if (n != v) fail<LeafColumnPathsNumTopLevelCols>(n, v);
    if (!mVariableEncoding.empty() && mVariableEncoding.size() != v) {
      fail<WrongOptionNumel>(std::string("VariableEncoding"), v);
    }
    if (!mVariableCompression.empty() && mVariableCompression.size() != v) {
      fail<WrongOptionNumel>(std::string("VariableCompression"), v);
    }
  }
  for (const auto& encoding : mVariableEncoding) {
    if (!isEncodingName(encoding)) fail<InvalidOption>(std::string("VariableEncoding"), encoding);
  }
}

std::shared_ptr<::parquet::WriterProperties> ParquetWriterOptions::buildWriterProperties() const {
  OVPARQUET_TRACE();
  validate();
  ::parquet::WriterProperties::Builder builder;
  if (mVariableCompression.empty()) {
    builder.compression(::arrow::Compression::SNAPPY);
  } else {
    for (std::size_t i = 0; i < mVariableCompression.size(); ++i) {
      const auto codec = compressionTable().find(mVariableCompression[i]);
      if (codec == compressionTable().end()) {
        fail<ORVANE::parquetio::write::InvalidOption>(std::string("VariableCompression"), mVariableCompression[i]);
      }
      const auto [begin, end] = mLeafColumnPaths->leaf_paths(i);
      for (auto path = begin; path != end; ++path) builder.compression(orvane::ustring_to_utf8(*path), codec->second);
    }
  }
  if (mVariableEncoding.empty()) {
    builder.enable_dictionary();
  } else {
    for (std::size_t i = 0; i < mVariableEncoding.size(); ++i) {
      const bool dictionary = mVariableEncoding[i] == "dictionary";
      const auto [begin, end] = mLeafColumnPaths->leaf_paths(i);
      for (auto path = begin; path != end; ++path) {
        if (dictionary) {
          builder.enable_dictionary(orvane::ustring_to_utf8(*path));
        } else {
          builder.disable_dictionary(orvane::ustring_to_utf8(*path));
        }
      }
    }
  }
  builder.max_row_group_length(mMaxRowGroupLength);
  builder.version(mVersion);
  return builder.build();
}

std::shared_ptr<::parquet::ArrowWriterProperties> ParquetWriterOptions::buildArrowWriterProperties() const {
  OVPARQUET_TRACE();
  ::parquet::ArrowWriterProperties::Builder builder;
  if (mStoreArrowSchema) {
    builder.store_schema();
  }
  if (mUseCompliantNestedTypes) {
    builder.enable_compliant_nested_types();
  } else {
    builder.disable_compliant_nested_types();
  }
  return builder.build();
}

}  // namespace orvane::io::parquet::core::write
