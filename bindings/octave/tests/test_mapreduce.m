## ovparquet_mapreduce with the serial engine, against DuckDB's GROUP BY of
## the same files (make_mapreduce_fixtures.py), and its bad inputs.

%!shared data, nosplits
%! data = fullfile (getenv ("OVPARQUET_MAPREDUCE_DATA"), "data");
%! nosplits = numel (ovparquet_splits (data, "SplitSize", 32768));

## At least 8 files in at least 40 splits, with row groups across bounds.
%!test
%! s = ovparquet_splits (data, "SplitSize", 32768);
%! assert (numel (unique ({s.Location})) >= 8);
%! assert (numel (s) >= 40);
%! total = 0;
%! empty = 0;
%! for i = 1:numel (s)
%!   r = ovparquet_reader (s(i).Location, "ByteRange", [s(i).Offset s(i).Size]);
%!   total += numel (r.RowGroups);
%!   empty += isempty (r.RowGroups);
%! endfor
%! info = ovparquet_count (unique ({s.Location}));
%! assert (total, sum (info));
%! assert (empty > 0);  # bigger row groups than splits: some splits hold none

%!test
%! [keys, rows] = mr_expected ("expected.csv");
%! r = ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "SplitSize", 32768,
%!                          "Variables", {"cat", "x"}, "Progress", false);
%! assert ({r.Key}', keys);
%! got = vertcat (r.Value);
%! assert (got(:, 1), rows(:, 1));
%! assert (got(:, 2:5), rows(:, 2:5), -1e-12);

## Numeric keys, default split size, function names as texts.
%!test
%! [~, rows] = mr_expected ("expected_g.csv");
%! keys = str2double (mr_expected ("expected_g.csv"));
%! r = ovparquet_mapreduce (data, "mr_group_map", @(k, v) [numel(v), sum([v{:}])], "Progress", false);
%! assert ([r.Key]', keys);
%! got = vertcat (r.Value);
%! assert (got(:, 1), rows(:, 1));
%! assert (got(:, 2), rows(:, 2), -1e-12);

## The progress line counts splits.
%!test
%! out = evalc ('ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "SplitSize", 32768, "Variables", {"cat", "x"});');
%! assert (! isempty (strfind (out, sprintf ("%d of %d splits done", nosplits, nosplits))));

## Bad input: a clear, identified error.
%!error <unknown engine 'mesos'> ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "Engine", "mesos")
%!test
%! try
%!   ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "Engine", "mesos");
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:octave:UnknownEngine");
%! end_try_catch
%!test
%! nodata = fullfile (getenv ("OVPARQUET_MAPREDUCE_DATA"), "noparquet");
%! try
%!   ovparquet_mapreduce (nodata, @mr_stats_map, @mr_stats_reduce);
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:parquetio:read:NoParquetFiles");
%!   assert (! isempty (strfind (e.message, nodata)));
%! end_try_catch
%!test
%! try
%!   ovparquet_mapreduce (data, 42, @mr_stats_reduce);
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:octave:InvalidFunction");
%!   assert (! isempty (strfind (e.message, "mapfun")));
%! end_try_catch
%!test
%! try
%!   ovparquet_mapreduce (data, @mr_bad_lengths, @mr_stats_reduce, "Progress", false);
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:octave:InvalidMapOutput");
%!   assert (! isempty (regexp (e.message, "returned \\d+ keys but \\d+ values")));
%!   assert (! isempty (strfind (e.message, "part-00.parquet' bytes [0, ")));
%! end_try_catch
%!test
%! try
%!   ovparquet_mapreduce (data, @mr_fails_on_id, @mr_stats_reduce, "SplitSize", 32768, "Progress", false);
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "mr:boom");
%!   assert (! isempty (strfind (e.message, "boom in the row group of id 1000005")));
%!   assert (! isempty (regexp (e.message, "part-01\\.parquet' bytes \\[0, 32768\\)")), e.message);
%! end_try_catch
%!test
%! ## A reducefun that raises without an identifier: the default one, the key
%! ## and the original message.
%! try
%!   ovparquet_mapreduce (data, @mr_stats_map, @(k, v) error ("no good"), "Progress", false);
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:octave:ReduceFailed");
%!   assert (! isempty (regexp (e.message, "the reduce of key .+ failed: no good")), e.message);
%! end_try_catch
%!error <SplitSize> ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "SplitSize", 0)
%!error <unknown option "Foo"> ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "Foo", 1)
