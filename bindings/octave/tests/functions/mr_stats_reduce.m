## Reduce of the mapreduce tests: count, sum, mean, minimum and maximum.
function s = mr_stats_reduce (key, values)
  x = [values{:}];
  s = [numel(x), sum(x), mean(x), min(x), max(x)];
endfunction
