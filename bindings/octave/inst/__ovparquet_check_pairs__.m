## -*- texinfo -*-
## @deftypefn {} {[@var{keys}, @var{values}] =} __ovparquet_check_pairs__ (@var{mapfun}, @var{t})
## Internal to @code{ovparquet_mapreduce}: calls @var{mapfun} on one table
## and checks what it returns: keys a cellstr or real numeric column, values
## a cell or numeric column of the same length (returned as a cell column).
## @end deftypefn

function [keys, values] = __ovparquet_check_pairs__ (mapfun, t)
  [keys, values] = mapfun (t);
  if (isempty (keys) && isempty (values))
    keys = [];
    values = cell (0, 1);
    return;
  endif
  if (iscellstr (keys))
    keys = keys(:);
  elseif (isnumeric (keys) && isreal (keys) && isvector (keys))
    keys = double (keys(:));
  else
    error ("ORVANE:octave:InvalidMapOutput",
           "mapfun must return keys as a cellstr or a real numeric column, not a %s of size %s",
           class (keys), mat2str (size (keys)));
  endif
  if (isnumeric (values) || islogical (values))
    values = num2cell (values(:));
  elseif (iscell (values))
    values = values(:);
  else
    error ("ORVANE:octave:InvalidMapOutput",
           "mapfun must return values as a cell or numeric column, not a %s", class (values));
  endif
  if (numel (keys) != numel (values))
    error ("ORVANE:octave:InvalidMapOutput",
           "mapfun returned %d keys but %d values; they must have the same length",
           numel (keys), numel (values));
  endif
endfunction
