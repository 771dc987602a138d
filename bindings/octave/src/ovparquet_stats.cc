// ovparquet_stats: the row-group statistics of chosen variables.
#include "binding.h"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <octave/Cell.h>

#include <algorithm>
#include <cstring>

using namespace ovparquet::octave_binding;

namespace {

octave_value logical_matrix(const unique_ovarray_ptr& array) {
  boolMatrix out(static_cast<octave_idx_type>(ovGetM(array.get())), static_cast<octave_idx_type>(ovGetN(array.get())));
  const bool* in = ovGetTypedData<bool>(array.get());
  std::copy(in, in + ovGetNumberOfElements(array.get()), out.fortran_vec());
  return octave_value(out);
}

octave_value int64_matrix(const unique_ovarray_ptr& array) {
  int64NDArray out(dim_vector(static_cast<octave_idx_type>(ovGetM(array.get())), static_cast<octave_idx_type>(ovGetN(array.get()))));
  if (ovGetNumberOfElements(array.get()) > 0) {
    std::memcpy(static_cast<void*>(out.fortran_vec()), ovGetData(array.get()), ovGetNumberOfElements(array.get()) * 8);
  }
  return octave_value(out);
}

octave_value extremes(const unique_ovarray_ptr& cell) {
  const std::size_t n = ovGetNumberOfElements(cell.get());
  Cell out(dim_vector(1, static_cast<octave_idx_type>(n)));
  for (std::size_t v = 0; v < n; ++v) {
    const ovArray* values = ovGetCell(cell.get(), v);
    out(static_cast<octave_idx_type>(v)) = values ? column_to_octave(values, MissingAs::Mask).value : octave_value(Matrix());
  }
  return octave_value(out);
}

}  // namespace

DEFUN_DLD(ovparquet_stats, args, ,
          "-*- texinfo -*-\n\
@deftypefn  {} {@var{s} =} ovparquet_stats (@var{file})\n\
@deftypefnx {} {@var{s} =} ovparquet_stats (@var{file}, @var{vars})\n\
Row-group statistics of the variables @var{vars} (a text or cellstr; all\n\
variables when omitted) of the Parquet file @var{file}, from the file's\n\
footer, without reading column data. For R row groups and V variables\n\
@var{s} has the fields\n\
@table @code\n\
@item variables\n\
1-by-V cellstr; @code{rowGroupHeights}: R-by-1 double;\n\
@item nullCountValid, distinctCountValid, minMaxValid\n\
R-by-V logical: whether each statistic is present and usable;\n\
@item nullCounts, distinctCounts\n\
R-by-V int64, 0 where not valid;\n\
@item minValues, maxValues\n\
1-by-V cell, each an R-by-1 column of the variable's read class (see\n\
@code{ovparquet_read}); entries where @code{minMaxValid} is false mean\n\
nothing.\n\
@end table\n\
Only logical, integer, floating-point, string and date/time variables have\n\
statistics; others raise\n\
@qcode{\"ORVANE:parquetio:read:UnsupportedRowFilterVariable\"}.\n\
\n\
Example:\n\
@example\n\
@group\n\
s = ovparquet_stats (\"trips.parquet\", @{\"fare\"@});\n\
keep = find (s.minMaxValid(:,1) & s.maxValues@{1@} > 100);  # row groups with big fares\n\
t = ovparquet_read (\"trips.parquet\", \"RowGroups\", keep);\n\
@end group\n\
@end example\n\
@seealso{ovparquet_read, ovparquet_info}\n\
@end deftypefn") {
  if (args.length() < 1 || args.length() > 2) print_usage();
  return run_call([&] {
    const std::string file = text_argument(args(0), "The file name");
    const orvane::io::parquet::core::read::RowGroupParquetReader reader(host_text(file), std::vector<double>{});
    const auto names = reader.getVariableNames();
    std::vector<std::string> wanted;
    if (args.length() == 2) {
      wanted = text_list_argument(args(1), "The variables");
    } else {
      for (const auto& n : names) wanted.push_back(utf8_text(n));
    }
    std::vector<std::int32_t> indices;
    for (const auto& w : wanted) {
      const auto at = std::find(names.begin(), names.end(), host_text(w));
      if (at == names.end()) throw BindingError("UnknownVariable", "'" + file + "' has no variable '" + w + "'.");
      indices.push_back(static_cast<std::int32_t>(at - names.begin()));
    }
    const auto stats = reader.getStatistics(indices);
    octave_scalar_map s;
    Cell vars(dim_vector(1, static_cast<octave_idx_type>(wanted.size())));
    for (std::size_t v = 0; v < wanted.size(); ++v) vars(static_cast<octave_idx_type>(v)) = octave_value(wanted[v]);
    const auto heights = reader.getRowGroupHeights();
    ColumnVector h(static_cast<octave_idx_type>(heights.size()));
    for (std::size_t r = 0; r < heights.size(); ++r) h(static_cast<octave_idx_type>(r)) = static_cast<double>(heights[r]);
    s.setfield("variables", octave_value(vars));
    s.setfield("rowGroupHeights", octave_value(h));
    s.setfield("nullCountValid", logical_matrix(stats.nullCountValid));
    s.setfield("distinctCountValid", logical_matrix(stats.distinctCountValid));
    s.setfield("minMaxValid", logical_matrix(stats.minMaxValid));
    s.setfield("nullCounts", int64_matrix(stats.nullCounts));
    s.setfield("distinctCounts", int64_matrix(stats.distinctCounts));
    s.setfield("minValues", extremes(stats.minValues));
    s.setfield("maxValues", extremes(stats.maxValues));
    return octave_value_list(octave_value(s));
  });
}
