## Benchmark map: a CPU-bound pass over each row group (the work a real
## analysis does), then the count and sum of x per "cat" of the row group
## (partial sums, as a real job would emit, keep the shuffle small).
function [keys, values] = bench_map (t)
  ## The cluster's workers inherit this setting from run.sh; without it the
  ## Spark tasks would silently skip the work.
  work = str2double (getenv ("OVPARQUET_BENCH_WORK"));
  if (isnan (work))
    error ("bench_map: OVPARQUET_BENCH_WORK is not set");
  endif
  x = t.x;
  acc = 0;
  for k = 1:work
    acc += sum (sort (x + k)(1:100:end));
  endfor
  [keys, ~, j] = unique (t.cat);
  n = accumarray (j(:), 1);
  s = accumarray (j(:), x(:)) + 0 * acc;
  values = num2cell ([n s], 2);
endfunction
