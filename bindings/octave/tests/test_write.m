## Tables written from Octave, for pyarrow to read back (check_written.py
## compares them with what this test wrote).

%!test
%! out = getenv ("OVPARQUET_OCTAVE_OUT");
%! t = struct ();
%! t.d = [1.5; NaN; -3];
%! t.f = single ([1; 2; 3]);
%! t.i8 = int8 ([-128; 0; 127]);
%! t.u64 = uint64 ([0; 18446744073709551615; 5]);
%! t.b = [true; false; true];
%! t.s = {"a"; ""; "Grüße"};
%! t.cat = {"lo"; "hi"; "lo"};
%! t.ts = datenum (2024, 1, 2, 3, 4, 5.25) + [0; 1; 2];
%! t.dur = [1.5; -0.25; 0];
%! t.lst = {int32([1; 2]); []; zeros(0, 1, "int32")};
%! t.st = struct ("a", {1; []; 3}, "b", {"x"; "y"; []});
%! t.Properties = struct ();
%! t.Properties.VariableNames = {"d", "f", "i8", "u64", "b", "s", "cat", "ts", "dur", "lst", "st"};
%! t.Properties.VariableTypes = {"", "", "", "", "", "", "categorical", "datetime", "duration", "", ""};
%! t.Properties.VariableUnits = {"", "", "", "", "", "", "", "ms", "us", "", ""};
%! t.Properties.TimeZones = {[], [], [], [], [], [], [], "UTC", [], [], []};
%! t.Properties.Missing = struct ("i8", [false; true; false], "b", [false; false; true], "s", [false; true; false]);
%! ovparquet_write (fullfile (out, "from_octave.parquet"), t, "RowGroupHeights", [2 1], ...
%!                  "Compression", {"zstd", "snappy", "gzip", "snappy", "snappy", "zstd", "snappy", "snappy", "snappy", "snappy", "zstd"});
%! ## And Octave reads back what it wrote.
%! u = ovparquet_read (fullfile (out, "from_octave.parquet"));
%! assert (u.d, t.d);
%! assert (u.i8, int8 ([-128; 0; 127]));
%! assert (u.Properties.Missing.i8, [false; true; false]);
%! assert (u.u64, t.u64);
%! assert (u.cat, t.cat);
%! assert (u.Properties.VariableTypes{7}, "categorical");
%! assert (u.ts, t.ts, 1e-9);
%! assert (u.Properties.TimeZones{8}, "UTC");
%! assert (u.dur, t.dur);
%! assert (u.lst{1}, int32 ([1; 2]));
%! assert (u.lst{2}, []);
%! assert (size (u.lst{3}), [0 1]);
%! assert (u.st(1).a, 1);
%! assert (u.st(2).a, NaN);
%! assert (u.st(3).b, []);
%! info = ovparquet_info (fullfile (out, "from_octave.parquet"));
%! assert (info.rowGroupHeights, [2; 1]);
%! assert (info.variableCompression{3}, "gzip");

%!test
%! ## A pyarrow file read in Octave and written back: pyarrow reads the same.
%! d = getenv ("OVPARQUET_OCTAVE_DATA");
%! out = getenv ("OVPARQUET_OCTAVE_OUT");
%! t = ovparquet_read (fullfile (d, "groups.parquet"));
%! ovparquet_write (fullfile (out, "groups_again.parquet"), t, "MaxRowGroupLength", 500, "Encoding", "plain", "Version", "1.0");
%! info = ovparquet_info (fullfile (out, "groups_again.parquet"));
%! assert (info.rowGroupHeights, [500; 500; 500; 500]);
%! assert (info.version, "1.0");
