## Map of the mapreduce tests: the "cat" text of each row as key, "x" as value.
function [keys, values] = mr_stats_map (t)
  keys = t.cat;
  values = t.x;
endfunction
