// String columns (UTF-8 to the host's UTF-16) and binary columns (cells of
// uint8 column vectors).
#include "read_internal.hpp"

#include <ovparquet/host/array_arena.hpp>
#include <ovparquet/host/ustring.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace orvane::io::arrow::core::detail {
namespace {

// Widens `size` bytes to UTF-16 units while they are ASCII. Returns false as
// soon as a block holds a non-ASCII byte (what was written is then garbage).
// Sixteen bytes at a time where SSE2 is available (GCC does not vectorise
// the plain loop at -O2), with streaming stores: the text is far larger than
// the caches and is not read again here, so it is written without first
// being read into the cache.
bool widenAscii(const char* src, std::size_t size, char16_t* dst) {
  constexpr std::size_t kBlock = 4096;
  std::size_t k = 0;
  unsigned char seen = 0;
  auto widenScalar = [&](std::size_t end) {
    for (; k < end; ++k) {
      const auto c = static_cast<unsigned char>(src[k]);
      seen |= c;
      dst[k] = c;
    }
  };
#if defined(__SSE2__)
  // Up to the first 16-byte boundary of the destination, one by one.
  std::size_t head = 0;
  while (head < size && reinterpret_cast<std::uintptr_t>(dst + head) % 16 != 0) ++head;
  widenScalar(head);
  if (seen >= 0x80) return false;
  const __m128i zero = _mm_setzero_si128();
  bool ascii = true;
  while (ascii && k + 16 <= size) {
    const std::size_t end = std::min(size, k + kBlock);
    __m128i any = zero;
    for (; k + 16 <= end; k += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + k));
      any = _mm_or_si128(any, bytes);
      _mm_stream_si128(reinterpret_cast<__m128i*>(dst + k), _mm_unpacklo_epi8(bytes, zero));
      _mm_stream_si128(reinterpret_cast<__m128i*>(dst + k + 8), _mm_unpackhi_epi8(bytes, zero));
    }
    ascii = _mm_movemask_epi8(any) == 0;
  }
  // Streaming stores are not ordered with later ones: fence them first.
  _mm_sfence();
  if (!ascii) return false;
#endif
  widenScalar(size);
  return seen < 0x80;
}

const char* charsOf(const Segment& segment) {
  const auto& buffer = segment.data->buffers[2];
  return buffer ? reinterpret_cast<const char*>(buffer->data()) : "";
}

template <typename Offset>
const Offset* offsetsOf(const Segment& segment) {
  return reinterpret_cast<const Offset*>(segment.data->buffers[1]->data()) + segment.position();
}

