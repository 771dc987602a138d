## Bad input: each an Octave error with an identifier and a clear text, and
## warnings with the library's identifiers. Octave itself never crashes
## (the test would not finish).

%!shared d, out
%! d = getenv ("OVPARQUET_OCTAVE_DATA");
%! out = tempname ();
%! mkdir (out);

%!function check_error (code, id, text)
%!  try
%!    evalin ("caller", code);
%!    error ("test:noError", "no error from: %s", code);
%!  catch err
%!    assert (err.identifier, id);
%!    assert (! isempty (strfind (err.message, text)), sprintf ("'%s' not in '%s'", text, err.message));
%!  end_try_catch
%!endfunction

%!test
%! ## Wrong argument types and unknown options.
%! check_error ("ovparquet_read (42)", "ORVANE:octave:InvalidArgument", "The file name must be a text");
%! check_error ("ovparquet_read (fullfile (d, 'types.parquet'), 'Colour', 1)", "ORVANE:octave:UnknownOption", "unknown option \"Colour\"");
%! check_error ("ovparquet_read (fullfile (d, 'types.parquet'), 'Variables')", "ORVANE:octave:MissingOptionValue", "needs a value");
%! check_error ("ovparquet_read (fullfile (d, 'types.parquet'), 'Variables', {'nope'})", "ORVANE:octave:UnknownVariable", "no variable 'nope'");
%! check_error ("ovparquet_read (fullfile (d, 'types.parquet'), 'RowGroups', 9)", "ORVANE:octave:RowGroupOutOfRange", "has 3 row groups");
%! check_error ("ovparquet_read (fullfile (d, 'types.parquet'), 'MissingAs', 'zero')", "ORVANE:octave:InvalidOption", "MissingAs");
%! check_error ("ovparquet_count ({1, 2})", "ORVANE:octave:InvalidArgument", "cell array of texts");
%! check_error ("ovparquet_reader (fullfile (d, 'types.parquet'), 'Bogus', 1)", "ORVANE:octave:UnknownOption", "Bogus");
%! check_error ("ovparquet_reader (struct ('a', 1))", "ORVANE:octave:InvalidState", "save_state");

%!test
%! ## A 343-byte file whose footer declares 1768 values of 1.4 GB each is
%! ## refused before any of its data is read.
%! f = fullfile (getenv ("OVPARQUET_TEST_DATA"), "arrow-testing", "data", "parquet", "fuzzing", "clusterfuzz-testcase-minimized-parquet-arrow-fuzz-5843248142942208");
%! check_error ("ovparquet_read (f)", "ORVANE:parquetio:read:MemoryLimitExceeded", "more than the read memory limit");

%!test
%! ## The read memory limit of one call: a file that fits the default is
%! ## refused under a smaller limit, by number or by text, and the limit
%! ## holds for that call only.
%! f = fullfile (d, "types.parquet");
%! t = ovparquet_read (f, "MemoryLimit", "1GiB");
%! assert (numel (t.Properties.VariableNames) > 0);
%! check_error ("ovparquet_read (f, 'MemoryLimit', 64)", "ORVANE:parquetio:read:MemoryLimitExceeded", "types.parquet");
%! check_error ("ovparquet_read (f, 'MemoryLimit', '1KiB')", "ORVANE:parquetio:read:MemoryLimitExceeded", "1024");
%! r = ovparquet_reader (f, "MemoryLimit", 64);
%! check_error ("read (r)", "ORVANE:parquetio:read:MemoryLimitExceeded", "types.parquet");
%! assert (isequaln (ovparquet_read (f), t));
%! check_error ("ovparquet_read (f, 'MemoryLimit', 0)", "ORVANE:octave:InvalidOption", "MemoryLimit");
%! check_error ("ovparquet_read (f, 'MemoryLimit', 1.5)", "ORVANE:octave:InvalidOption", "positive whole number");
%! check_error ("ovparquet_read (f, 'MemoryLimit', 'lots')", "ORVANE:octave:InvalidOption", "\"lots\"");
%! check_error ("ovparquet_reader (f, 'MemoryLimit', -1)", "ORVANE:octave:InvalidOption", "MemoryLimit");

%!test
%! ## A missing file and a corrupt file: the library's identifiers and
%! ## catalog texts.
%! check_error ("ovparquet_read (fullfile (d, 'no-such.parquet'))", "ORVANE:host:FileNotFound", "no such file or directory");
%! check_error ("ovparquet_info (fullfile (d, 'no-such.parquet'))", "ORVANE:parquetio:read:InternalInvalidRead", "no such file or directory");
%! check_error ("ovparquet_read (fullfile (d, 'corrupt.parquet'))", "ORVANE:parquetio:read:InternalInvalidRead", "Unable to read Parquet file");
%! check_error ("ovparquet_count ({fullfile(d, 'types.parquet'), fullfile(d, 'corrupt.parquet')})", "ORVANE:parquetio:read:InternalInvalidRead", "corrupt.parquet");
%! check_error ("ovparquet_stats (fullfile (d, 'types.parquet'), {'lst'})", "ORVANE:parquetio:read:UnsupportedRowFilterVariable", "cannot be used to filter rows");

