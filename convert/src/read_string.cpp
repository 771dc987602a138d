// String columns (UTF-8 to the host's UTF-16) and binary columns (cells of
// uint8 column vectors).
#include "read_internal.hpp"

#include <ovparquet/host/ustring.hpp>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace orvane::io::arrow::core::detail {
namespace {

// Widens `size` bytes to UTF-16 units while they are ASCII. Returns false as
// soon as a block holds a non-ASCII byte (what was written is then garbage).
bool widenAscii(const char* src, std::size_t size, char16_t* dst) {
  constexpr std::size_t kBlock = 4096;
  for (std::size_t begin = 0; begin < size; begin += kBlock) {
    const std::size_t end = std::min(size, begin + kBlock);
    unsigned char seen = 0;
    for (std::size_t k = begin; k < end; ++k) {
      const auto c = static_cast<unsigned char>(src[k]);
      seen |= c;
      dst[k] = c;
    }
    if (seen >= 0x80) return false;
  }
  return true;
}

const char* charsOf(const Segment& segment) {
  const auto& buffer = segment.data->buffers[2];
  return buffer ? reinterpret_cast<const char*>(buffer->data()) : "";
}

template <typename Offset>
const Offset* offsetsOf(const Segment& segment) {
  return reinterpret_cast<const Offset*>(segment.data->buffers[1]->data()) + segment.position();
}

template <typename Offset>
unique_ovarray_ptr readStrings(Segments segments, std::size_t rows, ParentMissing parentMissing,
                               ReadContext& context) {
  const std::vector<std::uint8_t> missing = missingRows(segments, rows, parentMissing);
  std::size_t bytes = 0;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const Offset* offsets = offsetsOf<Offset>(segment);
    bytes += static_cast<std::size_t>(offsets[segment.length] - offsets[0]);
  }
  // UTF-16 never needs more units than UTF-8 has bytes.
  orvane::ustring text;
  text.reserve(bytes);
  std::vector<std::int64_t> hostOffsets(rows + 1);
  std::uint64_t invalidValues = 0;
  std::size_t row = 0;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const Offset* offsets = offsetsOf<Offset>(segment);
    const char* chars = charsOf(segment);
    const std::uint8_t* segmentMissing = missing.empty() ? nullptr : missing.data() + row;
    std::int64_t* out = hostOffsets.data() + row + 1;
    bool done = false;
    if (segmentMissing == nullptr) {
      // Fast path: the whole segment is ASCII, so the offsets carry over.
      const std::size_t base = text.size();
      const auto size = static_cast<std::size_t>(offsets[segment.length] - offsets[0]);
      text.resize(base + size);
      if (widenAscii(chars + offsets[0], size, text.data() + base)) {
        const auto shift = static_cast<std::int64_t>(base) - static_cast<std::int64_t>(offsets[0]);
        for (std::int64_t j = 0; j < segment.length; ++j) {
          out[j] = static_cast<std::int64_t>(offsets[j + 1]) + shift;
        }
        done = true;
      } else {
        text.resize(base);
      }
    }
    if (!done) {
      for (std::int64_t j = 0; j < segment.length; ++j) {
        if (segmentMissing == nullptr || segmentMissing[j] == 0) {
          const std::string_view value(chars + offsets[j],
                                       static_cast<std::size_t>(offsets[j + 1] - offsets[j]));
          if (orvane::append_utf8_replacing(value, text) != 0) ++invalidValues;
        }
        out[j] = static_cast<std::int64_t>(text.size());
      }
    }
    row += static_cast<std::size_t>(segment.length);
  }
  context.addInvalidUtf8Values(invalidValues);
  auto array = ovCreateStringArrayFromBuffers(ovDims{rows, 1}, std::move(text),
                                              std::move(hostOffsets));
  if (!missing.empty()) std::memcpy(ovAllocMissingMask(array.get()), missing.data(), rows);
  return array;
}

unique_ovarray_ptr bytesColumn(const std::uint8_t* bytes, std::size_t size) {
  auto array = ovCreateUninitNumericArray(ovDims{size, 1}, ovClassID::UInt8);
  if (size != 0) std::memcpy(ovGetDataMutable(array.get()), bytes, size);
  return array;
}

template <typename Offset>
unique_ovarray_ptr readBinaries(Segments segments, std::size_t rows,
                                ParentMissing parentMissing) {
  const std::vector<std::uint8_t> missing = missingRows(segments, rows, parentMissing);
  auto cell = ovCreateCellArray(ovDims{rows, 1});
  std::size_t row = 0;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const Offset* offsets = offsetsOf<Offset>(segment);
    const auto* chars = reinterpret_cast<const std::uint8_t*>(charsOf(segment));
    for (std::int64_t j = 0; j < segment.length; ++j, ++row) {
      if (!missing.empty() && missing[row]) continue;
      ovReplaceCell(cell.get(), row,
                    bytesColumn(chars + offsets[j],
                                static_cast<std::size_t>(offsets[j + 1] - offsets[j])));
    }
  }
  return cell;
}

unique_ovarray_ptr readFixedBinaries(std::int32_t width, Segments segments, std::size_t rows,
                                     ParentMissing parentMissing) {
  const std::vector<std::uint8_t> missing = missingRows(segments, rows, parentMissing);
  auto cell = ovCreateCellArray(ovDims{rows, 1});
  const auto size = static_cast<std::size_t>(width);
  std::size_t row = 0;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const auto& buffer = segment.data->buffers[1];
    const std::uint8_t* values =
        buffer ? buffer->data() + static_cast<std::size_t>(segment.position()) * size : nullptr;
    for (std::int64_t j = 0; j < segment.length; ++j, ++row) {
      if (!missing.empty() && missing[row]) continue;
      ovReplaceCell(cell.get(), row, bytesColumn(values + static_cast<std::size_t>(j) * size, size));
    }
  }
  return cell;
}

}  // namespace

unique_ovarray_ptr readString(const ::arrow::DataType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context) {
  if (type.id() == ::arrow::Type::LARGE_STRING) {
    return readStrings<std::int64_t>(segments, rows, parentMissing, context);
  }
  return readStrings<std::int32_t>(segments, rows, parentMissing, context);
}

unique_ovarray_ptr readBinary(const ::arrow::DataType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing) {
  switch (type.id()) {
    case ::arrow::Type::BINARY:
      return readBinaries<std::int32_t>(segments, rows, parentMissing);
    case ::arrow::Type::LARGE_BINARY:
      return readBinaries<std::int64_t>(segments, rows, parentMissing);
    case ::arrow::Type::FIXED_SIZE_BINARY:
      return readFixedBinaries(static_cast<const ::arrow::FixedSizeBinaryType&>(type).byte_width(),
                               segments, rows, parentMissing);
    default:
      throw std::logic_error("readBinary: not a binary type");
  }
}

}  // namespace orvane::io::arrow::core::detail