constexpr std::size_t kInvalid = static_cast<std::size_t>(-1);

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Decodes one value of valid UTF-8 into UTF-16 and returns the number of
// units written, or kInvalid (with garbage written) at the first ill-formed
// sequence: overlong forms, surrogates, code points past U+10FFFF and
// truncated sequences are all refused, as the host's converter refuses them.
std::size_t decodeValidUtf8(const char* text, std::size_t size, char16_t* dst) {
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  std::size_t k = 0;
  char16_t* const start = dst;
  while (k < size) {
    // ASCII runs eight bytes at a time.
    while (k + 8 <= size) {
      std::uint64_t word;
      std::memcpy(&word, s + k, 8);
      if (word & 0x8080808080808080ULL) break;
      for (int b = 0; b < 8; ++b) dst[b] = s[k + static_cast<std::size_t>(b)];
      dst += 8;
      k += 8;
    }
    if (k == size) break;
    const unsigned c = s[k];
    if (c < 0x80) {
      *dst++ = static_cast<char16_t>(c);
      k += 1;
    } else if (c < 0xC2) {
      return kInvalid;  // a continuation byte, or an overlong two-byte lead
    } else if (c < 0xE0) {
      if (k + 1 >= size || !isContinuation(s[k + 1])) return kInvalid;
      *dst++ = static_cast<char16_t>(((c & 0x1F) << 6) | (s[k + 1] & 0x3F));
      k += 2;
    } else if (c < 0xF0) {
      if (k + 2 >= size || !isContinuation(s[k + 1]) || !isContinuation(s[k + 2])) {
        return kInvalid;
      }
      const unsigned cp = ((c & 0x0F) << 12) | ((s[k + 1] & 0x3Fu) << 6) | (s[k + 2] & 0x3Fu);
      if (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF)) return kInvalid;
      *dst++ = static_cast<char16_t>(cp);
      k += 3;
    } else if (c < 0xF5) {
      if (k + 3 >= size || !isContinuation(s[k + 1]) || !isContinuation(s[k + 2]) ||
          !isContinuation(s[k + 3])) {
        return kInvalid;
      }
      const unsigned cp = ((c & 0x07) << 18) | ((s[k + 1] & 0x3Fu) << 12) |
                          ((s[k + 2] & 0x3Fu) << 6) | (s[k + 3] & 0x3Fu);
      if (cp < 0x10000 || cp > 0x10FFFF) return kInvalid;
      *dst++ = static_cast<char16_t>(0xD7C0 + (cp >> 10));
      *dst++ = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
      k += 4;
    } else {
      return kInvalid;
    }
  }
  return static_cast<std::size_t>(dst - start);
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
  // UTF-16 never needs more units than UTF-8 has bytes (an invalid sequence
  // of one or more bytes becomes one unit), so the text is written in place,
  // into memory nothing has written before, and trimmed at the end.
  auto array = ovCreateUninitStringArray(ovDims{rows, 1}, bytes);
  char16_t* const begin = ovGetStringTextMutable(array.get());
  std::int64_t* const hostOffsets = ovGetStringOffsetsMutable(array.get());
  hostOffsets[0] = 0;
  char16_t* dst = begin;
  orvane::ustring scratch;
  std::uint64_t invalidValues = 0;
  std::size_t row = 0;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const Offset* offsets = offsetsOf<Offset>(segment);
    const char* chars = charsOf(segment);
    const std::uint8_t* segmentMissing = missing.empty() ? nullptr : missing.data() + row;
    std::int64_t* out = hostOffsets + row + 1;
    row += static_cast<std::size_t>(segment.length);
    if (segmentMissing == nullptr) {
      // Fast path: the whole segment is ASCII, so the offsets carry over.
      const auto size = static_cast<std::size_t>(offsets[segment.length] - offsets[0]);
      if (widenAscii(chars + offsets[0], size, dst)) {
        const std::int64_t shift = (dst - begin) - static_cast<std::int64_t>(offsets[0]);
        for (std::int64_t j = 0; j < segment.length; ++j) {
          out[j] = static_cast<std::int64_t>(offsets[j + 1]) + shift;
        }
        dst += size;
        continue;
      }
    }
    for (std::int64_t j = 0; j < segment.length; ++j) {
      if (segmentMissing == nullptr || segmentMissing[j] == 0) {
        const char* value = chars + offsets[j];
        const auto size = static_cast<std::size_t>(offsets[j + 1] - offsets[j]);
        const std::size_t units = decodeValidUtf8(value, size, dst);
        if (units != kInvalid) {
          dst += units;
        } else {
          // Ill-formed: the host's converter replaces each bad sequence.
          scratch.clear();
          if (orvane::append_utf8_replacing(std::string_view(value, size), scratch) != 0) {
            ++invalidValues;
          }
          std::memcpy(dst, scratch.data(), scratch.size() * sizeof(char16_t));
          dst += scratch.size();
        }
      }
      out[j] = dst - begin;
    }
  }
  ovFinishStringArray(array.get(), static_cast<std::size_t>(dst - begin));
  context.addInvalidUtf8Values(invalidValues);
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
  ovArrayArena arena;  // one small array per row
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
  ovArrayArena arena;  // one small array per row
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
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context) {
  unique_ovarray_ptr cell;
  switch (type.id()) {
    case ::arrow::Type::BINARY:
      cell = readBinaries<std::int32_t>(segments, rows, parentMissing);
      break;
    case ::arrow::Type::LARGE_BINARY:
      cell = readBinaries<std::int64_t>(segments, rows, parentMissing);
      break;
    case ::arrow::Type::FIXED_SIZE_BINARY:
      cell = readFixedBinaries(static_cast<const ::arrow::FixedSizeBinaryType&>(type).byte_width(),
                               segments, rows, parentMissing);
      break;
    default:
      throw std::logic_error("readBinary: not a binary type");
  }
  ovSetOrigin(cell.get(), context.cellOrigin(type));
  return cell;
}

}  // namespace orvane::io::arrow::core::detail
