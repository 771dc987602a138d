// ovparquet_info: the summary of one Parquet file.
#include "binding.h"

#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/info/TypeDescriptions.hpp>

#include <octave/Cell.h>

using namespace ovparquet::octave_binding;

namespace {

octave_value texts(const std::vector<std::string>& list) {
  Cell out(dim_vector(1, static_cast<octave_idx_type>(list.size())));
  for (std::size_t i = 0; i < list.size(); ++i) out(static_cast<octave_idx_type>(i)) = octave_value(list[i]);
  return octave_value(out);
}

octave_value texts(const std::vector<orvane::ustring>& list) {
  std::vector<std::string> utf8;
  for (const auto& t : list) utf8.push_back(utf8_text(t));
  return texts(utf8);
}

octave_value numbers(const std::vector<std::int64_t>& list) {
  RowVector out(static_cast<octave_idx_type>(list.size()));
  for (std::size_t i = 0; i < list.size(); ++i) out(static_cast<octave_idx_type>(i)) = static_cast<double>(list[i]);
  return octave_value(out.transpose());
}

}  // namespace

DEFUN_DLD(ovparquet_info, args, ,
          "-*- texinfo -*-\n\
@deftypefn {} {@var{info} =} ovparquet_info (@var{file})\n\
Summarise the metadata of the Parquet file @var{file} (a local path or a\n\
location such as @code{s3://bucket/key}) without reading its data.\n\
\n\
@var{info} is a struct with the fields @code{filename}, @code{fileSize},\n\
@code{numRowGroups}, @code{rowGroupHeights} and @code{rowGroupOffsets}\n\
(column vectors of doubles), @code{variableNames}, @code{variableTypes}\n\
(the class each variable reads as), @code{variableCompression},\n\
@code{variableEncoding}, @code{version} (@qcode{\"1.0\"}, @qcode{\"2.0\"} or\n\
@qcode{\"\"}), @code{parquetPhysicalTypes}, @code{parquetConvertedTypes},\n\
@code{parquetLogicalTypes}, @code{arrowTypes} and @code{typeDescriptions}\n\
(1-by-V cellstr, one entry per variable).\n\
\n\
Example:\n\
@example\n\
@group\n\
info = ovparquet_info (\"trips.parquet\");\n\
printf (\"%d rows in %d row groups\\n\", sum (info.rowGroupHeights), info.numRowGroups);\n\
@end group\n\
@end example\n\
@seealso{ovparquet_read, ovparquet_stats, ovparquet_count}\n\
@end deftypefn") {
  if (args.length() != 1) print_usage();
  return run_call([&] {
    const std::string file = text_argument(args(0), "The file name");
    const orvane::io::parquet::core::info::ParquetInfo info(host_text(file));
    const auto descriptions = orvane::io::parquet::core::info::parquet_types(info.getArrowSchema());
    octave_scalar_map s;
    s.setfield("filename", octave_value(utf8_text(info.getFilename())));
    s.setfield("fileSize", octave_value(static_cast<double>(info.getFileSize())));
    s.setfield("numRowGroups", octave_value(static_cast<double>(info.getNumRowGroups())));
    s.setfield("rowGroupHeights", numbers(info.getRowGroupHeights()));
    s.setfield("rowGroupOffsets", numbers(info.getRowGroupOffsets()));
    s.setfield("variableNames", texts(info.getVariableNames()));
    s.setfield("variableTypes", texts(info.getVariableTypes()));
    s.setfield("variableCompression", texts(info.getVariableCompression()));
    s.setfield("variableEncoding", texts(info.getVariableEncoding()));
    s.setfield("version", octave_value(info.getVersion()));
    s.setfield("parquetPhysicalTypes", texts(info.getParquetPhysicalTypes()));
    s.setfield("parquetConvertedTypes", texts(info.getParquetConvertedTypes()));
    s.setfield("parquetLogicalTypes", texts(info.getParquetLogicalTypes()));
    s.setfield("arrowTypes", texts(info.getArrowTypes()));
    s.setfield("typeDescriptions", texts(descriptions));
    return octave_value_list(octave_value(s));
  });
}
