#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>

#include <arrow/memory_pool.h>
#include <arrow/type.h>
#include <arrow/util/compression.h>
#include <parquet/file_reader.h>
#include <parquet/schema.h>
#include <parquet/types.h>

#include <algorithm>
#include <locale>

namespace orvane::io::parquet::core::info {
namespace {
constexpr const char* kTraceSource = "info/ParquetInfo";

// The leaf column of a variable stored as exactly one leaf (a primitive, or a
// list of primitives); no value for variables with several leaves.
std::optional<int> singleLeaf(const ::parquet::arrow::SchemaField& field) {
  const auto leaf = common::schema_field_to_leaf_index(field);
  if (!leaf) return std::nullopt;
  const auto all = common::schema_field_to_all_leaf_indices(field);
  if (!all || all->size() != 1) return std::nullopt;
  return leaf;
}
}  // namespace

ParquetInfo::ParquetInfo(const ustring& filename) : mFilename(filename) {
  OVPARQUET_TRACE();
  common::logDetail("filename", mFilename);
  try {
    doBuildInfo();
  } catch (const std::exception& e) {
    common::logCaughtException();
    common::throwInvalidRead(mFilename, orvane::to_ustring(e.what()));
  }
}

void ParquetInfo::doBuildInfo() {
  OVPARQUET_TRACE();
  auto file = common::makeReadableFilePtr(mFilename);
  common::throwReadExceptIfNotOk(::parquet::arrow::OpenFile(file, ::arrow::default_memory_pool(), &mReader),
                                 mFilename);
  mFilename = file->GetFilename();
  auto size = file->GetSize();
  common::throwReadExceptIfNotOk(size.status(), mFilename);
  mFileSize = *size;

  setVersion();
  setArrowSchema();
  setNumRowGroups();
  setVariableNames();
  setVariableTypes();
  setArrowTypes();
  setRowGroupHeights();
  setRowGroupOffsets();
  setParquetPhysicalTypes();
  setParquetConvertedTypes();
  setParquetLogicalTypes();
  // The first row group stands for the whole file.
  if (mNumRowGroups > 0) {
    const auto rowGroup = getMetadata()->RowGroup(0);
    setVariableCompression(*rowGroup);
    setVariableEncoding(*rowGroup);
  }
}

const std::shared_ptr<::parquet::FileMetaData> ParquetInfo::getMetadata() const {
  OVPARQUET_TRACE();
  return mReader->parquet_reader()->metadata();
}

const ::parquet::arrow::SchemaManifest& ParquetInfo::getSchemaManifest() const {
  OVPARQUET_TRACE();
  return mReader->manifest();
}

void ParquetInfo::setVersion() {
  OVPARQUET_TRACE();
  switch (getMetadata()->version()) {
    case ::parquet::ParquetVersion::PARQUET_1_0:
      mVersion = "1.0";
      break;
    // The minor versions of format 2 are not told apart. PARQUET_2_0 is
    // deprecated for writing but still read from older files.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    case ::parquet::ParquetVersion::PARQUET_2_0:
#pragma GCC diagnostic pop
    case ::parquet::ParquetVersion::PARQUET_2_4:
    case ::parquet::ParquetVersion::PARQUET_2_6:
      mVersion = "2.0";
      break;
    default:
      mVersion = "";
  }
}

void ParquetInfo::setArrowSchema() {
  OVPARQUET_TRACE();
  common::throwReadExceptIfNotOk(mReader->GetSchema(&mArrowSchema), mFilename);
}

void ParquetInfo::setNumRowGroups() {
  OVPARQUET_TRACE();
  mNumRowGroups = getMetadata()->num_row_groups();
}

void ParquetInfo::setVariableNames() {
  OVPARQUET_TRACE();
  mVariableNames = info::getVariableNames(mArrowSchema);
}

void ParquetInfo::setVariableTypes() {
  OVPARQUET_TRACE();
  mVariableTypes = info::getVariableTypes(mArrowSchema);
}

void ParquetInfo::setArrowTypes() {
  OVPARQUET_TRACE();
  mArrowTypes.reserve(static_cast<std::size_t>(mArrowSchema->num_fields()));
  for (const auto& field : mArrowSchema->fields()) mArrowTypes.push_back(field->type()->ToString());
}

void ParquetInfo::setRowGroupHeights() {
  OVPARQUET_TRACE();
  mRowGroupHeights = info::getRowGroupHeights(*getMetadata());
}

void ParquetInfo::setRowGroupOffsets() {
  OVPARQUET_TRACE();
  mRowGroupOffsets = info::getRowGroupOffsets(*getMetadata());
}

void ParquetInfo::setParquetPhysicalTypes() {
  OVPARQUET_TRACE();
  const ::parquet::SchemaDescriptor* descriptor = getMetadata()->schema();
  const auto& fields = getSchemaManifest().schema_fields;
  mParquetPhysicalTypes.reserve(fields.size());
  for (const auto& field : fields) {
    if (const auto leaf = singleLeaf(field)) {
      mParquetPhysicalTypes.push_back(::parquet::TypeToString(descriptor->Column(*leaf)->physical_type()));
    } else {
      mParquetPhysicalTypes.push_back("");
    }
  }
}

void ParquetInfo::setParquetConvertedTypes() {
  OVPARQUET_TRACE();
  const auto count = getSchemaManifest().schema_fields.size();
  const auto* root = getMetadata()->schema()->group_node();
  mParquetConvertedTypes.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    mParquetConvertedTypes.push_back(
        ::parquet::ConvertedTypeToString(root->field(static_cast<int>(i))->converted_type()));
  }
}

