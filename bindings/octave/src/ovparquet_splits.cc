// ovparquet_splits: the byte-range splits of the Parquet files of some
// locations, planned by the library from the file sizes alone.
#include "binding.h"

#include <ovparquet/core/read/Splits.hpp>

#include <cmath>

using namespace ovparquet::octave_binding;
namespace splits_api = orvane::io::parquet::core::read;

DEFUN_DLD(ovparquet_splits, args, ,
          "-*- texinfo -*-\n\
@deftypefn  {} {@var{s} =} ovparquet_splits (@var{locations})\n\
@deftypefnx {} {@var{s} =} ovparquet_splits (@var{locations}, \"SplitSize\", @var{bytes})\n\
Cut the Parquet files of @var{locations} (a text or a cellstr of files,\n\
folders and s3 prefixes; a folder stands for the *.parquet files below it)\n\
into byte ranges of @var{bytes} bytes (default 128 MiB), without opening a\n\
single footer.\n\
\n\
@var{s} is an N-by-1 struct array with fields @code{Location},\n\
@code{Offset} and @code{Size}. A row group belongs to the split holding its\n\
first byte, so some splits hold none and every row group is in exactly one:\n\
@code{ovparquet_read (s(i).Location, \"ByteRange\", [s(i).Offset s(i).Size])}\n\
reads split @var{i}.\n\
\n\
Example:\n\
@example\n\
@group\n\
s = ovparquet_splits (\"data\", \"SplitSize\", 64 * 2^20);\n\
printf (\"%d splits\\n\", numel (s));\n\
@end group\n\
@end example\n\
@seealso{ovparquet_read, ovparquet_mapreduce}\n\
@end deftypefn") {
  if (args.length() < 1) print_usage();
  return run_call([&] {
    const auto locations = text_list_argument(args(0), "The locations");
    const Options options = parse_options(args, 1, {"SplitSize"}, "ovparquet_splits");
    std::int64_t splitSize = splits_api::kDefaultSplitSize;
    if (options.count("SplitSize")) {
      const double size = number_option(options.at("SplitSize"), "SplitSize");
      if (!(size >= 1) || size != std::floor(size) || size > 9.0e15) {
        throw BindingError("InvalidOption", "Option \"SplitSize\" must be a whole number of bytes of at least 1.");
      }
      splitSize = static_cast<std::int64_t>(size);
    }
    std::vector<orvane::ustring> names;
    for (const auto& l : locations) names.push_back(host_text(l));
    const auto splits = splits_api::planSplits(names, splitSize);

    const dim_vector dims(static_cast<octave_idx_type>(splits.size()), 1);
    Cell location(dims), offset(dims), size(dims);
    for (std::size_t i = 0; i < splits.size(); ++i) {
      const auto k = static_cast<octave_idx_type>(i);
      location(k) = octave_value(utf8_text(splits[i].location));
      offset(k) = octave_value(static_cast<double>(splits[i].offset));
      size(k) = octave_value(static_cast<double>(splits[i].size));
    }
    octave_map out(dims);
    out.setfield("Location", location);
    out.setfield("Offset", offset);
    out.setfield("Size", size);
    octave_value_list result;
    result(0) = octave_value(out);
    return result;
  });
}
