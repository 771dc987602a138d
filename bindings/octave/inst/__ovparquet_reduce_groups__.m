## -*- texinfo -*-
## @deftypefn {} {@var{r} =} __ovparquet_reduce_groups__ (@var{keys}, @var{groups}, @var{reducefun})
## Internal to @code{ovparquet_mapreduce}: calls @var{reducefun} once per key
## with its values and returns the struct column with fields Key and Value.
## @end deftypefn

function r = __ovparquet_reduce_groups__ (keys, groups, reducefun)
  r = struct ("Key", cell (numel (groups), 1), "Value", cell (numel (groups), 1));
  for g = 1:numel (groups)
    if (iscell (keys))
      key = keys{g};
    else
      key = keys(g);
    endif
    try
      value = reducefun (key, groups{g});
    catch err
      if (strcmp (err.identifier, "Octave:interrupt"))
        rethrow (err);
      endif
      id = err.identifier;
      if (isempty (id))
        id = "ORVANE:octave:ReduceFailed";
      endif
      error (id, "ovparquet_mapreduce: the reduce of key %s failed: %s", __ovparquet_key_text__ (key), err.message);
    end_try_catch
    r(g).Key = key;
    r(g).Value = value;
  endfor
endfunction
