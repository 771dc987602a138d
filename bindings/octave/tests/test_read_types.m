## Files written by pyarrow (every type of the mapping, missing values,
## nested columns, several row groups) read in Octave equal pyarrow's values.

%!shared t, e, d
%! d = getenv ("OVPARQUET_OCTAVE_DATA");
%! t = ovparquet_read (fullfile (d, "types.parquet"));
%! e = jsondecode (fileread (fullfile (d, "types.json")), "makeValidName", false);

%!function check_masked (t, e, name, cls)
%!  v = t.(name);
%!  assert (class (v), cls);
%!  assert (size (v), [numel(e.(name).missing), 1]);
%!  assert (t.Properties.Missing.(name), logical (e.(name).missing(:)));
%!  vals = e.(name).values;
%!  for k = 1:numel (v)
%!    if (! e.(name).missing(k))
%!      assert (v(k), cast (sscanf (vals{k}, "%ld"), cls), sprintf ("%s(%d)", name, k));
%!    else
%!      assert (v(k), cast (0, cls));
%!    endif
%!  endfor
%!endfunction

%!test
%! assert (t.Properties.VariableNames, fieldnames (e)');
%! assert (fieldnames (t)', [fieldnames(e)', {"Properties"}]);
%!test
%! ## Floating classes: NaN where pyarrow has null.
%! assert (t.d, e.d.values(:));
%! assert (class (t.f), "single");
%! assert (t.f, single (e.f.values(:)));
%!test
%! check_masked (t, e, "i8", "int8");
%! check_masked (t, e, "u16", "uint16");
%! check_masked (t, e, "i32", "int32");
%!test
%! ## 64-bit integers exactly (compared as texts).
%! assert (class (t.i64), "int64");
%! assert (class (t.u64), "uint64");
%! for name = {"i64", "u64"}
%!   v = t.(name{1});
%!   for k = find (! e.(name{1}).missing(:))'
%!     assert (strtrim (disp (v(k))), e.(name{1}).values{k});
%!   endfor
%! endfor
%!test
%! assert (class (t.b), "logical");
%! assert (t.Properties.Missing.b, logical (e.b.missing(:)));
%! ok = ! e.b.missing(:);
%! assert (t.b(ok), logical (cell2mat (e.b.values(ok))));
%!test
%! for name = {"s", "cat"}
%!   n = name{1};
%!   assert (iscellstr (t.(n)));
%!   assert (t.Properties.Missing.(n), logical (e.(n).missing(:)));
%!   ok = ! e.(n).missing(:);
%!   assert (t.(n)(ok), e.(n).values(ok));
%!   assert (all (cellfun (@isempty, t.(n)(! ok))));
%! endfor
%! assert (t.Properties.VariableTypes(9:10), {"string", "categorical"});
%!test
%! ## Timestamps and dates as datenum, durations as seconds.
%! assert (t.ts, e.ts.values(:), 1e-9);
%! assert (t.date, e.date.values(:));
%! assert (t.dur, e.dur.values(:), 1e-15);
%! assert (t.Properties.VariableUnits(11:13), {"ms", "day", "us"});
%! assert (t.Properties.TimeZones{11}, "Europe/Paris");
%! assert (datestr (t.ts(1), "yyyy-mm-dd HH:MM:SS.FFF"), "2023-11-14 22:13:20.123");
%!test
%! ## Lists: a cell of columns, [] for a missing list, NaN for a missing element.
%! assert (iscell (t.lst));
%! assert (t.lst{1}, int32 ([1; 2]));
%! assert (size (t.lst{2}), [0, 1]);
%! assert (t.lst{3}, []);
%! assert (t.lst{4}, [NaN; 4]);
%! assert (t.lst_s{1}, {"a"});
%! assert (t.lst_s{2}, {"b"; ""});
%! for k = 1:numel (t.lst)
%!   if (isempty (e.lst.values{k}))
%!     continue;
%!   endif
%!   assert (double (t.lst{k}), e.lst.values{k}(:));
%! endfor
%!test
%! ## Structs: an N-by-1 struct array; a missing field is [].
%! assert (size (t.st), [10, 1]);
%! assert (fieldnames (t.st), {"a"; "b"});
%! assert (t.st(1).a, int32 (0));
%! assert (t.st(10).b, "9");
%! assert (t.st(4).a, []);
%! assert (t.st(4).b, []);
%!test
%! ## Maps: a cell of Key/Value struct arrays.
%! assert (fieldnames (t.mp{1}), {"Key"; "Value"});
%! assert (t.mp{1}.Key, "k");
%! assert (t.mp{1}.Value, int32 (1));
%! assert (numel (t.mp{2}), 0);
%! assert (t.mp{3}, []);
%! assert ({t.mp{4}.Key}, {"x", "y"});
%! assert (t.mp{4}(2).Value, []);
%!test
%! ## Integers as double with NaN on request.
%! u = ovparquet_read (fullfile (d, "types.parquet"), "Variables", {"i8", "b"}, "MissingAs", "double");
%! assert (fieldnames (u)', {"i8", "b", "Properties"});
%! assert (class (u.i8), "double");
%! assert (isnan (u.i8(3)) && isnan (u.b(3)));
%! assert (u.i8(1:2), [-128; 127]);
%! assert (fieldnames (u.Properties.Missing), cell (0, 1));
%!test
%! ## Chosen row groups, in the order given.
%! u = ovparquet_read (fullfile (d, "types.parquet"), "RowGroups", [3 1], "Variables", {"d"});
%! assert (u.d, [8.5; -0.5; 1.5; NaN; -2.25; 3]);
