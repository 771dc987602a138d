## Numeric keys: the "g" column, with "x" as value.
function [keys, values] = mr_group_map (t)
  keys = t.g;
  values = t.x;
endfunction