void ParquetInfo::setParquetLogicalTypes() {
  OVPARQUET_TRACE();
  const auto count = getSchemaManifest().schema_fields.size();
  const auto* root = getMetadata()->schema()->group_node();
  mParquetLogicalTypes.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    mParquetLogicalTypes.push_back(root->field(static_cast<int>(i))->logical_type()->ToString());
  }
}

void ParquetInfo::setVariableCompression(const ::parquet::RowGroupMetaData& rowGroup) {
  OVPARQUET_TRACE();
  const auto& fields = getSchemaManifest().schema_fields;
  mVariableCompression.reserve(fields.size());
  for (const auto& field : fields) {
    const auto leaf = singleLeaf(field);
    if (!leaf) {
      mVariableCompression.push_back("");
      continue;
    }
    std::string name = ::arrow::util::Codec::GetCodecAsString(rowGroup.ColumnChunk(*leaf)->compression());
    const std::locale locale;
    std::transform(name.begin(), name.end(), name.begin(), [&](char c) { return std::tolower(c, locale); });
    mVariableCompression.push_back(name == "unknown" ? std::string() : name);
  }
}

void ParquetInfo::setVariableEncoding(const ::parquet::RowGroupMetaData& rowGroup) {
  OVPARQUET_TRACE();
  static const std::string kDictionary = "dictionary";
  static const std::string kPlain = "plain";
  static const std::string kNone;
  const auto& fields = getSchemaManifest().schema_fields;
  mVariableEncoding.reserve(fields.size());
  for (const auto& field : fields) {
    const auto leaf = singleLeaf(field);
    if (!leaf) {
      mVariableEncoding.push_back(kNone);
      continue;
    }
    const auto chunk = rowGroup.ColumnChunk(*leaf);
    const auto& encodings = chunk->encodings();
    if (chunk->has_dictionary_page()) {
      mVariableEncoding.push_back(kDictionary);
    } else if (encodings.size() == 2 &&
               std::find(encodings.begin(), encodings.end(), ::parquet::Encoding::PLAIN) != encodings.end()) {
      mVariableEncoding.push_back(kPlain);
    } else {
      mVariableEncoding.push_back(kNone);
    }
  }
}

}  // namespace orvane::io::parquet::core::info
