// ovparquet_write: an Octave table struct to a Parquet file.
//
// Nothing appears under the file's name unless the whole write succeeds: the
// writer writes through the file system's commit-on-close temporary, and any
// failure or interrupt discards it before the writer is gone.
#include "binding.h"

#include <ovparquet/convert/to_arrow.hpp>
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>

#include <arrow/table.h>

using namespace ovparquet::octave_binding;
namespace core = orvane::io::parquet::core;

namespace {

std::vector<std::string> per_variable(const octave_value& value, const std::string& option, std::size_t variables) {
  const auto list = text_list_argument(value, "Option \"" + option + "\"");
  if (value.is_string()) return std::vector<std::string>(variables, list.front());
  if (list.size() != variables) {
    throw BindingError("InvalidOption", "Option \"" + option + "\" must be one text for all variables or one per variable (" +
                                            std::to_string(variables) + "), not " + std::to_string(list.size()) + ".");
  }
  return list;
}

void write_table(core::write::ParquetWriter& writer, const ovArray* table, const Options& options) {
  const std::size_t variables = ovTableNumVariables(table);
  core::VariableNames names;
  for (std::size_t v = 0; v < variables; ++v) names.push_back(ovTableName(table, v));
  writer.setVariableNames(names);
  if (options.count("Version")) writer.setVersion(text_argument(options.at("Version"), "Option \"Version\""));
  if (options.count("StoreArrowSchema")) writer.setStoreArrowSchema(logical_option(options.at("StoreArrowSchema"), "StoreArrowSchema"));
  if (options.count("MaxRowGroupLength")) {
    const double length = number_option(options.at("MaxRowGroupLength"), "MaxRowGroupLength");
    if (!(length >= 1) || length != static_cast<double>(static_cast<std::int64_t>(length))) {
      throw BindingError("InvalidOption", "Option \"MaxRowGroupLength\" must be a whole number of at least 1.");
    }
    writer.setMaxRowGroupLength(static_cast<std::int64_t>(length));
  }
  if (options.count("Compression") || options.count("Encoding")) {
    // Per-variable settings reach every leaf column of a nested variable
    // through its paths in the schema the writer will write.
    auto arrowTable = orvane::io::arrow::core::to_arrow_table(table);
    if (!arrowTable.ok()) throw BindingError("InvalidTable", "The table cannot be written: " + arrowTable.status().message());
    const auto leaves = core::write::LeafColumnPaths::ofSchema(*(*arrowTable)->schema(), writer.getUseCompliantNestedTypes());
    writer.setLeafColumnPaths(leaves.offsets(), leaves.paths());
    if (options.count("Compression")) writer.setVariableCompression(per_variable(options.at("Compression"), "Compression", variables));
    if (options.count("Encoding")) writer.setVariableEncoding(per_variable(options.at("Encoding"), "Encoding", variables));
  }
  if (options.count("RowGroupHeights")) {
    const auto heights = numbers_option(options.at("RowGroupHeights"), "RowGroupHeights");
    double sum = 0;
    for (const double h : heights) sum += h;
    if (sum != static_cast<double>(ovTableNumRows(table))) {
      throw BindingError("RowGroupHeightsMismatch", "The row-group heights add up to " + std::to_string(static_cast<long long>(sum)) +
                                                         " rows, but the table has " + std::to_string(ovTableNumRows(table)) + ".");
    }
    auto array = ovCreateNumericArrayFromVector<double>({1, heights.size()}, heights);
    writer.writeRowGroups(table, array.get());
  } else {
    writer.write(table);
  }
  check_interrupt();
  writer.close();
}

}  // namespace

DEFUN_DLD(ovparquet_write, args, ,
          "-*- texinfo -*-\n\
@deftypefn  {} {} ovparquet_write (@var{file}, @var{t})\n\
@deftypefnx {} {} ovparquet_write (@var{file}, @var{t}, @var{name}, @var{value}, @dots{})\n\
Write the table struct @var{t} to the Parquet file @var{file}.\n\
\n\
@var{t} is a 1-by-1 struct with one field per variable, each a column\n\
vector of the same height, as @code{ovparquet_read} returns it; the field\n\
@code{Properties} is optional. The mapping of @code{ovparquet_read} applies\n\
in reverse: double, single, integer and logical columns keep their class\n\
(NaN is written as a missing value); cellstr columns are strings; cell\n\
columns of vectors are lists ([] is a missing list); N-by-1 struct arrays are\n\
struct columns. From @code{Properties}: @code{VariableNames} gives the\n\
names (else the field names); @code{Missing.(field)} masks mark missing\n\
values; @code{VariableTypes} @qcode{\"datetime\"} writes a datenum column as\n\
timestamps in @code{VariableUnits} (default @qcode{\"ms\"}) with the zone of\n\
@code{TimeZones}, @qcode{\"duration\"} writes seconds as durations, and\n\
@qcode{\"categorical\"} writes a cellstr as a dictionary column.\n\
\n\
Options:\n\
@table @asis\n\
@item @qcode{\"Compression\"}\n\
a codec for all variables or a cellstr with one per variable\n\
(@qcode{\"snappy\"} (default), @qcode{\"zstd\"}, @qcode{\"gzip\"},\n\
@qcode{\"brotli\"}, @qcode{\"lz4_raw\"}, @qcode{\"uncompressed\"}).\n\
@item @qcode{\"Encoding\"}\n\
@qcode{\"dictionary\"} (default) or @qcode{\"plain\"}, for all or per variable.\n\
@item @qcode{\"Version\"}\n\
@qcode{\"2.0\"} (default) or @qcode{\"1.0\"}.\n\
@item @qcode{\"RowGroupHeights\"}\n\
the heights of the row groups to write; they must add up to the table's\n\
height.\n\
@item @qcode{\"MaxRowGroupLength\"}\n\
the largest row group (default 67108864 rows).\n\
@item @qcode{\"StoreArrowSchema\"}\n\
whether to store the Arrow schema in the file (default true).\n\
@end table\n\
\n\
Nothing is left under @var{file} when the write fails.\n\
\n\
Example:\n\
@example\n\
@group\n\
t = struct (\"id\", int32 ([1; 2; 3]), \"name\", @{@{\"a\"; \"b\"; \"c\"@}@});\n\
ovparquet_write (\"out.parquet\", t, \"Compression\", \"zstd\", \"RowGroupHeights\", [2 1]);\n\
@end group\n\
@end example\n\
@seealso{ovparquet_read}\n\
@end deftypefn") {
  if (args.length() < 2) print_usage();
  return run_call([&] {
    const std::string file = text_argument(args(0), "The file name");
    const Options options = parse_options(
        args, 2, {"Compression", "Encoding", "Version", "RowGroupHeights", "MaxRowGroupLength", "StoreArrowSchema"},
        "ovparquet_write");
    const auto table = octave_to_table(args(1));
    core::write::ParquetWriter writer(host_text(file));
    try {
      write_table(writer, table.get(), options);
    } catch (...) {
      writer.discard();
      throw;
    }
    return octave_value_list();
  });
}
