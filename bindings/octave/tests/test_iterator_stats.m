## The row-group iterator with save and resume, byte ranges exactly once,
## and statistics against what pyarrow's metadata says.

%!shared d, f, g
%! d = getenv ("OVPARQUET_OCTAVE_DATA");
%! f = fullfile (d, "groups.parquet");
%! g = jsondecode (fileread (fullfile (d, "groups.json")), "makeValidName", false);

%!test
%! ## One row group per read, in order, then no more data.
%! r = ovparquet_reader (f, "Variables", {"id", "x"});
%! n = numel (g.heights);
%! assert (r.RowGroups, (1:n)');
%! ids = [];
%! k = 0;
%! while (hasdata (r))
%!   t = read (r);
%!   k += 1;
%!   assert (numel (t.id), g.heights(k));
%!   assert (fieldnames (t)', {"id", "x", "Properties"});
%!   ids = [ids; t.id];
%! endwhile
%! assert (k, n);
%! assert (ids, int64 (0:1999)');
%! assert (! hasdata (r));
%! fail ("read (r)", "No more data");
%! reset (r);
%! assert (hasdata (r));
%! t = read (r);
%! assert (t.id(1), int64 (0));

%!test
%! ## Save after three row groups, resume from the saved (and saved to
%! ## disk) state: the rest, and nothing twice.
%! r = ovparquet_reader (f, "Variables", {"id"});
%! first = [];
%! for k = 1:3
%!   t = read (r);
%!   first = [first; t.id];
%! endfor
%! s = save_state (r);
%! assert (s.RowGroups, (4:numel (g.heights))');
%! file = [tempname() ".mat"];
%! save ("-binary", file, "s");
%! clear s;
%! load (file);
%! delete (file);
%! r2 = ovparquet_reader (s);
%! rest = [];
%! while (hasdata (r2))
%!   t = read (r2);
%!   rest = [rest; t.id];
%! endwhile
%! assert ([first; rest], int64 (0:1999)');
%! ## The first reader goes on independently.
%! t = read (r);
%! assert (t.id(1), first(end) + 1);

%!test
%! ## Adjacent byte ranges take every row group exactly once, with the
%! ## function and with the iterator.
%! info = ovparquet_info (f);
%! assert (info.rowGroupOffsets, g.offsets(:));
%! edges = [0, 1000, 4321, 9000, 20000, info.fileSize];
%! ids = [];
%! groups = [];
%! for k = 1:numel (edges) - 1
%!   range = [edges(k), edges(k+1) - edges(k)];
%!   t = ovparquet_read (f, "ByteRange", range, "Variables", {"id"});
%!   ids = [ids; t.id];
%!   r = ovparquet_reader (f, "ByteRange", range);
%!   groups = [groups; r.RowGroups];
%! endfor
%! assert (ids, int64 (0:1999)');
%! assert (groups, (1:numel (g.heights))');
%! ## A range holding no row group start reads no rows.
%! t = ovparquet_read (f, "ByteRange", [1 2]);
%! assert (size (t.id), [0 1]);
%! assert (class (t.id), "int64");

%!test
%! ## A file without row groups: its empty table once.
%! r = ovparquet_reader (fullfile (d, "empty.parquet"));
%! assert (hasdata (r));
%! t = read (r);
%! assert (numel (t.id), 0);
%! assert (! hasdata (r));

%!test
%! ## Statistics against pyarrow's metadata.
%! s = ovparquet_stats (f, {"x", "id", "name", "flag"});
%! n = numel (g.heights);
%! assert (s.variables, {"x", "id", "name", "flag"});
%! assert (s.rowGroupHeights, g.heights(:));
%! names = s.variables;
%! for v = 1:numel (names)
%!   e = g.variables.(names{v});
%!   assert (s.nullCountValid(:, v), true (n, 1));
%!   assert (double (s.nullCounts(:, v)), e.nullCount(:));
%!   assert (s.minMaxValid(:, v), logical (e.hasMinMax(:)));
%! endfor
%! assert (s.minValues{1}, g.variables.x.min(:));
%! assert (s.maxValues{1}, g.variables.x.max(:));
%! assert (s.minValues{2}, int64 (g.variables.id.min(:)));
%! assert (s.maxValues{2}, int64 (g.variables.id.max(:)));
%! assert (s.minValues{3}, g.variables.name.min(:));
%! assert (s.maxValues{3}, g.variables.name.max(:));
%! assert (double (s.minValues{4}), g.variables.flag.min(:));
%! assert (double (s.maxValues{4}), g.variables.flag.max(:));
%! assert (class (s.nullCounts), "int64");
