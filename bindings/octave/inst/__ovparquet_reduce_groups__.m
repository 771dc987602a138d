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
      __ovparquet_fail__ (err, "ORVANE:octave:ReduceFailed", ["the reduce of key " __ovparquet_key_text__(key)]);
    end_try_catch
    r(g).Key = key;
    r(g).Value = value;
  endfor
endfunction
