// Dictionary columns: categoricals for string dictionaries, the decoded
// values for any other dictionary.
#include "common.hpp"
#include "read_internal.hpp"

#include <arrow/array/array_dict.h>
#include <arrow/array/util.h>
#include <arrow/compute/api_vector.h>
#include <arrow/datum.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace orvane::io::arrow::core::detail {
namespace {

bool isStringType(const ::arrow::DataType& type) {
  return type.id() == ::arrow::Type::STRING || type.id() == ::arrow::Type::LARGE_STRING;
}

// The categories of one dictionary: its texts as a K-by-1 string array, and
// which entries are null (rows pointing at them become missing).
ReadContext::Categories convertCategories(const ::arrow::DataType& valueType,
                                          const ::arrow::ArrayData& dictionary,
                                          ReadContext& context) {
  const Segment whole{&dictionary, 0, dictionary.length};
  const auto count = static_cast<std::size_t>(dictionary.length);
  ReadContext::Categories categories;
  categories.strings = readString(valueType, Segments(&whole, 1), count, nullptr, context);
  if (const std::uint8_t* mask = ovGetMissingMask(categories.strings.get())) {
    categories.nullEntries.assign(mask, mask + count);
    ovRemoveMissingMask(categories.strings.get());
  }
  return categories;
}

// Writes the codes of one segment: Arrow's index (checked against the
// length of the segment's own dictionary), or its transposed value when
// `transpose` is given; -1 for missing rows and for rows pointing at a null
// dictionary entry (which are marked in `missing`).
struct CodeMapping {
  std::int64_t dictionaryLength = 0;
  const std::int32_t* transpose = nullptr;
  const std::vector<std::uint8_t>* nullEntries = nullptr;  // of the categories
};

template <typename Index>
void fillCodes(const Segment& segment, const CodeMapping& mapping, std::uint8_t* missing,
               std::int32_t* codes, const ReadContext& context) {
  const Index* indices =
      reinterpret_cast<const Index*>(segment.data->buffers[1]->data()) + segment.position();
  const auto length = static_cast<std::uint64_t>(mapping.dictionaryLength);
  const std::vector<std::uint8_t>& nullEntries = *mapping.nullEntries;
  for (std::int64_t j = 0; j < segment.length; ++j) {
    if (missing[j]) {
      codes[j] = -1;
      continue;
    }
    const Index index = indices[j];
    if (index < 0 || static_cast<std::uint64_t>(index) >= length) {
      context.invalid("a dictionary index is out of range");
    }
    const auto position = static_cast<std::size_t>(index);
    const std::int32_t code =
        mapping.transpose ? mapping.transpose[position] : static_cast<std::int32_t>(position);
    if (!nullEntries.empty() && nullEntries[static_cast<std::size_t>(code)]) {
      missing[j] = 1;
      codes[j] = -1;
      continue;
    }
    codes[j] = code;
  }
}

void fillCodesOf(const ::arrow::DataType& indexType, const Segment& segment,
                 const CodeMapping& mapping, std::uint8_t* missing, std::int32_t* codes,
                 const ReadContext& context) {
  using ::arrow::Type;
  switch (indexType.id()) {
    case Type::INT8:
      return fillCodes<std::int8_t>(segment, mapping, missing, codes, context);
    case Type::UINT8:
      return fillCodes<std::uint8_t>(segment, mapping, missing, codes, context);
    case Type::INT16:
      return fillCodes<std::int16_t>(segment, mapping, missing, codes, context);
    case Type::UINT16:
      return fillCodes<std::uint16_t>(segment, mapping, missing, codes, context);
    case Type::INT32:
      return fillCodes<std::int32_t>(segment, mapping, missing, codes, context);
    case Type::UINT32:
      return fillCodes<std::uint32_t>(segment, mapping, missing, codes, context);
    case Type::INT64:
      return fillCodes<std::int64_t>(segment, mapping, missing, codes, context);
    case Type::UINT64:
      return fillCodes<std::uint64_t>(segment, mapping, missing, codes, context);
    default:
      context.invalid("a dictionary's index type is not an integer type");
  }
}

unique_ovarray_ptr readCategorical(const ::arrow::DictionaryType& type, Segments segments,
                                   std::size_t rows, ParentMissing parentMissing,
                                   ReadContext& context) {
  const ::arrow::DataType& valueType = *type.value_type();
  // The distinct dictionaries of the segments (usually one).
  std::vector<std::shared_ptr<::arrow::ArrayData>> dictionaries;
  std::vector<std::size_t> dictionaryOf(segments.size());
  for (std::size_t s = 0; s < segments.size(); ++s) {
    const auto& dictionary = segments[s].data->dictionary;
    if (dictionary == nullptr) context.invalid("a dictionary array has no dictionary");
    std::size_t d = 0;
    for (; d < dictionaries.size(); ++d) {
      if (dictionaries[d] == dictionary ||
          ::arrow::MakeArray(dictionaries[d])->Equals(*::arrow::MakeArray(dictionary))) {
        break;
      }
    }
    if (d == dictionaries.size()) dictionaries.push_back(dictionary);
    dictionaryOf[s] = d;
  }

  ReadContext::Categories categories;
  std::vector<std::shared_ptr<::arrow::Buffer>> transposes;
  if (dictionaries.size() <= 1) {
    // One dictionary for all rows: converted once per column (and reused by
    // every list row that refers to it).
    if (dictionaries.empty()) {
      categories.strings = ovCreateStringArray(ovDims{0, 1});
    } else {
      const auto& dictionary = dictionaries[0];
      std::lock_guard<std::mutex> lock(context.categoryMutex);
      auto cached = context.categoryCache.find(dictionary.get());
      if (cached == context.categoryCache.end()) {
        ReadContext::Categories converted = convertCategories(valueType, *dictionary, context);
        converted.dictionary = dictionary;
        cached = context.categoryCache.emplace(dictionary.get(), std::move(converted)).first;
      }
      categories.strings = ovDuplicateArray(cached->second.strings.get());
      categories.nullEntries = cached->second.nullEntries;
    }
  } else {
    // Chunks with different dictionaries: unify them so that every code
    // refers to the same categories.
    auto unifier = valueOrThrow(::arrow::DictionaryUnifier::Make(type.value_type()));
    for (const auto& dictionary : dictionaries) {
      std::shared_ptr<::arrow::Buffer> transpose;
      throwIfError(unifier->Unify(*::arrow::MakeArray(dictionary), &transpose));
      transposes.push_back(std::move(transpose));
    }
    std::shared_ptr<::arrow::DataType> unifiedType;
    std::shared_ptr<::arrow::Array> unified;
    throwIfError(unifier->GetResult(&unifiedType, &unified));
    categories = convertCategories(valueType, *unified->data(), context);
  }
  const std::size_t categoryCount = ovGetNumberOfElements(categories.strings.get());
  if (categoryCount > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    context.invalid("a dictionary has more entries than categorical codes can address");
  }

  std::vector<std::uint8_t> missing = missingRows(segments, rows, parentMissing);
  if (missing.empty()) missing.assign(rows, 0);
  std::vector<std::int32_t> codes(rows);
  std::size_t row = 0;
  for (std::size_t s = 0; s < segments.size(); ++s) {
    const Segment& segment = segments[s];
    if (segment.length == 0) continue;
    CodeMapping mapping;
    mapping.dictionaryLength = dictionaries[dictionaryOf[s]]->length;
    mapping.nullEntries = &categories.nullEntries;
    if (!transposes.empty()) {
      mapping.transpose =
          reinterpret_cast<const std::int32_t*>(transposes[dictionaryOf[s]]->data());
    }
    fillCodesOf(*type.index_type(), segment, mapping, missing.data() + row, codes.data() + row,
                context);
    row += static_cast<std::size_t>(segment.length);
  }
  auto array = ovCreateCategoricalArray(ovDims{rows, 1}, std::move(categories.strings),
                                        std::move(codes), type.ordered());
  if (std::find(missing.begin(), missing.end(), std::uint8_t{1}) != missing.end()) {
    std::memcpy(ovAllocMissingMask(array.get()), missing.data(), rows);
  }
  return array;
}

// A dictionary of non-string values: the rows are decoded into the value
// type and converted as such.
unique_ovarray_ptr readDecoded(const ::arrow::DictionaryType& type, Segments segments,
                               std::size_t rows, ParentMissing parentMissing,
                               ReadContext& context) {
  std::vector<std::shared_ptr<::arrow::Array>> decoded;
  std::vector<Segment> decodedSegments;
  decoded.reserve(segments.size());
  decodedSegments.reserve(segments.size());
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    auto indices = std::make_shared<::arrow::ArrayData>(*segment.data);
    indices->type = type.index_type();
    indices->dictionary = nullptr;
    const auto dictionary = ::arrow::MakeArray(segment.data->dictionary);
    const auto values = ::arrow::MakeArray(indices)->Slice(segment.start, segment.length);
    decoded.push_back(valueOrThrow(::arrow::compute::Take(*dictionary, *values)));
    decodedSegments.push_back(Segment{decoded.back()->data().get(), 0, segment.length});
  }
  return readColumn(*type.value_type(), decodedSegments, rows, parentMissing, context);
}

}  // namespace

unique_ovarray_ptr readDictionary(const ::arrow::DictionaryType& type, Segments segments,
                                  std::size_t rows, ParentMissing parentMissing,
                                  ReadContext& context) {
  if (isStringType(*type.value_type())) {
    return readCategorical(type, segments, rows, parentMissing, context);
  }
  return readDecoded(type, segments, rows, parentMissing, context);
}

}  // namespace orvane::io::arrow::core::detail
