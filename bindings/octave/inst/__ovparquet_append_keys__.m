## -*- texinfo -*-
## @deftypefn {} {@var{keys} =} __ovparquet_append_keys__ (@var{keys}, @var{more})
## Internal to @code{ovparquet_mapreduce}: appends a column of keys to the
## keys gathered so far ([] when none yet); texts and numbers do not mix.
## @end deftypefn

function keys = __ovparquet_append_keys__ (keys, more)
  if (isempty (more) && ! iscell (more))
    return;
  elseif (isempty (keys) && ! iscell (keys))
    keys = more;
  elseif (iscell (keys) == iscell (more))
    keys = [keys; more];
  else
    error ("ORVANE:octave:InvalidMapOutput",
           "mapfun returned text keys for some row groups and numeric keys for others");
  endif
endfunction
