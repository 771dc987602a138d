// Arrow validity bitmaps to the host's missing masks (one byte per element).
#include "read_internal.hpp"

#include <array>
#include <bit>
#include <cstring>

namespace orvane::io::arrow::core::detail {
namespace {

static_assert(std::endian::native == std::endian::little,
              "the bit unpacking table assumes a little-endian machine");

// Eight output bytes (0 or 1) for each value of one bitmap byte, bit k in
// byte k.
constexpr std::array<std::uint64_t, 256> kBitsToBytes = [] {
  std::array<std::uint64_t, 256> table{};
  for (std::size_t value = 0; value < 256; ++value) {
    std::uint64_t bytes = 0;
    for (unsigned bit = 0; bit < 8; ++bit) {
      if ((value >> bit) & 1u) bytes |= std::uint64_t{1} << (8 * bit);
    }
    table[value] = bytes;
  }
  return table;
}();

bool bitAt(const std::uint8_t* bitmap, std::int64_t i) { return (bitmap[i >> 3] >> (i & 7)) & 1; }

// Whether the rows of one segment can hold nulls at all.
bool segmentMayHaveNulls(const Segment& segment) {
  if (segment.length == 0) return false;
  if (segment.data->type->id() == ::arrow::Type::NA) return true;
  return !segment.data->buffers.empty() && segment.data->buffers[0] != nullptr &&
         segment.data->null_count.load() != 0;
}

}  // namespace

void unpackBits(const std::uint8_t* bitmap, std::int64_t offset, std::int64_t length,
                std::uint8_t* out, bool invert) {
  const std::uint8_t flip = invert ? 1 : 0;
  std::int64_t i = 0;
  for (; i < length && ((offset + i) & 7) != 0; ++i) {
    out[i] = static_cast<std::uint8_t>(bitAt(bitmap, offset + i) ^ flip);
  }
  const std::uint64_t flipBytes = invert ? 0x0101010101010101ULL : 0;
  const std::uint8_t* bytes = bitmap + ((offset + i) >> 3);
  for (; i + 8 <= length; i += 8) {
    const std::uint64_t eight = kBitsToBytes[*bytes++] ^ flipBytes;
    std::memcpy(out + i, &eight, 8);
  }
  for (; i < length; ++i) {
    out[i] = static_cast<std::uint8_t>(bitAt(bitmap, offset + i) ^ flip);
  }
}

bool mayHaveMissing(Segments segments, ParentMissing parentMissing) {
  if (parentMissing != nullptr) return true;
  for (const Segment& segment : segments) {
    if (segmentMayHaveNulls(segment)) return true;
  }
  return false;
}

std::size_t fillMissing(Segments segments, ParentMissing parentMissing, std::uint8_t* out) {
  std::uint8_t* row = out;
  for (const Segment& segment : segments) {
    const auto length = static_cast<std::size_t>(segment.length);
    if (!segmentMayHaveNulls(segment)) {
      std::memset(row, 0, length);
    } else if (segment.data->type->id() == ::arrow::Type::NA) {
      std::memset(row, 1, length);
    } else {
      unpackBits(segment.data->buffers[0]->data(), segment.position(), segment.length, row,
                 /*invert=*/true);
    }
    row += length;
  }
  const auto rows = static_cast<std::size_t>(row - out);
  std::size_t count = 0;
  if (parentMissing != nullptr) {
    for (std::size_t i = 0; i < rows; ++i) {
      out[i] = static_cast<std::uint8_t>(out[i] | parentMissing[i]);
      count += out[i];
    }
  } else {
    for (std::size_t i = 0; i < rows; ++i) count += out[i];
  }
  return count;
}

std::vector<std::uint8_t> missingRows(Segments segments, std::size_t rows,
                                      ParentMissing parentMissing) {
  std::vector<std::uint8_t> missing;
  if (!mayHaveMissing(segments, parentMissing)) return missing;
  missing.resize(rows);
  if (fillMissing(segments, parentMissing, missing.data()) == 0) missing.clear();
  return missing;
}

const std::uint8_t* attachMissing(ovArray* array, Segments segments,
                                  ParentMissing parentMissing) {
  if (!mayHaveMissing(segments, parentMissing)) return nullptr;
  std::uint8_t* mask = ovAllocMissingMask(array);
  if (fillMissing(segments, parentMissing, mask) == 0) {
    ovRemoveMissingMask(array);
    return nullptr;
  }
  return mask;
}

}  // namespace orvane::io::arrow::core::detail
