## Benchmark reduce: count and sum.
function s = bench_reduce (key, values)
  x = [values{:}];
  s = [numel(x), sum(x)];
endfunction