%!test
%! ## Bad tables to write: identified errors, and nothing under the name.
%! f = fullfile (out, "bad.parquet");
%! check_error ("ovparquet_write (f, 42)", "ORVANE:octave:NotATable", "1-by-1 struct");
%! check_error ("ovparquet_write (f, struct ('a', {1, 2}))", "ORVANE:octave:NotATable", "1-by-1 struct");
%! check_error ("ovparquet_write (f, struct ('a', [1; 2], 'b', [1; 2; 3]))", "ORVANE:octave:HeightMismatch", "'b' has 3 rows");
%! check_error ("ovparquet_write (f, struct ('a', [1 2; 3 4]))", "ORVANE:octave:NotAColumn", "column vector");
%! check_error ("ovparquet_write (f, struct ('a', [1+2i; 3]))", "ORVANE:octave:UnsupportedValue", "complex");
%! check_error ("ovparquet_write (f, struct ('a', @sin))", "ORVANE:octave:UnsupportedValue", "no Parquet counterpart");
%! check_error ("ovparquet_write (f, struct ('a', [1; 2]), 'Compression', 'nope')", "ORVANE:parquetio:write:InvalidOption", "nope");
%! check_error ("ovparquet_write (f, struct ('a', [1; 2]), 'Version', '3.0')", "ORVANE:parquetio:write:InvalidOption", "3.0");
%! check_error ("ovparquet_write (f, struct ('a', [1; 2]), 'Compression', {'zstd', 'gzip'})", "ORVANE:octave:InvalidOption", "one per variable");
%! check_error ("ovparquet_write (f, struct ('a', [1; 2]), 'RowGroupHeights', [1 5])", "ORVANE:octave:RowGroupHeightsMismatch", "add up to 6");
%! check_error ("ovparquet_write (f, struct ())", "ORVANE:parquetio:write:InvalidZeroVars", "no variables");
%! check_error ("ovparquet_write (fullfile (out, 'no-dir', 'x.parquet'), struct ('a', 1))", "ORVANE:host:FileNotFound", "no-dir");
%! assert (numel (dir (out)), 2);  # only . and ..

%!test
%! ## A failed write keeps an existing file as it was.
%! f = fullfile (out, "keep.parquet");
%! ovparquet_write (f, struct ("a", [1; 2]));
%! check_error ("ovparquet_write (f, struct ('a', [1; 2]), 'Encoding', 'bogus')", "ORVANE:parquetio:write:InvalidOption", "bogus");
%! t = ovparquet_read (f);
%! assert (t.a, [1; 2]);
%! assert (numel (dir (out)), 3);

%!test
%! ## Warnings carry the library's identifiers and can be switched off.
%! f = fullfile (out, "nested-dict.parquet");
%! t = struct ("l", {{{"a"; "b"}; {"c"}}});
%! t.Properties = struct ("VariableTypes", {{"cell"}});
%! lastwarn ("");
%! ovparquet_write (f, t);
%! [~, id] = lastwarn ();
%! assert (id, "");
%! ## Invalid UTF-8 in a string column warns with the conversion's identifier.
%! lastwarn ("");
%! t = ovparquet_read (fullfile (d, "badutf8.parquet"));
%! [msg, id] = lastwarn ();
%! assert (id, "ORVANE:convert:InvalidUtf8InColumn");
%! assert (! isempty (strfind (msg, "not valid UTF-8")));
%! warning ("off", "ORVANE:convert:InvalidUtf8InColumn");
%! lastwarn ("");
%! t = ovparquet_read (fullfile (d, "badutf8.parquet"));
%! [~, id] = lastwarn ();
%! warning ("on", "ORVANE:convert:InvalidUtf8InColumn");
%! assert (id, "");  # a disabled warning does not become the last warning

%!test
%! ## Help texts show usage and examples.
%! for name = {"ovparquet_read", "ovparquet_write", "ovparquet_info", "ovparquet_count", "ovparquet_stats", "ovparquet_reader"}
%!   text = evalc (sprintf ("help %s", name{1}));
%!   assert (! isempty (strfind (text, name{1})));
%!   assert (! isempty (strfind (text, "Example")), name{1});
%! endfor

%!test
%! confirm_recursive_rmdir (false, "local");
%! rmdir (out, "s");
