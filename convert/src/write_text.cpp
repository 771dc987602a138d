// String and categorical variables: the host's UTF-16 text to UTF-8.
#include "common.hpp"
#include "write_internal.hpp"

#include <ovparquet/host/categories.hpp>
#include <ovparquet/host/ustring.hpp>

#include <arrow/buffer.h>

#include <limits>
#include <string_view>

namespace orvane::io::arrow::core::detail {
namespace {

constexpr std::size_t kMaxOffset = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());

// Appends the UTF-8 form of `units`: ASCII units are narrowed in one loop,
// the rest is encoded with unpaired surrogates replaced by U+FFFD.
void appendUtf8(std::u16string_view units, std::string& out) {
  const std::size_t base = out.size();
  out.resize(base + units.size());
  char* dst = out.data() + base;
  std::size_t k = 0;
  for (; k < units.size() && units[k] < 0x80; ++k) dst[k] = static_cast<char>(units[k]);
  out.resize(base + k);
  if (k < units.size()) orvane::append_utf16_replacing(units.substr(k), out);
}

// The texts of all pieces (string arrays, or the categories of
// categoricals) as one utf8 array; `missing` tells which elements are null.
class Utf8Writer {
 public:
  Utf8Writer(std::size_t rows, const std::string& path, const WriteContext& context)
      : mPath(path), mContext(context) {
    mOffsets.reserve(rows + 1);
    mOffsets.push_back(0);
  }

  void reserve(std::size_t bytes) { mData.reserve(bytes); }

  // Appends every element of a string array. All-ASCII text (the common
  // case) is narrowed in one vectorisable pass and keeps its offsets.
  void appendAll(const ovArray* strings) {
    const std::u16string_view text = ovGetStringBuffer(strings);
    const std::int64_t* offsets = ovGetStringOffsets(strings);
    const std::size_t count = ovGetNumberOfElements(strings);
    const std::size_t base = mData.size();
    mData.resize(base + text.size());
    char* dst = mData.data() + base;
    char16_t seen = 0;
    for (std::size_t k = 0; k < text.size(); ++k) {
      seen |= text[k];
      dst[k] = static_cast<char>(text[k]);
    }
    if (seen < 0x80) {
      check();
      for (std::size_t i = 0; i < count; ++i) {
        mOffsets.push_back(static_cast<std::int32_t>(base + static_cast<std::size_t>(offsets[i + 1])));
      }
      return;
    }
    mData.resize(base);
    for (std::size_t i = 0; i < count; ++i) append(ovGetStringView(strings, i));
  }

  void append(std::u16string_view text) {
    appendUtf8(text, mData);
    check();
    mOffsets.push_back(static_cast<std::int32_t>(mData.size()));
  }

  std::shared_ptr<::arrow::ArrayData> finish(std::shared_ptr<::arrow::Buffer> validity,
                                             std::int64_t nullCount) {
    const auto rows = static_cast<std::int64_t>(mOffsets.size() - 1);
    return ::arrow::ArrayData::Make(::arrow::utf8(), rows,
                                    {std::move(validity), ::arrow::Buffer::FromVector(std::move(mOffsets)),
                                     ::arrow::Buffer::FromString(std::move(mData))},
                                    nullCount);
  }

 private:
  void check() const {
    if (mData.size() > kMaxOffset) {
      mContext.fail(::arrow::StatusCode::CapacityError, mPath,
                    "holds more than 2 GiB of UTF-8 text, more than an Arrow string array can");
    }
  }

  std::string mData;
  std::vector<std::int32_t> mOffsets;
  const std::string& mPath;
  const WriteContext& mContext;
};

}  // namespace

std::shared_ptr<::arrow::ArrayData> writeString(Pieces pieces, std::int64_t rows,
                                                const std::string& path,
                                                const WriteContext& context) {
  Utf8Writer writer(static_cast<std::size_t>(rows), path, context);
  std::size_t units = 0;
  for (const ovArray* piece : pieces) units += ovGetStringBuffer(piece).size();
  writer.reserve(units);
  for (const ovArray* piece : pieces) writer.appendAll(piece);
  std::int64_t nullCount = 0;
  auto validity = validityOf(pieces, rows, &nullCount);
  return writer.finish(std::move(validity), nullCount);
}

std::shared_ptr<::arrow::ArrayData> writeCategorical(Pieces pieces, std::int64_t rows,
                                                     const std::string& path,
                                                     const WriteContext& context) {
  const bool ordered = ovIsOrdinal(pieces.front());
  // The first piece's categories, then whatever other pieces add.
  ovCategoryUnion categories;

  auto indices = allocate(rows * static_cast<std::int64_t>(sizeof(std::int32_t)));
  auto* out = reinterpret_cast<std::int32_t*>(indices->mutable_data());
  for (const ovArray* piece : pieces) {
    if (ovIsOrdinal(piece) != ordered) {
      context.fail(::arrow::StatusCode::Invalid, path,
                   "mixes ordinal and non-ordinal categoricals; the elements of a cell must "
                   "share the ordering");
    }
    const std::vector<std::int32_t>& recode = categories.add(piece);
    const std::size_t categoryCount = ovGetNumberOfCategories(piece);
    const std::int32_t* codes = ovGetCategoryCodes(piece);
    const std::uint8_t* mask = ovGetMissingMask(piece);
    const std::size_t count = ovGetNumberOfElements(piece);
    for (std::size_t i = 0; i < count; ++i) {
      if (mask != nullptr && mask[i]) {
        *out++ = 0;
        continue;
      }
      const std::int32_t code = codes[i];
      if (code < 0 || static_cast<std::size_t>(code) >= categoryCount) {
        context.fail(::arrow::StatusCode::Invalid, path,
                     "holds the categorical code " + std::to_string(code) + " outside its " +
                         std::to_string(categoryCount) + " categories");
      }
      *out++ = recode.empty() ? code : recode[static_cast<std::size_t>(code)];
    }
  }
  if (categories.categories().size() > kMaxOffset) {
    context.fail(::arrow::StatusCode::CapacityError, path,
                 "has more categories than a dictionary with int32 indices can hold");
  }

  Utf8Writer dictionary(categories.categories().size(), path, context);
  for (const std::u16string_view text : categories.categories()) dictionary.append(text);
  std::int64_t nullCount = 0;
  auto validity = validityOf(pieces, rows, &nullCount);
  auto data = ::arrow::ArrayData::Make(
      ::arrow::dictionary(::arrow::int32(), ::arrow::utf8(), ordered), rows,
      {std::move(validity), std::move(indices)}, nullCount);
  data->dictionary = dictionary.finish(nullptr, 0);
  return data;
}

}  // namespace orvane::io::arrow::core::detail
