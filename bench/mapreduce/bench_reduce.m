## Benchmark reduce: adds the partial counts and sums of one key.
function s = bench_reduce (key, values)
  s = sum (vertcat (values{:}), 1);
endfunction
