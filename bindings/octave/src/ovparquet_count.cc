// ovparquet_count: row-group counts of many files.
#include "binding.h"

#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/host/threads.hpp>

#include <tbb/task_arena.h>

#include <algorithm>

using namespace ovparquet::octave_binding;

DEFUN_DLD(ovparquet_count, args, ,
          "-*- texinfo -*-\n\
@deftypefn  {} {@var{n} =} ovparquet_count (@var{files})\n\
@deftypefnx {} {@var{n} =} ovparquet_count (@var{files}, \"Parallel\", @var{tf})\n\
Count the row groups of each Parquet file in the cellstr (or text)\n\
@var{files}; @var{n} is a column of doubles in the order of @var{files}.\n\
\n\
The files are opened in parallel (on as many threads as the machine has\n\
cores) unless @qcode{\"Parallel\"} is false. The first file that cannot be\n\
read ends the call with its error. Ctrl-C stops the count.\n\
\n\
Example:\n\
@example\n\
@group\n\
files = glob (\"data/*.parquet\");\n\
n = ovparquet_count (files);\n\
printf (\"%d row groups in %d files\\n\", sum (n), numel (files));\n\
@end group\n\
@end example\n\
@seealso{ovparquet_info}\n\
@end deftypefn") {
  if (args.length() < 1) print_usage();
  return run_call([&] {
    const auto files = text_list_argument(args(0), "The files");
    const Options options = parse_options(args, 1, {"Parallel"}, "ovparquet_count");
    const bool parallel = options.count("Parallel") ? logical_option(options.at("Parallel"), "Parallel") : true;
    std::vector<orvane::ustring> names;
    for (const auto& f : files) names.push_back(host_text(f));

    namespace info = orvane::io::parquet::core::info;
    // Batches, so that Ctrl-C stops the work between them.
    const std::size_t batch = std::max<std::size_t>(16, 4 * orvane::computationalThreadCount());
    std::vector<std::int64_t> counts;
    tbb::task_arena arena(static_cast<int>(orvane::computationalThreadCount()));
    for (std::size_t start = 0; start < names.size(); start += batch) {
      check_interrupt();
      std::vector<orvane::ustring> part(names.begin() + static_cast<std::ptrdiff_t>(start),
                                        names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), start + batch)));
      std::vector<std::int64_t> result;
      if (parallel) {
        arena.execute([&] { result = info::getNumRowGroupsAsync(std::move(part)); });
      } else {
        result = info::getNumRowGroupsSync(std::move(part));
      }
      counts.insert(counts.end(), result.begin(), result.end());
    }
    check_interrupt();
    ColumnVector out(static_cast<octave_idx_type>(counts.size()));
    for (std::size_t i = 0; i < counts.size(); ++i) out(static_cast<octave_idx_type>(i)) = static_cast<double>(counts[i]);
    return octave_value_list(octave_value(out));
  });
}
