// ovparquet_read: a Parquet file, or part of it, as an Octave table struct.
#include "binding.h"

#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/memory.hpp>

#include <algorithm>
#include <memory>
#include <optional>

using namespace ovparquet::octave_binding;
using orvane::io::parquet::core::read::RowGroupParquetReader;

namespace {

// The read memory limit of one call; the one before comes back on the way
// out, whether the read succeeds or not.
class CallMemoryLimit {
 public:
  explicit CallMemoryLimit(std::uint64_t bytes) : mBefore(orvane::readMemoryLimit()) { orvane::setReadMemoryLimit(bytes); }
  ~CallMemoryLimit() { orvane::setReadMemoryLimit(mBefore); }
  CallMemoryLimit(const CallMemoryLimit&) = delete;
  CallMemoryLimit& operator=(const CallMemoryLimit&) = delete;

 private:
  std::uint64_t mBefore;
};

}  // namespace

DEFUN_DLD(ovparquet_read, args, ,
          "-*- texinfo -*-\n\
@deftypefn  {} {@var{t} =} ovparquet_read (@var{file})\n\
@deftypefnx {} {@var{t} =} ovparquet_read (@var{file}, @var{name}, @var{value}, @dots{})\n\
Read the Parquet file @var{file} (a local path or a location such as\n\
@code{s3://bucket/key}) into a table struct @var{t}: one field per variable,\n\
each a column vector (N-by-1) of the rows read, in the file's order, and the\n\
field @code{Properties} with\n\
@table @code\n\
@item VariableNames\n\
the variables' names in order (1-by-V cellstr);\n\
@item VariableTypes\n\
the class each variable came from (@qcode{\"double\"}, @qcode{\"int8\"},\n\
@qcode{\"string\"}, @qcode{\"categorical\"}, @qcode{\"datetime\"},\n\
@qcode{\"duration\"}, @qcode{\"cell\"}, @qcode{\"struct\"}, @dots{});\n\
@item VariableUnits\n\
the time unit of datetime and duration variables (@qcode{\"s\"},\n\
@qcode{\"ms\"}, @qcode{\"us\"}, @qcode{\"ns\"}, @qcode{\"day\"}), else\n\
@qcode{\"\"};\n\
@item TimeZones\n\
the time zone of datetime variables, [] when they have none;\n\
@item Missing\n\
one logical mask per integer, logical, string and categorical variable,\n\
true where the value is missing (null).\n\
@end table\n\
\n\
Value mapping: double, single, int8 @dots{} uint64 and logical variables\n\
keep their class; missing values are NaN in double and single, and 0 or\n\
false under the mask in integer and logical variables. Strings and\n\
categoricals are cellstr (missing texts are @qcode{''} under the mask).\n\
Timestamps and dates are double datenum values of the UTC instant (NaN when\n\
missing; unit and zone in Properties); durations and times of day are double\n\
seconds. List, map and binary variables are cell arrays with one value per\n\
row ([] for a missing row): a list is a column vector, a map a struct array\n\
with the fields @code{Key} and @code{Value}, a binary value a uint8 column.\n\
Struct variables are N-by-1 struct arrays. Inside lists and structs there are\n\
no masks: integers with missing elements become double with NaN, and a\n\
missing struct field is [].\n\
\n\
Options:\n\
@table @asis\n\
@item @qcode{\"Variables\"}\n\
a cellstr of variable names: read only these, in this order.\n\
@item @qcode{\"RowGroups\"}\n\
1-based row-group numbers: read only these, in this order.\n\
@item @qcode{\"ByteRange\"}\n\
@code{[offset size]}: read the row groups that start in this byte range of\n\
the file; adjacent ranges read every row group exactly once.\n\
@item @qcode{\"MissingAs\"}\n\
@qcode{\"mask\"} (default) or @qcode{\"double\"}: integer and logical\n\
variables as double with NaN for the missing values, without masks.\n\
@item @qcode{\"MemoryLimit\"}\n\
the most memory one row group of the read may take, in bytes (a positive\n\
whole number) or as a text such as @qcode{\"512MiB\"} or @qcode{\"2GiB\"}\n\
(K, M, G, T: powers of 1024). Before any data is read, what the file's\n\
footer declares for the row groups and variables asked for is checked\n\
against it, and a file that declares more fails with\n\
@qcode{\"ORVANE:parquetio:read:MemoryLimitExceeded\"} naming the file, the\n\
row group, the bytes it needs and the limit. The default is 4 GiB, or half\n\
of the physical memory where that is less.\n\
@end table\n\
\n\
Ctrl-C stops the read between row groups. Errors carry the library's\n\
identifiers, for example @qcode{\"ORVANE:host:FileNotFound\"} or\n\
@qcode{\"ORVANE:parquetio:read:InternalInvalidRead\"}.\n\
\n\
Example:\n\
@example\n\
@group\n\
t = ovparquet_read (\"trips.parquet\", \"Variables\", @{\"fare\", \"passengers\"@});\n\
mean (t.fare(! isnan (t.fare)))\n\
t.passengers(t.Properties.Missing.passengers)   # the missing ones read as 0\n\
@end group\n\
@end example\n\
@seealso{ovparquet_reader, ovparquet_info, ovparquet_write}\n\
@end deftypefn") {
  if (args.length() < 1) print_usage();
  return run_call([&] {
    const std::string file = text_argument(args(0), "The file name");
    const Options options = parse_options(args, 1, {"Variables", "RowGroups", "ByteRange", "MissingAs", "MemoryLimit"},
                                          "ovparquet_read");
    const MissingAs missing = missing_as_option(options.count("MissingAs") ? options.at("MissingAs") : octave_value());
    if (options.count("RowGroups") && options.count("ByteRange")) {
      throw BindingError("InvalidOption", "ovparquet_read: give \"RowGroups\" or \"ByteRange\", not both.");
    }
    std::optional<CallMemoryLimit> memoryLimit;
    if (options.count("MemoryLimit")) memoryLimit.emplace(byte_size_option(options.at("MemoryLimit"), "MemoryLimit"));
    const orvane::ustring name = host_text(file);

    std::unique_ptr<RowGroupParquetReader> reader;
    if (options.count("ByteRange")) {
      const auto range = numbers_option(options.at("ByteRange"), "ByteRange");
      if (range.size() != 2) throw BindingError("InvalidOption", "Option \"ByteRange\" must be [offset size].");
      reader = std::make_unique<RowGroupParquetReader>(name, range[0], range[1]);
    } else {
      reader = std::make_unique<RowGroupParquetReader>(name, std::vector<double>{});
      std::vector<double> list;
      const double total = reader->getTotalNumRowGroups();
      if (options.count("RowGroups")) {
        list = numbers_option(options.at("RowGroups"), "RowGroups");
        for (const double r : list) {
          if (r < 1 || r > total) {
            throw BindingError("RowGroupOutOfRange", "Row group " + std::to_string(static_cast<long long>(r)) +
                                                         " does not exist: '" + file + "' has " +
                                                         std::to_string(static_cast<long long>(total)) + " row groups.");
          }
        }
      } else {
        for (double r = 1; r <= total; ++r) list.push_back(r);
      }
      reader = std::make_unique<RowGroupParquetReader>(name, list);
    }
    if (options.count("Variables")) {
      const auto wanted = text_list_argument(options.at("Variables"), "Option \"Variables\"");
      const auto names = reader->getVariableNames();
      orvane::io::parquet::core::VariableNames selection;
      for (const auto& w : wanted) {
        const auto host = host_text(w);
        if (std::find(names.begin(), names.end(), host) == names.end()) {
          throw BindingError("UnknownVariable", "'" + file + "' has no variable '" + w + "'.");
        }
        selection.push_back(host);
      }
      reader->setSelectedVariableNames(selection);
    }

    // Parquet holds one row group at a time; a file that declares more than
    // the read memory limit is refused before any of its data is read.
    orvane::io::parquet::core::read::checkReadBudget(*reader, orvane::io::parquet::core::read::Holding::OneAtATime);
    TableBuilder builder(missing);
    if (!reader->hasdata()) {
      // Nothing in the selection: the variables without rows.
      builder.add(reader->readRowGroups({}).get());
    }
    while (reader->hasdata()) {
      check_interrupt();
      const auto table = reader->read();
      builder.add(table.get());
    }
    check_interrupt();
    return octave_value_list(builder.finish());
  });
}
