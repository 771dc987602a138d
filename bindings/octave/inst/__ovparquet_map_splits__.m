## -*- texinfo -*-
## @deftypefn {} {[@var{keys}, @var{values}] =} __ovparquet_map_splits__ (@var{splits}, @var{mapfun}, @var{vars})
## Internal to @code{ovparquet_mapreduce}: calls @var{mapfun} on every row
## group of the splits and returns all key/value pairs, the keys as a
## cellstr or double column and the values as a cell column. An error in a
## split names its location and byte range.
## @end deftypefn

function [keys, values] = __ovparquet_map_splits__ (splits, mapfun, vars)
  keys = [];
  values = cell (0, 1);
  for i = 1:numel (splits)
    s = splits(i);
    try
      args = {"ByteRange", [s.Offset s.Size]};
      if (! isempty (vars))
        args(end+1:end+2) = {"Variables", vars};
      endif
      reader = ovparquet_reader (s.Location, args{:});
      while (hasdata (reader))
        t = read (reader);
        [k, v] = __ovparquet_check_pairs__ (mapfun, t);
        keys = __ovparquet_append_keys__ (keys, k);
        values = [values; v];
      endwhile
    catch err
      __ovparquet_fail__ (err, "ORVANE:octave:MapFailed",
                          sprintf ("the map of '%s' bytes [%d, %d)", s.Location, s.Offset, s.Offset + s.Size));
    end_try_catch
  endfor
endfunction
