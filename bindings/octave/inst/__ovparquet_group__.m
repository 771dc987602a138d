## -*- texinfo -*-
## @deftypefn {} {[@var{keys}, @var{groups}] =} __ovparquet_group__ (@var{keys}, @var{values})
## Internal to @code{ovparquet_mapreduce}: the distinct keys, sorted, and for
## each one a cell column of its values.
## @end deftypefn

function [ukeys, groups] = __ovparquet_group__ (keys, values)
  if (isempty (keys))
    ukeys = keys;
    groups = cell (0, 1);
    return;
  endif
  [ukeys, ~, j] = unique (keys);
  ukeys = ukeys(:);
  [j, order] = sort (j(:));
  values = values(order);
  ends = [find(diff(j)); numel(j)];
  starts = [1; ends(1:end-1) + 1];
  groups = cell (numel (ukeys), 1);
  for g = 1:numel (ukeys)
    groups{g} = values(starts(g):ends(g));
  endfor
endfunction
