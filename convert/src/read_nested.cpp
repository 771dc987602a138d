// Lists and maps (cells of one array per row) and structs (nested host
// tables).
#include "read_internal.hpp"

#include <ovparquet/host/array_arena.hpp>
#include <ovparquet/host/parallel.hpp>
#include <ovparquet/host/threads.hpp>
#include <ovparquet/host/ustring.hpp>

#include <algorithm>
#include <cstring>
#include <exception>

namespace orvane::io::arrow::core::detail {
namespace {

// Lists of at least this many rows convert in parallel, in tasks of
// kRowsPerTask rows: each row is one host array of its own, so the rows are
// the work, and they are independent.
constexpr std::size_t kParallelRows = 32768;
constexpr std::size_t kRowsPerTask = 8192;

// Rows share their list's value buffers. Each task refers to them through
// buffer objects of its own, so that threads don't contend for one shared
// count as they make rows and free them.
std::shared_ptr<::arrow::ArrayData> withOwnBuffers(const ::arrow::ArrayData& data) {
  auto copy = std::make_shared<::arrow::ArrayData>(data);
  for (auto& buffer : copy->buffers) {
    if (buffer) buffer = std::make_shared<::arrow::Buffer>(buffer, 0, buffer->size());
  }
  return copy;
}

template <typename Offset>
unique_ovarray_ptr readLists(const ::arrow::DataType& type, Segments segments, std::size_t rows,
                             ParentMissing parentMissing, ReadContext& context) {
  static const std::vector<orvane::ustring> kMapNames{u"Key", u"Value"};
  const bool isMap = type.id() == ::arrow::Type::MAP;
  const ::arrow::DataType& valueType = *type.field(0)->type();
  const std::vector<std::uint8_t> missing = missingRows(segments, rows, parentMissing);
  auto cell = ovCreateCellArray(ovDims{rows, 1});
  // The first row of each segment, and the end.
  std::vector<std::size_t> firstRows(segments.size() + 1, 0);
  for (std::size_t s = 0; s < segments.size(); ++s) {
    firstRows[s + 1] = firstRows[s] + static_cast<std::size_t>(segments[s].length);
  }
  // Rows [begin, end) into their cells, their headers from one arena.
  auto convertRows = [&](std::size_t begin, std::size_t end) {
    ovArrayArena arena;
    std::size_t s = static_cast<std::size_t>(
        std::upper_bound(firstRows.begin(), firstRows.end(), begin) - firstRows.begin() - 1);
    for (std::size_t row = begin; row < end; ++s) {
      const Segment& segment = segments[s];
      const std::size_t segmentEnd = std::min(end, firstRows[s + 1]);
      if (row >= segmentEnd) continue;
      const Offset* offsets =
          reinterpret_cast<const Offset*>(segment.data->buffers[1]->data()) + segment.position();
      const auto values = withOwnBuffers(*segment.data->child_data[0]);
      for (; row < segmentEnd; ++row) {
        if (!missing.empty() && missing[row]) continue;
        const auto j = static_cast<std::int64_t>(row - firstRows[s]);
        const Segment slice{values.get(), offsets[j], offsets[j + 1] - offsets[j]};
        const auto length = static_cast<std::size_t>(slice.length);
        // A map's entries become a table of the variables Key and Value.
        ovReplaceCell(cell.get(), row,
                      isMap ? readStruct(static_cast<const ::arrow::StructType&>(valueType),
                                         Segments(&slice, 1), length, nullptr, context, &kMapNames)
                            : readColumn(valueType, Segments(&slice, 1), length, nullptr, context));
      }
    }
  };
  if (rows < kParallelRows || orvane::computationalThreadCount() <= 1) {
    convertRows(0, rows);
  } else {
    // The error raised is that of the first failing row, as when converting
    // in order.
    const std::size_t tasks = (rows + kRowsPerTask - 1) / kRowsPerTask;
    std::vector<std::exception_ptr> errors(tasks);
    orvane::parallelFor(0, tasks, [&](std::size_t t) {
      try {
        convertRows(t * kRowsPerTask, std::min(rows, (t + 1) * kRowsPerTask));
      } catch (...) {
        errors[t] = std::current_exception();
      }
    });
    for (const auto& error : errors) {
      if (error) std::rethrow_exception(error);
    }
  }
  // The cell remembers its type, so that it converts back to it even without
  // an element to tell the value type by.
  ovSetOrigin(cell.get(), context.cellOrigin(type));
  return cell;
}

}  // namespace

unique_ovarray_ptr readList(const ::arrow::DataType& type, Segments segments, std::size_t rows,
                            ParentMissing parentMissing, ReadContext& context) {
  if (type.id() == ::arrow::Type::LARGE_LIST) {
    return readLists<std::int64_t>(type, segments, rows, parentMissing, context);
  }
  return readLists<std::int32_t>(type, segments, rows, parentMissing, context);
}

unique_ovarray_ptr readStruct(const ::arrow::StructType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context, const std::vector<orvane::ustring>* names) {
  if (type.num_fields() == 0) context.unsupported(type);
  // A null struct row is a missing record, and missing in every field too.
  const std::vector<std::uint8_t> missing = missingRows(segments, rows, parentMissing);
  const ParentMissing fieldMissing = missing.empty() ? nullptr : missing.data();
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> columnNames;
  columns.reserve(static_cast<std::size_t>(type.num_fields()));
  columnNames.reserve(static_cast<std::size_t>(type.num_fields()));
  std::vector<Segment> fieldSegments(segments.size());
  for (int k = 0; k < type.num_fields(); ++k) {
    // Row j of a struct is row (struct offset + j) of each field's array.
    for (std::size_t s = 0; s < segments.size(); ++s) {
      const Segment& segment = segments[s];
      fieldSegments[s] = Segment{segment.data->child_data[static_cast<std::size_t>(k)].get(),
                                 segment.data->offset + segment.start, segment.length};
    }
    columns.push_back(
        readColumn(*type.field(k)->type(), fieldSegments, rows, fieldMissing, context));
    columnNames.push_back(names ? (*names)[static_cast<std::size_t>(k)]
                                : orvane::to_ustring(type.field(k)->name()));
  }
  auto table = ovCreateTable(std::move(columns), columnNames);
  if (!missing.empty()) std::memcpy(ovTableAllocMissingRows(table.get()), missing.data(), rows);
  return table;
}

}  // namespace orvane::io::arrow::core::detail
