// __ovparquet_rowgroups__: the row-group numbers an ovparquet_reader goes
// through, chosen by the library's row-group reader (internal).
#include "binding.h"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include <algorithm>
#include <memory>

using namespace ovparquet::octave_binding;
using orvane::io::parquet::core::read::RowGroupParquetReader;

DEFUN_DLD(__ovparquet_rowgroups__, args, ,
          "-*- texinfo -*-\n\
@deftypefn {} {[@var{groups}, @var{total}] =} __ovparquet_rowgroups__ (@var{file}, @var{rowgroups}, @var{byterange}, @var{vars})\n\
Internal to @code{ovparquet_reader}: checks @var{vars} and returns the\n\
row-group numbers to read (a column) and the file's row-group count.\n\
@end deftypefn") {
  if (args.length() != 4) print_usage();
  return run_call([&] {
    const std::string file = text_argument(args(0), "The file name");
    const orvane::ustring name = host_text(file);
    std::unique_ptr<RowGroupParquetReader> reader;
    if (!args(2).isempty()) {
      const auto range = numbers_option(args(2), "ByteRange");
      if (range.size() != 2) throw BindingError("InvalidOption", "Option \"ByteRange\" must be [offset size].");
      reader = std::make_unique<RowGroupParquetReader>(name, range[0], range[1]);
    } else {
      reader = std::make_unique<RowGroupParquetReader>(name, std::vector<double>{});
      const double total = reader->getTotalNumRowGroups();
      std::vector<double> list;
      if (args(1).is_defined() && !(args(1).is_double_type() && args(1).rows() == 0 && args(1).columns() == 0)) {
        list = numbers_option(args(1), "RowGroups");
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
    if (!args(3).isempty()) {
      const auto names = reader->getVariableNames();
      for (const auto& w : text_list_argument(args(3), "Option \"Variables\"")) {
        if (std::find(names.begin(), names.end(), host_text(w)) == names.end()) {
          throw BindingError("UnknownVariable", "'" + file + "' has no variable '" + w + "'.");
        }
      }
    }
    const auto groups = reader->getRowGroups();
    ColumnVector out(static_cast<octave_idx_type>(groups.size()));
    for (std::size_t i = 0; i < groups.size(); ++i) out(static_cast<octave_idx_type>(i)) = groups[i];
    octave_value_list result;
    result(0) = octave_value(out);
    result(1) = octave_value(reader->getTotalNumRowGroups());
    return result;
  });
}
